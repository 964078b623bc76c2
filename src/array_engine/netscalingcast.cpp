#include "array_engine/netscalingcast.h"

#include "client/nullclient.h"
#include "multiword/chunkstore.h"
#include "type_basic/clienthardware.h"

#include <orvex/type_basic/selectslopecorrectiondatatype.h>

namespace ORVEX::array_engine
{

namespace
{

/// Hears the events of one saturating store: at most an underflow and then a
/// saturation.
class StoreListener final : public FxpClientNull
{
public:
    void handleUnderflow() override { underflow = true; }
    void handleSaturationToMin() override { event = Event::saturationToMin; }
    void handleSaturationToMax() override { event = Event::saturationToMax; }

    bool underflow = false;
    Event event = Event::none;
};

} // namespace

void NetValue::quantize(double value, fxpDataTypeProp const& type, bool isSlope)
{
    StoreListener listener;
    chunks_.allocate(numChunksOfType(type));
    storeRadixDoubleToChunks(listener, chunks_.data(), type, value, fxpModeRoundingNearest,
                             fxpModeOverflowSaturate);
    type_ = type;
    value_ = value;
    isSlope_ = isSlope;
    underflow_ = listener.underflow;
    event_ = listener.event;
}

void NetValue::announce(OrvexClientInterface& client, fxpDataTypeProp const& castType) const
{
    if (underflow_) client.handleUnderflow();
    tell(client, event_);
    client.reportNetScalingDiagnostic(chunks_.data(), castType, value_, isSlope_);
}

NetScalingCast::NetScalingCast(OrvexClientInterface& client, fxpDataTypeProp const& y,
                               fxpDataTypeProp const& u, fxpModeRounding_tag round, int sat)
    : to_(radixCopy(y)), from_(radixCopy(u)), round_(round), sat_(sat),
      scales_(u.slopeAdjustmentFactor != y.slopeAdjustmentFactor), biases_(u.bias != y.bias)
{
    if (scales_) {
        double const netSlope = u.slopeAdjustmentFactor / y.slopeAdjustmentFactor;
        fxpDataTypeProp slopeType;
        selectSlopeCorrectionDataType(&slopeType, &u, netSlope);
        slope_.quantize(netSlope, slopeType, true);
        if (!biases_) {
            double divisorAsDouble = 0.0;
            fxpProdHardware const& hardware = type_basic::hardwareOf(client);
            divisor_.allocate(numChunksForWordLength(
                static_cast<int>(hardware.getHWIntegerWordlengths()->getBitsPerLargestInteger())));
            divides_ = getDTCSlopeCorrectionMode(client, y, u, &divisorAsDouble, &divisorType_,
                                                 divisor_.data(), round);
        }
    }
    if (biases_) {
        double netBias = (u.bias - y.bias) / y.slopeAdjustmentFactor;
        subtractsBias_ = netBias < 0 && !y.isSigned();
        if (subtractsBias_) netBias = -netBias;
        bias_.quantize(netBias, to_, false);
    }
}

void castNetScalingToChunks(OrvexClientInterface& client, Chunk* dst, fxpDataTypeProp const& y,
                            Chunk const* src, fxpDataTypeProp const& u, fxpModeRounding_tag round, int sat)
{
    if (sameScaling(y, u)) return convertChunksToChunks(client, dst, y, src, u, round, sat);
    NetScalingCast const cast(client, y, u, round, sat);
    withCount(numChunksOfType(u), [&](auto n) {
        withCount(numChunksOfType(y), [&](auto m) { cast.run(client, ChunkTarget(dst, m), src, n); });
    });
}

} // namespace ORVEX::array_engine
