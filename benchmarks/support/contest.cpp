#include "support/contest.h"

#include <tbb/global_control.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <malloc.h>
#include <map>
#include <new>
#include <vector>

namespace
{
thread_local long made = 0; // no atomic, which would cost as much as what is measured
}

void* operator new(std::size_t size)
{
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    ++made;
    return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace orvexbench
{

/// What the repetitions of one benchmark gave.
struct Measured {
    std::vector<double> nanoseconds{}; ///< per item
    double allocations = 0;
    double bytes = 0;

    double median()
    {
        std::sort(nanoseconds.begin(), nanoseconds.end());
        return nanoseconds[nanoseconds.size() / 2];
    }
};

struct Work {
    std::string name;
    std::vector<std::string> contestants{};                            ///< in the order of their entry
    std::map<std::pair<std::string, std::string>, Measured> results{}; ///< by contestant and variant
    std::map<std::string, double> goals{};                             ///< by contestant
};

namespace
{

std::deque<Work> works;                        // never moves its elements
std::map<std::string, Measured*> resultOfName; // by the benchmark's name

/// Three digits, and no exponent.
std::string figure(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, value < 999.5 ? "%.3g" : "%.0f", value);
    return text;
}

/// Prints what comes in, and keeps it for the table.
class Reporter : public benchmark::ConsoleReporter
{
public:
    Reporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(std::vector<Run> const& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (Run const& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            Measured& measured = *resultOfName.at(run.run_name.function_name);
            measured.nanoseconds.push_back(1e9 / run.counters.at("items_per_second"));
            measured.allocations = run.counters.at("allocations");
            measured.bytes = run.counters.at("bytes");
        }
    }
};

void printLine(auto const&... cells)
{
    std::printf("| %-62s | %-24s | %8s | %7s | %-11s | %-24s | %7s | %-8s | %-7s |\n",
                std::string(cells).c_str()...);
}

/// The line of ours against one rival, or of ours alone if that is the rival. None if a filter has left one
/// of the two out.
bool printWorst(Work& work, std::string const& rival)
{
    bool const alone = rival == ours;
    auto const ratioOf = [&](Measured& us, Measured& them) {
        return us.median() / (alone ? 1.0 : them.median());
    };
    Measured* us = nullptr;
    Measured* them = nullptr;
    std::string title;
    for (auto& [key, result] : work.results) {
        if (key.first != rival || result.nanoseconds.empty()) continue;
        auto const found = work.results.find({ours, key.second});
        if (found == work.results.end() || found->second.nanoseconds.empty()) continue;
        if (us && ratioOf(found->second, result) <= ratioOf(*us, *them)) continue;
        us = &found->second;
        them = &result;
        title = work.name + (key.second.empty() ? "" : ": " + key.second);
    }
    if (!us) return false;
    auto const times = [](Measured& m) {
        double const median = m.median(); // sorts
        return figure(median) + " (" + figure(m.nanoseconds.front()) + "-" + figure(m.nanoseconds.back()) +
               ")";
    };
    auto const goal = work.goals.find(rival);
    bool const hasGoal = goal != work.goals.end();
    std::string const most = hasGoal ? figure(goal->second) + (alone ? " ns" : " x") : "";
    std::string const verdict = !hasGoal ? "" : ratioOf(*us, *them) <= goal->second ? "met" : "missed";
    printLine(title, times(*us), figure(us->allocations), us->bytes > 0 ? figure(us->bytes) : "",
              alone ? "" : rival, alone ? "" : times(*them), alone ? "" : figure(ratioOf(*us, *them)), most,
              verdict);
    return true;
}

void printTable()
{
    printLine("work", "ours, ns", "allocs", "bytes", "rival", "rival, ns", "ratio", "goal", "verdict");
    printLine("---", "---", "--:", "--:", "---", "---", "--:", "--:", "---");
    for (Work& work : works) {
        int lines = 0;
        for (std::string const& contestant : work.contestants)
            if (contestant != ours) lines += printWorst(work, contestant);
        if (lines == 0 || work.goals.count(ours) != 0) printWorst(work, ours);
    }
}

} // namespace

Contest::Contest(std::string const& work, Threads threads)
    : work_(works.emplace_back(Work{work})), threads_(threads)
{
}

Contest& Contest::enter(std::string const& contestant, Contestant run, std::string const& variant)
{
    auto& known = work_.contestants;
    if (std::find(known.begin(), known.end(), contestant) == known.end()) known.push_back(contestant);
    std::string const name = work_.name + '/' + contestant + (variant.empty() ? "" : '/' + variant);
    resultOfName[name] = &work_.results[{contestant, variant}];
    auto* const entry =
        benchmark::RegisterBenchmark(name.c_str(), threads_ == Threads::one ? onOneThread(run) : run);
    if (threads_ == Threads::all) entry->UseRealTime();
    return *this;
}

Contest& Contest::goal(double most, std::string const& contestant)
{
    work_.goals[contestant] = most;
    return *this;
}

Contestant onOneThread(Contestant run)
{
    return [run](benchmark::State& state) {
        tbb::global_control const one(tbb::global_control::max_allowed_parallelism, 1);
        run(state);
    };
}

long allocationsMade() { return made; }

double heapInUse()
{
    auto const heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd);
}

} // namespace orvexbench

int main(int argc, char** argv)
{
    orvexbench::defineContests();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    orvexbench::Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    orvexbench::printTable();
}
