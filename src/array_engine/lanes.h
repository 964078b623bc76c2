/// \file
/// The loops of the fast array path: a block of elements at a time, in lanes of
/// one machine type.
///
/// A lane loop computes the value that an element gets when its store raises no
/// event. It never decides what another element becomes: the scalar kernels do,
/// element by element. A loop that can meet such elements is told where they are
/// to be marked; without that it tells whether there is one, which is cheaper.
/// The loops are compiled for several instruction sets and chosen when the
/// library is loaded.
#pragma once

#include <orvex/foundation/fxpmodes.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace ORVEX::array_engine
{

using Lane32 = std::int32_t;
using Lane64 = long long;
__extension__ typedef __int128 Lane128;

/// Elements per block: the lanes of two operands stay within the first-level cache.
inline constexpr std::size_t blockSize = 512;

/// What is known of a lane: its store is silent, or raises an event that is left to the scalar routine, or,
/// where the lane holds the limit, just that one event.
enum Marks : std::uint8_t { silent, outside, belowLeast, aboveMost };

/// A word of 65 to 128 bits as it is stored.
struct TwoChunks {
    unsigned long long low;
    unsigned long long high;

    TwoChunks() = default;
    explicit TwoChunks(Lane128 value)
        : low(static_cast<unsigned long long>(value)), high(static_cast<unsigned long long>(value >> 64))
    {
    }
    /// Of a whole double below 2^127 in magnitude, which the high and the low part of that hold exactly.
    explicit TwoChunks(double whole)
    {
        double const magnitude = std::fabs(whole);
        double const above = std::floor(magnitude * 0x1p-64);
        unsigned long long const negative = whole < 0.0 ? 1 : 0;
        low = (static_cast<unsigned long long>(magnitude - above * 0x1p64) ^ (0 - negative)) + negative;
        high = (static_cast<unsigned long long>(above) ^ (0 - negative)) + (low == 0 ? negative : 0);
    }
    explicit operator Lane128() const
    {
        return static_cast<Lane128>(static_cast<long long>(high)) << 64 | static_cast<Lane128>(low);
    }
};

/// Reads n words into lanes, by their own signedness.
template <class T, class Lane>
void widen(T const* words, std::size_t n, Lane* lanes);

/// A word that holds the value of a lane.
template <class T, class Lane>
T toWord(Lane lane)
{
    if constexpr (std::is_same_v<T, TwoChunks>)
        return TwoChunks(
            static_cast<std::conditional_t<std::is_same_v<Lane, double>, double, Lane128>>(lane));
    else
        return static_cast<T>(lane);
}

/// Writes n lanes into words that hold their values.
template <class Lane, class T>
void narrow(Lane const* lanes, std::size_t n, T* words);

/// What lanes have to stay within, the ends included: as many values as some power of two.
template <class Lane>
struct LaneLimits {
    Lane least;
    Lane most;
};

/// No limits at all.
template <class Lane>
constexpr LaneLimits<Lane> anyLane()
{
    auto const least = static_cast<Lane>(Lane{1} << (8 * sizeof(Lane) - 1));
    return {least, static_cast<Lane>(~least)};
}

// The following answer whether a lane is outside, or mark those lanes and answer true. `out` may be `in` or
// `a`.

template <class Lane>
bool checkLanes(Lane const* in, std::size_t n, LaneLimits<Lane> limits, Marks* marks);

/// How doubles become stored integers: (x - bias) / factor * power, then
/// rounded.
struct RealToLane {
    double bias;
    double factor;
    double power;   ///< 2^-fixedExponent
    double least;   ///< the type's minimum
    double above;   ///< one more than its maximum, which may be no double
    bool scaled;    ///< bias and factor are not trivial
    bool saturates; ///< marked lanes beyond a limit get that limit, which they hold
};

/// Rounds doubles to whole ones, in Lane32 if that holds the range. Outside is what underflows, is out of
/// range or no number, and what the power scales to almost nothing. Cheapest is not a mode here.
template <class Lane>
bool roundReals(double const* reals, std::size_t n, RealToLane const& how, fxpModeRounding_tag round,
                Lane* out, Marks* marks);

/// How a stored integer moves to another exponent: down by `shift` bits with
/// rounding, or up by -shift.
template <class Lane>
struct LaneShift {
    int shift;
    fxpModeRounding_tag round;
    LaneLimits<Lane> limits; ///< of the lanes after a shift down, before a shift up
};

template <class Lane>
bool shiftLanes(Lane const* in, std::size_t n, LaneShift<Lane> const& how, Lane* out, Marks* marks);

/// out := a + b or a - b, which the lanes hold. What is outside in a stays so.
template <class Lane>
bool addLanes(Lane const* a, LaneLimits<Lane> limitsOfA, Lane const* b, std::size_t n, bool minus,
              LaneLimits<Lane> limits, Lane* out, Marks* marks);

/// out := in + b or in - b for one b, which the lanes hold.
template <class Lane>
bool offsetLanes(Lane const* in, std::size_t n, Lane b, bool minus, LaneLimits<Lane> limits, Lane* out,
                 Marks* marks);

/// How a quotient is formed: a * 2^upA / (b * 2^upB), which the lanes hold, rounded.
template <class Lane>
struct LaneQuotient {
    int upA;
    int upB;
    fxpModeRounding_tag round;
    LaneLimits<Lane> limits; ///< of the truncated quotient; outside is also what it may be stepped out of
    bool isSigned;           ///< else no quotient below zero is inside, not even one that is rounded to it
};

/// Division by zero is outside.
template <class Lane>
bool divideLanes(Lane const* a, Lane const* b, std::size_t n, LaneQuotient<Lane> const& how, Lane* out,
                 Marks* marks);

/// out := a * b, which the lanes hold.
template <class Lane>
void multiplyLanes(Lane const* a, Lane const* b, std::size_t n, Lane* out);

/// out := in * b for one b, which the lanes hold.
template <class Lane>
void scaleLanes(Lane const* in, std::size_t n, Lane b, Lane* out);

/// Of complex numbers in pairs of lanes the products that their product is put together from: `first` gets
/// the real part of a times both parts of b, `second` the imaginary part of a times b's imaginary and real
/// part. `first` may be `a`.
template <class Lane>
void multiplyPairs(Lane const* a, Lane const* b, std::size_t n, Lane* first, Lane* second);

/// Negates the first lane of each pair.
template <class Lane>
void negateFirsts(Lane* lanes, std::size_t n);

/// out := n / 2 lanes, each twice, or each before a 0. Not in place.
template <class Lane>
void spreadLanes(Lane const* in, std::size_t n, bool withZeros, Lane* out);

enum class Comparison { equal, notEqual, less, greater, lessOrEqual, greaterOrEqual };

/// Compares a * 2^upA with b * 2^upB, which the lanes hold.
template <class Lane>
void compareLanes(Lane const* a, Lane const* b, std::size_t n, int upA, int upB, Comparison test, bool* out);

enum class Bits { both, either, differing };

/// out := out op in, bit by bit. T is a byte, or a lane.
template <class T>
void combineBits(T* out, T const* in, std::size_t n, Bits operation);

/// Complements lanes and keeps of each the bits of the mask.
template <class Lane>
void complementLanes(Lane* lanes, std::size_t n, Lane mask);

/// value * power * factor + bias of each word, in double, into doubles or
/// floats.
template <class T, class Real>
void readWords(T const* words, std::size_t n, double power, double factor, double bias, Real* out);

} // namespace ORVEX::array_engine
