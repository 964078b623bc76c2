/// \file
/// One trial of the search for a radix type.
#pragma once

#include "type_basic/radixdemand.h"

#include <orvex/hardware/fxpprodhardware.h>

namespace ORVEX::type_basic
{

/// What `type` makes of a real-world value, saturating. Nobody hears of it.
double valueHeldBy(fxpDataTypeProp type, double value, fxpModeRounding_tag round);

/// Is a word length enough for a demand and a bias term? Its state is that of its last trial.
class isWordLengthGoodforRadix final : public WordLengthBasePredicate
{
public:
    /// `candidate` gives signedness and mode; `client` and `demand` have to outlive the predicate.
    isWordLengthGoodforRadix(OrvexClientInterface const& client, RadixDemand const& demand, double biasTerm,
                             fxpDataTypeProp const& candidate);

    bool operator()(unsigned int wl) override;

    fxpDataTypeProp const& candidate() const { return candidate_; }
    double realizedSlopeTerm() const { return realizedSlopeTerm_; } ///< as the last candidate holds it
    double realizedBiasTerm() const { return realizedBiasTerm_; }

private:
    bool holdsExtremes() const;

    OrvexClientInterface const& client_;
    RadixDemand const& demand_;
    double biasTerm_;
    fxpDataTypeProp candidate_;
    double realizedSlopeTerm_ = 0.0;
    double realizedBiasTerm_ = 0.0;
};

} // namespace ORVEX::type_basic
