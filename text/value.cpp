#include <orvex/text/value.h>

#include "exact.h"
#include "reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace ORVEX::text
{

namespace
{

// The storage of a number, element by element

std::size_t bytesPerPart(fxpDataTypeProp const& type)
{
    if (type.mode != fxpModeDataTypeFixed) return type.mode == fxpModeDataTypeSingle ? sizeof(float) : 8;
    for (std::size_t const bytes : {1U, 2U, 4U, 8U})
        if (static_cast<std::size_t>(type.wordLength) <= 8 * bytes) return bytes;
    return (static_cast<std::size_t>(type.wordLength) + 63) / 64 * 8;
}

std::size_t partsOf(Number const& number) { return number.isComplex() ? 2 : 1; }

/// Where a part of the element at the cursor lies.
unsigned char* placeOf(Number const& number, std::size_t part)
{
    // Not a constant: a body's own, or lent to it for writing.
    auto* const storage = static_cast<unsigned char*>(const_cast<void*>(number.getSIArray()));
    return storage + (number.getIndex() * partsOf(number) + part) * bytesPerPart(number.getDataType());
}

Integer storedAt(Number const& number, std::size_t part)
{
    fxpDataTypeProp const& type = number.getDataType();
    return loadInteger(placeOf(number, part), bytesPerPart(type), type.isSigned());
}

Integer storedIn(unsigned long long const* chunks, fxpDataTypeProp const& type)
{
    return loadInteger(chunks, (static_cast<std::size_t>(type.wordLength) + 63) / 64 * 8, type.isSigned());
}

Chunks chunksOf(Integer const& stored, fxpDataTypeProp const& type)
{
    Chunks chunks((static_cast<std::size_t>(type.wordLength) + 63) / 64);
    storeInteger(chunks.data(), chunks.size() * 8, stored);
    return chunks;
}

// Complex values

/// Joins the texts of a number's parts: "1.5", "1.5 - 0.25i".
template <class TextOfPart>
std::string joinParts(Number const& number, TextOfPart textOf)
{
    std::string real = textOf(std::size_t{0});
    if (!number.isComplex()) return real;
    std::string const imaginary = textOf(std::size_t{1});
    bool const isNegative = imaginary.front() == '-';
    return real + (isNegative ? " - " : " + ") + imaginary.substr(isNegative ? 1 : 0) + 'i';
}

template <class Part>
using PartsRead = std::array<std::optional<Part>, 2>; // at least one

/// Reads one or two parts; readPart(in, isNegative) reads what follows a sign.
template <class Part, class ReadPart>
PartsRead<Part> readParts(std::string_view text, bool isComplex, ReadPart readPart)
{
    Reader in(text);
    PartsRead<Part> parts;
    for (bool isFirst = true; isFirst || !in.atEnd(); isFirst = false) {
        in.skipBlanks();
        std::size_t const start = in.place();
        bool const isNegative = in.accept("-");
        if (!isNegative && !in.accept("+") && !isFirst) in.fail("the text should end here");
        in.skipBlanks();
        Part const part = readPart(in, isNegative);
        bool const isImaginary = in.accept("i");
        if (isImaginary && !isComplex) in.failAt(start, "no imaginary part expected");
        if (!isFirst && !isImaginary) in.fail("'i' expected");
        parts[isImaginary ? 1 : 0] = part;
        in.skipBlanks();
        if (isImaginary) break;
    }
    in.expectEnd();
    return parts;
}

// Decimal

/// The value must have a power of two below.
std::string decimalText(Fraction value, int fractionDigits, fxpModeRounding_tag round)
{
    if (value.above == 0) return "0";
    unsigned const common = std::min(lsb(abs(value.above)), lsb(value.below));
    value.above >>= common;
    value.below >>= common;
    unsigned const all = lsb(value.below),
                   kept = std::min(all, static_cast<unsigned>(std::max(fractionDigits, 0)));
    Integer const units = kept == all ? Integer(value.above * pow(Integer(5), all))
                                      : rounded({value.above * pow(Integer(10), kept), value.below}, round);
    std::string digits = Integer(abs(units)).str();
    if (digits.size() <= kept) digits.insert(0, kept + 1 - digits.size(), '0');
    if (kept > 0) {
        digits.insert(digits.size() - kept, 1, '.');
        digits.erase(digits.find_last_not_of('0') + 1);
        if (digits.back() == '.') digits.pop_back();
    }
    return (units < 0 ? "-" : "") + digits;
}

std::string decimalText(Number const& number, std::size_t part, int fractionDigits, fxpModeRounding_tag round)
{
    fxpDataTypeProp const& type = number.getDataType();
    if (number.isFixed())
        return decimalText(toRealWorld({storedAt(number, part), 1}, type), fractionDigits, round);
    double const held = number.getSIDoubleValue(); // never complex
    if (std::isnan(held)) return "nan";
    if (std::isinf(held)) return held < 0 ? "-inf" : "inf";
    return decimalText(number.isScaledDouble() ? toRealWorld(exactly(held), type) : exactly(held),
                       fractionDigits, round);
}

struct Decimal {
    enum class Kind { finite, infinite, nan } kind = Kind::finite;
    bool isNegative = false;
    std::string_view text{}; ///< without sign
    Integer digits = 0;      ///< times 10^exponent
    long long exponent = 0;

    Fraction value() const
    {
        Integer const power = pow(Integer(10), static_cast<unsigned>(std::abs(exponent)));
        Fraction fraction = exponent < 0 ? Fraction{digits, power} : Fraction{digits * power, 1};
        if (isNegative) fraction.above = -fraction.above;
        return fraction;
    }

    /// The nearest value of a floating type.
    template <class Float>
    double nearest() const
    {
        Float magnitude = kind == Kind::nan ? std::numeric_limits<Float>::quiet_NaN()
                                            : std::numeric_limits<Float>::infinity();
        if (kind == Kind::finite) {
            auto const error = std::from_chars(text.data(), text.data() + text.size(), magnitude).ec;
            if (error != std::errc()) { // beyond the largest, or below the least
                Fraction const size = value();
                magnitude = abs(size.above) > size.below ? std::numeric_limits<Float>::infinity() : 0;
            }
        }
        return static_cast<double>(isNegative ? -magnitude : magnitude);
    }
};

Decimal readDecimal(Reader& in, bool isNegative)
{
    Decimal number;
    number.isNegative = isNegative;
    if (in.accept("infinity") || in.accept("inf"))
        number.kind = Decimal::Kind::infinite;
    else if (in.accept("nan"))
        number.kind = Decimal::Kind::nan;
    if (number.kind != Decimal::Kind::finite) return number;

    std::size_t const start = in.place();
    std::string digits;
    bool hasPoint = false;
    for (;; in.step()) {
        if (isDigit(in.next())) {
            digits += in.next();
            number.exponent -= hasPoint ? 1 : 0;
        } else if (in.next() == '.' && !hasPoint) {
            hasPoint = true;
        } else {
            break;
        }
    }
    if (digits.empty()) in.fail("a digit expected");
    digits.erase(0, digits.find_first_not_of('0')); // which would stand for base 8
    if (!digits.empty()) number.digits.assign(digits);
    if (in.accept("e") || in.accept("E")) {
        if (in.accept("+") && !isDigit(in.next())) in.fail("a digit expected");
        number.exponent += in.integer(-mostExponent, mostExponent);
    }
    number.text = in.since(start);
    if (number.digits == 0) number.exponent = 0;
    return number;
}

/// Puts the stored integer and tells the client as the store of a double does.
template <class Put>
void store(OrvexClientInterface& client, Decimal const& number, fxpDataTypeProp const& type,
           fxpModeRounding_tag round, fxpModeOverflow_tag overflow, Put put)
{
    if (number.kind == Decimal::Kind::nan) return put(Integer(0));
    bool const isInfinite = number.kind == Decimal::Kind::infinite;
    Fraction const units = isInfinite ? Fraction{} : toUnits(number.value(), type);
    if (units.above > 0 && units.above < units.below) client.handleUnderflow();
    Integer const stored = rounded(units, round);
    bool const isBelow = isInfinite ? number.isNegative : stored < minStored(type);
    if (!isInfinite && !isBelow && stored <= maxStored(type)) {
        put(stored);
    } else if (overflow == fxpModeOverflowWrap) {
        put(wrapped(stored, type));
        client.handleOverflowWrap();
    } else if (isBelow) {
        put(minStored(type));
        client.handleSaturationToMin();
    } else {
        put(maxStored(type));
        client.handleSaturationToMax();
    }
}

// Bits

constexpr int hexBits = 4, binaryBits = 1; // of a digit

int digitsFor(int bits, int bitsPerDigit) { return (bits + bitsPerDigit - 1) / bitsPerDigit; }

std::string bitText(Integer const& stored, fxpDataTypeProp const& type, int bitsPerDigit)
{
    Integer pattern = patternOf(stored, type);
    int const fraction = -type.fixedExponent;
    bool const hasPoint = fraction >= 0 && fraction <= type.wordLength;
    int const low = hasPoint ? digitsFor(fraction, bitsPerDigit) : 0;
    int const high = std::max(1, digitsFor(type.wordLength - (hasPoint ? fraction : 0), bitsPerDigit));
    if (hasPoint) pattern <<= low * bitsPerDigit - fraction;
    std::string digits;
    for (int i = low + high; i-- > 0;) {
        unsigned digit = 0;
        for (int bit = bitsPerDigit; bit-- > 0;)
            digit = 2 * digit + (bit_test(pattern, static_cast<unsigned>(i * bitsPerDigit + bit)) ? 1 : 0);
        digits += "0123456789abcdef"[digit];
    }
    if (low > 0) digits.insert(static_cast<std::size_t>(high), 1, '.');
    if (!hasPoint) digits += std::string(fraction < 0 ? "p+" : "p") + std::to_string(-fraction);
    return (bitsPerDigit == hexBits ? "0x" : "0b") + digits;
}

/// The value of a digit, or 16.
unsigned digitOf(char c)
{
    if (isDigit(c)) return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a') + 10;
    if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A') + 10;
    return 16;
}

/// The stored integer of the bits that follow.
Integer readBits(Reader& in, bool isNegative, fxpDataTypeProp const& type, int bitsPerDigit)
{
    bool const isHex = bitsPerDigit == hexBits;
    if (isNegative) in.fail("bits have no sign");
    if (!in.accept(isHex ? "0x" : "0b") && !in.accept(isHex ? "0X" : "0B"))
        in.fail(isHex ? "'0x' expected" : "'0b' expected");
    Integer value = 0;
    long long exponent = 0;
    bool hasPoint = false, hasDigit = false;
    std::size_t first = in.place(), last = first; // digits that are not zero
    for (;; in.step()) {
        unsigned const digit = digitOf(in.next());
        if (digit >> bitsPerDigit == 0) {
            if (digit != 0) {
                if (value == 0) first = in.place();
                last = in.place();
            }
            value = (value << bitsPerDigit) + digit;
            exponent -= hasPoint ? bitsPerDigit : 0;
            hasDigit = true;
        } else if (in.next() == '.' && !hasPoint) {
            hasPoint = true;
        } else {
            break;
        }
    }
    if (!hasDigit) in.fail("a digit expected");
    if (in.accept("p") || in.accept("P")) {
        if (in.accept("+") && !isDigit(in.next())) in.fail("a digit expected");
        exponent += in.integer(-mostExponent, mostExponent);
    }
    Fraction const pattern = scaled(value, exponent - type.fixedExponent);
    if (pattern.above % pattern.below != 0) in.failAt(last, "a bit below the word");
    Integer const bits = pattern.above / pattern.below;
    if (bits >= powerOfTwo(type.wordLength)) in.failAt(first, "a bit above the word");
    return wrapped(bits, type);
}

std::string bitText(Number const& number, int bitsPerDigit)
{
    requireFixed(number.getDataType());
    return joinParts(number, [&](std::size_t part) {
        return bitText(storedAt(number, part), number.getDataType(), bitsPerDigit);
    });
}

void putStored(Number& number, std::size_t part, Integer const& stored)
{
    storeInteger(placeOf(number, part), bytesPerPart(number.getDataType()), stored);
}

void fromBits(Number& number, std::string_view text, int bitsPerDigit)
{
    requireFixed(number.getDataType());
    auto const parts = readParts<Integer>(text, number.isComplex(), [&](Reader& in, bool isNegative) {
        return readBits(in, isNegative, number.getDataType(), bitsPerDigit);
    });
    for (std::size_t part = 0; part < partsOf(number); ++part)
        putStored(number, part, parts[part].value_or(0));
}

Chunks fromBits(std::string_view text, fxpDataTypeProp const& type, int bitsPerDigit)
{
    requireFixed(type);
    return chunksOf(*readParts<Integer>(text, false,
                                        [&](Reader& in, bool isNegative) {
                                            return readBits(in, isNegative, type, bitsPerDigit);
                                        })[0],
                    type);
}

} // namespace

std::string toDecimal(Number const& number, int fractionDigits, fxpModeRounding_tag round)
{
    if (number.isScaledType()) requireSpellable(number.getDataType());
    return joinParts(number,
                     [&](std::size_t part) { return decimalText(number, part, fractionDigits, round); });
}

std::string toDecimal(unsigned long long const* stored, fxpDataTypeProp const& type, int fractionDigits,
                      fxpModeRounding_tag round)
{
    requireFixed(type);
    return decimalText(toRealWorld({storedIn(stored, type), 1}, type), fractionDigits, round);
}

std::string toHex(Number const& number) { return bitText(number, hexBits); }
std::string toBinary(Number const& number) { return bitText(number, binaryBits); }

std::string toHex(unsigned long long const* stored, fxpDataTypeProp const& type)
{
    requireFixed(type);
    return bitText(storedIn(stored, type), type, hexBits);
}

std::string toBinary(unsigned long long const* stored, fxpDataTypeProp const& type)
{
    requireFixed(type);
    return bitText(storedIn(stored, type), type, binaryBits);
}

std::string toString(Number const& number)
{
    Number const elements(number, NumberUtils::copyIndexOnly); // has a cursor of its own
    if (elements.isScalar()) return toDecimal(elements[0]);
    unsigned long long const count = elements.getNumberOfElements(), rows = elements.getNumberOfRows();
    std::string text;
    if (elements.getNDims() > 2) {
        for (unsigned long long i = 0; i < elements.getNDims(); ++i)
            text += (i == 0 ? "" : "x") + std::to_string(elements.getDims()[i]);
        text += ' ';
    }
    bool const isMatrix =
        elements.getNDims() == 2 && rows > 0 && count == rows * elements.getNumberOfColumns();
    unsigned long long const lines = isMatrix ? rows : 1, perLine = count / lines;
    text += '[';
    for (unsigned long long line = 0; line < lines; ++line)
        for (unsigned long long i = 0; i < perLine; ++i)
            text += (i > 0 ? ", " : line > 0 ? "; " : "") + toDecimal(elements[line + i * lines]);
    return text + ']';
}

void fromDecimal(Number& number, std::string_view text)
{
    if (number.isScaledType()) requireSpellable(number.getDataType());
    auto const parts = readParts<Decimal>(text, number.isComplex(), readDecimal);
    if (!number.isFixed()) { // never complex
        number = number.isSingle() ? parts[0]->nearest<float>() : parts[0]->nearest<double>();
        return;
    }
    for (std::size_t part = 0; part < partsOf(number); ++part) {
        auto const put = [&](Integer const& stored) { putStored(number, part, stored); };
        if (parts[part])
            store(number.getFxpClient(), *parts[part], number.getDataType(), number.getRoundMode(),
                  number.getOverflowMode(), put);
        else
            put(0);
    }
}

Chunks fromDecimal(OrvexClientInterface& client, std::string_view text, fxpDataTypeProp const& type,
                   fxpModeRounding_tag round, fxpModeOverflow_tag overflow)
{
    requireFixed(type);
    Chunks chunks;
    store(client, *readParts<Decimal>(text, false, readDecimal)[0], type, round, overflow,
          [&](Integer const& stored) { chunks = chunksOf(stored, type); });
    return chunks;
}

void fromHex(Number& number, std::string_view text) { fromBits(number, text, hexBits); }
void fromBinary(Number& number, std::string_view text) { fromBits(number, text, binaryBits); }
Chunks fromHex(std::string_view text, fxpDataTypeProp const& type) { return fromBits(text, type, hexBits); }
Chunks fromBinary(std::string_view text, fxpDataTypeProp const& type)
{
    return fromBits(text, type, binaryBits);
}

} // namespace ORVEX::text
