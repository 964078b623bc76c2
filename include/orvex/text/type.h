/// \file
/// Data types and targets as text, and back.
#pragma once

#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/text/parseerror.h>

#include <string>
#include <string_view>

namespace ORVEX::text
{

/// How a scaled type is written. A 16-bit signed type with 12 bits after the binary point is
enum class TypeNotation {
    automatic,    ///< `word` if that can express the type, else `slopeBias`
    word,         ///< s16,12: word length and fraction length
    qSignApart,   ///< Q3.12: integer bits without the sign bit, as Texas Instruments writes it
    qSignCounted, ///< Q4.12: integer bits with the sign bit, as ARM writes it
    vhdl,         ///< sfixed(3 downto -12): powers of two of the first and the last bit
    hls,          ///< fixed<16,4>: word length, and integer bits with the sign bit
    slopeBias     ///< s16 slope 0.000244140625: word length, slope and bias, also of types without point
};
// Unsigned: u16,12; UQ4.12 both; ufixed(3 downto -12); ufixed<16,4>; u16 slope 0.01 bias -40.

inline constexpr int mostBits = 65536;         ///< of a word length that is read
inline constexpr int mostTypeExponent = 65536; ///< of a fraction length or exponent that is read, either sign

/// The type in a notation, with "scaled:" before it for a scaled double; "double", "single", "boolean" in
/// `automatic` alone. Throws std::invalid_argument if the notation cannot express the type: a slope that is
/// no power of two or a bias in any but slopeBias, a slope that is not positive, a bias that is not finite.
/// The dtoMode is not written. readType gives back the same record.
ORVEX_API std::string toString(fxpDataTypeProp const& type, TypeNotation notation = TypeNotation::automatic);

/// The whole rule of what readType takes, on one line, for a help text.
ORVEX_API extern char const* const typeSyntax;

/// Reads a type in any notation, whichever it is. `q` says what a signed Q notation counts: qSignApart or
/// qSignCounted. `ap_fixed` and `sc_fixed` are read as `fixed` is. Slope and bias may also be joined with
/// commas and equals signs, each may be left out, and a slope may be given in two parts, which are kept as
/// they are: s16,slope=1.25*2^-7,bias=-40. Throws ParseError.
ORVEX_API fxpDataTypeProp readType(std::string_view text, TypeNotation q = TypeNotation::qSignApart);

/// asic, or the bits of char, short, int, long and perhaps long long: 8,16,32,32. Throws ParseError. Both
/// divide toward zero.
ORVEX_API fxpProdHardware readTarget(std::string_view text);

} // namespace ORVEX::text
