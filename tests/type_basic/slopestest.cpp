/// What casts with a slope or a bias need: net types, the plan with floats, best precision, normal form, and
/// division in place of multiplication.
#include "support/numbers.h"
#include "support/texttable.h"
#include "type_basic/applyplan.h"

#include <orvex/foundation/kvxfeature.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/text/type.h>
#include <orvex/type_basic/fxpcastgetnetnominaldatatypes.h>
#include <orvex/type_basic/selectslopecorrectiondatatype.h>
#include <orvex/type_basic/slopenormalize.h>

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
using ORVEX::text::readType;
using Type = fxpDataTypeProp;

Type const dbl = Type::doubleDataType(), sgl = Type::singleDataType();
double const infinity = std::numeric_limits<double>::infinity(), nan = std::nan("");

TEST(NetNominalTypes, Table)
{
    for (Texts const& row : rows( // target, source, net source; the net target is the target without scaling
             "s8,slope=1.5*2^-3 s9,-2 s9,slope=1.3333333333333333*2^4;"
             "s8,slope=1.5*2^-1,bias=1 s9,slope=1.5*2^-1,bias=2.5 s9,bias=2;"
             "s8,slope=1*2^-2000,bias=1 s8,slope=1*2^-2000,bias=1 s8;" // no 0 / 0
             "double double double;s8,3 double scaled:s64,-3;s8,bias=5 double scaled:s64,bias=-5;"
             "s8,slope=1.5*2^1 single scaled:s32,slope=1.3333333333333333*2^-2;"
             "s8 scaled:s20,slope=1.5*2^4,bias=1 scaled:s20,slope=1.5*2^4,bias=1;"
             "s8,slope=8,bias=4 boolean u8,slope=1.5")) {
        Type const y = readType(row[0]), u = row[1] == "boolean"
                                                 ? Type(fxpModeDataTypeBoolean, true, 16, 1.5, 3, 4.0, 0)
                                                 : readType(row[1]);
        Type uNet, yNet, wantY = y;
        wantY.setScaling(1.0, 0, 0.0);
        fxpCastGetNetNominalDatatypes(&uNet, &yNet, &y, &u);
        EXPECT_TRUE(uNet == readType(row[2]) && yNet == wantY) << row[0] << ' ' << row[1] << uNet << yNet;
    }
    double factor = 0, bias = 9;
    int exponent = 0;
    Type uNet, yNet;
    Type const y = s(8, -3, 1.5), u = s(9, 2);
    fxpCastGetNetNominalDatatypes_StepOne(&uNet, &yNet, &y, &u, factor, exponent, bias);
    EXPECT_TRUE(uNet == u && factor == 1 / 1.5 && exponent == 5 && bias == 0.0); // not normalised
}

TEST(MixedCastPlan, Table)
{
    // Target, source; multiplication or strict singles asked for; division, doubles; net slope, bias and
    // exponent, the exponent in normal form. A mantissa of a float has 24 bits.
    for (Texts const& row :
         rows("s16,slope=1.5 s16 - d 1.5 -0 0 -1;s16,slope=1.5 s16 m - 0.6666666666666666 0 -1 -1;"
              "s16,slope=1.5*2^-3 single - d 0.1875 -0 -3 2;s16,slope=1.5,bias=8 single - dw 1.5 -8 0 -1;"
              "s16,slope=1.5 s16,slope=1.5*2^2 - - 4 0 2 2;single s16,slope=1.5 - - 1.5 0 0 0;"
              "s16 s16 - - 1 0 0 0;single s25,bias=4 - - 1 4 0 0;single s26,bias=4 - w 1 4 0 0;"
              "single s8,bias=0.1 - w 1 0.1 0 0;single s8,slope=1.5,bias=4 - w 1.5 4 0 0;"
              "single s128 - - 1 0 0 0;single s129 - w 1 0 0 0;"
              "single s129,slope=1.5*2^200,bias=0.1 s - 0x1.8p200 0.1 200 200;"
              "single s8,-127 - - 0x1p127 0 127 127;single s8,-128 - w 0x1p128 0 128 128;"
              "single s8,126 - - 0x1p-126 0 -126 -126;single s8,127 - w 0x1p-127 0 -127 -127;"
              "single s8 - - nan 0 0 0;double s8 ms w 1 0 0 0;s8 double s w 1 0 0 0;"
              "scaled:s8 s8 ms w 1 0 0 0;s8 scaled:s8,-3 ms w 8 0 3 3")) {
        SCOPED_TRACE(row[0] + " from " + row[1] + ", net slope " + row[4]);
        auto const has = [&](std::size_t cell, char flag) {
            return row[cell].find(flag) != std::string::npos;
        };
        double const slope = std::stod(row[4]);
        Type const y = readType(row[0]);
        Type u = readType(row[1]);
        if (std::isnan(slope)) u.slopeAdjustmentFactor = nan;
        CastMixFloatFixptRealization plan(dbl, dbl, false, false);
        plan = CastMixFloatFixptRealization(y, u, has(2, 'm'), has(2, 's'));
        EXPECT_EQ(plan.UseDivApproach(), has(3, 'd'));
        EXPECT_TRUE(plan.CalcUseDouble() == has(3, 'w') && *plan.pFxpDtpCalc() == (has(3, 'w') ? dbl : sgl));
        EXPECT_PRED2(sameDouble, plan.ApproachNetSlope(), slope);
        EXPECT_PRED2(sameDouble, plan.ApproachNetBias(), std::stod(row[5]));
        int const exponent = std::stoi(row[6]);
        EXPECT_EQ(plan.ApproachNetFixedExponent(), exponent);
        EXPECT_EQ(plan.getNormalNetFixedExponent(), std::stoi(row[7]));
        EXPECT_EQ(plan.ApproachNetSlopeIsTrivial(), slope == 1.0);
        EXPECT_EQ(plan.ApproachNetSlopeIsExactPow2(), std::ldexp(slope, -exponent) == 1.0);
        EXPECT_TRUE(*plan.pFxpDtpY() == y && plan.pFxpDtpU()->isEqualIgnoreMode(u) != std::isnan(slope));
    }
}

TEST(MixedCastPlan, EveryStepIsRoundedToThePrecision)
{
    Random random(5);
    for (Type const& y : {dbl, sgl, s(16, -3, 1.3), s(16, -3, 1.3, 0.7)})
        for (Type const& u : {dbl, sgl, s(60, 4, 1.0, 3.0), s(16, -9, 1.7)})
            for (int i = 0; i < 200; ++i) {
                CastMixFloatFixptRealization const plan(y, u, i % 3 == 0, i % 2 == 0);
                double const x = random.doubleNear(s(40, -10));
                // One double step on floats is exact enough to be rounded to float once more.
                auto const r = [&](double v) { return plan.CalcUseDouble() ? v : double(float(v)); };
                double const slope = r(plan.ApproachNetSlope()), bias = r(plan.ApproachNetBias());
                double const want =
                    plan.UseDivApproach() ? r(r(r(x) + bias) / slope) : r(r(r(x) * slope) + bias);
                EXPECT_EQ(ORVEX::type_basic::applyPlan(x, plan), want) << y << u << x;
            }
}

TEST(SlopeNormalize, NormalisesOrRepairsAndThenTells)
{
    std::string const none, low = Orvex::typeBasic::SlopeWasNotStrictlyPositive().identifier(),
                            wild = Orvex::typeBasic::SlopeWasNotFinite().identifier();
    for (auto const& [factor, wantFactor, wantExponent, message] : {std::tuple{1.5, 1.5, 5, none},
                                                                    {6.0, 1.5, 7, none},
                                                                    {0x1p-1074, 1.0, -1069, none},
                                                                    {0.0, 1.0, 5, low},
                                                                    {-infinity, 1.0, 5, low},
                                                                    {infinity, 1.0, 5, wild},
                                                                    {nan, 1.0, 5, wild}}) {
        RecordingClient client;
        Type const wanted = s(12, wantExponent, wantFactor, 2.5);
        Type type = s(12, 5, factor, 2.5);
        client.onEvent = [&, &want = wanted](Event) { EXPECT_EQ(type, want); };
        EXPECT_EQ(thrownBy([&] { ORVEX::slopeNormalize(client, &type); }), message) << factor;
        EXPECT_EQ(type, wanted) << factor;
        EXPECT_EQ(client.records().empty(), message.empty());
    }
}

KvxFeature& feature() { return *KvxFeature::find("WarnDifferentBestPrecisionScalingToAvoidOverflow"); }

TEST(BestPrecision, IsTheFinestPointAtWhichTheValueFits)
{
    // A positive value fits if it rounds into the range; a negative one must not lie below it.
    auto const fits = [](double x, Type const& type, int exponent) {
        Rational const units = exactly(x, -exponent);
        return x < 0 ? units >= minStored(type) : roundTo(units, fxpModeRoundingHalfAway) <= maxStored(type);
    };
    std::vector<double> values = specialDoubles();
    for (int k = 1; k <= 40; ++k)
        for (double const x : {k / 8.0, std::nextafter(k / 8.0, 0.0), std::nextafter(k / 8.0, 99.0)})
            values.insert(values.end(), {x, -x});
    for (int const bits : {1, 2, 3, 4, 5, 8, 32, 54, 64, 65, 129})
        for (bool const isSigned : {false, true})
            for (double const x : values) {
                Type const type = fixedType(isSigned, bits, 77, 1.5, 3.0); // its own scaling is not looked at
                auto const before = feature().useCount();
                int const found = ORVEX::bestPrecisionFixedExponent(x, type);
                auto const warnings = feature().useCount() - before;
                Type out;
                ORVEX::selectSlopeCorrectionDataType(&out, &type, x);
                EXPECT_EQ(out, fixedType(isSigned, bits, found));
                if (x == 0.0 || !std::isfinite(x) || (x < 0.0 && !isSigned)) {
                    EXPECT_EQ(found, -1000) << x << type;
                    continue;
                }
                EXPECT_TRUE(fits(x, type, found) && !fits(x, type, found - 1)) << x << type << found;
                int power = 0;
                bool const isPower = std::frexp(x, &power) == -0.5;
                Int const rounded = roundTo(exactly(x, -found), fxpModeRoundingHalfAway);
                EXPECT_EQ(warnings, x < 0 && !isPower && 2 * rounded == minStored(type)) << x << type;
            }
    Type out(fxpModeDataTypeBoolean, true, 16, 1.5, 3, 4.0, 0);
    ORVEX::selectSlopeCorrectionDataType(&out, &out, 3.0);
    EXPECT_EQ(out, u(8, -6));
    EXPECT_EQ(feature().description() + feature().sourcePath() + feature().component(),
              "Warn Different Best Precision Scaling To Avoid Overflow"
              "type_basic/selectslopecorrectiondatatypeOrvex");
    EXPECT_TRUE(feature().number() == 791246 && feature().value() == 0);
    std::string heard;
    auto const previous = kvxSetWarningHandler([&](auto const& d) { heard += d.identifier() + d.text(); });
    for (int const value : {0, 1, 0}) { // warns while the feature is on
        feature().setValue(value);
        ORVEX::bestPrecisionFixedExponent(-4.01, s(8));
    }
    kvxSetWarningHandler(previous);
    Orvex::typeBasic::DifferentBestPrecisionScalingToAvoidOverflow const want("-4.01", "-4", "-4.03125", "8",
                                                                              "1", "4", "5");
    EXPECT_EQ(heard, want.identifier() + want.text());
}

/// A cast whose source is to be divided by three, on a target that may do so.
struct Scenario {
    Type target = s(16, 1, 1.5), source = s(16);
    fxpProdHardware hardware{ProdHWDeviceMicro, 8, 16, 32, 64, FxpHardwareRoundingZero};
    bool hasHardware = true;
    int method = FxpNetSlopeCorrectDivide, round = fxpModeRoundingZero;
};
struct Answer {
    bool divides = false;
    double slope = -7.0;
    Type type{};
    std::array<Chunk, 2> value = {99, 99};
    bool operator==(Answer const&) const = default;
};

/// What both overloads answer, which has to be the same.
Answer ask(Scenario const& s)
{
    RecordingClient client;
    client.hardware = s.hasHardware ? &s.hardware : nullptr;
    client.netSlopeMethod = static_cast<FxpNetSlopeCorrectMethod>(s.method);
    Answer a, b;
    fxpScalarOversized one{{99, 0, 99, 0}};
    a.divides = ORVEX::getDTCSlopeCorrectionMode(client, s.target, s.source, &a.slope, &a.type,
                                                 a.value.data(), s.round);
    b.divides =
        ORVEX::getDTCSlopeCorrectionMode(client, s.target, s.source, &b.slope, &b.type, &one, s.round);
    EXPECT_TRUE(a.divides == b.divides && a.slope == b.slope && a.type == b.type && client.events().empty());
    EXPECT_EQ(one.readWord(0) | Chunk{one.readWord(1)} << 32, a.value[0]);
    EXPECT_EQ(one.readWord(2) | Chunk{one.readWord(3)} << 32, a.divides ? 0 : a.value[1]);
    return a;
}

TEST(SlopeCorrectionMode, DividesByIntegersThatPayAndFit)
{
    std::vector<double> divisors{
        1.5,  2.5,      2.75, 2.9, 8 - 0x1p-50, 6 + 0x1p-50, 6 * (1 + 0x1p-50), 6 * (1 + 0x1.4p-50),
        -3.0, infinity, nan};
    for (int n = 1; n <= 70; ++n) divisors.push_back(n);
    for (int power = 28; power < 65; ++power) divisors.push_back(std::ldexp(3, power));
    for (double const divisor : divisors)
        for (double const slope : {1.0, 17.0, 0x1.9p-30})
            for (bool const isSigned : {false, true}) {
                Scenario scenario;
                scenario.source = Type(isSigned, 16, slope, 1.0); // biases do not count
                scenario.target = Type(true, 16, slope * divisor, 2.0);
                Answer const got = ask(scenario);
                Answer want;
                if (divisor > 2.75 && std::isfinite(divisor)) {
                    Int const n = roundTo(exactly(divisor), fxpModeRoundingHalfAway), bits = n << isSigned;
                    if (abs(exactly(divisor) - n) <= exactly(divisor, -50) && (n & (n - 1)) != 0 &&
                        (bits >> 64) == 0)
                        want = {
                            true, divisor, fixedType(isSigned, (bits >> 32) == 0 ? 32 : 64), {Chunk(n), 99}};
                }
                EXPECT_TRUE(got == want)
                    << divisor << isSigned << ": " << got.slope << got.type << got.value[0];
            }
}

TEST(SlopeCorrectionMode, RefusesWhateverElseStandsAgainstIt)
{
    void (*const changes[])(Scenario&) = {
        [](Scenario& s) { s.source = s.target, s.source.fixedExponent = -9; }, // equal factors
        [](Scenario& s) { s.source.slopeAdjustmentFactor = 0.0; },
        [](Scenario& s) { s.target.fixedExponent = 1 << 30, s.source.fixedExponent = INT32_MIN; },
        [](Scenario& s) { s.target.mode = fxpModeDataTypeScaledDouble; },
        [](Scenario& s) { s.source.mode = fxpModeDataTypeDouble; },
        [](Scenario& s) { s.method = FxpNetSlopeCorrectMultiply; },
        [](Scenario& s) { s.hardware = fxpProdHardware::getASICTypeHardware(); },
        [](Scenario& s) { s.hasHardware = false; },
        [](Scenario& s) { s.source.setWordLength(65); },
        [](Scenario& s) { s.target.setWordLength(65); }};
    for (auto const& change : changes) {
        Scenario scenario;
        scenario.source.setWordLength(64);
        EXPECT_TRUE(ask(scenario).divides);
        change(scenario);
        EXPECT_TRUE(ask(scenario) == Answer()) << &change - changes;
    }
    // Divides where the target rounds as asked.
    for (int const target : {FxpHardwareRoundingZero, FxpHardwareRoundingFloor, FxpHardwareRoundingUndefined})
        for (int round = -1; round <= 7; ++round)
            for (bool const isSigned : {false, true}) {
                Scenario scenario;
                scenario.hardware.setHWIntDivRndMode(static_cast<FxpHardwareRounding>(target));
                scenario.round = round;
                scenario.source.setIsSigned(isSigned);
                int const own =
                    target == FxpHardwareRoundingZero ? fxpModeRoundingZero : fxpModeRoundingFloor;
                bool agrees =
                    round >= 0 && round <= 6 && !(isSigned && target == FxpHardwareRoundingUndefined);
                for (int q = isSigned ? -9 : 0; q <= 9 && round != fxpModeRoundingCheapest; ++q)
                    agrees = agrees && roundTo(Rational(q, 3), round) == roundTo(Rational(q, 3), own);
                EXPECT_EQ(ask(scenario).divides, agrees) << target << Modes{round, 1} << isSigned;
            }
}

TEST(ScalarOversized, MirrorsTheChunkOperations)
{
    Random random(8);
    fxpScalarOversized value;
    auto const chunks = [&]() -> std::vector<Chunk> {
        return {value.readWord(0) | Chunk{value.readWord(1)} << 32,
                value.readWord(2) | Chunk{value.readWord(3)} << 32};
    };
    for (Type const& type : seamTypes(-3)) {
        SCOPED_TRACE(type);
        value.setToMin(type);
        EXPECT_EQ(chunks(), chunksOf(minStored(type), 2));
        value.setToMax(type);
        EXPECT_EQ(chunks(), chunksOf(maxStored(type), 2));
        for (double const x : {0.1, random.doubleNear(type), random.doubleNear(type), -0x1p500}) {
            RecordingClient client;
            value.storeRadixDouble(client, type, x, fxpModeRoundingConvergent, x < 0);
            Outcome const want = quantizeRadix(x, type, fxpModeRoundingConvergent, x < 0);
            EXPECT_TRUE(chunks() == chunksOf(want.stored, 2) && client.events() == want.events) << x;
        }
        if (type.wordLength > 128) continue; // the value does not hold it whole
        for (Int const& stored : interestingStored(type, random, 2))
            for (int const bits : {-129, -65, -33, -1, 0, 1, 31, 64, 127, 200}) {
                RecordingClient client;
                for (int i = 0; i < 4; ++i)
                    value.writeWord(
                        i, static_cast<std::uint32_t>(floorOf(scaled(stored, -32 * i)) & 0xffffffffu));
                value.shift(client, type, bits);
                Int const moved = floorOf(scaled(stored, -bits));
                EXPECT_EQ(chunks(), chunksOf(bits < 0 ? wrapTo(moved, type) : moved, 2)) << stored << bits;
                bool const lost = bits > 0 && bits >= type.getWordLengthNonSign() && stored > 0;
                EXPECT_EQ(client.events(), lost ? Events{Event::underflow} : Events{}) << stored << bits;
            }
    }
}

} // namespace
