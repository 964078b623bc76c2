#include "number_body/scaleddoublenumber.h"

#include "array_engine/parallelframe.h"
#include "multiword/chunkbits.h"
#include "multiword/floatcast.h"
#include "type_basic/applyplan.h"

using namespace ORVEX::multiword;

double ScaledDoubleNumber::getRWDoubleValue() const { return scaledDoubleToRealWorld(here(), dataType()); }

void ScaledDoubleNumber::store(double& place, double realWorld)
{
    storeRealWorldToScaledDouble(client(), &place, dataType(), realWorld, roundMode(), overflowMode());
}

void ScaledDoubleNumber::setValue(double const* values)
{
    auto const storeRange = [this, values](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) store(static_cast<double*>(data())[i], values[i]);
    };
    if (numberOfElements() > ORVEX::array_engine::serialLimit)
        ORVEX::array_engine::parallelFor(numberOfElements(), ORVEX::array_engine::scalarGrain, storeRange);
    else
        storeRange(0, numberOfElements());
}

void ScaledDoubleNumber::assignNumber(NumberBody const* other)
{
    fxpDataTypeProp const& type = other->dataType();
    double const raw = other->getRawDoubleValue();
    if (type == dataType()) {
        here() = raw;
    } else if (type.mode == fxpModeDataTypeSingle || type.mode == fxpModeDataTypeDouble) {
        store(here(), raw);
    } else if (type.mode == fxpModeDataTypeScaledDouble) {
        CastMixFloatFixptRealization const plan(dataType(), type, false, false);
        storeRealWorldToScaledDouble(client(), &here(), *plan.pFxpDtpYNet(),
                                     ORVEX::type_basic::applyPlan(raw, plan), roundMode(), overflowMode());
    } else {
        ORVEX::number_body::Operand const value =
            ORVEX::number_body::operandAtCursor(*other, ORVEX::number_body::Part::real);
        storeChunksThroughCast(client(), &here(), dataType(), value.chunks(), type, roundMode(),
                               overflowMode());
    }
}

void ScaledDoubleNumber::setMaxRWValue() { here() = maxStoredIntegerAsDouble(dataType()); }

void ScaledDoubleNumber::setMinRWValue() { here() = minStoredIntegerAsDouble(dataType()); }

namespace
{

constexpr double integerBound = 0x1p62; // tested in the positive direction only

} // namespace

template <class Operation>
void ScaledDoubleNumber::combineBits(NumberBody const& other, Operation operation)
{
    double const theirs = other.getSIDoubleValue();
    if (here() <= integerBound && theirs <= integerBound) {
        auto const a = static_cast<Chunk>(getSIArrayValueSigned());
        auto const b = static_cast<Chunk>(other.getSIArrayValueSigned());
        here() = static_cast<double>(static_cast<long long>(operation(a, b)));
        return;
    }
    fxpDataTypeProp const fixed = fixedTwin(dataType());
    int const count = numChunksOfType(fixed);
    ChunkBuffer a(count);
    ChunkBuffer b(count);
    storeFloatThroughCast(client(), b.data(), fixed, theirs, dataType(), fxpModeRoundingNearest,
                          fxpModeOverflowSaturate);
    storeFloatThroughCast(client(), a.data(), fixed, here(), dataType(), fxpModeRoundingNearest,
                          fxpModeOverflowSaturate);
    for (int i = 0; i < count; ++i) a[i] = operation(a[i], b[i]);
    storeChunksThroughCast(client(), &here(), dataType(), a.data(), fixed, fxpModeRoundingNearest,
                           fxpModeOverflowSaturate);
}

void ScaledDoubleNumber::bitAndEqual(NumberBody const* other)
{
    combineBits(*other, [](Chunk a, Chunk b) { return a & b; });
}

void ScaledDoubleNumber::bitOrEqual(NumberBody const* other)
{
    combineBits(*other, [](Chunk a, Chunk b) { return a | b; });
}

void ScaledDoubleNumber::bitXorEqual(NumberBody const* other)
{
    combineBits(*other, [](Chunk a, Chunk b) { return a ^ b; });
}

void ScaledDoubleNumber::bitCmp()
{
    if (here() <= integerBound) {
        here() = static_cast<double>(~getSIArrayValueSigned());
        return;
    }
    fxpDataTypeProp const fixed = fixedTwin(dataType());
    int const count = numChunksOfType(fixed);
    ChunkBuffer a(count);
    storeFloatThroughCast(client(), a.data(), fixed, here(), dataType(), fxpModeRoundingNearest,
                          fxpModeOverflowSaturate);
    bitNotChunks(a.data(), fixed, count);
    storeChunksThroughCast(client(), &here(), dataType(), a.data(), fixed, fxpModeRoundingNearest,
                           fxpModeOverflowSaturate);
}

void ScaledDoubleNumber::bitShiftRightLogical(unsigned count)
{
    shiftRightLogicalScaledDouble(client(), &here(), dataType(), count);
}
