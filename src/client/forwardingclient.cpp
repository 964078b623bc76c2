#include <orvex/client/forwardingclient.h>
#include <orvex/client/fxpclientfullprecision.h>

namespace ORVEX
{

namespace
{

/// Who answers where there is no other client. It has no state that could change.
FxpClientFullPrecision& lastClient()
{
    static FxpClientFullPrecision instance;
    return instance;
}

} // namespace

ForwardingClient::ForwardingClient(OrvexClientInterface* next, Pass pass)
    : OrvexClientInterface(next != nullptr ? *next : lastClient()),
      next_(next != nullptr ? next : &lastClient()), pass_(pass)
{
}

ForwardingClient::~ForwardingClient() = default;

template <class Tell>
void ForwardingClient::passOn(EventKind kind, Tell tell)
{
    hear(kind);
    if (pass_ == Pass::all) tell();
}

char const* ForwardingClient::getClassName() const { return "ForwardingClient"; }

void ForwardingClient::handleOverflowWrap()
{
    passOn(EventKind::wrap, [this] { next_->handleOverflowWrap(); });
}

void ForwardingClient::handleSaturationToMin()
{
    passOn(EventKind::saturationToMin, [this] { next_->handleSaturationToMin(); });
}

void ForwardingClient::handleSaturationToMax()
{
    passOn(EventKind::saturationToMax, [this] { next_->handleSaturationToMax(); });
}

void ForwardingClient::handleUnderflow()
{
    passOn(EventKind::underflow, [this] { next_->handleUnderflow(); });
}

void ForwardingClient::handleDivisionByZero()
{
    passOn(EventKind::divisionByZero, [this] { next_->handleDivisionByZero(); });
}

void ForwardingClient::handleScaledDoublePotentialOverflow()
{
    passOn(EventKind::potentialOverflow, [this] { next_->handleScaledDoublePotentialOverflow(); });
}

void ForwardingClient::handleScaledDoublePotentialUnderflow()
{
    passOn(EventKind::potentialUnderflow, [this] { next_->handleScaledDoublePotentialUnderflow(); });
}

void ForwardingClient::reportNetScalingDiagnostic(unsigned long long const* chunks,
                                                  fxpDataTypeProp const& type, double wanted, bool isSlope)
{
    passOn(isSlope ? EventKind::netSlope : EventKind::netBias,
           [&] { next_->reportNetScalingDiagnostic(chunks, type, wanted, isSlope); });
}

fxpProdHardware const* ForwardingClient::getProductionHardware() const
{
    return next_->getProductionHardware();
}

FxpNetSlopeCorrectMethod ForwardingClient::getNetSlopeCorrectionMethod() const
{
    return next_->getNetSlopeCorrectionMethod();
}

bool ForwardingClient::getUseFloatMulNetSlope() const { return next_->getUseFloatMulNetSlope(); }
bool ForwardingClient::getSupportStrictSingle() const { return next_->getSupportStrictSingle(); }

void ForwardingClient::receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic)
{
    next_->receiveFatalError_HoldOrThrow(diagnostic);
}

void ForwardingClient::receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic)
{
    next_->receiveFatalErrorAlwaysThrow(diagnostic);
}

void ForwardingClient::receiveDiagnosticError(kvxDiagnosticImpl*& diagnostic)
{
    hear(EventKind::diagnostic);
    next_->receiveDiagnosticError(diagnostic);
}

kvxDiagnosticImpl* ForwardingClient::releaseFatalError() { return next_->releaseFatalError(); }

} // namespace ORVEX
