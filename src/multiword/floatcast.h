/// \file
/// Chunks from and to doubles of another type, through the plan of a mixed cast.
#pragma once

#include "multiword/chunkstore.h"

namespace ORVEX::multiword
{

/// A value of mode double, single or scaled double into the chunks of `dstType`. May call what
/// storeRealWorldDoubleToChunks may call.
void storeFloatThroughCast(OrvexClientInterface& client, Chunk* dst, fxpDataTypeProp const& dstType,
                           double raw, fxpDataTypeProp const& srcType, fxpModeRounding_tag round, int sat);

/// The chunks of `srcType` into a stored double of mode double or scaled double. May call the two potential
/// events.
void storeChunksThroughCast(OrvexClientInterface& client, double* out, fxpDataTypeProp const& dstType,
                            Chunk const* src, fxpDataTypeProp const& srcType, fxpModeRounding_tag round,
                            int sat);

/// The fixed type whose bits a scaled double of that type has when it goes through bits.
fxpDataTypeProp fixedTwin(fxpDataTypeProp type);

/// A logical right shift of a stored double, which has to go through the bits of a word of its type.
void shiftRightLogicalScaledDouble(OrvexClientInterface& client, double* value, fxpDataTypeProp const& type,
                                   unsigned count);

} // namespace ORVEX::multiword
