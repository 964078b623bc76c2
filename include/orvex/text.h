/// \file
/// All of liborvextext: values, types and targets as text. It stands beside liborvex, which does not need it.
#pragma once

/// \namespace ORVEX::text
/// Values, types and targets as text, and back.

#include <orvex/text/parseerror.h>
#include <orvex/text/stream.h>
#include <orvex/text/type.h>
#include <orvex/text/value.h>
