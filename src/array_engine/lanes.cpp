#include "array_engine/lanes.h"

#include <cmath>
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

template <class T, class Lane>
ORVEX_CLONES void widen(T const* words, std::size_t n, Lane* lanes)
{
    for (std::size_t i = 0; i < n; ++i) lanes[i] = static_cast<Lane>(words[i]);
}

template <class Lane>
ORVEX_CLONES void markOutside(Lane const* lanes, std::size_t n, Lane least, Lane most, Marks* marks)
{
    for (std::size_t i = 0; i < n; ++i)
        marks[i] = static_cast<Marks>(marks[i] | (lanes[i] < least) | (lanes[i] > most));
}

template <class Lane, class T>
ORVEX_CLONES void narrow(Lane const* lanes, std::size_t n, T* words)
{
    for (std::size_t i = 0; i < n; ++i) words[i] = static_cast<T>(lanes[i]);
}

/// Doubles that a 32-bit word holds go through one, which vectors convert.
template <class T>
ORVEX_CLONES void narrowReals(double const* lanes, std::size_t n, T* words)
{
    for (std::size_t i = 0; i < n; ++i) {
        if constexpr (sizeof(T) < 4 || std::is_same_v<T, std::int32_t>)
            words[i] = static_cast<T>(static_cast<std::int32_t>(lanes[i]));
        else
            words[i] = static_cast<T>(lanes[i]);
    }
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

} // namespace

template <fxpModeRounding_tag round, bool scaled>
ORVEX_CLONES void roundRealsBy(double const* reals, std::size_t n, RealToLane const& how, double* lanes,
                               Marks* marks)
{
    double const bias = how.bias;
    double const factor = how.factor;
    double const power = how.power;
    double const least = how.least;
    double const above = how.above;
    for (std::size_t i = 0; i < n; ++i) {
        double const x = scaled ? (reals[i] - bias) / factor : reals[i];
        double const y = x * power;
        double const r = rounded<round>(y);
        bool const underflow = (y > 0.0) & (y < 1.0);
        bool const outside = (r < least) | (r >= above);
        bool const lost = (y == 0.0) & (x != 0.0);
        bool const isNumber = y == y;
        lanes[i] = (isNumber & !outside) ? r : 0.0;
        marks[i] = static_cast<Marks>(underflow | outside | lost);
    }
}

template <fxpModeRounding_tag round>
static void roundRealsBy(double const* reals, std::size_t n, RealToLane const& how, double* lanes,
                         Marks* marks)
{
    if (how.scaled)
        roundRealsBy<round, true>(reals, n, how, lanes, marks);
    else
        roundRealsBy<round, false>(reals, n, how, lanes, marks);
}

void roundReals(double const* reals, std::size_t n, RealToLane const& how, fxpModeRounding_tag round,
                double* lanes, Marks* marks)
{
    switch (round) {
    case fxpModeRoundingZero: return roundRealsBy<fxpModeRoundingZero>(reals, n, how, lanes, marks);
    case fxpModeRoundingNearest: return roundRealsBy<fxpModeRoundingNearest>(reals, n, how, lanes, marks);
    case fxpModeRoundingCeiling: return roundRealsBy<fxpModeRoundingCeiling>(reals, n, how, lanes, marks);
    case fxpModeRoundingHalfAway: return roundRealsBy<fxpModeRoundingHalfAway>(reals, n, how, lanes, marks);
    case fxpModeRoundingConvergent:
        return roundRealsBy<fxpModeRoundingConvergent>(reals, n, how, lanes, marks);
    default: return roundRealsBy<fxpModeRoundingFloor>(reals, n, how, lanes, marks);
    }
}

template <class Lane, fxpModeRounding_tag round>
ORVEX_CLONES void shiftLanesDown(Lane* lanes, std::size_t n, int shift, Lane least, Lane most, Marks* marks)
{
    Lane const half = static_cast<Lane>(Lane{1} << (shift - 1));
    Lane const rest = static_cast<Lane>(half - 1 + half);
    for (std::size_t i = 0; i < n; ++i) {
        Lane const x = lanes[i];
        Lane value = static_cast<Lane>(x >> shift);
        Lane const tail = static_cast<Lane>(x & rest);
        if constexpr (round == fxpModeRoundingZero)
            value = static_cast<Lane>(value + ((x < 0) & (tail != 0)));
        if constexpr (round == fxpModeRoundingNearest) value = static_cast<Lane>(value + (tail >= half));
        if constexpr (round == fxpModeRoundingCeiling) value = static_cast<Lane>(value + (tail != 0));
        if constexpr (round == fxpModeRoundingHalfAway)
            value = static_cast<Lane>(value + ((tail > half) | ((tail == half) & (x >= 0))));
        if constexpr (round == fxpModeRoundingConvergent)
            value = static_cast<Lane>(value + ((tail > half) | ((tail == half) & ((value & 1) != 0))));
        lanes[i] = value;
        marks[i] = static_cast<Marks>(marks[i] | (value < least) | (value > most));
    }
}

template <class Lane>
ORVEX_CLONES void shiftLanesUp(Lane* lanes, std::size_t n, int shift, Lane least, Lane most, Marks* marks)
{
    using Unsigned = std::make_unsigned_t<Lane>;
    for (std::size_t i = 0; i < n; ++i) {
        Lane const x = lanes[i];
        marks[i] = static_cast<Marks>(marks[i] | (x < least) | (x > most));
        lanes[i] = static_cast<Lane>(static_cast<Unsigned>(x) << shift);
    }
}

template <class Lane>
void shiftLanes(Lane* lanes, std::size_t n, LaneShift<Lane> const& how, Marks* marks)
{
    auto const down = [&](auto mode) {
        shiftLanesDown<Lane, decltype(mode)::value>(lanes, n, how.shift, how.least, how.most, marks);
    };
    if (how.shift <= 0) return shiftLanesUp(lanes, n, -how.shift, how.least, how.most, marks);
    switch (how.round) {
    case fxpModeRoundingZero: return down(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingZero>{});
    case fxpModeRoundingNearest:
        return down(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingNearest>{});
    case fxpModeRoundingCeiling:
        return down(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingCeiling>{});
    case fxpModeRoundingHalfAway:
        return down(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingHalfAway>{});
    case fxpModeRoundingConvergent:
        return down(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingConvergent>{});
    default: return down(std::integral_constant<fxpModeRounding_tag, fxpModeRoundingFloor>{});
    }
}

// Sums and products are formed in unsigned lanes: a lane that is marked already
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

template <class Lane, bool minus, class Second>
ORVEX_CLONES void addLanesBy(Lane* a, Second b, std::size_t n, Lane least, Lane most, Marks* marks)
{
    using Unsigned = std::make_unsigned_t<Lane>;
    for (std::size_t i = 0; i < n; ++i) {
        Unsigned const x = static_cast<Unsigned>(a[i]);
        Unsigned const y = static_cast<Unsigned>(at<Lane>(b, i));
        Lane const value = static_cast<Lane>(minus ? x - y : x + y);
        marks[i] = static_cast<Marks>(marks[i] | (value < least) | (value > most));
        a[i] = value;
    }
}

template <class Lane>
void addLanes(Lane* a, Lane const* b, std::size_t n, bool minus, Lane least, Lane most, Marks* marks)
{
    if (minus)
        addLanesBy<Lane, true>(a, b, n, least, most, marks);
    else
        addLanesBy<Lane, false>(a, b, n, least, most, marks);
}

template <class Lane>
void offsetLanes(Lane* a, std::size_t n, Lane b, bool minus, Lane least, Lane most, Marks* marks)
{
    if (minus)
        addLanesBy<Lane, true>(a, b, n, least, most, marks);
    else
        addLanesBy<Lane, false>(a, b, n, least, most, marks);
}

template <class Lane, class Second>
ORVEX_CLONES void multiplyLanesBy(Lane* a, Second b, std::size_t n)
{
    using Unsigned = std::make_unsigned_t<Lane>;
    for (std::size_t i = 0; i < n; ++i)
        a[i] = static_cast<Lane>(static_cast<Unsigned>(a[i]) * static_cast<Unsigned>(at<Lane>(b, i)));
}

template <class Lane>
void multiplyLanes(Lane* a, Lane const* b, std::size_t n)
{
    multiplyLanesBy(a, b, n);
}

template <class Lane>
void scaleLanes(Lane* a, std::size_t n, Lane b)
{
    multiplyLanesBy(a, b, n);
}

template <class Lane, Comparison test>
ORVEX_CLONES void compareLanesBy(Lane const* a, Lane const* b, std::size_t n, int upA, int upB, bool* out)
{
    using Unsigned = std::make_unsigned_t<Lane>;
    for (std::size_t i = 0; i < n; ++i) {
        Lane const x = static_cast<Lane>(static_cast<Unsigned>(a[i]) << upA);
        Lane const y = static_cast<Lane>(static_cast<Unsigned>(b[i]) << upB);
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
    template void narrow<Lane32, T>(Lane32 const*, std::size_t, T*);                                         \
    template void narrow<Lane64, T>(Lane64 const*, std::size_t, T*);                                         \
    template void readWords<T, double>(T const*, std::size_t, double, double, double, double*);              \
    template void readWords<T, float>(T const*, std::size_t, double, double, double, float*);                \
    template <>                                                                                              \
    void narrow<double, T>(double const* lanes, std::size_t n, T* words)                                     \
    {                                                                                                        \
        narrowReals(lanes, n, words);                                                                        \
    }
ORVEX_INSTANTIATE(std::int8_t)
ORVEX_INSTANTIATE(std::uint8_t)
ORVEX_INSTANTIATE(std::int16_t)
ORVEX_INSTANTIATE(std::uint16_t)
ORVEX_INSTANTIATE(std::int32_t)
ORVEX_INSTANTIATE(std::uint32_t)
ORVEX_INSTANTIATE(long long)
ORVEX_INSTANTIATE(unsigned long long)
#undef ORVEX_INSTANTIATE

template void markOutside<Lane32>(Lane32 const*, std::size_t, Lane32, Lane32, Marks*);
template void markOutside<Lane64>(Lane64 const*, std::size_t, Lane64, Lane64, Marks*);
template void shiftLanes<Lane32>(Lane32*, std::size_t, LaneShift<Lane32> const&, Marks*);
template void shiftLanes<Lane64>(Lane64*, std::size_t, LaneShift<Lane64> const&, Marks*);
template void addLanes<Lane32>(Lane32*, Lane32 const*, std::size_t, bool, Lane32, Lane32, Marks*);
template void addLanes<Lane64>(Lane64*, Lane64 const*, std::size_t, bool, Lane64, Lane64, Marks*);
template void offsetLanes<Lane32>(Lane32*, std::size_t, Lane32, bool, Lane32, Lane32, Marks*);
template void offsetLanes<Lane64>(Lane64*, std::size_t, Lane64, bool, Lane64, Lane64, Marks*);
template void scaleLanes<Lane32>(Lane32*, std::size_t, Lane32);
template void scaleLanes<Lane64>(Lane64*, std::size_t, Lane64);
template void multiplyLanes<Lane32>(Lane32*, Lane32 const*, std::size_t);
template void multiplyLanes<Lane64>(Lane64*, Lane64 const*, std::size_t);
template void compareLanes<Lane32>(Lane32 const*, Lane32 const*, std::size_t, int, int, Comparison, bool*);
template void compareLanes<Lane64>(Lane64 const*, Lane64 const*, std::size_t, int, int, Comparison, bool*);

} // namespace ORVEX::array_engine
