#include <orvex/client/fxpclientnull.h>

#include "client/nullclient.h"

FxpClientNull::FxpClientNull() = default;
FxpClientNull::~FxpClientNull() = default;
char const* FxpClientNull::getClassName() const { return "FxpClientNull"; }
bool FxpClientNull::isNullClient() { return true; }
void FxpClientNull::handleOverflowWrap() {}
void FxpClientNull::handleSaturationToMin() {}
void FxpClientNull::handleSaturationToMax() {}
void FxpClientNull::handleUnderflow() {}
void FxpClientNull::handleDivisionByZero() {}
fxpProdHardware const* FxpClientNull::getProductionHardware() const { return nullptr; }

void FxpClientNull::receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic)
{
    receiveFatalErrorAlwaysThrow(diagnostic);
}

void FxpClientNull::receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic)
{
    kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
}

OrvexClientInterface* FxpClientNull::clone() { return this; }

FxpClientNull& ORVEX::client::nullClient()
{
    static FxpClientNull instance;
    return instance;
}
