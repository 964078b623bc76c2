#include "exact.h"

#include "multiword/rounding.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace ORVEX::text
{

Integer powerOfTwo(int exponent) { return Integer(1) << exponent; }

Fraction scaled(Integer const& value, long long exponent)
{
    if (exponent < 0) return {value, Integer(1) << -exponent};
    return {value << exponent, 1};
}

Fraction exactly(double finite)
{
    constexpr int digits = std::numeric_limits<double>::digits;
    int exponent = 0;
    double const mantissa = std::frexp(finite, &exponent);
    return scaled(Integer(static_cast<long long>(std::ldexp(mantissa, digits))), exponent - digits);
}

Fraction operator+(Fraction const& a, Fraction const& b)
{
    if (a.below == b.below) return {a.above + b.above, a.below};
    return {a.above * b.below + b.above * a.below, a.below * b.below};
}

Fraction operator*(Fraction const& a, Fraction const& b) { return {a.above * b.above, a.below * b.below}; }

Fraction toUnits(Fraction const& value, fxpDataTypeProp const& type)
{
    Fraction const slope = exactly(type.slopeAdjustmentFactor);
    if (slope.above == 0) throw std::invalid_argument("the slope is zero");
    Fraction const inverse =
        slope.above < 0 ? Fraction{-slope.below, -slope.above} : Fraction{slope.below, slope.above};
    return (value + exactly(-type.bias)) * scaled(1, -static_cast<long long>(type.fixedExponent)) * inverse;
}

Fraction toRealWorld(Fraction const& units, fxpDataTypeProp const& type)
{
    Fraction const product = units * exactly(type.slopeAdjustmentFactor) * scaled(1, type.fixedExponent);
    return type.bias == 0 ? product : product + exactly(type.bias);
}

Integer rounded(Fraction const& value, fxpModeRounding_tag mode)
{
    Integer floor, rest;
    divide_qr(value.above, value.below, floor, rest); // toward zero
    if (rest < 0) {
        rest += value.below;
        floor -= 1;
    }
    if (rest == 0) return floor;
    rest <<= 1;
    int const side = rest.compare(value.below);
    multiword::Tail const tail{value.above < 0, side >= 0, side != 0, bit_test(abs(floor), 0)};
    if (multiword::bumps(mode == fxpModeRoundingCheapest ? fxpModeRoundingZero : mode, tail))
        floor += 1; // not ++, by which Boost 1.74 makes -(2^64 + 1) a positive number
    return floor;
}

Integer minStored(fxpDataTypeProp const& type)
{
    return type.isSigned() ? Integer(-powerOfTwo(type.wordLength - 1)) : Integer(0);
}

Integer maxStored(fxpDataTypeProp const& type) { return powerOfTwo(type.getWordLengthNonSign()) - 1; }

Integer patternOf(Integer const& stored, fxpDataTypeProp const& type)
{
    Integer const span = powerOfTwo(type.wordLength);
    Integer const low = stored % span; // of the sign of `stored`
    return low < 0 ? Integer(low + span) : low;
}

Integer wrapped(Integer const& value, fxpDataTypeProp const& type)
{
    Integer const low = patternOf(value, type);
    return low > maxStored(type) ? Integer(low - powerOfTwo(type.wordLength)) : low;
}

Integer loadInteger(void const* from, std::size_t bytes, bool isSigned)
{
    auto const* const begin = static_cast<unsigned char const*>(from);
    Integer value;
    import_bits(value, begin, begin + bytes, 8, false);
    if (isSigned && (begin[bytes - 1] & 0x80) != 0) value -= powerOfTwo(static_cast<int>(8 * bytes));
    return value;
}

void storeInteger(void* to, std::size_t bytes, Integer const& value)
{
    auto* const begin = static_cast<unsigned char*>(to);
    fxpDataTypeProp const container(false, static_cast<int>(8 * bytes), 0);
    Integer const pattern = patternOf(value, container); // which may throw, before anything is written
    std::memset(begin, 0, bytes);
    export_bits(pattern, begin, 8, false);
}

void requireFixed(fxpDataTypeProp const& type)
{
    if (type.mode != fxpModeDataTypeFixed) throw std::invalid_argument("the type is not fixed");
    requireSpellable(type);
}

void requireSpellable(fxpDataTypeProp const& type)
{
    if (!std::isfinite(type.slopeAdjustmentFactor) || !std::isfinite(type.bias))
        throw std::invalid_argument("the type's scaling is not finite");
    if (type.wordLength < 1) throw std::invalid_argument("the type has no bits");
    if (type.wordLength > mostExponent || type.fixedExponent > mostExponent ||
        type.fixedExponent < -mostExponent)
        throw std::length_error("the type is too long to be written out");
}

} // namespace ORVEX::text
