/// \file
/// Addition and subtraction in one type, and the full product.
#pragma once

#include "multiword/chunkbits.h"
#include "multiword/chunkconvert.h"
#include "multiword/target.h"

namespace ORVEX::multiword
{

/// a + b + carry; the carry out replaces the carry in. Here and below the overflow built-ins stand where the
/// compiler shall see a carry chain: it makes one of them and none of comparisons.
inline Chunk addStep(Chunk a, Chunk b, Chunk& carry)
{
    Chunk partial = 0;
    Chunk const out = __builtin_add_overflow(a, b, &partial);
    carry = out + __builtin_add_overflow(partial, carry, &partial);
    return partial;
}

/// a - b - borrow; the borrow out replaces the borrow in.
inline Chunk subtractStep(Chunk a, Chunk b, Chunk& borrow)
{
    Chunk partial = 0;
    Chunk const out = __builtin_sub_overflow(a, b, &partial);
    borrow = out + __builtin_sub_overflow(partial, borrow, &partial);
    return partial;
}

enum class Sum { plus, minus };

/// What a sum beyond its type does. Apart, so that what is random, signs, meets no branch before it is known
/// to matter.
template <class Target>
[[gnu::noinline]] void commitOverflow(OrvexClientInterface& client, Target target,
                                      fxpDataTypeProp const& type, bool aIsNegative, Sum sum, int sat)
{
    bool const toMin = type.isSigned() ? aIsNegative : sum == Sum::minus;
    Event const end = toMin ? Event::saturationToMin : Event::saturationToMax;
    if (sat)
        storeExtreme(target, type, end);
    else
        target.commit();
    tell(client, sat ? end : Event::wrap);
}

/// target := a + b, or a - b, all of one type; the operands may lie where the target lies. After the store it
/// may call one of handleOverflowWrap (wrapping), handleSaturationToMin, handleSaturationToMax (saturating).
template <Sum sum, class Target>
void addInto(OrvexClientInterface& client, Target target, fxpDataTypeProp const& type, Chunk const* a,
             Chunk const* b, int sat)
{
    constexpr bool plus = sum == Sum::plus;
    auto const count = target.count();
    int const last = count - 1;
    Chunk const topA = a[last];
    Chunk const topB = b[last];
    Chunk* const dst = target.data();
    Chunk carry = 0;
    for (int i = 0; i < last; ++i)
        dst[i] = plus ? addStep(a[i], b[i], carry) : subtractStep(a[i], b[i], carry);
    Chunk const top = Target::cut(fixedTopChunk(plus ? topA + topB + carry : topA - topB - carry, type));
    dst[last] = top;

    // Without branches on signs. A signed sum overflows where its sign is neither operand's; an unsigned one
    // where the masked result carries, so that a word below its container overflows where it should.
    Chunk const signs = (topA ^ top) & (plus ? topB ^ top : topA ^ topB);
    bool const carries = static_cast<bool>((plus ? top < topA : top > topA) | ((carry != 0) & (top == topA)));
    bool const overflow = type.isSigned() ? static_cast<SignedChunk>(signs) < 0 : carries;
    if (overflow) [[unlikely]]
        return commitOverflow(client, target, type, static_cast<SignedChunk>(topA) < 0, sum, sat);
    target.commit();
}

/// dst := a * b modulo 2^(64 n), n not above the sum of the counts. A sign is what stands above a top chunk,
/// all ones or 0. dst is neither a nor b.
void multiplySigned(Chunk* dst, int n, Chunk const* a, Chunk signA, int aCount, Chunk const* b, Chunk signB,
                    int bCount);

/// The exact product, modulo 2^(64 n): n is the chunk count of the summed word lengths. dst is neither a nor
/// b.
template <class CountA, class CountB>
void multiplyChunksFull(Chunk* dst, int n, Chunk const* a, fxpDataTypeProp const& aType, CountA aCount,
                        Chunk const* b, fxpDataTypeProp const& bType, CountB bCount)
{
    int const chunks = std::min<int>(n, aCount + bCount); // a record may say more or less than there is
    for (int i = chunks; i < n; ++i) dst[i] = 0;
    Chunk const signA = signFillChunk(a, aType, aCount);
    Chunk const signB = signFillChunk(b, bType, bCount);
    if (aCount > 1 || bCount > 1) return multiplySigned(dst, chunks, a, signA, aCount, b, signB, bCount);
    DoubleChunk const product = static_cast<DoubleChunk>(a[0]) * b[0];
    dst[0] = static_cast<Chunk>(product);
    if (chunks > 1) dst[1] = static_cast<Chunk>(product >> chunkBits) - (a[0] & signB) - (b[0] & signA);
}

/// The type of an exact product: signed if either is, word lengths and exponents summed, no slope, no bias.
inline fxpDataTypeProp productType(fxpDataTypeProp const& a, fxpDataTypeProp const& b)
{
    return {a.isSigned() || b.isSigned(), a.wordLength + b.wordLength, 1.0,
            static_cast<int>(static_cast<unsigned>(a.fixedExponent) + static_cast<unsigned>(b.fixedExponent)),
            0.0};
}

/// Whether it is, field by field: a record made for the comparison costs more than the comparison.
inline bool isProductType(fxpDataTypeProp const& type, fxpDataTypeProp const& a, fxpDataTypeProp const& b)
{
    return type.wordLength == a.wordLength + b.wordLength &&
           static_cast<unsigned>(type.fixedExponent) ==
               static_cast<unsigned>(a.fixedExponent) + static_cast<unsigned>(b.fixedExponent) &&
           type.isSigned() == (a.isSigned() || b.isSigned()) && type.mode == fxpModeDataTypeFixed &&
           type.slopeAdjustmentFactor == 1.0 && type.bias == 0.0;
}

/// target := a * b: the full product first, then one conversion, whose events it may call. A product that
/// already has the target's type is written as it is. The operands may lie where the target lies.
template <class Target, class CountA, class CountB>
void multiplyInto(OrvexClientInterface& client, Target target, fxpDataTypeProp const& to, Chunk const* a,
                  fxpDataTypeProp const& aType, CountA aCount, Chunk const* b, fxpDataTypeProp const& bType,
                  CountB bCount, fxpModeRounding_tag round, int sat)
{
    if (isProductType(to, aType, bType) && areApart(target.data(), target.count(), a, aCount) &&
        areApart(target.data(), target.count(), b, bCount)) {
        multiplyChunksFull(target.data(), target.count(), a, aType, aCount, b, bType, bCount);
        return target.commit();
    }
    fxpDataTypeProp const type = productType(aType, bType);
    withCount(numChunksOfType(type), [&](auto n) {
        Scratch product(n);
        multiplyChunksFull(product.data(), n, a, aType, aCount, b, bType, bCount);
        convertInto(client, target, to, product.data(), type, round, sat, n);
    });
}

} // namespace ORVEX::multiword
