/// \file
/// The base of the keys of caches that hold type decisions.
#pragma once

#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/hardware/fxpprodhardware.h>

namespace ORVEX
{

/// Keeps the production hardware that a question was about, and mixes hash values.
class ORVEX_API cacheKeyType
{
public:
    cacheKeyType();                                         ///< an ASIC that divides toward zero
    explicit cacheKeyType(fxpProdHardware const* hardware); ///< copies it; null counts as the above
    cacheKeyType(cacheKeyType const&) = default;
    cacheKeyType& operator=(cacheKeyType const&) = default;
    ~cacheKeyType() = default;

    /// A copy of what the question was about.
    fxpProdHardware hardwareInfo() const { return hardware_; }

protected:
    /// The value itself.
    static unsigned int mix(unsigned int value) { return value; }

    /// Of a fixed type all of it but the DTO mode counts, of any other the mode alone.
    static unsigned int mix(fxpDataTypeProp const& type);

private:
    fxpProdHardware hardware_;
};

} // namespace ORVEX
using ORVEX::cacheKeyType;
