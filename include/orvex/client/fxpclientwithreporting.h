/// \file
/// The client that remembers whether anything saturated.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/hardware/fxpprodhardware.h>

#include <atomic>

/// Answers for a given target and keeps one flag: has anything saturated since construction or the last
/// reset? Wraps, underflows and divisions by zero leave it alone. Diagnostics are thrown; it never holds one.
///
/// Events may come from any number of threads at once. Ask for the flag after the operation has ended.
class ORVEX_API FxpClientWithReporting : public OrvexClientInterface
{
public:
    explicit FxpClientWithReporting(fxpProdHardware const& hardware);       ///< keeps a copy
    FxpClientWithReporting(FxpClientWithReporting const& other);            ///< copies the flag too
    FxpClientWithReporting& operator=(FxpClientWithReporting const& other); ///< copies the flag too
    ~FxpClientWithReporting() override;

    char const* getClassName() const override;
    void handleOverflowWrap() override; ///< not recorded
    void handleSaturationToMin() override;
    void handleSaturationToMax() override;
    void handleUnderflow() override;
    void handleDivisionByZero() override;
    void handleScaledDoublePotentialOverflow() override;
    void handleScaledDoublePotentialUnderflow() override;
    fxpProdHardware const* getProductionHardware() const override;

    /// Throws at once, without calling receiveFatalErrorAlwaysThrow.
    void receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic) override;
    void receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic) override;
    OrvexClientInterface* clone() override;

    // New operations; their slots follow those of OrvexClientInterface in this order.

    /// Has anything saturated since construction or the last reset?
    virtual bool getOverFlowOccurred() const;
    /// Forgets it.
    virtual void resetOverFlowOccurred();

private:
    fxpProdHardware prodHardware;
    std::atomic<bool> overFlowOccurred{false}; ///< relaxed: whoever reads it has seen the operation end
};

namespace ORVEX
{
using ::FxpClientWithReporting;
}
