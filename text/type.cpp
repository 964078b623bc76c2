#include <orvex/text/type.h>

#include "reader.h"

#include <orvex/foundation/diagnostics.h>

#include <cmath>
#include <cstdlib>
#include <iterator>

namespace ORVEX::text
{

namespace
{

bool isScaled(fxpDataTypeProp const& type)
{
    return type.mode == fxpModeDataTypeFixed || type.mode == fxpModeDataTypeScaledDouble;
}

bool hasBinaryPoint(fxpDataTypeProp const& type)
{
    return type.slopeAdjustmentFactor == 1 && type.bias == 0 && !std::signbit(type.bias);
}

fxpDataTypeProp withPoint(bool isSigned, int wordLength, int exponent)
{
    return {isSigned, wordLength, 1.0, exponent, 0.0};
}

std::string join(char const* start, int first, char const* between, int second, char const* end = "")
{
    return start + std::to_string(first) + between + std::to_string(second) + end;
}

/// As one number where that is read back as the same factor and exponent, else as a product.
std::string slopeText(fxpDataTypeProp const& type)
{
    double const factor = type.slopeAdjustmentFactor, slope = std::ldexp(factor, type.fixedExponent);
    if (!(factor > 0 && std::isfinite(factor))) throw std::invalid_argument("the slope is not positive");
    fxpDataTypeProp again;
    again.setScaling(slope, 0, 0);
    return again.slopeAdjustmentFactor == factor && again.fixedExponent == type.fixedExponent
               ? kvx_dtoa(slope, true)
               : kvx_dtoa(factor, true) + "*2^" + std::to_string(type.fixedExponent);
}

std::string scaledText(fxpDataTypeProp const& type, TypeNotation notation)
{
    int const bits = type.wordLength, low = type.fixedExponent;
    int const high = bits + low; // one above the power of two of the first bit
    std::string const word = (type.isSigned() ? 's' : 'u') + std::to_string(bits);
    if (notation == TypeNotation::slopeBias ||
        (notation == TypeNotation::automatic && !hasBinaryPoint(type))) {
        if (!std::isfinite(type.bias)) throw std::invalid_argument("the bias is not finite");
        return word + " slope " + slopeText(type) +
               (type.bias == 0 && !std::signbit(type.bias) ? "" : " bias " + kvx_dtoa(type.bias, true));
    }
    if (!hasBinaryPoint(type)) throw std::invalid_argument("the notation has no slope factor and no bias");
    switch (notation) {
    case TypeNotation::qSignApart:
        return join(type.isSigned() ? "Q" : "UQ", high - (type.isSigned() ? 1 : 0), ".", -low);
    case TypeNotation::qSignCounted: return join(type.isSigned() ? "Q" : "UQ", high, ".", -low);
    case TypeNotation::vhdl:
        return join(type.isSigned() ? "sfixed(" : "ufixed(", high - 1, " downto ", low, ")");
    case TypeNotation::hls: return join(type.isSigned() ? "fixed<" : "ufixed<", bits, ",", high, ">");
    default: return word + ',' + std::to_string(-low);
    }
}

/// After "Q" or "UQ".
fxpDataTypeProp readQ(Reader& in, bool isSigned, bool signIsCounted)
{
    int const signBits = isSigned && !signIsCounted ? 1 : 0;
    int const integerBits = in.integer(-mostTypeExponent, mostTypeExponent) + signBits;
    in.expect(".");
    int const fractionBits = in.integer(std::max(1 - integerBits, -mostTypeExponent),
                                        std::min(mostBits - integerBits, mostTypeExponent));
    return withPoint(isSigned, integerBits + fractionBits, -fractionBits);
}

/// After "sfixed(" or "ufixed(".
fxpDataTypeProp readRange(Reader& in, bool isSigned)
{
    in.skipBlanks();
    int const high = in.integer(-mostTypeExponent, mostTypeExponent);
    in.skipBlanks();
    in.expect("downto");
    in.skipBlanks();
    int const low = in.integer(std::max(high - mostBits + 1, -mostTypeExponent), high);
    in.skipBlanks();
    in.expect(")");
    return withPoint(isSigned, high - low + 1, low);
}

/// After "fixed<" or "ufixed<".
fxpDataTypeProp readHls(Reader& in, bool isSigned)
{
    in.skipBlanks();
    int const bits = in.integer(1, mostBits);
    in.skipBlanks();
    in.expect(",");
    in.skipBlanks();
    int const integerBits = in.integer(bits - mostTypeExponent, mostTypeExponent);
    in.skipBlanks();
    in.expect(">");
    return withPoint(isSigned, bits, integerBits - bits);
}

/// Between a keyword and its value.
void expectEquals(Reader& in)
{
    bool const isApart = in.skipBlanks();
    if (!in.accept("=") && !isApart) in.fail("'=' expected");
    in.skipBlanks();
}

void readSlope(Reader& in, fxpDataTypeProp& type)
{
    double const factor = in.real("a positive number", [](double x) { return x > 0 && std::isfinite(x); });
    if (!in.accept("*2^")) {
        type.setScaling(factor, 0, type.bias);
        return;
    }
    type.slopeAdjustmentFactor = factor;
    type.fixedExponent = in.integer(-mostTypeExponent, mostTypeExponent);
}

/// What follows a type in any notation: a fraction length or a slope unless there is a point already, a bias.
void readScaling(Reader& in, fxpDataTypeProp& type, bool hasPoint)
{
    bool hasBias = false;
    while (!in.atEnd()) {
        bool const isApart = in.skipBlanks();
        if (!in.accept(",") && !isApart) in.fail("',' expected");
        in.skipBlanks();
        if (!hasBias && in.accept("bias")) {
            expectEquals(in);
            type.bias = in.real("a number", [](double x) { return std::isfinite(x); });
            hasBias = hasPoint = true;
        } else if (!hasPoint && in.accept("slope")) {
            expectEquals(in);
            readSlope(in, type);
            hasPoint = true;
        } else if (!hasPoint) {
            type.fixedExponent = -in.integer(-mostTypeExponent, mostTypeExponent);
            hasPoint = true;
        } else {
            in.fail(hasBias ? "nothing expected after the bias" : "'bias=' expected");
        }
    }
}

fxpDataTypeProp readScaled(Reader& in, TypeNotation q)
{
    bool const signIsCounted = q == TypeNotation::qSignCounted;
    fxpDataTypeProp type;
    bool hasPoint = true;
    if (in.accept("UQ"))
        type = readQ(in, false, signIsCounted);
    else if (in.accept("Q"))
        type = readQ(in, true, signIsCounted);
    else if (in.accept("sfixed("))
        type = readRange(in, true);
    else if (in.accept("ufixed("))
        type = readRange(in, false);
    else if (in.accept("fixed<") || in.accept("ap_fixed<") || in.accept("sc_fixed<"))
        type = readHls(in, true);
    else if (in.accept("ufixed<") || in.accept("ap_ufixed<") || in.accept("sc_ufixed<"))
        type = readHls(in, false);
    else {
        bool const isUnsigned = in.accept("u");
        if (!isUnsigned && !in.accept("s"))
            in.fail("a type expected: s16,12, u8, Q3.12, UQ4.4, s16,slope=0.1,bias=-40, double, single...");
        type = withPoint(!isUnsigned, in.integer(1, mostBits), 0);
        hasPoint = false;
    }
    readScaling(in, type, hasPoint);
    return type;
}

} // namespace

char const* const typeSyntax =
    "Q3.12 (signed, 3 integer and 12 fraction bits beside the sign), UQ4.4; s16,12 or u8,-2 (word length and "
    "fraction length); sfixed(3 downto -12), ufixed(3 downto -4) (first and last bit); fixed<16,4>, "
    "ufixed<8,4> (word length and integer bits with the sign); s16,slope=0.1,bias=-40 or s16 slope 0.1 bias "
    "-40, each part optional; scaled: before any of these for a scaled double; double, single, boolean";

std::string toString(fxpDataTypeProp const& type, TypeNotation notation)
{
    if (isScaled(type))
        return (type.mode == fxpModeDataTypeFixed ? "" : "scaled:") + scaledText(type, notation);
    if (notation != TypeNotation::automatic)
        throw std::invalid_argument("the notation is of scaled types alone");
    return type.mode == fxpModeDataTypeDouble   ? "double"
           : type.mode == fxpModeDataTypeSingle ? "single"
                                                : "boolean";
}

fxpDataTypeProp readType(std::string_view text, TypeNotation q)
{
    Reader in(text);
    fxpDataTypeProp type;
    if (in.accept("double"))
        type = fxpDataTypeProp::doubleDataType();
    else if (in.accept("single"))
        type = fxpDataTypeProp::singleDataType();
    else if (in.accept("boolean"))
        type = {fxpModeDataTypeBoolean, false, 8, 1.0, 0, 0.0, 0};
    else {
        bool const isScaledDouble = in.accept("scaled:");
        type = readScaled(in, q);
        if (isScaledDouble) type.mode = fxpModeDataTypeScaledDouble;
    }
    in.expectEnd();
    return type;
}

fxpProdHardware readTarget(std::string_view text)
{
    Reader in(text);
    fxpProdHardware target = fxpProdHardware::getASICTypeHardware();
    if (!in.accept("asic")) {
        constexpr std::size_t least = 4;
        unsigned int bits[least + 1] = {};
        std::size_t count = 0;
        while (count < std::size(bits) && !(count >= least && in.atEnd())) {
            if (count > 0) in.expect(",");
            bits[count++] = static_cast<unsigned int>(in.integer(1, static_cast<int>(FXP_MAX_BITS)));
        }
        target = count == least ? fxpProdHardware(ProdHWDeviceMicro, bits[0], bits[1], bits[2], bits[3],
                                                  FxpHardwareRoundingZero)
                                : fxpProdHardware(ProdHWDeviceMicro, bits[0], bits[1], bits[2], bits[3],
                                                  bits[4], FxpHardwareRoundingZero);
    }
    in.expectEnd();
    return target;
}

} // namespace ORVEX::text
