/// \file
/// The data type record: what a stored integer is and what it means.
#pragma once

#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpmodes.h>

#include <cstdint>
#include <type_traits>

/// What a number is: kind, signedness, word length and scaling.
///
/// A stored integer Q of a fixed or scaled-double type has the real-world value
///     V = slopeAdjustmentFactor * 2^fixedExponent * Q + bias.
///
/// The seven fields stand in this order and the record is trivially copyable; both are a contract with code
/// that copies it field by field. The record checks nothing: any value may be put into any field.
/// Note that constructors take (factor, exponent, bias) while the fields stand as (exponent, factor, bias).
class ORVEX_API fxpDataTypeProp
{
public:
    fxpModeDataType mode = fxpModeDataTypeFixed; ///< fixed, scaled double, double, single or boolean
    std::int32_t signedness = 1;    ///< private encoding: read with isSigned, write with setIsSigned
    std::int32_t wordLength = 16;   ///< bits in all, the sign bit included
    std::int32_t fixedExponent = 0; ///< power-of-two part of the slope; the fraction length is its negation
    double slopeAdjustmentFactor = 1.0; ///< the rest of the slope; 1.0 for a pure binary-point type
    double bias = 0.0;                  ///< real-world value of stored integer 0
    fxpDataTypeDTOMode dtoMode = 0;     ///< data type override; only copied and compared

    /// Signed 16 bits, fraction length 0.
    fxpDataTypeProp() = default;

    /// Stores exactly the given values. `exponent` is a fixed exponent, not a fraction length.
    fxpDataTypeProp(fxpModeDataType mode_, bool isSigned, int wordLength_, double slopeAdjustmentFactor_,
                    int exponent, double bias_, fxpDataTypeDTOMode dtoMode_)
        : mode(mode_), signedness(isSigned ? 1 : 0), wordLength(wordLength_), fixedExponent(exponent),
          slopeAdjustmentFactor(slopeAdjustmentFactor_), bias(bias_), dtoMode(dtoMode_)
    {
    }

    /// A binary-point fixed type. The third argument is a *fraction length*: fixedExponent is its negation.
    fxpDataTypeProp(bool isSigned, int wordLength, int fractionLength);

    /// A fixed type with the scaling stored as given. `exponent` is a fixed exponent.
    fxpDataTypeProp(bool isSigned, int wordLength_, double slopeAdjustmentFactor_, int exponent, double bias_)
        : fxpDataTypeProp(fxpModeDataTypeFixed, isSigned, wordLength_, slopeAdjustmentFactor_, exponent,
                          bias_, 0)
    {
    }

    /// A fixed type of the given total slope, which is split into a factor in [1, 2) and an exponent.
    /// Zero, infinite and NaN slopes are kept as the factor, with exponent 0; a negative one keeps its sign.
    fxpDataTypeProp(bool isSigned, int wordLength, double totalSlope, double bias);

    /// Does the stored integer have a sign bit?
    bool isSigned() const { return signedness != 0; }
    /// Changes nothing else: the word length keeps its number of bits.
    void setIsSigned(bool isSigned) { signedness = isSigned ? 1 : 0; }
    /// In bits, the sign bit included.
    void setWordLength(int bits) { wordLength = bits; }

    /// Stores a scaling in normal form: factor in [1, 2), the exponent adjusted so that the slope is
    /// unchanged. Zero, infinite and NaN factors are stored as they are, with the exponent as given; a
    /// negative one keeps its sign, its magnitude in [1, 2).
    void setScaling(double slopeAdjustmentFactor, int exponent, double bias);

    /// All fields but `mode` agree. Doubles are compared by value: -0.0 equals 0.0, NaN equals nothing.
    bool isEqualIgnoreMode(fxpDataTypeProp const& other) const
    {
        return signedness == other.signedness && wordLength == other.wordLength &&
               fixedExponent == other.fixedExponent && slopeAdjustmentFactor == other.slopeAdjustmentFactor &&
               bias == other.bias && dtoMode == other.dtoMode;
    }

    /// Same meaning and same range, even where the spelling differs: the same mode, and for fixed and
    /// scaled-double types equal signedness, word length, total slope and bias.
    bool isEqualConceptual(fxpDataTypeProp const& other) const;

    /// Word length less one if signed.
    int getWordLengthNonSign() const { return wordLength - (isSigned() ? 1 : 0); }

    /// Power-of-two weight of the most significant bit that is not the sign.
    int getPow2WtMSNonSignBit() const
    {
        // Unsigned, so that an exponent at the end of its range wraps as a 32-bit number does.
        return static_cast<int>(static_cast<unsigned>(fixedExponent) +
                                static_cast<unsigned>(getWordLengthNonSign()) - 1u);
    }

    /// A boolean record becomes unsigned fixed of 8 bits without scaling; any other stays as it is.
    void changeIfBooleanToUint8();

    static fxpDataTypeProp doubleDataType(); ///< mode double; signed, 64 bits, no scaling
    static fxpDataTypeProp singleDataType(); ///< mode single; signed, 32 bits, no scaling
};

static_assert(std::is_trivially_copyable_v<fxpDataTypeProp> && std::is_standard_layout_v<fxpDataTypeProp>);

/// Type equality as the whole library uses it: the same mode, and all other fields agree.
inline bool operator==(fxpDataTypeProp const& a, fxpDataTypeProp const& b)
{
    return a.mode == b.mode && a.isEqualIgnoreMode(b);
}

namespace ORVEX
{
using ::fxpDataTypeDTOMode;
using ::fxpDataTypeProp;
using ::fxpModeDataType;
using ::fxpModeOverflow_tag;
using ::fxpModeRounding_tag;

/// Overwrites the record with the marker of an invalid type: fixed, unsigned, and 9999 in word length,
/// factor, exponent and bias. A record that nothing has filled in since is recognised by it.
ORVEX_API void createBadFxpDtpProp(fxpDataTypeProp* type);
} // namespace ORVEX
