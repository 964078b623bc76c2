#include "support/model.h"

#include <climits>
#include <functional>

namespace
{
using namespace orvextest;
using N = NumberBody;
using P = NumberBody const*;

double const infinity = std::numeric_limits<double>::infinity(), nan_ = std::nan("");

Type const real = Type::doubleDataType(), narrow = Type::singleDataType(), scaled16 = scaledDouble(s(16, -4));

Value raw(Type const& type, double value)
{
    return {type, {}, type.mode == fxpModeDataTypeSingle ? static_cast<float>(value) : value};
}

/// What an operation leaves and tells, broken off at each event too. Unlike words, a double has been stored
/// by then.
template <class Run>
void expectAfter(Value const& before, double after, Events const& events, Run const& run,
                 std::string const& text = "")
{
    std::vector<Value> const states(events.size() + 1, raw(before.type, after));
    checkOperation("", before, {fxpModeRoundingCeiling, 1}, events, states, text,
                   run); // modes that play no part
}

TEST(FloatingBodies, DoNothingBeyondWhatTheyCan)
{
    auto const silent = [](N& it, P b) {
        for (auto const run : {&N::assignImagOf, &N::imagEquals, &N::imagPlusEquals, &N::timesEquals})
            (it.*run)(b);
        double const three = 3.0;
        it.assignImagDouble(&three), it.conjugate(), it.isProductOf(b, b), it.isQuotientOf(b, b);
        it.bitShiftArith(1), it.bitShiftArith(-2), it.bitSet(1, true), it.bitSet(3, false);
        bool out[]{true, false, true};
        it.arrayAssignParallel(b, 3), it.arrayCompareParallel(b, out, 3);
        EXPECT_TRUE(out[0] && !out[1] && out[2] && !it.bitGet(1) && !it.bitGet(2) && !it.bitGet(3));
        EXPECT_EQ(it.getImagRWDoubleValue() + it.getImagSIDoubleValue() + it.getImagRawDoubleValue(), 0.0);
        EXPECT_TRUE(it.getImagSIArrayValueSigned() == 0 && it.getSIArrayValueSignedAt(1) == 0 &&
                    it.getImagSIArrayValueUnsigned() == 0 && it.getSIArrayValueUnsignedAt(1) == 0);
        EXPECT_EQ(it.getSIArrayInHex(), "Need to implement");
        if (it.dataType().mode == fxpModeDataTypeScaledDouble) return;
        it.bitAndEqual(b), it.bitOrEqual(b), it.bitXorEqual(b), it.bitCmp(), it.bitShiftRightLogical(1);
    };
    for (Type const& type : {real, narrow, scaled16})
        for (Value const& other :
             {raw(real, 2.0), raw(narrow, 2.0), raw(scaled16, 2.0), {s(8), {2}}, {s(99), {2, 3}}}) {
            Held const b(other);
            std::string const need =
                type == scaled16 ? "Need to do scaled-double " : "Need to do floating-point ";
            auto const expect = [&](auto const& run, std::string const& text) {
                expectAfter(raw(type, 6.5), 6.5, {}, run, text);
            };
            expect([&](N& it) { silent(it, b.body()); }, "");
            expect([&](N& it) { it.plusEquals(b.body()); }, need + "plusEquals!\n");
            expect([&](N& it) { it.minusEquals(b.body()); }, need + "minusEquals!\n");
        }
}

TEST(FloatingBodies, TruncateToIntegersAndShiftByPowersOfTwo)
{
    std::vector<double> values = specialDoubles();
    values.insert(values.end(), {0x1.8p63, -0x1.8p63, 0x1p-149, 0x1.8p100, 3.0});
    for (Type const& type : {real, narrow, scaled16})
        for (double const value : values) {
            Value const before = raw(type, value);
            Held const held(before);
            EXPECT_TRUE(held->getSIArrayValueSigned() == truncated(before.raw, true) &&
                        held->getSIArrayValueUnsigned() == truncated(before.raw, false) &&
                        sameDouble(held->getSIDoubleValue(), before.raw) &&
                        sameDouble(held->getRawDoubleValue(), before.raw))
                << before;
            // A negative count comes through the unsigned argument; the power itself may be infinite or zero.
            for (int const count : {0, 1, 200, 1023, 1024, 2000, INT_MAX, -1, -2000}) {
                double const power = std::ldexp(1.0, count);
                unsigned const n = static_cast<unsigned>(count);
                expectAfter(before, before.raw / power, {}, [&](N& it) { it.bitShiftRightArith(n); });
                expectAfter(before, before.raw * power, {}, [&](N& it) { it.bitShiftLeftLogical(n); });
            }
        }
}

TEST(FloatingBodies, LimitsOfTheirTypes)
{
    using D = std::numeric_limits<double>;
    using F = std::numeric_limits<float>;
    for (auto const& [type, most, least, leastPositive] :
         {std::tuple(real, D::max(), D::lowest(), D::min()),
          std::tuple(narrow, 1.0 * F::max(), 1.0 * F::lowest(), 1.0 * F::min()),
          std::tuple(scaledDouble(s(8, 3, 1.5, 2.0)), 127.0, -128.0, 1.0),
          std::tuple(scaledDouble(u(70)), 0x1p70, 0.0, 1.0)}) {
        expectAfter(raw(type, 6.5), most, {}, std::mem_fn(&N::setMaxRWValue));
        expectAfter(raw(type, 6.5), least, {}, std::mem_fn(&N::setMinRWValue));
        expectAfter(raw(type, 6.5), leastPositive, {}, std::mem_fn(&N::setMinPositiveRWValue));
    }
}

/// Floats take the real-world value; scaled doubles Q as it is of their own type, and otherwise the value
/// through the plan of such a cast.
TEST(FloatingBodies, AssignmentFromEveryKind)
{
    Random random(71);
    std::vector<Value> sources;
    // Through a power of two that is infinite or zero, and past any word.
    Type const high = scaledDouble(s(8, 1100)), low = scaledDouble(s(8, -1100, 1.0, 2.0));
    for (double const value : {3.0, 0.0, -0.0, 1e300, infinity, -infinity, nan_})
        for (Type const& type : {high, low, real, narrow, withMode(high, fxpModeDataTypeDouble)})
            sources.push_back(raw(type, value));
    for (int i = 0; i < 4000; ++i)
        sources.push_back(anyValue(random, random.pick(std::array{8, 16, 64, 300}), true, true));
    for (std::size_t i = 0; i < sources.size(); ++i) {
        Value from = sources[i];
        bool const isFloat = !from.isFixed() && from.type.mode != fxpModeDataTypeScaledDouble;
        Type to = anyValue(random, random.pick(std::array{8, 16, 64, 300}), true, false).type;
        to.mode = fxpModeDataTypeScaledDouble;
        if (i % 10 == 0 && from.type.mode == fxpModeDataTypeScaledDouble) to = from.type;
        ScaledOutcome wanted{from.raw, {}};
        if (isFloat)
            wanted = scaledFromRealWorld(from.raw, to);
        else if (!(from.type == to))
            wanted = scaledFromRealWorld(
                throughPlan(from.isFixed() ? readRadix(from.parts[0], stripped(from.type)) : from.raw,
                            from.type, to),
                stripped(to));
        SCOPED_TRACE(testing::Message() << to << " from " << from);
        Held const other(from);
        double const value = realWorldOf(from);
        ASSERT_TRUE(sameDouble(other->getRWDoubleValue(), value));
        auto const assign = [&](N& it) { it.assignNumber(other.body()); };
        for (Type const& type : {real, narrow}) {
            expectAfter(raw(type, -7.0), value, {}, assign);
            expectAfter(raw(type, -7.0), from.raw, {}, [&](N& it) { it.assignDouble(&from.raw); });
        }
        expectAfter(raw(to, 77.0), wanted.stored, wanted.events, assign);
        ASSERT_FALSE(HasFailure());
    }
}

TEST(ScaledDouble, StoresInUnitsUnquantizedAndReadsBack)
{
    // Powers that a double does not have: ldexp has some that repeated squaring misses.
    for (Type const& type : {s(8, -4), u(8), s(8, -1, 1.5, 2.0), s(8, 0, -2.0, 1.0), s(8, 0, 0.0, 1.0), u(64),
                             s(64), s(300), u(300, 3), s(8, 1024), s(8, -1023), s(8, -1074), s(8, -1075)})
        for (double const value : specialDoubles()) {
            ScaledOutcome const wanted = scaledFromRealWorld(value, scaledDouble(type));
            expectAfter({scaledDouble(type), {}, 77.0}, wanted.stored, wanted.events,
                        [&](N& it) { it.assignDouble(&value); });
            Value const stored{scaledDouble(type), {}, value};
            EXPECT_TRUE(sameDouble(Held(stored)->getRWDoubleValue(), realWorldOf(stored))) << stored;
        }
}

/// Up to 2^62, above alone, stored doubles are signed integers of 64 bits; beyond they go through the bits of
/// the type, the other first. So does a logical shift, whatever the value is.
TEST(ScaledDouble, BitsOfIntegersAndOfTheType)
{
    Random random(72);
    std::vector<double> specials = specialDoubles();
    specials.insert(specials.end(), 9, 0x1p62); // often
    for (int i = 0; i < 6000; ++i) {
        Type const word = random.radixType(130, 0, 0),
                   type = scaledDouble(
                       fixedType(word.isSigned(), word.wordLength, random.between(-9, 9), 1.5, i % 3));
        auto const any = [&] {
            return random.coin() ? random.pick(specials) : random.doubleNear(random.coin() ? word : s(70));
        };
        Value const a = raw(type, any()),
                    b = i % 2 == 0 ? anyValue(random, 100, true, true) : raw(type, any());
        double const theirs = b.isFixed() ? readRadix(b.parts[0], stripped(b.type)) : b.raw;
        auto const integer = [](Value const& value) {
            return static_cast<long long>(value.isFixed() ? wrapTo(value.parts[0], s(64))
                                                          : truncated(value.raw, true));
        };
        long long const x = integer(a), y = integer(b);
        Outcome const its = quantizeRadix(theirs, word, fxpModeRoundingNearest, 1),
                      mine = quantizeRadix(a.raw, word, fxpModeRoundingNearest, 1);
        Held const other(b);
        SCOPED_TRACE(testing::Message() << "with " << b);
        // As `operation` has it on integers, or as `change` on the bits of the type.
        auto const check = [&](bool isInteger, long long result, Events events, auto const& change,
                               auto const& run) {
            Model e({word, {mine.stored}}, {});
            change(e);
            ScaledOutcome after = scaledFromRadix(readRadix(e.now[0], word), scaledDouble(word));
            events.insert(events.end(), mine.events.begin(), mine.events.end());
            if (isInteger) after = {static_cast<double>(result), {}}, events = {};
            std::vector<Value> states(events.size(), a);
            events.insert(events.end(), after.events.begin(), after.events.end());
            states.resize(events.size() + 1, raw(type, after.stored));
            checkOperation("", a, {fxpModeRoundingCeiling, 1}, events, states, "", run);
        };
        auto const combine = [&](auto operation, auto run) {
            Value const bits{word, {its.stored}};
            check(
                a.raw <= 0x1p62 && theirs <= 0x1p62, operation(x, y), its.events,
                [&](Model& e) { e.combineBits(bits, operation); }, [&](N& it) { (it.*run)(other.body()); });
        };
        combine(std::bit_and{}, &N::bitAndEqual);
        combine(std::bit_or{}, &N::bitOrEqual);
        combine(std::bit_xor{}, &N::bitXorEqual);
        check(a.raw <= 0x1p62, ~x, {}, std::mem_fn(&Model::complement), std::mem_fn(&N::bitCmp));
        unsigned const n = random.pick(std::array{0U, 1U, 3U, 64U, static_cast<unsigned>(word.wordLength)});
        check(
            false, 0, {}, [&](Model& e) { e.shiftRightLogical(n); },
            [&](N& it) { it.bitShiftRightLogical(n); });
        ASSERT_FALSE(HasFailure());
    }
}

} // namespace
