#include "array_engine/storedcast.h"

#include <orvex/type_basic/selectcastintermediatedatatype.h>

namespace ORVEX::array_engine
{

void StoredCast::planStages(OrvexClientInterface& client)
{
    constexpr int castPathStage = 2;
    fxpOperationChoices const request{round_, sat_, castPathStage};
    fxpOperationChoices first = request;
    fxpOperationChoices last = request;
    selectCastIntermediateDataType(client, &between_, &first, &last, &y_, &u_, &request);
    bool const direct = between_ == u_;
    if (!direct)
        first_.emplace(client, between_, u_, static_cast<fxpModeRounding_tag>(first.roundingMode),
                       first.overflowMode);
    last_.emplace(client, y_, direct ? u_ : between_, static_cast<fxpModeRounding_tag>(last.roundingMode),
                  last.overflowMode);
}

} // namespace ORVEX::array_engine
