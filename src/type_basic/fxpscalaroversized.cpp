#include <orvex/type_basic/fxpscalaroversized.h>

#include "multiword/chunkstore.h"

namespace
{

using namespace ORVEX::multiword;

constexpr int chunksHeld = 2;

/// Runs a chunk kernel on the value, which stays as it was if the kernel throws.
template <class Kernel>
void onChunks(fxpScalarOversized& value, fxpDataTypeProp const& type, Kernel const& kernel)
{
    auto& words = value.words;
    int const count = numChunksOfType(type);
    ChunkBuffer chunks(std::max(count, chunksHeld));
    for (int i = 0; i < chunksHeld; ++i)
        chunks[i] = words[2 * i] | static_cast<Chunk>(words[2 * i + 1]) << 32;
    Chunk const above = signFillChunk(chunks.data(), type, Two{});
    for (int i = chunksHeld; i < count; ++i) chunks[i] = above;

    kernel(chunks.data(), count);

    if (count < chunksHeld) chunks[1] = signFillChunk(chunks.data(), type, count);
    for (int i = 0; i < chunksHeld; ++i) {
        words[2 * i] = static_cast<std::uint32_t>(chunks[i]);
        words[2 * i + 1] = static_cast<std::uint32_t>(chunks[i] >> 32);
    }
}

} // namespace

void fxpScalarOversized::setToMax(fxpDataTypeProp const& type)
{
    onChunks(*this, type, [&](Chunk* chunks, int count) { setChunksToMax(chunks, type, count); });
}

void fxpScalarOversized::setToMin(fxpDataTypeProp const& type)
{
    onChunks(*this, type, [&](Chunk* chunks, int count) { setChunksToMin(chunks, type, count); });
}

void fxpScalarOversized::shift(OrvexClientInterface& client, fxpDataTypeProp const& type, long long bits)
{
    onChunks(*this, type,
             [&](Chunk* chunks, int count) { shiftChunksSigned(client, chunks, type, bits, count); });
}

void fxpScalarOversized::storeRadixDouble(OrvexClientInterface& client, fxpDataTypeProp const& type,
                                          double value, int round, int sat)
{
    onChunks(*this, type, [&](Chunk* chunks, int) {
        storeRadixDoubleToChunks(client, chunks, type, value, static_cast<fxpModeRounding_tag>(round), sat);
    });
}
