#include "support/numbers.h"

#include <orvex/number/cast.h>

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
using ORVEX::Cast;
using Type = fxpDataTypeProp;

TEST(Cast, ConvertsAnyShapeAndTellsTheClientOfTheInput)
{
    std::pair<Elements, Dims> const inputs[] = {{{{100}}, {1, 1}},
                                                {{}, {0, 3}},
                                                {{{1}, {-90}, {2}, {77}, {100}, {5}}, {2, 3}},
                                                {{{1, 100}, {-99, 7}, {60, 61}, {3, 5}}, {2, 1, 2}}};
    Modes const modes{fxpModeRoundingConvergent, 1};
    for (auto const& [elements, dims] : inputs)
        for (Type const& to : {s(5, -2), u(3), s(90, 1), fixedType(true, 4, -2, 1.0, 100.0)}) {
            SCOPED_TRACE(testing::Message() << to << testing::PrintToString(elements));
            RecordingClient own, client;
            Type const from = fixedType(true, 8, -3, 1.0, to.bias);
            Number const input = numberOf(from, elements, client, {fxpModeRoundingZero, 0}, dims);
            input.setIndex(1);
            Cast const cast(to, own, fxpModeRoundingConvergent, fxpModeOverflowSaturate);
            Number const got = cast(input);
            Elements want = elements;
            Events filling, events; // a biased result begins as 0.0
            for (Element& element : want)
                for (Int& part : element) {
                    Outcome const zero = quantize(0.0, to, modes.round, 1);
                    Outcome const outcome = convert(part, from, to, modes.round, 1);
                    part = outcome.stored;
                    filling.insert(filling.end(), zero.events.begin(), zero.events.end());
                    events.insert(events.end(), outcome.events.begin(), outcome.events.end());
                }
            filling.insert(filling.end(), events.begin(), events.end());
            EXPECT_EQ(elementsOf(got), want);
            EXPECT_EQ(client.events(), filling);
            EXPECT_EQ(own.events(), Events{});
            EXPECT_TRUE(got.getDataType() == to && dimsOf(got) == dims && &got.getFxpClient() == &client &&
                        got.getRoundMode() == modes.round && got.getOverflowMode() == 1);
            EXPECT_TRUE(input.getIndex() == 1 && got.getIndex() == 0);
            client.clear(); // the converting constructor is the same
            Number const made(input, to, fxpModeRoundingConvergent, fxpModeOverflowSaturate);
            EXPECT_TRUE(elementsOf(made) == want && client.events() == filling && made.getDataType() == to);
        }
}

TEST(Cast, HoldsItsSettingsAndLeavesDoublesAlone)
{
    RecordingClient client;
    Cast cast(s(8, -3), client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
    cast.setIsSigned(false), cast.setWordLength(70), cast.setFractionLength(5);
    Cast const copy(cast);
    cast.setRoundMode(fxpModeRoundingZero), cast.setOverflowMode(fxpModeOverflowWrap);
    EXPECT_TRUE(copy.getDataType() == u(70, -5) && !copy.isSigned() && copy.getWordLength() == 70);
    EXPECT_EQ(copy.getFractionLength(), 5);
    EXPECT_EQ(copy.getRoundMode(), fxpModeRoundingNearest);
    EXPECT_EQ(copy.getOverflowMode(), fxpModeOverflowSaturate);
    EXPECT_TRUE(cast.getRoundMode() == fxpModeRoundingZero && cast.getOverflowMode() == fxpModeOverflowWrap);
    EXPECT_EQ(&copy.getOrvexClientInterface(), &client);
    EXPECT_EQ(copy(1.2345), 1.2345);
}

} // namespace
