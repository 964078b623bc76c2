#include "support/numbers.h"
#include "support/texttable.h"

#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/number/cast.h>
#include <orvex/text/type.h>
#include <orvex/type_basic/castrisk.h>

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using ORVEX::text::readType;

/// Whether a cast can lose precision, and be out of range: True, False or ? each. The client is asked for its
/// hardware, and hears nothing.
std::string answers(Type const& from, Type const& to, fxpProdHardware const* hardware = nullptr)
{
    RecordingClient client;
    client.hardware = hardware;
    std::string text;
    for (boost::logic::tribool const answer :
         {ORVEX::castCanLosePrecision(from, to), ORVEX::parameterCastCanBeOutOfBounds(client, from, to)})
        text += boost::logic::indeterminate(answer) ? '?' : answer ? 'T' : 'F';
    EXPECT_TRUE(client.records().empty());
    return text;
}

TEST(CastRisk, Table)
{
    for (Texts const& row : rows(
             // Equal, or equal in meaning; between fixed types
             "s16,3 s16,3 FF;boolean boolean FF;s8,slope=2.5 s8,slope=1.25*2^1 FF;"
             "scaled:s16,slope=1.25*2^2,bias=7 scaled:s16,slope=1.25*2^2,bias=7 FF;"
             "s8,slope=0.5,bias=1 s16,slope=0.25 FF;s300 s299 FT;s299 s300 FF;s100,slope=1.25 s101 TF;"
             "s100,slope=1.25 s100 TT;"
             // All values fit, but 0.0, with which a result begins, does not
             "u4,bias=110 u8,bias=100 FT;u4,bias=100 u8,bias=100 FF;"
             // To double: the least value of s2,-1023 is minus 2^1024
             "single double FF;s54,10 double FF;s55,10 double TF;s54,slope=1.25*2^-10 double ?F;"
             "s8,bias=1 double ?F;u16,1100 double TF;u53,-971 double FF;u53,-972 double FT;"
             "s2,-1022 double FF;s2,-1023 double FT;boolean double FF;scaled:s16 double FF;"
             "scaled:s16,1 double TF;scaled:s16,-1 double TT;scaled:s16,slope=1.25 double TT;"
             "scaled:s16,bias=1 double TF;"
             // To single: the largest value of u128 rounds to 2^128
             "double single TT;scaled:s16 single TT;scaled:s16,1000 single TF;s25 single FF;"
             "u24,slope=1.25 single ?F;u25,slope=1.25 single TF;u127 single TF;u128 single TT;s128 single TF;"
             "s129 single TT;boolean single FF;"
             // From floats to fixed
             "double s16 TT;single s16 TT;single s128 TT;single s129 TF;double s1025 TF;"
             "scaled:s16,1020 s16 TF;"
             // To scaled double: infinite or not
             "double scaled:s16 FF;single scaled:s16 FF;double scaled:s16,-1 ?F;double scaled:s16,1 ?T;"
             "double scaled:s16,bias=1 ?F;single scaled:s16,1 ?F;single scaled:s16,900 ?T;s54 scaled:s16 FF;"
             "s55 scaled:s16 TF;s16 scaled:s16,-1 TF;s16,slope=1.5 scaled:s16,1 FF;"
             "u16,-900 scaled:s16,200 FT;s2,-1022 scaled:s16,1 FT;scaled:s60 scaled:s16 FF;"
             "scaled:s16 scaled:s16,1 FT;scaled:s16 scaled:s16,-1 TF;"
             // A boolean has the values 0 and 1
             "boolean u8 FF;boolean s1 FT;boolean u8,-1 TF;boolean scaled:s16 FF;u2 boolean FT;"
             "u54 boolean TT;s8,1 boolean TT;double boolean FT;single boolean FT"))
        EXPECT_EQ(answers(readType(row[0]), readType(row[1])), row[2]) << row[0] << " to " << row[1];
    for (Texts const& row : rows("double TF;single TF;s8,4 FF")) { // the same but for the DTO mode
        Type type = readType(row[0]);
        type.dtoMode = 1;
        EXPECT_EQ(answers(readType(row[0]), type), row[1]) << row[0];
    }
    // Without a word of more than 8 bits the intermediate type of the trial is too short for it.
    fxpProdHardware const micro(ProdHWDeviceMicro, 8, 8, 8, 8, FxpHardwareRoundingZero);
    EXPECT_EQ(answers(s(6, 0, 1.0, 100.25), u(8, 3)), "TF");
    EXPECT_EQ(answers(s(6, 0, 1.0, 100.25), u(8, 3), &micro), "TT");
}

/// Casts every value of small types, where the net slope is exact.
TEST(CastRisk, EveryValueOfSmallFixedTypes)
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
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            std::string const answer = answers(from, to);
            // The trial's target is as fine as the source, or finer.
            int const finer = std::max(to.fixedExponent - from.fixedExponent, 0) + (isSameSlope ? 0 : 53);
            Type const grid = fixedType(to.isSigned(), to.wordLength + finer);
            auto const isOutside = [](Int const& value, Type const& type) {
                return value < minStored(type) || value > maxStored(type);
            };
            auto const isExcess = [&](Rational const& wanted) {
                return isOutside(roundTo(wanted * scaled(1, finer), fxpModeRoundingNearest), grid);
            };
            Rational const slope = exactly(to.slopeAdjustmentFactor, to.fixedExponent);
            bool offGrid = false, outside = false, excess = isExcess(-exactly(to.bias) / slope);
            RecordingClient client;
            for (Int stored = minStored(from); stored <= maxStored(from); ++stored) {
                Rational const wanted = (radixValue(stored, from) * exactly(from.slopeAdjustmentFactor) +
                                         exactly(from.bias) - exactly(to.bias)) /
                                        slope;
                bool const fits = !isOutside(floorOf(wanted), to);
                offGrid |= denominator(wanted) != 1;
                outside |= !fits;
                excess |= isExcess(wanted);
                Number target(to.bias, to, client, fxpModeRoundingFloor, fxpModeOverflowSaturate);
                Number const source = numberOf(from, {{stored}}, client);
                Number::arrayEquals(target, source);
                Events const events = client.events();
                EXPECT_EQ(!events.empty() && (events.back() == Event::saturationToMin ||
                                              events.back() == Event::saturationToMax),
                          !fits);
                EXPECT_TRUE(!fits || denominator(wanted) != 1 ||
                            elementAt(target, 0)[0] == numerator(wanted));
            }
            bool const isTried = !isSameSlope || from.bias != to.bias;
            EXPECT_EQ(answer, std::string(offGrid ? "T" : "F") + ((isTried ? excess : outside) ? 'T' : 'F'));
        }
}

/// Where a cast to a float may lose precision, one of these values does; where it may not, none does.
TEST(CastRisk, FloatsHoldWhatTheAnswerSays)
{
    for (Texts const& row : rows("u53 double;u54 double;u8,1074 double;u8,1075 double;u24 single;u25 single;"
                                 "u8,149 single;u8,150 single")) {
        Type const from = readType(row[0]), to = readType(row[1]);
        RecordingClient client;
        bool lost = false;
        for (Int const& stored : {Int(1), Int(maxStored(from) - 1), maxStored(from)}) {
            ORVEX::Cast const cast(to, client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
            lost |= exactly(cast(numberOf(from, {{stored}}, client)).getRWDoubleValue()) !=
                    radixValue(stored, from);
        }
        EXPECT_EQ(answers(from, to), lost ? "TF" : "FF") << row[0];
    }
}

} // namespace
