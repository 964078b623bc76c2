/// Casts of single stored integers between types of any slope and bias: what is stored, and all that the
/// client hears, net values included.
#include "array_engine/storedcast.h"
#include "support/oracle.h"
#include "support/recordingclient.h"

#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/type_basic/selectcastintermediatedatatype.h>
#include <orvex/type_basic/selectslopecorrectiondatatype.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace
{
using namespace orvextest;
using namespace ORVEX::array_engine;
using orvextest::Event;
using Type = fxpDataTypeProp;
using Chunks = std::vector<Chunk>;
using Record = RecordingClient::Record;

fxpModeRounding_tag rounding(Modes modes) { return static_cast<fxpModeRounding_tag>(modes.round); }

/// What a client answers.
struct Target {
    fxpProdHardware const* hardware = nullptr;
    FxpNetSlopeCorrectMethod method = FxpNetSlopeCorrectMultiply;
    void lendTo(RecordingClient& client) const
    {
        client.hardware = hardware;
        client.netSlopeMethod = method;
    }
};
fxpProdHardware const asic = fxpProdHardware::getASICTypeHardware();
fxpProdHardware const micros[] = {{ProdHWDeviceMicro, 8, 16, 32, 64, FxpHardwareRoundingZero},
                                  {ProdHWDeviceMicro, 8, 16, 16, 64, FxpHardwareRoundingFloor},
                                  {ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingUndefined}};
constexpr auto dividing = FxpNetSlopeCorrectDivide;

/// A stored integer, and what the client has heard.
struct Result {
    Int stored;
    std::vector<Record> records;
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
    bool operator==(Result const& other) const
    {
        return stored == other.stored &&
               std::ranges::equal(records, other.records, [](Record const& a, Record const& b) {
                   return a.event == b.event && a.chunks == b.chunks && a.type == b.type &&
                          sameDouble(a.wanted, b.wanted);
               });
    }
    friend std::ostream& operator<<(std::ostream& out, Result const& result)
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

Type withoutFactor(Type type)
{
    type.slopeAdjustmentFactor = 1.0;
    type.bias = 0.0;
    return type;
}

/// One stage. False where a wrapping quotient does not fit, which is the division's own matter.
bool castOnce(Result& result, Type const& y, Type const& u, Modes modes, Target const& target)
{
    Type const yr = withoutFactor(y), ur = withoutFactor(u);
    double const su = u.slopeAdjustmentFactor, sy = y.slopeAdjustmentFactor, net = (u.bias - y.bias) / sy;
    bool const scales = su != sy, biases = u.bias != y.bias, subtracts = net < 0 && !y.isSigned();
    Type slopeType;
    Int slope, bias;
    if (scales) {
        ORVEX::selectSlopeCorrectionDataType(&slopeType, &u, su / sy);
        slope = result.report(su / sy, slopeType, yr, Event::netSlope);
    }
    if (biases) bias = result.report(subtracts ? -net : net, yr, yr, Event::netBias);

    RecordingClient client;
    target.lendTo(client);
    Chunks divisor(2);
    Type divisorType;
    double ratio = 0.0;
    if (scales && !biases &&
        ORVEX::getDTCSlopeCorrectionMode(client, y, u, &ratio, &divisorType, divisor.data(), modes.round)) {
        // Of the stored integers, whatever the exponents are.
        Rational const exact(result.stored, valueOf(divisor.data(), divisorType));
        Type const word = fixedType(y.isSigned(), y.wordLength);
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
    Type const product = fixedType(u.isSigned() || slopeType.isSigned(), u.wordLength + slopeType.wordLength,
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
void expectCast(Result const& wanted, Type const& y, Type const& u, Int const& x, Target const& target,
                std::size_t firstRecords, int lastSlopeBits, Run const& run)
{
    Chunks const source = chunksOf(x, u);
    for (bool const inPlace : {false, true}) {
        Chunks place = inPlace ? source : Chunks();
        place.resize(std::max(source.size(), chunkCount(y)) + 1, 0xA5);
        Chunks before = place;
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
        EXPECT_EQ((Result{valueOf(place.data(), y), client.records()}), wanted)
            << x << " of " << u << " into " << y << (inPlace ? " in place" : "");
        EXPECT_TRUE(!wanted.isSeen || seen == wanted.stored) << seen;
        std::ranges::copy(chunksOf(wanted.stored, y), before.begin());
        EXPECT_EQ(place, before);
    }
}

void expectOneStage(Result const& wanted, Type const& y, Type const& u, Int const& x, Modes modes,
                    Target const& target)
{
    expectCast(wanted, y, u, x, target, 0, u.wordLength,
               [&](auto& client, Chunk* place, Chunk const* source) {
                   castNetScalingToChunks(client, place, y, source, u, rounding(modes), modes.sat);
               });
}

/// All ways to make the cast; returns the number of stages, 0 if no type holds the net slope.
int checkCast(Type const& y, Type const& u, Modes modes, Target const& target, std::vector<Int> const& values)
{
    SCOPED_TRACE(modes);
    for (Int const& x : values) {
        Result wanted{x, {}};
        if (castOnce(wanted, y, u, modes, target)) expectOneStage(wanted, y, u, x, modes, target);
    }
    RecordingClient client;
    target.lendTo(client);
    auto const plan = [&] { return StoredCast(client, y, u, rounding(modes), modes.sat); };
    Type between;
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
        Result wanted{x, {}};
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

TEST(StoredCast, AgreesWithRationals)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::array const factors{1.0, 1.5, 1.1, 1.75, 7.0 / 6, 3.0, 1.0 + 0x1p-40, 1.25};
    std::array const odd{1.0, 0.0, -0.0, -1.25, -1.0, 1e300, infinity, std::nan("")};
    Random random(31);
    int stages[3] = {};
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
        int const bits = random.pick(std::array{8, 32, 64, 200});
        auto const anyScaling = [&](Type& type) {
            type.slopeAdjustmentFactor = random.pick(i % 20 == 0 ? odd : factors);
            type.bias = random.coin() ? 0.0 : random.doubleNear(type);
        };
        Type u = random.radixType(bits, -bits, bits / 3), y = random.radixType(bits, 0, 0);
        y.fixedExponent =
            u.fixedExponent + random.between(-5, 5) * (random.coin() ? 1 : random.between(0, bits / 4));
        anyScaling(u);
        anyScaling(y);
        if (i % 4 == 0) y.slopeAdjustmentFactor = u.slopeAdjustmentFactor;
        if (i % 3 == 0) y.bias = u.bias;
        if (i % 50 == 0) y = u;
        y.dtoMode = i % 10 == 0;
        Target const target{random.pick(std::array<fxpProdHardware const*, 3>{nullptr, &asic, &micros[0]})};
        ++stages[checkCast(y, u, {random.pick(allRoundings), random.between(0, 1)}, target,
                           {random.pick(interestingStored(u, random, 1)), maxStored(u), minStored(u), 1})];
    }
    EXPECT_TRUE(stages[1] > 1000 && stages[2] > 1000) << stages[1] << ' ' << stages[2];
}

/// Net slopes of 1 / n, now and then with a bias, which forbids it.
TEST(StoredCast, DividesWhereTheTargetMay)
{
    Random random(32);
    for (int i = 0; i < 2000 && !HasFailure(); ++i) {
        Type const u = random.radixType(64, -20, 20);
        Type y = random.radixType(64, 0, 0);
        y.setScaling(random.between(3, 1 << random.between(2, 20)), u.fixedExponent, i % 5 == 0 ? 7.5 : 0.0);
        checkCast(y, u, {random.pick(allRoundings), random.between(0, 1)},
                  {&micros[random.between(0, 2)], dividing},
                  {random.pick(interestingStored(u, random, 1)), maxStored(u), minStored(u), 0});
    }
}

/// Worked out by hand.
TEST(StoredCast, Edges)
{
    constexpr auto high = Event::saturationToMax, low = Event::saturationToMin, wrap = Event::wrap;
    constexpr Modes zeroWrap{fxpModeRoundingZero, 0}, zero{fxpModeRoundingZero, 1},
        floor{fxpModeRoundingFloor, 1};
    auto const s = [](int bits, int exponent = 0, double factor = 1.0, double bias = 0.0) {
        return fixedType(true, bits, exponent, factor, bias);
    };
    Type const u8 = fixedType(false, 8), above5 = fixedType(false, 8, 0, 1.0, 5);
    auto const slope = [](Chunk chunk, double net) { return Record{Event::netSlope, {chunk}, {}, net}; };
    auto const bias = [](Chunk chunk, double net) { return Record{Event::netBias, {chunk}, {}, net}; };
    Record const third = slope(21845, 1 / 1.5), half = slope(96, 1.5);
    Target const none{}, divides{&micros[0], dividing}, floors{&micros[1], dividing};
    struct Row {
        Type u, y;
        int x;
        Modes modes;
        Target target;
        int stored;
        std::vector<Record> records;
    };
    Row const rows[] = {
        {s(16, -4), s(8, -2), -101, floor, none, -26, {}},
        // a bias that is subtracted, and one that is added
        {u8, above5, 3, zero, none, 0, {bias(5, 5.0), {low}}},
        {u8, above5, 3, zeroWrap, none, 254, {bias(5, 5.0), {wrap}}},
        {u8, s(8, 0, 1, 5), 3, zero, none, -2, {bias(~4ULL, -5.0)}},
        // the bias, the value, and the sum leave the range each on its own
        {s(16, 0, 1, 999), s(8), 300, zeroWrap, none, -85, {{high}, bias(127, 999.0), {wrap}, {wrap}}},
        // the factor alone makes a slope, however it is spelt
        {s(8, 0, 1.5), s(8), 100, zero, none, 127, {half, {high}}},
        {s(8, 0, 2.0), s(8, 1), 5, zero, none, 5, {slope(64, 2.0)}},
        // scale first, and saturate, then the bias
        {s(8, 0, 1.5, -100), s(8), 100, zero, none, 27, {half, bias(~99ULL, -100.0), {high}}},
        // one third of the stored integer, whatever the exponents are
        {s(16, 3), s(16, 4, 1.5), -100, zero, divides, -33, {third}},
        {s(16, 3), s(16, 4, 1.5), -100, {fxpModeRoundingCheapest, 1}, floors, -34, {third}},
        {s(16, 3), s(16, 4, 1.5), 99, zero, none, 32, {third}},
        {s(16, 3), s(8, 4, 1.5), 1000, zeroWrap, divides, 77, {third, {wrap}}},
        {s(16, 3), fixedType(false, 8, 4, 1.5), -2, zero, divides, 0, {third, {high}}},
    };
    for (Row const& row : rows) {
        Result wanted{row.stored, row.records};
        for (Record& record : wanted.records)
            if (!record.chunks.empty()) record.type = withoutFactor(row.y);
        expectOneStage(wanted, row.y, row.u, row.x, row.modes, row.target);
        checkCast(row.y, row.u, row.modes, row.target, {row.x});
    }
}

/// Also of what stands above the word.
TEST(StoredCast, EqualTypesAreCopied)
{
    for (Type type : seamTypes(3)) {
        type.setScaling(1.1, 3, 7.0);
        RecordingClient client;
        StoredCast const cast(client, type, type, fxpModeRoundingNearest, 1);
        Chunks const source(chunkCount(type), 0xFEDCBA9876543210);
        Chunks copy(source.size());
        int const count = static_cast<int>(source.size());
        cast.run(client, ChunkTarget(copy.data(), count), source.data(), count);
        unsigned char word = 0;
        cast.run(client, WordTarget<unsigned char>(&word), source.data(), One());
        EXPECT_TRUE(copy == source && word == 0x10 && client.events().empty()) << type;
    }
}

} // namespace
