#include "support/texttable.h"

#include <orvex/hardware/asicintegerwordlengths.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/hardware/microintegerwordlengths.h>

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <memory>

namespace
{
using orvextest::rows, orvextest::split, orvextest::Texts;
using Sizes = boost::shared_ptr<HWIntegerWordLengths>;
using Bits = unsigned int;
using Record = fxpProdHardware;

Bits bitsOf(std::string const& text) { return static_cast<Bits>(std::stoul(text)); }

/// "asic" or the entries of a list, then "+" with a size to add, and a "-" for each to be dropped.
Sizes made(std::string const& text)
{
    std::vector<Bits> e;
    Sizes sizes;
    for (std::string const& word : split(text, ' ')) {
        if (word == "asic") sizes = boost::make_shared<AsicIntegerWordLengths>();
        if (word == "-") sizes->removeLargestWordLength();
        if (word[0] == '+') sizes->addNewWordLength(bitsOf(word.substr(1)));
        if (!std::isdigit(word[0])) continue;
        e.push_back(bitsOf(word));
        if (e.size() == 4) sizes = boost::make_shared<MicroIntegerWordLengths>(e[0], e[1], e[2], e[3]);
        if (e.size() == 5) sizes = boost::make_shared<MicroIntegerWordLengths>(e[0], e[1], e[2], e[3], e[4]);
    }
    return sizes;
}

/// " 8 16 32", or " 1..128" of sizes that rise by one.
std::string listed(std::vector<Bits> const& values)
{
    if (values.size() > 9 && values.back() - values[0] + 1 == values.size())
        return ' ' + std::to_string(values[0]) + ".." + std::to_string(values.back());
    std::string text;
    for (Bits const value : values) text += ' ' + std::to_string(value);
    return text;
}
std::string walk(WordLengthIterator it, WordLengthIterator const& end)
{
    std::vector<Bits> values;
    for (; it != end && values.size() < 1000; ++it) values.push_back(*it);
    return listed(values);
}

/// Smallest, largest, nominal, count: all sizes; unique ones; both from the nominal one on.
std::string walksOf(HWIntegerWordLengths const& sizes)
{
    WordLengthIterator const end = sizes.endElementIterator(), uniqueEnd = sizes.endUniqueIterator();
    return listed({sizes.getBitsPerSmallestInteger(), sizes.getBitsPerLargestInteger(),
                   sizes.getBitsPerNominalInteger(), sizes.getNumIntegers()}) +
           ":" + walk(sizes.beginElementIterator(), end) + "," +
           walk(sizes.beginUniqueIterator(), uniqueEnd) + "," +
           walk(sizes.beginIntegerElementIterator(), end) + "," +
           walk(sizes.beginIntegerUniqueIterator(), uniqueEnd);
}

/// Containers of an element, an integer and any other kind; the next single words; the next of several words,
/// and whether the size itself is built in, multiword, emulated.
std::string answersOf(HWIntegerWordLengths& sizes, Bits wl)
{
    std::vector<Bits> containers, words;
    for (int i = 0; i < 3; ++i) {
        containers.push_back(sizes.getContainerWordLength(wl, static_cast<HWContainerEnum>(i)));
        words.push_back(sizes.getNextLargestSingleWordInteger(wl, static_cast<HWContainerEnum>(i)));
    }
    return listed(containers) + "," + listed(words) + ", " +
           std::to_string(sizes.getNextLargestMultiWordInteger(wl)) +
           (sizes.isHWBuiltInWordLength(wl) ? " b" : "") + (sizes.isMultiWord(wl) ? " m" : "") +
           (sizes.isWordLengthEmulated(wl) ? " e" : "");
}

struct FromBitsUp final : WordLengthBasePredicate {
    explicit FromBitsUp(Bits bits) : threshold(bits) {}
    bool operator()(Bits wl) override
    {
        trials.push_back(wl);
        return wl >= threshold;
    }
    Bits threshold;
    std::vector<Bits> trials;
};
std::string search(HWIntegerWordLengths& sizes, Bits start, Bits threshold)
{
    FromBitsUp predicate(threshold);
    Bits const found = sizes.find_first(start, predicate);
    return listed({found}) + ':' + listed(predicate.trials);
}

TEST(HWIntegerWordLengths, Table)
{
    // After each target its walks, its answers for a word length, or where a search for a threshold ends that
    // begins at a word length, and what it tries.
    for (Texts const& row :
         rows("asic = 1 128 32 128: 1..128, 1..128, 32..128, 32..128;"
              "asic +129 = 1 129 32 129: 1..128, 1..128, 32..128, 32..128;"
              "asic +20 = 1 20 32 20: 1..128, 1..128, 32..128, 32..128;"
              "asic +500 - = 1 128 32 128: 1..128, 1..128, 32..128, 32..128;"
              "8 16 32 32 = 8 32 32 4: 8 16 32 32, 8 16 32, 32 32, 32;"
              "8 16 24 129 32 = 8 128 24 5: 8 16 24 128 32, 8 16 24 128 32, 24 128 32, 24 128 32;"
              "64 8 8 32 = 8 64 8 4: 64 8 8 32, 64 8 32, 8 32, 8 32;"
              "127 128 129 4294967295 = 127 128 128 4: 127 128 128 128, 127 128, 128 128, 128;"
              "64 8 16 32 +200 = 8 200 32 5: 8 16 32 64 200, 8 16 32 64 200, 32 64 200, 32 64 200;"
              "64 8 32 16 - = 8 64 64 3: 8 32 64, 8 32 64, 64, 64;"
              "8 16 32 64 - - = 8 16 16 2: 8 16, 8 16, 16, 16;8 16 32 64 - - - - = 0 0 0 0:,,,;"
              "8 16 32 64 - - - - - = 0 0 0 0:,,,;asic @ 0 = 0 32 0, 1 32 1, 1 b;"
              "asic @ 32 = 32 32 32, 33 33 33, 33 b;asic @ 128 = 128 128 128, 128 128 128, 129 b;"
              "asic @ 129 = 129 129 129, 128 128 128, 130 m;"
              "asic @ 4294967295 = 4294967295 4294967295 4294967295, 128 128 128, 0 m;"
              "asic +20 @ 20 = 20 32 20, 20 20 20, 21 b;8 16 32 32 @ 0 = 8 32 8, 8 32 32, 32 e;"
              "8 16 32 32 @ 32 = 32 32 32, 32 32 32, 64 b;8 16 32 32 @ 64 = 64 64 64, 32 32 32, 96 m;"
              "8 16 32 32 @ 65 = 96 96 96, 32 32 32, 96 m e;64 8 16 32 @ 7 = 64 16 64, 64 16 16, 64 e;"
              "64 8 16 32 @ 16 = 64 16 64, 64 32 32, 64 b;64 8 16 32 @ 33 = 64 64 64, 64 64 64, 64 e;"
              "24 32 40 48 - - - @ 25 = 48 48 48, 24 24 24, 48 m e;"
              "8 16 32 64 - - - - @ 0 = 0 0 0, 0 0 0, 0 e;8 16 32 64 - - - - @ 5 = 0 0 0, 0 0 0, 0 m;"
              "0 0 0 0 @ 0 = 0 0 0, 0 0 0, 0 b;"
              "asic +10 ? 7 10 = 10: 8 9 10;asic +10 ? 7 7 = 7: 8 7 7;"
              "asic +10 ? 7 99 = 10: 8 9 10;asic +10 ? 12 11 = 12: 12;asic +10 ? 12 13 = 10: 12;"
              "32 8 64 16 ? 0 10 = 32: 32;32 8 64 16 ? 16 40 = 64: 32 64;"
              "32 8 64 16 ? 16 99 = 64: 32 64 16;32 8 64 16 ? 65 0 = 64:;8 16 32 64 - - - - ? 0 0 = 0:",
              '=')) {
        Texts const words = split(row[0], ' ');
        auto const at = std::ranges::find_if(words, [](auto& word) { return word == "@" || word == "?"; });
        Sizes const sizes = made(row[0].substr(0, row[0].find_first_of("@?")));
        EXPECT_EQ(at == words.end() ? walksOf(*sizes)
                  : *at == "@"      ? answersOf(*sizes, bitsOf(at[1]))
                                    : search(*sizes, bitsOf(at[1]), bitsOf(at[2])),
                  row[1])
            << row[0];
        WordLengthIterator past = sizes->endUniqueIterator();
        EXPECT_FALSE(++past != sizes->endUniqueIterator()) << "stays at the end: " << row[0];
    }
    for (Bits start = 0; start <= 128; ++start)
        for (Bits threshold = 0; threshold <= 129; ++threshold) {
            std::string const found = listed({std::min(std::max(start, threshold), 128U)}) + ':';
            ASSERT_TRUE(search(*made("asic"), start, threshold).starts_with(found)) << start << found;
        }
}

TEST(HWIntegerWordLengths, Iterators)
{
    EXPECT_EQ(*++made("asic")->endElementIterator(), 129U);
    AsicIntegerWordLengths const range;
    MicroIntegerWordLengths const list(8, 16, 32, 64);
    WordLengthIterator const first[] = {list.beginElementIterator(), list.beginUniqueIterator(),
                                        range.beginElementIterator(), range.beginUniqueIterator()};
    for (int i = 0; i < 4; ++i) { // a range has one kind of walk; other kinds never equal
        for (int j = 0; j < 4; ++j)
            EXPECT_EQ(first[i] != first[j], std::min(i, 2) != std::min(j, 2)) << i << j;
        Bits const value = *first[i];
        WordLengthIterator copy = first[i], assigned = first[(i + 1) % 3];
        assigned = first[i];
        EXPECT_EQ(&++copy, &copy);
        EXPECT_TRUE(copy != first[i] && copy != assigned && *first[i] == value) << i;
        EXPECT_FALSE(++assigned != copy);
    }
}

TEST(HWIntegerWordLengths, EqualityAndClones)
{
    // Each differs from all others. Equality of ranges looks at the largest size alone.
    Texts const different{"asic",       "asic +4",        "8 16 32 64",
                          "8 16 64 32", "8 16 32 64 +64", "8 16 32 64 - - - -"};
    for (std::size_t i = 0; i < different.size(); ++i) {
        Sizes const one = made(different[i]);
        for (std::size_t j = 0; j < different.size(); ++j)
            EXPECT_EQ(one->isEqual(made(different[j])->clone().get()), i == j) << i << ' ' << j;
        Sizes const copy = one->clone();
        copy->addNewWordLength(100);
        EXPECT_FALSE(one->isEqual(copy.get()) || one->isEqual(nullptr)) << i;
        EXPECT_EQ(one->kind(), i < 2 ? 0 : 1) << i;
    }
    EXPECT_TRUE(made("8 16 32 48 +64")->isEqual(made("64 48 32 16 +8").get()));
}

TEST(FxpProdHardware, FactoriesChangesAndCopies)
{
    auto const told = [](Record const& record) {
        HWIntegerWordLengths const& sizes = *record.getHWIntegerWordlengths();
        EXPECT_NE(record.isHWDeviceTypeASIC(), record.isHWDeviceTypeMicropcessor());
        return listed({static_cast<Bits>(record.getHWDeviceType()), record.isHWDeviceTypeASIC(),
                       static_cast<Bits>(record.getHWIntDivRndMode())}) +
               walk(sizes.beginElementIterator(), sizes.endElementIterator());
    };
    constexpr auto A = ProdHWDeviceAsic;
    constexpr auto M = ProdHWDeviceMicro;
    constexpr auto zero = FxpHardwareRoundingZero, floor = FxpHardwareRoundingFloor,
                   unknown = FxpHardwareRoundingUndefined;
    std::pair<void (*)(Record&), char const*> const changes[] = {
        {[](Record& r) { r = Record(); }, " 1 1 2 1..128"},
        {[](Record& r) { r = Record::getASICTypeHardware(); }, " 1 1 0 1..128"},
        {[](Record& r) { r = Record::getASICTypeHardware(unknown); }, " 1 1 2 1..128"},
        {[](Record& r) { r = Record(A, zero); }, " 1 1 0 1..128"},
        {[](Record& r) { r = Record(M, zero); }, " 0 0 0 1..128"},
        {[](Record& r) { r = Record(M, 8, 16, 32, 256, zero); }, " 0 0 0 8 16 32 128"},
        {[](Record& r) { r = Record(M, 5, 4, 3, 2, 1, floor); }, " 0 0 1 5 4 3 2 1"},
        {[](Record& r) { r = Record(A, 4, 3, 2, 1, zero); }, " 1 1 0 4 3 2 1"},
        {[](Record& r) { r = Record(A, 5, 4, 3, 2, 1, zero); }, " 1 1 0 5 4 3 2 1"},
        {[](Record& r) { r.createAsicDevice(); }, " 1 1 0 1..128"},
        {[](Record& r) { r.createAsicDevice(unknown); }, " 1 1 2 1..128"},
        {[](Record& r) { r.createMicroDevice(8, 16, 32, 256); }, " 0 0 1 8 16 32 128"},
        {[](Record& r) { r.createMicroDevice(5, 4, 3, 2, 1); }, " 0 0 1 5 4 3 2 1"},
        {[](Record& r) { r.setHWDeviceType(M); }, " 0 0 1 8 16 24 32"},
        {[](Record& r) { r.setHWIntDivRndMode(unknown); }, " 1 1 2 8 16 24 32"},
        {[](Record& r) { r = static_cast<Record const&>(r); }, " 1 1 1 8 16 24 32"}};
    for (auto const& [change, wanted] : changes) {
        Record record(A, 8, 16, 24, 32, floor);
        Record const before(record);
        change(record);
        EXPECT_EQ(told(record), wanted);
        EXPECT_EQ(record.getTestHWIntergerWordlengths(), record.getHWIntegerWordlengths());
        EXPECT_EQ(told(before), " 1 1 1 8 16 24 32") << "before " << wanted;
    }
    Sizes const mine = made("8 16 32 32"); // setProdHW alone shares
    Record source, assigned(M, zero);
    source.setProdHW(mine);
    mine->addNewWordLength(64);
    Record const copied(source);
    assigned = source;
    std::unique_ptr<Record> const cloned(source.clone());
    mine->addNewWordLength(100);
    EXPECT_EQ(told(source), " 1 1 2 8 16 32 32 64 100");
    for (Record const& copy : {copied, assigned, *cloned}) EXPECT_EQ(told(copy), " 1 1 2 8 16 32 32 64");
}

} // namespace
