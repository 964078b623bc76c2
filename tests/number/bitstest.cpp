#include "support/model.h"
#include "support/texttable.h"

#include <gtest/gtest.h>

#include <climits>
#include <iterator>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

std::string const outOfRange = Orvex::number::bitIndexOutOfRange().identifier();

/// Bodies know how to shift; here it is which way, by how many, and which elements.
TEST(Bits, ShiftsByAnyCount)
{
    constexpr auto applyTo = [](auto& it, int op, int count, auto right, auto rightLogical, auto left,
                                auto bySign) {
        unsigned const n = static_cast<unsigned>(count);
        op > 0 ? (it.*(op == 1 ? right : op == 2 ? rightLogical : left))(n) : (it.*bySign)(count);
    };
    Random random(51);
    for (Type const& type : seamTypes(-3))
        for (int const count : {0, 1, 2, type.wordLength, 63, 64, 1000, INT_MAX, INT_MIN, -1, -2})
            for (int op = count == 0 ? 1 : 0; op < 4; ++op) {
                Elements const elements = valuesOf(type, random, random.coin(), 8);
                Modes const modes{0, random.between(0, 1)};
                SCOPED_TRACE(testing::Message() << type << modes << op << " by " << count);
                RecordingClient client, oneByOne;
                Number x = numberOf(type, elements, client, modes),
                       y = numberOf(type, elements, oneByOne, modes);
                Elements want;
                Events events;
                for (std::size_t i = 0; i < elements.size(); ++i) {
                    Model e({type, elements[i]}, modes);
                    if (op > 0 || count > INT_MIN) // the other way round
                        applyTo(e, op, op > 0 ? count : -count, &Model::shiftRight, &Model::shiftRightLogical,
                                &Model::shiftLeft, &Model::shiftBySign);
                    else
                        e.shiftRight(0U - static_cast<unsigned>(count));
                    want.push_back(e.now);
                    events.insert(events.end(), e.events.begin(), e.events.end());
                    y.setIndex(i);
                    applyTo(y, op, count, &Number::bitShiftRightArith, &Number::bitShiftRightLogical,
                            &Number::bitShiftLeftLogical, &Number::bitShiftArith);
                }
                applyTo(x, op, count, &Number::arrayBitShiftRightArith, &Number::arrayBitShiftRightLogical,
                        &Number::arrayBitShiftLeftLogical, &Number::arrayBitShiftArith);
                ASSERT_TRUE(elementsOf(x) == want && client.events() == events &&
                            x.getIndex() == (count == 0 ? 0 : elements.size() - 1))
                    << testing::PrintToString(elementsOf(x)) << " instead of "
                    << testing::PrintToString(want);
                ASSERT_TRUE(elementsOf(y) == want && oneByOne.events() == events);
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
        std::size_t const last = elements.size() - 1;
        Number x = numberOf(type, elements, client);
        Elements low, high;
        for (Element const& element : elements)
            low.push_back({bitAt(element[0], 0)}), high.push_back({bitAt(element[0], W - 1)});
        EXPECT_TRUE(elementsOf(x.arrayGetLSB()) == low && x.getIndex() == last &&
                    elementsOf(x.arrayGetMSB()) == high && elementsOf(x.getLSB())[0] == low[last] &&
                    elementsOf(x.getMSB())[0] == high[last]);
        for (int const bit : {1, random.between(1, W), W}) {
            Model want({type, elementAt(x, last)}, {});
            EXPECT_EQ(elementsOf(x.bitGet(bit)), (Elements{{bitAt(want.now[0], bit - 1)}}));
            want.setBit(bit, random.coin());
            x.bitSet(bit, bitAt(want.now[0], bit - 1));
            EXPECT_EQ(elementAt(x, last), want.now) << type << bit;
        }
        for (int const bit : {INT_MIN, -1, 0, W + 1, INT_MAX})
            EXPECT_TRUE(thrownBy([&] { x.bitGet(bit); }) == outOfRange &&
                        thrownBy([&] { x.bitSet(bit, true); }) == outOfRange);
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
    std::istringstream in(text);
    return {std::istream_iterator<int>(in), {}};
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
    RecordingClient client;
    std::vector<Type> types = seamTypes();
    std::erase_if(types, [](Type const& type) { return type.wordLength > 64; });
    types.insert(types.end(), {u(100), u(150)});
    for (Type const& type : types) {
        unsigned const W = static_cast<unsigned>(type.wordLength);
        for (unsigned const n : {0U, 1U, 2U, W - 1, W, W + 1, 3 * W + 2, 0x80000000U, 0x80000001U, ~0U})
            for (bool const left : {false, true}) {
                SCOPED_TRACE(testing::Message() << type << left << " by " << n);
                Elements const elements = valuesOf(type, random, false);
                Elements want = elements;
                for (Element& e : want) e = {rotated(type, e[0], e[0], n, left)};
                Number array = numberOf(type, elements, client);
                left ? array.arrayBitRotateLeft(n) : array.arrayBitRotateRight(n);
                EXPECT_EQ(elementsOf(array), want);
                EXPECT_EQ(array.getIndex(),
                          static_cast<int>(n) % type.wordLength != 0 ? elements.size() - 1 : 0);
                want = {elements.back(), elements[0]}; // the scalar form moves bits of element 0 in
                Number x = numberOf(type, want, client);
                for (std::size_t const i : {1U, 0U}) {
                    x.setIndex(i);
                    left ? x.bitRotateLeft(n) : x.bitRotateRight(n);
                    want[i] = {rotated(type, want[i][0], want[0][0], n, left)};
                    EXPECT_EQ(elementsOf(x), want);
                }
            }
    }
    // The scratch of the array form is a number of its own, filled with 0.0.
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
