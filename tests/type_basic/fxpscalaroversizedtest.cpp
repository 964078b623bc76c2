#include "support/oracle.h"
#include "support/recordingclient.h"

#include <orvex/type_basic/fxpscalaroversized.h>

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;

std::vector<Chunk> chunksIn(fxpScalarOversized const& value)
{
    return {value.readWord(0) | Chunk{value.readWord(1)} << 32,
            value.readWord(2) | Chunk{value.readWord(3)} << 32};
}

TEST(ScalarOversized, MirrorsTheChunkOperations)
{
    Random random(8);
    fxpScalarOversized value;
    for (fxpDataTypeProp const& type : seamTypes(-3)) {
        SCOPED_TRACE(type);
        value.setToMin(type);
        EXPECT_EQ(chunksIn(value), chunksOf(minStored(type), 2));
        value.setToMax(type);
        EXPECT_EQ(chunksIn(value), chunksOf(maxStored(type), 2));
        for (double const x : {0.1, random.doubleNear(type), random.doubleNear(type), -0x1p500}) {
            RecordingClient client;
            value.storeRadixDouble(client, type, x, fxpModeRoundingConvergent, x < 0);
            Outcome const want = quantizeRadix(x, type, fxpModeRoundingConvergent, x < 0);
            EXPECT_TRUE(chunksIn(value) == chunksOf(want.stored, 2) && client.events() == want.events) << x;
        }
        if (type.wordLength > 128) continue; // the value does not hold it whole
        for (Int const& stored : interestingStored(type, random, 2))
            for (int const bits : {-129, -65, -33, -1, 0, 1, 31, 64, 127, 200}) {
                RecordingClient client;
                for (int i = 0; i < 4; ++i)
                    value.writeWord(
                        i, static_cast<std::uint32_t>(floorOf(scaled(stored, -32 * i)) & 0xffffffffu));
                value.shift(client, type, bits);
                Int const moved = floorOf(scaled(stored, -bits));
                EXPECT_EQ(chunksIn(value), chunksOf(bits < 0 ? wrapTo(moved, type) : moved, 2))
                    << stored << bits;
                bool const lost = bits > 0 && bits >= type.getWordLengthNonSign() && stored > 0;
                EXPECT_EQ(client.events(), lost ? Events{Event::underflow} : Events{}) << stored << bits;
            }
    }
}

} // namespace
