/// \file
/// Single bits, complement, negation, increment and decrement of chunk arrays, in place.
#pragma once

#include "multiword/chunkgeometry.h"

#include <bit>

namespace ORVEX::multiword
{

/// Sets or clears a bit; bits count from 1. Setting or clearing the sign bit of a signed type takes its
/// extension along. A position beyond the last chunk is taken within that chunk.
template <class Count>
void setChunksBitValue(Chunk* chunks, fxpDataTypeProp const& type, int bitFromOne, bool value, Count count)
{
    int const position = bitFromOne - 1;
    int const chunk = position / chunkBits < count ? position / chunkBits : count - 1;
    bool const isSign = type.isSigned() && bitFromOne == type.wordLength;
    Chunk const mask = isSign ? highMask(topBit(type)) : bitMask(position);
    // A value whose sign stands already as wanted keeps its chunk, whatever its extension is.
    if (isSign && value == chunksAreNegative(chunks, type, count)) return;
    chunks[chunk] = value ? chunks[chunk] | mask : chunks[chunk] & ~mask;
}

/// Bitwise complement. An unsigned top chunk is masked; from 65 to 128 bits that mask keeps the bits from W -
/// 65 up and clears those below, as it always has.
template <class Count>
void bitNotChunks(Chunk* chunks, fxpDataTypeProp const& type, Count count)
{
    for (int i = 0; i < count; ++i) chunks[i] = ~chunks[i];
    if (type.isSigned()) return;
    int const w = type.wordLength;
    chunks[count - 1] &=
        w > chunkBits && w <= 2 * chunkBits ? highMask(w - chunkBits - 1) : lowMask(topBit(w));
}

/// dst := -src by a mask of all ones, src by one of 0: signs are random, and a branch on them costs more.
/// Two's complement over all chunks; nothing is masked, and the minimum comes back as itself. dst may be src.
template <class Count>
void copyNegatedIf(Chunk* dst, Chunk const* src, Chunk mask, Count count)
{
    for (int i = 0; i < count; ++i) dst[i] = src[i] ^ mask;
    addToChunks(dst, mask & 1, count);
}

template <class Count>
void negateChunks(Chunk* chunks, Count count)
{
    copyNegatedIf(chunks, chunks, allOnes, count);
}

/// Copies the magnitude of src, to be read as unsigned: the minimum of W bits gives 2^(W-1). dst may be src.
template <class Count>
void copyMagnitude(Chunk* dst, Chunk const* src, fxpDataTypeProp const& type, Count count)
{
    copyNegatedIf(dst, src, signFillChunk(src, type, count), count);
}

/// Adds 1; beyond the type's maximum it wraps to the minimum. Silent.
template <class Count>
void incrementChunks(Chunk* chunks, fxpDataTypeProp const& type, Count count)
{
    bool const wasNegative = chunksAreNegative(chunks, type, count);
    int i = 0;
    while (++chunks[i] == 0 && i < count - 1) ++i;
    if (i < count - 1) return;
    Chunk& top = chunks[count - 1];
    int const b = topBit(type);
    if (type.isSigned()) {
        if (((top & bitMask(b)) != 0) != wasNegative) top = fixedTopChunk(top, type);
    } else if (b + 1 < chunkBits && top >= bitMask(b + 1)) {
        top = 0;
    }
}

/// Subtracts 1 from a value that is not the least of a signed type; from 0 an unsigned one wraps to the
/// maximum. Silent.
template <class Count>
void decrementChunks(Chunk* chunks, fxpDataTypeProp const& type, Count count)
{
    int i = 0;
    for (; i < count && chunks[i] == 0; ++i)
        chunks[i] = i == count - 1 && !type.isSigned() ? lowMask(topBit(type)) : allOnes;
    if (i < count) --chunks[i];
}

/// Number of bits up to the highest set one of a value that is not zero.
template <class Count>
long long bitLength(Chunk const* chunks, Count count)
{
    int i = count - 1;
    while (chunks[i] == 0) --i;
    return static_cast<long long>(i) * chunkBits + static_cast<int>(std::bit_width(chunks[i]));
}

} // namespace ORVEX::multiword
