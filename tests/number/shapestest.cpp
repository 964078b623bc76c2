/// Operations of two arrays: which shapes agree, which elements meet, where the cursors stand afterwards.
#include "support/numbers.h"

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;

Dims const allDims[] = {{1, 1},    {1, 5},    {1, 4},    {2, 3}, {3, 2},
                        {2, 3, 1}, {3, 2, 1}, {1, 1, 1}, {1, 0}, {0, 1}};

/// Two numbers on arrays 1 2 3 ..., a at element 2 and b at element 1, and what is expected of a pair of
/// shapes.
struct Pair {
    Dims dimsA, dimsB;
    int countA = static_cast<int>(Lent::count(dimsA)), countB = static_cast<int>(Lent::count(dimsB));
    bool isA = countA != 1, isB = countB != 1; ///< an array, that is walked
    bool fits = !isA || !isB || dimsA == dimsB;
    int count = isA ? countA : countB;
    Lent a{dimsA, 2}, b{dimsB, 1};

    /// Runs it where the shapes agree, and expects a diagnostic and nothing else where they do not.
    template <class Run>
    void expect(bool agrees, unsigned long long endA, unsigned long long endB, Run const& run)
    {
        EXPECT_EQ(thrownBy(run), agrees ? "" : dimsDisagree);
        EXPECT_EQ(a.number.getIndex(), agrees ? endA : 2);
        EXPECT_EQ(b.number.getIndex(), agrees ? endB : 1);
    }
};

/// Calls `check(pair)` for all pairs of shapes.
template <class Check>
void forAllPairs(Check const& check)
{
    for (Dims const& a : allDims)
        for (Dims const& b : allDims) {
            SCOPED_TRACE(testing::PrintToString(a) + " with " + testing::PrintToString(b));
            Pair pair{a, b};
            check(pair);
        }
}

// One element is read at the cursor, here of a larger array; if both are single, b is walked.
TEST(Shapes, Arithmetic)
{
    using Operation = Number (*)(Number const&, Number const&);
    constexpr Operation operations[] = {
        [](Number const& x, Number const& y) { return Number::arrayPlus(x, y); },
        [](Number const& x, Number const& y) { return Number::arrayMinus(x, y, s(24), s(20)); },
        [](Number const& x, Number const& y) { return Number::arrayTimes(x, y, s(24), s(24), s(20)); },
        [](Number const& x, Number const& y) { return Number::arrayDivide(x, y, s(24, -8)); }};
    for (int op = 0; op < 4; ++op)
        forAllPairs([op, operation = operations[op]](Pair& p) {
            auto const last = static_cast<unsigned long long>(p.count - 1);
            p.expect(p.fits, p.isA && p.count ? last : 2, (p.isB || !p.isA) && p.count ? last : 1, [&] {
                Number const got = operation(p.a.number, p.b.number);
                Elements want;
                for (int i = 0; i < p.count; ++i) {
                    int const x = p.isA ? i + 1 : 3, y = p.isB || !p.isA ? i + 1 : 2;
                    want.push_back({op == 0   ? x + y
                                    : op == 1 ? x - y
                                    : op == 2 ? x * y
                                              : (512 * x + y) / (2 * y)});
                }
                EXPECT_EQ(elementsOf(got), want) << op;
                EXPECT_EQ(dimsOf(got), p.isA ? p.dimsA : p.dimsB);
                EXPECT_TRUE(got.getIndex() == 0 && &got.getFxpClient() == &p.a.client &&
                            got.getRoundMode() == fxpModeRoundingNearest &&
                            got.getOverflowMode() == fxpModeOverflowSaturate);
            });
        });
    forAllPairs([](Pair& p) { // a single receiver takes element 0 alone
        p.expect(p.fits && (p.isA || p.countB != 0), 2, 1, [&] {
            p.a.number.arrayPlusEquals(p.b.number);
            Elements want{{1}, {2}, {3}, {4}, {5}, {6}, {7}};
            for (int i = 0; i < p.countA; ++i)
                want[static_cast<std::size_t>(p.isA ? i : 2)][0] += p.isA && !p.isB ? 2 : i + 1;
            EXPECT_EQ(p.a.storage, storageOf(s(16), want));
        });
    });
}

TEST(Shapes, Comparisons)
{
    constexpr bool* (Number::*relations[])(Number const&, bool*) const = {
        &Number::arrayIsEqual,       &Number::arrayIsNotEqual,          &Number::arrayIsLessThan,
        &Number::arrayIsGreaterThan, &Number::arrayIsLessThanOrEqualTo, &Number::arrayIsGreaterThanOrEqualTo};
    for (int relation = 0; relation < 6; ++relation)
        forAllPairs([&](Pair& p) {
            p.a.storage.put(1, {9}); // 1 9 3 4 5 6, a single one being read at element 0
            std::array<bool, 8> out{}, want{};
            out.fill(true), want.fill(true);
            bool const agrees = p.fits && p.countA != 0 && p.countB != 0;
            for (int i = 0; agrees && i < p.count; ++i) {
                int const x = !p.isA ? 1 : i == 1 ? 9 : i + 1, y = p.isB ? i + 1 : 1;
                bool const all[] = {x == y, x != y, x<y, x> y, x <= y, x >= y};
                want[static_cast<std::size_t>(i)] = all[relation];
            }
            p.expect(agrees, 2, 1, [&] { (p.a.number.*relations[relation])(p.b.number, out.data()); });
            EXPECT_EQ(out, want) << relation;
        });
}

// A single a is read at its cursor if b is walked, any other single at element 0.
TEST(Shapes, BitLogic)
{
    constexpr decltype(&Number::bitAnd) ofArrays[] = {Number::arrayBitAnd, Number::arrayBitOr,
                                                      Number::arrayBitXor},
                                        ofOne[] = {Number::bitAnd, Number::bitOr, Number::bitXor};
    for (int op = 0; op < 3; ++op)
        forAllPairs([&](Pair& p) {
            auto const combined = [op](int x, int y) -> Element {
                return {op == 0 ? x & y : op == 1 ? x | y : x ^ y};
            };
            p.b.number.setWordLength(12);
            if (p.isA && p.countA != 0) { // the scalar form: all of a, element 0 changed
                Elements want = elementsOf(p.a.number);
                want[0] = combined(1, 2);
                EXPECT_EQ(elementsOf(ofOne[op](p.a.number, p.b.number)), want);
            }
            auto const last = static_cast<unsigned long long>(p.countB - 1);
            p.expect(p.fits, 2, (p.isA || !p.isB) && p.count ? last : 1, [&] {
                Number const got = ofArrays[op](p.a.number, p.b.number);
                Elements want;
                for (int i = 0; i < p.count; ++i)
                    want.push_back(combined(p.isA ? i + 1 : p.isB ? 3 : 1, p.isB ? i + 1 : 1));
                EXPECT_EQ(elementsOf(got), want);
                EXPECT_EQ(dimsOf(got), p.isB ? p.dimsB : p.dimsA);
                EXPECT_EQ(got.getWordLength(), !p.isA && p.isB ? 12 : 16);
            });
        });
}

TEST(Shapes, ArrayEquals)
{
    forAllPairs([](Pair& p) { // a single one is read or written at element 0
        bool const agrees = !p.isB || p.dimsA == p.dimsB;
        Elements want{{1}, {2}, {3}, {4}, {5}, {6}, {7}};
        for (std::size_t i = 0; i < 7; ++i) {
            p.b.storage.put(i, {11 + i});
            if (agrees && i < Lent::count(p.dimsA)) want[i] = {p.isB ? 11 + i : 11};
        }
        EXPECT_EQ(thrownBy([&] { Number::arrayEquals(p.a.number, p.b.number); }),
                  agrees ? "" : Orvex::number::IndexAssignElementCountMismatch().identifier());
        EXPECT_EQ(p.a.storage, storageOf(s(16), want));
        EXPECT_TRUE(p.a.number.getIndex() == 2 && p.b.number.getIndex() == 1);
    });
}

} // namespace
