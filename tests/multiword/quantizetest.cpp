#include "client/nullclient.h"
#include "support/allocations.h"
#include "support/storecheck.h"

#include <climits>

namespace
{
using namespace orvextest;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

void checkStoreInAllModes(double value, Type const& type)
{
    for (int round = -1; round <= fxpModeRoundingConvergent + 1; ++round)
        for (int const sat : {0, 1, -1}) ASSERT_NO_FATAL_FAILURE(checkStore(value, type, round, sat));
}

/// Every quarter of a unit from below the least to above the most, and next to each of them.
TEST(Quantize, WordLengths1To4Exhaustively)
{
    for (int i = 0; i < 8; ++i) {
        Type const type = fixedType(i % 2, 1 + i / 2, -2);
        int const least = static_cast<int>(minStored(type)), most = static_cast<int>(maxStored(type));
        for (int quarter = 4 * least - 9; quarter <= 4 * most + 9; ++quarter)
            for (double const end : {-infinity, quarter / 16.0, infinity})
                ASSERT_NO_FATAL_FAILURE(checkStoreInAllModes(std::nextafter(quarter / 16.0, end), type));
    }
}

TEST(Quantize, AwkwardValuesAndRandomOnesInAnyType)
{
    checkStoreInAllModes(0.3, s(8));  // what the test framework takes once it keeps
    long const before = liveBlocks(); // hooks throw all along, and nothing may leak
    Random random(7);
    // Exponents far outside the word, no scaling at all, and quotients beyond a double.
    for (int const exponent : {0, -7, -400, 400, -1074, 1100, -5000, INT_MAX, INT_MIN})
        for (Type type : seamTypes(exponent))
            for (double const value : specialDoubles()) {
                bool const isScaled = random.between(0, 3) == 0;
                type.slopeAdjustmentFactor =
                    isScaled ? random.pick(std::array{0.0, infinity, nan, 5e-324}) : 1.0;
                type.bias = isScaled ? random.pick(std::array{0.0, 1.5, -1e308, infinity, nan}) : 0.0;
                ASSERT_NO_FATAL_FAILURE(
                    checkStore(value, type, random.pick(allRoundings), random.pick(bothOverflows)));
            }
    for (int i = 0; i < 500; ++i) {
        Type type = random.radixType(320, -150, 150);
        double const value = random.doubleNear(type);
        type.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.0, 1.5, 1.1, -1.25, 3.0});
        type.bias = random.pick(std::array{0.0, 0.0, 0.5, -3.7, value, 1e300});
        ASSERT_NO_FATAL_FAILURE(checkStoreInAllModes(value, type));
    }
    EXPECT_EQ(liveBlocks(), before);
}

/// Of the other modes of a type: what is read back of one that stores what this one reads.
TEST(Quantize, OtherModesOfType)
{
    Random random(8);
    for (int i = 0; i < 4000; ++i) {
        Type type = random.radixType(300, -30, 30);
        type.fixedExponent =
            random.pick(std::array{type.fixedExponent, -1023, -1074, -1075, 1023, 1024, -5000, 5000});
        type.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.1});
        type.bias = random.pick(std::array{0.0, 0.3});
        double const value =
            random.coin() ? random.pick(specialDoubles())
                          : random.doubleNear(fixedType(true, type.wordLength, type.fixedExponent % 900));
        ScaledOutcome const outcome = scaledFromRealWorld(value, scaledDouble(type));
        double const wanted[] = {readScaled(outcome.stored, scaledDouble(type)), value,
                                 static_cast<float>(value), value == 0.0 ? 0.0 : 1.0,
                                 readRealWorld(quantize(value, type, 5, 1).stored, type)};
        for (int const mode : {1, 2, 3, 4, 17}) { // the last one as fixed
            type.mode = static_cast<fxpModeDataType>(mode);
            RecordingClient client;
            EXPECT_TRUE(
                sameDouble(ORVEX::mpr_quantize(client, value, type, 5, 1), wanted[std::min(mode, 5) - 1]))
                << testing::PrintToString(value) << ' ' << type;
            EXPECT_TRUE(mode == 17 || client.events() == (mode == 1 ? outcome.events : Events{}));
        }
    }
}

TEST(Quantize, AllocatesNothingUpTo128Bits)
{
    std::vector<double> const values = specialDoubles();
    std::vector<Type> types = seamTypes(-3);
    std::erase_if(types, [](Type const& type) { return type.wordLength > 128; });
    double sum = 0.0;
    long const before = allocationsMade();
    for (Type const& type : types)
        for (double const value : values)
            for (auto const round : allRoundings)
                for (int const sat : bothOverflows)
                    sum += ORVEX::mpr_quantize(ORVEX::client::nullClient(), value, type, round, sat);
    EXPECT_EQ(allocationsMade(), before) << sum;
}

} // namespace
