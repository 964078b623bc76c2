/// \file
/// The integer sizes of a microprocessor.
#pragma once

#include <orvex/hardware/hwintegerwordlengths.h>

#include <vector>

/// A list of sizes in bits, duplicates allowed. Searches look at it in stored order, which is the order given
/// until the first change and ascending from then on. The third entry is the nominal integer, after a change
/// too; of a shorter list it is the last.
///
/// A list can be emptied by removeLargestWordLength. Its sizes, and the multiples of its largest size, are
/// then 0.
class ORVEX_API MicroIntegerWordLengths : public HWIntegerWordLengths
{
public:
    /// The sizes of the target's character, short, int and long in bits. Each is limited to FXP_MAX_BITS.
    MicroIntegerWordLengths(unsigned int bitsChar, unsigned int bitsShort, unsigned int bitsInt,
                            unsigned int bitsLong);
    /// As above, with the long long.
    MicroIntegerWordLengths(unsigned int bitsChar, unsigned int bitsShort, unsigned int bitsInt,
                            unsigned int bitsLong, unsigned int bitsLongLong);
    MicroIntegerWordLengths(MicroIntegerWordLengths const&) = default;
    MicroIntegerWordLengths& operator=(MicroIntegerWordLengths const&) = default;
    ~MicroIntegerWordLengths() override;

    unsigned int getBitsPerSmallestInteger() const override;
    unsigned int getBitsPerLargestInteger() const override;
    unsigned int getBitsPerNominalInteger() const override;

    /// The first entry not below `wl`, for HWContainerInteger from the nominal entry on; otherwise the least
    /// multiple of the largest size that is not below `wl`.
    unsigned int getContainerWordLength(unsigned int wl, HWContainerEnum container) override;

    /// The first entry above `wl`, for anything but HWContainerElement from the nominal entry on; otherwise
    /// the largest size, even if it is below `wl`.
    unsigned int getNextLargestSingleWordInteger(unsigned int wl, HWContainerEnum container) override;

    /// The least multiple of the largest size above `wl`.
    unsigned int getNextLargestMultiWordInteger(unsigned int wl) override;

    bool isMultiWord(unsigned int wl) const override;
    bool isWordLengthEmulated(unsigned int wl) override;
    bool isHWBuiltInWordLength(unsigned int wl) override; ///< is `wl` an entry?

    void addNewWordLength(unsigned int wl) override; ///< then sorts; the new entry may exceed FXP_MAX_BITS

    /// Drops the last entry, if there is one, and then sorts. Before the first change the last entry is the
    /// last one given, which need not be the largest.
    void removeLargestWordLength() override;

    unsigned int getNumIntegers() const override;

    WordLengthIterator beginElementIterator() const override;
    WordLengthIterator endElementIterator() const override;
    WordLengthIterator beginUniqueIterator() const override;
    WordLengthIterator endUniqueIterator() const override;
    WordLengthIterator beginIntegerElementIterator() const override;
    WordLengthIterator beginIntegerUniqueIterator() const override;

    boost::shared_ptr<HWIntegerWordLengths> clone() const override;
    hwDeviceTypeEnum kind() const override;

    /// Tries the entries not below `start` in stored order. Where none passes, the predicate has last seen
    /// the last of them.
    unsigned int find_first(unsigned int start, WordLengthBasePredicate& predicate) override;

    bool isEqual(HWIntegerWordLengths const* other) const override; ///< same entries in the same order

private:
    void restrictIntegersToFXP_MAX_BITS();
    std::vector<unsigned int>::const_iterator nominalEntry() const; ///< the end of an empty list

    std::vector<unsigned int> wordLengths;
    unsigned int nominalIndex = 2;
};

namespace ORVEX
{
using ::MicroIntegerWordLengths;
}
