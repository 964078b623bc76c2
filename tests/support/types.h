/// \file
/// What tests speak of: modes, types, events and awkward doubles, how they print, and seeded random ones.
#pragma once

#include <orvex/foundation/fxpdatatypeprop.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <ostream>
#include <random>
#include <vector>

inline std::ostream& operator<<(std::ostream& out, fxpDataTypeProp const& type)
{
    return out << "{mode " << type.mode << (type.isSigned() ? ", signed " : ", unsigned ") << type.wordLength
               << " bits, exponent " << type.fixedExponent << ", factor " << type.slopeAdjustmentFactor
               << ", bias " << type.bias << ", dto " << type.dtoMode << '}';
}

namespace orvextest
{

using Type = fxpDataTypeProp;
using Chunk = unsigned long long;

inline constexpr std::array allRoundings{
    fxpModeRoundingZero,     fxpModeRoundingNearest,  fxpModeRoundingCeiling,   fxpModeRoundingFloor,
    fxpModeRoundingCheapest, fxpModeRoundingHalfAway, fxpModeRoundingConvergent};
inline constexpr std::array bothOverflows{fxpModeOverflowWrap, fxpModeOverflowSaturate};

inline char const* roundingName(int mode)
{
    constexpr std::array names{"Zero", "Nearest", "Ceiling", "Floor", "Cheapest", "HalfAway", "Convergent"};
    return mode >= 0 && mode < static_cast<int>(names.size()) ? names[static_cast<std::size_t>(mode)]
                                                              : "unknown";
}

/// The last part of a failure message: " Nearest wrap".
struct Modes {
    int round, sat;
    fxpModeRounding_tag rounding() const { return static_cast<fxpModeRounding_tag>(round); }
    fxpModeOverflow_tag overflow() const { return static_cast<fxpModeOverflow_tag>(sat); }
    friend std::ostream& operator<<(std::ostream& out, Modes const& modes)
    {
        return out << ' ' << roundingName(modes.round) << (modes.sat ? " saturate" : " wrap");
    }
};

/// What a client can hear.
enum class Event {
    wrap,
    saturationToMin,
    saturationToMax,
    underflow,
    divisionByZero,
    scaledDoubleOverflow,
    scaledDoubleUnderflow,
    netSlope,
    netBias,
    diagnosticError
};
using Events = std::vector<Event>;

inline std::ostream& operator<<(std::ostream& out, Event event)
{
    constexpr std::array names{"wrap",           "saturationToMin",      "saturationToMax",       "underflow",
                               "divisionByZero", "scaledDoubleOverflow", "scaledDoubleUnderflow", "netSlope",
                               "netBias",        "diagnosticError"};
    return out << names[static_cast<std::size_t>(event)];
}

inline Type fixedType(bool isSigned, int wordLength, int exponent = 0, double factor = 1.0, double bias = 0.0)
{
    return {isSigned, wordLength, factor, exponent, bias};
}

inline Type s(int bits, int exponent = 0, double factor = 1.0, double bias = 0.0)
{
    return fixedType(true, bits, exponent, factor, bias);
}
inline Type u(int bits, int exponent = 0, double factor = 1.0, double bias = 0.0)
{
    return fixedType(false, bits, exponent, factor, bias);
}
inline Type withMode(Type type, fxpModeDataType mode)
{
    type.mode = mode;
    return type;
}
inline Type scaledDouble(Type const& type) { return withMode(type, fxpModeDataTypeScaledDouble); }

/// Word lengths at and around every change of container or chunk count.
inline constexpr std::array seamWordLengths{1,  2,  7,   8,   9,   31,  32,  33,  63,
                                            64, 65, 100, 127, 128, 129, 192, 193, 300};

/// Signed and unsigned binary-point types of all seam word lengths.
inline std::vector<Type> seamTypes(int exponent = 0)
{
    std::vector<Type> types;
    for (int const bits : seamWordLengths)
        for (bool const isSigned : {false, true}) types.push_back(fixedType(isSigned, bits, exponent));
    return types;
}

/// Both signs of: zero, ties, values about limits of words, powers of two with their neighbours from the
/// least subnormal up, infinity and NaN.
inline std::vector<double> specialDoubles()
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::vector<double> values{0.0, 0.6, 1.5, 2.5, 3.5, 127.4, 127.5, 255.5, 300.0, infinity, std::nan("")};
    for (int const power : {-1074, -1022, -100, -2, -1, 0, 7, 53, 63, 64, 70, 127, 128, 300, 1023})
        for (double const toward : {0.0, std::ldexp(1.0, power), infinity})
            values.push_back(std::nextafter(std::ldexp(1.0, power), toward));
    for (std::size_t i = values.size(); i-- > 0;) values.push_back(-values[i]);
    return values;
}

/// The same double bit by bit, or NaN both.
inline bool sameDouble(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

/// Random input that is the same in every run. Fuzzing derives from it what reads a given input instead.
class Random
{
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    virtual ~Random() = default;

    virtual Chunk bits() { return engine_(); }
    virtual Chunk below(Chunk count) { return bits() % count; }
    virtual bool coin() { return (bits() >> 40 & 1) != 0; }
    int between(int low, int high)
    {
        return low + static_cast<int>(below(static_cast<Chunk>(high - low + 1)));
    }

    template <class List>
    auto pick(List const& list)
    {
        return *std::next(std::begin(list), between(0, static_cast<int>(std::size(list)) - 1));
    }

    /// A binary-point type of 1 to `maxWordLength` bits, half of them at a seam.
    Type radixType(int maxWordLength, int minExponent, int maxExponent)
    {
        int bits = between(1, maxWordLength);
        if (int const seam = pick(seamWordLengths); coin() && seam <= maxWordLength) bits = seam;
        return fixedType(coin(), bits, between(minExponent, maxExponent));
    }

    /// A double of few or many significant bits, from far below one unit of `type` to somewhat beyond its
    /// range.
    double doubleNear(Type const& type)
    {
        double const mantissa = static_cast<double>((bits() >> between(11, 63)) | 1);
        double const value = std::ldexp(mantissa, type.fixedExponent + between(-56, type.wordLength + 3) -
                                                      (coin() ? std::ilogb(mantissa) : 0));
        return coin() ? value : -value;
    }

private:
    std::mt19937_64 engine_;
};

} // namespace orvextest
