#include "support/bodies.h"

#include <functional>
#include <optional>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

/// The integer that a container holds after its bits were changed.
Int inContainer(std::vector<Chunk> const& pattern, Type const& type)
{
    Storage storage(type, 1);
    storage.put(0, pattern);
    return storage.integer(0, type.isSigned());
}
Int inContainer(Int const& value, Type const& type)
{
    return inContainer(chunksOf(value, (containerBytes(type) + 7) / 8), type);
}

/// A double truncated to 64 bits. What does not fit is the least integer, beyond 2^63 of the unsigned form
/// the same plus the top bit.
Int truncated(double value, bool isSigned)
{
    Int const top = Int(1) << 63;
    auto const helper = [&](double x) { return x >= -0x1p63 && x < 0x1p63 ? Int(std::trunc(x)) : Int(-top); };
    return isSigned         ? helper(value)
           : value > 0x1p63 ? wrapTo(helper(value - 0x1p63) + top, fixedType(false, 64))
                            : wrapTo(helper(value), fixedType(false, 64));
}

/// A bit counted from 0, the sign above the word.
bool bitAt(Int const& value, int bit)
{
    return modulo(floorOf(Rational(value, Int(1) << static_cast<unsigned>(bit))), 2) != 0;
}

/// An element that works out the steps. Slope and bias play a part only in comparisons and where the other
/// operand is not fixed; conversions between different scalings are not modelled.
struct Model : Steps {
    Type type;

    Model(Value const& value, Modes with) : Steps{with, value.parts}, type(value.type) {}
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
    Outcome product(Int const& a, Type const& aType, Int const& b, Type const& bType)
    {
        return converted({fixedType(aType.isSigned() || bType.isSigned(), aType.wordLength + bType.wordLength,
                                    aType.fixedExponent + bType.fixedExponent),
                          {a * b}},
                         0);
    }
    /// Nothing where a wrapping quotient does not fit: what that leaves is another test's matter.
    std::optional<Outcome> quotient(Int const& a, Type const& aType, Int const& b, Type const& bType) const
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
        if (bitAt(now[0], bit - 1) != value) now[0] = wrapTo(now[0] + (value ? weight : Int(-weight)), type);
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

    /// -1, 0, 1, or 2 for unordered.
    int compare(Value const& other, std::size_t part) const
    {
        if (!other.isFixed()) return 0;
        if (type.slopeAdjustmentFactor == other.type.slopeAdjustmentFactor && type.bias == other.type.bias) {
            int const order = radixValue(now[part], type).compare(radixValue(other.parts[part], other.type));
            return (order > 0) - (order < 0);
        }
        double const mine = readRealWorld(now[part], type), its = realWorldOf(other, part);
        return std::isnan(mine) || std::isnan(its) ? 2 : (mine > its) - (mine < its);
    }
    bool equals(Value const& other) const
    {
        auto const isZero = [](Int const& stored, Type const& of) {
            return of.bias == 0.0 ? stored == 0 : readRealWorld(stored, of) == 0.0;
        };
        if (compare(other, 0) != 0) return false;
        if (isComplex() && other.isComplex()) return compare(other, 1) == 0;
        return isComplex() ? isZero(now[1], type) : !other.isComplex() || isZero(other.parts[1], other.type);
    }
};

/// All operations on `a` with `b` and, in products and quotients, b and c; but for complex timesEquals, and
/// for conversions where b is of another scaling. With `isSelf` b is a itself.
void checkFixedElement(Value const& a, Value const& b, Value const& c, Modes modes, bool isSelf,
                       Random& random)
{
    using N = NumberBody;
    Held const held(a), heldB(b), heldC(c);
    SCOPED_TRACE(testing::Message() << a << (isSelf ? " with itself" : " with ") << b << " and " << c
                                    << modes);
    auto const check = [&](char const* name, auto run, auto model) {
        Model wanted(a, modes);
        if (model(wanted))
            checkOperation(name, a, wanted, [&](N& it) { run(it, isSelf ? &it : heldB.body()); });
    };
    auto const binary = [&](char const* name, void (N::*run)(NumberBody const*), auto model) {
        check(name, std::mem_fn(run), [&](Model& e) { return model(e), true; });
    };
    auto const counted = [&](auto count, auto run, auto model) {
        SCOPED_TRACE(testing::Message() << "by " << count);
        check(
            "shift", [&](N& it, auto) { (it.*run)(count); },
            [&](Model& e) { return (e.*model)(count), true; });
    };

    if (!b.isFixed() ||
        (a.type.slopeAdjustmentFactor == b.type.slopeAdjustmentFactor && a.type.bias == b.type.bias)) {
        binary("assignNumber", &N::assignNumber, [&](Model& e) { e.assign(b); });
        binary("plusEquals", &N::plusEquals, [&](Model& e) { e.plus(1, b); });
        binary("minusEquals", &N::minusEquals, [&](Model& e) { e.plus(-1, b); });
        binary("imagEquals", &N::imagEquals, [&](Model& e) {
            if (e.isComplex()) e.put(1, e.converted(b, 0));
        });
        binary("imagPlusEquals", &N::imagPlusEquals, [&](Model& e) {
            if (e.isComplex() && !e.refuses(b)) e.add(1, 1, b, 0);
        });
    }
    if (!a.isComplex())
        binary("timesEquals", &N::timesEquals, [&](Model& e) {
            e.refuses(b);
            e.combine(a, b, false);
        });
    check(
        "isProductOf", [&](N& it, auto other) { it.isProductOf(other, heldC.body()); },
        [&](Model& e) { return e.combine(b, c, false); });
    check(
        "isQuotientOf", [&](N& it, auto other) { it.isQuotientOf(other, heldC.body()); },
        [&](Model& e) { return e.combine(b, c, true); });
    binary("assignImagOf", &N::assignImagOf, [&](Model& e) {
        if (!e.isComplex()) e.now[0] = inContainer(e.bitsOf(b, 1), a.type);
    });
    binary("bitAndEqual", &N::bitAndEqual, [&](Model& e) { e.combineBits(b, std::bit_and{}); });
    binary("bitOrEqual", &N::bitOrEqual, [&](Model& e) { e.combineBits(b, std::bit_or{}); });
    binary("bitXorEqual", &N::bitXorEqual, [&](Model& e) { e.combineBits(b, std::bit_xor{}); });
    check(
        "bitCmp", [](N& it, auto) { it.bitCmp(); }, [](Model& e) { return e.complement(), true; });

    int const bits = a.type.wordLength, bit = random.between(1, bits), n = random.between(1, bits + 70);
    for (bool const value : {false, true})
        check(
            "bitSet", [&](N& it, auto) { it.bitSet(bit, value); },
            [&](Model& e) { return e.setBit(bit, value), true; });
    for (int const count : {0, 1, bits - 1, bits, 64, 128, n}) {
        counted(static_cast<unsigned>(count), &N::bitShiftRightArith, &Model::shiftRight);
        counted(static_cast<unsigned>(count), &N::bitShiftRightLogical, &Model::shiftRightLogical);
        counted(static_cast<unsigned>(count), &N::bitShiftLeftLogical, &Model::shiftLeft);
        counted(count, &N::bitShiftArith, &Model::shiftBySign);
        counted(-count, &N::bitShiftArith, &Model::shiftBySign);
    }

    Model const element(a, modes);
    for (int const i : {-1, 0, 1, bit, bits, bits + 1, bits + n})
        ASSERT_EQ(held->bitGet(i), i > 0 && !a.isComplex() && bitAt(a.parts[0], i - 1)) << "bit " << i;
    NumberBody const* const other = isSelf ? held.body() : heldB.body();
    ASSERT_EQ(held->compareTo(other), element.compare(b, 0));
    ASSERT_EQ(held->isEqualTo(other), element.equals(b));
    ASSERT_TRUE(held.isAloneTouched() && heldB.value() == b && heldC.value() == c);
    ASSERT_TRUE(heldB.client.events().empty() && heldC.client.events().empty());
}

TEST(FixedBodies, EveryOperationWithEveryKindOfOperand)
{
    Random random(41);
    constexpr std::array words{5, 8, 12, 16, 24, 32, 33, 64}, chunks{65, 100, 127, 128, 129, 193, 300, 1000};
    for (int i = 0; i < 1500; ++i) {
        int const bits = i % 3 == 0 ? random.pick(chunks) : random.pick(words);
        Value const a = anyValue(random, bits, i % 2 == 0, false),
                    c = anyValue(random, 300, false, i % 7 == 0);
        Value b = anyValue(random, random.pick(std::array{bits, 8, 64, 300}), i % 2 == 0, true);
        if (i % 4 == 1) b = a;
        if (i % 8 == 1) std::ranges::reverse(b.parts);
        if (i % 8 == 5) b.parts[0] = random.pick(interestingStored(a.type, random, 4));
        Modes const modes{random.pick(allRoundings), random.pick(bothOverflows)};
        bool const isSelf = i % 16 == 9;
        ASSERT_NO_FATAL_FAILURE(checkFixedElement(a, isSelf ? a : b, c, modes, isSelf, random));
    }
}

} // namespace
