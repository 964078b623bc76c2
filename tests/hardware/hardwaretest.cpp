#include <orvex/hardware/asicintegerwordlengths.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/hardware/microintegerwordlengths.h>

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <memory>
#include <numeric>
#include <vector>

namespace
{

using Sizes = boost::shared_ptr<HWIntegerWordLengths>;
using Values = std::vector<unsigned int>;
using Record = fxpProdHardware;
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

Values walk(WordLengthIterator it, WordLengthIterator const& end)
{
    Values values;
    for (; it != end && values.size() < 1000; ++it) values.push_back(*it);
    return values;
}

TEST(HWIntegerWordLengths, SizesOfTheTargetAndWalksThroughThem)
{
    struct Row {
        char const* name;
        Sizes sizes;
        unsigned int smallest, largest, nominal, count;
        Values element, unique, integerElement, integerUnique;
    };
    Values all(128);
    std::iota(all.begin(), all.end(), 1u); // of an asic, whatever its limit
    Values const wide(all.begin() + 31, all.end());
    Sizes const five = boost::make_shared<MicroIntegerWordLengths>(8, 16, 24, 129, 32);
    Row const rows[] = {
        {"asic", boost::make_shared<AsicIntegerWordLengths>(), 1, 128, 32, 128, all, all, wide, wide},
        {"asic grown", asic(129), 1, 129, 32, 129, all, all, wide, wide},
        {"asic below nominal", asic(20), 1, 20, 32, 20, all, all, wide, wide},
        {"asic, limit put back from below", asic(20, 1), 1, 128, 32, 128, all, all, wide, wide},
        {"asic, limit put back from above", asic(500, 1), 1, 128, 32, 128, all, all, wide, wide},
        {"micro", micro(8, 16, 32, 32), 8, 32, 32, 4, {8, 16, 32, 32}, {8, 16, 32}, {32, 32}, {32}},
        {"five",
         five,
         8,
         128,
         24,
         5,
         {8, 16, 24, 128, 32},
         {8, 16, 24, 128, 32},
         {24, 128, 32},
         {24, 128, 32}},
        {"unordered", micro(64, 8, 8, 32), 8, 64, 8, 4, {64, 8, 8, 32}, {64, 8, 32}, {8, 32}, {8, 32}},
        {"limited",
         micro(127, 128, 129, huge),
         127,
         128,
         128,
         4,
         {127, 128, 128, 128},
         {127, 128},
         {128, 128},
         {128}},
        {"grown: sorted, third is nominal, no limit",
         micro(64, 8, 16, 32, 200),
         8,
         200,
         32,
         5,
         {8, 16, 32, 64, 200},
         {8, 16, 32, 64, 200},
         {32, 64, 200},
         {32, 64, 200}},
        {"the last one given is dropped",
         micro(64, 8, 32, 16, 0, 1),
         8,
         64,
         64,
         3,
         {8, 32, 64},
         {8, 32, 64},
         {64},
         {64}},
        {"two", micro(8, 16, 32, 64, 0, 2), 8, 16, 16, 2, {8, 16}, {8, 16}, {16}, {16}},
        {"none", micro(8, 16, 32, 64, 0, 4), 0, 0, 0, 0, {}, {}, {}, {}},
        {"none, removed from", micro(8, 16, 32, 64, 0, 5), 0, 0, 0, 0, {}, {}, {}, {}},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        HWIntegerWordLengths const& sizes = *row.sizes;
        EXPECT_EQ(sizes.getBitsPerSmallestInteger(), row.smallest);
        EXPECT_EQ(sizes.getBitsPerLargestInteger(), row.largest);
        EXPECT_EQ(sizes.getBitsPerNominalInteger(), row.nominal);
        EXPECT_EQ(sizes.getNumIntegers(), row.count);
        WordLengthIterator const end = sizes.endElementIterator(), uniqueEnd = sizes.endUniqueIterator();
        EXPECT_EQ(walk(sizes.beginElementIterator(), end), row.element);
        EXPECT_EQ(walk(sizes.beginUniqueIterator(), uniqueEnd), row.unique);
        EXPECT_EQ(walk(sizes.beginIntegerElementIterator(), end), row.integerElement);
        EXPECT_EQ(walk(sizes.beginIntegerUniqueIterator(), uniqueEnd), row.integerUnique);
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
        WordLengthIterator copy = first[i], assigned = first[(i + 1) % 3];
        assigned = first[i];
        EXPECT_EQ(&++copy, &copy);
        EXPECT_TRUE(copy != first[i] && copy != assigned && *first[i] == value);
        EXPECT_FALSE(++assigned != copy);
        copy = static_cast<WordLengthIterator const&>(copy);
        EXPECT_FALSE(copy != assigned);
    }
    EXPECT_FALSE(asic.beginUniqueIterator() != asic.beginElementIterator()) << "a range has one kind of walk";
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
        {"asic", asic(), 32, 32, 32, 32, 33, 33, 33, 33, false, false, true},
        {"asic", asic(), 128, 128, 128, 128, 128, 128, 128, 129, false, false, true},
        {"asic", asic(), 129, 129, 129, 129, 128, 128, 128, 130, true, false, false},
        {"asic", asic(), huge, huge, huge, huge, 128, 128, 128, 0, true, false, false},
        {"asic 20", asic(20), 20, 20, 32, 20, 20, 20, 20, 21, false, false, true},
        {"micro", four, 0, 8, 32, 8, 8, 32, 32, 32, false, true, false},
        {"micro", four, 12, 16, 32, 16, 16, 32, 32, 32, false, true, false},
        {"micro", four, 32, 32, 32, 32, 32, 32, 32, 64, false, false, true},
        {"micro", four, 40, 64, 64, 64, 32, 32, 32, 64, true, true, false},
        {"micro", four, 64, 64, 64, 64, 32, 32, 32, 96, true, false, false},
        {"micro", four, 65, 96, 96, 96, 32, 32, 32, 96, true, true, false},
        {"micro: first, not least", mixed, 7, 64, 16, 64, 64, 16, 16, 64, false, true, false},
        {"micro unordered", mixed, 16, 64, 16, 64, 64, 32, 32, 64, false, false, true},
        {"micro: larger before nominal", mixed, 33, 64, 64, 64, 64, 64, 64, 64, false, true, false},
        {"micro of one", one, 25, 48, 48, 48, 24, 24, 24, 48, true, true, false},
        {"micro of none", none, 0, 0, 0, 0, 0, 0, 0, 0, false, true, false},
        {"micro of none", none, 5, 0, 0, 0, 0, 0, 0, 0, true, false, false},
        {"micro of zeros", zeros, 0, 0, 0, 0, 0, 0, 0, 0, false, false, true},
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

Values sizesOf(Record const& record) ///< none stands for the sizes of an ASIC
{
    HWIntegerWordLengths const& sizes = *record.getHWIntegerWordlengths();
    if (sizes.kind() == HWIntegerWordLengths::hwDeviceAsic) return {};
    return walk(sizes.beginElementIterator(), sizes.endElementIterator());
}

void expectRecord(Record const& record, int type, int rounding, Values const& sizes)
{
    EXPECT_EQ(record.getHWDeviceType(), type);
    EXPECT_EQ(record.isHWDeviceTypeASIC(), type == 1);
    EXPECT_EQ(record.isHWDeviceTypeMicropcessor(), type == 0);
    EXPECT_EQ(record.getHWIntDivRndMode(), rounding);
    EXPECT_EQ(sizesOf(record), sizes);
}

TEST(FxpProdHardware, FactoriesAndChanges)
{
    constexpr auto asic = ProdHWDeviceAsic;
    constexpr auto micro = ProdHWDeviceMicro;
    constexpr auto zero = FxpHardwareRoundingZero;
    constexpr auto floor = FxpHardwareRoundingFloor;
    constexpr auto unknown = FxpHardwareRoundingUndefined;
    Values const old = {8, 16, 24, 32}; // of an ASIC with rounding 1, which each row starts from
    struct Row {
        char const* name;
        void (*change)(Record&);
        int type, rounding;
        Values sizes;
    };
    Row const rows[] = {
        {"default", [](Record& r) { r = Record(); }, 1, 2, {}},
        {"asic", [](Record& r) { r = Record::getASICTypeHardware(); }, 1, 0, {}},
        {"asic, rounding", [](Record& r) { r = Record::getASICTypeHardware(unknown); }, 1, 2, {}},
        {"type and rounding", [](Record& r) { r = Record(asic, zero); }, 1, 0, {}},
        {"micro with an asic's sizes", [](Record& r) { r = Record(micro, zero); }, 0, 0, {}},
        {"four", [](Record& r) { r = Record(micro, 8, 16, 32, 256, zero); }, 0, 0, {8, 16, 32, 128}},
        {"five", [](Record& r) { r = Record(micro, 5, 4, 3, 2, 1, floor); }, 0, 1, {5, 4, 3, 2, 1}},
        {"asic with four", [](Record& r) { r = Record(asic, 4, 3, 2, 1, zero); }, 1, 0, {4, 3, 2, 1}},
        {"asic with five", [](Record& r) { r = Record(asic, 5, 4, 3, 2, 1, zero); }, 1, 0, {5, 4, 3, 2, 1}},
        {"becomes asic", [](Record& r) { r.createAsicDevice(); }, 1, 0, {}},
        {"becomes asic, rounding", [](Record& r) { r.createAsicDevice(unknown); }, 1, 2, {}},
        {"becomes four", [](Record& r) { r.createMicroDevice(8, 16, 32, 256); }, 0, 1, {8, 16, 32, 128}},
        {"becomes five", [](Record& r) { r.createMicroDevice(5, 4, 3, 2, 1); }, 0, 1, {5, 4, 3, 2, 1}},
        {"type alone", [](Record& r) { r.setHWDeviceType(micro); }, 0, 1, old},
        {"rounding alone", [](Record& r) { r.setHWIntDivRndMode(unknown); }, 1, 2, old},
        {"itself", [](Record& r) { r = static_cast<Record const&>(r); }, 1, 1, old},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        Record record(asic, 8, 16, 24, 32, floor);
        Record const before(record);
        row.change(record);
        expectRecord(record, row.type, row.rounding, row.sizes);
        expectRecord(before, 1, 1, old);
        EXPECT_EQ(record.getTestHWIntergerWordlengths(), record.getHWIntegerWordlengths());
    }
}

TEST(FxpProdHardware, CopiesCloneAndOnlySetProdHWShares)
{
    auto const mine = boost::make_shared<MicroIntegerWordLengths>(8, 16, 32, 32);
    Record source;
    source.setProdHW(mine);
    mine->addNewWordLength(64);
    Values const shared = {8, 16, 32, 32, 64};
    expectRecord(source, 1, 2, shared);

    Record const copied(source);
    Record assigned(ProdHWDeviceMicro, FxpHardwareRoundingZero);
    assigned = source;
    std::unique_ptr<Record> const cloned(source.clone());
    for (Record const& copy : {copied, assigned, *cloned}) {
        expectRecord(copy, 1, 2, shared);
        copy.getHWIntegerWordlengths()->removeLargestWordLength();
        EXPECT_EQ(sizesOf(copy).size(), 4u);
    }
    for (Record const* copy : std::initializer_list<Record const*>{&copied, &assigned, cloned.get()}) {
        mine->addNewWordLength(100);
        EXPECT_EQ(sizesOf(*copy), shared);
    }
}

} // namespace
