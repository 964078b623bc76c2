/// \file
/// Scratch of chunks.
#pragma once

#include "multiword/chunkgeometry.h"

#include <algorithm>
#include <cstddef>

namespace ORVEX::multiword
{

/// Holds a number of chunks: two in place, more on the heap. Unset unless a fill value is given.
class ChunkBuffer
{
public:
    ChunkBuffer() : data_(inline_) {}
    explicit ChunkBuffer(int count) : data_(count <= inlineChunks ? inline_ : new Chunk[std::size_t(count)])
    {
    }
    ChunkBuffer(int count, Chunk fill) : ChunkBuffer(count) { std::fill_n(data_, count, fill); }
    ~ChunkBuffer()
    {
        if (data_ != inline_) delete[] data_;
    }

    /// Drops the contents and holds `count` unset chunks.
    void reset(int count)
    {
        Chunk* const fresh = count <= inlineChunks ? inline_ : new Chunk[std::size_t(count)];
        if (data_ != inline_) delete[] data_;
        data_ = fresh;
    }

    ChunkBuffer(ChunkBuffer const&) = delete;
    ChunkBuffer& operator=(ChunkBuffer const&) = delete;

    Chunk* data() { return data_; }
    Chunk const* data() const { return data_; }
    Chunk& operator[](int i) { return data_[i]; }
    Chunk operator[](int i) const { return data_[i]; }

private:
    static constexpr int inlineChunks = 2;
    Chunk inline_[inlineChunks];
    Chunk* data_;
};

} // namespace ORVEX::multiword
