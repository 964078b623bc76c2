/// \file
/// The work as SystemC's fixed-point types do it.
#pragma once

#include "support/contest.h"
#include "support/data.h"

#define SC_INCLUDE_FX
#include <sysc/datatypes/fx/fx.h>

namespace orvexbench
{

inline constexpr std::size_t systemcCount = 100'000; // of objects of some hundred bytes

template <int bits, int fractionLength>
using Systemc = sc_dt::sc_fixed<bits, bits - fractionLength, sc_dt::SC_RND, sc_dt::SC_SAT>;

template <class Fixed, class T>
std::vector<Fixed> systemcValues(std::vector<T> const& words, int fractionLength)
{
    std::vector<Fixed> values;
    for (std::size_t i = 0; i < systemcCount; ++i)
        values.emplace_back(std::ldexp(static_cast<double>(words[i]), -fractionLength));
    return values;
}

/// f(a[i], b[i], out) on operands and a result of static type, as its users write them.
template <class A, class B, class Out, class T, class U, class F>
Contestant bySystemc(std::vector<T> const& a, int fractionA, std::vector<U> const& b, int fractionB, F f)
{
    return [=, &a, &b](benchmark::State& state) {
        auto const x = systemcValues<A>(a, fractionA);
        auto const y = systemcValues<B>(b, fractionB);
        Out out{};
        eachOf(state, systemcCount, [&](std::size_t i) { f(x[i], y[i], out); });
    };
}

/// Stores doubles with run-time modes, and not at all in modes that it does not have.
inline void enterSystemc(Contest& contest, int bits, fxpModeRounding_tag round, fxpModeOverflow_tag overflow,
                         char const* name)
{
    static std::map<fxpModeRounding_tag, sc_dt::sc_q_mode> const modes{
        {fxpModeRoundingZero, sc_dt::SC_TRN_ZERO},
        {fxpModeRoundingNearest, sc_dt::SC_RND},
        {fxpModeRoundingFloor, sc_dt::SC_TRN},
        {fxpModeRoundingHalfAway, sc_dt::SC_RND_INF},
        {fxpModeRoundingConvergent, sc_dt::SC_RND_CONV}};
    auto const mode = modes.find(round);
    if (mode == modes.end()) return;
    auto const run = [=, mode = mode->second](benchmark::State& state) {
        std::vector<sc_dt::sc_fix> out;
        for (int i = 0; i < 1024; ++i)
            out.emplace_back(bits, 1, mode, overflow ? sc_dt::SC_SAT : sc_dt::SC_WRAP);
        double const* const x = reals(0).data();
        eachOf(state, million, [&](std::size_t i) { out[i % 1024] = x[i]; });
    };
    contest.enter("sc_fix", run, name);
}

} // namespace orvexbench
