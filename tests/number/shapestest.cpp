/// Operations of two arrays: which shapes agree, which elements meet, where the cursors stand afterwards.
#include "support/numbers.h"

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
using C = Number const&;

Dims const allDims[] = {{1, 1},    {1, 5},    {1, 4},    {2, 3}, {3, 2},
                        {2, 3, 1}, {3, 2, 1}, {1, 1, 1}, {1, 0}, {0, 1}};

/// Which element of a single operand is read, and where cursors end.
enum Kind { arithmetic, logic, inPlace, assignment };
struct Operation {
    Kind kind;
    Number (*run)(Number&, Number const&);
    int (*of)(int, int);
};
Operation const operations[] = {
    {arithmetic, [](Number& x, C y) { return Number::arrayPlus(x, y); }, [](int x, int y) { return x + y; }},
    {arithmetic, [](Number& x, C y) { return Number::arrayMinus(x, y, s(24), s(20)); },
     [](int x, int y) { return x - y; }},
    {arithmetic, [](Number& x, C y) { return Number::arrayTimes(x, y, s(24), s(24), s(20)); },
     [](int x, int y) { return x * y; }},
    {arithmetic, [](Number& x, C y) { return Number::arrayDivide(x, y, s(24, -8)); },
     [](int x, int y) { return (512 * x + y) / (2 * y); }},
    {logic, [](Number& x, C y) { return Number::arrayBitAnd(x, y); }, [](int x, int y) { return x & y; }},
    {logic, [](Number& x, C y) { return Number::arrayBitOr(x, y); }, [](int x, int y) { return x | y; }},
    {logic, [](Number& x, C y) { return Number::arrayBitXor(x, y); }, [](int x, int y) { return x ^ y; }},
    {inPlace, [](Number& x, C y) { return x.arrayPlusEquals(y); }, nullptr},
    {assignment, [](Number& x, C y) { return Number::arrayEquals(x, y), x; }, nullptr}};

// Of arrays 1 2 3 ..., a at element 2 and b at element 1. One element is read at the cursor, here of a larger
// array, or at element 0; if both are single, b is walked.
TEST(Shapes, MeetElementByElement)
{
    for (Operation const& operation : operations)
        for (Dims const& dimsA : allDims)
            for (Dims const& dimsB : allDims) {
                SCOPED_TRACE(testing::Message()
                             << testing::PrintToString(dimsA) << " with " << testing::PrintToString(dimsB)
                             << " by operation " << &operation - operations);
                Lent a(dimsA, 2), b(dimsB, 1);
                Kind const kind = operation.kind;
                auto const countA = Lent::count(dimsA), countB = Lent::count(dimsB);
                bool const isA = countA != 1, isB = countB != 1, same = dimsA == dimsB,
                           fits = kind == assignment ? !isB || same
                                  : kind == inPlace  ? !isB || (isA ? same : countB != 0)
                                                     : !isA || !isB || same;
                auto const count = isA || kind >= inPlace ? countA : countB;
                if (kind == logic) b.number.setWordLength(12);
                auto const endOf = [&](bool walks, unsigned long long start) {
                    return fits && walks && count != 0 && kind < inPlace
                               ? (kind == logic ? countB : count) - 1
                               : start;
                };
                Elements want{{1}, {2}, {3}, {4}, {5}, {6}, {7}};
                for (int i = 0; fits && i < static_cast<int>(count); ++i) {
                    int const x = isA                         ? i + 1
                                  : kind == arithmetic || isB ? 3
                                                              : 1,
                              y = isB || (!isA && kind == arithmetic) ? i + 1
                                  : kind == arithmetic                ? 2
                                                                      : 1;
                    auto const at = static_cast<std::size_t>(i);
                    if (kind < inPlace) {
                        if (i == 0) want.clear();
                        want.push_back({operation.of(x, y)});
                    } else if (kind == assignment)
                        want[at] = {isB ? i + 1 : 1};
                    else
                        want[isA ? at : 2][0] +=
                            isA && !isB ? 2 : i + 1; // a single one takes element 0 alone
                }
                if (kind < inPlace) want.resize(count);
                EXPECT_EQ(thrownBy([&] {
                              Number const got = operation.run(a.number, b.number);
                              if (kind >= inPlace) return;
                              EXPECT_EQ(elementsOf(got), want);
                              EXPECT_EQ(dimsOf(got), (kind == logic ? isB : !isA) ? dimsB : dimsA);
                              EXPECT_TRUE(kind == logic
                                              ? got.getWordLength() == (!isA && isB ? 12 : 16)
                                              : got.getIndex() == 0 && &got.getFxpClient() == &a.client);
                          }),
                          fits                 ? ""
                          : kind == assignment ? Orvex::number::IndexAssignElementCountMismatch().identifier()
                                               : dimsDisagree);
                EXPECT_TRUE(kind < inPlace || a.storage == storageOf(s(16), want));
                EXPECT_EQ(a.number.getIndex(), endOf(isA && kind == arithmetic, 2));
                EXPECT_EQ(b.number.getIndex(), endOf(kind == logic ? isA || !isB : isB || !isA, 1));
            }
}

TEST(Shapes, Comparisons)
{
    constexpr bool* (Number::*relations[])(Number const&, bool*) const = {
        &Number::arrayIsEqual,       &Number::arrayIsNotEqual,          &Number::arrayIsLessThan,
        &Number::arrayIsGreaterThan, &Number::arrayIsLessThanOrEqualTo, &Number::arrayIsGreaterThanOrEqualTo};
    for (std::size_t relation = 0; relation < 6; ++relation)
        for (Dims const& dimsA : allDims)
            for (Dims const& dimsB : allDims) {
                Lent a(dimsA, 2), b(dimsB, 1);
                a.storage.put(1, {9}); // 1 9 3 4 5 6, a single one being read at element 0
                auto const countA = Lent::count(dimsA), countB = Lent::count(dimsB);
                bool const agrees =
                    countA != 0 && countB != 0 && (countA == 1 || countB == 1 || dimsA == dimsB);
                std::array<bool, 8> out{}, want{};
                out.fill(true), want.fill(true);
                for (std::size_t i = 0; agrees && i < std::max(countA, countB); ++i) {
                    std::size_t const x = countA == 1 ? 1 : i == 1 ? 9 : i + 1, y = countB == 1 ? 1 : i + 1;
                    want[i] = std::array{x == y, x != y, x<y, x> y, x <= y, x >= y}[relation];
                }
                EXPECT_EQ(thrownBy([&] { (a.number.*relations[relation])(b.number, out.data()); }),
                          agrees ? "" : dimsDisagree);
                EXPECT_TRUE(out == want && a.number.getIndex() == 2 && b.number.getIndex() == 1)
                    << testing::PrintToString(dimsA) << testing::PrintToString(dimsB) << relation;
            }
}

} // namespace
