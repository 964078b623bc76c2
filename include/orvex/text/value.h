/// \file
/// Values as text, and back.
#pragma once

#include <orvex/number/number.h>
#include <orvex/text/parseerror.h>

#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace ORVEX::text
{

// Functions of a Number work on the element at its cursor. Those of chunks work on one stored integer of a
// fixed type: 64-bit chunks, least significant first, as many as the word length needs; the sign of a signed
// one fills its top chunk. All of them throw std::length_error where the type's word length or exponent is
// beyond `mostExponent`, and std::invalid_argument where a slope or bias is not finite, where a slope is zero
// and a text is to be stored, and where they say so.
//
// A complex value is written "1.5 - 0.25i". When read, either part may be left out, and blanks are free.

inline constexpr int mostExponent = 100'000; ///< of 2, and of 10 in a text that is read; either sign
inline constexpr int exactDigits = std::numeric_limits<int>::max(); ///< as many digits as the value has

/// A stored integer: 64-bit chunks, least significant first.
using Chunks = std::vector<unsigned long long>;

/// The real-world value in decimal, without exponent, with all of its digits: it is not taken through a
/// double. At most `fractionDigits` digits stand after the point; `round` says how the last of them is found
/// (on the value, with the digit as unit). Zeros at the end are left out. A floating or scaled-double number
/// gives the exact value of what it holds, or "inf", "-inf", "nan".
ORVEX_API std::string toDecimal(Number const& number, int fractionDigits = exactDigits,
                                fxpModeRounding_tag round = fxpModeRoundingNearest);
/// Throws std::invalid_argument unless the type is fixed.
ORVEX_API std::string toDecimal(unsigned long long const* stored, fxpDataTypeProp const& type,
                                int fractionDigits = exactDigits,
                                fxpModeRounding_tag round = fxpModeRoundingNearest);

///@{
/// The bits of the word, as an unsigned integer, with the binary point of the type in its place: 0x1.8 and
/// 0b0001.1000 of 1.5 in 8 bits with 4 after the point, 0xe.8 of -1.5. A point outside of the word is not
/// drawn, an exponent of 2 says where it is: 0x7fp+3. Slope factor and bias play no part. Throws
/// std::invalid_argument unless the type is fixed.
ORVEX_API std::string toHex(Number const& number);
ORVEX_API std::string toHex(unsigned long long const* stored, fxpDataTypeProp const& type);
ORVEX_API std::string toBinary(Number const& number);
ORVEX_API std::string toBinary(unsigned long long const* stored, fxpDataTypeProp const& type);
///@}

/// All elements in exact decimal: "1.5"; "[1.5, 2]" of a row; "[1; 2; 3]" of a column and "[1, 2; 3, 4]" of a
/// matrix; more dimensions as "2x2x2 [1, 2, 3, 4, 5, 6, 7, 8]", column by column.
ORVEX_API std::string toString(Number const& number);

/// Reads a decimal text, sign, digits, point and exponent, "inf" or "nan", into the element at the cursor, in
/// the number's type and modes; an imaginary part that the text does not have becomes stored integer 0, as
/// when a double is assigned.
///
/// Fixed: bias and slope are taken off exactly, the quotient is rounded once and then wraps or saturates. The
/// client hears what it hears of the store of a double: handleUnderflow before the store if the quotient lies
/// between 0 and 1, whatever it rounds to; after the store one of the overflow events. Cheapest acts as Zero.
/// An infinity saturates, or wraps to 0; "nan" stores 0 without event. Other numbers take the double (single:
/// the float) next to the text's value, ties to even, and store it as they store any.
///
/// Throws ParseError before anything is stored, also for an imaginary part that has no place in the number.
ORVEX_API void fromDecimal(Number& number, std::string_view text);
/// The stored integer that a fixed type gets of a text. Events are told at once, before there is a result.
/// Throws std::invalid_argument unless the type is fixed.
ORVEX_API Chunks fromDecimal(OrvexClientInterface& client, std::string_view text, fxpDataTypeProp const& type,
                             fxpModeRounding_tag round, fxpModeOverflow_tag overflow);

///@{
/// Reads what toHex and toBinary write: the bits of the word, which no mode or event touches. Upper and lower
/// case are the same; zeros may be left out at both ends, and the point together with what follows it. Throws
/// ParseError also where a bit that is set lies outside of the word, and std::invalid_argument unless the
/// type is fixed.
ORVEX_API void fromHex(Number& number, std::string_view text);
ORVEX_API Chunks fromHex(std::string_view text, fxpDataTypeProp const& type);
ORVEX_API void fromBinary(Number& number, std::string_view text);
ORVEX_API Chunks fromBinary(std::string_view text, fxpDataTypeProp const& type);
///@}

} // namespace ORVEX::text
