/// \file
/// The parallel loop of the array operations.
#pragma once

#include "array_engine/callback.h"

#include <cstddef>

namespace ORVEX::array_engine
{

/// More items than this are handled in parallel: 500 run serially, 501 do not. Of a complex setValue each
/// part is an item.
inline constexpr unsigned long long serialLimit = 500;

/// As many items as take some microseconds, which it costs to wake another thread: of work in lanes, and of
/// work by the scalar routines.
inline constexpr std::size_t laneGrain = 8192;
inline constexpr std::size_t scalarGrain = 256;

/// Calls work(begin, end) on disjoint ranges that cover 0 to count - 1, on the caller's thread and those of
/// Threading Building Blocks, and returns when all are done. The first exception cancels ranges that have not
/// been started and is rethrown here. A count of 0 starts nothing, and less than two grains stay on the
/// caller's thread.
void parallelFor(std::size_t count, std::size_t grain, Callback<std::size_t, std::size_t> work);

} // namespace ORVEX::array_engine
