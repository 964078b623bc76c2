/// \file
/// FixedBody: storage, reads and stores.
#pragma once

#include "array_engine/bulk.h"
#include "array_engine/parallelframe.h"
#include "array_engine/storedcast.h"
#include "number_body/fixedbody.h"
#include "type_basic/applyplan.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace ORVEX::number_body
{

template <class Storage, int Parts>
typename FixedBody<Storage, Parts>::Word* FixedBody<Storage, Parts>::place(unsigned long long element,
                                                                           Part part) const
{
    unsigned long long const at = element * Parts + (part == Part::imag ? 1 : 0);
    return static_cast<Word*>(data()) + at * static_cast<unsigned long long>(count());
}

template <class Storage, int Parts>
Chunk FixedBody<Storage, Parts>::lowChunk(unsigned long long element, Part part) const
{
    return read(place(element, part)).chunks()[0];
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::storeScratch(Word* place, PartScratch& scratch)
{
    auto to = target(place);
    std::copy_n(scratch.data(), static_cast<int>(count()), to.data());
    to.commit();
}

template <class Storage, int Parts>
Operand FixedBody<Storage, Parts>::operandOf(Word const* place) const
{
    if constexpr (Storage::isWord) {
        return {&dataType(), multiword::extendWord(*place), nullptr, 1};
    } else {
        return {&dataType(), 0, place, count()};
    }
}

template <class Storage, int Parts>
double FixedBody<Storage, Parts>::getRWDoubleValue() const
{
    return multiword::chunksToRealWorldDouble(read(here(Part::real)).chunks(), dataType(), count());
}

template <class Storage, int Parts>
double FixedBody<Storage, Parts>::getImagRWDoubleValue() const
{
    if constexpr (!complex) return 0.0;
    return multiword::chunksToRealWorldDouble(read(here(Part::imag)).chunks(), dataType(), count());
}

template <class Storage, int Parts>
double FixedBody<Storage, Parts>::getSIDoubleValue() const
{
    return multiword::chunksToRadixDouble(read(here(Part::real)).chunks(),
                                          multiword::strippedCopy(dataType()), count());
}

template <class Storage, int Parts>
double FixedBody<Storage, Parts>::getImagSIDoubleValue() const
{
    if constexpr (!complex) return 0.0;
    return multiword::chunksToRadixDouble(read(here(Part::imag)).chunks(),
                                          multiword::strippedCopy(dataType()), count());
}

/// Appends the digits of a value, filled with zeros to a width.
inline void appendHex(std::string& text, Chunk value, int width)
{
    char digits[16];
    auto const end = std::to_chars(digits, digits + sizeof digits, value, 16).ptr;
    text.append(static_cast<std::size_t>(std::max<long long>(0, width - (end - digits))), '0');
    text.append(digits, end);
}

/// Every element, lower case, three blanks between. The digits are those of the
/// container or of the chunks, sign extension included; a width only fills.
template <class Storage, int Parts>
std::string FixedBody<Storage, Parts>::getSIArrayInHex() const
{
    if constexpr (complex) return NumberBody::getSIArrayInHex();
    std::string text;
    for (unsigned long long i = 0; i < numberOfElements(); ++i) {
        if (i != 0) text += "   ";
        if constexpr (Storage::isWord) {
            int const width = static_cast<int>(std::ceil(dataType().wordLength * 0.25));
            appendHex(text, static_cast<std::make_unsigned_t<Word>>(*place(i, Part::real)), width);
        } else {
            int const bitsOnTop = dataType().wordLength % multiword::chunkBits;
            int const topWidth = bitsOnTop == 0 ? 16 : (bitsOnTop + 3) / 4;
            for (int c = count() - 1; c >= 0; --c)
                appendHex(text, place(i, Part::real)[c], c == count() - 1 ? topWidth : 16);
        }
    }
    return text;
}

// By index: an element of a single-word body, a chunk of a multi-word one. A
// multi-word complex body has no such read.

template <class Storage, int Parts>
unsigned long long FixedBody<Storage, Parts>::getSIArrayValueUnsignedAt(unsigned long long at) const
{
    if constexpr (Storage::isWord) return lowChunk(at, Part::real);
    if constexpr (complex) return 0;
    return static_cast<unsigned long long>(static_cast<Word const*>(data())[at]);
}

template <class Storage, int Parts>
long long FixedBody<Storage, Parts>::getSIArrayValueSignedAt(unsigned long long at) const
{
    return static_cast<long long>(getSIArrayValueUnsignedAt(at));
}

template <class Storage, int Parts>
unsigned long long FixedBody<Storage, Parts>::getImagSIArrayValueUnsigned() const
{
    if constexpr (!complex) return 0;
    return lowChunk(index(), Part::imag);
}

template <class Storage, int Parts>
long long FixedBody<Storage, Parts>::getImagSIArrayValueSigned() const
{
    return static_cast<long long>(getImagSIArrayValueUnsigned());
}

template <class Storage, int Parts>
unsigned long long FixedBody<Storage, Parts>::getImagSIArrayValueUnsignedAt(unsigned long long at) const
{
    if constexpr (!complex || !Storage::isWord) return 0;
    return lowChunk(at, Part::imag);
}

template <class Storage, int Parts>
long long FixedBody<Storage, Parts>::getImagSIArrayValueSignedAt(unsigned long long at) const
{
    return static_cast<long long>(getImagSIArrayValueUnsignedAt(at));
}

template <class Storage, int Parts>
unsigned long long FixedBody<Storage, Parts>::getChunkOffsetOfCursor() const
{
    if constexpr (Storage::isWord) return NumberBody::getChunkOffsetOfCursor();
    return NumberBody::getChunkOffsetOfCursor() * Parts;
}

/// The unsigned 8-bit body alone may be made with a boolean record, which no
/// number has.
template <class Storage>
bool storesTruth(fxpDataTypeProp const& type)
{
    return std::is_same_v<typename Storage::Word, std::uint8_t> && type.mode == fxpModeDataTypeBoolean;
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::storeRealWorld(Word* place, double value)
{
    if (storesTruth<Storage>(dataType())) {
        *place = value != 0.0;
        return;
    }
    multiword::storeRealWorldDouble(client(), target(place), dataType(), value, roundMode(), overflowMode());
}

template <class Storage, int Parts>
std::size_t FixedBody<Storage, Parts>::grainOfLanes() const
{
    return count() <= 2 ? array_engine::laneGrain : array_engine::scalarGrain;
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::setValue(double const* values)
{
    auto const storeOne = [this, values](std::size_t i) {
        storeRealWorld(static_cast<Word*>(data()) + i * static_cast<std::size_t>(count()), values[i]);
    };
    auto const store = [&](std::size_t begin, std::size_t end) {
        bool const inBlocks = end - begin >= array_engine::fewestParts;
        if (inBlocks && array_engine::storeReals(*this, values, begin, end, storeOne)) return;
        for (std::size_t i = begin; i < end; ++i) storeOne(i);
    };
    unsigned long long const parts = numberOfElements() * Parts;
    if (parts > array_engine::serialLimit)
        array_engine::parallelFor(parts, grainOfLanes(), store);
    else
        store(0, parts);
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::assignDouble(double const* value)
{
    storeRealWorld(here(Part::real), *value);
    if constexpr (complex) multiword::storeZero(target(here(Part::imag)));
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::assignImagDouble(double const* value)
{
    if constexpr (complex) storeRealWorld(here(Part::imag), *value);
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::assignPart(Word* place, NumberBody const& other, Part part)
{
    if (!holdsStoredIntegers(other)) {
        CastMixFloatFixptRealization const plan(dataType(), other.dataType(), false, false);
        double const raw = other.getRawDoubleValue(); // such a body has one part
        multiword::storeRealWorldDouble(client(), target(place), *plan.pFxpDtpYNet(),
                                        type_basic::applyPlan(raw, plan), roundMode(), overflowMode());
        return;
    }
    Operand const source = operandAtCursor(other, part);
    withChunks(source, [&](Chunk const* chunks, auto n) {
        if (storesTruth<Storage>(dataType())) {
            *place = !multiword::chunksAreZero(chunks, n);
            return;
        }
        array_engine::castOnce(client(), target(place), dataType(), chunks, *source.type, roundMode(),
                               overflowMode(), n);
    });
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::assignNumber(NumberBody const* other)
{
    assignPart(here(Part::real), *other, Part::real);
    if constexpr (complex) {
        if (other->isComplex())
            assignPart(here(Part::imag), *other, Part::imag);
        else
            multiword::storeZero(target(here(Part::imag)));
    }
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::imagEquals(NumberBody const* other)
{
    if constexpr (complex) assignPart(here(Part::imag), *other, Part::real);
}

/// Takes the other's imaginary chunks as they are, as far as they go, and its
/// sign above them.
template <class Storage, int Parts>
void FixedBody<Storage, Parts>::assignImagOf(NumberBody const* other)
{
    if constexpr (!complex) {
        Operand const source = operandAtCursor(*other, Part::imag);
        Chunk const fill = multiword::signFillChunk(source.chunks(), *source.type, source.count);
        auto to = target(here(Part::real));
        for (int i = 0; i < count(); ++i) to.data()[i] = i < source.count ? source.chunks()[i] : fill;
        to.commit();
    }
}

template <class Storage, int Parts>
void FixedBody<Storage, Parts>::arrayAssignParallel(NumberBody const* other, unsigned long long elements)
{
    if (!holdsStoredIntegers(*other) || elements == 0) return;
    array_engine::StoredCast const cast(client(), dataType(), other->dataType(), roundMode(), overflowMode());
    unsigned long long const step = isScalar() ? 0 : 1;
    unsigned long long const sourceStep = other->isScalar() ? 0 : 1;
    // A real source leaves the imaginary parts of a complex target as they were.
    bool const withImag = complex && other->isComplex();
    auto const assignOne = [&](std::size_t i) {
        for (Part const part : {Part::real, Part::imag}) {
            if (part == Part::imag && !withImag) break;
            withChunks(operandAt(*other, i * sourceStep, part), [&](Chunk const* chunks, auto n) {
                cast.run(client(), target(place(i * step, part)), chunks, n);
            });
        }
    };
    std::size_t const grain = cast.last() ? array_engine::scalarGrain : grainOfLanes();
    array_engine::parallelFor(elements, grain, [&](std::size_t begin, std::size_t end) {
        if (array_engine::assignElements(*this, *other, cast, begin, end, assignOne)) return;
        for (std::size_t i = begin; i < end; ++i) assignOne(i);
    });
}

} // namespace ORVEX::number_body
