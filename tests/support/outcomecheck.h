/// \file
/// Runs a store and compares what it leaves and what the client hears with the oracle's outcome.
#pragma once

#include "support/oracle.h"
#include "support/recordingclient.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace orvextest
{

/// Calls `run(client, chunks)` on copies of `before`: once to the end, and once for each wanted event with a
/// hook that throws there. Every event but underflow, which comes first, finds the value stored. Chunks of
/// `before` beyond those of `type` have to stay as they are.
template <class Run>
testing::AssertionResult gives(Outcome const& wanted, fxpDataTypeProp const& type,
                               std::vector<Chunk> const& before, Run const& run)
{
    std::vector<Chunk> stored = before;
    std::ranges::copy(chunksOf(wanted.stored, type), stored.begin());
    for (std::size_t throwAt = 0; throwAt <= wanted.events.size(); ++throwAt) {
        RecordingClient client;
        client.throwAt = throwAt;
        std::vector<Chunk> chunks = before;
        bool thrown = false;
        try {
            run(client, chunks.data());
        } catch (RecordingClient::Thrown const&) {
            thrown = true;
        }
        Events heard = wanted.events;
        heard.resize(std::min(throwAt + 1, heard.size()));
        bool const early = throwAt < wanted.events.size() && heard.back() == Event::underflow;
        if (thrown != (throwAt < wanted.events.size()) || client.events() != heard ||
            chunks != (early ? before : stored))
            return testing::AssertionFailure()
                   << Outcome{valueOf(chunks.data(), type), client.events()} << " instead of " << wanted
                   << ", throwing at event " << throwAt;
    }
    return testing::AssertionSuccess();
}

} // namespace orvextest
