/// \file
/// Exponents of scalings: sums and differences of 32-bit numbers.
#pragma once

#include <algorithm>
#include <cmath>

namespace ORVEX::type_basic
{

/// ldexp for an exponent that may lie outside 32 bits.
inline double timesPowerOfTwo(double x, long long exponent)
{
    constexpr long long beyondAnyDouble = 9999;
    return std::ldexp(x, static_cast<int>(std::clamp(exponent, -beyondAnyDouble, beyondAnyDouble)));
}

/// The difference of two fixed exponents, in 64 bits.
inline long long exponentDifference(int a, int b) { return static_cast<long long>(a) - b; }

/// The field's 32 bits of a fixed exponent that was worked out in 64.
inline int toExponentField(long long exponent) { return static_cast<int>(exponent); }

} // namespace ORVEX::type_basic
