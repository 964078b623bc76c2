/// \file
/// The one place where rounding is decided.
#pragma once

#include <orvex/foundation/fxpmodes.h>

namespace ORVEX::multiword
{

/// What is known of a value that is about to lose its low bits, relative to its floor: the bits that remain.
struct Tail {
    bool negative; ///< the value is below zero
    bool half;     ///< the highest dropped bit
    bool below;    ///< any dropped bit below that one
    bool odd;      ///< the lowest kept bit
};

/// Whether the floor is to be raised by one unit in the last place. A mode outside the list rounds as Floor.
/// The facts are as good as random, so nothing branches on them.
[[gnu::always_inline]] constexpr bool bumps(fxpModeRounding_tag mode, Tail tail)
{
    switch (mode) {
    case fxpModeRoundingZero: return tail.negative & (tail.half | tail.below);
    case fxpModeRoundingNearest: return tail.half;
    case fxpModeRoundingCeiling: return tail.half | tail.below;
    case fxpModeRoundingHalfAway: return tail.half & (tail.below | !tail.negative);
    case fxpModeRoundingConvergent: return tail.half & (tail.below | tail.odd);
    case fxpModeRoundingFloor:
    case fxpModeRoundingCheapest: break;
    }
    return false;
}

/// The tail of the quotient's floor, from a truncated magnitude that is not exact and how its rest compares
/// to half.
constexpr Tail tailOfQuotient(bool negative, int restToHalf, bool odd)
{
    // The floor of a negative quotient is one further from zero, and what it lacks is one less the rest.
    bool const half = (restToHalf == 0) | ((restToHalf > 0) != negative);
    return {negative, half, restToHalf != 0, odd != negative};
}

} // namespace ORVEX::multiword
