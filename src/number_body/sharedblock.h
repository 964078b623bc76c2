/// \file
/// The memory of a body and of its elements.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

namespace ORVEX::number_body
{

/// Room for a body, or for none, and behind it for elements, in one allocation. The elements outlive the body
/// as long as sharing copies use them, so the memory is freed when both are gone. Counts without a lock:
/// sharing copies are not made or destroyed at the same time.
struct alignas(std::max_align_t) SharedBlock {
    unsigned long long useCount; ///< bodies that use the elements
    std::uint32_t bodyBytes;     ///< and what moves the elements of an array to a cache line
    bool holdsBody;              ///< the room for a body is in use

    void* body() { return this + 1; }
    void* storage() { return static_cast<unsigned char*>(body()) + bodyBytes; }

    /// The block that a body stands in.
    static SharedBlock* ofBody(void* body) { return static_cast<SharedBlock*>(body) - 1; }

    /// A block with nothing in it. A size beyond the range fails in the allocator.
    static SharedBlock* create(std::size_t bodyBytes, std::size_t storageBytes)
    {
        constexpr std::size_t unit = alignof(SharedBlock);
        constexpr std::size_t fewBytes = 1024;
        std::size_t const body = (bodyBytes + unit - 1) / unit * unit;
        if (storageBytes >= fewBytes) return createForArray(body, storageBytes);
        return createAt(::operator new(sizeof(SharedBlock) + body + storageBytes), body);
    }

    void release()
    {
        --useCount;
        freeIfUnused();
    }
    void leaveBody()
    {
        holdsBody = false;
        freeIfUnused();
    }

private:
    /// With the elements at the start of a cache line: a vector that crosses a line takes twice as long.
    [[gnu::noinline]] static SharedBlock* createForArray(std::size_t bodyBytes, std::size_t storageBytes)
    {
        constexpr std::size_t line = 64;
        std::size_t const head = sizeof(SharedBlock) + bodyBytes;
        std::size_t const most = std::numeric_limits<std::size_t>::max() - head - line;
        void* const place = ::operator new(std::min(storageBytes, most) + head + line);
        return createAt(place, bodyBytes + -(reinterpret_cast<std::uintptr_t>(place) + head) % line);
    }
    static SharedBlock* createAt(void* place, std::size_t bodyBytes)
    {
        return new (place) SharedBlock{0, static_cast<std::uint32_t>(bodyBytes), false};
    }
    void freeIfUnused()
    {
        if (useCount == 0 && !holdsBody) ::operator delete(this);
    }
};

/// n x size, or the largest size where that overflows; the size is not 0.
inline std::size_t saturatingProduct(unsigned long long n, std::size_t size)
{
    std::size_t const most = std::numeric_limits<std::size_t>::max();
    return n > most / size ? most : static_cast<std::size_t>(n) * size;
}

} // namespace ORVEX::number_body
