#include "multiword/chunkdivide.h"

#include <orvex/hardware/fxpprodhardware.h>

namespace ORVEX::multiword
{

namespace
{

/// Divides two chunks by one that has its top bit set, by a precomputed reciprocal.
/// N. Moeller, T. Granlund, "Improved division by invariant integers", IEEE Trans. Computers 60 (2011),
/// alg. 4.
class Reciprocal
{
public:
    explicit Reciprocal(Chunk divisor)
        : divisor_(divisor), inverse_(static_cast<Chunk>(
                                 ((static_cast<DoubleChunk>(~divisor) << chunkBits) | allOnes) / divisor))
    {
    }

    /// high is below the divisor; the remainder replaces it.
    Chunk divide(Chunk& high, Chunk low) const
    {
        DoubleChunk const estimate =
            static_cast<DoubleChunk>(inverse_) * high + ((static_cast<DoubleChunk>(high) << chunkBits) | low);
        Chunk quotient = static_cast<Chunk>(estimate >> chunkBits) + 1;
        Chunk remainder = low - quotient * divisor_;
        Chunk const tooLarge =
            0 - static_cast<Chunk>(remainder > static_cast<Chunk>(estimate)); // as often as not
        quotient += tooLarge;
        remainder += tooLarge & divisor_;
        if (remainder >= divisor_) [[unlikely]] {
            ++quotient;
            remainder -= divisor_;
        }
        high = remainder;
        return quotient;
    }

private:
    Chunk divisor_;
    Chunk inverse_;
};

/// remainder -= digit * divisor, whose complement to 2^(64 n) is given: that times the digit is added, and
/// the digit taken off the chunk above. Returns whether the remainder went below 0; the digit is then one too
/// large.
bool subtractMultiple(Chunk* remainder, Chunk const* complement, Chunk digit, int n)
{
    Chunk const top = remainder[n] + addProductOfRow(remainder, complement, digit, n);
    remainder[n] = top - digit;
    return top != digit;
}

void addDivisor(Chunk* remainder, Chunk const* divisor, int n)
{
    Chunk carry = 0;
    for (int i = 0; i < n; ++i) remainder[i] = addStep(remainder[i], divisor[i], carry);
    remainder[n] += carry;
}

/// The quotient of two magnitudes, digit by digit from the top, scaled so that the last digit ends at the
/// lowest bit of the result. A digit is a chunk. Knuth, The Art of Computer Programming 2, 4.3.1, algorithm
/// D, except that the dividend's digits are read as they are needed: its scaling can put any number of zeros
/// below it.
class DigitDivision
{
public:
    /// dividend * 2^scale / divisor; both magnitudes are non-zero, their tops may be zero chunks.
    DigitDivision(Chunk const* dividend, int dividendCount, Chunk* divisor, int divisorCount, long long scale)
        : dividend_(dividend), dividendCount_(dividendCount),
          quotientBits_(bitLength(dividend, dividendCount) - bitLength(divisor, divisorCount) + scale + 1),
          divisor_(divisor), n_(static_cast<int>((bitLength(divisor, divisorCount) - 1) / chunkBits) + 1),
          complement_(n_), window_(n_ + 1 + slack), remainder_(window_.data() + slack)
    {
        // With the divisor's top bit set an estimated digit is at most two too large.
        int const up = std::countl_zero(divisor[n_ - 1]);
        for (int i = n_ - 1; i >= 0; --i)
            divisor[i] = windowAtPosition(divisor, static_cast<long long>(i) * chunkBits - up, n_);
        std::copy_n(divisor, n_, complement_.data());
        negateChunks(complement_.data(), n_);
        scale_ = scale + up;
    }

    /// No bit of the quotient stands at or above this position. Zero or less: the quotient is below 1 (below
    /// 1/2).
    long long quotientBits() const { return quotientBits_; }

    /// Calls digit(value, index) from the highest digit down to index 0.
    template <class F>
    void run(F&& digit)
    {
        long long const digits = std::max<long long>(1, (quotientBits_ + chunkBits - 1) / chunkBits);
        for (int i = 0; i < n_; ++i) remainder_[i] = dividendAt((digits + i) * chunkBits);
        remainder_[n_] = 0;
        Reciprocal const reciprocal(divisor_[n_ - 1]);
        for (long long d = digits - 1; d >= 0; --d) {
            takeChunk(dividendAt(d * chunkBits));
            digit(n_ == 1 ? reciprocal.divide(remainder_[1], remainder_[0]) : nextDigit(reciprocal), d);
            if (n_ == 1) std::swap(remainder_[0], remainder_[1]);
        }
    }

    /// After run: what is left over, as a fraction of the divisor.
    bool exact() const { return chunksAreZero(remainder_, n_) && !dividendBelow(-scale_); }

    /// Three-way comparison of what is left over with half the divisor.
    int compareRemainderToHalf()
    {
        // Twice the remainder, with the dividend's first bit below the last digit moved in.
        Chunk const moved = dividendAt(-1) & 1;
        remainder_[n_] = remainder_[n_ - 1] >> (chunkBits - 1);
        for (int i = n_ - 1; i > 0; --i)
            remainder_[i] = remainder_[i] << 1 | remainder_[i - 1] >> (chunkBits - 1);
        remainder_[0] = remainder_[0] << 1 | moved;
        if (remainder_[n_] != 0) return 1;
        for (int i = n_ - 1; i >= 0; --i)
            if (remainder_[i] != divisor_[i]) return remainder_[i] < divisor_[i] ? -1 : 1;
        return dividendBelow(-scale_ - 1) ? 1 : 0;
    }

private:
    /// The dividend's 64 bits from a position of the scaled dividend up.
    Chunk dividendAt(long long position) const
    {
        return windowAtPosition(dividend_, position - scale_, dividendCount_);
    }

    /// Any bit of the dividend below a position.
    bool dividendBelow(long long position) const
    {
        Chunk any = 0;
        for (int i = 0; i < dividendCount_; ++i)
            any |= dividend_[i] & lowMask(position - 1 - static_cast<long long>(i) * chunkBits);
        return any != 0;
    }

    /// Moves the remainder up by a chunk and puts another below. It stays where it is, in a window that is
    /// moved now and then.
    void takeChunk(Chunk low)
    {
        if (remainder_ == window_.data()) {
            std::copy_backward(remainder_, remainder_ + n_, remainder_ + slack + n_);
            remainder_ += slack;
        }
        --remainder_;
        remainder_[0] = low;
    }

    Chunk nextDigit(Reciprocal const& reciprocal)
    {
        Chunk const top = divisor_[n_ - 1];
        Chunk digit = allOnes;
        if (remainder_[n_] < top) {
            Chunk high = remainder_[n_];
            digit = reciprocal.divide(high, remainder_[n_ - 1]);
            // `high` is the rest of that division; the second chunk tells most digits that are one too large.
            DoubleChunk const second = static_cast<DoubleChunk>(digit) * divisor_[n_ - 2];
            digit -= second > ((static_cast<DoubleChunk>(high) << chunkBits) | remainder_[n_ - 2]);
        }
        if (subtractMultiple(remainder_, complement_.data(), digit, n_)) { // by now at most one too large
            --digit;
            addDivisor(remainder_, divisor_, n_);
        }
        return digit;
    }

    Chunk const* dividend_;
    int dividendCount_;
    long long quotientBits_;
    Chunk* divisor_;
    int n_;                  ///< the divisor's chunks without zero ones above
    WideScratch complement_; ///< of the divisor
    static constexpr int slack = 16;
    WideScratch window_;
    Chunk* remainder_; ///< n + 1 chunks in the window
    long long scale_;
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

    WideScratch dividend(aCount);
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
    long long bitsAbove = 0; // one bits of the magnitude that no value of the type has
    bool onlySignBit = true; // of all the bits from the sign position down, that one alone is set
    bool aboveSign = false;
    division.run([&](Chunk digit, long long index) {
        long long const from = index * chunkBits;
        if (from + chunkBits <= magnitudeBits) { // and there are no bits above
            onlySignBit &= digit == 0;
            dst[index] = digit;
            return;
        }
        bitsAbove += std::popcount(digit & highMask(magnitudeBits - from));
        aboveSign |= (digit & highMask(to.wordLength - from)) != 0;
        Chunk const word = digit & lowMask(to.wordLength - 1 - from);
        if (word != (from / chunkBits == (to.wordLength - 1) / chunkBits ? bitMask(to.wordLength - 1) : 0))
            onlySignBit = false;
        if (index < count) dst[index] = word;
    });
    bool const exact = division.exact();

    if (bitsAbove != 0) {
        bool const lastBitIsSign = negative && to.isSigned() && exact && onlySignBit;
        if (lastBitIsSign) --bitsAbove;
        if (sat && (!lastBitIsSign || aboveSign)) return saturate();
        for (; bitsAbove > 0; --bitsAbove) client.handleOverflowWrap();
        if (lastBitIsSign) return setChunksToMin(dst, to, count);
    }
    dst[count - 1] = fixedTopChunk(dst[count - 1], to);
    if (negative) negateChunks(dst, count);
    if (exact) return;

    Tail const tail = tailOfQuotient(negative, division.compareRemainderToHalf(), (dst[0] & 1) != 0);
    // Raising the floor of a negative quotient leads back to the truncated one.
    bool const steps = bumps(resolveDivisionRounding(client, round), tail) != negative;
    if (!steps) return;
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
