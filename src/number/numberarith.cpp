/// Arithmetic and the types of its results.
#include <orvex/number/number.h>

#include "array_engine/bulk.h"
#include "number/outputtypes.h"

#include <algorithm>
#include <optional>

namespace ORVEX
{

namespace
{

/// What a getter answers when no type was ever set or cached.
fxpDataTypeProp const& noType()
{
    static fxpDataTypeProp const marker = [] {
        fxpDataTypeProp bad;
        createBadFxpDtpProp(&bad);
        return bad;
    }();
    return marker;
}

/// The full-precision rules look at word lengths, fraction lengths and signs alone, and give a binary-point
/// type. One guard bit; no extra sign bit where a signed and an unsigned operand meet.
fxpDataTypeProp sumType(fxpDataTypeProp const& a, fxpDataTypeProp const& b)
{
    long long const fa = -static_cast<long long>(a.fixedExponent);
    long long const fb = -static_cast<long long>(b.fixedExponent);
    long long const fraction = std::max(fa, fb);
    long long const length = std::max(a.wordLength - fa, b.wordLength - fb) + fraction + 1;
    return {a.isSigned() || b.isSigned(), static_cast<int>(length), static_cast<int>(fraction)};
}

fxpDataTypeProp productType(fxpDataTypeProp const& a, fxpDataTypeProp const& b)
{
    long long const fraction = -static_cast<long long>(a.fixedExponent) - b.fixedExponent;
    return {a.isSigned() || b.isSigned(), a.wordLength + b.wordLength, static_cast<int>(fraction)};
}

} // namespace

// The three output types. Setters and getters are const: they belong to the handle, not to the value.

Number::OutputTypes& Number::outputTypes() const
{
    if (!outputTypes_) outputTypes_ = std::make_unique<OutputTypes>();
    return *outputTypes_;
}

fxpDataTypeProp const& Number::getDataTypeForBinaryOpOutput() const
{
    return outputTypes_ && outputTypes_->binaryOp.type ? *outputTypes_->binaryOp.type : noType();
}

void Number::setDataTypeForBinaryOpOutput(fxpDataTypeProp const& type) const
{
    outputTypes().binaryOp.set(type);
}

void Number::resetDataTypeForBinaryOpOutput() const
{
    if (outputTypes_) outputTypes_->binaryOp.reset();
}

bool Number::isDataTypeForBinaryOpOutputUserSpecified() const
{
    return outputTypes_ && outputTypes_->binaryOp.isUsers;
}

fxpDataTypeProp const& Number::getDataTypeForNonAssignmentOpPlus() const
{
    return outputTypes_ && outputTypes_->plus.type ? *outputTypes_->plus.type : noType();
}

void Number::setDataTypeForNonAssignmentOpPlus(fxpDataTypeProp const& type) const
{
    outputTypes().plus.set(type);
}

void Number::resetDataTypeForNonAssignmentOpPlus() const
{
    if (outputTypes_) outputTypes_->plus.reset();
}

bool Number::isDataTypeForNonAssignmentOpPlusUserSpecified() const
{
    return outputTypes_ && outputTypes_->plus.isUsers;
}

fxpDataTypeProp const& Number::getDataTypeForNonAssignmentOpTimes() const
{
    return outputTypes_ && outputTypes_->times.type ? *outputTypes_->times.type : noType();
}

void Number::setDataTypeForNonAssignmentOpTimes(fxpDataTypeProp const& type) const
{
    outputTypes().times.set(type);
}

void Number::resetDataTypeForNonAssignmentOpTimes() const
{
    if (outputTypes_) outputTypes_->times.reset();
}

bool Number::isDataTypeForNonAssignmentOpTimesUserSpecified() const
{
    return outputTypes_ && outputTypes_->times.isUsers;
}

namespace
{

/// The user's type, or else the full-precision one, worked out unless the one at hand was worked out for this
/// right operand's type. The left operand's own type is not part of that question.
template <class FullPrecision>
fxpDataTypeProp const& refreshed(FullPrecision& output, fxpDataTypeProp const& left,
                                 fxpDataTypeProp const& right,
                                 fxpDataTypeProp (*rule)(fxpDataTypeProp const&, fxpDataTypeProp const&))
{
    if (!output.isUsers && !(output.type && *output.operand == right)) {
        output.operand = right;
        output.type = rule(left, right);
    }
    return *output.type;
}

} // namespace

fxpDataTypeProp const& Number::getDataTypeForNonAssignmentOpPlus(Number const& other) const
{
    return refreshed(outputTypes().plus, getDataType(), other.getDataType(), sumType);
}

fxpDataTypeProp const& Number::getDataTypeForNonAssignmentOpTimes(Number const& other) const
{
    return refreshed(outputTypes().times, getDataType(), other.getDataType(), productType);
}

/// A scalar computed in `type`; where the user has set an output type that differs, it is then stored in that
/// one.
template <class Compute>
Number Number::computedIn(fxpDataTypeProp const& type, bool isComplex, Compute compute) const
{
    // Copies: a hook may compute with this handle and so replace its records.
    fxpDataTypeProp const computed = type;
    std::optional<fxpDataTypeProp> output;
    if (isDataTypeForBinaryOpOutputUserSpecified()) output = getDataTypeForBinaryOpOutput();
    Number result = newScalar(output ? *output : computed, isComplex);
    if (!output || *output == computed) {
        compute(result);
    } else {
        Number intermediate = newScalar(computed, isComplex);
        compute(intermediate);
        result = intermediate;
    }
    return result;
}

Number Number::operator+(Number const& other) const
{
    return computedIn(getDataTypeForNonAssignmentOpPlus(other),
                      body().isComplex() || other.body().isComplex(), [&](Number& sum) {
                          sum.body().assignNumber(&body());
                          sum.body().plusEquals(&other.body());
                      });
}

Number Number::operator-(Number const& other) const
{
    return computedIn(getDataTypeForNonAssignmentOpPlus(other),
                      body().isComplex() || other.body().isComplex(), [&](Number& sum) {
                          sum.body().assignNumber(&body());
                          sum.body().minusEquals(&other.body());
                      });
}

Number Number::operator*(Number const& other) const
{
    fxpDataTypeProp const product = getDataTypeForNonAssignmentOpTimes(other);
    bool const leftIsComplex = isComplex();
    bool const rightIsComplex = other.isComplex();
    bool const bothComplex = leftIsComplex && rightIsComplex;
    fxpDataTypeProp const accumulator = !bothComplex ? product
                                        : isDataTypeForNonAssignmentOpPlusUserSpecified()
                                            ? getDataTypeForNonAssignmentOpPlus()
                                            : sumType(product, product);
    return computedIn(accumulator, leftIsComplex || rightIsComplex, [&](Number& result) {
        if (bothComplex)
            result.isComplexProductOf(*this, other, product);
        else if (rightIsComplex)
            result.isProductOf(other, *this); // the complex factor goes first
        else
            result.isProductOf(*this, other);
    });
}

/// Each product in productType, the two sums in this type; the order is fixed, since each step quantizes.
void Number::isComplexProductOf(Number const& a, Number const& b, fxpDataTypeProp const& productType)
{
    Number t = a.newScalar(productType, false, 1);
    Number const ar = a.real();
    Number const ai = a.imag();
    Number const br = b.real();
    Number const bi = b.imag();
    t.isProductOf(ar, br);
    *this = t;
    t.isProductOf(ai, bi);
    *this -= t;
    t.isProductOf(ar, bi);
    imagEquals(t);
    t.isProductOf(ai, br);
    imagPlusEquals(t);
}

Number& Number::operator+=(Number const& other)
{
    body().plusEquals(&other.body());
    return *this;
}

Number& Number::operator-=(Number const& other)
{
    body().minusEquals(&other.body());
    return *this;
}

Number& Number::operator*=(Number const& other)
{
    body().timesEquals(&other.body());
    return *this;
}

Number Number::divide(Number const& a, Number const& b, fxpDataTypeProp const& type)
{
    Number result = a.newScalar(type, a.isComplex() || b.isComplex(), 1);
    result.isQuotientOf(a, b);
    return result;
}

/// Calls compute(result element) for each pair of elements, all cursors set. An operand of one element stays
/// at its cursor, unless both have one: then b's moves to its element 0. Where inBlocks(result, computeOne)
/// does it all in blocks of elements, it answers true.
template <class Compute, class InBlocks>
Number Number::elementwise(Number const& a, Number const& b, fxpDataTypeProp const& type, bool isComplex,
                           Compute compute, InBlocks inBlocks)
{
    if (!a.isScalar() && !b.isScalar() && !a.isSameSize(b))
        NumberUtils::throwIExceptionFromMessageID(Orvex::number::ArrayDimMustAgree());
    Number const& shape = a.isScalar() ? b : a;
    bool const walksA = !a.isScalar();
    bool const walksB = a.isScalar() || !b.isScalar();
    unsigned long long const count = shape.getNumberOfElements();
    Number result(createAllZeroNumberBodyWithSpecifiedType(count, shape.getNDims(), shape.getDims(), type,
                                                           a.getFxpClient(), a.getRoundMode(),
                                                           a.getOverflowMode(), isComplex, true));
    auto const setCursors = [&](std::size_t i) {
        result.setIndex(i);
        if (walksA) a.setIndex(i);
        if (walksB) b.setIndex(i);
    };
    auto const computeOne = [&](std::size_t i) {
        setCursors(i);
        compute(result);
    };
    if (inBlocks(result.body(), computeOne))
        setCursors(count - 1); // where the walk would have left them
    else
        for (std::size_t i = 0; i < count; ++i) computeOne(i);
    result.setIndex(0);
    return result;
}

/// Every element in another type, with these modes; never in parallel.
Number Number::convertedSerially(fxpDataTypeProp const& type) const
{
    Number result = zeroLike(type, getRoundMode(), getOverflowMode(), isComplex());
    assignSerially(result, *this);
    if (!isEmpty()) setIndex(getNumberOfElements() - 1);
    result.setIndex(0);
    return result;
}

Number Number::arrayPlus(Number const& a, Number const& b)
{
    return arrayPlus(a, b, ORVEX::sumType(a.getDataType(), b.getDataType()));
}

Number Number::arrayPlus(Number const& a, Number const& b, fxpDataTypeProp const& sumType)
{
    auto const add = [&](Number& sum) {
        sum = a;
        sum += b;
    };
    return elementwise(a, b, sumType, a.isComplex() || b.isComplex(), add, [&](auto& sum, auto addOne) {
        return array_engine::addElements(sum, false, a.body(), b.body(), addOne);
    });
}

Number Number::arrayPlus(Number const& a, Number const& b, fxpDataTypeProp const& sumType,
                         fxpDataTypeProp const& outputType)
{
    return arrayPlus(a, b, sumType).convertedSerially(outputType);
}

Number Number::arrayMinus(Number const& a, Number const& b)
{
    fxpDataTypeProp const type = a.getDataTypeForNonAssignmentOpPlus(b); // a hook may replace a's own
    return arrayMinus(a, b, type);
}

Number Number::arrayMinus(Number const& a, Number const& b, fxpDataTypeProp const& sumType)
{
    auto const subtract = [&](Number& difference) {
        difference = a;
        difference -= b;
    };
    return elementwise(
        a, b, sumType, a.isComplex() || b.isComplex(), subtract, [&](auto& difference, auto subtractOne) {
            return array_engine::addElements(difference, true, a.body(), b.body(), subtractOne);
        });
}

Number Number::arrayMinus(Number const& a, Number const& b, fxpDataTypeProp const& sumType,
                          fxpDataTypeProp const& outputType)
{
    return arrayMinus(a, b, sumType).convertedSerially(outputType);
}

Number Number::arrayTimes(Number const& a, Number const& b)
{
    return arrayTimes(a, b, ORVEX::productType(a.getDataType(), b.getDataType()));
}

Number Number::arrayTimes(Number const& a, Number const& b, fxpDataTypeProp const& productType)
{
    bool const bothComplex = a.isComplex() && b.isComplex();
    return arrayTimes(a, b, productType, bothComplex ? sumType(productType, productType) : productType);
}

Number Number::arrayTimes(Number const& a, Number const& b, fxpDataTypeProp const& productType,
                          fxpDataTypeProp const& outputType)
{
    bool const isComplex = a.isComplex() || b.isComplex();
    auto const inBlocks = [&](auto& result, auto multiplyOne) {
        return array_engine::multiplyElements(result, a.body(), b.body(), productType, multiplyOne);
    };
    // Made when shapes have been checked and the result has been filled: a biased type may report either.
    std::unique_ptr<Number> product;
    auto const multiply = [&](Number& result) {
        if (a.isComplex() && b.isComplex()) return result.isComplexProductOf(a, b, productType);
        // The factors keep their order here, also if the first is the real one.
        if (productType == outputType) return result.isProductOf(a, b);
        if (!product) product.reset(new Number(a.newScalar(productType, isComplex, 1)));
        product->isProductOf(a, b);
        result = *product;
    };
    return elementwise(a, b, outputType, isComplex, multiply, inBlocks);
}

Number Number::arrayTimes(Number const& a, Number const& b, fxpDataTypeProp const& productType,
                          fxpDataTypeProp const& sumType, fxpDataTypeProp const& outputType)
{
    bool const bothComplex = a.isComplex() && b.isComplex();
    return arrayTimes(a, b, productType, bothComplex ? sumType : productType).convertedSerially(outputType);
}

Number Number::arrayDivide(Number const& a, Number const& b, fxpDataTypeProp const& type)
{
    return elementwise(
        a, b, type, a.isComplex(), [&](Number& result) { result.isQuotientOf(a, b); },
        [&](auto& result, auto divideOne) {
            return array_engine::divideElements(result, a.body(), b.body(), divideOne);
        });
}

Number& Number::arrayPlusEquals(Number const& other)
{
    bool const agrees = other.isScalar() || (isScalar() && !other.isEmpty()) || isSameSize(other);
    if (!agrees) NumberUtils::throwIExceptionFromMessageID(Orvex::number::ArrayDimMustAgree());
    unsigned long long const cursor = getIndex();
    unsigned long long const otherCursor = other.getIndex();
    if (isScalar()) {
        other.setIndex(0);
        *this += other;
    } else {
        auto const addOne = [&](std::size_t i) {
            setIndex(i);
            if (!other.isScalar()) other.setIndex(i);
            *this += other;
        };
        if (!array_engine::addElements(body(), false, body(), other.body(), addOne))
            for (std::size_t i = 0; i < getNumberOfElements(); ++i) addOne(i);
    }
    setIndex(cursor);
    other.setIndex(otherCursor);
    return *this;
}

} // namespace ORVEX
