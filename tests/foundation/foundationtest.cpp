#include "support/types.h"

#include <orvex/foundation/diagnostics.h>
#include <orvex/foundation/kvxfeature.h>
#include <orvex/foundation/numberutils.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <set>
#include <sstream>

namespace
{
using namespace orvextest;
using ORVEX::NumberUtils;
using Type = fxpDataTypeProp;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

static_assert(offsetof(Type, mode) == 0 && offsetof(Type, signedness) == 4 &&
              offsetof(Type, wordLength) == 8 && offsetof(Type, fixedExponent) == 12 &&
              offsetof(Type, slopeAdjustmentFactor) == 16 && offsetof(Type, bias) == 24 &&
              offsetof(Type, dtoMode) == 32 && sizeof(Type) == 40);
static_assert(std::is_trivially_copyable_v<Type> && sizeof(fxpModeRounding_tag) == 4 &&
              sizeof(fxpModeOverflow_tag) == 4 && sizeof(fxpModeDataType) == 4);

constexpr auto fixed = fxpModeDataTypeFixed, scaledDouble = fxpModeDataTypeScaledDouble;

/// All fields, in the order of the constructor that takes them.
std::string fields(Type const& t)
{
    std::ostringstream text;
    text << t.mode << ' ' << t.isSigned() << ' ' << t.wordLength << ' ' << std::hexfloat
         << t.slopeAdjustmentFactor << ' ' << t.fixedExponent << ' ' << t.bias << ' ' << t.dtoMode;
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
    for (auto const& [type, wanted] :
         {std::pair{Type(), "0 1 16 0x1p+0 0 0x0p+0 0"},
          {Type(scaledDouble, false, 0, 3.0, -7, -0.0, 5), "1 0 0 0x1.8p+1 -7 -0x0p+0 5"},
          {Type(true, 20, 7), "0 1 20 0x1p+0 -7 0x0p+0 0"},          // a fraction length
          {Type(false, 20, 2.5, 7, nan), "0 0 20 0x1.4p+1 7 nan 0"}, // an exponent
          {Type::doubleDataType(), "2 1 64 0x1p+0 0 0x0p+0 0"},
          {Type::singleDataType(), "3 1 32 0x1p+0 0 0x0p+0 0"},
          {bad, "0 0 9999 0x1.3878p+13 9999 0x1.3878p+13 0"},
          {word, "4 0 70 0x1.8p+0 -3 0x1p+1 6"}})
        EXPECT_EQ(fields(type), wanted);
    for (auto const& [slope, factor, exponent] : {std::tuple{1.0, 1.0, 0},
                                                  {0.75, 1.5, -1},
                                                  {0.1875, 1.5, -3},
                                                  {2.0, 1.0, 1},
                                                  {5e-324, 1.0, -1074},
                                                  {0x1.fffffffffffffp-1, 0x1.fffffffffffffp0, -1},
                                                  {0x1.8p-1073, 1.5, -1073},
                                                  {-6.0, -1.5, 2},
                                                  {0.0, 0.0, 0},
                                                  {0x1.fffffffffffffp1023, 0x1.fffffffffffffp0, 1023},
                                                  {infinity, infinity, 0},
                                                  {nan, nan, 0}}) {
        EXPECT_EQ(fields(Type(true, 9, slope, -2.5)),
                  fields(Type(fixed, true, 9, factor, exponent, -2.5, 0)));
        Type type(scaledDouble, false, 33, 9.0, 9, 9.0, 4);
        type.setScaling(slope, -5, 0.5);
        EXPECT_EQ(fields(type), fields(Type(scaledDouble, false, 33, factor, exponent - 5, 0.5, 4)));
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
    Type const base(scaledDouble, true, 12, 1.5, -3, 0.0, 6);
    // Another type, and whether it is equal to the base, but for the mode, and in meaning.
    for (auto const& [other, isEqual, isEqualButMode, isEqualConceptual] :
         {std::tuple{base, true, true, true},
          {Type(scaledDouble, false, 12, 1.5, -3, 0.0, 6), false, false, false},
          {Type(scaledDouble, true, 13, 1.5, -3, 0.0, 6), false, false, false},
          {Type(scaledDouble, true, 12, 1.5, -2, 0.0, 6), false, false, false},
          {Type(scaledDouble, true, 12, 1.25, -3, 0.0, 6), false, false, false},
          {Type(scaledDouble, true, 12, 1.5, -3, 5e-324, 6), false, false, false},
          {Type(scaledDouble, true, 12, 1.5, -3, 0.0, 7), false, false, true},
          {Type(fixed, true, 12, 1.5, -3, 0.0, 6), false, true, false},
          {Type(scaledDouble, true, 12, 1.5, -3, -0.0, 6), true, true, true},
          {Type(scaledDouble, true, 12, 1.5, -3, nan, 6), false, false, false}}) {
        EXPECT_TRUE((base == other) == isEqual && (other == base) == isEqual) << other;
        EXPECT_EQ(other.isEqualIgnoreMode(base) && base.isEqualIgnoreMode(other), isEqualButMode) << other;
        EXPECT_EQ(base.isEqualConceptual(other), isEqualConceptual) << other;
        EXPECT_EQ(other == Type(other), !std::isnan(other.bias));
    }
    // The same slope in other words; beyond the range of a double, total slopes would be infinite or zero.
    for (auto const mode : {fixed, scaledDouble, fxpModeDataTypeDouble, fxpModeDataTypeSingle})
        for (auto const& [factor, exponent, otherExponent, isEqual] : {std::tuple{3.0, -4, -3, true},
                                                                       {0.1875, 0, -3, true},
                                                                       {3.0, -3, -3, false},
                                                                       {-1.5, -3, -3, false},
                                                                       {1.5, 5000, 5001, false},
                                                                       {1.5, -5000, -5001, false}}) {
            Type const a(mode, true, 12, factor, exponent, 0.5, 0),
                b(mode, true, 12, 1.5, otherExponent, 0.5, 1);
            bool const isFloat = mode == fxpModeDataTypeDouble || mode == fxpModeDataTypeSingle;
            EXPECT_EQ(a.isEqualConceptual(b), isEqual || isFloat) << a << b;
        }
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
    kvxSetWarningHandler(nullptr);
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
