/// \file
/// The heap as this thread uses it: blocks taken and live, and an allocation that fails on demand. Other
/// threads, which a parallel library keeps for its own use, do not count.
#pragma once

namespace orvextest
{

long allocationsMade(); ///< since the start of the thread
long liveBlocks();      ///< allocated and not yet freed

/// While it lives, one allocation of this thread throws std::bad_alloc: the n-th from here on, from 0.
class FailingAllocation
{
public:
    explicit FailingAllocation(long n);
    ~FailingAllocation();
    FailingAllocation(FailingAllocation const&) = delete;
    FailingAllocation& operator=(FailingAllocation const&) = delete;
};

} // namespace orvextest
