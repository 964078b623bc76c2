#include <orvex/number/replay.h>

namespace ORVEX
{

namespace
{

Number zeroOf(fxpDataTypeProp const& type, OrvexClientInterface& client, fxpModeRounding_tag round,
              fxpModeOverflow_tag overflow, bool isComplex)
{
    return isComplex ? Number(0.0, 0.0, type, client, round, overflow)
                     : Number(0.0, type, client, round, overflow);
}

} // namespace

EventLog replayStore(OrvexClientInterface& client, double const* values, unsigned long long count,
                     fxpDataTypeProp const& type, fxpModeRounding_tag round, fxpModeOverflow_tag overflow,
                     bool isComplex)
{
    EventLog log(&client, EventLog::Pass::questions);
    Number element = zeroOf(type, log, round, overflow, isComplex);
    log.clear(); // of what the zero has reported
    for (unsigned long long i = 0; i < count; ++i) {
        log.setElement(i);
        element.setValue(values + (isComplex ? 2 : 1) * i);
    }
    return log;
}

EventLog replayCast(Number const& source, fxpDataTypeProp const& type, fxpModeRounding_tag round,
                    fxpModeOverflow_tag overflow)
{
    EventLog log(&source.getFxpClient(), EventLog::Pass::questions);
    Number const elements(source, NumberUtils::copyIndexOnly); // has a cursor of its own
    Number element = zeroOf(type, log, round, overflow, source.isComplex());
    log.clear();
    for (unsigned long long i = 0; i < elements.getNumberOfElements(); ++i) {
        log.setElement(i);
        element = elements[i];
    }
    return log;
}

Number withClient(Number const& number, OrvexClientInterface& client)
{
    return Number(const_cast<void*>(number.getSIArray()), number.getDataType(), client,
                  number.getNumberOfElements(), number.getRoundMode(), number.getOverflowMode(),
                  number.isComplex());
}

void copyOutputTypes(Number const& from, Number const& to)
{
    if (from.isDataTypeForBinaryOpOutputUserSpecified())
        to.setDataTypeForBinaryOpOutput(from.getDataTypeForBinaryOpOutput());
    if (from.isDataTypeForNonAssignmentOpPlusUserSpecified())
        to.setDataTypeForNonAssignmentOpPlus(from.getDataTypeForNonAssignmentOpPlus());
    if (from.isDataTypeForNonAssignmentOpTimesUserSpecified())
        to.setDataTypeForNonAssignmentOpTimes(from.getDataTypeForNonAssignmentOpTimes());
}

} // namespace ORVEX
