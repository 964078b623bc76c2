#include "support/types.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

static_assert(offsetof(Type, mode) == 0 && offsetof(Type, signedness) == 4 &&
              offsetof(Type, wordLength) == 8 && offsetof(Type, fixedExponent) == 12 &&
              offsetof(Type, slopeAdjustmentFactor) == 16 && offsetof(Type, bias) == 24 &&
              offsetof(Type, dtoMode) == 32 && sizeof(Type) == 40);
static_assert(std::is_trivially_copyable_v<Type> && sizeof(fxpModeRounding_tag) == 4 &&
              sizeof(fxpModeOverflow_tag) == 4 && sizeof(fxpModeDataType) == 4);

constexpr auto fixed = fxpModeDataTypeFixed, scaledDouble = fxpModeDataTypeScaledDouble;

/// Every field, in the order of the record.
bool holds(Type const& t, fxpModeDataType mode, bool isSigned, int bits, int exponent, double factor,
           double bias, int dto = 0)
{
    return t.mode == mode && t.isSigned() == isSigned && t.wordLength == bits &&
           t.fixedExponent == exponent && sameDouble(t.slopeAdjustmentFactor, factor) &&
           sameDouble(t.bias, bias) && t.dtoMode == dto;
}

TEST(DataType, ConstructorsAndFactoriesStoreTheirArguments)
{
    EXPECT_TRUE(holds(Type(), fixed, true, 16, 0, 1.0, 0.0));
    EXPECT_TRUE(
        holds(Type(scaledDouble, false, 0, 3.0, -7, -0.0, 5), scaledDouble, false, 0, -7, 3.0, -0.0, 5));
    EXPECT_TRUE(holds(Type(true, 20, 7), fixed, true, 20, -7, 1.0, 0.0));            // a fraction length
    EXPECT_TRUE(holds(Type(false, 20, 2.5, 7, nan), fixed, false, 20, 7, 2.5, nan)); // an exponent
    EXPECT_TRUE(holds(Type::doubleDataType(), fxpModeDataTypeDouble, true, 64, 0, 1.0, 0.0));
    EXPECT_TRUE(holds(Type::singleDataType(), fxpModeDataTypeSingle, true, 32, 0, 1.0, 0.0));
    Type bad;
    ORVEX::createBadFxpDtpProp(&bad);
    EXPECT_TRUE(holds(bad, fixed, false, 9999, 9999, 9999.0, 9999.0));
}

TEST(DataType, SlopeIsSplitIntoNormalForm)
{
    struct Row {
        double slope, factor;
        int exponent;
    };
    for (Row const& row :
         {Row{1.0, 1.0, 0}, Row{0.75, 1.5, -1}, Row{0.1875, 1.5, -3}, Row{2.0, 1.0, 1},
          Row{0x1.fffffffffffffp-1, 0x1.fffffffffffffp0, -1}, Row{5e-324, 1.0, -1074},
          Row{0x1.8p-1073, 1.5, -1073}, Row{0x1.fffffffffffffp1023, 0x1.fffffffffffffp0, 1023},
          Row{-6.0, -1.5, 2}, Row{0.0, 0.0, 0}, Row{infinity, infinity, 0}, Row{nan, nan, 0}}) {
        SCOPED_TRACE(row.slope);
        EXPECT_TRUE(holds(Type(true, 9, row.slope, -2.5), fixed, true, 9, row.exponent, row.factor, -2.5, 0));
        Type type(scaledDouble, false, 33, 9.0, 9, 9.0, 4);
        type.setScaling(row.slope, -5, 0.5);
        EXPECT_TRUE(holds(type, scaledDouble, false, 33, row.exponent - 5, row.factor, 0.5, 4)) << type;
    }
}

TEST(DataType, SetterDerivedQuantitiesAndBooleanChange)
{
    Type type(fxpModeDataTypeBoolean, true, 12, 1.5, -3, 2.0, 6);
    EXPECT_EQ(type.getWordLengthNonSign(), 11);
    EXPECT_EQ(type.getPow2WtMSNonSignBit(), 7);
    type.setIsSigned(false);
    type.setWordLength(70);
    EXPECT_TRUE(holds(type, fxpModeDataTypeBoolean, false, 70, -3, 1.5, 2.0, 6)) << type;
    EXPECT_EQ(type.getWordLengthNonSign(), 70);
    EXPECT_EQ(type.getPow2WtMSNonSignBit(), 66);
    for (int mode = fixed; mode <= fxpModeDataTypeBoolean; ++mode) {
        Type changed = type;
        changed.mode = static_cast<fxpModeDataType>(mode);
        changed.setIsSigned(true);
        Type const before = changed;
        changed.changeIfBooleanToUint8();
        EXPECT_TRUE(mode == fxpModeDataTypeBoolean ? holds(changed, fixed, false, 8, 0, 1.0, 0.0, 6)
                                                   : changed == before)
            << changed;
    }
}

TEST(DataType, EqualityLooksAtEveryFieldAndComparesDoublesByValue)
{
    Type const base(scaledDouble, true, 12, 1.5, -3, 0.0, 6);
    std::vector<Type> different(6, base);
    different[0].setIsSigned(false);
    different[1].wordLength = 13;
    different[2].fixedExponent = -2;
    different[3].slopeAdjustmentFactor = 1.25;
    different[4].bias = 5e-324;
    different[5].dtoMode = 7;
    for (Type const& type : different) {
        EXPECT_FALSE(type.isEqualIgnoreMode(base) || base.isEqualIgnoreMode(type) || type == base) << type;
        // The same meaning and range: only the DTO mode does not matter.
        EXPECT_EQ(base.isEqualConceptual(type), type.dtoMode != base.dtoMode) << type;
    }
    Type other = base;
    other.mode = fixed;
    EXPECT_TRUE(other.isEqualIgnoreMode(base));
    EXPECT_FALSE(other == base || other.isEqualConceptual(base));
    other = base;
    other.bias = -0.0;
    EXPECT_TRUE(other == base && other.isEqualConceptual(base));
    other.bias = nan;
    EXPECT_FALSE(other == other || other.isEqualConceptual(other));
}

TEST(DataType, ConceptualEqualityIgnoresSpelling)
{
    auto const conceptual = [](fxpModeDataType mode, double factor, int exponent) {
        return Type(mode, true, 12, factor, exponent, 0.5, 0)
            .isEqualConceptual(Type(mode, true, 12, 1.5, -3, 0.5, 1));
    };
    for (auto const mode : {fixed, scaledDouble}) {
        EXPECT_TRUE(conceptual(mode, 3.0, -4));
        EXPECT_TRUE(conceptual(mode, 0.1875, 0));
        EXPECT_FALSE(conceptual(mode, 3.0, -3));
        EXPECT_FALSE(conceptual(mode, -1.5, -3));
    }
    // Beyond the range of a double, where both total slopes would be infinite or zero.
    EXPECT_FALSE(Type(true, 8, 1.0, 5000, 0.0).isEqualConceptual(Type(true, 8, 1.0, 5001, 0.0)));
    EXPECT_FALSE(Type(true, 8, 1.0, -5000, 0.0).isEqualConceptual(Type(true, 8, 1.0, -5001, 0.0)));
    for (auto const mode : {fxpModeDataTypeDouble, fxpModeDataTypeSingle})
        EXPECT_TRUE(
            Type(mode, true, 64, 1.0, 0, 0.0, 0).isEqualConceptual(Type(mode, false, 3, 1.5, 9, nan, 1)));
}

} // namespace
