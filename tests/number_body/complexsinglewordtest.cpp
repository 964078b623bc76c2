#include "support/bodies.h"

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

std::string const foreign = "Need to determine rules for heterogeneous arithmetic!\n";
std::string const unsignedTimes = "\nComplex signed*= unsigned TBD!\n";
constexpr Modes wrap{fxpModeRoundingNearest, 0}, saturate{fxpModeRoundingNearest, 1};
constexpr auto Max = Event::saturationToMax, Min = Event::saturationToMin;

TEST(ComplexSingleWord, TimesEqualsStepByStep)
{
    Type const s4 = s(4), s8 = s(8), s16 = s(16), q = s(8, -4), real = Type::doubleDataType();
    struct Row {
        Value a, b;
        Modes modes;
        Element result;
        std::string text = {};
        Events events = {};
        Elements seen = {};
    };
    Row const rows[] = {
        {{s16, {1, 2}}, {s16, {3, 4}}, wrap, {-5, 10}},
        {{s(16, -2), {4, 8}}, {s(16, -4), {48, 64}}, wrap, {-20, 40}},
        {{s16, {5, -7}}, {s8, {-3}}, wrap, {-15, 21}},
        {{q, {3, 3}}, {q, {8, 8}}, saturate, {0, 4}}, // each partial product is rounded up
        // Both products and their difference; then the imaginary part, stored, the last product and the sum.
        {{s4, {-8, -7}},
         {s4, {3, -7}},
         wrap,
         {7, 3},
         "",
         Events(6, Event::wrap),
         {{-8, -7}, {-8, -7}, {-8, -7}, {-8, -7}, {-8, -5}, {-8, 3}}},
        {{s8, {99, -99}},
         {s8, {99, 99}},
         saturate,
         {127, -1},
         "",
         {Max, Min, Max, Min, Max},
         {{99, -99}, {99, -99}, {99, -99}, {99, -99}, {99, -128}}},
        {{s8, {99, 3}}, {u(8), {2}}, saturate, {99, 3}, unsignedTimes, {Max}, {{99, 3}}},
        {{s8, {-99, 3}}, {u(8), {2, 9}}, wrap, {-99, 3}, unsignedTimes, {Event::wrap}, {{-99, 3}}},
        {{s8, {99, 3}}, {s(65), {2}}, saturate, {99, 3}, "", {Max}, {{99, 3}}},
        {{s8, {2, 3}}, {real, {}, 2.0}, wrap, {2, 3}, foreign},
        {{u(8), {200, 3}}, {s8, {2, 2}}, saturate, {200, 3}},
        {{u(8), {2, 3}}, {real, {}, 2.0}, saturate, {2, 3}},
        {{s(100), {2, 3}}, {s8, {2, 2}}, saturate, {2, 3}},
        {{s(100), {2, 3}}, {real, {}, 2.0}, saturate, {2, 3}},
        {{s8, {2}}, {real, {}, 2.0}, wrap, {0}, foreign},
        {{s(100), {2}}, {real, {}, 2.0}, wrap, {0}, foreign},
    };
    for (Row const& row : rows) {
        Held const b(row.b);
        SCOPED_TRACE(testing::Message() << row.a << " by " << row.b);
        checkOperation("timesEquals", row.a, {row.modes, row.result, row.events, row.seen, row.text},
                       [&](NumberBody& it) { it.timesEquals(b.body()); });
    }
}

TEST(ComplexBodies, ConjugateNegatesInTheContainerAndKeepsOrMovesTheCursor)
{
    Random random(42);
    RecordingClient client;
    for (int const bits : {1, 5, 8, 12, 16, 20, 32, 33, 64, 65, 100, 128, 129, 300})
        for (bool const isSigned : {false, true})
            for (unsigned const count : {0U, 1U, 3U, 300U}) {
                Type const type = fixedType(isSigned, bits, -3);
                Storage storage(type, 2 * count);
                for (std::size_t part = 0; part < storage.parts(); ++part) {
                    std::vector<Chunk> pattern((containerBytes(type) + 7) / 8);
                    for (Chunk& chunk : pattern) chunk = random.coin() ? random.bits() : 0;
                    if (bits <= 8) pattern[0] = part / 2; // all of them
                    if (part == 1) pattern = chunksOf(minStored(type), pattern.size());
                    storage.put(part, pattern);
                }
                Storage wanted = storage;
                for (std::size_t part = 1; part < storage.parts(); part += 2)
                    wanted.put(part,
                               chunksOf(-storage.integer(part, isSigned), (containerBytes(type) + 7) / 8));
                std::unique_ptr<NumberBody> const body(
                    NumberBodyFactory::createNumberBody(storage.data(), type, client, count,
                                                        fxpModeRoundingFloor, fxpModeOverflowSaturate, true));
                body->setIndex(1);
                body->conjugate();
                EXPECT_EQ(storage, wanted) << type << ' ' << count;
                EXPECT_EQ(body->index(), bits > 64 && count > 0 ? count - 1 : 1U) << type << ' ' << count;
            }
    EXPECT_EQ(client.events(), Events{});
}

TEST(ComplexBodies, OrderLooksAtTheRealPartAndEqualityAtBoth)
{
    double const nan = std::nan("");
    struct Row {
        Element a;
        double aBias;
        Element b;
        double bBias;
        int order;
        bool isEqual;
    };
    Row const rows[] = {
        {{1, 5}, 0, {1, -5}, 0, 0, false},
        {{1, 5}, 0, {1, 5}, 0, 0, true},
        {{1, 0}, 0, {1}, 0, 0, true},
        {{1, 1}, 0, {1}, 0, 0, false},
        {{1}, 0, {1, 0}, 0, 0, true},
        {{1}, 0, {1, 2}, 0, 0, false},
        {{1, 9}, 0, {2, 0}, 0, -1, false},
        {{-1, 9}, 0, {-2, 9}, 0, 1, false},
        // The imaginary zero is that of the real-world value.
        {{1, 0}, 2, {1}, 2, 0, false},
        {{1, -2}, 2, {1}, 2, 0, true},
        {{1}, 2, {1, -2}, 2, 0, true},
        {{1}, 2, {1, 0}, 2, 0, false},
        {{3}, 0, {1, -2}, 2, 0, true},
        {{3, 0}, 0, {1}, 2, 0, true},
        {{3, 1}, 0, {1, -1}, 2, 0, true},
        {{3, 1}, 0, {1, 1}, 2, 0, false},
        {{1, 1}, nan, {1, 1}, nan, 2, false},
        {{1, 1}, 0, {1, 1}, nan, 2, false},
    };
    auto const scaledType = [](int bits, double bias) { return fixedType(true, bits, 0, 1.0, bias); };
    for (int const aBits : {8, 40, 100, 300})
        for (int const bBits : {8, 40, 100, 300})
            for (Row const& row : rows) {
                Held const a({scaledType(aBits, row.aBias), row.a}), b({scaledType(bBits, row.bBias), row.b});
                SCOPED_TRACE(testing::Message() << a.value() << " and " << b.value());
                EXPECT_EQ(a->compareTo(b.body()), row.order);
                EXPECT_EQ(a->isEqualTo(b.body()), row.isEqual);
                for (double const value : {1.0, -77.0, nan}) {
                    Held const real({Type::doubleDataType(), {}, value});
                    EXPECT_EQ(a->compareTo(real.body()), 0);
                    EXPECT_EQ(a->isEqualTo(real.body()),
                              row.a.size() == 1 || a->getImagRWDoubleValue() == 0.0);
                }
            }
}

} // namespace
