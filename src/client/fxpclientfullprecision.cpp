#include <orvex/client/fxpclientfullprecision.h>

FxpClientFullPrecision::FxpClientFullPrecision() : prodHardware(fxpProdHardware::getASICTypeHardware()) {}
FxpClientFullPrecision::~FxpClientFullPrecision() = default;
char const* FxpClientFullPrecision::getClassName() const { return "FxpClientFullPrecision"; }
void FxpClientFullPrecision::handleOverflowWrap() {}
void FxpClientFullPrecision::handleSaturationToMin() {}
void FxpClientFullPrecision::handleSaturationToMax() {}
void FxpClientFullPrecision::handleUnderflow() {}
void FxpClientFullPrecision::handleDivisionByZero() {}
fxpProdHardware const* FxpClientFullPrecision::getProductionHardware() const { return &prodHardware; }

void FxpClientFullPrecision::receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic)
{
    receiveFatalErrorAlwaysThrow(diagnostic);
}

void FxpClientFullPrecision::receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic)
{
    kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
}

OrvexClientInterface* FxpClientFullPrecision::clone() { return new FxpClientFullPrecision(*this); }
