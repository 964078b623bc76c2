/// \file
/// Values and types on streams.
#pragma once

#include <orvex/text/type.h>
#include <orvex/text/value.h>

#include <ostream>

/// The type in its automatic notation, as text::toString gives it.
inline std::ostream& operator<<(std::ostream& out, fxpDataTypeProp const& type)
{
    return out << ORVEX::text::toString(type);
}

namespace ORVEX
{

/// All elements in exact decimal, as text::toString gives them; one element: number << text::toDecimal(x).
inline std::ostream& operator<<(std::ostream& out, Number const& number)
{
    return out << text::toString(number);
}

} // namespace ORVEX
