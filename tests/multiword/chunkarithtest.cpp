#include "multiword/chunkarith.h"
#include "support/model.h"

namespace
{
using namespace orvextest;

void check(Type const& to, Int const& a, Type const& aType, Int const& b, Type const& bType, Modes modes)
{
    SCOPED_TRACE(testing::Message() << a << " of " << aType << " by " << b << " of " << bType);
    Value const x{aType, {a}}, y{bType, {b}}, before{to, {minStored(to) / 3}};
    Held const dividend(x), divisor(y);
    Model wanted(before, modes);
    wanted.combine(x, y, true);
    wanted.check("isQuotientOf", before,
                 [&](NumberBody& it) { it.isQuotientOf(dividend.body(), divisor.body()); });
}

/// The oracle itself, against what was worked out by hand.
TEST(ChunkDivide, Edges)
{
    constexpr auto low = Event::saturationToMin, high = Event::saturationToMax, wrap = Event::wrap,
                   byZero = Event::divisionByZero;
    constexpr int zero = fxpModeRoundingZero, nearest = fxpModeRoundingNearest, floor = fxpModeRoundingFloor;
    Type const word = s(130), s8 = s(8), u8 = u(8);
    struct Row {
        Int a, b;
        Type to;
        int mode, sat;
        Int container; // as the whole array holds it
        Events events;
    };
    Row const rows[] = {{0, 0, s8, zero, 1, 127, {byZero}},
                        {-1, 0, s8, zero, 0, -128, {byZero}},
                        {-1, 0, u8, zero, 0, 0, {byZero}},
                        {638, 5, s8, nearest, 1, 127, {high}}, // 127.6
                        {-128, -1, s8, zero, 1, 127, {high}},
                        {-128, -1, s8, zero, 0, -128, {wrap}},
                        {-641, 5, s8, nearest, 1, -128, {low}}, // -128.2
                        {-641, 5, s8, floor, 0, 127, {wrap}},
                        {-639, 5, s8, floor, 1, -128, {}}, // -127.8
                        {-384, 1, s8, zero, 0, -128, {wrap}},
                        {-769, 2, s8, zero, 0, 128, {wrap, wrap}}, // the sign extension is lost
                        {-1, 7, u8, zero, 1, 0, {high}},           // though it is nothing when rounded
                        {-257, 1, u8, zero, 0, ~0ULL, {wrap, wrap}},
                        {-1, 2, u8, floor, 0, 255, {wrap, wrap}},
                        {255, 2, u(7), nearest, 0, 0, {wrap}},
                        {-5, 2, s8, nearest, 0, -2, {}},
                        {-5, 2, s8, fxpModeRoundingHalfAway, 0, -3, {}},
                        {5, 2, s8, fxpModeRoundingConvergent, 0, 2, {}},
                        {1, 1000, s8, fxpModeRoundingCeiling, 0, 1, {}}};
    for (Row const& row : rows) {
        EXPECT_EQ(divide(row.a, word, row.b, word, row.to, row.mode, row.sat),
                  (Outcome{row.container, row.events}))
            << row.a << " / " << row.b << " into " << row.to << Modes{row.mode, row.sat};
        for (int mode = -1; mode <= fxpModeRoundingConvergent + 1; ++mode)
            for (int const sat : bothOverflows) check(row.to, row.a, word, row.b, word, {mode, sat});
    }
}

/// Long words, of runs and of chunks about which an estimated digit is too large.
TEST(ChunkDivide, LongOperands)
{
    constexpr std::array awkward{0ULL,  1ULL,  ~0ULL >> 1, 1ULL << 63, (1ULL << 63) + 1,
                                 ~1ULL, ~0ULL, 1ULL << 32, ~0ULL << 32};
    Random random(22);
    auto const anyOf = [&](Type const& type) {
        if (random.coin()) return random.pick(interestingStored(type, random, 3));
        std::vector<Chunk> chunks(chunkCount(type));
        std::ranges::generate(chunks, [&] { return random.pick(awkward); });
        return wrapTo(valueOf(chunks.data(), type) >> static_cast<unsigned>(random.between(0, 63)), type);
    };
    for (int i = 0; i < 10000 && !HasFailure(); ++i) {
        int const bits = random.pick(std::array{8, 128, 300, 900}), up = random.between(0, 130);
        Type aType = random.radixType(bits, -40, 40);
        Type const bType = random.radixType(bits, -40, 40);
        Int a = anyOf(aType);
        Int const b = anyOf(bType);
        int const whole = aType.fixedExponent - bType.fixedExponent,
                  far = random.pick(std::array{2, 40, 400, 1 << 29});
        Type to = random.radixType(bits, whole, whole);
        if (i % 40 == 1) // a quotient of many chunks
            to = fixedType(i % 80 == 1, random.between(1100, 1600), whole - random.between(1000, 1500));
        else if (i % 4 == 1 && a != 0 && b != 0) // about the limit
            to.wordLength =
                std::max(1, static_cast<int>(msb(abs(a))) - static_cast<int>(msb(abs(b))) + up % 3);
        else if (i % 4 == 2) { // just below a multiple: a digit is the largest, or an estimated one too large
            Int const factor = random.coin() ? Int(1) << 64 : Int(random.pick(awkward));
            aType.wordLength = bType.wordLength + 66;
            a = wrapTo(abs(b) * factor - random.pick(std::array<Int, 3>{1, abs(b) / 2, abs(b)}), aType);
        } else if (i % 4 == 3) { // about a multiple, or half of one
            a = wrapTo((b * random.between(-99, 99) << static_cast<unsigned>(up)) / 2 + random.between(-1, 1),
                       aType);
            to.fixedExponent += up;
        } else
            to.fixedExponent += random.between(-far, far);
        for (int const sat : bothOverflows) // a wrap for each bit would not end
            if (sat || to.fixedExponent > whole - 1000)
                check(to, a, aType, b, bType, {random.between(-1, 7), sat});
    }
}

/// Even where it has the type of the exact one.
TEST(ChunkProduct, MayLieOnItsOperands)
{
    namespace mw = ORVEX::multiword;
    Random random(23);
    for (Int const& x : interestingStored(s(128), random, 9))
        for (int const at : {-2, 0, 2, 4}) {
            std::vector<Chunk> chunks(8);
            Chunk* const place = chunks.data() + 2;
            std::ranges::copy(chunksOf(x, 2), place + at);
            RecordingClient client;
            mw::multiplyInto(client, mw::ChunkTarget(place, 4), s(256), place + at, s(128), mw::Two(),
                             place + at, s(128), mw::Two(), fxpModeRoundingFloor, 0);
            EXPECT_EQ(valueOf(place, s(256)), x * x) << at;
        }
}

} // namespace
