/// \file
/// The modes of one stage of a cast.
#pragma once

/// Asked for by a caller, and given back by a type decision.
struct fxpOperationChoices {
    int roundingMode = 0; ///< a fxpModeRounding_tag
    int overflowMode = 0; ///< a fxpModeOverflow_tag
    int stageCode = 0;    ///< the caller's own; copied from request to result
};

namespace ORVEX
{
using ::fxpOperationChoices;
}
