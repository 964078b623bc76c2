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
    fxpDataTypeProp target, a, b;
    Modes modes;
    bool isComplex;
    bool scalarB;
    unsigned long long count;
    Bytes targetBytes, aBytes, bBytes;
};

/// Words within the type, now and then at its ends, and in some arrays anything that the container holds.
Bytes randomWords(Random& random, fxpDataTypeProp const& type, std::size_t parts)
{
    bool const wild = random.between(0, 9) == 0;
    int const spread = random.between(1, type.wordLength); // small values overflow rarely
    Bytes bytes(parts * containerBytes(type));
    for (std::size_t i = 0; i < parts; ++i) {
        int const drop = 64 - (random.between(0, 20) == 0 ? type.wordLength : spread);
        Chunk word = wild ? random.bits() : random.bits() >> drop << drop;
        if (!wild)
            word = type.isSigned() ? static_cast<Chunk>(static_cast<long long>(word) >> drop) : word >> drop;
        std::memcpy(bytes.data() + i * containerBytes(type), &word, containerBytes(type));
    }
    return bytes;
}

Case randomCase(Random& random, int maxBits, bool withScaling)
{
    auto const type = [&] {
        fxpDataTypeProp t = random.radixType(maxBits, -12, 4);
        // The net slope of a signed 1-bit source is 0, which a cast between different biases throws out.
        if (withScaling) t.wordLength = std::max(2, t.wordLength);
        if (withScaling && random.coin()) t.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.25, 1.5});
        if (withScaling && random.coin()) t.bias = random.pick(std::array{0.0, 1.0, -0.75});
        return t;
    };
    Case c{type(), type(), type(), {random.pick(allRoundings), random.between(0, 1)}, false, false, 0,
           {},     {},     {}};
    if (!withScaling && random.coin()) c.a = random.coin() ? c.target : c.b;
    c.isComplex = random.between(0, 3) == 0;
    c.scalarB = random.between(0, 3) == 0;
    c.count = random.pick(std::array{15ull, 16ull, 17ull, 100ull, 499ull, 500ull});
    if (c.isComplex) c.count = std::min(c.count, 250ull); // filling a biased result runs in parallel above
    std::size_t const parts = c.count * (c.isComplex ? 2 : 1);
    c.targetBytes = randomWords(random, c.target, parts);
    c.aBytes = randomWords(random, c.a, parts);
    c.bBytes = randomWords(random, c.b, parts);
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
    auto const number = [&](Bytes& bytes, fxpDataTypeProp const& type, unsigned long long count) {
        return Number(static_cast<void*>(bytes.data()), type, client, count,
                      static_cast<fxpModeRounding_tag>(c.modes.round),
                      static_cast<fxpModeOverflow_tag>(c.modes.sat), c.isComplex);
    };
    Number target = number(trace.result, c.target, c.count);
    Number x = number(a, c.a, c.count);
    Number y = number(b, c.b, c.scalarB ? 1 : c.count);
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

struct Operation {
    char const* name;
    std::function<void(Number&, Number&, Number&)> array, scalar;
};

/// Copies a result's words over the target's, so that both forms leave theirs in the same place.
void keep(Number& target, Number const& result)
{
    std::memcpy(const_cast<void*>(target.getSIArray()), result.getSIArray(),
                target.getNumberOfElements() * (target.isComplex() ? 2 : 1) *
                    containerBytes(target.getDataType()));
}

Number zeros(Number const& like, fxpDataTypeProp const& type)
{
    return {like.getNumberOfElements(), like.getNDims(),     like.getDims(),         type,
            like.getFxpClient(),        like.getRoundMode(), like.getOverflowMode(), like.isComplex()};
}

std::vector<Operation> const& operations()
{
    static std::vector<Operation> const all{
        {"arrayEquals", [](Number& t, Number&, Number& b) { Number::arrayEquals(t, b); },
         [](Number& t, Number& a, Number& b) { walk(t, a, b, [&] { t = b; }); }},
        {"arrayPlusEquals", [](Number& t, Number&, Number& b) { t.arrayPlusEquals(b); },
         [](Number& t, Number& a, Number& b) { walk(t, a, b, [&] { t += b; }); }},
        {"arrayPlus",
         [](Number& t, Number& a, Number& b) { keep(t, Number::arrayPlus(a, b, t.getDataType())); },
         [](Number& t, Number& a, Number& b) {
             Number r = zeros(t, t.getDataType());
             walk(r, a, b, [&] {
                 r = a;
                 r += b;
             });
             keep(t, r);
         }},
        {"arrayMinus",
         [](Number& t, Number& a, Number& b) { keep(t, Number::arrayMinus(a, b, t.getDataType())); },
         [](Number& t, Number& a, Number& b) {
             Number r = zeros(t, t.getDataType());
             walk(r, a, b, [&] {
                 r = a;
                 r -= b;
             });
             keep(t, r);
         }},
        {"arrayTimes of reals",
         [](Number& t, Number& a, Number& b) {
             if (!t.isComplex()) keep(t, Number::arrayTimes(a, b, t.getDataType(), t.getDataType()));
         },
         [](Number& t, Number& a, Number& b) {
             if (t.isComplex()) return;
             Number r = zeros(t, t.getDataType());
             walk(r, a, b, [&] { // the products of the array form, one element at a time
                 Number const x = a.real();
                 Number const y = b.real();
                 r = Number::arrayTimes(x, y, t.getDataType(), t.getDataType());
             });
             keep(t, r);
         }},
    };
    return all;
}

class Bulk : public testing::TestWithParam<bool>
{
};

TEST_P(Bulk, LeavesAndTellsWhatTheScalarOperationsDo)
{
    Random random(GetParam() ? 11 : 7);
    for (int round = 0; round < 1500; ++round) {
        Case c = randomCase(random, random.pick(std::array{8, 16, 32, 64}), GetParam());
        Operation const& operation = operations()[static_cast<std::size_t>(round) % operations().size()];
        // Products made one by one would fill a result each, which a biased type reports.
        if (operation.name == operations().back().name) c.target.bias = c.a.bias = c.b.bias = 0.0;
        std::size_t const throwAt =
            random.coin() ? RecordingClient::never : static_cast<std::size_t>(random.between(0, 9));
        Trace const wanted = run(c, throwAt, operation.scalar);
        Trace const got = run(c, throwAt, operation.array);
        // A product formed for a number that is then assigned is stored later than one in place: only the
        // words count.
        bool const same = wanted.events == got.events && wanted.result == got.result &&
                          (wanted.seen == got.seen || operation.name == operations().back().name);
        ASSERT_TRUE(same) << operation.name << " case " << round << c.modes << "\n"
                          << c.target << "\n"
                          << c.a << "\n"
                          << c.b << "\n"
                          << c.count << (c.isComplex ? " complex" : "") << (c.scalarB ? " scalar b" : "")
                          << ", events " << wanted.events.size() << " and " << got.events.size() << ", words "
                          << (wanted.result == got.result ? "same" : "differ");
    }
}

INSTANTIATE_TEST_SUITE_P(Scaling, Bulk, testing::Values(false, true));

/// Doubles through setValue and one by one, with rare and with frequent events.
TEST(BulkReals, SetValueStoresAndTellsWhatAssignmentDoes)
{
    Random random(3);
    for (int round = 0; round < 1500; ++round) {
        Case c = randomCase(random, random.pick(std::array{8, 16, 32, 64}), random.coin());
        if (random.between(0, 4) == 0) c.target.wordLength = random.between(65, 200);
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
        Case c = randomCase(random, random.pick(std::array{8, 16, 32, 64}), random.coin());
        if (random.coin()) c.b = c.a, c.bBytes = c.aBytes;
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
            std::size_t const parts = c.isComplex ? 2 : 1;
            std::vector<double> values(c.count * parts);
            std::vector<float> singles(c.count * parts);
            a.getAllRWDoubleValues(values.data());
            a.getAllRWSingleValues(singles.data());
            for (unsigned long long i = 0; i < c.count; ++i) {
                ASSERT_TRUE(sameDouble(values[i * parts], a[i].getRWDoubleValue())) << round << ' ' << c.a;
                ASSERT_EQ(singles[i * parts], static_cast<float>(values[i * parts]));
                if (c.isComplex) {
                    ASSERT_TRUE(sameDouble(values[i * 2 + 1], a.getImagRWDoubleValue()));
                }
            }
            a.getAllSIDoubleValues(values.data());
            for (unsigned long long i = 0; i < c.count; ++i)
                ASSERT_TRUE(sameDouble(values[i * parts], a[i].getSIDoubleValue())) << round << ' ' << c.a;
        });
    }
}

} // namespace
} // namespace orvextest
