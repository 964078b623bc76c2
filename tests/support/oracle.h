/// \file
/// The exact oracle: what stores and conversions have to give, worked out on rationals by definition.
/// It shares nothing with the library but the type record and the mode enumerators.
#pragma once

#include "support/types.h"

#include <boost/multiprecision/cpp_int.hpp>

#include <ostream>
#include <vector>

namespace orvextest
{

using Int = boost::multiprecision::cpp_int;
using Rational = boost::multiprecision::cpp_rational;

/// What a store leaves behind: the stored integer, and what the client has heard, in order.
struct Outcome {
    Int stored;
    Events events;
};
// Exact values

Rational scaled(Int const& value, long long exponent);   ///< value * 2^exponent
Rational exactly(double finite, long long exponent = 0); ///< the same of a double
Int floorOf(Rational const& value);
Int modulo(Int const& value, Int const& modulus); ///< in [0, modulus)

/// The integer that the mode makes of an exact value. `cheapest` is what Cheapest stands for in the operation
/// under test; an unknown mode is Floor.
Int roundTo(Rational const& value, int mode, fxpModeRounding_tag cheapest = fxpModeRoundingFloor);

// Stored integers and chunks

Int minStored(Type const& type);
Int maxStored(Type const& type);
Int wrapTo(Int const& value, Type const& type);
std::size_t chunkCount(Type const& type);

/// The two's-complement pattern of `value` in `count` chunks; of a stored integer that is its canonical form.
std::vector<Chunk> chunksOf(Int const& value, std::size_t count);
std::vector<Chunk> chunksOf(Int const& value, Type const& type);

/// The integer that the whole container holds, bits above the word length included.
Int valueOf(Chunk const* chunks, Type const& type);

/// Zero, both limits and their neighbours, powers of two and ties about them, and random ones.
std::vector<Int> interestingStored(Type const& type, Random& random, int randomCount);

/// The exact value of a stored integer without slope and bias.
Rational radixValue(Int const& stored, Type const& type);

// Stores

/// Rounds a value that is given in units of the stored integer, then wraps or saturates it.
Outcome store(Rational const& units, Type const& type, int round, int sat,
              fxpModeRounding_tag cheapest = fxpModeRoundingFloor);

/// From a stored integer of one type into another; slope and bias play no part.
Outcome convert(Int const& source, Type const& sourceType, Type const& type, int round, int sat);

/// The prescribed quotient as the whole container holds it: every bit above the word's magnitude tells a
/// wrap, and a sign extension is put right only where a rounding step's carry meets the top chunk.
Outcome divide(Int const& a, Type const& aType, Int const& b, Type const& bType, Type const& to, int round,
               int sat, fxpModeRounding_tag cheapest = fxpModeRoundingZero);

/// From a double taken as a multiple of 2^fixedExponent.
Outcome quantizeRadix(double value, Type const& type, int round, int sat);

/// From a real-world value, reduced by bias and slope factor in double arithmetic.
Outcome quantize(double value, Type const& type, int round, int sat);

// Prescribed steps in double arithmetic

double readRadix(Int const& stored, Type const& type); ///< one rounding per chunk, low chunk first
double readRealWorld(Int const& stored, Type const& type);

/// The double that a scaled-double type keeps of a value without slope and bias, and what the client hears.
struct ScaledOutcome {
    double stored;
    Events events;
};
ScaledOutcome scaledFromRadix(double value, Type const& type);
ScaledOutcome scaledFromRealWorld(double value, Type const& type);
double readScaled(double stored, Type const& type);

} // namespace orvextest
