/// \file
/// Compares every form of arithmetic between two types with exact rationals.
#pragma once

#include "support/model.h"

#include <gtest/gtest.h>

namespace orvextest
{

/// Every form on all pairs of the values, by any types of sums (S), products (P), results (O) and quotients
/// (D).
inline void checkArithmetic(fxpDataTypeProp const& aType, Elements const& as, fxpDataTypeProp const& bType,
                            Elements const& bs, Random& random)
{
    auto any = [&] { return random.radixType(aType.wordLength + 1, -aType.wordLength, 3); };
    Modes const modes{random.pick(allRoundings), random.pick(bothOverflows)};
    fxpDataTypeProp const full = sumRule(aType, bType), exact = productRule(aType, bType), S = any(),
                          P = any(), O = any(), D = any();
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

    using V = Value const&;
    std::size_t first = 0, count = aPairs.size();
    auto compare = [&](char const* op, Number const& got, fxpDataTypeProp const& type, auto const& compute,
                       fxpDataTypeProp const* out = nullptr) {
        if (out == nullptr) out = &type;
        Elements want;
        Events events;
        auto const take = [&](Model const& element) {
            events.insert(events.end(), element.events.begin(), element.events.end());
            return element.now;
        };
        for (std::size_t i = first; i < first + count; ++i)
            want.push_back(take(compute({aType, aPairs[i]}, {bType, bPairs[i]})));
        for (Element& element : want) {
            Model stored({*out, Element(element.size())}, modes);
            stored.assign({type, element});
            element = take(stored);
        }
        ASSERT_TRUE(got.getDataType() == *out && elementsOf(got) == want && client.events() == events)
            << testing::PrintToString(aPairs[first]) << aType << op << testing::PrintToString(bPairs[first])
            << bType << " by " << type << *out << modes << ":\n"
            << testing::PrintToString(elementsOf(got)) << " instead of\n"
            << testing::PrintToString(want) << testing::PrintToString(client.events()) << " instead of\n"
            << testing::PrintToString(events);
        client.clear();
    };
    auto zero = [=](fxpDataTypeProp const& type, V a, V b) {
        return Model({type, Element(a.isComplex() || b.isComplex() ? 2 : 1)}, modes);
    };
    auto sum = [=](int sign, fxpDataTypeProp const& to) {
        return [=](V a, V b) {
            Model e = zero(to, a, b);
            e.assign(a);
            e.plus(sign, b);
            return e;
        };
    };
    // Each product in `type`, then stored or added as `to`. A complex factor behind a real one loses its
    // imaginary part unless the two are swapped.
    auto product = [=](fxpDataTypeProp const& type, fxpDataTypeProp const& to, bool swaps = false) {
        return [=](V a, V b) {
            Model e = zero(to, a, b);
            auto part = [&](std::size_t i, std::size_t j) -> Value {
                Outcome const formed =
                    Model({type, {0}}, modes).product(a.parts[i], a.type, b.parts[j], b.type);
                e.events.insert(e.events.end(), formed.events.begin(), formed.events.end());
                return {type, {formed.stored}};
            };
            Value stored = part(0, 0);
            if (a.isComplex() && b.isComplex()) {
                e.put(0, e.converted(stored, 0));
                e.add(0, -1, part(1, 1), 0);
                e.put(1, e.converted(part(0, 1), 0));
                e.add(1, 1, part(1, 0), 0);
                return e;
            }
            if (a.isComplex()) stored.parts.push_back(part(1, 0).parts[0]);
            if (b.isComplex()) stored.parts.push_back(swaps ? part(0, 1).parts[0] : Int(0));
            e.assign(stored);
            return e;
        };
    };
    auto quotient = [=](bool resultIsComplex) {
        return [=](V a, V b) {
            Model e({D, Element(resultIsComplex ? 2 : 1)}, modes);
            e.combine(a, b, true);
            return e;
        };
    };
    auto inPlace = [=](int sign) {
        return [=](V a, V b) {
            Model e(a, modes);
            e.plus(sign, b);
            return e;
        };
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
            compare("*= scalar", e *= y, aType, [=](V a, V b) {
                Model m(a, modes);
                m.times(b);
                return m;
            });
        ASSERT_TRUE(x.getIndex() == first && y.getIndex() == first && silent.events().empty());
    }
}

} // namespace orvextest
