#include <orvex/foundation/numberutils.h>

#include <orvex/foundation/diagnostics.h>

namespace ORVEX
{

void NumberUtils::throwIExceptionFromMessageID(resource_core::BaseMsgID const& message)
{
    kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(message);
    kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
}

void NumberUtils::reportWarningFromMessageID(resource_core::BaseMsgID const& message)
{
    kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(message);
    kvxReportAsWarning(diagnostic);
}

} // namespace ORVEX
