#include "support/model.h"
#include "support/texttable.h"

#include <climits>
#include <functional>
#include <iterator>

namespace
{
using namespace orvextest;

std::string const outOfRange = Orvex::number::bitIndexOutOfRange().identifier();

/// Which way, and which elements: -100 and 100 by one bit or by all, scalar forms at element 1.
TEST(Bits, Shifts)
{
    RecordingClient client;
    using N = Number;
    struct Row {
        std::function<void(N&, unsigned)> scalar, array;
        Elements byOne, byAll;
    };
    constexpr auto arith = &N::bitShiftArith, arrayArith = &N::arrayBitShiftArith; // to the left
    Row const rows[] = {{&N::bitShiftRightArith, &N::arrayBitShiftRightArith, {{-50}, {50}}, {{-1}, {0}}},
                        {&N::bitShiftRightLogical, &N::arrayBitShiftRightLogical, {{78}, {50}}, {{0}, {0}}},
                        {&N::bitShiftLeftLogical, &N::arrayBitShiftLeftLogical, {{56}, {-56}}, {{0}, {0}}},
                        {[=](N& x, unsigned n) { (x.*arith)(static_cast<int>(n)); },
                         [=](N& x, unsigned n) { (x.*arrayArith)(static_cast<int>(n)); },
                         {{-128}, {127}},
                         {{-128}, {127}}},
                        {[=](N& x, unsigned n) { (x.*arith)(-static_cast<int>(n)); },
                         [=](N& x, unsigned n) { (x.*arrayArith)(-static_cast<int>(n)); },
                         {{-50}, {50}},
                         {{-1}, {0}}}};
    for (Row const& row : rows)
        for (unsigned const n : {0U, 1U, 1000U}) {
            SCOPED_TRACE(testing::Message() << &row - rows << " by " << n);
            Elements const before{{-100}, {100}}, want = n == 0 ? before : n == 1 ? row.byOne : row.byAll;
            Number x = numberOf(s(8), before, client, {0, 1}), y = x;
            if (n != 0 || &row - rows < 3) row.array(x, n);
            EXPECT_TRUE(elementsOf(x) == want && x.getIndex() == (n == 0 ? 0 : 1));
            y.setIndex(1);
            row.scalar(y, n);
            EXPECT_EQ(elementsOf(y), (Elements{before[0], want[1]}));
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
        int const bit = random.between(1, W);
        Model want({type, elementAt(x, last)}, {});
        EXPECT_EQ(elementsOf(x.bitGet(bit)), (Elements{{bitAt(want.now[0], bit - 1)}}));
        want.setBit(bit, !bitAt(want.now[0], bit - 1));
        x.bitSet(bit, bitAt(want.now[0], bit - 1));
        EXPECT_EQ(elementAt(x, last), want.now) << type << bit;
        for (int const off : {INT_MIN, -1, 0, W + 1, INT_MAX})
            EXPECT_TRUE(thrownBy([&] { x.bitGet(off); }) == outOfRange &&
                        thrownBy([&] { x.bitSet(off, true); }) == outOfRange);
        for (Number const& got : {x.getMSB(), x.arrayGetMSB(), x.arrayBitGet({1})})
            EXPECT_TRUE(got.getDataType() == u(1) && got.getRoundMode() == fxpModeRoundingNearest &&
                        got.getOverflowMode() == fxpModeOverflowSaturate && &got.getFxpClient() == &client);
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
    EXPECT_DEATH(x.arrayBitRotateRight(0), "");
    x.setWordLength(-1);
    x.bitRotateRight(7); // by nothing
    EXPECT_EQ(elementsOf(x), (Elements{{1}, {2}}));
    EXPECT_DEATH(x.bitRotateRight(0x80000000U), "");
}

} // namespace
