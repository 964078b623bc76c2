/// \file
/// The body of scaled doubles.
#pragma once

#include "number_body/floatingbody.h"

/// Keeps the scaling of a fixed-point type and stores Q, the value in stored-integer units, as a double: not
/// quantized, not limited. Its events say what a word of the type would have done.
class ScaledDoubleNumber final : public FloatingBody<double>
{
    using FloatingBody<double>::FloatingBody;

public:
    double getRWDoubleValue() const override;
    void setValue(double const* values) override; ///< in parallel above 500 elements
    void assignDouble(double const* value) override { store(here(), *value); }
    void assignNumber(NumberBody const* other) override;
    void plusEquals(NumberBody const*) override { std::cout << "Need to do scaled-double plusEquals!\n"; }
    void minusEquals(NumberBody const*) override { std::cout << "Need to do scaled-double minusEquals!\n"; }
    void setMaxRWValue() override;
    void setMinRWValue() override;
    void setMinPositiveRWValue() override { here() = 1.0; }

    // Up to 2^62 on 64-bit integers, beyond that on the bits of a word of the type.
    void bitAndEqual(NumberBody const* other) override;
    void bitOrEqual(NumberBody const* other) override;
    void bitXorEqual(NumberBody const* other) override;
    void bitCmp() override;
    void bitShiftRightLogical(unsigned count) override;

private:
    void store(double& place, double realWorld);
    template <class Operation>
    void combineBits(NumberBody const& other, Operation operation);
};
