/// \file
/// A client that counts what it hears.
#pragma once

#include <orvex/orvex.h>

#include <atomic>

namespace example
{

/// Counts events. Large arrays tell their client from several threads, so every count is atomic.
struct EventCounter final : OrvexClientInterface {
    std::atomic<unsigned long long> wraps = 0, saturationsToMin = 0, saturationsToMax = 0, underflows = 0,
                                    divisionsByZero = 0, potentialOverflows = 0, potentialUnderflows = 0;

    char const* getClassName() const override { return "EventCounter"; }
    bool isNullClient() override { return false; }
    void handleOverflowWrap() override { ++wraps; }
    void handleSaturationToMin() override { ++saturationsToMin; }
    void handleSaturationToMax() override { ++saturationsToMax; }
    void handleUnderflow() override { ++underflows; }
    void handleDivisionByZero() override { ++divisionsByZero; }
    void handleScaledDoublePotentialOverflow() override { ++potentialOverflows; }
    void handleScaledDoublePotentialUnderflow() override { ++potentialUnderflows; }
    fxpProdHardware const* getProductionHardware() const override { return nullptr; }
    void receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic) override
    {
        kvxThrowIExceptionFromDiagnostic(diagnostic, "");
    }
    void receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic) override
    {
        kvxThrowIExceptionFromDiagnostic(diagnostic, "");
    }
    OrvexClientInterface* clone() override { return new EventCounter; } ///< starts at zero
};

} // namespace example
