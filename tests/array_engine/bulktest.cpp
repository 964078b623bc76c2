/// Array operations against the scalar operations on the same elements: stored words, events in order, what
/// is stored at each event, and what a throwing hook leaves.
#include "support/bodies.h"

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using N = Number const&;
using Bytes = std::vector<unsigned char>;

/// Types, modes, and the memory of target, a and b, at random.
struct Case {
    Type target, a, b, product;
    Modes modes;
    bool isComplex = false;                  ///< the target
    bool complexA = false, complexB = false; ///< only if it is
    bool scalarB = false;
    std::size_t count = 0, throwAt = 0;
    bool isShared = false; ///< by threads, so that events come in any order
    Bytes memory{};
    std::size_t aAt = 0, bAt = 0; ///< where they lie in the memory
    std::vector<double> values{};
};

struct Operation {
    enum { inPlace, ofReals, apart, product, quotient, ofBits, read } kind;
    char const* name;
    std::function<void(Number&, Number&, Number&, Case const&)> array, scalar;
};

/// What a run has left and, at the first events, what the memory held.
struct Trace {
    Events events;
    std::vector<Bytes> seen;
    Bytes memory;
};

/// Words within the type, now and then at its ends, and in some arrays, if they may be wild, anything that
/// the container holds.
void putWords(Random& random, bool mayBeWild, Type const& type, std::size_t parts, unsigned char* to)
{
    bool const wild = mayBeWild && random.between(0, 9) == 0;
    int const spread = random.between(1, type.wordLength); // small values overflow rarely
    Storage storage(type, parts);
    for (std::size_t i = 0; i < parts; ++i) {
        int const kept = wild                         ? static_cast<int>(8 * containerBytes(type))
                         : random.between(0, 20) == 0 ? type.wordLength
                                                      : spread;
        Int const value =
            wrapTo((Int(random.bits()) << 64) + random.bits(), fixedType(type.isSigned(), kept));
        storage.put(i, patternOf(value, type));
    }
    std::memcpy(to, storage.data(), parts * containerBytes(type));
}

/// As many values as the target has parts, rarely or often about the ends of its range or special.
std::vector<double> valuesFor(Case const& c, Random& random)
{
    static std::vector<double> const specials = specialDoubles();
    int const rarity = random.pick(std::array{1, 10, 200});
    std::vector<double> values(c.count * (c.isComplex ? 2 : 1));
    for (double& value : values)
        if (random.between(0, rarity) == 0)
            value = random.coin() ? random.doubleNear(c.target) : random.pick(specials);
        else
            value = std::ldexp(random.between(1, 1 << 20) * c.target.slopeAdjustmentFactor,
                               c.target.fixedExponent +
                                   random.between(-20, std::max(-19, c.target.wordLength - 22))) +
                    c.target.bias;
    return values;
}

Case randomCase(Random& random, Operation const& operation)
{
    constexpr std::array widths{8, 16, 32, 64, 128, 200};
    bool const withScaling = random.coin(), isFormed = operation.kind >= Operation::apart;
    int const maxBits = random.pick(widths), finest = random.coin() ? -12 : -maxBits / 2;
    auto const type = [&] {
        Type t = random.radixType(random.coin() ? maxBits : random.pick(widths), finest, 4);
        // The net slope of a signed 1-bit source is 0, which a cast between different biases throws out.
        if (withScaling) t.wordLength = std::max(2, t.wordLength);
        if (withScaling && random.coin()) t.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.25, 1.5});
        // Made one by one, results and intermediate ones are filled each time, which a biased type reports.
        if (withScaling && !isFormed) t.bias = random.pick(std::array{0.0, 0.0, 1.0, -0.75});
        return t;
    };
    Case c{type(), type(), type(), type(), {random.pick(allRoundings), random.between(0, 1)}};
    if (!withScaling && random.coin()) c.a = random.coin() ? c.target : c.b;
    if (!withScaling && random.coin()) { // what holds the operands
        c.target.wordLength = std::min(128, std::max(c.a.wordLength, c.b.wordLength) + random.between(0, 40));
        c.product = productRule(c.a, c.b);
    }
    if (random.between(0, 3) == 0) c.product = c.target;
    if (operation.kind == Operation::ofReals && random.between(0, 9) == 0) // which few threads would share
        c.target.wordLength = random.between(129, 200);
    if (operation.kind == Operation::ofReals && random.between(0, 9) == 0)
        c.target.mode = random.pick(
            std::array{fxpModeDataTypeScaledDouble, fxpModeDataTypeDouble, fxpModeDataTypeSingle});
    c.isComplex = c.target.mode == fxpModeDataTypeFixed && random.between(0, 2) == 0;
    c.complexA = c.isComplex && random.between(0, 3) != 0;
    c.complexB = c.isComplex && (!c.complexA || random.between(0, 3) != 0);
    c.scalarB = random.between(0, 3) == 0;
    c.count = random.pick(std::array{15U, 16U, 17U, 100U, 499U, 500U});
    if (random.between(0, 7) == 0) c.count = random.pick(std::array{501U, 513U, 1100U});
    if (random.between(0, 400) == 0) c.count = 20000; // so that threads share the work
    if (operation.kind == Operation::quotient && c.isComplex) c.complexA = true, c.complexB = false;
    if (operation.kind == Operation::ofBits) c.target = c.a, c.isComplex = c.complexA;
    std::size_t const room = 64 * c.count + 64;
    c.memory.resize(3 * room);
    c.aAt = room, c.bAt = 2 * room;
    // Over each other, in step or not.
    bool const isLaidOver = random.between(0, 3) == 0;
    if (operation.kind == Operation::read && isLaidOver) c.b = c.a, c.complexB = c.complexA, c.bAt = c.aAt;
    if (operation.kind == Operation::inPlace && isLaidOver && c.count <= 500) { // in the order of elements
        c.bAt = random.pick(std::array{0U, 16U, 48U});
        if (random.coin()) c.b = c.target;
    }
    // Whose product may be too large for the chunks that its type has, and whose equality is another matter.
    bool const mayBeWild =
        operation.kind == Operation::read
            ? c.count <= 500
            : operation.kind != Operation::product ||
                  8 * chunkCount(productRule(c.a, c.b)) >= containerBytes(c.a) + containerBytes(c.b);
    putWords(random, mayBeWild, c.target.mode == fxpModeDataTypeFixed ? c.target : c.a,
             c.count * (c.isComplex ? 2 : 1), &c.memory[0]);
    putWords(random, mayBeWild, c.a, c.count * (c.complexA ? 2 : 1), &c.memory[c.aAt]);
    if (c.bAt > c.aAt) putWords(random, mayBeWild, c.b, c.count * (c.complexB ? 2 : 1), &c.memory[c.bAt]);
    if (operation.kind == Operation::ofReals) c.values = valuesFor(c, random);
    c.isShared = operation.kind == Operation::ofReals ? c.values.size() > 500
                                                      : operation.kind == Operation::inPlace && c.count > 500;
    c.throwAt =
        c.isShared || random.coin() ? RecordingClient::never : static_cast<std::size_t>(random.between(0, 9));
    return c;
}

template <class Form>
Trace run(Case const& c, Form const& form)
{
    Trace trace{{}, {}, c.memory};
    RecordingClient client;
    client.throwAt = c.throwAt;
    client.onEvent = [&](Event) {
        if (!c.isShared && trace.seen.size() < 10) trace.seen.push_back(trace.memory);
    };
    auto const number = [&](std::size_t at, Type const& type, std::size_t count, bool isComplex) {
        return Number(static_cast<void*>(&trace.memory[at]), type, client, count,
                      static_cast<fxpModeRounding_tag>(c.modes.round),
                      static_cast<fxpModeOverflow_tag>(c.modes.sat), isComplex);
    };
    Number target = number(0, c.target, c.count, c.isComplex), a = number(c.aAt, c.a, c.count, c.complexA),
           b = number(c.bAt, c.b, c.scalarB ? 1 : c.count, c.complexB);
    try {
        form(target, a, b, c);
    } catch (RecordingClient::Thrown const&) {
    }
    trace.events = client.events();
    return trace;
}

template <class T = void>
T* wordsOf(Number const& number)
{
    return static_cast<T*>(const_cast<void*>(number.getSIArray()));
}

/// The scalar forms walk the cursors by hand.
template <class One>
void walk(Number& target, Number& a, Number& b, One const& one)
{
    for (unsigned long long i = 0; i < target.getNumberOfElements(); ++i) {
        target.setIndex(i);
        if (!a.isScalar()) a.setIndex(i);
        if (!b.isScalar()) b.setIndex(i);
        one();
    }
}

/// An array of one element, which lanes do not take, around element i.
Number elementOf(Number const& array, unsigned long long i)
{
    std::size_t const bytes = containerBytes(array.getDataType()) * (array.isComplex() ? 2 : 1);
    return {static_cast<void*>(wordsOf<unsigned char>(array) + (array.isScalar() ? 0 : i) * bytes),
            array.getDataType(),
            array.getFxpClient(),
            1,
            array.getRoundMode(),
            array.getOverflowMode(),
            array.isComplex()};
}

/// A function of two arrays, which takes arrays of one element too. What it gives is put over the target's
/// words, so that both forms leave theirs in the same place.
template <class Combine>
Operation formed(decltype(Operation::kind) kind, char const* name, Combine const& combine)
{
    auto const keep = [](Number const& result, Bytes& bytes) {
        std::size_t const parts = result.getNumberOfElements() * (result.isComplex() ? 2 : 1);
        bytes.insert(bytes.end(), wordsOf<unsigned char>(result),
                     wordsOf<unsigned char>(result) + parts * containerBytes(result.getDataType()));
    };
    return {kind, name,
            [=](Number& t, Number& a, Number& b, Case const& c) {
                Bytes bytes;
                keep(combine(a, b, c), bytes);
                std::ranges::copy(bytes, wordsOf<unsigned char>(t));
            },
            [=](Number& t, Number& a, Number& b, Case const& c) {
                Bytes bytes;
                for (std::size_t i = 0; i < c.count; ++i)
                    keep(combine(elementOf(a, i), elementOf(b, i), c), bytes);
                std::ranges::copy(bytes, wordsOf<unsigned char>(t));
            }};
}
template <class Value, class All, class Real, class Imag>
Operation reads(char const* name, All const& all, Real const& real, Imag const& imag)
{
    return {Operation::read, name,
            [all](Number& t, Number& a, Number&, Case const&) { all(a, wordsOf<Value>(t)); },
            [real, imag](Number& t, Number& a, Number&, Case const&) {
                Value* to = wordsOf<Value>(t);
                for (unsigned long long i = 0; i < a.getNumberOfElements(); ++i) {
                    a.setIndex(i);
                    *to++ = static_cast<Value>((a.*real)());
                    if (a.isComplex()) *to++ = static_cast<Value>((a.*imag)());
                }
            }};
}
template <class One>
Operation compares(char const* name, bool* (Number::*all)(Number const&, bool*) const, One const& one)
{
    return {Operation::read, name,
            [all](Number& t, Number& a, Number& b, Case const&) { (a.*all)(b, wordsOf<bool>(t)); },
            [one](Number& t, Number& a, Number& b, Case const& c) {
                for (std::size_t i = 0; i < c.count; ++i)
                    wordsOf<bool>(t)[i] = one(a[i], b.isScalar() ? b : b[i]);
            }};
}
/// In long arrays stored integers at their exponents, whatever factor and bias are; and of a real number only
/// the real parts.
bool areEqual(Number const& a, Number const& b)
{
    if (a.getNumberOfElements() <= 500) return a == b;
    Element const x = elementAt(a, a.getIndex()), y = elementAt(b, b.getIndex());
    auto const agree = [&](Int const& l, Int const& r) {
        return radixValue(l, a.getDataType()) == radixValue(r, b.getDataType());
    };
    return agree(x[0], y[0]) && (x.size() == 1 || agree(x[1], y.size() == 2 ? y[1] : Int(0)));
}

std::vector<Operation> const operations{
    {Operation::inPlace, "arrayEquals",
     [](Number& t, Number&, Number& b, Case const&) {
         t.setIndex(7), b.setIndex(0);
         Number::arrayEquals(t, b);
         EXPECT_TRUE(t.getIndex() == 7 && b.getIndex() == 0);
     },
     [](Number& t, Number& a, Number& b, Case const& c) {
         walk(t, a, b, [&] { t = b; });
         std::size_t const bytes = containerBytes(c.target); // of a long array such parts stay as they were
         for (std::size_t i = 1; i < 2 * c.count && c.count > 500 && c.isComplex && !c.complexB; i += 2)
             std::memcpy(wordsOf<char>(t) + i * bytes, &c.memory[i * bytes], bytes);
     }},
    {Operation::inPlace, "arrayPlusEquals",
     [](Number& t, Number&, Number& b, Case const&) { t.arrayPlusEquals(b); },
     [](Number& t, Number& a, Number& b, Case const&) { walk(t, a, b, [&] { t += b; }); }},
    {Operation::ofReals, "setValue",
     [](Number& t, Number&, Number&, Case const& c) { t.setValue(c.values.data()); },
     [](Number& t, Number&, Number&, Case const& c) {
         for (std::size_t i = 0; i < c.count; ++i)
             elementOf(t, i).setValue(&c.values[i * (t.isComplex() ? 2 : 1)]);
     }},
    formed(Operation::apart, "arrayPlus",
           [](N a, N b, Case const& c) { return Number::arrayPlus(a, b, c.target); }),
    formed(Operation::apart, "arrayMinus",
           [](N a, N b, Case const& c) { return Number::arrayMinus(a, b, c.target); }),
    formed(Operation::product, "arrayTimes",
           [](N a, N b, Case const& c) { return Number::arrayTimes(a, b, c.product, c.target); }),
    formed(Operation::quotient, "arrayDivide",
           [](N a, N b, Case const& c) { return Number::arrayDivide(a, b, c.target); }),
    formed(Operation::ofBits, "arrayBitAnd", [](N a, N b, Case const&) { return Number::arrayBitAnd(a, b); }),
    formed(Operation::ofBits, "arrayBitOr", [](N a, N b, Case const&) { return Number::arrayBitOr(a, b); }),
    formed(Operation::ofBits, "arrayBitXor", [](N a, N b, Case const&) { return Number::arrayBitXor(a, b); }),
    formed(Operation::ofBits, "arrayBitCmp", [](N a, N, Case const&) { return Number::arrayBitCmp(a); }),
    compares("==", &Number::arrayIsEqual, areEqual),
    compares("!=", &Number::arrayIsNotEqual, [](auto& x, auto& y) { return x != y; }),
    compares("<", &Number::arrayIsLessThan, [](auto& x, auto& y) { return x < y; }),
    compares(">", &Number::arrayIsGreaterThan, [](auto& x, auto& y) { return x > y; }),
    compares("<=", &Number::arrayIsLessThanOrEqualTo, [](auto& x, auto& y) { return x <= y; }),
    compares(">=", &Number::arrayIsGreaterThanOrEqualTo, [](auto& x, auto& y) { return x >= y; }),
    reads<double>(
        "getAllRWDoubleValues", [](auto& a, double* to) { a.getAllRWDoubleValues(to); },
        &Number::getRWDoubleValue, &Number::getImagRWDoubleValue),
    reads<float>(
        "getAllRWSingleValues", [](auto& a, float* to) { a.getAllRWSingleValues(to); },
        &Number::getRWDoubleValue, &Number::getImagRWDoubleValue),
    reads<double>(
        "getAllSIDoubleValues", [](auto& a, double* to) { a.getAllSIDoubleValues(to); },
        &Number::getSIDoubleValue, &Number::getImagSIDoubleValue)};

TEST(Bulk, LeavesAndTellsWhatTheScalarOperationsDo)
{
    Random random(7);
    for (std::size_t round = 0; round < 10000; ++round) {
        Operation const& operation = operations[round % operations.size()];
        Case const c = randomCase(random, operation);
        Trace wanted = run(c, operation.scalar), got = run(c, operation.array);
        if (c.isShared) std::ranges::sort(wanted.events), std::ranges::sort(got.events);
        // What is formed in a number that is then assigned is stored later than in place.
        ASSERT_TRUE(wanted.events == got.events && wanted.memory == got.memory &&
                    (wanted.seen == got.seen || c.isShared || operation.kind >= Operation::apart))
            << operation.name << " case " << round << c.modes << "\n"
            << c.target << "\n"
            << c.a << "\n"
            << c.b << "\n"
            << c.product << "\n"
            << c.count << (c.isComplex ? " complex" : "") << (c.complexA ? " complex a" : "")
            << (c.complexB ? " complex b" : "") << (c.scalarB ? " scalar b" : "") << " at " << c.bAt
            << ", events " << wanted.events.size() << " and " << got.events.size() << ", words "
            << (wanted.memory == got.memory ? "same" : "differ");
    }
}

TEST(Bulk, ThrowingHookReachesTheCallerAndEveryElementIsOldOrNew)
{
    std::vector<double> const infinite(4000, std::numeric_limits<double>::infinity());
    for (Type const& to : {s(4), u(100, 20)})
        for (bool const fromReals : {false, true}) {
            RecordingClient client, other;
            Number target = numberOf(to, Elements(4000, {3}), client, {fxpModeRoundingFloor, 1});
            Number const source = numberOf(s(140), Elements(4000, {Int(1) << 130}), other);
            client.throwAt = 5;
            EXPECT_THROW(fromReals ? target.setValue(infinite.data())
                                   : void(Number::arrayEquals(target, source)),
                         RecordingClient::Thrown);
            Elements const after = elementsOf(target);
            auto const kept = std::ranges::count(after, Element{3}),
                       changed = std::ranges::count(after, Element{maxStored(to)});
            EXPECT_TRUE(kept + changed == 4000 && kept > 0 && changed > 5)
                << kept << ' ' << changed; // the rest was cancelled
            EXPECT_EQ(changed, std::ssize(client.events()));
        }
}

} // namespace
