/// \file
/// Makes a type that has grown too wide fit a largest size.
#pragma once

#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>

namespace ORVEX
{

/// Shortens `type` to the larger of `maxBits` and the reference's word length; a type that is not longer
/// stays as it is. Bits go from the bottom first, as far as they lie below the reference's lowest bit, and
/// then from the top. If the highest bit left then stands where an unsigned reference ends, a signed type
/// becomes unsigned, at the same word length.
///
/// \param maxBits               in bits
/// \param fractionBitsDiscarded receives the number of bits that went from the bottom; may be null
/// \param msbBitsDiscarded      receives the number of bits that went from the top; may be null
/// \param signDiscarded         receives whether the type became unsigned; may be null
ORVEX_API void discardBitsForMaxSize(int maxBits, fxpDataTypeProp* type, fxpDataTypeProp const* reference,
                                     int* fractionBitsDiscarded, int* msbBitsDiscarded, bool* signDiscarded);

} // namespace ORVEX
