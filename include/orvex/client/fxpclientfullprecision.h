/// \file
/// The client that hears nothing and answers for an ASIC.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/hardware/fxpprodhardware.h>

/// Ignores every event and has the hardware of an ASIC that divides toward zero, where FxpClientNull has
/// none. Diagnostics are thrown; it never holds one.
class ORVEX_API FxpClientFullPrecision : public OrvexClientInterface
{
public:
    FxpClientFullPrecision();
    FxpClientFullPrecision(FxpClientFullPrecision const&) = default;
    FxpClientFullPrecision& operator=(FxpClientFullPrecision const&) = default;
    ~FxpClientFullPrecision() override;

    char const* getClassName() const override;
    void handleOverflowWrap() override;
    void handleSaturationToMin() override;
    void handleSaturationToMax() override;
    void handleUnderflow() override;
    void handleDivisionByZero() override;
    fxpProdHardware const* getProductionHardware() const override;

    /// Calls receiveFatalErrorAlwaysThrow on this object, so that an overriding one is heard.
    void receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic) override;
    void receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic) override;
    OrvexClientInterface* clone() override;

private:
    fxpProdHardware prodHardware;
};

namespace ORVEX
{
using ::FxpClientFullPrecision;
}
