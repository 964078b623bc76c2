#include <orvex/hardware/asicintegerwordlengths.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/hardware/microintegerwordlengths.h>

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <memory>
#include <sstream>

namespace
{
using Sizes = boost::shared_ptr<HWIntegerWordLengths>;
using Bits = unsigned int;
using Record = fxpProdHardware;

/// "asic" or the entries of a list, then "+" with a size to add, and a "-" for each to be dropped.
Sizes made(std::string const& text)
{
    std::istringstream in(text);
    std::vector<Bits> entries;
    Sizes sizes;
    for (std::string word; in >> word;)
        if (word == "asic")
            sizes = boost::make_shared<AsicIntegerWordLengths>();
        else if (word != "-" && word[0] != '+')
            entries.push_back(static_cast<Bits>(std::stoul(word)));
    if (entries.size() == 4)
        sizes = boost::make_shared<MicroIntegerWordLengths>(entries[0], entries[1], entries[2], entries[3]);
    else if (entries.size() == 5)
        sizes = boost::make_shared<MicroIntegerWordLengths>(entries[0], entries[1], entries[2], entries[3],
                                                            entries[4]);
    if (auto const plus = text.find('+'); plus != text.npos)
        sizes->addNewWordLength(static_cast<Bits>(std::stoul(text.substr(plus + 1))));
    for (auto n = std::count(text.begin(), text.end(), '-'); n > 0; --n) sizes->removeLargestWordLength();
    return sizes;
}

/// "8 16 32", or "1..128" of sizes that rise by one.
std::string walk(WordLengthIterator it, WordLengthIterator const& end)
{
    std::vector<Bits> values;
    for (; it != end && values.size() < 1000; ++it) values.push_back(*it);
    std::ostringstream text;
    if (values.size() > 9 && values.back() - values[0] + 1 == values.size())
        text << values[0] << ".." << values.back();
    else
        for (Bits const value : values) text << (text.tellp() > 0 ? " " : "") << value;
    return text.str();
}

/// Smallest, largest, nominal, count: all sizes; unique ones; both from the nominal one on.
std::string walksOf(HWIntegerWordLengths const& sizes)
{
    WordLengthIterator const end = sizes.endElementIterator(), uniqueEnd = sizes.endUniqueIterator();
    std::ostringstream text;
    text << sizes.getBitsPerSmallestInteger() << ' ' << sizes.getBitsPerLargestInteger() << ' '
         << sizes.getBitsPerNominalInteger() << ' ' << sizes.getNumIntegers() << ": "
         << walk(sizes.beginElementIterator(), end) << "; " << walk(sizes.beginUniqueIterator(), uniqueEnd)
         << "; " << walk(sizes.beginIntegerElementIterator(), end) << "; "
         << walk(sizes.beginIntegerUniqueIterator(), uniqueEnd);
    return text.str();
}

/// Containers of an element, an integer and any other kind; the next single words; the next of several words,
/// and whether the size itself is built in, multiword, emulated.
std::string answersOf(HWIntegerWordLengths& sizes, Bits wl)
{
    std::ostringstream text;
    for (int kind = 0; kind < 3; ++kind)
        text << sizes.getContainerWordLength(wl, static_cast<HWContainerEnum>(kind))
             << (kind < 2 ? " " : "; ");
    for (int kind = 0; kind < 3; ++kind)
        text << sizes.getNextLargestSingleWordInteger(wl, static_cast<HWContainerEnum>(kind))
             << (kind < 2 ? " " : "; ");
    text << sizes.getNextLargestMultiWordInteger(wl) << (sizes.isHWBuiltInWordLength(wl) ? " b" : "")
         << (sizes.isMultiWord(wl) ? " m" : "") << (sizes.isWordLengthEmulated(wl) ? " e" : "");
    return text.str();
}

TEST(HWIntegerWordLengths, SizesWalksAndAnswers)
{
    // After each target its walks, or answers for a word length.
    std::istringstream table(R"(
asic = 1 128 32 128: 1..128; 1..128; 32..128; 32..128
asic +129 = 1 129 32 129: 1..128; 1..128; 32..128; 32..128
asic +20 = 1 20 32 20: 1..128; 1..128; 32..128; 32..128
asic +500 - = 1 128 32 128: 1..128; 1..128; 32..128; 32..128
8 16 32 32 = 8 32 32 4: 8 16 32 32; 8 16 32; 32 32; 32
8 16 24 129 32 = 8 128 24 5: 8 16 24 128 32; 8 16 24 128 32; 24 128 32; 24 128 32
64 8 8 32 = 8 64 8 4: 64 8 8 32; 64 8 32; 8 32; 8 32
127 128 129 4294967295 = 127 128 128 4: 127 128 128 128; 127 128; 128 128; 128
64 8 16 32 +200 = 8 200 32 5: 8 16 32 64 200; 8 16 32 64 200; 32 64 200; 32 64 200
64 8 32 16 - = 8 64 64 3: 8 32 64; 8 32 64; 64; 64
8 16 32 64 - - = 8 16 16 2: 8 16; 8 16; 16; 16
8 16 32 64 - - - - = 0 0 0 0: ; ; ; 
8 16 32 64 - - - - - = 0 0 0 0: ; ; ; 
asic @ 0 = 0 32 0; 1 32 1; 1 b
asic @ 32 = 32 32 32; 33 33 33; 33 b
asic @ 128 = 128 128 128; 128 128 128; 129 b
asic @ 129 = 129 129 129; 128 128 128; 130 m
asic @ 4294967295 = 4294967295 4294967295 4294967295; 128 128 128; 0 m
asic +20 @ 20 = 20 32 20; 20 20 20; 21 b
8 16 32 32 @ 0 = 8 32 8; 8 32 32; 32 e
8 16 32 32 @ 32 = 32 32 32; 32 32 32; 64 b
8 16 32 32 @ 64 = 64 64 64; 32 32 32; 96 m
8 16 32 32 @ 65 = 96 96 96; 32 32 32; 96 m e
64 8 16 32 @ 7 = 64 16 64; 64 16 16; 64 e
64 8 16 32 @ 16 = 64 16 64; 64 32 32; 64 b
64 8 16 32 @ 33 = 64 64 64; 64 64 64; 64 e
24 32 40 48 - - - @ 25 = 48 48 48; 24 24 24; 48 m e
8 16 32 64 - - - - @ 0 = 0 0 0; 0 0 0; 0 e
8 16 32 64 - - - - @ 5 = 0 0 0; 0 0 0; 0 m
0 0 0 0 @ 0 = 0 0 0; 0 0 0; 0 b
)");
    for (std::string row; std::getline(table, row);) {
        if (row.empty()) continue;
        auto const at = row.find('@'), equals = row.find('=');
        Sizes const sizes = made(row.substr(0, std::min(at, equals)));
        std::string const got = at == row.npos
                                    ? walksOf(*sizes)
                                    : answersOf(*sizes, static_cast<Bits>(std::stoul(row.substr(at + 1))));
        EXPECT_EQ(got, row.substr(equals + 2)) << row;
        WordLengthIterator past = sizes->endUniqueIterator();
        EXPECT_FALSE(++past != sizes->endUniqueIterator()) << "stays at the end: " << row;
    }
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
        copy = static_cast<WordLengthIterator const&>(copy);
        EXPECT_FALSE(copy != assigned);
    }
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

TEST(HWIntegerWordLengths, FindFirst)
{
    struct Row {
        char const* sizes;
        Bits start, threshold, found;
        std::vector<Bits> trials;
    };
    Row const rows[] = {{"asic +10", 7, 10, 10, {8, 9, 10}}, // ends on a failed trial
                        {"asic +10", 7, 7, 7, {8, 7, 7}},    // ends on a passed one
                        {"asic +10", 7, 99, 10, {8, 9, 10}},  {"asic +10", 12, 11, 12, {12}},
                        {"asic +10", 12, 13, 10, {12}},       {"32 8 64 16", 0, 10, 32, {32}},
                        {"32 8 64 16", 16, 40, 64, {32, 64}}, {"32 8 64 16", 16, 99, 64, {32, 64, 16}},
                        {"32 8 64 16", 65, 0, 64, {}},        {"8 16 32 64 - - - -", 0, 0, 0, {}}};
    for (Row const& row : rows) {
        FromBitsUp predicate(row.threshold);
        EXPECT_EQ(made(row.sizes)->find_first(row.start, predicate), row.found) << row.sizes << row.start;
        EXPECT_EQ(predicate.trials, row.trials) << row.sizes << row.start;
    }
    for (Bits start = 0; start <= 128; ++start)
        for (Bits threshold = 0; threshold <= 129; ++threshold) {
            FromBitsUp predicate(threshold);
            Bits const wanted = std::min(std::max(start, threshold), 128U);
            ASSERT_EQ(made("asic")->find_first(start, predicate), wanted) << start << ' ' << threshold;
            ASSERT_EQ(predicate.trials.back(), wanted) << start << ' ' << threshold;
        }
}

TEST(HWIntegerWordLengths, EqualityAndClones)
{
    // Each differs from all others. Equality of ranges looks at the largest size alone.
    std::vector<std::string> const different{"asic",       "asic +4",        "8 16 32 64",
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
        EXPECT_TRUE(record.isHWDeviceTypeASIC() == (record.getHWDeviceType() == 1) &&
                    record.isHWDeviceTypeMicropcessor() == (record.getHWDeviceType() == 0));
        HWIntegerWordLengths const& sizes = *record.getHWIntegerWordlengths();
        return std::to_string(record.getHWDeviceType()) + ' ' + std::to_string(record.getHWIntDivRndMode()) +
               ' ' + walk(sizes.beginElementIterator(), sizes.endElementIterator());
    };
    constexpr auto A = ProdHWDeviceAsic;
    constexpr auto M = ProdHWDeviceMicro;
    constexpr auto zero = FxpHardwareRoundingZero, floor = FxpHardwareRoundingFloor,
                   unknown = FxpHardwareRoundingUndefined;
    std::pair<void (*)(Record&), char const*> const rows[] = {
        {[](Record& r) { r = Record(); }, "1 2 1..128"},
        {[](Record& r) { r = Record::getASICTypeHardware(); }, "1 0 1..128"},
        {[](Record& r) { r = Record::getASICTypeHardware(unknown); }, "1 2 1..128"},
        {[](Record& r) { r = Record(A, zero); }, "1 0 1..128"},
        {[](Record& r) { r = Record(M, zero); }, "0 0 1..128"},
        {[](Record& r) { r = Record(M, 8, 16, 32, 256, zero); }, "0 0 8 16 32 128"},
        {[](Record& r) { r = Record(M, 5, 4, 3, 2, 1, floor); }, "0 1 5 4 3 2 1"},
        {[](Record& r) { r = Record(A, 4, 3, 2, 1, zero); }, "1 0 4 3 2 1"},
        {[](Record& r) { r = Record(A, 5, 4, 3, 2, 1, zero); }, "1 0 5 4 3 2 1"},
        {[](Record& r) { r.createAsicDevice(); }, "1 0 1..128"},
        {[](Record& r) { r.createAsicDevice(unknown); }, "1 2 1..128"},
        {[](Record& r) { r.createMicroDevice(8, 16, 32, 256); }, "0 1 8 16 32 128"},
        {[](Record& r) { r.createMicroDevice(5, 4, 3, 2, 1); }, "0 1 5 4 3 2 1"},
        {[](Record& r) { r.setHWDeviceType(M); }, "0 1 8 16 24 32"},
        {[](Record& r) { r.setHWIntDivRndMode(unknown); }, "1 2 8 16 24 32"},
        {[](Record& r) { r = static_cast<Record const&>(r); }, "1 1 8 16 24 32"}};
    for (auto const& [change, wanted] : rows) {
        Record record(A, 8, 16, 24, 32, floor);
        Record const before(record);
        change(record);
        EXPECT_EQ(told(record), wanted);
        EXPECT_EQ(told(before), "1 1 8 16 24 32") << "before " << wanted;
        EXPECT_EQ(record.getTestHWIntergerWordlengths(), record.getHWIntegerWordlengths());
    }
    Sizes const mine = made("8 16 32 32"); // setProdHW alone shares
    Record source, assigned(M, zero);
    source.setProdHW(mine);
    mine->addNewWordLength(64);
    Record const copied(source);
    assigned = source;
    std::unique_ptr<Record> const cloned(source.clone());
    mine->addNewWordLength(100);
    EXPECT_EQ(told(source), "1 2 8 16 32 32 64 100");
    for (Record const* const copy : std::initializer_list<Record const*>{&copied, &assigned, cloned.get()})
        EXPECT_EQ(told(*copy), "1 2 8 16 32 32 64");
}

} // namespace
