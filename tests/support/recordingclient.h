/// \file
/// A client that writes down what it hears.
#pragma once

#include "support/types.h"

#include <orvex/client/orvexclientinterface.h>

#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace orvextest
{

/// What a client answers.
struct ClientSettings {
    fxpProdHardware const* hardware = nullptr;
    FxpNetSlopeCorrectMethod netSlopeMethod = FxpNetSlopeCorrectMultiply;
    int netSlopeWordLength = 0;   ///< bits of the chunks of a net slope: the source's; 0 for its type's
    bool holdDiagnostics = false; ///< receiveDiagnosticError returns
};

/// Records all events in one list, from any number of threads. On demand it lets a test look at the state at
/// each event, throws at one of them, and holds diagnostics instead of throwing them. Settings are made
/// before use.
class RecordingClient : public OrvexClientInterface, public ClientSettings
{
public:
    /// The fields below `event` are those of net slopes and biases, and of diagnostics the identifier.
    struct Record {
        Event event;
        std::vector<Chunk> chunks{};
        Type type{};
        double wanted = 0.0;
        std::string identifier{};
        bool operator==(Record const& other) const
        {
            return event == other.event && chunks == other.chunks && type == other.type &&
                   sameDouble(wanted, other.wanted) && identifier == other.identifier;
        }
        friend std::ostream& operator<<(std::ostream& out, Record const& record)
        {
            out << record.event << ' ' << record.wanted << std::hex;
            for (Chunk const chunk : record.chunks) out << ' ' << chunk;
            return out << std::dec << ' ' << record.identifier;
        }
    };

    /// What leaves the hook that throws.
    struct Thrown {
        Event event;
    };

    static constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

    std::size_t throwAt = never;          ///< index of the event that throws, from 0
    std::function<void(Event)> onEvent{}; ///< called at each event before it throws; not under the lock

    void setMaxSupportedWordLength(int bits) { maxSupportedWordLength = bits; }

    std::vector<Record> const& records() const { return records_; }
    Events events() const
    {
        Events events;
        for (Record const& record : records_) events.push_back(record.event);
        return events;
    }
    void clear() { records_.clear(); }

    char const* getClassName() const override { return "RecordingClient"; }
    void handleOverflowWrap() override { hear({Event::wrap}); }
    void handleSaturationToMin() override { hear({Event::saturationToMin}); }
    void handleSaturationToMax() override { hear({Event::saturationToMax}); }
    void handleUnderflow() override { hear({Event::underflow}); }
    void handleDivisionByZero() override { hear({Event::divisionByZero}); }
    void handleScaledDoublePotentialOverflow() override { hear({Event::scaledDoubleOverflow}); }
    void handleScaledDoublePotentialUnderflow() override { hear({Event::scaledDoubleUnderflow}); }
    void reportNetScalingDiagnostic(Chunk const* chunks, Type const& type, double wanted,
                                    bool isSlope) override
    {
        int const bits = isSlope && netSlopeWordLength != 0 ? netSlopeWordLength : type.wordLength;
        hear({isSlope ? Event::netSlope : Event::netBias, {chunks, chunks + (bits + 63) / 64}, type, wanted});
    }
    fxpProdHardware const* getProductionHardware() const override { return hardware; }
    FxpNetSlopeCorrectMethod getNetSlopeCorrectionMethod() const override { return netSlopeMethod; }
    void receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*& diagnostic) override
    {
        holdErrorFlag ? hold(diagnostic) : receiveFatalErrorAlwaysThrow(diagnostic);
    }
    void receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic) override
    {
        kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
    }
    void receiveDiagnosticError(kvxDiagnosticImpl*& diagnostic) override
    {
        hear({Event::diagnosticError, {}, {}, 0.0, diagnostic->identifier()});
        holdDiagnostics ? hold(diagnostic) : OrvexClientInterface::receiveDiagnosticError(diagnostic);
    }
    kvxDiagnosticImpl* releaseFatalError() override { return held_.release(); }

    /// A client of the same target and policy that has heard nothing and never throws from an event.
    OrvexClientInterface* clone() override
    {
        auto copy = std::make_unique<RecordingClient>();
        static_cast<OrvexClientInterface&>(*copy) = *this;
        static_cast<ClientSettings&>(*copy) = *this;
        return copy.release();
    }

private:
    void hear(Record record)
    {
        Event const event = record.event;
        std::size_t index = 0;
        {
            std::lock_guard const lock(mutex_);
            index = records_.size();
            records_.push_back(std::move(record));
        }
        if (onEvent) onEvent(event);
        if (index == throwAt) throw Thrown{event};
    }
    void hold(kvxDiagnosticImpl*& diagnostic) { held_.reset(std::exchange(diagnostic, nullptr)); }

    std::mutex mutex_;
    std::vector<Record> records_;
    std::unique_ptr<kvxDiagnosticImpl> held_;
};

} // namespace orvextest
