#include <orvex/multiword/mpr_quantize.h>

#include "multiword/chunkstore.h"

namespace ORVEX
{

double mpr_quantize(OrvexClientInterface& client, double value, fxpDataTypeProp const& type, int round,
                    int sat)
{
    using namespace multiword;
    auto const mode = static_cast<fxpModeRounding_tag>(round);
    switch (type.mode) {
    case fxpModeDataTypeDouble: return value;
    case fxpModeDataTypeSingle: return static_cast<double>(static_cast<float>(value));
    case fxpModeDataTypeBoolean: return value != 0.0 ? 1.0 : 0.0;
    case fxpModeDataTypeScaledDouble: {
        double stored = 0.0;
        storeRealWorldToScaledDouble(client, &stored, type, value, mode, sat);
        return scaledDoubleToRealWorld(stored, type);
    }
    case fxpModeDataTypeFixed: break;
    }
    return withCount(numChunksOfType(type), [&](auto count) {
        Scratch chunks(count);
        storeRealWorldDouble(client, ChunkTarget(chunks.data(), count), type, value, mode, sat);
        return chunksToRealWorldDouble(chunks.data(), type, count);
    });
}

} // namespace ORVEX
