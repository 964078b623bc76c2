/// \file
/// The client that hears nothing.
#pragma once

#include <orvex/client/orvexclientinterface.h>

/// Ignores every event and has no hardware. Diagnostics are thrown all the same. It has no state, so that one
/// object may serve any number of threads.
class ORVEX_API FxpClientNull : public OrvexClientInterface
{
public:
    FxpClientNull();
    ~FxpClientNull() override;
    FxpClientNull(FxpClientNull const&) = default;
    FxpClientNull& operator=(FxpClientNull const&) = default;

    char const* getClassName() const override;
    bool isNullClient() override;
    void handleOverflowWrap() override;
    void handleSaturationToMin() override;
    void handleSaturationToMax() override;
    void handleUnderflow() override;
    void handleDivisionByZero() override;
    fxpProdHardware const* getProductionHardware() const override;               ///< null
    void receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic) override; ///< never holds
    void receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic) override;
    OrvexClientInterface* clone() override; ///< this object itself
};

namespace ORVEX
{
using ::FxpClientNull;
}
