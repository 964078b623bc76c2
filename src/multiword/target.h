/// \file
/// Where a kernel's result goes: chunks in place, or one word of a container.
///
/// A kernel writes its result to `data()`, passes the fixed top chunk through `cut`, and calls `commit`
/// before it tells the client, so that the client sees the stored value.
#pragma once

#include "multiword/chunkgeometry.h"

#include <cstdint>
#include <type_traits>

namespace ORVEX::multiword
{

/// A container word extended to a chunk by its own signedness.
template <class T>
constexpr Chunk extendWord(T word)
{
    using Wide = std::conditional_t<std::is_signed_v<T>, SignedChunk, Chunk>;
    return static_cast<Chunk>(static_cast<Wide>(word));
}

/// A chunk array of a given count.
template <class CountType>
class ChunkTarget
{
public:
    using Count = CountType;
    explicit ChunkTarget(Chunk* chunks, Count count) : chunks_(chunks), count_(count) {}

    Chunk* data() { return chunks_; }
    Count count() const { return count_; }
    Chunk const* load() { return chunks_; } ///< the chunks that stand at the place now
    static Chunk cut(Chunk topChunk) { return topChunk; }
    void commit() {}

private:
    Chunk* chunks_;
    [[no_unique_address]] Count count_;
};

/// One word of type T: the one-chunk case, cut to the container.
template <class T>
class WordTarget
{
public:
    using Count = One;
    explicit WordTarget(T* word) : word_(word) {}

    Chunk* data() { return &value_; }
    static Count count() { return {}; }
    Chunk const* load() ///< the word that stands at the place now, extended into `data()`
    {
        value_ = extendWord(*word_);
        return &value_;
    }
    static Chunk cut(Chunk topChunk) { return extendWord(static_cast<T>(topChunk)); }
    void commit() { *word_ = static_cast<T>(value_); }

private:
    T* word_;
    Chunk value_ = 0;
};

/// Stores zero, silently.
template <class Target>
void storeZero(Target target)
{
    clearChunks(target.data(), target.count());
    target.commit();
}

/// Stores the extreme that the event names, silently.
template <class Target>
void storeExtreme(Target target, fxpDataTypeProp const& type, Event end)
{
    if (end == Event::saturationToMin)
        setChunksToMin(target.data(), type, target.count());
    else
        setChunksToMax(target.data(), type, target.count());
    target.commit();
}

} // namespace ORVEX::multiword
