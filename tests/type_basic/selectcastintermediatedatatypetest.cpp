#include "support/oracle.h"
#include "support/recordingclient.h"
#include "type_basic/castintermediatecache.h"

#include <orvex/type_basic/discardbitsformaxsize.h>
#include <orvex/type_basic/selectcastintermediatedatatype.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace
{
using namespace orvextest;
using namespace ORVEX::type_basic;
using Type = fxpDataTypeProp;
using Hardware = fxpProdHardware;

Hardware const& hardwareNumber(int i)
{
    static Hardware const all[] = {Hardware::getASICTypeHardware(),
                                   Hardware(ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingZero),
                                   Hardware(ProdHWDeviceMicro, 8, 16, 32, 64, FxpHardwareRoundingZero)};
    return all[i];
}

TEST(DiscardBits, Table)
{
    struct Row {
        int maxBits;
        Type type, reference, want;
        int fraction, msb;
        bool sign = false;
    };
    Row const rows[] = {{32, s(40, -20), s(16, -12), s(32, -12), 8, 0},
                        {32, s(48, -20), s(16, -12), s(32, -12), 8, 8},
                        {32, s(36, -20), s(16, -12), s(32, -16), 4, 0},
                        {32, s(32, -20), s(16, -12), s(32, -20), 0, 0},
                        {32, s(36, -10), s(16, -12), s(32, -10), 0, 4},
                        {32, s(60), s(50), s(50), 0, 10},
                        {8, s(9), u(8), u(8), 0, 1, true},
                        {8, s(9, -1), u(8), s(8), 1, 0},
                        {8, s(9), s(8), s(8), 0, 1},
                        {8, s(10), u(7), s(8), 0, 2}};
    for (Row const& row : rows) {
        Type type = row.type, silent = row.type;
        int fraction = 77, msb = 77;
        bool sign = true;
        ORVEX::discardBitsForMaxSize(row.maxBits, &type, &row.reference, &fraction, &msb, &sign);
        EXPECT_TRUE(type == row.want && fraction == row.fraction && msb == row.msb && sign == row.sign)
            << row.type << " gave " << type << ' ' << fraction << ' ' << msb << ' ' << sign;
        ORVEX::discardBitsForMaxSize(row.maxBits, &silent, &row.reference, nullptr, nullptr, nullptr);
        EXPECT_EQ(silent, row.want);
    }
}

struct Choice {
    Type type;
    int first, second;
    bool operator==(Choice const&) const = default;
    friend std::ostream& operator<<(std::ostream& out, Choice const& c)
    {
        return out << c.type << " first " << c.first << " second " << c.second;
    }
};

Choice choose(OrvexClientInterface& client, Type const& target, Type const& source, int overflow = 1)
{
    fxpOperationChoices const request{fxpModeRoundingConvergent, overflow, 2};
    fxpOperationChoices first, second;
    Type out;
    ORVEX::selectCastIntermediateDataType(client, &out, &first, &second, &target, &source, &request);
    for (fxpOperationChoices const& stage : {first, second})
        EXPECT_TRUE(stage.roundingMode == fxpModeRoundingConvergent && stage.stageCode == 2);
    return {out, first.overflowMode, second.overflowMode};
}

TEST(CastIntermediate, Table)
{
    Hardware const* const asic = &hardwareNumber(0);
    Hardware const* const micro = &hardwareNumber(1);
    Type const dbl = Type::doubleDataType(), sgl = Type::singleDataType(), half = s(16, -8, 1.0, 0.5);
    Type const tiny = s(8, 0, 1.0, 0x1p-300);
    struct Row {
        Type target, source;
        Hardware const* hardware;
        int longest;
        Choice want; ///< the source's type for no intermediate
    };
    Row const rows[] = {
        {half, s(9, 2, 1.5, 0.5), asic, 128, {s(9, 2, 1.5, 0.5), 0, 1}},
        {s(8, 1000), tiny, asic, 128, {tiny, 0, 1}}, // the net bias underflows
        {dbl, half, asic, 128, {dbl, 0, 1}},
        {sgl, half, asic, 128, {sgl, 0, 1}},
        {{fxpModeDataTypeDouble, true, 64, 1.0, 0, 9.0, 0}, sgl, asic, 128, {dbl, 0, 1}},
        {s(16, -8), {fxpModeDataTypeDouble, true, 64, 1.0, 0, 9.0, 0}, asic, 128, {dbl, 0, 1}},
        {scaledDouble(s(16, -8)), half, asic, 128, {s(17, -8), 0, 1}},
        {s(16, -8), half, asic, 128, {s(17, -8), 0, 1}},
        {s(16, -8), half, nullptr, 128, {s(17, -8), 0, 1}},
        {s(16, -8), half, micro, 128, {s(32, -8), 0, 1}},
        {s(4), s(4, 0, 1.0, 1.0), micro, 128, {s(32), 0, 1}}, // the nominal integer
        {s(17, -8), half, asic, 128, {half, 0, 1}},           // the target would do as its own intermediate
        {s(16), half, asic, 16, {s(16, -7), 1, 1}},           // a fraction bit is cut off
        {s(8), s(8, 0, 1.0, 1.0), asic, 8, {s(8, 0, 1.0, 1.0), 0, 1}}, // cut down to the target
        {s(16, 0, 1.5, 3.0), s(16, 1, 1.5), asic, 128, {s(17, 1, 1.5, 3.0), 0, 1}},
        {s(16, -8), s(30, -30, 1.0, 256.0), micro, 128, {s(32, -8), 1, 1}}}; // of 40 bits, in two words
    for (Row const& row : rows)
        for (int repeat = 0; repeat < 2; ++repeat) { // the second time from the cache
            RecordingClient client;
            client.hardware = row.hardware;
            client.setMaxSupportedWordLength(row.longest);
            EXPECT_EQ(choose(client, row.target, row.source), row.want) << row.target << row.source;
            EXPECT_TRUE(client.events().empty());
        }
    RecordingClient client;
    fxpOperationChoices const request{};
    Type out;
    ORVEX::selectCastIntermediateDataType(client, &out, nullptr, nullptr, &half, &half, &request);
    EXPECT_EQ(out, half);
}

TEST(CastIntermediate, HoldsEverySourceValueOnItsGrid)
{
    Random random(12);
    RecordingClient client;
    for (int i = 0; i < 300; ++i) {
        Type const source = fixedType(random.coin(), random.between(4, 8), random.between(-4, 4),
                                      1 + random.between(0, 3) / 4.0, random.between(-9, 9) / 4.0);
        Type const target = fixedType(random.coin(), random.between(1, 12), random.between(-4, 4), 1.0,
                                      random.between(20, 40) / 8.0);
        Choice const choice = choose(client, target, source, i % 2);
        Type const& held = choice.type == source ? target : choice.type;
        EXPECT_TRUE(held.slopeAdjustmentFactor == 1.0 && held.bias == target.bias);
        EXPECT_TRUE(choice.first == 0 && choice.second == i % 2) << choice;
        for (Int q = minStored(source); q <= maxStored(source); ++q) {
            Rational const value = q * exactly(source.slopeAdjustmentFactor, source.fixedExponent) +
                                   exactly(source.bias) - exactly(held.bias);
            Outcome const there =
                store(value * scaled(1, -held.fixedExponent), held, fxpModeRoundingFloor, 1);
            EXPECT_EQ(scaled(there.stored, held.fixedExponent), value) << source << target << held << q;
        }
    }
}

TEST(CastIntermediate, FirstClientDecidesAndFailuresAreNotKept)
{
    RecordingClient wide, narrow;
    narrow.setMaxSupportedWordLength(20);
    Type const target = s(16, -8, 1.0, 0.25), source = s(24, -16, 1.0, 0.5);
    Choice const first = choose(narrow, target, source);
    EXPECT_EQ(first.type.wordLength, 20);
    EXPECT_EQ(choose(wide, target, source), first);
    EXPECT_EQ(choose(wide, target, source, 0).type.wordLength, 25); // another overflow mode, another question

    auto const before = castIntermediateCache::instance().counters();
    for (Type const& bad : {s(16, 0, -1.5, 9.0), s(1, 0, 1.0, 9.0)}) // one signed bit holds no slope
        EXPECT_THROW(choose(wide, target, bad), kvxDiagnosticException) << bad;
    auto const after = castIntermediateCache::instance().counters();
    EXPECT_TRUE(after.misses - before.misses == 2 && after.inserts == before.inserts);
}

TEST(CastIntermediateCache, KeepsTheMostRecentlyUsed)
{
    castIntermediateCache cache;
    castIntermediateCache::Counters want;
    std::vector<int> kept; // most recently used first
    int target = 0;
    auto const use = [&](int i, int hardware) {
        CastQuestion const question{s(16, i % 7), s(16, i % 5, 1.0, i), i % 2};
        auto const place = hardware == target ? std::find(kept.begin(), kept.end(), i) : kept.end();
        auto const answer = cache.find(hardwareNumber(hardware), question);
        ASSERT_EQ(answer.has_value(), place != kept.end()) << i;
        if (answer) {
            EXPECT_EQ(answer->type, s(i + 1));
            ++want.hits;
            std::rotate(kept.begin(), place, place + 1);
            return;
        }
        ++want.misses, ++want.inserts;
        if (hardware != target) ++want.clears, kept.clear();
        if (kept.size() == 129) ++want.evictions, kept.pop_back();
        target = hardware;
        kept.insert(kept.begin(), i);
        for (int again = 0; again < 2; ++again) // the second time as if another thread had been first
            cache.insert(hardwareNumber(hardware), question, {s(i + 1)});
    };
    for (int i = 0; i < 130; ++i) use(i, 0);
    EXPECT_EQ(cache.size(), 129U);
    use(1, 0);
    use(0, 0); // has been evicted, and now evicts 2
    Random random(4);
    for (int i = 0; i < 3000; ++i) use(random.between(0, 150), i / 1000);
    auto const got = cache.counters();
    EXPECT_TRUE(got.hits == want.hits && got.misses == want.misses && got.inserts == want.inserts &&
                got.clears == 2 && want.clears == 2 && got.evictions == want.evictions);
}

TEST(CastIntermediateCache, AnswersEightThreadsAlike)
{
    auto const ask = [](int i) { // now and then for another target, whose record all threads share
        RecordingClient client;
        client.hardware = &hardwareNumber(i % 40 == 0 ? 2 : 1);
        return choose(client, s(16), fixedType(false, 12, -2, 1.0, i % 200 + 0.5));
    };
    std::vector<Choice> wanted;
    for (int i = 0; i < 200; ++i) wanted.push_back(ask(i));
    std::vector<std::thread> threads;
    for (int t = 1; t <= 8; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 300; ++i)
                EXPECT_EQ(ask(i * t), wanted[static_cast<std::size_t>(i * t % 200)]);
        });
    for (std::thread& thread : threads) thread.join();
}

} // namespace
