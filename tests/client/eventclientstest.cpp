#include "support/numbers.h"

#include <orvex/client/eventcounter.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/number/replay.h>

#include <gtest/gtest.h>

#include <numeric>

namespace
{

using namespace orvextest;
using ORVEX::EventCounter, ORVEX::EventCounts, ORVEX::EventKind, ORVEX::EventLog;
using Client = OrvexClientInterface;
using Pass = ORVEX::ForwardingClient::Pass;

// The kinds stand in the order of the events that tests know.
EventKind kindOf(Event event) { return static_cast<EventKind>(event); }

void raise(Client& client, Event event)
{
    Chunk const chunk = 5;
    auto const tell = [&](bool isSlope) { client.reportNetScalingDiagnostic(&chunk, s(8), 0.5, isSlope); };
    switch (event) {
    case Event::wrap: return client.handleOverflowWrap();
    case Event::saturationToMin: return client.handleSaturationToMin();
    case Event::saturationToMax: return client.handleSaturationToMax();
    case Event::underflow: return client.handleUnderflow();
    case Event::divisionByZero: return client.handleDivisionByZero();
    case Event::scaledDoubleOverflow: return client.handleScaledDoublePotentialOverflow();
    case Event::scaledDoubleUnderflow: return client.handleScaledDoublePotentialUnderflow();
    case Event::netSlope: return tell(true);
    case Event::netBias: return tell(false);
    case Event::diagnosticError:
        kvxDiagnosticImpl* diagnostic = new kvxDiagnosticImpl("a:b", "text");
        return client.receiveDiagnosticError(diagnostic);
    }
}

constexpr int eventCount = static_cast<int>(ORVEX::eventKindCount);

TEST(EventClients, EveryEventIsHeardOnceAndPassedOn)
{
    fxpProdHardware const micro(ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingFloor);
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
        std::vector<EventLog::Entry> entries;
        for (int i = 0; i < eventCount; ++i)
            for (int times = 0; times <= i % 3; ++times) {
                Event const event = static_cast<Event>(i);
                log.setElement(static_cast<Chunk>(10 + times));
                raise(log, event);
                ++expected[kindOf(event)];
                entries.push_back({kindOf(event), static_cast<Chunk>(10 + times)});
                if (pass == Pass::all || event == Event::diagnosticError) passedOn.push_back(event);
            }
        EXPECT_EQ(counter.counts(), expected);
        EXPECT_EQ(log.counts(), expected);
        EXPECT_EQ(log.entries(), entries);
        EXPECT_EQ(last.events(), passedOn);
        EXPECT_EQ(expected.overflows(), 6U);
        EXPECT_EQ(log.getProductionHardware(), &micro);
        EXPECT_EQ(log.getNetSlopeCorrectionMethod(), FxpNetSlopeCorrectDivide);
        EXPECT_EQ(log.getMaxSupportedWordLength(), 77);
        EXPECT_FALSE(log.isNullClient());

        std::unique_ptr<Client> const counterClone(counter.clone()), logClone(log.clone());
        raise(*counterClone, Event::wrap);
        EXPECT_EQ(dynamic_cast<EventCounter&>(*counterClone).count(EventKind::wrap),
                  expected[EventKind::wrap] + 1);
        EXPECT_EQ(dynamic_cast<EventLog&>(*logClone).entries(), entries);
        EXPECT_EQ(counter.counts(), expected);

        EventCounter sum;
        ((sum += counter) += counter) += expected;
        EXPECT_EQ(sum.counts() - expected, expected + expected);
        counter = sum;
        EXPECT_EQ(counter.counts(), sum.counts());
        counter.reset();
        log.clear();
        EXPECT_EQ(counter.counts(), EventCounts{});
        EXPECT_TRUE(log.entries().empty());
        EXPECT_EQ(log.counts(), EventCounts{});
        delete last.releaseFatalError();
    }
}

TEST(EventClients, AloneTheyStandForAnAsicAndThrowDiagnostics)
{
    EventCounter counter;
    EventLog log;
    for (ORVEX::ForwardingClient* const client :
         {static_cast<ORVEX::ForwardingClient*>(&counter), static_cast<ORVEX::ForwardingClient*>(&log)}) {
        EXPECT_TRUE(client->getProductionHardware()->isHWDeviceTypeASIC());
        EXPECT_EQ(thrownBy([&] { raise(*client, Event::diagnosticError); }), "a:b");
        EXPECT_EQ(client->getMaxSupportedWordLength(), 128);
    }
    EXPECT_EQ(counter.count(EventKind::diagnostic), 1U);
    EXPECT_STREQ(counter.getClassName(), "EventCounter");
    EXPECT_STREQ(log.getClassName(), "EventLog");
}

TEST(EventClients, CountsAreExactUnderParallelOperations)
{
    EventCounter behind;
    EventCounter counter(&behind);
    EventLog log(&counter, Pass::all, 100);
    std::vector<double> values(20'000);
    EventCounts expected;
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<double>(i % 5) * 100 - 200;
        if (values[i] < -128) ++expected[EventKind::saturationToMin];
        if (values[i] > 127) ++expected[EventKind::saturationToMax];
    }
    Number number(values.data(), s(8), log, values.size(), fxpModeRoundingNearest, fxpModeOverflowSaturate,
                  false);
    number.setValue(values.data());
    expected += expected;
    EXPECT_EQ(counter.counts(), expected);
    EXPECT_EQ(behind.counts(), expected);
    EXPECT_EQ(log.counts(), expected);
    EXPECT_EQ(log.entries().size(), 100U);
}

TEST(EventClients, Texts)
{
    EventCounter counter;
    EXPECT_EQ(counter.summary(), "no events");
    raise(counter, Event::underflow);
    for (int i = 0; i < 12; ++i) raise(counter, Event::saturationToMax);
    EXPECT_EQ(counter.summary(), "12 saturations to the maximum, 1 underflow");
    EXPECT_EQ(counter.table(), "wraps                        0\n"
                               "saturations to the minimum   0\n"
                               "saturations to the maximum  12\n"
                               "underflows                   1\n"
                               "divisions by zero            0\n"
                               "potential overflows          0\n"
                               "potential underflows         0\n"
                               "net slopes                   0\n"
                               "net biases                   0\n"
                               "diagnostics                  0\n");
    EventLog log(nullptr, Pass::all, 2);
    raise(log, Event::wrap);
    log.setElement(7);
    for (int i = 0; i < 3; ++i) raise(log, Event::netBias);
    EXPECT_EQ(log.text(), "wrap\n7: net bias\nand 2 more\n");
}

/// Entries of all elements in their order.
void append(std::vector<EventLog::Entry>& entries, Chunk element, Events const& events)
{
    for (Event const event : events) entries.push_back({kindOf(event), element});
}

TEST(Replay, StoresAndCastsTellTheElement)
{
    Random random(20);
    for (int round = 0; round < 200; ++round) {
        bool const isComplex = random.coin();
        std::size_t const parts = isComplex ? 2 : 1;
        Modes const modes{random.pick(allRoundings), random.pick(bothOverflows)};
        auto const mode = static_cast<fxpModeRounding_tag>(modes.round);
        auto const overflow = static_cast<fxpModeOverflow_tag>(modes.sat);
        fxpDataTypeProp source = random.radixType(100, -20, 20), target = random.radixType(100, -20, 20);
        SCOPED_TRACE(testing::Message() << source << target << modes);

        RecordingClient client;
        std::vector<double> values;
        std::vector<EventLog::Entry> expected;
        for (Chunk i = 0; i < 20 * parts; ++i) {
            values.push_back(random.doubleNear(source));
            append(expected, i / parts, quantize(values.back(), source, modes.round, modes.sat).events);
        }
        EXPECT_EQ(ORVEX::replayStore(client, values.data(), 20, source, mode, overflow, isComplex).entries(),
                  expected);

        Elements const elements = valuesOf(source, random, isComplex);
        Number const from = numberOf(source, elements, client, modes);
        from.setIndex(1);
        expected.clear();
        for (Chunk i = 0; i < elements.size(); ++i)
            for (Int const& part : elements[i])
                append(expected, i, convert(part, source, target, modes.round, modes.sat).events);
        EXPECT_EQ(ORVEX::replayCast(from, target, mode, overflow).entries(), expected);
        EXPECT_EQ(from.getIndex(), 1U);
        EXPECT_EQ(client.events(), Events{});
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
    using Entries = std::vector<EventLog::Entry>;
    EXPECT_EQ(ORVEX::replay(a, b, times).entries(),
              (Entries{{EventKind::saturationToMax, 0}, {EventKind::saturationToMin, 2}}));
    EXPECT_EQ(ORVEX::replay(a, b, divide).entries(), (Entries{{EventKind::divisionByZero, 1}}));
    EXPECT_EQ(ORVEX::replay(b, zero, divide).counts()[EventKind::divisionByZero], 4U);
    EXPECT_EQ(ORVEX::replay(zero, b, divide).entries(), (Entries{{EventKind::divisionByZero, 1}}));
    EXPECT_TRUE(ORVEX::replay(a, numberOf(s(8), {}, client), times).entries().empty());
    EXPECT_EQ(a.getIndex(), 2U);
    EXPECT_EQ(elementsOf(a), (Elements{{100}, {2}, {-100}, {0}}));
    EXPECT_EQ(client.events(), Events{});
}

} // namespace
