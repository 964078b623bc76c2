#include "support/recordingclient.h"

#include <orvex/type_basic/slopenormalize.h>

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;

TEST(SlopeNormalize, NormalisesOrRepairsAndThenTells)
{
    double const infinity = std::numeric_limits<double>::infinity();
    std::string const none, low = "Orvex:typeBasic:SlopeWasNotStrictlyPositive",
                            wild = "Orvex:typeBasic:SlopeWasNotFinite";
    struct Row {
        double factor, wantFactor;
        int wantExponent;
        std::string message;
    };
    for (Row const& row : {Row{1.5, 1.5, 5, none},
                           {6.0, 1.5, 7, none},
                           {0x1p-1074, 1.0, -1069, none},
                           {0.0, 1.0, 5, low},
                           {-infinity, 1.0, 5, low},
                           {infinity, 1.0, 5, wild},
                           {std::nan(""), 1.0, 5, wild}}) {
        RecordingClient client;
        client.holdDiagnostics = true;
        fxpDataTypeProp const wanted = fixedType(true, 12, row.wantExponent, row.wantFactor, 2.5);
        fxpDataTypeProp type = fixedType(true, 12, 5, row.factor, 2.5);
        client.onEvent = [&](Event) { EXPECT_EQ(type, wanted); };
        ORVEX::slopeNormalize(client, &type);
        EXPECT_EQ(type, wanted) << row.factor;
        EXPECT_EQ(client.records().empty() ? none : client.records().back().identifier, row.message);
        delete client.releaseFatalError();
    }
}

} // namespace
