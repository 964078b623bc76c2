/// \file
/// What each operation on an element of a fixed type, real or complex, of any width, has to leave and tell,
/// and a check of all of them at once. Slope and bias play a part only in comparisons and where the other
/// operand is not fixed; conversions between different scalings are not modelled.
#pragma once

#include "support/bodies.h"

#include <gtest/gtest.h>

#include <optional>

namespace orvextest
{

/// The integer that a container holds after its bits were changed.
inline Int inContainer(std::vector<Chunk> const& pattern, fxpDataTypeProp const& type)
{
    Storage storage(type, 1);
    storage.put(0, pattern);
    return storage.integer(0, type.isSigned());
}
inline Int inContainer(Int const& value, fxpDataTypeProp const& type)
{
    return inContainer(chunksOf(value, (containerBytes(type) + 7) / 8), type);
}

/// A double truncated to 64 bits. What does not fit is the least integer, beyond 2^63 of the unsigned form
/// the same plus the top bit.
inline Int truncated(double value, bool isSigned)
{
    Int const top = Int(1) << 63;
    auto const helper = [&](double x) { return x >= -0x1p63 && x < 0x1p63 ? Int(std::trunc(x)) : Int(-top); };
    return isSigned         ? helper(value)
           : value > 0x1p63 ? wrapTo(helper(value - 0x1p63) + top, fixedType(false, 64))
                            : wrapTo(helper(value), fixedType(false, 64));
}

/// -1, 0, 1, or 2 for unordered.
inline int compared(fxpDataTypeProp const& type, Int const& stored, Value const& other, std::size_t part)
{
    if (!other.isFixed()) return 0;
    if (type.slopeAdjustmentFactor == other.type.slopeAdjustmentFactor && type.bias == other.type.bias)
        return radixValue(stored, type).compare(radixValue(other.parts[part], other.type));
    double const mine = readRealWorld(stored, type), its = realWorldOf(other, part);
    return std::isnan(mine) || std::isnan(its) ? 2 : mine > its ? 1 : mine < its ? -1 : 0;
}
inline int sign(int value) { return value == 2 ? 2 : (value > 0) - (value < 0); }

/// The element as the steps go on, and at each event what is heard and seen.
struct FixedElement {
    fxpDataTypeProp type;
    Modes modes;
    Element now;
    Events events{};
    Elements seen{};
    std::string text{};

    bool isComplex() const { return now.size() == 2; }
    bool isMultiWord() const { return type.wordLength > 64; }

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
        if (!other.isFixed()) text = "Need to determine rules for heterogeneous arithmetic!\n";
        return !other.isFixed();
    }

    Outcome converted(Value const& from, std::size_t part) const
    {
        if (!from.isFixed())
            return quantize(throughPlan(from.raw, from.type, type), stripped(type), modes.round, modes.sat);
        if (from.type == type) return {from.parts[part], {}};
        return convert(from.parts[part], from.type, type, modes.round, modes.sat);
    }
    void add(std::size_t part, int sign, Value const& other, std::size_t otherPart)
    {
        Int const term = formed(converted(other, otherPart));
        put(part, store(Rational(now[part] + sign * term), type, 0, modes.sat));
    }
    Outcome product(Int const& a, fxpDataTypeProp const& aType, Int const& b, fxpDataTypeProp const& bType)
    {
        return converted({fixedType(aType.isSigned() || bType.isSigned(), aType.wordLength + bType.wordLength,
                                    aType.fixedExponent + bType.fixedExponent),
                          {a * b}},
                         0);
    }
    /// Nothing where a wrapping quotient does not fit: what that leaves is another test's matter.
    std::optional<Outcome> quotient(Int const& a, fxpDataTypeProp const& aType, Int const& b,
                                    fxpDataTypeProp const& bType) const
    {
        Int const least = minStored(type), most = maxStored(type);
        if (b == 0) return Outcome{a < 0 ? least : most, {Event::divisionByZero}};
        Rational const exact = Rational(b < 0 ? Int(-a) : a, abs(b)) *
                               scaled(1, aType.fixedExponent - bType.fixedExponent - type.fixedExponent);
        if (exact == 0) return Outcome{0, {}};
        if (modes.sat == 0 && (abs(exact) >= most || (exact < 0 && !type.isSigned()))) return {};
        if (exact < 0 && !type.isSigned()) return Outcome{0, {Event::saturationToMax}};
        if (exact < least) return Outcome{least, {Event::saturationToMin}};
        return store(exact, type, modes.round, modes.sat, fxpModeRoundingZero);
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
    void times(Value const& other)
    {
        if (isComplex() && (isMultiWord() || !type.isSigned())) return;
        if (refuses(other)) {
            if (!isComplex()) now[0] = 0;
            return;
        }
        auto const partial = [&](std::size_t mine, std::size_t its) {
            return formed(product(now[mine], type, other.parts[its], other.type));
        };
        Int real = partial(0, 0);
        if (isComplex() && other.isMultiWord()) return;
        if (isComplex() && !other.type.isSigned()) {
            text = "\nComplex signed*= unsigned TBD!\n";
            return;
        }
        if (isComplex() && other.isComplex())
            real = formed(store(Rational(real - partial(1, 1)), type, 0, modes.sat));
        if (isComplex()) now[1] = partial(1, 0);
        if (isComplex() && other.isComplex()) {
            Int const term = partial(0, 1);
            put(1, store(Rational(now[1] + term), type, 0, modes.sat));
        }
        now[0] = real;
    }
    /// With the part unset that neither operation computes.
    bool combine(Value const& a, Value const& b, bool isQuotient)
    {
        Element result(now.size());
        for (std::size_t part = 0; a.isFixed() && b.isFixed() && part < result.size(); ++part) {
            if (part == 1 && (!a.isComplex() || (b.isComplex() && !isQuotient))) continue;
            auto const outcome = isQuotient ? quotient(a.parts[part], a.type, b.parts[0], b.type)
                                            : product(a.parts[part], a.type, b.parts[0], b.type);
            if (!outcome) return false;
            result[part] = formed(*outcome);
        }
        now = result;
        return true;
    }

    /// A part of another element as bits: sign-extended if that is signed, without end.
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
            std::size_t const count = (containerBytes(type) + 7) / 8;
            std::vector<Chunk> mine = chunksOf(now[part], count);
            std::vector<Chunk> const its = chunksOf(bitsOf(other, part), count);
            std::ranges::transform(mine, its, mine.begin(), operation);
            now[part] = inContainer(mine, type);
        }
    }
    void complement()
    {
        for (Int& part : now) {
            part = inContainer(-part - 1, type);
            if (type.isSigned()) continue;
            std::vector<Chunk> pattern = chunksOf(part, (containerBytes(type) + 7) / 8);
            int const bits = type.wordLength;
            // The mask of a second chunk is the wrong one, by contract.
            if (bits > 64 && bits <= 128)
                pattern[1] &= ~Chunk{0} << (bits - 65);
            else
                pattern.back() &= ~Chunk{0} >> (63 - (bits - 1) % 64);
            part = inContainer(pattern, type);
        }
    }
    void setBit(int bit, bool value)
    {
        if (isComplex()) return;
        Int const weight = Int(1) << static_cast<unsigned>(bit - 1);
        bool const old = modulo(floorOf(Rational(now[0], weight)), 2) != 0;
        if (old != value) now[0] = wrapTo(now[0] + (value ? weight : Int(-weight)), type);
    }

    // Shifts, one part after the other

    void shiftRight(unsigned n)
    {
        for (Int& part : now) {
            if (part > 0 && static_cast<int>(n) >= type.getWordLengthNonSign()) tell({Event::underflow});
            part = floorOf(Rational(part, Int(1) << n));
        }
    }
    void shiftRightLogical(unsigned n)
    {
        Int const span = Int(1) << static_cast<unsigned>(type.wordLength);
        for (Int& part : now)
            if (isMultiWord() && n % 64 == 0) // the sign's extension moves too
                part =
                    n == 0 ? part : inContainer(modulo(part, Int(1) << (64 * chunkCount(type))) >> n, type);
            else if (n > 0)
                part = n >= 64 && !isMultiWord() ? Int(0) : Int(modulo(part, span) >> n);
    }
    void shiftLeft(unsigned n)
    {
        for (Int& part : now)
            part = isMultiWord() && n % 64 == 0 ? inContainer(part << n, type) : wrapTo(part << n, type);
    }
    void shiftBySign(int count)
    {
        if (count >= 0) return shiftRight(static_cast<unsigned>(count));
        if (modes.sat == 0) return shiftLeft(static_cast<unsigned>(-count));
        for (std::size_t part = 0; part < now.size(); ++part)
            put(part, store(Rational(now[part] << static_cast<unsigned>(-count)), type, 0, 1));
    }

    int compare(Value const& other) const { return sign(compared(type, now[0], other, 0)); }
    bool equals(Value const& other) const
    {
        if (compare(other) != 0) return false;
        auto const isZero = [](Int const& stored, fxpDataTypeProp const& of) {
            return of.bias == 0.0 ? stored == 0 : readRealWorld(stored, of) == 0.0;
        };
        if (!isComplex()) return !other.isComplex() || isZero(other.parts[1], other.type);
        return other.isComplex() ? compared(type, now[1], other, 1) == 0 : isZero(now[1], type);
    }
};

/// Runs an operation to its end, and with hooks that throw at each event.
template <class Run>
void checkOperation(char const* name, Value const& before, FixedElement const& wanted, Run const& run)
{
    for (std::size_t throwAt = 0; throwAt <= wanted.events.size(); ++throwAt) {
        Held held(before, wanted.modes);
        Elements seen;
        held.client.throwAt = throwAt;
        held.client.onEvent = [&](Event) { seen.push_back(held.value().parts); };
        std::string const text = printedBy([&] {
            try {
                run(*held);
            } catch (RecordingClient::Thrown const&) {
            }
        });
        std::size_t const told = std::min(throwAt + 1, wanted.events.size());
        Elements wantedSeen(wanted.seen.begin(), wanted.seen.begin() + static_cast<long>(told));
        bool const isLast = throwAt == wanted.events.size();
        wantedSeen.push_back(isLast ? wanted.now : wanted.seen[throwAt]);
        Events heard = wanted.events;
        heard.resize(told);
        seen.push_back(held.value().parts);
        ASSERT_TRUE(seen == wantedSeen && held.client.events() == heard && held.isAloneTouched() &&
                    (!isLast || text == wanted.text))
            << name << ", throwing at event " << throwAt << ": " << testing::PrintToString(seen)
            << " instead of " << testing::PrintToString(wantedSeen) << ", "
            << testing::PrintToString(held.client.events()) << " instead of " << testing::PrintToString(heard)
            << ", text '" << text << "'";
    }
}

/// All operations on `a` with `b` and, in products and quotients, b and c. With `isSelf` b is a itself.
/// Conversions are left out where b is of another scaling.
inline void checkFixedElement(Value const& a, Value const& b, Value const& c, Modes modes, bool isSelf,
                              Random& random)
{
    Held const heldB(b), heldC(c);
    SCOPED_TRACE(testing::Message() << a << (isSelf ? " with itself" : " with ") << b << " and " << c
                                    << modes);
    auto const check = [&](char const* name, auto model, auto run) {
        FixedElement wanted{a.type, modes, a.parts};
        if constexpr (std::is_same_v<decltype(model(wanted)), bool>) {
            if (!model(wanted)) return;
        } else
            model(wanted);
        checkOperation(name, a, wanted,
                       [&](NumberBody& it) { run(it, isSelf ? &it : heldB.body(), heldC.body()); });
    };
    using E = FixedElement;
    using N = NumberBody;
    using P = NumberBody const*;
    bool const isConverted = !b.isFixed() || (a.type.slopeAdjustmentFactor == b.type.slopeAdjustmentFactor &&
                                              a.type.bias == b.type.bias);
    if (isConverted) {
        check(
            "assignNumber", [&](E& e) { e.assign(b); }, [](N& it, P x, P) { it.assignNumber(x); });
        check(
            "plusEquals", [&](E& e) { e.plus(1, b); }, [](N& it, P x, P) { it.plusEquals(x); });
        check(
            "minusEquals", [&](E& e) { e.plus(-1, b); }, [](N& it, P x, P) { it.minusEquals(x); });
        check(
            "imagEquals", [&](E& e) { e.isComplex() ? e.put(1, e.converted(b, 0)) : void(); },
            [](N& it, P x, P) { it.imagEquals(x); });
        check(
            "imagPlusEquals", [&](E& e) { e.isComplex() && !e.refuses(b) ? e.add(1, 1, b, 0) : void(); },
            [](N& it, P x, P) { it.imagPlusEquals(x); });
    }
    check(
        "timesEquals", [&](E& e) { e.times(b); }, [](N& it, P x, P) { it.timesEquals(x); });
    check(
        "isProductOf", [&](E& e) { e.combine(b, c, false); }, [](N& it, P x, P y) { it.isProductOf(x, y); });
    check(
        "isQuotientOf", [&](E& e) { return e.combine(b, c, true); },
        [](N& it, P x, P y) { it.isQuotientOf(x, y); });
    check(
        "assignImagOf",
        [&](E& e) {
            e.isComplex() ? void()
                          : void(e.now[0] = b.isFixed() ? inContainer(e.bitsOf(b, 1), a.type) : Int(0));
        },
        [](N& it, P x, P) { it.assignImagOf(x); });
    check(
        "and", [&](E& e) { e.combineBits(b, std::bit_and{}); }, [](N& it, P x, P) { it.bitAndEqual(x); });
    check(
        "or", [&](E& e) { e.combineBits(b, std::bit_or{}); }, [](N& it, P x, P) { it.bitOrEqual(x); });
    check(
        "xor", [&](E& e) { e.combineBits(b, std::bit_xor{}); }, [](N& it, P x, P) { it.bitXorEqual(x); });
    check(
        "not", [&](E& e) { e.complement(); }, [](N& it, P, P) { it.bitCmp(); });

    int const bits = a.type.wordLength, bit = random.between(1, bits), n = random.between(1, bits + 70);
    for (bool const value : {false, true})
        check(
            "bitSet", [&](E& e) { e.setBit(bit, value); }, [&](N& it, P, P) { it.bitSet(bit, value); });
    for (int const count : {0, 1, bits - 1, bits, 64, 128, n}) {
        unsigned const u = static_cast<unsigned>(count);
        SCOPED_TRACE(testing::Message() << "by " << count);
        check(
            ">>", [&](E& e) { e.shiftRight(u); }, [&](N& it, P, P) { it.bitShiftRightArith(u); });
        check(
            ">>>", [&](E& e) { e.shiftRightLogical(u); }, [&](N& it, P, P) { it.bitShiftRightLogical(u); });
        check(
            "<<", [&](E& e) { e.shiftLeft(u); }, [&](N& it, P, P) { it.bitShiftLeftLogical(u); });
        for (int const by : {count, -count})
            check(
                "shift", [&](E& e) { e.shiftBySign(by); }, [&](N& it, P, P) { it.bitShiftArith(by); });
    }

    Held const held(a);
    FixedElement const element{a.type, modes, a.parts};
    for (int const i : {-1, 0, 1, bit, bits, bits + 1, bits + n})
        ASSERT_EQ(held->bitGet(i),
                  i > 0 && !a.isComplex() &&
                      modulo(floorOf(Rational(a.parts[0], Int(1) << static_cast<unsigned>(i - 1))), 2) != 0)
            << "bit " << i;
    NumberBody const* const other = isSelf ? held.body() : heldB.body();
    ASSERT_EQ(held->compareTo(other), element.compare(b));
    ASSERT_EQ(held->isEqualTo(other), element.equals(b));
    ASSERT_TRUE(held.isAloneTouched() && heldB.isAloneTouched() && heldC.isAloneTouched());
    ASSERT_EQ(heldB.value(), b);
    ASSERT_TRUE(heldB.client.events().empty() && heldC.client.events().empty());
}

} // namespace orvextest
