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

/// The oracle itself, against what was worked out by hand.
TEST(StoredCast, Edges)
{
    using Record = RecordingClient::Record;
    constexpr auto high = Event::saturationToMax, low = Event::saturationToMin, wrap = Event::wrap;
    constexpr Modes zeroWrap{fxpModeRoundingZero, 0}, zero{fxpModeRoundingZero, 1};
    auto const slope = [](Chunk chunk, double net) { return Record{Event::netSlope, {chunk}, {}, net}; };
    auto const bias = [](Chunk chunk, double net) { return Record{Event::netBias, {chunk}, {}, net}; };
    Record const third = slope(21845, 1 / 1.5), half = slope(96, 1.5);
    ClientSettings const none{}, divides{&micros[0], dividing}, floors{&micros[1], dividing};
    struct Row {
        Type u, y;
        int x;
        Modes modes;
        ClientSettings target;
        int stored;
        std::vector<Record> records;
    };
    Row const rows[] = {
        // a bias that is subtracted, and one that is added
        {u(8), u(8, 0, 1, 5), 3, zero, none, 0, {bias(5, 5.0), {low}}},
        {u(8), u(8, 0, 1, 5), 3, zeroWrap, none, 254, {bias(5, 5.0), {wrap}}},
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
        {s(16, 3), s(8, 4, 1.5), 1000, zeroWrap, divides, 77, {third, {wrap}}},
        {s(16, 3), u(8, 4, 1.5), -2, zero, divides, 0, {third, {high}}},
    };
    for (Row row : rows) {
        CastResult result{row.x};
        result.cast(row.y, row.u, row.modes, row.target);
        for (Record& record : row.records)
            if (!record.chunks.empty()) record.type = stripped(row.y, row.y.fixedExponent);
        EXPECT_EQ(result.stored, row.stored) << row.u << row.y;
        EXPECT_EQ(result.records, row.records) << row.u << row.y;
        checkCast(row.y, row.u, row.modes, row.target, {row.x});
    }
}

} // namespace
