#include <orvex/client/fxpclientwithreporting.h>

FxpClientWithReporting::FxpClientWithReporting(fxpProdHardware const& hardware) : prodHardware(hardware) {}

FxpClientWithReporting::FxpClientWithReporting(FxpClientWithReporting const& other)
    : OrvexClientInterface(other), prodHardware(other.prodHardware),
      overFlowOccurred(other.overFlowOccurred.load(std::memory_order_relaxed))
{
}

FxpClientWithReporting& FxpClientWithReporting::operator=(FxpClientWithReporting const& other)
{
    prodHardware = other.prodHardware; // first, because it alone can throw
    OrvexClientInterface::operator=(other);
    overFlowOccurred.store(other.overFlowOccurred.load(std::memory_order_relaxed), std::memory_order_relaxed);
    return *this;
}

FxpClientWithReporting::~FxpClientWithReporting() = default;
char const* FxpClientWithReporting::getClassName() const { return "FxpClientWithReporting"; }
void FxpClientWithReporting::handleOverflowWrap() {}

void FxpClientWithReporting::handleSaturationToMin()
{
    overFlowOccurred.store(true, std::memory_order_relaxed);
}

void FxpClientWithReporting::handleSaturationToMax()
{
    overFlowOccurred.store(true, std::memory_order_relaxed);
}

void FxpClientWithReporting::handleUnderflow() {}
void FxpClientWithReporting::handleDivisionByZero() {}
void FxpClientWithReporting::handleScaledDoublePotentialOverflow() {}
void FxpClientWithReporting::handleScaledDoublePotentialUnderflow() {}
fxpProdHardware const* FxpClientWithReporting::getProductionHardware() const { return &prodHardware; }

void FxpClientWithReporting::receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic)
{
    kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
}

void FxpClientWithReporting::receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic)
{
    kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
}

OrvexClientInterface* FxpClientWithReporting::clone() { return new FxpClientWithReporting(*this); }

bool FxpClientWithReporting::getOverFlowOccurred() const
{
    return overFlowOccurred.load(std::memory_order_relaxed);
}

void FxpClientWithReporting::resetOverFlowOccurred()
{
    overFlowOccurred.store(false, std::memory_order_relaxed);
}
