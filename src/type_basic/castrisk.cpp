#include <orvex/type_basic/castrisk.h>

#include <orvex/client/fxpclientwithreporting.h>
#include <orvex/number/cast.h>

#include "type_basic/clienthardware.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ORVEX
{

using boost::logic::indeterminate;
using boost::logic::tribool;

namespace
{

constexpr int doubleMantissaBits = 53;
constexpr int singleMantissaBits = 24;
// The fraction lengths at which the smallest subnormals end.
constexpr int doubleFractionEnd = 1075;
constexpr int singleFractionEnd = 150;

fxpDataTypeProp normalised(fxpDataTypeProp const& type)
{
    return type.mode == fxpModeDataTypeBoolean ? fxpDataTypeProp(false, 1, 0) : type;
}

bool hasTrivialScaling(fxpDataTypeProp const& type)
{
    return type.slopeAdjustmentFactor == 1.0 && type.bias == 0.0;
}

bool hasNoScaling(fxpDataTypeProp const& type) { return hasTrivialScaling(type) && type.fixedExponent == 0; }

/// Between two scalings: no loss where stored integers map to stored integers.
bool scalingLosesPrecision(fxpDataTypeProp const& a, fxpDataTypeProp const& b)
{
    if (a.slopeAdjustmentFactor == b.slopeAdjustmentFactor && a.bias == b.bias)
        return b.fixedExponent > a.fixedExponent;
    double const slope = std::ldexp(b.slopeAdjustmentFactor, b.fixedExponent);
    double const netSlope = std::ldexp(a.slopeAdjustmentFactor, a.fixedExponent) / slope;
    double const netBias = (a.bias - b.bias) / slope;
    return !(std::round(netSlope) == netSlope && std::round(netBias) == netBias);
}

tribool floatLosesPrecision(fxpDataTypeProp const& a, int mantissaBits, int fractionEnd)
{
    if (a.getWordLengthNonSign() > mantissaBits) return true;
    if (!hasTrivialScaling(a)) return indeterminate;
    return -static_cast<long long>(a.fixedExponent) >= fractionEnd;
}

} // namespace

tribool castCanLosePrecision(fxpDataTypeProp const& from, fxpDataTypeProp const& to)
{
    if (from == to) return false;
    fxpDataTypeProp const a = normalised(from);
    fxpDataTypeProp const b = normalised(to);
    switch (to.mode) {
    case fxpModeDataTypeFixed: return a.mode != fxpModeDataTypeFixed || scalingLosesPrecision(a, b);
    case fxpModeDataTypeDouble:
        if (a.mode == fxpModeDataTypeSingle) return false;
        if (a.mode == fxpModeDataTypeScaledDouble) return !hasNoScaling(a);
        return floatLosesPrecision(a, doubleMantissaBits, doubleFractionEnd);
    case fxpModeDataTypeSingle:
        if (a.mode == fxpModeDataTypeDouble || a.mode == fxpModeDataTypeScaledDouble) return true;
        return floatLosesPrecision(a, singleMantissaBits, singleFractionEnd);
    default: break;
    }
    if (a.mode == fxpModeDataTypeDouble || a.mode == fxpModeDataTypeSingle)
        return hasNoScaling(b) ? tribool(false) : tribool(indeterminate);
    if (a.mode == fxpModeDataTypeFixed && a.getWordLengthNonSign() > doubleMantissaBits) return true;
    return scalingLosesPrecision(a, b);
}

namespace
{

/// A scalar that holds an extreme of a type; of a scaled double that of a double.
Number extremeNumber(fxpDataTypeProp const& type, OrvexClientInterface& client, bool isMax)
{
    Number extreme(0.0, type, client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
    if (type.mode == fxpModeDataTypeScaledDouble) {
        double const limit =
            isMax ? std::numeric_limits<double>::max() : std::numeric_limits<double>::lowest();
        extreme.copyDataIntoSIArray(&limit, 1);
    } else if (isMax) {
        extreme.setMaxRWValue();
    } else {
        extreme.setMinRWValue();
    }
    return extreme;
}

bool leavesFloatRange(fxpDataTypeProp const& a, bool toDouble, FxpClientWithReporting& client)
{
    auto const leaves = [&](bool isMax) {
        double const value = extremeNumber(a, client, isMax).getRWDoubleValue();
        return std::isinf(toDouble ? value : static_cast<double>(static_cast<float>(value)));
    };
    return leaves(false) || leaves(true);
}

/// Casts the extremes to the target, with enough bits below its last one that rounding cannot push a value
/// over the top, nor hide that it is over.
bool trialCastLeavesRange(fxpDataTypeProp const& a, fxpDataTypeProp const& b, FxpClientWithReporting& client)
{
    fxpDataTypeProp target = b;
    if (a.mode == fxpModeDataTypeFixed) {
        long long const finer = std::max(0ll, static_cast<long long>(b.fixedExponent) - a.fixedExponent) +
                                (a.slopeAdjustmentFactor != b.slopeAdjustmentFactor ? doubleMantissaBits : 0);
        target.setWordLength(static_cast<int>(b.wordLength + finer));
        target.fixedExponent = static_cast<int>(b.fixedExponent - finer);
    }
    Number const least = extremeNumber(a, client, false);
    Number const largest = extremeNumber(a, client, true);
    Cast const cast(target, client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
    client.resetOverFlowOccurred();
    Number const low = cast(least);
    Number const high = cast(largest);
    if (b.mode != fxpModeDataTypeScaledDouble) return client.getOverFlowOccurred();
    return std::isinf(low.getSIDoubleValue()) || std::isinf(high.getSIDoubleValue());
}

} // namespace

tribool parameterCastCanBeOutOfBounds(OrvexClientInterface& client, fxpDataTypeProp const& from,
                                      fxpDataTypeProp const& to)
{
    if (from.isEqualConceptual(to)) return false;
    fxpDataTypeProp const a = normalised(from);
    fxpDataTypeProp const b = normalised(to);
    bool const toDouble = b.mode == fxpModeDataTypeDouble;
    if (toDouble || b.mode == fxpModeDataTypeSingle) {
        if (a.mode == fxpModeDataTypeSingle) return false;
        if (a.mode == fxpModeDataTypeDouble) return true;
    } else if (b.mode == fxpModeDataTypeFixed && a.mode == fxpModeDataTypeFixed &&
               a.slopeAdjustmentFactor == b.slopeAdjustmentFactor && a.bias == b.bias) {
        if (a.isSigned() && !b.isSigned()) return true;
        return a.getPow2WtMSNonSignBit() > b.getPow2WtMSNonSignBit();
    }
    FxpClientWithReporting reporting(type_basic::hardwareOf(client));
    if (toDouble || b.mode == fxpModeDataTypeSingle) return leavesFloatRange(a, toDouble, reporting);
    return trialCastLeavesRange(a, b, reporting);
}

} // namespace ORVEX
