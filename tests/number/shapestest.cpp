/// Operations of two arrays: which shapes agree, which elements meet, where the cursors stand afterwards.
#include "support/numbers.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace
{
using namespace orvextest;
using C = Number const&;

Dims const allDims[] = {{1, 1},    {1, 5},    {1, 4},    {2, 3}, {3, 2},
                        {2, 3, 1}, {3, 2, 1}, {1, 1, 1}, {1, 0}, {0, 1}};

/// Which element of a single operand is read, and where cursors end.
enum Kind { arithmetic, logic, comparison, inPlace, assignment };
struct Operation {
    Kind kind;
    Number (*run)(Number&, Number const&);
    int (*of)(int, int);
};
/// As a number of ones and zeros; a single operand is read at element 0.
template <auto relation, template <class> class Test>
constexpr Operation compared{comparison,
                             [](Number& x, C y) {
                                 Number result(x.isScalar() ? y : x);
                                 std::unique_ptr<bool[]> const out((x.*relation)(y, nullptr));
                                 for (unsigned long long i = 0; i < result.getNumberOfElements(); ++i)
                                     result[i] = static_cast<double>(out[i]);
                                 result.setIndex(0);
                                 return result;
                             },
                             [](int x, int y) -> int { return Test<int>()(x, y); }};
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
    {assignment, [](Number& x, C y) { return Number::arrayEquals(x, y), x; }, nullptr},
    compared<&Number::arrayIsEqual, std::equal_to>,
    compared<&Number::arrayIsNotEqual, std::not_equal_to>,
    compared<&Number::arrayIsLessThan, std::less>,
    compared<&Number::arrayIsGreaterThan, std::greater>,
    compared<&Number::arrayIsLessThanOrEqualTo, std::less_equal>,
    compared<&Number::arrayIsGreaterThanOrEqualTo, std::greater_equal>};

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
                           fits = kind == assignment   ? !isB || same
                                  : kind == comparison ? countA != 0 && countB != 0 && (!isA || !isB || same)
                                  : kind == inPlace    ? !isB || (isA ? same : countB != 0)
                                                       : !isA || !isB || same;
                auto const count = isA || kind >= inPlace ? countA : countB;
                if (kind == logic) b.number.setWordLength(12);
                auto const endOf = [&](bool walks, unsigned long long start) {
                    return fits && walks && count != 0 && kind < comparison
                               ? (kind == logic ? countB : count) - 1
                               : start;
                };
                Elements want{{1}, {2}, {3}, {4}, {5}, {6}, {7}};
                for (int i = 0; fits && i < static_cast<int>(count); ++i) {
                    int const x = isA                                            ? i + 1
                                  : kind == arithmetic || (kind == logic && isB) ? 3
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
                              EXPECT_TRUE(kind == comparison ||
                                          (kind == logic
                                               ? got.getWordLength() == (!isA && isB ? 12 : 16)
                                               : got.getIndex() == 0 && &got.getFxpClient() == &a.client));
                          }),
                          fits                 ? ""
                          : kind == assignment ? Orvex::number::IndexAssignElementCountMismatch().identifier()
                                               : dimsDisagree);
                EXPECT_TRUE(kind < inPlace || a.storage == storageOf(s(16), want));
                EXPECT_EQ(a.number.getIndex(), endOf(isA && kind == arithmetic, 2));
                EXPECT_EQ(b.number.getIndex(), endOf(kind == logic ? isA || !isB : isB || !isA, 1));
            }
}

} // namespace
