/// \file
/// A piece of work, done by this library and by rivals in one run, and the table of ratios at the end.
///
/// Each contestant is a benchmark named "work/contestant", or "work/contestant/variant" where a work has
/// variants (a rounding mode, say). The table has a line for each work and rival: of the variants the one
/// with the largest ratio. Its figures are medians of the repetitions, with the least and the largest. Where
/// there is a goal, the line says whether it is met.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace orvexbench
{

using Contestant = std::function<void(benchmark::State&)>;

/// Which time counts, and how many threads the library may use.
enum class Threads {
    one, ///< processor time of the caller's thread, the library held to that thread
    all  ///< time on the wall
};

inline constexpr char ours[] = "ours"; ///< the contestant that the others are compared with

/// Adds a work to the program's list, and contestants to the work.
class Contest
{
public:
    explicit Contest(std::string const& work, Threads threads = Threads::one);
    Contest& enter(std::string const& contestant, Contestant run, std::string const& variant = "");
    /// The ratio to a contestant that we are to keep to, or nanoseconds an item if that is ours.
    Contest& goal(double most, std::string const& contestant = "loop");

private:
    struct Work& work_;
    Threads threads_;
};

/// The contests of a program; each has its own. `main` is here.
void defineContests();

/// Holds the library to one thread.
Contestant onOneThread(Contestant run);

long allocationsMade(); ///< by operator new on this thread since the start of the program
double heapInUse();     ///< bytes, the allocator's own included

/// Times operation(), which does n items in `calls` calls of what is measured. Counts the allocations of a
/// call; `bytes` is what an item keeps of the heap, where that is of interest.
template <class Operation>
void wholeArray(benchmark::State& state, std::size_t n, Operation operation, double bytes = 0,
                std::size_t calls = 1)
{
    long const before = allocationsMade();
    for (auto _ : state) {
        operation();
        benchmark::ClobberMemory();
    }
    auto const rounds = static_cast<double>(state.iterations());
    double const made = static_cast<double>(allocationsMade() - before);
    state.SetItemsProcessed(static_cast<std::int64_t>(n) * static_cast<std::int64_t>(state.iterations()));
    state.counters["allocations"] = made / (rounds * static_cast<double>(calls));
    state.counters["bytes"] = bytes;
}

/// Times operation(i) for i from 0 to n - 1: an item is one call.
template <class Operation>
void eachOf(benchmark::State& state, std::size_t n, Operation operation, double bytes = 0)
{
    auto const all = [&] {
        for (std::size_t i = 0; i < n; ++i)
            if constexpr (std::is_void_v<decltype(operation(i))>) {
                operation(i);
                benchmark::ClobberMemory();
            } else {
                auto const& result = operation(i);
                benchmark::DoNotOptimize(result);
            }
    };
    wholeArray(state, n, all, bytes, n);
}

} // namespace orvexbench
