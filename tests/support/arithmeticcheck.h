/// \file
/// Compares every form of arithmetic between two types with exact rationals.
#pragma once

#include "support/model.h"

namespace orvextest
{

/// Every form on all pairs of the values, by any types of sums (S), products (P), results (O) and quotients
/// (D).
inline void checkArithmetic(Type const& aType, Elements const& as, Type const& bType, Elements const& bs,
                            Random& random)
{
    auto any = [&] { return random.radixType(aType.wordLength + 1, -aType.wordLength, 3); };
    Modes const modes{random.pick(allRoundings), random.pick(bothOverflows)};
    Type const full = sumRule(aType, bType), exact = productRule(aType, bType), S = any(), P = any(),
               O = any(), D = any();
    RecordingClient client, silent;
    Elements aPairs, bPairs;
    for (Element const& a : as)
        for (Element const& b : bs) aPairs.push_back(a), bPairs.push_back(b);
    Number x = numberOf(aType, aPairs, client, modes);
    Number const y = numberOf(bType, bPairs, silent, {fxpModeRoundingCeiling, 1 - modes.sat});
    bool const isComplex = x.isComplex() || y.isComplex();
    auto accumulator = [&](Type const& type, Type const& sum) {
        return x.isComplex() && y.isComplex() ? sum : type;
    };

    using V = Value const&;
    std::size_t first = 0, count = aPairs.size();
    // `steps` begin with 0, of as many parts as the operands have, and lead to a value of `type`; stored then
    // as `out`.
    auto compare = [&](char const* op, Number const& got, Type const& type, auto const& steps,
                       Type const* out = nullptr) {
        if (out == nullptr) out = &type;
        Elements want;
        Events events, stores;
        for (std::size_t i = first; i < first + count; ++i) {
            Value const a{aType, aPairs[i]}, b{bType, bPairs[i]};
            Model e({type, Element(isComplex ? 2 : 1)}, modes), stored({*out, {}}, modes);
            steps(e, a, b);
            stored.now.resize(e.now.size());
            stored.assign(e.value());
            want.push_back(stored.now);
            events.insert(events.end(), e.events.begin(), e.events.end());
            stores.insert(stores.end(), stored.events.begin(), stored.events.end());
        }
        events.insert(events.end(), stores.begin(), stores.end());
        ASSERT_TRUE(got.getDataType() == *out && elementsOf(got) == want && client.events() == events)
            << testing::PrintToString(aPairs[first]) << aType << op << testing::PrintToString(bPairs[first])
            << bType << " by " << type << *out << modes << ":\n"
            << testing::PrintToString(elementsOf(got)) << " instead of\n"
            << testing::PrintToString(want) << testing::PrintToString(client.events()) << " instead of\n"
            << testing::PrintToString(events);
        client.clear();
    };
    auto sum = [](int sign) { return [sign](Model& e, V a, V b) { e.assign(a), e.plus(sign, b); }; };
    auto inPlace = [](int sign) { return [sign](Model& e, V a, V b) { e.now = a.parts, e.plus(sign, b); }; };
    // Each product in `type`, then stored or added. A complex factor behind a real one loses its imaginary
    // part unless the two are swapped.
    auto product = [=](Type const& type, bool swaps = false) {
        return [=](Model& e, V a, V b) {
            auto part = [&](std::size_t i, std::size_t j) -> Value {
                return {
                    type,
                    {e.formed(Model({type, {0}}, modes).product(a.parts[i], a.type, b.parts[j], b.type))}};
            };
            Value stored = part(0, 0);
            if (a.isComplex() && b.isComplex()) {
                e.put(0, e.converted(stored, 0));
                e.add(0, -1, part(1, 1), 0);
                e.put(1, e.converted(part(0, 1), 0));
                e.add(1, 1, part(1, 0), 0);
                return;
            }
            if (a.isComplex()) stored.parts.push_back(part(1, 0).parts[0]);
            if (b.isComplex()) stored.parts.push_back(swaps ? part(0, 1).parts[0] : Int(0));
            e.assign(stored);
        };
    };
    auto quotient = [](bool resultIsComplex) {
        return [=](Model& e, V a, V b) {
            e.now.resize(resultIsComplex ? 2 : 1);
            e.combine(a, b, true);
        };
    };

    compare("+", Number::arrayPlus(x, y), full, sum(1));
    compare("+S", Number::arrayPlus(x, y, S), S, sum(1));
    compare("+SO", Number::arrayPlus(x, y, S, O), S, sum(1), &O);
    compare("-", Number::arrayMinus(x, y), full, sum(-1));
    compare("-S", Number::arrayMinus(x, y, S), S, sum(-1));
    compare("-SO", Number::arrayMinus(x, y, S, O), S, sum(-1), &O);
    Type const A = accumulator(exact, sumRule(exact, exact)), B = accumulator(P, sumRule(P, P)),
               C = accumulator(P, S);
    x.setIndex(0), y.setIndex(0);
    compare("*", Number::arrayTimes(x, y), A, product(exact));
    ASSERT_TRUE(count == 1 || (x.getIndex() == count - 1 && y.getIndex() == count - 1));
    compare("*P", Number::arrayTimes(x, y, P), B, product(P));
    compare("*PO", Number::arrayTimes(x, y, P, O), O, product(P));
    compare("*PSO", Number::arrayTimes(x, y, P, S, O), C, product(P), &O);
    compare("/", Number::arrayDivide(x, y, D), D, quotient(x.isComplex()));
    Number z = x;
    compare("+=", z.arrayPlusEquals(y), aType, inPlace(1));

    if (random.coin()) return; // the scalar forms take their time
    bool const setsSum = random.coin(), setsProduct = random.coin(), setsOut = random.coin();
    Type const sums = setsSum ? S : full, products = setsProduct ? P : exact;
    Type const E = accumulator(products, setsSum ? S : sumRule(products, products));
    Type const* const out = setsOut ? &O : nullptr;
    if (setsSum) x.setDataTypeForNonAssignmentOpPlus(S);
    if (setsProduct) x.setDataTypeForNonAssignmentOpTimes(P);
    if (setsOut) x.setDataTypeForBinaryOpOutput(O);
    for (count = 1; first < aPairs.size(); ++first) {
        x.setIndex(first), y.setIndex(first);
        compare("+ scalar", x + y, sums, sum(1), out);
        compare("- scalar", x - y, sums, sum(-1), out);
        compare("* scalar", x * y, E, product(products, true), out);
        compare("/ scalar", Number::divide(x, y, D), D, quotient(isComplex));
        ASSERT_TRUE(x.getIndex() == first && y.getIndex() == first && silent.events().empty());
    }
}

} // namespace orvextest
