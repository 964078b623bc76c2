/// \file
/// Exact values of stored integers.
#pragma once

#include <orvex/orvex.h>

#include <boost/multiprecision/cpp_int.hpp>

#include <cstdlib>
#include <sstream>
#include <string>

namespace example
{

using Integer = boost::multiprecision::cpp_int;
using Rational = boost::multiprecision::cpp_rational;

inline Rational powerOfTwo(int exponent)
{
    Integer const power = Integer(1) << std::abs(exponent);
    return exponent < 0 ? Rational(1, power) : Rational(power);
}

/// From a value of the type to the next.
inline Rational stepOf(fxpDataTypeProp const& type)
{
    return Rational(type.slopeAdjustmentFactor) * powerOfTwo(type.fixedExponent);
}

inline Rational realWorld(Rational const& stored, fxpDataTypeProp const& type)
{
    return stepOf(type) * stored + Rational(type.bias);
}

/// A stored integer in chunks, least significant first; the sign of a signed type fills its top chunk.
inline Integer storedInteger(unsigned long long const* chunks, fxpDataTypeProp const& type)
{
    int const count = (type.wordLength + 63) / 64;
    Integer stored = type.isSigned() && chunks[count - 1] >> 63 != 0 ? -1 : 0;
    for (int i = count; i-- > 0;) stored = (stored << 64) + chunks[i];
    return stored;
}

inline std::string digits(Rational const& value, int significant)
{
    std::ostringstream text;
    text.precision(significant);
    text << value.convert_to<double>();
    return text.str();
}

} // namespace example
