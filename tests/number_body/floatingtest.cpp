#include "support/bodies.h"

#include <climits>
#include <functional>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using N = NumberBody;
using P = NumberBody const*;

double const infinity = std::numeric_limits<double>::infinity(), nan_ = std::nan("");
Type const real = Type::doubleDataType(), narrow = Type::singleDataType();
Type const scaled16 = withMode(s(16, -4), fxpModeDataTypeScaledDouble);

Value raw(Type const& type, double value)
{
    return {type, {}, type.mode == fxpModeDataTypeSingle ? static_cast<float>(value) : value};
}

/// Runs an operation that tells nobody.
void expectAfter(Value const& before, double after, std::function<void(N&)> const& run,
                 std::string const& text = "")
{
    Held held(before);
    EXPECT_EQ(printedBy([&] { run(*held); }), text) << before;
    EXPECT_EQ(held.value(), raw(before.type, after)) << before;
    EXPECT_TRUE(held.isAloneTouched() && held.client.events().empty()) << before;
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
    };
    auto const silentUnlessScaled = [](N& it, P b) {
        for (auto const run : {&N::bitAndEqual, &N::bitOrEqual, &N::bitXorEqual}) (it.*run)(b);
        it.bitCmp();
        it.bitShiftRightLogical(1);
    };
    Value const others[] = {
        raw(real, 2.0), raw(narrow, 2.0), raw(scaled16, 2.0), {s(8), {2}}, {s(99), {2, 3}}};
    for (Type const& type : {real, narrow, scaled16})
        for (Value const& other : others) {
            Held const held(other);
            P const b = held.body();
            Value const before = raw(type, 6.5);
            bool const isScaled = type.mode == fxpModeDataTypeScaledDouble;
            std::string const need = isScaled ? "Need to do scaled-double " : "Need to do floating-point ";
            expectAfter(before, 6.5, [&](N& it) { silent(it, b); });
            if (!isScaled) expectAfter(before, 6.5, [&](N& it) { silentUnlessScaled(it, b); });
            expectAfter(
                before, 6.5, [&](N& it) { it.plusEquals(b); }, need + "plusEquals!\n");
            expectAfter(
                before, 6.5, [&](N& it) { it.minusEquals(b); }, need + "minusEquals!\n");
        }
}

TEST(FloatingBodies, TruncateToIntegers)
{
    Chunk const top = Chunk{1} << 63;
    struct Row {
        double value;
        Chunk asSigned, asUnsigned;
    };
    for (Row const& row : {Row{0.0, 0, 0},
                           {2.9, 2, 2},
                           {-2.9, Chunk(-2), Chunk(-2)},
                           {0x1p62, top / 2, top / 2},
                           {0x1.fffffep62, top - (top >> 24), top - (top >> 24)},
                           {0x1p63, top, top},
                           {0x1.8p63, top, top + top / 2},
                           {-0x1p63, top, top},
                           {0x1p64, top, 0},
                           {-1e30, top, top},
                           {-infinity, top, top},
                           {nan_, top, top}})
        for (Type const& type : {real, narrow, scaled16}) {
            Held const held(raw(type, row.value));
            EXPECT_EQ(static_cast<Chunk>(held->getSIArrayValueSigned()), row.asSigned) << held.value();
            EXPECT_EQ(held->getSIArrayValueUnsigned(), row.asUnsigned) << held.value();
            double const wide = raw(type, row.value).raw;
            EXPECT_TRUE(sameDouble(held->getSIDoubleValue(), wide) &&
                        sameDouble(held->getRawDoubleValue(), wide));
            EXPECT_TRUE(sameDouble(held->getRWDoubleValue(), realWorldOf(held.value())));
        }
}

TEST(FloatingBodies, ShiftsScaleByAPowerOfTwo)
{
    struct Row {
        double value;
        int count;
        double right, left;
    };
    for (Row const& row : {Row{5.0, 0, 5.0, 5.0},
                           {5.0, 1, 2.5, 10.0},
                           {0x1p-1074, 1, 0.0, 0x1p-1073},
                           {-1.0, 1023, -0x1p-1023, -0x1p1023},
                           {0x1p-1000, 1023, 0.0, 0x1p23},
                           // The power itself is infinite.
                           {0x1p1000, 1024, 0.0, infinity},
                           {0.0, 1024, 0.0, nan_},
                           {infinity, 2000, nan_, infinity},
                           {1.0, INT_MAX, 0.0, infinity},
                           // A negative count, as it comes through the unsigned argument.
                           {5.0, -1, 10.0, 2.5},
                           {3.0, -2000, infinity, 0.0}})
        for (Type const& type : {real, narrow, scaled16}) {
            unsigned const count = static_cast<unsigned>(row.count);
            Value const before = raw(type, row.value);
            if (!sameDouble(before.raw, row.value)) continue; // out of a float's range
            expectAfter(before, row.right, [&](N& it) { it.bitShiftRightArith(count); });
            expectAfter(before, row.left, [&](N& it) { it.bitShiftLeftLogical(count); });
        }
    // In double, then narrowed.
    expectAfter(raw(narrow, 0x1p-149), 0x1p51, [](N& it) { it.bitShiftLeftLogical(200); });
    expectAfter(raw(narrow, 0x1.8p100), 0x1.8p-100, [](N& it) { it.bitShiftRightArith(200); });
    expectAfter(raw(narrow, 0x1.8p-149), 0x1p-149, [](N& it) { it.bitShiftRightArith(1); });
}

TEST(FloatingBodies, AssignmentReadsTheRealWorldValue)
{
    Random random(61);
    for (int i = 0; i < 4000; ++i) {
        Value const from = anyValue(random, random.pick(std::array{16, 64, 300}), true, true);
        Held const other(from);
        double const value = realWorldOf(from);
        ASSERT_TRUE(sameDouble(other->getRWDoubleValue(), value)) << from;
        for (Type const& type : {real, narrow}) {
            SCOPED_TRACE(testing::Message() << from);
            expectAfter(raw(type, -7.0), value, [&](N& it) { it.assignNumber(other.body()); });
        }
    }
    // Through the power of two, which is infinite or zero, and past any word.
    Type const high{fxpModeDataTypeScaledDouble, true, 8, 1.0, 1100, 0.0, 0},
        low{fxpModeDataTypeScaledDouble, true, 8, 1.0, -1100, 2.0, 0};
    for (Value const& from :
         {raw(high, 3.0), raw(high, 0.0), raw(low, 1e300), raw(low, infinity), raw(real, 1e300),
          raw(real, -infinity), raw(real, nan_), raw(narrow, nan_), raw(narrow, 1e39)})
        for (Type const& type : {real, narrow}) {
            Held const other(from);
            expectAfter(raw(type, -7.0), realWorldOf(from), [&](N& it) { it.assignNumber(other.body()); });
            expectAfter(raw(type, -7.0), from.raw, [&](N& it) { it.assignDouble(&from.raw); });
        }
}

TEST(FloatingBodies, CompareWithFixedNumbersAlone)
{
    Type const biased = fixedType(true, 8, -1, 1.5, 2.0), shifted = fixedType(true, 8, 0, 1.0, 2.0);
    Int const one = 1;
    struct Row {
        double value;
        Value other;
        int order;
        bool isEqual;
    };
    Row const rows[] = {
        {5.0, {s(8), {5}}, 0, true},
        {-5.5, {s(8, -1), {-11}}, 0, true},
        {4.25, {biased, {3}}, 0, true},
        {4.0, {biased, {3}}, -1, false},
        {255.0, {u(8), {255}}, 0, true},
        {0.5, {s(100, -80), {one << 79}}, 0, true},
        {0x1p60, {s(64), {(one << 60) + 1}}, 0, true}, // in doubles
        {nan_, {s(8), {5}}, 2, false},
        {infinity, {s(8), {127}}, 1, false},
        {5.0, {fixedType(true, 8, 0, 1.0, nan_), {5}}, 2, false},
        {5.0, {s(8), {5, 1}}, 0, false},
        {5.0, {s(100), {5, one << 70}}, 0, false},
        {2.0, {shifted, {0, 0}}, 0, false}, // the imaginary part is 2.0
        {2.0, {shifted, {0, -2}}, 0, true},
        {5.0, raw(real, 6.0), 0, true},
        {5.0, raw(narrow, nan_), 0, true},
        {nan_, raw(scaled16, 3.0), 0, true},
    };
    Type const units = withMode(s(16), fxpModeDataTypeScaledDouble),
               scaled = withMode(biased, fxpModeDataTypeScaledDouble);
    for (Row const& row : rows)
        for (Type const& type : {real, narrow, units, scaled}) {
            double const stored = type == scaled ? (row.value - 2.0) / 0.75 : row.value;
            Held const held(raw(type, stored)), other(row.other);
            if (held->getRWDoubleValue() != row.value && row.value == row.value) continue; // not in this type
            EXPECT_EQ(held->compareTo(other.body()), row.order) << held.value() << " and " << row.other;
            EXPECT_EQ(held->isEqualTo(other.body()), row.isEqual) << held.value() << " and " << row.other;
        }
}

TEST(FloatingBodies, SetValueCopiesAnyNumberOfDoublesAsTheyAre)
{
    std::vector<double> values = specialDoubles();
    values.resize(1000, std::bit_cast<double>(0x7FF8000000ABCDEFULL));
    RecordingClient client;
    for (Type const& type : {real, narrow}) {
        std::unique_ptr<N> const body(
            NumberBodyFactory::createNumberBody(std::vector<double>(1000).data(), type, client, 1000,
                                                fxpModeRoundingFloor, fxpModeOverflowWrap, false));
        body->setValue(values.data());
        Storage wanted(type, 1000);
        for (std::size_t i = 0; i < 1000; ++i) wanted.put(i, storedOf(values[i], type, {}).pattern);
        EXPECT_EQ(Storage(type, 1000, body->getSIArray()), wanted);
    }
    EXPECT_EQ(client.events(), Events{});
}

} // namespace
