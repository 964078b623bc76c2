#include "support/model.h"

#include <climits>
#include <functional>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using N = NumberBody;
using P = NumberBody const*;

double const infinity = std::numeric_limits<double>::infinity(), nan_ = std::nan("");
constexpr auto Over = Event::scaledDoubleOverflow, Under = Event::scaledDoubleUnderflow;
constexpr auto Max = Event::saturationToMax, Min = Event::saturationToMin;

Type const real = Type::doubleDataType(), narrow = Type::singleDataType(), scaled16 = scaledDouble(s(16, -4)),
           q4 = scaledDouble(s(8, -4));

Value raw(Type const& type, double value)
{
    return {type, {}, type.mode == fxpModeDataTypeSingle ? static_cast<float>(value) : value};
}

/// What an operation leaves and tells, broken off at each event too. Unlike words, a double has been stored
/// by then, unless `isStoredLast`.
template <class Run>
void expectAfter(Value const& before, double after, Events const& events, Run const& run,
                 bool isStoredLast = false, std::string const& text = "")
{
    Value const last = raw(before.type, after);
    std::vector<Value> states(events.size(), isStoredLast ? before : last);
    states.push_back(last);
    checkOperation("", before, {fxpModeRoundingCeiling, 1}, events, states, text,
                   run); // modes that play no part
}

TEST(FloatingBodies, DoNothingBeyondWhatTheyCan)
{
    auto const silent = [](N& it, P b) {
        for (auto const run : {&N::assignImagOf, &N::imagEquals, &N::imagPlusEquals, &N::timesEquals})
            (it.*run)(b);
        double const three = 3.0;
        it.assignImagDouble(&three);
        it.conjugate();
        it.isProductOf(b, b);
        it.isQuotientOf(b, b);
        it.bitShiftArith(1);
        it.bitShiftArith(-2);
        it.bitSet(1, true);
        it.bitSet(3, false);
        EXPECT_FALSE(it.bitGet(1) || it.bitGet(2) || it.bitGet(3));
        it.arrayAssignParallel(b, 3);
        bool out[]{true, false, true};
        it.arrayCompareParallel(b, out, 3);
        EXPECT_TRUE(out[0] && !out[1] && out[2]);
        EXPECT_EQ(it.getImagRWDoubleValue() + it.getImagSIDoubleValue() + it.getImagRawDoubleValue(), 0.0);
        EXPECT_EQ(it.getImagSIArrayValueSigned() | it.getSIArrayValueSignedAt(1), 0);
        EXPECT_EQ(it.getImagSIArrayValueUnsigned() | it.getSIArrayValueUnsignedAt(1), 0U);
        EXPECT_EQ(it.getSIArrayInHex(), "Need to implement");
        if (it.dataType().mode == fxpModeDataTypeScaledDouble) return;
        for (auto const run : {&N::bitAndEqual, &N::bitOrEqual, &N::bitXorEqual}) (it.*run)(b);
        it.bitCmp();
        it.bitShiftRightLogical(1);
    };
    for (Type const& type : {real, narrow, scaled16})
        for (Value const& other :
             {raw(real, 2.0), raw(narrow, 2.0), raw(scaled16, 2.0), {s(8), {2}}, {s(99), {2, 3}}}) {
            Held const b(other);
            std::string const need =
                type == scaled16 ? "Need to do scaled-double " : "Need to do floating-point ";
            auto const expect = [&](auto const& run, std::string const& text) {
                expectAfter(raw(type, 6.5), 6.5, {}, run, false, text);
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
            EXPECT_EQ(held->getSIArrayValueSigned(), truncated(before.raw, true)) << before;
            EXPECT_EQ(held->getSIArrayValueUnsigned(), truncated(before.raw, false)) << before;
            EXPECT_TRUE(sameDouble(held->getSIDoubleValue(), before.raw) &&
                        sameDouble(held->getRawDoubleValue(), before.raw) &&
                        sameDouble(held->getRWDoubleValue(), realWorldOf(before)));
            // A negative count comes through the unsigned argument; the power itself may be infinite or zero.
            for (int const count : {0, 1, 200, 1023, 1024, 2000, INT_MAX, -1, -2000}) {
                double const power = std::ldexp(1.0, count);
                unsigned const n = static_cast<unsigned>(count);
                expectAfter(before, before.raw / power, {}, [&](N& it) { it.bitShiftRightArith(n); });
                expectAfter(before, before.raw * power, {}, [&](N& it) { it.bitShiftLeftLogical(n); });
            }
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
    for (double const value : {3.0, 0.0, 1e300, infinity, -infinity, nan_})
        for (Type const& type : {high, low, real, narrow}) sources.push_back(raw(type, value));
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

TEST(ScaledDouble, BitsBelowAndAboveTwoToThe62)
{
    struct Row {
        Type type;
        double a;
        Value b;
        double and_, or_, xor_;
        Events events{};
        double not_ = nan_; // of a; unchecked if NaN
        Events notEvents{};
    };
    Type const s8 = scaledDouble(s(8)), u8 = scaledDouble(u(8)), s70 = scaledDouble(s(70)),
               u100 = scaledDouble(u(100)), u64 = scaledDouble(u(64));
    Row const rows[] = {
        {s8, 12.9, raw(s8, -3.9), 12.0, -3.0, -15.0, {}, -13.0},
        {u8, 5.0, raw(u8, 300.0), 4.0, 301.0, 297.0, {}, -6.0}, // signed 64-bit integers, whatever the type
        {scaledDouble(s(8, -4, 1.5, 3.0)), 12.0, raw(q4, 10.0), 8.0, 14.0, 6.0, {}, -13.0},
        {s8, 12.0, raw(real, 10.7), 8.0, 14.0, 6.0},
        {s8, 12.0, {s(16, -3), {10}}, 8.0, 14.0, 6.0},
        {s8, 0x1p62, raw(s8, 3.0), 0.0, 0x1p62, 0x1p62, {}, -0x1p62}, // 3 is lost in the double
        {s8, 3.0, raw(s8, 0x1p62), 0.0, 0x1p62, 0x1p62},
        {s8, -1e30, raw(s8, -1.0), -0x1p63, -1.0, 0x1p63, {}, 0x1p63}, // the bound is on one side alone
        // Beyond, on the bits of the type: the other first, then this one.
        {s70, 0x1p65 + 0x1p60, raw(s70, 0x1p65), 0x1p65, 0x1p65 + 0x1p60, 0x1p60, {}, -0x1p65 - 0x1p60},
        {s70, 0x1p63, raw(s70, -1.0), 0x1p63, -1.0, -0x1p63, {}, -0x1p63},
        {s70, 0x1p63, raw(s70, 2.5), 0.0, 0x1p63, 0x1p63, {}, -0x1p63},
        {s8, 0x1p63, raw(s8, 5.0), 5.0, 127.0, 122.0, {Max}, -128.0, {Max}},
        {s8, -1000.0, raw(s8, infinity), 0.0, -1.0, -1.0, {Max, Min}, 999.0},
        {u8, -3.0, raw(u8, 0x1p63), 0.0, 255.0, 255.0, {Max, Min}, 2.0},
        {u64, 0x1.8p63, raw(u64, 0x1p63), 0x1p63, 0x1.8p63, 0x1p62, {}, 0x1p62},
        // The complement of a second chunk keeps the wrong bits, beyond the word.
        {u100, 0x1p63, raw(u100, 0x1p70), 0.0, 0x1.02p70, 0x1.02p70, {}, 0x1p128 - 0x1p99, {Over}},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::Message() << row.type << ' ' << row.a << " and " << row.b);
        Held const b(row.b);
        Value const a{row.type, {}, row.a};
        std::pair<void (N::*)(P), double> const operations[] = {
            {&N::bitAndEqual, row.and_}, {&N::bitOrEqual, row.or_}, {&N::bitXorEqual, row.xor_}};
        for (auto const& [run, result] : operations)
            expectAfter(
                a, result, row.events, [&](N& it) { (it.*run)(b.body()); }, true);
        if (row.not_ == row.not_)
            expectAfter(
                a, row.not_, row.notEvents, [](N& it) { it.bitCmp(); }, row.notEvents != Events{Over});
    }
}

TEST(ScaledDouble, LogicalRightShiftGoesThroughTheBitsOfTheType)
{
    struct Row {
        Type type;
        double value;
        unsigned count;
        double result;
        Events events{};
    };
    Row const rows[] = {
        {scaledDouble(s(16)), -4.0, 1, 32766.0},
        {scaledDouble(s(16)), -4.0, 0, -4.0},
        {scaledDouble(s(16, -4, 1.5, 2.0)), 40.0, 3, 5.0}, // in units, whatever the scaling
        {scaledDouble(s(16)), 16.5, 0, 17.0},              // to nearest
        {scaledDouble(u(16)), 65535.0, 15, 1.0},
        {scaledDouble(s(100)), -1.0, 64, 0x1p64}, // as a double
        {scaledDouble(s(100)), 0x1p70, 66, 16.0},
        {q4, 0.48, 1, 0.0, {Event::underflow}},
        {q4, 0.6, 0, 1.0, {Event::underflow}},
        {q4, nan_, 1, 0.0},
        {q4, infinity, 2, 31.0, {Max}},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::Message() << row.type << ' ' << row.value << " by " << row.count);
        expectAfter(
            {row.type, {}, row.value}, row.result, row.events,
            [&](N& it) { it.bitShiftRightLogical(row.count); }, true);
    }
}

} // namespace
