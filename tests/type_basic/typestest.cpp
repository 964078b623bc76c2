/// What is worked out from types: risks of casts, net scaling, best precision, division in place of
/// multiplication, the radix twin of a scaled type, and the type between source and target of a cast.
#include "support/numbers.h"
#include "support/texttable.h"
#include "type_basic/applyplan.h"
#include "type_basic/castintermediatecache.h"

#include <orvex/foundation/kvxfeature.h>
#include <orvex/text/type.h>
#include <orvex/type_basic/castmixfloatfixptrealization.h>
#include <orvex/type_basic/castrisk.h>
#include <orvex/type_basic/discardbitsformaxsize.h>
#include <orvex/type_basic/fxpcastgetnetnominaldatatypes.h>
#include <orvex/type_basic/selectcastintermediatedatatype.h>
#include <orvex/type_basic/selectradixdatatype.h>
#include <orvex/type_basic/selectslopecorrectiondatatype.h>
#include <orvex/type_basic/slopenormalize.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <thread>

namespace
{
using namespace orvextest;
using namespace ORVEX::type_basic;
using Hardware = fxpProdHardware;
using ORVEX::text::readTarget, ORVEX::text::readType;

Hardware const& hardwareOf(std::string const& name)
{
    static std::map<std::string, Hardware> all;
    auto const [place, isNew] = all.try_emplace(name);
    if (isNew) place->second = name == "many" ? readTarget("10,11,12,13,14") : readTarget(name);
    if (isNew && name == "many")
        for (unsigned int const bits : {15U, 40U})
            place->second.getHWIntegerWordlengths()->addNewWordLength(bits);
    return place->second;
}

/// Asked for its hardware and for nothing else; without any if the name is "none".
struct Target : RecordingClient {
    explicit Target(std::string const& name = "none", int longest = 128)
    {
        hardware = name == "none" ? nullptr : &hardwareOf(name);
        setMaxSupportedWordLength(longest);
    }
    ~Target() override { EXPECT_EQ(events(), Events{}); }
};

// Questions in text

Type typeOf(std::string const& text)
{
    if (text == "double:9") return {fxpModeDataTypeDouble, true, 64, 1.0, 0, 9.0, 0};
    if (text == "double:dto") return {fxpModeDataTypeDouble, true, 64, 1.0, 0, 0.0, 1};
    if (text == "boolean:9") return {fxpModeDataTypeBoolean, true, 16, 1.5, 3, 4.0, 0};
    return readType(text == "half" ? "s16,slope=1*2^-8,bias=0.5" : text);
}
std::string textOf(Type const& type) { return testing::PrintToString(type); }
std::string textOf(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}
/// A type or a double, in whatever way it is written, as the answers write it.
std::string normal(std::string const& cell)
{
    char* end = nullptr;
    double const value = std::strtod(cell.c_str(), &end);
    if (*end == 0) return textOf(value);
    try {
        return textOf(typeOf(cell));
    } catch (ORVEX::text::ParseError const&) {
        return cell;
    }
}

/// Whether a cast can lose precision, and be out of range: True, False or ? each.
std::string risks(Type const& from, Type const& to, std::string const& hardware = "none")
{
    Target client(hardware);
    std::string text;
    for (boost::logic::tribool const answer :
         {ORVEX::castCanLosePrecision(from, to), ORVEX::parameterCastCanBeOutOfBounds(client, from, to)})
        text += boost::logic::indeterminate(answer) ? '?' : answer ? 'T' : 'F';
    return text;
}

/// The type between, and the overflow modes of the two stages.
Texts between(OrvexClientInterface& client, Type const& target, Type const& source, int overflow = 1)
{
    fxpOperationChoices const request{fxpModeRoundingConvergent, overflow, 2};
    fxpOperationChoices first, second;
    Type out;
    ORVEX::selectCastIntermediateDataType(client, &out, &first, &second, &target, &source, &request);
    for (fxpOperationChoices const& stage : {first, second})
        EXPECT_TRUE(stage.roundingMode == fxpModeRoundingConvergent && stage.stageCode == 2);
    return {textOf(out), textOf(first.overflowMode), textOf(second.overflowMode)};
}

/// "no", with all as it was, or what a cast divides by in place of multiplying: exactly, and the type and the
/// value of the integer. Two overloads have to answer alike.
Texts division(Type const& target, Type const& source, Hardware const* hardware, int round,
               FxpNetSlopeCorrectMethod method = FxpNetSlopeCorrectDivide)
{
    Target client;
    client.hardware = hardware;
    client.netSlopeMethod = method;
    double slope = -7.0, same = -7.0;
    Type type, sameType;
    Chunk chunks[2] = {99, 99};
    fxpScalarOversized word{{99, 0, 99, 0}};
    bool const divides =
                   ORVEX::getDTCSlopeCorrectionMode(client, target, source, &slope, &type, chunks, round),
               alsoDivides =
                   ORVEX::getDTCSlopeCorrectionMode(client, target, source, &same, &sameType, &word, round);
    EXPECT_TRUE(divides == alsoDivides && slope == same && type == sameType && chunks[1] == 99 &&
                (word.readWord(0) | Chunk{word.readWord(1)} << 32) == chunks[0] &&
                (word.readWord(2) | Chunk{word.readWord(3)} << 32) == (divides ? 0 : 99));
    EXPECT_TRUE(divides || (slope == -7.0 && type == Type() && chunks[0] == 99));
    return divides ? Texts{textOf(slope), textOf(type), textOf(static_cast<double>(chunks[0]))} : Texts{"no"};
}

/// Each question begins with its arguments and ends with the answers.
struct Subject {
    Texts (*ask)(Texts const&);
    char const* table;
};
Subject const subjects[] = {
    {[](Texts const& row) {
         return Texts{risks(typeOf(row[0]), typeOf(row[1]), row.size() > 3 ? row[2] : "none")};
     },
     // Equal, or equal in meaning; between fixed types
     "s16,3 s16,3 FF;boolean boolean FF;s8,slope=2.5 s8,slope=1.25*2^1 FF;"
     "scaled:s16,slope=1.25*2^2,bias=7 scaled:s16,slope=1.25*2^2,bias=7 FF;"
     "s8,slope=0.5,bias=1 s16,slope=0.25 FF;s300 s299 FT;s299 s300 FF;s100,slope=1.25 s101 TF;"
     "s100,slope=1.25 s100 TT;double double:dto TF;"
     // All values fit, but 0.0, with which a result begins, does not
     "u4,bias=110 u8,bias=100 FT;u4,bias=100 u8,bias=100 FF;"
     // To double: the least value of s2,-1023 is minus 2^1024
     "single double FF;s54,10 double FF;s55,10 double TF;s54,slope=1.25*2^-10 double ?F;u53 double FF;"
     "s8,bias=1 double ?F;u16,1100 double TF;u53,-971 double FF;u53,-972 double FT;u54 double TF;"
     "s2,-1022 double FF;s2,-1023 double FT;boolean double FF;scaled:s16 double FF;u8,1074 double FF;"
     "scaled:s16,1 double TF;scaled:s16,-1 double TT;scaled:s16,slope=1.25 double TT;u8,1075 double TF;"
     "scaled:s16,bias=1 double TF;"
     // To single: the largest value of u128 rounds to 2^128
     "double single TT;scaled:s16 single TT;scaled:s16,1000 single TF;s25 single FF;u8,149 single FF;"
     "u24,slope=1.25 single ?F;u25,slope=1.25 single TF;u127 single TF;u128 single TT;s128 single TF;"
     "s129 single TT;boolean single FF;u8,150 single TF;"
     // From floats to fixed
     "double s16 TT;single s16 TT;single s128 TT;single s129 TF;double s1025 TF;scaled:s16,1020 s16 TF;"
     // To scaled double: infinite or not
     "double scaled:s16 FF;single scaled:s16 FF;double scaled:s16,-1 ?F;double scaled:s16,1 ?T;"
     "double scaled:s16,bias=1 ?F;single scaled:s16,1 ?F;single scaled:s16,900 ?T;s54 scaled:s16 FF;"
     "s55 scaled:s16 TF;s16 scaled:s16,-1 TF;s16,slope=1.5 scaled:s16,1 FF;"
     "u16,-900 scaled:s16,200 FT;s2,-1022 scaled:s16,1 FT;scaled:s60 scaled:s16 FF;"
     "scaled:s16 scaled:s16,1 FT;scaled:s16 scaled:s16,-1 TF;"
     // A boolean has the values 0 and 1
     "boolean u8 FF;boolean s1 FT;boolean u8,-1 TF;boolean scaled:s16 FF;u2 boolean FT;"
     "u54 boolean TT;s8,1 boolean TT;double boolean FT;single boolean FT;"
     // Without a word of more than 8 bits the intermediate type of the trial is too short for it.
     "s6,slope=1,bias=100.25 u8,-3 TF;s6,slope=1,bias=100.25 u8,-3 8,8,8,8 TT"},
    // Target and source of a net cast, and its source; its target is the target without scaling.
    {[](Texts const& row) {
         Type const y = typeOf(row[0]), u = typeOf(row[1]);
         Type uNet, yNet, wanted = y;
         wanted.setScaling(1.0, 0, 0.0);
         fxpCastGetNetNominalDatatypes(&uNet, &yNet, &y, &u);
         EXPECT_EQ(yNet, wanted);
         return Texts{textOf(uNet)};
     },
     "s8,slope=1.5*2^-3 s9,-2 s9,slope=1.3333333333333333*2^4;"
     "s8,slope=1.5*2^-1,bias=1 s9,slope=1.5*2^-1,bias=2.5 s9,bias=2;"
     "s8,slope=1*2^-2000,bias=1 s8,slope=1*2^-2000,bias=1 s8;" // no 0 / 0
     "double double double;s8,3 double scaled:s64,-3;s8,bias=5 double scaled:s64,bias=-5;"
     "s8,slope=1.5*2^1 single scaled:s32,slope=1.3333333333333333*2^-2;"
     "s8 scaled:s20,slope=1.5*2^4,bias=1 scaled:s20,slope=1.5*2^4,bias=1;s8,slope=8,bias=4 boolean:9 "
     "u8,slope=1.5"},
    // The first step alone does not normalise.
    {[](Texts const& row) {
         Type const y = typeOf(row[0]), u = typeOf(row[1]);
         Type uNet, yNet;
         double factor = 0, bias = 9;
         int exponent = 0;
         fxpCastGetNetNominalDatatypes_StepOne(&uNet, &yNet, &y, &u, factor, exponent, bias);
         return Texts{textOf(uNet), textOf(factor), textOf(exponent), textOf(bias)};
     },
     "s8,slope=1.5*2^-3 s9,-2 s9,-2 0.66666666666666663 5 0"},
    // Casts with floats by target, source, and whether multiplication or strict singles are asked for:
    // whether they divide, and work in doubles; net slope, bias and exponent, the exponent in normal form. A
    // mantissa of a float has 24 bits.
    {[](Texts const& row) {
         Type u = typeOf(row[1]);
         if (row[4] == "nan") u.slopeAdjustmentFactor = std::nan("");
         CastMixFloatFixptRealization plan(u, u, false, false);
         plan = {typeOf(row[0]), u, row[2].find('m') != row[2].npos, row[2].find('s') != row[2].npos};
         double const slope = plan.ApproachNetSlope();
         int const exponent = plan.ApproachNetFixedExponent();
         EXPECT_EQ(plan.ApproachNetSlopeIsTrivial(), slope == 1.0);
         EXPECT_EQ(plan.ApproachNetSlopeIsExactPow2(), std::ldexp(slope, -exponent) == 1.0);
         EXPECT_EQ(*plan.pFxpDtpCalc(), typeOf(plan.CalcUseDouble() ? "double" : "single"));
         return Texts{std::string(plan.UseDivApproach() ? "d" : "-") + (plan.CalcUseDouble() ? "w" : "-"),
                      textOf(slope), textOf(plan.ApproachNetBias()), textOf(exponent),
                      textOf(plan.getNormalNetFixedExponent())};
     },
     "s16,slope=1.5 s16 - d- 1.5 -0 0 -1;s16,slope=1.5 s16 m -- 0.6666666666666666 0 -1 -1;"
     "s16,slope=1.5*2^-3 single - d- 0.1875 -0 -3 2;s16,slope=1.5,bias=8 single - dw 1.5 -8 0 -1;"
     "s16,slope=1.5 s16,slope=1.5*2^2 - -- 4 0 2 2;single s16,slope=1.5 - -- 1.5 0 0 0;"
     "s16 s16 - -- 1 0 0 0;single s25,bias=4 - -- 1 4 0 0;single s26,bias=4 - -w 1 4 0 0;"
     "single s8,bias=0.1 - -w 1 0.1 0 0;single s8,slope=1.5,bias=4 - -w 1.5 4 0 0;"
     "single s128 - -- 1 0 0 0;single s129 - -w 1 0 0 0;"
     "single s129,slope=1.5*2^200,bias=0.1 s -- 0x1.8p200 0.1 200 200;"
     "single s8,-127 - -- 0x1p127 0 127 127;single s8,-128 - -w 0x1p128 0 128 128;"
     "single s8,126 - -- 0x1p-126 0 -126 -126;single s8,127 - -w 0x1p-127 0 -127 -127;"
     "single s8 - -- nan 0 0 0;double s8 ms -w 1 0 0 0;s8 double s -w 1 0 0 0;"
     "scaled:s8 s8 ms -w 1 0 0 0;s8 scaled:s8,-3 ms -w 8 0 3 3"},
    // A slope factor with the exponent 5 in normal form, or repaired and then told of.
    {[](Texts const& row) {
         RecordingClient client;
         Type type = s(12, 5, std::stod(row[0]), 2.5), told = type;
         client.onEvent = [&](Event) { told = type; };
         std::string const thrown = thrownBy([&] { ORVEX::slopeNormalize(client, &type); });
         EXPECT_TRUE(type == s(12, type.fixedExponent, type.slopeAdjustmentFactor, 2.5) &&
                     (client.events().empty() || told == type));
         return Texts{textOf(type.slopeAdjustmentFactor), textOf(type.fixedExponent),
                      thrown.empty() ? "-" : thrown};
     },
     "1.5 1.5 5 -;6 1.5 7 -;0x1p-1074 1 -1069 -;0 1 5 Orvex:typeBasic:SlopeWasNotStrictlyPositive;"
     "-inf 1 5 Orvex:typeBasic:SlopeWasNotStrictlyPositive;inf 1 5 Orvex:typeBasic:SlopeWasNotFinite;"
     "nan 1 5 Orvex:typeBasic:SlopeWasNotFinite"},
    // Target, source, and what else stands against a division: the quotient, the type of the divisor, the
    // divisor. Integers divide if they pay and fit.
    {[](Texts const& row) {
         Type target = typeOf(row[0]), source = typeOf(row[1]);
         if (row[2] == "zero") source.slopeAdjustmentFactor = 0.0;
         if (row[2] == "nan") source.slopeAdjustmentFactor = std::nan("");
         if (row[2] == "minus") source.slopeAdjustmentFactor = -1.0;
         if (row[2] == "far") target.fixedExponent = 1 << 30, source.fixedExponent = INT32_MIN;
         Hardware const& hardware = hardwareOf(row[2] == "asic" ? "asic" : "8,16,32,64");
         return division(target, source, row[2] == "none" ? nullptr : &hardware, fxpModeRoundingZero,
                         row[2] == "multiply" ? FxpNetSlopeCorrectMultiply : FxpNetSlopeCorrectDivide);
     },
     "s16,slope=3 s64 - 3 s32 3;s64,slope=51,bias=2 u64,slope=17,bias=1 - 3 u32 3;s16,slope=2.75 s16 - no;"
     "s16,slope=2.9 s16 - no;s16,slope=4 s16 - no;s16,slope=7 s16 - 7 s32 7;"
     "s16,slope=7.9999999999999991 s16 - no;s16,slope=6.0000000000000009 s16 - 6.0000000000000009 s32 6;"
     "s16,slope=6.0000000000000053 s16 - 6.0000000000000053 s32 6;s16,slope=6.0000000000000062 s16 - no;"
     "s16,slope=12 s16,slope=3 - no;s16,slope=3*2^29 s16 - 1610612736 s32 1610612736;"
     "s16,slope=3*2^29 u16 - 1610612736 u32 1610612736;s16,slope=3*2^30 s16 - 3221225472 s64 3221225472;"
     "s16,slope=3*2^30 u16 - 3221225472 u32 3221225472;s16,slope=3*2^31 s16 - 6442450944 s64 6442450944;"
     "s16,slope=3*2^31 u16 - 6442450944 u64 6442450944;"
     "s16,slope=3*2^61 s16 - 6.9175290276410819e+18 s64 6.9175290276410819e+18;"
     "s16,slope=3*2^61 u16 - 6.9175290276410819e+18 u64 6.9175290276410819e+18;s16,slope=3*2^62 s16 - no;"
     "s16,slope=3*2^62 u16 - 1.3835058055282164e+19 u64 1.3835058055282164e+19;s16,slope=3*2^63 s16 - no;"
     "s16,slope=3*2^63 u16 - no;s16,slope=3 s64 multiply no;s16,slope=3 s64 asic no;"
     "s16,slope=3 s64 none no;s16,slope=3 s64 zero no;s16,slope=3 s64 far no;s16,slope=3 s64 nan no;"
     "s16,slope=3 s64 minus no;s16,slope=3 s65 - no;s65,slope=3 s64 - no;scaled:s16,slope=3 s64 - no;"
     "s16,slope=3 double - no;s16,slope=3 s64,slope=1.5*2^-9 - no"},
    // How a target's divisions round, a source, and the roundings, from -1 to 7, for which it divides.
    {[](Texts const& row) {
         Hardware hardware = hardwareOf("8,16,32,64");
         hardware.setHWIntDivRndMode(static_cast<FxpHardwareRounding>(std::stoi(row[0])));
         std::string roundings;
         for (int round = -1; round <= 7; ++round)
             if (division(s(16, 1, 1.5), typeOf(row[1]), &hardware, round)[0] != "no")
                 roundings += (roundings.empty() ? "" : "/") + std::string(roundingName(round));
         return Texts{roundings.empty() ? "-" : roundings};
     },
     "0 u16 Zero/Floor/Cheapest;1 u16 Zero/Floor/Cheapest;2 u16 Zero/Floor/Cheapest;"
     "0 s16 Zero/Cheapest;1 s16 Floor/Cheapest;2 s16 -"},
    // The radix type of a type on a target with a longest word, and whether the slope is not held.
    {[](Texts const& row) {
         Target client(row[1], std::stoi(row[2]));
         fxpSelectRadixTypeConditions conditions;
         Type const in = typeOf(row[0]);
         Type out = in, same[3]; // in place
         ORVEX::selectRadixDataType(client, &out, &out, client.hardware, &conditions);
         bool const loses = conditions.isSlopeQuantizationLoss();
         EXPECT_NE(conditions.isClear(), loses);
         conditions.reset();
         ORVEX::selectRadixDataType_WithTerms(client, &same[0], &in, client.hardware);
         ORVEX::selectRadixDataTypeMax(client, &same[1], &in);
         ORVEX::selectRadixDataTypeMaxWL(client, &same[2], &in);
         EXPECT_TRUE(conditions.isClear() &&
                     (!(out == in) || (same[0] == in && same[1] == in && same[2] == in)));
         return Texts{textOf(out), loses ? "loses" : "-"};
     },
     "double asic 128 double -;single asic 128 single -;s8,3 asic 128 s8,3 -;u8,slope=1.25 none 128 u11,2 -;"
     "u8,bias=-1 asic 128 s9 -;s8,bias=128 asic 128 u8 -;u1,bias=-1 asic 128 s2 -;" // holds -1, not +1
     "u2,slope=1.25 asic 128 u4,1 loses;s8,bias=0.1 8,16,32,32 128 s32,23 -;"       // rounds the bias
     "s9,bias=9.5367431640625e-7 many 128 s40,20 -;s33,bias=0.5 8,16,32,32 128 s33,-1 -;"
     // One trial, in vain. Held in vain too, and then the largest value rounds past the top, if one bit more
     // can tell.
     "u32,slope=1*2^-3,bias=-0.0044 8,16,32,32 128 s32,1 -;"
     "u32,slope=1*2^-3,bias=-0.0044 8,16,32,32 32 s32,2 -"},
    // The most bits, the type, one to go by, what is left; fraction and top bits that are gone, and the sign.
    {[](Texts const& row) {
         Type type = typeOf(row[1]), silent = type, reference = typeOf(row[2]);
         int fraction = 77, msb = 77;
         bool sign = true;
         ORVEX::discardBitsForMaxSize(std::stoi(row[0]), &type, &reference, &fraction, &msb, &sign);
         ORVEX::discardBitsForMaxSize(std::stoi(row[0]), &silent, &reference, nullptr, nullptr, nullptr);
         EXPECT_EQ(silent, type);
         return Texts{textOf(type), textOf(fraction), textOf(msb), textOf(sign)};
     },
     "32 s40,20 s16,12 s32,12 8 0 0;32 s48,20 s16,12 s32,12 8 8 0;32 s36,20 s16,12 s32,16 4 0 0;"
     "32 s32,20 s16,12 s32,20 0 0 0;32 s36,10 s16,12 s32,10 0 4 0;32 s60 s50 s50 0 10 0;"
     "8 s9 u8 u8 0 1 1;8 s9,1 u8 s8 1 0 0;8 s9 s8 s8 0 1 0;8 s10 u7 s8 0 2 0"},
    // Target, source, hardware, the longest word; the type between, or the source's for none, and the
    // overflow modes of the two stages.
    {[](Texts const& row) {
         Target client(row[2], std::stoi(row[3]));
         Texts const first = between(client, typeOf(row[0]), typeOf(row[1]));
         EXPECT_EQ(between(client, typeOf(row[0]), typeOf(row[1])), first); // from the cache
         return first;
     },
     "s16,slope=1*2^-8,bias=0.5 s9,slope=1.5*2^2,bias=0.5 asic 128 s9,slope=1.5*2^2,bias=0.5 0 1;"
     // The net bias underflows.
     "s8,-1000 s8,bias=4.909093465297727e-91 asic 128 s8,bias=4.909093465297727e-91 0 1;"
     "double half asic 128 double 0 1;single half asic 128 single 0 1;double:9 single asic 128 double 0 1;"
     "s16,8 double:9 asic 128 double 0 1;scaled:s16,8 half asic 128 s17,8 0 1;s16,8 half asic 128 s17,8 0 1;"
     "s16,8 half none 128 s17,8 0 1;s16,8 half 8,16,32,32 128 s32,8 0 1;"
     "s4 s4,bias=1 8,16,32,32 128 s32 0 1;" // the nominal integer
     "s17,8 half asic 128 half 0 1;"        // the target would do as its own intermediate
     "s16 half asic 16 s16,7 1 1;"          // a fraction bit is cut off
     "s8 s8,bias=1 asic 8 s8,bias=1 0 1;s8 s8,bias=1000 asic 10 s10 1 1;" // cut down to the target
     "s16,slope=1.5,bias=3 s16,slope=1.5*2^1 asic 128 s17,slope=1.5*2^1,bias=3 0 1;"
     "s16,8 s30,slope=1*2^-30,bias=256 8,16,32,32 128 s32,8 1 1"}}; // of 40 bits, in two words

TEST(Types, Table)
{
    for (auto const& [ask, table] : subjects)
        for (Texts const& row : rows(table)) {
            SCOPED_TRACE(testing::PrintToString(row));
            Texts const got = ask(row);
            Texts wanted(row.end() - static_cast<std::ptrdiff_t>(got.size()), row.end());
            std::ranges::transform(wanted, wanted.begin(), normal);
            EXPECT_EQ(got, wanted);
        }
}

/// Every value of small types, where the net slope is exact.
TEST(CastRisk, IsWhatTheValuesOfSmallFixedTypesTell)
{
    std::vector<Type> types;
    for (int const bits : {1, 4})
        for (bool const isSigned : {false, true})
            for (int const exponent : {-2, 0, 1})
                for (auto const& [factor, bias] :
                     {std::pair{1.0, 0.0}, {1.25, 0.0}, {1.0, 1.0}, {1.5, -3.5}, {1.0, 40.0}})
                    types.push_back(fixedType(isSigned, bits, exponent, factor, bias));
    for (Type const& from : types)
        for (Type const& to : types) {
            bool const isSameSlope = from.slopeAdjustmentFactor == to.slopeAdjustmentFactor;
            if (from.getWordLengthNonSign() < (isSameSlope ? 1 : 3) ||
                (!isSameSlope && to.slopeAdjustmentFactor != 1.0))
                continue;
            // The trial's target is as fine as the source, or finer. A cast is tried unless slope and bias
            // agree.
            int const finer = std::max(to.fixedExponent - from.fixedExponent, 0) + (isSameSlope ? 0 : 53);
            Type const grid = fixedType(to.isSigned(), to.wordLength + finer);
            bool const isTried = !isSameSlope || from.bias != to.bias;
            auto const isOutside = [&](Rational const& wanted) {
                Int const tried = roundTo(wanted * scaled(1, finer), fxpModeRoundingNearest),
                          value = isTried ? tried : floorOf(wanted);
                Type const& type = isTried ? grid : to;
                return value < minStored(type) || value > maxStored(type);
            };
            Rational const slope = exactly(to.slopeAdjustmentFactor, to.fixedExponent);
            bool offGrid = false, outside = isTried && isOutside(-exactly(to.bias) / slope);
            for (Int stored = minStored(from); stored <= maxStored(from); ++stored) {
                Rational const wanted = (radixValue(stored, from) * exactly(from.slopeAdjustmentFactor) +
                                         exactly(from.bias) - exactly(to.bias)) /
                                        slope;
                offGrid |= denominator(wanted) != 1;
                outside |= isOutside(wanted);
            }
            EXPECT_EQ(risks(from, to), std::string(offGrid ? "T" : "F") + (outside ? 'T' : 'F'))
                << from << to;
        }
}

/// A positive value fits if it rounds into the range; a negative one must not lie below it.
bool fits(double x, Type const& type)
{
    Rational const units = exactly(x, -type.fixedExponent);
    return x < 0 ? units >= minStored(type) : roundTo(units, fxpModeRoundingHalfAway) <= maxStored(type);
}

TEST(BestPrecision, IsTheFinestPointAtWhichTheValueFits)
{
    KvxFeature& feature = *KvxFeature::find("WarnDifferentBestPrecisionScalingToAvoidOverflow");
    std::vector<double> values = specialDoubles();
    for (int k = 1; k <= 40; ++k)
        for (double const x : {k / 8.0, std::nextafter(k / 8.0, 0.0), std::nextafter(k / 8.0, 99.0)})
            values.insert(values.end(), {x, -x});
    for (int const bits : {1, 2, 3, 4, 5, 8, 32, 54, 64, 65, 129})
        for (bool const isSigned : {false, true})
            for (double const x : values) {
                Type const type = fixedType(isSigned, bits, 77, 1.5, 3.0); // its own scaling is not looked at
                auto const before = feature.useCount();
                int const found = ORVEX::bestPrecisionFixedExponent(x, type);
                auto const warnings = feature.useCount() - before;
                Type out;
                ORVEX::selectSlopeCorrectionDataType(&out, &type, x);
                EXPECT_EQ(out, fixedType(isSigned, bits, found));
                if (x == 0.0 || !std::isfinite(x) || (x < 0.0 && !isSigned)) {
                    EXPECT_EQ(found, -1000) << x << type;
                    continue;
                }
                EXPECT_TRUE(fits(x, out) && !fits(x, fixedType(isSigned, bits, found - 1)))
                    << x << type << found;
                int power = 0;
                bool const isPower = std::frexp(x, &power) == -0.5;
                Int const rounded = roundTo(exactly(x, -found), fxpModeRoundingHalfAway);
                EXPECT_EQ(warnings, x < 0 && !isPower && 2 * rounded == minStored(type)) << x << type;
            }
    Type out = typeOf("boolean:9");
    ORVEX::selectSlopeCorrectionDataType(&out, &out, 3.0);
    EXPECT_EQ(out, u(8, -6));
    EXPECT_EQ(feature.description() + feature.sourcePath() + feature.component() + textOf(feature.number()),
              "Warn Different Best Precision Scaling To Avoid Overflow"
              "type_basic/selectslopecorrectiondatatypeOrvex791246");
    std::string heard;
    auto const previous = kvxSetWarningHandler([&](auto const& d) { heard += d.identifier() + d.text(); });
    for (int const value : {0, 1, 0}) { // warns while the feature is on
        feature.setValue(value);
        ORVEX::bestPrecisionFixedExponent(-4.01, s(8));
    }
    kvxSetWarningHandler(previous);
    Orvex::typeBasic::DifferentBestPrecisionScalingToAvoidOverflow const want("-4.01", "-4", "-4.03125", "8",
                                                                              "1", "4", "5");
    EXPECT_EQ(heard, want.identifier() + want.text());
}

TEST(ScalarOversized, MirrorsTheChunkOperations)
{
    Random random(8);
    for (int i = 0; i < 2000; ++i) {
        RecordingClient client;
        Type const type = random.radixType(300, -3, -3);
        int const bits = random.between(-140, 140);
        double const x = random.doubleNear(type);
        fxpScalarOversized value;
        auto const expect = [&](Int const& wanted, Events const& events) {
            Int got = 0;
            for (int word = 0; word < 4; ++word) got += Int(value.readWord(word)) << 32 * word;
            EXPECT_TRUE(got == wrapTo(wanted, u(128)) && client.events() == events)
                << type << x << ' ' << bits;
            client.clear();
        };
        value.setToMin(type), expect(minStored(type), {});
        value.setToMax(type), expect(maxStored(type), {});
        value.storeRadixDouble(client, type, x, fxpModeRoundingConvergent, x < 0);
        Outcome const stored = quantizeRadix(x, type, fxpModeRoundingConvergent, x < 0);
        expect(stored.stored, stored.events);
        if (type.wordLength > 128) continue; // the value does not hold it whole
        value.shift(client, type, bits);
        Int const moved = floorOf(scaled(stored.stored, -bits));
        bool const isCut = bits < 0 && (bits % 64 != 0 || type.wordLength <= 64); // not by whole chunks
        bool const isLost = bits > 0 && bits >= type.getWordLengthNonSign() && stored.stored > 0;
        expect(isCut ? wrapTo(moved, type) : moved, Events(isLost, Event::underflow));
        Int const word = wrapTo(Int(random.bits()), u(32));
        value.writeWord(2, static_cast<std::uint32_t>(word));
        EXPECT_EQ(value.readWord(2), word);
    }
}

/// The selection of a radix type by brute force on rationals: every word length in turn, every exponent in
/// turn.
struct Model {
    Type in{};                  ///< of a factor that its own word length holds
    std::vector<int> lengths{}; ///< to be searched, ascending
    int limit = 0;              ///< the longest that counts as a success
    int longest = 0;            ///< the client's
    double slope = 0, low = 0, high = 0;

    static double held(double x, Type const& type, int round)
    {
        return readRadix(store(exactly(x, -type.fixedExponent), type, round, 1).stored, type);
    }
    bool holds(double bias, Type const& type) const
    {
        return held(slope, type, fxpModeRoundingZero) == slope &&
               held(bias, type, fxpModeRoundingNearest) == bias;
    }

    /// Whether an extreme, brought to the grid of a somewhat wider type as net slope and net bias, is in
    /// range.
    bool isInRange(Int const& stored, double bias, Type const& type) const
    {
        Type wide = type;
        wide.wordLength += type.wordLength < longest;
        int const sign = bias < 0 && !wide.isSigned() ? -1 : 1; // such a bias is subtracted
        Rational const value =
            stored * exactly(in.slopeAdjustmentFactor, in.fixedExponent - wide.fixedExponent);
        Int const there =
            store(value, wide, fxpModeRoundingNearest, 1).stored +
            sign * store(exactly(sign * bias, -wide.fixedExponent), wide, fxpModeRoundingNearest, 1).stored;
        return std::clamp(there, minStored(wide), maxStored(wide)) ==
               std::clamp(there, minStored(type), maxStored(type));
    }

    Type tryLength(int bits, bool withTerms) const
    {
        Type type = fixedType(low < 0, bits, std::ilogb(std::max(-low, high)) - bits - 2);
        while (!fits(low, type) || !fits(high, type)) ++type.fixedExponent;
        bool inRange = true;
        for (Int const& stored : {minStored(in), maxStored(in)})
            for (double const b : {in.bias, withTerms ? 0.0 : in.bias})
                inRange = inRange && isInRange(stored, b, type);
        type.fixedExponent += !inRange;
        return type;
    }

    Type select(bool withTerms)
    {
        Type noBias = in;
        if (withTerms) noBias.bias = 0.0;
        low = std::min(readRealWorld(minStored(in), in), readRealWorld(minStored(in), noBias));
        high = std::max(readRealWorld(maxStored(in), in), readRealWorld(maxStored(in), noBias));
        slope = std::ldexp(in.slopeAdjustmentFactor, in.fixedExponent);
        if (slope > high && low < 0) slope = -slope;
        Type type = fixedType(low < 0, in.wordLength, in.fixedExponent);
        double bias = in.bias;
        for (int pass = 0; pass < 2 && limit >= in.wordLength - 1; ++pass) {
            bool found = false;
            for (std::size_t i = 0; i < lengths.size() && !found; ++i) {
                type = tryLength(lengths[i], withTerms);
                found = holds(bias, type);
            }
            bias = held(bias, type, fxpModeRoundingNearest);
            if (found && type.wordLength < limit) break;
        }
        Type best = type;
        for (; holds(bias, type); ++type.fixedExponent) best = type;
        best.mode = in.mode;
        return best;
    }
};

std::vector<int> range(int first, int last)
{
    std::vector<int> all;
    for (int bits = first; bits <= last; ++bits) all.push_back(bits);
    return all;
}

TEST(SelectRadix, IsWhatBruteForceFinds)
{
    Random random(77);
    std::array const biases{0.0, 1.0, -1.0, 0.25, -3.75, 100.0, -96.5, 0x1p-9, 1e3, 0.1, -0.3};
    for (int i = 0; i < 300; ++i) {
        Model model;
        model.in = fixedType(random.coin(), random.between(4, 10),
                             random.between(random.pick(std::array{-40, -6}), 4),
                             1 + random.between(0, 3) / 4.0, random.pick(biases));
        if (random.coin()) model.in.mode = fxpModeDataTypeScaledDouble;
        model.longest = random.pick(std::array{128, 40, 20, 9, 8});
        int const start = model.in.wordLength;
        bool const onMicro = i % 2 == 0;
        Target client(onMicro ? "8,16,32,32" : "asic", model.longest);
        SCOPED_TRACE(testing::Message() << model.in << onMicro << ' ' << model.longest);
        if (model.in.slopeAdjustmentFactor == 1.0 && model.in.bias == 0.0) continue;

        Type out;
        model.lengths = onMicro ? std::vector{8, 16, 32} : range(start, 128);
        std::erase_if(model.lengths, [start](int bits) { return bits < start; });
        model.limit = onMicro ? 32 : model.longest;
        ORVEX::selectRadixDataType(client, &out, &model.in, client.hardware, nullptr);
        EXPECT_EQ(out, model.select(false));
        ORVEX::selectRadixDataType_WithTerms(client, &out, &model.in, client.hardware);
        EXPECT_EQ(out, model.select(true));
        model.limit = std::max(model.limit, start);
        model.lengths = range(start, model.limit);
        ORVEX::selectRadixDataTypeMax(client, &out, &model.in);
        EXPECT_EQ(out, model.select(false));
        model.limit = 129;
        model.lengths = range(start, 129);
        ORVEX::selectRadixDataTypeMaxWL(client, &out, &model.in);
        EXPECT_EQ(out, model.select(false));
    }
}

// Up to 129 bits on request, and an end on a slope of zero: one signed bit holds no slope.
TEST(SelectRadix, OfTheLongestWords)
{
    for (auto const& [in, most, wanted, events] :
         {std::tuple{s(8, 0, 1.0, 0x1p-121), s(128, -120), s(129, -121), Events{}},
          {s(8, 0, 0.0), s(8), s(8), {Event::diagnosticError}},
          {s(1, 0, 1.0, 4.0), u(1, 2), u(1, 2), {Event::underflow, Event::diagnosticError}}}) {
        for (bool const isMost : {false, true}) {
            RecordingClient client;
            client.holdDiagnostics = true;
            Type out;
            (isMost ? ORVEX::selectRadixDataTypeMax : ORVEX::selectRadixDataTypeMaxWL)(client, &out, &in);
            EXPECT_EQ(out, isMost ? most : wanted);
            EXPECT_EQ(client.events(), events) << in;
            delete client.releaseFatalError();
        }
    }
}

TEST(MixedCastPlan, EveryStepIsRoundedToThePrecision)
{
    Random random(5);
    for (char const* const y : {"double", "single", "s16,slope=1.3*2^-3", "s16,slope=1.3*2^-3,bias=0.7"})
        for (char const* const u : {"double", "single", "s60,slope=1*2^4,bias=3", "s16,slope=1.7*2^-9"})
            for (int i = 0; i < 200; ++i) {
                CastMixFloatFixptRealization const plan(readType(y), readType(u), i % 3 == 0, i % 2 == 0);
                double const x = random.doubleNear(readType("s40,10"));
                // One double step on floats is exact enough to be rounded to float once more.
                auto const r = [&](double v) { return plan.CalcUseDouble() ? v : double(float(v)); };
                double const slope = r(plan.ApproachNetSlope()), bias = r(plan.ApproachNetBias());
                double const want =
                    plan.UseDivApproach() ? r(r(r(x) + bias) / slope) : r(r(r(x) * slope) + bias);
                EXPECT_EQ(applyPlan(x, plan), want) << y << ' ' << u << ' ' << x;
            }
}

TEST(CastIntermediate, HoldsEverySourceValueOnItsGrid)
{
    Random random(12);
    RecordingClient client;
    Type const real = Type::singleDataType();
    fxpOperationChoices const none;
    Type same;
    ORVEX::selectCastIntermediateDataType(client, &same, nullptr, nullptr, &real, &real, &none);
    EXPECT_EQ(same, real);
    for (int i = 0; i < 300; ++i) {
        Type const source = fixedType(random.coin(), random.between(4, 8), random.between(-4, 4),
                                      1 + random.between(0, 3) / 4.0, random.between(-9, 9) / 4.0);
        Type const target = fixedType(random.coin(), random.between(1, 12), random.between(-4, 4), 1.0,
                                      random.between(20, 40) / 8.0);
        fxpOperationChoices const request{fxpModeRoundingConvergent, i % 2, 2};
        fxpOperationChoices first, second;
        Type held;
        ORVEX::selectCastIntermediateDataType(client, &held, &first, &second, &target, &source, &request);
        EXPECT_TRUE(first.overflowMode == 0 && second.overflowMode == i % 2);
        if (held == source) held = target;
        EXPECT_TRUE(held.slopeAdjustmentFactor == 1.0 && held.bias == target.bias);
        for (Int q = minStored(source); q <= maxStored(source); ++q) {
            Rational const value = q * exactly(source.slopeAdjustmentFactor, source.fixedExponent) +
                                   exactly(source.bias) - exactly(held.bias);
            Outcome const there =
                store(value * scaled(1, -held.fixedExponent), held, fxpModeRoundingFloor, 1);
            EXPECT_EQ(scaled(there.stored, held.fixedExponent), value) << source << target << held << q;
        }
    }
}

TEST(CastIntermediateCache, FirstClientDecidesAndFailuresAreNotKept)
{
    RecordingClient wide, narrow;
    narrow.setMaxSupportedWordLength(20);
    Type const target = s(16, -8, 1.0, 0.25), source = s(24, -16, 1.0, 0.5);
    Texts const first = between(narrow, target, source);
    EXPECT_EQ(between(wide, target, source), first);
    EXPECT_NE(between(wide, target, source, 0)[0], first[0]); // another overflow mode, another question

    auto const before = castIntermediateCache::instance().counters();
    for (Type const& bad : {s(16, 0, -1.5, 9.0), s(1, 0, 1.0, 9.0)}) // one signed bit holds no slope
        EXPECT_THROW(between(wide, target, bad), kvxDiagnosticException) << bad;
    auto const after = castIntermediateCache::instance().counters();
    EXPECT_TRUE(after.misses - before.misses == 2 && after.inserts == before.inserts);
}

TEST(CastIntermediateCache, KeepsTheMostRecentlyUsed)
{
    castIntermediateCache cache;
    auto const question = [](int i) { return CastQuestion{s(16, i % 7), s(16, i % 5, 1.0, i), i % 2}; };
    auto const found = [&](int i, char const* hardware = "asic") {
        auto const answer = cache.find(hardwareOf(hardware), question(i));
        return answer ? answer->type.wordLength : 0;
    };
    for (int i = 1; i <= 129; ++i)
        for (int again = 0; again < 2; ++again) // the second time as if another thread had been first
            cache.insert(hardwareOf("asic"), question(i), {s(i)});
    for (int i : {129, 1, 129, 1}) EXPECT_EQ(found(i), i);
    for (int i = 130; i < 150; ++i) cache.insert(hardwareOf("asic"), question(i), {s(i)});
    for (int i = 0; i < 160; ++i) EXPECT_EQ(found(i), i == 1 || (i > 21 && i < 150) ? i : 0);
    EXPECT_EQ(cache.size(), 129U);
    EXPECT_EQ(found(1, "8,16,32,32"), 0);
    cache.insert(hardwareOf("8,16,32,32"), question(1), {s(2)});
    EXPECT_TRUE(found(1, "8,16,32,32") == 2 && found(1) == 0 && cache.size() == 1);
    auto const got = cache.counters();
    EXPECT_EQ((std::array{got.hits, got.misses, got.inserts, got.clears, got.evictions}),
              (std::array{134U, 33U, 150U, 1U, 20U}));
}

TEST(CastIntermediateCache, AnswersEightThreadsAlike)
{
    auto const ask = [](int i) { // now and then for another target, whose record all threads share
        static Hardware const targets[] = {readTarget("8,16,32,64"), readTarget("8,16,32,32")};
        RecordingClient client;
        client.hardware = &targets[i % 40 != 0];
        return between(client, s(16), fixedType(false, 12, -2, 1.0, i % 200 + 0.5));
    };
    std::vector<Texts> wanted;
    for (int i = 0; i < 200; ++i) wanted.push_back(ask(i));
    std::vector<std::thread> threads;
    for (int t = 1; t <= 8; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 300; ++i)
                EXPECT_EQ(ask(i * t), wanted[static_cast<std::size_t>(i * t % 200)]);
        });
    for (std::thread& thread : threads) thread.join();
}

} // namespace
