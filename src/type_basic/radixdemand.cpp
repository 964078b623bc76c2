#include "type_basic/radixdemand.h"

#include "multiword/chunkdouble.h"

#include <orvex/multiword/mpr_quantize.h>
#include <orvex/type_basic/selectslopecorrectiondatatype.h>
#include <orvex/type_basic/slopenormalize.h>

#include <algorithm>
#include <cmath>

namespace ORVEX::type_basic
{

RadixDemand::RadixDemand(OrvexClientInterface& client, fxpDataTypeProp const& in, bool withTerms_,
                         fxpSelectRadixTypeConditions* conditions)
    : withTerms(withTerms_), scaledType(in), minChunks(multiword::numChunksOfType(in)),
      maxChunks(multiword::numChunksOfType(in))
{
    using namespace multiword;
    fxpDataTypeProp factorType = radixCopy(in);
    factorType.mode = fxpModeDataTypeFixed;
    factorType.fixedExponent = bestPrecisionFixedExponent(in.slopeAdjustmentFactor, factorType);
    double const factor = mpr_quantize(client, in.slopeAdjustmentFactor, factorType, fxpModeRoundingNearest,
                                       fxpModeOverflowSaturate);
    if (conditions && factor != in.slopeAdjustmentFactor) conditions->setSlopeQuantizationLoss();
    slopeTerm = std::ldexp(factor, in.fixedExponent);

    scaledType.slopeAdjustmentFactor = factor;
    scaledTypeNoBias = scaledType;
    scaledTypeNoBias.bias = 0.0;
    slopeNormalize(client, &scaledType);

    int const count = numChunksOfType(in);
    setChunksToMax(maxChunks.data(), in, count);
    setChunksToMin(minChunks.data(), in, count);
    maxRealWorld = chunksToRealWorldDouble(maxChunks.data(), scaledType, count);
    minRealWorld = chunksToRealWorldDouble(minChunks.data(), scaledType, count);
    if (withTerms) {
        maxRealWorld =
            std::max(maxRealWorld, chunksToRealWorldDouble(maxChunks.data(), scaledTypeNoBias, count));
        minRealWorld =
            std::min(minRealWorld, chunksToRealWorldDouble(minChunks.data(), scaledTypeNoBias, count));
    }
    // A signed type reaches minus a power of two but not plus it: the term is tried with the sign that can
    // fit. Only a type that reaches below zero does not reach its slope.
    if (slopeTerm > maxRealWorld) slopeTerm = -slopeTerm;
}

} // namespace ORVEX::type_basic
