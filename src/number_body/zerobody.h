/// \file
/// Bodies of real-world zeros.
#pragma once

#include <orvex/number_body/numberbody.h>

#include <memory>

namespace ORVEX::number_body
{

/// A body whose elements have all been stored as real-world 0.0, through the type's own quantizer: with a
/// bias the client may hear of each of them. Null for a mode that no class holds.
std::unique_ptr<NumberBody> createZeroBody(NumberBody::Spec const& spec, bool isComplex);

/// The same for a body whose every element is stored anew before it is read: the client hears the same, but
/// where that is nothing the elements are unset.
std::unique_ptr<NumberBody> createOverwrittenBody(NumberBody::Spec const& spec, bool isComplex);

} // namespace ORVEX::number_body
