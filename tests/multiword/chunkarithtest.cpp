#include "multiword/chunkarith.h"
#include "support/model.h"

namespace
{
using namespace orvextest;

/// Runs of equal bits, or chunks about which an estimated digit of a quotient is too large.
Int anyOf(Type const& type, Random& random)
{
    constexpr std::array awkward{0ULL,  1ULL,  ~0ULL >> 1, 1ULL << 63, (1ULL << 63) + 1,
                                 ~1ULL, ~0ULL, 1ULL << 32, ~0ULL << 32};
    if (random.coin()) return random.pick(interestingStored(type, random, 3));
    std::vector<Chunk> chunks(chunkCount(type));
    std::ranges::generate(chunks, [&] { return random.pick(awkward); });
    return wrapTo(valueOf(chunks.data(), type) >> static_cast<unsigned>(random.between(0, 63)), type);
}

void checkQuotient(Type const& to, Value const& x, Value const& y, Modes modes)
{
    Value const before{to, {minStored(to) / 3}};
    Held const dividend(x), divisor(y);
    Model wanted(before, modes);
    wanted.combine(x, y, true);
    SCOPED_TRACE(testing::Message() << x << " by " << y);
    wanted.check("isQuotientOf", before,
                 [&](NumberBody& it) { it.isQuotientOf(dividend.body(), divisor.body()); });
}

/// Equal lengths and others: products, quotients, sums, casts and comparisons.
TEST(Chunks, AnyCountOfThem)
{
    Random random(21);
    for (int i = 0; i < 2000; ++i) {
        auto const typeOf = [&](int chunks) {
            return fixedType(random.coin(), 64 * chunks - random.pick(std::array{0, 0, 1, 31, 63}),
                             random.pick(std::array{0, 0, -64, 7}));
        };
        Type const aType = typeOf(i % 20 + 1),
                   bType = typeOf(i / 20 % 2 == 0 ? i % 20 + 1 : random.between(1, 20));
        Value const a{aType, {anyOf(aType, random)}}, b{bType, {anyOf(bType, random)}};
        Type const exact = productRule(aType, bType),
                   to = random.coin() ? exact : typeOf(random.between(1, 20));
        Modes const modes{random.pick(allRoundings), random.between(0, 1)};
        Held const x(a), y(b);
        SCOPED_TRACE(testing::Message() << a << " and " << b);
        Model product({to, {1}}, modes), cast(product), sum(a, modes), difference(sum);
        product.combine(a, b, false);
        product.check("product", {to, {1}}, [&](NumberBody& it) { it.isProductOf(x.body(), y.body()); });
        cast.assign(a);
        cast.check("cast", {to, {1}}, [&](NumberBody& it) { it.assignNumber(x.body()); });
        sum.plus(1, b);
        sum.check("sum", a, [&](NumberBody& it) { it.plusEquals(y.body()); });
        difference.plus(-1, b);
        difference.check("difference", a, [&](NumberBody& it) { it.minusEquals(y.body()); });
        Type quotient = to; // of a wrap for each bit above the word
        quotient.fixedExponent = aType.fixedExponent - bType.fixedExponent + random.between(-70, 70);
        checkQuotient(quotient, a, b, modes);
        EXPECT_EQ(x->compareTo(y.body()),
                  radixValue(a.parts[0], aType).compare(radixValue(b.parts[0], bType)));
        ASSERT_FALSE(HasFailure());
    }
}

/// About multiples of the divisor, limits of the word, and far exponents.
TEST(Chunks, AwkwardQuotients)
{
    Random random(22);
    for (int i = 0; i < 10000 && !HasFailure(); ++i) {
        int const bits = random.pick(std::array{8, 128, 300, 900}), up = random.between(0, 130);
        Type aType = random.radixType(bits, -40, 40);
        Type const bType = random.radixType(bits, -40, 40);
        Int a = anyOf(aType, random);
        Int const b = anyOf(bType, random);
        int const whole = aType.fixedExponent - bType.fixedExponent,
                  far = random.pick(std::array{2, 40, 400, 1 << 29});
        Type to = random.radixType(bits, whole, whole);
        if (i % 40 == 1) // a quotient of many chunks
            to = fixedType(i % 80 == 1, random.between(1100, 1600), whole - random.between(1000, 1500));
        else if (i % 4 == 1 && a != 0 && b != 0) // about the limit
            to.wordLength =
                std::max(1, static_cast<int>(msb(abs(a))) - static_cast<int>(msb(abs(b))) + up % 3);
        else if (i % 4 == 2) { // just below a multiple: a digit is the largest, or an estimated one too large
            Int const factor = random.coin() ? Int(1) << 64 : anyOf(u(64), random);
            aType.wordLength = bType.wordLength + 66;
            Int const third = (abs(b) * factor) >> 140U; // bits below the two top chunks of both
            a = wrapTo(abs(b) * factor - random.pick(std::array<Int, 4>{1, abs(b) / 2, abs(b), third}),
                       aType);
        } else if (i % 4 == 3) { // about a multiple, or half of one
            a = wrapTo((b * random.between(-99, 99) << static_cast<unsigned>(up)) / 2 + random.between(-1, 1),
                       aType);
            to.fixedExponent += up;
        } else
            to.fixedExponent += random.between(-far, far);
        for (int const sat : bothOverflows) // a wrap for each bit would not end
            if (sat || to.fixedExponent > whole - 1000)
                checkQuotient(to, {aType, {a}}, {bType, {b}}, {random.between(-1, 7), sat});
    }
}

/// Even where it has the type of the exact one.
TEST(Chunks, ProductMayLieOnItsOperands)
{
    namespace mw = ORVEX::multiword;
    Random random(23);
    for (Int const& x : interestingStored(s(128), random, 9))
        for (int const at : {-2, 0, 2, 4}) {
            std::vector<Chunk> chunks(8);
            Chunk* const place = chunks.data() + 2;
            std::ranges::copy(chunksOf(x, 2), place + at);
            RecordingClient client;
            mw::multiplyInto(client, mw::ChunkTarget(place, 4), s(256), place + at, s(128), mw::Two(),
                             place + at, s(128), mw::Two(), fxpModeRoundingFloor, 0);
            EXPECT_EQ(valueOf(place, s(256)), x * x) << at;
        }
}

} // namespace
