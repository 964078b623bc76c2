/// \file
/// The conversion between two fixed types that differ by a power of two: round, test the limits, store, tell.
#pragma once

#include "multiword/chunkbuffer.h"
#include "multiword/chunkcompare.h"
#include "multiword/chunkshift.h"
#include "multiword/target.h"

#include <algorithm>

namespace ORVEX::multiword
{

/// Scratch for a count that may be known to the compiler.
template <class Count>
struct Scratch {
    explicit Scratch(Count) {}
    Chunk* data() { return chunks; }
    Chunk chunks[Count::value];
};

template <>
struct Scratch<int> : WideScratch {
    using WideScratch::WideScratch;
};

/// True of most values that `to` holds: then the chunks, moved up to its exponent, are the result. Only of
/// chunks that comparison would take as they stand, or whose top one keeps its rule; the exponent of `to` is
/// not above that of the value.
template <class Count>
[[gnu::always_inline]] inline bool fitsAsItStands(Chunk const* value, fxpDataTypeProp const& type,
                                                  fxpDataTypeProp const& to, Count count)
{
    long long const up = static_cast<long long>(type.fixedExponent) - to.fixedExponent;
    long long const room = to.getWordLengthNonSign() - up;
    if (room < 0 || to.wordLength < 1) return false;
    if (std::max(type.wordLength + up, 0LL + to.wordLength) > 2 * chunkBits &&
        (numChunksOfType(type) != count || fixedTopChunk(value[count - 1], type) != value[count - 1]))
        return false;
    Chunk const fill = signFillChunk(value, type, count);
    // Signs are random, and nothing branches on them: a wrong one counts as a bit that differs.
    Chunk const wanted = to.isSigned() ? fill : 0;
    return ((fill ^ wanted) | bitsUnlikeFill(value, room, wanted, count)) == 0;
}

/// Brings the stored integer `src` of type `from` into `target` of type `to`, whose slope factor and bias are
/// taken to be the same. The source may lie where the target lies.
///
/// May call handleUnderflow before the store; then, after the store, one of handleOverflowWrap (wrapping),
/// handleSaturationToMin or handleSaturationToMax (saturating). A value exactly at a limit is silent.
/// Allocates only for a source beyond WideScratch.
template <class Target, class SourceCount>
void convertInto(OrvexClientInterface& client, Target target, fxpDataTypeProp const& to, Chunk const* src,
                 fxpDataTypeProp const& from, fxpModeRounding_tag round, int sat, SourceCount srcCount)
{
    auto const count = target.count();
    Chunk* const dst = target.data();
    int const common = std::min<int>(srcCount, count);
    long long const shift = static_cast<long long>(to.fixedExponent) - from.fixedExponent;
    auto const moveUp = [&](Chunk const* value, Chunk fill) {
        std::copy_n(value, common, dst);
        std::fill(dst + common, dst + static_cast<int>(count), fill);
        if (shift < 0) shiftLeftChunks(dst, to, static_cast<unsigned long long>(-shift), count);
    };
    if (shift <= 0 && fitsAsItStands(src, from, to, srcCount)) {
        moveUp(src, signFillChunk(src, from, srcCount));
        return target.commit();
    }

    Scratch<SourceCount> scratch(srcCount);
    Chunk* const value = scratch.data();
    std::copy_n(src, static_cast<int>(srcCount), value);
    fxpDataTypeProp type = from;
    if (shift > 0) {
        roundShiftRightChunks(client, value, type, static_cast<unsigned long long>(shift), round, srcCount);
        type.fixedExponent = to.fixedExponent;
    }
    Chunk const fill = signFillChunk(value, type, srcCount);
    if (shift > 0 && fitsAsItStands(value, type, to, srcCount)) {
        moveUp(value, fill);
        return target.commit();
    }
    if (sat) {
        // Rounding has come first: a value that rounds into the extreme is that extreme.
        int const order = fill ? compareChunksToTypeMin(value, type, to, srcCount)
                               : -compareChunksToTypeMax(value, type, to, srcCount);
        if (order <= 0) {
            Event const end = fill ? Event::saturationToMin : Event::saturationToMax;
            storeExtreme(target, to, end);
            if (order < 0) tell(client, end);
            return;
        }
    }

    if (type == to) { // nothing can have overflowed, and the chunks stay as they are
        std::copy_n(value, common, dst);
        return target.commit();
    }
    moveUp(value, fill);
    dst[count - 1] = Target::cut(fixedTopChunk(dst[count - 1], to));
    target.commit();
    // By value, and so exact even if the word lost high bits of equal sign. The comparison tests the signs
    // first.
    if (!sat && compareChunks(dst, to, value, type, count, srcCount) != 0) tell(client, Event::wrap);
}

/// `convertInto` a chunk array. dst holds the chunks of `to`, src those of `from`.
inline void convertChunksToChunks(OrvexClientInterface& client, Chunk* dst, fxpDataTypeProp const& to,
                                  Chunk const* src, fxpDataTypeProp const& from, fxpModeRounding_tag round,
                                  int sat)
{
    int const srcCount = numChunksOfType(from);
    int const dstCount = numChunksOfType(to);
    if (srcCount == 1 && dstCount == 1)
        return convertInto(client, ChunkTarget(dst, One{}), to, src, from, round, sat, One{});
    if (srcCount <= 2 && dstCount == 2)
        return withCount(srcCount, [&](auto n) {
            convertInto(client, ChunkTarget(dst, Two{}), to, src, from, round, sat, n);
        });
    convertInto(client, ChunkTarget(dst, dstCount), to, src, from, round, sat, srcCount);
}

} // namespace ORVEX::multiword
