#include <orvex/foundation/diagnostics.h>

#include <charconv>
#include <iostream>
#include <memory>
#include <mutex>
#include <utility>

kvxDiagnosticImpl::kvxDiagnosticImpl(std::string identifier, std::string text)
    : identifier_(std::move(identifier)), text_(std::move(text))
{
}

kvxDiagnosticException::kvxDiagnosticException(kvxDiagnosticImpl diagnostic)
    : diagnostic_(std::move(diagnostic))
{
}

kvxDiagnosticException::~kvxDiagnosticException() = default;

kvxDiagnosticImpl* kvxCreateDiagnosticFromMessageID(resource_core::BaseMsgID const& message)
{
    return new kvxDiagnosticImpl(message.identifier(), message.text());
}

void kvxThrowIExceptionFromDiagnostic(kvxDiagnosticImpl*& diagnostic, char const*)
{
    std::unique_ptr<kvxDiagnosticImpl> const owned(std::exchange(diagnostic, nullptr));
    throw kvxDiagnosticException(owned ? *owned
                                       : kvxDiagnosticImpl("Orvex:noDiagnostic", "No diagnostic was given."));
}

namespace
{

struct WarningSink {
    std::mutex mutex;
    kvxWarningHandler handler;
};

WarningSink& warningSink()
{
    static WarningSink sink;
    return sink;
}

} // namespace

void kvxReportAsWarning(kvxDiagnosticImpl*& diagnostic)
{
    std::unique_ptr<kvxDiagnosticImpl> const owned(std::exchange(diagnostic, nullptr));
    if (!owned) return;
    WarningSink& sink = warningSink();
    std::lock_guard<std::mutex> const lock(sink.mutex);
    if (sink.handler)
        sink.handler(*owned);
    else
        std::cerr << "Warning (" + owned->identifier() + "): " + owned->text() + "\n";
}

kvxWarningHandler kvxSetWarningHandler(kvxWarningHandler handler)
{
    WarningSink& sink = warningSink();
    std::lock_guard<std::mutex> const lock(sink.mutex);
    return std::exchange(sink.handler, std::move(handler));
}

std::string kvx_dtoa(double value, bool shortest)
{
    char text[64]; // the shortest form of a double has at most 24 characters
    auto const end = shortest ? std::to_chars(text, text + sizeof text, value)
                              : std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6);
    return {text, end.ptr};
}
