/// \file
/// From doubles to stored integers, and the double that a scaled-double type stores.
#pragma once

#include "multiword/chunkconvert.h"

#include <bit>
#include <cmath>

namespace ORVEX::multiword
{

/// A finite, non-zero double as an integer of 53 significant bits: x = mantissa * 2^exponent.
struct SplitDouble {
    SignedChunk mantissa;
    int exponent;
};

inline SplitDouble splitDouble(double x)
{
    constexpr int fractionBits = 52;
    constexpr int exponentOfUnit = 1075; // the bias of the exponent field and the fraction bits
    int below = 0;
    if (std::fabs(x) < 0x1p-1022) {
        x *= 0x1p54; // a subnormal; the product is exact
        below = 54;
    }
    Chunk const bits = std::bit_cast<Chunk>(x);
    int const field = static_cast<int>(bits >> fractionBits & 0x7ff);
    auto const magnitude =
        static_cast<SignedChunk>((bits & lowMask(fractionBits - 1)) | bitMask(fractionBits));
    return {x < 0 ? -magnitude : magnitude, field - exponentOfUnit - below};
}

/// Stores y, in units of the last place, if that raises no event and two chunks hold the result, or one if
/// the target has no more; otherwise false, with nothing done. The usual case, by a conversion to an integer
/// and what it leaves over, which are both exact.
template <class Target>
bool storeUnitsQuietly(Target target, fxpDataTypeProp const& type, double y, fxpModeRounding_tag round)
{
    constexpr bool oneChunk = std::is_same_v<typename Target::Count, One>;
    using Value = std::conditional_t<oneChunk, SignedChunk, SignedDoubleChunk>;
    constexpr double limit = oneChunk ? 0x1p63 : 0x1p127;
    // Below 1 a positive value underflows, and a tiny one may have lost bits.
    if (!(std::fabs(y) >= 1.0 && std::fabs(y) < limit)) return false;
    bool const negative = y < 0;
    Value value;
    if (std::fabs(y) < 0x1p63) {
        auto const truncated = static_cast<SignedChunk>(y);
        double const rest = std::fabs(y - static_cast<double>(truncated));
        bool const down = y < static_cast<double>(truncated); // the floor is one less, with 1 - rest above it
        value = truncated - down;
        bool const half = (down & (rest <= 0.5)) | (!down & (rest >= 0.5));
        value += bumps(round, {negative, half, rest != 0.5 && rest != 0.0, (value & 1) != 0});
    } else {
        SplitDouble const split = splitDouble(y);
        value = static_cast<Value>(split.mantissa) << split.exponent;
    }
    constexpr int valueBits = static_cast<int>(sizeof(Value)) * 8;
    int const bits = type.getWordLengthNonSign();
    Value const fill = value >> (valueBits - 1);
    if (bits < 1 || (!type.isSigned() && negative)) return false;
    if (bits < valueBits && (value ^ fill) >> bits != 0) return false;
    for (int i = 0; i < target.count(); ++i) {
        target.data()[i] = static_cast<Chunk>(value);
        if constexpr (!oneChunk) value >>= chunkBits;
    }
    target.commit();
    return true;
}

/// 1 if y, which could not be stored quietly, lies above what the type holds, -1 if below; 0 if that is not
/// certain.
inline int sideBeyondLimits(fxpDataTypeProp const& type, double y)
{
    int const bits = type.getWordLengthNonSign();
    if (bits < 1 || bits > 1022) return 0;
    double const above = std::bit_cast<double>(static_cast<Chunk>(1023 + bits) << 52);
    if (y >= above) return 1;
    return (type.isSigned() ? y < -above : y <= -1.0) ? -1 : 0;
}

/// Stores x as value = stored integer * 2^fixedExponent: exact, with one rounding. Zero and NaN store 0
/// silently. An infinity saturates, or stores 0 and calls handleOverflowWrap. Cheapest acts as Zero.
template <class Target>
void storeRadixDouble(OrvexClientInterface& client, Target target, fxpDataTypeProp const& type, double x,
                      fxpModeRounding_tag round, int sat)
{
    if (x == 0.0 || std::isnan(x)) return storeZero(target);
    if (std::isinf(x)) {
        Event const end = x > 0 ? Event::saturationToMax : Event::saturationToMin;
        if (sat)
            storeExtreme(target, type, end);
        else
            storeZero(target);
        return tell(client, sat ? end : Event::wrap);
    }
    if (round == fxpModeRoundingCheapest) round = fxpModeRoundingZero;
    if (type.fixedExponent >= -1023 && type.fixedExponent <= 1022) { // 1 or more units are exact
        double const y = x * std::bit_cast<double>(static_cast<Chunk>(1023 - type.fixedExponent) << 52);
        if (storeUnitsQuietly(target, type, y, round)) return;
        if (int const side = sat ? sideBeyondLimits(type, y) : 0) {
            Event const end = side > 0 ? Event::saturationToMax : Event::saturationToMin;
            storeExtreme(target, type, end);
            return tell(client, end);
        }
    }
    SplitDouble const split = splitDouble(x);
    Chunk const mantissa = static_cast<Chunk>(split.mantissa);
    fxpDataTypeProp const source(true, 54, type.slopeAdjustmentFactor, split.exponent, type.bias);
    convertInto(client, target, type, &mantissa, source, round, sat, One{});
}

/// Stores a real-world value. A value equal to the bias, and NaN, store 0 silently. Otherwise (x - bias) /
/// factor in double arithmetic, the only inexact step before the rounding, and then as above.
template <class Target>
void storeRealWorldDouble(OrvexClientInterface& client, Target target, fxpDataTypeProp const& type, double x,
                          fxpModeRounding_tag round, int sat)
{
    if (x == type.bias || std::isnan(x)) return storeZero(target);
    if (!std::isinf(x) && !(type.bias == 0.0 && type.slopeAdjustmentFactor == 1.0))
        x = (x - type.bias) / type.slopeAdjustmentFactor;
    storeRadixDouble(client, target, type, x, round, sat);
}

/// The two stores into a chunk array that holds the chunks of `type`.
inline void storeRadixDoubleToChunks(OrvexClientInterface& client, Chunk* dst, fxpDataTypeProp const& type,
                                     double x, fxpModeRounding_tag round, int sat)
{
    withCount(numChunksOfType(type),
              [&](auto n) { storeRadixDouble(client, ChunkTarget(dst, n), type, x, round, sat); });
}

inline void storeRealWorldDoubleToChunks(OrvexClientInterface& client, Chunk* dst,
                                         fxpDataTypeProp const& type, double x, fxpModeRounding_tag round,
                                         int sat)
{
    withCount(numChunksOfType(type),
              [&](auto n) { storeRealWorldDouble(client, ChunkTarget(dst, n), type, x, round, sat); });
}

/// Stores x, a value without slope factor or bias, in stored-integer units, unrounded and whatever the range.
/// May then call handleScaledDoublePotentialOverflow or handleScaledDoublePotentialUnderflow.
void storeRadixToScaledDouble(OrvexClientInterface& client, double* out, fxpDataTypeProp const& type,
                              double x);

/// Stores a real-world value in a type of mode scaled double; in any other type, and for NaN, the value
/// itself. Rounding and overflow modes are not looked at. Calls as above.
void storeRealWorldToScaledDouble(OrvexClientInterface& client, double* out, fxpDataTypeProp const& type,
                                  double x, fxpModeRounding_tag round, int sat);

/// The real-world value of a stored double: of mode double the double itself, else
/// p * stored * slopeAdjustmentFactor + bias. The power p = 2^fixedExponent comes from repeated squaring, so
/// that beyond the range of a double it is infinity or zero: not the same as ldexp, and required.
double scaledDoubleToRealWorld(double stored, fxpDataTypeProp const& type);

/// 2^|exponent| as repeated squaring of 2.0 gives it: infinity from 2^1024 on.
inline double powerOfTwoBySquaring(long long exponent)
{
    long long const magnitude = exponent < 0 ? -exponent : exponent;
    return magnitude > 1023 ? HUGE_VAL : scaledByPowerOfTwo(1.0, magnitude);
}

} // namespace ORVEX::multiword
