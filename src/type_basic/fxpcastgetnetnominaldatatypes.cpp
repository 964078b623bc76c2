#include <orvex/type_basic/fxpcastgetnetnominaldatatypes.h>

#include "multiword/chunkdouble.h"
#include "type_basic/scaling.h"

#include <cmath>

void fxpCastGetNetNominalDatatypes_StepOne(fxpDataTypeProp* uNet, fxpDataTypeProp* yNet,
                                           fxpDataTypeProp const* const y, fxpDataTypeProp const* const u,
                                           double& netSlopeFactor, int& netFixedExponent, double& netBias)
{
    using namespace ORVEX::type_basic;
    double const difference = u->bias - y->bias;
    // Not of a zero: a slope that underflows would make it NaN.
    netBias = difference != 0.0 ? difference / std::ldexp(y->slopeAdjustmentFactor, y->fixedExponent) : 0.0;
    netFixedExponent = toExponentField(exponentDifference(u->fixedExponent, y->fixedExponent));
    netSlopeFactor = u->slopeAdjustmentFactor / y->slopeAdjustmentFactor;
    *uNet = *u;
    uNet->changeIfBooleanToUint8();
    *yNet = ORVEX::multiword::strippedCopy(*y);
}

void fxpCastGetNetNominalDatatypes(fxpDataTypeProp* uNet, fxpDataTypeProp* yNet,
                                   fxpDataTypeProp const* const y, fxpDataTypeProp const* const u)
{
    double factor = 1.0;
    int exponent = 0;
    double bias = 0.0;
    fxpCastGetNetNominalDatatypes_StepOne(uNet, yNet, y, u, factor, exponent, bias);
    bool const isFloat = uNet->mode == fxpModeDataTypeDouble || uNet->mode == fxpModeDataTypeSingle;
    if (isFloat && (factor != 1.0 || exponent != 0 || bias != 0.0))
        *uNet = fxpDataTypeProp(fxpModeDataTypeScaledDouble, true,
                                uNet->mode == fxpModeDataTypeDouble ? 64 : 32, 1.0, 0, 0.0, 0);
    uNet->setScaling(factor, exponent, bias);
}
