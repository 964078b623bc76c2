/// \file
/// One real value into a type of any width: the exported quantizer and the store kernels beneath it.
#include "support/contest.h"
#include "support/data.h"

#include "multiword/chunkstore.h"

#include <orvex/multiword/mpr_quantize.h>

namespace orvexbench
{

using namespace ORVEX::multiword;

void defineContests()
{
    for (int const bits : {16, 32, 64, 100, 128, 300, 1024})
        for (double const events : {0.0, 0.5}) {
            std::string const title = std::to_string(bits) + " bits" + (events > 0 ? ", half overflow" : "");
            fxpDataTypeProp const type(true, bits, bits - 1); // range [-1, 1)
            Contest quantize("mpr_quantize, " + title);
            Contest realWorld("store, real-world value, " + title);
            Contest radix("store, no slope or bias, " + title);
            for (auto const& [name, mode] : allRoundings) {
                auto const store = [=, mode = mode](auto kernel) {
                    return [=](benchmark::State& state) {
                        std::vector<Chunk> chunks(static_cast<std::size_t>(numChunksOfType(type)));
                        double const* const values = reals(events).data();
                        eachOf(state, million, [&](std::size_t i) {
                            kernel(client, chunks.data(), type, values[i], mode, 1);
                        });
                    };
                };
                quantize.enter(
                    ours,
                    [=, mode = mode](benchmark::State& state) {
                        double const* const values = reals(events).data();
                        eachOf(state, million, [&](std::size_t i) {
                            return ORVEX::mpr_quantize(client, values[i], type, mode, 1);
                        });
                    },
                    name);
                realWorld.enter(ours, store(storeRealWorldDoubleToChunks), name);
                radix.enter(ours, store(storeRadixDoubleToChunks), name);
            }
        }
}

} // namespace orvexbench
