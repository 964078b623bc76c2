/// \file
/// Whether a cast between types of different bias goes through a third type, and through which.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/type_basic/fxpoperationchoices.h>

namespace ORVEX
{

/// Chooses the intermediate type of a cast from `source` to `target`, and the modes of both stages.
///
/// If `*out` equals `*source` afterwards there is no intermediate, and one cast does with `secondStage`.
/// Otherwise the cast goes from the source to `*out` with `firstStage`, and from there to the target with
/// `secondStage`. Types of equal bias never have an intermediate. With a double (or else a single) on either
/// side it is that type. Between fixed types it is one of the target's factor and bias, long enough for the
/// source's values and the net scaling, cut down to the largest size of the target hardware, or to the
/// client's getMaxSupportedWordLength on an ASIC. The first stage wraps unless bits had to be cut off; all
/// other modes are those of the request.
///
/// Answers come from a cache that the whole process shares: at most 129 pairs of types, least recently used
/// ones dropped first, flushed when an answer for a target with other word lengths comes in. The client's
/// largest word length is no part of a question, so that of two clients that differ in it alone the first to
/// ask decides for both. May be called from several threads.
///
/// \param firstStage, secondStage must not be null if the biases differ
/// The client is asked for its hardware (null counts as an ASIC); a net slope or a slope of the target that
/// is not positive and finite goes to its receiveDiagnosticError. Throws what the client throws. A source of
/// one signed bit cannot hold a slope and throws kvxDiagnosticException.
ORVEX_API void selectCastIntermediateDataType(OrvexClientInterface& client, fxpDataTypeProp* out,
                                              fxpOperationChoices* firstStage,
                                              fxpOperationChoices* secondStage, fxpDataTypeProp const* target,
                                              fxpDataTypeProp const* source,
                                              fxpOperationChoices const* request);

} // namespace ORVEX
