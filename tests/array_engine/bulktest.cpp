/// Operations on arrays against the same on each element by itself: stored words, events in order, what is
/// stored at each event, and what a throwing hook leaves.
#include "support/model.h"

#include <orvex/client/fxpclientnull.h>

#include <tbb/task_arena.h>

namespace
{
using namespace orvextest;
using Bytes = std::vector<unsigned char>;

/// Types, modes, and the memory of target, a and b, at random.
struct Case {
    Type target, a, b, product;
    Modes modes;
    bool isComplex = false;                  ///< the target
    bool complexA = false, complexB = false; ///< only if it is
    bool scalarA = false, scalarB = false;
    bool flipsA = false, flipsB = false; ///< the record's sign is not that of the words
    int maxBits = 128;                   ///< that the client supports
    bool isSilent = false;               ///< a client that does not hear
    bool isAlone = false;                ///< one thread
    std::size_t count = 0, throwAt = 0;
    bool isShared = false; ///< by threads, so that events come in any order
    Bytes memory{};
    std::size_t aAt = 0, bAt = 0; ///< where they lie in the memory
    std::vector<double> values{};
};

/// What an operation works on: arrays, or elements `at`, `at` + 1 and so on of them. What it does not leave
/// in the target comes `out`.
struct Operands {
    Number &t, &a, &b;
    Case const& c;
    std::size_t at;
    Bytes& out;
};
struct Operation {
    enum { inPlace, ofReals, formed, product, quotient, ofBits, read } kind;
    char const* name;
    std::function<void(Operands const&)> run;
};

/// What a run has left and, at the first events, what the memory held.
struct Trace {
    Events events;
    std::vector<Bytes> seen;
    Bytes memory, out{};
    std::string text{};
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

Case randomCase(Random& random, Operation const& operation)
{
    constexpr std::array widths{8, 16, 32, 64, 128, 200};
    bool const withScaling = random.coin(), isFormed = operation.kind >= Operation::formed;
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
    if (random.between(0, 29) == 0) c.product.mode = fxpModeDataTypeDouble;
    if (operation.kind == Operation::product && random.between(0, 49) == 0) c.a = u(128), c.b = u(1);
    c.maxBits = random.pick(std::array{32, 64, 128, 128, 400});
    if (operation.kind == Operation::ofReals && random.between(0, 9) == 0) // which few threads would share
        c.target.wordLength = random.between(129, 200);
    if (operation.kind == Operation::ofReals && random.between(0, 15) == 0) {
        c.target.fixedExponent = random.pick(std::array{-1070, -1022, 1000, 1023});
        c.target.slopeAdjustmentFactor = random.pick(std::array{1.0, 1.1, -1.25, 0.0});
    }
    if (operation.kind == Operation::ofReals && random.between(0, 9) == 0)
        c.target.mode = random.pick(
            std::array{fxpModeDataTypeScaledDouble, fxpModeDataTypeDouble, fxpModeDataTypeSingle});
    c.isComplex = c.target.mode == fxpModeDataTypeFixed && random.between(0, 2) == 0;
    c.complexA = c.isComplex && random.between(0, 3) != 0;
    c.complexB = c.isComplex && (!c.complexA || random.between(0, 3) != 0);
    c.scalarB = random.between(0, 3) == 0;
    c.scalarA = !c.scalarB && isFormed && operation.kind < Operation::ofBits && random.between(0, 3) == 0;
    c.isSilent = random.between(0, 9) == 0;
    if (random.between(0, 29) == 0) // beyond what lanes and normal doubles reach
        for (Type* const t : {&c.target, &c.a, &c.b})
            if (random.coin()) t->fixedExponent = random.pick(std::array{-1100, -300, 300, 1100});
    if (operation.kind == Operation::ofReals && random.between(0, 29) == 0)
        c.target.slopeAdjustmentFactor = random.pick(std::array{0.0, 0x1p-1060, HUGE_VAL});
    c.count = random.pick(std::array{15U, 16U, 17U, 100U, 499U, 500U});
    if (random.between(0, 7) == 0) c.count = random.pick(std::array{501U, 513U, 1100U});
    if (random.between(0, 400) == 0) c.count = 20000; // so that threads share the work
    c.isAlone = random.between(0, 9) == 0;
    c.flipsA = c.count <= 500 && random.between(0, 19) == 0;
    c.flipsB = c.count <= 500 && random.between(0, 19) == 0;
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
    bool const mayBeWild =
        operation.kind != Operation::read || c.count <= 500; // longer ones compare otherwise
    putWords(random, mayBeWild, c.target.mode == fxpModeDataTypeFixed ? c.target : c.a,
             c.count * (c.isComplex ? 2 : 1), &c.memory[0]);
    putWords(random, mayBeWild, c.a, c.count * (c.complexA ? 2 : 1), &c.memory[c.aAt]);
    if (c.bAt > c.aAt) putWords(random, mayBeWild, c.b, c.count * (c.complexB ? 2 : 1), &c.memory[c.bAt]);
    static std::vector<double> const specials = specialDoubles();
    int const rarity =
        random.pick(std::array{1, 10, 200}); // of values about the ends of the range, or special
    c.values.resize(operation.kind == Operation::ofReals ? c.count * (c.isComplex ? 2 : 1) : 0);
    for (double& value : c.values)
        if (random.between(0, rarity) == 0)
            value = random.coin() ? random.doubleNear(c.target) : random.pick(specials);
        else
            value = std::ldexp(random.between(1, 1 << 20) * c.target.slopeAdjustmentFactor,
                               c.target.fixedExponent +
                                   random.between(-20, std::max(-19, c.target.wordLength - 22))) +
                    c.target.bias;
    c.isShared = operation.kind == Operation::ofReals ? c.values.size() > 500
                                                      : operation.kind == Operation::inPlace && c.count > 500;
    c.throwAt =
        c.isShared || random.coin() ? RecordingClient::never : static_cast<std::size_t>(random.between(0, 9));
    return c;
}

/// At once, or element by element: as arrays of one element, which lanes do not take.
Trace run(Case const& c, Operation const& operation, bool isAtOnce)
{
    Trace trace{{}, {}, c.memory};
    RecordingClient client;
    FxpClientNull silent;
    client.throwAt = c.throwAt;
    client.netSlopeWordLength = 1; // the source's chunks, which may be fewer than those of the slope's type
    client.setMaxSupportedWordLength(c.maxBits);
    client.onEvent = [&](Event) {
        if (!c.isShared && trace.seen.size() < 10) trace.seen.push_back(trace.memory);
    };
    auto const runAt = [&](std::size_t i, std::size_t count) {
        auto const number = [&](std::size_t at, Type const& type, bool isScalar, bool isComplex, bool flips) {
            std::size_t const bytes = containerBytes(type) * (isComplex ? 2 : 1);
            OrvexClientInterface& told = c.isSilent ? static_cast<OrvexClientInterface&>(silent) : client;
            Number it(static_cast<void*>(&trace.memory[at + (isScalar ? 0 : i * bytes)]), type, told,
                      isScalar ? 1 : count, c.modes.rounding(), c.modes.overflow(), isComplex);
            if (flips) it.setIsSigned(!type.isSigned());
            return it;
        };
        Number t = number(0, c.target, false, c.isComplex, false),
               a = number(c.aAt, c.a, c.scalarA, c.complexA, c.flipsA),
               b = number(c.bAt, c.b, c.scalarB, c.complexB, c.flipsB);
        operation.run({t, a, b, c, i, trace.out});
    };
    trace.text = printedBy([&] {
        try {
            if (isAtOnce)
                tbb::task_arena(c.isAlone ? 1 : tbb::task_arena::automatic).execute([&] {
                    runAt(0, c.count);
                });
            for (std::size_t i = 0; i < c.count && !isAtOnce; ++i) runAt(i, 1);
        } catch (RecordingClient::Thrown const&) {
            trace.out.clear();
        } catch (std::exception const& refused) { // a slope that no cast can have
            std::string const text = refused.what();
            trace.out.assign(text.begin(), text.end());
        }
    });
    trace.events = client.events();
    return trace;
}

template <class T>
void append(Bytes& out, T const* from, std::size_t count)
{
    auto const* const bytes = reinterpret_cast<unsigned char const*>(from);
    out.insert(out.end(), bytes, bytes + count * sizeof(T));
}
void append(Bytes& out, Number const& result)
{
    append(out, static_cast<char const*>(result.getSIArray()),
           result.getNumberOfElements() * (result.isComplex() ? 2 : 1) *
               containerBytes(result.getDataType()));
}

/// A real source leaves the imaginary parts of a long array as they were.
void assign(Operands const& x)
{
    auto const middle = x.t.getNumberOfElements() / 2;
    x.t.setIndex(middle);
    Number::arrayEquals(x.t, x.b);
    EXPECT_EQ(x.t.getIndex(), middle);
    std::size_t const bytes = containerBytes(x.c.target);
    auto* const words = static_cast<unsigned char*>(const_cast<void*>(x.t.getSIArray()));
    if (x.t.isScalar() && x.c.count > 500 && x.c.isComplex && !x.c.complexB)
        std::memcpy(words + bytes, &x.c.memory[(2 * x.at + 1) * bytes], bytes);
}
/// In long arrays equality is that of stored integers at their exponents, whatever factor and bias are; and
/// with a real number that of the real parts.
auto compares(bool* (Number::*run)(Number const&, bool*) const)
{
    return [run](Operands const& o) {
        std::unique_ptr<bool[]> const results((o.a.*run)(o.b, nullptr));
        if (run == &Number::arrayIsEqual && o.a.isScalar() && o.c.count > 500) {
            Element const x = elementAt(o.a, 0), y = elementAt(o.b, 0);
            Rational const imag = y.size() == 2 ? radixValue(y[1], o.c.b) : Rational(0);
            results[0] = radixValue(x[0], o.c.a) == radixValue(y[0], o.c.b) &&
                         (x.size() == 1 || radixValue(x[1], o.c.a) == imag);
        }
        append(o.out, results.get(), o.a.getNumberOfElements());
    };
}
/// All elements at once, or one through its own getters.
template <class T>
auto reads(T* (Number::*all)(T*) const, double (Number::*real)() const, double (Number::*imag)() const)
{
    return [=](Operands const& x) {
        if (x.c.scalarB) x.a.setIsSigned(!x.a.isSigned()); // the words stay as they are
        std::vector<T> values(x.a.getNumberOfElements() * (x.a.isComplex() ? 2 : 1));
        if (!x.a.isScalar()) (x.a.*all)(values.data());
        if (x.a.isScalar()) values[0] = static_cast<T>((x.a.*real)());
        if (x.a.isScalar() && x.a.isComplex()) values[1] = static_cast<T>((x.a.*imag)());
        append(x.out, values.data(), values.size());
    };
}

using O = Operands const&;
std::vector<Operation> const operations{
    {Operation::inPlace, "arrayEquals", assign},
    {Operation::inPlace, "arrayPlusEquals", [](O x) { x.t.arrayPlusEquals(x.b); }},
    {Operation::ofReals, "setValue",
     [](O x) { x.t.setValue(&x.c.values[x.at * (x.t.isComplex() ? 2 : 1)]); }},
    {Operation::formed, "arrayPlus", [](O x) { append(x.out, Number::arrayPlus(x.a, x.b, x.c.target)); }},
    {Operation::formed, "arrayMinus", [](O x) { append(x.out, Number::arrayMinus(x.a, x.b, x.c.target)); }},
    {Operation::product, "arrayTimes",
     [](O x) { append(x.out, Number::arrayTimes(x.a, x.b, x.c.product, x.c.target)); }},
    {Operation::quotient, "arrayDivide",
     [](O x) { append(x.out, Number::arrayDivide(x.a, x.b, x.c.target)); }},
    {Operation::ofBits, "arrayBitAnd", [](O x) { append(x.out, Number::arrayBitAnd(x.a, x.b)); }},
    {Operation::ofBits, "arrayBitOr", [](O x) { append(x.out, Number::arrayBitOr(x.a, x.b)); }},
    {Operation::ofBits, "arrayBitXor", [](O x) { append(x.out, Number::arrayBitXor(x.a, x.b)); }},
    {Operation::ofBits, "arrayBitCmp", [](O x) { append(x.out, Number::arrayBitCmp(x.a)); }},
    {Operation::inPlace, "arrayBitShiftRightArith", [](O x) { x.t.arrayBitShiftRightArith(3); }},
    {Operation::inPlace, "arrayBitShiftRightLogical", [](O x) { x.t.arrayBitShiftRightLogical(3); }},
    {Operation::inPlace, "arrayBitShiftLeftLogical", [](O x) { x.t.arrayBitShiftLeftLogical(3); }},
    {Operation::inPlace, "arrayBitShiftArith", [](O x) { x.t.arrayBitShiftArith(3); }},
    {Operation::read, "==", compares(&Number::arrayIsEqual)},
    {Operation::read, "!=", compares(&Number::arrayIsNotEqual)},
    {Operation::read, "<", compares(&Number::arrayIsLessThan)},
    {Operation::read, ">", compares(&Number::arrayIsGreaterThan)},
    {Operation::read, "<=", compares(&Number::arrayIsLessThanOrEqualTo)},
    {Operation::read, ">=", compares(&Number::arrayIsGreaterThanOrEqualTo)},
    {Operation::read, "getAllRWDoubleValues",
     reads(&Number::getAllRWDoubleValues, &Number::getRWDoubleValue, &Number::getImagRWDoubleValue)},
    {Operation::read, "getAllRWSingleValues",
     reads(&Number::getAllRWSingleValues, &Number::getRWDoubleValue, &Number::getImagRWDoubleValue)},
    {Operation::read, "getAllSIDoubleValues",
     reads(&Number::getAllSIDoubleValues, &Number::getSIDoubleValue, &Number::getImagSIDoubleValue)}};

TEST(Bulk, LeavesAndTellsWhatElementsByThemselvesDo)
{
    Random random(7);
    for (int round = 0; round < 10000; ++round) {
        // Those that compute have more to choose from.
        Operation const& operation = operations[random.below(round % 4 == 0 ? operations.size() : 7)];
        Case const c = randomCase(random, operation);
        Trace wanted = run(c, operation, false), got = run(c, operation, true);
        if (c.isShared) std::ranges::sort(wanted.events), std::ranges::sort(got.events);
        ASSERT_TRUE(wanted.events == got.events && wanted.memory == got.memory && wanted.out == got.out &&
                    wanted.text == got.text && (wanted.seen == got.seen || c.isShared))
            << operation.name << " case " << round << c.modes << ' ' << c.count << "\n"
            << c.target << (c.isComplex ? " complex\n" : "\n") << c.a << (c.complexA ? " complex" : "")
            << (c.scalarA ? " scalar\n" : "\n") << c.b << (c.complexB ? " complex" : "")
            << (c.scalarB ? " scalar\n" : "\n") << c.product << "\n"
            << testing::PrintToString(wanted.events) << " and " << testing::PrintToString(got.events);
    }
}

/// Of a biased type the zeros are heard that a result is filled with, and an intermediate product. That is
/// made once for an array of real factors, and for each of complex ones.
TEST(Bulk, ProductsOfABiasedType)
{
    Random random(8);
    Type const biasedProduct = fixedType(false, 12, 0, 1.0, 40.0), factors = s(8);
    for (int round = 0; round < 48; ++round)
        for (Type const& to : {s(16, 2), fixedType(false, 14, -1, 1.0, 40.0), biasedProduct}) {
            bool const isComplex = round % 2 == 0, ofBiased = round % 4 < 2;
            Type biased = factors; // complex factors are taken apart in their types
            biased.bias = ofBiased ? 1000.0 : 0.0;
            Type const product = ofBiased ? s(16) : biasedProduct;
            bool const isMade = !isComplex && !ofBiased && !(product == to);
            RecordingClient client;
            Elements elements(40, Element(isComplex ? 2 : 1));
            int const most = random.pick(std::array{5, 100}); // small ones raise no events of their own
            for (Element& element : elements)
                for (Int& part : element) part = random.between(most == 5 ? 1 : -100, most);
            Number const a = numberOf(biased, elements, client), b = numberOf(factors, elements, client);
            Number const atOnce = Number::arrayTimes(a, b, product, to);
            Events const heard = client.events();
            int const fill = to.bias == 0.0 ? 0 : isComplex ? 2 : 1;
            Events wanted(static_cast<std::size_t>(40 * fill), Event::wrap);
            for (std::size_t i = 0; i < elements.size(); ++i) {
                client.clear();
                Number const x = numberOf(biased, {elements[i]}, client),
                             y = numberOf(factors, {elements[i]}, client);
                EXPECT_EQ(elementAt(Number::arrayTimes(x, y, product, to), 0), elementAt(atOnce, i));
                Events const own = client.events();
                wanted.insert(wanted.end(), own.begin() + fill + (i > 0 && isMade), own.end());
            }
            EXPECT_EQ(heard, wanted) << to << round;
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
            EXPECT_TRUE(kept + changed == 4000 && kept > 0 && changed > 5 && // the rest was cancelled
                        changed == std::ssize(client.events()))
                << kept << ' ' << changed;
        }
}

} // namespace
