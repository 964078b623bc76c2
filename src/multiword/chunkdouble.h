/// \file
/// From stored integers to doubles.
#pragma once

#include "multiword/chunkgeometry.h"

#include <bit>
#include <cmath>
#include <limits>

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559);

namespace ORVEX::multiword
{

/// x * 2^exponent, rounded once: std::ldexp. Where the power is itself a double, one multiplication gives the
/// same.
inline double scaledByPowerOfTwo(double x, long long exponent)
{
    if (exponent >= -1022 && exponent <= 1023)
        return x * std::bit_cast<double>(static_cast<Chunk>(exponent + 1023) << 52);
    return std::ldexp(x, static_cast<int>(exponent));
}

/// A chunk, read as unsigned, as the nearest double (ties to even): both halves are exact, and their sum is
/// rounded once. The compiler's own conversion branches on the top bit, which is random.
inline double chunkToDouble(Chunk chunk)
{
    return static_cast<double>(static_cast<SignedChunk>(chunk >> 32)) * 0x1p32 +
           static_cast<double>(static_cast<SignedChunk>(chunk & 0xffffffff));
}

/// value * 2^fixedExponent, without slope factor or bias: the sum of one rounded conversion per chunk, low
/// chunk first, of the magnitude.
template <class Count>
double chunksToRadixDouble(Chunk const* chunks, fxpDataTypeProp const& type, Count count)
{
    Chunk const fill = signFillChunk(chunks, type, count); // signs are random: no branch on them
    Chunk carry = fill & 1;
    double total = 0.0;
    for (int i = 0; i < count; ++i) {
        long long const weight = type.fixedExponent + static_cast<long long>(i) * chunkBits;
        if (weight > std::numeric_limits<int>::max()) break; // an exponent is a 32-bit number
        Chunk const magnitude = (chunks[i] ^ fill) + carry;
        if (magnitude == 0) continue;
        carry = 0;
        total += scaledByPowerOfTwo(chunkToDouble(magnitude), weight);
    }
    double const opposite = 0.0 - total; // not -total: there is no negative zero
    return std::bit_cast<double>((std::bit_cast<Chunk>(total) & ~fill) |
                                 (std::bit_cast<Chunk>(opposite) & fill));
}

/// The real-world value: radix double x slopeAdjustmentFactor + bias, in that order.
template <class Count>
double chunksToRealWorldDouble(Chunk const* chunks, fxpDataTypeProp const& type, Count count)
{
    return chunksToRadixDouble(chunks, type, count) * type.slopeAdjustmentFactor + type.bias;
}

/// Radix copy: factor 1 and bias 0, all else kept.
inline fxpDataTypeProp radixCopy(fxpDataTypeProp type)
{
    type.slopeAdjustmentFactor = 1.0;
    type.bias = 0.0;
    return type;
}

/// Stripped copy: a radix copy with fixed exponent 0 as well.
inline fxpDataTypeProp strippedCopy(fxpDataTypeProp type)
{
    type.fixedExponent = 0;
    return radixCopy(type);
}

/// The largest stored integer as a double.
inline double maxStoredIntegerAsDouble(fxpDataTypeProp const& type)
{
    double total = 0.0;
    for (int i = 0; i < numChunksOfType(type); ++i)
        total +=
            scaledByPowerOfTwo(chunkToDouble(maxValueChunk(i, type)), static_cast<long long>(i) * chunkBits);
    return total;
}

/// The smallest stored integer as a double.
inline double minStoredIntegerAsDouble(fxpDataTypeProp const& type)
{
    if (!type.isSigned()) return 0.0;
    int const top = numChunksOfType(type) - 1;
    return -scaledByPowerOfTwo(chunkToDouble(Chunk{0} - minValueChunk(top, type)),
                               static_cast<long long>(top) * chunkBits);
}

} // namespace ORVEX::multiword
