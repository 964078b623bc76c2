/// Type changes, parts and matrices.
#include <orvex/number/number.h>

#include "multiword/chunkdouble.h"

#include <utility>

namespace ORVEX
{

bool Number::newWordLengthIsInSameBucket(int bits) const
{
    auto const bucket = [](int w) { return w <= 8 ? 8 : w <= 16 ? 16 : w <= 32 ? 32 : w <= 64 ? 64 : 0; };
    if (getWordLength() > multiword::chunkBits)
        return bits > multiword::chunkBits && multiword::numChunksForWordLength(bits) == getNumChunks();
    return bucket(bits) == bucket(getWordLength());
}

void Number::setWordLength(int bits)
{
    if (newWordLengthIsInSameBucket(bits))
        body().dataType().setWordLength(bits);
    else if (!dataIsExternal())
        set(fxpDataTypeProp(isSigned(), bits, getFractionLength()), isComplex());
}

void Number::setDataTypeComplexityAndReAllocateData(fxpDataTypeProp const& type, bool isComplex)
{
    if (!dataIsExternal()) set(type, isComplex);
}

void Number::setDataTypeComplexityReAllocateAndCopyData(fxpDataTypeProp const& type, bool isComplex)
{
    if (dataIsExternal()) return;
    unsigned long long const cursor = getIndex();
    Number converted = zeroLike(type, getRoundMode(), getOverflowMode(), isComplex);
    for (unsigned long long i = 0; i < getNumberOfElements(); ++i) converted[i] = (*this)[i];
    converted.setIndex(cursor);
    body_ = std::move(converted.body_);
}

Number Number::stripScaling() const
{
    Number result = zeroLike(multiword::strippedCopy(getDataType()), fxpModeRoundingFloor,
                             fxpModeOverflowWrap, isComplex());
    result.body().copyRawFrom(body());
    return result;
}

Number Number::rescale(fxpDataTypeProp const& type) const
{
    Number result = zeroLike(type, getRoundMode(), getOverflowMode(), isComplex());
    result.body().copyRawFrom(body());
    return result;
}

namespace
{

/// Puts another record on a body until the end of the scope.
class RecordInstead
{
public:
    RecordInstead(NumberBody& body, fxpDataTypeProp const& type) : body_(body), kept_(body.dataType())
    {
        body_.dataType() = type;
    }
    ~RecordInstead() { body_.dataType() = kept_; }
    RecordInstead(RecordInstead const&) = delete;
    RecordInstead& operator=(RecordInstead const&) = delete;

private:
    NumberBody& body_;
    fxpDataTypeProp kept_;
};

} // namespace

Number Number::reinterpretCast(fxpDataTypeProp const& type) const
{
    Number result = zeroLike(type, fxpModeRoundingFloor, fxpModeOverflowWrap, isComplex());
    bool const sameKind = type.mode == getDataType().mode &&
                          (type.mode == fxpModeDataTypeFixed || type.mode == fxpModeDataTypeScaledDouble);
    if (sameKind && type.isSigned() == isSigned()) {
        result.body().copyRawFrom(body());
        return result;
    }
    // Bare stored integers are converted: both records lose their scaling for the time of the copy.
    RecordInstead const targetRecord(result.body(), multiword::strippedCopy(type));
    RecordInstead const sourceRecord(body(), multiword::strippedCopy(getDataType()));
    unsigned long long const cursor = getIndex();
    for (unsigned long long i = 0; i < getNumberOfElements(); ++i) result[i] = (*this)[i];
    result.setIndex(0);
    setIndex(cursor);
    return result;
}

Number Number::real() const
{
    Number result = newScalar(getDataType(), false);
    result.body().assignNumber(&body());
    return result;
}

Number Number::imag() const
{
    Number result = newScalar(getDataType(), false);
    result.body().assignImagOf(&body());
    return result;
}

template <class Part>
Number Number::partArray(Part part) const
{
    Number result = zeroLike(getDataType(), getRoundMode(), getOverflowMode(), false);
    for (unsigned long long i = 0; i < getNumberOfElements(); ++i) {
        setIndex(i);
        result.setIndex(i);
        (result.body().*part)(&body());
    }
    result.setIndex(0);
    return result;
}

Number Number::realArray() const { return partArray(&NumberBody::assignNumber); }

Number& Number::imagArray() const
{
    unsigned long long const cursor = getIndex();
    auto* const result = new Number(partArray(&NumberBody::assignImagOf));
    setIndex(cursor);
    return *result;
}

Number Number::transpose() const
{
    unsigned long long const rows = getNumberOfRows();
    unsigned long long const columns = getNumberOfColumns();
    unsigned long long const dims[2] = {columns, rows};
    Number result(createAllZeroNumberBodyWithSpecifiedType(getNumberOfElements(), 2, dims, getDataType(),
                                                           getFxpClient(), getRoundMode(), getOverflowMode(),
                                                           isComplex()));
    for (unsigned long long r = 0; r < rows; ++r) {
        for (unsigned long long c = 0; c < columns; ++c) {
            // Sizes are not checked against the count, and what they promise beyond it is not there.
            if (r + c * rows >= getNumberOfElements() || c + r * columns >= getNumberOfElements()) continue;
            result[c + r * columns] = (*this)[r + c * rows];
        }
    }
    result.setIndex(0);
    return result;
}

Number Number::ctranspose() const
{
    Number result = transpose();
    result.body().conjugate();
    result.setIndex(0);
    return result;
}

} // namespace ORVEX
