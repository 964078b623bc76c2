#include "client/nullclient.h"

#include <orvex/client/fxpclientfullprecision.h>
#include <orvex/client/fxpclientwithreporting.h>
#include <orvex/foundation/messages.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace
{
using Client = OrvexClientInterface;
using Reporting = FxpClientWithReporting;

/// Overrides what is pure and nothing else.
struct PlainClient : Client {
    void handleOverflowWrap() override {}
    void handleSaturationToMin() override {}
    void handleSaturationToMax() override {}
    void handleUnderflow() override {}
    void handleDivisionByZero() override {}
    fxpProdHardware const* getProductionHardware() const override { return nullptr; }
    void receiveFatalError_HoldOrThrow(kvxDiagnosticImpl*&) override {}
    void receiveFatalErrorAlwaysThrow(kvxDiagnosticImpl*&) override {}
    Client* clone() override { return new PlainClient(*this); }
    void setLongest(int bits) { maxSupportedWordLength = bits; }
};

struct Hook {
    char const* name;
    void (Client::*call)();
    bool saturates = false;
};
constexpr Hook hooks[] = {{"wrap", &Client::handleOverflowWrap},
                          {"saturation to min", &Client::handleSaturationToMin, true},
                          {"saturation to max", &Client::handleSaturationToMax, true},
                          {"underflow", &Client::handleUnderflow},
                          {"division by zero", &Client::handleDivisionByZero},
                          {"scaled double overflow", &Client::handleScaledDoublePotentialOverflow},
                          {"scaled double underflow", &Client::handleScaledDoublePotentialUnderflow}};

fxpProdHardware micro() { return {ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingFloor}; }

/// Hands over a diagnostic that has to be thrown.
void expectThrown(Client& client, void (Client::*receive)(kvxDiagnosticImpl*&))
{
    kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(Orvex::typeBasic::SlopeWasNotFinite());
    EXPECT_THROW((client.*receive)(diagnostic), kvxDiagnosticException);
    EXPECT_EQ(diagnostic, nullptr);
    EXPECT_EQ(client.releaseFatalError(), nullptr);
}

/// Position of a virtual operation in the table: the platform's member pointers hold 1 + 8 * position.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation)
{
    std::ptrdiff_t code = 0;
    std::memcpy(&code, &operation, sizeof code);
    return (code - 1) / 8;
}

TEST(Clients, SlotsStandInOrder)
{
    // Operations 2 to 21; the destructor takes the two slots before them.
    std::vector<std::ptrdiff_t> slots{slotOf(&Client::getClassName), slotOf(&Client::isNullClient)};
    for (Hook const& hook : hooks) slots.push_back(slotOf(hook.call));
    for (std::ptrdiff_t const slot :
         {slotOf(&Client::reportNetScalingDiagnostic), slotOf(&Client::getProductionHardware),
          slotOf(&Client::getNetSlopeCorrectionMethod), slotOf(&Client::getUseFloatMulNetSlope),
          slotOf(&Client::getSupportStrictSingle), slotOf(&Client::initMaxSupportedWordLength),
          slotOf(&Client::receiveFatalError_HoldOrThrow), slotOf(&Client::receiveFatalErrorAlwaysThrow),
          slotOf(&Client::receiveDiagnosticError), slotOf(&Client::releaseFatalError),
          slotOf(&Client::clone)})
        slots.push_back(slot);
    for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i + 2));
    static_assert(sizeof(Client) == 16 && sizeof(FxpClientNull) == 16);
}

TEST(Clients, AnswersOfAllAndOfTheirClones)
{
    PlainClient plain;
    FxpClientNull null;
    FxpClientFullPrecision full;
    Reporting reporting(micro());
    struct Row {
        Client& client;
        char const* name;
        int rounding; ///< of its hardware; -1 for none
        bool isAsic;
    };
    for (Row const& row :
         {Row{plain, "OrvexClientInterface", -1, false}, Row{null, "FxpClientNull", -1, false},
          Row{full, "FxpClientFullPrecision", 0, true}, Row{reporting, "FxpClientWithReporting", 1, false}}) {
        SCOPED_TRACE(row.name);
        bool const isNull = &row.client == &null;
        row.client.setHoldErrorFlag();
        Client* const clone = row.client.clone();
        EXPECT_EQ(clone == &row.client, isNull);
        for (Client* client : {&row.client, clone}) {
            EXPECT_STREQ(client->getClassName(), row.name);
            EXPECT_TRUE(client->isNullClient() == isNull && client->getHoldErrorFlag());
            EXPECT_FALSE(client->getUseFloatMulNetSlope() || client->getSupportStrictSingle());
            EXPECT_EQ(client->getMaxSupportedWordLength(), 128);
            EXPECT_EQ(client->getNetSlopeCorrectionMethod(), FxpNetSlopeCorrectMultiply);
            EXPECT_EQ(client->releaseFatalError(), nullptr);
            for (Hook const& hook : hooks) EXPECT_NO_THROW((client->*hook.call)()) << hook.name;
            EXPECT_NO_THROW(client->reportNetScalingDiagnostic(nullptr, {}, 0.0, true));
            expectThrown(*client, &Client::receiveDiagnosticError);
            fxpProdHardware const* const hardware = client->getProductionHardware();
            ASSERT_EQ(hardware == nullptr, row.rounding < 0);
            if (hardware == nullptr) continue;
            EXPECT_TRUE(hardware->isHWDeviceTypeASIC() == row.isAsic &&
                        hardware->getHWIntDivRndMode() == row.rounding);
            EXPECT_TRUE(client == &row.client ||
                        hardware->getHWIntegerWordlengths() !=
                            row.client.getProductionHardware()->getHWIntegerWordlengths());
        }
        if (!isNull) delete clone;
    }
    plain.setLongest(40);
    PlainClient copy(plain), assigned;
    assigned = plain;
    for (PlainClient* each : {&copy, &assigned}) {
        EXPECT_TRUE(each->getHoldErrorFlag() && each->getMaxSupportedWordLength() == 40);
        each->resetHoldErrorFlag();
        each->initMaxSupportedWordLength();
        EXPECT_TRUE(!each->getHoldErrorFlag() && each->getMaxSupportedWordLength() == 128);
    }
    FxpClientNull* fromThread = nullptr;
    std::thread([&] { fromThread = &ORVEX::client::nullClient(); }).join();
    EXPECT_EQ(fromThread, &ORVEX::client::nullClient());
}

TEST(ReportingClient, RecordsSaturationsAlone)
{
    Reporting client(micro());
    for (Hook const& hook : hooks) {
        SCOPED_TRACE(hook.name);
        EXPECT_FALSE(client.getOverFlowOccurred());
        (client.*hook.call)();
        EXPECT_EQ(client.getOverFlowOccurred(), hook.saturates);
        for (Hook const& later : hooks)
            if (!later.saturates) (client.*later.call)();
        EXPECT_EQ(client.getOverFlowOccurred(), hook.saturates) << "after other events";
        client.resetOverFlowOccurred();
    }
    {
        std::vector<std::jthread> workers;
        for (int i = 0; i < 4; ++i) workers.emplace_back([&] { client.handleSaturationToMax(); });
    }
    EXPECT_TRUE(client.getOverFlowOccurred()) << "from several threads";
}

TEST(ReportingClient, CopiesKeepTheFlagAndAreIndependent)
{
    fxpProdHardware hardware = micro();
    Reporting source(hardware);
    source.setHoldErrorFlag();
    hardware.createAsicDevice(); // the argument has been copied
    for (bool const set : {false, true}) {
        if (set) source.handleSaturationToMin();
        Reporting copied(source), assigned{fxpProdHardware()};
        if (!set) assigned.handleSaturationToMax();
        assigned = source;
        std::unique_ptr<Client> const cloned(source.clone());
        for (Reporting* copy : {&copied, &assigned, dynamic_cast<Reporting*>(cloned.get())}) {
            EXPECT_TRUE(copy->getOverFlowOccurred() == set && copy->getHoldErrorFlag());
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

/// Also while errors are to be held. Only the reporting client's "hold or throw" goes past an override.
TEST(Clients, FatalErrorsAreThrownAtOnce)
{
    FxpClientNull null;
    Counting<FxpClientFullPrecision> full;
    Counting<Reporting> reporting(micro());
    for (Client* const client : std::initializer_list<Client*>{&null, &full, &reporting}) {
        client->setHoldErrorFlag();
        expectThrown(*client, &Client::receiveFatalError_HoldOrThrow);
        EXPECT_TRUE(full.calls == (client != &null) && reporting.calls == 0);
        if (client != &full) expectThrown(*client, &Client::receiveFatalErrorAlwaysThrow);
    }
    EXPECT_EQ(reporting.calls, 1);
}

} // namespace
