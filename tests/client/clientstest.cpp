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

/// Expects operations at positions of the table of virtual ones that rise from 2 on, after the two of the
/// destructor. The platform's member pointers hold 1 + 8 * position.
template <class... Operation>
void expectSlots(Operation... operations)
{
    std::ptrdiff_t code = 0, wanted = 9;
    for (void const* const it : {static_cast<void const*>(&operations)...}) {
        std::memcpy(&code, it, sizeof code);
        EXPECT_EQ(code, wanted += 8);
    }
}

TEST(Clients, SlotsStandInOrder)
{
    expectSlots(&Client::getClassName, &Client::isNullClient, hooks[0], hooks[1], hooks[2], hooks[3],
                hooks[4], hooks[5], hooks[6], &Client::reportNetScalingDiagnostic,
                &Client::getProductionHardware, &Client::getNetSlopeCorrectionMethod,
                &Client::getUseFloatMulNetSlope, &Client::getSupportStrictSingle,
                &Client::initMaxSupportedWordLength, &Client::receiveFatalError_HoldOrThrow,
                &Client::receiveFatalErrorAlwaysThrow, &Client::receiveDiagnosticError,
                &Client::releaseFatalError, &Client::clone);
    static_assert(sizeof(Client) == 16 && sizeof(FxpClientNull) == 16);
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

/// Class, hardware and its rounding, what is true, the longest word; for how a diagnostic is received,
/// whether it is thrown. Events are heard in silence.
std::string answersOf(Client& client)
{
    fxpProdHardware const* const hardware = client.getProductionHardware();
    std::ostringstream text;
    text << client.getClassName() << ' ';
    if (hardware != nullptr)
        text << (hardware->isHWDeviceTypeASIC() ? "asic " : "micro ") << hardware->getHWIntDivRndMode();
    text << (client.isNullClient() ? " null" : "") << (client.getHoldErrorFlag() ? " holds" : "")
         << (client.getUseFloatMulNetSlope() || client.getSupportStrictSingle() ? " more" : "") << ' '
         << client.getMaxSupportedWordLength() << ' ' << client.getNetSlopeCorrectionMethod() << ' ';
    for (int i = 0; i < 10; ++i) text << thrownBy([&] { raise(client, static_cast<Event>(i)); });
    for (auto const receive : {&Client::receiveFatalError_HoldOrThrow, &Client::receiveFatalErrorAlwaysThrow,
                               &Client::receiveDiagnosticError}) {
        auto* diagnostic = new kvxDiagnosticImpl("c:d", "text");
        text << ' ' << thrownBy([&] { (client.*receive)(diagnostic); });
        EXPECT_TRUE(diagnostic == nullptr && client.releaseFatalError() == nullptr);
    }
    return text.str();
}

/// Errors are thrown even while they are to be held. Only the reporting client's "hold or throw" goes past an
/// override.
TEST(Clients, AnswersOfAllAndOfTheirClones)
{
    FxpClientNull null;
    FxpClientFullPrecision full;
    Reporting reporting(micro);
    EventCounter counter;
    EventLog log;
    for (auto const& [original, wanted] : std::initializer_list<std::pair<Client*, std::string>>{
             {&null, "FxpClientNull  null"},
             {&full, "FxpClientFullPrecision asic 0"},
             {&reporting, "FxpClientWithReporting micro 1"},
             {&counter, "EventCounter asic 0"},
             {&log, "EventLog asic 0"}}) {
        original->setHoldErrorFlag();
        Client* const clone = original->clone();
        EXPECT_EQ(clone == original, original == &null);
        EXPECT_EQ(clone->getProductionHardware() == original->getProductionHardware(),
                  original != &full && original != &reporting);
        for (Client* const client : {original, clone})
            EXPECT_EQ(answersOf(*client), wanted + " holds 128 0 a:b c:d c:d c:d");
        if (clone != original) delete clone;
    }
    Counting<FxpClientFullPrecision> countingFull;
    Counting<Reporting> countingReporting(micro);
    answersOf(countingFull), answersOf(countingReporting);
    EXPECT_EQ(countingFull.calls - countingReporting.calls, 1);
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
        raise(source, Event::wrap);
        Reporting copied(source), assigned{fxpProdHardware()};
        if (!isSaturation) assigned.handleSaturationToMax();
        assigned = source;
        std::unique_ptr<Client> const cloned(source.clone());
        for (Reporting* copy : {&copied, &assigned, dynamic_cast<Reporting*>(cloned.get())}) {
            EXPECT_TRUE(copy->getOverFlowOccurred() == isSaturation && copy->getHoldErrorFlag() &&
                        copy->getProductionHardware()->isHWDeviceTypeMicropcessor())
                << event;
            isSaturation ? copy->resetOverFlowOccurred() : copy->handleSaturationToMax();
            EXPECT_EQ(source.getOverFlowOccurred(), isSaturation) << event;
        }
    }
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
        for (int i = 0; i < 30; ++i) {
            auto const event = static_cast<Event>(i / 3);
            if (i % 3 > i / 3 % 3) continue; // some once, some twice, some three times
            log.setElement(static_cast<Chunk>(i));
            raise(log, event);
            ++expected[kindOf(event)];
            entries.push_back({kindOf(event), static_cast<Chunk>(i)});
            if (pass == Pass::all || event == Event::diagnosticError) passedOn.push_back(event);
        }
        EXPECT_TRUE(counter.counts() == expected && log.counts() == expected && log.entries() == entries);
        EXPECT_TRUE(last.events() == passedOn && expected.overflows() == 6);
        EXPECT_TRUE(log.getProductionHardware() == &micro && log.getMaxSupportedWordLength() == 77 &&
                    log.getNetSlopeCorrectionMethod() == FxpNetSlopeCorrectDivide && !log.isNullClient());
        std::unique_ptr<Client> const counterClone(counter.clone()), logClone(log.clone());
        EXPECT_EQ(dynamic_cast<EventLog&>(*logClone).entries(), entries);
        auto& sum = dynamic_cast<EventCounter&>(*counterClone);
        (sum += counter) += expected;
        EXPECT_EQ(sum.counts() - expected, expected + expected);
        counter = sum;
        EXPECT_EQ(counter.counts(), sum.counts());
        counter.reset(), log.clear();
        EXPECT_TRUE(counter.counts() == EventCounts{} && log.counts() == EventCounts{} &&
                    log.entries().empty());
        delete last.releaseFatalError();
    }
}

TEST(EventClients, CountExactlyUnderParallelOperationsAndWriteTexts)
{
    Reporting reporting(micro);
    EventCounter behind(&reporting), counter(&behind);
    EventLog log(&counter, Pass::all, 2);
    EXPECT_EQ(counter.summary(), "no events");
    raise(log, Event::wrap);
    EXPECT_EQ(log.text(), "wrap\n");
    log.setElement(7);
    for (int i = 0; i < 3; ++i) raise(log, Event::netBias);
    EXPECT_EQ(log.text(), "wrap\n7: net bias\nand 2 more\n");
    std::vector<double> values(20'000);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i % 5) * 100 - 100;
    Number number(values.data(), s(8), log, values.size(), fxpModeRoundingNearest, fxpModeOverflowSaturate,
                  false);
    EXPECT_TRUE(reporting.getOverFlowOccurred() && counter.counts() == behind.counts() &&
                counter.counts() == log.counts());
    EXPECT_EQ(counter.summary(), "1 wrap, 8000 saturations to the maximum, 3 net biases");
    EXPECT_EQ(counter.table(), R"(wraps                          1
saturations to the minimum     0
saturations to the maximum  8000
underflows                     0
divisions by zero              0
potential overflows            0
potential underflows           0
net slopes                     0
net biases                     3
diagnostics                    0
)");
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
        Modes const modes{random.pick(allRoundings), random.pick(bothOverflows)};
        Type const source = random.radixType(100, -20, 20), target = random.radixType(100, -20, 20);
        SCOPED_TRACE(testing::Message() << source << target << modes);
        RecordingClient client;
        Type biased = source; // which may have no stored integer for 0.0
        biased.bias = random.doubleNear(source);
        std::vector<double> values;
        Entries stores, casts;
        for (Chunk i = 0; i < 20 * parts; ++i) {
            values.push_back(random.doubleNear(source));
            append(stores, i / parts, quantize(values.back(), biased, modes.round, modes.sat).events);
        }
        EXPECT_EQ(ORVEX::replayStore(client, values.data(), 20, biased, modes.rounding(), modes.overflow(),
                                     isComplex)
                      .entries(),
                  stores);
        Elements const elements = valuesOf(source, random, isComplex);
        Number const from = numberOf(source, elements, client, modes);
        from.setIndex(1);
        for (Chunk i = 0; i < elements.size(); ++i)
            for (Int const& part : elements[i])
                append(casts, i, convert(part, source, target, modes.round, modes.sat).events);
        EXPECT_EQ(ORVEX::replayCast(from, target, modes.rounding(), modes.overflow()).entries(), casts);
        EXPECT_TRUE(from.getIndex() == 1 && client.events().empty());
    }
}

TEST(Replay, BinaryOperations)
{
    RecordingClient client;
    Modes const saturate{fxpModeRoundingFloor, fxpModeOverflowSaturate};
    Elements const elements{{100}, {2}, {-100}, {0}};
    Number const a = numberOf(s(8), elements, client, saturate),
                 b = numberOf(s(8), {{2}, {0}, {3}, {1}}, client, saturate),
                 zero = numberOf(s(8), {{0}}, client, saturate), none = numberOf(s(8), {}, client);
    a.setDataTypeForNonAssignmentOpTimes(s(8));
    a.setIndex(2);
    auto const times = [](Number const& x, Number const& y) { return x * y; };
    auto const divide = [](Number const& x, Number const& y) { return Number::divide(x, y, s(8)); };
    EXPECT_EQ(ORVEX::replay(a, b, times).text(),
              "0: saturation to the maximum\n2: saturation to the minimum\n");
    EXPECT_EQ(ORVEX::replay(a, b, divide).text(), "1: division by zero\n");
    EXPECT_EQ(ORVEX::replay(b, zero, divide).counts()[EventKind::divisionByZero], 4U);
    EXPECT_EQ(ORVEX::replay(zero, b, divide).text() + ORVEX::replay(a, none, times).text(),
              "1: division by zero\n");
    a.setDataTypeForNonAssignmentOpPlus(s(7)); // both operands, the sum, and what is stored at last
    a.setDataTypeForBinaryOpOutput(s(6));
    EXPECT_EQ(ORVEX::replay(a, zero, [](auto& x, auto&) { return x + x; }).entries().size(), 8U);
    EXPECT_TRUE(a.getIndex() == 2 && elementsOf(a) == elements && client.events().empty());
}

} // namespace
