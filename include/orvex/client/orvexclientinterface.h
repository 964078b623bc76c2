/// \file
/// The client: who is told of arithmetic events, and who answers for the target.
#pragma once

#include <orvex/foundation/diagnostics.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>

#include <cstdint>

class fxpProdHardware;

/// How a net slope is applied in a cast between types of different slope.
enum FxpNetSlopeCorrectMethod : std::int32_t {
    FxpNetSlopeCorrectMultiply = 0, ///< always by multiplication
    FxpNetSlopeCorrectDivide = 1    ///< by an integer division where that gives the very same results
};

/// All arithmetic of the library is done on behalf of a client. Derive from this class to hear of events.
///
/// Every number holds its client by pointer; the client must outlive the number. The library takes no lock
/// around a client: array assignments and comparisons of more than 500 elements, and `setValue` of more than
/// 500 (250 complex), call it from several threads at once and in no particular order. Smaller ones, all
/// other operations, and all arithmetic call it on the caller's thread, in element order.
///
/// Any event operation may throw. The exception reaches the caller of the operation that raised the event
/// (out of a worker thread too); elements that had not been processed then keep their old values.
class ORVEX_API OrvexClientInterface
{
public:
    OrvexClientInterface() = default;
    OrvexClientInterface(OrvexClientInterface const&) = default;
    OrvexClientInterface& operator=(OrvexClientInterface const&) = default;

    // The virtual operations stand in the order of their slots, which is a contract with compiled clients.

    virtual ~OrvexClientInterface();

    /// The name of the class, for messages to people. It lives as long as the program.
    virtual char const* getClassName() const;

    /// True of the do-nothing client alone. Test it before deleting what `clone` gave.
    virtual bool isNullClient();

    /// A result did not fit and has wrapped. Called after a direct store or a sum has been stored; a product
    /// or quotient is stored after all its events.
    virtual void handleOverflowWrap() = 0;

    /// A result did not fit and the type's minimum takes its place. Called after the store as above.
    virtual void handleSaturationToMin() = 0;

    /// A result did not fit and the type's maximum takes its place. Called after the store as above.
    virtual void handleSaturationToMax() = 0;

    /// A positive value lost every one of its word's bits in a right shift. Called before rounding and before
    /// the store, also if rounding then gives 1; another event may follow for the same value.
    virtual void handleUnderflow() = 0;

    /// A divisor was zero. The result will be the maximum, or the minimum for a negative dividend.
    virtual void handleDivisionByZero() = 0;

    /// A scaled double went beyond what a word of its type could hold. The value has been stored as it is.
    virtual void handleScaledDoublePotentialOverflow();

    /// A scaled double came closer to zero than one unit of its type. The value has been stored as it is.
    virtual void handleScaledDoublePotentialUnderflow();

    /// A cast has turned a net slope or a net bias into a stored integer. Called once per cast element and
    /// net value, after the events of that quantization and before any event of the cast value.
    ///
    /// \param chunks  the stored integer, least significant chunk first. Of a net bias: as many 64-bit chunks
    ///                as `type` has. Of a net slope: as many as the *source's* word length has, whatever
    ///                `type` says.
    /// \param type    the target type of the cast with factor 1 and bias 0
    /// \param wanted  the value before quantization
    /// \param isSlope true for a net slope, false for a net bias
    virtual void reportNetScalingDiagnostic(unsigned long long const* chunks, fxpDataTypeProp const& type,
                                            double wanted, bool isSlope);

    /// The target for type selection; the client keeps it. Null stands for an ASIC that divides toward zero.
    virtual fxpProdHardware const* getProductionHardware() const = 0;

    /// May a net slope be applied by division? Multiplication unless overridden.
    virtual FxpNetSlopeCorrectMethod getNetSlopeCorrectionMethod() const;

    virtual bool getUseFloatMulNetSlope() const; ///< kept for callers; the library does not ask
    virtual bool getSupportStrictSingle() const; ///< kept for callers; the library does not ask

    /// Sets the largest supported word length back to 128 bits.
    virtual void initMaxSupportedWordLength();

    ///@{
    /// For callers that wish to send errors through the client; the library calls receiveDiagnosticError
    /// alone. Throws the diagnostic, or (the first form) holds it if the hold flag is set and the class can.
    /// Whoever returns without throwing owns the diagnostic from then on.
    virtual void receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic) = 0;
    virtual void receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic) = 0;
    ///@}

    /// Bad input in a type decision, after the type has been repaired. Throws kvxDiagnosticException here; an
    /// overriding operation may return, and the library goes on with the repaired type.
    virtual void receiveDiagnosticError(kvxDiagnosticImpl*& diagnostic);

    /// The diagnostic that the client has held, or null.
    virtual kvxDiagnosticImpl* releaseFatalError();

    /// A copy made with new, or the object itself for the null client.
    virtual OrvexClientInterface* clone() = 0;

    int getMaxSupportedWordLength() const { return maxSupportedWordLength; } ///< bits
    ///@{
    /// The caller's wish that a fatal error be held instead of thrown. For subclasses; no client of this
    /// library holds one.
    bool getHoldErrorFlag() const { return holdErrorFlag; }
    void setHoldErrorFlag() { holdErrorFlag = true; }
    void resetHoldErrorFlag() { holdErrorFlag = false; }
    ///@}

protected:
    bool holdErrorFlag = false; ///< the caller's wish that a fatal error be held; for subclasses
    std::int32_t maxSupportedWordLength = 128; ///< bits; the most that type selection uses on an ASIC
};

namespace ORVEX
{
using ::FxpNetSlopeCorrectDivide;
using ::FxpNetSlopeCorrectMethod;
using ::FxpNetSlopeCorrectMultiply;
using ::OrvexClientInterface;
} // namespace ORVEX
