/// \file
/// What the other operand of an operation is: decided once, here.
#pragma once

#include "array_engine/container.h"
#include "multiword/chunkgeometry.h"
#include "multiword/target.h"
#include "number_body/fixedpointnumber.h"

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

/// A part of an element by index, of a fixed-point body. A part that the body does not have is 0. The cursor
/// is not read, so that threads may share the body.
[[gnu::always_inline]] inline Operand operandAt(NumberBody const& body, unsigned long long element, Part part)
{
    fxpDataTypeProp const& type = body.dataType();
    auto const* const at =
        static_cast<unsigned char const*>(body.storage()) + element * body.bytesPerElement();
    if (body.container() == array_engine::Container::chunks) {
        auto const* const chunks = reinterpret_cast<Chunk const*>(at);
        int const count = static_cast<FixedPointNumber const&>(body).FixedPointNumber::getNumChunks();
        if (part == Part::real) return {&type, 0, chunks, count};
        if (body.isComplex()) return {&type, 0, chunks + count, count};
        return {&type, 0, nullptr, 1};
    }
    return array_engine::withWordOf(body.container(), [&](auto word) -> Operand {
        using T = decltype(word);
        auto const* const parts = reinterpret_cast<T const*>(at);
        if (part == Part::real) return {&type, multiword::extendWord(parts[0]), nullptr, 1};
        bool const isComplex = body.bytesPerElement() > sizeof(T);
        return {&type, isComplex ? multiword::extendWord(parts[1]) : 0, nullptr, 1};
    });
}

/// The part at the cursor of any body; of a double its integer.
[[gnu::always_inline]] inline Operand operandAtCursor(NumberBody const& body, Part part)
{
    using array_engine::Container;
    if (body.container() != Container::single && body.container() != Container::doubles)
        return operandAt(body, body.index(), part);
    auto const value = part == Part::real ? body.getSIArrayValueSigned() : body.getImagSIArrayValueSigned();
    auto const bits =
        part == Part::real ? body.getSIArrayValueUnsigned() : body.getImagSIArrayValueUnsigned();
    return {&body.dataType(), body.dataType().isSigned() ? static_cast<Chunk>(value) : bits, nullptr, 1};
}

/// Says that a fixed-point operation has no rule for its other operand. Goes to std::cout, whose buffer
/// callers swap.
inline void printNoRule() { std::cout << "Need to determine rules for heterogeneous arithmetic!\n"; }

} // namespace ORVEX::number_body
