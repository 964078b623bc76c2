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

static_assert(std::is_trivially_copyable_v<Type> && sizeof(Type) == 40 && sizeof(fxpModeRounding_tag) == 4 &&
              sizeof(fxpModeOverflow_tag) == 4 && sizeof(fxpModeDataType) == 4);

constexpr auto fixed = fxpModeDataTypeFixed, scaled = fxpModeDataTypeScaledDouble;

/// All fields, in the order of the constructor that takes them.
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
    std::pair<Type, char const*> const made[] = {
        {Type(), "0 1 16 1 0 0 0"},
        {Type(scaled, false, 0, 3.0, -7, -0.0, 5), "1 0 0 3 -7 -0 5"},
        {Type(true, 20, 7), "0 1 20 1 -7 0 0"},
        {Type(false, 20, 2.5, 7, std::nan("")), "0 0 20 2.5 7 nan 0"},
        {Type::doubleDataType(), "2 1 64 1 0 0 0"},
        {Type::singleDataType(), "3 1 32 1 0 0 0"},
        {bad, "0 0 9999 9999 9999 9999 0"},
        {word, "4 0 70 1.5 -3 2 6"}};
    for (auto const& [type, wanted] : made) {
        EXPECT_EQ(fields(type), wanted);
        Type changed = type;
        changed.changeIfBooleanToUint8();
        EXPECT_EQ(fields(changed), type.mode == fxpModeDataTypeBoolean ? "0 0 8 1 0 0 6" : wanted);
    }
    for (double const slope : specialDoubles()) {
        Type type(scaled, false, 33, 9.0, 9, 9.0, 4);
        type.setScaling(slope, -5, 0.5);
        Type const whole(true, 9, slope, -2.5);
        double const factor = whole.slopeAdjustmentFactor;
        bool const isSplit = std::fabs(factor) >= 1 && std::fabs(factor) < 2 &&
                             std::ldexp(factor, whole.fixedExponent) == slope;
        EXPECT_TRUE(slope == 0.0 || !std::isfinite(slope)
                        ? sameDouble(factor, slope) && whole.fixedExponent == 0
                        : isSplit)
            << slope;
        EXPECT_EQ(fields(whole), fields(Type(fixed, true, 9, factor, whole.fixedExponent, -2.5, 0)));
        EXPECT_EQ(fields(type), fields(Type(scaled, false, 33, factor, whole.fixedExponent - 5, 0.5, 4)));
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
        double f[7];
        for (std::size_t i = 0; i < 7; ++i) f[i] = std::stod(row[i]);
        Type const base(scaled, true, 12, 1.5, -3, 0.0, 6),
            other(static_cast<fxpModeDataType>(f[0]), f[1] == 1, int(f[2]), f[3], int(f[4]), f[5], int(f[6]));
        for (auto const& [a, b] : {std::pair{base, other}, {other, base}})
            EXPECT_EQ((a == b ? "1" : "0") + std::string(a.isEqualIgnoreMode(b) ? "1" : "0") +
                          (a.isEqualConceptual(b) ? '1' : '0'),
                      row[7])
                << other;
        EXPECT_EQ(other == Type(other), !std::isnan(other.bias));
        for (auto const mode : {fixed, fxpModeDataTypeDouble, fxpModeDataTypeSingle})
            EXPECT_EQ(withMode(base, mode).isEqualConceptual(withMode(other, mode)),
                      mode != fixed || row[7][2] == '1' || row[0] == "0")
                << other << mode;
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
    std::string heard;
    std::set<std::string> texts;
    auto const previous =
        kvxSetWarningHandler([&](kvxDiagnosticImpl const& d) { heard = d.identifier() + d.text(); });
    for (auto const& [id, name] :
         std::initializer_list<std::pair<resource_core::BaseMsgID const*, std::string>>{
             {&dims, "number:ArrayDimMustAgree"},
             {&count, "number:IndexAssignElementCountMismatch"},
             {&bit, "number:bitIndexOutOfRange"},
             {&positive, "typeBasic:SlopeWasNotStrictlyPositive"},
             {&finite, "typeBasic:SlopeWasNotFinite"},
             {&precision, "typeBasic:DifferentBestPrecisionScalingToAvoidOverflow"}}) {
        SCOPED_TRACE(name);
        resource_core::BaseMsgID const& message = *id;
        EXPECT_TRUE(message.identifier() == "Orvex:" + name && texts.insert(message.text()).second);
        kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(message);
        try {
            kvxThrowIExceptionFromDiagnostic(diagnostic, nullptr);
        } catch (std::exception const& e) {
            EXPECT_EQ(e.what(), message.text());
            EXPECT_EQ(dynamic_cast<kvxDiagnosticException const&>(e).identifier(), message.identifier());
        }
        EXPECT_EQ(diagnostic, nullptr);
        EXPECT_THROW(NumberUtils::throwIExceptionFromMessageID(message), kvxDiagnosticException);
        NumberUtils::reportWarningFromMessageID(message);
        EXPECT_EQ(heard, message.identifier() + message.text());
    }
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
    for (double const value : values) {
        std::string const text = kvx_dtoa(value, true);
        EXPECT_TRUE(sameDouble(std::strtod(text.c_str(), nullptr), value)) << text;
        for (int i = 0; i < 36 && std::isfinite(value); ++i) {
            char other[64];
            std::snprintf(other, sizeof other, i < 18 ? "%.*g" : "%.*e", i % 18, value);
            EXPECT_TRUE(text.size() <= std::string(other).size() ||
                        !sameDouble(std::strtod(other, nullptr), value))
                << text << ' ' << other;
        }
    }
    EXPECT_EQ(kvx_dtoa(0.1, true) + kvx_dtoa(-0.0, true) + kvx_dtoa(5e-324, true), "0.1-05e-324");
    EXPECT_EQ(kvx_dtoa(-std::numeric_limits<double>::infinity(), true) + kvx_dtoa(std::nan(""), true) +
                  kvx_dtoa(1.0 / 3, false),
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
        EXPECT_EQ(feature.value(), 3);
        feature.countUse();
        KvxFeature::find("OfThisTest")->setValue(-1);
        KvxFeature::find("Silent")->setValue(2);
        feature.countUse();
        EXPECT_TRUE(feature.value() == -1 && lastValue == -1 && silent.value() == 2 &&
                    feature.useCount() == 2);
    }
}

} // namespace
