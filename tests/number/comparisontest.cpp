#include "support/bodies.h"

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

double const nan = std::nan("");

Value fixedValue(Type const& type, Element const& parts) { return {type, parts}; }
Value doubleValue(double raw, Type const& type = Type::doubleDataType()) { return {type, {}, raw}; }

Number arrayOf(Value const& value, std::size_t count, RecordingClient& client)
{
    if (value.isFixed()) return numberOf(value.type, Elements(count, value.parts), client);
    Number number(std::vector<double>(count).data(), value.type, client, count, {}, {}, false);
    if (value.type.mode == fxpModeDataTypeSingle)
        number.copyDataIntoSIArray(std::vector<float>(count, static_cast<float>(value.raw)).data(), count);
    else
        number.copyDataIntoSIArray(std::vector<double>(count, value.raw).data(), count);
    client.clear();
    return number;
}

/// -1, 0, 1, or 2 for unordered.
int orderOf(Value const& a, Value const& b, std::size_t part = 0)
{
    if (!b.isFixed()) return 0;
    auto const sign = [](int order) { return (order > 0) - (order < 0); };
    if (a.isFixed() && a.type.slopeAdjustmentFactor == b.type.slopeAdjustmentFactor &&
        a.type.bias == b.type.bias)
        return sign(radixValue(a.parts[part], a.type).compare(radixValue(b.parts[part], b.type)));
    double const x = realWorldOf(a, part), y = realWorldOf(b, part);
    return std::isnan(x) || std::isnan(y) ? 2 : (x > y) - (x < y);
}
bool areEqual(Value const& a, Value const& b)
{
    auto const isZero = [](Value const& value) {
        return value.type.bias == 0.0 ? value.parts[1] == 0 : realWorldOf(value, 1) == 0.0;
    };
    if (orderOf(a, b) != 0) return false;
    if (a.isComplex() && b.isComplex()) return orderOf(a, b, 1) == 0;
    return a.isComplex() ? isZero(a) : !b.isComplex() || isZero(b);
}

using Relations = std::array<bool, 6>; ///< == != < > <= >=
Relations relationsOf(bool equal, int order)
{
    return {equal, !equal, order == -1, order == 1, order < 1, order == 0 || order == 1};
}
Relations relationsOf(Number const& a, Number const& b)
{
    return {a == b, a != b, a<b, a> b, a <= b, a >= b};
}

using ArrayRelation = bool* (Number::*)(Number const&, bool*) const;
constexpr ArrayRelation arrayRelations[] = {
    &Number::arrayIsEqual,       &Number::arrayIsNotEqual,          &Number::arrayIsLessThan,
    &Number::arrayIsGreaterThan, &Number::arrayIsLessThanOrEqualTo, &Number::arrayIsGreaterThanOrEqualTo};

/// All values of two small types, or of wide ones that meet.
void check(std::vector<Value> const& as, std::vector<Value> const& bs)
{
    RecordingClient client;
    for (Value const& a : as)
        for (Value const& b : bs) {
            Number x = arrayOf(a, 2, client), y = arrayOf(b, 3, client);
            x.setIndex(1), y.setIndex(2);
            ASSERT_EQ(relationsOf(x, y), relationsOf(areEqual(a, b), orderOf(a, b))) << a << " and " << b;
        }
    ASSERT_EQ(client.events(), Events{});
}

TEST(Comparison, ExactForSmallWidthsAtAnyDistanceOfExponents)
{
    auto valuesOf = [](Type const& type) {
        std::vector<Value> values;
        for (Int stored = minStored(type); stored <= maxStored(type); ++stored)
            values.push_back(fixedValue(type, {stored}));
        return values;
    };
    for (int const exponent : {0, 1, -2, 61, 64, -66, 125, -127, 140, -200})
        for (int i = 0; i < 36; ++i)
            ASSERT_NO_FATAL_FAILURE(check(valuesOf(fixedType(i % 2 != 0, 1 + i / 4 % 3)),
                                          valuesOf(fixedType(i / 2 % 2 != 0, 1 + i / 12 % 3, exponent))));
}

TEST(Comparison, WideValuesThatDifferInTheLowestBitOrInScaling)
{
    Random random(41);
    for (int i = 0; i < 700; ++i) {
        Value const a = anyValue(random, random.pick(std::array{16, 64, 300}), i % 2 != 0, i % 4 == 3);
        std::vector<Value> bs{anyValue(random, 300, i % 2 != 0, i % 4 == 3), a};
        if (a.isFixed()) { // the same value and its neighbours in a finer or coarser type
            int const finer = random.between(0, 140);
            for (int const step : {-1, 0, 1}) {
                Value b{s(a.type.wordLength + finer + 2, a.type.fixedExponent - finer), a.parts};
                for (Int& part : b.parts) part = (part << static_cast<unsigned>(finer)) + step;
                b.type.slopeAdjustmentFactor = a.type.slopeAdjustmentFactor;
                b.type.bias = a.type.bias;
                bs.push_back(b);
            }
        }
        ASSERT_NO_FATAL_FAILURE(check({a}, bs));
        ASSERT_NO_FATAL_FAILURE(check(bs, {a}));
    }
}

// Above 500 elements equality goes by stored integers and exponents alone, without the imaginary part of a
// right operand whose left one is real, and not at all with operands that are not fixed.
TEST(Comparison, ScalingsFloatingOperandsAndTheLimitOfEquality)
{
    constexpr Relations equal{true, false, false, false, true, true},
        less{false, true, true, false, true, false}, greater{false, true, false, true, false, true},
        unordered{false, true, false, false, false, false},
        unequal{false, true, false, false, true, true}; // the real parts are equal
    enum Above { same, flipped, untouched };
    struct Row {
        Value a, b;
        Relations wanted;
        Above above = same;
        std::string text{};
    };
    Type const biased = fixedType(true, 8, 0, 1.0, 3.0), sloped = fixedType(true, 100, 0, 1.5);
    Type const undefined = fixedType(true, 8, 0, nan), unbounded = fixedType(true, 8, 0, 1.0, nan);
    Type const scaled = scaledDouble(s(8, -1)), single = Type::singleDataType();
    Row const rows[] = {
        {fixedValue(s(16, -8), {384}), fixedValue(u(100, -20), {Int(3) << 19}), equal},
        {fixedValue(s(64), {-1}), fixedValue(u(64), {maxStored(u(64))}), less},
        {fixedValue(u(9), {0}), fixedValue(s(130, -300), {0}), equal},
        {fixedValue(s(8), {4}), fixedValue(biased, {1}), equal, flipped},
        {fixedValue(s(8), {4}), fixedValue(biased, {4}), less, flipped},
        {fixedValue(sloped, {2}), fixedValue(u(8), {2}), greater, flipped},
        // By doubles where scalings differ: what lies below their precision is lost.
        {fixedValue(s(64), {(Int(1) << 60) + 1}), fixedValue(fixedType(true, 64, 60, 1.0, 1e-9), {1}), equal,
         flipped},
        {fixedValue(undefined, {1}), fixedValue(undefined, {1}), unordered, flipped},
        {fixedValue(s(100), {5}), fixedValue(unbounded, {5}), unordered, flipped},
        {fixedValue(s(8), {1, 5}), fixedValue(s(8), {1, -5}), unequal},
        {fixedValue(s(8), {1, 1}), fixedValue(s(8), {1}), unequal},
        {fixedValue(u(70), {1}), fixedValue(u(90), {1, 5}), unequal, flipped},
        {fixedValue(s(70), {1, 0}), fixedValue(u(8), {1}), equal},
        {fixedValue(biased, {1, 0}), fixedValue(biased, {1}), unequal, flipped}, // an imaginary part of 3.0
        {fixedValue(biased, {1, -3}), fixedValue(biased, {1}), equal, flipped},
        {fixedValue(biased, {1}), fixedValue(biased, {1, -3}), equal},
        {doubleValue(nan), fixedValue(s(8), {1}), unordered, untouched},
        {doubleValue(1.25, single), fixedValue(s(8), {1}), greater, untouched},
        {doubleValue(3.5, scaled), fixedValue(u(70), {2}), less, untouched},
        {doubleValue(1.0), fixedValue(s(8), {1, 2}), unequal, untouched},
        {doubleValue(1.0), fixedValue(s(8), {1, 0}), equal, untouched},
        {doubleValue(nan, scaled), doubleValue(2.0), equal, untouched}, // not looked at
        {fixedValue(s(8), {1}), doubleValue(nan), equal, untouched, foreign},
        {fixedValue(u(100), {1}), doubleValue(7.0, scaled), equal, untouched, foreign},
        {fixedValue(u(8), {1, 0}), doubleValue(2.0, single), equal, untouched, foreign}};
    RecordingClient client;
    for (Row const& row : rows)
        for (std::size_t const n : {1U, 500U, 501U})
            for (std::size_t const other : {std::size_t(1), n}) {
                SCOPED_TRACE(testing::Message() << row.a << " and " << row.b << ' ' << n << ' ' << other);
                Number const x = arrayOf(row.a, n, client), y = arrayOf(row.b, other, client);
                x.setIndex(n / 2);
                EXPECT_EQ(relationsOf(x, y), row.wanted);
                for (std::size_t i = 0; i < 6; ++i)
                    for (bool const before : {false, true}) {
                        bool const isAbove = i == 0 && n > 500;
                        bool const want = isAbove && row.above == untouched
                                              ? before
                                              : row.wanted[i] != (isAbove && row.above == flipped);
                        std::unique_ptr<bool[]> out(before ? new bool[n + 1] : nullptr);
                        std::fill_n(out.get(), before ? n + 1 : 0, before);
                        EXPECT_EQ(printedBy([&] {
                                      bool* const got = (x.*arrayRelations[i])(y, out.get());
                                      EXPECT_TRUE(!before || (got == out.get() && got[n]));
                                      if (!before) out.reset(got);
                                  }),
                                  isAbove ? row.text : "");
                        EXPECT_EQ(std::count(out.get(), out.get() + n, want), n) << i;
                    }
                EXPECT_EQ(x.getIndex(), n / 2);
            }
}

} // namespace
