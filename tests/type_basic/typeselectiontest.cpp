/// Types that the library chooses: the radix twin of a scaled type, and the one between source and target of
/// a cast.
#include "support/oracle.h"
#include "support/recordingclient.h"
#include "support/texttable.h"
#include "type_basic/castintermediatecache.h"

#include <orvex/text/type.h>
#include <orvex/type_basic/discardbitsformaxsize.h>
#include <orvex/type_basic/selectcastintermediatedatatype.h>
#include <orvex/type_basic/selectradixdatatype.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace
{
using namespace orvextest;
using namespace ORVEX::type_basic;
using Type = fxpDataTypeProp;
using Hardware = fxpProdHardware;
using ORVEX::text::readTarget, ORVEX::text::readType;

Hardware const& hardwareNumber(int i)
{
    static Hardware const all[] = {readTarget("asic"), readTarget("8,16,32,32"), readTarget("8,16,32,64")};
    return all[i];
}

/// The selection by brute force on rationals: every word length in turn, every exponent in turn.
struct Model {
    Type in{};                  ///< of a factor that its own word length holds
    std::vector<int> lengths{}; ///< to be searched, ascending
    int limit = 0;              ///< the longest that counts as a success
    int longest = 0;            ///< the client's
    double slope = 0, low = 0, high = 0;

    struct Trial {
        Type type;
        double slope, bias;
    };

    static double held(double x, Type const& type, int round)
    {
        return readRadix(store(exactly(x, -type.fixedExponent), type, round, 1).stored, type);
    }

    /// Whether an extreme, brought to the grid of a somewhat wider type as net slope and net bias, is in
    /// range.
    bool isInRange(Int const& stored, double bias, Type const& type) const
    {
        Type wide = type;
        wide.wordLength += type.wordLength < longest;
        int const sign = bias < 0 && !wide.isSigned() ? -1 : 1; // such a bias is subtracted
        Rational const value =
            stored * exactly(in.slopeAdjustmentFactor, in.fixedExponent - wide.fixedExponent);
        Int const there =
            store(value, wide, fxpModeRoundingNearest, 1).stored +
            sign * store(exactly(sign * bias, -wide.fixedExponent), wide, fxpModeRoundingNearest, 1).stored;
        return std::clamp(there, minStored(wide), maxStored(wide)) ==
               std::clamp(there, minStored(type), maxStored(type));
    }

    Trial tryLength(int bits, double bias, bool withTerms) const
    {
        Type type = fixedType(low < 0, bits, std::ilogb(std::max(-low, high)) - bits - 2);
        auto const fits = [&](double x) {
            Rational const units = exactly(x, -type.fixedExponent);
            return x < 0 ? units >= minStored(type)
                         : roundTo(units, fxpModeRoundingHalfAway) <= maxStored(type);
        };
        while (!fits(low) || !fits(high)) ++type.fixedExponent;
        bool inRange = true;
        for (Int const& stored : {minStored(in), maxStored(in)})
            for (double const b : {in.bias, withTerms ? 0.0 : in.bias})
                inRange = inRange && isInRange(stored, b, type);
        type.fixedExponent += !inRange;
        return {type, held(slope, type, fxpModeRoundingZero), held(bias, type, fxpModeRoundingNearest)};
    }

    Type select(bool withTerms)
    {
        Type noBias = in;
        if (withTerms) noBias.bias = 0.0;
        low = std::min(readRealWorld(minStored(in), in), readRealWorld(minStored(in), noBias));
        high = std::max(readRealWorld(maxStored(in), in), readRealWorld(maxStored(in), noBias));
        slope = std::ldexp(in.slopeAdjustmentFactor, in.fixedExponent);
        if (slope > high && low < 0) slope = -slope;
        Trial trial{fixedType(low < 0, in.wordLength, in.fixedExponent), slope, in.bias};
        double bias = in.bias;
        for (int pass = 0; pass < 2 && limit >= in.wordLength - 1; ++pass) {
            bool found = false;
            for (std::size_t i = 0; i < lengths.size() && !found; ++i) {
                trial = tryLength(lengths[i], bias, withTerms);
                found = trial.slope == slope && trial.bias == bias;
            }
            bias = trial.bias;
            if (found && trial.type.wordLength < limit) break;
        }
        Type best = trial.type;
        for (Type& type = trial.type; held(slope, type, fxpModeRoundingZero) == slope &&
                                      held(bias, type, fxpModeRoundingNearest) == bias;
             ++type.fixedExponent)
            best = type;
        best.mode = in.mode;
        return best;
    }
};

std::vector<int> range(int first, int last)
{
    std::vector<int> all;
    for (int bits = first; bits <= last; ++bits) all.push_back(bits);
    return all;
}

TEST(SelectRadix, IsWhatBruteForceFinds)
{
    Random random(77);
    Hardware const asic = Hardware::getASICTypeHardware();
    Hardware const micro = readTarget("8,16,32,32");
    std::array const biases{0.0, 1.0, -1.0, 0.25, -3.75, 100.0, -96.5, 0x1p-9, 1e3, 0.1, -0.3};
    for (int i = 0; i < 300; ++i) {
        Model model;
        model.in = fixedType(random.coin(), random.between(4, 10),
                             random.between(random.pick(std::array{-40, -6}), 4),
                             1 + random.between(0, 3) / 4.0, random.pick(biases));
        if (random.coin()) model.in.mode = fxpModeDataTypeScaledDouble;
        model.longest = random.pick(std::array{128, 40, 20, 9, 8});
        int const start = model.in.wordLength;
        bool const onMicro = i % 2 == 0;
        RecordingClient client;
        client.hardware = onMicro ? &micro : &asic;
        client.setMaxSupportedWordLength(model.longest);
        SCOPED_TRACE(testing::Message() << model.in << (onMicro ? " micro " : " asic ") << model.longest);
        if (model.in.slopeAdjustmentFactor == 1.0 && model.in.bias == 0.0) continue;

        Type out;
        model.lengths = onMicro ? std::vector{8, 16, 32} : range(start, 128);
        std::erase_if(model.lengths, [start](int bits) { return bits < start; });
        model.limit = onMicro ? 32 : model.longest;
        ORVEX::selectRadixDataType(client, &out, &model.in, client.hardware, nullptr);
        EXPECT_EQ(out, model.select(false));
        ORVEX::selectRadixDataType_WithTerms(client, &out, &model.in, client.hardware);
        EXPECT_EQ(out, model.select(true));
        model.limit = std::max(model.limit, start);
        model.lengths = range(start, model.limit);
        ORVEX::selectRadixDataTypeMax(client, &out, &model.in);
        EXPECT_EQ(out, model.select(false));
        model.limit = 129;
        model.lengths = range(start, 129);
        ORVEX::selectRadixDataTypeMaxWL(client, &out, &model.in);
        EXPECT_EQ(out, model.select(false));
        EXPECT_TRUE(client.events().empty());
    }
}

TEST(SelectRadix, Table)
{
    Hardware const asic, micro = readTarget("8,16,32,32"), many = readTarget("10,11,12,13,14");
    for (unsigned int const bits : {15U, 40U}) many.getHWIntegerWordlengths()->addNewWordLength(bits);
    auto const hardwareOf = [&](std::string const& name) {
        return name == "asic" ? &asic : name == "micro" ? &micro : name == "many" ? &many : nullptr;
    };
    // The input, a target, the longest word, the radix type, and whether the slope is not held.
    for (Texts const& row : rows(
             "double asic 128 double;single asic 128 single;s8,3 asic 128 s8,3;u8,slope=1.25 none 128 u11,2;"
             "u8,bias=-1 asic 128 s9;s8,bias=128 asic 128 u8;u1,bias=-1 asic 128 s2;"    // holds -1, not +1
             "u2,slope=1.25 asic 128 u4,1 loses;s8,bias=0.1 micro 128 s32,23;"           // rounds the bias
             "s9,bias=9.5367431640625e-7 many 128 s40,20;s33,bias=0.5 micro 128 s33,-1;" // one trial, in vain
             // Held in vain too, and then the largest value rounds past the top, if one bit more can tell.
             "u32,slope=1*2^-3,bias=-0.0044 micro 128 s32,1;u32,slope=1*2^-3,bias=-0.0044 micro 32 s32,2")) {
        RecordingClient client;
        client.hardware = hardwareOf(row[1]);
        client.setMaxSupportedWordLength(std::stoi(row[2]));
        fxpSelectRadixTypeConditions conditions;
        Type const in = readType(row[0]);
        Type out = in; // in place
        ORVEX::selectRadixDataType(client, &out, &out, client.hardware, &conditions);
        EXPECT_EQ(out, readType(row[3])) << row[0];
        bool const loses = row.size() > 4;
        EXPECT_TRUE(conditions.isSlopeQuantizationLoss() == loses && conditions.isClear() != loses);
        conditions.reset();
        EXPECT_TRUE(conditions.isClear());
        if (!(out == in)) continue;
        Type same[3]; // left alone by all
        ORVEX::selectRadixDataType_WithTerms(client, &same[0], &in, &asic);
        ORVEX::selectRadixDataTypeMax(client, &same[1], &in);
        ORVEX::selectRadixDataTypeMaxWL(client, &same[2], &in);
        EXPECT_TRUE(same[0] == in && same[1] == in && same[2] == in);
    }
    // Up to 129 bits on request, and an end on a slope of zero.
    RecordingClient client;
    client.holdDiagnostics = true;
    auto const selectMaxWL = [&](Type const& in) {
        Type out;
        ORVEX::selectRadixDataTypeMaxWL(client, &out, &in);
        delete client.releaseFatalError();
        return out;
    };
    Type const fine = s(8, 0, 1.0, 0x1p-121);
    Type out;
    ORVEX::selectRadixDataTypeMax(client, &out, &fine);
    EXPECT_EQ(out, s(128, -120)); // which the bias is rounded to
    EXPECT_EQ(selectMaxWL(fine), s(129, -121));
    EXPECT_EQ(client.events(), Events{});
    EXPECT_EQ(selectMaxWL(s(8, 0, 0.0)), s(8));
    EXPECT_EQ(selectMaxWL(s(1, 0, 1.0, 4.0)), u(1, 2)); // one signed bit holds no slope
    EXPECT_EQ(client.events(), (Events{Event::diagnosticError, Event::underflow, Event::diagnosticError}));
    client.holdDiagnostics = false;
    EXPECT_THROW(selectMaxWL(s(1, 0, 1.0, 4.0)), kvxDiagnosticException);
}

TEST(DiscardBits, Table)
{
    // The most bits, the type, one to go by, what is left; fraction and top bits that are gone, and the sign.
    for (Texts const& row :
         rows("32 s40,20 s16,12 s32,12 8 0 0;32 s48,20 s16,12 s32,12 8 8 0;32 s36,20 s16,12 s32,16 4 0 0;"
              "32 s32,20 s16,12 s32,20 0 0 0;32 s36,10 s16,12 s32,10 0 4 0;32 s60 s50 s50 0 10 0;"
              "8 s9 u8 u8 0 1 1;8 s9,1 u8 s8 1 0 0;8 s9 s8 s8 0 1 0;8 s10 u7 s8 0 2 0")) {
        Type type = readType(row[1]), silent = type, reference = readType(row[2]);
        int const most = std::stoi(row[0]);
        int fraction = 77, msb = 77;
        bool sign = true;
        ORVEX::discardBitsForMaxSize(most, &type, &reference, &fraction, &msb, &sign);
        EXPECT_EQ(type, readType(row[3])) << row[1];
        EXPECT_EQ((std::vector{fraction, msb, int(sign)}),
                  (std::vector{std::stoi(row[4]), std::stoi(row[5]), std::stoi(row[6])}));
        ORVEX::discardBitsForMaxSize(most, &silent, &reference, nullptr, nullptr, nullptr);
        EXPECT_EQ(silent, type);
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
    // Target, source, the hardware's number, the longest word; the type between, or the source's for none,
    // and the overflow modes of the two stages.
    for (Texts const& row : rows(
             "s16,slope=1*2^-8,bias=0.5 s9,slope=1.5*2^2,bias=0.5 0 128 s9,slope=1.5*2^2,bias=0.5 0 1;"
             "s8,-1000 s8,bias=4.909093465297727e-91 0 128 s8,bias=4.909093465297727e-91 0 1;" // the net bias
                                                                                               // underflows
             "double half 0 128 double 0 1;single half 0 128 single 0 1;double:9 single 0 128 double 0 1;"
             "s16,8 double:9 0 128 double 0 1;scaled:s16,8 half 0 128 s17,8 0 1;s16,8 half 0 128 s17,8 0 1;"
             "s16,8 half - 128 s17,8 0 1;s16,8 half 1 128 s32,8 0 1;s4 s4,bias=1 1 128 s32 0 1;" // the
                                                                                                 // nominal
                                                                                                 // integer
             "s17,8 half 0 128 half 0 1;" // the target would do as its own intermediate
             "s16 half 0 16 s16,7 1 1;"   // a fraction bit is cut off
             "s8 s8,bias=1 0 8 s8,bias=1 0 1;s8 s8,bias=1000 0 10 s10 1 1;" // cut down to the target
             "s16,slope=1.5,bias=3 s16,slope=1.5*2^1 0 128 s17,slope=1.5*2^1,bias=3 0 1;"
             "s16,8 s30,slope=1*2^-30,bias=256 1 128 s32,8 1 1")) { // of 40 bits, in two words
        auto const typeOf = [](std::string const& text) {
            if (text == "double:9") return Type(fxpModeDataTypeDouble, true, 64, 1.0, 0, 9.0, 0);
            return readType(text == "half" ? "s16,slope=1*2^-8,bias=0.5" : text);
        };
        for (int repeat = 0; repeat < 2; ++repeat) { // the second time from the cache
            RecordingClient client;
            if (row[2] != "-") client.hardware = &hardwareNumber(std::stoi(row[2]));
            client.setMaxSupportedWordLength(std::stoi(row[3]));
            EXPECT_EQ(choose(client, typeOf(row[0]), typeOf(row[1])),
                      (Choice{typeOf(row[4]), std::stoi(row[5]), std::stoi(row[6])}))
                << row[0] << ' ' << row[1];
            EXPECT_TRUE(client.events().empty());
        }
    }
    RecordingClient client;
    fxpOperationChoices const request{};
    Type const sgl = Type::singleDataType();
    Type out;
    ORVEX::selectCastIntermediateDataType(client, &out, nullptr, nullptr, &sgl, &sgl, &request);
    EXPECT_EQ(out, sgl);
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
