#include <orvex/client/eventcounter.h>

namespace ORVEX
{

namespace
{

/// Threads are numbered as they come to count for the first time.
std::size_t numberOfThisThread()
{
    static std::atomic<std::size_t> threads = 0;
    thread_local std::size_t const number = threads.fetch_add(1, std::memory_order_relaxed);
    return number;
}

} // namespace

EventCounter::EventCounter(OrvexClientInterface* next, Pass pass) : ForwardingClient(next, pass) {}
EventCounter::EventCounter(EventCounter const& other) : ForwardingClient(other) { *this += other.counts(); }

EventCounter& EventCounter::operator=(EventCounter const& other)
{
    EventCounts const counts = other.counts();
    ForwardingClient::operator=(other);
    reset();
    return *this += counts;
}

EventCounter::~EventCounter() = default;
char const* EventCounter::getClassName() const { return "EventCounter"; }
OrvexClientInterface* EventCounter::clone() { return new EventCounter(*this); }

EventCounts EventCounter::counts() const
{
    EventCounts sum;
    for (Row const& row : rows_)
        for (std::size_t i = 0; i < eventKindCount; ++i)
            sum.of[i] += row.of[i].load(std::memory_order_relaxed);
    return sum;
}

unsigned long long EventCounter::count(EventKind kind) const { return counts()[kind]; }

void EventCounter::reset()
{
    for (Row& row : rows_)
        for (auto& count : row.of) count.store(0, std::memory_order_relaxed);
}

EventCounter& EventCounter::operator+=(EventCounts const& more)
{
    for (std::size_t i = 0; i < eventKindCount; ++i)
        rows_[0].of[i].fetch_add(more.of[i], std::memory_order_relaxed);
    return *this;
}

void EventCounter::hear(EventKind kind)
{
    rows_[numberOfThisThread() % rows_.size()].of[static_cast<std::size_t>(kind)].fetch_add(
        1, std::memory_order_relaxed);
}

} // namespace ORVEX
