/// \file
/// Compares casts of single stored integers between types of any slope and bias with exact rationals, net
/// values that the client hears included. Which types and words carry a slope is asked of the library.
#pragma once

#include "array_engine/storedcast.h"
#include "support/oracle.h"
#include "support/recordingclient.h"

#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/type_basic/selectcastintermediatedatatype.h>
#include <orvex/type_basic/selectslopecorrectiondatatype.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace orvextest
{

inline fxpModeRounding_tag rounding(Modes modes) { return static_cast<fxpModeRounding_tag>(modes.round); }

/// What a client answers.
struct CastTarget {
    fxpProdHardware const* hardware = nullptr;
    FxpNetSlopeCorrectMethod method = FxpNetSlopeCorrectMultiply;
    void lendTo(RecordingClient& client) const
    {
        client.hardware = hardware;
        client.netSlopeMethod = method;
    }
};
inline fxpProdHardware const asic = fxpProdHardware::getASICTypeHardware();
inline fxpProdHardware const micros[] = {{ProdHWDeviceMicro, 8, 16, 32, 64, FxpHardwareRoundingZero},
                                         {ProdHWDeviceMicro, 8, 16, 16, 64, FxpHardwareRoundingFloor},
                                         {ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingUndefined}};
inline constexpr auto dividing = FxpNetSlopeCorrectDivide;

/// A stored integer, and what the client has heard.
struct CastResult {
    using Record = RecordingClient::Record;

    Int stored;
    std::vector<Record> records;
    bool isSeen = false; ///< by the client at its last event

    void take(Outcome const& outcome)
    {
        stored = outcome.stored;
        for (Event const event : outcome.events) records.push_back({event});
        isSeen = !outcome.events.empty() && outcome.events.back() != Event::underflow;
    }
    Int report(double net, fxpDataTypeProp const& type, fxpDataTypeProp const& castType, Event kind)
    {
        Outcome const value = quantizeRadix(net, type, fxpModeRoundingNearest, 1);
        for (Event const event : value.events) records.push_back({event});
        records.push_back({kind, chunksOf(value.stored, type), castType, net});
        return value.stored;
    }
    bool operator==(CastResult const& other) const
    {
        return stored == other.stored &&
               std::ranges::equal(records, other.records, [](Record const& a, Record const& b) {
                   return a.event == b.event && a.chunks == b.chunks && a.type == b.type &&
                          sameDouble(a.wanted, b.wanted);
               });
    }
    friend std::ostream& operator<<(std::ostream& out, CastResult const& result)
    {
        out << result.stored;
        for (Record const& record : result.records) {
            out << ", " << record.event << ' ' << record.wanted << std::hex;
            for (Chunk const chunk : record.chunks) out << ' ' << chunk;
            out << std::dec;
        }
        return out;
    }
};

inline fxpDataTypeProp withoutFactor(fxpDataTypeProp type)
{
    type.slopeAdjustmentFactor = 1.0;
    type.bias = 0.0;
    return type;
}

/// One stage. False where a wrapping quotient does not fit, which is the division's own matter.
inline bool castOnce(CastResult& result, fxpDataTypeProp const& y, fxpDataTypeProp const& u, Modes modes,
                     CastTarget const& target)
{
    fxpDataTypeProp const yr = withoutFactor(y), ur = withoutFactor(u);
    double const su = u.slopeAdjustmentFactor, sy = y.slopeAdjustmentFactor, net = (u.bias - y.bias) / sy;
    bool const scales = su != sy, biases = u.bias != y.bias, subtracts = net < 0 && !y.isSigned();
    fxpDataTypeProp slopeType;
    Int slope, bias;
    if (scales) {
        ORVEX::selectSlopeCorrectionDataType(&slopeType, &u, su / sy);
        slope = result.report(su / sy, slopeType, yr, Event::netSlope);
    }
    if (biases) bias = result.report(subtracts ? -net : net, yr, yr, Event::netBias);

    RecordingClient client;
    target.lendTo(client);
    std::vector<Chunk> divisor(2);
    fxpDataTypeProp divisorType;
    double ratio = 0.0;
    if (scales && !biases &&
        ORVEX::getDTCSlopeCorrectionMode(client, y, u, &ratio, &divisorType, divisor.data(), modes.round)) {
        // Of the stored integers, whatever the exponents are.
        Rational const exact(result.stored, valueOf(divisor.data(), divisorType));
        fxpDataTypeProp const word = fixedType(y.isSigned(), y.wordLength);
        bool const isLow = exact < 0 && !y.isSigned(),
                   floors = target.hardware->getHWIntDivRndMode() == FxpHardwareRoundingFloor;
        if (modes.sat == 0 && (isLow || abs(exact) >= maxStored(word))) return false;
        if (isLow)
            result.take({0, {Event::saturationToMax}});
        else if (exact < minStored(word))
            result.take({minStored(word), {Event::saturationToMin}});
        else
            result.take(store(exact, word, modes.round, modes.sat,
                              floors ? fxpModeRoundingFloor : fxpModeRoundingZero));
        result.isSeen = false;
        return true;
    }
    fxpDataTypeProp const product =
        fixedType(u.isSigned() || slopeType.isSigned(), u.wordLength + slopeType.wordLength,
                  u.fixedExponent + slopeType.fixedExponent);
    result.take(convert(scales ? Int(slope * result.stored) : result.stored, scales ? product : ur, yr,
                        modes.round, modes.sat));
    if (biases)
        result.take(store(Rational(result.stored + (subtracts ? Int(-bias) : bias)), yr, 0, modes.sat));
    return true;
}

/// Calls `run(client, place, source)` with the source elsewhere and where the target lies, and compares. The
/// second of two stages holds its slope in `lastSlopeBits` and starts after the first `firstRecords`.
template <class Run>
void expectCast(CastResult const& wanted, fxpDataTypeProp const& y, fxpDataTypeProp const& u, Int const& x,
                CastTarget const& target, std::size_t firstRecords, int lastSlopeBits, Run const& run)
{
    std::vector<Chunk> const source = chunksOf(x, u);
    for (bool const inPlace : {false, true}) {
        std::vector<Chunk> place = inPlace ? source : std::vector<Chunk>();
        place.resize(std::max(source.size(), chunkCount(y)) + 1, 0xA5);
        std::vector<Chunk> before = place;
        RecordingClient client;
        target.lendTo(client);
        client.netSlopeWordLength = firstRecords == 0 ? lastSlopeBits : u.wordLength;
        Int seen;
        std::size_t heard = 0;
        client.onEvent = [&](Event) {
            seen = valueOf(place.data(), y);
            if (++heard == firstRecords) client.netSlopeWordLength = lastSlopeBits;
        };
        run(client, place.data(), inPlace ? place.data() : source.data());
        EXPECT_EQ((CastResult{valueOf(place.data(), y), client.records()}), wanted)
            << x << " of " << u << " into " << y << (inPlace ? " in place" : "");
        EXPECT_TRUE(!wanted.isSeen || seen == wanted.stored) << seen;
        std::ranges::copy(chunksOf(wanted.stored, y), before.begin());
        EXPECT_EQ(place, before);
    }
}

inline void expectOneStage(CastResult const& wanted, fxpDataTypeProp const& y, fxpDataTypeProp const& u,
                           Int const& x, Modes modes, CastTarget const& target)
{
    expectCast(wanted, y, u, x, target, 0, u.wordLength,
               [&](auto& client, Chunk* place, Chunk const* source) {
                   ORVEX::array_engine::castNetScalingToChunks(client, place, y, source, u, rounding(modes),
                                                               modes.sat);
               });
}

/// All ways to make the cast; returns the number of stages, 0 if no type holds the net slope.
inline int checkCast(fxpDataTypeProp const& y, fxpDataTypeProp const& u, Modes modes,
                     CastTarget const& target, std::vector<Int> const& values)
{
    using namespace ORVEX::array_engine;
    SCOPED_TRACE(modes);
    for (Int const& x : values) {
        CastResult wanted{x, {}};
        if (castOnce(wanted, y, u, modes, target)) expectOneStage(wanted, y, u, x, modes, target);
    }
    RecordingClient client;
    target.lendTo(client);
    auto const plan = [&] { return StoredCast(client, y, u, rounding(modes), modes.sat); };
    fxpDataTypeProp between;
    fxpOperationChoices first, last;
    fxpOperationChoices const request{modes.round, modes.sat, 2};
    try {
        ORVEX::selectCastIntermediateDataType(client, &between, &first, &last, &y, &u, &request);
    } catch (kvxDiagnosticException const&) {
        EXPECT_THROW(plan(), kvxDiagnosticException) << u << " into " << y;
        return 0;
    }
    SCOPED_TRACE(between);
    client.clear();
    StoredCast const cast = plan();
    EXPECT_TRUE(client.events().empty());
    bool const isDouble = !(between == u);
    for (Int const& x : values) {
        CastResult wanted{x, {}};
        if (isDouble && !castOnce(wanted, between, u, {first.roundingMode, first.overflowMode}, target))
            continue;
        std::size_t const firstRecords = wanted.records.size();
        if (!(u == y) &&
            !castOnce(wanted, y, isDouble ? between : u, {last.roundingMode, last.overflowMode}, target))
            continue;
        auto const expect = [&](auto const& run) {
            expectCast(wanted, y, u, x, target, firstRecords, between.wordLength, run);
        };
        int const from = static_cast<int>(chunkCount(u)), to = static_cast<int>(chunkCount(y));
        expect([&](auto& live, Chunk* place, Chunk const* source) {
            withCount(to, [&](auto n) {
                withCount(from, [&](auto m) { cast.run(live, ChunkTarget(place, n), source, m); });
            });
        });
        wanted.isSeen = false;
        auto const intoWord = [&]<class Word>(Word) {
            if (y.wordLength > static_cast<int>(8 * sizeof(Word)) || y.isSigned() != std::is_signed_v<Word>)
                return;
            expect([&](auto& live, Chunk* place, Chunk const* source) {
                Word word = 0x55;
                withCount(from, [&](auto m) { cast.run(live, WordTarget<Word>(&word), source, m); });
                *place = extendWord(word);
            });
        };
        std::apply(
            [&](auto... word) { (intoWord(word), ...); },
            std::tuple<signed char, unsigned char, short, unsigned short, int, unsigned, long long, Chunk>());
    }
    return isDouble ? 2 : 1;
}

} // namespace orvextest
