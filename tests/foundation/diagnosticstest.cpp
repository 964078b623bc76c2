#include "support/types.h"

#include <orvex/foundation/diagnostics.h>
#include <orvex/foundation/kvxfeature.h>
#include <orvex/foundation/numberutils.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <set>
#include <sstream>

namespace
{
using namespace orvextest;
using ORVEX::NumberUtils;

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
    double const infinity = std::numeric_limits<double>::infinity();
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
