/// \file
/// The program's heap: how many blocks are taken and live, and an allocation that fails on demand.
#pragma once

namespace orvextest
{

long allocationsMade(); ///< by all threads since the start of the program
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
