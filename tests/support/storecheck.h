/// \file
/// Compares the stores of doubles into chunks, and mpr_quantize, with the oracle.
#pragma once

#include "multiword/chunkstore.h"
#include "support/outcomecheck.h"

#include <orvex/multiword/mpr_quantize.h>

namespace orvextest
{

using StoreKernel = decltype(ORVEX::multiword::storeRealWorldDoubleToChunks);

inline testing::AssertionResult stores(StoreKernel& kernel, double value, fxpDataTypeProp const& type,
                                       int round, int sat, Outcome const& wanted)
{
    return gives(wanted, type, std::vector<Chunk>(chunkCount(type), 0xA5A5),
                 [&](auto& client, Chunk* dst) {
                     kernel(client, dst, type, value, static_cast<fxpModeRounding_tag>(round), sat);
                 })
           << ": " << testing::PrintToString(value) << " to " << type << Modes{round, sat};
}

/// The real-world store and mpr_quantize, and where it is another thing the radix store.
inline void checkStore(double value, fxpDataTypeProp const& type, int round, int sat)
{
    Outcome const wanted = quantize(value, type, round, sat);
    ASSERT_TRUE(stores(ORVEX::multiword::storeRealWorldDoubleToChunks, value, type, round, sat, wanted));
    bool const sameRadix = type.slopeAdjustmentFactor == 1.0 && type.bias == 0.0 && value != 0.0;
    ASSERT_TRUE(sameRadix || stores(ORVEX::multiword::storeRadixDoubleToChunks, value, type, round, sat,
                                    quantizeRadix(value, type, round, sat)));
    RecordingClient client;
    double const read = ORVEX::mpr_quantize(client, value, type, round, sat);
    ASSERT_TRUE(sameDouble(read, readRealWorld(wanted.stored, type)) && client.events() == wanted.events)
        << testing::PrintToString(value) << " through " << type << Modes{round, sat} << ": " << read;
    if (wanted.events.empty()) return;
    client.throwAt = client.events().size();
    ASSERT_THROW(ORVEX::mpr_quantize(client, value, type, round, sat), RecordingClient::Thrown);
}

} // namespace orvextest
