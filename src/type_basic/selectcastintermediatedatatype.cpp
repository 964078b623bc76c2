#include <orvex/type_basic/selectcastintermediatedatatype.h>

#include "type_basic/castintermediatecache.h"
#include "type_basic/clienthardware.h"
#include "type_basic/scaling.h"

#include <orvex/client/fxpclientfullprecision.h>
#include <orvex/type_basic/discardbitsformaxsize.h>
#include <orvex/type_basic/selectradixdatatype.h>
#include <orvex/type_basic/slopenormalize.h>

#include <algorithm>
#include <cmath>

namespace ORVEX
{

namespace
{

/// A type of the target's slope factor and bias for the source's values: the radix type that holds the
/// source's stored integers on the target's grid, as an ideal ASIC of 128 bits would choose it.
fxpDataTypeProp idealIntermediate(OrvexClientInterface& client, fxpDataTypeProp const& target,
                                  fxpDataTypeProp const& source, double netBias)
{
    double const netSlope = type_basic::timesPowerOfTwo(
        source.slopeAdjustmentFactor / target.slopeAdjustmentFactor,
        type_basic::exponentDifference(source.fixedExponent, target.fixedExponent));
    fxpDataTypeProp net(source.isSigned(), source.wordLength, netSlope, netBias);
    slopeNormalize(client, &net);

    FxpClientFullPrecision idealClient;
    fxpDataTypeProp radix;
    selectRadixDataType_WithTerms(idealClient, &radix, &net, idealClient.getProductionHardware());

    long long const exponent = static_cast<long long>(radix.fixedExponent) + target.fixedExponent;
    fxpDataTypeProp ideal(radix.isSigned(), radix.wordLength, target.slopeAdjustmentFactor,
                          type_basic::toExponentField(exponent), target.bias);
    slopeNormalize(client, &ideal);
    return ideal;
}

/// The size that the hardware would hold a type of `wordLength` bits in, at least its nominal integer.
int containerOf(fxpProdHardware const& hardware, int wordLength)
{
    // A search may write to what it searches, which belongs to the client and is shared by its threads.
    auto const sizes = hardware.getHWIntegerWordlengths()->clone();
    return static_cast<int>(
        std::max(sizes->getContainerWordLength(static_cast<unsigned int>(wordLength), HWContainerElement),
                 sizes->getBitsPerNominalInteger()));
}

type_basic::CastIntermediate workOut(OrvexClientInterface& client, fxpProdHardware const& hardware,
                                     fxpDataTypeProp const& target, fxpDataTypeProp const& source,
                                     double netBias, int overflowMode)
{
    type_basic::CastIntermediate answer{idealIntermediate(client, target, source, netBias),
                                        fxpModeOverflowWrap, overflowMode};
    if (!hardware.isHWDeviceTypeASIC())
        answer.type.setWordLength(containerOf(hardware, answer.type.wordLength));
    int const maxBits = hardware.isHWDeviceTypeMicropcessor()
                            ? static_cast<int>(hardware.getHWIntegerWordlengths()->getBitsPerLargestInteger())
                            : client.getMaxSupportedWordLength();
    int fractionBits = 0;
    int msbBits = 0;
    bool sign = false;
    discardBitsForMaxSize(maxBits, &answer.type, &target, &fractionBits, &msbBits, &sign);
    if (answer.type == target) { // no intermediate
        answer.type = source;
    } else if (fractionBits != 0 || msbBits != 0 || sign) {
        answer.firstOverflowMode = overflowMode; // the first stage can overflow
    }
    return answer;
}

} // namespace

void selectCastIntermediateDataType(OrvexClientInterface& client, fxpDataTypeProp* out,
                                    fxpOperationChoices* firstStage, fxpOperationChoices* secondStage,
                                    fxpDataTypeProp const* target, fxpDataTypeProp const* source,
                                    fxpOperationChoices const* request)
{
    using type_basic::castIntermediateCache;
    *out = *source;
    if (firstStage) {
        *firstStage = *request;
        firstStage->overflowMode = fxpModeOverflowWrap;
    }
    if (secondStage) *secondStage = *request;

    double netBias = source->bias - target->bias;
    if (netBias == 0.0) return;
    netBias /= std::ldexp(target->slopeAdjustmentFactor, target->fixedExponent);
    if (netBias == 0.0) return;

    for (fxpModeDataType const mode : {fxpModeDataTypeDouble, fxpModeDataTypeSingle})
        if (source->mode == mode || target->mode == mode) {
            *out = mode == fxpModeDataTypeDouble ? fxpDataTypeProp::doubleDataType()
                                                 : fxpDataTypeProp::singleDataType();
            return;
        }

    fxpProdHardware const& hardware = type_basic::hardwareOf(client);
    type_basic::CastQuestion const question{*target, *source, request->overflowMode};
    auto answer = castIntermediateCache::instance().find(hardware, question);
    if (!answer) {
        answer = workOut(client, hardware, *target, *source, netBias, request->overflowMode);
        castIntermediateCache::instance().insert(hardware, question, *answer);
    }
    *out = answer->type;
    firstStage->overflowMode = answer->firstOverflowMode;
    secondStage->overflowMode = answer->secondOverflowMode;
}

} // namespace ORVEX
