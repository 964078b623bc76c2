/// \file
/// What one would write by hand for one pair of types: a plain loop over the same integers that counts the
/// same events, compiled for what the processor has.
#pragma once

#include <orvex/foundation/fxpmodes.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define ORVEX_BENCH_CLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define ORVEX_BENCH_CLONES
#endif

namespace orvexbench
{

/// out[i] := f(i, events); returns the number of events, which f counts.
template <class T, class F>
ORVEX_BENCH_CLONES unsigned handLoop(std::size_t n, T* out, F f)
{
    unsigned events = 0;
    for (std::size_t i = 0; i < n; ++i) out[i] = f(i, events);
    return events;
}

/// The store of a whole number.
template <class T, bool saturates, class Wide>
inline T store(Wide value, unsigned& events)
{
    constexpr Wide least = std::numeric_limits<T>::min();
    constexpr Wide most = std::numeric_limits<T>::max();
    Wide const cut = saturates ? (value < least ? least : value > most ? most : value) : value;
    T const word = static_cast<T>(cut);
    events += word != value;
    return word;
}

template <fxpModeRounding_tag mode>
inline double rounded(double y)
{
    if constexpr (mode == fxpModeRoundingCeiling) return std::ceil(y);
    if constexpr (mode == fxpModeRoundingConvergent) return std::rint(y);
    if constexpr (mode == fxpModeRoundingFloor) return std::floor(y);
    if constexpr (mode == fxpModeRoundingNearest) {
        double const f = std::floor(y);
        return y - f >= 0.5 ? f + 1.0 : f;
    }
    if constexpr (mode == fxpModeRoundingHalfAway) {
        double const magnitude = std::fabs(y);
        double const f = std::floor(magnitude);
        return std::copysign(magnitude - f >= 0.5 ? f + 1.0 : f, y);
    }
    return std::trunc(y);
}

/// The store of a real value whose unit is 1 / scale. By way of an integer that holds all of the data, since
/// vectors compare integers faster than doubles.
template <class T, fxpModeRounding_tag mode, bool saturates>
inline T storeReal(double x, double scale, unsigned& events)
{
    double const y = x * scale;
    events += (y > 0.0) & (y < 1.0);
    using Through = std::conditional_t<sizeof(T) < 4, std::int32_t, std::int64_t>;
    return store<T, saturates>(static_cast<Through>(rounded<mode>(y)), events);
}

/// The saturating store of a whole number whose lowest `shift` bits go, to nearest.
template <class T, class Wide>
inline T storeShifted(Wide value, int shift, unsigned& events)
{
    events += (value > 0) & (value >> shift == 0);
    return store<T, true>((value + (Wide{1} << (shift - 1))) >> shift, events);
}

} // namespace orvexbench
