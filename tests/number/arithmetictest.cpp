#include "support/arithmeticcheck.h"

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

constexpr Modes nearestSat{fxpModeRoundingNearest, 1};

TEST(Arithmetic, SmallWidthsExhaustively)
{
    Random random(31);
    for (int i = 0; i < 256; ++i) { // every pair of widths and signs with four differences of exponents
        Type const a = fixedType((i & 1) != 0, 1 + i / 4 % 4, i / 64 - 2);
        Type const b = fixedType((i & 2) != 0, 1 + i / 16 % 4, random.between(-1, 1));
        ASSERT_NO_FATAL_FAILURE(
            checkArithmetic(a, valuesOf(a, random, false), b, valuesOf(b, random, false), random));
    }
}

TEST(Arithmetic, RandomTypesRealAndComplex)
{
    Random random(32);
    for (int i = 0; i < 150; ++i) {
        int const bits = random.pick(std::array{6, 16, 64, 64, 130});
        Type const a = random.radixType(bits, -bits / 2, bits / 3);
        Type const b = random.coin() ? a : random.radixType(bits, -bits / 2, bits / 3);
        Elements const as = valuesOf(a, random, random.coin(), 6), bs = valuesOf(b, random, random.coin(), 6);
        ASSERT_NO_FATAL_FAILURE(checkArithmetic(a, as, b, bs, random));
    }
}

TEST(Arithmetic, FullPrecisionLooksAtWordAndExponentAlone)
{
    RecordingClient client;
    auto one = [&](Type const& type) { return Number(1.0, type, client, {}, {}); };
    EXPECT_EQ((one(s(16, -8)) + one(s(16, -4))).getDataType(), s(21, -8));
    EXPECT_EQ((one(u(8, -3)) * one(s(8, -2))).getDataType(), s(16, -5));
    EXPECT_EQ((one(u(8)) - one(s(8))).getDataType(), s(9)); // no further bit for the sign
    EXPECT_EQ((one(u(8)) - one(u(8))).getDataType(), u(9));
    EXPECT_EQ(dimsOf(one(u(8)) * one(u(8))), (Dims{1, 1}));
    EXPECT_EQ(dimsOf(Number::divide(one(u(8)), one(u(8)), u(8))), (Dims{1}));
    Type const sloped = fixedType(true, 8, -1, 1.5, 3.0);
    EXPECT_EQ((one(sloped) + one(u(8, 1))).getDataType(), s(11, -1));
    EXPECT_EQ((one(scaledDouble(sloped)) * one(u(8, 1))).getDataType(), s(16));
}

TEST(Arithmetic, OutputTypesAndTheirCaches)
{
    RecordingClient client;
    Type const A = s(8, -2), B = s(8), C = u(5, -3), P = s(20, -4), O = s(6, -1);
    Type const AB = sumRule(A, B), AC = sumRule(A, C), xAB = productRule(A, B), xAC = productRule(A, C);
    Type none;
    ORVEX::createBadFxpDtpProp(&none);
    Number a = numberOf(A, {{1, 1}}, client);
    Number const b = numberOf(B, {{2, 2}}, client), c = numberOf(C, {{3, 0}}, client);
    auto types = [&](Number const& of, Type const& plus, Type const& times, Type const& out) {
        EXPECT_EQ(of.getDataTypeForNonAssignmentOpPlus(), plus);
        EXPECT_EQ(of.getDataTypeForNonAssignmentOpTimes(), times);
        EXPECT_EQ(of.getDataTypeForBinaryOpOutput(), out);
        EXPECT_EQ(of.isDataTypeForNonAssignmentOpPlusUserSpecified(), plus == P);
        EXPECT_EQ(of.isDataTypeForNonAssignmentOpTimesUserSpecified(), times == P);
        EXPECT_EQ(of.isDataTypeForBinaryOpOutputUserSpecified(), out == O);
    };
    a.resetDataTypeForBinaryOpOutput();
    a.resetDataTypeForNonAssignmentOpPlus();
    a.resetDataTypeForNonAssignmentOpTimes();
    types(a, none, none, none);
    Number::arrayPlus(a, b), Number::arrayTimes(a, b), Number::divide(a, b, A);
    types(a, none, none, none);
    types(a + b, none, none, none);
    types(a, AB, none, none);
    Number::arrayMinus(a, c), a* b;
    types(a, AC, xAB, none);
    a - b, a* c;
    types(a, AB, xAC, none);
    a.setFractionLength(7); // this type is no part of the key
    a + b, a* c;
    types(a, AB, xAC, none);
    a.setFractionLength(2);
    a.resetDataTypeForNonAssignmentOpPlus();
    a.resetDataTypeForNonAssignmentOpTimes();
    types(a, none, none, none);
    EXPECT_EQ((a + b).getDataType(), AB); // the operand's type is still known, its result no more
    EXPECT_EQ((a * c).getDataType(), sumRule(xAC, xAC));
    types(a, AB, xAC, none);
    for (int twice = 0; twice < 2; ++twice) a.setDataTypeForNonAssignmentOpPlus(P);
    EXPECT_EQ(Number::arrayPlus(a, b).getDataType(), AB);
    EXPECT_EQ(Number::arrayMinus(a, b).getDataType(), P);
    for (Number const& inP : {a + c, a - b, a * b}) EXPECT_EQ(inP.getDataType(), P);
    types(a, P, xAB, none);
    a.setDataTypeForNonAssignmentOpTimes(P);
    a.setDataTypeForBinaryOpOutput(B);
    a.setDataTypeForBinaryOpOutput(O);
    for (Number const& inO : {a + b, a - b, a * b}) EXPECT_EQ(inO.getDataType(), O);
    EXPECT_EQ(Number::arrayTimes(a, b).getDataType(), sumRule(xAB, xAB));
    Number const twin(a, NumberUtils::copyIndexOnly), copy = a;
    a.resetDataTypeForBinaryOpOutput();
    types(a, P, P, none);
    types(twin, P, P, O);
    types(copy, none, none, none);
}

TEST(Arithmetic, PairsElementsAndMovesCursors)
{
    struct Row {
        Dims a, b, result; ///< no result: shapes disagree
    };
    Row const rows[] = {{{1, 1}, {1, 1}, {1, 1}}, {{1, 1}, {1, 5}, {1, 5}}, {{1, 5}, {1, 1}, {1, 5}},
                        {{2, 3}, {1, 1}, {2, 3}}, {{2, 3}, {2, 3}, {2, 3}}, {{1, 1}, {3, 2, 1}, {3, 2, 1}},
                        {{1, 1}, {1, 0}, {1, 0}}, {{1, 0}, {1, 1}, {1, 0}}, {{1, 0}, {1, 0}, {1, 0}},
                        {{2, 3}, {3, 2}, {}},     {{2, 3}, {1, 6}, {}},     {{2, 3}, {2, 3, 1}, {}},
                        {{1, 5}, {1, 4}, {}},     {{1, 5}, {1, 0}, {}},     {{1, 0}, {0, 1}, {}}};
    for (Row const& row : rows)
        for (int op = 0; op < 5; ++op) {
            SCOPED_TRACE(testing::PrintToString(row.a) + std::to_string(op) + testing::PrintToString(row.b));
            // One element is read at the cursor, here of a larger array; if both are single, b is walked.
            bool const aWalks = Lent::count(row.a) != 1, bWalks = Lent::count(row.b) != 1 || !aWalks;
            auto const n = Lent::count(row.result);
            Lent a(row.a, 2), b(row.b, 1);
            bool const disagrees = row.result.empty() || (op == 4 && !aWalks && n == 0); // nothing to read
            auto run = [&, &x = a.number, &y = b.number] {
                return op == 0   ? Number::arrayPlus(x, y)
                       : op == 1 ? Number::arrayMinus(x, y, s(24), s(20))
                       : op == 2 ? Number::arrayTimes(x, y, s(24), s(24), s(20))
                       : op == 3 ? Number::arrayDivide(x, y, s(24, -8))
                                 : Number(x.arrayPlusEquals(y), NumberUtils::copyIndexOnly);
            };
            if (disagrees) {
                EXPECT_EQ(thrownBy(run), dimsDisagree);
                EXPECT_TRUE(a.number.getIndex() == 2 && b.number.getIndex() == 1);
                continue;
            }
            Number const got = run();
            Elements want;
            for (int i = 0; i < static_cast<int>(n); ++i) {
                int const x = aWalks ? i + 1 : 3, y = bWalks ? i + 1 : 2;
                want.push_back({op % 4 == 0 ? x + y
                                : op == 1   ? x - y
                                : op == 2   ? x * y
                                            : (512 * x + y) / (2 * y)});
            }
            if (op == 4 && !aWalks) // a single receiver takes element 0 alone
                EXPECT_EQ(a.storage, storageOf(s(16), {{1}, {2}, {4}, {4}, {5}, {6}, {7}}));
            else
                EXPECT_EQ(elementsOf(got), want);
            EXPECT_EQ(dimsOf(got), op == 4 ? row.a : row.result);
            EXPECT_EQ(a.number.getIndex(), op < 4 && aWalks && n != 0 ? n - 1 : 2);
            EXPECT_EQ(b.number.getIndex(), op < 4 && bWalks && n != 0 ? n - 1 : 1);
            EXPECT_TRUE(got.getIndex() == 0 && &got.getFxpClient() == &a.client &&
                        got.getRoundMode() == fxpModeRoundingNearest &&
                        got.getOverflowMode() == fxpModeOverflowSaturate);
        }
}

TEST(Arithmetic, OperandMayBeTheTarget)
{
    RecordingClient client;
    for (Type const& type : {s(16), s(100)}) {
        Number x = numberOf(type, {{1, 2}, {3, -4}}, client, nearestSat);
        x.setIndex(1);
        x += x;
        x.arrayPlusEquals(x);
        EXPECT_EQ(elementsOf(x), (Elements{{2, 4}, {12, -16}}));
        x *= x; // of a wide complex number nothing
        x -= Number(x, NumberUtils::copyIndexOnly);
        EXPECT_EQ(elementsOf(x)[1], type == s(16) ? (Element{-114, -388}) : (Element{10, -20}));
    }
}

TEST(Arithmetic, BiasedResultsAreFirstFilledWithRealWorldZero)
{
    Type const T = fixedType(true, 8, 0, 1.0, 200.0), O = fixedType(true, 7, 0, 1.0, 200.0);
    RecordingClient client, other;
    Number a = numberOf(T, {{1}, {2}, {3}}, client, nearestSat);
    Number const b = numberOf(T, {{4}, {5}, {6}}, other, nearestSat);
    Number const c = numberOf(T, {{1, 2}, {3, 4}}, client, nearestSat);
    Number const d = numberOf(T, {{1, 1}, {1, -1}}, other, nearestSat);
    auto check = [&](Number const& got, Elements const& want, std::size_t heard, std::size_t byOther = 0) {
        EXPECT_EQ(elementsOf(got), want);
        EXPECT_EQ(client.events(), Events(heard, Event::saturationToMin)); // 0.0 lies far below
        EXPECT_EQ(other.events(), Events(byOther, Event::saturationToMin));
        client.clear();
        other.clear();
    };
    check(Number::arrayPlus(a, b, T), {{5}, {7}, {9}}, 3);
    check(Number::arrayMinus(a, b, T, O), {{-3}, {-3}, {-3}}, 6);
    check(Number::arrayTimes(a, b, T), {{4}, {10}, {18}}, 3);
    check(Number::arrayTimes(a, b, T, T, O), {{4}, {10}, {18}}, 6);
    check(Number::arrayDivide(b, a, T), {{4}, {3}, {2}}, 0, 3);
    check(Number::divide(c, d, T), {{1, 2}}, 2);
    a.setDataTypeForNonAssignmentOpPlus(T);
    a.setIndex(0), b.setIndex(0);
    check(a + b, {{5}}, 1);
    a.setDataTypeForBinaryOpOutput(O);
    check(a - b, {{-3}}, 2);
    a += b;
    EXPECT_EQ(a.getRWDoubleValue(), 205.0); // of stored integers: one bias short
    EXPECT_EQ(thrownBy([&] { Number::arrayPlus(a, c, T); }), dimsDisagree);
    check(a, {{5}, {2}, {3}}, 0);
    // The scratch of a complex product and the four parts of each pair are numbers of their own.
    constexpr Event min = Event::saturationToMin, max = Event::saturationToMax;
    Type const N = fixedType(true, 8, 0, 1.0, -200.0);
    EXPECT_EQ(elementsOf(Number::arrayTimes(c, d, N, N)), (Elements{{-1, 3}, {7, 1}}));
    EXPECT_EQ(client.events(), (Events{max, max, max, max, max, min, min, max, min, min}));
    EXPECT_EQ(other.events(), Events(4, min));
}

TEST(Arithmetic, HookMayComputeWithTheHandleAtWork)
{
    Type const T = fixedType(true, 8, 0, 1.0, 200.0);
    RecordingClient client;
    Number const a = numberOf(T, {{1, 1}}, client, nearestSat), b = a, c = numberOf(s(9), {{1, 2}}, client);
    bool isIdle = true;
    client.onEvent = [&](Event) {
        if (std::exchange(isIdle, false)) a + c, a *c, a.resetDataTypeForBinaryOpOutput();
    };
    for (Number (Number::*operation)(Number const&) const : {&Number::operator+, &Number::operator*}) {
        a.setDataTypeForBinaryOpOutput(T);
        isIdle = true;
        EXPECT_EQ((a.*operation)(b).getDataType(), T);
        EXPECT_EQ(a.getDataTypeForNonAssignmentOpPlus(), sumRule(T, s(9)));
    }
}

/// New results are of a fixed type, and take the left operand before they meet the right one.
TEST(Arithmetic, OperandsOfUnwelcomeKinds)
{
    Type const real = Type::doubleDataType(), single = Type::singleDataType(), T = s(20, -2);
    Type const scaled = scaledDouble(s(16, -4));
    std::pair<Type, std::string> const lefts[] = {{s(16), foreign},
                                                  {s(100), foreign},
                                                  {real, "Need to do floating-point plusEquals!\n"},
                                                  {scaled, "Need to do scaled-double plusEquals!\n"}};
    RecordingClient client;
    auto threeOf = [&](double value, Type const& type) {
        return Number(std::vector<double>(3, value).data(), type, client, 3, {}, {}, false);
    };
    auto all = [](Number const& number, double value) {
        std::vector<double> values(number.getNumberOfElements());
        number.getAllRWDoubleValues(values.data());
        EXPECT_EQ(values, std::vector<double>(values.size(), value));
    };
    auto thrice = [](std::string const& text) { return text + text + text; };
    for (auto const& [left, inPlace] : lefts)
        for (Type const& right : {real, single, scaled, s(8)}) {
            bool const isFixed = right.mode == fxpModeDataTypeFixed;
            if (isFixed && left.mode == fxpModeDataTypeFixed) continue;
            SCOPED_TRACE(testing::Message() << left << " with " << right);
            Number x = threeOf(5.0, left);
            Number const y = threeOf(2.0, right);
            std::string const text = isFixed ? "" : foreign;
            double const sum = isFixed ? 7 : 5, difference = isFixed ? 3 : 5;
            EXPECT_EQ(printedBy([&] { x.arrayPlusEquals(y); }), thrice(inPlace));
            EXPECT_EQ(printedBy([&] { all(x, 5.0), all(x + y, sum); }), text);
            EXPECT_EQ(printedBy([&] { all(x - y, difference); }), text);
            EXPECT_EQ(printedBy([&] { all(Number::arrayPlus(x, y), sum); }), thrice(text));
            EXPECT_EQ(printedBy([&] { all(Number::arrayMinus(x, y, T, s(30)), difference); }), thrice(text));
            x.setDataTypeForNonAssignmentOpPlus(single);
            EXPECT_EQ(printedBy([&] { all(x + y, 5.0); }), lefts[2].second);
            EXPECT_EQ(printedBy([&] {
                          for (Number const& product :
                               {x * y, y * x, Number::divide(x, y, T), Number::arrayTimes(x, y),
                                Number::arrayTimes(x, y, T, s(30)), Number::arrayDivide(x, y, T)})
                              all(product, 0.0);
                      }),
                      "");
        }
    EXPECT_EQ(client.events(), Events{});
}

/// Shapes are checked before anything is heard; then the result is filled, and then the product's scratch.
TEST(ArrayTimes, FillsItsResultBeforeItsProduct)
{
    Type const product = fixedType(true, 8, 0, 1.0, 200.0), output = fixedType(true, 8, 0, 1.0, -200.0);
    Modes const modes{fxpModeRoundingNearest, 1};
    RecordingClient client;
    Number const a = numberOf(s(8), Elements(2, {1}), client, modes),
                 b = numberOf(s(8), Elements(2, {1}), client, modes),
                 c = numberOf(s(8), Elements(3, {1}), client, modes);
    EXPECT_THROW(Number::arrayTimes(a, c, product, output), kvxDiagnosticException);
    EXPECT_TRUE(client.events().empty());
    Number const result = Number::arrayTimes(a, b, product, output);
    Events heard = client.events();
    heard.resize(3);
    EXPECT_EQ(heard, (Events{Event::saturationToMax, Event::saturationToMax, Event::saturationToMin}));
}

} // namespace
