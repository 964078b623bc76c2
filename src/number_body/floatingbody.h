/// \file
/// What bodies of doubles and floats have in common, and the two of them.
#pragma once

#include "array_engine/container.h"
#include "number_body/operand.h"

/// An array of T, real only: no rounding, no overflow and, but for what is told here, no arithmetic.
/// Operations that are empty have nothing to do by design.
template <class T>
class FloatingBody : public NumberBody
{
public:
    static constexpr std::size_t elementBytes(int) { return sizeof(T); }

    FloatingBody(Spec const& spec, int chunks)
        : NumberBody(spec, elementBytes(chunks), ORVEX::array_engine::containerOf<T>())
    {
    }
    FloatingBody(NumberBody const& other, ORVEX::NumberUtils::CopyIndexOnly tag, int) : NumberBody(other, tag)
    {
    }

    double getSIDoubleValue() const override { return getRawDoubleValue(); }
    double getRawDoubleValue() const override { return static_cast<double>(here()); }
    void const* getSIArray() const override { return data(); }
    unsigned long long getSIArrayValueUnsigned() const override;
    long long getSIArrayValueSigned() const override;
    void setSIArray(void* external) override { adopt(external); }
    void copyDataIntoSIArray(void const* from, unsigned long long count) override { copyIn(from, count); }
    void assignImagOf(NumberBody const*) override {}
    void setNumberOfElements(unsigned long long count) override { resize(count); }
    bool isEqualTo(NumberBody const* other) const override;
    int
    compareTo(NumberBody const* other) const override; ///< by real-world value; 0 unless the other is fixed
    void bitAndEqual(NumberBody const*) override {}
    void bitOrEqual(NumberBody const*) override {}
    void bitXorEqual(NumberBody const*) override {}
    void bitCmp() override {}
    bool bitGet(int) const override { return false; }
    void bitSet(int, bool) override {}
    void bitShiftRightArith(unsigned count) override; ///< divides by 2^count
    void bitShiftRightLogical(unsigned) override {}
    void bitShiftLeftLogical(unsigned count) override; ///< multiplies by 2^count
    void bitShiftArith(int) override {}
    void arrayCompareParallel(NumberBody const*, bool*, unsigned long long) const override {}

protected:
    T& here() const { return static_cast<T*>(data())[index()]; }
};

/// Mode double (T double) or single (T float): the elements are real-world values. No event, ever.
template <class T>
class FloatingPointNumber final : public FloatingBody<T>
{
    using FloatingBody<T>::FloatingBody;

public:
    double getRWDoubleValue() const override { return this->getRawDoubleValue(); }
    void setValue(double const* values) override; ///< serial at any size
    void assignDouble(double const* value) override { this->here() = static_cast<T>(*value); }
    void assignNumber(NumberBody const* other) override;
    void plusEquals(NumberBody const*) override { std::cout << "Need to do floating-point plusEquals!\n"; }
    void minusEquals(NumberBody const*) override { std::cout << "Need to do floating-point minusEquals!\n"; }
    void setMaxRWValue() override;
    void setMinRWValue() override;
    void setMinPositiveRWValue() override; ///< the smallest normal value
};
