#include "multiword/chunkstore.h"

namespace ORVEX::multiword
{

void storeRadixToScaledDouble(OrvexClientInterface& client, double* out, fxpDataTypeProp const& type,
                              double x)
{
    double const units = x / std::ldexp(1.0, type.fixedExponent);
    *out = std::isinf(x) ? x : units;
    if (std::isnan(x)) return;
    if (units > maxStoredIntegerAsDouble(type) || minStoredIntegerAsDouble(type) > units)
        client.handleScaledDoublePotentialOverflow();
    else if (units != 0.0 && std::fabs(units) < 1.0)
        client.handleScaledDoublePotentialUnderflow();
}

void storeRealWorldToScaledDouble(OrvexClientInterface& client, double* out, fxpDataTypeProp const& type,
                                  double x, fxpModeRounding_tag, int)
{
    if (type.mode != fxpModeDataTypeScaledDouble || std::isnan(x)) {
        *out = x;
        return;
    }
    if (!std::isinf(x)) x = (x - type.bias) / type.slopeAdjustmentFactor;
    storeRadixToScaledDouble(client, out, radixCopy(type), x);
}

double scaledDoubleToRealWorld(double stored, fxpDataTypeProp const& type)
{
    if (type.mode == fxpModeDataTypeDouble) return stored;
    double power = powerOfTwoBySquaring(type.fixedExponent);
    if (type.fixedExponent < 0) power = 1.0 / power;
    return power * stored * type.slopeAdjustmentFactor + type.bias;
}

} // namespace ORVEX::multiword
