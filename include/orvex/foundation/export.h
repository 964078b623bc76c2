/// \file
/// Marks what the shared library exports. Everything else is hidden.
#pragma once

/// Stands before every class and function that the shared library exports.
#if defined(ORVEX_STATIC)
#define ORVEX_API
#else
#define ORVEX_API __attribute__((visibility("default")))
#endif
