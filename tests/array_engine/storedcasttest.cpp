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
#include <optional>

namespace
{
using namespace orvextest;
namespace mw = ORVEX::multiword;
namespace engine = ORVEX::array_engine;
using Type = fxpDataTypeProp;
using Chunks = std::vector<Chunk>;
using Record = RecordingClient::Record;
using Records = std::vector<Record>;

fxpModeRounding_tag rounding(int mode) { return static_cast<fxpModeRounding_tag>(mode); }

/// What the client is asked for.
struct Target {
    fxpProdHardware const* hardware = nullptr;
    FxpNetSlopeCorrectMethod method = FxpNetSlopeCorrectMultiply;
    void lendTo(RecordingClient& client) const
    {
        client.hardware = hardware;
        client.netSlopeMethod = method;
        client.holdDiagnostics = true;
    }
};

fxpProdHardware const asic = fxpProdHardware::getASICTypeHardware();
fxpProdHardware const micros[] = {{ProdHWDeviceMicro, 8, 16, 32, 64, FxpHardwareRoundingZero},
                                  {ProdHWDeviceMicro, 8, 16, 16, 64, FxpHardwareRoundingFloor},
                                  {ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingUndefined}};
constexpr auto divide = FxpNetSlopeCorrectDivide;

struct Result {
    Int stored;
    Records records;
    bool isSeen = false; // by the client, at the last event

    Int take(Outcome const& outcome)
    {
        isSeen = !outcome.events.empty() && outcome.events.back() != Event::underflow;
        for (Event const event : outcome.events) records.push_back({event});
        return outcome.stored;
    }
    Int report(double net, Type const& type, Type const& castType, bool isSlope)
    {
        Int const value = take(quantizeRadix(net, type, fxpModeRoundingNearest, 1));
        records.push_back({isSlope ? Event::netSlope : Event::netBias, chunksOf(value, type), castType, net});
        return value;
    }
    bool operator==(Result const& other) const
    {
        return stored == other.stored &&
               std::ranges::equal(records, other.records, [](Record const& a, Record const& b) {
                   return a.event == b.event && a.chunks == b.chunks && a.type == b.type &&
                          sameDouble(a.wanted, b.wanted) && a.identifier == b.identifier;
               });
    }
    friend std::ostream& operator<<(std::ostream& out, Result const& result)
    {
        out << result.stored;
        for (Record const& record : result.records) {
            out << ", " << record.event;
            if (record.chunks.empty()) continue;
            out << ' ' << record.wanted << " under " << record.type << " as" << std::hex;
            for (Chunk const chunk : record.chunks) out << ' ' << chunk;
            out << std::dec;
        }
        return out;
    }
};

Type withoutScaling(Type const& type) { return fixedType(type.isSigned(), type.wordLength); }
Type withoutFactor(Type type)
{
    type.slopeAdjustmentFactor = 1.0;
    type.bias = 0.0;
    return type;
}

/// Nothing where a wrapping quotient does not fit.
std::optional<Outcome> quotientOf(Rational const& exact, Type const& type, Modes modes)
{
    if (exact == 0) return Outcome{0, {}};
    bool const isLow = exact < 0 && !type.isSigned();
    if (modes.sat == 0 && (isLow || abs(exact) >= maxStored(type))) return {};
    if (isLow) return Outcome{0, {Event::saturationToMax}};
    if (exact < minStored(type)) return Outcome{minStored(type), {Event::saturationToMin}};
    return store(exact, type, modes.round, modes.sat, fxpModeRoundingZero);
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
        slope = result.report(su / sy, slopeType, yr, true);
    }
    if (biases) bias = result.report(subtracts ? -net : net, yr, yr, false);

    RecordingClient client;
    target.lendTo(client);
    Chunks divisor(2);
    Type divisorType;
    double ratio = 0.0;
    if (scales && !biases &&
        ORVEX::getDTCSlopeCorrectionMode(client, y, u, &ratio, &divisorType, divisor.data(), modes.round)) {
        bool const floors = target.hardware->getHWIntDivRndMode() == FxpHardwareRoundingFloor;
        if (modes.round == fxpModeRoundingCheapest && floors) modes.round = fxpModeRoundingFloor;
        auto const quotient = quotientOf(Rational(result.stored, valueOf(divisor.data(), divisorType)),
                                         withoutScaling(y), modes);
        if (quotient) result.stored = result.take(*quotient);
        result.isSeen = false; // a quotient is not there before its event
        return quotient.has_value();
    }
    Type product = ur;
    if (scales)
        product = fixedType(u.isSigned() || slopeType.isSigned(), u.wordLength + slopeType.wordLength,
                            u.fixedExponent + slopeType.fixedExponent);
    Int const scaledValue = scales ? Int(slope * result.stored) : result.stored;
    result.stored = result.take(convert(scaledValue, product, yr, modes.round, modes.sat));
    if (biases)
        result.stored =
            result.take(store(Rational(result.stored + (subtracts ? Int(-bias) : bias)), yr, 0, modes.sat));
    return true;
}

/// Calls `run(client, place, source)` with the source elsewhere and where the target lies, and compares. The
/// second of two stages holds its slope in `lastSlopeBits`, and starts after the first `firstRecords`.
template <class Run>
void expectCast(Result const& wanted, Type const& y, Type const& u, Int const& x, Target const& target,
                std::size_t firstRecords, int lastSlopeBits, Run const& run)
{
    Chunks const source = chunksOf(x, u);
    for (bool const inPlace : {false, true}) {
        Chunks place = inPlace ? source : Chunks(chunkCount(y), 0xA5);
        place.resize(std::max(source.size(), chunkCount(y)) + 1, 0xA5);
        Chunks const before = place;
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
        EXPECT_TRUE(std::equal(place.begin() + static_cast<std::ptrdiff_t>(chunkCount(y)), place.end(),
                               before.begin() + static_cast<std::ptrdiff_t>(chunkCount(y))));
        EXPECT_TRUE(!wanted.isSeen || seen == wanted.stored) << seen;
    }
}

template <class Word>
void castIntoWord(engine::StoredCast const& cast, RecordingClient& client, Chunk* place, Chunk const* source,
                  int count)
{
    Word word = 0x55;
    std::function<void(Event)> const watch = client.onEvent;
    client.onEvent = [&](Event event) {
        *place = mw::extendWord(word);
        watch(event);
    };
    // The source is not to be read from a word that is not there yet.
    Chunks const copy(source, source + count);
    mw::withCount(count, [&](auto n) { cast.run(client, mw::WordTarget<Word>(&word), copy.data(), n); });
    *place = mw::extendWord(word);
}

/// All ways to make the cast; returns the number of stages, 0 if one signed bit would have to hold a slope.
int checkCast(Type const& y, Type const& u, Modes modes, Target const& target, std::vector<Int> const& values)
{
    RecordingClient client;
    target.lendTo(client);
    Type between;
    fxpOperationChoices first, last;
    fxpOperationChoices const request{modes.round, modes.sat, 2};
    auto const plan = [&] { return engine::StoredCast(client, y, u, rounding(modes.round), modes.sat); };
    try {
        ORVEX::selectCastIntermediateDataType(client, &between, &first, &last, &y, &u, &request);
    } catch (kvxDiagnosticException const&) {
        EXPECT_THROW(plan(), kvxDiagnosticException) << u << " into " << y;
        return 0;
    }
    bool const isDouble = !(between == u);
    engine::StoredCast const cast = plan();
    EXPECT_TRUE(client.events().empty()) << u << " into " << y;
    for (Int const& x : values) {
        Result wanted{x, {}}, single{x, {}};
        bool known = u == y || !isDouble ||
                     castOnce(wanted, between, u, {first.roundingMode, first.overflowMode}, target);
        std::size_t const firstRecords = wanted.records.size();
        known = known && (u == y || castOnce(wanted, y, isDouble ? between : u,
                                             {last.roundingMode, last.overflowMode}, target));
        testing::Message const trace = testing::Message() << modes << " through " << between;
        SCOPED_TRACE(trace);
        int const count = static_cast<int>(chunkCount(u));
        auto const expect = [&](auto const& run) {
            if (known) expectCast(wanted, y, u, x, target, firstRecords, between.wordLength, run);
        };
        expect([&](auto& live, Chunk* place, Chunk const* source) {
            mw::withCount(static_cast<int>(chunkCount(y)), [&](auto n) {
                mw::withCount(count, [&](auto m) { cast.run(live, mw::ChunkTarget(place, n), source, m); });
            });
        });
        auto const intoWords = [&]<class... Word>(std::type_identity<Word>...) {
            auto const intoWord = [&]<class W>(std::type_identity<W>) {
                if (y.wordLength > static_cast<int>(8 * sizeof(W)) || y.isSigned() != std::is_signed_v<W>)
                    return;
                expect([&](auto& live, Chunk* place, Chunk const* source) {
                    castIntoWord<W>(cast, live, place, source, count);
                });
            };
            (intoWord(std::type_identity<Word>{}), ...);
        };
        intoWords(std::type_identity<signed char>{}, std::type_identity<unsigned char>{},
                  std::type_identity<short>{}, std::type_identity<unsigned short>{},
                  std::type_identity<int>{}, std::type_identity<unsigned>{}, std::type_identity<long long>{},
                  std::type_identity<Chunk>{});
        if (castOnce(single, y, u, modes, target))
            expectCast(single, y, u, x, target, 0, u.wordLength,
                       [&](auto& live, Chunk* place, Chunk const* source) {
                           engine::castNetScalingToChunks(live, place, y, source, u, rounding(modes.round),
                                                          modes.sat);
                       });
    }
    return isDouble ? 2 : 1;
}

TEST(StoredCast, AgreesWithRationals)
{
    Random random(31);
    int stages[3] = {};
    for (int i = 0; i < 3000; ++i) {
        int const bits = random.pick(std::array{8, 32, 64, 200});
        auto const anyScaling = [&](Type& type) {
            type.slopeAdjustmentFactor =
                random.pick(std::array{1.0, 1.5, 1.1, 1.75, 7.0 / 6, 3.0, 1.0 + 0x1p-40});
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
        Target target{random.pick(std::array<fxpProdHardware const*, 3>{nullptr, &asic, &micros[0]})};
        ++stages[checkCast(y, u, {random.pick(allRoundings), random.between(0, 1)}, target,
                           {random.pick(interestingStored(u, random, 1)), maxStored(u), minStored(u), 1})];
        if (HasFailure()) return;
    }
    EXPECT_GT(stages[1], 500);
    EXPECT_GT(stages[2], 500);
    std::cout << stages[0] << ' ' << stages[1] << ' ' << stages[2] << "\n";
}

/// Net slopes of 1 / n, on targets that may divide.
TEST(StoredCast, DividesWhereTheTargetMay)
{
    Random random(32);
    for (int i = 0; i < 3000; ++i) {
        Type u = random.radixType(64, -20, 20), y = random.radixType(64, 0, 0);
        y.setScaling(static_cast<double>(random.between(3, 1 << random.between(2, 20))), 0, 0.0);
        y.fixedExponent += u.fixedExponent;
        y.bias = u.bias = random.pick(std::array{0.0, -3.5});
        Target const target{&micros[random.between(0, 2)],
                            random.between(0, 9) == 0 ? FxpNetSlopeCorrectMultiply : divide};
        checkCast(y, u, {random.pick(allRoundings), random.between(0, 1)}, target,
                  interestingStored(u, random, 1));
        if (HasFailure()) return;
    }
}

/// Worked out by hand.
TEST(StoredCast, Edges)
{
    constexpr auto low = Event::saturationToMin, high = Event::saturationToMax, wrap = Event::wrap;
    constexpr int zero = fxpModeRoundingZero, floor = fxpModeRoundingFloor;
    auto const biased = [](Type type, double bias) {
        type.bias = bias;
        return type;
    };
    auto const slope = [](Chunk quantized, double wanted) {
        return Record{Event::netSlope, {quantized}, {}, wanted};
    };
    auto const bias = [](Chunk quantized, double wanted) {
        return Record{Event::netBias, {quantized}, {}, wanted};
    };
    Type const s8 = fixedType(true, 8), u8 = fixedType(false, 8), s16 = fixedType(true, 16);
    Type const thirds = fixedType(true, 16, 4, 1.5), halves = fixedType(true, 8, 0, 1.5);
    Target const none{}, dividing{&micros[0], divide}, flooring{&micros[1], divide}, multiplying{&micros[0]};
    struct Row {
        Type u, y;
        int x;
        Modes modes;
        Target target;
        int stored;
        Records records;
    };
    Row const rows[] = {
        {fixedType(true, 16, -4), fixedType(true, 8, -2), -101, {floor, 1}, none, -26, {}},
        // a bias that is subtracted, and one that is added
        {u8, biased(u8, 5), 3, {zero, 1}, none, 0, {bias(5, 5.0), {low}}},
        {u8, biased(u8, 5), 3, {zero, 0}, none, 254, {bias(5, 5.0), {wrap}}},
        {u8, biased(s8, 5), 3, {zero, 0}, none, -2, {bias(~4ULL, -5.0)}},
        {biased(u8, 5), u8, 253, {zero, 1}, none, 255, {bias(5, 5.0), {high}}},
        // the bias, the value, and the sum leave the range each on its own
        {biased(s16, 1000), s8, 300, {zero, 0}, none, -85, {{high}, bias(127, 1000.0), {wrap}, {wrap}}},
        {biased(s16, -0.25), s8, 130, {zero, 1}, none, 127, {bias(0, -0.25), {high}}},
        {biased(s16, 0.25), s8, 0, {zero, 1}, none, 0, {{Event::underflow}, bias(0, 0.25)}},
        // the factor alone makes a slope, however it is spelt
        {halves, s8, 10, {zero, 0}, none, 15, {slope(96, 1.5)}},
        {halves, s8, 100, {zero, 1}, none, 127, {slope(96, 1.5), {high}}},
        {fixedType(true, 8, 0, 2.0), fixedType(true, 8, 1), 5, {zero, 0}, none, 5, {slope(64, 2.0)}},
        // scale first, then the bias
        {biased(halves, -100), s8, 100, {zero, 1}, none, 27, {slope(96, 1.5), bias(~99ULL, -100.0), {high}}},
        // one third of the stored integer, whatever the exponents are
        {fixedType(true, 16, 3), thirds, -100, {zero, 1}, dividing, -33, {slope(21845, 1 / 1.5)}},
        {fixedType(true, 16, 3),
         thirds,
         -100,
         {fxpModeRoundingCheapest, 1},
         flooring,
         -34,
         {slope(21845, 1 / 1.5)}},
        {fixedType(true, 16, 3), thirds, -99, {floor, 1}, flooring, -33, {slope(21845, 1 / 1.5)}},
        {fixedType(true, 16, 3), thirds, -99, {floor, 1}, multiplying, -33, {slope(21845, 1 / 1.5)}},
        {fixedType(true, 16, 3), thirds, 99, {zero, 1}, multiplying, 32, {slope(21845, 1 / 1.5)}},
        {fixedType(true, 16, 3),
         fixedType(true, 8, 4, 1.5),
         1000,
         {zero, 0},
         dividing,
         77,
         {slope(21845, 1 / 1.5), {wrap}}},
        {fixedType(true, 16, 3),
         fixedType(false, 8, 4, 1.5),
         -2,
         {zero, 1},
         dividing,
         0,
         {slope(21845, 1 / 1.5), {high}}},
    };
    for (Row const& row : rows) {
        Result wanted{row.stored, row.records};
        for (Record& record : wanted.records)
            if (!record.chunks.empty()) record.type = withoutFactor(row.y);
        SCOPED_TRACE(row.modes);
        expectCast(wanted, row.y, row.u, row.x, row.target, 0, row.u.wordLength,
                   [&](auto& live, Chunk* place, Chunk const* source) {
                       engine::castNetScalingToChunks(live, place, row.y, source, row.u,
                                                      rounding(row.modes.round), row.modes.sat);
                   });
        checkCast(row.y, row.u, row.modes, row.target, {row.x});
    }
}

/// Factors that no type should have: a cast in one stage takes them as they come.
TEST(StoredCast, OddFactors)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Random random(33);
    std::array const factors{0.0, -0.0, -1.25, -1.0, 1e-300, 1e300, 1.0, infinity, std::nan("")};
    for (double const su : factors)
        for (double const sy : factors)
            for (double const bias : {0.0, 2.0, -1e9, infinity}) {
                Type u = random.radixType(70, -3, 3), y = random.radixType(70, -3, 3);
                u.slopeAdjustmentFactor = su;
                u.bias = bias;
                y.slopeAdjustmentFactor = sy;
                Int const x = random.pick(interestingStored(u, random, 2));
                Modes const modes{random.pick(allRoundings), random.between(0, 1)};
                Result wanted{x, {}};
                if (castOnce(wanted, y, u, modes, {}))
                    expectCast(wanted, y, u, x, {}, 0, u.wordLength,
                               [&](auto& live, Chunk* place, Chunk const* source) {
                                   engine::castNetScalingToChunks(live, place, y, source, u,
                                                                  rounding(modes.round), modes.sat);
                               });
            }
}

/// Also of what stands above the word.
TEST(StoredCast, EqualTypesAreCopied)
{
    for (int const bits : {5, 64, 100, 300})
        for (bool const isSigned : {false, true}) {
            Type const type = fixedType(isSigned, bits, 3, 1.1, 7.0);
            RecordingClient client;
            engine::StoredCast const cast(client, type, type, fxpModeRoundingNearest, 1);
            Chunks const source(chunkCount(type), 0xFEDCBA9876543210);
            Chunks copy(source.size());
            cast.run(client, mw::ChunkTarget(copy.data(), static_cast<int>(copy.size())), source.data(),
                     static_cast<int>(source.size()));
            EXPECT_TRUE(copy == source && client.events().empty()) << type;
            unsigned char word = 0;
            if (bits > 8) continue;
            cast.run(client, mw::WordTarget<unsigned char>(&word), source.data(), mw::One());
            EXPECT_EQ(word, 0x10) << type;
        }
}

} // namespace
