/// \file
/// What arithmetic on stored integers has to give, step by step: the parts stored, the events, and what is in
/// the element at each event.
#pragma once

#include "support/numbers.h"

namespace orvextest
{

struct Operand {
    fxpDataTypeProp type;
    Element parts;
    bool isComplex() const { return parts.size() == 2; }
};

inline fxpDataTypeProp sumRule(fxpDataTypeProp const& a, fxpDataTypeProp const& b)
{
    int const f = -std::min(a.fixedExponent, b.fixedExponent);
    return {a.isSigned() || b.isSigned(),
            std::max(a.wordLength + a.fixedExponent, b.wordLength + b.fixedExponent) + f + 1, f};
}
inline fxpDataTypeProp productRule(fxpDataTypeProp const& a, fxpDataTypeProp const& b)
{
    return fixedType(a.isSigned() || b.isSigned(), a.wordLength + b.wordLength,
                     a.fixedExponent + b.fixedExponent);
}

/// Operands and targets agree in slope factor and bias. `to` is the type of a target.
struct ArithmeticModel {
    using Type = fxpDataTypeProp;
    Modes modes;
    fxpModeRounding_tag cheapest;     ///< in quotients
    Element const* watched = nullptr; ///< an element that changes in place
    Events events{};
    Elements seen{}; ///< the watched element at each event

    Int take(Outcome const& outcome)
    {
        for (Event const event : outcome.events) {
            events.push_back(event);
            if (watched != nullptr) seen.push_back(*watched);
        }
        return outcome.stored;
    }
    Int assigned(Type const& to, Int const& value, Type const& from)
    {
        return from == to ? value : take(convert(value, from, to, modes.round, modes.sat));
    }
    void add(Type const& to, Int& sum, int sign, Int const& value, Type const& from)
    {
        Outcome const outcome = store(Rational(sum + sign * assigned(to, value, from)), to, 0, modes.sat);
        sum = outcome.stored;
        take(outcome);
    }
    Int product(Type const& to, Operand const& a, std::size_t i, Operand const& b, std::size_t j)
    {
        return assigned(to, a.parts[i] * b.parts[j], productRule(a.type, b.type));
    }

    /// A saturating quotient is the rounded and clipped one, but for unsigned targets. A wrapping one tells
    /// of each bit that the word has no place for, and is negated in whole chunks.
    Int quotient(Type const& to, Operand const& a, std::size_t i, Operand const& b)
    {
        Int const above = a.parts[i], below = b.parts[0], most = maxStored(to), least = minStored(to);
        if (below == 0) return take({above < 0 ? least : most, {Event::divisionByZero}});
        if (above == 0) return 0;
        Rational const exact = Rational(below < 0 ? Int(-above) : above, abs(below)) *
                               scaled(1, a.type.fixedExponent - b.type.fixedExponent - to.fixedExponent);
        bool const isNegative = exact < 0;
        Int const whole = floorOf(abs(exact)), truncated = isNegative ? Int(-whole) : whole;
        Int const rounded = roundTo(exact, modes.round, cheapest), step = rounded - truncated;
        if (modes.sat != 0) {
            if (isNegative && !to.isSigned()) return take({0, {Event::saturationToMax}});
            if (isNegative && exact < least) return take({least, {Event::saturationToMin}});
            return rounded > most ? take({most, {Event::saturationToMax}}) : rounded;
        }
        Outcome outcome{wrapTo(whole, to), Events(isNegative && !to.isSigned() ? 1 : 0, Event::wrap)};
        for (Int high = whole >> static_cast<unsigned>(to.getWordLengthNonSign()); high != 0; high /= 2)
            if (high % 2 != 0) outcome.events.push_back(Event::wrap);
        bool const endsAtSign = isNegative && exact == truncated && outcome.stored == least && to.isSigned();
        if (endsAtSign) outcome.events.pop_back();
        Type const chunks = fixedType(to.isSigned(), static_cast<int>(64 * chunkCount(to)));
        if (isNegative && !endsAtSign) outcome.stored = wrapTo(-outcome.stored, chunks);
        bool const leaves = step != 0 && outcome.stored == (step > 0 ? most : least);
        if (leaves) outcome.events.push_back(Event::wrap);
        outcome.stored = leaves ? wrapTo(outcome.stored + step, to) : Int(outcome.stored + step);
        return wrapTo(take(outcome), fixedType(to.isSigned(), static_cast<int>(8 * containerBytes(to))));
    }

    Element converted(Type const& to, Operand const& from, bool isComplex)
    {
        Element element{assigned(to, from.parts[0], from.type)};
        if (isComplex) element.push_back(from.isComplex() ? assigned(to, from.parts[1], from.type) : Int(0));
        return element;
    }
    void add(Type const& to, Element& sum, int sign, Operand const& from)
    {
        for (std::size_t i = 0; i < std::min(sum.size(), from.parts.size()); ++i)
            add(to, sum[i], sign, from.parts[i], from.type);
    }
    Element sum(Operand const& a, int sign, Operand const& b, Type const& to)
    {
        Element element = converted(to, a, a.isComplex() || b.isComplex());
        add(to, element, sign, b);
        return element;
    }
    /// Each product in `type`, then stored or added as `to`. A complex factor behind a real one loses its
    /// imaginary part unless the two are swapped.
    Element product(Operand const& a, Operand const& b, Type const& type, Type const& to, bool swaps)
    {
        if (a.isComplex() && b.isComplex()) {
            Element element{assigned(to, product(type, a, 0, b, 0), type), 0};
            add(to, element[0], -1, product(type, a, 1, b, 1), type);
            element[1] = assigned(to, product(type, a, 0, b, 1), type);
            add(to, element[1], 1, product(type, a, 1, b, 0), type);
            return element;
        }
        Element element{product(type, a, 0, b, 0)};
        if (a.isComplex()) element.push_back(product(type, a, 1, b, 0));
        if (b.isComplex()) element.push_back(swaps ? product(type, a, 0, b, 1) : Int(0));
        return converted(to, {type, element}, element.size() == 2);
    }
    Element quotient(Operand const& a, Operand const& b, Type const& to, bool isComplex)
    {
        Element element{quotient(to, a, 0, b)};
        if (isComplex) element.push_back(a.isComplex() ? quotient(to, a, 1, b) : Int(0));
        return element;
    }

    /// a *= b; the result is the text that is printed.
    std::string multiply(Operand& a, Operand const& b)
    {
        bool const isWide = b.type.wordLength > 64;
        if (a.isComplex() && (!a.type.isSigned() || a.type.wordLength > 64)) return {};
        Int real = product(a.type, a, 0, b, 0);
        if (a.isComplex()) { // the real part goes last, and nowhere for some operands
            if (isWide || !b.type.isSigned()) return isWide ? "" : "\nComplex signed*= unsigned TBD!\n";
            if (b.isComplex()) add(a.type, real, -1, product(a.type, a, 1, b, 1), a.type);
            a.parts[1] = product(a.type, a, 1, b, 0);
            if (b.isComplex()) add(a.type, a.parts[1], 1, product(a.type, a, 0, b, 1), a.type);
        }
        a.parts[0] = real;
        return {};
    }
};

} // namespace orvextest
