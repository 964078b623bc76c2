/// \file
/// Two questions about a cast before any value exists.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>

#include <boost/logic/tribool.hpp>

namespace ORVEX
{

// A boolean type stands for an unsigned 1-bit fixed type in both. False: never. True: it can happen.

/// Can a value lose precision? Range is not looked at. Indeterminate, for some casts between floating and
/// scaled types, means that the types alone do not tell.
ORVEX_API boost::logic::tribool castCanLosePrecision(fxpDataTypeProp const& from, fxpDataTypeProp const& to);

/// Can a value of `from` lie outside what `to` holds? Never indeterminate. Rounding is not looked at. Where
/// the types alone do not tell, the extremes of `from` are cast for a trial, on a client of its own with this
/// client's hardware (null stands for an ASIC); this client hears nothing.
///
/// Where 0.0 itself lies outside a target with a bias the trial says true, even if all values of `from` fit:
/// the result of a cast starts as zero. Throws kvxDiagnosticException where the trial has no intermediate
/// type: from one signed bit to another bias.
ORVEX_API boost::logic::tribool parameterCastCanBeOutOfBounds(OrvexClientInterface& client,
                                                              fxpDataTypeProp const& from,
                                                              fxpDataTypeProp const& to);

} // namespace ORVEX
