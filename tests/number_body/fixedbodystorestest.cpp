#include "support/recordingclient.h"
#include "support/storage.h"

#include <orvex/number_body/numberbodyfactory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <memory>
#include <mutex>
#include <new>
#include <span>
#include <sstream>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using Body = std::unique_ptr<NumberBody>;
using Values = std::vector<double>;

constexpr std::array wordLengths{1, 5, 8, 12, 16, 17, 24, 32, 33, 54, 63, 64, 65, 100, 128, 129};

/// A body of the given parts with a client that has heard nothing of them.
struct Array {
    Type type;
    std::size_t parts;
    RecordingClient client;
    Body body;

    Array(Values const& values, Type const& t, Modes modes, bool isComplex)
        : type(t), parts(values.size()),
          body(NumberBodyFactory::createNumberBody(values.data(), type, client, parts / (isComplex ? 2 : 1),
                                                   static_cast<fxpModeRounding_tag>(modes.round),
                                                   static_cast<fxpModeOverflow_tag>(modes.sat), isComplex))
    {
        client.clear();
    }
    Storage storage() const { return {type, parts, body->getSIArray()}; }
};

Type withScaling(Type type, Random& random)
{
    bool const isFar = random.between(0, 15) == 0;
    type.fixedExponent = isFar ? random.pick(std::array{-1070, -1022, 1000, 1023}) : random.between(-9, 5);
    type.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.0, 1.5, 1.1, -1.25});
    type.bias = random.pick(std::array{0.0, 0.0, -3.7, 300.0});
    return type;
}

/// `share` of 100 values lie about the edges of the type's range or are special ones; the others lie inside.
Values valuesFor(Type const& type, std::size_t count, int share, Random& random)
{
    static Values const specials = specialDoubles();
    Values values(count);
    for (double& value : values) {
        double radix = readRadix(wrapTo(random.bits(), type), type) * random.pick(std::array{1.0, 0.5, 0.25});
        if (random.between(0, 99) < share)
            radix = random.coin() ? random.doubleNear(type)
                                  : std::ldexp(random.pick(specials), random.coin() ? type.fixedExponent : 0);
        value = radix * type.slopeAdjustmentFactor + type.bias;
    }
    return values;
}

struct Heard {
    Event event;
    Storage storage; // at that moment
    bool operator==(Heard const&) const = default;
};

/// setValue to its end, and with hooks that throw. Up to 500 parts it tells part after part; underflow finds
/// the old part, any other event the new one. Above, the same events come in any order.
void checkSetValue(std::size_t parts, int share, Type const& type, Modes modes, bool isComplex,
                   Random& random)
{
    bool const isInOrder = parts <= 500;
    Values const before = valuesFor(type, parts, 0, random), values = valuesFor(type, parts, share, random);
    Storage const old = Array(before, type, modes, isComplex).storage();
    Storage now = old;
    std::vector<Heard> wanted;
    for (std::size_t part = 0; part < parts; ++part) {
        Stored const stored = storedOf(values[part], type, modes);
        for (Event const event : stored.events) {
            if (event != Event::underflow) now.put(part, stored.pattern);
            wanted.push_back({event, isInOrder ? now : old});
        }
        now.put(part, stored.pattern);
    }
    auto const less = [](Heard const& a, Heard const& b) { return a.event < b.event; };
    int const last = static_cast<int>(wanted.size()) - 1;
    for (int const throwAt : {-1, 0, random.between(0, std::max(last, 0)), last}) {
        if (throwAt > last) continue;
        SCOPED_TRACE(testing::Message() << parts << ' ' << type << modes << ", throwing at " << throwAt);
        Array array(before, type, modes, isComplex);
        std::vector<Heard> heard;
        std::mutex mutex;
        array.client.onEvent = [&](Event event) {
            std::lock_guard const lock(mutex);
            heard.push_back({event, isInOrder ? array.storage() : old});
        };
        if (throwAt >= 0) array.client.throwAt = static_cast<std::size_t>(throwAt);
        array.body->setIndex(1); // plays no part
        bool thrown = false;
        try {
            array.body->setValue(values.data());
        } catch (RecordingClient::Thrown const&) {
            thrown = true;
        }
        ASSERT_TRUE(thrown == (throwAt >= 0) && array.body->index() == 1);
        Storage const after = array.storage();
        if (thrown && !isInOrder) {
            ASSERT_TRUE(std::ssize(heard) > throwAt && heard.size() <= wanted.size());
            for (std::size_t part = 0; part < parts; ++part)
                ASSERT_TRUE(after.pattern(part) == old.pattern(part) ||
                            after.pattern(part) == now.pattern(part));
            continue;
        }
        if (!isInOrder) std::ranges::sort(heard, less), std::ranges::sort(wanted, less);
        std::size_t const count = thrown ? static_cast<std::size_t>(throwAt) + 1 : wanted.size();
        ASSERT_TRUE(std::ranges::equal(heard, std::span(wanted).first(count)));
        ASSERT_TRUE(after == (thrown ? wanted[count - 1].storage : now));
    }
}

TEST(BodyStores, SetValueTellsInElementOrder)
{
    struct Size {
        std::size_t parts;
        int share;
    };
    constexpr std::array sizes{Size{2, 100}, Size{10, 50}, Size{64, 30}, Size{256, 4}, Size{500, 1}};
    Random random(21);
    for (int const bits : wordLengths) {
        auto const anyType = [&] { return withScaling(fixedType(random.coin(), bits), random); };
        for (int const round : allRoundings)
            for (int const sat : bothOverflows) {
                Size const size = random.pick(sizes);
                ASSERT_NO_FATAL_FAILURE(
                    checkSetValue(size.parts, size.share, anyType(), {round, sat}, random.coin(), random));
            }
        for (std::size_t const parts : {501U, 502U, 3000U})
            ASSERT_NO_FATAL_FAILURE(checkSetValue(parts, 30, anyType(),
                                                  {random.pick(allRoundings), random.between(0, 1)},
                                                  parts % 2 == 0 && random.coin(), random));
    }
    for (auto const mode : {fxpModeDataTypeScaledDouble, fxpModeDataTypeDouble, fxpModeDataTypeSingle})
        for (int i = 0; i < 20; ++i) {
            Type type = withScaling(fixedType(random.coin(), random.pick(wordLengths)), random);
            type.mode = mode;
            ASSERT_NO_FATAL_FAILURE(
                checkSetValue(i < 18 ? 60 : 900, 40, type, {i % 7, i % 2}, false, random));
        }
}

// Words are read as their container has them, with whatever stands above the word length.
TEST(BodyReads, TakeTheContainerAsItIs)
{
    using B = NumberBody;
    Random random(25);
    for (int const bits : wordLengths)
        for (int i = 0; i < 12; ++i) {
            Type const type = withScaling(fixedType(random.coin(), bits), random);
            bool const isComplex = i % 2 == 1, isWord = bits <= 64;
            Storage storage(type, 6);
            auto const candidates = interestingStored(type, random, 9);
            for (std::size_t part = 0; part < 6; ++part)
                storage.put(part, isWord && i > 5 ? std::vector{random.bits()}
                                                  : patternOf(random.pick(candidates), type));
            RecordingClient client;
            Body const body(NumberBodyFactory::createNumberBody(storage.data(), type, client,
                                                                isComplex ? 3 : 6, fxpModeRoundingFloor,
                                                                fxpModeOverflowWrap, isComplex));
            SCOPED_TRACE(testing::Message() << type << ' ' << storage << (isComplex ? " complex" : ""));
            std::ostringstream hex;
            for (std::size_t part = 0; part < 6; ++part) {
                std::size_t const element = part / (isComplex ? 2 : 1);
                body->setIndex(element);
                bool const isImag = isComplex && part % 2 == 1;
                Int const stored = storage.integer(part, type.isSigned());
                // By index: elements of words, chunks of a real multi-word body; a complex one has no such
                // read.
                Chunk const at = isWord ? element : element * chunkCount(type), word = chunksOf(stored, 1)[0],
                            wordAt = isWord || !isComplex ? word : 0;
                auto const read = [&](auto real, auto imag, auto... from) {
                    return isImag ? ((*body).*imag)(from...) : ((*body).*real)(from...);
                };
                EXPECT_TRUE(sameDouble(read(&B::getRWDoubleValue, &B::getImagRWDoubleValue),
                                       readRealWorld(stored, type)));
                EXPECT_TRUE(sameDouble(read(&B::getSIDoubleValue, &B::getImagSIDoubleValue),
                                       readRadix(stored, fixedType(type.isSigned(), bits))));
                EXPECT_EQ(read(&B::getSIArrayValueSigned, &B::getImagSIArrayValueSigned),
                          static_cast<long long>(word));
                EXPECT_EQ(read(&B::getSIArrayValueUnsigned, &B::getImagSIArrayValueUnsigned), word);
                EXPECT_EQ(read(&B::getSIArrayValueSignedAt, &B::getImagSIArrayValueSignedAt, at),
                          static_cast<long long>(wordAt));
                EXPECT_EQ(read(&B::getSIArrayValueUnsignedAt, &B::getImagSIArrayValueUnsignedAt, at), wordAt);
                EXPECT_EQ(body->getChunkOffsetOfCursor(), isComplex && !isWord ? 2 * at : at);
                EXPECT_TRUE(body->getRawDoubleValue() == 0.0 && body->getImagRawDoubleValue() == 0.0);
                EXPECT_TRUE(isComplex ||
                            (body->getImagRWDoubleValue() == 0.0 && body->getImagSIDoubleValue() == 0.0 &&
                             body->getImagSIArrayValueSigned() == 0 &&
                             body->getImagSIArrayValueUnsignedAt(at) == 0));
                hex << (part == 0 ? "" : "   ") << std::hex << std::setfill('0') << std::setw((bits + 3) / 4)
                    << storage.integer(part, false);
            }
            EXPECT_EQ(body->getSIArrayInHex(), isComplex ? "Need to implement" : hex.str());
        }
}

TEST(BodyLimits, OfTheElementAtTheCursorFromTheRecord)
{
    Random random(26);
    struct Row {
        Type type;
        std::vector<Chunk> limits[3]; // greatest, least, least positive
    };
    Type const scaled{fxpModeDataTypeScaledDouble, true, 8, 1.5, 3, 2.0, 0};
    auto const bitsOf = [](double value) { return std::vector{std::bit_cast<Chunk>(value)}; };
    std::vector<Row> rows{
        {fixedType(true, 0), {{0xFF}, {0}, {1}}},
        {fixedType(false, -3), {{0xFF}, {0}, {1}}},
        {scaled, {bitsOf(127.0), bitsOf(-128.0), bitsOf(1.0)}},
        {Type::doubleDataType(), {{0x7FEFFFFFFFFFFFFF}, {0xFFEFFFFFFFFFFFFF}, {0x0010000000000000}}},
        {Type::singleDataType(), {{0x7F7FFFFF}, {0xFF7FFFFF}, {0x00800000}}}};
    for (int const bits : wordLengths)
        for (bool const isSigned : {false, true}) {
            Type const type = withScaling(fixedType(isSigned, bits), random);
            rows.push_back(
                {type,
                 {patternOf(maxStored(type), type), patternOf(minStored(type), type), patternOf(1, type)}});
        }
    constexpr std::array setters{&NumberBody::setMaxRWValue, &NumberBody::setMinRWValue,
                                 &NumberBody::setMinPositiveRWValue};
    for (Row const& row : rows)
        for (bool const isComplex : {false, true})
            for (std::size_t limit = 0; limit < 3; ++limit) {
                if (isComplex && row.type.mode != fxpModeDataTypeFixed) continue;
                Array array(Values(6, row.type.bias), row.type, {0, 0}, isComplex);
                Storage wanted = array.storage();
                array.body->setIndex(1);
                ((*array.body).*setters[limit])();
                if (!isComplex) wanted.put(1, row.limits[limit]); // a complex body has no limits
                EXPECT_EQ(array.storage(), wanted) << row.type << " limit " << limit << isComplex;
                EXPECT_EQ(array.client.events(), Events{});
            }
}

TEST(BodyStorage, GrownLentAndCopied)
{
    Random random(27);
    std::vector<Type> types{Type::doubleDataType(), Type::singleDataType()};
    for (int const bits : wordLengths) types.push_back(fixedType(true, bits));
    for (Type const& type : types)
        for (bool const isComplex : {false, true}) {
            if (isComplex && type.mode != fxpModeDataTypeFixed) continue;
            SCOPED_TRACE(testing::Message() << type << (isComplex ? " complex" : ""));
            std::size_t const step = isComplex ? 2 : 1;
            Array array(valuesFor(fixedType(true, 1), 3 * step, 0, random), type, {0, 0}, isComplex);
            NumberBody& body = *array.body;
            Storage const old = array.storage();
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
            EXPECT_TRUE(holds(body, 2, 2) && body.dims()[1] == 3 && body.index() == 2 &&
                        !body.dataIsExternal());
            EXPECT_THROW(body.setNumberOfElements((Chunk{1} << 60) + 1), std::bad_alloc);
            EXPECT_TRUE(holds(body, 2, 2));

            Storage lent(old);
            body.setSIArray(lent.data()); // two elements of it
            EXPECT_TRUE(holds(body, 2, 2) && body.dataIsExternal() && body.getSIArray() == lent.data());
            Body const copy(NumberBodyFactory::createNumberBody(&body));
            Body const sharing(NumberBodyFactory::createNumberBody(&body, NumberUtils::copyIndexOnly));
            Values const zeros(2 * step);
            copy->setValue(zeros.data());
            EXPECT_TRUE(holds(*copy, 2, 0) && copy->dataIsExternal() && lent == old);
            sharing->setValue(zeros.data()); // into the caller's array, for both
            EXPECT_TRUE(holds(body, 2, 0) && lent.pattern(2 * step) == old.pattern(2 * step));
            body.copyDataIntoSIArray(Storage(old).data(), 1);
            EXPECT_TRUE(holds(body, 2, 1));
            Storage const untouched(lent);
            body.setNumberOfElements(4); // in a block of its own; it still calls itself external
            EXPECT_TRUE(holds(body, 4, 1) && body.dataIsExternal() && body.getSIArray() != lent.data());
            body.setValue(Values(8).data());
            EXPECT_EQ(lent, untouched);
            body.setSIArray(lent.data());
            EXPECT_EQ(sharing->getSIArray(), lent.data());
            body.setSIArray(nullptr);
            body.setNumberOfElements(5);
            EXPECT_TRUE(holds(body, 5, 0));
            body.setNumberOfElements(0);
            EXPECT_EQ(body.getSIArrayInHex(),
                      isComplex || type.mode != fxpModeDataTypeFixed ? "Need to implement" : "");
        }
}

// The unsigned 8-bit body serves a boolean record: any number that is not zero is 1, and nobody is told.
TEST(BodyStores, BooleanRecordInTheUnsigned8BitBody)
{
    Array array(Values(2), fixedType(false, 8, -3), {1, 1}, false);
    NumberBody& body = *array.body;
    body.dataType().mode = fxpModeDataTypeBoolean;
    body.setIndex(1);
    for (double const value : specialDoubles()) {
        body.assignDouble(&value);
        EXPECT_EQ(body.getSIArrayValueUnsigned(), value != 0.0 ? 1U : 0U) << value;
    }
    for (int const bits : {5, 12, 24, 64, 100})
        for (bool const isSigned : {false, true})
            for (double const value : {0.0, 0x1p-40, 1.0, -1.0, 0x1p50}) {
                Array const other({0.0, value}, fixedType(isSigned, bits, -2), {1, 0}, false);
                other.body->setIndex(1);
                body.assignNumber(other.body.get());
                Int const stored = other.storage().integer(1, isSigned);
                EXPECT_EQ(body.getSIArrayValueUnsigned(), stored != 0 ? 1U : 0U) << other.type << value;
            }
    EXPECT_EQ(array.client.events(), Events{});
    EXPECT_EQ(static_cast<unsigned char const*>(body.getSIArray())[0], 0);
}

} // namespace
