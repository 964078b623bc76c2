#include <orvex/client/fxpclientfullprecision.h>
#include <orvex/client/fxpclientwithreporting.h>
#include <orvex/foundation/messages.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace
{

using Client = OrvexClientInterface;
using Reporting = FxpClientWithReporting;

fxpProdHardware micro()
{
    return fxpProdHardware(ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingFloor);
}

struct Event {
    char const* name;
    void (Client::*call)();
    bool saturates;
};
constexpr Event events[] = {
    {"wrap", &Client::handleOverflowWrap, false},
    {"saturation to min", &Client::handleSaturationToMin, true},
    {"saturation to max", &Client::handleSaturationToMax, true},
    {"underflow", &Client::handleUnderflow, false},
    {"division by zero", &Client::handleDivisionByZero, false},
    {"scaled double overflow", &Client::handleScaledDoublePotentialOverflow, false},
    {"scaled double underflow", &Client::handleScaledDoublePotentialUnderflow, false},
};

TEST(StockClients, AnswersOfBothAndOfTheirClones)
{
    FxpClientFullPrecision full;
    Reporting reporting(micro());
    struct Row {
        Client& client;
        char const* name;
        bool asic;
        int rounding;
    };
    Row const rows[] = {{full, "FxpClientFullPrecision", true, 0},
                        {reporting, "FxpClientWithReporting", false, 1}};
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        row.client.setHoldErrorFlag();
        std::unique_ptr<Client> const clone(row.client.clone());
        for (Client* client : {&row.client, clone.get()}) {
            EXPECT_STREQ(client->getClassName(), row.name);
            EXPECT_FALSE(client->isNullClient());
            EXPECT_TRUE(client->getHoldErrorFlag());
            EXPECT_EQ(client->getMaxSupportedWordLength(), 128);
            EXPECT_EQ(client->getProductionHardware()->isHWDeviceTypeASIC(), row.asic);
            EXPECT_EQ(client->getProductionHardware()->isHWDeviceTypeMicropcessor(), !row.asic);
            EXPECT_EQ(client->getProductionHardware()->getHWIntDivRndMode(), row.rounding);
            for (Event const& event : events) EXPECT_NO_THROW((client->*event.call)()) << event.name;
        }
        HWIntegerWordLengths* const ofClone = clone->getProductionHardware()->getHWIntegerWordlengths();
        EXPECT_NE(ofClone, row.client.getProductionHardware()->getHWIntegerWordlengths());
    }
}

TEST(FxpClientWithReporting, OnlySaturationsAreRecorded)
{
    Reporting client(micro());
    for (Event const& event : events) {
        SCOPED_TRACE(event.name);
        EXPECT_FALSE(client.getOverFlowOccurred());
        (client.*event.call)();
        EXPECT_EQ(client.getOverFlowOccurred(), event.saturates);
        for (Event const& later : events)
            if (!later.saturates) (client.*later.call)();
        EXPECT_EQ(client.getOverFlowOccurred(), event.saturates) << "after other events";
        client.resetOverFlowOccurred();
    }
    {
        std::vector<std::jthread> workers;
        for (int i = 0; i < 4; ++i) workers.emplace_back([&] { client.handleSaturationToMax(); });
    }
    EXPECT_TRUE(client.getOverFlowOccurred()) << "from several threads";
}

TEST(FxpClientWithReporting, CopiesKeepTheFlagAndAreIndependent)
{
    fxpProdHardware hardware = micro();
    Reporting source(hardware);
    source.setHoldErrorFlag();
    hardware.createAsicDevice();
    EXPECT_TRUE(source.getProductionHardware()->isHWDeviceTypeMicropcessor())
        << "the argument has been copied";

    for (bool set : {false, true}) {
        if (set) source.handleSaturationToMin();
        Reporting copied(source);
        Reporting assigned{fxpProdHardware()};
        if (!set) assigned.handleSaturationToMax();
        assigned = source;
        std::unique_ptr<Client> const cloned(source.clone());
        for (Reporting* copy : {&copied, &assigned, dynamic_cast<Reporting*>(cloned.get())}) {
            EXPECT_EQ(copy->getOverFlowOccurred(), set);
            EXPECT_TRUE(copy->getHoldErrorFlag());
            EXPECT_TRUE(copy->getProductionHardware()->isHWDeviceTypeMicropcessor());
            set ? copy->resetOverFlowOccurred() : copy->handleSaturationToMax();
            EXPECT_EQ(source.getOverFlowOccurred(), set);
        }
    }
}

/// Counts the calls of receiveFatalErrorAlwaysThrow, and then throws as its base does.
template <class Base>
struct Counting final : Base {
    using Base::Base;
    void receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*& diagnostic) override
    {
        ++calls;
        Base::receiveFatalErrorAlwaysThrow(diagnostic);
    }
    int calls = 0;
};

TEST(StockClients, FatalErrorsAreThrownAtOnce)
{
    Counting<FxpClientFullPrecision> full;
    Counting<Reporting> reporting(micro());
    struct Row {
        char const* name;
        Client& client;
        void (Client::*receive)(kvxDiagnosticImpl*&);
        int const& calls;
        int wantedCalls; ///< so far
    };
    constexpr auto holdOrThrow = &Client::receiveFatalError_HoldOrThrow;
    constexpr auto alwaysThrow = &Client::receiveFatalErrorAlwaysThrow;
    Row const rows[] = {
        {"full, hold or throw: through the override", full, holdOrThrow, full.calls, 1},
        {"full, always throw", full, alwaysThrow, full.calls, 2},
        {"reporting, hold or throw: past the override", reporting, holdOrThrow, reporting.calls, 0},
        {"reporting, always throw", reporting, alwaysThrow, reporting.calls, 1},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        row.client.setHoldErrorFlag();
        kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(Orvex::number::ArrayDimMustAgree());
        EXPECT_THROW((row.client.*row.receive)(diagnostic), kvxDiagnosticException);
        EXPECT_EQ(diagnostic, nullptr);
        EXPECT_EQ(row.calls, row.wantedCalls);
        EXPECT_EQ(row.client.releaseFatalError(), nullptr);
    }
}

} // namespace
