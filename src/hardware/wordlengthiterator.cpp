#include <orvex/hardware/wordlengthiterator.h>

WordLengthIteratorImpl::~WordLengthIteratorImpl() = default;

WordLengthIterator::WordLengthIterator(WordLengthIteratorImpl* impl) : impl_(impl) {}

WordLengthIterator::WordLengthIterator(WordLengthIterator const& other) : impl_(other.impl_->clone().impl_) {}

WordLengthIterator& WordLengthIterator::operator=(WordLengthIterator const& other)
{
    if (this != &other) impl_ = other.impl_->clone().impl_;
    return *this;
}

WordLengthIterator::~WordLengthIterator() = default;

bool WordLengthIterator::operator!=(WordLengthIterator const& other) const
{
    return !impl_->equals(*other.impl_);
}

WordLengthIterator& WordLengthIterator::operator++()
{
    impl_->advance();
    return *this;
}

unsigned int WordLengthIterator::operator*() const { return impl_->current(); }
