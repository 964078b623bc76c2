#include "support/types.h"

#include <orvex/text/type.h>

#include <gtest/gtest.h>

namespace
{

using namespace orvextest;
using namespace ORVEX::text;
using enum TypeNotation;

fxpDataTypeProp scaledDouble(fxpDataTypeProp type)
{
    type.mode = fxpModeDataTypeScaledDouble;
    return type;
}

/// Every notation of a type, in the order of the enumerators; empty where it has none.
struct Spelled {
    fxpDataTypeProp type;
    std::array<char const*, 7> texts;
};

TEST(TypeText, Notations)
{
    for (auto const& [type, texts] : {
             Spelled{{true, 16, 12},
                     {"s16,12", "s16,12", "Q3.12", "Q4.12", "sfixed(3 downto -12)", "fixed<16,4>",
                      "s16 slope 0.000244140625"}},
             Spelled{
                 {false, 8, 4},
                 {"u8,4", "u8,4", "UQ4.4", "UQ4.4", "ufixed(3 downto -4)", "ufixed<8,4>", "u8 slope 0.0625"}},
             Spelled{
                 {true, 8, -2},
                 {"s8,-2", "s8,-2", "Q9.-2", "Q10.-2", "sfixed(9 downto 2)", "fixed<8,10>", "s8 slope 4"}},
             Spelled{{false, 8, 10},
                     {"u8,10", "u8,10", "UQ-2.10", "UQ-2.10", "ufixed(-3 downto -10)", "ufixed<8,-2>",
                      "u8 slope 0.0009765625"}},
             Spelled{{true, 1, 0},
                     {"s1,0", "s1,0", "Q0.0", "Q1.0", "sfixed(0 downto 0)", "fixed<1,1>", "s1 slope 1"}},
             Spelled{{true, 16, 0.01, -40.0},
                     {"s16 slope 0.01 bias -40", "", "", "", "", "", "s16 slope 0.01 bias -40"}},
             Spelled{{true, 16, 1.0, 0, 0.5},
                     {"s16 slope 1 bias 0.5", "", "", "", "", "", "s16 slope 1 bias 0.5"}},
             Spelled{{false, 9, 5.0, 2, 0.0}, {"u9 slope 5*2^2", "", "", "", "", "", "u9 slope 5*2^2"}},
             Spelled{{false, 9, 1.5, -2000, 0.0},
                     {"u9 slope 1.5*2^-2000", "", "", "", "", "", "u9 slope 1.5*2^-2000"}},
             Spelled{scaledDouble({true, 16, 12}),
                     {"scaled:s16,12", "scaled:s16,12", "scaled:Q3.12", "scaled:Q4.12",
                      "scaled:sfixed(3 downto -12)", "scaled:fixed<16,4>",
                      "scaled:s16 slope 0.000244140625"}},
             Spelled{fxpDataTypeProp::doubleDataType(), {"double", "", "", "", "", "", ""}},
             Spelled{fxpDataTypeProp::singleDataType(), {"single", "", "", "", "", "", ""}},
             Spelled{{fxpModeDataTypeBoolean, false, 8, 1.0, 0, 0.0, 0}, {"boolean", "", "", "", "", "", ""}},
             Spelled{{true, 16, 0.0, 0, 0.0}, {"", "", "", "", "", "", ""}},
             Spelled{{true, 16, 1.0, 0, std::nan("")}, {"", "", "", "", "", "", ""}},
         })
        for (int i = 0; i < 7; ++i) {
            auto const notation = static_cast<TypeNotation>(i);
            std::string const text = texts[static_cast<std::size_t>(i)];
            SCOPED_TRACE(testing::Message() << type << ", notation " << i);
            if (text.empty()) {
                EXPECT_THROW((void)toString(type, notation), std::invalid_argument);
                continue;
            }
            EXPECT_EQ(toString(type, notation), text);
            EXPECT_EQ(readType(text, notation), type) << text;
        }
}

TEST(TypeText, EveryTypeComesBackAsItWas)
{
    Random random(31);
    fxpDataTypeProp const s8(true, 8, 4);
    for (int i = 0; i < 3000; ++i) {
        fxpDataTypeProp type = random.radixType(300, -400, 400);
        for (int notation = 0; notation < 7; ++notation) {
            std::string const text = toString(type, static_cast<TypeNotation>(notation));
            EXPECT_EQ(readType(text, static_cast<TypeNotation>(notation)), type) << text;
        }
        if (random.coin()) type = scaledDouble(type);
        type.slopeAdjustmentFactor =
            std::ldexp(static_cast<double>(random.bits() >> random.between(0, 63) | 1),
                       random.coin() ? random.between(-1070, 900) : -63);
        if (random.coin()) type.setScaling(type.slopeAdjustmentFactor, random.between(-900, 900), 0);
        type.bias = random.coin() ? 0.0 : random.doubleNear(s8);
        std::string const text = toString(type, slopeBias);
        EXPECT_EQ(readType(text), type) << text << type;
    }
}

TEST(TypeText, OtherSpellingsAreRead)
{
    for (auto const& [text, plain] : {std::pair{"s16,slope=0.01,bias=-40", "s16 slope 0.01 bias -40"},
                                      {"s16 , slope = 0.01 bias=-40", "s16 slope 0.01 bias -40"},
                                      {"u8", "u8,0"},
                                      {"u8,bias=1", "u8 slope 1 bias 1"},
                                      {"u8 4", "u8,4"},
                                      {"Q3.4,bias=0.5", "s8 slope 0.0625 bias 0.5"},
                                      {"sfixed( 3 downto -4 )", "s8,4"},
                                      {"ufixed(3downto-4)", "u8,4"},
                                      {"ap_fixed<16, 4>", "s16,12"},
                                      {"sc_ufixed< 8 ,8 >", "u8,0"},
                                      {"s16 slope 1e-2", "s16 slope 0.01"}})
        EXPECT_EQ(readType(text), readType(plain)) << text;
}

TEST(TypeText, TroubleIsToldWithItsPlace)
{
    struct Row {
        char const* text;
        std::size_t place;
    };
    for (auto const& [text, place] : {Row{"", 0},
                                      {"q8", 0},
                                      {"float", 0},
                                      {"s", 1},
                                      {"s0", 1},
                                      {"s65537", 1},
                                      {"s8,", 3},
                                      {"s8 ", 3},
                                      {"s8,slop=1", 3},
                                      {"s8,slope", 8},
                                      {"s8,slope-1", 8},
                                      {"s8,slope=-1", 9},
                                      {"s8,slope=0", 9},
                                      {"s8,slope=inf", 9},
                                      {"s8,slope=nan", 9},
                                      {"s8,slope=2*2^x", 13},
                                      {"s8,bias=1e999", 8},
                                      {"s8,bias=inf", 8},
                                      {"s8,2,3", 5},
                                      {"s8,bias=1,2", 10},
                                      {"s8,70000", 3},
                                      {"s8;2", 2},
                                      {"Q3", 2},
                                      {"Q3.", 3},
                                      {"UQ0.0", 4},
                                      {"UQ-2.2", 5},
                                      {"Q3.12x", 5},
                                      {"Q3.65535", 3},
                                      {"scaled:double", 7},
                                      {"scaled:", 7},
                                      {"doubles", 6},
                                      {"sfixed(3", 8},
                                      {"sfixed(3 to 4)", 9},
                                      {"ufixed(3 downto 4)", 16},
                                      {"ufixed(3 downto 1", 17},
                                      {"fixed<0,1>", 6},
                                      {"fixed<8>", 7},
                                      {"fixed<8,1)", 9},
                                      {"fixed<8,99999>", 8},
                                      {"ac_fixed<8,1>", 0}})
        try {
            readType(text);
            ADD_FAILURE() << text;
        } catch (ParseError const& error) {
            EXPECT_EQ(error.position(), place) << error.what();
            EXPECT_EQ(error.text(), text);
        }
    ParseError const error("s8,x", 3, "a digit expected");
    EXPECT_STREQ(error.what(), "at character 4 of \"s8,x\": a digit expected");
    EXPECT_EQ(error.caret(), "s8,x\n   ^\n");
}

TEST(TargetText, IsReadOrToldWithThePlace)
{
    EXPECT_TRUE(readTarget("asic").isHWDeviceTypeASIC());
    fxpProdHardware const micro = readTarget("8,16,32,64");
    EXPECT_TRUE(micro.isHWDeviceTypeMicropcessor());
    EXPECT_EQ(micro.getHWIntDivRndMode(), FxpHardwareRoundingZero);
    for (auto const& [text, place] : {std::pair<char const*, std::size_t>{"asics", 4},
                                      {"8,16,32", 7},
                                      {"8,16,32,32,64,64", 13},
                                      {"0,16,32,32", 0},
                                      {"", 0}})
        try {
            readTarget(text);
            ADD_FAILURE() << text;
        } catch (ParseError const& error) {
            EXPECT_EQ(error.position(), place) << error.what();
        }
}

} // namespace
