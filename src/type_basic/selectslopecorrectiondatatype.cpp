#include <orvex/type_basic/selectslopecorrectiondatatype.h>

#include "client/nullclient.h"
#include "multiword/chunkstore.h"
#include "type_basic/clienthardware.h"
#include "type_basic/scaling.h"

#include <orvex/foundation/kvxfeature.h>
#include <orvex/foundation/messages.h>
#include <orvex/foundation/numberutils.h>

#include <cmath>
#include <optional>

namespace ORVEX
{

namespace
{

KvxFeature& differentScalingWarning()
{
    static KvxFeature feature("WarnDifferentBestPrecisionScalingToAvoidOverflow",
                              "Warn Different Best Precision Scaling To Avoid Overflow",
                              "type_basic/selectslopecorrectiondatatype", "Orvex", 791246, 0, nullptr);
    return feature;
}

// Registers the feature when the library is loaded, so that it can be found and switched on before its first
// use.
[[maybe_unused]] KvxFeature* const registeredAtLoad = &differentScalingWarning();

/// A net slope that an integer division can apply.
struct Division {
    double divisor;
    fxpDataTypeProp type;
};

bool isRoundedAlike(fxpProdHardware const& hardware, bool isSigned, int roundingMode)
{
    if (!isSigned) // a quotient that is not negative rounds the same in either direction
        return roundingMode == fxpModeRoundingCheapest || roundingMode == fxpModeRoundingFloor ||
               roundingMode == fxpModeRoundingZero;
    switch (hardware.getHWIntDivRndMode()) {
    case FxpHardwareRoundingZero:
        return roundingMode == fxpModeRoundingCheapest || roundingMode == fxpModeRoundingZero;
    case FxpHardwareRoundingFloor:
        return roundingMode == fxpModeRoundingCheapest || roundingMode == fxpModeRoundingFloor;
    case FxpHardwareRoundingUndefined: break;
    }
    return false;
}

std::optional<Division> findDivision(OrvexClientInterface& client, fxpDataTypeProp const& target,
                                     fxpDataTypeProp const& source, int roundingMode)
{
    if (target.slopeAdjustmentFactor == source.slopeAdjustmentFactor) return {}; // a shift does it
    if (target.mode != fxpModeDataTypeFixed || source.mode != fxpModeDataTypeFixed) return {};
    if (client.getNetSlopeCorrectionMethod() != FxpNetSlopeCorrectDivide) return {};
    fxpProdHardware const& hardware = type_basic::hardwareOf(client);
    if (!hardware.isHWDeviceTypeMicropcessor()) return {};
    if (type_basic::isMultiWord(hardware, source.wordLength) ||
        type_basic::isMultiWord(hardware, target.wordLength))
        return {};
    if (!isRoundedAlike(hardware, source.isSigned(), roundingMode)) return {};

    double const divisor = type_basic::timesPowerOfTwo(
        target.slopeAdjustmentFactor / source.slopeAdjustmentFactor,
        type_basic::exponentDifference(target.fixedExponent, source.fixedExponent));
    // 3 is the least divisor worth it: 2 is a shift, 1 is nothing. Infinity is no integer, and NaN fails.
    if (!(divisor > 2.75) || std::isinf(divisor)) return {};
    double nearest = std::floor(divisor);
    if (nearest != divisor) nearest = std::floor(divisor + 0.5);
    if (std::fabs(1.0 - nearest / divisor) > 0x1p-50) return {};
    int bits = 0;
    if (std::frexp(nearest, &bits) == 0.5) return {}; // a power of two: a shift again

    HWIntegerWordLengths const& sizes = *hardware.getHWIntegerWordlengths();
    long long const bitsWithSign = bits + (source.isSigned() ? 1LL : 0LL);
    if (bitsWithSign > sizes.getBitsPerLargestInteger()) return {};
    Division found{divisor, multiword::strippedCopy(source)};
    found.type.setWordLength(static_cast<int>(bitsWithSign <= sizes.getBitsPerNominalInteger()
                                                  ? sizes.getBitsPerNominalInteger()
                                                  : sizes.getBitsPerLargestInteger()));
    return found;
}

} // namespace

void warnDifferentBestPrecisionScalingToAvoidOverflow(double value, double wordLength, int isSigned,
                                                      int exponent)
{
    KvxFeature& feature = differentScalingWarning();
    feature.countUse();
    if (feature.value() == 0) return;
    double const below = static_cast<double>(exponent) - 1.0;
    double const powerOfTwo = -std::pow(2.0, below);
    double const least = powerOfTwo - std::pow(2.0, below - wordLength + isSigned);
    double const fractionLength = wordLength - isSigned - exponent;
    NumberUtils::reportWarningFromMessageID(Orvex::typeBasic::DifferentBestPrecisionScalingToAvoidOverflow(
        kvx_dtoa(value, true), kvx_dtoa(powerOfTwo, true), kvx_dtoa(least, true), kvx_dtoa(wordLength, true),
        kvx_dtoa(isSigned, true), kvx_dtoa(fractionLength, true), kvx_dtoa(fractionLength + 1.0, true)));
}

int bestPrecisionFixedExponent(double x, fxpDataTypeProp const& type)
{
    constexpr int noConstraint = -1000;
    if (x == 0.0 || (x < 0.0 && !type.isSigned()) || !std::isfinite(x)) return noConstraint;
    int const isSigned = type.isSigned() ? 1 : 0;
    long long const bits = static_cast<long long>(type.wordLength) - isSigned;
    int exponent = 0;
    double const mantissa = std::frexp(x, &exponent);
    long long const unit = exponent - bits;
    // A signed word reaches minus a power of two with one bit less.
    if (mantissa == -0.5) return type_basic::toExponentField(unit - 1);
    double const rounded =
        type_basic::timesPowerOfTwo(std::round(type_basic::timesPowerOfTwo(mantissa, bits)), -bits);
    if (rounded == -0.5)
        warnDifferentBestPrecisionScalingToAvoidOverflow(x, type.wordLength, isSigned, exponent);
    return type_basic::toExponentField(rounded == 1.0 ? unit + 1 : unit);
}

void selectSlopeCorrectionDataType(fxpDataTypeProp* out, fxpDataTypeProp const* in, double netSlope)
{
    *out = *in;
    out->changeIfBooleanToUint8();
    *out = multiword::strippedCopy(*out);
    out->fixedExponent = bestPrecisionFixedExponent(netSlope, *out);
}

bool getDTCSlopeCorrectionMode(OrvexClientInterface& client, fxpDataTypeProp const& target,
                               fxpDataTypeProp const& source, double* netSlope,
                               fxpDataTypeProp* correctionType, unsigned long long* correctionValue,
                               int roundingMode)
{
    std::optional<Division> const found = findDivision(client, target, source, roundingMode);
    if (!found) return false;
    multiword::storeRadixDoubleToChunks(client::nullClient(), correctionValue, found->type, found->divisor,
                                        fxpModeRoundingNearest, fxpModeOverflowSaturate);
    *correctionType = found->type;
    *netSlope = found->divisor;
    return true;
}

bool getDTCSlopeCorrectionMode(OrvexClientInterface& client, fxpDataTypeProp const& target,
                               fxpDataTypeProp const& source, double* netSlope,
                               fxpDataTypeProp* correctionType, fxpScalarOversized* correctionValue,
                               int roundingMode)
{
    std::optional<Division> const found = findDivision(client, target, source, roundingMode);
    if (!found) return false;
    correctionValue->storeRadixDouble(client::nullClient(), found->type, found->divisor,
                                      fxpModeRoundingNearest, fxpModeOverflowSaturate);
    *correctionType = found->type;
    *netSlope = found->divisor;
    return true;
}

} // namespace ORVEX
