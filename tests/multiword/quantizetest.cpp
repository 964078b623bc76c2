#include "client/nullclient.h"
#include "multiword/chunkconvert.h"
#include "support/allocations.h"
#include "support/storecheck.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{
using namespace orvextest;
namespace mw = ORVEX::multiword;
using Type = fxpDataTypeProp;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

void checkStoreInAllModes(double value, Type const& type)
{
    for (int const round : allRoundings)
        for (int const sat : bothOverflows) ASSERT_NO_FATAL_FAILURE(checkStore(value, type, round, sat));
}

TEST(Quantize, WordLengths1To8Exhaustively)
{
    for (int bits = 1; bits <= 8; ++bits)
        for (bool const isSigned : {false, true}) {
            Type const type = fixedType(isSigned, bits, -2);
            // Every quarter of a unit from below the least to above the most, and next to each of them.
            int const least = static_cast<int>(minStored(type)), most = static_cast<int>(maxStored(type));
            for (int quarter = 4 * least - 9; quarter <= 4 * most + 9; ++quarter) {
                double const value = quarter / 16.0;
                ASSERT_NO_FATAL_FAILURE(checkStoreInAllModes(value, type));
                for (double const end : {-infinity, infinity}) {
                    if (bits >= 4) break;
                    ASSERT_NO_FATAL_FAILURE(checkStoreInAllModes(std::nextafter(value, end), type));
                }
            }
            for (double const value : specialDoubles())
                ASSERT_NO_FATAL_FAILURE(checkStoreInAllModes(value, type));
        }
}

TEST(Quantize, SpecialValuesAtTheSeamsAndExponentsFarOutsideTheWord)
{
    Random random(10);
    for (int const exponent : {0, -7, -400, 400, -1074, 1100})
        for (Type const& type : seamTypes(exponent))
            for (double const value : specialDoubles())
                ASSERT_NO_FATAL_FAILURE(
                    checkStore(value, type, random.pick(allRoundings), random.pick(bothOverflows)));
}

TEST(Quantize, RandomValuesInAnyTypeWithSlopeAndBias)
{
    checkStoreInAllModes(0.3, fixedType(true, 8)); // what the test framework takes once it keeps
    long const before = liveBlocks();              // hooks throw all along, and nothing may leak
    Random random(7);
    for (int i = 0; i < 1000; ++i) {
        Type type = random.radixType(320, -150, 150);
        double const value = random.doubleNear(type);
        ASSERT_NO_FATAL_FAILURE(checkStoreInAllModes(value, type));
        type.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.5, 1.1, -1.25, 3.0});
        type.bias = random.pick(std::array{0.0, 0.5, -3.7, value, 1e300});
        ASSERT_NO_FATAL_FAILURE(checkStoreInAllModes(value, type));
    }
    // No scaling at all, and quotients beyond a double.
    for (double const factor : {0.0, infinity, nan, 5e-324})
        for (double const bias : {0.0, 1.5, -1e308, infinity, nan})
            for (double const value : specialDoubles())
                ASSERT_NO_FATAL_FAILURE(checkStoreInAllModes(value, fixedType(true, 70, 0, factor, bias)));
    EXPECT_EQ(liveBlocks(), before);
}

TEST(Quantize, ExtremeExponentsAndUnknownModes)
{
    enum Stored { zero, one, minusOne, least, most };
    struct Row {
        int exponent;
        double value;
        int round, sat;
        Stored stored;
        Events events;
    };
    constexpr int nearest = fxpModeRoundingNearest, ceiling = fxpModeRoundingCeiling,
                  floor = fxpModeRoundingFloor;
    for (int const bits : {8, 72, 200})
        for (Row const& row :
             {Row{INT_MAX, 1.0, nearest, 0, zero, {Event::underflow}},
              Row{INT_MAX, 1.0, ceiling, 1, one, {Event::underflow}},
              Row{INT_MAX, 5e-324, ceiling, 0, one, {Event::underflow}},
              Row{INT_MAX, -1.0, floor, 1, minusOne, {}}, Row{INT_MAX, -1e308, nearest, 0, zero, {}},
              Row{INT_MIN, 1.0, nearest, 0, zero, {Event::wrap}},
              Row{INT_MIN, 5e-324, floor, 1, most, {Event::saturationToMax}},
              Row{INT_MIN, -1.0, floor, 0, zero, {Event::wrap}},
              Row{INT_MIN, -1e308, floor, 9, least, {Event::saturationToMin}},
              Row{0, -0.5, 7, 0, minusOne, {}}, Row{0, 1.5, -1, 0, one, {}},
              Row{0, 1e99, nearest, -1, most, {Event::saturationToMax}}}) {
            Type const type = fixedType(true, bits, row.exponent);
            Int const stored[] = {0, 1, -1, minStored(type), maxStored(type)};
            EXPECT_TRUE(stores(mw::storeRadixDoubleToChunks, row.value, type, row.round, row.sat,
                               {stored[row.stored], row.events}));
        }
}

TEST(Quantize, OtherModesOfType)
{
    Random random(8);
    for (int i = 0; i < 4000; ++i) {
        Type type = random.radixType(300, -30, 30);
        type.fixedExponent = random.pick(
            std::array{type.fixedExponent, type.fixedExponent, -1023, -1074, -1075, 1023, 1024, -5000, 5000});
        type.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.1});
        type.bias = random.pick(std::array{0.0, 0.3});
        double const value =
            random.coin() ? random.pick(specialDoubles())
                          : random.doubleNear(fixedType(true, type.wordLength, type.fixedExponent % 900));
        for (int mode = fxpModeDataTypeScaledDouble; mode <= fxpModeDataTypeBoolean; ++mode) {
            type.mode = static_cast<fxpModeDataType>(mode);
            SCOPED_TRACE(testing::Message() << testing::PrintToString(value) << ' ' << type);
            ScaledOutcome const scaled = scaledFromRealWorld(value, type),
                                radix = scaledFromRadix(value, type);
            RecordingClient client;
            double stored = 9.0;
            mw::storeRealWorldToScaledDouble(client, &stored, type, value, fxpModeRoundingZero, 1);
            EXPECT_TRUE(sameDouble(stored, scaled.stored) && client.events() == scaled.events) << stored;
            EXPECT_TRUE(sameDouble(mw::scaledDoubleToRealWorld(value, type), readScaled(value, type)));
            client.clear();
            mw::storeRadixToScaledDouble(client, &stored, type, value);
            EXPECT_TRUE(sameDouble(stored, radix.stored) && client.events() == radix.events) << stored;
            client.clear();
            double const wanted[] = {readScaled(scaled.stored, type), value, static_cast<float>(value),
                                     value == 0.0 ? 0.0 : 1.0};
            EXPECT_TRUE(sameDouble(
                ORVEX::mpr_quantize(client, value, type, random.between(0, 6), random.between(0, 1)),
                wanted[mode - 1]));
            EXPECT_EQ(client.events(), scaled.events);
        }
        type.mode = static_cast<fxpModeDataType>(17); // as fixed
        FxpClientNull client;
        EXPECT_TRUE(sameDouble(ORVEX::mpr_quantize(client, value, type, 5, 1),
                               readRealWorld(quantize(value, type, 5, 1).stored, type)));
    }
}

TEST(Quantize, AllocatesNothingUpTo128Bits)
{
    FxpClientNull& client = ORVEX::client::nullClient();
    std::vector<double> const values = specialDoubles();
    std::vector<Type> const types = seamTypes(-3);
    double sum = 0.0;
    long const before = allocationsMade();
    for (Type const& type : types)
        if (type.wordLength <= 128)
            for (double const value : values)
                for (auto const round : allRoundings)
                    for (int const sat : bothOverflows) {
                        sum += ORVEX::mpr_quantize(client, value, type, round, sat);
                        Chunk narrow[2] = {~0ULL, ~0ULL};
                        mw::convertChunksToChunks(client, narrow, type, narrow, fixedType(true, 128), round,
                                                  sat);
                    }
    EXPECT_EQ(allocationsMade(), before) << sum;
}

} // namespace
