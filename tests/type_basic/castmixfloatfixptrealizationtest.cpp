#include "support/types.h"
#include "type_basic/applyplan.h"

#include <orvex/type_basic/fxpcastgetnetnominaldatatypes.h>

#include <gtest/gtest.h>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

Type const dbl = Type::doubleDataType();
Type const sgl = Type::singleDataType();

TEST(NetNominalTypes, Table)
{
    Type const boolean(fxpModeDataTypeBoolean, true, 16, 1.5, 3, 4.0, 0);
    struct Row {
        Type y, u, wantU;
    };
    Row const rows[] = {{s(8, -3, 1.5), s(9, 2), s(9, 4, 1 / 1.5 * 2)},
                        {s(8, -1, 1.5, 1.0), s(9, -1, 1.5, 2.5), s(9, 0, 1.0, 2.0)},
                        {s(8, -2000, 1.0, 1.0), s(8, -2000, 1.0, 1.0), s(8)}, // no 0 / 0
                        {dbl, dbl, dbl},
                        {s(8, -3), dbl, scaledDouble(s(64, 3))},
                        {s(8, 0, 1.0, 5.0), dbl, scaledDouble(s(64, 0, 1.0, -5.0))},
                        {s(8, 1, 1.5), sgl, scaledDouble(s(32, -2, 1 / 1.5 * 2))},
                        {s(8), scaledDouble(s(20, 4, 1.5, 1.0)), scaledDouble(s(20, 4, 1.5, 1.0))},
                        {s(8, 3, 1.0, 4.0), boolean, fixedType(false, 8, 0, 1.5)}};
    for (Row const& row : rows) {
        Type uNet, yNet, wantY = row.y;
        wantY.setScaling(1.0, 0, 0.0);
        fxpCastGetNetNominalDatatypes(&uNet, &yNet, &row.y, &row.u);
        EXPECT_TRUE(uNet == row.wantU && yNet == wantY) << row.y << row.u << " gave " << uNet << yNet;
    }
    double factor = 0, bias = 9;
    int exponent = 0;
    Type uNet, yNet;
    fxpCastGetNetNominalDatatypes_StepOne(&uNet, &yNet, &rows[0].y, &rows[0].u, factor, exponent, bias);
    EXPECT_TRUE(uNet == rows[0].u && factor == 1 / 1.5 && exponent == 5 && bias == 0.0); // not normalised
}

TEST(MixedCastPlan, Table)
{
    bool const no = false, mul = true, strict = true, divides = true, wide = true;
    double const nan = std::nan("");
    struct Row {
        Type y, u;
        bool useFloatMul, strictSingle; ///< what is asked
        bool divides, wide;             ///< and what is wanted
        double slope, bias;
        int exponent, normalExponent;
    };
    Row const rows[] = {
        {s(16, 0, 1.5), s(16), no, no, divides, no, 1.5, -0.0, 0, -1},
        {s(16, 0, 1.5), s(16), mul, no, no, no, 1 / 1.5, 0.0, -1, -1},
        {s(16, -3, 1.5), sgl, no, no, divides, no, 1.5 / 8, -0.0, -3, 2},
        {s(16, 0, 1.5, 8.0), sgl, no, no, divides, wide, 1.5, -8.0, 0, -1},

        {s(16, 0, 1.5), s(16, 2, 1.5), no, no, no, no, 4.0, 0.0, 2, 2},
        {sgl, s(16, 0, 1.5), no, no, no, no, 1.5, 0.0, 0, 0},
        {s(16), s(16), no, no, no, no, 1.0, 0.0, 0, 0},

        {sgl, s(25, 0, 1.0, 4.0), no, no, no, no, 1.0, 4.0, 0, 0}, // 24 bits and the sign: a float's mantissa
        {sgl, s(26, 0, 1.0, 4.0), no, no, no, wide, 1.0, 4.0, 0, 0},
        {sgl, s(8, 0, 1.0, 0.1), no, no, no, wide, 1.0, 0.1, 0, 0},
        {sgl, s(8, 0, 1.5, 4.0), no, no, no, wide, 1.5, 4.0, 0, 0},
        {sgl, s(128), no, no, no, no, 1.0, 0.0, 0, 0},
        {sgl, s(129), no, no, no, wide, 1.0, 0.0, 0, 0},
        {sgl, s(129, 200, 1.5, 0.1), no, strict, no, no, std::ldexp(1.5, 200), 0.1, 200, 200},
        {sgl, s(8, 127), no, no, no, no, 0x1p127, 0.0, 127, 127},
        {sgl, s(8, 128), no, no, no, wide, 0x1p128, 0.0, 128, 128},
        {sgl, s(8, -126), no, no, no, no, 0x1p-126, 0.0, -126, -126},
        {sgl, s(8, -127), no, no, no, wide, 0x1p-127, 0.0, -127, -127},
        {sgl, s(8, 0, nan), no, no, no, no, nan, 0.0, 0, 0},
        {dbl, s(8), mul, strict, no, wide, 1.0, 0.0, 0, 0},
        {s(8), dbl, no, strict, no, wide, 1.0, 0.0, 0, 0},
        {scaledDouble(s(8)), s(8), mul, strict, no, wide, 1.0, 0.0, 0, 0},
        {s(8), scaledDouble(s(8, 3)), mul, strict, no, wide, 8.0, 0.0, 3, 3}};
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::Message() << row.y << " from " << row.u << row.useFloatMul << row.strictSingle);
        CastMixFloatFixptRealization plan(dbl, dbl, false, false);
        plan = CastMixFloatFixptRealization(row.y, row.u, row.useFloatMul, row.strictSingle);
        EXPECT_EQ(plan.UseDivApproach(), row.divides);
        EXPECT_EQ(plan.CalcUseDouble(), row.wide);
        EXPECT_EQ(*plan.pFxpDtpCalc(), row.wide ? dbl : sgl);
        EXPECT_PRED2(sameDouble, plan.ApproachNetSlope(), row.slope);
        EXPECT_PRED2(sameDouble, plan.ApproachNetBias(), row.bias);
        EXPECT_EQ(plan.ApproachNetFixedExponent(), row.exponent);
        EXPECT_EQ(plan.getNormalNetFixedExponent(), row.normalExponent);
        EXPECT_EQ(plan.ApproachNetSlopeIsTrivial(), row.slope == 1.0);
        EXPECT_EQ(plan.ApproachNetSlopeIsExactPow2(), std::ldexp(row.slope, -row.exponent) == 1.0);
        EXPECT_TRUE(*plan.pFxpDtpY() == row.y &&
                    plan.pFxpDtpU()->isEqualIgnoreMode(row.u) != std::isnan(row.slope));
    }
}

TEST(MixedCastPlan, EveryStepIsRoundedToThePrecision)
{
    Random random(5);
    for (Type const& y : {dbl, sgl, s(16, -3, 1.3), s(16, -3, 1.3, 0.7)})
        for (Type const& u : {dbl, sgl, s(60, 4, 1.0, 3.0), s(16, -9, 1.7)})
            for (int i = 0; i < 200; ++i) {
                CastMixFloatFixptRealization const plan(y, u, i % 3 == 0, i % 2 == 0);
                double const x = random.doubleNear(s(40, -10));
                // One double step on floats is exact enough to be rounded to float once more.
                auto const r = [&](double v) { return plan.CalcUseDouble() ? v : double(float(v)); };
                double const slope = r(plan.ApproachNetSlope()), bias = r(plan.ApproachNetBias());
                double const want =
                    plan.UseDivApproach() ? r(r(r(x) + bias) / slope) : r(r(r(x) * slope) + bias);
                EXPECT_EQ(ORVEX::type_basic::applyPlan(x, plan), want) << y << u << x;
            }
    CastMixFloatFixptRealization const plan(s(16, 0, 1.5), dbl, false, false);
    EXPECT_EQ(ORVEX::type_basic::applyPlan(1.5, plan), 1.0);
}

} // namespace
