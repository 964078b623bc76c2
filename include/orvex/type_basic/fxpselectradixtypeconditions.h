/// \file
/// What went wrong in a radix type selection.
#pragma once

#include <orvex/foundation/export.h>

#include <cstdint>

/// A selection only adds to it; `reset` it for a fresh answer.
class ORVEX_API fxpSelectRadixTypeConditions
{
public:
    /// Forgets everything.
    void reset() { flags = 0; }
    /// Did nothing go wrong?
    bool isClear() const { return flags == 0; }

    ///@{
    /// The slope adjustment factor had more significant bits than the input's word length.
    void setSlopeQuantizationLoss() { flags |= slopeQuantizationLoss; }
    bool isSlopeQuantizationLoss() const { return (flags & slopeQuantizationLoss) != 0; }
    ///@}

private:
    static constexpr std::uint32_t slopeQuantizationLoss = 1;
    std::uint32_t flags = 0;
};

namespace ORVEX
{
using ::fxpSelectRadixTypeConditions;
}
