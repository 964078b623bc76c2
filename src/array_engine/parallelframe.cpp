#include "array_engine/parallelframe.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

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

void parallelFor(std::size_t count, std::function<void(std::size_t, std::size_t)> const& work)
{
    if (count == 0) return;
    [[maybe_unused]] Ordered const caller(&work, true);
    tbb::task_group_context context;
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, count),
        [&work](tbb::blocked_range<std::size_t> const& range) {
            [[maybe_unused]] Ordered const worker(&work, false);
            work(range.begin(), range.end());
        },
        tbb::auto_partitioner(), context);
}

} // namespace ORVEX::array_engine
