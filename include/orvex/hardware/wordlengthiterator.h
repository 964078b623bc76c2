/// \file
/// Walking the word lengths of a target without knowing whether they are a list or a range.
#pragma once

#include <orvex/foundation/export.h>

#include <boost/shared_ptr.hpp>

class WordLengthIterator;

/// What stands behind a WordLengthIterator: one position in one kind of set. For authors of further kinds of
/// targets; who only walks meets WordLengthIterator alone.
class ORVEX_API WordLengthIteratorImpl
{
public:
    // The virtual operations stand in the order of their slots.

    /// Tells the implementing class; two objects of one kind are of one class. 0 to 2 are the library's own.
    virtual int kind() const = 0;

    /// The word length at the position, in bits. Not to be asked at the end.
    virtual unsigned int current() const = 0;

    /// Moves on to the next position.
    virtual void advance() = 0;

    /// Same kind and same position. Of positions in two different lists no answer is defined.
    virtual bool equals(WordLengthIteratorImpl const& other) const = 0;

    virtual ~WordLengthIteratorImpl();

    /// A handle on a new copy of this object.
    virtual WordLengthIterator clone() const = 0;
};

/// A position among the word lengths of a target, as a value: a copy walks on its own. Made by the begin and
/// end operations of HWIntegerWordLengths. There is no operator==; a walk ends when `it != end` is false:
///
///     for (WordLengthIterator it = sizes.beginElementIterator(); it != sizes.endElementIterator(); ++it) ...
///
/// An iterator over a list is invalid once the list has changed or is gone. One iterator is for one thread.
class ORVEX_API WordLengthIterator
{
public:
    /// Takes over `impl`, made with new and not null.
    explicit WordLengthIterator(WordLengthIteratorImpl* impl);
    WordLengthIterator(WordLengthIterator const& other);            ///< walks on its own
    WordLengthIterator& operator=(WordLengthIterator const& other); ///< walks on its own
    ~WordLengthIterator();

    /// True of different positions, and of any two iterators of different kinds (element, unique, range).
    bool operator!=(WordLengthIterator const& other) const;

    /// Moves on. On a list not to be called on an element iterator at the end; all others stay there.
    WordLengthIterator& operator++();

    /// The word length in bits. On a list not to be called at the end.
    unsigned int operator*() const;

private:
    boost::shared_ptr<WordLengthIteratorImpl> impl_;
};

namespace ORVEX
{
using ::WordLengthIterator;
using ::WordLengthIteratorImpl;
} // namespace ORVEX
