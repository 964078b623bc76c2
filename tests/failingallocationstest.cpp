/// Every public operation with each of its allocations failing in turn: nothing leaks, what is only read
/// stays as it was, what is written is old or new element by element, and the same operation then succeeds.
/// Then the same operations with hooks that throw, and on numbers that share their storage.
#include "support/allocations.h"
#include "support/numbers.h"

#include <orvex/orvex.h>
#include <orvex/text/type.h>
#include <orvex/text/value.h>

#include <gtest/gtest.h>

#include <memory>
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

std::vector<Operation> const ofNumbers = list(
    RUN(N(1.5, a.getDataType(), client, nearest, saturate)),
    RUN(N(1.5, 2.5, a.getDataType(), client, nearest, saturate)),
    RUN(N(values.data(), a.getDataType(), client, values.size(), nearest, saturate, false)),
    RUN(N(values.data(), values.data(), T, client, values.size(), nearest, saturate)),
    RUN(N(lent.data(), a.getDataType(), client, 2, nearest, saturate, true)).fills(none),
    RUN(N(a.getNumberOfElements(), 4, fourDims.data(), biased, client, nearest, saturate, a.isComplex()))
        .fills(perPart),
    RUN(N(a)).fills(none), RUN(N(a, share)).fills(none),
    RUN(N(N(3, 4, fourDims.data(), T, client, nearest, saturate, false), share)),
    RUN(N(a, Odd, nearest, saturate)), RUN(N(a, biased, nearest, saturate)).fills(perPart),
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
            a.getSIArrayInHex())),
    // What writes to `a`
    RUN(a = 1.25), RUN(a = values.data()), RUN(a = b), RUN(a = N(7.0, Odd, client, nearest, saturate)),
    RUN(a.setValue(values.data())), RUN(N::arrayEquals(a, b)), RUN(N::arrayEquals(a, one)),
    RUN(N::arrayEquals(a, N(b, Odd, nearest, saturate))), RUN(a.setMaxRWValue()), RUN(a.setMinRWValue()),
    RUN(a.setMinPositiveRWValue()), RUN(a += b), RUN(a -= N(1.0, Odd, client, nearest, saturate)),
    RUN(a *= b), RUN(a.arrayPlusEquals(b)), RUN(a.bitSet(1, true)), RUN(a.arrayBitSet({2})),
    RUN(a.bitShiftRightArith(1)), RUN(a.bitShiftArith(70)), RUN(a.arrayBitShiftRightLogical(1)),
    RUN(a.arrayBitShiftArith(3)), RUN(a.bitRotateLeft(3)), RUN(a.arrayBitRotateRight(3)),
    RUN(fromDecimal(a, "2.71828")), RUN(fromHex(a, "0x1")), RUN(fromBinary(a, "0b10")),
    // What gives it storage or shape of its own: all or nothing
    RUN(a.setDataTypeForBinaryOpOutput(s(9))).fills(none), RUN(a.setNumberOfElements(1200)).fills(none),
    RUN(a.setNumberOfElements(1)).fills(none), RUN(a.setSIArray(lent.data())).fills(none),
    RUN(a.setNDims(4)).fills(none), RUN(a.setDims(fourDims.data())).fills(none),
    RUN(a.setFixedExponent(5), a.setIsSigned(true), a.setOverflowMode(fxpModeOverflowWrap), a.setIndex(1))
        .fills(none),
    RUN(a.setWordLength(a.getWordLength() - 1)).fills(none), RUN(a.setWordLength(300)).fills(none),
    RUN(a.setDataTypeComplexityAndReAllocateData(biased, a.isComplex())).fills(perPart),
    RUN(a.setDataTypeComplexityReAllocateAndCopyData(biased, a.isComplex())).fills(perPart));

/// What tells whether two numbers are the same to a user.
struct State {
    Elements elements;
    Dims dims;
    Type type;
    std::pair<int, int> modes;
    bool isExternal;
    explicit State(N const& a)
        : elements(elementsOf(a)), dims(dimsOf(a)),
          type(a.getDataType()), modes{a.getRoundMode(), a.getOverflowMode()}, isExternal(a.dataIsExternal())
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
bool finishes(Operation const& operation, World& world, long failing)
{
    for (N const* number : {&world.a, &world.b, &world.one}) number->setIndex(0);
    try {
        FailingAllocation const failure(failing);
        operation.run(world);
    } catch (std::bad_alloc const&) {
        return false;
    } catch (std::exception const&) { // the operation's own answer
    }
    return true;
}

/// With a twin of `a` or without. Returns how many of its allocations have failed.
long checkAllocations(Operation const& operation, Type const& type, std::size_t count, bool isComplex,
                      bool hasTwin)
{
    World undisturbed(type, count, isComplex);
    State const a(undisturbed.a), b(undisturbed.b), one(undisturbed.one);
    EXPECT_TRUE(finishes(operation, undisturbed, -1)); // also fills caches
    State const done(undisturbed.a);
    bool const isShaped = a.dims != done.dims || !(a.type == done.type) || a.modes != done.modes ||
                          a.isExternal != done.isExternal || a.elements.size() != done.elements.size();
    long failures = 0;
    bool succeeded = false;
    // Of long arrays a sample: an allocation for each element is like the next one.
    for (long n = 0; !succeeded && !testing::Test::HasFailure(); n += count == 3 || n < 12 ? 1 : n / 2) {
        SCOPED_TRACE(testing::Message() << operation.name << ' ' << type << ", elements " << count
                                        << isComplex << ", twin " << hasTwin << ", allocation " << n);
        long const before = liveBlocks();
        {
            World world(type, count, isComplex);
            std::optional<N> twin;
            if (hasTwin) twin.emplace(world.a, share);
            succeeded = finishes(operation, world, n);
            failures += !succeeded;
            EXPECT_TRUE(isShaped ? succeeded || State(world.a) == a : State(world.a).isBetween(a, done));
            EXPECT_TRUE(State(world.b) == b && State(world.one) == one);
            if (State(world.a) == a) {
                EXPECT_TRUE(finishes(operation, world, -1) && (isShaped || State(world.a) == done));
            }
            EXPECT_TRUE(!hasTwin || !(isShaped || done == a) || (State(*twin) == a && twin->getIndex() == 0));
        }
        // Workers of parallel forms keep blocks of their own, and so does a cache.
        EXPECT_TRUE(liveBlocks() <= before || count > 250 || operation.name.starts_with("ask"));
    }
    return failures;
}

/// With a question for an intermediate type that no cache has heard.
void askForTypes(OrvexClientInterface& client)
{
    static int asked = 0;
    Type out, one = s(8, 0, -1.0), target = s(16, -3, 1.7, 5.0), source = s(16, ++asked, 1.3);
    fxpOperationChoices const request{0, 1, 0};
    fxpOperationChoices first, second;
    ORVEX::selectCastIntermediateDataType(client, &out, &first, &second, &target, &source, &request);
    fxpSelectRadixTypeConditions conditions;
    ORVEX::selectRadixDataType(client, &out, &Odd, &micro, &conditions);
    ORVEX::selectRadixDataType_WithTerms(client, &out, &Odd, &micro);
    ORVEX::selectRadixDataTypeMax(client, &out, &Odd), ORVEX::selectRadixDataTypeMaxWL(client, &out, &Odd);
    double slope = 0.0;
    Chunk two[2];
    fxpScalarOversized word;
    ORVEX::getDTCSlopeCorrectionMode(client, Odd, T, &slope, &out, two, nearest);
    ORVEX::getDTCSlopeCorrectionMode(client, Odd, T, &slope, &out, &word, nearest);
    ORVEX::warnDifferentBestPrecisionScalingToAvoidOverflow(1.999, 8, 1, -6);
    ORVEX::selectSlopeCorrectionDataType(&out, &Odd, 1.3);
    use(ORVEX::castCanLosePrecision(Odd, T), ORVEX::parameterCastCanBeOutOfBounds(client, Odd, T),
        CastMixFloatFixptRealization(Odd, Type::doubleDataType(), true, true));
    ORVEX::slopeNormalize(client, &one);
}
void changeBodies(OrvexClientInterface& client, std::vector<double>& values)
{
    using Body = std::unique_ptr<NumberBody>;
    Chunk own[8]{};
    Body const parts(Factory::createNumberBody(values.data(), T, client, 2, nearest, saturate, true)),
        two(Factory::createNumberBody(values.data(), values.data(), T, client, 4, nearest, saturate)),
        body(Factory::createNumberBody(own, T, client, 2, nearest, saturate, false)),
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
    use(readTarget("8,16,32,64"), readTarget("asic"));
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
void writeTexts()
{
    for (int notation = 0; notation < 7; ++notation)
        readType(ORVEX::text::toString(T, static_cast<TypeNotation>(notation)));
    use(ORVEX::text::toString(Odd), readType("s16,slope=1.25*2^-7,bias=-40.00000000000000000001"),
        kvx_dtoa(1.0 / 3, false), toDecimal(chunks.data(), T), toDecimal(chunks.data(), T, 3),
        toHex(chunks.data(), T), toBinary(chunks.data(), T), fromHex("0x1.8", T), fromBinary("0b1.01", T),
        fromDecimal(reporting, "-1234567890123456789e-19", T, nearest, saturate),
        ParseError("s8,x", 3, "a digit expected").caret());
}

std::vector<Operation> const others =
    list(RUN(askForTypes(reporting)), RUN(changeBodies(reporting, values)), RUN(changeHardware()),
         RUN(ORVEX::mpr_quantize(reporting, 3.25, s(300, -9), nearest, 1)), RUN(replay(w)),
         RUN(copyClient<FxpClientFullPrecision>()), RUN(copyClient<FxpClientWithReporting>(micro)),
         RUN(copyClient<ORVEX::EventCounter>()), RUN(copyClient<ORVEX::EventLog>()),
         RUN(KvxFeature("name", "a description that needs memory of its own", "path", "part", 1, 0, nullptr)),
         RUN(KvxFeature::find("a name that is longer than what a string holds in itself")),
         RUN(NumberUtils::throwIExceptionFromMessageID(Orvex::number::ArrayDimMustAgree())),
         RUN(writeTexts()), RUN(readType("a text that is longer than what a string holds in itself")),
         RUN(fromDecimal(reporting, "1234567890,", T, nearest, saturate)));

TEST(FailingAllocations, OfEveryOperation)
{
    std::cout.setstate(std::ios::failbit); // what an operation prints, or warns of, is not looked at here
    auto const handler = kvxSetWarningHandler([](kvxDiagnosticImpl const&) {});
    long failures = 0;
    for (Type const& type : {s(8), u(33, -3), s(64, -10), s(100), s(200, -20), Odd, Type::doubleDataType(),
                             Type::singleDataType(), scaledDouble(s(16, -4))})
        for (bool const isComplex : {false, true})
            for (Operation const& operation : ofNumbers)
                failures += checkAllocations(operation, type, 3, isComplex, isComplex != (type == Odd));
    for (Operation const& operation : others) failures += checkAllocations(operation, s(8), 3, false, false);
    EXPECT_GT(failures, 2000);
    // What runs in parallel, or in blocks. Only this thread's allocations fail.
    for (auto const& [type, isComplex] : {std::pair{s(16, -4), false}, {s(150), true}, {Odd, false}})
        for (Operation const& operation : ofNumbers)
            if (operation.name.find("array") != std::string_view::npos ||
                operation.name.find("setValue") != std::string_view::npos)
                checkAllocations(operation, type, 501, isComplex, false);
    kvxSetWarningHandler(handler);
    std::cout.clear();
}

// A new number is filled through its own quantizer, which tells of each part; a hook that throws leaks
// nothing.
TEST(Lifetime, ZeroFillTellsAndMayThrow)
{
    for (Operation const& operation : ofNumbers)
        for (std::size_t const count : {1U, 3U, 251U, 600U})
            for (bool const isComplex : {false, true}) {
                if (operation.zeros == untold) continue;
                std::size_t const parts = isComplex ? 2 * count : count, times[] = {0, 0, 1, count, parts};
                Events const wanted(times[operation.zeros], operation.ofBiased);
                for (std::size_t const throwAt :
                     {RecordingClient::never, std::size_t{0}, wanted.size() / 2}) {
                    SCOPED_TRACE(testing::Message() << operation.name << ' ' << count << isComplex
                                                    << ", throwing at " << throwAt);
                    long const before = liveBlocks();
                    bool thrown = false;
                    if (World world(biased, count, isComplex); true) {
                        world.client.throwAt = throwAt;
                        try {
                            operation.run(world);
                        } catch (RecordingClient::Thrown const&) {
                            thrown = true;
                        }
                        EXPECT_TRUE(thrown || world.client.events() == wanted);
                    }
                    EXPECT_EQ(thrown, throwAt < wanted.size());
                    EXPECT_TRUE(parts > 500 || liveBlocks() == before);
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
                std::optional<N> numbers[4] = {numberOf(type, first, client)};
                if (isLent) numbers[0]->setSIArray(storage.data());
                (*numbers[0])[1] + *numbers[0]; // caches a type
                numbers[1].emplace(*numbers[0], share);
                numbers[2].emplace(*numbers[1], share);
                numbers[3].emplace(*numbers[0]);
                for (std::size_t const dying : order) {
                    numbers[dying].reset();
                    for (std::size_t i = 0; i < 3; ++i) {
                        if (!numbers[i]) continue;
                        wanted[i] = {40 + dying, 0};
                        (*numbers[i])[i] = static_cast<double>(40 + dying);
                    }
                    for (std::size_t i = 0; i < 4; ++i)
                        EXPECT_TRUE(!numbers[i] || elementsOf(*numbers[i]) == (i == 3 ? first : wanted));
                }
                EXPECT_EQ(storage, storageOf(type, isLent ? wanted : first));
            } while (std::ranges::next_permutation(order).found);
        }
}

} // namespace
