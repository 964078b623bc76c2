/// \file
/// Data types and targets as text.
#pragma once

#include <orvex/orvex.h>

#include <charconv>
#include <cmath>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace example
{

/// Reads a text from left to right. Where it cannot go on, it shows the place on standard error, with a caret
/// under it, and throws std::runtime_error.
class TextReader
{
public:
    explicit TextReader(std::string_view text_) : text(text_) {}

    bool atEnd() const { return place == text.size(); }

    /// Steps over the word if it comes next.
    bool accept(std::string_view word)
    {
        if (!text.substr(place).starts_with(word)) return false;
        place += word.size();
        return true;
    }
    void expect(std::string_view word)
    {
        if (!accept(word)) fail("'" + std::string(word) + "' expected");
    }
    void expectEnd() const
    {
        if (!atEnd()) fail("the text should end here");
    }

    int integer(int least, int greatest)
    {
        std::string const range = std::to_string(least) + " to " + std::to_string(greatest);
        return number<int>("an integer from " + range, [&](int n) { return n >= least && n <= greatest; });
    }
    /// Of a magnitude that leaves room for arithmetic.
    double real(bool mustBePositive)
    {
        return number<double>(mustBePositive ? "a positive number" : "a number", [&](double x) {
            double const size = mustBePositive ? x : std::abs(x);
            return (x == 0 && !mustBePositive) || (size >= 1e-100 && size <= 1e100);
        });
    }

    [[noreturn]] void fail(std::string const& trouble) const
    {
        std::cerr << text << '\n' << std::string(place, ' ') << "^\n";
        throw std::runtime_error("at character " + std::to_string(place + 1) + " of \"" + std::string(text) +
                                 "\": " + trouble);
    }

private:
    template <class T, class Good>
    T number(std::string const& what, Good good)
    {
        T value = 0;
        char const* const begin = text.data() + place;
        auto const [end, error] = std::from_chars(begin, text.data() + text.size(), value);
        if (error != std::errc() || !good(value)) fail(what + " expected");
        place += static_cast<std::size_t>(end - begin);
        return value;
    }

    std::string_view text;
    std::size_t place = 0;
};

/// What `readType` takes, for a help text.
inline char const* const typeSyntax =
    "Q3.12 (signed, 3 integer and 12 fraction bits beside the sign), UQ4.4; s16,12 or u8,-2 (word length and "
    "fraction length); s16,slope=0.1,bias=-40, each part optional; scaled: before any of these for a scaled "
    "double; double, single, boolean";

/// Throws as TextReader does.
inline fxpDataTypeProp readType(std::string_view text)
{
    constexpr int maxBits = 1024, maxFraction = 1000;
    TextReader in(text);
    fxpDataTypeProp type;
    if (in.accept("double")) {
        type = fxpDataTypeProp::doubleDataType();
    } else if (in.accept("single")) {
        type = fxpDataTypeProp::singleDataType();
    } else if (in.accept("boolean")) {
        type = {fxpModeDataTypeBoolean, false, 8, 1.0, 0, 0.0, 0};
    } else {
        bool const isScaled = in.accept("scaled:");
        bool const isUnsignedQ = in.accept("UQ"), isQ = isUnsignedQ || in.accept("Q");
        if (isQ) {
            int const signBits = isUnsignedQ ? 0 : 1, integerBits = in.integer(0, maxBits - 1);
            in.expect(".");
            int const least =
                signBits + integerBits > 0 ? 0 : 1; // fraction bits, so that there is a bit at all
            int const fractionBits = in.integer(least, maxBits - signBits - integerBits);
            type = fxpDataTypeProp(!isUnsignedQ, signBits + integerBits + fractionBits, fractionBits);
        } else {
            bool const isUnsigned = in.accept("u");
            if (!isUnsigned && !in.accept("s"))
                in.fail(
                    "a type expected: s16,12, u8, Q3.12, UQ4.4, s16,slope=0.1,bias=-40, double, single...");
            type = fxpDataTypeProp(!isUnsigned, in.integer(1, maxBits), 0);
        }
        bool hasScale = isQ, hasBias = false;
        while (!in.atEnd()) {
            in.expect(",");
            if (!hasBias && in.accept("bias=")) {
                type.bias = in.real(false);
                hasBias = hasScale = true;
            } else if (!hasScale && in.accept("slope=")) {
                type.setScaling(in.real(true), 0, 0);
                hasScale = true;
            } else if (!hasScale) {
                type.fixedExponent = -in.integer(-maxFraction, maxFraction);
                hasScale = true;
            } else {
                in.fail(hasBias ? "nothing expected after the bias" : "'bias=' expected");
            }
        }
        if (isScaled) type.mode = fxpModeDataTypeScaledDouble;
    }
    in.expectEnd();
    return type;
}

/// asic, or the sizes of char, short, int, long and perhaps long long. Throws as TextReader does.
inline fxpProdHardware readTarget(std::string_view text)
{
    TextReader in(text);
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

} // namespace example
