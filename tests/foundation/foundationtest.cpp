#include "support/texttable.h"
#include "support/types.h"

#include <orvex/foundation/diagnostics.h>
#include <orvex/foundation/kvxfeature.h>
#include <orvex/foundation/numberutils.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <set>

namespace
{
using namespace orvextest;
using ORVEX::NumberUtils;
using Type = fxpDataTypeProp;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

static_assert(std::is_trivially_copyable_v<Type> && sizeof(Type) == 40 && sizeof(fxpModeRounding_tag) == 4 &&
              sizeof(fxpModeOverflow_tag) == 4 && sizeof(fxpModeDataType) == 4);

constexpr auto fixed = fxpModeDataTypeFixed, scaledDouble = fxpModeDataTypeScaledDouble;

/// All fields, in the order of the constructor that takes them.
Type record(Texts const& f)
{
    return {static_cast<fxpModeDataType>(std::stoi(f[0])),
            f[1] == "1",
            std::stoi(f[2]),
            std::stod(f[3]),
            std::stoi(f[4]),
            std::stod(f[5]),
            std::stoi(f[6])};
}
std::string fields(Type const& t)
{
    std::ostringstream text;
    text << t.mode << ' ' << t.isSigned() << ' ' << t.wordLength << ' ' << t.slopeAdjustmentFactor << ' '
         << t.fixedExponent << ' ' << t.bias << ' ' << t.dtoMode;
    return text.str();
}

TEST(DataType, FieldsAreSetAndSlopesSplitIntoNormalForm)
{
    Type bad, word(fxpModeDataTypeBoolean, true, 12, 1.5, -3, 2.0, 6);
    ORVEX::createBadFxpDtpProp(&bad);
    EXPECT_TRUE(word.getWordLengthNonSign() == 11 && word.getPow2WtMSNonSignBit() == 7);
    word.setIsSigned(false);
    word.setWordLength(70);
    EXPECT_TRUE(word.getWordLengthNonSign() == 70 && word.getPow2WtMSNonSignBit() == 66);
    std::string text;
    for (Type const& type :
         {Type(), Type(scaledDouble, false, 0, 3.0, -7, -0.0, 5), Type(true, 20, 7),
          Type(false, 20, 2.5, 7, nan), Type::doubleDataType(), Type::singleDataType(), bad, word})
        text += fields(type) + ';';
    EXPECT_EQ(
        text,
        "0 1 16 1 0 0 0;1 0 0 3 -7 -0 5;0 1 20 1 -7 0 0;0 0 20 2.5 7 nan 0;2 1 64 1 0 0 0;3 1 32 1 0 0 0;"
        "0 0 9999 9999 9999 9999 0;4 0 70 1.5 -3 2 6;");
    for (double const slope : specialDoubles()) {
        Type type(scaledDouble, false, 33, 9.0, 9, 9.0, 4);
        type.setScaling(slope, -5, 0.5);
        Type const whole(true, 9, slope, -2.5);
        double const factor = whole.slopeAdjustmentFactor;
        if (slope == 0.0 || !std::isfinite(slope))
            EXPECT_TRUE(sameDouble(factor, slope) && whole.fixedExponent == 0) << slope;
        else
            EXPECT_TRUE(std::fabs(factor) >= 1 && std::fabs(factor) < 2 &&
                        std::ldexp(factor, whole.fixedExponent) == slope)
                << slope;
        EXPECT_EQ(fields(whole), fields(Type(fixed, true, 9, factor, whole.fixedExponent, -2.5, 0)));
        EXPECT_EQ(fields(type),
                  fields(Type(scaledDouble, false, 33, factor, whole.fixedExponent - 5, 0.5, 4)));
    }
    for (int mode = fixed; mode <= fxpModeDataTypeBoolean; ++mode) {
        Type changed = word;
        changed.mode = static_cast<fxpModeDataType>(mode);
        Type const before = changed;
        changed.changeIfBooleanToUint8();
        EXPECT_EQ(changed, mode == fxpModeDataTypeBoolean ? Type(fixed, false, 8, 1.0, 0, 0.0, 6) : before);
    }
}

TEST(DataType, EqualityByFieldsAndInMeaning)
{
    // Another type, and whether it is equal to the first, equal but for the mode, equal in meaning.
    for (Texts const& row :
         rows("1 1 12 1.5 -3 0 6 111;1 0 12 1.5 -3 0 6 000;1 1 13 1.5 -3 0 6 000;1 1 12 1.5 -2 0 6 000;"
              "1 1 12 1.25 -3 0 6 000;1 1 12 1.5 -3 5e-300 6 000;1 1 12 1.5 -3 0 7 001;0 1 12 1.5 -3 0 6 010;"
              "1 1 12 1.5 -3 -0 6 111;1 1 12 1.5 -3 nan 6 000;1 1 12 3 -4 0 6 001;1 1 12 0.1875 0 0 7 001;"
              "1 1 12 3 -3 0 6 000;1 1 12 -1.5 -3 0 6 000")) {
        Type const base(scaledDouble, true, 12, 1.5, -3, 0.0, 6), other = record(row);
        bool const isEqual = row[7][0] == '1', isEqualButMode = row[7][1] == '1', isAlike = row[7][2] == '1';
        EXPECT_TRUE((base == other) == isEqual && (other == base) == isEqual) << other;
        EXPECT_TRUE(other.isEqualIgnoreMode(base) == isEqualButMode &&
                    base.isEqualIgnoreMode(other) == isEqualButMode)
            << other;
        EXPECT_EQ(base.isEqualConceptual(other), isAlike) << other;
        EXPECT_EQ(other == Type(other), !std::isnan(other.bias));
        for (auto const mode : {fixed, fxpModeDataTypeDouble, fxpModeDataTypeSingle}) {
            Type a = base, b = other;
            a.mode = b.mode = mode;
            EXPECT_EQ(a.isEqualConceptual(b), mode != fixed || isAlike || row[0] == "0") << a << b;
        }
    }
    // Beyond the range of a double, where total slopes would be infinite or zero.
    for (int const exponent : {5000, -5000})
        EXPECT_FALSE(s(12, exponent, 1.5).isEqualConceptual(s(12, exponent + 1, 1.5)));
}

TEST(Diagnostics, MessagesAreThrownAndReportedWithIdentifierAndText)
{
    Orvex::number::ArrayDimMustAgree const dims;
    Orvex::number::IndexAssignElementCountMismatch const count;
    Orvex::number::bitIndexOutOfRange const bit;
    Orvex::typeBasic::SlopeWasNotStrictlyPositive const positive;
    Orvex::typeBasic::SlopeWasNotFinite const finite;
    Orvex::typeBasic::DifferentBestPrecisionScalingToAvoidOverflow const precision("-1.01", "-2.02", "-3.03",
                                                                                   "404", "1", "-606", "707");
    std::string heard, identifiers;
    std::set<std::string> texts;
    auto const previous =
        kvxSetWarningHandler([&](kvxDiagnosticImpl const& d) { heard = d.identifier() + d.text(); });
    for (resource_core::BaseMsgID const* message : std::initializer_list<resource_core::BaseMsgID const*>{
             &dims, &count, &bit, &positive, &finite, &precision}) {
        SCOPED_TRACE(message->identifier());
        identifiers += message->identifier() + ' ';
        texts.insert(message->text());
        kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(*message);
        try {
            kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
        } catch (std::exception const& e) {
            EXPECT_EQ(e.what(), message->text());
            EXPECT_EQ(dynamic_cast<kvxDiagnosticException const&>(e).identifier(), message->identifier());
        }
        EXPECT_EQ(diagnostic, nullptr);
        EXPECT_THROW(NumberUtils::throwIExceptionFromMessageID(*message), kvxDiagnosticException);
        NumberUtils::reportWarningFromMessageID(*message);
        EXPECT_EQ(heard, message->identifier() + message->text());
    }
    EXPECT_EQ(identifiers, "Orvex:number:ArrayDimMustAgree Orvex:number:IndexAssignElementCountMismatch "
                           "Orvex:number:bitIndexOutOfRange Orvex:typeBasic:SlopeWasNotStrictlyPositive "
                           "Orvex:typeBasic:SlopeWasNotFinite "
                           "Orvex:typeBasic:DifferentBestPrecisionScalingToAvoidOverflow ");
    EXPECT_EQ(texts.size(), 6U);
    for (char const* value : {"-1.01", "-2.02", "-3.03", "404", "-606", "707"})
        EXPECT_NE(precision.text().find(value), std::string::npos) << value;
    // A handler may throw, and without one a line goes to std::cerr.
    kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(bit);
    kvxSetWarningHandler([](kvxDiagnosticImpl const&) { throw 7; });
    EXPECT_THROW(kvxReportAsWarning(diagnostic), int);
    EXPECT_EQ(diagnostic, nullptr);
    EXPECT_TRUE(kvxSetWarningHandler(nullptr)); // the one before
    std::ostringstream text;
    std::streambuf* const before = std::cerr.rdbuf(text.rdbuf());
    NumberUtils::reportWarningFromMessageID(bit);
    std::cerr.rdbuf(before);
    EXPECT_EQ(text.str(), "Warning (" + bit.identifier() + "): " + bit.text() + '\n');
    kvxReportAsWarning(diagnostic);
    EXPECT_THROW(kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr), kvxDiagnosticException);
    kvxSetWarningHandler(previous);
}

TEST(DoubleToText, IsTheShortestThatReadsBack)
{
    Random random(1);
    std::vector<double> values = specialDoubles();
    for (int i = 0; i < 3000; ++i) {
        values.push_back(std::bit_cast<double>(random.bits()));
        values.push_back(random.between(-99999, 99999) * std::pow(10.0, random.between(-9, 20)));
    }
    std::erase_if(values, [](double value) { return !std::isfinite(value); });
    for (double const value : values) {
        std::string const text = kvx_dtoa(value, true);
        EXPECT_TRUE(sameDouble(std::strtod(text.c_str(), nullptr), value)) << text;
        for (char const* format : {"%.*g", "%.*e"})
            for (int digits = 0; digits < 18; ++digits) {
                char other[64];
                std::snprintf(other, sizeof other, format, digits, value);
                EXPECT_TRUE(text.size() <= std::string(other).size() ||
                            !sameDouble(std::strtod(other, nullptr), value))
                    << text << ' ' << other;
            }
    }
    EXPECT_EQ(kvx_dtoa(0.1, true) + kvx_dtoa(-0.0, true) + kvx_dtoa(5e-324, true), "0.1-05e-324");
    EXPECT_EQ(kvx_dtoa(-infinity, true) + kvx_dtoa(std::nan(""), true) + kvx_dtoa(1.0 / 3, false),
              "-infnan0.333333");
}

TEST(Features, AreFoundByNameWhileTheyLive)
{
    static int lastValue = 0;
    for (int twice = 0; twice < 2; ++twice) {
        EXPECT_TRUE(KvxFeature::find("OfThisTest") == nullptr && KvxFeature::find("Silent") == nullptr);
        KvxFeature feature("OfThisTest", "text ", "path ", "component", 791, 3, [](int v) { lastValue = v; });
        KvxFeature const silent("Silent", "", "", "", 0, 0, nullptr);
        ASSERT_EQ(KvxFeature::find("OfThisTest"), &feature);
        EXPECT_EQ(feature.name() + feature.description() + feature.sourcePath() + feature.component(),
                  "OfThisTesttext path component");
        EXPECT_TRUE(feature.number() == 791 && feature.value() == 3);
        feature.countUse();
        KvxFeature::find("OfThisTest")->setValue(-1);
        KvxFeature::find("Silent")->setValue(2);
        feature.countUse();
        EXPECT_TRUE(feature.value() == -1 && lastValue == -1 && silent.value() == 2 &&
                    feature.useCount() == 2U);
    }
}

} // namespace
