#include "support/arithmeticcheck.h"

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

constexpr Modes nearestSat{fxpModeRoundingNearest, 1};
std::string const foreign = "Need to determine rules for heterogeneous arithmetic!\n";
std::string const dimsDisagree = Orvex::number::ArrayDimMustAgree().identifier();

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

TEST(Arithmetic, Laws)
{
    Random random(33);
    RecordingClient client;
    Type const wide = s(300, -100);
    Number const zero(0.0, wide, client, fxpModeRoundingFloor, fxpModeOverflowWrap);
    for (int i = 0; i < 200; ++i) {
        auto one = [&](Type const& type) { return numberOf(type, valuesOf(type, random, false, 1), client); };
        Number const a = one(random.radixType(64, -40, 40)), b = one(random.radixType(64, -40, 40));
        SCOPED_TRACE(testing::PrintToString(elementsOf(a)) + testing::PrintToString(elementsOf(b)));
        EXPECT_TRUE(a + b == b + a && a * b == b * a && a + zero == a);
        a.setDataTypeForNonAssignmentOpPlus(wide);
        EXPECT_TRUE(a + b - b == a && a - b + b == a && a - a == zero);
        if (b == zero) continue;
        Number const q = Number::divide(a, b, s(150)), r = a - q * b; // by Floor
        EXPECT_TRUE(q * b + r == a && (b > zero ? r >= zero && r < b : r <= zero && r > b));
    }
    EXPECT_EQ(client.events(), Events{});
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
    EXPECT_EQ((one(withMode(sloped, fxpModeDataTypeScaledDouble)) * one(u(8, 1))).getDataType(), s(16));
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
            if (op == 4 && !aWalks && n == 0) continue; // nothing to read
            Lent a(row.a, 2), b(row.b, 1);
            auto run = [&, &x = a.number, &y = b.number] {
                return op == 0   ? Number::arrayPlus(x, y)
                       : op == 1 ? Number::arrayMinus(x, y, s(24), s(20))
                       : op == 2 ? Number::arrayTimes(x, y, s(24), s(24), s(20))
                       : op == 3 ? Number::arrayDivide(x, y, s(24, -8))
                                 : Number(x.arrayPlusEquals(y), NumberUtils::copyIndexOnly);
            };
            if (row.result.empty()) {
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

TEST(Arithmetic, OperandsOfUnwelcomeKinds)
{
    Type const real = Type::doubleDataType(), single = Type::singleDataType();
    Type const scaled = withMode(s(16, -4), fxpModeDataTypeScaledDouble), T = s(20, -2);
    auto need = [](std::string const& what) { return "Need to do " + what + "Equals!\n"; };
    struct Row {
        Type type;
        bool isComplex;
        std::string plus, minus, times;
        double product; ///< what *= leaves of 5
    };
    Row const rows[] = {{s(16), false, foreign, foreign, foreign, 0},
                        {s(100), false, foreign, foreign, foreign, 0},
                        {s(16), true, foreign, foreign, foreign, 5},
                        {u(16), true, foreign, foreign, "", 5},
                        {real, false, need("floating-point plus"), need("floating-point minus"), "", 5},
                        {scaled, false, need("scaled-double plus"), need("scaled-double minus"), "", 5}};
    RecordingClient client;
    auto threeOf = [&](double value, Type const& type, bool isComplex = false) {
        return Number(std::vector<double>(6, value).data(), type, client, 3, {}, {}, isComplex);
    };
    auto valuesOfAll = [](Number const& number) {
        std::vector<double> values(number.getNumberOfElements() * (number.isComplex() ? 2 : 1));
        number.getAllRWDoubleValues(values.data());
        return values;
    };
    auto all = [&](Number const& number, double value) {
        for (double const got : valuesOfAll(number)) EXPECT_EQ(got, value);
    };
    auto thrice = [](std::string const& text) { return text + text + text; };
    for (Row const& row : rows)
        for (Type const& type : {real, single, scaled, s(8)}) {
            bool const isFixed = type.mode == fxpModeDataTypeFixed;
            if (isFixed && row.type.mode == fxpModeDataTypeFixed) continue;
            SCOPED_TRACE(testing::Message() << row.type << row.isComplex << " with " << type);
            Number x = threeOf(5.0, row.type, row.isComplex);
            Number const y = threeOf(2.0, type);
            EXPECT_EQ(printedBy([&] { x += y; }), row.plus);
            EXPECT_EQ(printedBy([&] { x -= y; }), row.minus);
            EXPECT_EQ(printedBy([&] { x.arrayPlusEquals(y); }), thrice(row.plus));
            all(x, 5.0);
            // New results are of a fixed type, and take the left operand before they meet the right one.
            if (!row.isComplex) {
                std::string const text = isFixed ? "" : foreign;
                double const sum = isFixed ? 7 : 5, difference = isFixed ? 3 : 5;
                EXPECT_EQ(printedBy([&] { all(x + y, sum); }), text);
                EXPECT_EQ(printedBy([&] { all(x - y, difference); }), text);
                EXPECT_EQ(printedBy([&] { all(Number::arrayPlus(x, y), sum); }), thrice(text));
                EXPECT_EQ(printedBy([&] { all(Number::arrayMinus(x, y, T, s(30)), difference); }),
                          thrice(text));
                x.setDataTypeForNonAssignmentOpPlus(single);
                EXPECT_EQ(printedBy([&] { all(x + y, 5.0); }), need("floating-point plus"));
            }
            EXPECT_EQ(printedBy([&] {
                          for (Number const& product :
                               {x * y, y * x, Number::divide(x, y, T), Number::arrayTimes(x, y),
                                Number::arrayTimes(x, y, T, s(30)), Number::arrayDivide(x, y, T)})
                              all(product, 0.0);
                      }),
                      "");
            x.setIndex(1);
            EXPECT_EQ(printedBy([&] { x *= y; }), row.times);
            std::vector<double> want = valuesOfAll(threeOf(5.0, row.type, row.isComplex));
            want[row.isComplex ? 2 : 1] = row.product;
            EXPECT_EQ(valuesOfAll(x), want);
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
