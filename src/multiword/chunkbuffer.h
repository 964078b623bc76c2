/// \file
/// Scratch of chunks.
#pragma once

#include "multiword/chunkgeometry.h"

#include <algorithm>
#include <cstddef>

namespace ORVEX::multiword
{

/// Holds a number of chunks: a few in place, more on the heap. Unset unless a fill value is given.
template <std::size_t inlineChunks>
class BasicChunkBuffer
{
public:
    BasicChunkBuffer() : data_(inline_) {}
    explicit BasicChunkBuffer(int count)
        : data_(std::size_t(count) <= inlineChunks ? inline_ : new Chunk[std::size_t(count)])
    {
    }
    BasicChunkBuffer(int count, Chunk fill) : BasicChunkBuffer(count) { std::fill_n(data_, count, fill); }
    ~BasicChunkBuffer()
    {
        if (data_ != inline_) delete[] data_;
    }

    /// Room for `count` unset chunks, once, in a buffer that was made without a count.
    void allocate(int count)
    {
        if (std::size_t(count) > inlineChunks) data_ = new Chunk[std::size_t(count)];
    }

    BasicChunkBuffer(BasicChunkBuffer const&) = delete;
    BasicChunkBuffer& operator=(BasicChunkBuffer const&) = delete;

    Chunk* data() { return data_; }
    Chunk const* data() const { return data_; }
    Chunk& operator[](int i) { return data_[i]; }
    Chunk operator[](int i) const { return data_[i]; }

private:
    Chunk inline_[inlineChunks];
    Chunk* data_;
};

using ChunkBuffer = BasicChunkBuffer<2>; ///< for what is kept
using WideScratch =
    BasicChunkBuffer<36>; ///< for the time of a call: products of 1024 bits, and a little more

} // namespace ORVEX::multiword
