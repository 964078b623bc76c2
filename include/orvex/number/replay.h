/// \file
/// Which element of an array operation reported what.
#pragma once

#include <orvex/client/eventlog.h>
#include <orvex/number/number.h>

namespace ORVEX
{

// These repeat an operation on one element after the other, in scratch numbers, and answer with a log of what
// each element reports. The numbers given and their clients stay untouched: the clients are asked for the
// target, but hear no event. Take the operands before an operation in place. Throws what the operation does.

/// What `setValue` reports of these values in a number of such a type. With isComplex there are 2 x count
/// doubles, interleaved, and an element has the events of both its parts.
ORVEX_API EventLog replayStore(OrvexClientInterface& client, double const* values, unsigned long long count,
                               fxpDataTypeProp const& type, fxpModeRounding_tag round,
                               fxpModeOverflow_tag overflow, bool isComplex = false);

/// What a conversion of all elements into such a type reports, as by Number::arrayEquals or Cast (for
/// floating and scaled-double types as by these up to 500 elements).
ORVEX_API EventLog replayCast(Number const& source, fxpDataTypeProp const& type, fxpModeRounding_tag round,
                              fxpModeOverflow_tag overflow);

/// A second handle on the elements of `number` in a row, with its type and modes and another client. The
/// storage is not copied: it must outlive the handle and keep its size.
ORVEX_API Number withClient(Number const& number, OrvexClientInterface& client);

/// Sets the output types of binary operations that a user has set on `from`.
ORVEX_API void copyOutputTypes(Number const& from, Number const& to);

/// What an operation on two arrays reports. `operation` is called with both operands' elements, whose modes
/// and output types are theirs and whose client is the log; an operand of one element meets every element of
/// the other: replay(a, b, [](Number const& x, Number const& y) { return x * y; }).
template <class Operation>
EventLog replay(Number const& a, Number const& b, Operation const& operation)
{
    EventLog log(&a.getFxpClient(), EventLog::Pass::questions);
    Number const left = withClient(a, log), right = withClient(b, log);
    copyOutputTypes(a, left);
    copyOutputTypes(b, right);
    bool const isEmpty = a.isEmpty() || b.isEmpty();
    unsigned long long const count = a.isScalar() ? b.getNumberOfElements() : a.getNumberOfElements();
    for (unsigned long long i = 0; i < count && !isEmpty; ++i) {
        log.setElement(i);
        operation(left[a.isScalar() ? 0 : i], right[b.isScalar() ? 0 : i]);
    }
    return log;
}

} // namespace ORVEX
