#include <orvex/type_basic/selectradixdatatype.h>

#include "multiword/chunkdouble.h"
#include "type_basic/clienthardware.h"
#include "type_basic/iswordlengthgoodforradix.h"

#include <algorithm>

namespace ORVEX
{

namespace
{

using type_basic::isWordLengthGoodforRadix;
using type_basic::RadixDemand;
using type_basic::valueHeldBy;

/// The word lengths that one selection may use: those of the hardware from the input's own on.
///
/// `limit` is the longest that counts as a success. It may lie below the hardware's largest, where the
/// client's maximum is smaller, and below the input's own word length, where nothing can succeed.
struct radixWordLengthCandidates {
    fxpProdHardware hardware;
    long long limit;
};

bool isRadixAlready(fxpDataTypeProp const& type)
{
    bool const isScaled = type.mode == fxpModeDataTypeFixed || type.mode == fxpModeDataTypeScaledDouble;
    return !isScaled || (type.bias == 0.0 && type.slopeAdjustmentFactor == 1.0);
}

unsigned int largestOf(fxpProdHardware const& hardware)
{
    return hardware.getHWIntegerWordlengths()->getBitsPerLargestInteger();
}

/// An ASIC whose largest word has `largest` bits.
radixWordLengthCandidates allUpTo(long long largest, fxpDataTypeProp const& in)
{
    fxpProdHardware asic = fxpProdHardware::getASICTypeHardware();
    auto const bits = static_cast<unsigned int>(largest);
    if (largestOf(asic) != bits) asic.getHWIntegerWordlengths()->addNewWordLength(bits);
    return {asic, std::max<long long>(largest, in.wordLength)};
}

radixWordLengthCandidates thoseOf(fxpProdHardware const& hardware, OrvexClientInterface const& client,
                                  fxpDataTypeProp const& in)
{
    if (hardware.isHWDeviceTypeMicropcessor())
        return {hardware, std::max<long long>(largestOf(hardware), in.wordLength)};
    return {hardware, client.getMaxSupportedWordLength()};
}

/// The largest exponent at which `type` still holds the slope term exactly and the bias term as before.
void coarsen(fxpDataTypeProp& type, double slopeTerm, double biasTerm)
{
    if (slopeTerm == 0.0) return; // every exponent holds it
    for (fxpDataTypeProp trial = type;; type = trial) {
        ++trial.fixedExponent;
        if (valueHeldBy(trial, slopeTerm, fxpModeRoundingZero) != slopeTerm ||
            valueHeldBy(trial, biasTerm, fxpModeRoundingNearest) != biasTerm)
            return;
    }
}

fxpDataTypeProp selectRadix(OrvexClientInterface& client, fxpDataTypeProp const& in,
                            radixWordLengthCandidates const& candidates, bool withTerms,
                            fxpSelectRadixTypeConditions* conditions)
{
    RadixDemand const demand(client, in, withTerms, conditions);
    fxpDataTypeProp result = multiword::radixCopy(in);
    result.setIsSigned(demand.minRealWorld < 0.0);

    HWIntegerWordLengths& sizes = *candidates.hardware.getHWIntegerWordlengths();
    auto const start = static_cast<unsigned int>(in.wordLength);
    double slopeHeld = 0.0;
    double biasHeld = in.bias;
    for (int pass = 0; pass < 2 && candidates.limit >= in.wordLength - 1LL; ++pass) {
        isWordLengthGoodforRadix isGood(client, demand, biasHeld, result);
        long long found = candidates.limit;
        bool const isOutside = sizes.isMultiWord(start);
        if (isOutside)
            isGood(start);
        else
            found = sizes.find_first(start, isGood);
        result = isGood.candidate();
        slopeHeld = isGood.realizedSlopeTerm();
        biasHeld = isGood.realizedBiasTerm();
        // A search that ran to the top is repeated for the bias as it was held there: which may be held by
        // fewer bits, and the bias as wanted by none.
        if (isOutside || found < candidates.limit) break;
    }
    if (slopeHeld == demand.slopeTerm) coarsen(result, demand.slopeTerm, biasHeld);
    return result;
}

} // namespace

void selectRadixDataType(OrvexClientInterface& client, fxpDataTypeProp* out, fxpDataTypeProp const* in,
                         fxpProdHardware const* hw, fxpSelectRadixTypeConditions* conditions)
{
    auto const& hardware = type_basic::hardwareOrAsic(hw);
    *out = isRadixAlready(*in) ? *in
                               : selectRadix(client, *in, thoseOf(hardware, client, *in), false, conditions);
}

void selectRadixDataType_WithTerms(OrvexClientInterface& client, fxpDataTypeProp* out,
                                   fxpDataTypeProp const* in, fxpProdHardware const* hw)
{
    auto const& hardware = type_basic::hardwareOrAsic(hw);
    *out =
        isRadixAlready(*in) ? *in : selectRadix(client, *in, thoseOf(hardware, client, *in), true, nullptr);
}

void selectRadixDataTypeMax(OrvexClientInterface& client, fxpDataTypeProp* out, fxpDataTypeProp const* in)
{
    fxpProdHardware const& hardware = type_basic::hardwareOf(client);
    long long largest = client.getMaxSupportedWordLength();
    if (hardware.isHWDeviceTypeMicropcessor()) largest = largestOf(hardware);
    *out = isRadixAlready(*in) ? *in : selectRadix(client, *in, allUpTo(largest, *in), false, nullptr);
}

void selectRadixDataTypeMaxWL(OrvexClientInterface& client, fxpDataTypeProp* out, fxpDataTypeProp const* in)
{
    // One bit beyond what a word may have, on purpose.
    constexpr long long largest = FXP_MAX_BITS + 1;
    *out = isRadixAlready(*in) ? *in : selectRadix(client, *in, allUpTo(largest, *in), false, nullptr);
}

} // namespace ORVEX
