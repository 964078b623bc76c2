#include "support/oracle.h"
#include "support/recordingclient.h"

#include <orvex/type_basic/selectradixdatatype.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using Hardware = fxpProdHardware;

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
    Hardware const micro(ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingZero);
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
    Hardware const asic = Hardware::getASICTypeHardware();
    Hardware const micro(ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingZero);
    Hardware const many(ProdHWDeviceMicro, 10, 11, 12, 13, 14, FxpHardwareRoundingZero);
    for (unsigned int const bits : {15U, 40U}) many.getHWIntegerWordlengths()->addNewWordLength(bits);
    struct Row {
        Type in;
        Hardware const* hardware;
        Type want;
        bool loses = false;
        int longest = 128;
    };
    Row const rows[] = {
        {Type::doubleDataType(), &asic, Type::doubleDataType()},
        {fixedType(true, 8, -3), &asic, fixedType(true, 8, -3)},
        {fixedType(false, 8, 0, 1.25), nullptr, fixedType(false, 11, -2)},
        {fixedType(false, 8, 0, 1.0, -1.0), &asic, fixedType(true, 9, 0)},
        {fixedType(true, 8, 0, 1.0, 128.0), &asic, fixedType(false, 8, 0)},
        {fixedType(false, 1, 0, 1.0, -1.0), &asic, fixedType(true, 2, 0)}, // holds -1, not +1
        {fixedType(false, 2, 0, 1.25), &asic, fixedType(false, 4, -1), true},
        {fixedType(true, 8, 0, 1.0, 0.1), &micro, fixedType(true, 32, -23)}, // rounds the bias
        {fixedType(true, 9, 0, 1.0, 0x1p-20), &many, fixedType(true, 40, -20)},
        {fixedType(true, 33, 0, 1.0, 0.5), &micro, fixedType(true, 33, 1)}, // one trial, in vain
        // Held in vain too, and then the largest value rounds past the top, if one bit more can tell.
        {fixedType(false, 32, -3, 1.0, -0.0044), &micro, fixedType(true, 32, -1)},
        {fixedType(false, 32, -3, 1.0, -0.0044), &micro, fixedType(true, 32, -2), false, 32}};
    for (Row const& row : rows) {
        RecordingClient client;
        client.hardware = row.hardware;
        client.setMaxSupportedWordLength(row.longest);
        fxpSelectRadixTypeConditions conditions;
        Type out = row.in; // in place
        ORVEX::selectRadixDataType(client, &out, &out, row.hardware, &conditions);
        EXPECT_EQ(out, row.want) << row.in;
        EXPECT_TRUE(conditions.isSlopeQuantizationLoss() == row.loses && conditions.isClear() != row.loses);
        conditions.reset();
        EXPECT_TRUE(conditions.isClear());
    }
    for (Type const& radix : {Type::singleDataType(), fixedType(true, 8, -3)}) { // left as they are
        RecordingClient client;
        Type out[3];
        ORVEX::selectRadixDataType_WithTerms(client, &out[0], &radix, &asic);
        ORVEX::selectRadixDataTypeMax(client, &out[1], &radix);
        ORVEX::selectRadixDataTypeMaxWL(client, &out[2], &radix);
        EXPECT_TRUE(out[0] == radix && out[1] == radix && out[2] == radix);
    }
}

TEST(SelectRadix, GoesTo129BitsOnRequestAndEndsOnASlopeOfZero)
{
    RecordingClient client;
    client.holdDiagnostics = true;
    auto const selectMaxWL = [&](Type const& in) {
        Type out;
        ORVEX::selectRadixDataTypeMaxWL(client, &out, &in);
        delete client.releaseFatalError();
        return out;
    };
    Type const fine = fixedType(true, 8, 0, 1.0, 0x1p-121);
    Type out;
    ORVEX::selectRadixDataTypeMax(client, &out, &fine);
    EXPECT_EQ(out, fixedType(true, 128, -120)); // which the bias is rounded to
    EXPECT_EQ(selectMaxWL(fine), fixedType(true, 129, -121));
    EXPECT_EQ(client.events(), Events{});
    EXPECT_EQ(selectMaxWL(fixedType(true, 8, 0, 0.0, 0.0)), fixedType(true, 8, 0));
    EXPECT_EQ(selectMaxWL(fixedType(true, 1, 0, 1.0, 4.0)),
              fixedType(false, 1, 2)); // one signed bit holds no slope
    EXPECT_EQ(client.events(), (Events{Event::diagnosticError, Event::underflow, Event::diagnosticError}));
    client.holdDiagnostics = false;
    EXPECT_THROW(selectMaxWL(fixedType(true, 1, 0, 1.0, 4.0)), kvxDiagnosticException);
}

} // namespace
