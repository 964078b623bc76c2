#include "support/numbers.h"
#include "support/texttable.h"

#include <orvex/text/type.h>
#include <orvex/text/value.h>

#include <gtest/gtest.h>

#include <regex>

namespace
{
using namespace orvextest;
using namespace ORVEX::text;

/// Rows of a text and what `read` makes of it. What cannot be read has an @ where the trouble is.
template <class Read>
void expectReads(char const* table, Read const& read)
{
    for (Texts row : rows(table, '|')) {
        std::size_t const place = row[0].find('@');
        std::string got, wanted = place == row[0].npos ? row[1] : "trouble at " + std::to_string(place);
        if (place != row[0].npos) row[0].erase(place, 1);
        try {
            got = read(row[0]);
        } catch (ParseError const& error) {
            got = "trouble at " + std::to_string(error.position());
            EXPECT_EQ(error.text(), row[0]);
        }
        EXPECT_EQ(got, wanted) << row[0];
    }
}

TEST(TypeText, Notations)
{
    struct Row {
        Type type;
        char const* texts; ///< automatic; then those of a type with a binary point alone
    };
    for (auto const& [plain, table] :
         {Row{s(16, -12),
              "s16,12|s16,12|Q3.12|Q4.12|sfixed(3 downto -12)|fixed<16,4>|s16 slope 0.000244140625"},
          Row{u(8, -4), "u8,4|u8,4|UQ4.4|UQ4.4|ufixed(3 downto -4)|ufixed<8,4>|u8 slope 0.0625"},
          Row{s(8, 2), "s8,-2|s8,-2|Q9.-2|Q10.-2|sfixed(9 downto 2)|fixed<8,10>|s8 slope 4"},
          Row{u(8, -10),
              "u8,10|u8,10|UQ-2.10|UQ-2.10|ufixed(-3 downto -10)|ufixed<8,-2>|u8 slope 0.0009765625"},
          Row{s(1), "s1,0|s1,0|Q0.0|Q1.0|sfixed(0 downto 0)|fixed<1,1>|s1 slope 1"},
          Row{{true, 16, 0.01, -40.0}, "s16 slope 0.01 bias -40"},
          Row{s(16, 0, 1.0, 0.5), "s16 slope 1 bias 0.5"}, Row{u(9, 2, 5.0), "u9 slope 5*2^2"},
          Row{u(9, -2000, 1.5), "u9 slope 1.5*2^-2000"}, Row{Type::doubleDataType(), "double"},
          Row{Type::singleDataType(), "single"},
          Row{{fxpModeDataTypeBoolean, false, 8, 1.0, 0, 0.0, 0}, "boolean"}, Row{s(16, 0, 0.0), ""},
          Row{s(16, 0, 1.0, std::nan("")), ""}}) {
        Texts texts = split(table, '|');
        texts.resize(7);
        if (texts[0].find("slope") != std::string::npos) texts[6] = texts[0];
        for (std::size_t i = 0; i < 14; ++i) {
            auto const notation = static_cast<TypeNotation>(i % 7);
            if (i >= 7 && plain.mode != fxpModeDataTypeFixed) continue;
            Type const type = i < 7 ? plain : scaledDouble(plain);
            std::string const text = (i < 7 ? "" : "scaled:") + texts[i % 7];
            if (texts[i % 7].empty()) {
                EXPECT_THROW((void)toString(type, notation), std::invalid_argument) << type << i;
                continue;
            }
            EXPECT_EQ(toString(type, notation), text);
            EXPECT_EQ(readType(text, notation), type);
        }
    }
}

TEST(TypeText, EveryTypeComesBackAsItWas)
{
    Random random(31);
    for (int i = 0; i < 3000; ++i) {
        Type type = random.radixType(300, -400, 400);
        for (int notation = 0; notation < 7; ++notation) {
            std::string const text = toString(type, static_cast<TypeNotation>(notation));
            EXPECT_EQ(readType(text, static_cast<TypeNotation>(notation)), type) << text;
        }
        if (random.coin()) type = scaledDouble(type);
        type.slopeAdjustmentFactor =
            std::ldexp(static_cast<double>(random.bits() >> random.between(0, 63) | 1),
                       random.coin() ? random.between(-1070, 900) : -63);
        if (random.coin()) type.setScaling(type.slopeAdjustmentFactor, random.between(-900, 900), 0);
        type.bias = random.coin() ? 0.0 : random.doubleNear(s(8, -4));
        std::string const text = toString(type, TypeNotation::slopeBias);
        EXPECT_EQ(readType(text), type) << text << type;
    }
}

TEST(TypeText, SpellingsAndTrouble)
{
    expectReads("s16,slope=0.01,bias=-40|s16 slope 0.01 bias -40;u8|u8,0;u8,bias=1|u8 slope 1 bias 1;"
                "s16 , slope = 1e-2 bias=-40|s16 slope 0.01 bias -40;Q3.4,bias=0.5|s8 slope 0.0625 bias 0.5;"
                "sfixed( 3 downto -4 )|s8,4;ufixed(3downto-4)|u8,4;ap_fixed<16, 4>|s16,12;u8 4|u8,4;"
                "sc_ufixed< 8 ,8 >|u8,0;"
                "@;@q8;@float;s@;s@0;s@65537;s8,@;s8 @;s8,@slop=1;s8,slope@;s8,slope@-1;s8,slope=@-1;"
                "s8,slope=@0;s8,slope=@inf;s8,slope=@nan;s8,slope=2*2^@x;s8,bias=@1e999;s8,bias=@inf;"
                "s8,2,@3;s8,bias=1,@2;s8,@70000;Q3@;Q3.@;UQ0.@0;UQ-2.@2;Q3.12@x;Q3.@65535;scaled:@double;"
                "scaled:@;double@s;sfixed(3@;sfixed(3 @to 4);ufixed(3 downto @4);ufixed(65536 downto @0);"
                "s8,bias=1,@bias=2;ufixed(3 downto "
                "1@;fixed<@0,1>;fixed<8@>;fixed<8,1@;fixed<8,@99999>;@ac_fixed<8,1>",
                [](std::string const& text) { return toString(readType(text)); });
    EXPECT_THROW(readType("s8;"), ParseError);
    expectReads("asic|1 0;8,16,32,64|0 0;asic@s;8,16,32@;8,16,32,32,64@,64;@0,16,32,32;@",
                [](std::string const& text) {
                    fxpProdHardware const target = readTarget(text);
                    return std::to_string(target.getHWDeviceType()) + ' ' +
                           std::to_string(target.getHWIntDivRndMode());
                });
    ParseError const error("s8,x", 3, "a digit expected");
    EXPECT_STREQ(error.what(), "at character 4 of \"s8,x\": a digit expected");
    EXPECT_EQ(error.caret(), "s8,x\n   ^\n");
}

// A second way from values to texts and back, on rationals

Rational slopeOf(Type const& type) { return exactly(type.slopeAdjustmentFactor, type.fixedExponent); }
Rational realWorld(Int const& stored, Type const& type)
{
    return stored * slopeOf(type) + exactly(type.bias);
}
Rational powerOfTen(int places) { return Rational(pow(Int(10), static_cast<unsigned>(places))); }

/// The value of a text that is spelled as toDecimal spells.
Rational valueOfText(std::string const& text)
{
    static std::regex const canonical("-?(0|[1-9][0-9]*)([.][0-9]*[1-9])?");
    EXPECT_TRUE(std::regex_match(text, canonical) && text != "-0") << text;
    Int digits = 0;
    for (char const c : text)
        if (c >= '0') digits = 10 * digits + (c - '0');
    std::size_t const point = std::min(text.find('.'), text.size() - 1);
    return (text[0] == '-' ? -1 : 1) * digits / powerOfTen(static_cast<int>(text.size() - 1 - point));
}

Type anyFixedType(Random& random, bool withScaling)
{
    Type type = random.radixType(300, -90, 90);
    if (withScaling) {
        type.slopeAdjustmentFactor = random.pick(std::array{1.0, -1.25, 0.1, 1.9999999999999998, 3e20});
        type.bias = random.pick(std::array{0.0, -40.0, 0.1, 1e-300, 7e15});
    }
    return type;
}

TEST(ValueText, IsExactOrRoundedAndComesBack)
{
    Random random(41);
    for (int round = 0; round < 200; ++round) {
        Type const type = anyFixedType(random, round % 3 != 0);
        SCOPED_TRACE(type);
        RecordingClient client;
        Elements const elements = valuesOf(type, random, random.coin(), 10);
        Number number = numberOf(type, elements, client);
        for (std::size_t i = 0; i < elements.size(); ++i) {
            number.setIndex(i);
            std::string const text = toDecimal(number);
            Texts parts = split(text, ' '); // "1.5", or "1.5 - 0.25i"
            if (parts.size() > 1) {
                EXPECT_TRUE((parts[1] == "-" || parts[1] == "+") && parts[2].back() == 'i');
                parts[1] = (parts[1] == "-" ? "-" : "") + parts[2].substr(0, parts[2].size() - 1);
            }
            for (std::size_t part = 0; part < elements[i].size(); ++part) {
                std::vector<Chunk> const chunks = chunksOf(elements[i][part], type);
                Rational const value = realWorld(elements[i][part], type);
                EXPECT_EQ(valueOfText(parts[part]), value);
                EXPECT_EQ(toDecimal(chunks.data(), type), parts[part]);
                EXPECT_EQ(fromDecimal(client, parts[part], type, fxpModeRoundingFloor, fxpModeOverflowWrap),
                          chunks);
                int const places = random.between(-1, 20);
                Rational const unit = powerOfTen(std::max(places, 0));
                for (fxpModeRounding_tag const mode : allRoundings)
                    EXPECT_EQ(valueOfText(toDecimal(chunks.data(), type, places, mode)),
                              roundTo(value * unit, mode, fxpModeRoundingZero) / unit)
                        << text << " to " << places << roundingName(mode);
            }
            for (auto const& [read, from] :
                 {std::pair<void (*)(Number&, std::string_view), std::string>{fromDecimal, text},
                  {fromHex, toHex(number)},
                  {fromBinary, toBinary(number)}}) {
                number[i] = type.bias; // stored integer 0
                read(number, from);
                EXPECT_EQ(elementsOf(number), elements) << from;
            }
        }
        EXPECT_EQ(client.events(), Events{});
    }
}

TEST(ValueText, IsReadInAllModes)
{
    Random random(42);
    for (int round = 0; round < 400; ++round) {
        Type const type = anyFixedType(random, round % 3 != 0);
        Int const low = minStored(type), high = maxStored(type);
        Int const near = random.pick(std::vector<Int>{0, 0, low, high, high + 1, low - 1, 3 * high, 5 * low,
                                                      random.pick(interestingStored(type, random, 3))});
        Rational const half(1, 2), grain = scaled(1, -200);
        Rational const offset = random.pick(std::vector<Rational>{0, half, Rational(1, 4), Rational(3, 4),
                                                                  grain, half + grain, half - grain});
        Rational value = realWorld(near, type) + (random.coin() ? offset : -offset) * slopeOf(type);
        unsigned const power = lsb(denominator(value));
        std::string text = Int(numerator(value) * pow(Int(5), power)).str() + "e-" + std::to_string(power);
        if (random.coin()) { // not a multiple of any power of two
            int const places = random.between(0, 25);
            Int const digits = floorOf(value * powerOfTen(places));
            value = digits / powerOfTen(places);
            text = (digits < 0 ? "" : "+") + digits.str() + "E-0" + std::to_string(places);
        }
        Rational const units = (value - exactly(type.bias)) / slopeOf(type);
        for (int const mode : allRoundings)
            for (int const sat : bothOverflows) {
                Modes const modes{mode, sat};
                SCOPED_TRACE(testing::Message() << text << type << modes);
                Outcome expected = orvextest::store(units, type, mode, sat, fxpModeRoundingZero);
                if (units > 0 && units < 1) expected.events.insert(expected.events.begin(), Event::underflow);
                RecordingClient client;
                Number number = numberOf(type, {{1, 1}}, client, modes);
                client.onEvent = [&](Event event) {
                    EXPECT_EQ(elementAt(number, 0)[0], event == Event::underflow ? Int(1) : expected.stored);
                };
                fromDecimal(number, text);
                client.onEvent = nullptr;
                EXPECT_EQ(elementsOf(number), (Elements{{expected.stored, 0}}));
                EXPECT_EQ(client.events(), expected.events);
                client.clear();
                EXPECT_EQ(fromDecimal(client, text, type, modes.rounding(), modes.overflow()),
                          chunksOf(expected.stored, type));
                EXPECT_EQ(client.events(), expected.events);
            }
    }
}

TEST(ValueText, SpellingsAndTrouble)
{
    struct Row {
        char const* type;
        std::size_t parts;
        int sat;
        void (*read)(Number&, std::string_view);
        char const* table; ///< texts, and the value and the events that they lead to
    };
    for (Row const& row :
         {Row{"s8,4", 1, 1, fromDecimal,
              "1.5|1.5;+1.5|1.5; - 1.5 |-1.5;1.|1;.5|0.5;007|7;15e-1|1.5;0.00015E+4|1.5;-0|0;0e99999|0;"
              "nan|0;-nan|0;1e5|7.9375 saturationToMax;-8.25|-8 saturationToMin;"
              "infinity|7.9375 saturationToMax;-inf|-8 saturationToMin;1e-99999|0 underflow;"
              "@; @;@x;-@;.@;1.@.2;1@,5;1e@;1e+@;1e+@-2;1e@100001;1e@99999999999;-@-1;1 @2;0@x1;inf@o;@2i;1 "
              "@+ 2i"},
          Row{"s8,4", 1, 0, fromDecimal,
              "1e5|0 wrap;-8.25|7.75 wrap;infinity|0 wrap;-inf|0 wrap;1e-99999|0 underflow"},
          Row{"s8,4", 2, 1, fromDecimal,
              "1.5|1.5 + 0i;nan|0 + 0i;1 + 2@;1 + @;1i @+ 2;1 + 2i @+ 3i;1 @2i;@i"},
          Row{"s70,4", 2, 1, fromDecimal,
              "1.5 - 0.25i|1.5 - 0.25i;1.5-.25i|1.5 - 0.25i;-2i|0 - 2i; 1 + 0i |1 + 0i"},
          Row{"double", 1, 1, fromDecimal, "1e400|inf;-1e400|-inf;-1e-400|0"},
          Row{"single", 1, 1, fromDecimal, // not by way of a double
              "1e39|inf;1.00000005960464477540|1.00000011920928955078125"},
          Row{"scaled:s8 slope 1.25*2^-2 bias 3", 1, 1, fromDecimal, "3.3125|3.3125"},
          Row{"scaled:s8,2", 1, 1, fromDecimal, "nan|nan"},
          Row{"s8,4", 1, 1, fromHex,
              "0X1.8|1.5;0xE.8|-1.5;0x1|1;0x.1|0.0625;0x018p-4|1.5;0x00.100|0.0625;0x3p+1|6;"
              "@;@1.8;0x@;0x.@;0x@g;-@0x1;0x@10;0x0@100.8;0x1.0@8;0x1p@;0x1p+@-1;0x1.8@x"},
          Row{"s8,4", 1, 1, fromBinary, "0b@2;@0x1;0b1.0000@1;0b@10000"}})
        expectReads(row.table, [&](std::string const& text) {
            RecordingClient client;
            Element const before(row.parts, 9);
            Number number =
                numberOf(readType(row.type), {before, before}, client, {fxpModeRoundingNearest, row.sat});
            number.setIndex(1);
            try {
                row.read(number, text);
            } catch (...) {
                EXPECT_TRUE(elementAt(number, 1) == before && client.events().empty()) << text;
                throw;
            }
            EXPECT_EQ(elementAt(number, 0), before) << text;
            std::string result = toDecimal(number);
            for (Event const event : client.events()) result += ' ' + testing::PrintToString(event);
            return result;
        });
    for (auto const& row :
         rows("s8,4|24|0x1.8|0b0001.1000;s8,4|-24|0xe.8|0b1110.1000;s16,12|-1|0xf.fff|0b1111.111111111111;"
              "u8|255|0xff|0b11111111;u8,8|128|0x0.80|0b0.10000000;s5,4|-16|0x1.0|0b1.0000;"
              "u7,3|127|0xf.e|0b1111.111;s3|-1|0x7|0b111;s8,-3|127|0x7fp+3|0b01111111p+3;"
              "u4,6|5|0x5p-6|0b0101p-6;s8,slope=1.7*2^-4,bias=9|24|0x1.8|0b0001.1000",
              '|')) {
        Type const type = readType(row[0]);
        std::vector<Chunk> const chunks = chunksOf(std::stoi(row[1]), type);
        RecordingClient client;
        Number const number = numberOf(type, {{std::stoi(row[1])}}, client);
        EXPECT_TRUE(toHex(number) == row[2] && toHex(chunks.data(), type) == row[2]) << row[2];
        EXPECT_TRUE(toBinary(number) == row[3] && toBinary(chunks.data(), type) == row[3]) << row[3];
        EXPECT_TRUE(fromHex(row[2], type) == chunks && fromBinary(row[3], type) == chunks) << row[2];
    }
}

TEST(ValueText, OfFloatingNumbersAndExtremeTypes)
{
    RecordingClient client;
    Type const real = Type::doubleDataType(), far = s(8, 200'000), flat = s(8, 0, 0.0);
    for (double const value : specialDoubles()) {
        Number number(value, real, client, {}, {});
        std::string const text = toDecimal(number);
        EXPECT_TRUE(!std::isfinite(value) || valueOfText(text) == exactly(value)) << text;
        EXPECT_THROW((void)toHex(number), std::invalid_argument);
        number = 17.0;
        fromDecimal(number, text);
        EXPECT_PRED2(sameDouble, number.getRWDoubleValue(), value == 0 ? 0.0 : value);
    }
    EXPECT_THROW((void)toDecimal(chunksOf(1, far).data(), far), std::length_error);
    EXPECT_THROW(fromDecimal(client, "1", flat, {}, {}), std::invalid_argument);
    EXPECT_THROW(fromHex("0x1", real), std::invalid_argument);
}

TEST(ValueText, OfArrays)
{
    struct Row {
        Dims dims;
        std::size_t parts;
        char const* text;
    };
    for (auto const& [dims, parts, text] :
         {Row{{1, 1}, 1, "1"}, Row{{1, 2}, 1, "[1, 1.5]"}, Row{{2, 1}, 1, "[1; 1.5]"},
          Row{{2, 3}, 1, "[1, 2, 3; 1.5, 2.5, 3.5]"}, Row{{1, 2, 2}, 1, "1x2x2 [1, 1.5, 2, 2.5]"},
          Row{{1, 2}, 2, "[1 + 1i, 1.5 + 1.5i]"}, Row{{0, 0}, 1, "[]"}}) {
        RecordingClient client;
        Elements elements;
        for (int i = 0; elements.size() < Lent::count(dims); ++i) elements.emplace_back(parts, 2 + i);
        Number const number = numberOf(s(8, -1), elements, client, {}, dims);
        number.setIndex(1);
        EXPECT_EQ(ORVEX::text::toString(number), text);
        EXPECT_EQ(number.getIndex(), 1U);
    }
}

} // namespace
