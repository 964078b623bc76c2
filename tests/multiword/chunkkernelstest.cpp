#include "client/nullclient.h"
#include "multiword/chunkbuffer.h"
#include "multiword/chunkcompare.h"
#include "multiword/chunkconvert.h"
#include "multiword/chunkdouble.h"
#include "multiword/chunkgeometry.h"
#include "multiword/chunkshift.h"
#include "support/outcomecheck.h"

#include <climits>
#include <set>

namespace
{
using namespace orvextest;
namespace mw = ORVEX::multiword;
using Type = fxpDataTypeProp;
using Chunks = std::vector<Chunk>;

/// Calls f with the number of chunks as an int, and as the constant where there is one.
template <class F>
void forEachCount(Type const& type, F const& f)
{
    int const count = static_cast<int>(chunkCount(type));
    f(count);
    if (count == 1) f(mw::One());
    if (count == 2) f(mw::Two());
}

/// Shift counts at every seam of the type, and far beyond it.
std::set<Chunk> shiftCounts(Type const& type)
{
    std::set<Chunk> counts{0, 1, 2, 52, 53, 63, 64, 65, 127, 128, 129, 191, 192, 1000, 1ULL << 32, ~0ULL};
    for (int const seam : {type.wordLength, static_cast<int>(64 * chunkCount(type))})
        for (int const near : {-3, -2, -1, 0, 1, 2})
            counts.insert(static_cast<Chunk>(std::max(0, seam + near)));
    return counts;
}

TEST(ChunkGeometry, ExtremesAndBitsByWeight)
{
    Random random(2);
    for (Type const& type : seamTypes(-5)) {
        SCOPED_TRACE(type);
        Int const low = minStored(type), high = maxStored(type);
        int const count = static_cast<int>(chunkCount(type));
        EXPECT_EQ(mw::numChunksForWordLength(type.wordLength), count);
        EXPECT_EQ(mw::numChunksOfType(type), count);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(mw::minValueChunk(i, type), chunksOf(low, type)[static_cast<std::size_t>(i)]);
            EXPECT_EQ(mw::maxValueChunk(i, type), chunksOf(high, type)[static_cast<std::size_t>(i)]);
        }
        auto const bitOf = [&](Int const& value, int position) {
            return position >= 0 && modulo(floorOf(scaled(value, -position)), 2) == 1;
        };
        for (int position = -70; position < type.wordLength + 70; ++position) {
            EXPECT_EQ(mw::minValueBitAtWeight(type, position - 5), bitOf(low, position)) << position;
            EXPECT_EQ(mw::maxValueBitAtWeight(type, position - 5), bitOf(high, position)) << position;
        }
        forEachCount(type, [&](auto n) {
            Chunks chunks(chunkCount(type), 0xA5);
            mw::setChunksToMin(chunks.data(), type, n);
            EXPECT_EQ(chunks, chunksOf(low, type));
            mw::setChunksToMax(chunks.data(), type, n);
            EXPECT_EQ(chunks, chunksOf(high, type));
            mw::setChunksToMinPositive(chunks.data(), n);
            EXPECT_EQ(chunks, chunksOf(1, type));
            for (Int const& value : interestingStored(type, random, 2)) {
                chunks = chunksOf(value, type);
                EXPECT_EQ(mw::chunksAreZero(chunks.data(), n), value == 0);
                EXPECT_EQ(mw::chunksAreNegative(chunks.data(), type, n), value < 0);
                EXPECT_EQ(mw::signFillChunk(chunks.data(), type, n), value < 0 ? ~0ULL : 0ULL);
                for (int const position :
                     {-1, 0, 1, 63, 64, 65, 128, type.wordLength - 1, type.wordLength, 999})
                    EXPECT_EQ(mw::getChunksBitAtWeight(chunks.data(), type, position - 5, n),
                              bitOf(value, position))
                        << value << ' ' << position;
            }
        });
    }
    RecordingClient client;
    for (mw::Event const event :
         {mw::Event::none, mw::Event::wrap, mw::Event::saturationToMin, mw::Event::saturationToMax})
        mw::tell(client, event);
    EXPECT_EQ(client.events(), (Events{Event::wrap, Event::saturationToMin, Event::saturationToMax}));
}

/// Every shift kernel on one value. A value that has bits above the word is read as it stands, and not every
/// kernel says what becomes of it.
void checkShifts(Type const& type, Int const& value, Chunk n, bool canonical)
{
    SCOPED_TRACE(testing::Message() << value << " of " << type << " by " << n);
    Int const factor = Int(1) << static_cast<unsigned>(std::min<Chunk>(n, 1100)), up = value * factor;
    Rational const down(value, factor);
    Events underflow(value > 0 && n >= static_cast<Chunk>(type.getWordLengthNonSign()), Event::underflow);
    // Only by whole chunks does a negative value keep its extension on the way down; on the way up they leave
    // the top chunk as it comes.
    bool const wholeChunks = n % 64 == 0;
    int const patternBits = wholeChunks ? static_cast<int>(64 * chunkCount(type)) : type.wordLength;
    Outcome const right{floorOf(down), underflow}, left{wholeChunks ? up : wrapTo(up, type), {}},
        logical{wrapTo(value, fixedType(false, patternBits)) / factor, {}},
        saturated = store(Rational(up), type, 0, 1);
    Chunks const before = chunksOf(value, type);
    forEachCount(type, [&](auto count) {
        EXPECT_TRUE(gives(right, type, before, [&](auto& client, Chunk* chunks) {
            mw::shiftRightArithmeticChunks(client, chunks, type, n, count);
        })) << "right arithmetic";
        if (!canonical) return;
        EXPECT_TRUE(gives(logical, type, before, [&](auto&, Chunk* chunks) {
            mw::shiftRightLogicalChunks(chunks, type, n, count);
        })) << "right logical";
        EXPECT_TRUE(gives(left, type, before, [&](auto&, Chunk* chunks) {
            mw::shiftLeftChunks(chunks, type, n, count);
        })) << "left";
        EXPECT_TRUE(gives(saturated, type, before, [&](auto& client, Chunk* chunks) {
            mw::tell(client, mw::shiftLeftSaturatingChunks(chunks, type, n, count));
        })) << "left saturating";
        if (n > LLONG_MAX) return;
        for (int const sign : {-1, 1})
            EXPECT_TRUE(gives(sign < 0 || n == 0 ? left : right, type, before,
                              [&](auto& client, Chunk* chunks) {
                                  mw::shiftChunksSigned(client, chunks, type,
                                                        sign * static_cast<long long>(n), count);
                              }))
                << "signed " << sign;
    });
    for (int mode = -1; canonical && n != 0 && mode <= fxpModeRoundingConvergent + 1; ++mode) {
        Outcome const rounded{roundTo(down, mode), underflow};
        forEachCount(type, [&](auto count) {
            EXPECT_TRUE(gives(rounded, type, before, [&](auto& client, Chunk* chunks) {
                mw::roundShiftRightChunks(client, chunks, type, n, static_cast<fxpModeRounding_tag>(mode),
                                          count);
            })) << roundingName(mode);
        });
    }
}

TEST(ChunkShift, AgreesWithBigIntegers)
{
    Random random(3);
    for (Type const& type : seamTypes()) {
        for (Chunk const n : shiftCounts(type)) {
            for (Int const& value : interestingStored(type, random, 4))
                if (type.wordLength < 10 || random.between(0, 4) == 0) checkShifts(type, value, n, true);
            Chunks raw(chunkCount(type));
            std::ranges::generate(raw, [&] { return random.bits(); });
            checkShifts(type, valueOf(raw.data(), type), n, false);
            if (HasFailure()) return;
        }
        EXPECT_TRUE(gives({0, {}}, type, chunksOf(maxStored(type), type), [&](auto& client, Chunk* chunks) {
            mw::shiftChunksSigned(client, chunks, type, LLONG_MIN, static_cast<int>(chunkCount(type)));
        }));
    }
}

TEST(ChunkCompare, AgreesWithRationalsAtEverySpan)
{
    Random random(4);
    for (int i = 0; i < 6000; ++i) {
        int const longest = random.pick(std::array{20, 64, 128, 300});
        Type a = random.radixType(longest, -70, 70),
             b = random.radixType(longest, a.fixedExponent - 2, a.fixedExponent + random.between(0, 140));
        if (random.coin()) { // the highest weight alone in a chunk, or the last one in it
            b.wordLength = std::min(b.wordLength, 64);
            b.fixedExponent = a.fixedExponent + a.wordLength - random.pick(std::array{64, 65, 128, 129, 193});
        }
        Int x = random.pick(interestingStored(a, random, 2)),
            y = random.pick(interestingStored(b, random, 2));
        if (random.coin()) { // nearly equal values
            Outcome const near = convert(x, a, b, random.pick(allRoundings), 1);
            y = store(near.stored + random.between(-1, 1), b, 0, 1).stored;
        }
        if (random.coin()) std::swap(a, b), std::swap(x, y);
        Chunks const p = chunksOf(x, a), q = chunksOf(y, b);
        auto const against = [&](Int const& other) {
            return Rational(radixValue(x, a) - radixValue(other, b)).sign();
        };
        SCOPED_TRACE(testing::Message() << x << " of " << a << ", " << y << " of " << b);
        forEachCount(a, [&](auto n) {
            EXPECT_EQ(mw::compareChunksToTypeMin(p.data(), a, b, n), against(minStored(b)));
            EXPECT_EQ(mw::compareChunksToTypeMax(p.data(), a, b, n), against(maxStored(b)));
            forEachCount(b, [&](auto m) {
                EXPECT_EQ(mw::compareChunks(p.data(), a, q.data(), b, n, m), against(y));
                Type scaled = b;
                scaled.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.75, std::nan("")});
                scaled.bias = random.between(-1, 1);
                double const left = readRealWorld(x, a), right = readRealWorld(y, scaled);
                EXPECT_EQ(mw::compareByRealWorldValue(p.data(), a, q.data(), scaled, n, m),
                          std::isnan(right) ? 2 : (left > right) - (left < right));
            });
        });
        if (HasFailure()) break;
    }
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
        Chunks p(chunkCount(a)), q(chunkCount(b));
        std::ranges::generate(p, [&] { return random.bits(); });
        std::ranges::generate(q, [&] { return random.bits(); });
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
                forEachCount(type, [&](auto n) {
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

/// Converts into another array and in place, where the larger of the two types needs the room.
testing::AssertionResult convertsExactly(Int const& value, Type const& from, Type const& to,
                                         fxpModeRounding_tag round, int sat)
{
    Outcome const wanted = convert(value, from, to, round, sat);
    Chunks const source = chunksOf(value, from);
    Chunks inPlace = source;
    inPlace.resize(std::max(chunkCount(from), chunkCount(to)), 0x5A5A);
    auto result = gives(wanted, to, Chunks(chunkCount(to), 0x5A5A), [&](auto& client, Chunk* dst) {
        mw::convertChunksToChunks(client, dst, to, source.data(), from, round, sat);
    });
    if (result)
        result = gives(wanted, to, inPlace,
                       [&](auto& client, Chunk* dst) {
                           mw::convertChunksToChunks(client, dst, to, dst, from, round, sat);
                       })
                 << " in place";
    return result << ": " << value << " of " << from << " to " << to << Modes{round, sat};
}

TEST(ChunkConvert, AllSmallTypesExhaustively)
{
    for (int const fromBits : {1, 4})
        for (int const toBits : {1, 3, 5})
            for (int exponent = -1; exponent <= 8; ++exponent)
                for (unsigned signs = 0; signs < 4; ++signs) {
                    Type const from = fixedType(signs & 1, fromBits, 2),
                               to = fixedType(signs & 2, toBits, exponent);
                    for (Int value = minStored(from); value <= maxStored(from); ++value)
                        for (auto const round : allRoundings)
                            for (int const sat : bothOverflows)
                                ASSERT_TRUE(convertsExactly(value, from, to, round, sat));
                }
}

TEST(ChunkConvert, RandomTypesAtTheSeams)
{
    Random random(6);
    for (int i = 0; i < 5000; ++i) {
        Type const from = random.radixType(300, -60, 60),
                   to = random.radixType(300, from.fixedExponent - 70,
                                         from.fixedExponent + random.between(0, 310));
        ASSERT_TRUE(convertsExactly(random.pick(interestingStored(from, random, 3)), from, to,
                                    random.pick(allRoundings), random.pick(bothOverflows)));
    }
}

TEST(ChunkConvert, LooksAtNeitherSlopeNorBias)
{
    Type const from(fxpModeDataTypeFixed, true, 65, 1.5, 3, 7.0, 1),
        to(fxpModeDataTypeScaledDouble, false, 70, 1.25, -2, -3.0, 2);
    for (int const value : {0, 5, -5})
        for (int const sat : bothOverflows)
            for (Type const& target : {to, from})
                EXPECT_TRUE(convertsExactly(value, from, target, fxpModeRoundingNearest, sat));
    // Between equal types a plain copy, bits above the word included.
    Type const narrow = fixedType(false, 8);
    Chunk const raw = 0x1FF;
    EXPECT_TRUE(gives({raw, {}}, narrow, {0}, [&](auto& client, Chunk* dst) {
        mw::convertChunksToChunks(client, dst, narrow, &raw, narrow, fxpModeRoundingNearest, 0);
    }));
}

TEST(ChunkBuffer, HoldsTwoChunksInPlaceAndMoreOnTheHeap)
{
    for (int const count : {0, 1, 2, 3, 9}) {
        mw::ChunkBuffer buffer(count, 7), later;
        later.reset(9);
        later.reset(count);
        for (int i = 0; i < count; ++i) later[i] = buffer.data()[i] + 1;
        for (int i = 0; i < count; ++i) EXPECT_TRUE(buffer[i] == 7 && later.data()[i] == 8);
        for (mw::ChunkBuffer* const each : {&buffer, &later}) {
            auto const at = reinterpret_cast<std::uintptr_t>(each->data()),
                       start = reinterpret_cast<std::uintptr_t>(each);
            EXPECT_EQ(at >= start && at < start + sizeof *each, count <= 2);
        }
    }
}

} // namespace
