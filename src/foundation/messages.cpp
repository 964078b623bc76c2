#include <orvex/foundation/messages.h>

#include <utility>

namespace resource_core
{

BaseMsgID::BaseMsgID(std::string identifier, std::string text)
    : identifier_(std::move(identifier)), text_(std::move(text))
{
}

BaseMsgID::~BaseMsgID() = default;

} // namespace resource_core

namespace Orvex::number
{

ArrayDimMustAgree::ArrayDimMustAgree()
    : BaseMsgID(
          "Orvex:number:ArrayDimMustAgree",
          "Array dimensions must agree: operands need the same number of elements and the same dimensions, "
          "or one of them must have exactly one element; a comparison needs at least one element.")
{
}

ArrayDimMustAgree::~ArrayDimMustAgree() = default;

IndexAssignElementCountMismatch::IndexAssignElementCountMismatch()
    : BaseMsgID("Orvex:number:IndexAssignElementCountMismatch",
                "Element-wise assignment: source and target need the same number of elements and the same "
                "dimensions, or the source must have exactly one element.")
{
}

IndexAssignElementCountMismatch::~IndexAssignElementCountMismatch() = default;

bitIndexOutOfRange::bitIndexOutOfRange()
    : BaseMsgID("Orvex:number:bitIndexOutOfRange",
                "Bit index out of range: bits are counted from 1, the least significant, to the word length.")
{
}

bitIndexOutOfRange::~bitIndexOutOfRange() = default;

} // namespace Orvex::number

namespace Orvex::typeBasic
{

SlopeWasNotStrictlyPositive::SlopeWasNotStrictlyPositive()
    : BaseMsgID(
          "Orvex:typeBasic:SlopeWasNotStrictlyPositive",
          "The slope of a data type must be greater than zero; the slope adjustment factor was set to 1.")
{
}

SlopeWasNotStrictlyPositive::~SlopeWasNotStrictlyPositive() = default;

SlopeWasNotFinite::SlopeWasNotFinite()
    : BaseMsgID("Orvex:typeBasic:SlopeWasNotFinite",
                "The slope of a data type must be finite; the slope adjustment factor was set to 1.")
{
}

SlopeWasNotFinite::~SlopeWasNotFinite() = default;

DifferentBestPrecisionScalingToAvoidOverflow::DifferentBestPrecisionScalingToAvoidOverflow(
    std::string const& value, std::string const& powerOfTwo, std::string const& least,
    std::string const& wordLength, std::string const& isSigned, std::string const& fractionLength,
    std::string const& finerFractionLength)
    : BaseMsgID("Orvex:typeBasic:DifferentBestPrecisionScalingToAvoidOverflow",
                "Best-precision scaling of the value " + value + " in a word of " + wordLength +
                    " bits (signed: " + isSigned + "): the value rounds to " + powerOfTwo +
                    ". Fraction length " + fractionLength + " is used and not " + finerFractionLength +
                    ", so that values down to " + least + " do not overflow.")
{
}

DifferentBestPrecisionScalingToAvoidOverflow::~DifferentBestPrecisionScalingToAvoidOverflow() = default;

} // namespace Orvex::typeBasic
