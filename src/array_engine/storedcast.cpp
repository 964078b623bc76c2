#include "array_engine/storedcast.h"

#include <orvex/type_basic/selectcastintermediatedatatype.h>

namespace ORVEX::array_engine
{

StoredCast::StoredCast(OrvexClientInterface& client, fxpDataTypeProp const& y, fxpDataTypeProp const& u,
                       fxpModeRounding_tag round, int sat)
{
    if (y == u) return;
    constexpr int castPathStage = 2;
    fxpOperationChoices const request{round, sat, castPathStage};
    fxpOperationChoices first = request;
    fxpOperationChoices second = request;
    selectCastIntermediateDataType(client, &between_, &first, &second, &y, &u, &request);
    auto const roundingOf = [](fxpOperationChoices const& c) {
        return static_cast<fxpModeRounding_tag>(c.roundingMode);
    };
    if (between_ == u) {
        stages_ = 1;
        last_.plan(client, y, u, roundingOf(second), second.overflowMode);
    } else {
        stages_ = 2;
        first_.plan(client, between_, u, roundingOf(first), first.overflowMode);
        last_.plan(client, y, between_, roundingOf(second), second.overflowMode);
    }
}

} // namespace ORVEX::array_engine
