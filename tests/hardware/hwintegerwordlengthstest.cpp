#include <orvex/hardware/asicintegerwordlengths.h>
#include <orvex/hardware/microintegerwordlengths.h>

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <vector>

namespace
{

using Sizes = boost::shared_ptr<HWIntegerWordLengths>;
constexpr unsigned int huge = 0xffffffffu;

Sizes asic(unsigned int largest = 128, int drops = 0)
{
    auto sizes = boost::make_shared<AsicIntegerWordLengths>();
    sizes->addNewWordLength(largest);
    while (drops-- > 0) sizes->removeLargestWordLength();
    return sizes;
}

Sizes micro(unsigned int a, unsigned int b, unsigned int c, unsigned int d, unsigned int add = 0,
            int drops = 0)
{
    auto sizes = boost::make_shared<MicroIntegerWordLengths>(a, b, c, d);
    if (add) sizes->addNewWordLength(add);
    while (drops-- > 0) sizes->removeLargestWordLength();
    return sizes;
}

TEST(HWIntegerWordLengths, SizesOfTheTarget)
{
    struct Row {
        char const* name;
        Sizes sizes;
        unsigned int smallest, largest, nominal, count;
    };
    Row const rows[] = {
        {"asic", boost::make_shared<AsicIntegerWordLengths>(), 1, 128, 32, 128},
        {"asic grown", asic(129), 1, 129, 32, 129},
        {"asic below nominal", asic(20), 1, 20, 32, 20},
        {"asic, limit put back from below", asic(20, 1), 1, 128, 32, 128},
        {"asic, limit put back from above", asic(500, 1), 1, 128, 32, 128},
        {"micro", micro(8, 16, 32, 32), 8, 32, 32, 4},
        {"micro of five", boost::make_shared<MicroIntegerWordLengths>(8, 16, 24, 129, 32), 8, 128, 24, 5},
        {"micro unordered", micro(64, 8, 16, 32), 8, 64, 16, 4},
        {"micro limited", micro(127, 128, 129, huge), 127, 128, 128, 4},
        {"micro grown: sorted, third is nominal, no limit", micro(64, 8, 16, 32, 200), 8, 200, 32, 5},
        {"micro, the last one given is dropped", micro(64, 8, 32, 16, 0, 1), 8, 64, 64, 3},
        {"micro of two", micro(8, 16, 32, 64, 0, 2), 8, 16, 16, 2},
        {"micro of none", micro(8, 16, 32, 64, 0, 4), 0, 0, 0, 0},
        {"micro of none, removed from", micro(8, 16, 32, 64, 0, 5), 0, 0, 0, 0},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.sizes->getBitsPerSmallestInteger(), row.smallest);
        EXPECT_EQ(row.sizes->getBitsPerLargestInteger(), row.largest);
        EXPECT_EQ(row.sizes->getBitsPerNominalInteger(), row.nominal);
        EXPECT_EQ(row.sizes->getNumIntegers(), row.count);
    }
}

TEST(HWIntegerWordLengths, AnswersForAWordLength)
{
    struct Row {
        char const* name;
        Sizes sizes;
        unsigned int wl;
        unsigned int element, integer, other;             ///< containers; `other` is for the value 2
        unsigned int nextElement, nextInteger, nextOther; ///< next single word
        unsigned int nextMulti;
        bool multi, emulated, builtIn;
    };
    auto const four = micro(8, 16, 32, 32);
    auto const mixed = micro(64, 8, 16, 32);
    auto const one = micro(24, 32, 40, 48, 0, 3);
    auto const none = micro(8, 16, 32, 64, 0, 4);
    auto const zeros = micro(0, 0, 0, 0);
    Row const rows[] = {
        {"asic", asic(), 0, 0, 32, 0, 1, 32, 1, 1, false, false, true},
        {"asic", asic(), 5, 5, 32, 5, 6, 32, 6, 6, false, false, true},
        {"asic", asic(), 31, 31, 32, 31, 32, 32, 32, 32, false, false, true},
        {"asic", asic(), 32, 32, 32, 32, 33, 33, 33, 33, false, false, true},
        {"asic", asic(), 127, 127, 127, 127, 128, 128, 128, 128, false, false, true},
        {"asic", asic(), 128, 128, 128, 128, 128, 128, 128, 129, false, false, true},
        {"asic", asic(), 129, 129, 129, 129, 128, 128, 128, 130, true, false, false},
        {"asic", asic(), huge, huge, huge, huge, 128, 128, 128, 0, true, false, false},
        {"asic 129", asic(129), 129, 129, 129, 129, 129, 129, 129, 130, false, false, true},
        {"asic 20", asic(20), 19, 19, 32, 19, 20, 32, 20, 20, false, false, true},
        {"asic 20", asic(20), 20, 20, 32, 20, 20, 20, 20, 21, false, false, true},
        {"micro", four, 0, 8, 32, 8, 8, 32, 32, 32, false, true, false},
        {"micro", four, 8, 8, 32, 8, 16, 32, 32, 32, false, false, true},
        {"micro", four, 12, 16, 32, 16, 16, 32, 32, 32, false, true, false},
        {"micro", four, 31, 32, 32, 32, 32, 32, 32, 32, false, true, false},
        {"micro", four, 32, 32, 32, 32, 32, 32, 32, 64, false, false, true},
        {"micro", four, 33, 64, 64, 64, 32, 32, 32, 64, true, true, false},
        {"micro", four, 40, 64, 64, 64, 32, 32, 32, 64, true, true, false},
        {"micro", four, 64, 64, 64, 64, 32, 32, 32, 96, true, false, false},
        {"micro", four, 65, 96, 96, 96, 32, 32, 32, 96, true, true, false},
        {"micro: first, not least", mixed, 7, 64, 16, 64, 64, 16, 16, 64, false, true, false},
        {"micro unordered", mixed, 16, 64, 16, 64, 64, 32, 32, 64, false, false, true},
        {"micro: larger before nominal", mixed, 33, 64, 64, 64, 64, 64, 64, 64, false, true, false},
        {"micro unordered", mixed, 130, 192, 192, 192, 64, 64, 64, 192, true, true, false},
        {"micro of one", one, 20, 24, 24, 24, 24, 24, 24, 24, false, true, false},
        {"micro of one", one, 25, 48, 48, 48, 24, 24, 24, 48, true, true, false},
        {"micro of none", none, 0, 0, 0, 0, 0, 0, 0, 0, false, true, false},
        {"micro of none", none, 5, 0, 0, 0, 0, 0, 0, 0, true, false, false},
        {"micro of zeros", zeros, 0, 0, 0, 0, 0, 0, 0, 0, false, false, true},
        {"micro of zeros", zeros, 5, 0, 0, 0, 0, 0, 0, 0, true, false, false},
    };
    auto const otherContainer = static_cast<HWContainerEnum>(2);
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::Message() << row.name << ", " << row.wl);
        HWIntegerWordLengths& sizes = *row.sizes;
        EXPECT_EQ(sizes.getContainerWordLength(row.wl, HWContainerElement), row.element);
        EXPECT_EQ(sizes.getContainerWordLength(row.wl, HWContainerInteger), row.integer);
        EXPECT_EQ(sizes.getContainerWordLength(row.wl, otherContainer), row.other);
        EXPECT_EQ(sizes.getNextLargestSingleWordInteger(row.wl, HWContainerElement), row.nextElement);
        EXPECT_EQ(sizes.getNextLargestSingleWordInteger(row.wl, HWContainerInteger), row.nextInteger);
        EXPECT_EQ(sizes.getNextLargestSingleWordInteger(row.wl, otherContainer), row.nextOther);
        EXPECT_EQ(sizes.getNextLargestMultiWordInteger(row.wl), row.nextMulti);
        EXPECT_EQ(sizes.isMultiWord(row.wl), row.multi);
        EXPECT_EQ(sizes.isWordLengthEmulated(row.wl), row.emulated);
        EXPECT_EQ(sizes.isHWBuiltInWordLength(row.wl), row.builtIn);
    }
}

struct FromBitsUp final : WordLengthBasePredicate {
    explicit FromBitsUp(unsigned int bits) : threshold(bits) {}
    bool operator()(unsigned int wl) override
    {
        trials.push_back(wl);
        return wl >= threshold;
    }
    unsigned int threshold;
    std::vector<unsigned int> trials;
};

TEST(HWIntegerWordLengths, FindFirst)
{
    struct Row {
        char const* name;
        Sizes sizes;
        unsigned int start, threshold, found;
        std::vector<unsigned int> trials;
    };
    Row const rows[] = {
        {"asic, ends on a failed trial", asic(10), 7, 10, 10, {8, 9, 10}},
        {"asic, ends on a passed trial", asic(10), 7, 7, 7, {8, 7, 7}},
        {"asic, none passes", asic(10), 7, 99, 10, {8, 9, 10}},
        {"asic, start above the largest passes", asic(10), 12, 11, 12, {12}},
        {"asic, start above the largest fails", asic(10), 12, 13, 10, {12}},
        {"micro, stored order", micro(32, 8, 64, 16), 0, 10, 32, {32}},
        {"micro, skips what is below the start", micro(32, 8, 64, 16), 16, 40, 64, {32, 64}},
        {"micro, none passes", micro(32, 8, 64, 16), 16, 99, 64, {32, 64, 16}},
        {"micro, start above all", micro(32, 8, 64, 16), 65, 0, 64, {}},
        {"micro of none", micro(8, 16, 32, 64, 0, 4), 0, 0, 0, {}},
    };
    for (Row const& row : rows) {
        FromBitsUp predicate(row.threshold);
        EXPECT_EQ(row.sizes->find_first(row.start, predicate), row.found) << row.name;
        EXPECT_EQ(predicate.trials, row.trials) << row.name;
    }

    for (unsigned int start = 0; start <= 128; ++start)
        for (unsigned int threshold = 0; threshold <= 129; ++threshold) {
            FromBitsUp predicate(threshold);
            unsigned int const wanted = std::min(std::max(start, threshold), 128u);
            ASSERT_EQ(asic()->find_first(start, predicate), wanted) << start << ' ' << threshold;
            ASSERT_EQ(predicate.trials.back(), wanted) << start << ' ' << threshold;
        }
}

TEST(HWIntegerWordLengths, EqualityAndClones)
{
    // Each differs from all others. Equality of ranges looks at the largest size alone.
    std::vector<Sizes> const different = {asic(),
                                          asic(4),
                                          micro(8, 16, 32, 64),
                                          micro(8, 16, 64, 32),
                                          micro(8, 16, 32, 64, 64),
                                          micro(8, 16, 32, 64, 0, 4)};
    for (std::size_t i = 0; i < different.size(); ++i) {
        for (std::size_t j = 0; j < different.size(); ++j)
            EXPECT_EQ(different[i]->isEqual(different[j]->clone().get()), i == j) << i << ' ' << j;
        EXPECT_FALSE(different[i]->isEqual(nullptr)) << i;
        EXPECT_EQ(different[i]->kind(), i < 2 ? 0 : 1) << i;
        Sizes const changed = different[i]->clone();
        changed->addNewWordLength(100);
        EXPECT_FALSE(different[i]->isEqual(changed.get())) << i;
    }
    EXPECT_TRUE(micro(8, 16, 32, 48, 64)->isEqual(micro(64, 48, 32, 16, 8).get()));

    Sizes const orphan = micro(8, 16, 32, 32)->clone();
    EXPECT_EQ(orphan->getContainerWordLength(12, HWContainerElement), 16u) << "the source is gone";
}

} // namespace
