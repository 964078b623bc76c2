#include "support/bodies.h"

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using N = NumberBody;
using P = NumberBody const*;

Int const one = 1;
Type const real = Type::doubleDataType();
constexpr Modes floorWrap{fxpModeRoundingFloor, 0}, floorSat{fxpModeRoundingFloor, 1};

TEST(MultiWordBodies, Deviations)
{
    Int const ones100 = (one << 100) - 1, ones128 = (one << 128) - 1, low64 = (one << 64) - 1;
    struct Row {
        char const* name;
        Value a, b;
        Element result;
        void (*run)(N&, P);
    };
    auto const shiftLeft64 = [](N& it, P) { it.bitShiftLeftLogical(64); };
    auto const logical64 = [](N& it, P) { it.bitShiftRightLogical(64); };
    auto const logical65 = [](N& it, P) { it.bitShiftRightLogical(65); };
    auto const complement = [](N& it, P) { it.bitCmp(); };
    auto const bitAnd = [](N& it, P b) { it.bitAndEqual(b); };
    auto const bitOr = [](N& it, P b) { it.bitOrEqual(b); };
    auto const assignImag = [](N& it, P b) { it.assignImagOf(b); };
    Value const none{s(8), {0}};
    Row const rows[] = {
        // A shift by whole chunks leaves the top chunk as it comes.
        {"<< 64", {u(100), {low64}}, none, {low64 << 64}, shiftLeft64},
        {">>> 64", {s(100), {-1}}, none, {low64}, logical64},
        {">>> 65", {s(100), {-1}}, none, {(one << 35) - 1}, logical65},
        {">>> 1", {s(100), {-1}}, none, {ones100 / 2}, [](N& it, P) { it.bitShiftRightLogical(1); }},
        {"not", {u(100), {0}}, none, {ones128 - (((one << 35) - 1) << 64)}, complement},
        {"not", {u(128), {0}}, none, {(one << 127) + low64}, complement},
        {"not", {u(129), {0}}, none, {(one << 129) - 1}, complement},
        // The other's bits are taken as far as they go, then its sign.
        {"and narrow", {s(100), {one << 80}}, {s(8), {-1}}, {one << 80}, bitAnd},
        {"and narrow unsigned", {s(100), {(one << 80) + 7}}, {u(8), {255}}, {7}, bitAnd},
        {"or above the word", {u(100), {1}}, {s(128), {-1}}, {ones128}, bitOr},
        {"or too large a double", {s(100), {0}}, {real, {}, 1e30}, {-(one << 63)}, bitOr},
        {"and a real number", {s(100), {7, 7}}, {s(100), {3}}, {3, 0}, bitAnd},
        {"imaginary chunks", {u(100), {3}}, {s(100, -7), {1, -2}}, {ones128 - 1}, assignImag},
        {"more of them", {s(100), {3}}, {s(300), {1, (one << 200) + 9}}, {9}, assignImag},
        {"imaginary word", {s(100), {3}}, {s(8), {1, -2}}, {-2}, assignImag},
        {"sign bit", {s(100), {5}}, none, {5 - (one << 99)}, [](N& it, P) { it.bitSet(100, true); }},
        {"sign bit", {s(129), {-1}}, none, {(one << 128) - 1}, [](N& it, P) { it.bitSet(129, false); }},
    };
    for (Row const& row : rows) {
        Held const b(row.b);
        SCOPED_TRACE(testing::Message() << row.a << " with " << row.b);
        for (Modes const modes : {floorWrap, floorSat})
            checkOperation(row.name, row.a, {modes, row.result}, [&](N& it) { row.run(it, b.body()); });
    }
}

// Bit by bit above 128 positions, in doubles where the scalings differ.
TEST(MultiWordBodies, Comparison)
{
    struct Row {
        Value a, b;
        int order;
    };
    auto const biased = [](int bits, double bias) { return fixedType(true, bits, 0, 1.0, bias); };
    Int const huge = one << 290;
    Row const rows[] = {
        {{s(300), {huge + 1}}, {s(300), {huge}}, 1},
        {{s(300), {-huge}}, {u(300), {huge}}, -1},
        {{s(300, -299), {1}}, {s(300, 20), {0}}, 1},
        {{s(300, -200), {one << 220}}, {s(64, 20), {1}}, 0},
        {{s(300, -200), {(one << 220) - 1}}, {u(64, 20), {1}}, -1},
        {{u(128), {one << 127}}, {s(64), {-1}}, 1},
        {{s(100, 900), {1}}, {s(8, -900), {1}}, 1},
        {{biased(100, 1), {one << 90}}, {biased(100, 0), {one << 90}}, 0}, // one apart, near 2^90
        {{biased(100, 1), {one << 90}}, {biased(100, 1), {(one << 90) - 1}}, 1},
        {{biased(100, 1), {-5}}, {biased(8, 2), {-6}}, 0},
        {{biased(100, 1), {5}}, {biased(300, std::nan("")), {5}}, 2},
    };
    for (Row const& row : rows)
        for (bool const isSwapped : {false, true}) {
            Held const a(isSwapped ? row.b : row.a), b(isSwapped ? row.a : row.b);
            SCOPED_TRACE(testing::Message() << a.value() << " and " << b.value());
            EXPECT_EQ(a->compareTo(b.body()), isSwapped && row.order != 2 ? -row.order : row.order);
            EXPECT_EQ(a->isEqualTo(b.body()), row.order == 0);
        }
}

} // namespace
