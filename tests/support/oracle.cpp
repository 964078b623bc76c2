#include "support/oracle.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace orvextest
{

/// Exponents beyond this make no difference.
constexpr long long far = 10000;

Rational scaled(Int const& value, long long exponent)
{
    Int const power = Int(1) << static_cast<unsigned>(std::abs(exponent));
    return exponent < 0 ? Rational(value, power) : Rational(value * power);
}

Rational exactly(double finite, long long exponent)
{
    int own = 0;
    double const mantissa = std::frexp(finite, &own);
    return scaled(static_cast<long long>(std::ldexp(mantissa, 53)), own - 53 + exponent);
}

Int modulo(Int const& value, Int const& modulus)
{
    Int const rest = value % modulus;
    return rest < 0 ? Int(rest + modulus) : rest;
}

Int floorOf(Rational const& value)
{
    Int const above = numerator(value), below = denominator(value);
    return (above - modulo(above, below)) / below;
}

Int roundTo(Rational const& value, int mode, fxpModeRounding_tag cheapest)
{
    Int const down = floorOf(value), up = down + 1, unit = denominator(value);
    Int const rest = numerator(value) - down * unit; // of the value above its floor, in parts of one unit
    int const side = Int(2 * rest).compare(unit);
    if (rest == 0) return down;
    switch (mode) {
    case fxpModeRoundingZero: return value < 0 ? up : down;
    case fxpModeRoundingNearest: return side >= 0 ? up : down;
    case fxpModeRoundingCeiling: return up;
    case fxpModeRoundingCheapest: return roundTo(value, cheapest);
    case fxpModeRoundingHalfAway: return side > 0 || (side == 0 && value > 0) ? up : down;
    case fxpModeRoundingConvergent: return side > 0 || (side == 0 && down % 2 != 0) ? up : down;
    default: return down;
    }
}

Int minStored(Type const& type)
{
    return type.isSigned() ? Int(-(Int(1) << static_cast<unsigned>(type.wordLength - 1))) : Int(0);
}

Int maxStored(Type const& type) { return (Int(1) << static_cast<unsigned>(type.getWordLengthNonSign())) - 1; }

Int wrapTo(Int const& value, Type const& type)
{
    Int const span = Int(1) << static_cast<unsigned>(type.wordLength);
    Int const low = modulo(value, span);
    return low > maxStored(type) ? Int(low - span) : low;
}

std::size_t chunkCount(Type const& type) { return static_cast<std::size_t>(type.wordLength + 63) / 64; }

std::vector<Chunk> chunksOf(Int const& value, std::size_t count)
{
    Int const base = Int(1) << 64;
    std::vector<Chunk> chunks(count);
    Int rest = modulo(value, Int(1) << static_cast<unsigned>(64 * count));
    for (Chunk& chunk : chunks) {
        chunk = static_cast<Chunk>(rest % base);
        rest /= base;
    }
    return chunks;
}

std::vector<Chunk> chunksOf(Int const& value, Type const& type) { return chunksOf(value, chunkCount(type)); }

Int valueOf(Chunk const* chunks, Type const& type)
{
    Int value = 0;
    for (std::size_t i = chunkCount(type); i-- > 0;) value = (value << 64) + chunks[i];
    return wrapTo(value, fixedType(type.isSigned(), static_cast<int>(64 * chunkCount(type))));
}

std::vector<Int> interestingStored(Type const& type, Random& random, int randomCount)
{
    Int const low = minStored(type), high = maxStored(type);
    std::vector<Int> candidates{0,        1,        -1,           low,     low + 1,  high,
                                high - 1, high / 2, high / 2 + 1, low / 2, high / 3, low / 3};
    for (unsigned const bit : {1U, 7U, 31U, 52U, 53U, 63U, 64U, 65U, 127U, 128U, 191U})
        for (int const near : {-1, 0, 1})
            for (int const sign : {-1, 1}) candidates.push_back(((Int(1) << bit) + near) * sign);
    for (int i = 0; i < randomCount; ++i) {
        // Runs of equal bits reach carries and borrows that uniform bits never do.
        Int bits = 0;
        for (int filled = 0; filled < type.wordLength; filled += 64) {
            Chunk const chunk = random.bits();
            bits = (bits << 64) + (random.coin() ? chunk : random.coin() ? ~Chunk{0} : Chunk{0});
        }
        candidates.push_back(wrapTo(bits >> static_cast<unsigned>(random.between(0, type.wordLength)), type));
        candidates.push_back(wrapTo(bits << static_cast<unsigned>(random.between(0, type.wordLength)), type));
    }
    std::erase_if(candidates, [&](Int const& value) { return value < low || value > high; });
    return candidates;
}

Rational radixValue(Int const& stored, Type const& type) { return scaled(stored, type.fixedExponent); }

Outcome store(Rational const& units, Type const& type, int round, int sat, fxpModeRounding_tag cheapest)
{
    Int const rounded = roundTo(units, round, cheapest);
    Int const low = minStored(type), high = maxStored(type);
    if (rounded >= low && rounded <= high) return {rounded, {}};
    if (sat == 0) return {wrapTo(rounded, type), {Event::wrap}};
    return rounded < low ? Outcome{low, {Event::saturationToMin}} : Outcome{high, {Event::saturationToMax}};
}

Outcome convert(Int const& source, Type const& sourceType, Type const& type, int round, int sat)
{
    long long const dropped = static_cast<long long>(type.fixedExponent) - sourceType.fixedExponent;
    Outcome outcome = store(scaled(source, -dropped), type, round, sat);
    // Told by the word length alone: a positive value whose word has no bit left, however large the value is.
    if (source > 0 && dropped > 0 && dropped >= sourceType.getWordLengthNonSign())
        outcome.events.insert(outcome.events.begin(), Event::underflow);
    return outcome;
}

Outcome divide(Int const& a, Type const& aType, Int const& b, Type const& bType, Type const& to, int round,
               int sat, fxpModeRounding_tag cheapest)
{
    Int const low = minStored(to), high = maxStored(to);
    if (b == 0) return {a < 0 ? low : high, {Event::divisionByZero}};
    long long const exponent =
        aType.fixedExponent - bType.fixedExponent - static_cast<long long>(to.fixedExponent);
    Rational const exact = Rational(b < 0 ? Int(-a) : a, abs(b)) * scaled(1, std::clamp(exponent, -far, far));
    bool const isLow = exact < 0;
    Event const overflow = sat == 0 ? Event::wrap : isLow ? Event::saturationToMin : Event::saturationToMax;
    Outcome q{0, {}};
    if (isLow && !to.isSigned()) {
        q.events = {sat ? Event::saturationToMax : Event::wrap};
        if (sat) return q;
    }
    Int const magnitude = floorOf(abs(exact));
    unsigned const bits = static_cast<unsigned>(to.getWordLengthNonSign());
    Int above = magnitude >> bits;
    bool const endsInSign = isLow && to.isSigned() && above % 2 != 0 && exact == -(above << bits);
    if (endsInSign) above -= 1;
    if (above != 0 && sat) return {isLow ? low : high, {overflow}};
    for (; above != 0; above &= above - 1) q.events.push_back(Event::wrap);
    if (endsInSign) return {low, q.events};
    q.stored = wrapTo(magnitude, to);
    if (isLow) q.stored = valueOf(chunksOf(-q.stored, to).data(), to);

    Int const step = roundTo(exact, round, cheapest) - (isLow ? Int(-magnitude) : magnitude),
              next = q.stored + step;
    if (step == 0) return q;
    bool const isAtLimit = q.stored == (isLow ? low : high);
    if (isAtLimit) q.events.push_back(overflow);
    if (isAtLimit && sat) return q;
    Int const below = Int(1) << static_cast<unsigned>(64 * (chunkCount(to) - 1)), wrapped = wrapTo(next, to);
    bool const isFixed = !to.isSigned()
                             ? isAtLimit
                             : (isLow ? q.stored : next) % below == 0 && (wrapped < 0) != (q.stored < 0);
    q.stored = isFixed ? wrapped : next;
    return q;
}

Outcome quantizeRadix(double value, Type const& type, int round, int sat)
{
    if (value == 0.0 || std::isnan(value)) return {0, {}};
    Rational const units = std::isinf(value)
                               ? scaled(value > 0 ? 1 : -1, 2 * far)
                               : exactly(value, -std::clamp<long long>(type.fixedExponent, -far, far));
    Outcome outcome = store(units, type, round, sat, fxpModeRoundingZero);
    if (units > 0 && units < 1) outcome.events.insert(outcome.events.begin(), Event::underflow);
    return outcome;
}

Outcome quantize(double value, Type const& type, int round, int sat)
{
    if (value == type.bias || std::isnan(value)) return {0, {}};
    return quantizeRadix(std::isinf(value) ? value : (value - type.bias) / type.slopeAdjustmentFactor, type,
                         round, sat);
}

double readRadix(Int const& stored, Type const& type)
{
    double total = 0.0;
    std::vector<Chunk> const magnitude = chunksOf(abs(stored), chunkCount(type));
    for (std::size_t i = 0; i < magnitude.size(); ++i) {
        long long const weight = type.fixedExponent + 64 * static_cast<long long>(i);
        if (weight > INT_MAX) break;
        double const part = std::ldexp(static_cast<double>(magnitude[i]), static_cast<int>(weight));
        total = stored < 0 ? total - part : total + part;
    }
    return total;
}

double readRealWorld(Int const& stored, Type const& type)
{
    return readRadix(stored, type) * type.slopeAdjustmentFactor + type.bias;
}

ScaledOutcome scaledFromRadix(double value, Type const& type)
{
    Type const unscaled = fixedType(type.isSigned(), type.wordLength);
    double const unit = std::ldexp(1.0, type.fixedExponent), units = value / unit;
    ScaledOutcome outcome{std::isfinite(value) ? units : value, {}};
    if (std::isnan(value)) return outcome;
    if (units > readRadix(maxStored(unscaled), unscaled) || units < readRadix(minStored(unscaled), unscaled))
        outcome.events = {Event::scaledDoubleOverflow};
    else if (units != 0.0 && std::fabs(units) < 1.0)
        outcome.events = {Event::scaledDoubleUnderflow};
    return outcome;
}

ScaledOutcome scaledFromRealWorld(double value, Type const& type)
{
    if (type.mode != fxpModeDataTypeScaledDouble || std::isnan(value)) return {value, {}};
    return scaledFromRadix(std::isfinite(value) ? (value - type.bias) / type.slopeAdjustmentFactor : value,
                           type);
}

double readScaled(double stored, Type const& type)
{
    if (type.mode == fxpModeDataTypeDouble) return stored;
    // Repeated squaring overflows to infinity where a power of two with a negative exponent still has a
    // subnormal.
    double power = 1.0, square = 2.0;
    for (long long rest = std::abs(static_cast<long long>(type.fixedExponent)); rest != 0; rest /= 2) {
        if (rest % 2 != 0) power *= square;
        square *= square;
    }
    if (type.fixedExponent < 0) power = 1.0 / power;
    return power * stored * type.slopeAdjustmentFactor + type.bias;
}

} // namespace orvextest
