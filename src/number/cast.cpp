#include <orvex/number/cast.h>

namespace ORVEX
{

Cast::Cast(fxpDataTypeProp const& type, OrvexClientInterface& client, fxpModeRounding_tag const& round,
           fxpModeOverflow_tag const& overflow)
    : dataType_(type), roundMode_(round), overflowMode_(overflow), client_(&client)
{
}

int Cast::getFractionLength() const
{
    return static_cast<int>(0u - static_cast<unsigned>(dataType_.fixedExponent));
}

void Cast::setFractionLength(int bits)
{
    dataType_.fixedExponent = static_cast<int>(0u - static_cast<unsigned>(bits));
}

Number Cast::operator()(Number const& input) const
{
    return Number(input, dataType_, roundMode_, overflowMode_);
}

} // namespace ORVEX
