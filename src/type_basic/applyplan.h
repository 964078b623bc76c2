/// \file
/// A value through the plan of a cast that goes through a float.
#pragma once

#include <orvex/type_basic/castmixfloatfixptrealization.h>

namespace ORVEX::type_basic
{

/// The net scaling of the plan in one precision: value, slope and bias are rounded to it first, and so is
/// every step.
template <class Real>
double applyPlanIn(double x, CastMixFloatFixptRealization const& plan)
{
    Real const value = static_cast<Real>(x);
    Real const slope = static_cast<Real>(plan.ApproachNetSlope());
    Real const bias = static_cast<Real>(plan.ApproachNetBias());
    if (plan.UseDivApproach()) {
        Real const sum = value + bias;
        return static_cast<double>(static_cast<Real>(sum / slope));
    }
    Real const product = value * slope;
    return static_cast<double>(static_cast<Real>(product + bias));
}

/// Brings a stored quantity of the plan's source (a stored integer as a double, or a raw double) to the grid
/// of its target, to be stored under the plan's pFxpDtpYNet.
inline double applyPlan(double x, CastMixFloatFixptRealization const& plan)
{
    return plan.CalcUseDouble() ? applyPlanIn<double>(x, plan) : applyPlanIn<float>(x, plan);
}

} // namespace ORVEX::type_basic
