/// \file
/// The chunk model: how a stored integer lies in 64-bit words, and the masks and extremes of a type.
///
/// A stored integer of W bits occupies ceil(W / 64) chunks, least significant first, two's complement over
/// the whole array. The bits of the top chunk above bit W - 1 hold the sign extension (signed) or zero
/// (unsigned): the top-chunk rule. So the sign can be read from bit 63 of the top chunk alone. Positions
/// count from 0.
///
/// Kernels take chunk pointers and types, own nothing, and take the chunk count as their last argument: an
/// int, or One for the single word, where the compiler removes the loops. Pointers may alias unless told
/// otherwise.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/fxpdatatypeprop.h>

#include <functional>
#include <type_traits>

namespace ORVEX::multiword
{

using Chunk = unsigned long long;
using SignedChunk = long long;
__extension__ typedef unsigned __int128 DoubleChunk;
__extension__ typedef __int128 SignedDoubleChunk;
static_assert(sizeof(Chunk) == 8);

inline constexpr int chunkBits = 64;
inline constexpr Chunk allOnes = ~Chunk{0};

using One = std::integral_constant<int, 1>;
using Two = std::integral_constant<int, 2>;

/// ceil(W / 64). A word length below 1 counts as one chunk.
constexpr int numChunksForWordLength(int wordLength)
{
    return wordLength <= chunkBits ? 1 : (wordLength - 1) / chunkBits + 1;
}

inline int numChunksOfType(fxpDataTypeProp const& type) { return numChunksForWordLength(type.wordLength); }

/// Calls `f` with the count as a type for one and two chunks, as an int above.
template <class F>
decltype(auto) withCount(int count, F&& f)
{
    switch (count) {
    case 1: return f(One{});
    case 2: return f(Two{});
    default: return f(count);
    }
}

/// Bits 0 to k set; nothing below 0, everything from 63 on.
constexpr Chunk lowMask(long long k)
{
    if (k < 0) return 0;
    return k >= chunkBits - 1 ? allOnes : (Chunk{2} << k) - 1;
}

/// Bits k to 63 set; everything at or below 0, nothing above 63.
constexpr Chunk highMask(long long k) { return ~lowMask(k - 1); }

constexpr Chunk bitMask(int k) { return Chunk{1} << (k & (chunkBits - 1)); }

static_assert(lowMask(-1) == 0 && lowMask(0) == 1 && lowMask(62) == allOnes >> 1 && lowMask(63) == allOnes);
static_assert(highMask(0) == allOnes && highMask(63) == bitMask(63) && highMask(64) == 0);

/// Position of the top bit inside the top chunk. A word length of 0 gives 63.
constexpr int topBit(int wordLength) { return (wordLength - 1) & (chunkBits - 1); }

inline int topBit(fxpDataTypeProp const& type) { return topBit(type.wordLength); }

/// Restores the top-chunk rule in a top chunk.
inline Chunk fixedTopChunk(Chunk chunk, fxpDataTypeProp const& type)
{
    int const above = chunkBits - 1 - topBit(type);
    Chunk const up = chunk << above;
    auto const extended = static_cast<SignedChunk>(up) >> above; // signs are random: no branch on them
    return type.isSigned() ? static_cast<Chunk>(extended) : up >> above;
}

template <class Count>
bool chunksAreNegative(Chunk const* chunks, fxpDataTypeProp const& type, Count count)
{
    return type.isSigned() && static_cast<SignedChunk>(chunks[count - 1]) < 0;
}

template <class Count>
bool chunksAreZero(Chunk const* chunks, Count count)
{
    for (int i = 0; i < count; ++i)
        if (chunks[i] != 0) return false;
    return true;
}

/// All ones for a negative value, else 0: what stands above the top chunk.
template <class Count>
Chunk signFillChunk(Chunk const* chunks, fxpDataTypeProp const& type, Count count)
{
    auto const top = static_cast<SignedChunk>(chunks[count - 1]); // signs are random: no branch on them
    return type.isSigned() ? static_cast<Chunk>(top >> (chunkBits - 1)) : 0;
}

/// The bit of an absolute weight not below that of the lowest bit: the sign at and above the word length.
template <class Count>
bool getChunksBitAtWeight(Chunk const* chunks, fxpDataTypeProp const& type, long long weight, Count count)
{
    long long const position = weight - type.fixedExponent;
    if (position >= type.wordLength) return chunksAreNegative(chunks, type, count);
    return (chunks[position / chunkBits] >> (position % chunkBits)) & 1;
}

/// Chunk i of the type's maximum, i not above the top chunk's index.
inline Chunk maxValueChunk(int i, fxpDataTypeProp const& type)
{
    if (i < numChunksOfType(type) - 1) return allOnes;
    return lowMask(topBit(type)) >> (type.isSigned() ? 1 : 0);
}

/// Chunk i of the type's minimum, i not above the top chunk's index.
inline Chunk minValueChunk(int i, fxpDataTypeProp const& type)
{
    if (!type.isSigned() || i < numChunksOfType(type) - 1) return 0;
    return highMask(topBit(type));
}

template <class Count>
void setChunksToMax(Chunk* chunks, fxpDataTypeProp const& type, Count count)
{
    for (int i = 0; i < count; ++i) chunks[i] = maxValueChunk(i, type);
}

template <class Count>
void setChunksToMin(Chunk* chunks, fxpDataTypeProp const& type, Count count)
{
    for (int i = 0; i < count; ++i) chunks[i] = minValueChunk(i, type);
}

/// The stored integer 1.
template <class Count>
void setChunksToMinPositive(Chunk* chunks, Count count)
{
    for (int i = 0; i < count; ++i) chunks[i] = i == 0;
}

/// Adds 0 or 1, modulo 2^(64 count).
template <class Count>
void addToChunks(Chunk* chunks, Chunk one, Count count)
{
    chunks[0] += one;
    for (int i = 1; i < count && chunks[i - 1] < one; ++i) chunks[i] += one; // rarely
}

/// No chunk of one array is one of the other.
inline bool areApart(Chunk const* a, int aCount, Chunk const* b, int bCount)
{
    std::less_equal<> const atMost;
    return atMost(a + aCount, b) || atMost(b + bCount, a);
}

template <class Count>
void clearChunks(Chunk* chunks, Count count)
{
    for (int i = 0; i < count; ++i) chunks[i] = 0;
}

/// What a store decided about its result. Kernels return it, so that the value can be put where the client
/// can see it before `tell` calls the client.
enum class Event { none, wrap, saturationToMin, saturationToMax };

inline void tell(OrvexClientInterface& client, Event event)
{
    switch (event) {
    case Event::none: break;
    case Event::wrap: client.handleOverflowWrap(); break;
    case Event::saturationToMin: client.handleSaturationToMin(); break;
    case Event::saturationToMax: client.handleSaturationToMax(); break;
    }
}

} // namespace ORVEX::multiword
