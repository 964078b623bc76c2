/// Chunk kernels by themselves: what no body shows of them, and conversions, which all of them share.
#include "multiword/chunkarith.h"
#include "multiword/chunkcompare.h"
#include "multiword/chunkconvert.h"
#include "multiword/chunkdouble.h"
#include "multiword/chunkgeometry.h"
#include "multiword/chunkshift.h"
#include "support/outcomecheck.h"

#include <climits>

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

/// Any bits in the whole container.
Chunks rawChunks(Type const& type, Random& random)
{
    Chunks chunks(chunkCount(type));
    std::ranges::generate(chunks, [&] { return random.pick(std::array{random.bits(), 0ULL, ~0ULL}); });
    return chunks;
}

/// What stands above the word stays, unless a carry meets the top chunk or the sign is changed; an arithmetic
/// shift reads it as it stands.
TEST(ChunkBits, AboveTheWord)
{
    Random random(11);
    for (Type const& type : seamTypes())
        for (int i = 0; i < 40; ++i) {
            SCOPED_TRACE(type);
            bool const on = i % 2 != 0;
            int const bits = type.wordLength;
            Chunks const raw = rawChunks(type, random);
            int const count = static_cast<int>(raw.size());
            Chunks wanted = raw, chunks = raw;
            Chunk const signs = ~0ULL << (bits - 1) % 64, top = on ? raw.back() | signs : raw.back() & ~signs;
            if (type.isSigned()) {
                if ((raw.back() >> 63 != 0) != on) wanted.back() = top;
                mw::setChunksBitValue(chunks.data(), type, bits, on, count);
            }
            EXPECT_EQ(chunks, wanted);
            if (bits > 64) {
                wanted[0] = on ? 8 : 6;
                chunks[0] = 7;
                on ? mw::incrementChunks(chunks.data(), type, count)
                   : mw::decrementChunks(chunks.data(), type, count);
                EXPECT_EQ(chunks, wanted);
            }
            Int const value = valueOf(raw.data(), type);
            Chunk const n = random.pick(std::array<Chunk, 6>{0, 1, 63, 64, 65, static_cast<Chunk>(bits)});
            Events const underflow(value > 0 && n >= static_cast<Chunk>(type.getWordLengthNonSign()),
                                   Event::underflow);
            forEachCount(raw.size(), [&](auto c) {
                EXPECT_TRUE(gives(
                    {floorOf(scaled(value, -static_cast<int>(n))), underflow}, type, raw,
                    [&](auto& client, Chunk* at) { mw::shiftRightArithmeticChunks(client, at, type, n, c); }))
                    << value << " by " << n;
            });
            EXPECT_TRUE(gives({0, {}}, type, chunksOf(maxStored(type), type), [&](auto& client, Chunk* at) {
                mw::shiftChunksSigned(client, at, type, LLONG_MIN, count);
            }));
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
TEST(ChunkSum, OfBitsAboveTheWord)
{
    Random random(12);
    for (Type const& type : seamTypes())
        for (int i = 0; i < 60; ++i) {
            Chunks const a = rawChunks(type, random), b = i % 3 == 0 ? a : rawChunks(type, random);
            int const sat = random.between(0, 1), aliases = random.between(0, a == b ? 3 : 2);
            auto const check = [&]<mw::Sum sum>(std::integral_constant<mw::Sum, sum>) {
                Chunks const before = aliases & 1 ? a : aliases & 2 ? b : Chunks(a.size() + 1, 0xA5);
                forEachCount(a.size(), [&](auto n) {
                    ASSERT_TRUE(gives(sumOf(sum == mw::Sum::plus, type, a, b, sat), type, before,
                                      [&](auto& client, Chunk* dst) {
                                          mw::addInto<sum>(client, mw::ChunkTarget(dst, n), type,
                                                           aliases & 1 ? dst : a.data(),
                                                           aliases & 2 ? dst : b.data(), sat);
                                      }))
                        << valueOf(a.data(), type) << (sum == mw::Sum::plus ? " + " : " - ")
                        << valueOf(b.data(), type) << type << Modes{0, sat} << ", aliases " << aliases;
                });
            };
            check(std::integral_constant<mw::Sum, mw::Sum::plus>());
            check(std::integral_constant<mw::Sum, mw::Sum::minus>());
        }
}

TEST(ChunkProduct, OfBitsAboveTheWord)
{
    Random random(13);
    for (int i = 0; i < 3000; ++i) {
        int const bits = random.pick(std::array{20, 70, 200, 400});
        Type const a = random.radixType(bits, 0, 0), b = random.radixType(bits, 0, 0);
        Chunks const x = rawChunks(a, random), y = rawChunks(b, random);
        Chunks wanted = chunksOf(valueOf(x.data(), a) * valueOf(y.data(), b),
                                 fixedType(a.isSigned() || b.isSigned(), a.wordLength + b.wordLength));
        int const count = static_cast<int>(wanted.size());
        wanted.push_back(0xA5);
        forEachCount(x.size(), [&](auto m) {
            forEachCount(y.size(), [&](auto n) {
                Chunks product(wanted.size(), 0xA5);
                mw::multiplyChunksFull(product.data(), count, x.data(), a, m, y.data(), b, n);
                ASSERT_EQ(product, wanted) << a << b;
            });
        });
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

/// A value aligned by the rule of its span, bits above its word included: up to 64 and 128 bits the container
/// is shifted into that many bits, and beyond them the sign stands above the word.
Int aligned(Int const& value, Type const& type, int lowest, int span)
{
    unsigned const shift = static_cast<unsigned>(type.fixedExponent - lowest);
    int const room = span <= 64 ? 64 : 128;
    Int const up = value << shift;
    if (span > 128)
        return (wrapTo(value, fixedType(false, type.wordLength)) -
                (value < 0 ? Int(1) << static_cast<unsigned>(type.wordLength) : Int(0)))
               << shift;
    bool const cut = span > 64 && shift % 64 != 0;
    return wrapTo(cut ? wrapTo(up, fixedType(type.isSigned(), span)) : up, fixedType(false, room));
}

TEST(ChunkCompare, TakesBitsAboveTheWordAsTheyStand)
{
    Random random(11);
    for (int i = 0; i < 6000; ++i) {
        Type const a = random.radixType(random.pick(std::array{60, 120, 200}), 0, 3),
                   b = random.coin() ? a : random.radixType(a.wordLength, 0, random.pick(std::array{3, 70}));
        Chunks const p = rawChunks(a, random);
        Chunks q = rawChunks(b, random);
        if (random.coin() && a == b)
            std::copy(p.begin(), p.end() - 1, q.begin()), q.back() = p.back() ^ 1ULL << random.between(0, 63);
        Int const x = valueOf(p.data(), a), y = valueOf(q.data(), b);
        int const lowest = std::min(a.fixedExponent, b.fixedExponent);
        int const span = std::max(a.fixedExponent + a.wordLength, b.fixedExponent + b.wordLength) - lowest;
        Int const difference =
            (x < 0) != (y < 0) ? x - y : aligned(x, a, lowest, span) - aligned(y, b, lowest, span);
        ASSERT_EQ(mw::compareChunks(p.data(), a, q.data(), b, static_cast<int>(p.size()),
                                    static_cast<int>(q.size())),
                  difference.sign())
            << x << " of " << a << ", " << y << " of " << b;
    }
}

TEST(ChunkDouble, SumsOneRoundedConversionPerChunk)
{
    Random random(5);
    for (Type type : seamTypes())
        for (int const exponent : {0, -7, -1074, 960, INT_MAX - 64, INT_MAX, INT_MIN}) {
            type.fixedExponent = exponent;
            type.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.9});
            type.bias = random.pick(std::array{0.0, 0.7});
            SCOPED_TRACE(type);
            std::vector<Int> values = interestingStored(type, random, 4);
            values.push_back(
                valueOf(Chunks(chunkCount(type), random.bits()).data(), type)); // bits above the word
            for (Int const& value : values) {
                Chunks const chunks = chunksOf(value, type);
                double const radix = readRadix(value, type), real = readRealWorld(value, type);
                forEachCount(chunks.size(), [&](auto n) {
                    EXPECT_TRUE(sameDouble(mw::chunksToRadixDouble(chunks.data(), type, n), radix)) << value;
                    EXPECT_TRUE(sameDouble(mw::chunksToRealWorldDouble(chunks.data(), type, n), real))
                        << value;
                });
            }
            Type const integer = fixedType(type.isSigned(), type.wordLength);
            EXPECT_TRUE(sameDouble(mw::minStoredIntegerAsDouble(type), readRadix(minStored(type), integer)));
            EXPECT_TRUE(sameDouble(mw::maxStoredIntegerAsDouble(type), readRadix(maxStored(type), integer)));
        }
    // Rounded once: through a signed conversion and an added 2^64 this would be one unit lower.
    Chunk const tie = (1ULL << 63) + 1025;
    EXPECT_EQ(mw::chunksToRadixDouble(&tie, fixedType(false, 64), mw::One()), 0x1.0000000000001p63);
}

/// Elsewhere and in place, where the larger of the two types needs the room.
TEST(ChunkConvert, InPlaceAndBetweenEqualTypes)
{
    Random random(6);
    for (int i = 0; i < 2000; ++i) {
        Type const from = random.radixType(300, -60, 60);
        Type to = random.radixType(300, from.fixedExponent - 70, from.fixedExponent + 310);
        if (i % 8 == 0) to = from;
        Int const value = random.pick(interestingStored(from, random, 3));
        Chunks const source = chunksOf(value, from);
        Modes const modes{random.pick(allRoundings), random.pick(bothOverflows)};
        Chunks before = i % 2 == 0 ? source : Chunks();
        before.resize(std::max(chunkCount(from), chunkCount(to)), 0x5A5A);
        ASSERT_TRUE(gives(convert(value, from, to, modes.round, modes.sat), to, before,
                          [&](auto& client, Chunk* dst) {
                              mw::convertChunksToChunks(client, dst, to, i % 2 == 0 ? dst : source.data(),
                                                        from, static_cast<fxpModeRounding_tag>(modes.round),
                                                        modes.sat);
                          }))
            << value << " of " << from << " to " << to << modes;
    }
    // Bits above the word are copied between equal types.
    Type const narrow = fixedType(false, 8);
    Chunk const raw = 0x1FF;
    EXPECT_TRUE(gives({raw, {}}, narrow, {0}, [&](auto& client, Chunk* dst) {
        mw::convertChunksToChunks(client, dst, narrow, &raw, narrow, fxpModeRoundingNearest, 0);
    }));
}

} // namespace
