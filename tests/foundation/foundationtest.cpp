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

/// Every field, in the order of the record.
bool holds(Type const& t, fxpModeDataType mode, bool isSigned, int bits, int exponent, double factor,
           double bias, int dto = 0)
{
    return t.mode == mode && t.isSigned() == isSigned && t.wordLength == bits &&
           t.fixedExponent == exponent && sameDouble(t.slopeAdjustmentFactor, factor) &&
           sameDouble(t.bias, bias) && t.dtoMode == dto;
}

TEST(DataType, ConstructorsAndFactoriesStoreTheirArguments)
{
    EXPECT_TRUE(holds(Type(), fixed, true, 16, 0, 1.0, 0.0));
    EXPECT_TRUE(
        holds(Type(scaledDouble, false, 0, 3.0, -7, -0.0, 5), scaledDouble, false, 0, -7, 3.0, -0.0, 5));
    EXPECT_TRUE(holds(Type(true, 20, 7), fixed, true, 20, -7, 1.0, 0.0));            // a fraction length
    EXPECT_TRUE(holds(Type(false, 20, 2.5, 7, nan), fixed, false, 20, 7, 2.5, nan)); // an exponent
    EXPECT_TRUE(holds(Type::doubleDataType(), fxpModeDataTypeDouble, true, 64, 0, 1.0, 0.0));
    EXPECT_TRUE(holds(Type::singleDataType(), fxpModeDataTypeSingle, true, 32, 0, 1.0, 0.0));
    Type bad;
    ORVEX::createBadFxpDtpProp(&bad);
    EXPECT_TRUE(holds(bad, fixed, false, 9999, 9999, 9999.0, 9999.0));
}

TEST(DataType, SlopeIsSplitIntoNormalForm)
{
    struct Row {
        double slope, factor;
        int exponent;
    };
    for (Row const& row :
         {Row{1.0, 1.0, 0}, Row{0.75, 1.5, -1}, Row{0.1875, 1.5, -3}, Row{2.0, 1.0, 1},
          Row{0x1.fffffffffffffp-1, 0x1.fffffffffffffp0, -1}, Row{5e-324, 1.0, -1074},
          Row{0x1.8p-1073, 1.5, -1073}, Row{0x1.fffffffffffffp1023, 0x1.fffffffffffffp0, 1023},
          Row{-6.0, -1.5, 2}, Row{0.0, 0.0, 0}, Row{infinity, infinity, 0}, Row{nan, nan, 0}}) {
        SCOPED_TRACE(row.slope);
        EXPECT_TRUE(holds(Type(true, 9, row.slope, -2.5), fixed, true, 9, row.exponent, row.factor, -2.5, 0));
        Type type(scaledDouble, false, 33, 9.0, 9, 9.0, 4);
        type.setScaling(row.slope, -5, 0.5);
        EXPECT_TRUE(holds(type, scaledDouble, false, 33, row.exponent - 5, row.factor, 0.5, 4)) << type;
    }
}

TEST(DataType, SetterDerivedQuantitiesAndBooleanChange)
{
    Type type(fxpModeDataTypeBoolean, true, 12, 1.5, -3, 2.0, 6);
    EXPECT_EQ(type.getWordLengthNonSign(), 11);
    EXPECT_EQ(type.getPow2WtMSNonSignBit(), 7);
    type.setIsSigned(false);
    type.setWordLength(70);
    EXPECT_TRUE(holds(type, fxpModeDataTypeBoolean, false, 70, -3, 1.5, 2.0, 6)) << type;
    EXPECT_EQ(type.getWordLengthNonSign(), 70);
    EXPECT_EQ(type.getPow2WtMSNonSignBit(), 66);
    for (int mode = fixed; mode <= fxpModeDataTypeBoolean; ++mode) {
        Type changed = type;
        changed.mode = static_cast<fxpModeDataType>(mode);
        changed.setIsSigned(true);
        Type const before = changed;
        changed.changeIfBooleanToUint8();
        EXPECT_TRUE(mode == fxpModeDataTypeBoolean ? holds(changed, fixed, false, 8, 0, 1.0, 0.0, 6)
                                                   : changed == before)
            << changed;
    }
}

TEST(DataType, EqualityLooksAtEveryFieldAndComparesDoublesByValue)
{
    Type const base(scaledDouble, true, 12, 1.5, -3, 0.0, 6);
    std::vector<Type> different(6, base);
    different[0].setIsSigned(false);
    different[1].wordLength = 13;
    different[2].fixedExponent = -2;
    different[3].slopeAdjustmentFactor = 1.25;
    different[4].bias = 5e-324;
    different[5].dtoMode = 7;
    for (Type const& type : different) {
        EXPECT_FALSE(type.isEqualIgnoreMode(base) || base.isEqualIgnoreMode(type) || type == base) << type;
        // The same meaning and range: only the DTO mode does not matter.
        EXPECT_EQ(base.isEqualConceptual(type), type.dtoMode != base.dtoMode) << type;
    }
    Type other = base;
    other.mode = fixed;
    EXPECT_TRUE(other.isEqualIgnoreMode(base));
    EXPECT_FALSE(other == base || other.isEqualConceptual(base));
    other = base;
    other.bias = -0.0;
    EXPECT_TRUE(other == base && other.isEqualConceptual(base));
    other.bias = nan;
    EXPECT_FALSE(other == other || other.isEqualConceptual(other));
}

TEST(DataType, ConceptualEqualityIgnoresSpelling)
{
    struct Row {
        double factor;
        int exponent, otherExponent;
        bool isEqual;
    };
    for (auto const mode : {fixed, scaledDouble, fxpModeDataTypeDouble, fxpModeDataTypeSingle})
        for (Row const& row : {Row{3.0, -4, -3, true}, Row{0.1875, 0, -3, true}, Row{3.0, -3, -3, false},
                               Row{-1.5, -3, -3, false},
                               // Beyond the range of a double, where total slopes would be infinite or zero.
                               Row{1.5, 5000, 5001, false}, Row{1.5, -5000, -5001, false}}) {
            Type const a(mode, true, 12, row.factor, row.exponent, 0.5, 0),
                b(mode, true, 12, 1.5, row.otherExponent, 0.5, 1);
            bool const isFloat = mode == fxpModeDataTypeDouble || mode == fxpModeDataTypeSingle;
            EXPECT_EQ(a.isEqualConceptual(b), row.isEqual || isFloat) << a << b;
        }
    EXPECT_TRUE(Type(fxpModeDataTypeDouble, true, 64, 1.0, 0, 0.0, 0)
                    .isEqualConceptual(Type(fxpModeDataTypeDouble, false, 3, 1.5, 9, nan, 1)));
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
    std::string heard;
    auto const previous =
        kvxSetWarningHandler([&](kvxDiagnosticImpl const& d) { heard = d.identifier() + d.text(); });
    std::set<std::string> identifiers, texts;
    for (resource_core::BaseMsgID const* message : std::initializer_list<resource_core::BaseMsgID const*>{
             &dims, &count, &bit, &positive, &finite, &precision}) {
        SCOPED_TRACE(message->identifier());
        identifiers.insert(message->identifier());
        texts.insert(message->text());
        kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(*message);
        try {
            kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
        } catch (std::exception const& e) {
            EXPECT_EQ(diagnostic, nullptr);
            EXPECT_EQ(e.what(), message->text());
            EXPECT_EQ(dynamic_cast<kvxDiagnosticException const&>(e).identifier(), message->identifier());
        }
        EXPECT_THROW(NumberUtils::throwIExceptionFromMessageID(*message), kvxDiagnosticException);
        NumberUtils::reportWarningFromMessageID(*message);
        EXPECT_EQ(heard, message->identifier() + message->text());
    }
    EXPECT_EQ(identifiers,
              (std::set<std::string>{
                  "Orvex:number:ArrayDimMustAgree", "Orvex:number:IndexAssignElementCountMismatch",
                  "Orvex:number:bitIndexOutOfRange", "Orvex:typeBasic:SlopeWasNotStrictlyPositive",
                  "Orvex:typeBasic:SlopeWasNotFinite",
                  "Orvex:typeBasic:DifferentBestPrecisionScalingToAvoidOverflow"}));
    EXPECT_EQ(texts.size(), identifiers.size());
    for (char const* value : {"-1.01", "-2.02", "-3.03", "404", "-606", "707"})
        EXPECT_NE(precision.text().find(value), std::string::npos) << value;
    kvxSetWarningHandler(previous);
}

TEST(Diagnostics, WarningHandlerMayThrowAndAnEmptyOneWritesALineToCerr)
{
    Orvex::number::bitIndexOutOfRange const message;
    kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(message);
    auto const previous = kvxSetWarningHandler([](kvxDiagnosticImpl const&) { throw 7; });
    EXPECT_THROW(kvxReportAsWarning(diagnostic), int);
    EXPECT_EQ(diagnostic, nullptr);
    kvxSetWarningHandler(nullptr);
    std::ostringstream text;
    std::streambuf* const before = std::cerr.rdbuf(text.rdbuf());
    NumberUtils::reportWarningFromMessageID(message);
    std::cerr.rdbuf(before);
    EXPECT_EQ(text.str(), "Warning (" + message.identifier() + "): " + message.text() + '\n');
    kvxDiagnosticImpl* none = nullptr;
    kvxReportAsWarning(none);
    EXPECT_THROW(kvxThrowIExceptionFromDiagnostic(none, nullptr), kvxDiagnosticException);
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
    EXPECT_EQ(KvxFeature::find("OfThisTest"), nullptr);
    {
        KvxFeature feature("OfThisTest", "text ", "path ", "component", 791, 3, [](int v) { lastValue = v; });
        KvxFeature const silent("Silent", "", "", "", 0, 0, nullptr);
        ASSERT_EQ(KvxFeature::find("OfThisTest"), &feature);
        EXPECT_EQ(feature.name() + feature.description() + feature.sourcePath() + feature.component(),
                  "OfThisTesttext path component");
        EXPECT_EQ(feature.number(), 791);
        EXPECT_EQ(feature.value(), 3);
        feature.countUse();
        KvxFeature::find("OfThisTest")->setValue(-1);
        KvxFeature::find("Silent")->setValue(2);
        feature.countUse();
        EXPECT_EQ(feature.value(), -1);
        EXPECT_EQ(lastValue, -1);
        EXPECT_EQ(silent.value(), 2);
        EXPECT_EQ(feature.useCount(), 2U);
    }
    EXPECT_EQ(KvxFeature::find("OfThisTest"), nullptr);
    EXPECT_EQ(KvxFeature::find("Silent"), nullptr);
}

} // namespace
