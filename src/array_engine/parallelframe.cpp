#include "array_engine/parallelframe.h"

#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>

#ifdef ORVEX_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
#endif

namespace ORVEX::array_engine
{

namespace
{

/// Tells the thread sanitizer what it cannot see, since Threading Building Blocks is not compiled with it:
/// what the caller did comes before every range, and every range before what the caller does next. This file
/// is then compiled without it.
class Ordered
{
public:
#ifdef ORVEX_THREAD_SANITIZER
    Ordered(void const* place, bool isCaller) : place_(const_cast<void*>(place)), isCaller_(isCaller)
    {
        isCaller_ ? __tsan_release(place_) : __tsan_acquire(place_);
    }
    ~Ordered() { isCaller_ ? __tsan_acquire(place_) : __tsan_release(place_); }

private:
    void* place_;
    bool isCaller_;
#else
    Ordered(void const*, bool) {}
#endif
};

} // namespace

void parallelFor(std::size_t count, std::size_t grain, Callback<std::size_t, std::size_t> work)
{
    if (count == 0) return;
    if (count < 2 * grain) return work(0, count);
    using Control = tbb::global_control;
    auto const threads = std::min(static_cast<std::size_t>(tbb::this_task_arena::max_concurrency()),
                                  Control::active_value(Control::max_allowed_parallelism));
    if (threads == 1) return work(0, count);
    // Some ranges for each thread, so that one which comes late finds less to do.
    constexpr std::size_t rangesPerThread = 4;
    std::size_t const most = std::max(grain, count / (rangesPerThread * threads) + 1);
    [[maybe_unused]] Ordered const caller(&work, true);
    tbb::task_group_context context;
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, count, most),
        [&work](tbb::blocked_range<std::size_t> const& range) {
            [[maybe_unused]] Ordered const worker(&work, false);
            work(range.begin(), range.end());
        },
        tbb::simple_partitioner(), context);
}

} // namespace ORVEX::array_engine
