#include "multiword/chunkarith.h"

#include <utility>

namespace ORVEX::multiword
{

namespace
{

// A negative factor read as unsigned is 2^(64 count) too large, so that the other factor is taken off the
// product's chunks from that count on. Masks stand for branches on the signs.

/// chunk -= a + b + borrow; the borrow out, of 0 to 2, replaces the borrow in.
void takeOff(Chunk& chunk, Chunk a, Chunk b, Chunk& borrow)
{
    Chunk off = 0;
    Chunk const carry = __builtin_add_overflow(a, b, &off);
    Chunk const out = carry + __builtin_sub_overflow(chunk, off, &chunk);
    borrow = out + __builtin_sub_overflow(chunk, borrow, &chunk);
}

/// Chunk by chunk of the product, each summed in three chunks: what the compiler keeps in registers as long
/// as it knows the count.
template <int count>
void multiplyColumns(Chunk* dst, int n, Chunk const* a, Chunk signA, Chunk const* b, Chunk signB)
{
    DoubleChunk sum = 0;
    Chunk carry = 0;
#pragma GCC unroll 16
    for (int k = 0; k < 2 * count - 1; ++k) {
        int const end = k < count ? k + 1 : count;
#pragma GCC unroll 8
        for (int i = k < count ? 0 : k - count + 1; i < end; ++i)
            carry += __builtin_add_overflow(sum, static_cast<DoubleChunk>(a[i]) * b[k - i], &sum);
        dst[k] = static_cast<Chunk>(sum);
        sum = sum >> chunkBits | static_cast<DoubleChunk>(std::exchange(carry, 0)) << chunkBits;
    }
    Chunk last = static_cast<Chunk>(sum);
    Chunk borrow = 0;
#pragma GCC unroll 8
    for (int i = 0; i < count; ++i)
        takeOff(i < count - 1 ? dst[count + i] : last, a[i] & signB, b[i] & signA, borrow);
    if (n == 2 * count) dst[n - 1] = last;
}

/// dst[0..n) += a[0..n) * factor, or dst := that product if it does not add; returns the chunk carried out.
template <bool adds = true>
Chunk addProductOfRow(Chunk* dst, Chunk const* a, Chunk factor, int n)
{
    Chunk carry = 0;
#pragma GCC unroll 4
    for (int i = 0; i < n; ++i) {
        DoubleChunk const product =
            static_cast<DoubleChunk>(a[i]) * factor + (adds ? dst[i] : 0) + carry; // never overflows
        dst[i] = static_cast<Chunk>(product);
        carry = static_cast<Chunk>(product >> chunkBits);
    }
    return carry;
}

/// Row by row, a not the shorter factor.
void multiplyRows(Chunk* dst, int n, Chunk const* a, Chunk signA, int aCount, Chunk const* b, Chunk signB,
                  int bCount)
{
    Chunk carry = addProductOfRow<false>(dst, a, b[0], std::min(aCount, n));
    for (int j = 1; j < bCount && j < n; ++j) {
        if (j + aCount <= n) dst[j + aCount - 1] = carry;
        carry = addProductOfRow(dst + j, a, b[j], std::min(aCount, n - j));
    }
    if (aCount + bCount <= n) dst[aCount + bCount - 1] = carry;
    Chunk borrow = 0;
    for (int i = bCount; i < n; ++i)
        takeOff(dst[i], a[i - bCount] & signB, i >= aCount ? b[i - aCount] & signA : 0, borrow);
}

} // namespace

void multiplySigned(Chunk* dst, int n, Chunk const* a, Chunk signA, int aCount, Chunk const* b, Chunk signB,
                    int bCount)
{
    if (aCount == bCount && n >= 2 * aCount - 1) {
        switch (aCount) {
        case 2: return multiplyColumns<2>(dst, n, a, signA, b, signB);
        case 3: return multiplyColumns<3>(dst, n, a, signA, b, signB);
        case 4: return multiplyColumns<4>(dst, n, a, signA, b, signB);
        case 5: return multiplyColumns<5>(dst, n, a, signA, b, signB);
        case 6: return multiplyColumns<6>(dst, n, a, signA, b, signB);
        case 7: return multiplyColumns<7>(dst, n, a, signA, b, signB);
        case 8: return multiplyColumns<8>(dst, n, a, signA, b, signB);
        default: break;
        }
    }
    if (aCount < bCount) {
        std::swap(a, b);
        std::swap(signA, signB);
        std::swap(aCount, bCount);
    }
    multiplyRows(dst, n, a, signA, aCount, b, signB, bCount);
}

} // namespace ORVEX::multiword
