/// \file
/// What a radix type has to hold.
#pragma once

#include "multiword/chunkbuffer.h"

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/type_basic/fxpselectradixtypeconditions.h>

namespace ORVEX::type_basic
{

/// The range and the terms of a type with a slope factor or a bias, the factor quantized to the type's own
/// word length.
struct RadixDemand {
    /// The client hears of the quantization, and receives the diagnostic of a factor that is not usable.
    /// `conditions` may be null.
    RadixDemand(OrvexClientInterface& client, fxpDataTypeProp const& in, bool withTerms,
                fxpSelectRadixTypeConditions* conditions);

    bool withTerms;                   ///< the range without the bias has to be held too
    fxpDataTypeProp scaledType;       ///< the input, its slope factor quantized and normalised
    fxpDataTypeProp scaledTypeNoBias; ///< the same with bias 0, not normalised
    multiword::ChunkBuffer minChunks; ///< the stored extremes of both
    multiword::ChunkBuffer maxChunks;
    double minRealWorld; ///< the range to cover
    double maxRealWorld;
    double slopeTerm; ///< the value of one unit, with the sign that fits
};

} // namespace ORVEX::type_basic
