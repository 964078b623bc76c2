/// \file
/// The target that a type decision is made for.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/hardware/fxpprodhardware.h>

namespace ORVEX::type_basic
{

/// No hardware counts as an ASIC that divides toward zero. Searches that are not const belong on a copy,
/// because other threads may be asking the same object.
inline fxpProdHardware const& hardwareOrAsic(fxpProdHardware const* hardware)
{
    static fxpProdHardware const asic = fxpProdHardware::getASICTypeHardware();
    return hardware ? *hardware : asic;
}

inline fxpProdHardware const& hardwareOf(OrvexClientInterface const& client)
{
    return hardwareOrAsic(client.getProductionHardware());
}

/// Is a word of that many bits held in several words of the target?
inline bool isMultiWord(fxpProdHardware const& hardware, int wordLength)
{
    return hardware.getHWIntegerWordlengths()->isMultiWord(static_cast<unsigned int>(wordLength));
}

} // namespace ORVEX::type_basic
