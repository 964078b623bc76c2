/// \file
/// Compares every form of arithmetic between two types with exact rationals.
#pragma once

#include "support/numbers.h"

#include <gtest/gtest.h>

namespace orvextest
{

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

struct Operand {
    fxpDataTypeProp type;
    Element parts;
    bool isComplex() const { return parts.size() == 2; }
};

/// What has to be stored, step by step, and the events on the way. Operands and targets (`to`) have no slope
/// factor or bias.
struct Model {
    using V = Operand const&;
    Modes modes;
    Events events{};

    Int take(Outcome const& outcome)
    {
        events.insert(events.end(), outcome.events.begin(), outcome.events.end());
        return outcome.stored;
    }
    Int converted(Int const& value, fxpDataTypeProp const& from, fxpDataTypeProp const& to)
    {
        return from == to ? value : take(convert(value, from, to, modes.round, modes.sat));
    }
    Int added(Int const& sum, int sign, Int const& value, fxpDataTypeProp const& from,
              fxpDataTypeProp const& to)
    {
        Int const term = converted(value, from, to);
        return take(store(Rational(sum + sign * term), to, 0, modes.sat));
    }
    Int product(V a, std::size_t i, V b, std::size_t j, fxpDataTypeProp const& to)
    {
        return converted(a.parts[i] * b.parts[j], productRule(a.type, b.type), to);
    }
    /// A wrapping quotient has to fit.
    Int quotient(V a, std::size_t i, V b, fxpDataTypeProp const& to)
    {
        Int const above = a.parts[i], below = b.parts[0], least = minStored(to);
        if (below == 0) return take({above < 0 ? least : maxStored(to), {Event::divisionByZero}});
        Rational const exact = Rational(below < 0 ? Int(-above) : above, abs(below)) *
                               scaled(1, a.type.fixedExponent - b.type.fixedExponent - to.fixedExponent);
        if (exact < 0 && !to.isSigned()) return take({0, {Event::saturationToMax}});
        if (exact < least) return take({least, {Event::saturationToMin}});
        return take(store(exact, to, modes.round, modes.sat, fxpModeRoundingZero));
    }

    Element converted(V from, fxpDataTypeProp const& to, bool isComplex)
    {
        Element element{converted(from.parts[0], from.type, to)};
        if (isComplex) element.push_back(from.isComplex() ? converted(from.parts[1], from.type, to) : Int(0));
        return element;
    }
    Element added(Element sum, int sign, V term, fxpDataTypeProp const& to)
    {
        for (std::size_t i = 0; i < std::min(sum.size(), term.parts.size()); ++i)
            sum[i] = added(sum[i], sign, term.parts[i], term.type, to);
        return sum;
    }
    Element sum(V a, int sign, V b, fxpDataTypeProp const& to)
    {
        return added(converted(a, to, a.isComplex() || b.isComplex()), sign, b, to);
    }
    /// Each product in `type`, then stored or added as `to`. A complex factor behind a real one loses its
    /// imaginary part unless the two are swapped.
    Element product(V a, V b, fxpDataTypeProp const& type, fxpDataTypeProp const& to, bool swaps)
    {
        Element element{product(a, 0, b, 0, type)};
        if (a.isComplex() && b.isComplex()) {
            element[0] = converted(element[0], type, to);
            element[0] = added(element[0], -1, product(a, 1, b, 1, type), type, to);
            element.push_back(converted(product(a, 0, b, 1, type), type, to));
            element[1] = added(element[1], 1, product(a, 1, b, 0, type), type, to);
            return element;
        }
        if (a.isComplex()) element.push_back(product(a, 1, b, 0, type));
        if (b.isComplex()) element.push_back(swaps ? product(a, 0, b, 1, type) : Int(0));
        return converted({type, element}, to, element.size() == 2);
    }
    Element quotient(V a, V b, fxpDataTypeProp const& to, bool isComplex)
    {
        Element element{quotient(a, 0, b, to)};
        if (isComplex) element.push_back(a.isComplex() ? quotient(a, 1, b, to) : Int(0));
        return element;
    }
};

/// Every form on all pairs of the values, by any types of sums (S), products (P) and results (O). A wrapping
/// quotient gets a type (D) that holds it.
inline void checkArithmetic(fxpDataTypeProp const& aType, Elements const& as, fxpDataTypeProp const& bType,
                            Elements const& bs, Random& random)
{
    auto any = [&] { return random.radixType(aType.wordLength + 1, -aType.wordLength, 3); };
    Modes const modes{random.pick(allRoundings), random.pick(bothOverflows)};
    fxpDataTypeProp const full = sumRule(aType, bType), exact = productRule(aType, bType), S = any(),
                          P = any(), O = any(), D = modes.sat != 0 ? any() : s(300, random.between(-20, 0));
    RecordingClient client, silent;
    Elements aPairs, bPairs;
    for (Element const& a : as)
        for (Element const& b : bs) aPairs.push_back(a), bPairs.push_back(b);
    Number x = numberOf(aType, aPairs, client, modes);
    Number const y = numberOf(bType, bPairs, silent, {fxpModeRoundingCeiling, 1 - modes.sat});
    bool const isComplex = x.isComplex() || y.isComplex();
    auto accumulator = [&](fxpDataTypeProp const& type, fxpDataTypeProp const& sum) {
        return x.isComplex() && y.isComplex() ? sum : type;
    };

    using V = Operand const&;
    std::size_t first = 0, count = aPairs.size();
    auto compare = [&](char const* op, Number const& got, fxpDataTypeProp const& type, auto const& compute,
                       fxpDataTypeProp const* out = nullptr) {
        if (out == nullptr) out = &type;
        Elements want;
        Model model{modes};
        for (std::size_t i = first; i < first + count; ++i)
            want.push_back(compute(model, Operand{aType, aPairs[i]}, Operand{bType, bPairs[i]}));
        for (Element& element : want) element = model.converted({type, element}, *out, element.size() == 2);
        ASSERT_TRUE(got.getDataType() == *out && elementsOf(got) == want && client.events() == model.events)
            << testing::PrintToString(aPairs[first]) << aType << op << testing::PrintToString(bPairs[first])
            << bType << " by " << type << *out << modes << ":\n"
            << testing::PrintToString(elementsOf(got)) << " instead of\n"
            << testing::PrintToString(want) << testing::PrintToString(client.events()) << " instead of\n"
            << testing::PrintToString(model.events);
        client.clear();
    };
    auto sum = [](int sign, fxpDataTypeProp const& to) {
        return [=](Model& m, V a, V b) { return m.sum(a, sign, b, to); };
    };
    auto product = [](fxpDataTypeProp const& type, fxpDataTypeProp const& to, bool swaps = false) {
        return [=](Model& m, V a, V b) { return m.product(a, b, type, to, swaps); };
    };
    auto quotient = [&](bool resultIsComplex) {
        return [=](Model& m, V a, V b) { return m.quotient(a, b, D, resultIsComplex); };
    };
    auto inPlace = [](int sign) {
        return [=](Model& m, V a, V b) { return m.added(a.parts, sign, b, a.type); };
    };

    compare("+", Number::arrayPlus(x, y), full, sum(1, full));
    compare("+S", Number::arrayPlus(x, y, S), S, sum(1, S));
    compare("+SO", Number::arrayPlus(x, y, S, O), S, sum(1, S), &O);
    compare("-", Number::arrayMinus(x, y), full, sum(-1, full));
    compare("-S", Number::arrayMinus(x, y, S), S, sum(-1, S));
    compare("-SO", Number::arrayMinus(x, y, S, O), S, sum(-1, S), &O);
    fxpDataTypeProp const A = accumulator(exact, sumRule(exact, exact)), B = accumulator(P, sumRule(P, P)),
                          C = accumulator(P, S);
    x.setIndex(0), y.setIndex(0);
    compare("*", Number::arrayTimes(x, y), A, product(exact, A));
    ASSERT_TRUE(count == 1 || (x.getIndex() == count - 1 && y.getIndex() == count - 1));
    compare("*P", Number::arrayTimes(x, y, P), B, product(P, B));
    compare("*PO", Number::arrayTimes(x, y, P, O), O, product(P, O));
    compare("*PSO", Number::arrayTimes(x, y, P, S, O), C, product(P, C), &O);
    compare("/", Number::arrayDivide(x, y, D), D, quotient(x.isComplex()));
    Number z = x;
    compare("+=", z.arrayPlusEquals(y), aType, inPlace(1));

    if (random.coin()) return; // the scalar forms take their time
    bool const setsSum = random.coin(), setsProduct = random.coin(), setsOut = random.coin();
    fxpDataTypeProp const sums = setsSum ? S : full, products = setsProduct ? P : exact;
    fxpDataTypeProp const E = accumulator(products, setsSum ? S : sumRule(products, products));
    fxpDataTypeProp const* const out = setsOut ? &O : nullptr;
    if (setsSum) x.setDataTypeForNonAssignmentOpPlus(S);
    if (setsProduct) x.setDataTypeForNonAssignmentOpTimes(P);
    if (setsOut) x.setDataTypeForBinaryOpOutput(O);
    for (count = 1; first < aPairs.size(); ++first) {
        x.setIndex(first), y.setIndex(first);
        compare("+ scalar", x + y, sums, sum(1, sums), out);
        compare("- scalar", x - y, sums, sum(-1, sums), out);
        compare("* scalar", x * y, E, product(products, E, true), out);
        compare("/ scalar", Number::divide(x, y, D), D, quotient(isComplex));
        Number c = numberOf(aType, {aPairs[first]}, client, modes), d = c, e = c;
        compare("+= scalar", c += y, aType, inPlace(1));
        compare("-= scalar", d -= y, aType, inPlace(-1));
        if (!x.isComplex())
            compare("*= scalar", e *= y, aType,
                    [](Model& m, V a, V b) { return Element{m.product(a, 0, b, 0, a.type)}; });
        ASSERT_TRUE(x.getIndex() == first && y.getIndex() == first && silent.events().empty());
    }
}

} // namespace orvextest
