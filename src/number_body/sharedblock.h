/// \file
/// The storage that the sharing copies of one array have in common.
#pragma once

#include <cstddef>
#include <limits>
#include <new>

namespace ORVEX::number_body
{

/// A use count with the elements behind it, in one allocation. Counts without a lock: sharing copies are not
/// made or destroyed at the same time.
struct alignas(std::max_align_t) SharedBlock {
    unsigned long long useCount = 1;

    void* storage() { return this + 1; }

    /// A block with unset storage behind it. A size beyond the range fails in the allocator.
    static SharedBlock* create(std::size_t storageBytes)
    {
        std::size_t const most = std::numeric_limits<std::size_t>::max();
        std::size_t const bytes =
            storageBytes > most - sizeof(SharedBlock) ? most : storageBytes + sizeof(SharedBlock);
        return new (::operator new(bytes)) SharedBlock;
    }

    void release()
    {
        if (--useCount == 0) ::operator delete(this);
    }
};

/// n x size, or the largest size where that overflows.
inline std::size_t saturatingProduct(unsigned long long n, std::size_t size)
{
    std::size_t const most = std::numeric_limits<std::size_t>::max();
    return size != 0 && n > most / size ? most : static_cast<std::size_t>(n) * size;
}

} // namespace ORVEX::number_body
