#include "support/model.h"
#include "support/texttable.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

std::string const outOfRange = Orvex::number::bitIndexOutOfRange().identifier();

/// Runs a form and compares elements, events in their order, what is stored at each event, and the cursor.
void check(Type const& type, Elements const& elements, Modes modes, unsigned long long end,
           std::function<void(Model&)> const& model, std::function<void(Number&)> const& run)
{
    RecordingClient client;
    Number x = numberOf(type, elements, client, modes);
    Elements want, seen, wantSeen;
    Events events;
    client.onEvent = [&](Event) { seen.push_back(elementAt(x, x.getIndex())); };
    for (Element const& element : elements) {
        Model e({type, element}, modes);
        model(e);
        want.push_back(e.now);
        events.insert(events.end(), e.events.begin(), e.events.end());
        wantSeen.insert(wantSeen.end(), e.seen.begin(), e.seen.end());
    }
    run(x);
    ASSERT_TRUE(elementsOf(x) == want && client.events() == events && seen == wantSeen && x.getIndex() == end)
        << testing::PrintToString(elementsOf(x)) << " instead of " << testing::PrintToString(want);
}

std::vector<Type> wordTypes()
{
    std::vector<Type> types = seamTypes(-3);
    for (int bits = 3; bits <= 6; ++bits) types.insert(types.end(), {s(bits), u(bits)});
    std::erase_if(types, [](Type const& type) { return type.wordLength > 64; });
    return types;
}

TEST(Bits, ShiftsOfWordsByAnyCount)
{
    Random random(51);
    for (Type const& type : wordTypes())
        for (int const count : {0, 1, 2, type.wordLength - 1, type.wordLength, type.wordLength + 1, 63, 64,
                                65, 1000, INT_MAX, INT_MIN, -1, -2, 1 - type.wordLength}) {
            Elements const elements = valuesOf(type, random, random.between(0, 3) == 0);
            Modes const modes{0, random.between(0, 1)};
            unsigned const n = static_cast<unsigned>(count);
            SCOPED_TRACE(testing::Message() << type << modes << " by " << count);
            auto shift = [&](auto by, auto scalar, auto array, auto model) {
                check(type, {elements[0]}, modes, 0, model, [=](Number& x) { (x.*scalar)(by); });
                check(type, elements, modes, n == 0 ? 0 : elements.size() - 1, model,
                      [=](Number& x) { (x.*array)(by); });
            };
            shift(n, &Number::bitShiftRightArith, &Number::arrayBitShiftRightArith,
                  [n](Model& e) { e.shiftRight(n); });
            shift(n, &Number::bitShiftRightLogical, &Number::arrayBitShiftRightLogical,
                  [n](Model& e) { e.shiftRightLogical(n); });
            shift(n, &Number::bitShiftLeftLogical, &Number::arrayBitShiftLeftLogical,
                  [n](Model& e) { e.shiftLeft(n); });
            if (count == 0) continue;
            shift(count, &Number::bitShiftArith, &Number::arrayBitShiftArith, [=](Model& e) { // to the left
                count < 0 ? e.shiftRight(0U - n) : e.shiftBySign(-count);
            });
        }
}

TEST(Bits, LogicTakesContainersAsTheyAre)
{
    RecordingClient client;
    Number const nibble = numberOf(u(4), {{5}, {9}}, client), minus = numberOf(s(7), {{-1}}, client);
    EXPECT_EQ(elementsOf(Number::bitCmp(nibble)), (Elements{{10}, {9}}));
    EXPECT_EQ(elementsOf(Number::arrayBitCmp(nibble)), (Elements{{10}, {6}}));
    EXPECT_EQ(elementsOf(Number::arrayBitXor(nibble, minus)), (Elements{{250}, {246}})); // beyond the word
    EXPECT_EQ(elementsOf(Number::bitOr(minus, nibble)), Elements{{-1}});
    Number const hundred = Number::bitCmp(numberOf(u(100), {{0}}, client));
    EXPECT_EQ(Storage(u(100), 1, hundred.getSIArray()).pattern(0), (std::vector<Chunk>{~0ULL, ~0ULL << 35}));
}

TEST(Bits, SingleBits)
{
    Random random(53);
    RecordingClient client;
    for (Type const& type : seamTypes(2)) {
        int const W = type.wordLength;
        Elements const elements = valuesOf(type, random, false);
        std::size_t const at = elements.size() - 1;
        Number x = numberOf(type, elements, client);
        auto bitOf = [&](std::size_t i, int bit) -> Element { return {bitAt(elements[i][0], bit - 1)}; };
        for (int bit = 1; bit <= W; ++bit) {
            bool const value = random.coin();
            Model want({type, elements[at]}, {});
            want.setBit(bit, value);
            x.setIndex(at);
            ASSERT_EQ(elementsOf(x.bitGet(bit)), Elements{bitOf(at, bit)}) << type << bit;
            x.bitSet(bit, value);
            ASSERT_EQ(elementAt(x, at), want.now) << type << bit;
            x.copyDataIntoSIArray(storageOf(type, elements).data(), elements.size());
        }
        for (int const bit : {INT_MIN, -1, 0, W + 1, INT_MAX})
            EXPECT_TRUE(thrownBy([&] { x.bitGet(bit); }) == outOfRange &&
                        thrownBy([&] { x.bitSet(bit, true); }) == outOfRange);
        Elements low, high;
        for (std::size_t i = 0; i <= at; ++i) low.push_back(bitOf(i, 1)), high.push_back(bitOf(i, W));
        EXPECT_TRUE(elementsOf(x.getLSB()) == Elements{low[at]} &&
                    elementsOf(x.getMSB()) == Elements{high[at]});
        x.setIndex(0);
        EXPECT_TRUE(elementsOf(x.arrayGetLSB()) == low && x.getIndex() == at &&
                    elementsOf(x.arrayGetMSB()) == high);
        for (Number const& bit : {x.getMSB(), x.arrayGetMSB(), x.arrayBitGet({1})})
            EXPECT_TRUE(bit.getDataType() == u(1) && bit.getRoundMode() == fxpModeRoundingNearest &&
                        bit.getOverflowMode() == fxpModeOverflowSaturate && &bit.getFxpClient() == &client);
    }
    EXPECT_EQ(client.events(), Events{});
    Number x = numberOf(s(8), {{-1, -1}, {-1, -1}}, client);
    x.bitSet(3, false); // a complex number has no bits to get or set
    EXPECT_EQ(elementsOf(x)[0], (Element{-1, -1}));
    EXPECT_EQ(elementsOf(x.arrayGetLSB()), (Elements{{0}, {0}}));
    x.setWordLength(0);
    EXPECT_EQ(thrownBy([&] { x.getLSB(); }) + thrownBy([&] { x.arrayGetMSB(); }), outOfRange + outOfRange);
}

std::vector<int> ints(std::string const& text)
{
    std::vector<int> values;
    for (std::string const& word : split(text, ' '))
        if (!word.empty()) values.push_back(std::stoi(word));
    return values;
}
using orvextest::elementsOf;
Elements elementsOf(std::vector<int> const& values)
{
    Elements elements;
    for (int const value : values) elements.push_back({value});
    return elements;
}

/// On 5 or on 2 x 3 elements 1 2 3 4 5 6: indices; what is got; the stored integers when these bits are set,
/// or have become the next cell's values; "range" or "dims" for an error.
TEST(Bits, ListsOfIndices)
{
    RecordingClient client;
    for (Texts const& row :
         rows("1 3 2|1 1 0|7;4 1 4|0 1 0|4|1 0 0;||5;8 9 1||-123||range;2|0 1 1 0 0 1|3 2 3 6 7 6;"
              "1|1 0 1 0 1 0|0 2 2 4 4 6|0;1 2 3 3 2 8|1 1 0 1 0 0|1 2 7 4 7 -122;"
              "3 3 0 3 3 3||5 6 3 4 5 6||range;1 2||1 2 3 4 5 6||dims;||1 2 3 4 5 6||dims;"
              "3 3 3 3 3 3 3||1 2 3 4 5 6||dims",
              '|')) {
        SCOPED_TRACE(row[0] + " gives " + row[1] + ", leaves " + row[2]);
        std::vector<int> const bits = ints(row[0]), left = ints(row[2]),
                               given = ints(row.size() > 3 ? row[3] : "");
        bool const isArray = left.size() > 1;
        Number x = numberOf(s(8), isArray ? elementsOf({1, 2, 3, 4, 5, 6}) : elementsOf({5}), client, {},
                            isArray ? Dims{2, 3} : Dims{1, 1});
        std::string const error = row.size() < 5 ? "" : row[4] == "range" ? outOfRange : dimsDisagree;
        EXPECT_EQ(thrownBy([&] {
                      Number const result = x.arrayBitGet(bits);
                      EXPECT_EQ(elementsOf(result), elementsOf(ints(row[1])));
                      EXPECT_EQ(dimsOf(result), isArray ? (Dims{2, 3}) : (Dims{1, bits.size()}));
                      EXPECT_EQ(x.getIndex(), isArray ? 5U : 0U);
                  }),
                  error);
        std::vector<bool> const values(given.begin(), given.end());
        EXPECT_EQ(thrownBy([&] { values.empty() ? x.arrayBitSet(bits) : x.arrayBitSet(bits, values); }),
                  error);
        EXPECT_EQ(elementsOf(x), elementsOf(left));
    }
    Number two = numberOf(s(8), {{1}, {2}}, client);
    EXPECT_EQ(thrownBy([&] { two.arrayBitSet({3, 3}, {true}); }), dimsDisagree); // one value short
    EXPECT_EQ(elementsOf(two), (Elements{{1}, {2}}));
}

/// The low bits of `element`, and those of `partner` that are moved up or down with it. A count with its top
/// bit set is negative and clears the element.
Int rotated(Type const& type, Int const& element, Int const& partner, unsigned n, bool left)
{
    int const W = type.wordLength, r = static_cast<int>(n) % W;
    if (r <= 0) return r < 0 ? Int(0) : element;
    Int const span = Int(1) << static_cast<unsigned>(W), &up = left ? partner : element,
              &down = left ? element : partner;
    unsigned const by = static_cast<unsigned>(left ? r : W - r), rest = static_cast<unsigned>(W) - by;
    return wrapTo(modulo(up << by, span) + (modulo(down, span) >> rest), type);
}

TEST(Bits, Rotations)
{
    Random random(54);
    std::vector<Type> types = wordTypes();
    types.insert(types.end(), {s(100), u(150)});
    for (Type const& type : types) {
        unsigned const W = static_cast<unsigned>(type.wordLength);
        for (unsigned const n : {0U, 1U, 2U, W - 1, W, W + 1, 3 * W + 2, 0x80000000U, 0x80000001U, ~0U})
            for (bool const left : {false, true}) {
                Elements const elements = valuesOf(type, random, false);
                SCOPED_TRACE(testing::Message() << type << left << " by " << n);
                check(
                    type, elements, {}, static_cast<int>(n) % type.wordLength != 0 ? elements.size() - 1 : 0,
                    [&](Model& e) { e.now = {rotated(type, e.now[0], e.now[0], n, left)}; },
                    [&](Number& x) { left ? x.arrayBitRotateLeft(n) : x.arrayBitRotateRight(n); });
                RecordingClient client; // the scalar form moves bits of element 0 in
                Elements want{elements.back(), elements[0]};
                Number x = numberOf(type, want, client);
                for (std::size_t const i : {1U, 0U}) {
                    x.setIndex(i);
                    left ? x.bitRotateLeft(n) : x.bitRotateRight(n);
                    want[i] = {rotated(type, want[i][0], want[0][0], n, left)};
                    EXPECT_EQ(elementsOf(x), want);
                }
            }
    }
    RecordingClient client; // the scratch of the array form is a number of its own, filled with 0.0
    Number x = numberOf(s(8, 0, 1.0, 200.0), {{0x21}, {-2}}, client, {0, 1});
    x.arrayBitRotateLeft(8);
    EXPECT_EQ(client.events(), Events{});
    x.arrayBitRotateLeft(12);
    EXPECT_EQ(client.events(), Events{Event::saturationToMin});
    EXPECT_EQ(elementsOf(x), (Elements{{0x12}, {-17}}));
}

TEST(BitsDeathTest, RotationWithinNoBitsAborts)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    RecordingClient client;
    Number x = numberOf(s(8), {{1}, {2}}, client);
    x.setWordLength(0);
    EXPECT_DEATH(x.bitRotateLeft(1), "");
    EXPECT_DEATH(x.arrayBitRotateRight(0), "");
    x.setWordLength(-1);
    x.bitRotateRight(7); // by nothing
    EXPECT_EQ(elementsOf(x), (Elements{{1}, {2}}));
    EXPECT_DEATH(x.bitRotateRight(0x80000000U), "");
}

} // namespace
