/// \file
/// What was built, and when.
#pragma once

#include <orvex/foundation/export.h>

extern "C" {
ORVEX_API extern char const liborvex_version[]; ///< "major.minor.patch"
ORVEX_API extern char const
    liborvex_build_date[]; ///< "YYYY-MM-DD" in UTC, from SOURCE_DATE_EPOCH where it is set
}
