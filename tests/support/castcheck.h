/// \file
/// Compares casts of stored integers between types of any slope and bias with exact rationals, net values
/// that the client hears included. Which types and words carry a slope is asked of the library.
#pragma once

#include "support/model.h"

#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/type_basic/selectcastintermediatedatatype.h>
#include <orvex/type_basic/selectslopecorrectiondatatype.h>

namespace orvextest
{

inline fxpProdHardware const asic = fxpProdHardware::getASICTypeHardware();
inline fxpProdHardware const micros[] = {{ProdHWDeviceMicro, 8, 16, 32, 64, FxpHardwareRoundingZero},
                                         {ProdHWDeviceMicro, 8, 16, 16, 64, FxpHardwareRoundingFloor},
                                         {ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingUndefined}};
inline constexpr auto dividing = FxpNetSlopeCorrectDivide;

/// A stored integer on its way, and what the client has heard.
struct CastResult {
    Int stored;
    std::vector<RecordingClient::Record> records{};
    bool isSeen = false; ///< by the client at its last event

    void take(Outcome const& outcome)
    {
        stored = outcome.stored;
        for (Event const event : outcome.events) records.push_back({event});
        isSeen = !outcome.events.empty() && outcome.events.back() != Event::underflow;
    }
    Int report(double net, Type const& type, Type const& castType, Event kind)
    {
        Outcome const value = quantizeRadix(net, type, fxpModeRoundingNearest, 1);
        for (Event const event : value.events) records.push_back({event});
        records.push_back({kind, chunksOf(value.stored, type), castType, net});
        return value.stored;
    }

    /// One stage.
    void cast(Type const& y, Type const& u, Modes modes, ClientSettings const& target)
    {
        Type const yr = stripped(y, y.fixedExponent), ur = stripped(u, u.fixedExponent);
        double const su = u.slopeAdjustmentFactor, sy = y.slopeAdjustmentFactor, net = (u.bias - y.bias) / sy;
        bool const scales = su != sy, biases = u.bias != y.bias, subtracts = net < 0 && !y.isSigned();
        Type slopeType;
        Int slope, bias;
        if (scales) {
            ORVEX::selectSlopeCorrectionDataType(&slopeType, &u, su / sy);
            slope = report(su / sy, slopeType, yr, Event::netSlope);
        }
        if (biases) bias = report(subtracts ? -net : net, yr, yr, Event::netBias);

        RecordingClient client;
        static_cast<ClientSettings&>(client) = target;
        std::vector<Chunk> divisor(2);
        Type divisorType;
        double ratio = 0.0;
        if (scales && !biases &&
            ORVEX::getDTCSlopeCorrectionMode(client, y, u, &ratio, &divisorType, divisor.data(),
                                             modes.round)) {
            // Of the stored integers, whatever the exponents are.
            bool const floors = target.hardware->getHWIntDivRndMode() == FxpHardwareRoundingFloor;
            take(divide(stored, s(1), valueOf(divisor.data(), divisorType), s(1), stripped(y), modes.round,
                        modes.sat, floors ? fxpModeRoundingFloor : fxpModeRoundingZero));
            isSeen = false;
            return;
        }
        take(convert(scales ? Int(slope * stored) : stored, scales ? productRule(slopeType, ur) : ur, yr,
                     modes.round, modes.sat));
        if (biases) take(store(Rational(stored + (subtracts ? Int(-bias) : bias)), yr, 0, modes.sat));
    }
};

/// A cast in as many stages as it takes; returns their number, 0 if no type holds the net slope.
inline int checkCast(Type const& y, Type const& u, Modes modes, ClientSettings const& target,
                     std::vector<Int> const& values)
{
    RecordingClient client;
    static_cast<ClientSettings&>(client) = target;
    Type between;
    fxpOperationChoices first, last;
    fxpOperationChoices const request{modes.round, modes.sat, 2};
    bool isPossible = true;
    try {
        ORVEX::selectCastIntermediateDataType(client, &between, &first, &last, &y, &u, &request);
    } catch (kvxDiagnosticException const&) {
        isPossible = false;
    }
    bool const isDouble = !(between == u);
    for (Int const& x : values) {
        SCOPED_TRACE(testing::Message()
                     << x << " of " << u << " through " << between << " into " << y << modes);
        Held const source({u, {x}});
        Held held({y, {maxStored(y)}}, modes);
        auto const run = [&] { held->assignNumber(source.body()); };
        static_cast<ClientSettings&>(held.client) = target;
        if (!isPossible) {
            EXPECT_THROW(run(), kvxDiagnosticException);
            continue;
        }
        CastResult wanted{x};
        if (isDouble) wanted.cast(between, u, {first.roundingMode, first.overflowMode}, target);
        std::size_t const firstRecords = wanted.records.size();
        if (!(u == y)) wanted.cast(y, isDouble ? between : u, {last.roundingMode, last.overflowMode}, target);
        // The second stage holds its slope in the chunks of its source.
        held.client.netSlopeWordLength = firstRecords == 0 ? between.wordLength : u.wordLength;
        Int seen;
        std::size_t heard = 0;
        held.client.onEvent = [&](Event) {
            seen = held.value().parts[0];
            if (++heard == firstRecords) held.client.netSlopeWordLength = between.wordLength;
        };
        run();
        wanted.stored = inContainer(wanted.stored, y);
        EXPECT_EQ(held.value().parts[0], wanted.stored);
        EXPECT_EQ(held.client.records(), wanted.records);
        EXPECT_TRUE((!wanted.isSeen || seen == wanted.stored) && held.isAloneTouched()) << seen;
    }
    return isPossible ? 1 + isDouble : 0;
}

} // namespace orvextest
