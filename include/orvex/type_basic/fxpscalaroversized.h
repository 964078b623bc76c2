/// \file
/// A stored integer of up to 128 bits as one value.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>

#include <cstdint>

/// Four 32-bit words, least significant first, for callers that want one value and not an array of chunks.
///
/// Which bits count, and whether they have a sign, the type says that goes with the value. The operations
/// leave the sign extension (signed) or zeros (unsigned) above it, up to bit 127. A type of more than 128
/// bits is worked on whole, and the 128 lowest bits are kept.
union ORVEX_API fxpScalarOversized {
    std::uint32_t words[4] = {}; ///< least significant first

    std::uint32_t readWord(int index) const { return words[index]; }       ///< index 0 to 3
    void writeWord(int index, std::uint32_t word) { words[index] = word; } ///< index 0 to 3

    /// The largest stored integer of the type.
    void setToMax(fxpDataTypeProp const& type);
    /// The least stored integer of the type.
    void setToMin(fxpDataTypeProp const& type);

    /// Right by a positive number of bits, the sign copied in; left by a negative one, wrapping silently. May
    /// call handleUnderflow, with the value still as it was.
    void shift(OrvexClientInterface& client, fxpDataTypeProp const& type, long long bits);

    /// Stores value = stored integer * 2^fixedExponent with one rounding; slope factor and bias play no part.
    /// Zero and NaN store 0 silently. May call handleUnderflow and then one of handleOverflowWrap,
    /// handleSaturationToMin, handleSaturationToMax, all with the old value still in place.
    /// \param round a fxpModeRounding_tag; Cheapest acts as Zero
    /// \param sat   0 wraps, anything else saturates
    void storeRadixDouble(OrvexClientInterface& client, fxpDataTypeProp const& type, double value, int round,
                          int sat);
};

namespace ORVEX
{
using ::fxpScalarOversized;
}
