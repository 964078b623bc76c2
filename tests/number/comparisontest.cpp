#include "support/model.h"
#include "support/texttable.h"

#include <orvex/text/type.h>

namespace
{
using namespace orvextest;
using ORVEX::text::readType;

/// Stored integers of a fixed type, the parts of a complex one with a comma between, or the double of
/// another.
Value valueOf(std::string const& type, std::string const& text)
{
    bool const hasNoSlope = type == "undefined", hasNoBias = type == "unbounded";
    Value value{readType(hasNoSlope || hasNoBias ? "s8" : type)};
    if (hasNoSlope) value.type.slopeAdjustmentFactor = std::nan("");
    if (hasNoBias) value.type.bias = std::nan("");
    if (value.isFixed())
        for (std::string const& part : split(text, ',')) value.parts.push_back(Int(part));
    else
        value.raw = std::stod(text);
    return value;
}

Number arrayOf(Value const& value, std::size_t count, RecordingClient& client)
{
    std::size_t const parts = value.isComplex() ? 2 : 1;
    Storage words(value.type, count * parts);
    for (std::size_t i = 0; i < words.parts(); ++i)
        words.put(i, value.isFixed() ? patternOf(value.parts[i % parts], value.type)
                                     : patternOf(value.raw, value.type));
    Number number(count, 2, Dims{1, count}.data(), value.type, client, {}, {}, parts == 2);
    number.copyDataIntoSIArray(words.data(), count);
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

/// The same values and their neighbours in finer or coarser types, of few bits and of twenty chunks.
TEST(Comparison, ValuesThatDifferInTheLowestBitOrInScaling)
{
    Random random(41);
    RecordingClient client;
    for (int i = 0; i < 2000; ++i) {
        Value const a =
            anyValue(random, random.pick(std::array{3, 16, 64, 300, 1280}), i % 2 != 0, i % 4 == 3);
        std::vector<Value> bs{anyValue(random, random.pick(std::array{3, 300}), i % 2 != 0, i % 4 == 3), a};
        int const finer = random.between(0, 200);
        for (int step = -1; step <= 1 && a.isFixed(); ++step) {
            Value b{s(a.type.wordLength + finer + 2, a.type.fixedExponent - finer,
                      a.type.slopeAdjustmentFactor, a.type.bias),
                    a.parts};
            for (Int& part : b.parts) part = (part << static_cast<unsigned>(finer)) + step;
            bs.push_back(b);
        }
        for (Value const& b : bs)
            for (auto const& [p, q] : {std::pair(a, b), std::pair(b, a)}) {
                Number x = arrayOf(p, 2, client), y = arrayOf(q, 3, client);
                x.setIndex(1), y.setIndex(2);
                ASSERT_EQ(relationsOf(x, y), relationsOf(areEqual(p, q), orderOf(p, q))) << p << " and " << q;
            }
    }
    EXPECT_EQ(client.events(), Events{});
}

// Above 500 elements equality goes by stored integers and exponents alone, without the imaginary part of a
// right operand whose left one is real, and not at all with operands that are not fixed.
TEST(Comparison, ScalingsFloatingOperandsAndTheLimitOfEquality)
{
    RecordingClient client;
    // Two values, their order (?: unordered; !: the real parts are equal), and what equality does above:
    // flipped or untouched.
    for (Texts const& row :
         rows("s16,8 384 u100,20 1572864 =;s64 -1 u64 18446744073709551615 <;u9 0 s130,300 0 =;"
              "s8 4 s8,bias=3 1 = f;s8 4 s8,bias=3 4 < f;s100,slope=1.5 2 u8 2 > f;"
              // By doubles where scalings differ: what lies below their precision is lost.
              "s64 1152921504606846977 s64,slope=1*2^60,bias=1e-9 1 = f;undefined 1 undefined 1 ? f;"
              "s100 5 unbounded 5 ? f;s8 1,5 s8 1,-5 !;s8 1,1 s8 1 !;u70 1 u90 1,5 ! f;s70 1,0 u8 1 =;"
              "s8,bias=3 1,0 s8,bias=3 1 ! f;" // an imaginary part of 3.0
              "s8,bias=3 1,-3 s8,bias=3 1 = f;s8,bias=3 1 s8,bias=3 1,-3 =;double nan s8 1 ? u;"
              "single 1.25 s8 1 > u;scaled:s8,1 3.5 u70 2 < u;double 1 s8 1,2 ! u;double 1 s8 1,0 = u;"
              "scaled:s8,1 nan double 2 = u;" // not looked at
              "s8 1 double nan = u foreign;u100 1 scaled:s8,1 7 = u foreign;u8 1,0 single 2 = u foreign")) {
        Value const a = valueOf(row[0], row[1]), b = valueOf(row[2], row[3]);
        char const order = row[4][0], above = row.size() < 6 ? ' ' : row[5][0];
        auto const sign = std::string("<!>?").find(order == '=' ? '!' : order);
        Relations const wanted = relationsOf(order == '=', static_cast<int>(sign) - 1);
        for (std::size_t const n : {1U, 500U, 501U})
            for (std::size_t const other : {std::size_t(1), n}) {
                SCOPED_TRACE(testing::Message() << a << " and " << b << ' ' << n << ' ' << other);
                Number const x = arrayOf(a, n, client), y = arrayOf(b, other, client);
                x.setIndex(n / 2);
                EXPECT_EQ(relationsOf(x, y), wanted);
                for (std::size_t i = 0; i < 6; ++i)
                    for (bool const before : {false, true}) {
                        bool const isAbove = i == 0 && n > 500, isUntouched = isAbove && above == 'u';
                        std::unique_ptr<bool[]> out(before ? new bool[n + 1] : nullptr);
                        std::fill_n(out.get(), before ? n + 1 : 0, before);
                        EXPECT_EQ(printedBy([&] {
                                      bool* const got = (x.*arrayRelations[i])(y, out.get());
                                      EXPECT_TRUE(!before || (got == out.get() && got[n]));
                                      if (!before) out.reset(got);
                                  }),
                                  isAbove && row.back() == "foreign" ? foreign : "");
                        bool const want = isUntouched ? before : wanted[i] != (isAbove && above == 'f');
                        EXPECT_EQ(std::count(out.get(), out.get() + n, want), n) << i;
                    }
                EXPECT_EQ(x.getIndex(), n / 2);
            }
    }
}

} // namespace
