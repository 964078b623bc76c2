/// \file
/// The net scaling between two types, as a pair of types.
#pragma once

#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>

/// For a cast from `u` to `y`: take a stored quantity of `u` as a number of type `uNet`; its real-world value
/// is then on the grid on which the stored integer of `y` is its own real-world value, which is what `yNet`
/// says. The four records are distinct objects.
///
/// A boolean `u` counts as unsigned 8 bits. Where the net scaling is not trivial, a double or single `u`
/// gives a scaled double of 64 or 32 bits, because a float cannot carry a scaling. Nothing is reported: a
/// zero slope of `y` makes the net slope infinite or NaN.
ORVEX_API void fxpCastGetNetNominalDatatypes(fxpDataTypeProp* uNet, fxpDataTypeProp* yNet,
                                             fxpDataTypeProp const* const y, fxpDataTypeProp const* const u);

/// The first step of the above: `yNet` is done; `uNet` is `u` with its own scaling, and the net scaling that
/// will take its place stands in the last three arguments. The factor is a plain quotient and not normalised.
ORVEX_API void fxpCastGetNetNominalDatatypes_StepOne(fxpDataTypeProp* uNet, fxpDataTypeProp* yNet,
                                                     fxpDataTypeProp const* const y,
                                                     fxpDataTypeProp const* const u, double& netSlopeFactor,
                                                     int& netFixedExponent, double& netBias);

namespace ORVEX
{
using ::fxpCastGetNetNominalDatatypes;
using ::fxpCastGetNetNominalDatatypes_StepOne;
} // namespace ORVEX
