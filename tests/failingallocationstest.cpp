/// Every public operation with each of its allocations failing in turn: nothing leaks, what is only read
/// stays as it was, what is written is old or new element by element, and the same operation then succeeds.
/// Then the same operations with hooks that throw, and on numbers that share their storage.
#include "support/allocations.h"
#include "support/numbers.h"

#include <orvex/orvex.h>
#include <orvex/text/type.h>
#include <orvex/text/value.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace
{
using namespace orvextest;
using namespace ORVEX::text;
using Type = fxpDataTypeProp;
using N = Number;
using Factory = NumberBodyFactory;

constexpr auto nearest = fxpModeRoundingNearest;
constexpr auto saturate = fxpModeOverflowSaturate;
constexpr auto share = NumberUtils::copyIndexOnly;
Type const T = s(200, -60), Odd = s(24, -9, 1.3, 0.7);
Type const biased = u(8, 0, 1.0, 300.0); // without a stored integer for 0.0
Dims const fourDims{3, 1, 1, 1};
Storage lent(s(300), 2000);
fxpProdHardware const micro(ProdHWDeviceMicro, 8, 16, 32, 64, FxpHardwareRoundingZero);
FxpClientWithReporting reporting(micro); // which keeps nothing that it hears
std::vector<Chunk> const chunks = chunksOf(-12345, T);

/// Operands of an operation: `a` may be written, the others are read.
struct World {
    RecordingClient client;
    std::vector<double> values;
    N a, b, one;
    World(Type const& type, std::size_t count, bool isComplex)
        : values(2 * count, 2.5), a(make(type, count, isComplex, 1)), b(make(type, count, isComplex, 2)),
          one(make(type, 1, isComplex, 3))
    {
        client.clear();
    }
    N make(Type const& type, std::size_t count, bool isComplex, int first)
    {
        std::vector<double> content(2 * count);
        for (std::size_t i = 0; i < content.size(); ++i) content[i] = first + static_cast<double>(i % 5) / 2;
        return N(content.data(), type, client, count, nearest, saturate, isComplex);
    }
};

enum Zeros { untold, none, once, perElement, perPart };

/// An operation, called by its text. Some fill parts of a new number with 0.0, and tell of it.
struct Operation {
    std::string_view name;
    void (*run)(World&);
    Zeros zeros = untold;
    Event ofBiased = Event::saturationToMin;
    Operation fills(Zeros count, Event event = Event::saturationToMin) const
    {
        return {name, run, count, event};
    }
};
// clang-format off
#define RUN(...) Operation{#__VA_ARGS__, [](World& w) { \
    [[maybe_unused]] auto& [client, values, a, b, one] = w; (void)(__VA_ARGS__); }}
// clang-format on
template <class... All>
std::vector<Operation> list(All const&... operations)
{
    return {operations...};
}
template <class... Results>
void use(Results&&...)
{
}

void compareArrays(N const& a, N const& b)
{
    for (auto const compare :
         {&N::arrayIsEqual, &N::arrayIsNotEqual, &N::arrayIsLessThan, &N::arrayIsGreaterThan,
          &N::arrayIsLessThanOrEqualTo, &N::arrayIsGreaterThanOrEqualTo})
        std::unique_ptr<bool[]> const results((a.*compare)(b, nullptr));
}

std::vector<Operation> const readers = list(
    RUN(N(1.5, a.getDataType(), client, nearest, saturate)),
    RUN(N(1.5, 2.5, a.getDataType(), client, nearest, saturate)),
    RUN(N(values.data(), a.getDataType(), client, values.size(), nearest, saturate, false)),
    RUN(N(values.data(), values.data(), T, client, values.size(), nearest, saturate)),
    RUN(N(lent.data(), a.getDataType(), client, 2, nearest, saturate, true)).fills(none),
    RUN(N(a.getNumberOfElements(), 4, fourDims.data(), biased, client, nearest, saturate, a.isComplex()))
        .fills(perPart),
    RUN(N(a)).fills(none), RUN(N(a, share)).fills(none), RUN(N(a, Odd, nearest, saturate)),
    RUN(N(a, biased, nearest, saturate)).fills(perPart),
    RUN(ORVEX::Cast(biased, client, nearest, saturate)(a)).fills(perPart),
    RUN(std::unique_ptr<double[]>(a.getAllRWDoubleValues())).fills(none), RUN(a.getMaxSIValue()).fills(none),
    RUN(a.getMinSIValue()).fills(none), RUN(a.stripScaling()).fills(none), RUN(a.rescale(T)),
    RUN(a.rescale(biased)).fills(perPart), RUN(a.reinterpretCast(T)),
    RUN(a.reinterpretCast(biased)).fills(perPart, Event::wrap), RUN(a.real()).fills(once),
    RUN(a.imag()).fills(once), RUN(a.realArray()).fills(perElement),
    RUN(std::unique_ptr<N>(&a.imagArray())).fills(perElement), RUN(a.transpose()).fills(perPart),
    RUN(a.ctranspose()).fills(perPart), RUN(a.disp()),
    RUN(b.setDataTypeForBinaryOpOutput(Odd), b.setDataTypeForNonAssignmentOpPlus(T),
        b.setDataTypeForNonAssignmentOpTimes(T), N(b, share), b + a, b - a, b* a,
        b.resetDataTypeForBinaryOpOutput(), b.resetDataTypeForNonAssignmentOpPlus(),
        b.resetDataTypeForNonAssignmentOpTimes()),
    RUN(a + b), RUN(a - one), RUN(a* b), RUN(N::divide(a, b, T)), RUN(N::arrayPlus(a, b)),
    RUN(N::arrayPlus(a, one, T)), RUN(N::arrayPlus(one, b, T, Odd)), RUN(N::arrayMinus(a, b)),
    RUN(N::arrayMinus(a, one, T)), RUN(N::arrayMinus(a, b, T, Odd)), RUN(N::arrayTimes(a, b)),
    RUN(N::arrayTimes(a, b, T)), RUN(N::arrayTimes(a, b, T, Odd)), RUN(N::arrayTimes(a, one, T, T, Odd)),
    RUN(N::arrayDivide(a, b, T)), RUN(N::arrayDivide(a, one, Odd)), RUN(N::bitAnd(a, b)), RUN(N::bitOr(a, b)),
    RUN(N::bitXor(a, b)), RUN(N::bitCmp(a)), RUN(N::arrayBitAnd(a, b)), RUN(N::arrayBitOr(a, b)),
    RUN(N::arrayBitXor(a, b)), RUN(N::arrayBitCmp(a)), RUN(a.bitGet(2)), RUN(a.getLSB()), RUN(a.getMSB()),
    RUN(a.arrayGetLSB()), RUN(a.arrayGetMSB()), RUN(a.arrayBitGet({2})), RUN(one.arrayBitGet({1, 2, 3})),
    RUN(N::arrayPlus(w.make(T, 2, false, 0), w.make(T, 4, false, 0))), RUN(a.bitGet(1000)), RUN(toDecimal(a)),
    RUN(toDecimal(a, 2)), RUN(toHex(a)), RUN(toBinary(a)), RUN(ORVEX::text::toString(a)),
    RUN(use(a == b, a != b, a<b, a> b, a <= b, a >= b)), RUN(compareArrays(a, b)),
    RUN(use(std::unique_ptr<double[]>(a.getAllSIDoubleValues()),
            std::unique_ptr<float[]>(a.getAllRWSingleValues()), a.getRWDoubleValue(), a.getSIDoubleValue(),
            a.getSIArrayInHex())));

std::vector<Operation> const writers =
    list(RUN(a = 1.25), RUN(a = values.data()), RUN(a = b), RUN(a = N(7.0, Odd, client, nearest, saturate)),
         RUN(a.setValue(values.data())), RUN(N::arrayEquals(a, b)), RUN(N::arrayEquals(a, one)),
         RUN(N::arrayEquals(a, N(b, Odd, nearest, saturate))), RUN(a.setMaxRWValue()), RUN(a.setMinRWValue()),
         RUN(a.setMinPositiveRWValue()), RUN(a += b), RUN(a -= N(1.0, Odd, client, nearest, saturate)),
         RUN(a *= b), RUN(a.arrayPlusEquals(b)), RUN(a.bitSet(1, true)), RUN(a.arrayBitSet({2})),
         RUN(a.bitShiftRightArith(1)), RUN(a.bitShiftArith(70)), RUN(a.arrayBitShiftRightLogical(1)),
         RUN(a.arrayBitShiftArith(3)), RUN(a.bitRotateLeft(3)), RUN(a.arrayBitRotateRight(3)),
         RUN(fromDecimal(a, "2.71828")), RUN(fromHex(a, "0x1")), RUN(fromBinary(a, "0b10")));

/// These give a number storage or shape of its own, or not: all or nothing.
std::vector<Operation> const shapers = list(
    RUN(a.setDataTypeForBinaryOpOutput(s(9))).fills(none), RUN(a.setNumberOfElements(1200)).fills(none),
    RUN(a.setNumberOfElements(1)).fills(none), RUN(a.setSIArray(lent.data())).fills(none),
    RUN(a.setNDims(4)).fills(none), RUN(a.setDims(fourDims.data())).fills(none),
    RUN(a.setFixedExponent(5), a.setIsSigned(true), a.setOverflowMode(fxpModeOverflowWrap), a.setIndex(1))
        .fills(none),
    RUN(a.setWordLength(a.getWordLength() - 1)).fills(none), RUN(a.setWordLength(300)).fills(none),
    RUN(a.setDataTypeComplexityAndReAllocateData(biased, a.isComplex())).fills(perPart),
    RUN(a.setDataTypeComplexityReAllocateAndCopyData(biased, a.isComplex())).fills(perPart));

enum class Kind { reads, writes, shapes };
std::pair<Kind, std::vector<Operation> const&> const kinds[] = {
    {Kind::reads, readers}, {Kind::writes, writers}, {Kind::shapes, shapers}};

/// What tells whether two numbers are the same to a user.
struct State {
    Elements elements;
    Dims dims;
    Type type;
    int round, overflow;
    bool isExternal;
    explicit State(N const& number)
        : elements(elementsOf(number)), dims(dimsOf(number)), type(number.getDataType()),
          round(number.getRoundMode()), overflow(number.getOverflowMode()),
          isExternal(number.dataIsExternal())
    {
    }
    bool operator==(State const&) const = default;
    /// Element by element the one or the other.
    bool isBetween(State const& old, State const& done) const
    {
        State mixed = old;
        for (std::size_t i = 0; i < elements.size(); ++i)
            for (std::size_t part = 0; part < elements[i].size(); ++part)
                if (elements[i][part] == done.elements[i][part]) mixed.elements[i][part] = elements[i][part];
        return *this == mixed;
    }
};

/// Runs it, with all cursors at the start; false if memory runs out.
template <class Run>
bool finishes(Run const& run, long failing)
{
    try {
        FailingAllocation const failure(failing);
        run();
    } catch (std::bad_alloc const&) {
        return false;
    } catch (std::exception const&) { // the operation's own answer
    }
    return true;
}
bool finishes(Operation const& operation, World& world, long failing)
{
    for (N const* number : {&world.a, &world.b, &world.one}) number->setIndex(0);
    return finishes([&] { operation.run(world); }, failing);
}

/// With a twin of `a` or without.
long checkAllocations(Operation const& operation, Kind kind, Type const& type, std::size_t count,
                      bool isComplex, bool hasTwin)
{
    World undisturbed(type, count, isComplex);
    State const a(undisturbed.a), b(undisturbed.b), one(undisturbed.one);
    EXPECT_TRUE(finishes(operation, undisturbed, -1)); // also fills caches
    State const done(kind == Kind::writes ? undisturbed.a : World(type, count, isComplex).a);
    long failures = 0;
    bool succeeded = false;
    // Of long arrays a sample: an allocation for each element is like the next one.
    for (long n = 0; !succeeded && !testing::Test::HasFailure(); n += count == 3 || n < 12 ? 1 : n / 2) {
        SCOPED_TRACE(testing::Message() << operation.name << ' ' << type << ", elements " << count
                                        << isComplex << ", twin " << hasTwin << ", allocation " << n);
        long const before = liveBlocks();
        {
            World world(type, count, isComplex);
            std::optional<N> const twin =
                hasTwin ? std::optional<N>(std::in_place, world.a, share) : std::nullopt;
            succeeded = finishes(operation, world, n);
            failures += succeeded ? 0 : 1;
            bool const isShaped = succeeded && kind == Kind::shapes;
            EXPECT_TRUE(isShaped || State(world.a).isBetween(a, done));
            EXPECT_TRUE(State(world.b) == b && State(world.one) == one);
            if (!isShaped && State(world.a) == a) {
                EXPECT_TRUE(finishes(operation, world, -1) &&
                            (kind == Kind::shapes || State(world.a) == done));
            }
            EXPECT_TRUE(!hasTwin || kind == Kind::writes || (State(*twin) == a && twin->getIndex() == 0));
        }
        if (count <= 250) { // the workers of parallel forms keep blocks of their own
            EXPECT_EQ(liveBlocks(), before);
        }
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
                             Type::singleDataType(), scaledDouble(s(16, -4))})
        for (bool const isComplex : {false, true})
            for (auto const& [kind, operations] : kinds)
                for (Operation const& operation : operations) {
                    failures +=
                        checkAllocations(operation, kind, type, 3, isComplex, isComplex != (type == Odd));
                    ASSERT_FALSE(HasFailure());
                }
    EXPECT_GT(failures, 2000);
}

// Those that run in parallel, or in blocks. Only this thread's allocations fail.
TEST_F(FailingAllocations, OfLongArrays)
{
    for (auto const& [type, isComplex] : {std::pair{s(16, -4), false}, {s(150), true}, {Odd, false}})
        for (auto const& [kind, operations] : kinds)
            for (Operation const& operation : operations)
                if (operation.name.find("array") != std::string_view::npos ||
                    operation.name.find("setValue") != std::string_view::npos) {
                    checkAllocations(operation, kind, type, 501, isComplex, false);
                    ASSERT_FALSE(HasFailure());
                }
}

/// A question that no cache has heard.
void askForIntermediate(OrvexClientInterface& client)
{
    static int asked = 0;
    Type between, target = s(16, -3, 1.7, 5.0), source = s(16, ++asked, 1.3);
    fxpOperationChoices const request{0, 1, 0};
    fxpOperationChoices first, second;
    ORVEX::selectCastIntermediateDataType(client, &between, &first, &second, &target, &source, &request);
}
void changeBodies(OrvexClientInterface& client)
{
    Chunk own[8]{};
    std::unique_ptr<NumberBody> const body(
        Factory::createNumberBody(own, T, client, 2, nearest, saturate, false)),
        copy(Factory::createNumberBody(body.get())), twin(Factory::createNumberBody(copy.get(), share));
    twin->setNumberOfElements(9), copy->setNDims(5), copy->setNumberOfElements(1);
}
void changeHardware()
{
    fxpProdHardware copy(micro), other = fxpProdHardware::getASICTypeHardware();
    other = copy;
    std::unique_ptr<fxpProdHardware>(other.clone());
    copy.createAsicDevice(), copy.createMicroDevice(8, 16, 32, 32);
    HWIntegerWordLengths& lengths = *copy.getHWIntegerWordlengths();
    lengths.addNewWordLength(48), lengths.removeLargestWordLength();
    for (auto i = lengths.beginUniqueIterator(); i != lengths.endUniqueIterator(); ++i) (void)*i;
    ORVEX::cacheKeyType key(&copy), keyCopy(key);
}
template <class Client, class... Arguments>
void copyClient(Arguments const&... arguments)
{
    Client client(arguments...), copy(client);
    copy = client;
    std::unique_ptr<OrvexClientInterface>(copy.clone());
}
void replay(World& w)
{
    ORVEX::EventLog log = ORVEX::replayStore(w.client, w.values.data(), 3, s(4, -2), nearest, saturate);
    log = ORVEX::replayCast(w.a, s(4, -2), nearest, saturate);
    log = ORVEX::replay(w.a, w.b, [](N const& x, N const& y) { return x * y; });
    use(log.text(), ORVEX::EventCounter().summary(), ORVEX::EventCounter().table());
}
void slopes(OrvexClientInterface& client)
{
    double slope = 0.0;
    Type type = s(8, 0, -1.0);
    Chunk two[2];
    fxpScalarOversized word;
    ORVEX::getDTCSlopeCorrectionMode(client, Odd, T, &slope, &type, two, nearest);
    ORVEX::getDTCSlopeCorrectionMode(client, Odd, T, &slope, &type, &word, nearest);
    ORVEX::warnDifferentBestPrecisionScalingToAvoidOverflow(1.999, 8, 1, -6);
    ORVEX::selectSlopeCorrectionDataType(&type, &Odd, 1.3);
    ORVEX::slopeNormalize(client, &(type = s(8, 0, -1.0)));
}
void radixTypes(OrvexClientInterface& client)
{
    Type out;
    fxpSelectRadixTypeConditions conditions;
    ORVEX::selectRadixDataType(client, &out, &Odd, &micro, &conditions);
    ORVEX::selectRadixDataType_WithTerms(client, &out, &Odd, &micro);
    ORVEX::selectRadixDataTypeMax(client, &out, &Odd), ORVEX::selectRadixDataTypeMaxWL(client, &out, &Odd);
}
void typeTexts()
{
    for (int notation = 0; notation < 7; ++notation)
        readType(ORVEX::text::toString(T, static_cast<TypeNotation>(notation)));
}

using Body = std::unique_ptr<NumberBody>;
std::vector<Operation> const others = list(
    RUN(Body(Factory::createNumberBody(values.data(), T, reporting, 2, nearest, saturate, true))),
    RUN(Body(Factory::createNumberBody(values.data(), values.data(), T, reporting, 4, nearest, saturate))),
    RUN(changeBodies(reporting)), RUN(ORVEX::mpr_quantize(reporting, 3.25, s(300, -9), nearest, 1)),
    RUN(askForIntermediate(reporting)), RUN(radixTypes(reporting)), RUN(slopes(reporting)),
    RUN(use(ORVEX::castCanLosePrecision(Odd, T), ORVEX::parameterCastCanBeOutOfBounds(reporting, Odd, T),
            CastMixFloatFixptRealization(Odd, Type::doubleDataType(), true, true))),
    RUN(copyClient<FxpClientFullPrecision>()), RUN(copyClient<FxpClientWithReporting>(micro)),
    RUN(copyClient<ORVEX::EventCounter>()), RUN(copyClient<ORVEX::EventLog>()), RUN(replay(w)),
    RUN(changeHardware()),
    RUN(KvxFeature("name", "a description that needs memory of its own", "path", "part", 1, 0, nullptr)),
    RUN(KvxFeature::find("a name that is longer than what a string holds in itself")),
    RUN(NumberUtils::throwIExceptionFromMessageID(Orvex::number::ArrayDimMustAgree())),
    RUN(kvx_dtoa(1.0 / 3, false)), RUN(typeTexts()),
    RUN(use(ORVEX::text::toString(Odd), readTarget("8,16,32,64"), readTarget("asic"))),
    RUN(readType("s16,slope=1.25*2^-7,bias=-40.00000000000000000001")),
    RUN(readType("a text that is longer than what a string holds in itself")),
    RUN(use(toDecimal(chunks.data(), T), toDecimal(chunks.data(), T, 3), toHex(chunks.data(), T),
            toBinary(chunks.data(), T))),
    RUN(fromDecimal(reporting, "-1234567890123456789e-19", T, nearest, saturate)), RUN(fromHex("0x1.8", T)),
    RUN(fromBinary("0b1.01", T)), RUN(fromDecimal(reporting, "1234567890,", T, nearest, saturate)),
    RUN(ParseError("s8,x", 3, "a digit expected").caret()));

TEST_F(FailingAllocations, OfEverythingElse)
{
    auto const before = kvxSetWarningHandler([](kvxDiagnosticImpl const&) {});
    World world(s(8), 3, false);
    for (Operation const& operation : others) {
        EXPECT_TRUE(finishes(operation, world, -1));
        for (long n = 0; n < 1000; ++n) {
            SCOPED_TRACE(testing::Message() << operation.name << ", allocation " << n);
            long const live = liveBlocks();
            if (finishes(operation, world, n)) break;
            EXPECT_LE(liveBlocks(), live); // a full cache has made room
            EXPECT_TRUE(n < 999 && finishes(operation, world, -1));
        }
    }
    kvxSetWarningHandler(before);
}

// A new number is filled through its own quantizer, which tells of each part; a hook that throws leaks
// nothing.
TEST(Lifetime, ZeroFillTellsAndMayThrow)
{
    for (auto const& [kind, operations] : kinds)
        for (Operation const& operation : operations)
            for (std::size_t const count : {1U, 3U, 251U, 600U})
                for (bool const isComplex : {false, true}) {
                    if (operation.zeros == untold) continue;
                    std::size_t const parts = isComplex ? 2 * count : count,
                                      times[] = {0, 0, 1, count, parts};
                    Events const wanted(times[operation.zeros], operation.ofBiased);
                    for (std::size_t const throwAt :
                         {RecordingClient::never, std::size_t{0}, wanted.size() / 2}) {
                        SCOPED_TRACE(testing::Message() << operation.name << ' ' << count << isComplex
                                                        << ", throwing at " << throwAt);
                        long const before = liveBlocks();
                        bool thrown = false, right = true;
                        {
                            World world(biased, count, isComplex);
                            world.client.throwAt = throwAt;
                            try {
                                operation.run(world);
                            } catch (RecordingClient::Thrown const&) {
                                thrown = true;
                            }
                            right = thrown || world.client.events() == wanted;
                        }
                        EXPECT_EQ(thrown, throwAt < wanted.size());
                        EXPECT_TRUE(right);
                        EXPECT_TRUE(parts > 500 ||
                                    liveBlocks() == before); // workers keep blocks of their own
                    }
                }
}

// A number, a twin, the twin's twin and a deep copy die in every order. Who is left reads on, and what one
// twin writes the others read.
TEST(Lifetime, TwinsDieInEveryOrder)
{
    Elements const first{{1, -1}, {2, -2}, {3, -3}};
    for (Type const& type : {s(8), s(40), s(100)})
        for (bool const isLent : {false, true}) {
            std::array<std::size_t, 4> order{0, 1, 2, 3};
            do {
                RecordingClient client;
                Elements wanted = first;
                Storage storage = storageOf(type, first);
                std::unique_ptr<N> numbers[4] = {std::make_unique<N>(numberOf(type, first, client))};
                if (isLent) numbers[0]->setSIArray(storage.data());
                numbers[0]->setDataTypeForBinaryOpOutput(s(9));
                (*numbers[0])[1] + *numbers[0]; // caches a type
                numbers[1] = std::make_unique<N>(*numbers[0], share);
                numbers[2] = std::make_unique<N>(*numbers[1], share);
                numbers[3] = std::make_unique<N>(*numbers[0]);
                EXPECT_TRUE(numbers[2]->getDataTypeForBinaryOpOutput() == s(9) &&
                            !numbers[3]->isDataTypeForBinaryOpOutputUserSpecified());
                EXPECT_EQ(numbers[1]->getIndex() + numbers[2]->getIndex() + numbers[3]->getIndex(), 0U);
                for (std::size_t const dying : order) {
                    numbers[dying].reset();
                    for (std::size_t i = 0; i < 3; ++i) {
                        if (numbers[i] == nullptr) continue;
                        wanted[i] = {40 + dying, 0};
                        (*numbers[i])[i] = static_cast<double>(40 + dying);
                    }
                    for (std::size_t i = 0; i < 4; ++i)
                        EXPECT_TRUE(numbers[i] == nullptr ||
                                    elementsOf(*numbers[i]) == (i == 3 ? first : wanted));
                }
                EXPECT_EQ(storage, storageOf(type, isLent ? wanted : first));
            } while (std::ranges::next_permutation(order).found);
        }
}

} // namespace
