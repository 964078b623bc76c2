#include "support/model.h"

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

/// All operations on `a` with `b` and, in products and quotients, b and c; but for conversions where b is of
/// another scaling. With `isSelf` b is a itself.
void checkFixedElement(Value const& a, Value const& b, Value const& c, Modes modes, bool isSelf,
                       Random& random)
{
    using N = NumberBody;
    Held const held(a), heldB(b), heldC(c);
    SCOPED_TRACE(testing::Message() << a << (isSelf ? " with itself" : " with ") << b << " and " << c
                                    << modes);
    auto const check = [&](char const* name, auto run, auto model) {
        Model wanted(a, modes);
        model(wanted);
        wanted.check(name, a, [&](N& it) { run(it, isSelf ? &it : heldB.body()); });
    };
    auto const binary = [&](char const* name, void (N::*run)(NumberBody const*), auto model) {
        check(name, std::mem_fn(run), model);
    };
    auto const unary = [&](char const* name, auto run, auto model) {
        check(
            name, [&](N& it, auto) { run(it); }, model);
    };
    auto const counted = [&](auto count, auto run, auto model) {
        SCOPED_TRACE(testing::Message() << "by " << count);
        unary(
            "shift", [&](N& it) { (it.*run)(count); }, [&](Model& e) { (e.*model)(count); });
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
    binary("timesEquals", &N::timesEquals, [&](Model& e) { e.times(b); });
    for (bool const isQuotient : {false, true})
        check(
            isQuotient ? "isQuotientOf" : "isProductOf",
            [&](N& it, auto other) {
                isQuotient ? it.isQuotientOf(other, heldC.body()) : it.isProductOf(other, heldC.body());
            },
            [&](Model& e) { e.combine(b, c, isQuotient); });
    binary("assignImagOf", &N::assignImagOf, [&](Model& e) {
        if (!e.isComplex()) e.now[0] = inContainer(e.bitsOf(b, 1), a.type);
    });
    binary("bitAndEqual", &N::bitAndEqual, [&](Model& e) { e.combineBits(b, std::bit_and{}); });
    binary("bitOrEqual", &N::bitOrEqual, [&](Model& e) { e.combineBits(b, std::bit_or{}); });
    binary("bitXorEqual", &N::bitXorEqual, [&](Model& e) { e.combineBits(b, std::bit_xor{}); });
    unary(
        "bitCmp", [](N& it) { it.bitCmp(); }, [](Model& e) { e.complement(); });

    int const bits = a.type.wordLength, bit = random.between(1, bits), n = random.between(1, bits + 70);
    for (bool const value : {false, true})
        unary(
            "bitSet", [&](N& it) { it.bitSet(bit, value); }, [&](Model& e) { e.setBit(bit, value); });
    for (int const count : {0, 1, bits - 1, bits, 64, 128, n}) {
        counted(static_cast<unsigned>(count), &N::bitShiftRightArith, &Model::shiftRight);
        counted(static_cast<unsigned>(count), &N::bitShiftRightLogical, &Model::shiftRightLogical);
        counted(static_cast<unsigned>(count), &N::bitShiftLeftLogical, &Model::shiftLeft);
        counted(count, &N::bitShiftArith, &Model::shiftBySign);
        counted(-count, &N::bitShiftArith, &Model::shiftBySign);
    }
    if (bits <= 64) // beyond the last chunk, within that chunk
        unary(
            "bitSet", [&](N& it) { it.bitSet(64 + bit, true); },
            [&](Model& e) {
                std::vector<Chunk> pattern = patternOf(e.now[0], e.type);
                pattern[0] |= Chunk{1} << (bit - 1);
                if (!e.isComplex()) e.now[0] = inContainer(pattern, e.type);
            });
    for (int const i : {-1, 0, 1, bit, bits, bits + 1, bits + n})
        ASSERT_EQ(held->bitGet(i), i > 0 && !a.isComplex() && bitAt(a.parts[0], i - 1)) << "bit " << i;

    // The real part and its events come first: a hook that throws saves the imaginary part.
    double const x = random.coin() ? random.pick(specialDoubles())
                                   : random.doubleNear(a.type) * a.type.slopeAdjustmentFactor + a.type.bias;
    Outcome const stored = quantize(x, a.type, modes.round, modes.sat);
    SCOPED_TRACE(x);
    unary(
        "assignDouble", [&](N& it) { it.assignDouble(&x); },
        [&](Model& e) {
            e.put(0, stored);
            if (e.isComplex()) e.now[1] = 0;
        });
    unary(
        "assignImagDouble", [&](N& it) { it.assignImagDouble(&x); },
        [&](Model& e) {
            if (e.isComplex()) e.put(1, stored);
        });
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

/// In the container and all of the array; a multi-word body leaves its cursor at the last element.
TEST(FixedBodies, ConjugateNegatesInTheContainer)
{
    Random random(42);
    RecordingClient client;
    for (Type const& type : seamTypes(-3))
        for (unsigned const count : {0U, 1U, 3U, 300U}) {
            Storage storage(type, 2 * count), wanted = storage;
            for (std::size_t part = 0; part < storage.parts(); ++part) {
                std::vector<Chunk> pattern = patternOf(minStored(type), type);
                for (Chunk& chunk : pattern)
                    if (part != 1) chunk = random.coin() ? random.bits() : 0;
                if (type.wordLength <= 8) pattern[0] = part / 2; // all of them
                storage.put(part, pattern);
                Int const value = storage.integer(part, type.isSigned());
                wanted.put(part, patternOf(part % 2 == 0 ? value : Int(-value), type));
            }
            std::unique_ptr<NumberBody> const body(NumberBodyFactory::createNumberBody(
                storage.data(), type, client, count, fxpModeRoundingFloor, fxpModeOverflowSaturate, true));
            body->setIndex(1);
            body->conjugate();
            EXPECT_EQ(storage, wanted) << type << ' ' << count;
            EXPECT_EQ(body->index(), type.wordLength > 64 && count > 0 ? count - 1 : 1U)
                << type << ' ' << count;
        }
    EXPECT_EQ(client.events(), Events{});
}

} // namespace
