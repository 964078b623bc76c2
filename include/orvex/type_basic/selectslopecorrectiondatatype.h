/// \file
/// How a net slope is held and applied, and the binary point that serves a double best.
///
/// A cast from type U to type Y relates stored integers by Qy = netSlope * Qu + netBias.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/type_basic/fxpscalaroversized.h>

namespace ORVEX
{

/// The fixed exponent of the finest binary point at which `x`, rounded half away from zero, fits a word of
/// the type's word length and signedness; the type's own scaling plays no part. No other function places a
/// binary point.
///
/// The marker -1000, which loses every max against a real exponent, stands for "no constraint": x is zero,
/// infinite or NaN, or negative for an unsigned type. A negative x that is no power of two but rounds to one
/// goes to warnDifferentBestPrecisionScalingToAvoidOverflow. Calls no client.
ORVEX_API int bestPrecisionFixedExponent(double x, fxpDataTypeProp const& type);

/// Reports, as a warning, that a value which rounds to minus a power of two has got a binary point one bit
/// coarser than that power of two itself would get. Does so only while the feature
/// "WarnDifferentBestPrecisionScalingToAvoidOverflow" is switched on; counts a use of it in any case.
///
/// \param value      the value
/// \param wordLength in bits
/// \param isSigned   1 or 0
/// \param exponent   the value's, as frexp gives it
/// Throws what the warning handler throws.
ORVEX_API void warnDifferentBestPrecisionScalingToAvoidOverflow(double value, double wordLength, int isSigned,
                                                                int exponent);

/// The type in which a net slope is held for a cast from `in`: the source's word length and signedness, no
/// bias, at best precision for `netSlope`. A boolean source counts as unsigned 8 bits. The fixed exponent is
/// -1000 for a net slope of zero, infinity or NaN, and for a negative one of an unsigned source.
ORVEX_API void selectSlopeCorrectionDataType(fxpDataTypeProp* out, fxpDataTypeProp const* in,
                                             double netSlope);

/// May a cast be done by dividing the source's stored integer by an integer? On a microprocessor whose client
/// wants FxpNetSlopeCorrectDivide, such a division is exact where a multiplication by the quantized slope is
/// not.
///
/// True only if the slope factors differ, both types are fixed and fit a word of the target, the target's
/// division rounds as `roundingMode` asks (Cheapest agrees with any known one, and an unsigned source with
/// Zero and Floor alike), and the divisor is more than 2.75, no power of two, an integer within a relative
/// 2^-50, and fits the target's largest word with the source's sign. The outputs are left alone otherwise.
///
/// \param netSlope        the divisor as a double, unrounded: the reciprocal of the slope of the
///                        multiplication
/// \param correctionType  the divisor's type: the source's, unscaled, with the word length of the target's
///                        nominal integer or, where that is too short, of its largest
/// \param correctionValue the divisor as a stored integer of that type: ceil(L / 64) chunks, least
///                        significant first, for a largest word of L bits
/// Asks the client for method and hardware; calls none of its events.
ORVEX_API bool getDTCSlopeCorrectionMode(OrvexClientInterface& client, fxpDataTypeProp const& target,
                                         fxpDataTypeProp const& source, double* netSlope,
                                         fxpDataTypeProp* correctionType, unsigned long long* correctionValue,
                                         int roundingMode);

/// The same with the divisor in one value.
ORVEX_API bool getDTCSlopeCorrectionMode(OrvexClientInterface& client, fxpDataTypeProp const& target,
                                         fxpDataTypeProp const& source, double* netSlope,
                                         fxpDataTypeProp* correctionType, fxpScalarOversized* correctionValue,
                                         int roundingMode);

} // namespace ORVEX
