/// \file
/// Message identifiers: what a checked error or a warning is, before it becomes a diagnostic.
#pragma once

#include <orvex/foundation/export.h>

#include <string>

namespace resource_core
{

/// A message identifier with its text. Made on the stack, turned into a diagnostic, destroyed.
class ORVEX_API BaseMsgID
{
public:
    virtual ~BaseMsgID();

    std::string const& identifier() const
    {
        return identifier_;
    }                                                 ///< for example "Orvex:number:ArrayDimMustAgree"
    std::string const& text() const { return text_; } ///< one or more English sentences

protected:
    /// For derived classes; both are kept as given.
    BaseMsgID(std::string identifier, std::string text);
    BaseMsgID(BaseMsgID const&) = default;
    BaseMsgID& operator=(BaseMsgID const&) = default;

private:
    std::string identifier_;
    std::string text_;
};

} // namespace resource_core

namespace Orvex::number
{

/// Array operands of a binary operation, or a vector of bit indices, do not agree in shape.
class ORVEX_API ArrayDimMustAgree : public resource_core::BaseMsgID
{
public:
    ArrayDimMustAgree();
    ~ArrayDimMustAgree() override;
};

/// Source and target of an element-wise assignment do not agree in shape.
class ORVEX_API IndexAssignElementCountMismatch : public resource_core::BaseMsgID
{
public:
    IndexAssignElementCountMismatch();
    ~IndexAssignElementCountMismatch() override;
};

/// A bit index is below 1 or above the word length.
class ORVEX_API bitIndexOutOfRange : public resource_core::BaseMsgID
{
public:
    bitIndexOutOfRange();
    ~bitIndexOutOfRange() override;
};

} // namespace Orvex::number

namespace Orvex::typeBasic
{

/// A slope adjustment factor is zero or negative.
class ORVEX_API SlopeWasNotStrictlyPositive : public resource_core::BaseMsgID
{
public:
    SlopeWasNotStrictlyPositive();
    ~SlopeWasNotStrictlyPositive() override;
};

/// A slope adjustment factor is infinite or NaN.
class ORVEX_API SlopeWasNotFinite : public resource_core::BaseMsgID
{
public:
    SlopeWasNotFinite();
    ~SlopeWasNotFinite() override;
};

/// A negative value rounds to exactly minus a power of two at a word length, so that the best-precision
/// binary point has one bit less than that power of two itself would get.
class ORVEX_API DifferentBestPrecisionScalingToAvoidOverflow : public resource_core::BaseMsgID
{
public:
    /// All arguments are numbers as text: the value; the power of two it rounds to; the least value of that
    /// scaling; word length in bits; 1 if signed, else 0; the fraction length chosen; the finer one avoided.
    DifferentBestPrecisionScalingToAvoidOverflow(std::string const& value, std::string const& powerOfTwo,
                                                 std::string const& least, std::string const& wordLength,
                                                 std::string const& isSigned,
                                                 std::string const& fractionLength,
                                                 std::string const& finerFractionLength);
    ~DifferentBestPrecisionScalingToAvoidOverflow() override;
};

} // namespace Orvex::typeBasic
