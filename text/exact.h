/// \file
/// Exact values: stored integers, fractions, and what rounding makes of them.
#pragma once

#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/text/value.h>

#include <boost/multiprecision/cpp_int.hpp>

#include <cstddef>
#include <optional>

namespace ORVEX::text
{

using Integer = boost::multiprecision::cpp_int;

/// above / below, below > 0. Not reduced: what is below is a power of two and ten for the most part.
struct Fraction {
    Integer above = 0;
    Integer below = 1;
};

Integer powerOfTwo(int exponent); ///< exponent >= 0
/// value * 2^exponent
Fraction scaled(Integer const& value, long long exponent);
Fraction exactly(double finite);
Fraction operator+(Fraction const& a, Fraction const& b);
Fraction operator*(Fraction const& a, Fraction const& b);

/// In units of the stored integer: without bias and slope, which must not be zero. The second turns it about.
Fraction toUnits(Fraction const& value, fxpDataTypeProp const& type);
Fraction toRealWorld(Fraction const& units, fxpDataTypeProp const& type);

/// Cheapest acts as Zero.
Integer rounded(Fraction const& value, fxpModeRounding_tag mode);

Integer minStored(fxpDataTypeProp const& type);
Integer maxStored(fxpDataTypeProp const& type);

/// The low bits of the word, as an unsigned integer, and the stored integer that has them.
Integer patternOf(Integer const& stored, fxpDataTypeProp const& type);
Integer wrapped(Integer const& value, fxpDataTypeProp const& type);

/// All `bytes` of a container, which are a two's complement if it is signed, and back.
Integer loadInteger(void const* from, std::size_t bytes, bool isSigned);
void storeInteger(void* to, std::size_t bytes, Integer const& value);

/// Throws unless the type is fixed and within what can be spelled out.
void requireFixed(fxpDataTypeProp const& type);
void requireSpellable(fxpDataTypeProp const& type);

} // namespace ORVEX::text
