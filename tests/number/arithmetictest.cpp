#include "support/arithmeticcheck.h"
#include "support/texttable.h"

#include <orvex/text/type.h>

#include <tuple>

namespace
{
using namespace orvextest;
using ORVEX::text::readType;

constexpr Modes nearestSat{fxpModeRoundingNearest, 1};

TEST(Arithmetic, AllPairsOfFewBitsAndManyOfMore)
{
    Random random(32);
    for (int i = 0; i < 400; ++i) {
        int const bits = random.pick(std::array{4, 4, 4, 16, 64, 130});
        Type const a = random.radixType(bits, -bits / 2, bits / 3);
        Type const b = random.coin() ? a : random.radixType(bits, -bits / 2, bits / 3);
        bool const isComplex = bits > 4 && random.coin();
        Elements const as = valuesOf(a, random, isComplex && random.coin(), bits > 4 ? 6 : 16),
                       bs = valuesOf(b, random, isComplex, bits > 4 ? 6 : 16);
        ASSERT_NO_FATAL_FAILURE(checkArithmetic(a, as, b, bs, random));
    }
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
        Type const none;
        Type key = none, held = none, user = none; ///< user is none where the type is not the user's
        Type of(Type const& other, Type const& full)
        {
            if (!(user == none)) return user;
            if (!(key == other) || held == none) key = other, held = full;
            return held;
        }
        Type told() const { return user == none ? held : user; }
    };
    auto const toldBy = [](Number const& it) {
        return std::tuple(it.getDataTypeForNonAssignmentOpPlus(), it.getDataTypeForNonAssignmentOpTimes(),
                          it.getDataTypeForBinaryOpOutput(),
                          it.isDataTypeForNonAssignmentOpPlusUserSpecified(),
                          it.isDataTypeForNonAssignmentOpTimesUserSpecified(),
                          it.isDataTypeForBinaryOpOutputUserSpecified());
    };
    Number a = numberOf(s(8, -2), {{1, 1}}, client);
    Cache plus{none}, times{none};
    Type out = none;
    for (int step = 0; step < 2000 && !HasFailure(); ++step) {
        int const what = random.between(0, 12);
        SCOPED_TRACE(what);
        Number const b = numberOf(random.pick(others), {{2, 2}}, client);
        Type const &A = a.getDataType(), &B = b.getDataType(), full = sumRule(A, B),
                   product = productRule(A, B);
        auto const expect = [&](Number const& got, Type const& type, bool hasOut) {
            EXPECT_EQ(got.getDataType(), hasOut && !(out == none) ? out : type);
        };
        switch (what) {
        case 0: expect(a + b, plus.of(B, full), true); break;
        case 1: expect(a - b, plus.of(B, full), true); break;
        case 2: expect(Number::arrayMinus(a, b), plus.of(B, full), false); break;
        case 3: expect(Number::arrayPlus(a, b), full, false); break;
        case 4: {
            Type const each = times.of(B, product);
            expect(a * b, plus.user == none ? sumRule(each, each) : plus.user, true);
            break;
        }
        case 5: expect(Number::arrayTimes(a, b), sumRule(product, product), false); break;
        case 6: a.setFractionLength(random.between(0, 7)); break; // this type is no part of the key
        case 7: a.setDataTypeForNonAssignmentOpPlus(P), plus.user = P; break;
        case 8: a.setDataTypeForNonAssignmentOpTimes(P), times.user = P; break;
        case 9: a.setDataTypeForBinaryOpOutput(O), out = O; break;
        case 10: a.resetDataTypeForNonAssignmentOpPlus(), plus.held = plus.user = none; break;
        case 11: a.resetDataTypeForNonAssignmentOpTimes(), times.held = times.user = none; break;
        default: a.resetDataTypeForBinaryOpOutput(), out = none;
        }
        std::tuple const want(plus.told(), times.told(), out, !(plus.user == none), !(times.user == none),
                              !(out == none));
        EXPECT_TRUE(toldBy(a) == want && toldBy(Number(a, NumberUtils::copyIndexOnly)) == want &&
                    toldBy(Number(a)) == std::tuple(none, none, none, false, false, false));
    }
}

TEST(Arithmetic, OperandMayBeTheTarget)
{
    RecordingClient client;
    Number const biased = numberOf(s(8, -2, 0.75, 3.0), {{1}}, client);
    EXPECT_EQ((biased + biased).getDataType(), s(9, -2)); // of word and exponent alone
    EXPECT_EQ(dimsOf(biased - biased), (Dims{1, 1}));
    EXPECT_EQ(dimsOf(Number::divide(biased, biased, u(8))), Dims{1});
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
    constexpr Event min = Event::saturationToMin, max = Event::saturationToMax;
    Type const T = s(8, 0, 1.0, 200.0), O = s(7, 0, 1.0, 200.0), N = s(8, 0, 1.0, -200.0);
    RecordingClient client, other;
    Number a = numberOf(T, {{1}, {2}, {3}}, client, nearestSat);
    Number const b = numberOf(T, {{4}, {5}, {6}}, other, nearestSat);
    Number const c = numberOf(T, {{1, 2}, {3, 4}}, client, nearestSat);
    Number const d = numberOf(T, {{1, 1}, {1, -1}}, other, nearestSat);
    auto check = [&](Number const& got, Elements const& want, Events const& heard, std::size_t byOther = 0) {
        EXPECT_EQ(elementsOf(got), want);
        EXPECT_EQ(client.events(), heard);
        EXPECT_EQ(other.events(), Events(byOther, min));
        client.clear();
        other.clear();
    };
    check(Number::arrayPlus(a, b, T), {{5}, {7}, {9}}, Events(3, min));
    check(Number::arrayMinus(a, b, T, O), {{-3}, {-3}, {-3}}, Events(6, min));
    check(Number::arrayTimes(a, b, T), {{4}, {10}, {18}}, Events(3, min));
    check(Number::arrayTimes(a, b, T, T, O), {{4}, {10}, {18}}, Events(6, min));
    check(Number::arrayDivide(b, a, T), {{4}, {3}, {2}}, {}, 3);
    check(Number::divide(c, d, T), {{1, 2}}, {min, min});
    Number const e = numberOf(s(8), {{1}, {1}}, client, nearestSat);
    EXPECT_EQ(thrownBy([&] { Number::arrayTimes(e, a, T, N); }), dimsDisagree); // before anything is heard
    Number::arrayTimes(e, e, T, N); // the result, and then the scratch of its products
    Events heard = client.events();
    EXPECT_EQ(std::ranges::count(heard, min), 1); // one scratch for all
    heard.resize(3);
    EXPECT_EQ(heard, (Events{max, max, min}));
    client.clear();
    a.setDataTypeForNonAssignmentOpPlus(T);
    a.setIndex(0), b.setIndex(0);
    check(a + b, {{5}}, {min});
    a.setDataTypeForBinaryOpOutput(T); // the same again
    check(a + b, {{5}}, {min});
    a.setDataTypeForBinaryOpOutput(O);
    check(a - b, {{-3}}, {min, min});
    a += b;
    EXPECT_EQ(a.getRWDoubleValue(), 205.0); // of stored integers: one bias short
    check(a, {{5}, {2}, {3}}, {});
    // The scratch of a complex product and the four parts of each pair are numbers of their own.
    check(Number::arrayTimes(c, d, N, N), {{-1, 3}, {7, 1}},
          {max, max, max, max, max, min, min, max, min, min}, 4);
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
    std::string const plusFloat = "Need to do floating-point plusEquals!\n";
    RecordingClient client;
    Type const T = s(20, -2), single = Type::singleDataType();
    auto const threeOf = [&](double value, std::string const& type) {
        return Number(std::vector<double>(3, value).data(), readType(type), client, 3, {}, {}, false);
    };
    auto const expect = [](std::string const& text, double value, auto const& run) {
        std::vector<double> values;
        EXPECT_EQ(printedBy([&] {
                      Number const result = run();
                      values.resize(result.getNumberOfElements());
                      result.getAllRWDoubleValues(values.data());
                  }),
                  text);
        EXPECT_EQ(values, std::vector<double>(values.size(), value));
    };
    for (auto const& [left, inPlace] : {std::pair<std::string, std::string>{"s16", foreign},
                                        {"s100", foreign},
                                        {"double", plusFloat},
                                        {"scaled:s16,4", "Need to do scaled-double plusEquals!\n"}})
        for (std::string const right : {"double", "single", "scaled:s16,4", "s8"}) {
            bool const isFixed = right == "s8";
            if (isFixed && left[0] == 's' && left[1] != 'c') continue;
            SCOPED_TRACE(left + " with " + right);
            Number x = threeOf(5.0, left);
            Number const y = threeOf(2.0, right);
            std::string const text = isFixed ? "" : foreign, thrice = text + text + text;
            double const sum = isFixed ? 7 : 5, difference = isFixed ? 3 : 5;
            expect(inPlace + inPlace + inPlace, 5.0, [&] { return x.arrayPlusEquals(y); });
            expect(text, sum, [&] { return x + y; });
            expect(text, difference, [&] { return x - y; });
            expect(thrice, sum, [&] { return Number::arrayPlus(x, y); });
            expect(thrice, difference, [&] { return Number::arrayMinus(x, y, T, s(30)); });
            for (auto const product : {Number::arrayTimes, Number::arrayDivide, Number::divide})
                expect("", 0.0, [&] { return product(x, y, T); });
            expect("", 0.0, [&] { return Number::arrayTimes(x, y); });
            expect("", 0.0, [&] { return x * y; });
            expect("", 0.0, [&] { return y * x; });
            x.setDataTypeForNonAssignmentOpPlus(single);
            expect(plusFloat, 5.0, [&] { return x + y; });
        }
    EXPECT_EQ(client.events(), Events{});
}

} // namespace
