#include "number_body/floatingbody.h"

#include "multiword/chunkstore.h"
#include "type_basic/applyplan.h"

#include <limits>

namespace
{

constexpr double twoTo63 = 0x1p63;

/// Truncation to 64 bits; NaN and values out of range give the most negative integer.
unsigned long long truncatedSigned(double x)
{
    if (!(x >= -twoTo63 && x < twoTo63)) return 1ull << 63;
    return static_cast<unsigned long long>(static_cast<long long>(x));
}

} // namespace

template <class T>
long long FloatingBody<T>::getSIArrayValueSigned() const
{
    return static_cast<long long>(truncatedSigned(getRawDoubleValue()));
}

template <class T>
unsigned long long FloatingBody<T>::getSIArrayValueUnsigned() const
{
    double const x = getRawDoubleValue();
    return x > twoTo63 ? truncatedSigned(x - twoTo63) + (1ull << 63) : truncatedSigned(x);
}

template <class T>
int FloatingBody<T>::compareTo(NumberBody const* other) const
{
    if (!ORVEX::number_body::holdsStoredIntegers(*other)) return 0;
    return ORVEX::multiword::compareDoubles(getRWDoubleValue(), other->getRWDoubleValue());
}

template <class T>
bool FloatingBody<T>::isEqualTo(NumberBody const* other) const
{
    return compareTo(other) == 0 && !(other->isComplex() && other->getImagRWDoubleValue() != 0.0);
}

namespace
{

/// 2^count by repeated squaring, for a count that is read as a signed number.
double powerForShift(unsigned count)
{
    auto const n = static_cast<int>(count);
    double const power = ORVEX::multiword::powerOfTwoBySquaring(n);
    return n < 0 ? 1.0 / power : power;
}

} // namespace

template <class T>
void FloatingBody<T>::bitShiftRightArith(unsigned count)
{
    here() = static_cast<T>(getRawDoubleValue() / powerForShift(count));
}

template <class T>
void FloatingBody<T>::bitShiftLeftLogical(unsigned count)
{
    here() = static_cast<T>(getRawDoubleValue() * powerForShift(count));
}

template <class T>
void FloatingPointNumber<T>::setValue(double const* values)
{
    T* const elements = static_cast<T*>(this->data());
    for (unsigned long long i = 0; i < this->numberOfElements(); ++i) elements[i] = static_cast<T>(values[i]);
}

template <>
void FloatingPointNumber<double>::assignNumber(NumberBody const* other)
{
    using namespace ORVEX::multiword;
    fxpDataTypeProp const& type = other->dataType();
    double const raw = other->getRawDoubleValue();
    if (type.mode == fxpModeDataTypeSingle || type == dataType()) {
        here() = raw;
    } else if (!ORVEX::number_body::holdsStoredIntegers(*other)) {
        here() = scaledDoubleToRealWorld(raw, type);
    } else {
        ORVEX::number_body::Operand const value =
            ORVEX::number_body::operandAtCursor(*other, ORVEX::number_body::Part::real);
        CastMixFloatFixptRealization const plan(dataType(), type, false, false);
        double const stored = chunksToRadixDouble(value.chunks(), strippedCopy(type), value.count);
        here() = ORVEX::type_basic::applyPlan(stored, plan);
    }
}

template <>
void FloatingPointNumber<float>::assignNumber(NumberBody const* other)
{
    // The real-world value in double, narrowed with one rounding.
    here() = static_cast<float>(other->getRWDoubleValue());
}

template <class T>
void FloatingPointNumber<T>::setMaxRWValue()
{
    this->here() = std::numeric_limits<T>::max();
}

template <class T>
void FloatingPointNumber<T>::setMinRWValue()
{
    this->here() = std::numeric_limits<T>::lowest();
}

template <class T>
void FloatingPointNumber<T>::setMinPositiveRWValue()
{
    this->here() = std::numeric_limits<T>::min();
}

template class FloatingBody<double>;
template class FloatingBody<float>;
template class FloatingPointNumber<double>;
template class FloatingPointNumber<float>;
