/// \file
/// Exact division of stored integers.
#pragma once

#include "multiword/chunkarith.h"

namespace ORVEX::multiword
{

/// Cheapest stands for what the target's own division does.
fxpModeRounding_tag resolveDivisionRounding(OrvexClientInterface& client, fxpModeRounding_tag round);

/// out := a / b in the type `to`, rounded once from the exact quotient; exponents are looked at, slope
/// factors and biases are not. out has the chunks of `to`, may be a or b, and is written when all events have
/// been told.
///
/// Rounding starts from the truncated quotient; Cheapest takes the rounding of the target's own division (the
/// client's hardware). A zero divisor calls handleDivisionByZero and gives the maximum, or the minimum for a
/// negative dividend, in wrap mode too.
///
/// Saturating: one event at most. A quotient below the minimum calls handleSaturationToMin even where
/// rounding would lead back to it; a negative quotient into an unsigned type gives 0 and calls
/// handleSaturationToMax. Wrapping: handleOverflowWrap once for a negative quotient into an unsigned type,
/// once for each one bit of the truncated magnitude above the largest magnitude's highest bit, and once if
/// the rounding step leaves the range; a quotient that is exactly the minimum is silent. The stored bits are
/// those of the truncated magnitude below W, negated over whole chunks without restoring the top-chunk rule,
/// then stepped. Allocates only for operands beyond WideScratch.
void divideChunks(OrvexClientInterface& client, Chunk* out, fxpDataTypeProp const& to, Chunk const* a,
                  fxpDataTypeProp const& aType, int aCount, Chunk const* b, fxpDataTypeProp const& bType,
                  int bCount, fxpModeRounding_tag round, int sat);

} // namespace ORVEX::multiword
