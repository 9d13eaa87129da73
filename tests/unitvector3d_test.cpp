#include <geometry/point3d.h>
#include <geometry/unitvector3d.h>
#include <gtest/gtest.h>
#include <support/predicates.h>
#include <support/random.h>
#include <support/tolerance_guard.h>

#include <cmath>
#include <limits>

namespace g = velmor::geometry;
using g::CVector3d, plenar_test::EqualXyz;
using U = g::CUnitVector3d;

namespace {

const double kHalfPi = std::acos(0.0);
const double kTwoPi = 6.283185307179586;

}  // namespace

TEST(CUnitVector3d, ConstructorsAndSettersNormalize) {
    const double y = 3 * (1.0 / 5), z = 4 * (1.0 / 5);  // times the reciprocal length
    EXPECT_TRUE(EqualXyz(U(0, 3, 4), 0, y, z));
    EXPECT_TRUE(EqualXyz(U(g::CPoint3d(1, 1, 1), g::CPoint3d(1, 4, 5)), 0, y, z));
    U u;
    EXPECT_EQ(u.Set(0, 3, 4), 5.0);
    EXPECT_TRUE(EqualXyz(u, 0, y, z));
    EXPECT_EQ(u.Set(g::CPoint3d(1, 1, 1), g::CPoint3d(1, 1, -1)), 2.0);
    EXPECT_TRUE(EqualXyz(u, 0, 0, -1));
    u = CVector3d(0, -2, 0);
    EXPECT_TRUE(EqualXyz(u, 0, -1, 0));
}

TEST(CUnitVector3d, NormalizeGuardsAndUnitShortcut) {
    // Squared length exactly DivideByZeroTolSq: Normalize() passes its guard and
    // divides by a zero length; Set (through Normalize(len)) zeroes instead.
    const double bx = 6e-11, by = 7.9999999999999995e-11;
    ASSERT_EQ(bx * bx + by * by, g::DivideByZeroTolSq);
    EXPECT_TRUE(U(bx, by, 0).IsValid());
    U u;
    EXPECT_EQ(u.Set(bx, by, 0), 0.0);
    EXPECT_TRUE(EqualXyz(u, 0, 0, 0));
    // A squared length that rounds to exactly 1 is left bit-for-bit alone...
    ASSERT_EQ(0.6 * 0.6 + 0.8 * 0.8, 1.0);
    EXPECT_TRUE(EqualXyz(U(0.6, 0.8, 0), 0.6, 0.8, 0));
    // ...one ulp below 1 is outside the shortcut and is rescaled.
    const double x = 0.65704627710905739, y = 0.5716389544055448, z = -0.49144592331533604;
    ASSERT_EQ(x * x + y * y + z * z, 1.0 - 0x1p-53);
    const double inv = 1.0 / std::sqrt(1.0 - 0x1p-53);
    EXPECT_TRUE(EqualXyz(U(x, y, z), x * inv, y * inv, z * inv));
    EXPECT_NE(U(x, y, z).x, x);
}

TEST(CUnitVector3d, ValidObjNeedsFiniteUnitLength) {
    // Strict against EqualTolSq: with a dyadic tolerance, L2 = 1 + 2^-20 exactly
    // is one tolerance away and fails; 1 + 2^-22 passes.
    plenar_test::SquaredToleranceGuard guard(0x1p-20);
    EXPECT_FALSE(U::FromComponents(1, 0x1p-10, 0).IsValidObj());
    EXPECT_TRUE(U::FromComponents(1, 0, 0x1p-11).IsValidObj());
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(U::FromComponents(0, 0, nan).IsValid());  // NaN counts as non-zero
    EXPECT_FALSE(U::FromComponents(0, 0, nan).IsValidObj());
}

TEST(CUnitVector3d, ComparisonsAreInclusiveExceptPerpendicular) {
    const U z(0, 0, 1);

    plenar_test::ToleranceGuard guard(0.125);
    const U nearZ = U::FromComponents(0.125, -0.125, 0.875);
    EXPECT_TRUE(z == nearZ);
    EXPECT_FALSE(z != nearZ);
    EXPECT_TRUE(z.IsSameDirectionAs(nearZ));
    EXPECT_TRUE(z.IsParallelTo(-nearZ));
    EXPECT_FALSE(z.IsParallelTo(U::FromComponents(0.125, 0, -0.875 + 0x1p-20)));
    EXPECT_FALSE(z.Equals(nearZ, 0.125 - 0x1p-20));
    EXPECT_FALSE(U(1, 0, 0).IsPerpendicularTo(U::FromComponents(0.125, 1, 0)));  // strict
    EXPECT_TRUE(U(1, 0, 0).IsPerpendicularTo(U::FromComponents(-0.0625, 1, 0)));
}

TEST(CUnitVector3d, AnglesAndArithmetic) {
    // Dot products rounding beyond +-1 still give exactly 0 and pi.
    const U over = U::FromComponents(1 + 0x1p-52, 0, 0);
    EXPECT_EQ(over.AngleBetween(over), 0.0);
    EXPECT_EQ(over.AngleBetween(-over), 3.141592653589793);
    EXPECT_EQ(U(1, 0, 0).AngleBetween(U(0, 1, 0)), kHalfPi);

    const U n(0, 0, 1);
    const CVector3d x(1, 0, 0), y(0, 1, 0);
    EXPECT_EQ(n.CCWAngleBetween(y, x), kTwoPi - kHalfPi);
    EXPECT_EQ(n.CCWAngleBetween(CVector3d(1, 0, 5), CVector3d(0, 3, -2)), kHalfPi);  // projected first
    // Same direction: the projections' dot rounds to 1.0000000000000002; a zero triple product is not clockwise.
    EXPECT_EQ(n.CCWAngleBetween(CVector3d(1, 5, -2), CVector3d(1, 5, -2)), 0.0);
    EXPECT_EQ(n.CCWAngleBetween(CVector3d(0, 0, 3), y), 0.0);
    EXPECT_EQ(n.CCWAngleBetween(y, CVector3d(0, 0, -3)), 0.0);

    const double r = 1 / std::sqrt(2.0);
    EXPECT_TRUE(EqualXyz(U(1, 0, 0) + U(0, 1, 0), r, r, 0));
    EXPECT_TRUE(EqualXyz(U(1, 0, 0) - U(0, 1, 0), r, -r, 0));
    EXPECT_TRUE(EqualXyz(n + (-n), 0, 0, 0));
    EXPECT_TRUE(EqualXyz(U(0, 1, 0) * CVector3d(3, 0, 0), 0, 0, -3));  // not normalised
}

TEST(CUnitVector3d, ArbitraryAxesCompleteARightHandedFrame) {
    U xa, ya;
    EXPECT_TRUE(U(0, 0, 1).GetArbitraryAxes(xa, ya));
    EXPECT_TRUE(EqualXyz(xa, 1, 0, 0));
    EXPECT_TRUE(U(0, 0, -1).GetArbitraryAxes(xa, ya));
    EXPECT_TRUE(EqualXyz(xa, -1, 0, 0));
    EXPECT_TRUE(EqualXyz(ya, 0, 1, 0));
    EXPECT_FALSE(U(0, 0, 0).GetArbitraryAxes(xa, ya));
    EXPECT_TRUE(EqualXyz(xa, 0, 0, 0));
    EXPECT_TRUE(EqualXyz(ya, 0, 0, 0));

    plenar_test::SplitMix64 rng(7);
    for (int i = 0; i < 200; ++i) {
        const double x = rng.Uniform(-1, 1);
        const double y = rng.Uniform(-1, 1);
        const U n(x, y, rng.Uniform(-1, 1));
        ASSERT_TRUE(n.GetArbitraryAxes(xa, ya));
        EXPECT_NEAR(g::Dot(ya, n), 0.0, 1e-14);
        EXPECT_NEAR(g::Dot(xa * ya, n), 1.0, 1e-14);
    }

    // Parallel to +Z is decided per component, inclusive at EqualTol: the reference
    // switches to +Y, and the x axis has no y component.
    plenar_test::ToleranceGuard guard(0.125);
    const double nz = std::sqrt(1 - 0.125 * 0.125);
    EXPECT_TRUE(U::FromComponents(0.125, 0, nz).GetArbitraryAxes(xa, ya));
    EXPECT_EQ(xa.y, 0.0);
    EXPECT_TRUE(U::FromComponents(0.125 + 0x1p-20, 0, nz).GetArbitraryAxes(xa, ya));
    EXPECT_EQ(xa.x, 0.0);  // +Z kept as the reference
}
