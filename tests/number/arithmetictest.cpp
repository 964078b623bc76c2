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

/// Sums and products keep the type that they gave last, by the other operand's type; a type of the user's
/// goes before it.
TEST(Arithmetic, OutputTypesAndTheirCaches)
{
    Random random(33);
    RecordingClient client;
    Type const P = s(20, -4), O = s(6, -1), others[] = {s(8), u(5, -3)};
    Type none;
    ORVEX::createBadFxpDtpProp(&none);
    struct Cache {
        Type key{}, held{}, user{}; ///< user is none where the type is not the user's
    };
    for (int round = 0; round < 40; ++round) {
        Number a = numberOf(s(8, -2), {{1, 1}}, client);
        Cache plus{none, none, none}, times = plus;
        Type out = none;
        auto const typeOf = [&](Cache& cache, Type const& other, Type const& full) {
            if (!(cache.user == none)) return cache.user;
            if (!(cache.key == other) || cache.held == none) cache = {other, full, none};
            return cache.held;
        };
        for (int step = 0; step < 30; ++step) {
            int const what = random.between(0, 12);
            SCOPED_TRACE(what);
            Number const b = numberOf(random.pick(others), {{2, 2}}, client);
            Type const &A = a.getDataType(), &B = b.getDataType(), full = sumRule(A, B);
            auto const outOr = [&](Type const& type) { return out == none ? type : out; };
            switch (what) {
            case 0: EXPECT_EQ((a + b).getDataType(), outOr(typeOf(plus, B, full))); break;
            case 1: EXPECT_EQ((a - b).getDataType(), outOr(typeOf(plus, B, full))); break;
            case 2: EXPECT_EQ(Number::arrayMinus(a, b).getDataType(), typeOf(plus, B, full)); break;
            case 3: EXPECT_EQ(Number::arrayPlus(a, b).getDataType(), full); break;
            case 4: {
                Type const product = typeOf(times, B, productRule(A, B));
                EXPECT_EQ((a * b).getDataType(),
                          outOr(plus.user == none ? sumRule(product, product) : plus.user));
                break;
            }
            case 5:
                EXPECT_EQ(Number::arrayTimes(a, b).getDataType(),
                          sumRule(productRule(A, B), productRule(A, B)));
                break;
            case 6: a.setFractionLength(random.between(0, 7)); break; // this type is no part of the key
            case 7: a.setDataTypeForNonAssignmentOpPlus(P), plus.user = P; break;
            case 8: a.setDataTypeForNonAssignmentOpTimes(P), times.user = P; break;
            case 9: a.setDataTypeForBinaryOpOutput(O), out = O; break;
            case 10: a.resetDataTypeForNonAssignmentOpPlus(), plus.held = plus.user = none; break;
            case 11: a.resetDataTypeForNonAssignmentOpTimes(), times.held = times.user = none; break;
            default: a.resetDataTypeForBinaryOpOutput(), out = none;
            }
            Number const twin(a, NumberUtils::copyIndexOnly), copy = a;
            for (Number const* const it : {&std::as_const(a), &twin}) {
                EXPECT_EQ(it->getDataTypeForNonAssignmentOpPlus(), plus.user == none ? plus.held : plus.user);
                EXPECT_EQ(it->getDataTypeForNonAssignmentOpTimes(),
                          times.user == none ? times.held : times.user);
                EXPECT_EQ(it->getDataTypeForBinaryOpOutput(), out);
                EXPECT_TRUE(it->isDataTypeForNonAssignmentOpPlusUserSpecified() != (plus.user == none) &&
                            it->isDataTypeForNonAssignmentOpTimesUserSpecified() != (times.user == none) &&
                            it->isDataTypeForBinaryOpOutputUserSpecified() != (out == none));
            }
            EXPECT_TRUE(copy.getDataTypeForNonAssignmentOpPlus() == none &&
                        copy.getDataTypeForNonAssignmentOpTimes() == none &&
                        copy.getDataTypeForBinaryOpOutput() == none);
            ASSERT_FALSE(HasFailure());
        }
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
