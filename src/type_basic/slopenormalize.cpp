#include <orvex/type_basic/slopenormalize.h>

#include <orvex/foundation/diagnostics.h>
#include <orvex/foundation/messages.h>

#include <cmath>

namespace ORVEX
{

namespace
{

/// The repair comes first, so that a client that keeps the diagnostic goes on with a usable type.
void repair(OrvexClientInterface& client, fxpDataTypeProp* type, resource_core::BaseMsgID const& message)
{
    type->slopeAdjustmentFactor = 1.0;
    kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(message);
    client.receiveDiagnosticError(diagnostic);
}

} // namespace

void slopeNormalize(OrvexClientInterface& client, fxpDataTypeProp* type)
{
    double const factor = type->slopeAdjustmentFactor;
    if (factor <= 0.0)
        repair(client, type, Orvex::typeBasic::SlopeWasNotStrictlyPositive());
    else if (!std::isfinite(factor))
        repair(client, type, Orvex::typeBasic::SlopeWasNotFinite());
    else
        type->setScaling(factor, type->fixedExponent, type->bias);
}

} // namespace ORVEX
