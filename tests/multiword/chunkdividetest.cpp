#include "multiword/chunkdivide.h"
#include "support/oracle.h"
#include "support/recordingclient.h"

#include <orvex/hardware/fxpprodhardware.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using Chunks = std::vector<Chunk>;

using Quotient = std::pair<Chunks, Events>;

/// A rounding mode, and for Cheapest what the target's own division does: -1 without a target.
struct Rounding {
    int mode, ofTarget;
    int resolved() const
    {
        if (mode != fxpModeRoundingCheapest) return mode;
        return ofTarget == FxpHardwareRoundingFloor ? fxpModeRoundingFloor : fxpModeRoundingZero;
    }
};
fxpProdHardware const targets[] = {{ProdHWDeviceMicro, FxpHardwareRoundingZero},
                                   {ProdHWDeviceMicro, FxpHardwareRoundingFloor},
                                   {ProdHWDeviceAsic, FxpHardwareRoundingUndefined}};
std::vector<Rounding> const roundings = [] {
    std::vector<Rounding> list;
    for (int mode = -1; mode <= fxpModeRoundingConvergent + 1; ++mode)
        for (int ofTarget = -1; ofTarget <= 2; ++ofTarget) list.push_back({mode, ofTarget});
    return list;
}();

/// The prescribed division, which jumps from one set bit of the quotient to the next: what its loop leaves,
/// before any rounding.
class BitByBit
{
public:
    BitByBit(Type const& to, Int const& a, Type const& aType, Int const& b, Type const& bType, int sat)
        : to_(to), sat_(sat)
    {
        divide(a, aType, b, bType);
    }

    /// The quotient under a mode.
    Quotient rounded(int mode) const
    {
        Quotient const truncated{chunksOf(q_, to_), events_};
        if (isExact_ || mode == fxpModeRoundingZero) return truncated;
        if (mode == fxpModeRoundingCeiling) return neg_ ? truncated : stepped(1);
        if ((mode != fxpModeRoundingNearest && mode < fxpModeRoundingHalfAway) ||
            mode > fxpModeRoundingConvergent)
            return neg_ ? stepped(-1) : truncated;
        if (place_ != to_.fixedExponent - 1LL) return truncated; // less than one half
        int const side = order_ < 0 ? 1 : compare();
        bool const isTieLeft =
            mode == fxpModeRoundingNearest ? neg_ : mode == fxpModeRoundingConvergent && q_ % 2 == 0;
        return side < 0 || (side == 0 && isTieLeft) ? truncated : stepped(neg_ ? -1 : 1);
    }

private:
    /// A magnitude; bit 0 has the weight 2^exponent.
    struct Scaled {
        Int value;
        long long exponent = 0;
        long long top() const { return static_cast<long long>(msb(value)) + exponent; }
        Int above(long long lowest) const { return value << static_cast<unsigned>(exponent - lowest); }
    };

    void divide(Int const& a, Type const& aType, Int const& b, Type const& bType)
    {
        if (b == 0) return extreme(a < 0, Event::divisionByZero);
        if (a == 0) return;
        neg_ = (a < 0) != (b < 0);
        if (neg_ && !to_.isSigned()) {
            events_.push_back(sat_ ? Event::saturationToMax : Event::wrap);
            if (sat_) return;
        }
        a_ = {abs(a), aType.fixedExponent};
        b_ = {abs(b), bType.fixedExponent};
        long long const origin = b_.exponent, lowest = to_.fixedExponent, top = lowest + to_.wordLength - 1,
                        magTop = top - (to_.isSigned() ? 1 : 0);
        isExact_ = false;
        for (place_ = a_.top() - b_.top(); place_ >= lowest;) {
            b_.exponent = origin + place_;
            if (order_ < 0)
                order_ = 1; // one position lower, what is left is certainly above
            else if (order_ = compare(); order_ < 0) {
                --place_;
                continue;
            }
            if (place_ > magTop) {
                if (neg_ && order_ == 0 && place_ <= top) return extreme(true);
                if (sat_) return extreme(neg_, neg_ ? Event::saturationToMin : Event::saturationToMax);
                events_.push_back(Event::wrap);
            }
            if (place_ <= top) { // a sign comes with its extension
                Int const bit = Int(1) << static_cast<unsigned>(place_ - lowest);
                q_ += place_ > magTop ? Int(-bit) : bit;
            }
            if (order_ == 0) {
                isExact_ = true;
                break;
            }
            long long const exponent = std::min(a_.exponent, b_.exponent);
            a_ = {a_.above(exponent) - b_.above(exponent), exponent};
            place_ = a_.top() - b_.top() + b_.exponent - origin;
        }
        b_.exponent = origin + place_;
        if (neg_) q_ = valueOf(chunksOf(-q_, to_).data(), to_);
    }

    int compare() const
    {
        long long const exponent = std::min(a_.exponent, b_.exponent);
        return a_.above(exponent).compare(b_.above(exponent));
    }

    void extreme(bool isLow, std::optional<Event> event = {})
    {
        q_ = isLow ? minStored(to_) : maxStored(to_);
        isExact_ = true;
        if (event) events_.push_back(*event);
    }

    /// One up or down. A sign extension is put right where the carry meets the top chunk.
    Quotient stepped(int step) const
    {
        Events events = events_;
        Int const limit = step < 0 ? minStored(to_) : maxStored(to_);
        if (q_ == limit) {
            events.push_back(!sat_      ? Event::wrap
                             : step < 0 ? Event::saturationToMin
                                        : Event::saturationToMax);
            if (sat_) return {chunksOf(q_, to_), events};
        }
        Int const next = q_ + step, wrapped = wrapTo(next, to_);
        Int const below = Int(1) << static_cast<unsigned>(64 * (chunkCount(to_) - 1));
        bool const isFixed =
            to_.isSigned() ? (step < 0 ? q_ : next) % below == 0 && (wrapped < 0) != (q_ < 0) : q_ == limit;
        return {chunksOf(isFixed ? wrapped : next, to_), events};
    }

    Type to_;
    int sat_;
    Scaled a_, b_;
    Int q_ = 0; ///< as the whole container holds it
    Events events_;
    long long place_ = 0;
    int order_ = 1; ///< of what is left to the divisor at the last position looked at
    bool neg_ = false, isExact_ = true;
};

/// The library's quotients against the prescribed ones. Chunks beyond a quotient have to stay as they are.
void check(Type const& to, Int const& a, Type const& aType, Int const& b, Type const& bType, int sat,
           std::vector<Rounding> const& list)
{
    BitByBit const reference(to, a, aType, b, bType, sat);
    Chunks const aChunks = chunksOf(a, aType), bChunks = chunksOf(b, bType);
    RecordingClient client;
    for (Rounding const& rounding : list) {
        client.hardware = rounding.ofTarget < 0 ? nullptr : &targets[rounding.ofTarget];
        client.clear();
        Quotient wanted = reference.rounded(rounding.resolved()), got{Chunks(chunkCount(to) + 1, 0xA5), {}};
        wanted.first.push_back(0xA5);
        ORVEX::multiword::divideChunks(client, got.first.data(), to, aChunks.data(), aType,
                                       static_cast<int>(aChunks.size()), bChunks.data(), bType,
                                       static_cast<int>(bChunks.size()),
                                       static_cast<fxpModeRounding_tag>(rounding.mode), sat);
        got.second = client.events();
        EXPECT_EQ(got, wanted) << a << " of " << aType << " by " << b << " of " << bType << " into " << to
                               << Modes{rounding.resolved(), sat};
    }
}

/// The reference itself, against what was worked out by hand.
TEST(ChunkDivide, Edges)
{
    constexpr auto low = Event::saturationToMin, high = Event::saturationToMax, wrap = Event::wrap,
                   byZero = Event::divisionByZero;
    constexpr int zero = fxpModeRoundingZero, nearest = fxpModeRoundingNearest, floor = fxpModeRoundingFloor;
    Type const word = fixedType(true, 130), s8 = fixedType(true, 8), u8 = fixedType(false, 8),
               u7 = fixedType(false, 7);
    struct Row {
        Int a, b;
        Type to;
        int mode, sat, container; // as the whole array holds it
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
                        {-257, 1, u8, zero, 0, -1, {wrap, wrap}},
                        {-1, 2, u8, floor, 0, 255, {wrap, wrap}},
                        {255, 2, u7, nearest, 0, 0, {wrap}},
                        {-5, 2, s8, nearest, 0, -2, {}},
                        {-5, 2, s8, fxpModeRoundingHalfAway, 0, -3, {}},
                        {5, 2, s8, fxpModeRoundingConvergent, 0, 2, {}},
                        {1, 1000, s8, fxpModeRoundingCeiling, 0, 1, {}},
                        {1, 1000, s8, fxpModeRoundingHalfAway, 0, 0, {}}};
    for (Row const& row : rows) {
        EXPECT_EQ(BitByBit(row.to, row.a, word, row.b, word, row.sat).rounded(row.mode),
                  (Quotient{chunksOf(row.container, row.to), row.events}))
            << row.a << " / " << row.b << " into " << row.to << Modes{row.mode, row.sat};
        for (int const sat : bothOverflows) check(row.to, row.a, word, row.b, word, sat, roundings);
    }
}

/// All operands of 1 to 5 bits into all targets of 1 to 5 bits: the shortest ones in all modes.
TEST(ChunkDivide, ShortOperands)
{
    std::vector<Type> types;
    for (int bits = 1; bits <= 5; ++bits)
        for (bool const isSigned : {false, true}) types.push_back(fixedType(isSigned, bits));
    Random random(21);
    auto const checkTypes = [&](Type to, Type const& aType, Type bType) {
        bType.fixedExponent = random.between(-2, 2);
        to.fixedExponent = random.between(-3, 3) - bType.fixedExponent;
        for (Int a = minStored(aType); a <= maxStored(aType); ++a)
            for (Int b = minStored(bType); b <= maxStored(bType); ++b)
                check(to, a, aType, b, bType, random.between(0, 1),
                      aType.wordLength + bType.wordLength <= 3 ? roundings
                                                               : std::vector{random.pick(roundings)});
    };
    for (int i = 0; i < 2; ++i)
        for (Type const& to : types)
            for (Type const& a : types)
                for (Type const& b : types) checkTypes(to, a, b);
}

/// Long words, of runs and of chunks about which an estimated digit is too large.
TEST(ChunkDivide, LongOperands)
{
    Random random(22);
    auto const anyOf = [&](Type const& type) {
        if (random.coin()) return random.pick(interestingStored(type, random, 3));
        Int bits = 0;
        for (std::size_t i = 0; i < chunkCount(type); ++i)
            bits = (bits << 64) + random.pick(std::array{0ULL, 1ULL, ~0ULL >> 1, 1ULL << 63, (1ULL << 63) + 1,
                                                         ~1ULL, ~0ULL, 1ULL << 32, ~0ULL << 32});
        return wrapTo(bits >> static_cast<unsigned>(random.between(0, 63)), type);
    };
    for (int i = 0; i < 6000 && !HasFailure(); ++i) {
        Type const aType = random.radixType(300, -40, 40), bType = random.radixType(300, -40, 40);
        Int a = anyOf(aType), b = anyOf(bType);
        Type to = random.radixType(300, 0, 0);
        int const whole = aType.fixedExponent - bType.fixedExponent,
                  far = random.pick(std::array{2, 40, 400, 1 << 29});
        to.fixedExponent = whole + random.between(-far, far);
        if (i % 3 == 0) { // about a multiple, or half of one
            int const bits = random.between(0, 130);
            Int const multiple = b * random.between(-99, 99) * (Int(1) << static_cast<unsigned>(bits)) / 2;
            a = wrapTo(multiple + random.between(-1, 1), aType);
            to.fixedExponent = whole + bits;
        }
        if (i % 3 == 1 && a != 0 && b != 0) { // about the limit
            int const bits = static_cast<int>(msb(abs(a))) - static_cast<int>(msb(abs(b)));
            to = fixedType(to.isSigned(), std::max(1, bits + random.between(0, 2)), whole);
        }
        if (i % 40 == 1) // a quotient of many chunks
            to = fixedType(to.isSigned(), random.between(1100, 1600), whole - random.between(1000, 1500));
        if (i % 7 == 0 && b != 0) { // just below a multiple by whole chunks: the first digit is too large
            a = wrapTo((abs(b) << 64) - random.pick(std::array<Int, 3>{1, abs(b) / 2, abs(b)}), aType);
            to.fixedExponent = whole;
        }
        for (int const sat : bothOverflows) // a wrap for each bit would not end
            if (sat || to.fixedExponent > whole - 1000)
                check(to, a, aType, b, bType, sat, {random.pick(roundings), random.pick(roundings)});
    }
}

} // namespace
