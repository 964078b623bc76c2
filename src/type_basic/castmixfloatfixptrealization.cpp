#include <orvex/type_basic/castmixfloatfixptrealization.h>

#include <orvex/type_basic/fxpcastgetnetnominaldatatypes.h>

#include <cfloat>
#include <cmath>

CastMixFloatFixptRealization::CastMixFloatFixptRealization(fxpDataTypeProp const& y, fxpDataTypeProp const& u,
                                                           bool useFloatMulNetSlope, bool supportStrictSingle)
    : fxpDtpY(y), fxpDtpU(u)
{
    fxpCastGetNetNominalDatatypes(&fxpDtpUNet, &fxpDtpYNet, &fxpDtpY, &fxpDtpU);
    // Where the target alone has a slope factor, dividing by it keeps what multiplying by its rounded
    // reciprocal would lose.
    useDivApproach = fxpDtpY.slopeAdjustmentFactor != 1.0 && fxpDtpUNet.slopeAdjustmentFactor != 1.0 &&
                     fxpDtpU.slopeAdjustmentFactor == 1.0 && !useFloatMulNetSlope;
    initApproach();
    auto const isWide = [](fxpDataTypeProp const& type) {
        return type.mode == fxpModeDataTypeDouble || type.mode == fxpModeDataTypeScaledDouble;
    };
    calcUseDouble = isWide(fxpDtpY) || isWide(fxpDtpU) || (!supportStrictSingle && isDoubleNeeded());
    fxpDtpCalc = calcUseDouble ? fxpDataTypeProp::doubleDataType() : fxpDataTypeProp::singleDataType();
}

void CastMixFloatFixptRealization::initApproach()
{
    fxpDataTypeProp net = fxpDtpUNet;
    if (useDivApproach) { // the net scaling the other way round, from Y's grid to U's
        fxpDataTypeProp unused;
        fxpCastGetNetNominalDatatypes(&net, &unused, &fxpDtpU, &fxpDtpY);
    }
    approachNetSlopeFactor = net.slopeAdjustmentFactor;
    approachNetSlope = std::ldexp(net.slopeAdjustmentFactor, net.fixedExponent);
    approachNetFixedExponent = net.fixedExponent;
    approachNetBias = useDivApproach ? -net.bias : net.bias;
}

/// Of two types that are neither double nor scaled double.
bool CastMixFloatFixptRealization::isDoubleNeeded() const
{
    // A NaN slope is on neither side.
    if (approachNetSlope > static_cast<double>(FLT_MAX) || approachNetSlope < static_cast<double>(FLT_MIN))
        return true;
    if (fxpDtpU.mode == fxpModeDataTypeFixed && fxpDtpU.getWordLengthNonSign() > FLT_MAX_EXP - 1) return true;
    return isDoubleNeededForNetBias();
}

bool CastMixFloatFixptRealization::isDoubleNeededForNetBias() const
{
    if (approachNetBias == 0.0) return false;
    if (approachNetSlopeFactor != 1.0) return true;
    if (static_cast<double>(static_cast<float>(approachNetBias)) != approachNetBias) return true;
    // The sum with the bias is exact only of a value that fits the mantissa.
    return fxpDtpU.mode == fxpModeDataTypeFixed && fxpDtpU.getWordLengthNonSign() > FLT_MANT_DIG;
}
