/// \file
/// Shifts of chunk arrays in place, and the rounded right shift. Counts are in bits and have no upper limit.
#pragma once

#include "multiword/chunkgeometry.h"
#include "multiword/rounding.h"

#include <algorithm>

namespace ORVEX::multiword
{

/// Moves the value down by n bits and fills with `fill` from above the top chunk.
template <class Count>
void moveChunksDown(Chunk* chunks, unsigned long long n, Chunk fill, Count count)
{
    unsigned long long const q = n / chunkBits;
    int const r = static_cast<int>(n % chunkBits);
    for (int i = 0; i < count; ++i) {
        unsigned long long const from = static_cast<unsigned long long>(i) + q;
        Chunk const low = from < static_cast<unsigned long long>(count) ? chunks[from] : fill;
        Chunk const high = from + 1 < static_cast<unsigned long long>(count) ? chunks[from + 1] : fill;
        chunks[i] = r == 0 ? low : (low >> r) | (high << (chunkBits - r));
    }
}

/// Right, zeros in at position W - 1, except that a negative value shifted by a multiple of 64 keeps the sign
/// extension of its old top chunk.
template <class Count>
void shiftRightLogicalChunks(Chunk* chunks, fxpDataTypeProp const& type, unsigned long long n, Count count)
{
    if (n % chunkBits != 0 && chunksAreNegative(chunks, type, count))
        chunks[count - 1] &= lowMask(topBit(type));
    moveChunksDown(chunks, n, 0, count);
}

/// Right, the sign copied in. Calls handleUnderflow first if a positive value loses all its bits.
template <class Count>
void shiftRightArithmeticChunks(OrvexClientInterface& client, Chunk* chunks, fxpDataTypeProp const& type,
                                unsigned long long n, Count count)
{
    Chunk const fill = signFillChunk(chunks, type, count);
    auto const magnitudeBits = static_cast<unsigned long long>(std::max(0, type.getWordLengthNonSign()));
    if (n >= magnitudeBits && fill == 0 && !chunksAreZero(chunks, count)) client.handleUnderflow();
    moveChunksDown(chunks, n, fill, count);
}

/// Left, wrapping, silent. Shifting by a multiple of 64 leaves the top chunk as it comes; any other count
/// restores the top-chunk rule.
template <class Count>
void shiftLeftChunks(Chunk* chunks, fxpDataTypeProp const& type, unsigned long long n, Count count)
{
    unsigned long long const q = n / chunkBits;
    int const r = static_cast<int>(n % chunkBits);
    if (n == 0) return;
    for (int i = count - 1; i >= 0; --i) {
        unsigned long long const at = static_cast<unsigned long long>(i);
        Chunk const high = at >= q ? chunks[at - q] : 0;
        Chunk const low = at >= q + 1 ? chunks[at - q - 1] : 0;
        chunks[i] = r == 0 ? high : (high << r) | (low >> (chunkBits - r));
    }
    if (r != 0 && q < static_cast<unsigned long long>(count))
        chunks[count - 1] = fixedTopChunk(chunks[count - 1], type);
}

/// Other than 0 if any bit from position `from` up differs from the fill, all ones or 0.
template <class Count>
Chunk bitsUnlikeFill(Chunk const* chunks, long long from, Chunk fill, Count count)
{
    Chunk differs = 0;
    for (int i = 0; i < count; ++i)
        differs |= (chunks[i] ^ fill) & highMask(from - static_cast<long long>(i) * chunkBits);
    return differs;
}

/// Left; a value that would lose a significant bit becomes the extreme of its sign. Silent: the caller tells.
template <class Count>
Event shiftLeftSaturatingChunks(Chunk* chunks, fxpDataTypeProp const& type, unsigned long long n, Count count)
{
    if (chunksAreZero(chunks, count)) return Event::none;
    Chunk const fill = signFillChunk(chunks, type, count);
    bool const fits =
        n < static_cast<unsigned long long>(std::max(0, type.wordLength)) &&
        bitsUnlikeFill(chunks, type.getWordLengthNonSign() - static_cast<long long>(n), fill, count) == 0;
    if (fits) {
        shiftLeftChunks(chunks, type, n, count);
        return Event::none;
    }
    if (fill) {
        setChunksToMin(chunks, type, count);
        return Event::saturationToMin;
    }
    setChunksToMax(chunks, type, count);
    return Event::saturationToMax;
}

/// Right by a positive count, left by a negative one, wrapping. May call handleUnderflow.
template <class Count>
void shiftChunksSigned(OrvexClientInterface& client, Chunk* chunks, fxpDataTypeProp const& type,
                       long long shift, Count count)
{
    if (shift > 0)
        shiftRightArithmeticChunks(client, chunks, type, static_cast<unsigned long long>(shift), count);
    else
        shiftLeftChunks(chunks, type, 0ull - static_cast<unsigned long long>(shift), count);
}

/// The facts that rounding needs of the n >= 1 bits about to go. Beyond the top chunk the sign answers.
template <class Count>
Tail tailOfChunks(Chunk const* chunks, fxpDataTypeProp const& type, unsigned long long n, Count count)
{
    Chunk const fill = signFillChunk(chunks, type, count);
    unsigned long long const bits = static_cast<unsigned long long>(count) * chunkBits;
    auto const bitAt = [&](unsigned long long p) {
        return p < bits ? (chunks[p / chunkBits] >> (p % chunkBits) & 1) != 0 : fill != 0;
    };
    Chunk below = 0;
    if (n > bits) {
        for (int i = 0; i < count; ++i) below |= chunks[i];
    } else {
        int const q = static_cast<int>((n - 1) / chunkBits);
        for (int i = 0; i < q; ++i) below |= chunks[i];
        below |= chunks[q] & lowMask(static_cast<int>((n - 1) % chunkBits) - 1);
    }
    return {fill != 0, bitAt(n - 1), below != 0, bitAt(n)};
}

/// Drops the n >= 1 lowest bits with rounding. May call handleUnderflow, before anything is written. The
/// type's exponent is the caller's affair.
template <class Count>
void roundShiftRightChunks(OrvexClientInterface& client, Chunk* chunks, fxpDataTypeProp const& type,
                           unsigned long long n, fxpModeRounding_tag mode, Count count)
{
    bool const bump = bumps(mode, tailOfChunks(chunks, type, n, count));
    shiftRightArithmeticChunks(client, chunks, type, n, count);
    addToChunks(chunks, bump, count); // the value has just lost n bits, and stays inside the word
}

} // namespace ORVEX::multiword
