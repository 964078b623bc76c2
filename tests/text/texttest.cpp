#include "support/numbers.h"

#include <orvex/text/type.h>
#include <orvex/text/value.h>

#include <gtest/gtest.h>

#include <regex>

namespace
{
using namespace orvextest;
using namespace ORVEX::text;
using Type = fxpDataTypeProp;
using Texts = std::vector<std::string>;

Texts split(std::string const& text, char separator)
{
    Texts parts(1);
    for (char const c : text)
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    return parts;
}

/// A table of texts: cells between bars, rows between semicolons.
std::vector<Texts> rows(std::string const& table)
{
    std::vector<Texts> all;
    for (std::string const& row : split(table, ';')) all.push_back(split(row, '|'));
    return all;
}

/// Runs `read` on each text without its mark @, which stands where the trouble is.
template <class Read>
void expectTrouble(char const* marked, Read const& read)
{
    for (std::string text : split(marked, '|')) {
        SCOPED_TRACE(text);
        std::size_t const place = text.find('@');
        text.erase(place, 1);
        try {
            read(text);
            ADD_FAILURE() << "is read";
        } catch (ParseError const& error) {
            EXPECT_TRUE(error.position() == place && error.text() == text) << error.what();
        }
    }
}

TEST(TypeText, Notations)
{
    struct Row {
        Type type;
        char const *automatic, *others = nullptr; ///< others of a type with a binary point alone
    };
    Row const all[] = {
        {{true, 16, 12}, "s16,12", "Q3.12|Q4.12|sfixed(3 downto -12)|fixed<16,4>|s16 slope 0.000244140625"},
        {{false, 8, 4}, "u8,4", "UQ4.4|UQ4.4|ufixed(3 downto -4)|ufixed<8,4>|u8 slope 0.0625"},
        {{true, 8, -2}, "s8,-2", "Q9.-2|Q10.-2|sfixed(9 downto 2)|fixed<8,10>|s8 slope 4"},
        {u(8, -10), "u8,10", "UQ-2.10|UQ-2.10|ufixed(-3 downto -10)|ufixed<8,-2>|u8 slope 0.0009765625"},
        {{true, 1, 0}, "s1,0", "Q0.0|Q1.0|sfixed(0 downto 0)|fixed<1,1>|s1 slope 1"},
        {{true, 16, 0.01, -40.0}, "s16 slope 0.01 bias -40"},
        {{true, 16, 1.0, 0, 0.5}, "s16 slope 1 bias 0.5"},
        {{false, 9, 5.0, 2, 0.0}, "u9 slope 5*2^2"},
        {{false, 9, 1.5, -2000, 0.0}, "u9 slope 1.5*2^-2000"},
        {Type::doubleDataType(), "double"},
        {Type::singleDataType(), "single"},
        {{fxpModeDataTypeBoolean, false, 8, 1.0, 0, 0.0, 0}, "boolean"},
        {{true, 16, 0.0, 0, 0.0}, ""},
        {{true, 16, 1.0, 0, std::nan("")}, ""}};
    for (Row const& row : all) {
        Texts texts(7, "");
        texts[0] = row.automatic;
        if (row.others != nullptr) texts = split(texts[0] + '|' + texts[0] + '|' + row.others, '|');
        if (texts[0].find("slope") != std::string::npos) texts[6] = texts[0];
        for (bool const isScaled : {false, true})
            for (std::size_t i = 0; i < 7; ++i) {
                auto const notation = static_cast<TypeNotation>(i);
                if (isScaled && row.type.mode != fxpModeDataTypeFixed) continue;
                Type const type = isScaled ? scaledDouble(row.type) : row.type;
                SCOPED_TRACE(testing::Message() << type << ", notation " << i);
                std::string const text = isScaled ? "scaled:" + texts[i] : texts[i];
                if (texts[i].empty()) {
                    EXPECT_THROW((void)toString(type, notation), std::invalid_argument);
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
    for (auto const& same :
         rows("s16,slope=0.01,bias=-40|s16 slope 0.01 bias -40;u8|u8,0;u8,bias=1|u8 slope 1 bias 1;"
              "s16 , slope = 1e-2 bias=-40|s16 slope 0.01 bias -40;Q3.4,bias=0.5|s8 slope 0.0625 bias 0.5;"
              "sfixed( 3 downto -4 )|s8,4;ufixed(3downto-4)|u8,4;ap_fixed<16, 4>|s16,12;u8 4|u8,4;"
              "sc_ufixed< 8 ,8 >|u8,0"))
        EXPECT_EQ(readType(same[0]), readType(same[1])) << same[0];
}

TEST(TypeText, TroubleIsToldWithItsPlace)
{
    expectTrouble(
        "@|@q8|@float|s@|s@0|s@65537|s8,@|s8 @|s8,@slop=1|s8,slope@|s8,slope@-1|s8,slope=@-1|"
        "s8,slope=@0|s8,slope=@inf|s8,slope=@nan|s8,slope=2*2^@x|s8,bias=@1e999|s8,bias=@inf|"
        "s8,2,@3|s8,bias=1,@2|s8,@70000|s8@;"
        "2|Q3@|Q3.@|UQ0.@0|UQ-2.@2|Q3.12@x|Q3.@65535|scaled:@double|scaled:@|double@s|sfixed(3@|"
        "sfixed(3 @to 4)|ufixed(3 downto @4)|ufixed(65536 downto @0)|s8,bias=1,@bias=2|ufixed(3 downto "
        "1@|fixed<@0,1>|fixed<8@>|fixed<8,1@)|fixed<8,@99999>|@ac_fixed<8,1>",
        [](std::string const& text) { readType(text); });
    expectTrouble("asic@s|8,16,32@|8,16,32,32,64@,64|@0,16,32,32|@",
                  [](std::string const& text) { readTarget(text); });
    ParseError const error("s8,x", 3, "a digit expected");
    EXPECT_STREQ(error.what(), "at character 4 of \"s8,x\": a digit expected");
    EXPECT_EQ(error.caret(), "s8,x\n   ^\n");
    fxpProdHardware const micro = readTarget("8,16,32,64");
    EXPECT_TRUE(readTarget("asic").isHWDeviceTypeASIC() && micro.isHWDeviceTypeMicropcessor() &&
                micro.getHWIntDivRndMode() == FxpHardwareRoundingZero);
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
    if (text[0] == '-') digits = -digits;
    return digits / powerOfTen(static_cast<int>(text.size() - 1 - point));
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
        bool const isComplex = random.coin();
        SCOPED_TRACE(testing::Message() << type);
        RecordingClient client;
        Elements const elements = valuesOf(type, random, isComplex, 10);
        Number number = numberOf(type, elements, client);
        for (std::size_t i = 0; i < elements.size(); ++i) {
            number.setIndex(i);
            std::string const text = toDecimal(number), hex = toHex(number), binary = toBinary(number);
            Texts const parts = split(text, ' '); // "1.5", or "1.5 - 0.25i"
            std::vector<Chunk> const chunks = chunksOf(elements[i][0], type);
            Rational const value = realWorld(elements[i][0], type);
            EXPECT_EQ(valueOfText(parts[0]), value) << text;
            EXPECT_EQ(toDecimal(chunks.data(), type), parts[0]);
            if (isComplex) {
                std::string const imaginary = (parts[1] == "-" ? "-" : "") + parts[2];
                EXPECT_TRUE(parts[1] == "-" || parts[1] == "+");
                EXPECT_EQ(valueOfText(imaginary.substr(0, imaginary.find('i'))),
                          realWorld(elements[i][1], type));
            }
            int const places = random.between(-1, 20);
            Rational const unit = powerOfTen(std::max(places, 0));
            for (fxpModeRounding_tag const mode : allRoundings)
                EXPECT_EQ(valueOfText(toDecimal(chunks.data(), type, places, mode)),
                          roundTo(value * unit, mode, fxpModeRoundingZero) / unit)
                    << text << " to " << places << roundingName(mode);
            EXPECT_EQ(fromDecimal(client, parts[0], type, fxpModeRoundingFloor, fxpModeOverflowWrap), chunks);
            for (auto const& [read, from] :
                 {std::pair<void (*)(Number&, std::string_view), std::string>{fromDecimal, text},
                  {fromHex, hex},
                  {fromBinary, binary}}) {
                number[i] = type.bias; // stored integer 0
                read(number, from);
                EXPECT_EQ(elementAt(number, i), elements[i]) << from;
            }
        }
        EXPECT_EQ(client.events(), Events{});
        EXPECT_EQ(elementsOf(number), elements);
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
                SCOPED_TRACE(testing::Message() << text << type << Modes({mode, sat}));
                Outcome expected = orvextest::store(units, type, mode, sat, fxpModeRoundingZero);
                if (units > 0 && units < 1) expected.events.insert(expected.events.begin(), Event::underflow);
                RecordingClient client;
                Number number = numberOf(type, {{1, 1}}, client, {mode, sat});
                Elements seen, wanted; // at each event
                for (Event const event : expected.events)
                    wanted.push_back({event == Event::underflow ? Int(1) : expected.stored});
                client.onEvent = [&](Event) { seen.push_back({elementAt(number, 0)[0]}); };
                fromDecimal(number, text);
                client.onEvent = nullptr;
                EXPECT_EQ((Outcome{elementAt(number, 0)[0], client.events()}), expected);
                EXPECT_EQ(elementAt(number, 0)[1], 0);
                EXPECT_EQ(seen, wanted);
                client.clear();
                EXPECT_EQ(fromDecimal(client, text, type, static_cast<fxpModeRounding_tag>(mode),
                                      static_cast<fxpModeOverflow_tag>(sat)),
                          chunksOf(expected.stored, type));
                EXPECT_EQ(client.events(), expected.events);
            }
    }
}

TEST(ValueText, Spellings)
{
    RecordingClient client;
    auto const reread = [&](std::string const& text, Type const& type, Element const& before, int sat = 1) {
        client.clear();
        Number number = numberOf(type, {before, before}, client, {fxpModeRoundingNearest, sat});
        number.setIndex(1);
        fromDecimal(number, text);
        EXPECT_EQ(elementAt(number, 0), before);
        return toDecimal(number);
    };
    for (bool const isComplex : {false, true})
        for (auto const& row :
             rows("1.5|1.5;+1.5|1.5; - 1.5 |-1.5;1.|1;.5|0.5;007|7;15e-1|1.5;0.00015E+4|1.5;-0|0;0e99999|0;"
                  "nan|0;-nan|0"))
            EXPECT_EQ(reread(row[0], s(8, -4), Element(isComplex ? 2 : 1, 9)),
                      row[1] + (isComplex ? " + 0i" : ""));
    for (auto const& row : rows("1.5 - 0.25i|1.5 - 0.25i;1.5-.25i|1.5 - 0.25i;-2i|0 - 2i; 1 + 0i |1 + 0i"))
        EXPECT_EQ(reread(row[0], s(70, -4), {1, 2}), row[1]);
    EXPECT_EQ(client.events(), Events{});
    // Text, what saturating and wrapping leave, and the event of saturation.
    for (auto const& row :
         rows("1e5|7.9375|0|2;-8.25|-8|7.75|1;infinity|7.9375|0|2;-inf|-8|0|1;1e-99999|0|0|3"))
        for (int const sat : bothOverflows) {
            auto const saturation = static_cast<Event>(std::stoi(row[3]));
            EXPECT_EQ(reread(row[0], s(8, -4), {9}, sat), row[sat ? 1 : 2]);
            bool const wraps = !sat && saturation != Event::underflow;
            EXPECT_EQ(client.events(), Events{wraps ? Event::wrap : saturation}) << row[0];
        }
    for (auto const& row :
         rows("s8,4|24|0x1.8|0b0001.1000;s8,4|-24|0xe.8|0b1110.1000;s16,12|-1|0xf.fff|0b1111.111111111111;"
              "u8|255|0xff|0b11111111;u8,8|128|0x0.80|0b0.10000000;s5,4|-16|0x1.0|0b1.0000;"
              "u7,3|127|0xf.e|0b1111.111;s3|-1|0x7|0b111;s8,-3|127|0x7fp+3|0b01111111p+3;"
              "u4,6|5|0x5p-6|0b0101p-6;s8,slope=1.7*2^-4,bias=9|24|0x1.8|0b0001.1000")) {
        Type const type = readType(row[0]);
        std::vector<Chunk> const chunks = chunksOf(std::stoi(row[1]), type);
        Number const number = numberOf(type, {{std::stoi(row[1])}}, client);
        EXPECT_TRUE(toHex(number) == row[2] && toHex(chunks.data(), type) == row[2]) << toHex(number);
        EXPECT_TRUE(toBinary(number) == row[3] && toBinary(chunks.data(), type) == row[3])
            << toBinary(number);
        EXPECT_TRUE(fromHex(row[2], type) == chunks && fromBinary(row[3], type) == chunks) << row[2];
    }
    for (auto const& row : rows("0X1.8|24;0xE.8|-24;0x1|16;0x.1|1;0x018p-4|24;0x00.100|1;0x3p+1|96"))
        EXPECT_EQ(fromHex(row[0], s(8, -4)), chunksOf(std::stoi(row[1]), s(8, -4))) << row[0];
}

TEST(ValueText, OfFloatingNumbers)
{
    RecordingClient client;
    auto const reread = [&](std::string const& text, Type const& type) {
        Number held(17.0, type, client, {}, {});
        fromDecimal(held, text);
        EXPECT_THROW((void)toHex(held), std::invalid_argument);
        return held;
    };
    for (double const value : specialDoubles()) {
        std::string const text = toDecimal(Number(value, Type::doubleDataType(), client, {}, {}));
        if (std::isfinite(value)) {
            EXPECT_EQ(valueOfText(text), exactly(value));
        }
        EXPECT_PRED2(sameDouble, reread(text, Type::doubleDataType()).getRWDoubleValue(),
                     value == 0 ? 0.0 : value);
    }
    for (auto const& row :
         rows("double|1e400|inf;double|-1e400|-inf;double|-1e-400|0;single|1e39|inf;"
              "single|1.00000005960464477540|1.00000011920928955078125;" // not by way of a double
              "scaled:s8 slope 1.25*2^-2 bias 3|3.3125|3.3125;scaled:s8,2|nan|nan"))
        EXPECT_EQ(toDecimal(reread(row[1], readType(row[0]))), row[2]);
}

TEST(ValueText, TroubleIsToldWithItsPlaceAndNothingIsStored)
{
    RecordingClient client;
    auto const by = [&](void (*read)(Number&, std::string_view), Element const& before) {
        return [=, &client](std::string const& text) {
            Number number = numberOf(s(8, -4), {before}, client);
            try {
                read(number, text);
            } catch (...) {
                EXPECT_EQ(elementsOf(number), Elements{before});
                throw;
            }
        };
    };
    expectTrouble("@| @|@x|-@|.@|1.@.2|1@,5|1e@|1e+@|1e+@-2|1e@100001|1e@99999999999|-@-1|1 @2|0@x1|inf@o|"
                  "@2i|1 @+ 2i",
                  by(fromDecimal, {1}));
    expectTrouble("1 + 2@|1 + @|1i @+ 2|1 + 2i @+ 3i|1 @2i|@i", by(fromDecimal, {1, 2}));
    expectTrouble("@|@1.8|0x@|0x.@|0x@g|-@0x1|0x@10|0x0@100.8|0x1.0@8|0x1p@|0x1p+@-1|0x1.8@x",
                  by(fromHex, {1}));
    expectTrouble("0b@2|@0x1|0b1.0000@1|0b@10000", by(fromBinary, {1}));
    EXPECT_EQ(client.events(), Events{});
    Type const far = s(8, 200'000), flat = s(8, 0, 0.0);
    EXPECT_THROW((void)toDecimal(chunksOf(1, far).data(), far), std::length_error);
    EXPECT_THROW(fromDecimal(client, "1", flat, {}, {}), std::invalid_argument);
    EXPECT_THROW(fromHex("0x1", Type::doubleDataType()), std::invalid_argument);
}

TEST(ValueText, OfArrays)
{
    RecordingClient client;
    struct Row {
        Dims dims;
        std::size_t parts;
        char const* text;
    };
    for (Row const& row :
         {Row{{1, 1}, 1, "1"}, Row{{1, 2}, 1, "[1, 1.5]"}, Row{{2, 1}, 1, "[1; 1.5]"},
          Row{{2, 3}, 1, "[1, 2, 3; 1.5, 2.5, 3.5]"}, Row{{1, 2, 2}, 1, "1x2x2 [1, 1.5, 2, 2.5]"},
          Row{{1, 2}, 2, "[1 + 1i, 1.5 + 1.5i]"}, Row{{0, 0}, 1, "[]"}}) {
        Elements elements;
        for (int i = 0; elements.size() < Lent::count(row.dims); ++i) elements.emplace_back(row.parts, 2 + i);
        Number const number = numberOf(s(8, -1), elements, client, {fxpModeRoundingFloor, 0}, row.dims);
        number.setIndex(1);
        EXPECT_EQ(ORVEX::text::toString(number), row.text);
        EXPECT_EQ(number.getIndex(), 1U);
    }
}

} // namespace
