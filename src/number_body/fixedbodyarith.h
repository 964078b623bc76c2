/// \file
/// FixedBody: sums, products, quotients, comparison, bits and shifts.
///
/// An operand of a floating or scaled-double mode is unwelcome in all of these:
///     plusEquals, minusEquals, imagPlusEquals  a text, no change
///     timesEquals                              a text; a real element becomes 0
///     isProductOf, isQuotientOf                no text; the element becomes 0
///     compareTo                                0, silently: such operands read as equal
///     arrayCompareParallel                     a text, nothing written
///     bit operations                           its value truncated to an integer
#pragma once

#include "array_engine/bulk.h"
#include "array_engine/parallelframe.h"
#include "array_engine/storedcast.h"
#include "multiword/chunkdivide.h"
#include "number_body/fixedbody.h"

namespace ORVEX::number_body
{

template <class Storage, int Parts>
template <multiword::Sum sum>
void FixedBody<Storage, Parts>::addPart(Word* place, NumberBody const& other, Part part)
{
    auto to = target(place);
    // Storage too, since a record may have become another than its storage was made for.
    bool isAlike = other.dataType() == dataType() && other.container() == Storage::container;
    if constexpr (!Storage::isWord) isAlike = isAlike && operandAtCursor(other, Part::real).count == count();
    if (isAlike) {
        auto const* const element =
            static_cast<unsigned char const*>(other.storage()) + other.index() * other.bytesPerElement();
        auto const* const words = reinterpret_cast<Word const*>(element);
        auto const addend = read(part == Part::real ? words : words + count());
        multiword::addInto<sum>(client(), to, dataType(), to.load(), addend.chunks(), overflowMode());
        return;
    }
    // The other is first rounded and clipped into this type, and its own events come before those of the sum.
    Operand const addend = operandAtCursor(other, part);
    PartScratch converted(count());
    withChunks(addend, [&](Chunk const* chunks, auto n) {
        array_engine::castOnce(client(), multiword::ChunkTarget<Count>(converted.data(), count()), dataType(),
                               chunks, *addend.type, roundMode(), overflowMode(), n);
    });
    multiword::addInto<sum>(client(), to, dataType(), to.load(), converted.data(), overflowMode());
}

template <class Storage, int Parts>
template <multiword::Sum sum>
void FixedBody<Storage, Parts>::addNumber(NumberBody const& other)
{
    if (!holdsStoredIntegers(other)) return printNoRule();
    addPart<sum>(here(Part::real), other, Part::real);
    if constexpr (complex)
        if (other.isComplex()) addPart<sum>(here(Part::imag), other, Part::imag);
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::plusEquals(NumberBody const* other)
{
    addNumber<multiword::Sum::plus>(*other);
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::minusEquals(NumberBody const* other)
{
    addNumber<multiword::Sum::minus>(*other);
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::imagPlusEquals(NumberBody const* other)
{
    if constexpr (complex) {
        if (!holdsStoredIntegers(*other)) return printNoRule();
        addPart<multiword::Sum::plus>(here(Part::imag), *other, Part::real);
    }
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::multiply(PartScratch& product, Operand const& a, Operand const& b)
{
    withChunks(a, [&](Chunk const* x, auto n) {
        withChunks(b, [&](Chunk const* y, auto m) {
            multiword::multiplyInto(client(), multiword::ChunkTarget<Count>(product.data(), count()),
                                    dataType(), x, *a.type, n, y, *b.type, m, roundMode(), overflowMode());
        });
    });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::divide(Chunk* quotient, Operand const& a, Operand const& b)
{
    auto const divideInto = [&](Chunk* out) {
        multiword::divideChunks(client(), out, dataType(), a.chunks(), *a.type, a.count, b.chunks(), *b.type,
                                b.count, roundMode(), overflowMode());
    };
    int const chunks = multiword::numChunksOfType(dataType());
    if (chunks == count()) return divideInto(quotient);
    // The record has become another than the storage was made for.
    multiword::WideScratch whole(chunks);
    divideInto(whole.data());
    Chunk const fill = multiword::signFillChunk(whole.data(), dataType(), chunks);
    for (int i = 0; i < count(); ++i) quotient[i] = i < chunks ? whole[i] : fill;
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::timesEquals(NumberBody const* other)
{
    // Complex products are put together by the number, except in the signed single-word bodies.
    if constexpr (!complex) {
        PartScratch product(count());
        if (holdsStoredIntegers(*other)) {
            multiply(product, operandOf(here(Part::real)), operandAtCursor(*other, Part::real));
        } else {
            printNoRule();
            multiword::clearChunks(product.data(), count());
        }
        storeScratch(here(Part::real), product);
    }
}

/// Computes the real part, and the imaginary one if there is one, and stores both when all events have been
/// told. What is not computed is 0.
template <class Storage, int Parts>
template <class Compute>
void FixedBody<Storage, Parts>::storeComputed(NumberBody const& a, NumberBody const& b, bool hasImag,
                                              Compute compute)
{
    PartScratch re(count());
    PartScratch im(complex ? count() : Count{});
    bool const computes = holdsStoredIntegers(a) && holdsStoredIntegers(b);
    if (computes) {
        Operand const factor = operandAtCursor(b, Part::real);
        compute(re, operandAtCursor(a, Part::real), factor);
        if (complex && hasImag) compute(im, operandAtCursor(a, Part::imag), factor);
    } else {
        multiword::clearChunks(re.data(), count());
    }
    if (complex && !(computes && hasImag)) multiword::clearChunks(im.data(), count());
    storeScratch(here(Part::real), re);
    if constexpr (complex) storeScratch(here(Part::imag), im);
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::isProductOf(NumberBody const* a, NumberBody const* b)
{
    if constexpr (!Storage::isWord && !complex) {
        // A product that has this type already raises no event, so that it needs no scratch.
        if (holdsStoredIntegers(*a) && holdsStoredIntegers(*b) &&
            multiword::isProductType(dataType(), a->dataType(), b->dataType())) {
            Operand const x = operandAtCursor(*a, Part::real);
            Operand const y = operandAtCursor(*b, Part::real);
            Word* const to = here(Part::real);
            if (multiword::areApart(to, count(), x.chunks(), x.count) &&
                multiword::areApart(to, count(), y.chunks(), y.count))
                return multiword::multiplyChunksFull(to, count(), x.chunks(), *x.type, x.count, y.chunks(),
                                                     *y.type, y.count);
        }
    }
    storeComputed(*a, *b, a->isComplex() && !b->isComplex(),
                  [this](PartScratch& out, Operand const& x, Operand const& y) { multiply(out, x, y); });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::isQuotientOf(NumberBody const* a, NumberBody const* b)
{
    if constexpr (!Storage::isWord && !complex)
        if (holdsStoredIntegers(*a) && holdsStoredIntegers(*b)) // its events come before its store
            return divide(here(Part::real), operandAtCursor(*a, Part::real), operandAtCursor(*b, Part::real));
    storeComputed(*a, *b, a->isComplex(),
                  [this](PartScratch& out, Operand const& x, Operand const& y) { divide(out.data(), x, y); });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::setMaxRWValue()
{
    if constexpr (!complex)
        multiword::storeExtreme(target(here(Part::real)), dataType(), multiword::Event::saturationToMax);
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::setMinRWValue()
{
    if constexpr (!complex)
        multiword::storeExtreme(target(here(Part::real)), dataType(), multiword::Event::saturationToMin);
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::setMinPositiveRWValue()
{
    if constexpr (!complex) {
        auto to = target(here(Part::real));
        multiword::setChunksToMinPositive(to.data(), count());
        to.commit();
    }
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::conjugate()
{
    if constexpr (complex) {
        for (unsigned long long i = 0; i < numberOfElements(); ++i) {
            if constexpr (!Storage::isWord) setIndex(i); // and there it stays
            auto to = target(place(i, Part::imag));
            to.load();
            multiword::negateChunks(to.data(), count());
            to.commit();
        }
    }
}

/// Exact where factor and bias agree; otherwise through real-world doubles.
inline int compareOperands(Operand const& a, Operand const& b)
{
    return withChunks(a, [&](Chunk const* x, auto n) {
        return withChunks(b, [&](Chunk const* y, auto m) {
            bool const exact = a.type->bias == b.type->bias &&
                               a.type->slopeAdjustmentFactor == b.type->slopeAdjustmentFactor;
            return exact ? multiword::compareChunks(x, *a.type, y, *b.type, n, m)
                         : multiword::compareByRealWorldValue(x, *a.type, y, *b.type, n, m);
        });
    });
}

/// Whether the real-world value is exactly 0. With a bias that is another stored integer than 0.
inline bool isRealWorldZero(Operand const& a)
{
    return withChunks(a, [&](Chunk const* x, auto n) {
        return a.type->bias == 0.0 ? multiword::chunksAreZero(x, n)
                                   : multiword::chunksToRealWorldDouble(x, *a.type, n) == 0.0;
    });
}

template <class Storage, int Parts>
int FixedBody<Storage, Parts>::comparePart(Word const* place, NumberBody const& other, Part part) const
{
    if (!holdsStoredIntegers(other)) return 0;
    return compareOperands(operandOf(place), operandAtCursor(other, part));
}

template <class Storage, int Parts>
int FixedBody<Storage, Parts>::compareTo(NumberBody const* other) const
{
    return comparePart(here(Part::real), *other, Part::real);
}

template <class Storage, int Parts>
bool FixedBody<Storage, Parts>::isEqualTo(NumberBody const* other) const
{
    if (compareTo(other) != 0) return false;
    if constexpr (complex) {
        if (other->isComplex()) return comparePart(here(Part::imag), *other, Part::imag) == 0;
        return isRealWorldZero(operandOf(here(Part::imag)));
    }
    return !other->isComplex() || isRealWorldZero(operandAtCursor(*other, Part::imag));
}

/// Combines stored integers bit by bit, without a look at either type and without restoring the top-chunk
/// rule.
template <class Storage, int Parts>
template <class Operation>
void FixedBody<Storage, Parts>::combineBits(NumberBody const& other, Operation operation)
{
    for (Part const part : {Part::real, Part::imag}) {
        if (part == Part::imag && !complex) break;
        Operand bits = operandAtCursor(other, part);
        if constexpr (Storage::isWord) {
            // The word's own signedness chooses the getter; for fixed-point bodies both give the same.
            bool const real = part == Part::real;
            if constexpr (std::is_signed_v<Word>)
                bits.word = static_cast<Chunk>(real ? other.getSIArrayValueSigned()
                                                    : other.getImagSIArrayValueSigned());
            else
                bits.word = real ? other.getSIArrayValueUnsigned() : other.getImagSIArrayValueUnsigned();
            bits.wide = nullptr;
            bits.count = 1;
        }
        Chunk const fill = multiword::signFillChunk(bits.chunks(), *bits.type, bits.count);
        auto to = target(here(part));
        to.load();
        for (int i = 0; i < count(); ++i)
            to.data()[i] = operation(to.data()[i], i < bits.count ? bits.chunks()[i] : fill);
        to.commit();
    }
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::bitAndEqual(NumberBody const* other)
{
    combineBits(*other, [](Chunk a, Chunk b) { return a & b; });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::bitOrEqual(NumberBody const* other)
{
    combineBits(*other, [](Chunk a, Chunk b) { return a | b; });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::bitXorEqual(NumberBody const* other)
{
    combineBits(*other, [](Chunk a, Chunk b) { return a ^ b; });
}

template <class Storage, int Parts>
template <class F>
void FixedBody<Storage, Parts>::changeParts(F f)
{
    for (Part const part : {Part::real, Part::imag}) {
        if (part == Part::imag && !complex) break;
        auto to = target(here(part));
        to.load();
        multiword::Event const event = f(to.data());
        to.commit();
        tell(client(), event);
    }
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::bitCmp()
{
    changeParts([this](Chunk* chunks) {
        multiword::bitNotChunks(chunks, dataType(), count());
        return multiword::Event::none;
    });
}

template <class Storage, int Parts>
bool FixedBody<Storage, Parts>::bitGet(int bitFromOne) const
{
    if (complex || bitFromOne < 1) return false;
    // At and above the word length the sign answers.
    long long const weight = static_cast<long long>(bitFromOne) - 1 + dataType().fixedExponent;
    return multiword::getChunksBitAtWeight(read(here(Part::real)).chunks(), dataType(), weight, count());
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::bitSet(int bitFromOne, bool value)
{
    if constexpr (!complex)
        changeParts([&](Chunk* chunks) {
            multiword::setChunksBitValue(chunks, dataType(), bitFromOne, value, count());
            return multiword::Event::none;
        });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::bitShiftRightArith(unsigned shift)
{
    changeParts([&](Chunk* chunks) {
        multiword::shiftRightArithmeticChunks(client(), chunks, dataType(), shift, count());
        return multiword::Event::none;
    });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::bitShiftRightLogical(unsigned shift)
{
    changeParts([&](Chunk* chunks) {
        if (shift != 0) multiword::shiftRightLogicalChunks(chunks, dataType(), shift, count());
        return multiword::Event::none;
    });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::bitShiftLeftLogical(unsigned shift)
{
    changeParts([&](Chunk* chunks) {
        multiword::shiftLeftChunks(chunks, dataType(), shift, count());
        return multiword::Event::none;
    });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::bitShiftArith(int shift)
{
    changeParts([&](Chunk* chunks) {
        if (overflowMode() != fxpModeOverflowWrap && shift < 0)
            return multiword::shiftLeftSaturatingChunks(
                chunks, dataType(), static_cast<unsigned long long>(-static_cast<long long>(shift)), count());
        if (!multiword::chunksAreZero(chunks, count()))
            multiword::shiftChunksSigned(client(), chunks, dataType(), shift, count());
        return multiword::Event::none;
    });
}

/// Compares stored integers by weight alone: factor and bias are not looked at, and neither is the imaginary
/// part of a complex other against a real body. The serial comparison does look, and the difference is part
/// of the contract.
template <class Storage, int Parts>
void FixedBody<Storage, Parts>::arrayCompareParallel(NumberBody const* other, bool* out,
                                                     unsigned long long elements) const
{
    if (!holdsStoredIntegers(*other)) return printNoRule();
    unsigned long long const step = isScalar() ? 0 : 1;
    unsigned long long const otherStep = other->isScalar() ? 0 : 1;
    auto const equal = [&](Word const* left, std::size_t i, Part part) {
        return withChunks(operandAt(*other, i * otherStep, part), [&](Chunk const* right, auto n) {
            return multiword::compareChunks(read(left).chunks(), dataType(), right, other->dataType(),
                                            count(), n) == 0;
        });
    };
    array_engine::parallelFor(elements, grainOfLanes(), [&](std::size_t begin, std::size_t end) {
        if (array_engine::compareElements(*this, *other, array_engine::Comparison::equal, true, begin, end,
                                          out))
            return;
        for (std::size_t i = begin; i < end; ++i) {
            bool same = equal(place(i * step, Part::real), i, Part::real);
            if constexpr (complex) {
                Word const* const im = place(i * step, Part::imag);
                if (same)
                    same = other->isComplex() ? equal(im, i, Part::imag)
                                              : multiword::chunksAreZero(read(im).chunks(), count());
            }
            out[i] = same;
        }
    });
}

} // namespace ORVEX::number_body
