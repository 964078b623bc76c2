#include "array_engine/lanes.h"

#include "multiword/rounding.h"

#include <cmath>
#include <limits>
#include <type_traits>

// One text, compiled for what a processor may have. Resolvers run before a
// sanitizer is ready, and clang cannot clone templates yet; both take the base
// instruction set.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) &&     \
    !defined(__SANITIZE_THREAD__)
#define ORVEX_CLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define ORVEX_CLONES
#endif

namespace ORVEX::array_engine
{

namespace
{

template <class Lane>
struct UnsignedOf : std::make_unsigned<Lane> {
};
template <>
struct UnsignedOf<Lane128> {
    __extension__ typedef unsigned __int128 type;
};
template <class Lane>
using Unsigned = typename UnsignedOf<Lane>::type;

/// Looks for lanes outside limits: marks them, or remembers that there was one. Counted from the least, round
/// the end of the lane, those have bits above the ones that count the others.
template <class Lane, bool marking>
class Guard
{
public:
    Guard(LaneLimits<Lane> limits, Marks* marks)
        : least_(static_cast<Unsigned<Lane>>(limits.least)),
          above_(~(static_cast<Unsigned<Lane>>(limits.most) - least_)), marks_(marks)
    {
    }

    void see(std::size_t i, Lane value)
    {
        auto const distance = static_cast<Unsigned<Lane>>(static_cast<Unsigned<Lane>>(value) - least_);
        if constexpr (marking)
            marks_[i] = static_cast<Marks>(marks_[i] | ((distance & above_) != 0 ? outside : silent));
        else
            gathered_ |= distance;
    }

    bool found() const { return marking || (gathered_ & above_) != 0; }

private:
    Unsigned<Lane> least_;
    Unsigned<Lane> above_;
    Unsigned<Lane> gathered_ = 0;
    Marks* marks_;
};

} // namespace

template <class T, class Lane>
ORVEX_CLONES void widen(T const* words, std::size_t n, Lane* lanes)
{
    for (std::size_t i = 0; i < n; ++i) lanes[i] = static_cast<Lane>(words[i]);
}

template <class Lane, class T>
ORVEX_CLONES void narrow(Lane const* lanes, std::size_t n, T* words)
{
    for (std::size_t i = 0; i < n; ++i) words[i] = toWord<T>(lanes[i]);
}

template <class Lane, bool marking>
ORVEX_CLONES bool checkLanesBy(Lane const* in, std::size_t n, LaneLimits<Lane> limits, Marks* marks)
{
    Guard<Lane, marking> guard(limits, marks);
    for (std::size_t i = 0; i < n; ++i) guard.see(i, in[i]);
    return guard.found();
}

template <class Lane>
bool checkLanes(Lane const* in, std::size_t n, LaneLimits<Lane> limits, Marks* marks)
{
    return marks ? checkLanesBy<Lane, true>(in, n, limits, marks)
                 : checkLanesBy<Lane, false>(in, n, limits, marks);
}

namespace
{

template <fxpModeRounding_tag round>
inline double rounded(double y)
{
    if constexpr (round == fxpModeRoundingZero) return std::trunc(y);
    if constexpr (round == fxpModeRoundingCeiling) return std::ceil(y);
    if constexpr (round == fxpModeRoundingConvergent) return std::rint(y);
    if constexpr (round == fxpModeRoundingNearest) {
        double const f = std::floor(y);
        return y - f >= 0.5 ? f + 1.0 : f;
    }
    if constexpr (round == fxpModeRoundingHalfAway) {
        double const magnitude = std::fabs(y);
        double const f = std::floor(magnitude);
        return std::copysign(magnitude - f >= 0.5 ? f + 1.0 : f, y);
    }
    return std::floor(y);
}

/// Calls f with the mode as a type. A mode outside the list rounds as Floor.
template <class F>
decltype(auto) withRounding(fxpModeRounding_tag round, F f)
{
    switch (round) {
    case fxpModeRoundingZero: return f(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingZero>{});
    case fxpModeRoundingNearest:
        return f(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingNearest>{});
    case fxpModeRoundingCeiling:
        return f(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingCeiling>{});
    case fxpModeRoundingHalfAway:
        return f(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingHalfAway>{});
    case fxpModeRoundingConvergent:
        return f(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingConvergent>{});
    default: return f(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingFloor>{});
    }
}

} // namespace

template <class Lane, fxpModeRounding_tag round, bool marking>
ORVEX_CLONES bool roundRealsBy(double const* reals, std::size_t n, RealToLane const& how, Lane* out,
                               Marks* marks)
{
    // Scaled to less than this a value may have lost bits, which Ceiling and Floor care for.
    constexpr double almostNothing = 0x1p-900;
    double const power = how.power;
    double const least = how.least;
    double const above = how.above;
    double const highest = above - 1.0;
    constexpr double left = outside; // to the scalar routine
    double const markBelow = how.saturates ? double{belowLeast} : left;
    double const markAbove = how.saturates ? double{aboveMost} : left;
    Lane32 found[blockSize]; // since vectors do not go from doubles to bytes at once
    std::uint64_t any = 0;
    for (std::size_t i = 0; i < n; ++i) {
        double const x = reals[i];
        double const y = x * power;
        double const r = rounded<round>(y);
        bool const vanishes = (y < 1.0) & (y > -almostNothing) & (x != 0.0);
        if constexpr (marking) {
            double const atMost = r < above ? r : highest; // of NaN too
            out[i] = static_cast<Lane>(atMost < least ? least : atMost);
            double mark = r < least ? markBelow : 0.0;
            mark = r >= above ? markAbove : mark;
            found[i] = static_cast<Lane32>((vanishes | (r != r)) ? left : mark);
        } else {
            bool const inside = (r >= least) & (r < above); // not so of NaN
            out[i] = static_cast<Lane>(inside ? r : 0.0);
            any |= static_cast<unsigned>(!inside | vanishes);
        }
    }
    if constexpr (marking)
        for (std::size_t i = 0; i < n; ++i) marks[i] = static_cast<Marks>(found[i]);
    return marking || any != 0;
}

static ORVEX_CLONES void unscaleReals(double const* reals, std::size_t n, double bias, double factor,
                                      double* out)
{
    constexpr double largest = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < n; ++i) {
        double const x = reals[i];
        double const unscaled = (x - bias) / factor;
        out[i] =
            std::fabs(x) <= largest ? unscaled : x; // an infinity keeps its sign whatever the factor's is
    }
}

template <class Lane>
bool roundReals(double const* reals, std::size_t n, RealToLane const& how, fxpModeRounding_tag round,
                Lane* out, Marks* marks)
{
    double unscaled[blockSize];
    if (how.scaled) {
        unscaleReals(reals, n, how.bias, how.factor, unscaled);
        reals = unscaled;
    }
    return withRounding(round, [&](auto mode) {
        return marks ? roundRealsBy<Lane, decltype(mode)::value, true>(reals, n, how, out, marks)
                     : roundRealsBy<Lane, decltype(mode)::value, false>(reals, n, how, out, marks);
    });
}

template <class Lane, fxpModeRounding_tag round, bool marking>
ORVEX_CLONES bool shiftLanesDown(Lane const* in, std::size_t n, int shift, LaneLimits<Lane> limits, Lane* out,
                                 Marks* marks)
{
    Lane const lowBits = static_cast<Lane>((Lane{1} << (shift - 1)) - 1);
    Guard<Lane, marking> guard(limits, marks);
    for (std::size_t i = 0; i < n; ++i) {
        Lane const x = in[i];
        Lane const twice = static_cast<Lane>(x >> (shift - 1));
        Lane const half = static_cast<Lane>(twice & 1);
        bool const below = (x & lowBits) != 0;
        Lane value = static_cast<Lane>(twice >> 1);
        if constexpr (round == fxpModeRoundingZero)
            value = static_cast<Lane>(value + ((x < 0) & ((half != 0) | below)));
        if constexpr (round == fxpModeRoundingNearest) value = static_cast<Lane>(value + half);
        if constexpr (round == fxpModeRoundingCeiling) value = static_cast<Lane>(value + (half | below));
        if constexpr (round == fxpModeRoundingHalfAway)
            value = static_cast<Lane>(value + (half & (below | (x >= 0))));
        if constexpr (round == fxpModeRoundingConvergent)
            value = static_cast<Lane>(value + (half & (below | (value & 1))));
        out[i] = value;
        guard.see(i, value);
    }
    return guard.found();
}

template <class Lane, bool marking>
ORVEX_CLONES bool shiftLanesUp(Lane const* in, std::size_t n, int shift, LaneLimits<Lane> limits, Lane* out,
                               Marks* marks)
{
    Guard<Lane, marking> guard(limits, marks);
    for (std::size_t i = 0; i < n; ++i) {
        Lane const x = in[i];
        guard.see(i, x);
        out[i] = static_cast<Lane>(static_cast<Unsigned<Lane>>(x) << shift);
    }
    return guard.found();
}

template <class Lane>
bool shiftLanes(Lane const* in, std::size_t n, LaneShift<Lane> const& how, Lane* out, Marks* marks)
{
    if (how.shift <= 0)
        return marks ? shiftLanesUp<Lane, true>(in, n, -how.shift, how.limits, out, marks)
                     : shiftLanesUp<Lane, false>(in, n, -how.shift, how.limits, out, marks);
    return withRounding(how.round, [&](auto mode) {
        constexpr auto round = decltype(mode)::value;
        return marks ? shiftLanesDown<Lane, round, true>(in, n, how.shift, how.limits, out, marks)
                     : shiftLanesDown<Lane, round, false>(in, n, how.shift, how.limits, out, marks);
    });
}

// Sums and products are formed in unsigned lanes: a lane that is outside already
// may hold anything. The second operand is an array or one lane for all.

template <class Lane>
inline Lane at(Lane const* lanes, std::size_t i)
{
    return lanes[i];
}

template <class Lane>
inline Lane at(Lane lane, std::size_t)
{
    return lane;
}

template <class Lane, bool minus, bool marking, class Second>
ORVEX_CLONES bool addLanesBy(Lane const* a, LaneLimits<Lane> limitsOfA, Second b, std::size_t n,
                             LaneLimits<Lane> limits, Lane* out, Marks* marks)
{
    Guard<Lane, marking> guardOfA(limitsOfA, marks);
    Guard<Lane, marking> guard(limits, marks);
    for (std::size_t i = 0; i < n; ++i) {
        auto const x = static_cast<Unsigned<Lane>>(a[i]);
        auto const y = static_cast<Unsigned<Lane>>(at<Lane>(b, i));
        Lane const value = static_cast<Lane>(minus ? x - y : x + y);
        guardOfA.see(i, a[i]);
        guard.see(i, value);
        out[i] = value;
    }
    return guardOfA.found() || guard.found();
}

template <class Lane, class Second>
static bool addSecond(Lane const* a, LaneLimits<Lane> limitsOfA, Second b, std::size_t n, bool minus,
                      LaneLimits<Lane> limits, Lane* out, Marks* marks)
{
    if (minus)
        return marks ? addLanesBy<Lane, true, true>(a, limitsOfA, b, n, limits, out, marks)
                     : addLanesBy<Lane, true, false>(a, limitsOfA, b, n, limits, out, marks);
    return marks ? addLanesBy<Lane, false, true>(a, limitsOfA, b, n, limits, out, marks)
                 : addLanesBy<Lane, false, false>(a, limitsOfA, b, n, limits, out, marks);
}

template <class Lane>
bool addLanes(Lane const* a, LaneLimits<Lane> limitsOfA, Lane const* b, std::size_t n, bool minus,
              LaneLimits<Lane> limits, Lane* out, Marks* marks)
{
    return addSecond(a, limitsOfA, b, n, minus, limits, out, marks);
}

template <class Lane>
bool offsetLanes(Lane const* in, std::size_t n, Lane b, bool minus, LaneLimits<Lane> limits, Lane* out,
                 Marks* marks)
{
    return addSecond(in, anyLane<Lane>(), b, n, minus, limits, out, marks);
}

template <class Lane>
static Unsigned<Lane> magnitude(Lane x)
{
    auto const bits = static_cast<Unsigned<Lane>>(x);
    return static_cast<Unsigned<Lane>>(x < 0 ? -bits : bits);
}

/// Without branches, since signs and rests are anyone's guess.
template <class Lane, fxpModeRounding_tag round>
static bool divideLanesBy(Lane const* a, Lane const* b, std::size_t n, LaneQuotient<Lane> const& how,
                          Lane* out, Marks* marks)
{
    bool any = false;
    for (std::size_t i = 0; i < n; ++i) {
        auto const x = static_cast<Lane>(static_cast<Unsigned<Lane>>(a[i]) << how.upA);
        auto const divisor = static_cast<Lane>(static_cast<Unsigned<Lane>>(b[i]) << how.upB);
        bool fails = (divisor == 0) | (marks != nullptr && marks[i] != silent);
        Lane const y = fails ? 1 : divisor;
        Lane value = static_cast<Lane>(x / y);
        Lane const rest = static_cast<Lane>(x - value * y);
        bool const negative = ((x < 0) != (y < 0)) & (x != 0);
        if constexpr (round != fxpModeRoundingZero) {
            auto const left = magnitude(rest);
            auto const missing = static_cast<Unsigned<Lane>>(magnitude(y) - left);
            int const restToHalf = (left > missing) - (left < missing);
            multiword::Tail const tail = multiword::tailOfQuotient(negative, restToHalf, (value & 1) != 0);
            // Raising the floor of a negative quotient leads back to the truncated one.
            bool const steps = (rest != 0) & (multiword::bumps(round, tail) != negative);
            value = static_cast<Lane>(value + (negative ? -Lane{steps} : Lane{steps}));
        }
        fails |= (negative & !how.isSigned) | (value < how.limits.least) | (value > how.limits.most);
        out[i] = value;
        any |= fails;
        if (marks) marks[i] = fails ? outside : silent;
    }
    return any;
}

template <class Lane>
bool divideLanes(Lane const* a, Lane const* b, std::size_t n, LaneQuotient<Lane> const& how, Lane* out,
                 Marks* marks)
{
    return withRounding(how.round, [&](auto mode) {
        return divideLanesBy<Lane, decltype(mode)::value>(a, b, n, how, out, marks);
    });
}

template <class Lane, class Second>
ORVEX_CLONES void multiplyLanesBy(Lane const* a, Second b, std::size_t n, Lane* out)
{
    for (std::size_t i = 0; i < n; ++i)
        out[i] = static_cast<Lane>(static_cast<Unsigned<Lane>>(a[i]) *
                                   static_cast<Unsigned<Lane>>(at<Lane>(b, i)));
}

template <class Lane>
void multiplyLanes(Lane const* a, Lane const* b, std::size_t n, Lane* out)
{
    multiplyLanesBy(a, b, n, out);
}

template <class Lane>
void scaleLanes(Lane const* in, std::size_t n, Lane b, Lane* out)
{
    multiplyLanesBy(in, b, n, out);
}

template <class Lane>
ORVEX_CLONES void multiplyPairs(Lane const* a, Lane const* b, std::size_t n, Lane* first, Lane* second)
{
    auto const product = [](Lane x, Lane y) {
        return static_cast<Lane>(static_cast<Unsigned<Lane>>(x) * static_cast<Unsigned<Lane>>(y));
    };
    for (std::size_t i = 0; i < n; i += 2) {
        Lane const re = a[i], im = a[i + 1]; // which may lie where the first products go
        Lane const reB = b[i], imB = b[i + 1];
        first[i] = product(re, reB);
        first[i + 1] = product(re, imB);
        second[i] = product(im, imB);
        second[i + 1] = product(im, reB);
    }
}

template <class Lane>
ORVEX_CLONES void negateFirsts(Lane* lanes, std::size_t n)
{
    for (std::size_t i = 0; i < n; i += 2)
        lanes[i] = static_cast<Lane>(Unsigned<Lane>{0} - static_cast<Unsigned<Lane>>(lanes[i]));
}

template <class Lane>
ORVEX_CLONES void spreadLanes(Lane const* in, std::size_t n, bool withZeros, Lane* out)
{
    Lane const keeps = withZeros ? 0 : -1;
    for (std::size_t i = 0; i < n / 2; ++i) {
        out[2 * i] = in[i];
        out[2 * i + 1] = static_cast<Lane>(in[i] & keeps);
    }
}

template <class Lane, Comparison test>
ORVEX_CLONES void compareLanesBy(Lane const* a, Lane const* b, std::size_t n, int upA, int upB, bool* out)
{
    for (std::size_t i = 0; i < n; ++i) {
        Lane const x = static_cast<Lane>(static_cast<Unsigned<Lane>>(a[i]) << upA);
        Lane const y = static_cast<Lane>(static_cast<Unsigned<Lane>>(b[i]) << upB);
        if constexpr (test == Comparison::equal) out[i] = x == y;
        if constexpr (test == Comparison::notEqual) out[i] = x != y;
        if constexpr (test == Comparison::less) out[i] = x < y;
        if constexpr (test == Comparison::greater) out[i] = x > y;
        if constexpr (test == Comparison::lessOrEqual) out[i] = x <= y;
        if constexpr (test == Comparison::greaterOrEqual) out[i] = x >= y;
    }
}

template <class Lane>
void compareLanes(Lane const* a, Lane const* b, std::size_t n, int upA, int upB, Comparison test, bool* out)
{
    switch (test) {
    case Comparison::equal: return compareLanesBy<Lane, Comparison::equal>(a, b, n, upA, upB, out);
    case Comparison::notEqual: return compareLanesBy<Lane, Comparison::notEqual>(a, b, n, upA, upB, out);
    case Comparison::less: return compareLanesBy<Lane, Comparison::less>(a, b, n, upA, upB, out);
    case Comparison::greater: return compareLanesBy<Lane, Comparison::greater>(a, b, n, upA, upB, out);
    case Comparison::lessOrEqual:
        return compareLanesBy<Lane, Comparison::lessOrEqual>(a, b, n, upA, upB, out);
    case Comparison::greaterOrEqual:
        return compareLanesBy<Lane, Comparison::greaterOrEqual>(a, b, n, upA, upB, out);
    }
}

template <class T, Bits operation>
ORVEX_CLONES void combineBitsBy(T* out, T const* in, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) {
        if constexpr (operation == Bits::both) out[i] = static_cast<T>(out[i] & in[i]);
        if constexpr (operation == Bits::either) out[i] = static_cast<T>(out[i] | in[i]);
        if constexpr (operation == Bits::differing) out[i] = static_cast<T>(out[i] ^ in[i]);
    }
}

template <class T>
void combineBits(T* out, T const* in, std::size_t n, Bits operation)
{
    switch (operation) {
    case Bits::both: return combineBitsBy<T, Bits::both>(out, in, n);
    case Bits::either: return combineBitsBy<T, Bits::either>(out, in, n);
    case Bits::differing: return combineBitsBy<T, Bits::differing>(out, in, n);
    }
}

template <class Lane>
ORVEX_CLONES void complementLanes(Lane* lanes, std::size_t n, Lane mask)
{
    for (std::size_t i = 0; i < n; ++i) lanes[i] = static_cast<Lane>(~lanes[i] & mask);
}

template <class T, class Real>
ORVEX_CLONES void readWords(T const* words, std::size_t n, double power, double factor, double bias,
                            Real* out)
{
    for (std::size_t i = 0; i < n; ++i)
        out[i] = static_cast<Real>(static_cast<double>(words[i]) * power * factor + bias);
}

#define ORVEX_INSTANTIATE(T)                                                                                 \
    template void widen<T, Lane32>(T const*, std::size_t, Lane32*);                                          \
    template void widen<T, Lane64>(T const*, std::size_t, Lane64*);                                          \
    template void widen<T, Lane128>(T const*, std::size_t, Lane128*);                                        \
    template void narrow<Lane32, T>(Lane32 const*, std::size_t, T*);                                         \
    template void narrow<Lane64, T>(Lane64 const*, std::size_t, T*);                                         \
    template void narrow<Lane128, T>(Lane128 const*, std::size_t, T*);                                       \
    template void narrow<double, T>(double const*, std::size_t, T*);                                         \
    template void readWords<T, double>(T const*, std::size_t, double, double, double, double*);              \
    template void readWords<T, float>(T const*, std::size_t, double, double, double, float*);
ORVEX_INSTANTIATE(std::int8_t)
ORVEX_INSTANTIATE(std::uint8_t)
ORVEX_INSTANTIATE(std::int16_t)
ORVEX_INSTANTIATE(std::uint16_t)
ORVEX_INSTANTIATE(std::int32_t)
ORVEX_INSTANTIATE(std::uint32_t)
ORVEX_INSTANTIATE(long long)
ORVEX_INSTANTIATE(unsigned long long)
#undef ORVEX_INSTANTIATE
template void widen<TwoChunks, Lane128>(TwoChunks const*, std::size_t, Lane128*);
template void narrow<Lane32, TwoChunks>(Lane32 const*, std::size_t, TwoChunks*);
template void narrow<Lane64, TwoChunks>(Lane64 const*, std::size_t, TwoChunks*);
template void narrow<Lane128, TwoChunks>(Lane128 const*, std::size_t, TwoChunks*);
template void narrow<double, TwoChunks>(double const*, std::size_t, TwoChunks*);

#define ORVEX_INSTANTIATE(Lane)                                                                              \
    template bool checkLanes<Lane>(Lane const*, std::size_t, LaneLimits<Lane>, Marks*);                      \
    template bool shiftLanes<Lane>(Lane const*, std::size_t, LaneShift<Lane> const&, Lane*, Marks*);         \
    template bool addLanes<Lane>(Lane const*, LaneLimits<Lane>, Lane const*, std::size_t, bool,              \
                                 LaneLimits<Lane>, Lane*, Marks*);                                           \
    template bool offsetLanes<Lane>(Lane const*, std::size_t, Lane, bool, LaneLimits<Lane>, Lane*, Marks*);  \
    template bool divideLanes<Lane>(Lane const*, Lane const*, std::size_t, LaneQuotient<Lane> const&, Lane*, \
                                    Marks*);                                                                 \
    template void multiplyLanes<Lane>(Lane const*, Lane const*, std::size_t, Lane*);                         \
    template void scaleLanes<Lane>(Lane const*, std::size_t, Lane, Lane*);                                   \
    template void multiplyPairs<Lane>(Lane const*, Lane const*, std::size_t, Lane*, Lane*);                  \
    template void negateFirsts<Lane>(Lane*, std::size_t);                                                    \
    template void spreadLanes<Lane>(Lane const*, std::size_t, bool, Lane*);                                  \
    template void compareLanes<Lane>(Lane const*, Lane const*, std::size_t, int, int, Comparison, bool*);
ORVEX_INSTANTIATE(Lane32)
ORVEX_INSTANTIATE(Lane64)
ORVEX_INSTANTIATE(Lane128)
#undef ORVEX_INSTANTIATE

template bool roundReals<Lane32>(double const*, std::size_t, RealToLane const&, fxpModeRounding_tag, Lane32*,
                                 Marks*);
template bool roundReals<double>(double const*, std::size_t, RealToLane const&, fxpModeRounding_tag, double*,
                                 Marks*);
template void combineBits<unsigned char>(unsigned char*, unsigned char const*, std::size_t, Bits);
template void combineBits<Lane32>(Lane32*, Lane32 const*, std::size_t, Bits);
template void combineBits<Lane64>(Lane64*, Lane64 const*, std::size_t, Bits);
template void complementLanes<Lane32>(Lane32*, std::size_t, Lane32);
template void complementLanes<Lane64>(Lane64*, std::size_t, Lane64);

} // namespace ORVEX::array_engine
