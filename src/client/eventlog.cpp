#include <orvex/client/eventlog.h>

#include <numeric>

namespace ORVEX
{

EventLog::EventLog(OrvexClientInterface* next, Pass pass, std::size_t limit)
    : ForwardingClient(next, pass), state_{{}, {}, unknown, limit}
{
}

EventLog::EventLog(EventLog const& other) : ForwardingClient(other), state_(other.state()) {}

EventLog& EventLog::operator=(EventLog const& other)
{
    State copy = other.state();
    ForwardingClient::operator=(other);
    std::lock_guard const lock(mutex_);
    state_ = std::move(copy);
    return *this;
}

EventLog::~EventLog() = default;
char const* EventLog::getClassName() const { return "EventLog"; }
OrvexClientInterface* EventLog::clone() { return new EventLog(*this); }

void EventLog::setElement(unsigned long long element)
{
    std::lock_guard const lock(mutex_);
    state_.element = element;
}

EventLog::State EventLog::state() const
{
    std::lock_guard const lock(mutex_);
    return state_;
}

std::vector<EventLog::Entry> EventLog::entries() const { return state().entries; }

EventCounts EventLog::counts() const
{
    std::lock_guard const lock(mutex_);
    return state_.counts;
}

void EventLog::clear()
{
    std::lock_guard const lock(mutex_);
    state_ = {{}, {}, unknown, state_.limit};
}

std::string EventLog::text() const
{
    State const all = state();
    std::string text;
    for (Entry const& entry : all.entries) {
        if (entry.element != unknown) text += std::to_string(entry.element) + ": ";
        text += eventName(entry.kind) + std::string("\n");
    }
    auto const& counts = all.counts.of;
    unsigned long long const heard = std::accumulate(counts.begin(), counts.end(), 0ULL);
    if (heard > all.entries.size()) text += "and " + std::to_string(heard - all.entries.size()) + " more\n";
    return text;
}

void EventLog::hear(EventKind kind)
{
    std::lock_guard const lock(mutex_);
    if (state_.entries.size() < state_.limit) state_.entries.push_back({kind, state_.element});
    ++state_.counts[kind];
}

} // namespace ORVEX
