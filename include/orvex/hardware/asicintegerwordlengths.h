/// \file
/// The integer sizes of an ASIC or FPGA.
#pragma once

#include <orvex/hardware/hwintegerwordlengths.h>

/// Every size from 1 bit to a largest one, 128 at first; the nominal integer has 32 bits.
///
/// addNewWordLength moves the largest size and nothing else: all walks still end after 128 bits.
class ORVEX_API AsicIntegerWordLengths : public HWIntegerWordLengths
{
public:
    AsicIntegerWordLengths();
    AsicIntegerWordLengths(AsicIntegerWordLengths const&) = default;
    AsicIntegerWordLengths& operator=(AsicIntegerWordLengths const&) = default;
    ~AsicIntegerWordLengths() override;

    unsigned int getBitsPerSmallestInteger() const override;
    unsigned int getBitsPerLargestInteger() const override;
    unsigned int getBitsPerNominalInteger() const override;

    /// `wl` itself, but for HWContainerInteger not less than the nominal size.
    unsigned int getContainerWordLength(unsigned int wl, HWContainerEnum container) override;

    /// One bit more, but for HWContainerInteger not less than the nominal size, and never more than the
    /// largest.
    unsigned int getNextLargestSingleWordInteger(unsigned int wl, HWContainerEnum container) override;

    unsigned int getNextLargestMultiWordInteger(unsigned int wl) override; ///< one bit more
    bool isMultiWord(unsigned int wl) const override;
    bool isWordLengthEmulated(unsigned int wl) override; ///< never
    bool isHWBuiltInWordLength(unsigned int wl) override;

    void
    addNewWordLength(unsigned int wl) override; ///< `wl` is the largest size from now on, be it more or less
    void removeLargestWordLength() override;    ///< the largest size is 128 again, whatever it was

    unsigned int getNumIntegers() const override; ///< the largest size

    WordLengthIterator beginElementIterator() const override;
    WordLengthIterator endElementIterator() const override;
    WordLengthIterator beginUniqueIterator() const override;
    WordLengthIterator endUniqueIterator() const override;
    WordLengthIterator beginIntegerElementIterator() const override;
    WordLengthIterator beginIntegerUniqueIterator() const override;

    boost::shared_ptr<HWIntegerWordLengths> clone() const override;
    hwDeviceTypeEnum kind() const override;

    /// A binary search from `start` to the largest size: the predicate has to be false below some size and
    /// true from there on. Its last call is always with the size at which the search ended, so that its state
    /// belongs to that size; this is `start` itself if that is above the largest size.
    unsigned int find_first(unsigned int start, WordLengthBasePredicate& predicate) override;

    bool isEqual(HWIntegerWordLengths const* other) const override; ///< looks at kind and largest size alone

private:
    unsigned int bitsPerSmallest = 1;
    unsigned int bitsPerLargest = FXP_MAX_BITS;
    unsigned int bitsPerEnd = FXP_MAX_BITS + 1; ///< where walks end
    unsigned int bitsPerNominal = 32;
    [[maybe_unused]] unsigned int stepBits = 1; ///< the distance of the sizes; only copied
};

namespace ORVEX
{
using ::AsicIntegerWordLengths;
}
