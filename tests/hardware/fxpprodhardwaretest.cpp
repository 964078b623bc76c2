#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/hardware/microintegerwordlengths.h>

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <initializer_list>
#include <memory>
#include <vector>

namespace
{

using Record = fxpProdHardware;
using Sizes = std::vector<unsigned int>; ///< of a micro; empty stands for the sizes of an ASIC

Sizes sizesOf(Record const& record)
{
    HWIntegerWordLengths const& sizes = *record.getHWIntegerWordlengths();
    Sizes all;
    if (sizes.kind() == HWIntegerWordLengths::hwDeviceAsic) return all;
    for (WordLengthIterator it = sizes.beginElementIterator(); it != sizes.endElementIterator(); ++it)
        all.push_back(*it);
    return all;
}

void expectRecord(Record const& record, int type, int rounding, Sizes const& sizes)
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
    Sizes const old = {8, 16, 24, 32}; // of an ASIC with rounding 1, which each row starts from
    struct Row {
        char const* name;
        void (*change)(Record&);
        int type, rounding;
        Sizes sizes;
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
    Sizes const shared = {8, 16, 32, 32, 64};
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
