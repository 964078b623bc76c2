#include "support/oracle.h"
#include "support/recordingclient.h"
#include "support/texttable.h"

#include <orvex/text/type.h>
#include <orvex/type_basic/selectradixdatatype.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using Hardware = fxpProdHardware;
using ORVEX::text::readTarget, ORVEX::text::readType;

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

} // namespace
