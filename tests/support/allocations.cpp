#include "support/allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace
{
thread_local long made = 0, live = 0, untilFailure = -1;
} // namespace

void* operator new(std::size_t size)
{
    if (untilFailure >= 0 && untilFailure-- == 0) throw std::bad_alloc();
    // No machine has so much, and the malloc of a sanitizer ends the program when asked for it.
    if (size >> 40 != 0) throw std::bad_alloc();
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    ++made;
    ++live;
    return block;
}
void operator delete(void* block) noexcept
{
    if (block != nullptr) --live;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
// By default these call the ones above, but a sanitizer has its own.
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }

namespace orvextest
{

long allocationsMade() { return made; }
long liveBlocks() { return live; }
FailingAllocation::FailingAllocation(long n) { untilFailure = n; }
FailingAllocation::~FailingAllocation() { untilFailure = -1; }

} // namespace orvextest
