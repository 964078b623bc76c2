#include <orvex/hardware/asicintegerwordlengths.h>

#include "hardware/wordlengthiteratorimpl.h"

#include <boost/make_shared.hpp>

AsicIntegerWordLengths::AsicIntegerWordLengths() = default;

AsicIntegerWordLengths::~AsicIntegerWordLengths() = default;

unsigned int AsicIntegerWordLengths::getBitsPerSmallestInteger() const { return bitsPerSmallest; }

unsigned int AsicIntegerWordLengths::getBitsPerLargestInteger() const { return bitsPerLargest; }

unsigned int AsicIntegerWordLengths::getBitsPerNominalInteger() const { return bitsPerNominal; }

unsigned int AsicIntegerWordLengths::getContainerWordLength(unsigned int wl, HWContainerEnum container)
{
    return container == HWContainerInteger && wl < bitsPerNominal ? bitsPerNominal : wl;
}

unsigned int AsicIntegerWordLengths::getNextLargestSingleWordInteger(unsigned int wl,
                                                                     HWContainerEnum container)
{
    if (wl >= bitsPerLargest) return bitsPerLargest;
    return container == HWContainerInteger && wl < bitsPerNominal ? bitsPerNominal : wl + 1;
}

unsigned int AsicIntegerWordLengths::getNextLargestMultiWordInteger(unsigned int wl) { return wl + 1; }

bool AsicIntegerWordLengths::isMultiWord(unsigned int wl) const { return wl > bitsPerLargest; }

bool AsicIntegerWordLengths::isWordLengthEmulated(unsigned int) { return false; }

bool AsicIntegerWordLengths::isHWBuiltInWordLength(unsigned int wl) { return wl <= bitsPerLargest; }

void AsicIntegerWordLengths::addNewWordLength(unsigned int wl) { bitsPerLargest = wl; }

void AsicIntegerWordLengths::removeLargestWordLength() { bitsPerLargest = FXP_MAX_BITS; }

unsigned int AsicIntegerWordLengths::getNumIntegers() const { return bitsPerLargest; }

WordLengthIterator AsicIntegerWordLengths::beginElementIterator() const
{
    return WordLengthIterator(new AsicElementIterator(bitsPerSmallest));
}

WordLengthIterator AsicIntegerWordLengths::endElementIterator() const
{
    return WordLengthIterator(new AsicElementIterator(bitsPerEnd));
}

WordLengthIterator AsicIntegerWordLengths::beginUniqueIterator() const { return beginElementIterator(); }

WordLengthIterator AsicIntegerWordLengths::endUniqueIterator() const { return endElementIterator(); }

WordLengthIterator AsicIntegerWordLengths::beginIntegerElementIterator() const
{
    return WordLengthIterator(new AsicElementIterator(bitsPerNominal));
}

WordLengthIterator AsicIntegerWordLengths::beginIntegerUniqueIterator() const
{
    return beginIntegerElementIterator();
}

boost::shared_ptr<HWIntegerWordLengths> AsicIntegerWordLengths::clone() const
{
    return boost::make_shared<AsicIntegerWordLengths>(*this);
}

HWIntegerWordLengths::hwDeviceTypeEnum AsicIntegerWordLengths::kind() const { return hwDeviceAsic; }

unsigned int AsicIntegerWordLengths::find_first(unsigned int start, WordLengthBasePredicate& predicate)
{
    unsigned int lo = start;
    unsigned int hi = bitsPerLargest;
    while (lo < hi) {
        unsigned int const mid = lo + (hi - lo) / 2;
        if (predicate(mid)) {
            hi = mid;
        } else {
            lo = mid + 1;
        }
    }
    // Also if the search itself has just tried lo: the caller reads the trial at the answer from the
    // predicate.
    return predicate(lo) ? lo : bitsPerLargest;
}

bool AsicIntegerWordLengths::isEqual(HWIntegerWordLengths const* other) const
{
    return other && kind() == other->kind() && getNumIntegers() == other->getNumIntegers();
}
