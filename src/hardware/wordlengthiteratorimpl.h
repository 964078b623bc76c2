/// \file
/// The positions behind the word length iterators of the two kinds of targets.
#pragma once

#include <orvex/hardware/wordlengthiterator.h>

#include <vector>

/// Every entry of a list, in stored order.
class MicroElementIterator final : public WordLengthIteratorImpl
{
public:
    using Position = std::vector<unsigned int>::const_iterator;

    explicit MicroElementIterator(Position position);

    int kind() const override;
    unsigned int current() const override;
    void advance() override;
    bool equals(WordLengthIteratorImpl const& other) const override;
    WordLengthIterator clone() const override;

private:
    Position position_;
};

/// The entries of a list that differ from the entry before them: on a sorted list, each size once.
class MicroUniqueIterator final : public WordLengthIteratorImpl
{
public:
    using Position = std::vector<unsigned int>::const_iterator;

    MicroUniqueIterator(Position position, Position end);

    int kind() const override;
    unsigned int current() const override;
    void advance() override; ///< stays at the end
    bool equals(WordLengthIteratorImpl const& other) const override;
    WordLengthIterator clone() const override;

private:
    Position position_;
    Position end_;
};

/// Every size of a range, up to and including FXP_MAX_BITS whatever the range's own limit is.
class AsicElementIterator final : public WordLengthIteratorImpl
{
public:
    explicit AsicElementIterator(unsigned int bits);

    int kind() const override;
    unsigned int current() const override;
    void advance() override; ///< stays above FXP_MAX_BITS
    bool equals(WordLengthIteratorImpl const& other) const override;
    WordLengthIterator clone() const override;

private:
    unsigned int currentBits_;
    unsigned int maxBits_;
};
