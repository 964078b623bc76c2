#include "client/nullclient.h"
#include "support/allocations.h"
#include "support/model.h"

#include <climits>

namespace
{
using namespace orvextest;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Quantize, AgreesWithRationals)
{
    checkStore(0.3, s(8), 0, 0);      // what the test framework takes once it keeps
    long const before = liveBlocks(); // hooks throw all along, and nothing may leak
    long made = 0;                    // up to 128 bits
    Random random(7);
    for (int i = 0; i < 30000; ++i) {
        // Exponents far outside the word, no scaling at all, and quotients beyond a double.
        Type type = random.radixType(random.pick(std::array{4, 64, 320}), -150, 150);
        double value = random.coin() ? random.pick(specialDoubles()) : random.doubleNear(type);
        if (i % 4 == 0)
            type.fixedExponent =
                random.pick(std::array{0, -7, -400, 400, -1074, 1100, -5000, INT_MAX, INT_MIN});
        if (i % 4 == 1) { // about a quarter of a unit
            value = std::ldexp(random.between(-99, 99), type.fixedExponent - 2);
            value = std::nextafter(value, random.pick(std::array{-infinity, value, infinity}));
        }
        if (i % 4 == 2) {
            type.slopeAdjustmentFactor =
                random.pick(std::array{1.0, 1.5, 1.1, -1.25, 3.0, 0.0, infinity, nan, 5e-324});
            type.bias = random.pick(std::array{0.0, 0.5, -3.7, value, 1e300, -1e308, infinity, nan});
        }
        int const round = random.between(-1, 7), sat = random.between(-1, 1);
        ASSERT_NO_FATAL_FAILURE(checkStore(value, type, round, sat));
        if (type.wordLength > 128) continue;
        made -= allocationsMade();
        ORVEX::mpr_quantize(ORVEX::client::nullClient(), value, type, round, sat);
        made += allocationsMade();
    }
    EXPECT_TRUE(liveBlocks() == before && made == 0) << made;
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

} // namespace
