#include <orvex/client/orvexclientinterface.h>

OrvexClientInterface::~OrvexClientInterface() = default;

char const* OrvexClientInterface::getClassName() const { return "OrvexClientInterface"; }

bool OrvexClientInterface::isNullClient() { return false; }

void OrvexClientInterface::handleScaledDoublePotentialOverflow() {}

void OrvexClientInterface::handleScaledDoublePotentialUnderflow() {}

void OrvexClientInterface::reportNetScalingDiagnostic(unsigned long long const*, fxpDataTypeProp const&,
                                                      double, bool)
{
}

FxpNetSlopeCorrectMethod OrvexClientInterface::getNetSlopeCorrectionMethod() const
{
    return FxpNetSlopeCorrectMultiply;
}

bool OrvexClientInterface::getUseFloatMulNetSlope() const { return false; }

bool OrvexClientInterface::getSupportStrictSingle() const { return false; }

void OrvexClientInterface::initMaxSupportedWordLength() { maxSupportedWordLength = 128; }

void OrvexClientInterface::receiveDiagnosticError(kvxDiagnosticImpl*& diagnostic)
{
    kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
}

kvxDiagnosticImpl* OrvexClientInterface::releaseFatalError() { return nullptr; }
