#include "support/oracle.h"
#include "support/recordingclient.h"

#include <orvex/foundation/kvxfeature.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/type_basic/selectslopecorrectiondatatype.h>

#include <gtest/gtest.h>

#include <limits>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using Hardware = fxpProdHardware;

double const infinity = std::numeric_limits<double>::infinity();
double const nan = std::numeric_limits<double>::quiet_NaN();

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
    EXPECT_EQ(ORVEX::bestPrecisionFixedExponent(-1.0, Type(true, 8, 0)), -7);
    EXPECT_EQ(ORVEX::bestPrecisionFixedExponent(1.0, Type(true, 8, 0)), -6);
}

TEST(BestPrecision, WarnsWhileTheFeatureIsOn)
{
    EXPECT_EQ(feature().description() + feature().sourcePath() + feature().component(),
              "Warn Different Best Precision Scaling To Avoid Overflow"
              "type_basic/selectslopecorrectiondatatypeOrvex");
    EXPECT_EQ(feature().number(), 791246);
    EXPECT_EQ(feature().value(), 0);
    std::vector<std::string> heard;
    auto const previous =
        kvxSetWarningHandler([&](auto const& d) { heard.push_back(d.identifier() + d.text()); });
    auto const uses = feature().useCount();
    for (int const value : {0, 1, 0}) {
        feature().setValue(value);
        ORVEX::bestPrecisionFixedExponent(-4.01, Type(true, 8, 0));
    }
    kvxSetWarningHandler(previous);
    EXPECT_EQ(feature().useCount() - uses, 3U);
    Orvex::typeBasic::DifferentBestPrecisionScalingToAvoidOverflow const want("-4.01", "-4", "-4.03125", "8",
                                                                              "1", "4", "5");
    EXPECT_EQ(heard, std::vector{want.identifier() + want.text()});
}

TEST(SlopeCorrectionType, IsTheSourceWordAtBestPrecision)
{
    struct Row {
        Type in;
        double netSlope;
        Type want;
    };
    Row const rows[] = {{fixedType(true, 16, -3, 1.5, 7.0), 1.25, fixedType(true, 16, -14)},
                        {fixedType(false, 200, 5), 1.0 / 3, fixedType(false, 200, -201)},
                        {fixedType(false, 8), -1.0, fixedType(false, 8, -1000)},
                        {fixedType(true, 8), nan, fixedType(true, 8, -1000)},
                        {{fxpModeDataTypeBoolean, true, 16, 1.5, 3, 4.0, 0}, 3.0, fixedType(false, 8, -6)}};
    for (Row const& row : rows) {
        Type out;
        ORVEX::selectSlopeCorrectionDataType(&out, &row.in, row.netSlope);
        EXPECT_EQ(out, row.want) << row.in << row.netSlope;
    }
}

/// A cast whose source is to be divided by three, on a target that may do so.
struct Scenario {
    Type target = Type(true, 16, 3.0, 0.0);
    Type source = Type(true, 16, 1.0, 0.0);
    Hardware hardware = Hardware(ProdHWDeviceMicro, 8, 16, 32, 64, FxpHardwareRoundingZero);
    bool hasHardware = true;
    int method = FxpNetSlopeCorrectDivide;
    int round = fxpModeRoundingZero;
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
    EXPECT_TRUE(a.divides == b.divides && a.slope == b.slope && a.type == b.type);
    EXPECT_EQ(one.readWord(0) | Chunk{one.readWord(1)} << 32, a.value[0]);
    EXPECT_EQ(one.readWord(2) | Chunk{one.readWord(3)} << 32, a.divides ? 0 : a.value[1]);
    EXPECT_TRUE(client.events().empty());
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
        [](Scenario& s) { s.hardware = Hardware::getASICTypeHardware(); },
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
}

TEST(SlopeCorrectionMode, DividesWhereTheTargetRoundsAsAsked)
{
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

} // namespace
