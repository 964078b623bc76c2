/// \file
/// The client that writes down what it hears.
#pragma once

#include <orvex/client/forwardingclient.h>

#include <mutex>
#include <vector>

namespace ORVEX
{

/// Records events in their order, each with the element that it belongs to where that is known, and passes
/// them on if it stands in front of another client.
///
/// Array operations do not tell which element an event is of, and large ones raise theirs in no particular
/// order. The functions of replay.h repeat them element by element into a log.
///
/// Events may come from any number of threads at once; each waits for its turn. Hearing one may throw
/// std::bad_alloc.
class ORVEX_API EventLog : public ForwardingClient
{
public:
    static constexpr unsigned long long unknown = ~0ULL;   ///< an element that nobody has told
    static constexpr std::size_t defaultLimit = 1'000'000; ///< entries

    /// One event, and whose it is.
    struct Entry {
        EventKind kind;                       ///< what happened
        unsigned long long element = unknown; ///< flat, from 0
        bool operator==(Entry const&) const = default;
    };

    /// At most `limit` entries are kept, the first ones.
    explicit EventLog(OrvexClientInterface* next = nullptr, Pass pass = Pass::all,
                      std::size_t limit = defaultLimit);
    EventLog(EventLog const& other);            ///< copies the entries too
    EventLog& operator=(EventLog const& other); ///< takes the entries over
    ~EventLog() override;

    char const* getClassName() const override;
    OrvexClientInterface* clone() override; ///< a copy, entries included

    /// Events from now on belong to this element, until told otherwise.
    void setElement(unsigned long long element);

    std::vector<Entry> entries() const; ///< at most as many as the limit, the first ones
    EventCounts counts() const;         ///< of all events, those beyond the limit too
    void clear();                       ///< entries, counts and the element

    /// A line for each entry, "3: underflow", or "underflow" where the element is unknown; after the limit
    /// one more: "and 17 more".
    std::string text() const;

protected:
    void hear(EventKind kind) override;

private:
    struct State {
        std::vector<Entry> entries;
        EventCounts counts;
        unsigned long long element = unknown;
        std::size_t limit;
    };
    State state() const;

    mutable std::mutex mutex_;
    State state_;
};

} // namespace ORVEX
