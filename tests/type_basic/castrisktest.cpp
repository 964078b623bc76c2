#include "support/numbers.h"
#include "support/oracle.h"

#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/number/cast.h>
#include <orvex/type_basic/castrisk.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace orvextest;
using boost::logic::tribool;

namespace
{

fxpDataTypeProp const doubleType = fxpDataTypeProp::doubleDataType(),
                      singleType = fxpDataTypeProp::singleDataType(),
                      booleanType = withMode(u(8), fxpModeDataTypeBoolean);

fxpDataTypeProp overridden(fxpDataTypeProp type)
{
    type.dtoMode = 1;
    return type;
}

char letter(tribool answer) { return boost::logic::indeterminate(answer) ? '?' : answer ? 'T' : 'F'; }

char lossOf(fxpDataTypeProp const& from, fxpDataTypeProp const& to)
{
    return letter(ORVEX::castCanLosePrecision(from, to));
}
/// The client is asked for its hardware, and hears nothing.
char rangeOf(fxpDataTypeProp const& from, fxpDataTypeProp const& to)
{
    RecordingClient client;
    char const answer = letter(ORVEX::parameterCastCanBeOutOfBounds(client, from, to));
    EXPECT_TRUE(client.records().empty());
    return answer;
}

TEST(CastRisk, Table)
{
    struct Row {
        fxpDataTypeProp from, to;
        char loss, range; // True, False, indeterminate
    } const rows[] = {
        // Equal, or equal in meaning
        {s(16, -3), s(16, -3), 'F', 'F'},
        {booleanType, booleanType, 'F', 'F'},
        {scaledDouble(s(16, 2, 1.25, 7)), scaledDouble(s(16, 2, 1.25, 7)), 'F', 'F'},
        {doubleType, overridden(doubleType), 'T', 'F'},
        {singleType, overridden(singleType), 'T', 'F'},
        {s(8, -4), overridden(s(8, -4)), 'F', 'F'},
        {s(8, 0, 2.5), s(8, 1, 1.25), 'F', 'F'},
        // Between fixed types
        {s(8, 0, 0.5, 1), s(16, 0, 0.25), 'F', 'F'},
        {s(300), s(299), 'F', 'T'},
        {s(299), s(300), 'F', 'F'},
        {s(100, 0, 1.25), s(101), 'T', 'F'},
        {s(100, 0, 1.25), s(100), 'T', 'T'},
        // All values fit, but 0.0, with which a result begins, does not
        {u(4, 0, 1, 110), u(8, 0, 1, 100), 'F', 'T'},
        {u(4, 0, 1, 100), u(8, 0, 1, 100), 'F', 'F'},
        // To double
        {singleType, doubleType, 'F', 'F'},
        {s(54, -10), doubleType, 'F', 'F'},
        {s(55, -10), doubleType, 'T', 'F'},
        {s(54, -10, 1.25), doubleType, '?', 'F'},
        {s(8, 0, 1, 1), doubleType, '?', 'F'},
        {u(16, -1100), doubleType, 'T', 'F'},
        {u(53, 971), doubleType, 'F', 'F'},
        {u(53, 972), doubleType, 'F', 'T'},
        {s(2, 1022), doubleType, 'F', 'F'},
        {s(2, 1023), doubleType, 'F', 'T'}, // its least value is minus 2^1024
        {booleanType, doubleType, 'F', 'F'},
        {scaledDouble(s(16, 0)), doubleType, 'F', 'F'},
        {scaledDouble(s(16, -1)), doubleType, 'T', 'F'},
        {scaledDouble(s(16, 1)), doubleType, 'T', 'T'},
        {scaledDouble(s(16, 0, 1.25)), doubleType, 'T', 'T'},
        {scaledDouble(s(16, 0, 1.0, 1.0)), doubleType, 'T', 'F'},
        // To single
        {doubleType, singleType, 'T', 'T'},
        {scaledDouble(s(16, 0)), singleType, 'T', 'T'},
        {scaledDouble(s(16, -1000)), singleType, 'T', 'F'},
        {s(25), singleType, 'F', 'F'},
        {u(24, 0, 1.25), singleType, '?', 'F'},
        {u(25, 0, 1.25), singleType, 'T', 'F'},
        {u(127), singleType, 'T', 'F'},
        {u(128), singleType, 'T', 'T'}, // its largest value rounds to 2^128
        {s(128), singleType, 'T', 'F'},
        {s(129), singleType, 'T', 'T'},
        {booleanType, singleType, 'F', 'F'},
        // From floats to fixed
        {doubleType, s(16), 'T', 'T'},
        {singleType, s(16), 'T', 'T'},
        {singleType, s(128), 'T', 'T'},
        {singleType, s(129), 'T', 'F'},
        {doubleType, s(1025), 'T', 'F'},
        {scaledDouble(s(16, -1020)), s(16), 'T', 'F'},
        // To scaled double: infinite or not
        {doubleType, scaledDouble(s(16, 0)), 'F', 'F'},
        {singleType, scaledDouble(s(16, 0)), 'F', 'F'},
        {doubleType, scaledDouble(s(16, 1)), '?', 'F'},
        {doubleType, scaledDouble(s(16, -1)), '?', 'T'},
        {doubleType, scaledDouble(s(16, 0, 1.0, 1.0)), '?', 'F'},
        {singleType, scaledDouble(s(16, -1)), '?', 'F'},
        {singleType, scaledDouble(s(16, -900)), '?', 'T'},
        {s(54), scaledDouble(s(16, 0)), 'F', 'F'},
        {s(55), scaledDouble(s(16, 0)), 'T', 'F'},
        {s(16), scaledDouble(s(16, 1)), 'T', 'F'},
        {s(16, 0, 1.5), scaledDouble(s(16, -1)), 'F', 'F'},
        {u(16, 900), scaledDouble(s(16, -200)), 'F', 'T'},
        {s(2, 1022), scaledDouble(s(16, -1)), 'F', 'T'}, // its least value alone
        {scaledDouble(s(60)), scaledDouble(s(16, 0)), 'F', 'F'},
        {scaledDouble(s(16, 0)), scaledDouble(s(16, -1)), 'F', 'T'},
        {scaledDouble(s(16, 0)), scaledDouble(s(16, 1)), 'T', 'F'},
        // A boolean has the values 0 and 1
        {booleanType, u(8), 'F', 'F'},
        {booleanType, s(1), 'F', 'T'},
        {booleanType, u(8, 1), 'T', 'F'},
        {booleanType, scaledDouble(s(16, 0)), 'F', 'F'},
        {u(2), booleanType, 'F', 'T'},
        {u(54), booleanType, 'T', 'T'},
        {s(8, -1), booleanType, 'T', 'T'},
        {doubleType, booleanType, 'F', 'T'},
        {singleType, booleanType, 'F', 'T'},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::Message() << row.from << " to " << row.to);
        EXPECT_EQ(lossOf(row.from, row.to), row.loss);
        EXPECT_EQ(rangeOf(row.from, row.to), row.range);
    }
}

Rational realValue(Int const& stored, fxpDataTypeProp const& type)
{
    return radixValue(stored, type) * exactly(type.slopeAdjustmentFactor) + exactly(type.bias);
}
/// The stored integer that would hold the value, range apart.
Rational exactStored(Rational const& value, fxpDataTypeProp const& type)
{
    return (value - exactly(type.bias)) / realValue(1, s(2, type.fixedExponent, type.slopeAdjustmentFactor));
}
bool inRange(Int const& stored, fxpDataTypeProp const& type)
{
    return stored >= minStored(type) && stored <= maxStored(type);
}

/// A cast holds its net slope in the source's word length. Can it do so exactly?
bool holdsNetSlope(fxpDataTypeProp const& from, fxpDataTypeProp const& to)
{
    Rational const slope = exactly(from.slopeAdjustmentFactor) / exactly(to.slopeAdjustmentFactor);
    Int const odd = numerator(slope) >> lsb(Int(numerator(slope))), divisor = denominator(slope);
    return (divisor & (divisor - 1)) == 0 && odd < Int(1) << from.getWordLengthNonSign();
}

/// What the trial has to find: do 0.0 and the extremes of `from`, each of them too far outward by `outward`,
/// round to a stored integer outside, on the grid that the trial uses?
bool trialFindsExcess(fxpDataTypeProp const& from, fxpDataTypeProp const& to, Rational const& outward)
{
    int const finer = std::max(to.fixedExponent - from.fixedExponent, 0) +
                      (from.slopeAdjustmentFactor != to.slopeAdjustmentFactor ? 53 : 0);
    fxpDataTypeProp const grid = fixedType(to.isSigned(), to.wordLength + finer, to.fixedExponent - finer,
                                           to.slopeAdjustmentFactor, to.bias);
    auto const excess = [&](Rational const& value) {
        return !inRange(roundTo(exactStored(value, grid), fxpModeRoundingNearest), grid);
    };
    return excess(0) || excess(realValue(minStored(from), from) - outward) ||
           excess(realValue(maxStored(from), from) + outward);
}

/// Casts every value of a small type and compares with the exact one.
void checkByCasts(fxpDataTypeProp const& from, fxpDataTypeProp const& to)
{
    bool const holds = holdsNetSlope(from, to);
    char const loss = lossOf(from, to), range = rangeOf(from, to);
    bool offGrid = false, outside = false;
    RecordingClient client;
    for (Int stored = minStored(from); stored <= maxStored(from); ++stored) {
        SCOPED_TRACE(testing::Message() << "stored integer " << stored);
        Rational const wanted = exactStored(realValue(stored, from), to);
        bool const fits = inRange(floorOf(wanted), to);
        offGrid |= denominator(wanted) != 1;
        outside |= !fits;
        if (!holds) continue;
        Number const source = numberOf(from, {{stored}}, client);
        Number target(to.bias, to, client, fxpModeRoundingFloor, fxpModeOverflowSaturate);
        Number::arrayEquals(target, source);
        Events const events = client.events();
        EXPECT_EQ(std::any_of(events.begin(), events.end(),
                              [](Event event) {
                                  return event == Event::saturationToMin || event == Event::saturationToMax;
                              }),
                  !fits);
        if (fits && loss == 'F') {
            EXPECT_EQ(Rational(elementAt(target, 0)[0]), wanted);
        }
    }
    EXPECT_EQ(loss, offGrid ? 'T' : 'F');
    if (from.slopeAdjustmentFactor == to.slopeAdjustmentFactor && from.bias == to.bias) {
        EXPECT_EQ(range, outside ? 'T' : 'F');
        return;
    }
    // Where the net slope is rounded, relatively to half a unit of as many bits, the trial may err near a
    // limit.
    Rational const span = realValue(maxStored(from), from) - realValue(minStored(from), from);
    Rational const doubt = holds ? Rational(0) : span / (Int(1) << from.getWordLengthNonSign());
    bool const excess = trialFindsExcess(from, to, doubt);
    if (excess == trialFindsExcess(from, to, -doubt)) {
        EXPECT_EQ(range, excess ? 'T' : 'F');
    }
}

TEST(CastRisk, EveryValueOfSmallFixedTypes)
{
    std::vector<fxpDataTypeProp> types;
    for (int const bits : {1, 4})
        for (bool const isSigned : {false, true})
            for (int const exponent : {-2, 0, 1})
                for (auto const& [factor, bias] :
                     {std::pair{1.0, 0.0}, {1.25, 0.0}, {1.0, 1.0}, {1.5, -3.5}, {1.0, 40.0}, {1.25, 0.3}})
                    types.push_back(fixedType(isSigned, bits, exponent, factor, bias));
    for (fxpDataTypeProp const& from : types) {
        if (from.getWordLengthNonSign() == 0) continue; // holds no net slope at all
        for (fxpDataTypeProp const& to : types) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            checkByCasts(from, to);
        }
        if (from.wordLength == 1) continue;
        for (fxpDataTypeProp const& to : {doubleType, singleType}) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            bool const trivial = from.slopeAdjustmentFactor == 1.0 && from.bias == 0.0;
            EXPECT_EQ(lossOf(from, to), trivial ? 'F' : '?');
            EXPECT_EQ(rangeOf(from, to), 'F');
        }
    }
}

/// Where a cast to a float may lose precision, one of these values does; where it may not, none does.
TEST(CastRisk, FloatsHoldWhatTheAnswerSays)
{
    struct Row {
        bool isSingle;
        int bits, exponent;
    } const rows[] = {{false, 53, 0}, {false, 54, 0}, {false, 8, -1074}, {false, 8, -1075},
                      {true, 24, 0},  {true, 25, 0},  {true, 8, -149},   {true, 8, -150}};
    for (Row const& row : rows) {
        fxpDataTypeProp const from = u(row.bits, row.exponent), to = row.isSingle ? singleType : doubleType;
        SCOPED_TRACE(testing::Message() << from << " to " << to);
        RecordingClient client;
        bool lost = false;
        for (Int const& stored : {Int(1), Int(maxStored(from) - 1), maxStored(from)}) {
            ORVEX::Cast const cast(to, client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
            lost |= exactly(cast(numberOf(from, {{stored}}, client)).getRWDoubleValue()) !=
                    radixValue(stored, from);
        }
        EXPECT_EQ(lossOf(from, to), lost ? 'T' : 'F');
    }
}

TEST(CastRisk, RunsOnTheClientsHardware)
{
    // Without a word of more than 8 bits the intermediate type of the trial is too short for it.
    fxpProdHardware const micro(ProdHWDeviceMicro, 8, 8, 8, 8, FxpHardwareRoundingZero);
    fxpDataTypeProp const from = s(6, 0, 1.0, 100.25), to = u(8, 3);
    RecordingClient client;
    EXPECT_EQ(letter(ORVEX::parameterCastCanBeOutOfBounds(client, from, to)), 'F');
    client.hardware = &micro;
    EXPECT_EQ(letter(ORVEX::parameterCastCanBeOutOfBounds(client, from, to)), 'T');
    EXPECT_TRUE(client.records().empty());
    Number const least = numberOf(from, {{minStored(from)}}, client);
    ORVEX::Cast const trial(u(11), client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
    EXPECT_GT(trial(least).getRWDoubleValue(), 69.0);
    EXPECT_EQ(client.events(), (Events{Event::netBias, Event::saturationToMin}));
}

} // namespace
