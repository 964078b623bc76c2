/// Array operations against the scalar operations on the same elements: stored words, events in order, what
/// is stored at each event, and what a throwing hook leaves.
#include "support/recordingclient.h"
#include "support/storage.h"

#include <orvex/number/number.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>

namespace orvextest
{
namespace
{

using ORVEX::Number;
using Bytes = std::vector<unsigned char>;

/// What a run has left and, at each event, what the target held.
struct Trace {
    Events events;
    std::vector<Bytes> seen;
    Bytes result;
    bool operator==(Trace const&) const = default;
};

/// One case: types, modes and stored words, at random.
struct Case {
    fxpDataTypeProp target, a, b, product;
    Modes modes;
    bool isComplex;          ///< the target
    bool complexA, complexB; ///< only if it is
    bool scalarB;
    unsigned long long count;
    Bytes targetBytes, aBytes, bBytes;
};

/// Words within the type, now and then at its ends, and in some arrays anything that the container holds.
Bytes randomWords(Random& random, fxpDataTypeProp const& type, std::size_t parts)
{
    bool const wild = random.between(0, 9) == 0;
    int const spread = random.between(1, type.wordLength); // small values overflow rarely
    Bytes bytes;
    for (std::size_t i = 0; i < parts; ++i) {
        int const kept = wild                         ? static_cast<int>(8 * containerBytes(type))
                         : random.between(0, 20) == 0 ? type.wordLength
                                                      : spread;
        Int const value =
            wrapTo((Int(random.bits()) << 64) + random.bits(), fixedType(type.isSigned(), kept));
        std::vector<Chunk> const chunks = chunksOf(value, (containerBytes(type) + 7) / 8);
        auto const* const from = reinterpret_cast<unsigned char const*>(chunks.data());
        bytes.insert(bytes.end(), from, from + containerBytes(type));
    }
    return bytes;
}

constexpr std::array widths{8, 16, 32, 64, 128};

Case randomCase(Random& random, bool withScaling)
{
    int const maxBits = random.pick(widths);
    int const finest = random.coin() ? -12 : -maxBits / 2;
    auto const type = [&] {
        fxpDataTypeProp t = random.radixType(random.coin() ? maxBits : random.pick(widths), finest, 4);
        // The net slope of a signed 1-bit source is 0, which a cast between different biases throws out.
        if (withScaling) t.wordLength = std::max(2, t.wordLength);
        if (withScaling && random.coin()) t.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.25, 1.5});
        if (withScaling && random.coin()) t.bias = random.pick(std::array{0.0, 1.0, -0.75});
        return t;
    };
    Case c{};
    c.target = type(), c.a = type(), c.b = type(), c.product = type();
    c.modes = {random.pick(allRoundings), random.between(0, 1)};
    if (!withScaling && random.coin()) c.a = random.coin() ? c.target : c.b;
    if (!withScaling && random.coin()) { // what holds the operands
        c.target.wordLength = std::min(128, std::max(c.a.wordLength, c.b.wordLength) + random.between(0, 40));
        c.product = fixedType(c.a.isSigned() || c.b.isSigned(), c.a.wordLength + c.b.wordLength,
                              c.a.fixedExponent + c.b.fixedExponent);
    }
    if (random.between(0, 3) == 0) c.product = c.target;
    c.isComplex = random.between(0, 2) == 0;
    c.complexA = c.isComplex && random.between(0, 3) != 0;
    c.complexB = c.isComplex && (!c.complexA || random.between(0, 3) != 0);
    c.scalarB = random.between(0, 3) == 0;
    c.count = random.pick(std::array{15ull, 16ull, 17ull, 100ull, 499ull, 500ull});
    if (random.between(0, 7) == 0) c.count = random.pick(std::array{512ull, 513ull, 1100ull});
    auto const words = [&](fxpDataTypeProp const& t, bool isComplex) {
        return randomWords(random, t, c.count * (isComplex ? 2 : 1));
    };
    c.targetBytes = words(c.target, c.isComplex);
    c.aBytes = words(c.a, c.complexA);
    c.bBytes = words(c.b, c.complexB);
    return c;
}

/// Runs an operation on numbers around copies of the case's words, throwing at the k-th event.
Trace run(Case const& c, std::size_t throwAt, std::function<void(Number&, Number&, Number&)> const& operation)
{
    Trace trace{{}, {}, c.targetBytes};
    Bytes a = c.aBytes;
    Bytes b = c.bBytes;
    RecordingClient client;
    client.throwAt = throwAt;
    client.onEvent = [&](Event) {
        if (trace.seen.size() < 40) trace.seen.push_back(trace.result);
    };
    auto const number = [&](Bytes& bytes, fxpDataTypeProp const& type, unsigned long long count,
                            bool isComplex) {
        return Number(static_cast<void*>(bytes.data()), type, client, count,
                      static_cast<fxpModeRounding_tag>(c.modes.round),
                      static_cast<fxpModeOverflow_tag>(c.modes.sat), isComplex);
    };
    Number target = number(trace.result, c.target, c.count, c.isComplex);
    Number x = number(a, c.a, c.count, c.complexA);
    Number y = number(b, c.b, c.scalarB ? 1 : c.count, c.complexB);
    try {
        operation(target, x, y);
    } catch (RecordingClient::Thrown const&) {
    }
    trace.events = client.events();
    return trace;
}

/// The scalar forms walk the cursors by hand.
void walk(Number& target, Number& a, Number& b, std::function<void()> const& one)
{
    for (unsigned long long i = 0; i < target.getNumberOfElements(); ++i) {
        target.setIndex(i);
        if (!a.isScalar()) a.setIndex(i);
        if (!b.isScalar()) b.setIndex(i);
        one();
    }
}

/// An array of one element, which lanes do not take, around element i.
Number elementOf(Number const& array, unsigned long long i)
{
    std::size_t const bytes = containerBytes(array.getDataType()) * (array.isComplex() ? 2 : 1);
    auto* const first = static_cast<unsigned char*>(const_cast<void*>(array.getSIArray()));
    return {static_cast<void*>(first + (array.isScalar() ? 0 : i) * bytes),
            array.getDataType(),
            array.getFxpClient(),
            1,
            array.getRoundMode(),
            array.getOverflowMode(),
            array.isComplex()};
}

struct Operation {
    enum Needs { any, noBias, realB, typeOfA } needs;
    char const* name;
    std::function<void(Number&, Number&, Number&, fxpDataTypeProp const&)> array, scalar;
};

/// Copies a result's words over the target's, so that both forms leave theirs in the same place.
void keep(Number& target, Number const& result)
{
    ASSERT_EQ(result.getDataType(), target.getDataType());
    ASSERT_EQ(result.isComplex(), target.isComplex());
    std::memcpy(const_cast<void*>(target.getSIArray()), result.getSIArray(),
                target.getNumberOfElements() * (target.isComplex() ? 2 : 1) *
                    containerBytes(target.getDataType()));
}

Number zeros(Number const& like, fxpDataTypeProp const& type)
{
    return {like.getNumberOfElements(), like.getNDims(),     like.getDims(),         type,
            like.getFxpClient(),        like.getRoundMode(), like.getOverflowMode(), like.isComplex()};
}

/// A form that walks the elements and combines arrays of one.
auto oneByOne(Number (*combine)(Number const&, Number const&, fxpDataTypeProp const&, fxpDataTypeProp const&))
{
    return [combine](Number& t, Number& a, Number& b, fxpDataTypeProp const& product) {
        Number r = zeros(t, t.getDataType());
        walk(r, a, b, [&] {
            auto const i = r.getIndex();
            r = combine(elementOf(a, i), elementOf(b, i), product, r.getDataType());
        });
        keep(t, r);
    };
}
auto atOnce(Number (*combine)(Number const&, Number const&, fxpDataTypeProp const&, fxpDataTypeProp const&))
{
    return [combine](Number& t, Number& a, Number& b, fxpDataTypeProp const& product) {
        keep(t, combine(a, b, product, t.getDataType()));
    };
}
Number times(Number const& a, Number const& b, fxpDataTypeProp const& product, fxpDataTypeProp const& to)
{
    return Number::arrayTimes(a, b, product, to);
}
Number divide(Number const& a, Number const& b, fxpDataTypeProp const&, fxpDataTypeProp const& to)
{
    return Number::arrayDivide(a, b, to);
}

template <Number (*function)(Number const&, Number const&)>
Number ofTwo(Number const& a, Number const& b, fxpDataTypeProp const&, fxpDataTypeProp const&)
{
    return function(a, b);
}
Number complement(Number const& a, Number const&, fxpDataTypeProp const&, fxpDataTypeProp const&)
{
    return Number::arrayBitCmp(a);
}

std::vector<Operation> const& operations()
{
    using Type = fxpDataTypeProp;
    auto const sum = [](auto array, auto add) {
        return std::pair(
            [array](Number& t, Number& a, Number& b, Type const&) { keep(t, array(a, b, t.getDataType())); },
            [add](Number& t, Number& a, Number& b, Type const&) {
                Number r = zeros(t, t.getDataType());
                walk(r, a, b, [&] {
                    r = a;
                    add(r, b);
                });
                keep(t, r);
            });
    };
    auto const plus =
        sum([](auto&... x) { return Number::arrayPlus(x...); }, [](auto& r, auto& b) { r += b; });
    auto const minus =
        sum([](auto&... x) { return Number::arrayMinus(x...); }, [](auto& r, auto& b) { r -= b; });
    static std::vector<Operation> const all{
        {Operation::any, "arrayEquals",
         [](Number& t, Number&, Number& b, Type const&) { Number::arrayEquals(t, b); },
         [](Number& t, Number& a, Number& b, Type const&) { walk(t, a, b, [&] { t = b; }); }},
        {Operation::any, "arrayPlusEquals",
         [](Number& t, Number&, Number& b, Type const&) { t.arrayPlusEquals(b); },
         [](Number& t, Number& a, Number& b, Type const&) { walk(t, a, b, [&] { t += b; }); }},
        {Operation::any, "arrayPlus", plus.first, plus.second},
        {Operation::any, "arrayMinus", minus.first, minus.second},
        {Operation::noBias, "arrayTimes", atOnce(times), oneByOne(times)},
        {Operation::realB, "arrayDivide", atOnce(divide), oneByOne(divide)},
        {Operation::typeOfA, "arrayBitAnd", atOnce(ofTwo<&Number::arrayBitAnd>),
         oneByOne(ofTwo<&Number::arrayBitAnd>)},
        {Operation::typeOfA, "arrayBitOr", atOnce(ofTwo<&Number::arrayBitOr>),
         oneByOne(ofTwo<&Number::arrayBitOr>)},
        {Operation::typeOfA, "arrayBitXor", atOnce(ofTwo<&Number::arrayBitXor>),
         oneByOne(ofTwo<&Number::arrayBitXor>)},
        {Operation::typeOfA, "arrayBitCmp", atOnce(complement), oneByOne(complement)},
    };
    return all;
}

class Bulk : public testing::TestWithParam<bool>
{
};

TEST_P(Bulk, LeavesAndTellsWhatTheScalarOperationsDo)
{
    Random random(GetParam() ? 11 : 7);
    for (int round = 0; round < 4000; ++round) {
        Case c = randomCase(random, GetParam());
        Operation const& operation = operations()[static_cast<std::size_t>(round) % operations().size()];
        // Made one by one, results and intermediate ones are filled each time, which a biased type reports.
        bool const isFormedApart = operation.needs != Operation::any;
        if (isFormedApart) c.target.bias = c.a.bias = c.b.bias = c.product.bias = 0.0;
        if (operation.needs == Operation::realB && c.isComplex) {
            c.complexA = true, c.complexB = false;
            c.aBytes = randomWords(random, c.a, 2 * c.count);
        }
        if (operation.needs == Operation::typeOfA) {
            c.target = c.a;
            c.isComplex = c.complexA;
            c.targetBytes = c.aBytes;
        }
        if (operation.name == operations()[0].name && c.count > 500) continue; // in any order
        std::size_t const throwAt =
            random.coin() ? RecordingClient::never : static_cast<std::size_t>(random.between(0, 9));
        auto const with = [&](auto& form) {
            return run(c, throwAt, [&](auto& t, auto& a, auto& b) { form(t, a, b, c.product); });
        };
        Trace const wanted = with(operation.scalar);
        Trace const got = with(operation.array);
        // What is formed in a number that is then assigned is stored later than in place: only the words
        // count.
        bool const same = wanted.events == got.events && wanted.result == got.result &&
                          (wanted.seen == got.seen || isFormedApart);
        ASSERT_TRUE(same) << operation.name << " case " << round << c.modes << "\n"
                          << c.target << "\n"
                          << c.a << "\n"
                          << c.b << "\n"
                          << c.product << "\n"
                          << c.count << (c.complexA ? " complex a" : "") << (c.complexB ? " complex b" : "")
                          << (c.scalarB ? " scalar b" : "") << ", events " << wanted.events.size() << " and "
                          << got.events.size() << ", words "
                          << (wanted.result == got.result ? "same" : "differ");
    }
}

INSTANTIATE_TEST_SUITE_P(Scaling, Bulk, testing::Values(false, true));

/// Doubles through setValue and one by one, with rare and with frequent events.
TEST(BulkReals, SetValueStoresAndTellsWhatAssignmentDoes)
{
    Random random(3);
    for (int round = 0; round < 1500; ++round) {
        Case c = randomCase(random, random.coin());
        if (random.between(0, 9) == 0) { // which few threads would share
            c.target.wordLength = random.between(129, 200);
            c.count = std::min(c.count, 250ull);
        }
        std::size_t const parts = c.count * (c.isComplex ? 2 : 1);
        c.targetBytes.assign(parts * containerBytes(c.target), 0);
        int const rarity = random.pick(std::array{1, 10, 200});
        std::vector<double> values(parts);
        double const unit = std::ldexp(c.target.slopeAdjustmentFactor, c.target.fixedExponent);
        for (double& value : values) {
            value = random.between(0, rarity) == 0
                        ? (random.coin() ? random.doubleNear(c.target) : random.pick(specialDoubles()))
                        : std::ldexp(static_cast<double>(random.between(1, 1 << 20)),
                                     random.between(-20, std::max(-19, c.target.wordLength - 22))) *
                                  unit +
                              c.target.bias;
        }
        std::size_t const throwAt =
            random.coin() ? RecordingClient::never : static_cast<std::size_t>(random.between(0, 9));
        Trace const wanted = run(c, throwAt, [&](Number& t, Number&, Number&) {
            for (unsigned long long i = 0; i < c.count; ++i) {
                Number const one(values.data() + i * (parts / c.count), c.target, t.getFxpClient(), 1,
                                 t.getRoundMode(), t.getOverflowMode(), c.isComplex);
                std::size_t const bytes = c.targetBytes.size() / c.count;
                std::memcpy(static_cast<char*>(const_cast<void*>(t.getSIArray())) + i * bytes,
                            one.getSIArray(), bytes);
            }
        });
        Trace const got = run(c, throwAt, [&](Number& t, Number&, Number&) { t.setValue(values.data()); });
        ASSERT_EQ(wanted.events, got.events) << round << c.modes << ' ' << c.target;
        if (throwAt == RecordingClient::never) {
            ASSERT_EQ(wanted.result, got.result) << round << c.modes << ' ' << c.target;
        }
    }
}

/// Every comparison and read of an array, against the scalar ones.
TEST(BulkReads, ComparisonsAndReadsAgreeWithTheScalarOnes)
{
    Random random(5);
    for (int round = 0; round < 600; ++round) {
        Case c = randomCase(random, random.coin());
        if (c.count > 500) continue; // where == has rules of its own
        if (random.coin()) c.b = c.a, c.bBytes = c.aBytes, c.complexB = c.complexA;
        run(c, RecordingClient::never, [&](Number&, Number& a, Number& b) {
            std::unique_ptr<bool[]> const out(new bool[c.count]);
            using Array = bool* (Number::*)(Number const&, bool*) const;
            using Scalar = bool (*)(Number const&, Number const&);
            std::pair<Array, Scalar> const tests[] = {
                {&Number::arrayIsEqual, [](Number const& x, Number const& y) { return x == y; }},
                {&Number::arrayIsNotEqual, [](Number const& x, Number const& y) { return x != y; }},
                {&Number::arrayIsLessThan, [](Number const& x, Number const& y) { return x < y; }},
                {&Number::arrayIsGreaterThan, [](Number const& x, Number const& y) { return x > y; }},
                {&Number::arrayIsLessThanOrEqualTo, [](Number const& x, Number const& y) { return x <= y; }},
                {&Number::arrayIsGreaterThanOrEqualTo,
                 [](Number const& x, Number const& y) { return x >= y; }}};
            for (auto const& [array, scalar] : tests) {
                (a.*array)(b, out.get());
                for (unsigned long long i = 0; i < c.count; ++i)
                    ASSERT_EQ(out[i], scalar(a[i], b.isScalar() ? b : b[i]))
                        << round << ' ' << c.a << ' ' << c.b;
            }
            std::size_t const parts = c.complexA ? 2 : 1;
            std::vector<double> values(c.count * parts);
            std::vector<float> singles(c.count * parts);
            a.getAllRWDoubleValues(values.data());
            a.getAllRWSingleValues(singles.data());
            for (unsigned long long i = 0; i < c.count; ++i) {
                ASSERT_TRUE(sameDouble(values[i * parts], a[i].getRWDoubleValue())) << round << ' ' << c.a;
                ASSERT_EQ(singles[i * parts], static_cast<float>(values[i * parts]));
                if (c.complexA) {
                    ASSERT_TRUE(sameDouble(values[i * 2 + 1], a.getImagRWDoubleValue()));
                }
            }
            a.getAllSIDoubleValues(values.data());
            for (unsigned long long i = 0; i < c.count; ++i)
                ASSERT_TRUE(sameDouble(values[i * parts], a[i].getSIDoubleValue())) << round << ' ' << c.a;
        });
    }
}

/// Targets that lie on their sources, in step or not, against a walk over the elements.
TEST(BulkOverlap, ReadsAndWritesInTheOrderOfElements)
{
    Random random(9);
    for (int round = 0; round < 600; ++round) {
        Case const c = randomCase(random, false);
        auto const count = std::min(c.count, 500ull);
        std::size_t const shift = random.pick(std::array{0U, 0U, 16U, 48U}),
                          sourceShift = random.pick(std::array{0U, 16U});
        bool const sums = random.coin(), sameType = random.coin();
        Bytes const old = randomWords(random, fixedType(true, 64), 2 * 500 + 6); // 16 bytes for each
        auto const both = [&](bool walks) {
            RecordingClient client;
            Bytes bytes = old;
            auto const number = [&](fxpDataTypeProp const& type, std::size_t from) {
                return Number(static_cast<void*>(bytes.data() + from), type, client, count,
                              static_cast<fxpModeRounding_tag>(c.modes.round),
                              static_cast<fxpModeOverflow_tag>(c.modes.sat), false);
            };
            Number target = number(c.target, shift);
            Number source = number(sameType ? c.target : c.a, sourceShift);
            if (walks)
                walk(target, source, source, [&] { sums ? target += source : target = source; });
            else if (sums)
                target.arrayPlusEquals(source);
            else
                Number::arrayEquals(target, source);
            return std::pair(bytes, client.events());
        };
        ASSERT_EQ(both(true), both(false)) << round << ' ' << c.target << c.a << shift << sourceShift;
    }
}

} // namespace
} // namespace orvextest
