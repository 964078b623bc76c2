/// \file
/// Comparison of stored integers by weight, exact at any width and any distance of the exponents.
///
/// Slope factor and bias play no part, except in compareByRealWorldValue. Results are -1, 0, 1, and 2 for
/// unordered. Nothing here allocates or calls a client.
#pragma once

#include "multiword/chunkdouble.h"
#include "multiword/chunkgeometry.h"
#include "multiword/chunkshift.h"

#include <algorithm>

namespace ORVEX::multiword
{

/// One side of a comparison: a stored integer in chunks.
template <class Count>
struct ComparedChunks {
    Chunk const* chunks;
    fxpDataTypeProp const& type;
    Count count;
    Chunk fill; ///< what stands above the word: all ones for a negative value

    ComparedChunks(Chunk const* c, fxpDataTypeProp const& t, Count n)
        : chunks(c), type(t), count(n), fill(signFillChunk(c, t, n))
    {
    }
    Chunk chunk(int i) const { return chunks[i]; }
};

/// One side of a comparison: an extreme of a type, which is never built.
template <bool isMax>
struct ComparedExtreme {
    fxpDataTypeProp const& type;
    int count;
    Chunk fill;

    explicit ComparedExtreme(fxpDataTypeProp const& t)
        : type(t), count(numChunksOfType(t)), fill(!isMax && t.isSigned() ? allOnes : 0)
    {
    }
    Chunk chunk(int i) const { return isMax ? maxValueChunk(i, type) : minValueChunk(i, type); }
};

inline int compareUnsigned(Chunk a, Chunk b) { return (a > b) - (a < b); }

/// The 64 bits from an absolute weight up: 0 below the word, the sign at and above it.
template <class Side>
Chunk windowAtWeight(Side const& side, long long weight)
{
    long long const position = weight - side.type.fixedExponent;
    if (position <= -chunkBits) return 0;
    if (position >= side.type.wordLength) return side.fill;
    auto const chunkAt = [&](long long i) {
        return i < 0 ? 0 : (i < side.count ? side.chunk(static_cast<int>(i)) : side.fill);
    };
    long long const index = position >> 6; // rounds down for a negative position
    int const r = static_cast<int>(position & (chunkBits - 1));
    Chunk const bits =
        r == 0 ? chunkAt(index) : (chunkAt(index) >> r) | (chunkAt(index + 1) << (chunkBits - r));
    long long const inWord = side.type.wordLength - position;
    return (bits & lowMask(inWord - 1)) | (side.fill & highMask(inWord));
}

/// Compares two values of equal sign. Up to a span of 128 bits the chunks are taken as they stand, bits above
/// the word length included; beyond that only bits of the word count.
template <class A, class B>
int compareMagnitudes(A const& a, B const& b)
{
    long long const eMin = std::min(a.type.fixedExponent, b.type.fixedExponent);
    long long const top = std::max(a.type.wordLength + static_cast<long long>(a.type.fixedExponent),
                                   b.type.wordLength + static_cast<long long>(b.type.fixedExponent)) -
                          1;
    long long const span = top - eMin + 1;
    if (span <= chunkBits) {
        auto const aligned = [eMin](auto const& side) {
            long long const shift = side.type.fixedExponent - eMin;
            return shift >= chunkBits ? 0 : side.chunk(0) << shift;
        };
        // The signs are equal, so that unsigned order is right for negative values too.
        return compareUnsigned(aligned(a), aligned(b));
    }
    if (span <= 2 * chunkBits) {
        auto const align = [&](auto const& side, Chunk* chunks) {
            for (int i = 0; i < 2; ++i) chunks[i] = i < side.count ? side.chunk(i) : side.fill;
            fxpDataTypeProp widened = side.type;
            widened.wordLength = std::max(widened.wordLength, static_cast<int>(span));
            shiftLeftChunks(chunks, widened, static_cast<unsigned long long>(side.type.fixedExponent - eMin),
                            Two{});
        };
        Chunk x[2];
        Chunk y[2];
        align(a, x);
        align(b, y);
        return x[1] != y[1] ? compareUnsigned(x[1], y[1]) : compareUnsigned(x[0], y[0]);
    }
    for (long long weight = eMin + (span - 1) / chunkBits * chunkBits; weight >= eMin; weight -= chunkBits)
        if (int const order = compareUnsigned(windowAtWeight(a, weight), windowAtWeight(b, weight)))
            return order;
    return 0;
}

/// Three-way comparison of two stored integers by weight.
template <class CountA, class CountB>
int compareChunks(Chunk const* a, fxpDataTypeProp const& aType, Chunk const* b, fxpDataTypeProp const& bType,
                  CountA aCount, CountB bCount)
{
    if (aType.fixedExponent == bType.fixedExponent && aType.wordLength == bType.wordLength &&
        aType.signedness == bType.signedness && aCount == bCount &&
        (aType.wordLength <= 2 * chunkBits || aCount == numChunksOfType(aType))) {
        // The usual case, and signs differ as often as not: chunks from the top, that one by its sign.
        int const last = aCount - 1;
        auto const topOf = [&](Chunk const* chunks) {
            Chunk const flip = aType.isSigned() ? bitMask(chunkBits - 1) : 0;
            if (aType.wordLength <= 2 * chunkBits) return chunks[last] ^ flip;
            Chunk const word = lowMask(topBit(aType));
            return ((chunks[last] & word) | (signFillChunk(chunks, aType, aCount) & ~word)) ^ flip;
        };
        int order = compareUnsigned(topOf(a), topOf(b));
        for (int i = last - 1; order == 0 && i >= 0; --i) order = compareUnsigned(a[i], b[i]);
        return order;
    }
    ComparedChunks const x(a, aType, aCount);
    ComparedChunks const y(b, bType, bCount);
    if (x.fill != y.fill) return x.fill ? -1 : 1;
    if (chunksAreZero(a, aCount) && chunksAreZero(b, bCount)) return 0;
    return compareMagnitudes(x, y);
}

/// Three-way comparison with the smallest value of a type.
template <class Count>
int compareChunksToTypeMin(Chunk const* value, fxpDataTypeProp const& valueType, fxpDataTypeProp const& bound,
                           Count count)
{
    ComparedChunks const x(value, valueType, count);
    ComparedExtreme<false> const y(bound);
    if (x.fill != y.fill) return x.fill ? -1 : 1;
    if (!x.fill) return chunksAreZero(value, count) ? 0 : 1; // both unsigned: the bound is 0
    return compareMagnitudes(x, y);
}

/// Three-way comparison with the largest value of a type.
template <class Count>
int compareChunksToTypeMax(Chunk const* value, fxpDataTypeProp const& valueType, fxpDataTypeProp const& bound,
                           Count count)
{
    ComparedChunks const x(value, valueType, count);
    if (x.fill) return -1;
    return compareMagnitudes(x, ComparedExtreme<true>(bound));
}

inline int compareDoubles(double a, double b)
{
    if (a > b) return 1;
    if (a < b) return -1;
    return a == b ? 0 : 2;
}

/// For types that differ in slope factor or bias: compares the real-world doubles; 2 if either is NaN.
template <class CountA, class CountB>
int compareByRealWorldValue(Chunk const* a, fxpDataTypeProp const& aType, Chunk const* b,
                            fxpDataTypeProp const& bType, CountA aCount, CountB bCount)
{
    return compareDoubles(chunksToRealWorldDouble(a, aType, aCount),
                          chunksToRealWorldDouble(b, bType, bCount));
}

} // namespace ORVEX::multiword
