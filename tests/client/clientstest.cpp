#include "client/nullclient.h"
#include "support/numbers.h"

#include <orvex/client/eventcounter.h>
#include <orvex/client/fxpclientfullprecision.h>
#include <orvex/client/fxpclientwithreporting.h>
#include <orvex/number/replay.h>

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace
{
using namespace orvextest;
using ORVEX::EventCounter, ORVEX::EventCounts, ORVEX::EventKind, ORVEX::EventLog, ORVEX::ForwardingClient;
using Client = OrvexClientInterface;
using Reporting = FxpClientWithReporting;
using Pass = ForwardingClient::Pass;
using Entries = std::vector<EventLog::Entry>;

// The kinds stand in the order of the events that tests know.
EventKind kindOf(Event event) { return static_cast<EventKind>(event); }

constexpr void (Client::*hooks[])() = {&Client::handleOverflowWrap,
                                       &Client::handleSaturationToMin,
                                       &Client::handleSaturationToMax,
                                       &Client::handleUnderflow,
                                       &Client::handleDivisionByZero,
                                       &Client::handleScaledDoublePotentialOverflow,
                                       &Client::handleScaledDoublePotentialUnderflow};

void raise(Client& client, Event event)
{
    auto const i = static_cast<std::size_t>(event);
    Chunk const chunk = 5;
    if (i < std::size(hooks)) return (client.*hooks[i])();
    if (event != Event::diagnosticError)
        return client.reportNetScalingDiagnostic(&chunk, s(8), 0.5, event == Event::netSlope);
    kvxDiagnosticImpl* diagnostic = new kvxDiagnosticImpl("a:b", "text");
    client.receiveDiagnosticError(diagnostic);
}

fxpProdHardware const micro(ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingFloor);

/// Hands over a diagnostic that has to be thrown.
void expectThrown(Client& client, void (Client::*receive)(kvxDiagnosticImpl*&))
{
    kvxDiagnosticImpl* diagnostic = kvxCreateDiagnosticFromMessageID(Orvex::typeBasic::SlopeWasNotFinite());
    EXPECT_THROW((client.*receive)(diagnostic), kvxDiagnosticException);
    EXPECT_TRUE(diagnostic == nullptr && client.releaseFatalError() == nullptr);
}

/// Positions in the table of virtual operations: the platform's member pointers hold 1 + 8 * position.
template <class... Operation>
std::vector<std::ptrdiff_t> slotsOf(Operation... operations)
{
    auto const slotOf = [](auto operation) {
        std::ptrdiff_t code = 0;
        std::memcpy(&code, &operation, sizeof code);
        return (code - 1) / 8;
    };
    return {slotOf(operations)...};
}

TEST(Clients, SlotsStandInOrder)
{
    std::vector<std::ptrdiff_t> const slots = slotsOf(
        &Client::getClassName, &Client::isNullClient, hooks[0], hooks[1], hooks[2], hooks[3], hooks[4],
        hooks[5], hooks[6], &Client::reportNetScalingDiagnostic, &Client::getProductionHardware,
        &Client::getNetSlopeCorrectionMethod, &Client::getUseFloatMulNetSlope,
        &Client::getSupportStrictSingle, &Client::initMaxSupportedWordLength,
        &Client::receiveFatalError_HoldOrThrow, &Client::receiveFatalErrorAlwaysThrow,
        &Client::receiveDiagnosticError, &Client::releaseFatalError, &Client::clone);
    for (std::size_t i = 0; i < slots.size(); ++i) // after the two of the destructor
        EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i + 2));
    static_assert(sizeof(Client) == 16 && sizeof(FxpClientNull) == 16);
}

/// Of all clients and their clones: class name, and rounding of the hardware, or '-' for none.
TEST(Clients, AnswersOfAllAndOfTheirClones)
{
    FxpClientNull null;
    FxpClientFullPrecision full;
    Reporting reporting(micro);
    EventCounter counter;
    EventLog log;
    std::pair<Client*, std::string> const rows[] = {{&null, "FxpClientNull -"},
                                                    {&full, "FxpClientFullPrecision 0"},
                                                    {&reporting, "FxpClientWithReporting 1"},
                                                    {&counter, "EventCounter 0"},
                                                    {&log, "EventLog 0"}};
    for (auto const& [original, wanted] : rows) {
        SCOPED_TRACE(wanted);
        bool const isNull = original == &null;
        original->setHoldErrorFlag();
        Client* const clone = original->clone();
        EXPECT_EQ(clone == original, isNull);
        for (Client* client : {original, clone}) {
            fxpProdHardware const *const hardware = client->getProductionHardware(),
                                         *const first = original->getProductionHardware();
            EXPECT_EQ(client->getClassName() +
                          (hardware ? ' ' + std::to_string(hardware->getHWIntDivRndMode()) : " -"),
                      wanted);
            EXPECT_TRUE(hardware == nullptr || hardware->isHWDeviceTypeASIC() == (original != &reporting));
            EXPECT_TRUE(client->isNullClient() == isNull && client->getHoldErrorFlag());
            EXPECT_FALSE(client->getUseFloatMulNetSlope() || client->getSupportStrictSingle());
            EXPECT_EQ(client->getMaxSupportedWordLength(), 128);
            EXPECT_EQ(client->getNetSlopeCorrectionMethod(), FxpNetSlopeCorrectMultiply);
            EXPECT_EQ(client->releaseFatalError(), nullptr);
            for (int i = 0; i < 9; ++i) EXPECT_NO_THROW(raise(*client, static_cast<Event>(i))) << i;
            expectThrown(*client, &Client::receiveDiagnosticError);
            EXPECT_EQ(thrownBy([&] { raise(*client, Event::diagnosticError); }), "a:b");
            EXPECT_TRUE(client == original || hardware == nullptr || original == &counter ||
                        original == &log ||
                        hardware->getHWIntegerWordlengths() != first->getHWIntegerWordlengths());
        }
        if (!isNull) delete clone;
    }
    RecordingClient recording;
    EXPECT_STREQ(recording.Client::getClassName(), "OrvexClientInterface");
    recording.setMaxSupportedWordLength(40);
    recording.setHoldErrorFlag();
    std::unique_ptr<Client> const copy(recording.clone()); // assigns the base
    EXPECT_TRUE(copy->getHoldErrorFlag() && copy->getMaxSupportedWordLength() == 40);
    copy->resetHoldErrorFlag();
    copy->initMaxSupportedWordLength();
    EXPECT_TRUE(!copy->getHoldErrorFlag() && copy->getMaxSupportedWordLength() == 128);
    FxpClientNull* fromThread = nullptr;
    std::thread([&] { fromThread = &ORVEX::client::nullClient(); }).join();
    EXPECT_EQ(fromThread, &ORVEX::client::nullClient());
}

TEST(Clients, ReportingKeepsSaturationsAlone)
{
    fxpProdHardware hardware = micro;
    Reporting source(hardware);
    source.setHoldErrorFlag();
    hardware.createAsicDevice(); // the argument has been copied
    for (int i = 0; i < 9; ++i) {
        auto const event = static_cast<Event>(i);
        bool const isSaturation = event == Event::saturationToMin || event == Event::saturationToMax;
        source.resetOverFlowOccurred();
        raise(source, event);
        EXPECT_EQ(source.getOverFlowOccurred(), isSaturation) << event;
        raise(source, Event::wrap);
        Reporting copied(source), assigned{fxpProdHardware()};
        if (!isSaturation) assigned.handleSaturationToMax();
        assigned = source;
        std::unique_ptr<Client> const cloned(source.clone());
        for (Reporting* copy : {&copied, &assigned, dynamic_cast<Reporting*>(cloned.get())}) {
            EXPECT_TRUE(copy->getOverFlowOccurred() == isSaturation && copy->getHoldErrorFlag() &&
                        copy->getProductionHardware()->isHWDeviceTypeMicropcessor());
            isSaturation ? copy->resetOverFlowOccurred() : copy->handleSaturationToMax();
            EXPECT_EQ(source.getOverFlowOccurred(), isSaturation) << event;
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
    Counting<Reporting> reporting(micro);
    for (Client* const client : std::initializer_list<Client*>{&null, &full, &reporting}) {
        client->setHoldErrorFlag();
        expectThrown(*client, &Client::receiveFatalError_HoldOrThrow);
        EXPECT_TRUE(full.calls == (client != &null) && reporting.calls == 0);
        if (client != &full) expectThrown(*client, &Client::receiveFatalErrorAlwaysThrow);
    }
    EXPECT_EQ(reporting.calls, 1);
}

TEST(EventClients, EveryEventIsHeardOnceAndPassedOn)
{
    for (Pass const pass : {Pass::all, Pass::questions}) {
        RecordingClient last;
        last.hardware = &micro;
        last.netSlopeMethod = FxpNetSlopeCorrectDivide;
        last.holdDiagnostics = true;
        last.setMaxSupportedWordLength(77);
        EventCounter counter(&last, pass);
        EventLog log(&counter);
        EventCounts expected;
        Events passedOn;
        Entries entries;
        for (int i = 0; i < 3 * static_cast<int>(ORVEX::eventKindCount); ++i) {
            auto const event = static_cast<Event>(i / 3);
            auto const element = static_cast<Chunk>(10 + i % 3);
            if (i % 3 > i / 3 % 3) continue; // some once, some twice, some three times
            log.setElement(element);
            raise(log, event);
            ++expected[kindOf(event)];
            entries.push_back({kindOf(event), element});
            if (pass == Pass::all || event == Event::diagnosticError) passedOn.push_back(event);
        }
        EXPECT_TRUE(counter.counts() == expected && log.counts() == expected && log.entries() == entries);
        EXPECT_EQ(last.events(), passedOn);
        EXPECT_EQ(expected.overflows(), 6U);
        EXPECT_TRUE(log.getProductionHardware() == &micro && log.getMaxSupportedWordLength() == 77 &&
                    log.getNetSlopeCorrectionMethod() == FxpNetSlopeCorrectDivide && !log.isNullClient());
        std::unique_ptr<Client> const counterClone(counter.clone()), logClone(log.clone());
        raise(*counterClone, Event::wrap);
        EXPECT_EQ(dynamic_cast<EventCounter&>(*counterClone).count(EventKind::wrap),
                  expected[EventKind::wrap] + 1);
        EXPECT_EQ(dynamic_cast<EventLog&>(*logClone).entries(), entries);
        EventCounter sum;
        ((sum += counter) += counter) += expected;
        EXPECT_EQ(sum.counts() - expected, expected + expected);
        counter = sum;
        EXPECT_EQ(counter.counts(), sum.counts());
        counter.reset(), log.clear();
        EXPECT_TRUE(counter.counts() == EventCounts{} && log.counts() == EventCounts{} &&
                    log.entries().empty());
        delete last.releaseFatalError();
    }
}

TEST(EventClients, CountsAreExactUnderParallelOperations)
{
    Reporting reporting(micro);
    EventCounter behind(&reporting), counter(&behind);
    EventLog log(&counter, Pass::all, 100);
    std::vector<double> values(20'000);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i % 5) * 100 - 200;
    Number number(values.data(), s(8), log, values.size(), fxpModeRoundingNearest, fxpModeOverflowSaturate,
                  false);
    number.setValue(values.data());
    EventCounts expected;
    expected[EventKind::saturationToMin] = 8'000;
    expected[EventKind::saturationToMax] = 8'000;
    for (EventCounts const& counts : {counter.counts(), behind.counts(), log.counts()})
        EXPECT_EQ(counts, expected);
    EXPECT_TRUE(log.entries().size() == 100 && reporting.getOverFlowOccurred());
}

TEST(EventClients, Texts)
{
    EventCounter counter;
    EXPECT_EQ(counter.summary(), "no events");
    raise(counter, Event::underflow);
    for (int i = 0; i < 12; ++i) raise(counter, Event::saturationToMax);
    EXPECT_EQ(counter.summary(), "12 saturations to the maximum, 1 underflow");
    EXPECT_EQ(counter.table(), R"(wraps                        0
saturations to the minimum   0
saturations to the maximum  12
underflows                   1
divisions by zero            0
potential overflows          0
potential underflows         0
net slopes                   0
net biases                   0
diagnostics                  0
)");
    EventLog log(nullptr, Pass::all, 2);
    raise(log, Event::wrap);
    EXPECT_EQ(log.text(), "wrap\n");
    log.setElement(7);
    for (int i = 0; i < 3; ++i) raise(log, Event::netBias);
    EXPECT_EQ(log.text(), "wrap\n7: net bias\nand 2 more\n");
}

TEST(Replay, StoresAndCastsTellTheElement)
{
    Random random(20);
    auto const append = [](Entries& entries, Chunk element, Events const& events) {
        for (Event const event : events) entries.push_back({kindOf(event), element});
    };
    for (int round = 0; round < 200; ++round) {
        bool const isComplex = random.coin();
        std::size_t const parts = isComplex ? 2 : 1;
        auto const mode = random.pick(allRoundings);
        auto const overflow = random.pick(bothOverflows);
        fxpDataTypeProp const source = random.radixType(100, -20, 20),
                              target = random.radixType(100, -20, 20);
        SCOPED_TRACE(testing::Message() << source << target << Modes({mode, overflow}));
        RecordingClient client;
        fxpDataTypeProp biased = source; // which may have no stored integer for 0.0
        biased.bias = random.doubleNear(source);
        std::vector<double> values;
        Entries expected;
        for (Chunk i = 0; i < 20 * parts; ++i) {
            values.push_back(random.doubleNear(source));
            append(expected, i / parts, quantize(values.back(), biased, mode, overflow).events);
        }
        EXPECT_EQ(ORVEX::replayStore(client, values.data(), 20, biased, mode, overflow, isComplex).entries(),
                  expected);
        Elements const elements = valuesOf(source, random, isComplex);
        Number const from = numberOf(source, elements, client, {mode, overflow});
        from.setIndex(1);
        expected.clear();
        for (Chunk i = 0; i < elements.size(); ++i)
            for (Int const& part : elements[i])
                append(expected, i, convert(part, source, target, mode, overflow).events);
        EXPECT_EQ(ORVEX::replayCast(from, target, mode, overflow).entries(), expected);
        EXPECT_TRUE(from.getIndex() == 1 && client.events().empty());
    }
}

TEST(Replay, BinaryOperations)
{
    RecordingClient client;
    Modes const saturate{fxpModeRoundingFloor, fxpModeOverflowSaturate};
    Number const a = numberOf(s(8), {{100}, {2}, {-100}, {0}}, client, saturate),
                 b = numberOf(s(8), {{2}, {0}, {3}, {1}}, client, saturate),
                 zero = numberOf(s(8), {{0}}, client, saturate);
    a.setDataTypeForNonAssignmentOpTimes(s(8));
    a.setIndex(2);
    auto const times = [](Number const& x, Number const& y) { return x * y; };
    auto const divide = [](Number const& x, Number const& y) { return Number::divide(x, y, s(8)); };
    Entries const byZero{{EventKind::divisionByZero, 1}};
    EXPECT_EQ(ORVEX::replay(a, b, times).entries(),
              (Entries{{EventKind::saturationToMax, 0}, {EventKind::saturationToMin, 2}}));
    EXPECT_EQ(ORVEX::replay(a, b, divide).entries(), byZero);
    EXPECT_EQ(ORVEX::replay(b, zero, divide).counts()[EventKind::divisionByZero], 4U);
    EXPECT_EQ(ORVEX::replay(zero, b, divide).entries(), byZero);
    EXPECT_TRUE(ORVEX::replay(a, numberOf(s(8), {}, client), times).entries().empty());
    a.setDataTypeForNonAssignmentOpPlus(s(7)); // both operands, the sum, and what is stored at last
    a.setDataTypeForBinaryOpOutput(s(6));
    EXPECT_EQ(ORVEX::replay(a, zero, [](auto& x, auto&) { return x + x; }).entries().size(), 8U);
    EXPECT_EQ(a.getIndex(), 2U);
    EXPECT_EQ(elementsOf(a), (Elements{{100}, {2}, {-100}, {0}}));
    EXPECT_EQ(client.events(), Events{});
}

} // namespace
