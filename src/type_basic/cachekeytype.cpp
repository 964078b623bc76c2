#include <orvex/type_basic/cachekeytype.h>

#include "type_basic/clienthardware.h"

#include <bit>
#include <cstdint>

namespace ORVEX
{

cacheKeyType::cacheKeyType() : cacheKeyType(nullptr) {}

cacheKeyType::cacheKeyType(fxpProdHardware const* hardware) : hardware_(type_basic::hardwareOrAsic(hardware))
{
}

unsigned int cacheKeyType::mix(fxpDataTypeProp const& type)
{
    if (type.mode != fxpModeDataTypeFixed) return static_cast<unsigned int>(type.mode);
    auto const halves = [](double x) {
        auto const bits = std::bit_cast<std::uint64_t>(x);
        return static_cast<unsigned int>(bits) ^ static_cast<unsigned int>(bits >> 32);
    };
    return static_cast<unsigned int>(type.fixedExponent) ^ static_cast<unsigned int>(type.wordLength) ^
           halves(type.slopeAdjustmentFactor) ^ 0x9e3779b1u ^ ~(type.isSigned() ? 1u : 0u) ^
           halves(type.bias);
}

} // namespace ORVEX
