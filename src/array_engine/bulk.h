/// \file
/// Array operations by blocks of lanes.
///
/// Each operation works out once, from the types and modes, whether lanes hold
/// all that can occur; if not, it answers false and has done nothing. Otherwise
/// it stores every element whose store raises no event, and hands each other
/// one, in element order and with all elements before it stored and all after
/// it untouched, to the caller's scalar routine. So values, events, their order
/// and what a hook sees are those of the scalar kernels.
#pragma once

#include "array_engine/callback.h"
#include "array_engine/lanes.h"

#include <orvex/number_body/numberbody.h>

namespace ORVEX::array_engine
{

class StoredCast;

/// Fewer parts than this are done one by one: planning costs as much as some scalar stores.
inline constexpr std::size_t fewestParts = 16;

/// Does one element, or one part where told, the scalar way.
using ScalarRoutine = Callback<std::size_t>;

/// target[i] := values[i] for parts [begin, end): `index` is a part.
bool storeReals(NumberBody& target, double const* values, std::size_t begin, std::size_t end,
                ScalarRoutine scalar);

/// target[i] := source[i], or the source's element 0 if it has but one, for elements [begin, end), by a cast
/// between their types. Calls moveTo(i), where given, before the client is told of the net values of element
/// i.
bool assignElements(NumberBody& target, NumberBody const& source, StoredCast const& cast, std::size_t begin,
                    std::size_t end, ScalarRoutine scalar, ScalarRoutine moveTo = {});

// The following run over all elements of the target; an operand of one element stands at its cursor.

/// target[i] := a[i] + b[i] or a[i] - b[i], formed in the target's type. The target may be a.
bool addElements(NumberBody& target, bool minus, NumberBody const& a, NumberBody const& b,
                 ScalarRoutine scalar);

/// target[i] := a[i] * b[i]: each product is formed in full and converted to `productType`, and then to the
/// target's type, in which the products of complex numbers are added.
bool multiplyElements(NumberBody& target, NumberBody const& a, NumberBody const& b,
                      fxpDataTypeProp const& productType, ScalarRoutine scalar);

/// target[i] := a[i] / b[i], rounded once, in the target's type.
bool divideElements(NumberBody& target, NumberBody const& a, NumberBody const& b, ScalarRoutine scalar);

/// target[i] := target[i] op other[i], bit by bit.
bool combineBitsOfElements(NumberBody& target, Bits operation, NumberBody const& other);

/// The bitwise complement of every element.
bool complementElements(NumberBody& target);

/// out[i] := a[i] test b[i] for elements [begin, end), of bodies both real or both complex; one of one
/// element stands for its element 0. Compares by weight: where factors or biases differ, only if `radixOnly`.
bool compareElements(NumberBody const& a, NumberBody const& b, Comparison test, bool radixOnly,
                     std::size_t begin, std::size_t end, bool* out);

/// out[i] := part i as a real-world value, or as a stored integer, for all
/// parts.
template <class Real>
bool readElements(NumberBody const& body, bool storedIntegers, Real* out);

} // namespace ORVEX::array_engine
