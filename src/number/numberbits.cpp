/// Comparison, bit logic, single bits, shifts and rotations.
#include <orvex/number/number.h>

#include <orvex/number_body/numberbodyfactory.h>

#include "array_engine/bulk.h"
#include "array_engine/parallelframe.h"

#include <cstdlib>
#include <limits>

namespace ORVEX
{

namespace
{

constexpr int unordered = 2;

[[noreturn]] void throwDimensions()
{
    NumberUtils::throwIExceptionFromMessageID(Orvex::number::ArrayDimMustAgree());
}

} // namespace

bool Number::operator==(Number const& other) const { return body().isEqualTo(&other.body()); }
bool Number::operator!=(Number const& other) const { return !(*this == other); }
bool Number::operator<(Number const& other) const { return body().compareTo(&other.body()) == -1; }
bool Number::operator>(Number const& other) const { return body().compareTo(&other.body()) == 1; }
bool Number::operator<=(Number const& other) const { return body().compareTo(&other.body()) < 1; }

bool Number::operator>=(Number const& other) const
{
    int const order = body().compareTo(&other.body());
    return order >= 0 && order != unordered;
}

template <class Test>
bool* Number::compareArrays(Number const& other, bool* out, array_engine::Comparison comparison,
                            Test test) const
{
    unsigned long long const count = isScalar() ? other.getNumberOfElements() : getNumberOfElements();
    if (count == 0 || (!isScalar() && !other.isScalar() && !isSameSize(other))) throwDimensions();
    std::unique_ptr<bool[]> fresh;
    if (!out) {
        fresh.reset(new bool[count]());
        out = fresh.get();
    }
    // Equality alone has a parallel form.
    if (comparison == array_engine::Comparison::equal && count > array_engine::serialLimit) {
        body().arrayCompareParallel(&other.body(), out, count);
    } else if (!array_engine::compareElements(body(), other.body(), comparison, false, 0, count, out)) {
        unsigned long long const cursor = getIndex();
        unsigned long long const otherCursor = other.getIndex();
        for (unsigned long long i = 0; i < count; ++i) {
            setIndex(isScalar() ? 0 : i);
            other.setIndex(other.isScalar() ? 0 : i);
            out[i] = test(*this, other);
        }
        setIndex(cursor);
        other.setIndex(otherCursor);
    }
    static_cast<void>(fresh.release());
    return out;
}

bool* Number::arrayIsEqual(Number const& other, bool* out) const
{
    return compareArrays(other, out, array_engine::Comparison::equal,
                         [](Number const& a, Number const& b) { return a == b; });
}

bool* Number::arrayIsNotEqual(Number const& other, bool* out) const
{
    return compareArrays(other, out, array_engine::Comparison::notEqual,
                         [](Number const& a, Number const& b) { return a != b; });
}

bool* Number::arrayIsLessThan(Number const& other, bool* out) const
{
    return compareArrays(other, out, array_engine::Comparison::less,
                         [](Number const& a, Number const& b) { return a < b; });
}

bool* Number::arrayIsGreaterThan(Number const& other, bool* out) const
{
    return compareArrays(other, out, array_engine::Comparison::greater,
                         [](Number const& a, Number const& b) { return a > b; });
}

bool* Number::arrayIsLessThanOrEqualTo(Number const& other, bool* out) const
{
    return compareArrays(other, out, array_engine::Comparison::lessOrEqual,
                         [](Number const& a, Number const& b) { return a <= b; });
}

bool* Number::arrayIsGreaterThanOrEqualTo(Number const& other, bool* out) const
{
    return compareArrays(other, out, array_engine::Comparison::greaterOrEqual,
                         [](Number const& a, Number const& b) { return a >= b; });
}

void Number::bitAndEqual(Number const& other) { body().bitAndEqual(&other.body()); }
void Number::bitOrEqual(Number const& other) { body().bitOrEqual(&other.body()); }
void Number::bitXorEqual(Number const& other) { body().bitXorEqual(&other.body()); }
void Number::bitCmp() { body().bitCmp(); }

Number Number::bitAnd(Number const& a, Number const& b)
{
    Number result(a);
    result.bitAndEqual(b);
    return result;
}

Number Number::bitOr(Number const& a, Number const& b)
{
    Number result(a);
    result.bitOrEqual(b);
    return result;
}

Number Number::bitXor(Number const& a, Number const& b)
{
    Number result(a);
    result.bitXorEqual(b);
    return result;
}

Number Number::bitCmp(Number const& a)
{
    Number result(a);
    result.bitCmp();
    return result;
}

template <class Combine>
Number Number::combineBitsOfArrays(Number const& a, Number const& b, array_engine::Bits operation,
                                   Combine combine)
{
    bool const bFollowsA = b.isScalar() || a.isSameSize(b);
    if (!bFollowsA && !a.isScalar()) throwDimensions();
    Number result(bFollowsA ? a : b);
    Number const& other = bFollowsA ? b : a;
    unsigned long long const count = result.getNumberOfElements();
    if (bFollowsA && count > 0) b.setIndex(b.isScalar() ? 0 : count - 1);
    if (!array_engine::combineBitsOfElements(result.body(), operation, other.body()))
        for (unsigned long long i = 0; i < count; ++i) {
            result.setIndex(i);
            if (bFollowsA && !b.isScalar()) b.setIndex(i);
            combine(result, other);
        }
    result.setIndex(0);
    return result;
}

Number Number::arrayBitAnd(Number const& a, Number const& b)
{
    return combineBitsOfArrays(a, b, array_engine::Bits::both,
                               [](Number& x, Number const& y) { x.bitAndEqual(y); });
}

Number Number::arrayBitOr(Number const& a, Number const& b)
{
    return combineBitsOfArrays(a, b, array_engine::Bits::either,
                               [](Number& x, Number const& y) { x.bitOrEqual(y); });
}

Number Number::arrayBitXor(Number const& a, Number const& b)
{
    return combineBitsOfArrays(a, b, array_engine::Bits::differing,
                               [](Number& x, Number const& y) { x.bitXorEqual(y); });
}

Number Number::arrayBitCmp(Number const& a)
{
    Number result(a);
    if (!array_engine::complementElements(result.body())) result.forEachElement([&] { result.bitCmp(); });
    result.setIndex(0);
    return result;
}

/// Calls f with the cursor on each element in turn, and leaves it on the last.
template <class F>
void Number::forEachElement(F f) const
{
    for (unsigned long long i = 0; i < getNumberOfElements(); ++i) {
        setIndex(i);
        f();
    }
}

void Number::checkBit(int bit) const
{
    if (bit < 1 || bit > getWordLength())
        NumberUtils::throwIExceptionFromMessageID(Orvex::number::bitIndexOutOfRange());
}

namespace
{

fxpDataTypeProp oneBit() { return {false, 1, 0}; }

} // namespace

Number Number::bitGet(int bit) const
{
    checkBit(bit);
    return Number(body().bitGet(bit) ? 1.0 : 0.0, oneBit(), getFxpClient(), fxpModeRoundingNearest,
                  fxpModeOverflowSaturate);
}

Number Number::getLSB() const { return bitGet(1); }
Number Number::getMSB() const { return bitGet(getWordLength()); }

/// One bit of each element; a list of one index serves all elements.
Number Number::bitsOfArray(std::vector<int> const& bits) const
{
    Number result = zeroLike(oneBit(), fxpModeRoundingNearest, fxpModeOverflowSaturate, false);
    forEachElement([&] {
        int const bit = bits[bits.size() == 1 ? 0 : getIndex()];
        checkBit(bit);
        result[getIndex()] = body().bitGet(bit) ? 1.0 : 0.0;
    });
    result.setIndex(0);
    return result;
}

Number Number::arrayGetLSB() const { return bitsOfArray({1}); }
Number Number::arrayGetMSB() const { return bitsOfArray({getWordLength()}); }

Number Number::arrayBitGet(std::vector<int> const& bits) const
{
    if (!isScalar()) {
        if (bits.size() != 1 && bits.size() != getNumberOfElements()) throwDimensions();
        return bitsOfArray(bits);
    }
    std::vector<double> values;
    for (int const bit : bits) {
        checkBit(bit);
        values.push_back(body().bitGet(bit) ? 1.0 : 0.0);
    }
    return Number(static_cast<double const*>(values.data()), oneBit(), getFxpClient(), values.size(),
                  fxpModeRoundingNearest, fxpModeOverflowSaturate, false);
}

void Number::bitSet(int bit, bool value)
{
    checkBit(bit);
    body().bitSet(bit, value);
}

void Number::arrayBitSet(std::vector<int> const& bits)
{
    arrayBitSet(bits, std::vector<bool>(bits.size(), true));
}

void Number::arrayBitSet(std::vector<int> const& bits, std::vector<bool> const& values)
{
    bool const sizesFit = isScalar() || bits.size() == 1 || bits.size() == getNumberOfElements();
    if (!sizesFit || values.size() < bits.size()) throwDimensions();
    if (isScalar()) {
        for (std::size_t k = 0; k < bits.size(); ++k) bitSet(bits[k], values[k]);
    } else {
        forEachElement([&] {
            std::size_t const k = bits.size() == 1 ? 0 : getIndex();
            bitSet(bits[k], values[k]);
        });
    }
}

void Number::bitShiftRightArith(unsigned count)
{
    if (count) body().bitShiftRightArith(count);
}

void Number::bitShiftRightLogical(unsigned count)
{
    if (count) body().bitShiftRightLogical(count);
}

void Number::bitShiftLeftLogical(unsigned count)
{
    if (count) body().bitShiftLeftLogical(count);
}

void Number::bitShiftArith(int count)
{
    // The body counts to the right. The one count that has no negation is as good as the next: all bits go.
    int const right = count == std::numeric_limits<int>::min() ? std::numeric_limits<int>::max() : -count;
    body().bitShiftArith(right);
}

void Number::arrayBitShiftRightArith(unsigned count)
{
    if (count) forEachElement([&] { bitShiftRightArith(count); });
}

void Number::arrayBitShiftRightLogical(unsigned count)
{
    if (count) forEachElement([&] { bitShiftRightLogical(count); });
}

void Number::arrayBitShiftLeftLogical(unsigned count)
{
    if (count) forEachElement([&] { bitShiftLeftLogical(count); });
}

void Number::arrayBitShiftArith(int count)
{
    forEachElement([&] { bitShiftArith(count); });
}

/// The count within the word, by a signed division: a count with its top bit set is negative and stays so. A
/// word of no bits, and the one quotient that an int does not hold, are fatal.
int Number::rotationCount(unsigned count) const
{
    int const n = static_cast<int>(count);
    int const length = getWordLength();
    if (length == 0 || (length == -1 && n == std::numeric_limits<int>::min())) std::abort();
    return n % length;
}

/// A negative count has become a huge one for the shifts, which clears the element.
void Number::rotate(int count, bool left)
{
    if (count == 0) return;
    std::unique_ptr<NumberBody> const other(NumberBodyFactory::createNumberBody(&body()));
    auto const away = static_cast<unsigned>(count);
    auto const back = static_cast<unsigned>(getWordLength()) - away;
    if (left) {
        other->bitShiftLeftLogical(away);
        body().bitShiftRightLogical(back);
    } else {
        other->bitShiftRightLogical(away);
        body().bitShiftLeftLogical(back);
    }
    body().bitOrEqual(other.get());
}

void Number::bitRotateLeft(unsigned count) { rotate(rotationCount(count), true); }
void Number::bitRotateRight(unsigned count) { rotate(rotationCount(count), false); }

void Number::rotateArray(unsigned count, bool left)
{
    int const within = rotationCount(count);
    if (within == 0) return;
    Number element = newScalar(getDataType(), isComplex());
    forEachElement([&] {
        element = *this;
        element.rotate(within, left);
        *this = element;
    });
}

void Number::arrayBitRotateLeft(unsigned count) { rotateArray(count, true); }
void Number::arrayBitRotateRight(unsigned count) { rotateArray(count, false); }

} // namespace ORVEX
