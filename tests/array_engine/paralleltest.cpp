#include "support/bodies.h"

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

Type anyType(Random& random, int maxWordLength)
{
    Type type = anyValue(random, maxWordLength, random.between(0, 3) == 0, false).type;
    type.slopeAdjustmentFactor = std::fabs(type.slopeAdjustmentFactor); // a cast needs a positive one
    return type;
}
Elements anyElements(Random& random, Type const& type, std::size_t count, bool isComplex)
{
    std::vector<Int> const values = interestingStored(type, random, 20);
    Elements elements(count, Element(isComplex ? 2 : 1));
    for (Element& element : elements)
        for (Int& part : element) part = random.pick(values);
    return elements;
}
Events sorted(Events events)
{
    std::ranges::sort(events);
    return events;
}

TEST(Parallel, AssignsWhatElementsOneByOneGive)
{
    Random random(61);
    for (int i = 0; i < 120; ++i) {
        Type const to = anyType(random, random.pick(std::array{16, 64, 150})),
                   from = i % 5 == 0 ? to : anyType(random, 150);
        std::size_t const count = random.pick(std::array{500U, 501U, 1500U});
        bool const toComplex = random.coin(), fromComplex = random.coin();
        Modes const modes{random.pick(allRoundings), random.pick(bothOverflows)};
        RecordingClient one, all, other;
        Elements const old = anyElements(random, to, count, toComplex);
        Number wanted = numberOf(to, old, one, modes), got = numberOf(to, old, all, modes);
        Number const source =
            numberOf(from, anyElements(random, from, i % 4 == 1 ? 1 : count, fromComplex), other);
        SCOPED_TRACE(testing::Message()
                     << count << ' ' << from << fromComplex << " to " << to << toComplex << modes);
        for (std::size_t k = 0; k < count; ++k) wanted[k] = source.isScalar() ? source : source[k];
        got.setIndex(7);
        source.setIndex(0);
        Number::arrayEquals(got, source);
        Elements want = elementsOf(wanted);
        for (std::size_t k = 0; k < count && count > 500 && toComplex && !fromComplex; ++k)
            want[k][1] = old[k][1];
        EXPECT_EQ(elementsOf(got), want);
        if (count > 500)
            EXPECT_EQ(sorted(all.events()), sorted(one.events()));
        else
            EXPECT_EQ(all.events(), one.events());
        EXPECT_TRUE(got.getIndex() == 7 && source.getIndex() == 0 && other.events().empty());
    }
}

TEST(Parallel, ComparesStoredIntegersAtTheirExponents)
{
    Random random(62);
    for (int i = 0; i < 150; ++i) {
        Type const a = anyType(random, random.pick(std::array{3, 64, 150}));
        Type const b = i % 3 == 0 ? a : anyType(random, random.pick(std::array{3, 64, 150}));
        std::size_t const count = random.pick(std::array{501U, 800U});
        auto elements = [&](Type const& type) {
            return anyElements(random, type, random.between(0, 3) == 0 ? 1 : count, random.coin());
        };
        Elements as = elements(a), bs = elements(b);
        if (a == b && i % 2 == 0) bs = as; // a number with itself
        if (as.size() == 1 && bs.size() == 1) continue;
        RecordingClient client;
        Number const x = numberOf(a, as, client), y = numberOf(b, bs, client);
        std::array<bool, 801> out{};
        ASSERT_EQ(x.arrayIsEqual(y, out.data()), out.data());
        for (std::size_t k = 0; k < count; ++k) {
            Element const &l = as[as.size() == 1 ? 0 : k], &r = bs[bs.size() == 1 ? 0 : k];
            Rational const im = r.size() == 2 ? radixValue(r[1], b) : Rational(0);
            bool const want =
                radixValue(l[0], a) == radixValue(r[0], b) && (l.size() == 1 || radixValue(l[1], a) == im);
            ASSERT_EQ(out[k], want) << k << a << b << testing::PrintToString(l) << testing::PrintToString(r);
        }
        EXPECT_FALSE(out[count]);
        EXPECT_EQ(client.events(), Events{});
    }
}

TEST(Parallel, ThrowingHookReachesTheCallerAndEveryElementIsOldOrNew)
{
    for (Type const& to : {s(4), u(100, 20)}) {
        RecordingClient client, other;
        Number target = numberOf(to, Elements(4000, {3}), client, {fxpModeRoundingFloor, 1});
        Number const source = numberOf(s(140), Elements(4000, {Int(1) << 130}), other);
        client.throwAt = 5;
        EXPECT_THROW(Number::arrayEquals(target, source), RecordingClient::Thrown);
        std::size_t changed = 0;
        for (Element const& element : elementsOf(target)) {
            EXPECT_TRUE(element[0] == 3 || element[0] == maxStored(to)) << element[0];
            changed += element[0] != 3;
        }
        EXPECT_EQ(changed, client.events().size());
        EXPECT_LT(changed, 4000U); // the rest was cancelled
        EXPECT_GT(changed, 5U);
    }
}

/// So many that threads share the work, whatever an element takes.
TEST(Parallel, LargeArraysAreWhatTheirPiecesAre)
{
    Random random(63);
    constexpr std::size_t count = 40000, piece = 400;
    std::vector<double> values(count);
    for (Type const& to : {s(16, -8), u(30, -10), s(100, -50), fixedType(true, 12, -4, 1.25, 0.5)}) {
        for (double& value : values) value = random.doubleNear(s(14, -8));
        Type const from = s(32, -16);
        RecordingClient one, all;
        auto const number = [&](Storage& storage, Type const& type, RecordingClient& client, std::size_t at,
                                std::size_t n) {
            return Number(static_cast<std::byte*>(storage.data()) + at * containerBytes(type), type, client,
                          n, fxpModeRoundingNearest, fxpModeOverflowSaturate, false);
        };
        Storage source(from, count), wanted(to, count), got(to, count);
        std::array<bool, piece> equal{};
        std::unique_ptr<bool[]> const equalAll(new bool[count]);
        for (bool const assigns : {false, true}) {
            Number target = number(got, to, all, 0, count), read = number(source, from, all, 0, count);
            if (!assigns) read.setValue(values.data());
            all.clear(), one.clear();
            assigns ? Number::arrayEquals(target, read) : target.setValue(values.data());
            read.arrayIsEqual(read, equalAll.get());
            for (std::size_t at = 0; at < count; at += piece) {
                Number part = number(wanted, to, one, at, piece),
                       readPart = number(source, from, one, at, piece);
                assigns ? Number::arrayEquals(part, readPart) : part.setValue(values.data() + at);
                readPart.arrayIsEqual(readPart, equal.data());
                ASSERT_TRUE(std::equal(equal.begin(), equal.end(), equalAll.get() + at));
            }
            EXPECT_TRUE(got == wanted) << to << assigns;
            EXPECT_EQ(sorted(all.events()), sorted(one.events())) << to << assigns;
        }
    }
}

TEST(Parallel, BodiesTakeAnyCount)
{
    RecordingClient client, other;
    for (unsigned long long const count : {0U, 1U, 3U})
        for (bool const isScalar : {false, true}) {
            Storage to = storageOf(s(8), {{9}, {9}, {9}}), from = storageOf(u(70), {{1}, {300}, {3}});
            auto body = [](Storage& storage, Type const& type, RecordingClient& hears,
                           unsigned long long elements) {
                return std::unique_ptr<NumberBody>(NumberBodyFactory::createNumberBody(
                    storage.data(), type, hears, elements, fxpModeRoundingFloor, fxpModeOverflowSaturate,
                    false));
            };
            auto const target = body(to, s(8), client, 3),
                       source = body(from, u(70), other, isScalar ? 1 : 3);
            target->setIndex(2), source->setIndex(2); // of no meaning here
            std::array<bool, 3> out{true, true, true};
            target->arrayCompareParallel(source.get(), out.data(), count);
            target->arrayAssignParallel(source.get(), count);
            Elements want{{1}, {isScalar ? 1 : 127}, {isScalar ? 1 : 3}};
            for (std::size_t k = count; k < 3; ++k) want[k] = {9};
            EXPECT_EQ(to, storageOf(s(8), want));
            EXPECT_EQ(out, (std::array<bool, 3>{count < 1, count < 2, count < 3}));
            EXPECT_EQ(client.events().size(), count == 3 && !isScalar ? 1U : 0U);
            client.clear();
        }
}

} // namespace
