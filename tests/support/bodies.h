/// \file
/// One element of any representation in a body of its own, what an operation on it leaves and tells, and the
/// steps in double arithmetic that a cast through a float is made of.
#pragma once

#include "support/numbers.h"

#include <orvex/number_body/numberbodyfactory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
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

} // namespace orvextest
