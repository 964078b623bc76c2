/// \file
/// Diagnostics: a message on its way to a throw or to the warning handler.
#pragma once

#include <orvex/foundation/export.h>
#include <orvex/foundation/messages.h>

#include <exception>
#include <functional>
#include <string>

/// A diagnostic owns the identifier and the text of a message. It is passed on as a pointer; whoever throws
/// or reports it takes it over and sets the pointer to null. A client that keeps one deletes it.
class ORVEX_API kvxDiagnosticImpl
{
public:
    kvxDiagnosticImpl(std::string identifier, std::string text); ///< both are kept as given

    std::string const& identifier() const { return identifier_; } ///< "Orvex:number:ArrayDimMustAgree"
    std::string const& text() const { return text_; }             ///< English sentences for people

private:
    std::string identifier_;
    std::string text_;
};

/// The exception that carries a diagnostic. `what` is its text.
class ORVEX_API kvxDiagnosticException : public std::exception
{
public:
    explicit kvxDiagnosticException(kvxDiagnosticImpl diagnostic); ///< keeps a copy
    ~kvxDiagnosticException() override;

    /// The text of the diagnostic.
    char const* what() const noexcept override { return diagnostic_.text().c_str(); }
    /// The identifier of the diagnostic: what to test when errors are told apart.
    std::string const& identifier() const noexcept { return diagnostic_.identifier(); }
    /// Both; lives as long as the exception.
    kvxDiagnosticImpl const& diagnostic() const noexcept { return diagnostic_; }

private:
    kvxDiagnosticImpl diagnostic_;
};

/// Builds a diagnostic with the identifier and text of `message`, which may be destroyed afterwards.
/// The caller owns the result. Throws only std::bad_alloc.
ORVEX_API kvxDiagnosticImpl* kvxCreateDiagnosticFromMessageID(resource_core::BaseMsgID const& message);

/// Throws a kvxDiagnosticException. Takes the diagnostic over: `diagnostic` is null afterwards. The second
/// argument is the place for an environment's own context text and is ignored here.
[[noreturn]] ORVEX_API void kvxThrowIExceptionFromDiagnostic(kvxDiagnosticImpl*& diagnostic,
                                                             char const* context);

/// Hands the diagnostic to the warning handler. Takes the diagnostic over: `diagnostic` is null afterwards,
/// also if the handler throws.
ORVEX_API void kvxReportAsWarning(kvxDiagnosticImpl*& diagnostic);

/// Receives every warning. May be called from any thread, one call at a time.
using kvxWarningHandler = std::function<void(kvxDiagnosticImpl const&)>;

/// Sets the process-wide warning handler and returns the previous one. An empty handler restores the default,
/// which writes one line "Warning (identifier): text" to std::cerr. Not to be called from within a handler.
ORVEX_API kvxWarningHandler kvxSetWarningHandler(kvxWarningHandler handler);

/// The text of a double. With `shortest`, the shortest decimal text that reads back as the same double;
/// otherwise six significant digits. Infinities and NaN are "inf", "-inf", "nan", "-nan".
ORVEX_API std::string kvx_dtoa(double value, bool shortest);

namespace ORVEX
{
using ::kvx_dtoa;
using ::kvxCreateDiagnosticFromMessageID;
using ::kvxDiagnosticException;
using ::kvxDiagnosticImpl;
using ::kvxReportAsWarning;
using ::kvxSetWarningHandler;
using ::kvxThrowIExceptionFromDiagnostic;
using ::kvxWarningHandler;
} // namespace ORVEX
