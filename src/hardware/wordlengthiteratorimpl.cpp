#include "hardware/wordlengthiteratorimpl.h"

#include <orvex/hardware/hwintegerwordlengths.h>

MicroElementIterator::MicroElementIterator(Position position) : position_(position) {}

int MicroElementIterator::kind() const { return 0; }

unsigned int MicroElementIterator::current() const { return *position_; }

void MicroElementIterator::advance() { ++position_; }

bool MicroElementIterator::equals(WordLengthIteratorImpl const& other) const
{
    return kind() == other.kind() && position_ == static_cast<MicroElementIterator const&>(other).position_;
}

WordLengthIterator MicroElementIterator::clone() const
{
    return WordLengthIterator(new MicroElementIterator(*this));
}

MicroUniqueIterator::MicroUniqueIterator(Position position, Position end) : position_(position), end_(end) {}

int MicroUniqueIterator::kind() const { return 1; }

unsigned int MicroUniqueIterator::current() const { return *position_; }

void MicroUniqueIterator::advance()
{
    if (position_ == end_) return;
    unsigned int const before = *position_;
    do {
        ++position_;
    } while (position_ != end_ && *position_ == before);
}

bool MicroUniqueIterator::equals(WordLengthIteratorImpl const& other) const
{
    return kind() == other.kind() && position_ == static_cast<MicroUniqueIterator const&>(other).position_;
}

WordLengthIterator MicroUniqueIterator::clone() const
{
    return WordLengthIterator(new MicroUniqueIterator(*this));
}

AsicElementIterator::AsicElementIterator(unsigned int bits) : currentBits_(bits), maxBits_(FXP_MAX_BITS) {}

int AsicElementIterator::kind() const { return 2; }

unsigned int AsicElementIterator::current() const { return currentBits_; }

void AsicElementIterator::advance()
{
    if (currentBits_ <= maxBits_) ++currentBits_;
}

bool AsicElementIterator::equals(WordLengthIteratorImpl const& other) const
{
    return kind() == other.kind() &&
           currentBits_ == static_cast<AsicElementIterator const&>(other).currentBits_;
}

WordLengthIterator AsicElementIterator::clone() const
{
    return WordLengthIterator(new AsicElementIterator(*this));
}
