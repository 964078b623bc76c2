/// \file
/// Compares the stores of doubles by bodies and mpr_quantize with the oracle.
#pragma once

#include "support/model.h"

#include <orvex/multiword/mpr_quantize.h>

namespace orvextest
{

inline void checkStore(double value, Type const& type, int round, int sat)
{
    SCOPED_TRACE(testing::PrintToString(value));
    Outcome const wanted = quantize(value, type, round, sat);
    Value const before{type, {wanted.stored == 0 ? maxStored(type) : Int(0)}};
    Model model(before, {round, sat});
    model.put(0, wanted);
    ASSERT_NO_FATAL_FAILURE(
        model.check("assignDouble", before, [&](NumberBody& it) { it.assignDouble(&value); }));
    RecordingClient client;
    double const read = ORVEX::mpr_quantize(client, value, type, round, sat);
    ASSERT_TRUE(sameDouble(read, readRealWorld(wanted.stored, type)) && client.events() == wanted.events)
        << type << Modes{round, sat} << ": " << read;
}

} // namespace orvextest
