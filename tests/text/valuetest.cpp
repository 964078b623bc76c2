#include "support/numbers.h"

#include <orvex/text/value.h>

#include <gtest/gtest.h>

namespace
{

using namespace orvextest;
using namespace ORVEX::text;

// A second way from values to texts and back, on rationals

Rational powerOfTen(int exponent)
{
    Int const power = pow(Int(10), static_cast<unsigned>(std::abs(exponent)));
    return exponent < 0 ? Rational(1, power) : Rational(power);
}

Rational slopeOf(fxpDataTypeProp const& type)
{
    return exactly(type.slopeAdjustmentFactor, type.fixedExponent);
}

Rational realWorld(Int const& stored, fxpDataTypeProp const& type)
{
    return stored * slopeOf(type) + exactly(type.bias);
}

/// The value of a text that is spelled as toDecimal spells.
Rational valueOfText(std::string text)
{
    bool const isNegative = text.front() == '-';
    if (isNegative) text.erase(0, 1);
    std::size_t const point = text.find('.');
    int places = 0;
    if (point != std::string::npos) {
        places = static_cast<int>(text.size() - point) - 1;
        EXPECT_NE(text.back(), '0') << text;
        EXPECT_GT(places, 0) << text;
        text.erase(point, 1);
    }
    EXPECT_TRUE(text.find_first_not_of("0123456789") == std::string::npos) << text;
    EXPECT_TRUE(point == 1 || text.size() == 1 || text.front() != '0') << text;
    text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
    Rational const size = Int(text) * powerOfTen(-places);
    EXPECT_FALSE(isNegative && size == 0) << text;
    return isNegative ? Rational(-size) : size;
}

/// Integer and exponent, of a value with a power of two below.
std::string textOf(Rational const& value)
{
    unsigned const places = lsb(denominator(value));
    return Int(numerator(value) * pow(Int(5), places)).str() + "e-" + std::to_string(places);
}

fxpDataTypeProp anyFixedType(Random& random, bool withScaling)
{
    fxpDataTypeProp type = random.radixType(300, -90, 90);
    if (withScaling) {
        type.slopeAdjustmentFactor = random.pick(std::array{1.0, -1.25, 0.1, 1.9999999999999998, 3e20});
        type.bias = random.pick(std::array{0.0, -40.0, 0.1, 1e-300, 7e15});
    }
    return type;
}

TEST(DecimalText, IsExactAndComesBack)
{
    Random random(41);
    for (int round = 0; round < 150; ++round) {
        fxpDataTypeProp const type = anyFixedType(random, round % 3 != 0);
        bool const isComplex = random.coin();
        SCOPED_TRACE(testing::Message() << type);
        RecordingClient client;
        Elements const elements = valuesOf(type, random, isComplex, 12);
        Number number = numberOf(type, elements, client);
        for (std::size_t i = 0; i < elements.size(); ++i) {
            number.setIndex(i);
            std::string const text = toDecimal(number);
            std::string const real = text.substr(0, text.find(' '));
            EXPECT_EQ(valueOfText(real), realWorld(elements[i][0], type)) << text;
            EXPECT_EQ(toDecimal(chunksOf(elements[i][0], type).data(), type), real);
            if (isComplex) {
                std::string imaginary = text.substr(real.size());
                EXPECT_EQ(imaginary.back(), 'i');
                imaginary.pop_back();
                imaginary.erase(0, 1);
                imaginary.erase(imaginary.find(' '), 1);
                if (imaginary.front() == '+') imaginary.erase(0, 1);
                EXPECT_EQ(valueOfText(imaginary), realWorld(elements[i][1], type)) << text;
            }
            number[i] = type.bias; // stored integer 0
            fromDecimal(number, text);
            EXPECT_EQ(elementAt(number, i), elements[i]) << text;
            EXPECT_EQ(fromDecimal(client, real, type, fxpModeRoundingFloor, fxpModeOverflowWrap),
                      chunksOf(elements[i][0], type));
        }
        EXPECT_EQ(client.events(), Events{});
        EXPECT_EQ(elementsOf(number), elements);
    }
}

TEST(DecimalText, IsReadInAllModes)
{
    Random random(42);
    for (int round = 0; round < 400; ++round) {
        fxpDataTypeProp const type = anyFixedType(random, round % 3 != 0);
        Int const low = minStored(type), high = maxStored(type);
        Int const near = random.pick(std::vector<Int>{0, 0, low, high, high + 1, low - 1, 3 * high, 5 * low,
                                                      random.pick(interestingStored(type, random, 3))});
        Rational const offset = random.pick(std::array{
            Rational(0), Rational(1, 2), Rational(1, 4), Rational(3, 4), scaled(1, -200),
            Rational(Rational(1, 2) + scaled(1, -200)), Rational(Rational(1, 2) - scaled(1, -200))});
        Rational value = (near + (random.coin() ? offset : -offset)) * slopeOf(type) + exactly(type.bias);
        std::string text = textOf(value);
        if (random.coin()) { // not a multiple of any power of two
            int const places = random.between(0, 25);
            Int const digits = floorOf(value * powerOfTen(places));
            value = digits * powerOfTen(-places);
            text = "+" + digits.str() + "E-0" + std::to_string(places);
            if (digits < 0) text.erase(0, 1);
        }
        Rational const units = (value - exactly(type.bias)) / slopeOf(type);
        for (int const mode : allRoundings)
            for (int const sat : bothOverflows) {
                Modes const modes{mode, sat};
                SCOPED_TRACE(testing::Message() << text << ' ' << type << modes);
                Outcome expected = orvextest::store(units, type, mode, sat, fxpModeRoundingZero);
                if (units > 0 && units < 1) expected.events.insert(expected.events.begin(), Event::underflow);
                RecordingClient client;
                Number number = numberOf(type, {{1, 1}}, client, modes);
                std::vector<Elements> seen; // at each event
                client.onEvent = [&](Event) { seen.push_back(elementsOf(number)); };
                fromDecimal(number, text);
                client.onEvent = nullptr;
                EXPECT_EQ((Outcome{elementAt(number, 0)[0], client.events()}), expected);
                EXPECT_EQ(elementAt(number, 0)[1], 0);
                for (std::size_t i = 0; i < seen.size(); ++i)
                    EXPECT_EQ(seen[i][0][0],
                              expected.events[i] == Event::underflow ? Int(1) : expected.stored);
                client.clear();
                EXPECT_EQ(fromDecimal(client, text, type, static_cast<fxpModeRounding_tag>(mode),
                                      static_cast<fxpModeOverflow_tag>(sat)),
                          chunksOf(expected.stored, type));
                EXPECT_EQ(client.events(), expected.events);
            }
    }
}

TEST(DecimalText, IsRoundedToDigits)
{
    Random random(43);
    for (int round = 0; round < 1000; ++round) {
        fxpDataTypeProp const type = random.radixType(80, -60, 20);
        Int const stored = random.pick(interestingStored(type, random, 4));
        int const places = random.between(-1, 20), kept = std::max(places, 0);
        for (fxpModeRounding_tag const mode : allRoundings) {
            Rational const value = radixValue(stored, type);
            std::string const text = toDecimal(chunksOf(stored, type).data(), type, places, mode);
            EXPECT_EQ(valueOfText(text),
                      roundTo(value * powerOfTen(kept), mode, fxpModeRoundingZero) * powerOfTen(-kept))
                << text << type << roundingName(mode);
        }
    }
}

/// What becomes of a text in saturating s8,4 by rounding to the nearest, as text, and what the client hears.
TEST(DecimalText, Spellings)
{
    struct Row {
        char const* text;
        char const* value;
        Events saturating = {}, wrapping = {};
        char const* wrapped = nullptr;
    };
    for (Row const& row : {Row{"1.5", "1.5"},
                           {"+1.5", "1.5"},
                           {" - 1.5 ", "-1.5"},
                           {"1.", "1"},
                           {".5", "0.5"},
                           {"007", "7"},
                           {"15e-1", "1.5"},
                           {"0.00015E+4", "1.5"},
                           {"-0", "0"},
                           {"0e99999", "0"},
                           {"nan", "0"},
                           {"-nan", "0"},
                           {"1e-99999", "0", {Event::underflow}, {Event::underflow}},
                           {"1e5", "7.9375", {Event::saturationToMax}, {Event::wrap}, "0"},
                           {"-8.25", "-8", {Event::saturationToMin}, {Event::wrap}, "7.75"},
                           {"infinity", "7.9375", {Event::saturationToMax}, {Event::wrap}, "0"},
                           {"-inf", "-8", {Event::saturationToMin}, {Event::wrap}, "0"}})
        for (int const sat : bothOverflows) {
            RecordingClient client;
            Number number = numberOf(s(8, -4), {{9}}, client, {fxpModeRoundingNearest, sat});
            fromDecimal(number, row.text);
            EXPECT_EQ(toDecimal(number), !sat && row.wrapped ? row.wrapped : row.value) << row.text;
            EXPECT_EQ(client.events(), sat ? row.saturating : row.wrapping) << row.text;
        }
}

TEST(DecimalText, OfComplexValues)
{
    struct Row {
        char const* text;
        char const* value;
    };
    for (auto const& [text, value] : {Row{"1.5 - 0.25i", "1.5 - 0.25i"},
                                      {"1.5-.25i", "1.5 - 0.25i"},
                                      {"-2i", "0 - 2i"},
                                      {"3", "3 + 0i"},
                                      {" 1 + 0i ", "1 + 0i"}}) {
        RecordingClient client;
        Number number = numberOf(s(70, -4), {{1, 2}, {3, 4}}, client);
        number.setIndex(1);
        fromDecimal(number, text);
        EXPECT_EQ(toDecimal(number), value);
        EXPECT_EQ(elementAt(number, 0), (Element{1, 2}));
    }
}

TEST(DecimalText, OfFloatingNumbers)
{
    RecordingClient client;
    auto const made = [&](double value, fxpDataTypeProp const& type) {
        return Number(value, type, client, fxpModeRoundingNearest, fxpModeOverflowWrap);
    };
    for (double const value : specialDoubles()) {
        Number held = made(value, fxpDataTypeProp::doubleDataType());
        std::string const text = toDecimal(held);
        if (std::isfinite(value)) {
            EXPECT_EQ(valueOfText(text), exactly(value));
        }
        held = 17.0;
        fromDecimal(held, text);
        EXPECT_TRUE(sameDouble(held.getRWDoubleValue(), value == 0 ? 0.0 : value) || std::isnan(value))
            << text;
    }
    auto const single = fxpDataTypeProp::singleDataType(), twice = fxpDataTypeProp::doubleDataType();
    fxpDataTypeProp const scaled = withMode(fixedType(true, 8, -2, 1.25, 3), fxpModeDataTypeScaledDouble);
    struct Row {
        fxpDataTypeProp type;
        char const *text, *value;
    };
    for (auto const& [type, text, value] :
         {Row{twice, "1e400", "inf"},
          {twice, "-1e400", "-inf"},
          {twice, "-1e-400", "0"},
          {single, "1e39", "inf"},
          {single, "1.00000005960464477540", "1.00000011920928955078125"}, // not by way of a double
          {single, "0.5", "0.5"},
          {scaled, "8", "8"},
          {scaled, "3.3125", "3.3125"},
          {scaled, "nan", "nan"}}) {
        Number held = made(0, type);
        fromDecimal(held, text);
        EXPECT_EQ(toDecimal(held), value);
        EXPECT_THROW((void)toHex(held), std::invalid_argument);
    }
}

TEST(BitText, Spellings)
{
    struct Row {
        fxpDataTypeProp type;
        int stored;
        char const *hex, *binary;
    };
    for (auto const& [type, stored, hex, binary] :
         {Row{s(8, -4), 24, "0x1.8", "0b0001.1000"},
          {s(8, -4), -24, "0xe.8", "0b1110.1000"},
          {s(16, -12), -1, "0xf.fff", "0b1111.111111111111"},
          {u(8), 255, "0xff", "0b11111111"},
          {u(8, -8), 128, "0x0.80", "0b0.10000000"},
          {s(5, -4), -16, "0x1.0", "0b1.0000"},
          {u(7, -3), 127, "0xf.e", "0b1111.111"},
          {s(3), -1, "0x7", "0b111"},
          {s(8, 3), 127, "0x7fp+3", "0b01111111p+3"},
          {u(4, -6), 5, "0x5p-6", "0b0101p-6"},
          {fixedType(true, 8, -4, 1.7, 9), 24, "0x1.8", "0b0001.1000"},
          {s(70, -68), -1, "0x3.fffffffffffffffff",
           "0b11."
           "11111111111111111111111111111111111111111111111111111111111111111111"}}) {
        RecordingClient client;
        Number number = numberOf(type, {{stored}}, client);
        std::vector<Chunk> const chunks = chunksOf(stored, type);
        EXPECT_EQ(toHex(number), hex);
        EXPECT_EQ(toBinary(number), binary);
        EXPECT_EQ(toHex(chunks.data(), type), hex);
        EXPECT_EQ(toBinary(chunks.data(), type), binary);
        EXPECT_EQ(fromHex(hex, type), chunks);
        EXPECT_EQ(fromBinary(binary, type), chunks);
    }
    for (auto const& [text, stored] : {std::pair{"0X1.8", 24},
                                       {"0xE.8", -24},
                                       {"0x1", 16},
                                       {"0x.1", 1},
                                       {"0x018p-4", 24},
                                       {"0x00.100", 1},
                                       {"0x3p+1", 96}})
        EXPECT_EQ(fromHex(text, s(8, -4)), chunksOf(stored, s(8, -4))) << text;
}

TEST(BitText, ComesBack)
{
    Random random(44);
    for (int round = 0; round < 300; ++round) {
        fxpDataTypeProp const type = random.radixType(200, -210, 30);
        bool const isComplex = random.coin();
        RecordingClient client;
        Elements const elements = valuesOf(type, random, isComplex, 6);
        Number number = numberOf(type, elements, client);
        Number again = numberOf(type, Elements(elements.size(), Element(isComplex ? 2 : 1, 0)), client);
        for (auto const& [write, read] :
             {std::pair{static_cast<std::string (*)(Number const&)>(&toHex),
                        static_cast<void (*)(Number&, std::string_view)>(&fromHex)},
              {static_cast<std::string (*)(Number const&)>(&toBinary),
               static_cast<void (*)(Number&, std::string_view)>(&fromBinary)}}) {
            for (std::size_t i = 0; i < elements.size(); ++i) read(again[i], write(number[i]));
            EXPECT_EQ(elementsOf(again), elements) << type;
        }
        EXPECT_EQ(client.events(), Events{});
    }
}

TEST(ValueText, TroubleIsToldWithItsPlaceAndNothingIsStored)
{
    struct Row {
        char const* text;
        std::size_t place;
    };
    RecordingClient client;
    auto const expect = [&](Row const& row, auto read, bool isComplex) {
        Elements const before{isComplex ? Element{1, 2} : Element{1}};
        Number number = numberOf(s(8, -4), before, client);
        try {
            read(number, row.text);
            ADD_FAILURE() << row.text;
        } catch (ParseError const& error) {
            EXPECT_EQ(error.position(), row.place) << error.what();
        }
        EXPECT_EQ(elementsOf(number), before);
    };
    auto const decimal = [](Number& number, char const* text) { fromDecimal(number, text); };
    auto const hex = [](Number& number, char const* text) { fromHex(number, text); };
    auto const binary = [](Number& number, char const* text) { fromBinary(number, text); };
    for (Row const& row : {Row{"", 0},
                           {" ", 1},
                           {"x", 0},
                           {"-", 1},
                           {".", 1},
                           {"1..2", 2},
                           {"1,5", 1},
                           {"1e", 2},
                           {"1e+", 3},
                           {"1e+-2", 3},
                           {"1e100001", 2},
                           {"1e99999999999", 2},
                           {"--1", 1},
                           {"1 2", 2},
                           {"0x1", 1},
                           {"info", 3},
                           {"2i", 0},
                           {"1 + 2i", 2}})
        expect(row, decimal, false);
    for (Row const& row :
         {Row{"1 + 2", 5}, {"1 + ", 4}, {"1i + 2", 3}, {"1 + 2i + 3i", 7}, {"1 2i", 2}, {"i", 0}})
        expect(row, decimal, true);
    for (Row const& row : {Row{"", 0},
                           {"1.8", 0},
                           {"0x", 2},
                           {"0x.", 3},
                           {"0xg", 2},
                           {"-0x1", 1},
                           {"0x10", 2},
                           {"0x0100.8", 3},
                           {"0x1.08", 5},
                           {"0x1p", 4},
                           {"0x1p+-1", 5},
                           {"0x1.8x", 5}})
        expect(row, hex, false);
    for (Row const& row : {Row{"0b2", 2}, {"0x1", 0}, {"0b1.00001", 8}, {"0b10000", 2}})
        expect(row, binary, false);
    EXPECT_EQ(client.events(), Events{});

    fxpDataTypeProp const far = s(8, 200'000), flat = fixedType(true, 8, 0, 0.0);
    EXPECT_THROW((void)toDecimal(chunksOf(1, far).data(), far), std::length_error);
    EXPECT_THROW(fromDecimal(client, "1", flat, fxpModeRoundingFloor, fxpModeOverflowWrap),
                 std::invalid_argument);
    EXPECT_THROW(fromHex("0x1", fxpDataTypeProp::doubleDataType()), std::invalid_argument);
}

TEST(ValueText, OfArrays)
{
    RecordingClient client;
    auto const text = [&](Elements const& elements, Dims const& dims) {
        Number const number = numberOf(s(8, -1), elements, client, {fxpModeRoundingFloor, 0}, dims);
        number.setIndex(1);
        std::string const all = ORVEX::text::toString(number);
        EXPECT_EQ(number.getIndex(), 1U);
        return all;
    };
    EXPECT_EQ(text({{3}}, {1, 1}), "1.5");
    EXPECT_EQ(text({{3}, {-2}}, {1, 2}), "[1.5, -1]");
    EXPECT_EQ(text({{3}, {-2}}, {2, 1}), "[1.5; -1]");
    EXPECT_EQ(text({{2}, {4}, {6}, {8}, {10}, {12}}, {2, 3}), "[1, 3, 5; 2, 4, 6]");
    EXPECT_EQ(text({{2}, {4}, {6}, {8}}, {1, 2, 2}), "1x2x2 [1, 2, 3, 4]");
    EXPECT_EQ(text({{2, 1}, {4, -1}}, {1, 2}), "[1 + 0.5i, 2 - 0.5i]");
    EXPECT_EQ(text({}, {0, 0}), "[]");
}

} // namespace
