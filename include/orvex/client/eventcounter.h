/// \file
/// The client that counts what it hears.
#pragma once

#include <orvex/client/forwardingclient.h>

#include <atomic>

namespace ORVEX
{

/// Counts events by their kind, and passes them on if it stands in front of another client.
///
/// Events may come from any number of threads at once; threads do not wait for each other. Counts are exact
/// when read after the operation has ended.
class ORVEX_API EventCounter : public ForwardingClient
{
public:
    /// In front of `next`, or of nobody. Of Pass::questions the events end here.
    explicit EventCounter(OrvexClientInterface* next = nullptr, Pass pass = Pass::all);
    EventCounter(EventCounter const& other);            ///< copies the counts too
    EventCounter& operator=(EventCounter const& other); ///< takes the counts over
    ~EventCounter() override;

    char const* getClassName() const override;
    OrvexClientInterface* clone() override; ///< a copy, counts included

    EventCounts counts() const; ///< since construction or the last reset, with what was added
    unsigned long long count(EventKind kind) const; ///< of one kind
    void reset();                                   ///< all counts to 0
    ///@{
    /// Adds counts, for example those of another thread's counter.
    EventCounter& operator+=(EventCounts const& more);
    EventCounter& operator+=(EventCounter const& other) { return *this += other.counts(); }
    ///@}

    std::string summary() const { return counts().summary(); } ///< on one line
    std::string table() const { return counts().table(); }     ///< a line for each kind

protected:
    void hear(EventKind kind) override;

private:
    /// Threads count in rows of their own, apart in the cache; more threads than rows share them.
    struct alignas(64) Row {
        std::array<std::atomic<unsigned long long>, eventKindCount> of{};
    };
    std::array<Row, 8> rows_;
};

} // namespace ORVEX
