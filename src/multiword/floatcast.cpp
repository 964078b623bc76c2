#include "multiword/floatcast.h"

#include "type_basic/applyplan.h"

namespace ORVEX::multiword
{

void storeFloatThroughCast(OrvexClientInterface& client, Chunk* dst, fxpDataTypeProp const& dstType,
                           double raw, fxpDataTypeProp const& srcType, fxpModeRounding_tag round, int sat)
{
    CastMixFloatFixptRealization const plan(dstType, srcType, false, false);
    storeRealWorldDoubleToChunks(client, dst, *plan.pFxpDtpYNet(), type_basic::applyPlan(raw, plan), round,
                                 sat);
}

void storeChunksThroughCast(OrvexClientInterface& client, double* out, fxpDataTypeProp const& dstType,
                            Chunk const* src, fxpDataTypeProp const& srcType, fxpModeRounding_tag round,
                            int sat)
{
    CastMixFloatFixptRealization const plan(dstType, srcType, false, false);
    double const stored = chunksToRadixDouble(src, strippedCopy(srcType), numChunksOfType(srcType));
    storeRealWorldToScaledDouble(client, out, *plan.pFxpDtpYNet(), type_basic::applyPlan(stored, plan), round,
                                 sat);
}

fxpDataTypeProp fixedTwin(fxpDataTypeProp type)
{
    type.mode = fxpModeDataTypeFixed;
    return type;
}

void shiftRightLogicalScaledDouble(OrvexClientInterface& client, double* value, fxpDataTypeProp const& type,
                                   unsigned count)
{
    fxpDataTypeProp const fixed = fixedTwin(type);
    ChunkBuffer chunks(numChunksOfType(type));
    storeFloatThroughCast(client, chunks.data(), fixed, *value, type, fxpModeRoundingNearest,
                          fxpModeOverflowSaturate);
    shiftRightLogicalChunks(chunks.data(), fixed, count, numChunksOfType(type));
    storeChunksThroughCast(client, value, type, chunks.data(), fixed, fxpModeRoundingNearest,
                           fxpModeOverflowSaturate);
}

} // namespace ORVEX::multiword
