#include "client/nullclient.h"
#include "support/recordingclient.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace
{
using namespace orvextest;
using Client = OrvexClientInterface;

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

/// Position of a virtual operation in the table: the platform's member pointers hold 1 + 8 * position.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation)
{
    std::ptrdiff_t code = 0;
    std::memcpy(&code, &operation, sizeof code);
    return (code - 1) / 8;
}

kvxDiagnosticImpl* someDiagnostic()
{
    return kvxCreateDiagnosticFromMessageID(Orvex::typeBasic::SlopeWasNotFinite());
}

TEST(ClientInterface, SlotsStandInOrderWithTheirConstness)
{
    // Operations 2 to 21; the destructor takes the two slots before them.
    std::vector<std::ptrdiff_t> const slots{
        slotOf<char const* (Client::*)() const>(&Client::getClassName),
        slotOf<bool (Client::*)()>(&Client::isNullClient),
        slotOf<void (Client::*)()>(&Client::handleOverflowWrap),
        slotOf<void (Client::*)()>(&Client::handleSaturationToMin),
        slotOf<void (Client::*)()>(&Client::handleSaturationToMax),
        slotOf<void (Client::*)()>(&Client::handleUnderflow),
        slotOf<void (Client::*)()>(&Client::handleDivisionByZero),
        slotOf<void (Client::*)()>(&Client::handleScaledDoublePotentialOverflow),
        slotOf<void (Client::*)()>(&Client::handleScaledDoublePotentialUnderflow),
        slotOf<void (Client::*)(Chunk const*, fxpDataTypeProp const&, double, bool)>(
            &Client::reportNetScalingDiagnostic),
        slotOf<fxpProdHardware const* (Client::*)() const>(&Client::getProductionHardware),
        slotOf<FxpNetSlopeCorrectMethod (Client::*)() const>(&Client::getNetSlopeCorrectionMethod),
        slotOf<bool (Client::*)() const>(&Client::getUseFloatMulNetSlope),
        slotOf<bool (Client::*)() const>(&Client::getSupportStrictSingle),
        slotOf<void (Client::*)()>(&Client::initMaxSupportedWordLength),
        slotOf<void (Client::*)(kvxDiagnosticImpl*&)>(&Client::receiveFatalError_HoldOrThrow),
        slotOf<void (Client::*)(kvxDiagnosticImpl*&)>(&Client::receiveFatalErrorAlwaysThrow),
        slotOf<void (Client::*)(kvxDiagnosticImpl*&)>(&Client::receiveDiagnosticError),
        slotOf<kvxDiagnosticImpl* (Client::*)()>(&Client::releaseFatalError),
        slotOf<Client* (Client::*)()>(&Client::clone)};
    for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i + 2));
    static_assert(sizeof(Client) == 16 && sizeof(FxpClientNull) == 16);
}

TEST(ClientInterface, BaseAnswers)
{
    PlainClient client;
    EXPECT_STREQ(client.getClassName(), "OrvexClientInterface");
    EXPECT_FALSE(client.isNullClient() || client.getUseFloatMulNetSlope() || client.getSupportStrictSingle());
    EXPECT_FALSE(client.getHoldErrorFlag());
    EXPECT_EQ(client.getMaxSupportedWordLength(), 128);
    EXPECT_EQ(client.getNetSlopeCorrectionMethod(), FxpNetSlopeCorrectMultiply);
    EXPECT_EQ(client.releaseFatalError(), nullptr);
    client.handleScaledDoublePotentialOverflow();
    client.handleScaledDoublePotentialUnderflow();
    client.reportNetScalingDiagnostic(nullptr, {}, 0.0, true);
    kvxDiagnosticImpl* diagnostic = someDiagnostic();
    EXPECT_THROW(client.receiveDiagnosticError(diagnostic), kvxDiagnosticException);
    EXPECT_EQ(diagnostic, nullptr);

    client.setHoldErrorFlag();
    client.setLongest(40);
    PlainClient copy(client), assigned;
    assigned = client;
    for (PlainClient* each : {&copy, &assigned}) {
        EXPECT_TRUE(each->getHoldErrorFlag());
        EXPECT_EQ(each->getMaxSupportedWordLength(), 40);
        each->resetHoldErrorFlag();
        each->initMaxSupportedWordLength();
        EXPECT_FALSE(each->getHoldErrorFlag());
        EXPECT_EQ(each->getMaxSupportedWordLength(), 128);
    }
}

TEST(NullClient, IsSilentThrowsDiagnosticsAndClonesToItself)
{
    FxpClientNull& null = ORVEX::client::nullClient();
    FxpClientNull* fromThread = nullptr;
    std::thread([&] { fromThread = &ORVEX::client::nullClient(); }).join();
    EXPECT_EQ(fromThread, &null);

    FxpClientNull client;
    client.setHoldErrorFlag(); // never holds all the same
    EXPECT_STREQ(client.getClassName(), "FxpClientNull");
    EXPECT_TRUE(client.isNullClient());
    EXPECT_EQ(client.getProductionHardware(), nullptr);
    EXPECT_EQ(client.getMaxSupportedWordLength(), 128);
    EXPECT_EQ(client.clone(), &client);
    for (auto const hook :
         {&Client::handleOverflowWrap, &Client::handleSaturationToMin, &Client::handleSaturationToMax,
          &Client::handleUnderflow, &Client::handleDivisionByZero})
        EXPECT_NO_THROW((client.*hook)());
    for (auto const hook : {&Client::receiveFatalError_HoldOrThrow, &Client::receiveFatalErrorAlwaysThrow,
                            &Client::receiveDiagnosticError}) {
        kvxDiagnosticImpl* diagnostic = someDiagnostic();
        EXPECT_THROW((client.*hook)(diagnostic), kvxDiagnosticException);
        EXPECT_EQ(diagnostic, nullptr);
    }
    EXPECT_EQ(client.releaseFatalError(), nullptr);
}

} // namespace
