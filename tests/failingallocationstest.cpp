/// Every public operation with each of its allocations failing in turn: nothing leaks, what is only read
/// stays as it was, what is written is old or new element by element, and the same operation then succeeds.
#include "support/allocations.h"
#include "support/numbers.h"

#include <orvex/orvex.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string_view>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

constexpr auto nearest = fxpModeRoundingNearest;
constexpr auto saturate = fxpModeOverflowSaturate;
constexpr auto share = NumberUtils::copyIndexOnly;
Type const T = fixedType(true, 200, -60), Odd = fixedType(true, 24, -9, 1.3, 0.7);

/// Operands of an operation: `a` may be written, the others are read.
struct World {
    RecordingClient client;
    std::vector<double> values;
    Number a, b, one;
    World(Type const& type, std::size_t count, bool isComplex)
        : values(2 * count, 2.5), a(make(type, count, isComplex, 1)), b(make(type, count, isComplex, 2)),
          one(make(type, 1, isComplex, 3))
    {
        client.clear();
    }
    Number make(Type const& type, std::size_t count, bool isComplex, int first)
    {
        std::vector<double> content(2 * count);
        for (std::size_t i = 0; i < content.size(); ++i) content[i] = first + static_cast<double>(i % 5) / 2;
        return Number(content.data(), type, client, count, nearest, saturate, isComplex);
    }
};
using Run = std::function<void(World&)>;
using N = Number;

std::vector<std::pair<char const*, Run>> const readers{
    {"value", [](World& w) { N(1.5, w.a.getDataType(), w.client, nearest, saturate); }},
    {"complex value", [](World& w) { N(1.5, 2.5, w.a.getDataType(), w.client, nearest, saturate); }},
    {"array",
     [](World& w) {
         N(w.values.data(), w.a.getDataType(), w.client, w.values.size(), nearest, saturate, false);
     }},
    {"pairs",
     [](World& w) { N(w.values.data(), w.values.data(), T, w.client, w.values.size(), nearest, saturate); }},
    {"copies", [](World& w) { N copy(w.a), twin(w.a, share), cast(w.a, Odd, nearest, saturate); }},
    {"Cast", [](World& w) { ORVEX::Cast(Odd, w.client, nearest, saturate)(w.a); }},
    {"reads",
     [](World& w) {
         std::unique_ptr<double[]> const real(w.a.getAllRWDoubleValues()), stored(w.a.getAllSIDoubleValues());
         std::unique_ptr<float[]> const single(w.a.getAllRWSingleValues());
         w.a.getRWDoubleValue(), w.a.getSIDoubleValue(), w.a.getSIArrayInHex();
     }},
    {"extremes", [](World& w) { w.a.getMaxSIValue(), w.a.getMinSIValue(); }},
    {"reinterpretations", [](World& w) { w.a.stripScaling(), w.a.reinterpretCast(T), w.a.rescale(T); }},
    {"parts", [](World& w) { w.a.real(), w.a.imag(), w.a.realArray(), delete &w.a.imagArray(); }},
    {"transpositions", [](World& w) { w.a.transpose(), w.a.ctranspose(); }},
    {"disp", [](World& w) { w.a.disp(); }},
    {"output types",
     [](World& w) {
         N const& a = w.b;
         a.setDataTypeForBinaryOpOutput(Odd), a.setDataTypeForNonAssignmentOpPlus(T),
             a.setDataTypeForNonAssignmentOpTimes(T);
         N const twin(a, share);
         a + w.a, a - w.a, a* w.a;
         a.resetDataTypeForBinaryOpOutput(), a.resetDataTypeForNonAssignmentOpPlus(),
             a.resetDataTypeForNonAssignmentOpTimes();
     }},
    {"+", [](World& w) { w.a + w.b; }},
    {"-", [](World& w) { w.a - w.one; }},
    {"*", [](World& w) { w.a* w.b; }},
    {"divide", [](World& w) { N::divide(w.a, w.b, T); }},
    {"arrayPlus",
     [](World& w) { N::arrayPlus(w.a, w.b), N::arrayPlus(w.a, w.one, T), N::arrayPlus(w.one, w.b, T, Odd); }},
    {"arrayMinus",
     [](World& w) {
         N::arrayMinus(w.a, w.b), N::arrayMinus(w.a, w.one, T), N::arrayMinus(w.a, w.b, T, Odd);
     }},
    {"arrayTimes", [](World& w) { N::arrayTimes(w.a, w.b), N::arrayTimes(w.a, w.b, T); }},
    {"arrayTimes, out",
     [](World& w) { N::arrayTimes(w.a, w.b, T, Odd), N::arrayTimes(w.a, w.one, T, T, Odd); }},
    {"arrayDivide", [](World& w) { N::arrayDivide(w.a, w.b, T), N::arrayDivide(w.a, w.one, Odd); }},
    {"compares",
     [](World& w) {
         (void)(w.a == w.b), (void)(w.a != w.b), (void)(w.a < w.b), (void)(w.a > w.b), (void)(w.a <= w.b),
             (void)(w.a >= w.b);
     }},
    {"array compares",
     [](World& w) {
         for (auto const compare :
              {&N::arrayIsEqual, &N::arrayIsNotEqual, &N::arrayIsLessThan, &N::arrayIsGreaterThan,
               &N::arrayIsLessThanOrEqualTo, &N::arrayIsGreaterThanOrEqualTo})
             std::unique_ptr<bool[]> const results((w.a.*compare)(w.b, nullptr));
     }},
    {"bit logic",
     [](World& w) { N::bitAnd(w.a, w.b), N::bitOr(w.a, w.b), N::bitXor(w.a, w.b), N::bitCmp(w.a); }},
    {"array bit logic",
     [](World& w) {
         N::arrayBitAnd(w.a, w.b), N::arrayBitOr(w.a, w.b), N::arrayBitXor(w.a, w.b), N::arrayBitCmp(w.a);
     }},
    {"bits",
     [](World& w) { w.a.bitGet(2), w.a.getLSB(), w.a.getMSB(), w.a.arrayGetLSB(), w.a.arrayGetMSB(); }},
    {"listed bits",
     [](World& w) {
         w.a.arrayBitGet({2}), w.one.arrayBitGet({1, 2, 3});
     }},
    {"shapes that disagree", [](World& w) { N::arrayPlus(w.make(T, 2, false, 0), w.make(T, 4, false, 0)); }},
    {"bit out of range", [](World& w) { w.a.bitGet(1000); }},
};

std::vector<std::pair<char const*, Run>> const writers{
    {"= double", [](World& w) { w.a = 1.25; }},
    {"= doubles", [](World& w) { w.a = w.values.data(); }},
    {"= number", [](World& w) { w.a = w.b; }},
    {"= number of another type", [](World& w) { w.a = N(7.0, Odd, w.client, nearest, saturate); }},
    {"setValue", [](World& w) { w.a.setValue(w.values.data()); }},
    {"arrayEquals", [](World& w) { N::arrayEquals(w.a, w.b); }},
    {"arrayEquals of one", [](World& w) { N::arrayEquals(w.a, w.one); }},
    {"arrayEquals of another type", [](World& w) { N::arrayEquals(w.a, N(w.b, Odd, nearest, saturate)); }},
    {"extremes", [](World& w) { w.a.setMaxRWValue(), w.a.setMinRWValue(), w.a.setMinPositiveRWValue(); }},
    {"+=", [](World& w) { w.a += w.b; }},
    {"-=", [](World& w) { w.a -= N(1.0, Odd, w.client, nearest, saturate); }},
    {"*=", [](World& w) { w.a *= w.b; }},
    {"arrayPlusEquals", [](World& w) { w.a.arrayPlusEquals(w.b); }},
    {"bitSet", [](World& w) { w.a.bitSet(1, true); }},
    {"arrayBitSet", [](World& w) { w.a.arrayBitSet({2}); }},
    {"shifts", [](World& w) { w.a.bitShiftRightArith(1); }},
    {"left shift", [](World& w) { w.a.bitShiftArith(70); }},
    {"array shift", [](World& w) { w.a.arrayBitShiftRightLogical(1); }},
    {"array left shift", [](World& w) { w.a.arrayBitShiftArith(3); }},
    {"rotation", [](World& w) { w.a.bitRotateLeft(3); }},
    {"array rotation", [](World& w) { w.a.arrayBitRotateRight(3); }},
};

/// What tells whether two numbers are the same to a user.
struct State {
    Elements elements;
    Dims dims;
    Type type;
    explicit State(N const& number)
        : elements(elementsOf(number)), dims(dimsOf(number)), type(number.getDataType())
    {
    }
    bool operator==(State const&) const = default;
    /// Element by element the one or the other.
    bool isBetween(State const& old, State const& done) const
    {
        if (dims != old.dims || !(type == old.type)) return false;
        for (std::size_t i = 0; i < elements.size(); ++i)
            for (std::size_t part = 0; part < elements[i].size(); ++part)
                if (elements[i][part] != old.elements[i][part] && elements[i][part] != done.elements[i][part])
                    return false;
        return true;
    }
};

/// Runs it, with all cursors at the start; false if memory runs out.
bool finishes(Run const& run, World& world, long failing)
{
    for (N const* number : {&world.a, &world.b, &world.one}) number->setIndex(0);
    try {
        FailingAllocation const failure(failing);
        run(world);
    } catch (std::bad_alloc const&) {
        return false;
    } catch (kvxDiagnosticException const&) { // the operation's own answer
    }
    return true;
}

long checkAllocations(char const* name, Run const& run, bool writes, Type const& type, std::size_t count,
                      bool isComplex)
{
    World undisturbed(type, count, isComplex);
    State const a(undisturbed.a), b(undisturbed.b), one(undisturbed.one);
    EXPECT_TRUE(finishes(run, undisturbed, -1)); // also fills caches
    State const done(undisturbed.a);
    EXPECT_TRUE(writes || done == a) << name;
    long failures = 0;
    bool succeeded = false;
    // Of long arrays a sample: an allocation for each element is like the next one.
    for (long n = 0; !succeeded; n += count == 3 || n < 12 ? 1 : n / 2) {
        SCOPED_TRACE(testing::Message()
                     << name << ' ' << type << ", elements " << count << isComplex << ", allocation " << n);
        long const before = liveBlocks();
        {
            World world(type, count, isComplex);
            succeeded = finishes(run, world, n);
            failures += succeeded ? 0 : 1;
            State const now(world.a);
            EXPECT_TRUE(now.isBetween(a, writes ? done : a));
            EXPECT_TRUE(State(world.b) == b && State(world.one) == one);
            if (now == a) {
                EXPECT_TRUE(finishes(run, world, -1) && State(world.a) == done);
            }
        }
        if (count <= 250) { // the workers of parallel forms keep blocks of their own
            EXPECT_EQ(liveBlocks(), before);
        }
        if (testing::Test::HasFailure()) break;
    }
    return failures;
}

/// What an operation prints is not looked at here.
class FailingAllocations : public testing::Test
{
protected:
    void SetUp() override { before_ = std::cout.rdbuf(&silent_); }
    void TearDown() override { std::cout.rdbuf(before_); }

private:
    struct : std::streambuf {
        int overflow(int c) override { return c; }
    } silent_;
    std::streambuf* before_ = nullptr;
};

TEST_F(FailingAllocations, OfNumbers)
{
    long failures = 0;
    for (Type const& type : {s(8), u(33, -3), s(64, -10), s(100), s(200, -20), Odd, Type::doubleDataType(),
                             Type::singleDataType(), withMode(s(16, -4), fxpModeDataTypeScaledDouble)})
        for (bool const isComplex : {false, true}) {
            for (auto const& [name, run] : readers)
                failures += checkAllocations(name, run, false, type, 3, isComplex);
            for (auto const& [name, run] : writers)
                failures += checkAllocations(name, run, true, type, 3, isComplex);
            ASSERT_FALSE(HasFailure());
        }
    EXPECT_GT(failures, 2000);
}

// Those that run in parallel, or in blocks. Only this thread's allocations fail.
TEST_F(FailingAllocations, OfLongArrays)
{
    for (auto const& [type, isComplex] : {std::pair{s(16, -4), false}, {s(150), true}, {Odd, false}}) {
        for (auto const& [name, run] : readers)
            if (std::string_view(name).starts_with("array"))
                checkAllocations(name, run, false, type, 501, isComplex);
        for (auto const& [name, run] : writers)
            if (std::string_view(name).starts_with("array") || std::string_view(name) == "setValue")
                checkAllocations(name, run, true, type, 501, isComplex);
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(FailingAllocations, OfEverythingElse)
{
    FxpClientNull client;
    fxpProdHardware const micro(ProdHWDeviceMicro, 8, 16, 32, 64, FxpHardwareRoundingZero);
    FxpClientWithReporting reporting(micro);
    double const values[]{1.0, 2.0, 3.0, 4.0};
    int asked = 0;
    using Body = std::unique_ptr<NumberBody>;
    using Factory = NumberBodyFactory;
    std::function<void()> const operations[] = {
        [&] { Body(Factory::createNumberBody(values, T, client, 2, nearest, saturate, true)); },
        [&] { Body(Factory::createNumberBody(values, values, T, client, 4, nearest, saturate)); },
        [&] {
            Chunk lent[8]{};
            Body const body(Factory::createNumberBody(lent, T, client, 2, nearest, saturate, false));
            Body const copy(Factory::createNumberBody(body.get())),
                twin(Factory::createNumberBody(copy.get(), share));
            twin->setNumberOfElements(9), copy->setNDims(5), copy->setNumberOfElements(1);
        },
        [&] {
            for (double const value : values)
                ORVEX::mpr_quantize(client, value, fixedType(true, 300, -9), nearest, 1);
        },
        [&] { // a question that no cache has heard
            Type between, target = fixedType(true, 16, -3, 1.7, 5.0),
                          source = fixedType(true, 16, ++asked, 1.3);
            fxpOperationChoices const request{0, 1, 0};
            fxpOperationChoices first, second;
            ORVEX::selectCastIntermediateDataType(reporting, &between, &first, &second, &target, &source,
                                                  &request);
        },
        [&] {
            Type out;
            fxpSelectRadixTypeConditions conditions;
            ORVEX::selectRadixDataType(client, &out, &Odd, &micro, &conditions);
            ORVEX::selectRadixDataType_WithTerms(client, &out, &Odd, &micro);
            ORVEX::selectRadixDataTypeMax(client, &out, &Odd),
                ORVEX::selectRadixDataTypeMaxWL(client, &out, &Odd);
            ORVEX::selectSlopeCorrectionDataType(&out, &Odd, 1.3);
        },
        [&] {
            double slope = 0.0;
            Type type;
            Chunk chunks[2];
            fxpScalarOversized word;
            ORVEX::getDTCSlopeCorrectionMode(reporting, Odd, T, &slope, &type, chunks, nearest);
            ORVEX::getDTCSlopeCorrectionMode(reporting, Odd, T, &slope, &type, &word, nearest);
            ORVEX::warnDifferentBestPrecisionScalingToAvoidOverflow(1.999, 8, 1, -6);
        },
        [&] {
            (void)ORVEX::castCanLosePrecision(Odd, T),
                (void)ORVEX::parameterCastCanBeOutOfBounds(client, Odd, T);
            CastMixFloatFixptRealization(Odd, Type::doubleDataType(), true, true);
        },
        [&] {
            Type type = fixedType(true, 8, 0, -1.0);
            ORVEX::slopeNormalize(client, &type);
        },
        [&] {
            FxpClientFullPrecision full;
            FxpClientWithReporting copy(reporting);
            copy = reporting;
            for (OrvexClientInterface* const of : std::initializer_list<OrvexClientInterface*>{&full, &copy})
                std::unique_ptr<OrvexClientInterface>(of->clone());
        },
        [&] {
            ORVEX::EventCounter counter;
            Number const many(values, T, counter, 4, nearest, saturate, false);
            ORVEX::EventLog log =
                ORVEX::replayStore(counter, values, 4, fixedType(true, 4, 2), nearest, saturate);
            log = ORVEX::replayCast(many, fixedType(true, 4, 2), nearest, saturate);
            log = ORVEX::replay(many, many, [](Number const& x, Number const& y) { return x * y; });
            (void)(log.text() + counter.summary() + counter.table());
            for (OrvexClientInterface* const of :
                 std::initializer_list<OrvexClientInterface*>{&counter, &log})
                std::unique_ptr<OrvexClientInterface>(of->clone());
        },
        [&] {
            fxpProdHardware copy(micro), other = fxpProdHardware::getASICTypeHardware();
            other = copy;
            std::unique_ptr<fxpProdHardware>(other.clone());
            copy.createAsicDevice(), copy.createMicroDevice(8, 16, 32, 32);
            HWIntegerWordLengths& lengths = *copy.getHWIntegerWordlengths();
            lengths.addNewWordLength(48), lengths.removeLargestWordLength();
            for (auto i = lengths.beginUniqueIterator(); i != lengths.endUniqueIterator(); ++i) (void)*i;
            ORVEX::cacheKeyType key(&copy), keyCopy(key);
        },
        [&] {
            KvxFeature const feature("name", "a description that needs memory of its own", "path", "part", 1,
                                     0, nullptr);
            (void)KvxFeature::find("a name that is longer than what a string holds in itself");
        },
        [&] { NumberUtils::throwIExceptionFromMessageID(Orvex::number::ArrayDimMustAgree()); },
        [&] { (void)kvx_dtoa(1.0 / 3, false); },
    };
    auto const before = kvxSetWarningHandler([](kvxDiagnosticImpl const&) {});
    auto const run = [&](std::function<void()> const& operation, long failing) {
        try {
            FailingAllocation const failure(failing);
            operation();
        } catch (std::bad_alloc const&) {
            return false;
        } catch (kvxDiagnosticException const&) {
        }
        return true;
    };
    for (std::size_t i = 0; i < std::size(operations); ++i) {
        EXPECT_TRUE(run(operations[i], -1));
        for (long n = 0; n < 1000; ++n) {
            SCOPED_TRACE(testing::Message() << "operation " << i << ", allocation " << n);
            long const live = liveBlocks();
            if (run(operations[i], n)) break;
            EXPECT_LE(liveBlocks(), live); // a full cache has made room
            EXPECT_TRUE(n < 999 && run(operations[i], -1));
        }
    }
    kvxSetWarningHandler(before);
}

} // namespace
