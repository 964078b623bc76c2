#include "support/numbers.h"

#include <orvex/number/cast.h>

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <memory>
#include <stdexcept>
#include <tuple>

namespace
{
using namespace orvextest;
using ORVEX::Cast;
using Values = std::vector<double>;

constexpr auto nearest = fxpModeRoundingNearest, floor_ = fxpModeRoundingFloor;
constexpr auto wrap = fxpModeOverflowWrap, saturate = fxpModeOverflowSaturate;
constexpr auto share = NumberUtils::copyIndexOnly;
constexpr Modes nearestSaturate{nearest, saturate};

/// All that a handle tells, but its elements.
std::string state(Type const& type, Dims const& dims, unsigned long long count, bool isComplex = false,
                  unsigned long long index = 0, Modes modes = nearestSaturate, bool isExternal = false)
{
    return testing::PrintToString(std::tuple(type, dims, count, isComplex, index, isExternal)) +
           testing::PrintToString(modes);
}
std::string state(Number const& a)
{
    return state(a.getDataType(), dimsOf(a), a.getNumberOfElements(), a.isComplex(), a.getIndex(),
                 {a.getRoundMode(), a.getOverflowMode()}, a.dataIsExternal());
}

/// What the store of a real-world value leaves in a part of any representation, and what the client hears.
struct Stored {
    std::vector<Chunk> pattern;
    Events events;
};
inline Stored storedOf(double value, Type const& type, Modes modes)
{
    if (type.mode == fxpModeDataTypeFixed) {
        Outcome const outcome = quantize(value, type, modes.round, modes.sat);
        return {patternOf(outcome.stored, type), outcome.events};
    }
    ScaledOutcome const outcome = scaledFromRealWorld(value, type);
    return {patternOf(outcome.stored, type), outcome.events};
}

Storage storageOf(Number const& a)
{
    return {a.getDataType(), a.getNumberOfElements() * (a.isComplex() ? 2 : 1), a.getSIArray()};
}

Number valued(Values const& values, Type const& type, OrvexClientInterface& client, bool isComplex = false)
{
    return Number(values.data(), type, client, values.size() / (isComplex ? 2 : 1), nearest, saturate,
                  isComplex);
}
Number shaped(Dims const& dims, Type const& type, OrvexClientInterface& client, bool isComplex = false)
{
    return Number(Lent::count(dims), dims.size(), dims.data(), type, client, nearest, saturate, isComplex);
}

// Types with a bias that most of them cannot reach with 0.0, which every new number is filled with.
std::vector<Type> allKindsOfTypes()
{
    std::vector<Type> types{scaledDouble(fixedType(true, 12, -2, 1.5, 1.0)), Type::doubleDataType(),
                            Type::singleDataType()};
    for (int const bits : {5, 8, 12, 16, 24, 33, 64, 65, 128, 129})
        for (bool const isSigned : {false, true})
            types.push_back(fixedType(isSigned, bits, -1, 1.25, isSigned ? -3.0 : 40.0));
    return types;
}

TEST(NumberHandle, EveryConstructor)
{
    Values const values{0.0, 41.3, -1e9, 1e9, 40.1, std::nan("")};
    double re[] = {values[0], values[2], values[4]}, im[] = {values[1], values[3], values[5]};
    for (Type const& type : allKindsOfTypes()) {
        SCOPED_TRACE(type);
        RecordingClient client;
        bool const isFixed = type.mode == fxpModeDataTypeFixed; // others are real, of the first doubles
        auto const expect = [&](Number const& number, Values parts, Dims const& dims, bool askComplex,
                                bool tells = true) {
            std::size_t const count = parts.size() / (askComplex ? 2 : 1);
            if (!isFixed) parts.resize(count);
            Events events;
            Storage wanted(type, parts.size());
            for (std::size_t i = 0; i < parts.size(); ++i) {
                Stored const stored = storedOf(parts[i], type, nearestSaturate);
                wanted.put(i, stored.pattern);
                if (tells) events.insert(events.end(), stored.events.begin(), stored.events.end());
            }
            EXPECT_EQ(storageOf(number), wanted);
            EXPECT_EQ(client.events(), events);
            EXPECT_EQ(state(number), state(type, dims, count, askComplex && isFixed));
            EXPECT_EQ(&number.getFxpClient(), &client);
            client.clear();
        };
        expect(Number(41.3, type, client, nearest, saturate), {41.3}, {1, 1}, false);
        expect(Number(41.3, -1e9, type, client, nearest, saturate), {41.3, -1e9}, {1, 1}, true);
        expect(valued(values, type, client), values, {1, 6}, false);
        expect(valued(values, type, client, true), values, {1, 3}, true);
        expect(valued({}, type, client), {}, {1, 0}, false);
        expect(Number(re, im, type, client, 3, nearest, saturate), values, {1, 3}, true);
        // An array of doubles that is not const is copied too, not adopted.
        expect(Number(re, type, client, 3, nearest, saturate, false), {re, re + 3}, {1, 3}, false);
        expect(shaped({1, 2, 3}, type, client), Values(6), {1, 2, 3}, false);
        expect(shaped({6}, type, client, true), Values(12), {6}, true);
        Number const from = valued(values, type, client, true), twin(from, share);
        client.clear();
        from.setIndex(2);
        expect(Number(from), values, {1, 3}, true, false);
        expect(twin, values, {1, 3}, true, false);
        Storage lent = storageOf(from);
        Number const external(lent.data(), type, client, 3, nearest, saturate, true), copy(external);
        for (Number const* const it : {&external, &copy})
            EXPECT_EQ(state(*it), state(type, {1, 3}, 3, isFixed, 0, nearestSaturate, true));
        EXPECT_TRUE(external.getSIArray() == lent.data() && copy.getSIArray() != lent.data() &&
                    twin.getSIArray() == from.getSIArray() && from.getIndex() == 2);
    }
}

TEST(NumberHandle, ShapeAndKind)
{
    RecordingClient client;
    std::pair<Dims, std::string_view> const shapes[] = {
        // scalar, empty, vector, row, column
        {{1, 1}, "svrc"}, {{1, 3}, "vr"}, {{3, 1}, "vc"},  {{2, 3}, ""}, {{3, 2}, ""},
        {{1, 2, 3}, ""},  {{0, 4}, "e"},  {{1, 0}, "evr"}, {{3}, ""},    {{1}, "s"}};
    for (auto const& [dims, answers] : shapes) {
        SCOPED_TRACE(testing::PrintToString(dims));
        Number const a = shaped(dims, Type{}, client);
        bool const is[] = {a.isScalar(), a.isEmpty(), a.isVector(), a.isRow(), a.isColumn()};
        for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(is[i], answers.find("sevrc"[i]) != answers.npos) << i;
        EXPECT_TRUE(dimsOf(a) == dims && a.getNumberOfRows() == dims[0] &&
                    a.getNumberOfColumns() == (dims.size() == 1 ? 1 : dims[1]));
        for (auto const& other : shapes)
            EXPECT_EQ(a.isSameSize(shaped(other.first, s(40), client)), other.first == dims);
        Number grown(a);
        grown.setNumberOfElements(a.getNumberOfElements() + 1);
        EXPECT_TRUE(!a.isSameSize(grown) && dimsOf(grown) == dims);
    }
    Dims const sizes{6, 5, 4};
    Number a = numberOf(s(16), {{1}, {2}, {3}, {4}}, client);
    a.setNDims(3);
    a.setDims(sizes.data());
    a.setNDims(3); // no change
    EXPECT_THROW(a.setNDims(~0ULL), std::bad_alloc);
    EXPECT_TRUE(dimsOf(a) == sizes && &std::as_const(a)[7] == &a && a.getIndex() == 7) << "nothing checks it";
}

TEST(NumberHandle, ReadsAndWrites)
{
    for (Type const& type : allKindsOfTypes())
        for (bool const isComplex : {false, true}) {
            bool const isFixed = type.mode == fxpModeDataTypeFixed;
            if (isComplex && !isFixed) continue;
            SCOPED_TRACE(testing::Message() << type << (isComplex ? " complex" : ""));
            RecordingClient client;
            std::size_t const step = isComplex ? 2 : 1;
            Number a = valued({-3.0, 43.1, 41.7, 45.0, -1.0, 40.0}, type, client, isComplex);
            std::unique_ptr<double[]> const newSi(a.getAllSIDoubleValues(nullptr));
            for (std::size_t part = 0; part < 6; ++part)
                EXPECT_EQ(newSi[part],
                          part % step == 1 ? a.getImagSIDoubleValue() : a[part / step].getSIDoubleValue());
            Storage wanted = storageOf(a);
            auto const expectLast = [&](Number const& written, double value, double imag) {
                wanted.put(2 * step, storedOf(value, type, nearestSaturate).pattern);
                if (isComplex) wanted.put(5, storedOf(imag, type, nearestSaturate).pattern);
                EXPECT_TRUE(&written == &a && storageOf(a) == wanted && a.getIndex() == 2) << value;
            };
            double const pair[] = {44.0, 42.0};
            expectLast(a[2] = 41.0, 41.0, type.bias); // a stored 0
            expectLast(a = static_cast<double const*>(pair), 44.0, 42.0);
            Number b = valued({1.0, 2.0, 46.0, 47.0}, type, client, isComplex);
            b.setIndex(step == 2 ? 1 : 2);
            expectLast(a = b, 46.0, 47.0); // from cursor to cursor
            Type const stripped = fixedType(type.isSigned(), type.wordLength);
            for (bool const isMax : {false, true}) {
                if (!isFixed) continue;
                Number const limit = isMax ? a.getMaxSIValue() : a.getMinSIValue();
                EXPECT_EQ(elementsOf(limit), (Elements{{isMax ? maxStored(type) : minStored(type)}}));
                EXPECT_EQ(state(limit), state(stripped, {1, 1}, 1));
            }
        }
}

TEST(NumberHandle, Disp)
{
    RecordingClient client;
    Number const array = numberOf(s(40, -4), {{2, 9}, {160000000000LL, 9}}, client);
    std::string const text = printedBy([&] {
        Number(-1.25, s(16, -4), client, nearest, wrap).disp();
        array.disp();
        valued({24.0, 8.0}, scaledDouble(u(12, 3)), client).disp();
        valued({0.1}, Type::doubleDataType(), client).disp();
        valued({}, Type::singleDataType(), client).disp();
    });
    EXPECT_EQ(
        text,
        "\n-1.25\n      DataType: Fixed\n        Signed: True\n    WordLength: 16\nFractionLength: 4\n\n"
        "\n0.125 1e+10 \n      DataType: Fixed\n        Signed: True\n    WordLength: 40\n"
        "FractionLength: 4\n\n\n24 8 \n      DataType: ScaledDouble\n        Signed: False\n"
        "    WordLength: 12\nFractionLength: -3\n\n\n0.1\n      DataType: Double\n"
        "\n\n      DataType: Single\n");
    EXPECT_EQ(array.getIndex(), 0U);
}

TEST(NumberHandle, ArrayEqualsLeavesCursorsWhereAHookThrows)
{
    RecordingClient client;
    Number target = shaped({1, 4}, s(4), client), source = numberOf(s(8), {{1}, {2}, {9}, {3}}, client);
    client.throwAt = 0;
    EXPECT_THROW(Number::arrayEquals(target, source), RecordingClient::Thrown);
    EXPECT_EQ(elementsOf(target), (Elements{{1}, {2}, {7}, {0}}));
    EXPECT_TRUE(target.getIndex() == 2 && source.getIndex() == 2);
    // So does a report of a net bias, in few elements and in many.
    for (std::size_t const count : {5U, 20U}) {
        RecordingClient reported;
        Number const biased = numberOf(u(8), Elements(count, {1}), reported);
        Number wide = numberOf(fixedType(false, 16, 0, 1.0, -5.0), Elements(count, {9}), reported);
        reported.throwAt = 3;
        EXPECT_THROW(Number::arrayEquals(wide, biased), RecordingClient::Thrown);
        EXPECT_TRUE(wide.getIndex() == 3 && biased.getIndex() == 3) << count;
    }
}

// Which conversions are left undone above 500 elements.
TEST(NumberHandle, ArrayEqualsAboveTheLimitLeavesSomeUndone)
{
    std::array const types{s(16, -2), Type::doubleDataType(), Type::singleDataType(),
                           scaledDouble(s(16, -2))};
    RecordingClient client;
    for (std::size_t const count : {500U, 501U})
        for (Type const& to : types)
            for (Type const& from : types)
                for (bool const isComplex : {false, true}) {
                    SCOPED_TRACE(testing::Message() << count << ' ' << to << from << isComplex);
                    bool const isDone = count <= 500 || (to.mode == fxpModeDataTypeFixed &&
                                                         from.mode == fxpModeDataTypeFixed);
                    Number const source = valued(Values(count, 1.5), from, client),
                                 converted(source, to, nearest, wrap);
                    Number target = valued(Values((isComplex ? 2 : 1) * count, 9.0), to, client, isComplex);
                    Number::arrayEquals(target, source);
                    EXPECT_EQ(target[count - 1].getRWDoubleValue(), isDone ? 1.5 : 9.0);
                    EXPECT_EQ(converted[count - 1].getRWDoubleValue(), isDone ? 1.5 : 0.0);
                    // Of a real source: cleared element by element, left alone in bulk.
                    EXPECT_EQ(target.getImagRWDoubleValue(), count <= 500 || !target.isComplex() ? 0.0 : 9.0);
                }
}

TEST(NumberHandle, SetWordLengthByBuckets)
{
    constexpr std::array lengths{-3, 0, 1, 8, 9, 12, 16, 17, 32, 33, 64, 65, 100, 128, 129, 192, 193};
    auto const bucket = [](int w) {
        return w <= 8 ? 1 : w <= 16 ? 2 : w <= 32 ? 4 : w <= 64 ? 8 : 100 + (w + 63) / 64;
    };
    RecordingClient client;
    for (int const present : lengths)
        for (int const wanted : lengths)
            for (int i = 0; i < 4; ++i) {
                bool const isComplex = i % 2 != 0, isLent = i > 1, isSame = bucket(present) == bucket(wanted),
                           isKept = isSame || isLent;
                Type const type = s(present, -2, 1.5, 4.0);
                Storage lent(type, 6);
                for (std::size_t part = 0; part < 6; ++part)
                    lent.put(part, std::vector<Chunk>(4, 0x7A5A5A5A5A5A5A5A));
                std::size_t const count = isComplex ? 3 : 6;
                Number a(count, 2, Dims{3, 2}.data(), type, client, floor_, wrap, isComplex);
                isLent ? a.setSIArray(lent.data()) : a.copyDataIntoSIArray(lent.data(), count);
                a.setIndex(1);
                a.setWordLength(wanted);
                EXPECT_EQ(state(a), state(isSame   ? s(wanted, -2, 1.5, 4.0)
                                          : isKept ? type
                                                   : s(wanted, -2),
                                          {3, 2}, count, isComplex, isKept, {floor_, wrap}, isLent))
                    << present;
                EXPECT_EQ(Storage(isKept ? type : s(wanted), 6, a.getSIArray()),
                          isKept ? lent : Storage(s(wanted), 6))
                    << present << " to " << wanted << isComplex << isLent;
            }
    Number real(2.5, Type::doubleDataType(), client, nearest, wrap);
    real.setWordLength(20);
    EXPECT_EQ(real.getDataType(), s(20)) << "another bucket makes any number fixed";
}

TEST(NumberHandle, TypeChangesPartsAndTransposition)
{
    for (int i = 0; i < 16; ++i) {
        int const bits = std::array{8, 12, 64, 100}[static_cast<std::size_t>(i % 4)];
        std::size_t const columns = i < 8 ? 3 : 300, count = 2 * columns; // walks at any size
        bool const isComplex = i / 4 % 2 != 0;
        SCOPED_TRACE(testing::Message() << bits << (isComplex ? " complex, " : " real, ") << columns);
        RecordingClient client;
        Type const type = s(bits, -2, 1.5, 1.0), other = s(bits, 4, 1.25), next = s(bits + 70, -2, 1.5, 1.0),
                   bare = u(bits - 1, 9), container = s(static_cast<int>(8 * containerBytes(type)));
        Elements elements, wrapped, reals, imags, complexes, transposed, conjugated;
        Events wraps;
        for (std::size_t k = 0; k < count; ++k) {
            // At its container's width the minimum is its own negative.
            Int const re = Int(k % 10) - 3, im = k == 1 ? minStored(type) : Int(k % 7) - 5;
            reals.push_back({re}), imags.push_back({isComplex ? im : Int(0)});
            complexes.push_back({re, imags[k][0]});
            elements.push_back(isComplex ? complexes[k] : reals[k]);
            wrapped.push_back(elements[k]);
            for (Int& part : wrapped[k]) {
                if (part < 0) wraps.push_back(Event::wrap);
                part = wrapTo(part, bare);
            }
        }
        for (std::size_t k = 0; k < count; ++k) { // a column of 2 x n is a row of n x 2
            transposed.push_back(elements[2 * (k % columns) + k / columns]);
            conjugated.push_back(transposed[k]);
            if (isComplex) conjugated[k][1] = wrapTo(-conjugated[k][1], container);
        }
        Dims const dims{2, columns}, three{2, columns, 1};
        Number a = numberOf(type, elements, client, nearestSaturate, dims);
        auto const expect = [&](Number const& result, std::string const& wantedState, Elements const& wanted,
                                Events const& events = {}) {
            EXPECT_EQ(state(result), wantedState);
            EXPECT_TRUE(elementsOf(result) == wanted && client.events() == events) << wantedState;
            EXPECT_EQ(a.getDataType(), type);
            client.clear();
        };
        auto const recast = [&](Type const& to) { return state(to, dims, count, isComplex, 0, {floor_, 0}); };
        a.setIndex(1);
        expect(a.stripScaling(), recast(s(bits)), elements);
        expect(a.reinterpretCast(other), recast(other), elements);
        expect(a.reinterpretCast(bare), recast(bare), wrapped, wraps); // bare integers
        client.throwAt = 0;
        EXPECT_THROW(a.reinterpretCast(bare), RecordingClient::Thrown);
        EXPECT_EQ(a.getDataType(), type) << "after a hook has thrown";
        client.throwAt = RecordingClient::never;
        client.clear();
        a.setIndex(1);
        expect(a.rescale(other), state(other, dims, count, isComplex), elements);
        // Across buckets as many bytes are copied as both have.
        Number const wide = a.rescale(s(bits + 70));
        EXPECT_TRUE(elementsOf(wide.rescale(type)) == elements && elementsOf(wide).back().back() == 0);
        expect(a.real(), state(type, {1, 1}, 1), {reals[1]});
        expect(a.imag(), state(type, {1, 1}, 1), {imags[1]});
        std::unique_ptr<Number> const imagArray(&a.imagArray());
        EXPECT_EQ(a.getIndex(), 1U);
        expect(*imagArray, state(type, dims, count), imags);
        expect(a.realArray(), state(type, dims, count), reals);
        EXPECT_EQ(a.getIndex(), count - 1);
        for (bool const toComplex : {false, true}) {
            Number b(a), c(a);
            b.setIndex(1), c.setIndex(1);
            b.setDataTypeComplexityAndReAllocateData(next, toComplex);
            c.setDataTypeComplexityReAllocateAndCopyData(next, toComplex);
            Elements const zeros(count, Element(toComplex ? 2 : 1, -3)); // 0.0 is -2.67 units
            expect(b, state(next, dims, count, toComplex), zeros);
            expect(c, state(next, dims, count, toComplex, 1), toComplex ? complexes : reals);
            Storage lent = storageOf(a);
            Number external(lent.data(), type, client, count, nearest, saturate, isComplex);
            external.setDataTypeComplexityAndReAllocateData(next, toComplex);
            external.setDataTypeComplexityReAllocateAndCopyData(next, toComplex);
            expect(external, state(type, {1, count}, count, isComplex, 0, nearestSaturate, true), elements);
        }
        a.setNDims(3);
        a.setDims(three.data());
        expect(a.transpose(), state(type, {columns, 2}, count, isComplex), transposed);
        EXPECT_EQ(a.getIndex(), count - 1);
        expect(a.ctranspose(), state(type, {columns, 2}, count, isComplex), conjugated);
        // Sizes are not checked against the count; what they promise beyond it is not there.
        a.setNDims(2);
        a.setDims(Dims{4, 2}.data());
        EXPECT_EQ(elementsOf(a.transpose())[1], elements[4]);
        EXPECT_EQ(elementsOf(a.transpose())[5], columns == 3 ? Element(elements[0].size(), -3) : elements[6]);
    }
    // Between modes: as numbers. Scaled doubles among themselves: the same doubles, told to nobody.
    RecordingClient client;
    Number number(600, 2, Dims{1, 600}.data(), scaledDouble(s(8, -2, 1.5, 1.0)), client, nearest, saturate,
                  false);
    number.copyDataIntoSIArray(Values(600, -100.5).data(), 600);
    for (Type const& to : {scaledDouble(s(5, 4, 1.25)), Type::doubleDataType(), s(16, 7)})
        EXPECT_EQ(number.reinterpretCast(to)[599].getSIDoubleValue(), to == s(16, 7) ? -101.0 : -100.5) << to;
    EXPECT_EQ(client.events(), Events{});
}

TEST(NumberHandle, WithoutABodyThrowsOnUse)
{
    RecordingClient client;
    Type const boolean = withMode(u(8), fxpModeDataTypeBoolean);
    double const one = 1.0;
    for (int const mode : {4, 5, -1, INT_MAX}) {
        Type const type = withMode(s(16), static_cast<fxpModeDataType>(mode));
        EXPECT_THROW(Number(1.0, type, client, nearest, wrap).isBoolean(), std::logic_error);
        EXPECT_THROW(Number(&one, &one, type, client, 1, nearest, wrap).isBoolean(), std::logic_error);
    }
    Number none(1.0, boolean, client, nearest, wrap), real(1.0, s(16), client, nearest, wrap);
    std::function<void()> const uses[] = {[&] { none.isBoolean(); },
                                          [&] { none[0]; },
                                          [&] { none.setWordLength(12); },
                                          [&] { none.setDataTypeComplexityAndReAllocateData(s(16), false); },
                                          [&] { none.transpose(); },
                                          [&] { none.disp(); },
                                          [&] { none = real; },
                                          [&] { real = none; },
                                          [&] { none + real; },
                                          [&] { real + none; },
                                          [&] { Number::arrayEquals(real, none); },
                                          [&] { Number{none}; },
                                          [&] { Number(none, share); },
                                          [&] { real.rescale(boolean); }};
    for (auto const& use : uses) EXPECT_THROW(use(), std::logic_error) << &use - uses;
    EXPECT_EQ(elementsOf(real), Elements{{1}});
    Number const converted(real, boolean, nearest, wrap); // may be made, and destroyed
}

TEST(Cast, ConvertsAnyShapeAndTellsTheClientOfTheInput)
{
    std::pair<Elements, Dims> const inputs[] = {{{{100}}, {1, 1}},
                                                {{}, {0, 3}},
                                                {{{1}, {-90}, {2}, {77}, {100}, {5}}, {2, 3}},
                                                {{{1, 100}, {-99, 7}, {60, 61}, {3, 5}}, {2, 1, 2}}};
    Modes const modes{fxpModeRoundingConvergent, 1};
    for (auto const& [elements, dims] : inputs)
        for (Type const& to : {s(5, -2), u(3), s(90, 1), fixedType(true, 4, -2, 1.0, 100.0)}) {
            SCOPED_TRACE(testing::Message() << to << testing::PrintToString(elements));
            RecordingClient own, client;
            Number const input = numberOf(fixedType(true, 8, -3, 1.0, to.bias), elements, client,
                                          {fxpModeRoundingZero, 0}, dims);
            input.setIndex(1);
            Number want(elements.size(), dims.size(), dims.data(), to, client, modes.rounding(),
                        modes.overflow(), input.isComplex()); // a biased result begins as 0.0
            Number::arrayEquals(want, input);
            Events const heard = client.events();
            Cast const cast(to, own, modes.rounding(), modes.overflow());
            for (bool const isCast : {false, true}) { // the converting constructor is the same
                client.clear();
                Number const got =
                    isCast ? cast(input) : Number(input, to, modes.rounding(), modes.overflow());
                EXPECT_TRUE(elementsOf(got) == elementsOf(want) && client.events() == heard &&
                            own.events().empty() && &got.getFxpClient() == &client && input.getIndex() == 1);
                EXPECT_EQ(state(got), state(want));
            }
        }
}

TEST(Cast, CopiesKeepTheirSettingsAndLeaveDoublesAlone)
{
    RecordingClient client;
    Cast cast(s(8, -3), client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
    cast.setIsSigned(false), cast.setWordLength(70), cast.setFractionLength(5);
    Cast const copy(cast);
    cast.setRoundMode(fxpModeRoundingZero), cast.setWordLength(8);
    EXPECT_TRUE(copy.getDataType() == u(70, -5) && copy.getRoundMode() == nearest && copy(1.2345) == 1.2345);
}

} // namespace
