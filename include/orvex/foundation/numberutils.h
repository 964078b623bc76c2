/// \file
/// The two ways in which the library raises a message, and the tag of the sharing copy.
#pragma once

#include <orvex/foundation/export.h>
#include <orvex/foundation/messages.h>

#include <cstdint>

namespace ORVEX
{

/// Static operations only.
class ORVEX_API NumberUtils
{
public:
    /// Selects the copy that shares storage and has a cursor of its own. The only value is 0.
    enum CopyIndexOnly : std::int32_t { copyIndexOnly = 0 };

    /// Throws a kvxDiagnosticException with the message's identifier and text.
    [[noreturn]] static void throwIExceptionFromMessageID(resource_core::BaseMsgID const& message);

    /// Reports the message to the warning handler and returns.
    static void reportWarningFromMessageID(resource_core::BaseMsgID const& message);
};

} // namespace ORVEX
using ORVEX::NumberUtils;
