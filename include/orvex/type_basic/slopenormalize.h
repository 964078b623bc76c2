/// \file
/// Checks and normalises the scaling of a type.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>

namespace ORVEX
{

/// Brings a scaling to normal form: slope adjustment factor in [1, 2).
///
/// A factor that is not above zero, or is infinite or NaN, becomes 1.0 instead, and then a diagnostic of
/// Orvex::typeBasic::SlopeWasNotStrictlyPositive or Orvex::typeBasic::SlopeWasNotFinite goes to the client's
/// receiveDiagnosticError, which throws unless the client's class returns from it.
ORVEX_API void slopeNormalize(OrvexClientInterface& client, fxpDataTypeProp* type);

} // namespace ORVEX
