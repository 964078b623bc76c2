#include "type_basic/iswordlengthgoodforradix.h"

#include "array_engine/netscalingcast.h"
#include "client/nullclient.h"
#include "type_basic/clienthardware.h"

#include <orvex/multiword/mpr_quantize.h>
#include <orvex/type_basic/selectslopecorrectiondatatype.h>

#include <algorithm>

namespace ORVEX::type_basic
{

namespace
{

/// Whether a stored integer means the same in `narrow` as in the somewhat wider `wide`.
bool roundTripsExactly(multiword::Chunk const* chunks, fxpDataTypeProp const& type,
                       fxpDataTypeProp const& wide, fxpDataTypeProp const& narrow)
{
    using namespace multiword;
    int const wideCount = numChunksOfType(wide);
    int const narrowCount = numChunksOfType(narrow);
    ChunkBuffer a(wideCount);
    ChunkBuffer b(narrowCount);
    auto const cast = [](Chunk* dst, fxpDataTypeProp const& to, Chunk const* src,
                         fxpDataTypeProp const& from) {
        array_engine::castNetScalingToChunks(client::nullClient(), dst, to, src, from, fxpModeRoundingNearest,
                                             fxpModeOverflowSaturate);
    };
    cast(a.data(), wide, chunks, type);
    cast(b.data(), narrow, a.data(), wide);
    return compareChunks(b.data(), narrow, a.data(), wide, narrowCount, wideCount) == 0;
}

} // namespace

double valueHeldBy(fxpDataTypeProp type, double value, fxpModeRounding_tag round)
{
    type.mode = fxpModeDataTypeFixed; // a scaled double would keep the value unrounded
    return mpr_quantize(client::nullClient(), value, type, round, fxpModeOverflowSaturate);
}

isWordLengthGoodforRadix::isWordLengthGoodforRadix(OrvexClientInterface const& client,
                                                   RadixDemand const& demand, double biasTerm,
                                                   fxpDataTypeProp const& candidate)
    : client_(client), demand_(demand), biasTerm_(biasTerm), candidate_(candidate)
{
}

bool isWordLengthGoodforRadix::operator()(unsigned int wl)
{
    unsigned int const least = candidate_.isSigned() ? 2 : 1;
    if (wl < least) {
        if (!isMultiWord(hardwareOf(client_), static_cast<int>(wl))) return false;
        wl = least;
    }
    candidate_.setWordLength(static_cast<int>(wl));
    candidate_.fixedExponent = std::max(bestPrecisionFixedExponent(demand_.minRealWorld, candidate_),
                                        bestPrecisionFixedExponent(demand_.maxRealWorld, candidate_));
    if (!holdsExtremes()) ++candidate_.fixedExponent; // one has rounded up past the top
    realizedSlopeTerm_ = valueHeldBy(candidate_, demand_.slopeTerm, fxpModeRoundingZero);
    realizedBiasTerm_ = valueHeldBy(candidate_, biasTerm_, fxpModeRoundingNearest);
    return realizedSlopeTerm_ == demand_.slopeTerm && realizedBiasTerm_ == biasTerm_;
}

bool isWordLengthGoodforRadix::holdsExtremes() const
{
    fxpDataTypeProp wide = candidate_;
    if (wide.wordLength < client_.getMaxSupportedWordLength()) ++wide.wordLength;
    bool fits = true;
    for (multiword::Chunk const* const extreme : {demand_.maxChunks.data(), demand_.minChunks.data()}) {
        fits &= roundTripsExactly(extreme, demand_.scaledType, wide, candidate_);
        if (demand_.withTerms) fits &= roundTripsExactly(extreme, demand_.scaledTypeNoBias, wide, candidate_);
    }
    return fits;
}

} // namespace ORVEX::type_basic
