#include <orvex/hardware/asicintegerwordlengths.h>
#include <orvex/hardware/microintegerwordlengths.h>

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <initializer_list>
#include <numeric>
#include <vector>

namespace
{

using Values = std::vector<unsigned int>;

Values walk(WordLengthIterator it, WordLengthIterator const& end)
{
    Values values;
    for (; it != end && values.size() < 1000; ++it) values.push_back(*it);
    return values;
}

TEST(WordLengthIterator, Walks)
{
    struct Row {
        char const* name;
        boost::shared_ptr<HWIntegerWordLengths> sizes;
        unsigned int add; ///< a size to add first; 0: none
        int drops;        ///< how many sizes to remove then
        Values element, unique, integerElement, integerUnique;
    };
    auto const asic = [] { return boost::make_shared<AsicIntegerWordLengths>(); };
    auto const micro = [](unsigned int a, unsigned int b, unsigned int c, unsigned int d) {
        return boost::make_shared<MicroIntegerWordLengths>(a, b, c, d);
    };
    Values all(128);
    std::iota(all.begin(), all.end(), 1u);
    Values const computed(all.begin() + 31, all.end());
    Row const rows[] = {
        {"asic", asic(), 0, 0, all, all, computed, computed},
        {"asic, ends at 128 also with a larger limit", asic(), 200, 0, all, all, computed, computed},
        {"asic, and with a smaller one", asic(), 20, 0, all, all, computed, computed},
        {"micro", micro(8, 16, 32, 32), 0, 0, {8, 16, 32, 32}, {8, 16, 32}, {32, 32}, {32}},
        {"micro all the same", micro(9, 9, 9, 9), 0, 0, {9, 9, 9, 9}, {9}, {9, 9}, {9}},
        {"micro unordered", micro(4, 3, 4, 4), 0, 0, {4, 3, 4, 4}, {4, 3, 4}, {4, 4}, {4}},
        {"micro limited",
         micro(8, 16, 32, 256),
         0,
         0,
         {8, 16, 32, 128},
         {8, 16, 32, 128},
         {32, 128},
         {32, 128}},
        {"micro grown", micro(5, 3, 5, 5), 200, 0, {3, 5, 5, 5, 200}, {3, 5, 200}, {5, 5, 200}, {5, 200}},
        {"micro cut unsorted", micro(64, 8, 32, 16), 0, 1, {8, 32, 64}, {8, 32, 64}, {64}, {64}},
        {"micro of two", micro(8, 16, 32, 32), 0, 2, {8, 16}, {8, 16}, {16}, {16}},
        {"micro of none", micro(8, 16, 32, 32), 0, 4, {}, {}, {}, {}},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.add) row.sizes->addNewWordLength(row.add);
        for (int i = 0; i < row.drops; ++i) row.sizes->removeLargestWordLength();
        WordLengthIterator const end = row.sizes->endElementIterator();
        WordLengthIterator const uniqueEnd = row.sizes->endUniqueIterator();
        EXPECT_EQ(walk(row.sizes->beginElementIterator(), end), row.element);
        EXPECT_EQ(walk(row.sizes->beginUniqueIterator(), uniqueEnd), row.unique);
        EXPECT_EQ(walk(row.sizes->beginIntegerElementIterator(), end), row.integerElement);
        EXPECT_EQ(walk(row.sizes->beginIntegerUniqueIterator(), uniqueEnd), row.integerUnique);

        WordLengthIterator past = uniqueEnd;
        EXPECT_FALSE(++past != uniqueEnd) << "stays at the end";
    }
    EXPECT_EQ(*++asic()->endElementIterator(), 129u);
}

TEST(WordLengthIterator, CopiesWalkOnTheirOwnAndKindsNeverEqual)
{
    AsicIntegerWordLengths const asic;
    MicroIntegerWordLengths const micro(8, 16, 32, 64);
    WordLengthIterator const first[] = {micro.beginElementIterator(), micro.beginUniqueIterator(),
                                        asic.beginElementIterator()};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        for (int j = 0; j < 3; ++j) EXPECT_EQ(first[i] != first[j], i != j) << j;

        unsigned int const value = *first[i];
        WordLengthIterator copy = first[i];
        WordLengthIterator assigned = first[(i + 1) % 3];
        assigned = first[i];
        EXPECT_EQ(&++copy, &copy);
        EXPECT_TRUE(copy != first[i]);
        EXPECT_TRUE(copy != assigned);
        EXPECT_FALSE(++assigned != copy);
        EXPECT_EQ(*first[i], value);

        WordLengthIterator const& self = copy;
        copy = self;
        EXPECT_FALSE(copy != assigned);
    }
    EXPECT_FALSE(asic.beginUniqueIterator() != asic.beginElementIterator()) << "a range has one kind of walk";
}

} // namespace
