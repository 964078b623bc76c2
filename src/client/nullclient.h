/// \file
/// The process-wide null client.
#pragma once

#include <orvex/client/fxpclientnull.h>

namespace ORVEX::client
{

/// For conversions whose events reach nobody, such as the trial values of type selection. Built on first use,
/// safely from any thread, and destroyed at exit.
FxpClientNull& nullClient();

} // namespace ORVEX::client
