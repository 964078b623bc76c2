/// Any double into any fixed type.
#include "bytes.h"
#include "support/model.h"

namespace
{
using namespace orvextest;

/// The exponent near that of the value or anywhere, or no number that a scaling should have.
void anyScaling(fxpDataTypeProp& type, double value, Random& random)
{
    if (int const exponent = std::isfinite(value) && value != 0.0 ? std::ilogb(value) : 0; random.coin())
        type.fixedExponent = exponent - random.between(-3, type.wordLength + 3);
    if (random.coin()) return;
    type.slopeAdjustmentFactor =
        random.coin() ? 1.0 + random.between(0, 255) / 256.0 : std::bit_cast<double>(random.bits());
    type.bias = random.coin() ? value : std::bit_cast<double>(random.bits());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    orvexfuzz::Bytes input(data, size);
    auto const round = input.pick(allRoundings);
    int const sat = input.between(0, 1);
    auto const value = std::bit_cast<double>(input.bits());
    fxpDataTypeProp type = input.radixType(input.pick(std::array{8, 64, 320}), -1200, 1200);
    anyScaling(type, value, input);
    checkStore(value, type, round, sat);
    return 0;
}
