/// \file
/// What the work is done on: distinct values from fixed seeds, so many that no branch can learn them.
#pragma once

#include <orvex/client/fxpclientfullprecision.h>

#include <array>
#include <cmath>
#include <map>
#include <random>
#include <utility>
#include <vector>

namespace orvexbench
{

inline constexpr std::size_t million = 1'000'000;

/// A client that the library has to call: it counts what it hears, thread by thread.
class CountingClient : public FxpClientFullPrecision
{
public:
    void handleOverflowWrap() override { ++heard; }
    void handleSaturationToMin() override { ++heard; }
    void handleSaturationToMax() override { ++heard; }
    void handleUnderflow() override { ++heard; }

    static inline thread_local unsigned long long heard = 0;
};

inline CountingClient client;

struct NamedRounding {
    char const* name;
    fxpModeRounding_tag mode;
};
inline constexpr std::array allRoundings{NamedRounding{"Zero", fxpModeRoundingZero},
                                         NamedRounding{"Nearest", fxpModeRoundingNearest},
                                         NamedRounding{"Ceiling", fxpModeRoundingCeiling},
                                         NamedRounding{"Floor", fxpModeRoundingFloor},
                                         NamedRounding{"Cheapest", fxpModeRoundingCheapest},
                                         NamedRounding{"HalfAway", fxpModeRoundingHalfAway},
                                         NamedRounding{"Convergent", fxpModeRoundingConvergent}};

/// A million values. Of a signed type of range [-1, 1) and 8 bits or more a share of `events`, from 0 to 1,
/// overflows; the others are stored silently.
inline std::vector<double> const& reals(double events)
{
    static std::map<double, std::vector<double>> made;
    std::vector<double>& values = made[events];
    if (!values.empty()) return values;
    std::mt19937_64 engine(2025);
    std::uniform_real_distribution<double> inside(0x1p-6, 0.99), outside(1.01, 4.0), chance(0.0, 1.0);
    for (std::size_t i = 0; i < million; ++i) {
        double const magnitude = chance(engine) < events ? outside(engine) : inside(engine);
        values.push_back(std::copysign(magnitude, chance(engine) - 0.5));
    }
    return values;
}

/// A million stored integers of either sign whose magnitudes have at most `bits` bits, and at least bits - 6.
template <class T>
std::vector<T> const& integers(int bits, unsigned seed)
{
    static std::map<std::pair<int, unsigned>, std::vector<T>> made;
    std::vector<T>& values = made[{bits, seed}];
    if (!values.empty()) return values;
    std::mt19937_64 engine(seed);
    std::uniform_real_distribution<double> magnitude(0x1p-6, 1.0);
    for (std::size_t i = 0; i < million; ++i)
        values.push_back(
            static_cast<T>(std::ldexp(engine() % 2 ? magnitude(engine) : -magnitude(engine), bits)));
    return values;
}

} // namespace orvexbench
