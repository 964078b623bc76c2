#include "support/bodies.h"

#include <functional>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using N = NumberBody;

double const infinity = std::numeric_limits<double>::infinity(), nan_ = std::nan("");
constexpr auto Over = Event::scaledDoubleOverflow, Under = Event::scaledDoubleUnderflow;
constexpr auto Max = Event::saturationToMax, Min = Event::saturationToMin;

Type scaledType(bool isSigned, int wordLength, int exponent = 0, double factor = 1.0, double bias = 0.0)
{
    return withMode(fixedType(isSigned, wordLength, exponent, factor, bias), fxpModeDataTypeScaledDouble);
}
Type const q4 = scaledType(true, 8, -4);

/// What an operation leaves and tells, broken off at each event too. Unlike words, a double has been stored
/// by then, unless `isStoredLast`.
void expectStores(Value const& before, double after, Events const& events, std::function<void(N&)> const& run,
                  bool isStoredLast = false)
{
    for (std::size_t throwAt = 0; throwAt <= events.size(); ++throwAt) {
        Held held(before, {fxpModeRoundingCeiling, 1}); // which play no part
        held.client.throwAt = throwAt;
        bool thrown = false;
        try {
            run(*held);
        } catch (RecordingClient::Thrown const&) {
            thrown = true;
        }
        EXPECT_EQ(thrown, throwAt < events.size());
        Value wanted{before.type, {}, thrown && isStoredLast ? before.raw : after};
        EXPECT_EQ(held.value(), wanted);
        EXPECT_EQ(
            held.client.events(),
            Events(events.begin(), events.begin() + static_cast<long>(std::min(throwAt + 1, events.size()))));
        EXPECT_TRUE(held.isAloneTouched());
    }
}

TEST(ScaledDouble, StoresInUnitsUnquantizedAndReadsBack)
{
    struct Row {
        Type type;
        double value, stored;
        Events events;
        double read;
    };
    Row const rows[] = {
        {q4, 1.03125, 16.5, {}, 1.03125},
        {q4, 100.0, 1600.0, {Over}, 100.0},
        {q4, 0.03125, 0.5, {Under}, 0.03125},
        {q4, 0.03, 0.48, {Under}, 0.03},
        {q4, 0.0, 0.0, {}, 0.0},
        {q4, -0.0, -0.0, {}, 0.0}, // the bias is added
        {q4, 7.96875, 127.5, {Over}, 7.96875},
        {q4, -8.0, -128.0, {}, -8.0},
        {q4, nan_, nan_, {}, nan_},
        {q4, infinity, infinity, {Over}, infinity},
        {scaledType(false, 8), -0.25, -0.25, {Over}, -0.25}, // below the least
        {scaledType(true, 8, -1, 1.5, 2.0), 2.0, 0.0, {}, 2.0},
        {scaledType(true, 8, -1, 1.5, 2.0), 4.25, 3.0, {}, 4.25},
        {scaledType(true, 8, -1, 1.5, 2.0), 0.0, -2.0 / 1.5 / 0.5, {}, 0.0},
        {scaledType(true, 8, 0, -2.0, 1.0), 5.0, -2.0, {}, 5.0},
        {scaledType(true, 8, 0, 0.0, 1.0), 5.0, infinity, {Over}, nan_},
        {scaledType(false, 64), 0x1p64, 0x1p64, {}, 0x1p64}, // the limit as a double
        {scaledType(true, 300), 0x1.8p299, 0x1.8p299, {Over}, 0x1.8p299},
        // Powers that a double does not have: ldexp has some that repeated squaring misses.
        {scaledType(true, 8, 1023), 0x1p1023, 1.0, {}, 0x1p1023},
        {scaledType(true, 8, 1024), 0x1p1023, 0.0, {}, nan_},
        {scaledType(true, 8, -1023), 0x1p-1022, 2.0, {}, 0x1p-1022},
        {scaledType(true, 8, -1074), 0x1p-1070, 16.0, {}, 0.0},
        {scaledType(true, 8, -1074, 1.0, 3.0), 3.0, 0.0, {}, 3.0},
        {scaledType(true, 8, -1075), 1.0, infinity, {Over}, nan_},
        {scaledType(true, 8, -1075), 0.0, nan_, {}, nan_},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::Message() << row.type << ' ' << row.value);
        Value const before{row.type, {}, 77.0};
        expectStores(before, row.stored, row.events, [&](N& it) { it.assignDouble(&row.value); });
        Held const held({row.type, {}, row.stored});
        EXPECT_TRUE(sameDouble(held->getRWDoubleValue(), row.read)) << held->getRWDoubleValue();
        EXPECT_TRUE(sameDouble(held->getSIDoubleValue(), row.stored));
        // A single as it is; a double through the same store.
        for (Type const& from : {Type::doubleDataType(), Type::singleDataType()}) {
            Held const other({from, {}, row.value});
            if (sameDouble(other->getRawDoubleValue(), row.value))
                expectStores(before, row.stored, row.events, [&](N& it) { it.assignNumber(other.body()); });
        }
    }
    // Of the same type Q is copied, whatever it is, and nobody is told.
    for (double const value : {1600.0, 0.25, infinity, nan_}) {
        Held const other({q4, {}, value});
        expectStores({q4, {}, 77.0}, value, {}, [&](N& it) { it.assignNumber(other.body()); });
    }
}

TEST(ScaledDouble, AssignmentFromEveryKind)
{
    Random random(71);
    for (int i = 0; i < 4000; ++i) {
        Value from = anyValue(random, random.pick(std::array{8, 16, 64, 300}), true, true);
        Value target = anyValue(random, random.pick(std::array{8, 16, 64, 300}), true, false);
        target = {withMode(target.type, fxpModeDataTypeScaledDouble), {}, 77.0};
        if (i % 10 == 0 && from.type.mode == fxpModeDataTypeScaledDouble) from.type = target.type;
        Type const& to = target.type;
        ScaledOutcome wanted{from.raw, {}};
        if (from.type.mode == fxpModeDataTypeDouble || from.type.mode == fxpModeDataTypeSingle)
            wanted = scaledFromRealWorld(from.raw, to);
        else if (!(from.type == to))
            wanted = scaledFromRealWorld(
                throughPlan(from.isFixed() ? readRadix(from.parts[0], stripped(from.type)) : from.raw,
                            from.type, to),
                stripped(to));
        SCOPED_TRACE(testing::Message() << to << " from " << from);
        Held const other(from);
        expectStores(target, wanted.stored, wanted.events, [&](N& it) { it.assignNumber(other.body()); });
        ASSERT_FALSE(HasFailure());

        // Back into a fixed number: what the real-world value gives, where no slope or bias rounds it.
        Value const back{to, {}, wanted.stored};
        if (to.slopeAdjustmentFactor != 1.0 || to.bias != 0.0) continue;
        Type const fixed = random.radixType(100, -30, 30);
        Held word({fixed, {0}}, {i % 7, i % 2}), same({fixed, {0}}, {i % 7, i % 2}), stored(back);
        double const value = stored->getRWDoubleValue();
        word->assignNumber(stored.body());
        same->assignDouble(&value);
        ASSERT_EQ(word.value(), same.value()) << back;
        ASSERT_EQ(word.client.events(), same.client.events()) << back;
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
    auto const like = [](Type const& type, double value) { return Value{type, {}, value}; };
    Type const s8 = scaledType(true, 8), u8 = scaledType(false, 8), s70 = scaledType(true, 70),
               u100 = scaledType(false, 100), u64 = scaledType(false, 64);
    Row const rows[] = {
        {s8, 12.0, like(s8, 10.0), 8.0, 14.0, 6.0, {}, -13.0},
        {s8, 12.9, like(s8, -3.9), 12.0, -3.0, -15.0, {}, -13.0},
        {u8, 5.0, like(u8, 300.0), 4.0, 301.0, 297.0, {}, -6.0}, // signed 64-bit integers, whatever the type
        {scaledType(true, 8, -4, 1.5, 3.0), 12.0, like(q4, 10.0), 8.0, 14.0, 6.0, {}, -13.0},
        {s8, 12.0, like(Type::doubleDataType(), 10.7), 8.0, 14.0, 6.0},
        {s8, 12.0, {s(16, -3), {10}}, 8.0, 14.0, 6.0},
        {s8, 0x1p62, like(s8, 3.0), 0.0, 0x1p62, 0x1p62, {}, -0x1p62}, // 3 is lost in the double
        {s8, 3.0, like(s8, 0x1p62), 0.0, 0x1p62, 0x1p62},
        {s8, -0x1p63, like(s8, -1.0), -0x1p63, -1.0, 0x1p63, {}, 0x1p63},
        {s8, -1e30, like(s8, -1.0), -0x1p63, -1.0, 0x1p63, {}, 0x1p63}, // the bound is on one side alone
        // Beyond, on the bits of the type: the other first, then this one.
        {s70, 0x1p65 + 0x1p60, like(s70, 0x1p65), 0x1p65, 0x1p65 + 0x1p60, 0x1p60, {}, -0x1p65 - 0x1p60},
        {s70, 0x1p63, like(s70, -1.0), 0x1p63, -1.0, -0x1p63, {}, -0x1p63},
        {s70, 0x1p63, like(s70, 2.5), 0.0, 0x1p63, 0x1p63, {}, -0x1p63},
        {s8, 0x1p63, like(s8, 5.0), 5.0, 127.0, 122.0, {Max}, -128.0, {Max}},
        {s8, -1000.0, like(s8, infinity), 0.0, -1.0, -1.0, {Max, Min}, 999.0},
        {u8, -3.0, like(u8, 0x1p63), 0.0, 255.0, 255.0, {Max, Min}, 2.0},
        {u8, 0x1p63, like(u8, 3.0), 3.0, 255.0, 252.0, {Max}, 0.0, {Max}},
        {u64, 0x1.8p63, like(u64, 0x1p63), 0x1p63, 0x1.8p63, 0x1p62, {}, 0x1p62},
        // The complement of a second chunk keeps the wrong bits, beyond the word.
        {u100, 0x1p63, like(u100, 0x1p70), 0.0, 0x1.02p70, 0x1.02p70, {}, 0x1p128 - 0x1p99, {Over}},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::Message() << row.type << ' ' << row.a << " and " << row.b);
        Held const b(row.b);
        Value const a{row.type, {}, row.a};
        expectStores(
            a, row.and_, row.events, [&](N& it) { it.bitAndEqual(b.body()); }, true);
        expectStores(
            a, row.or_, row.events, [&](N& it) { it.bitOrEqual(b.body()); }, true);
        expectStores(
            a, row.xor_, row.events, [&](N& it) { it.bitXorEqual(b.body()); }, true);
        if (row.not_ == row.not_)
            expectStores(
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
        {scaledType(true, 16), -4.0, 1, 32766.0},
        {scaledType(true, 16), -4.0, 0, -4.0},
        {scaledType(true, 16, -4, 1.5, 2.0), 40.0, 3, 5.0}, // in units, whatever the scaling
        {scaledType(true, 16), 16.5, 0, 17.0},              // to nearest
        {scaledType(false, 16), 65535.0, 15, 1.0},
        {scaledType(true, 100), -1.0, 64, 0x1p64}, // as a double
        {scaledType(true, 100), -1.0, 65, 0x1p35 - 1},
        {scaledType(true, 100), 0x1p70, 66, 16.0},
        {q4, 1600.0, 1, 63.0, {Max}},
        {q4, 0.48, 1, 0.0, {Event::underflow}},
        {q4, 0.6, 0, 1.0, {Event::underflow}},
        {q4, nan_, 1, 0.0},
        {q4, infinity, 2, 31.0, {Max}},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::Message() << row.type << ' ' << row.value << " by " << row.count);
        expectStores(
            {row.type, {}, row.value}, row.result, row.events,
            [&](N& it) { it.bitShiftRightLogical(row.count); }, true);
    }
}

} // namespace
