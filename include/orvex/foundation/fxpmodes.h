/// \file
/// The mode enumerations that travel with a data type everywhere: kind of type, rounding, overflow.
#pragma once

#include <cstdint>

/// Kind of a data type. A value other than these behaves as fxpModeDataTypeBoolean.
enum fxpModeDataType : std::int32_t {
    fxpModeDataTypeFixed = 0,        ///< stored integers of a given word length
    fxpModeDataTypeScaledDouble = 1, ///< the scaling of a fixed-point type, stored as an unquantized double
    fxpModeDataTypeDouble = 2,       ///< IEEE 754 binary64
    fxpModeDataTypeSingle = 3,       ///< IEEE 754 binary32
    fxpModeDataTypeBoolean = 4       ///< a type description only; no number can hold it
};

/// What happens to the bits that a store drops. "One half" is half a unit in the last place kept.
enum fxpModeRounding_tag : std::int32_t {
    fxpModeRoundingZero = 0,    ///< toward zero
    fxpModeRoundingNearest = 1, ///< to nearest, ties toward plus infinity
    fxpModeRoundingCeiling = 2, ///< toward plus infinity
    fxpModeRoundingFloor = 3,   ///< toward minus infinity: bits are dropped
    fxpModeRoundingCheapest =
        4, ///< Floor on integer shifts, Zero on a double, the target's own in a quotient
    fxpModeRoundingHalfAway = 5,  ///< to nearest, ties away from zero
    fxpModeRoundingConvergent = 6 ///< to nearest, ties to the even stored integer
};

/// What happens to a result that the word does not hold. Any non-zero value saturates.
enum fxpModeOverflow_tag : std::int32_t {
    fxpModeOverflowWrap = 0,    ///< two's-complement wrap to the word length
    fxpModeOverflowSaturate = 1 ///< clamp to the type's extreme
};

/// Data type override mode: opaque here, only copied and compared. The library itself writes 0.
using fxpDataTypeDTOMode = std::int32_t;
