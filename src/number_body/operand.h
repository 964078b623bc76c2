/// \file
/// What the other operand of an operation is: decided once, here.
#pragma once

#include "multiword/chunkgeometry.h"

#include <orvex/number_body/numberbody.h>

#include <iostream>

namespace ORVEX::number_body
{

using multiword::Chunk;

enum class Part { real, imag };

/// False of a floating or scaled-double body, for which fixed-point operations have rules of their own.
inline bool holdsStoredIntegers(NumberBody const& body)
{
    fxpModeDataType const mode = body.dataType().mode;
    return mode != fxpModeDataTypeScaledDouble && mode != fxpModeDataTypeDouble &&
           mode != fxpModeDataTypeSingle;
}

/// One part of one element, as chunks with a type. Safe to copy; valid while the body it was read from is.
struct Operand {
    fxpDataTypeProp const* type;
    Chunk word;        ///< a single-word value
    Chunk const* wide; ///< a multi-word value, else null
    int count;

    Chunk const* chunks() const { return wide ? wide : &word; }
};

/// Calls f(chunks, count) with the count as a type for a single-word value.
template <class F>
decltype(auto) withChunks(Operand const& operand, F&& f)
{
    return operand.wide ? f(operand.wide, operand.count) : f(&operand.word, multiword::One{});
}

/// The part at the cursor of `body`. A part that the body does not have is 0.
inline Operand operandAtCursor(NumberBody const& body, Part part)
{
    fxpDataTypeProp const& type = body.dataType();
    bool const real = part == Part::real;
    if (body.isMultiChunk() && (real || body.isComplex())) {
        int const count = body.getNumChunks();
        auto const* storage = static_cast<Chunk const*>(body.getSIArray()) + body.getChunkOffsetOfCursor();
        return {&type, 0, storage + (real ? 0 : count), count};
    }
    Chunk const word =
        type.isSigned()
            ? static_cast<Chunk>(real ? body.getSIArrayValueSigned() : body.getImagSIArrayValueSigned())
            : (real ? body.getSIArrayValueUnsigned() : body.getImagSIArrayValueUnsigned());
    return {&type, word, nullptr, 1};
}

/// The part of an element by index; the cursor is not read, so that threads may share the body.
inline Operand operandAt(NumberBody const& body, unsigned long long element, Part part)
{
    fxpDataTypeProp const& type = body.dataType();
    bool const real = part == Part::real;
    if (body.isMultiChunk()) {
        auto const count = static_cast<unsigned long long>(body.getNumChunks());
        unsigned long long const at = body.isComplex() ? 2 * element + (real ? 0 : 1) : element;
        return {&type, 0, static_cast<Chunk const*>(body.getSIArray()) + at * count, static_cast<int>(count)};
    }
    Chunk const word = type.isSigned() ? static_cast<Chunk>(real ? body.getSIArrayValueSignedAt(element)
                                                                 : body.getImagSIArrayValueSignedAt(element))
                                       : (real ? body.getSIArrayValueUnsignedAt(element)
                                               : body.getImagSIArrayValueUnsignedAt(element));
    return {&type, word, nullptr, 1};
}

/// Says that a fixed-point operation has no rule for its other operand. Goes to std::cout, whose buffer
/// callers swap.
inline void printNoRule() { std::cout << "Need to determine rules for heterogeneous arithmetic!\n"; }

} // namespace ORVEX::number_body
