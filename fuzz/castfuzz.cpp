/// Any stored integer of any fixed type into any other, directly and as arrays of numbers, for several
/// targets.
#include "bytes.h"
#include "support/castcheck.h"
#include "support/numbers.h"

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

Type anyType(Random& input, int bits, int exponent)
{
    Type type = input.radixType(bits, 0, 0);
    type.fixedExponent = exponent + input.between(-bits, bits);
    if (input.coin()) return type;
    if (input.coin()) type.slopeAdjustmentFactor = 1.0 + input.between(0, 65535) / 65536.0;
    if (input.coin())
        type.bias = std::ldexp(input.between(-32768, 32767), type.fixedExponent + input.between(-8, 24));
    return type;
}

/// Arrays of binary-point types, long enough for blocks of lanes; parts of the result are compared one by
/// one.
void checkArrays(Type const& y, Type const& u, Modes modes, Elements const& elements)
{
    RecordingClient client;
    auto const round = static_cast<fxpModeRounding_tag>(modes.round);
    auto const sat = static_cast<fxpModeOverflow_tag>(modes.sat);
    Number const source = numberOf(u, elements, client);
    Number const target(source, y, round, sat);
    Elements wanted = elements;
    Events events;
    for (Element& element : wanted)
        for (Int& part : element) {
            if (u == y) continue;
            Outcome const outcome = convert(part, u, y, modes.round, modes.sat);
            part = outcome.stored;
            events.insert(events.end(), outcome.events.begin(), outcome.events.end());
        }
    ASSERT_TRUE(elementsOf(target) == wanted && client.events() == events)
        << testing::PrintToString(elements) << " of " << u << " into " << y << modes << ": "
        << testing::PrintToString(elementsOf(target)) << testing::PrintToString(client.events());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    orvexfuzz::Bytes input(data, size);
    Modes const modes{input.pick(allRoundings), input.between(0, 1)};
    int const bits = input.pick(std::array{8, 32, 64, 200});
    Type const u = anyType(input, bits, 0), y = anyType(input, bits, u.fixedExponent);
    ClientSettings const target{
        input.pick(std::array<fxpProdHardware const*, 5>{nullptr, &asic, &micros[0], &micros[1], &micros[2]}),
        input.coin() ? dividing : FxpNetSlopeCorrectMultiply};
    bool const isComplex = input.coin();
    Elements elements;
    for (int i = input.between(0, 40); i >= 0; --i) {
        // A few values, in turn.
        if (elements.size() >= 4)
            elements.push_back(elements[elements.size() - 4]);
        else {
            Element element;
            for (int part = isComplex ? 2 : 1; part > 0; --part)
                element.push_back(input.pick(interestingStored(u, input, 1)));
            elements.push_back(element);
        }
    }
    checkCast(y, u, modes, target, {elements[0][0], elements.back()[0]});
    if (stripped(u, u.fixedExponent) == u && stripped(y, y.fixedExponent) == y)
        checkArrays(y, u, modes, elements);
    return 0;
}
