#include <orvex/hardware/microintegerwordlengths.h>

#include "hardware/wordlengthiteratorimpl.h"

#include <boost/make_shared.hpp>

#include <algorithm>

MicroIntegerWordLengths::MicroIntegerWordLengths(unsigned int bitsChar, unsigned int bitsShort,
                                                 unsigned int bitsInt, unsigned int bitsLong)
    : wordLengths{bitsChar, bitsShort, bitsInt, bitsLong}
{
    restrictIntegersToFXP_MAX_BITS();
}

MicroIntegerWordLengths::MicroIntegerWordLengths(unsigned int bitsChar, unsigned int bitsShort,
                                                 unsigned int bitsInt, unsigned int bitsLong,
                                                 unsigned int bitsLongLong)
    : wordLengths{bitsChar, bitsShort, bitsInt, bitsLong, bitsLongLong}
{
    restrictIntegersToFXP_MAX_BITS();
}

MicroIntegerWordLengths::~MicroIntegerWordLengths() = default;

unsigned int MicroIntegerWordLengths::getBitsPerSmallestInteger() const
{
    return wordLengths.empty() ? 0 : *std::min_element(wordLengths.begin(), wordLengths.end());
}

unsigned int MicroIntegerWordLengths::getBitsPerLargestInteger() const
{
    return wordLengths.empty() ? 0 : *std::max_element(wordLengths.begin(), wordLengths.end());
}

unsigned int MicroIntegerWordLengths::getBitsPerNominalInteger() const
{
    return wordLengths.empty() ? 0 : *nominalEntry();
}

unsigned int MicroIntegerWordLengths::getContainerWordLength(unsigned int wl, HWContainerEnum container)
{
    auto const start = container == HWContainerInteger ? nominalEntry() : wordLengths.begin();
    auto const found =
        std::find_if(start, wordLengths.cend(), [wl](unsigned int bits) { return bits >= wl; });
    if (found != wordLengths.end()) return *found;

    // A wl of 0 gets here only with an empty list.
    unsigned int const largest = getBitsPerLargestInteger();
    return largest == 0 ? 0 : ((wl - 1) / largest + 1) * largest;
}

unsigned int MicroIntegerWordLengths::getNextLargestSingleWordInteger(unsigned int wl,
                                                                      HWContainerEnum container)
{
    auto const start = container == HWContainerElement ? wordLengths.begin() : nominalEntry();
    auto const found = std::find_if(start, wordLengths.cend(), [wl](unsigned int bits) { return bits > wl; });
    return found != wordLengths.end() ? *found : getBitsPerLargestInteger();
}

unsigned int MicroIntegerWordLengths::getNextLargestMultiWordInteger(unsigned int wl)
{
    unsigned int const largest = getBitsPerLargestInteger();
    return largest == 0 ? 0 : largest * (wl / largest + 1);
}

bool MicroIntegerWordLengths::isMultiWord(unsigned int wl) const { return wl > getBitsPerLargestInteger(); }

bool MicroIntegerWordLengths::isWordLengthEmulated(unsigned int wl)
{
    if (!isMultiWord(wl)) return !isHWBuiltInWordLength(wl);
    unsigned int const largest = getBitsPerLargestInteger();
    return largest != 0 && wl % largest != 0;
}

bool MicroIntegerWordLengths::isHWBuiltInWordLength(unsigned int wl)
{
    return std::find(wordLengths.begin(), wordLengths.end(), wl) != wordLengths.end();
}

void MicroIntegerWordLengths::addNewWordLength(unsigned int wl)
{
    wordLengths.push_back(wl);
    std::sort(wordLengths.begin(), wordLengths.end());
}

void MicroIntegerWordLengths::removeLargestWordLength()
{
    if (!wordLengths.empty()) wordLengths.pop_back();
    std::sort(wordLengths.begin(), wordLengths.end());
}

unsigned int MicroIntegerWordLengths::getNumIntegers() const
{
    return static_cast<unsigned int>(wordLengths.size());
}

WordLengthIterator MicroIntegerWordLengths::beginElementIterator() const
{
    return WordLengthIterator(new MicroElementIterator(wordLengths.begin()));
}

WordLengthIterator MicroIntegerWordLengths::endElementIterator() const
{
    return WordLengthIterator(new MicroElementIterator(wordLengths.end()));
}

WordLengthIterator MicroIntegerWordLengths::beginUniqueIterator() const
{
    return WordLengthIterator(new MicroUniqueIterator(wordLengths.begin(), wordLengths.end()));
}

WordLengthIterator MicroIntegerWordLengths::endUniqueIterator() const
{
    return WordLengthIterator(new MicroUniqueIterator(wordLengths.end(), wordLengths.end()));
}

WordLengthIterator MicroIntegerWordLengths::beginIntegerElementIterator() const
{
    return WordLengthIterator(new MicroElementIterator(nominalEntry()));
}

WordLengthIterator MicroIntegerWordLengths::beginIntegerUniqueIterator() const
{
    return WordLengthIterator(new MicroUniqueIterator(nominalEntry(), wordLengths.end()));
}

boost::shared_ptr<HWIntegerWordLengths> MicroIntegerWordLengths::clone() const
{
    return boost::make_shared<MicroIntegerWordLengths>(*this);
}

HWIntegerWordLengths::hwDeviceTypeEnum MicroIntegerWordLengths::kind() const { return hwDeviceMicro; }

unsigned int MicroIntegerWordLengths::find_first(unsigned int start, WordLengthBasePredicate& predicate)
{
    for (unsigned int const bits : wordLengths)
        if (bits >= start && predicate(bits)) return bits;
    return getBitsPerLargestInteger();
}

bool MicroIntegerWordLengths::isEqual(HWIntegerWordLengths const* other) const
{
    if (!other || kind() != other->kind() || getNumIntegers() != other->getNumIntegers()) return false;
    WordLengthIterator theirs = other->beginElementIterator();
    for (unsigned int const bits : wordLengths) {
        if (bits != *theirs) return false;
        ++theirs;
    }
    return true;
}

void MicroIntegerWordLengths::restrictIntegersToFXP_MAX_BITS()
{
    for (unsigned int& bits : wordLengths) bits = std::min(bits, FXP_MAX_BITS);
}

std::vector<unsigned int>::const_iterator MicroIntegerWordLengths::nominalEntry() const
{
    if (nominalIndex < wordLengths.size()) return wordLengths.begin() + nominalIndex;
    return wordLengths.empty() ? wordLengths.end() : wordLengths.end() - 1;
}
