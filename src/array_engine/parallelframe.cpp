#include "array_engine/parallelframe.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

namespace ORVEX::array_engine
{

void parallelFor(std::size_t count, std::function<void(std::size_t, std::size_t)> const& work)
{
    if (count == 0) return;
    tbb::task_group_context context;
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, count),
        [&work](tbb::blocked_range<std::size_t> const& range) { work(range.begin(), range.end()); },
        tbb::auto_partitioner(), context);
}

} // namespace ORVEX::array_engine
