/// Construction, shape, type access, reads and writes.
#include <orvex/number/number.h>

#include <orvex/number_body/numberbodyfactory.h>

#include "array_engine/bulk.h"
#include "array_engine/parallelframe.h"
#include "array_engine/storedcast.h"
#include "multiword/chunkdouble.h"
#include "number/outputtypes.h"
#include "number_body/operand.h"
#include "number_body/zerobody.h"

#include <cmath>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace ORVEX
{

using Factory = NumberBodyFactory;

Number::Number(double value, fxpDataTypeProp const& type, OrvexClientInterface& client,
               fxpModeRounding_tag const& round, fxpModeOverflow_tag const& overflow)
    : Number(&value, type, client, 1, round, overflow, false)
{
}

Number::Number(double const* values, fxpDataTypeProp const& type, OrvexClientInterface& client,
               unsigned long long count, fxpModeRounding_tag const& round,
               fxpModeOverflow_tag const& overflow, bool isComplex)
    : body_(Factory::createNumberBody(values, type, client, count, round, overflow, isComplex))
{
}

Number::Number(double re, double im, fxpDataTypeProp const& type, OrvexClientInterface& client,
               fxpModeRounding_tag const& round, fxpModeOverflow_tag const& overflow)
    : Number(&re, &im, type, client, 1, round, overflow)
{
}

Number::Number(double const* re, double const* im, fxpDataTypeProp const& type, OrvexClientInterface& client,
               unsigned long long count, fxpModeRounding_tag const& round,
               fxpModeOverflow_tag const& overflow)
    : body_(Factory::createNumberBody(re, im, type, client, count, round, overflow))
{
}

Number::Number(void* storedData, fxpDataTypeProp const& type, OrvexClientInterface& client,
               unsigned long long count, fxpModeRounding_tag const& round,
               fxpModeOverflow_tag const& overflow, bool isComplex)
    : body_(Factory::createNumberBody(storedData, type, client, count, round, overflow, isComplex))
{
}

Number::Number(unsigned long long count, unsigned long long nDims, unsigned long long const* dims,
               fxpDataTypeProp const& type, OrvexClientInterface& client, fxpModeRounding_tag const& round,
               fxpModeOverflow_tag const& overflow, bool isComplex)
    : body_(createAllZeroNumberBodyWithSpecifiedType(count, nDims, dims, type, client, round, overflow,
                                                     isComplex))
{
}

Number::Number(Number const& other) : body_(Factory::createNumberBody(&other.body())) {}

Number::Number(Number const& other, NumberUtils::CopyIndexOnly shares)
    : body_(Factory::createNumberBody(&other.body(), shares)),
      outputTypes_(other.outputTypes_ ? new OutputTypes(*other.outputTypes_) : nullptr)
{
}

Number::Number(Number const& other, fxpDataTypeProp const& type, fxpModeRounding_tag const& round,
               fxpModeOverflow_tag const& overflow)
    : Number(createAllZeroNumberBodyWithSpecifiedType(
          other.getNumberOfElements(), other.getNDims(), other.getDims(), type, other.getFxpClient(), round,
          overflow, other.isComplex(), number_body::holdsStoredIntegers(other.body())))
{
    if (body_) arrayEquals(*this, other);
}

Number::Number(std::unique_ptr<NumberBody> body) : body_(std::move(body)) {}

Number::~Number() = default;

void Number::throwNoBody()
{
    throw std::logic_error("Number: no representation holds a boolean or an unknown data type mode");
}

std::unique_ptr<NumberBody> Number::createAllZeroNumberBodyWithSpecifiedType(
    unsigned long long count, unsigned long long nDims, unsigned long long const* dims,
    fxpDataTypeProp const& type, OrvexClientInterface& client, fxpModeRounding_tag round,
    fxpModeOverflow_tag overflow, bool isComplex, bool isOverwritten)
{
    auto* const create = isOverwritten ? number_body::createOverwrittenBody : number_body::createZeroBody;
    auto body = create({type, client, count, round, overflow}, isComplex);
    bool const isRow = nDims == 2 && dims[0] == 1 && dims[1] == count; // as bodies are made
    if (body && !isRow) {
        body->setNDims(nDims);
        body->setDims(dims);
    }
    return body;
}

void Number::set(fxpDataTypeProp const& type, bool isComplex)
{
    body_ = std::move(zeroLike(type, getRoundMode(), getOverflowMode(), isComplex).body_);
}

Number Number::zeroLike(fxpDataTypeProp const& type, fxpModeRounding_tag round, fxpModeOverflow_tag overflow,
                        bool isComplex) const
{
    return Number(createAllZeroNumberBodyWithSpecifiedType(getNumberOfElements(), getNDims(), getDims(), type,
                                                           getFxpClient(), round, overflow, isComplex));
}

Number Number::newScalar(fxpDataTypeProp const& type, bool isComplex, unsigned long long nDims) const
{
    auto scalar = number_body::createOverwrittenBody(
        {type, getFxpClient(), 1, getRoundMode(), getOverflowMode()}, isComplex);
    if (scalar && nDims != scalar->nDims()) scalar->setNDims(nDims); // all of them 1
    return Number(std::move(scalar));
}

unsigned long long Number::getNumberOfElements() const { return body().numberOfElements(); }
unsigned long long Number::getNDims() const { return body().nDims(); }
unsigned long long const* Number::getDims() const { return body().dims(); }
unsigned long long Number::getNumberOfRows() const { return getDims()[0]; }
unsigned long long Number::getNumberOfColumns() const { return getDims()[1]; }
bool Number::isScalar() const { return getNumberOfElements() == 1; }
bool Number::isEmpty() const { return getNumberOfElements() == 0; }
bool Number::isVector() const { return isRow() || isColumn(); }
bool Number::isRow() const { return getNDims() == 2 && getDims()[0] == 1; }
bool Number::isColumn() const { return getNDims() == 2 && getDims()[1] == 1; }
bool Number::isComplex() const { return body().isComplex(); }
bool Number::isReal() const { return !isComplex(); }

bool Number::isSameSize(Number const& other) const
{
    if (getNumberOfElements() != other.getNumberOfElements() || getNDims() != other.getNDims()) return false;
    for (unsigned long long i = 0; i < getNDims(); ++i)
        if (getDims()[i] != other.getDims()[i]) return false;
    return true;
}

int Number::getNumChunks() const { return body().getNumChunks(); }

void Number::setNumberOfElements(unsigned long long count)
{
    if (count != getNumberOfElements()) body().setNumberOfElements(count);
}

void Number::setNDims(unsigned long long n)
{
    if (n != getNDims()) body().setNDims(n);
}

void Number::setDims(unsigned long long const* dims) { body().setDims(dims); }

void Number::setIndex(unsigned long long index) const { body().setIndex(index); }
unsigned long long Number::getIndex() const { return body().index(); }

fxpDataTypeProp const& Number::getDataType() const { return body().dataType(); }
bool Number::isSigned() const { return getDataType().isSigned(); }
void Number::setIsSigned(bool isSigned) { body().dataType().setIsSigned(isSigned); }
int Number::getWordLength() const { return getDataType().wordLength; }

int Number::getFractionLength() const
{
    return static_cast<int>(0u - static_cast<unsigned>(getFixedExponent()));
}

void Number::setFractionLength(int bits)
{
    setFixedExponent(static_cast<int>(0u - static_cast<unsigned>(bits)));
}

int Number::getFixedExponent() const { return getDataType().fixedExponent; }
void Number::setFixedExponent(int exponent) { body().dataType().fixedExponent = exponent; }
double Number::getSlope() const { return std::ldexp(getSlopeAdjustmentFactor(), getFixedExponent()); }
void Number::setSlope(double slope) { body().dataType().setScaling(slope, 0, getBias()); }
double Number::getSlopeAdjustmentFactor() const { return getDataType().slopeAdjustmentFactor; }
void Number::setSlopeAdjustmentFactor(double factor) { body().dataType().slopeAdjustmentFactor = factor; }
double Number::getBias() const { return getDataType().bias; }
void Number::setBias(double bias) { body().dataType().bias = bias; }
fxpModeRounding_tag Number::getRoundMode() const { return body().roundMode(); }
void Number::setRoundMode(fxpModeRounding_tag mode) { body().setRoundMode(mode); }
fxpModeOverflow_tag Number::getOverflowMode() const { return body().overflowMode(); }
void Number::setOverflowMode(fxpModeOverflow_tag mode) { body().setOverflowMode(mode); }
OrvexClientInterface& Number::getFxpClient() const { return body().client(); }
bool Number::isFixed() const { return getDataType().mode == fxpModeDataTypeFixed; }
bool Number::isScaledDouble() const { return getDataType().mode == fxpModeDataTypeScaledDouble; }
bool Number::isScaledType() const { return isFixed() || isScaledDouble(); }
bool Number::isFloat() const { return isDouble() || isSingle(); }
bool Number::isDouble() const { return getDataType().mode == fxpModeDataTypeDouble; }
bool Number::isSingle() const { return getDataType().mode == fxpModeDataTypeSingle; }
bool Number::isBoolean() const { return getDataType().mode == fxpModeDataTypeBoolean; }

double Number::getRWDoubleValue() const { return body().getRWDoubleValue(); }
double Number::getImagRWDoubleValue() const { return body().getImagRWDoubleValue(); }
double Number::getSIDoubleValue() const { return body().getSIDoubleValue(); }
double Number::getImagSIDoubleValue() const { return body().getImagSIDoubleValue(); }
long long Number::getSIArrayValueSigned() const { return body().getSIArrayValueSigned(); }
unsigned long long Number::getSIArrayValueUnsigned() const { return body().getSIArrayValueUnsigned(); }
long long Number::getImagSIArrayValueSigned() const { return body().getImagSIArrayValueSigned(); }
unsigned long long Number::getImagSIArrayValueUnsigned() const
{
    return body().getImagSIArrayValueUnsigned();
}

namespace
{

/// Reads every element, and its imaginary part if it has one, into `out` or a
/// new array. The cursor is put back.
template <class T, class Real, class Imag>
T* readAll(NumberBody& body, T* out, Real real, Imag imag)
{
    std::size_t const parts = body.isComplex() ? 2 : 1;
    std::unique_ptr<T[]> fresh;
    if (!out) {
        fresh.reset(new T[body.numberOfElements() * parts]);
        out = fresh.get();
    }
    bool const storedIntegers = real == &NumberBody::getSIDoubleValue;
    unsigned long long const cursor = body.index();
    bool const done = array_engine::readElements(body, storedIntegers, out);
    for (unsigned long long i = 0; !done && i < body.numberOfElements(); ++i) {
        body.setIndex(i);
        out[i * parts] = static_cast<T>((body.*real)());
        if (parts == 2) out[i * parts + 1] = static_cast<T>((body.*imag)());
    }
    body.setIndex(cursor);
    static_cast<void>(fresh.release());
    return out;
}

} // namespace

double* Number::getAllRWDoubleValues(double* out) const
{
    return readAll(body(), out, &NumberBody::getRWDoubleValue, &NumberBody::getImagRWDoubleValue);
}

double* Number::getAllSIDoubleValues(double* out) const
{
    return readAll(body(), out, &NumberBody::getSIDoubleValue, &NumberBody::getImagSIDoubleValue);
}

float* Number::getAllRWSingleValues(float* out) const
{
    return readAll(body(), out, &NumberBody::getRWDoubleValue, &NumberBody::getImagRWDoubleValue);
}

void const* Number::getSIArray() const { return body().getSIArray(); }
void Number::setSIArray(void* data) { body().setSIArray(data); }

void Number::copyDataIntoSIArray(void const* data, unsigned long long count)
{
    body().copyDataIntoSIArray(data, count);
}

bool Number::dataIsExternal() const { return body().dataIsExternal(); }
std::string Number::getSIArrayInHex() const { return body().getSIArrayInHex(); }

Number& Number::operator=(double const& value)
{
    body().assignDouble(&value);
    return *this;
}

Number& Number::operator=(double const* values)
{
    body().assignDouble(values);
    if (isComplex()) body().assignImagDouble(values + 1);
    return *this;
}

Number& Number::operator=(Number const& other) // NOLINT(bugprone-unhandled-self-assignment):
                                               // one element
{
    body().assignNumber(&other.body());
    return *this;
}

void Number::setValue(double const* values) { body().setValue(values); }

namespace
{

bool assignInBlocks(NumberBody& target, NumberBody const& source, unsigned long long count,
                    array_engine::ScalarRoutine assignOne, array_engine::ScalarRoutine setCursors)
{
    if (count < array_engine::fewestParts || !number_body::holdsStoredIntegers(source)) return false;
    if (target.dataType().mode != fxpModeDataTypeFixed) return false;
    array_engine::StoredCast const cast(target.client(), target.dataType(), source.dataType(),
                                        target.roundMode(), target.overflowMode());
    return array_engine::assignElements(target, source, cast, 0, count, assignOne, setCursors);
}

} // namespace

void Number::arrayEquals(Number& target, Number const& source)
{
    unsigned long long const count = target.getNumberOfElements();
    bool const fits = source.isScalar() || (count != 1 && target.isSameSize(source));
    if (!fits) NumberUtils::throwIExceptionFromMessageID(Orvex::number::IndexAssignElementCountMismatch());
    if (count > array_engine::serialLimit) return target.body().arrayAssignParallel(&source.body(), count);
    unsigned long long const targetCursor = target.getIndex();
    unsigned long long const sourceCursor = source.getIndex();
    assignSerially(target, source);
    target.setIndex(targetCursor);
    source.setIndex(sourceCursor);
}

/// Every element, on this thread; leaves the cursors anywhere.
void Number::assignSerially(Number& target, Number const& source)
{
    unsigned long long const count = target.getNumberOfElements();
    auto const setCursors = [&](std::size_t i) {
        target.setIndex(i);
        source.setIndex(source.isScalar() ? 0 : i);
    };
    auto const assignOne = [&](std::size_t i) {
        setCursors(i);
        target.body().assignNumber(&source.body());
    };
    if (!assignInBlocks(target.body(), source.body(), count, assignOne, setCursors))
        for (std::size_t i = 0; i < count; ++i) assignOne(i);
}

void Number::setMaxRWValue() { body().setMaxRWValue(); }
void Number::setMinRWValue() { body().setMinRWValue(); }
void Number::setMinPositiveRWValue() { body().setMinPositiveRWValue(); }

Number Number::getMaxSIValue() const
{
    Number extreme = newScalar(multiword::strippedCopy(getDataType()), false);
    extreme.setMaxRWValue();
    return extreme;
}

Number Number::getMinSIValue() const
{
    Number extreme = newScalar(multiword::strippedCopy(getDataType()), false);
    extreme.setMinRWValue();
    return extreme;
}

void Number::disp() const
{
    std::cout << '\n';
    if (isScalar()) {
        std::cout << getRWDoubleValue();
    } else {
        unsigned long long const cursor = getIndex();
        for (unsigned long long i = 0; i < getNumberOfElements(); ++i)
            std::cout << (*this)[i].getRWDoubleValue() << ' ';
        setIndex(cursor);
    }
    char const* const kind = isFixed()          ? "Fixed"
                             : isScaledDouble() ? "ScaledDouble"
                             : isDouble()       ? "Double"
                                                : "Single";
    std::cout << "\n      DataType: " << kind << '\n';
    if (isFloat()) return;
    std::cout << "        Signed: " << (isSigned() ? "True" : "False")
              << "\n    WordLength: " << getWordLength() << "\nFractionLength: " << getFractionLength()
              << "\n\n";
}

} // namespace ORVEX
