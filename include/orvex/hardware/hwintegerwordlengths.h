/// \file
/// Which integer sizes a target has. All sizes are in bits.
#pragma once

#include <orvex/foundation/export.h>
#include <orvex/hardware/wordlengthiterator.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>

/// The largest size, in bits, that a microprocessor word may claim at construction.
inline constexpr unsigned int FXP_MAX_BITS = 128;

/// What a word is wanted for.
enum HWContainerEnum : std::int32_t {
    HWContainerElement = 0, ///< to hold a value: any size will do
    HWContainerInteger = 1  ///< to compute on: nothing narrower than the nominal integer will do
};

/// A test of a word length, for HWIntegerWordLengths::find_first. It may change its own state when called, so
/// that a caller can read the last trial back from it.
class ORVEX_API WordLengthBasePredicate
{
public:
    virtual ~WordLengthBasePredicate();
    virtual bool operator()(unsigned int wl) = 0; ///< `wl` in bits
};

/// The integer sizes of a target: a short list for a microprocessor, a range for an ASIC or FPGA. The
/// target's *nominal* integer is the one it computes on by preference, its *largest* the largest single word;
/// anything above that is held in several words.
///
/// Nothing here reports an error. Searches do not change the objects of this library, so that several threads
/// may ask one object as long as none changes it; one of another class may write to itself in the operations
/// that are not const.
class ORVEX_API HWIntegerWordLengths
{
public:
    /// Mind that ProdHWDeviceType counts the other way round.
    enum hwDeviceTypeEnum : std::int32_t {
        hwDeviceAsic = 0, ///< AsicIntegerWordLengths
        hwDeviceMicro = 1 ///< MicroIntegerWordLengths
    };

    // The virtual operations stand in the order of their slots, which is a contract with compiled callers.

    virtual ~HWIntegerWordLengths();

    /// The least size.
    virtual unsigned int getBitsPerSmallestInteger() const = 0;
    /// The size of the largest single word.
    virtual unsigned int getBitsPerLargestInteger() const = 0;
    /// The size that the target computes on by preference, its `int`.
    virtual unsigned int getBitsPerNominalInteger() const = 0;

    /// The size of the word or words that hold `wl` bits.
    virtual unsigned int getContainerWordLength(unsigned int wl, HWContainerEnum container) = 0;

    /// The next single word above `wl` bits; the largest one where there is none above.
    virtual unsigned int getNextLargestSingleWordInteger(unsigned int wl, HWContainerEnum container) = 0;

    /// The next size above `wl` bits that several words can make; always more than `wl`.
    virtual unsigned int getNextLargestMultiWordInteger(unsigned int wl) = 0;

    /// Are `wl` bits more than the largest single word?
    virtual bool isMultiWord(unsigned int wl) const = 0;

    /// Would code for the target have to imitate this size by wider or by several words? A whole number of
    /// the largest words does not count as imitated.
    virtual bool isWordLengthEmulated(unsigned int wl) = 0;

    /// Is `wl` the size of a single word of the target?
    virtual bool isHWBuiltInWordLength(unsigned int wl) = 0;

    /// Adds a size, in bits and without a limit. Iterators over a list become invalid.
    virtual void addNewWordLength(unsigned int wl) = 0;

    /// Takes back what addNewWordLength has added; the classes say what they take for it. Iterators over a
    /// list become invalid.
    virtual void removeLargestWordLength() = 0;

    virtual unsigned int getNumIntegers() const = 0; ///< how many sizes there are, duplicates counted

    ///@{
    /// Begin or end of a walk over the sizes. Element walks meet every size, unique walks skip repetitions;
    /// the two integer walks begin at the nominal integer and end where the others do.
    virtual WordLengthIterator beginElementIterator() const = 0;
    virtual WordLengthIterator endElementIterator() const = 0;
    virtual WordLengthIterator beginUniqueIterator() const = 0;
    virtual WordLengthIterator endUniqueIterator() const = 0;
    virtual WordLengthIterator beginIntegerElementIterator() const = 0;
    virtual WordLengthIterator beginIntegerUniqueIterator() const = 0;
    ///@}

    /// An independent copy.
    virtual boost::shared_ptr<HWIntegerWordLengths> clone() const = 0;

    /// A list of a microprocessor, or the range of an ASIC.
    virtual hwDeviceTypeEnum kind() const = 0;

    /// The first size not below `start` bits that satisfies the predicate, and the largest size if none does.
    /// A caller that must tell whether the largest size satisfied it looks at the predicate's state. Throws
    /// only what the predicate throws.
    virtual unsigned int find_first(unsigned int start, WordLengthBasePredicate& predicate) = 0;

    /// Same kind and same sizes. False of null.
    virtual bool isEqual(HWIntegerWordLengths const* other) const = 0;
};

namespace ORVEX
{
using ::FXP_MAX_BITS;
using ::HWContainerElement;
using ::HWContainerEnum;
using ::HWContainerInteger;
using ::HWIntegerWordLengths;
using ::WordLengthBasePredicate;
} // namespace ORVEX
