/// \file
/// What a double becomes in a type.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>

namespace ORVEX
{

/// Brings a real-world value into `type` and reads it back, at any word length.
///
/// Fixed: the value is reduced by bias and slope factor in double arithmetic, rounded once, then wrapped or
/// saturated, and read back as a double (which rounds where the stored integer has more than 53 significant
/// bits). A NaN, and a value equal to the bias, store 0 and so read back as the bias. Double: the value
/// itself. Single: the value rounded to float. Boolean: 1.0, or 0.0 for a zero; NaN gives 1.0. Scaled double:
/// the value after scaling to stored-integer units and back, unrounded.
///
/// \param client   may hear, of a fixed type, handleUnderflow and then one of handleOverflowWrap,
///                 handleSaturationToMin, handleSaturationToMax; of a scaled double one of the two potential
///                 events; of any other type nothing. A NaN has no event.
/// \param round    a fxpModeRounding_tag; any other value rounds as Floor. Cheapest acts as Zero.
/// \param sat      0 wraps, anything else saturates
/// Throws what the client throws, and std::bad_alloc above 128 bits.
ORVEX_API double mpr_quantize(OrvexClientInterface& client, double value, fxpDataTypeProp const& type,
                              int round, int sat);

} // namespace ORVEX
