/// \file
/// A client in front of another one.
#pragma once

#include <orvex/client/events.h>
#include <orvex/client/orvexclientinterface.h>

namespace ORVEX
{

/// Answers as another client does and passes on what it hears, after a derived class has been told. Without
/// another client it stands for an ASIC that divides toward zero, and diagnostics are thrown.
///
/// The other client is held by address and must outlive this one. Its longest word length is copied when this
/// one is made, and so is its wish to hold errors; what is set here later stays here.
class ORVEX_API ForwardingClient : public OrvexClientInterface
{
public:
    /// What goes on to the client behind.
    enum class Pass : bool {
        all,      ///< events and questions
        questions ///< the events, diagnostics apart, end here
    };

    /// In front of `next`, or of nobody.
    explicit ForwardingClient(OrvexClientInterface* next = nullptr, Pass pass = Pass::all);
    ForwardingClient(ForwardingClient const&) = default; ///< in front of the same client
    ForwardingClient& operator=(ForwardingClient const&) = default;
    ~ForwardingClient() override;

    char const* getClassName() const override;
    void handleOverflowWrap() override;
    void handleSaturationToMin() override;
    void handleSaturationToMax() override;
    void handleUnderflow() override;
    void handleDivisionByZero() override;
    void handleScaledDoublePotentialOverflow() override;
    void handleScaledDoublePotentialUnderflow() override;
    void reportNetScalingDiagnostic(unsigned long long const* chunks, fxpDataTypeProp const& type,
                                    double wanted, bool isSlope) override;
    fxpProdHardware const* getProductionHardware() const override;
    FxpNetSlopeCorrectMethod getNetSlopeCorrectionMethod() const override;
    bool getUseFloatMulNetSlope() const override;
    bool getSupportStrictSingle() const override;
    void receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic) override;
    void receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic) override;
    void receiveDiagnosticError(kvxDiagnosticImpl*& diagnostic) override;
    kvxDiagnosticImpl* releaseFatalError() override;
    OrvexClientInterface* clone() override = 0;

protected:
    /// Called for each event before it is passed on, from any number of threads at once. What it throws is
    /// thrown by the event.
    virtual void hear(EventKind kind) = 0;

private:
    template <class Tell>
    void passOn(EventKind kind, Tell tell);

    OrvexClientInterface* next_;
    Pass pass_ = Pass::all;
};

} // namespace ORVEX
