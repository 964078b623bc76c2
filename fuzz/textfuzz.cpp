/// Any text as a type or a value, values of any fixed type as texts and back, and decimal numbers into any
/// type.
#include "bytes.h"
#include "support/numbers.h"

#include <orvex/text/type.h>
#include <orvex/text/value.h>

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
namespace text = ORVEX::text;

/// A text that is read as a type names it: every notation that can express it leads back.
void checkType(std::string const& from, fxpDataTypeProp const& type)
{
    for (int i = 0; i <= static_cast<int>(text::TypeNotation::slopeBias); ++i) {
        auto const notation = static_cast<text::TypeNotation>(i);
        std::string written;
        try {
            written = text::toString(type, notation);
        } catch (std::invalid_argument const&) {
            ASSERT_NE(i, 0) << from;
            continue;
        }
        ASSERT_EQ(text::readType(written, notation), type) << from << " became " << written;
    }
}

void checkFreeText(std::string const& any)
{
    RecordingClient client;
    Number number = numberOf(s(70, -20), {{5, 6}}, client, {fxpModeRoundingNearest, 1});
    std::function<void()> const readers[] = {
        [&] { checkType(any, text::readType(any)); }, [&] { (void)text::readTarget(any); },
        [&] { text::fromDecimal(number, any); }, [&] { text::fromHex(number, any); },
        [&] { text::fromBinary(number, any); }};
    for (auto const& read : readers) {
        Elements const before = elementsOf(number);
        try {
            read();
        } catch (text::ParseError const& error) {
            ASSERT_TRUE(error.position() <= any.size() && error.text() == any && elementsOf(number) == before)
                << any;
        } catch (std::length_error const&) {
        }
    }
}

void checkValue(Int const& stored, fxpDataTypeProp const& type)
{
    RecordingClient client;
    Number number = numberOf(type, {{stored}}, client);
    std::string const decimal = text::toDecimal(number), hex = text::toHex(number),
                      binary = text::toBinary(number);
    std::function<void()> const readers[] = {[&] { text::fromDecimal(number, decimal); },
                                             [&] { text::fromHex(number, hex); },
                                             [&] { text::fromBinary(number, binary); }};
    for (auto const& read : readers) {
        number.setMinPositiveRWValue();
        client.clear();
        read();
        Events const heard = client.events();
        ASSERT_TRUE(elementAt(number, 0)[0] == stored && heard.empty())
            << stored << type << ": " << decimal << ' ' << hex << ' ' << binary;
    }
}

/// Digits and an exponent of ten are rounded once.
void checkDecimal(Int const& digits, int exponent, fxpDataTypeProp const& type, Modes modes)
{
    Int const power = pow(Int(10), static_cast<unsigned>(std::abs(exponent)));
    Rational const value = exponent < 0 ? Rational(digits, power) : Rational(digits * power);
    Rational const units =
        (value - exactly(type.bias)) / exactly(type.slopeAdjustmentFactor, type.fixedExponent);
    Outcome wanted = store(units, type, modes.round, modes.sat, fxpModeRoundingZero);
    if (units > 0 && units < 1) wanted.events.insert(wanted.events.begin(), Event::underflow);
    RecordingClient client;
    std::string const decimal = digits.str() + "e" + std::to_string(exponent);
    text::Chunks const got =
        text::fromDecimal(client, decimal, type, static_cast<fxpModeRounding_tag>(modes.round),
                          static_cast<fxpModeOverflow_tag>(modes.sat));
    ASSERT_TRUE(got == chunksOf(wanted.stored, type) && client.events() == wanted.events)
        << decimal << type << modes << ": " << valueOf(got.data(), type) << " instead of " << wanted.stored;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size != 0 && data[0] >= ' ') { // a text as it stands
        checkFreeText({reinterpret_cast<char const*>(data), size});
        return 0;
    }
    orvexfuzz::Bytes input(data, size);
    bool const isValue = input.coin();
    Modes const modes{input.pick(allRoundings), input.between(0, 1)};
    fxpDataTypeProp type = input.radixType(input.pick(std::array{8, 64, 300}), -400, 400);
    if (input.coin()) {
        type.slopeAdjustmentFactor = 1.0 + input.between(0, 65535) / 65536.0;
        type.bias = input.between(-32768, 32767) / 8.0;
    }
    Int const stored = input.pick(interestingStored(type, input, 1));
    if (isValue)
        checkValue(stored, type);
    else
        checkDecimal(input.coin() ? stored : floorOf(radixValue(stored, type) * 1000),
                     input.between(-330, 330), type, modes);
    return 0;
}
