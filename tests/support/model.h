/// \file
/// One element of any representation in a body of its own, and what an operation on it leaves, tells and
/// shows on the way: the oracle for bodies and numbers.
#pragma once

#include "support/numbers.h"

#include <orvex/multiword/mpr_quantize.h>
#include <orvex/number_body/numberbodyfactory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <functional>
#include <memory>

namespace orvextest
{

/// The stored integers of a fixed type, real or complex, or the stored double of another.
struct Value {
    Type type;
    Element parts{};
    double raw = 0.0;

    bool isFixed() const { return type.mode == fxpModeDataTypeFixed; }
    bool isComplex() const { return parts.size() == 2; }
    bool isMultiWord() const { return isFixed() && type.wordLength > 64; }
    /// Of the same type.
    bool operator==(Value const& other) const { return parts == other.parts && sameDouble(raw, other.raw); }
    friend std::ostream& operator<<(std::ostream& out, Value const& value)
    {
        out << value.type;
        if (!value.isFixed()) return out << ' ' << value.raw;
        for (Int const& part : value.parts) out << ' ' << part;
        return out;
    }
};

/// A body of three elements with the cursor on the middle one, which is the value. Its client is its own.
class Held
{
public:
    RecordingClient client{};

    explicit Held(Value const& value, Modes modes = {fxpModeRoundingFloor, 0})
        : type_(value.type), storage_(around(value)),
          body_(NumberBodyFactory::createNumberBody(storage_.data(), type_, client, 3, modes.rounding(),
                                                    modes.overflow(), value.isComplex()))
    {
        body_->setIndex(1);
    }

    /// As the container holds it now.
    Value value() const
    {
        Value value{type_};
        std::size_t const parts = storage_.parts() / 3;
        Chunk const word = storage_.pattern(1)[0];
        if (type_.mode == fxpModeDataTypeSingle)
            value.raw = std::bit_cast<float>(static_cast<std::uint32_t>(word));
        else if (!value.isFixed())
            value.raw = std::bit_cast<double>(word);
        for (std::size_t i = 0; value.isFixed() && i < parts; ++i)
            value.parts.push_back(storage_.integer(parts + i, type_.isSigned()));
        return value;
    }
    bool isAloneTouched() const { return around(value()) == storage_ && body_->index() == 1; }
    NumberBody& operator*() const { return *body_; }
    NumberBody* operator->() const { return body_.get(); }
    NumberBody const* body() const { return body_.get(); }

private:
    static Storage around(Value const& value)
    {
        std::size_t const parts = value.isComplex() ? 2 : 1;
        Storage storage(value.type, 3 * parts);
        std::vector<Chunk> const beside(chunkCount(value.type) + 1, 0x2A2A2A2A2A2A2A2A);
        for (std::size_t i = 0; i < 3 * parts; ++i)
            storage.put(i, i / parts != 1    ? beside
                           : value.isFixed() ? patternOf(value.parts[i - parts], value.type)
                                             : patternOf(value.raw, value.type));
        return storage;
    }

    Type type_;
    Storage storage_;
    std::unique_ptr<NumberBody> body_;
};

/// Runs an operation to its end, and with hooks that throw at each event. `states` are what is seen at each
/// event, and what is left.
template <class Run>
void checkOperation(std::string const& name, Value const& before, Modes modes, Events const& events,
                    std::vector<Value> const& states, std::string const& text, Run const& run)
{
    for (std::size_t throwAt = 0; throwAt <= events.size(); ++throwAt) {
        Held held(before, modes);
        std::vector<Value> seen, wanted(states.begin(), states.begin() + static_cast<long>(throwAt) + 1);
        held.client.throwAt = throwAt;
        held.client.onEvent = [&](Event) { seen.push_back(held.value()); };
        bool const isLast = throwAt == events.size();
        std::string const printed = printedBy([&] {
            try {
                run(*held);
            } catch (RecordingClient::Thrown const&) {
            }
        });
        Events heard = events;
        heard.resize(std::min(throwAt + 1, events.size()));
        if (!isLast) wanted.push_back(states[throwAt]);
        seen.push_back(held.value());
        ASSERT_TRUE(seen == wanted && held.client.events() == heard && held.isAloneTouched() &&
                    (!isLast || printed == text))
            << name << " on " << before << modes << ", throwing at event " << throwAt << ": "
            << testing::PrintToString(seen) << " instead of " << testing::PrintToString(wanted) << ", "
            << testing::PrintToString(held.client.events()) << " instead of " << testing::PrintToString(heard)
            << ", text '" << printed << "'";
    }
}

/// The type of a full-precision product, and of a full-precision sum.
inline Type productRule(Type const& a, Type const& b)
{
    return fixedType(a.isSigned() || b.isSigned(), a.wordLength + b.wordLength,
                     a.fixedExponent + b.fixedExponent);
}
inline Type sumRule(Type const& a, Type const& b)
{
    int const f = -std::min(a.fixedExponent, b.fixedExponent);
    return {a.isSigned() || b.isSigned(),
            std::max(a.wordLength + a.fixedExponent, b.wordLength + b.fixedExponent) + f + 1, f};
}

/// The same word without scaling but for a power of two.
inline Type stripped(Type type, int exponent = 0)
{
    type.fixedExponent = exponent;
    type.slopeAdjustmentFactor = 1.0;
    type.bias = 0.0;
    return type;
}

/// The integer that a container holds after its bits were changed.
inline Int inContainer(std::vector<Chunk> const& pattern, Type const& type)
{
    Storage storage(type, 1);
    storage.put(0, pattern);
    return storage.integer(0, type.isSigned());
}
inline Int inContainer(Int const& value, Type const& type)
{
    return inContainer(patternOf(value, type), type);
}

/// The real part as its getter for real-world values has it.
inline double realWorldOf(Value const& value, std::size_t part = 0)
{
    if (value.isFixed()) return readRealWorld(value.parts[part], value.type);
    return value.type.mode == fxpModeDataTypeScaledDouble ? readScaled(value.raw, value.type) : value.raw;
}

/// A raw double, or a stored integer of `from` as one, brought to the grid of `to`'s stored integers: with
/// the net scaling, which divides if only the target has a factor, in single precision where that suffices.
inline double throughPlan(double x, Type const& from, Type const& to)
{
    struct Net {
        double factor, slope, bias;
    };
    auto const net = [](Type const& u, Type const& y) {
        int carry = 0;
        double const factor = 2 * std::frexp(u.slopeAdjustmentFactor / y.slopeAdjustmentFactor, &carry);
        return Net{factor, std::ldexp(factor, u.fixedExponent - y.fixedExponent + carry - 1),
                   u.bias == y.bias
                       ? 0.0
                       : (u.bias - y.bias) / std::ldexp(y.slopeAdjustmentFactor, y.fixedExponent)};
    };
    Net n = net(from, to);
    bool const divides =
        to.slopeAdjustmentFactor != 1.0 && n.factor != 1.0 && from.slopeAdjustmentFactor == 1.0;
    if (divides) {
        n = net(to, from);
        n.bias = -n.bias;
    }
    auto const inPrecisionOf = [&](auto one) {
        using T = decltype(one);
        T const value = static_cast<T>(x), slope = static_cast<T>(n.slope), bias = static_cast<T>(n.bias);
        if (divides) return static_cast<double>((value + bias) / slope);
        T const product = value * slope;
        return static_cast<double>(product + bias);
    };
    bool const isSingle =
        from.mode == fxpModeDataTypeSingle && to.mode == fxpModeDataTypeFixed && n.slope >= FLT_MIN &&
        n.slope <= FLT_MAX &&
        (n.bias == 0.0 || (n.factor == 1.0 && sameDouble(static_cast<float>(n.bias), n.bias)));
    return isSingle ? inPrecisionOf(1.0F) : inPrecisionOf(1.0);
}

/// A fixed value of up to `maxWordLength` bits, with a factor and a bias if `isScaled`; or one time in four,
/// if `mayFloat`, a double near the range of such a type.
inline Value anyValue(Random& random, int maxWordLength, bool isScaled, bool mayFloat)
{
    Value value{random.radixType(maxWordLength, -maxWordLength / 2, maxWordLength / 3)};
    if (isScaled && random.coin()) {
        value.type.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.5, 1.1, -1.25, 3.0});
        value.type.bias = random.pick(std::array{0.0, -3.7, 300.0, 0.5});
    }
    if (mayFloat && random.between(0, 3) == 0) {
        value.raw = random.doubleNear(stripped(value.type));
        switch (random.between(0, 2)) {
        case 0: value.type.mode = fxpModeDataTypeScaledDouble; break;
        case 1: value.type = Type::doubleDataType(); break;
        default: value.type = Type::singleDataType(); value.raw = static_cast<float>(value.raw);
        }
        return value;
    }
    std::vector<Int> const candidates = interestingStored(value.type, random, 4);
    for (int part = random.coin() ? 2 : 1; part > 0; --part) value.parts.push_back(random.pick(candidates));
    return value;
}

/// A double truncated to 64 bits. What does not fit is the least integer, beyond 2^63 of the unsigned form
/// the same plus the top bit.
inline Int truncated(double value, bool isSigned)
{
    Int const top = Int(1) << 63;
    auto const helper = [&](double x) { return x >= -0x1p63 && x < 0x1p63 ? Int(std::trunc(x)) : Int(-top); };
    return isSigned         ? helper(value)
           : value > 0x1p63 ? wrapTo(helper(value - 0x1p63) + top, u(64))
                            : wrapTo(helper(value), u(64));
}

/// A bit counted from 0, the sign above the word.
inline bool bitAt(Int const& value, int bit) { return modulo(floorOf(scaled(value, -bit)), 2) != 0; }

/// A fixed element at work. Slope and bias play a part only where the other operand is not fixed; conversions
/// between different scalings are not modelled.
struct Model {
    Type type;
    Modes modes;
    Element now;
    Events events{};
    Elements seen{}; ///< in the element at each event
    std::string text{};

    Model(Value const& value, Modes with) : type(value.type), modes(with), now(value.parts) {}
    bool isComplex() const { return now.size() == 2; }
    bool isMultiWord() const { return type.wordLength > 64; }
    Value value() const { return {type, now}; }

    /// Compares what `run` does to a body of the value that this began with.
    template <class Run>
    void check(std::string const& name, Value const& before, Run const& run) const
    {
        std::vector<Value> states;
        for (Element const& element : seen) states.push_back({type, element});
        states.push_back(value());
        checkOperation(name, before, modes, events, states, text, run);
    }

    void tell(Events const& list)
    {
        for (Event const event : list) {
            events.push_back(event);
            seen.push_back(now);
        }
    }
    Int formed(Outcome const& outcome)
    {
        tell(outcome.events);
        return outcome.stored;
    }
    /// Underflow finds the old value, any other event the new one.
    void put(std::size_t part, Outcome outcome)
    {
        if (!outcome.events.empty() && outcome.events[0] == Event::underflow) {
            tell({Event::underflow});
            outcome.events.erase(outcome.events.begin());
        }
        now[part] = outcome.stored;
        tell(outcome.events);
    }
    bool refuses(Value const& other)
    {
        if (!other.isFixed()) text = foreign;
        return !other.isFixed();
    }

    Outcome converted(Value const& from, std::size_t part) const
    {
        if (!from.isFixed())
            return quantize(throughPlan(from.raw, from.type, type), stripped(type), modes.round, modes.sat);
        if (from.type == type) return {from.parts[part], {}};
        return convert(from.parts[part], from.type, type, modes.round, modes.sat);
    }
    /// Also of operands with bits above the word: without a sign it shows in the top chunk alone, after that
    /// was cut.
    Outcome sum(Int const& a, int sign, Int const& b) const
    {
        Int const low = Int(1) << static_cast<unsigned>(64 * (chunkCount(type) - 1)),
                  rest = a % low + sign * (b % low), stored = wrapTo(a + sign * b, type),
                  risen = stored / low - a / low;
        bool const isLow = type.isSigned() ? a < 0 : sign < 0,
                   overflows = type.isSigned()
                                   ? (stored < 0) != (a < 0) && (stored < 0) == (sign > 0 ? b >= 0 : b < 0)
                                   : sign * risen < 0 || (risen == 0 && (rest < 0 || rest >= low));
        if (!overflows || modes.sat == 0) return {stored, Events(overflows, Event::wrap)};
        return store(isLow ? minStored(type) - 1 : maxStored(type) + 1, type, 0, 1);
    }
    void add(std::size_t part, int sign, Value const& other, std::size_t otherPart)
    {
        put(part, sum(now[part], sign, formed(converted(other, otherPart))));
    }
    Outcome product(Int const& a, Type const& aType, Int const& b, Type const& bType) const
    {
        Type const full = productRule(aType, bType);
        return converted({full, {valueOf(chunksOf(a * b, full).data(), full)}}, 0);
    }
    Outcome quotient(Int const& a, Type const& aType, Int const& b, Type const& bType) const
    {
        Outcome const outcome = divide(a, aType, b, bType, type, modes.round, modes.sat);
        return {inContainer(outcome.stored, type), outcome.events};
    }

    void assign(Value const& other)
    {
        put(0, converted(other, 0));
        if (!isComplex()) return;
        if (other.isComplex())
            put(1, converted(other, 1));
        else
            now[1] = 0;
    }
    void plus(int sign, Value const& other)
    {
        if (refuses(other)) return;
        for (std::size_t part = 0; part < std::min(now.size(), other.parts.size()); ++part)
            add(part, sign, other, part);
    }
    /// With the part unset that neither operation computes.
    void combine(Value const& a, Value const& b, bool isQuotient)
    {
        Element result(now.size());
        for (std::size_t part = 0; a.isFixed() && b.isFixed() && part < result.size(); ++part) {
            if (part == 1 && (!a.isComplex() || (b.isComplex() && !isQuotient))) continue;
            result[part] = formed(isQuotient ? quotient(a.parts[part], a.type, b.parts[0], b.type)
                                             : product(a.parts[part], a.type, b.parts[0], b.type));
        }
        now = result;
    }
    /// A complex element does this as signed word by signed word alone.
    void times(Value const& other)
    {
        if (isComplex() && (isMultiWord() || !type.isSigned())) return;
        bool const isRefused = refuses(other);
        if (!isComplex())
            combine(value(), other, false);
        else if (!isRefused) {
            auto const part = [&](std::size_t mine, std::size_t its) {
                Int const factor = its < other.parts.size() ? other.parts[its] : Int(0);
                return formed(product(now[mine], type, factor, other.type));
            };
            Int const first = part(0, 0);
            bool const isWord = !other.isMultiWord(), isSignedWord = isWord && other.type.isSigned();
            if (isWord && !isSignedWord) text = "\nComplex signed*= unsigned TBD!\n";
            if (!isSignedWord) return;
            Int const real = formed(store(Rational(first - part(1, 1)), type, 0, modes.sat));
            Int const imag = part(1, 0);
            now[1] = imag;
            Int const last = part(0, 1);
            put(1, store(Rational(now[1] + last), type, 0, modes.sat));
            now[0] = real;
        }
    }

    /// A part of another element as bits, to be taken in two's complement as far as needed.
    Int bitsOf(Value const& other, std::size_t part) const
    {
        if (!other.isFixed())
            return part == 1 ? Int(0)
                             : truncated(other.raw, isMultiWord() ? other.type.isSigned() : type.isSigned());
        return part < other.parts.size() ? other.parts[part] : Int(0);
    }
    template <class Operation>
    void combineBits(Value const& other, Operation operation)
    {
        for (std::size_t part = 0; part < now.size(); ++part) {
            std::vector<Chunk> mine = patternOf(now[part], type);
            std::vector<Chunk> const its = patternOf(bitsOf(other, part), type);
            std::ranges::transform(mine, its, mine.begin(), operation);
            now[part] = inContainer(mine, type);
        }
    }
    void complement()
    {
        for (Int& part : now) {
            part = inContainer(-part - 1, type);
            if (type.isSigned()) continue;
            std::vector<Chunk> pattern = patternOf(part, type);
            int const bits = type.wordLength;
            // The mask of a second chunk is the wrong one, by contract.
            if (bits > 64 && bits <= 128)
                pattern[1] &= ~Chunk{0} << (bits - 65);
            else
                pattern.back() &= ~Chunk{0} >> (63 - (bits - 1) % 64);
            part = inContainer(pattern, type);
        }
    }
    /// The sign is that of the container, and takes its extension along.
    void setBit(int bit, bool value)
    {
        Int const weight = Int(1) << static_cast<unsigned>(bit - 1), on = value ? weight : Int(0);
        bool const isSign = type.isSigned() && bit == type.wordLength;
        if (isComplex() || (isSign ? now[0] < 0 : bitAt(now[0], bit - 1)) == value) return;
        now[0] = isSign ? Int(modulo(now[0], weight) - on) : Int(now[0] + 2 * on - weight);
    }

    // Shifts, one part after the other. Counts beyond any word are as good as this one.

    static constexpr unsigned far = 3000;

    void shiftRight(unsigned n)
    {
        for (Int& part : now) {
            if (part > 0 && n >= static_cast<unsigned>(type.getWordLengthNonSign())) tell({Event::underflow});
            part = floorOf(Rational(part, Int(1) << std::min(n, far)));
        }
    }
    void shiftRightLogical(unsigned n)
    {
        // By whole chunks the sign's extension moves too.
        int const bits =
            isMultiWord() && n % 64 == 0 ? static_cast<int>(64 * chunkCount(type)) : type.wordLength;
        for (Int& part : now)
            if (n > 0)
                part = inContainer((part < 0 ? wrapTo(part, u(bits)) : part) >> std::min(n, far), type);
    }
    void shiftLeft(unsigned n)
    {
        if (n == 0) return;
        for (Int& part : now) {
            Int const wide = part << std::min(n, far);
            part = isMultiWord() && n % 64 == 0 ? inContainer(wide, type) : wrapTo(wide, type);
        }
    }
    /// To the right by positive counts.
    void shiftBySign(int count)
    {
        unsigned const n = count < 0 ? 0U - static_cast<unsigned>(count) : static_cast<unsigned>(count);
        if (count == 0) return;
        if (count > 0) return shiftRight(n);
        if (modes.sat == 0) return shiftLeft(n);
        for (std::size_t part = 0; part < now.size(); ++part)
            put(part, store(Rational(now[part] << std::min(n, far)), type, 0, 1));
    }
};

/// Compares the stores of a double by a body and mpr_quantize with the oracle.
inline void checkStore(double value, Type const& type, int round, int sat)
{
    SCOPED_TRACE(testing::PrintToString(value));
    Outcome const wanted = quantize(value, type, round, sat);
    Value const before{type, {wanted.stored == 0 ? maxStored(type) : Int(0)}};
    Model model(before, {round, sat});
    model.put(0, wanted);
    ASSERT_NO_FATAL_FAILURE(
        model.check("assignDouble", before, [&](NumberBody& it) { it.assignDouble(&value); }));
    RecordingClient client;
    double const read = ORVEX::mpr_quantize(client, value, type, round, sat);
    ASSERT_TRUE(sameDouble(read, readRealWorld(wanted.stored, type)) && client.events() == wanted.events)
        << type << Modes{round, sat} << ": " << read;
}

} // namespace orvextest
