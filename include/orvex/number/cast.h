/// \file
/// A conversion, configured once and applied to many numbers.
#pragma once

#include <orvex/number/number.h>

namespace ORVEX
{

/// Holds a target type, a rounding mode, an overflow mode and a client.
class ORVEX_API Cast
{
public:
    /// Copies type and modes. The client is held by address and only handed back.
    Cast(fxpDataTypeProp const& type, OrvexClientInterface& client, fxpModeRounding_tag const& round,
         fxpModeOverflow_tag const& overflow);
    Cast(Cast const&) = default;
    ~Cast() = default;

    ///@{
    /// What the cast was made with or was set to since.
    fxpDataTypeProp const& getDataType() const { return dataType_; }
    bool isSigned() const { return dataType_.isSigned(); }
    int getWordLength() const { return dataType_.wordLength; }
    int getFractionLength() const;
    fxpModeRounding_tag getRoundMode() const { return roundMode_; }
    fxpModeOverflow_tag getOverflowMode() const { return overflowMode_; }
    OrvexClientInterface& getOrvexClientInterface() const { return *client_; }
    ///@}

    ///@{
    /// Changes this of the target type or of the modes, and nothing else. Lengths in bits.
    void setIsSigned(bool isSigned) { dataType_.setIsSigned(isSigned); }
    void setWordLength(int bits) { dataType_.setWordLength(bits); }
    void setFractionLength(int bits);
    void setRoundMode(fxpModeRounding_tag mode) { roundMode_ = mode; }
    void setOverflowMode(fxpModeOverflow_tag mode) { overflowMode_ = mode; }
    ///@}

    /// A new number of the target type, of the input's shape, complexity and client: the events of the
    /// conversion go to the input's client. The conversion is Number::arrayEquals. The input's cursor stays
    /// as it was.
    Number operator()(Number const& input) const;

    /// The argument itself: a bare double is not quantized.
    double operator()(double const& input) const { return input; }

private:
    fxpDataTypeProp dataType_;
    fxpModeRounding_tag roundMode_;
    fxpModeOverflow_tag overflowMode_;
    OrvexClientInterface* client_;
};

} // namespace ORVEX
