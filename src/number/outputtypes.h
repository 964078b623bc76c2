/// \file
/// The types of a number's results, as far as they were set or worked out.
#pragma once

#include <orvex/number/number.h>

#include <optional>

namespace ORVEX
{

/// Belongs to a handle, and is made when the first type is set or cached: most numbers never have one.
struct Number::OutputTypes {
    struct Output {
        std::optional<fxpDataTypeProp> type;
        bool isUsers = false; ///< set, not cached

        void set(fxpDataTypeProp const& chosen)
        {
            type = chosen;
            isUsers = true;
        }
        void reset()
        {
            type.reset();
            isUsers = false;
        }
    };
    /// Without a choice of the user's, the full-precision type for the last right operand's type.
    struct FullPrecision : Output {
        std::optional<fxpDataTypeProp> operand; ///< outlives a reset
    };

    Output binaryOp;
    FullPrecision plus;
    FullPrecision times;
};

} // namespace ORVEX
