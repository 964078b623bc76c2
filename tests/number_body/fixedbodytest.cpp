#include "support/model.h"

#include <climits>
#include <iomanip>
#include <new>

namespace
{
using namespace orvextest;
using Body = std::unique_ptr<NumberBody>;
using N = NumberBody;
using Factory = NumberBodyFactory;

constexpr auto nearest = fxpModeRoundingNearest;
constexpr auto saturate = fxpModeOverflowSaturate;
constexpr auto share = NumberUtils::copyIndexOnly;

constexpr std::array wordLengths{1, 5, 8, 12, 16, 17, 24, 32, 33, 54, 63, 64, 65, 100, 128, 129};

/// Any bits in the whole container.
Int wild(Type const& type, Random& random)
{
    std::vector<Chunk> pattern(chunkCount(type));
    std::ranges::generate(pattern, [&] { return random.pick(std::array{random.bits(), 0ULL, ~0ULL}); });
    return inContainer(pattern, type);
}

/// All reads of an element, which take the container as it is.
void checkReads(Value const& a)
{
    Held const held(a);
    Type const& type = a.type;
    for (std::size_t part = 0; part < a.parts.size(); ++part) {
        Int const& stored = a.parts[part];
        auto const read = [&](auto real, auto imag, auto... from) {
            return part == 1 ? ((*held).*imag)(from...) : ((*held).*real)(from...);
        };
        // By index: elements of words, chunks of a real multi-word body; a complex one has no such read.
        Chunk const word = chunksOf(stored, 1)[0], at = a.isMultiWord() ? chunkCount(type) : 1,
                    wordAt = a.isMultiWord() && a.isComplex() ? 0 : word;
        ASSERT_TRUE(
            sameDouble(read(&N::getRWDoubleValue, &N::getImagRWDoubleValue), readRealWorld(stored, type)) &&
            sameDouble(read(&N::getSIDoubleValue, &N::getImagSIDoubleValue),
                       readRadix(stored, stripped(type))) &&
            read(&N::getSIArrayValueUnsigned, &N::getImagSIArrayValueUnsigned) == word &&
            read(&N::getSIArrayValueUnsignedAt, &N::getImagSIArrayValueUnsignedAt, at) == wordAt &&
            static_cast<Chunk>(read(&N::getSIArrayValueSigned, &N::getImagSIArrayValueSigned)) == word &&
            static_cast<Chunk>(read(&N::getSIArrayValueSignedAt, &N::getImagSIArrayValueSignedAt, at)) ==
                wordAt)
            << a;
    }
    std::ostringstream hex;
    Int const container = Int(1) << static_cast<unsigned>(8 * containerBytes(type)),
              beside = container / 255 % container * 42;
    for (Int const& stored : {beside, a.parts[0], beside})
        hex << (hex.tellp() == 0 ? "" : "   ") << std::hex << std::setfill('0')
            << std::setw((type.wordLength + 3) / 4) << modulo(stored, container);
    ASSERT_EQ(held->getSIArrayInHex(), a.isComplex() ? "Need to implement" : hex.str());
}

/// All operations on `a` with `b` and, in products and quotients, b and c; but for conversions where b is of
/// another scaling. With `isSelf` b is a itself.
void checkFixedElement(Value const& a, Value const& b, Value const& c, Modes modes, bool isSelf,
                       Random& random)
{
    Held const held(a), heldB(b), heldC(c);
    SCOPED_TRACE(testing::Message() << (isSelf ? "with itself" : "with ") << b << " and " << c);
    auto const binary = [&](char const* name, auto run, auto model) {
        Model wanted(a, modes);
        std::invoke(model, wanted);
        wanted.check(name, a, [&](N& it) { std::invoke(run, it, isSelf ? &it : heldB.body()); });
    };
    auto const unary = [&](char const* name, auto run, auto model) {
        binary(
            name, [&](N& it, auto) { std::invoke(run, it); }, model);
    };
    auto const shift = [&](std::string const& name, auto count, auto run, auto model) {
        unary((name + " by " + std::to_string(count)).c_str(), [&](N& it) { (it.*run)(count); },
              [&](Model& e) { (e.*model)(count); });
    };

    if (!b.isFixed() ||
        (a.type.slopeAdjustmentFactor == b.type.slopeAdjustmentFactor && a.type.bias == b.type.bias)) {
        binary("assignNumber", &N::assignNumber, [&](Model& e) { e.assign(b); });
        binary("plusEquals", &N::plusEquals, [&](Model& e) { e.plus(1, b); });
        binary("minusEquals", &N::minusEquals, [&](Model& e) { e.plus(-1, b); });
        binary("imagEquals", &N::imagEquals, [&](Model& e) {
            if (e.isComplex()) e.put(1, e.converted(b, 0));
        });
        binary("imagPlusEquals", &N::imagPlusEquals, [&](Model& e) {
            if (e.isComplex() && !e.refuses(b)) e.add(1, 1, b, 0);
        });
    }
    // Of a longer product only the bits of the word count.
    if (!a.isMultiWord() || a.parts[0] == wrapTo(a.parts[0], a.type))
        binary("timesEquals", &N::timesEquals, [&](Model& e) { e.times(b); });
    binary(
        "isProductOf", [&](N& it, auto other) { it.isProductOf(other, heldC.body()); },
        [&](Model& e) { e.combine(b, c, false); });
    binary(
        "isQuotientOf", [&](N& it, auto other) { it.isQuotientOf(other, heldC.body()); },
        [&](Model& e) { e.combine(b, c, true); });
    binary("assignImagOf", &N::assignImagOf, [&](Model& e) {
        if (!e.isComplex()) e.now[0] = inContainer(e.bitsOf(b, 1), a.type);
    });
    binary("bitAndEqual", &N::bitAndEqual, [&](Model& e) { e.combineBits(b, std::bit_and{}); });
    binary("bitOrEqual", &N::bitOrEqual, [&](Model& e) { e.combineBits(b, std::bit_or{}); });
    binary("bitXorEqual", &N::bitXorEqual, [&](Model& e) { e.combineBits(b, std::bit_xor{}); });
    unary("bitCmp", &N::bitCmp, &Model::complement);

    int const bits = a.type.wordLength, bit = random.between(1, bits), n = random.between(1, bits + 70);
    for (int const at : {bit, bits})
        for (bool const value : {false, true})
            unary(
                "bitSet", [&](N& it) { it.bitSet(at, value); }, [&](Model& e) { e.setBit(at, value); });
    for (int const count : {0, 1, bits - 1, bits, 64, 128, n}) {
        shift("right", static_cast<unsigned>(count), &N::bitShiftRightArith, &Model::shiftRight);
        shift("right logical", static_cast<unsigned>(count), &N::bitShiftRightLogical,
              &Model::shiftRightLogical);
        shift("left", static_cast<unsigned>(count), &N::bitShiftLeftLogical, &Model::shiftLeft);
        shift("to the right", count, &N::bitShiftArith, &Model::shiftBySign);
        shift("to the right", -count, &N::bitShiftArith, &Model::shiftBySign);
    }
    for (int const i : {-1, 0, 1, bit, bits, bits + 1, bits + n}) // above the word that of its sign
        ASSERT_EQ(held->bitGet(i),
                  i > 0 && !a.isComplex() && (i > bits ? a.parts[0] < 0 : bitAt(a.parts[0], i - 1)))
            << "bit " << i;

    // The real part and its events come first: a hook that throws saves the imaginary part.
    double const x = random.coin() ? random.pick(specialDoubles())
                                   : random.doubleNear(a.type) * a.type.slopeAdjustmentFactor + a.type.bias;
    Outcome const stored = quantize(x, a.type, modes.round, modes.sat);
    SCOPED_TRACE(x);
    unary(
        "assignDouble", [&](N& it) { it.assignDouble(&x); },
        [&](Model& e) {
            e.put(0, stored);
            if (e.isComplex()) e.now[1] = 0;
        });
    unary(
        "assignImagDouble", [&](N& it) { it.assignImagDouble(&x); },
        [&](Model& e) {
            if (e.isComplex()) e.put(1, stored);
        });
    auto const limit = [&](auto run, Int const& value) { // a complex body has no limits
        unary("limit", run, [&](Model& e) { e.now[0] = e.isComplex() ? e.now[0] : value; });
    };
    limit(&N::setMaxRWValue, maxStored(a.type));
    limit(&N::setMinRWValue, minStored(a.type));
    limit(&N::setMinPositiveRWValue, inContainer(Int(1), a.type));
    checkReads(a);
    ASSERT_TRUE(held.isAloneTouched() && heldB.value() == b && heldC.value() == c);
    ASSERT_TRUE(heldB.client.events().empty() && heldC.client.events().empty());
}

TEST(FixedBodies, EveryOperationWithEveryKindOfOperand)
{
    Random random(41);
    constexpr std::array chunks{65, 100, 127, 128, 129, 193, 300, 1000};
    for (int i = 0; i < 1500; ++i) {
        int const bits = i % 3 == 0 ? random.pick(chunks) : std::min(random.pick(wordLengths), 64);
        Value a = anyValue(random, bits, i % 2 == 0, false);
        Value const c = anyValue(random, 300, false, i % 7 == 0);
        Value b = anyValue(random, random.pick(std::array{bits, 8, 64, 300}), i % 2 == 0, true);
        if (i % 5 == 2)
            for (Int& part : a.parts) part = wild(a.type, random);
        if (i % 4 == 1) b = a;
        if (i % 8 == 1) std::ranges::reverse(b.parts);
        if (i % 8 == 5)
            b.parts[0] =
                i % 5 == 2 ? wild(a.type, random) : random.pick(interestingStored(a.type, random, 4));
        Modes const modes{random.pick(allRoundings), random.pick(bothOverflows)};
        bool const isSelf = i % 16 == 9;
        ASSERT_NO_FATAL_FAILURE(checkFixedElement(a, isSelf ? a : b, c, modes, isSelf, random));
        a.type.fixedExponent = random.pick(std::array{-1074, 960, INT_MAX - 64, INT_MAX, INT_MIN});
        ASSERT_NO_FATAL_FAILURE(checkReads(a));
    }
    // Rounded once: through a signed conversion and an added 2^64 this would be one unit lower.
    EXPECT_EQ(Held({u(64), {(Int(1) << 63) + 1025}})->getRWDoubleValue(), 0x1.0000000000001p63);
}

/// A value aligned by the rule of its span, bits above its word included: up to 64 and 128 bits the container
/// is shifted into that many bits, and beyond them the sign stands above the word.
Int aligned(Int const& value, Type const& type, int lowest, int span)
{
    unsigned const shift = static_cast<unsigned>(type.fixedExponent - lowest),
                   bits = static_cast<unsigned>(type.wordLength);
    Int const up = value << shift;
    if (span > 128)
        return (wrapTo(value, u(type.wordLength)) - (value < 0 ? Int(1) << bits : Int(0))) << shift;
    bool const cut = span > 64 && shift % 64 != 0;
    return wrapTo(cut ? wrapTo(up, fixedType(type.isSigned(), span)) : up, u(span <= 64 ? 64 : 128));
}

TEST(FixedBodies, ComparisonTakesBitsAboveTheWordAsTheyStand)
{
    Random random(11);
    for (int i = 0; i < 6000; ++i) {
        Type const a = random.radixType(random.pick(std::array{60, 120, 200}), 0, 3),
                   b = random.coin() ? a : random.radixType(a.wordLength, 0, random.pick(std::array{3, 70}));
        Int const x = wild(a, random);
        Int y = wild(b, random);
        if (random.coin() && a == b) { // but for one bit above or in the word
            std::vector<Chunk> pattern = patternOf(x, a);
            pattern.back() ^= 1ULL << random.between(0, 63);
            y = inContainer(pattern, a);
        }
        int const lowest = std::min(a.fixedExponent, b.fixedExponent),
                  span = std::max(a.fixedExponent + a.wordLength, b.fixedExponent + b.wordLength) - lowest;
        Int const difference =
            (x < 0) != (y < 0) ? x - y : aligned(x, a, lowest, span) - aligned(y, b, lowest, span);
        ASSERT_EQ(Held({a, {x}})->compareTo(Held({b, {y}}).body()), difference.sign())
            << x << " of " << a << ", " << y << " of " << b;
    }
}

/// Beyond 128 bits a comparison does not look at them, and so finds that the stored value is another.
TEST(FixedBodies, CastsTakeBitsAboveTheWordAlongAndTell)
{
    for (int const above : {0, 8}) {
        RecordingClient client;
        std::vector<Chunk> chunks{1, 2, 3, Chunk{1} << (4 + above)}; // of 200 bits
        ORVEX::Number const from(chunks.data(), u(200), client, 1, fxpModeRoundingZero, fxpModeOverflowWrap,
                                 false);
        ORVEX::Number to(0.0, u(300), client, fxpModeRoundingZero, fxpModeOverflowWrap);
        to = from;
        chunks.push_back(0);
        auto const* const stored = static_cast<Chunk const*>(to.getSIArray());
        EXPECT_EQ(std::vector<Chunk>(stored, stored + 5), chunks);
        EXPECT_EQ(client.records().size(), above == 0 ? 0U : 1U);
    }
}

/// In the container and all of the array; a multi-word body leaves its cursor at the last element.
TEST(FixedBodies, ConjugateNegatesInTheContainer)
{
    Random random(42);
    RecordingClient client;
    for (Type const& type : seamTypes(-3))
        for (unsigned const count : {0U, 1U, 300U}) {
            Elements elements(count), wanted(count);
            for (std::size_t i = 0; i < count; ++i) {
                elements[i] = {wild(type, random), i == 0 ? minStored(type) : wild(type, random)};
                wanted[i] = {elements[i][0], -elements[i][1]};
            }
            Storage storage = storageOf(type, elements);
            Body const body(Factory::createNumberBody(storage.data(), type, client, count,
                                                      fxpModeRoundingFloor, saturate, true));
            body->setIndex(1);
            body->conjugate();
            EXPECT_TRUE(storage == storageOf(type, wanted) && client.events().empty() &&
                        body->index() == (type.wordLength > 64 && count > 0 ? count - 1 : 1U))
                << type << ' ' << count;
        }
}

TEST(BodyStorage, GrownLentAndCopied)
{
    RecordingClient client;
    std::vector<Type> types{Type::doubleDataType(), Type::singleDataType()};
    for (int const bits : wordLengths) types.push_back(s(bits));
    for (std::size_t i = 0; i < 2 * types.size(); ++i) {
        Type const& type = types[i / 2];
        bool const isFixed = i > 3, isComplex = isFixed && i % 2 == 1;
        SCOPED_TRACE(testing::Message() << type << (isComplex ? " complex" : ""));
        std::size_t const step = isComplex ? 2 : 1;
        double const values[] = {-1, 0, 0, -1, -1, -1}, zeros[10] = {};
        Body const owner(Factory::createNumberBody(values, type, client, 3, fxpModeRoundingFloor,
                                                   fxpModeOverflowWrap, isComplex));
        NumberBody& body = *owner;
        EXPECT_TRUE(body.getNumChunks() == (isFixed ? static_cast<int>(chunkCount(type)) : 1) &&
                    body.isSingleChunk() == (body.getNumChunks() == 1) &&
                    body.isMultiChunk() != body.isSingleChunk() &&
                    body.bytesPerElement() == step * containerBytes(type));
        Storage const old(type, 3 * step, body.getSIArray());
        // The first `kept` elements are old ones, the others zero.
        auto const holds = [&](NumberBody const& it, std::size_t elements, std::size_t kept) {
            Storage wanted(type, elements * step);
            for (std::size_t part = 0; part < kept * step; ++part) wanted.put(part, old.pattern(part));
            return it.numberOfElements() == elements &&
                   Storage(type, elements * step, it.getSIArray()) == wanted;
        };
        body.setIndex(2);
        body.setNumberOfElements(5);
        EXPECT_TRUE(holds(body, 5, 3));
        body.setNumberOfElements(2);
        EXPECT_TRUE(body.dims()[1] == 3 && body.index() == 2 && !body.dataIsExternal());
        EXPECT_THROW(body.setNumberOfElements((Chunk{1} << 60) + 1), std::bad_alloc);
        EXPECT_TRUE(holds(body, 2, 2));

        Storage lent(old);
        body.setSIArray(lent.data()); // two elements of it
        EXPECT_TRUE(holds(body, 2, 2) && body.dataIsExternal() && body.getSIArray() == lent.data());
        Body const copy(Factory::createNumberBody(&body)), sharing(Factory::createNumberBody(&body, share));
        copy->setValue(zeros);
        EXPECT_TRUE(holds(*copy, 2, 0) && copy->dataIsExternal() && lent == old);
        sharing->setValue(zeros); // into the caller's array, for both
        EXPECT_TRUE(holds(body, 2, 0) && lent.pattern(2 * step) == old.pattern(2 * step) &&
                    sharing->useCount() == 2 && copy->useCount() == 1);
        body.copyDataIntoSIArray(Storage(old).data(), 1);
        Storage const untouched(lent);
        body.setNumberOfElements(4); // in a block of its own; it still calls itself external
        EXPECT_TRUE(holds(body, 4, 1) && body.dataIsExternal());
        body.setValue(zeros);
        EXPECT_EQ(lent, untouched);
        body.setSIArray(lent.data());
        EXPECT_EQ(sharing->getSIArray(), lent.data());
        body.setSIArray(nullptr);
        body.setNumberOfElements(5);
        EXPECT_TRUE(holds(body, 5, 0));
        body.setNumberOfElements(0);
        EXPECT_EQ(body.getSIArrayInHex(), isComplex || !isFixed ? "Need to implement" : "");
    }
}

TEST(NumberBodyFactory, CopiesFollowTheRecordAsItIsNow)
{
    for (int const bits : {5, 12, 20, 40})
        for (Element const& ones : Elements{{-1}, {-1, -1}}) {
            Held held({s(bits), ones});
            held->dataType().setIsSigned(false);
            EXPECT_EQ(held->getSIArrayValueUnsigned(), ~Chunk{0}) << "a signed body still";
            for (Body const& copy : {Body(Factory::createNumberBody(held.body())),
                                     Body(Factory::createNumberBody(held.body(), share))}) {
                copy->setIndex(1);
                EXPECT_EQ(copy->getSIArrayValueUnsigned(), ~Chunk{0} >> (64 - 8 * containerBytes(s(bits))))
                    << bits;
            }
        }
}

// The unsigned 8-bit body serves a boolean record: any number that is not zero is 1, and nobody is told.
TEST(FixedBodies, BooleanRecordInTheUnsigned8BitBody)
{
    Held held({u(8, -3), {0}}, {1, 1});
    held->dataType().mode = fxpModeDataTypeBoolean;
    for (double const value : specialDoubles()) {
        held->assignDouble(&value);
        EXPECT_EQ(held->getSIArrayValueUnsigned(), value != 0.0) << value;
    }
    for (int const value : {0, 1, -100}) {
        held->assignNumber(Held({s(100, -2), {value}}).body());
        EXPECT_EQ(held->getSIArrayValueUnsigned(), value != 0) << value;
    }
    EXPECT_TRUE(held.client.events().empty() && held.isAloneTouched());
}

TEST(FixedBodies, LimitsOfWordsWithoutBits)
{
    for (Type const& type : {s(0), u(-3)})
        for (auto const& [run, limit] : {std::pair(&N::setMaxRWValue, 0xFF), std::pair(&N::setMinRWValue, 0),
                                         std::pair(&N::setMinPositiveRWValue, 1)})
            checkOperation("limit", {type, {7}}, {}, {}, {{type, {inContainer(Int(limit), type)}}}, "",
                           std::mem_fn(run));
}

/// Nothing is read beyond the storage, whatever the record has become.
TEST(FixedBodies, RecordsOfOtherLengthsThanTheStorage)
{
    for (int const bits : {8, 16, 65, 130, 200})
        for (int const recorded : {8, 16, 65, 130, 200}) {
            Held sum({s(recorded), {4}}), product({s(2 * recorded), {0}});
            Held const other({s(bits), {-3}});
            other->dataType().wordLength = recorded;
            sum->plusEquals(other.body());
            EXPECT_EQ(sum.value().parts, Element{1}) << bits << ' ' << recorded;
            product->isProductOf(other.body(), other.body());
            EXPECT_EQ(product.value().parts, Element{9}) << bits << ' ' << recorded;
            Held const quotient({s(bits), {0}});
            quotient->dataType().wordLength = recorded;
            quotient->isQuotientOf(product.body(), other.body());
            EXPECT_EQ(quotient->getSIArrayValueSigned(), -3) << bits << ' ' << recorded;
            EXPECT_TRUE(quotient.isAloneTouched()) << bits << ' ' << recorded;
            if (bits < recorded) continue; // else the other's own place is not as long as its record
            other->timesEquals(sum.body());
            EXPECT_EQ(other.value().parts, Element{-3}) << bits << ' ' << recorded;
        }
}

} // namespace
