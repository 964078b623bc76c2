#include "multiword/chunkdivide.h"

#include <orvex/hardware/fxpprodhardware.h>

#include <utility>

namespace ORVEX::multiword
{

namespace
{

Chunk lowOf(DoubleChunk x) { return static_cast<Chunk>(x); }
Chunk highOf(DoubleChunk x) { return static_cast<Chunk>(x >> chunkBits); }
DoubleChunk join(Chunk high, Chunk low) { return static_cast<DoubleChunk>(high) << chunkBits | low; }
DoubleChunk product(Chunk a, Chunk b) { return static_cast<DoubleChunk>(a) * b; }

/// Divides three chunks by two that have their top bit set, by a precomputed reciprocal.
/// N. Moeller, T. Granlund, "Improved division by invariant integers", IEEE Trans. Computers 60 (2011),
/// algorithms 5 and 6.
class Reciprocal
{
public:
    explicit Reciprocal(DoubleChunk divisor) : divisor_(divisor)
    {
        // Any of the steps is as likely as not: flags are added, which needs no branch.
        Chunk const high = highOf(divisor);
        Chunk const low = lowOf(divisor);
        inverse_ = lowOf(join(~high, allOnes) / high); // of the high chunk alone
        Chunk rest = high * inverse_ + low;
        Chunk const over = rest < low;
        Chunk const overTwice = over & static_cast<Chunk>(rest >= high);
        rest -= (over + overTwice) * high;
        DoubleChunk const ofLow = product(inverse_ - over - overTwice, low);
        rest += highOf(ofLow);
        Chunk const above = rest < highOf(ofLow);
        Chunk const aboveTwice = above & static_cast<Chunk>(join(rest, lowOf(ofLow)) >= divisor);
        inverse_ -= over + overTwice + above + aboveTwice;
    }

    /// high is below the divisor; the remainder replaces it.
    Chunk divide(DoubleChunk& high, Chunk low) const
    {
        DoubleChunk const estimate = product(inverse_, highOf(high)) + high;
        Chunk const quotient = highOf(estimate);
        DoubleChunk const rest =
            join(lowOf(high) - quotient * highOf(divisor_), low) - product(quotient, lowOf(divisor_));
        // The estimate is one too small as often as not. A borrow makes the mask that chooses: of a
        // comparison compilers make a branch.
        DoubleChunk const less = rest - divisor_;
        Chunk ignored = 0;
        Chunk const oneMore = __builtin_sub_overflow(highOf(less), lowOf(estimate), &ignored);
        high = join(highOf(rest) ^ ((highOf(rest) ^ highOf(less)) & (0 - oneMore)),
                    lowOf(rest) ^ ((lowOf(rest) ^ lowOf(less)) & (0 - oneMore)));
        if (highOf(high) >= highOf(divisor_)) [[unlikely]]
            if (high >= divisor_) {
                high -= divisor_;
                return quotient + oneMore + 1;
            }
        return quotient + oneMore;
    }

private:
    DoubleChunk divisor_;
    Chunk inverse_;
};

/// chunks := chunks * 2^bits, of fewer than 64 bits; none is carried out.
void moveUp(Chunk* chunks, int count, int bits)
{
    Chunk carry = 0;
    for (int i = 0; i < count; ++i) {
        Chunk const chunk = std::exchange(chunks[i], chunks[i] << bits | carry);
        carry = chunk >> 1 >> (chunkBits - 1 - bits);
    }
}

/// dst[0..n) -= a[0..n) * factor; returns the chunk to be taken off above.
[[gnu::always_inline]] inline Chunk subtractProductOfRow(Chunk* dst, Chunk const* a, Chunk factor, int n)
{
    Chunk borrow = 0;
#pragma GCC unroll 4
    for (int i = 0; i < n; ++i) {
        DoubleChunk const off = product(a[i], factor); // of which the high chunk has room for a borrow
        Chunk difference = 0;
        Chunk const high = highOf(off) + __builtin_sub_overflow(dst[i], lowOf(off), &difference);
        borrow = high + __builtin_sub_overflow(difference, borrow, &dst[i]);
    }
    return borrow;
}

/// The quotient of two magnitudes, digit by digit from the top, scaled so that the last digit ends at the
/// lowest bit of the result. A digit is a chunk. Knuth, The Art of Computer Programming 2, 4.3.1, algorithm
/// D, with digits estimated from the two top chunks of the divisor, and except that the dividend's digits are
/// read as they are needed: its scaling can put any number of zeros below it.
class DigitDivision
{
public:
    /// dividend * 2^scale / divisor; both magnitudes are non-zero, their tops may be zero chunks. Uses the
    /// divisor up, and clears a chunk above the dividend. Keeps as many of the last digits.
    DigitDivision(Chunk* dividend, int dividendCount, Chunk* divisor, int divisorCount, long long scale,
                  int kept)
        : DigitDivision(dividend, dividendCount, divisor, bitLength(divisor, divisorCount), scale, kept)
    {
    }

    /// No bit of the quotient stands at or above this position. Zero or less: the quotient is below 1 (below
    /// 1/2).
    long long quotientBits() const { return quotientBits_; }

    /// How many digits there are, at least 1.
    long long digits() const { return std::max<long long>(1, (quotientBits_ + chunkBits - 1) / chunkBits); }

    /// Calls take(digits, count, index) for the highest digits first, some at a time, the last ones, which
    /// stay, at index 0: all of them, but not more than it was told to keep. Where `inFull` is not asked for,
    /// a long divisor is cut to the chunks that can still tell, which does half the work. False if the
    /// quotient or what is told of its rest may then be wrong: an exact quotient, or a tie, or once in 2^50
    /// others.
    template <class F>
    bool run(bool inFull, F&& take)
    {
        constexpr int longDivisor = 8;
        bool const cuts = !inFull && low_ >= longDivisor;
        long long left = digits();
        int count = nextCount(left);
        readDividend(left - count, count + low_);
        top_ = join(dividendAt(left + low_ + 1), dividendAt(left + low_));
        for (;;) {
            left -= count;
            bool const isSure = [&] {
                switch (low_) {
                case 0: return workOut(std::integral_constant<int, 0>{}, count, left, false);
                case 1: return workOut(std::integral_constant<int, 1>{}, count, left, false);
                case 2: return workOut(std::integral_constant<int, 2>{}, count, left, false);
                case 3: return workOut(std::integral_constant<int, 3>{}, count, left, false);
                default: return workOut(low_, count, left, cuts);
                }
            }();
            if (!isSure) return false;
            take(keptDigits(), count, left);
            if (left == 0) return !cuts || isFarFromDoubt();
            count = nextCount(left);
            std::copy_backward(window_.data(), window_.data() + low_, window_.data() + low_ + count);
            readDividend(left - count, count);
        }
    }

    /// After run: the last digits.
    Chunk* keptDigits() { return window_.data() + low_; }

    /// After run: what is left over, as a fraction of the divisor.
    bool exact() const { return top_ == 0 && chunksAreZero(window_.data(), low_) && !dividendBelow(0); }

    /// Three-way comparison of what is left over with half the divisor.
    int compareRemainderToHalf() const
    {
        // Against what it lacks to the divisor. One branch for both answers, which are as often as not.
        DoubleChunk const lacks = divisorTop_ - top_;
        int const order = static_cast<int>(top_ > lacks) - static_cast<int>(lacks > top_ + 1);
        if (order != 0) [[likely]]
            return order;
        // Twice the remainder, chunk by chunk, with the dividend's first bit below the last digit moved in.
        auto const twice = [&](int i) {
            Chunk const below = i > 0 ? window_[i - 1] : dividendAt(-1);
            return (i < low_ ? window_[i] : lowOf(top_)) << 1 | below >> (chunkBits - 1);
        };
        // Of the tops only a last bit can differ, since one is at most one off from half the other.
        if (Chunk const above = lowOf(divisorTop_); twice(low_) != above)
            return static_cast<SignedChunk>(twice(low_) - above) < 0 ? -1 : 1;
        for (int i = low_ - 1; i >= 0; --i)
            if (twice(i) != divisor_[i]) return twice(i) < divisor_[i] ? -1 : 1;
        return dividendAt(-1) << 1 != 0 || dividendBelow(-1);
    }

private:
    static constexpr int mostAbove = 16; ///< digits at a time, where they are not kept

    DigitDivision(Chunk* dividend, int dividendCount, Chunk* divisor, long long divisorBits, long long scale,
                  int kept)
        : dividend_(dividend), dividendCount_(dividendCount),
          quotientBits_(bitLength(dividend, dividendCount) - divisorBits + scale + 1), divisor_(divisor),
          low_(std::max(0, static_cast<int>((divisorBits - 1) / chunkBits) - 1)), kept_(kept),
          divisorTop_(moveToTop(divisor, divisorBits)), reciprocal_(divisorTop_),
          window_(low_ + std::max(kept, mostAbove))
    {
        dividend[dividendCount] = 0;
        long long const shift =
            scale + (-divisorBits & (chunkBits - 1)) + (divisorBits <= chunkBits ? chunkBits : 0);
        bitsUp_ = static_cast<int>(shift & (chunkBits - 1));
        chunksUp_ = shift >> 6;
    }

    int nextCount(long long left) const
    {
        return static_cast<int>(left <= kept_ ? left : std::min<long long>(left - kept_, mostAbove));
    }

    /// Moves the divisor up until its top bit is set, with which an estimated digit is at most one too large,
    /// and gives its two top chunks; a divisor of one chunk gets a zero chunk below.
    static DoubleChunk moveToTop(Chunk* divisor, long long bits)
    {
        int const last = static_cast<int>((bits - 1) / chunkBits);
        moveUp(divisor, last + 1, static_cast<int>(-bits & (chunkBits - 1)));
        return join(divisor[last], last > 0 ? divisor[last - 1] : 0);
    }

    Chunk unscaledAt(long long index) const
    {
        auto const at = static_cast<unsigned long long>(index);
        return at < static_cast<unsigned long long>(dividendCount_) ? dividend_[at] : 0;
    }

    /// A chunk of the scaled dividend.
    Chunk dividendAt(long long index) const
    {
        Chunk const below = unscaledAt(index - chunksUp_ - 1);
        return unscaledAt(index - chunksUp_) << bitsUp_ | below >> 1 >> (chunkBits - 1 - bitsUp_);
    }

    /// Anything in the scaled dividend's chunks below this one.
    bool dividendBelow(long long index) const
    {
        long long const whole = index - chunksUp_ - 1;
        return unscaledAt(whole) << bitsUp_ != 0 ||
               !chunksAreZero(dividend_, std::clamp<long long>(whole, 0, dividendCount_));
    }

    /// Chunks of the scaled dividend from this one up into the window, from its start.
    void readDividend(long long index, int count)
    {
        long long const from = index - chunksUp_; // chunks 0 to dividendCount_ are there
        int const begin = static_cast<int>(std::clamp<long long>(-from, 0, count));
        int const end = static_cast<int>(std::clamp<long long>(dividendCount_ + 1 - from, begin, count));
        for (int i = 0; i < begin; ++i) window_[i] = 0;
        Chunk below = unscaledAt(from + begin - 1);
        for (int i = begin; i < end; ++i) {
            Chunk const chunk = dividend_[from + i];
            window_[i] = chunk << bitsUp_ | below >> 1 >> (chunkBits - 1 - bitsUp_);
            below = chunk;
        }
        for (int i = end; i < count; ++i) window_[i] = 0;
    }

    /// The next digits, each in place of what was the remainder's highest chunk but two; index is that of the
    /// last one. False where a cut divisor cannot tell a digit. Low is the type of low_.
    template <class Low>
    bool workOut(Low low, int count, long long index, bool cuts)
    {
        Reciprocal const reciprocal = reciprocal_;
        DoubleChunk const divisorTop = divisorTop_;
        Chunk const* const divisor = divisor_;
        DoubleChunk top = top_;
        for (int d = count - 1; d >= 0; --d) {
            Chunk* const rest = window_.data() + d;
            int cut = 0;
            if (std::is_same_v<Low, int> && cuts) cut = static_cast<int>(std::max(0LL, low - index - d));
            Chunk digit = allOnes;
            bool const isCertain = top == divisorTop;
            if (isCertain) [[unlikely]] {
                if (cut > 0) return false;
                top += rest[low]; // may be carried out, and comes back
            } else {
                digit = reciprocal.divide(top, rest[low]);
            }
            Chunk const borrow = subtractProductOfRow(rest + cut, divisor + cut, digit, low - cut);
            if (__builtin_sub_overflow(top, static_cast<DoubleChunk>(borrow), &top) && !isCertain)
                [[unlikely]] {
                --digit;
                Chunk back = 0;
                for (int i = cut; i < low; ++i) rest[i] = addStep(rest[i], divisor[i], back);
                top += divisorTop + back;
            }
            rest[low] = digit;
        }
        top_ = top;
        return true;
    }

    /// With a cut divisor each digit leaves less than itself times the chunk below the two on top undone, or
    /// does as much too much. Neither 0, half the divisor nor the divisor is that near.
    bool isFarFromDoubt() const
    {
        DoubleChunk const doubt = join(4 * static_cast<Chunk>(low_), 0);
        DoubleChunk const lacks = divisorTop_ - top_;
        return top_ > doubt && lacks > doubt && (top_ > lacks ? top_ - lacks : lacks - top_) > doubt;
    }

    Chunk const* dividend_;
    int dividendCount_;
    int bitsUp_; ///< from the dividend to the scaled one, and
    long long chunksUp_;
    long long quotientBits_;
    Chunk const* divisor_;
    int low_; ///< the divisor's chunks below the two on top; zero ones above do not count
    int kept_;
    DoubleChunk divisorTop_;
    Reciprocal reciprocal_;
    WideScratch window_; ///< the remainder's low chunks, above them digits, or below them what comes next
    DoubleChunk top_;    ///< the remainder's two on top
};

} // namespace

fxpModeRounding_tag resolveDivisionRounding(OrvexClientInterface& client, fxpModeRounding_tag round)
{
    if (round != fxpModeRoundingCheapest) return round;
    fxpProdHardware const* hardware = client.getProductionHardware();
    bool const floors = hardware && hardware->getHWIntDivRndMode() == FxpHardwareRoundingFloor;
    return floors ? fxpModeRoundingFloor : fxpModeRoundingZero;
}

void divideChunks(OrvexClientInterface& client, Chunk* out, fxpDataTypeProp const& to, Chunk const* a,
                  fxpDataTypeProp const& aType, int aCount, Chunk const* b, fxpDataTypeProp const& bType,
                  int bCount, fxpModeRounding_tag round, int sat)
{
    int const count = numChunksOfType(to);
    bool const negA = chunksAreNegative(a, aType, aCount);
    if (chunksAreZero(b, bCount)) {
        client.handleDivisionByZero();
        return negA ? setChunksToMin(out, to, count) : setChunksToMax(out, to, count);
    }
    if (chunksAreZero(a, aCount)) return clearChunks(out, count);

    bool const negative = negA != chunksAreNegative(b, bType, bCount);
    if (!to.isSigned() && negative) {
        if (sat) { // the other extreme, as required
            client.handleSaturationToMax();
            return clearChunks(out, count);
        }
        client.handleOverflowWrap();
    }

    WideScratch dividend(aCount + 1);
    WideScratch divisor(bCount);
    copyMagnitude(dividend.data(), a, aType, aCount);
    copyMagnitude(divisor.data(), b, bType, bCount);
    long long const scale =
        static_cast<long long>(aType.fixedExponent) - bType.fixedExponent - to.fixedExponent;
    DigitDivision division(dividend.data(), aCount, divisor.data(), bCount, scale, count + 1);

    Event const overflow = negative ? Event::saturationToMin : Event::saturationToMax;
    auto const saturate = [&] {
        tell(client, overflow);
        return negative ? setChunksToMin(out, to, count) : setChunksToMax(out, to, count);
    };
    // One bit less is certain to be there, so that nothing beyond the word needs to be worked out to
    // saturate.
    if (sat && division.quotientBits() - 2 >= to.wordLength) return saturate();

    long long const magnitudeBits = to.getWordLengthNonSign();
    long long bitsAbove = 0; // one bits of the magnitude that no value of the type has
    bool aboveSign = false;
    auto const workOut = [&](bool inFull) {
        bitsAbove = 0;
        aboveSign = false;
        return division.run(inFull, [&](Chunk const* digits, int n, long long index) {
            for (int i = n - 1; i >= 0; --i) {
                long long const from = (index + i) * chunkBits;
                if (from + chunkBits <= magnitudeBits) break;
                if (Chunk const above = digits[i] & highMask(magnitudeBits - from)) {
                    bitsAbove += std::popcount(above);
                    aboveSign |= (digits[i] & highMask(to.wordLength - from)) != 0;
                }
            }
        });
    };
    if (!workOut(false)) workOut(true);
    Chunk* const dst = division.keptDigits();
    for (long long i = division.digits(); i < count; ++i) dst[i] = 0;
    bool const exact = division.exact();
    // The rounding step: away from zero, since raising the floor of a negative quotient leads back to the
    // truncated one.
    bool steps = false;
    if (!exact) {
        Tail const tail = tailOfQuotient(negative, division.compareRemainderToHalf(), (dst[0] & 1) != 0);
        steps = bumps(resolveDivisionRounding(client, round), tail) != negative;
    }

    Chunk const sign = negative ? allOnes : 0;
    bool const fits = bitsAbove == 0 && (to.isSigned() || !negative);
    if (fits && dst[0] != maxValueChunk(0, to)) { // a step neither carries nor leaves the range
        Chunk carry = steps != negative;
        for (int i = 0; i < count; ++i) out[i] = addStep(dst[i] ^ sign, 0, carry);
        return;
    }

    // By the word length, not by its top bit: a word without bits keeps none.
    dst[count - 1] &= lowMask(to.wordLength - 1LL - (count - 1) * chunkBits);
    if (bitsAbove != 0) {
        // Of all the bits from the sign position down, that one alone is set.
        bool const onlySignBit = dst[count - 1] == bitMask(topBit(to)) && chunksAreZero(dst, count - 1);
        bool const lastBitIsSign = negative && to.isSigned() && exact && onlySignBit;
        if (lastBitIsSign) --bitsAbove;
        if (sat && (!lastBitIsSign || aboveSign)) return saturate();
        for (; bitsAbove > 0; --bitsAbove) client.handleOverflowWrap();
        if (lastBitIsSign) return setChunksToMin(out, to, count);
    }
    dst[count - 1] = fixedTopChunk(dst[count - 1], to);
    copyNegatedIf(dst, dst, sign, count);
    if (steps) {
        int const order = negative ? compareChunksToTypeMin(dst, to, to, count)
                                   : compareChunksToTypeMax(dst, to, to, count);
        if (order == 0) tell(client, sat ? overflow : Event::wrap);
        if (order != 0 || !sat) {
            if (negative)
                decrementChunks(dst, to, count);
            else
                incrementChunks(dst, to, count);
        }
    }
    std::copy_n(dst, count, out);
}

} // namespace ORVEX::multiword
