/// Casts of stored integers between types of any slope and bias: what is stored, and all that the client
/// hears, net values included.
#include "support/castcheck.h"

namespace
{
using namespace orvextest;

TEST(StoredCast, AgreesWithRationals)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::array const factors{1.0, 1.5, 1.1, 1.75, 7.0 / 6, 3.0, 1.0 + 0x1p-40, 1.25};
    std::array const odd{1.0, 0.0, -0.0, -1.25, -1.0, 1e300, infinity, std::nan("")};
    Random random(31);
    int stages[3] = {};
    for (int i = 0; i < 5000 && !HasFailure(); ++i) {
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
        ClientSettings target{random.pick(std::array<fxpProdHardware const*, 3>{nullptr, &asic, &micros[0]})};
        if (i % 3 == 1) { // a net slope of 1 / n, now and then with a bias, which forbids a division
            y.setScaling(random.between(3, 1 << random.between(2, 20)), u.fixedExponent,
                         i % 5 == 0 ? 7.5 : 0.0);
            u.setScaling(1.0, u.fixedExponent, 0.0);
            target = {&micros[random.between(0, 2)], dividing};
        }
        ++stages[checkCast(y, u, {random.pick(allRoundings), random.between(0, 1)}, target,
                           {random.pick(interestingStored(u, random, 1)), maxStored(u), minStored(u), 1})];
    }
    EXPECT_TRUE(stages[1] > 1000 && stages[2] > 1000) << stages[1] << ' ' << stages[2];
}

} // namespace
