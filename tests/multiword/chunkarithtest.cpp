#include "multiword/chunkarith.h"
#include "support/outcomecheck.h"

namespace
{
using namespace orvextest;
namespace mw = ORVEX::multiword;
using Type = fxpDataTypeProp;
using Chunks = std::vector<Chunk>;

/// Calls f with the number of chunks as an int, and as the constant where there is one.
template <class F>
void forEachCount(std::size_t chunks, F const& f)
{
    int const count = static_cast<int>(chunks);
    f(count);
    if (count == 1) f(mw::One());
    if (count == 2) f(mw::Two());
}

/// Types of 1 to 5 bits, and those at the seams.
std::vector<Type> types()
{
    std::vector<Type> list = seamTypes();
    for (int const bits : {3, 4, 5})
        for (bool const isSigned : {false, true}) list.push_back(fixedType(isSigned, bits));
    return list;
}

/// All values of a short type, and the awkward ones of a long one.
std::vector<Int> valuesOf(Type const& type, Random& random, int randomCount)
{
    if (type.wordLength > 5) return interestingStored(type, random, randomCount);
    std::vector<Int> all;
    for (Int value = minStored(type); value <= maxStored(type); ++value) all.push_back(value);
    return all;
}

/// Any bits in the whole container.
Chunks rawChunks(Type const& type, Random& random)
{
    Chunks chunks(chunkCount(type));
    std::ranges::generate(chunks, [&] { return random.pick(std::array{random.bits(), 0ULL, ~0ULL}); });
    return chunks;
}

TEST(ChunkBits, AgreesWithBigIntegers)
{
    Random random(11);
    for (Type const& type : types()) {
        SCOPED_TRACE(type);
        int const bits = type.wordLength;
        // What stands above the word stays, unless a carry meets the top chunk or the sign is changed.
        for (int i = 0; i < 20; ++i) {
            bool const on = i % 2 != 0;
            Chunks const raw = rawChunks(type, random);
            Chunks wanted = raw, chunks = raw;
            Chunk const signs = ~0ULL << (bits - 1) % 64, top = on ? raw.back() | signs : raw.back() & ~signs;
            if (type.isSigned() && (raw.back() >> 63 != 0) != on) wanted.back() = top;
            if (type.isSigned())
                mw::setChunksBitValue(chunks.data(), type, bits, on, static_cast<int>(raw.size()));
            EXPECT_EQ(chunks, wanted);
            if (bits <= 64) continue;
            wanted[0] = on ? 8 : 6;
            chunks[0] = 7;
            on ? mw::incrementChunks(chunks.data(), type, static_cast<int>(raw.size()))
               : mw::decrementChunks(chunks.data(), type, static_cast<int>(raw.size()));
            EXPECT_EQ(chunks, wanted);
        }
        Type const word = fixedType(false, bits),
                   whole = fixedType(false, static_cast<int>(64 * chunkCount(type)));
        for (Int const& value : valuesOf(type, random, 4)) {
            auto const gave = [&](char const* kernel, Int const& wanted, auto const& run) {
                forEachCount(chunkCount(type), [&](auto n) {
                    Chunks chunks = chunksOf(value, type);
                    run(chunks.data(), n);
                    EXPECT_EQ(chunks, chunksOf(wanted, type)) << kernel << " of " << value;
                });
            };
            gave("negate", -value, [](Chunk* c, auto n) { mw::negateChunks(c, n); });
            gave("magnitude", abs(value), [&](Chunk* c, auto n) { mw::copyMagnitude(c, c, type, n); });
            gave("increment", wrapTo(value + 1, type),
                 [&](Chunk* c, auto n) { mw::incrementChunks(c, type, n); });
            gave("decrement", wrapTo(value - 1, type),
                 [&](Chunk* c, auto n) { mw::decrementChunks(c, type, n); });

            // Without sign, two chunks lose the low bits of the top chunk, others the high ones.
            Int const flipped = wrapTo(-value - 1, whole),
                      lost = (Int(1) << static_cast<unsigned>(bits)) >> 65;
            Int const kept = bits > 64 && bits <= 128 ? Int(flipped - (flipped & (lost - 1) << 64))
                                                      : wrapTo(flipped, word);
            gave("complement", type.isSigned() ? Int(-value - 1) : kept,
                 [&](Chunk* c, auto n) { mw::bitNotChunks(c, type, n); });

            for (int bit = 1; bit <= bits; ++bit) {
                if (bits > 5 && bit % 64 > 1 && bit < bits - 1 && random.between(0, 20) != 0) continue;
                Int const pattern = wrapTo(value, word), mask = Int(1) << static_cast<unsigned>(bit - 1);
                for (bool const on : {false, true})
                    gave("set bit", wrapTo(pattern - (pattern & mask) + (on ? mask : Int(0)), type),
                         [&](Chunk* c, auto n) { mw::setChunksBitValue(c, type, bit, on, n); });
            }
        }
    }
}

/// a + b or a - b where operands may have bits above the word: what is left and what the client hears. The
/// overflow of a type without sign shows in the top chunk alone, after it was cut.
Outcome sumOf(bool plus, Type const& type, Chunks const& a, Chunks const& b, int sat)
{
    Chunks sum = a;
    bool carry = false;
    for (std::size_t i = 0; i < sum.size(); ++i) {
        sum[i] = plus ? a[i] + b[i] + carry : a[i] - b[i] - carry;
        if (i + 1 == sum.size()) sum = chunksOf(wrapTo(valueOf(sum.data(), type), type), type);
        carry = (plus ? sum[i] < a[i] : sum[i] > a[i]) || (carry && sum[i] == a[i]);
    }
    Int const stored = valueOf(sum.data(), type);
    bool const negA = valueOf(a.data(), type) < 0, negB = valueOf(b.data(), type) < 0;
    bool const overflows = type.isSigned() ? (negA == negB) == plus && (stored < 0) != negA : carry;
    if (!overflows || sat == 0) return {stored, Events(overflows, Event::wrap)};
    return negA || (!type.isSigned() && !plus) ? Outcome{minStored(type), {Event::saturationToMin}}
                                               : Outcome{maxStored(type), {Event::saturationToMax}};
}

/// Both operations and overflow modes, into chunks elsewhere, over a, over b, and with all three in one
/// place.
void checkSums(Type const& type, Chunks const& a, Chunks const& b, bool isCanonical)
{
    for (int const sat : bothOverflows) {
        auto const check = [&]<mw::Sum sum>(std::integral_constant<mw::Sum, sum>) {
            bool const plus = sum == mw::Sum::plus;
            Int const x = valueOf(a.data(), type), y = valueOf(b.data(), type);
            Outcome const wanted = isCanonical ? store(Rational(x + (plus ? y : Int(-y))), type, 0, sat)
                                               : sumOf(plus, type, a, b, sat);
            for (int aliases = 0; aliases < (a == b ? 4 : 3); ++aliases)
                forEachCount(chunkCount(type), [&](auto n) {
                    Chunks const before = aliases & 1 ? a : aliases & 2 ? b : Chunks(a.size() + 1, 0xA5);
                    EXPECT_TRUE(gives(wanted, type, before,
                                      [&](auto& client, Chunk* dst) {
                                          mw::addInto<sum>(client, mw::ChunkTarget(dst, n), type,
                                                           aliases & 1 ? dst : a.data(),
                                                           aliases & 2 ? dst : b.data(), sat);
                                      }))
                        << x << (plus ? " + " : " - ") << y << Modes{0, sat} << ", aliases " << aliases;
                });
        };
        check(std::integral_constant<mw::Sum, mw::Sum::plus>());
        check(std::integral_constant<mw::Sum, mw::Sum::minus>());
    }
}

TEST(ChunkSum, AgreesWithBigIntegers)
{
    Random random(12);
    for (Type const& type : types()) {
        SCOPED_TRACE(type);
        std::vector<Int> const values = valuesOf(type, random, 6);
        for (Int const& a : values)
            for (Int const& b : values)
                if (type.wordLength <= 5 || random.between(0, 15) == 0)
                    checkSums(type, chunksOf(a, type), chunksOf(b, type), true);
        for (int i = 0; i < 30; ++i) {
            Chunks const a = rawChunks(type, random);
            checkSums(type, a, i % 3 == 0 ? a : rawChunks(type, random), false);
        }
        if (HasFailure()) return;
    }
}

/// The full product, and that brought to a type at once, elsewhere and over each operand.
void checkProduct(Type const& a, Chunks const& aChunks, Type const& b, Chunks const& bChunks, Type to,
                  Modes modes)
{
    Int const x = valueOf(aChunks.data(), a), y = valueOf(bChunks.data(), b);
    int const aCount = static_cast<int>(aChunks.size()), bCount = static_cast<int>(bChunks.size());
    Type const type = fixedType(a.isSigned() || b.isSigned(), a.wordLength + b.wordLength,
                                a.fixedExponent + b.fixedExponent);
    testing::Message const trace = testing::Message() << x << " of " << a << " times " << y << " of " << b;
    SCOPED_TRACE(trace);
    Chunks wanted = chunksOf(x * y, type);
    int const count = static_cast<int>(wanted.size());
    wanted.push_back(0xA5);
    forEachCount(aChunks.size(), [&](auto m) {
        forEachCount(bChunks.size(), [&](auto n) {
            Chunks product(wanted.size(), 0xA5);
            mw::multiplyChunksFull(product.data(), count, aChunks.data(), a, m, bChunks.data(), b, n);
            EXPECT_EQ(product, wanted);
        });
    });
    if (aChunks != chunksOf(wrapTo(x, a), a) || bChunks != chunksOf(wrapTo(y, b), b)) return;
    to.fixedExponent += type.fixedExponent;
    Outcome const outcome = convert(x * y, type, to, modes.round, modes.sat);
    for (int aliases = 0; aliases < (aChunks == bChunks ? 4 : 3); ++aliases)
        forEachCount(chunkCount(to), [&](auto n) {
            Chunks before = aliases & 1 ? aChunks : aliases & 2 ? bChunks : Chunks();
            before.resize(std::max(before.size(), chunkCount(to)), 0xA5);
            EXPECT_TRUE(gives(outcome, to, before,
                              [&](auto& client, Chunk* dst) {
                                  mw::multiplyInto(client, mw::ChunkTarget(dst, n), to,
                                                   aliases & 1 ? dst : aChunks.data(), a, aCount,
                                                   aliases & 2 ? dst : bChunks.data(), b, bCount,
                                                   static_cast<fxpModeRounding_tag>(modes.round), modes.sat);
                              }))
                << " into " << to << modes << ", aliases " << aliases;
        });
}

TEST(ChunkProduct, AgreesWithBigIntegers)
{
    Random random(13);
    auto const anyModes = [&] {
        return Modes{random.between(-1, fxpModeRoundingConvergent + 1), random.between(0, 1)};
    };
    for (Type const& a : types())
        for (Type const& b : types()) {
            std::vector<Int> const values = valuesOf(b, random, 1);
            for (Int const& x : valuesOf(a, random, 1))
                for (Int const& y : values)
                    if (a.wordLength + b.wordLength <= 8 || random.between(0, 300) == 0)
                        checkProduct(a, chunksOf(x, a), b, chunksOf(y, b), random.radixType(10, -2, 4),
                                     anyModes());
        }
    for (int i = 0; i < 4000 && !HasFailure(); ++i) {
        int const bits = random.pick(std::array{20, 70, 200, 400});
        Type const a = random.radixType(bits, -bits, bits),
                   b = random.coin() ? a : random.radixType(bits, -bits, bits);
        checkProduct(a, rawChunks(a, random), b, rawChunks(b, random), a, {});
        Type to = fixedType(a.isSigned() || b.isSigned(),
                            a.wordLength + b.wordLength); // it takes the product as it is
        if (i % 4 != 0) to.fixedExponent = random.between(-5, to.wordLength + 2);
        if (i % 4 > 1) to = fixedType(random.coin(), random.between(1, 2 * bits), to.fixedExponent);
        Int const x = random.pick(interestingStored(a, random, 2)),
                  y = random.coin() && a == b ? x : random.pick(interestingStored(b, random, 2));
        checkProduct(a, chunksOf(x, a), b, chunksOf(y, b), to, anyModes());
    }
}

/// b is converted first, then a, then they are subtracted; the result may lie where a lies.
TEST(ChunkDifference, AcrossTypesConvertsBoth)
{
    Type const to = fixedType(true, 8, -2), fine = fixedType(true, 16, -4), whole = fixedType(false, 8);
    RecordingClient client;
    Chunk a = 16 * 5 + 8, b = 3; // 5.5 and 3
    mw::subtractToType(client, &a, to, &a, fine, &b, whole, fxpModeRoundingNearest, 1);
    EXPECT_EQ(a, 10U);
    EXPECT_EQ(client.events(), Events{});
    Chunk far = 0xFFFFFFFFFFFFFF88, large = 40; // -30, and 40 that saturates on its way
    mw::subtractToType(client, &far, to, &far, to, &large, whole, fxpModeRoundingNearest, 1);
    EXPECT_EQ(far, 0xFFFFFFFFFFFFFF80);
    EXPECT_EQ(client.events(), (Events{Event::saturationToMax, Event::saturationToMin}));
}

} // namespace
