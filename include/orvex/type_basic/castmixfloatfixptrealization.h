/// \file
/// The plan of a cast that goes through a float.
#pragma once

#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>

/// How a value goes from type U to type Y when one of them is a floating or scaled-double type: by which net
/// scaling, by multiplication or division, in which float precision. Worked out once, by the constructor.
///
/// A stored quantity u of U (the stored integer, or the raw double) becomes, on the grid of Y's stored
/// integers,
///     y = u * ApproachNetSlope + ApproachNetBias        unless UseDivApproach,
///     y = (u + ApproachNetBias) / ApproachNetSlope      if UseDivApproach,
/// which then has to be stored under pFxpDtpYNet.
class ORVEX_API CastMixFloatFixptRealization
{
public:
    /// \param useFloatMulNetSlope forbids the division
    /// \param supportStrictSingle computes in single wherever neither side is double or scaled double
    CastMixFloatFixptRealization(fxpDataTypeProp const& y, fxpDataTypeProp const& u, bool useFloatMulNetSlope,
                                 bool supportStrictSingle);

    fxpDataTypeProp const* pFxpDtpY() const { return &fxpDtpY; }       ///< the target
    fxpDataTypeProp const* pFxpDtpU() const { return &fxpDtpU; }       ///< the source
    fxpDataTypeProp const* pFxpDtpYNet() const { return &fxpDtpYNet; } ///< Y without its scaling
    fxpDataTypeProp const* pFxpDtpCalc() const { return &fxpDtpCalc; } ///< the double or the single type

    /// Power-of-two part of the net slope from U to Y, whatever the approach.
    int getNormalNetFixedExponent() const { return fxpDtpUNet.fixedExponent; }

    bool CalcUseDouble() const { return calcUseDouble; }   ///< compute in double, not in single
    bool UseDivApproach() const { return useDivApproach; } ///< the second formula above
    ///@{
    /// Slope and bias in the formula above, and what is known of the slope.
    double ApproachNetSlope() const { return approachNetSlope; }
    double ApproachNetBias() const { return approachNetBias; }
    bool ApproachNetSlopeIsTrivial() const { return approachNetSlope == 1.0; }
    bool ApproachNetSlopeIsExactPow2() const { return approachNetSlopeFactor == 1.0; }
    int ApproachNetFixedExponent() const { return approachNetFixedExponent; }
    ///@}

private:
    void initApproach();
    bool isDoubleNeeded() const;
    bool isDoubleNeededForNetBias() const;

    fxpDataTypeProp fxpDtpY;
    fxpDataTypeProp fxpDtpU;
    fxpDataTypeProp fxpDtpUNet;
    fxpDataTypeProp fxpDtpYNet;
    fxpDataTypeProp fxpDtpCalc;
    double approachNetSlopeFactor = 1.0;
    double approachNetSlope = 1.0;
    double approachNetBias = 0.0;
    int approachNetFixedExponent = 0;
    bool useDivApproach = false;
    bool calcUseDouble = false;
};

namespace ORVEX
{
using ::CastMixFloatFixptRealization;
}
