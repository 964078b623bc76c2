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
        Chunk const high = highOf(divisor);
        Chunk const low = lowOf(divisor);
        inverse_ = lowOf(join(~high, allOnes) / high); // of the high chunk alone
        Chunk rest = high * inverse_ + low;
        if (rest < low) {
            --inverse_;
            if (rest >= high) {
                --inverse_;
                rest -= high;
            }
            rest -= high;
        }
        DoubleChunk const ofLow = product(inverse_, low);
        rest += highOf(ofLow);
        if (rest < highOf(ofLow)) inverse_ -= join(rest, lowOf(ofLow)) >= divisor ? 2u : 1u;
    }

    /// high is below the divisor; the remainder replaces it.
    Chunk divide(DoubleChunk& high, Chunk low) const
    {
        DoubleChunk const estimate = product(inverse_, highOf(high)) + high;
        Chunk quotient = highOf(estimate) + 1;
        DoubleChunk rest = join(lowOf(high) - highOf(estimate) * highOf(divisor_), low) -
                           product(highOf(estimate), lowOf(divisor_)) - divisor_;
        // As often as not one too large: the borrow of a difference is a mask that no compiler makes a branch
        // of.
        Chunk const tooLarge = ~highOf(static_cast<DoubleChunk>(highOf(rest)) - lowOf(estimate));
        quotient += tooLarge;
        rest += join(highOf(divisor_) & tooLarge, lowOf(divisor_) & tooLarge);
        if (rest >= divisor_) [[unlikely]] {
            ++quotient;
            rest -= divisor_;
        }
        high = rest;
        return quotient;
    }

private:
    DoubleChunk divisor_;
    Chunk inverse_;
};

/// chunks := chunks * 2^bits, of fewer than 64 bits; returns what is carried out.
Chunk moveUp(Chunk* chunks, int count, int bits)
{
    Chunk carry = 0;
    for (int i = 0; i < count; ++i) {
        Chunk const chunk = std::exchange(chunks[i], chunks[i] << bits | carry);
        carry = chunk >> 1 >> (chunkBits - 1 - bits);
    }
    return carry;
}

/// The quotient of two magnitudes, digit by digit from the top, scaled so that the last digit ends at the
/// lowest bit of the result. A digit is a chunk. Knuth, The Art of Computer Programming 2, 4.3.1, algorithm
/// D, with digits estimated from the two top chunks of the divisor, and except that the dividend's digits are
/// read as they are needed: its scaling can put any number of zeros below it.
class DigitDivision
{
public:
    /// dividend * 2^scale / divisor; both magnitudes are non-zero, their tops may be zero chunks. Uses both
    /// up, and the room for a chunk above the dividend.
    DigitDivision(Chunk* dividend, int dividendCount, Chunk* divisor, int divisorCount, long long scale)
        : DigitDivision(dividend, dividendCount, divisor, bitLength(divisor, divisorCount), scale)
    {
    }

    /// No bit of the quotient stands at or above this position. Zero or less: the quotient is below 1 (below
    /// 1/2).
    long long quotientBits() const { return quotientBits_; }

    /// Calls digit(value, index) from the highest digit down to index 0. Where `inFull` is not asked for, a
    /// long divisor is cut to the chunks that can still tell, which does half the work. False if the quotient
    /// or what is told of its rest may then be wrong: an exact quotient, or a tie, or once in 2^50 others.
    template <class F>
    bool run(bool inFull, F&& digit)
    {
        constexpr int longDivisor = 8;
        long long const digits = std::max<long long>(1, (quotientBits_ + chunkBits - 1) / chunkBits);
        rest_ = window_.data() + slack;
        for (int i = 0; i < low_; ++i) rest_[i] = dividendAt(digits + i);
        top_ = join(dividendAt(digits + low_ + 1), dividendAt(digits + low_));
        cut_ = 0;
        Reciprocal const reciprocal(divisorTop_);
        for (long long d = digits - 1; d >= 0; --d) {
            takeChunk(dividendAt(d));
            if (!inFull && low_ >= longDivisor) cut_ = static_cast<int>(std::max(0LL, low_ - d));
            if (top_ != divisorTop_)
                digit(nextDigit(reciprocal), d);
            else if (cut_ == 0)
                digit(largestDigit(), d);
            else
                return false;
        }
        return cut_ == 0 || isFarFromDoubt();
    }

    /// After run: what is left over, as a fraction of the divisor.
    bool exact() const { return top_ == 0 && chunksAreZero(rest_, low_) && !dividendBelow(0); }

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
            Chunk const below = i > 0 ? rest_[i - 1] : dividendAt(-1);
            return (i < low_ ? rest_[i] : lowOf(top_)) << 1 | below >> (chunkBits - 1);
        };
        // Of the tops only a last bit can differ, since one is at most one off from half the other.
        if (Chunk const above = lowOf(divisorTop_); twice(low_) != above)
            return static_cast<SignedChunk>(twice(low_) - above) < 0 ? -1 : 1;
        for (int i = low_ - 1; i >= 0; --i)
            if (twice(i) != divisor_[i]) return twice(i) < divisor_[i] ? -1 : 1;
        return dividendAt(-1) << 1 != 0 || dividendBelow(-1);
    }

private:
    DigitDivision(Chunk* dividend, int dividendCount, Chunk* divisor, long long divisorBits, long long scale)
        : dividend_(dividend), dividendCount_(dividendCount + 1),
          quotientBits_(bitLength(dividend, dividendCount) - divisorBits + scale + 1), divisor_(divisor),
          low_(static_cast<int>((divisorBits - 1) / chunkBits) - 1), complement_(std::max(low_, 0)),
          window_(std::max(low_, 0) + 1 + slack), rest_(window_.data() + slack)
    {
        // With the divisor's top bit set an estimated digit is at most one too large.
        int const up = static_cast<int>(-divisorBits & (chunkBits - 1));
        moveUp(divisor, low_ + 2, up);
        long long shift = scale + up;
        if (low_ < 0) { // a divisor of one chunk gets a zero chunk below
            low_ = 0;
            divisorTop_ = join(divisor[0], 0);
            shift += chunkBits;
        } else {
            divisorTop_ = join(divisor[low_ + 1], divisor[low_]);
        }
        dividend[dividendCount] = moveUp(dividend, dividendCount, static_cast<int>(shift & (chunkBits - 1)));
        chunksUp_ = shift >> 6;
        copyNegatedIf(complement_.data(), divisor, allOnes, low_);
        borrows_ = chunksAreZero(divisor, low_) ? 0 : allOnes;
    }

    /// A chunk of the scaled dividend.
    Chunk dividendAt(long long index) const
    {
        auto const at = static_cast<unsigned long long>(index - chunksUp_);
        return at < static_cast<unsigned long long>(dividendCount_) ? dividend_[at] : 0;
    }

    /// Anything in the scaled dividend's chunks below this one.
    bool dividendBelow(long long index) const
    {
        long long const count = std::clamp<long long>(index - chunksUp_, 0, dividendCount_);
        return !chunksAreZero(dividend_, count);
    }

    /// Moves the remainder up by a chunk and puts another below. Its low chunks stay where they are, in a
    /// window that is moved now and then; one of them is above the low ones now.
    void takeChunk(Chunk chunk)
    {
        if (rest_ == window_.data()) {
            std::copy_backward(rest_, rest_ + low_, rest_ + slack + low_);
            rest_ += slack;
        }
        *--rest_ = chunk;
    }

    /// With a cut divisor each digit leaves less than itself times the chunk below the two on top undone, or
    /// does as much too much. Neither 0, half the divisor nor the divisor is that near.
    bool isFarFromDoubt() const
    {
        DoubleChunk const doubt = join(4 * static_cast<Chunk>(low_), 0);
        DoubleChunk const lacks = divisorTop_ - top_;
        return top_ > doubt && lacks > doubt && (top_ > lacks ? top_ - lacks : lacks - top_) > doubt;
    }

    Chunk nextDigit(Reciprocal const& reciprocal)
    {
        Chunk digit = reciprocal.divide(top_, rest_[low_]);
        // rest -= digit * divisor: that times the complement is added, and the digit taken off the chunk
        // above.
        Chunk const carry = addProductOfRow(rest_ + cut_, complement_.data() + cut_, digit, low_ - cut_);
        Chunk const borrow = (digit & borrows_) - carry;
        bool const tooLarge = top_ < borrow;
        top_ -= borrow;
        if (tooLarge) [[unlikely]] {
            --digit;
            Chunk back = 0;
            for (int i = cut_; i < low_; ++i) rest_[i] = addStep(rest_[i], divisor_[i], back);
            top_ += divisorTop_ + back;
        }
        return digit;
    }

    /// Where the remainder starts as the divisor does: rest -= (2^64 - 1) * divisor.
    Chunk largestDigit()
    {
        SignedDoubleChunk sum = 0;
        for (int i = 0; i < low_; ++i) {
            sum += rest_[i];
            sum += divisor_[i];
            if (i > 0) sum -= divisor_[i - 1];
            rest_[i] = lowOf(static_cast<DoubleChunk>(sum));
            sum >>= chunkBits;
        }
        sum += rest_[low_];
        sum -= divisor_[low_ - 1]; // a remainder below a divisor of two chunks differs from it on top
        top_ = divisorTop_ + static_cast<DoubleChunk>(sum);
        return allOnes;
    }

    Chunk const* dividend_;
    int dividendCount_;
    long long chunksUp_; ///< from the dividend's chunks to those of the scaled one
    long long quotientBits_;
    Chunk const* divisor_;
    int low_; ///< the divisor's chunks below the two on top; zero ones above do not count
    DoubleChunk divisorTop_;
    WideScratch complement_; ///< of the low ones
    int cut_ = 0;            ///< as many of them are left out
    Chunk borrows_;          ///< 0 where these are 0, whose complement is a chunk longer; else all ones
    static constexpr int slack = 16;
    WideScratch window_;
    Chunk* rest_;     ///< low chunks of the remainder, in the window
    DoubleChunk top_; ///< the two on top
};

} // namespace

fxpModeRounding_tag resolveDivisionRounding(OrvexClientInterface& client, fxpModeRounding_tag round)
{
    if (round != fxpModeRoundingCheapest) return round;
    fxpProdHardware const* hardware = client.getProductionHardware();
    bool const floors = hardware && hardware->getHWIntDivRndMode() == FxpHardwareRoundingFloor;
    return floors ? fxpModeRoundingFloor : fxpModeRoundingZero;
}

void divideChunks(OrvexClientInterface& client, Chunk* dst, fxpDataTypeProp const& to, Chunk const* a,
                  fxpDataTypeProp const& aType, int aCount, Chunk const* b, fxpDataTypeProp const& bType,
                  int bCount, fxpModeRounding_tag round, int sat)
{
    int const count = numChunksOfType(to);
    bool const negA = chunksAreNegative(a, aType, aCount);
    if (chunksAreZero(b, bCount)) {
        client.handleDivisionByZero();
        if (negA)
            setChunksToMin(dst, to, count);
        else
            setChunksToMax(dst, to, count);
        return;
    }
    clearChunks(dst, count);
    if (chunksAreZero(a, aCount)) return;

    bool const negative = negA != chunksAreNegative(b, bType, bCount);
    if (negative && !to.isSigned()) {
        if (sat) return client.handleSaturationToMax(); // the other extreme, as required; 0 stays
        client.handleOverflowWrap();
    }

    WideScratch dividend(aCount + 1);
    WideScratch divisor(bCount);
    copyMagnitude(dividend.data(), a, aType, aCount);
    copyMagnitude(divisor.data(), b, bType, bCount);
    long long const scale =
        static_cast<long long>(aType.fixedExponent) - bType.fixedExponent - to.fixedExponent;
    DigitDivision division(dividend.data(), aCount, divisor.data(), bCount, scale);

    Event const overflow = negative ? Event::saturationToMin : Event::saturationToMax;
    auto const saturate = [&] {
        tell(client, overflow);
        if (negative)
            setChunksToMin(dst, to, count);
        else
            setChunksToMax(dst, to, count);
    };
    // One bit less is certain to be there, so that nothing beyond the word needs to be worked out to
    // saturate.
    if (sat && division.quotientBits() - 2 >= to.wordLength) return saturate();

    long long const magnitudeBits = to.getWordLengthNonSign();
    long long bitsAbove = 0;  // one bits of the magnitude that no value of the type has
    bool onlySignBit = false; // of all the bits from the sign position down, that one alone is set
    bool aboveSign = false;
    auto const workOut = [&](bool inFull) {
        bitsAbove = 0;
        onlySignBit = true;
        aboveSign = false;
        return division.run(inFull, [&](Chunk digit, long long index) {
            long long const from = index * chunkBits;
            if (from + chunkBits <= magnitudeBits) { // and there are no bits above
                onlySignBit &= digit == 0;
                dst[index] = digit;
                return;
            }
            if (Chunk const above = digit & highMask(magnitudeBits - from)) bitsAbove += std::popcount(above);
            aboveSign |= (digit & highMask(to.wordLength - from)) != 0;
            Chunk const word = digit & lowMask(to.wordLength - 1 - from);
            if (word !=
                (from / chunkBits == (to.wordLength - 1) / chunkBits ? bitMask(to.wordLength - 1) : 0))
                onlySignBit = false;
            if (index < count) dst[index] = word;
        });
    };
    if (!workOut(false)) workOut(true);
    bool const exact = division.exact();

    bool const fits = bitsAbove == 0 && (to.isSigned() || !negative);
    if (bitsAbove != 0) {
        bool const lastBitIsSign = negative && to.isSigned() && exact && onlySignBit;
        if (lastBitIsSign) --bitsAbove;
        if (sat && (!lastBitIsSign || aboveSign)) return saturate();
        for (; bitsAbove > 0; --bitsAbove) client.handleOverflowWrap();
        if (lastBitIsSign) return setChunksToMin(dst, to, count);
    }
    // Raising the floor of a negative quotient leads back to the truncated one.
    auto const steps = [&] {
        if (exact) return false;
        Tail const tail = tailOfQuotient(negative, division.compareRemainderToHalf(), (dst[0] & 1) != 0);
        return bumps(resolveDivisionRounding(client, round), tail) != negative;
    };
    Chunk const sign = negative ? allOnes : 0;
    if (fits && dst[0] != maxValueChunk(0, to)) {
        dst[0] += steps(); // neither carries nor leaves the range
        return copyNegatedIf(dst, dst, sign, count);
    }
    dst[count - 1] = fixedTopChunk(dst[count - 1], to);
    copyNegatedIf(dst, dst, sign, count);
    if (!steps()) return;
    int const order =
        negative ? compareChunksToTypeMin(dst, to, to, count) : compareChunksToTypeMax(dst, to, to, count);
    if (order == 0) {
        if (sat) return tell(client, overflow);
        tell(client, Event::wrap);
    }
    if (negative)
        decrementChunks(dst, to, count);
    else
        incrementChunks(dst, to, count);
}

} // namespace ORVEX::multiword
