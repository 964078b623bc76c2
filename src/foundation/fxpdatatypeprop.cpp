#include <orvex/foundation/fxpdatatypeprop.h>

#include <cmath>
#include <cstddef>

static_assert(offsetof(fxpDataTypeProp, mode) == 0 && offsetof(fxpDataTypeProp, signedness) == 4 &&
              offsetof(fxpDataTypeProp, wordLength) == 8 && offsetof(fxpDataTypeProp, fixedExponent) == 12 &&
              offsetof(fxpDataTypeProp, slopeAdjustmentFactor) == 16 &&
              offsetof(fxpDataTypeProp, bias) == 24 && offsetof(fxpDataTypeProp, dtoMode) == 32);

fxpDataTypeProp::fxpDataTypeProp(bool isSigned, int wordLength_, int fractionLength)
    : fxpDataTypeProp(isSigned, wordLength_, 1.0,
                      static_cast<int>(0u - static_cast<unsigned>(fractionLength)), 0.0)
{
}

fxpDataTypeProp::fxpDataTypeProp(bool isSigned, int wordLength_, double totalSlope, double bias_)
    : fxpDataTypeProp(isSigned, wordLength_, totalSlope, 0, bias_)
{
    setScaling(totalSlope, 0, bias_);
}

void fxpDataTypeProp::setScaling(double factor, int exponent, double bias_)
{
    bias = bias_;
    slopeAdjustmentFactor = factor;
    fixedExponent = exponent;
    if (factor == 0.0 || !std::isfinite(factor)) return;
    int power = 0;
    slopeAdjustmentFactor = 2.0 * std::frexp(factor, &power);
    // Unsigned, so that an exponent at the end of its range wraps as the 32-bit field does.
    fixedExponent = static_cast<int>(static_cast<unsigned>(exponent) + static_cast<unsigned>(power) - 1u);
}

bool fxpDataTypeProp::isEqualConceptual(fxpDataTypeProp const& other) const
{
    if (mode != other.mode) return false;
    if (mode != fxpModeDataTypeFixed && mode != fxpModeDataTypeScaledDouble) return true;
    fxpDataTypeProp a = *this;
    fxpDataTypeProp b = other;
    a.setScaling(slopeAdjustmentFactor, fixedExponent, bias);
    b.setScaling(other.slopeAdjustmentFactor, other.fixedExponent, other.bias);
    b.dtoMode = a.dtoMode;
    return a.isEqualIgnoreMode(b);
}

void fxpDataTypeProp::changeIfBooleanToUint8()
{
    if (mode == fxpModeDataTypeBoolean)
        *this = fxpDataTypeProp(fxpModeDataTypeFixed, false, 8, 1.0, 0, 0.0, dtoMode);
}

fxpDataTypeProp fxpDataTypeProp::doubleDataType()
{
    return {fxpModeDataTypeDouble, true, 64, 1.0, 0, 0.0, 0};
}

fxpDataTypeProp fxpDataTypeProp::singleDataType()
{
    return {fxpModeDataTypeSingle, true, 32, 1.0, 0, 0.0, 0};
}

void ORVEX::createBadFxpDtpProp(fxpDataTypeProp* type)
{
    *type = fxpDataTypeProp(fxpModeDataTypeFixed, false, 9999, 9999.0, 9999, 9999.0, 0);
}
