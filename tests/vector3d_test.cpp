#include <geometry/vector3d.h>
#include <gtest/gtest.h>
#include <support/predicates.h>
#include <support/tolerance_guard.h>

#include <cmath>
#include <iomanip>
#include <limits>
#include <sstream>

namespace g = velmor::geometry;
using g::CUnitVector3d, plenar_test::EqualXyz;
using V = g::CVector3d;

namespace {

// Squared length exactly DivideByZeroTolSq (checked in the test).
const V kAtZeroSq(6e-11, 7.9999999999999995e-11, 0.0);
const double kPi = std::acos(-1.0);

}  // namespace

TEST(CVector3d, NormalizeOverloadsGuardDifferently) {
    ASSERT_EQ(kAtZeroSq.LengthSquared(), g::DivideByZeroTolSq);
    // At the boundary Normalize() passes its squared guard and divides by the zero
    // length; Normalize(len) sees length 0 and zeroes the vector.
    V v = kAtZeroSq;
    EXPECT_TRUE(v.Normalize());
    EXPECT_FALSE(v.IsValidObj());
    v = kAtZeroSq;
    double len = -1.0;
    EXPECT_FALSE(v.Normalize(len));
    EXPECT_EQ(len, 0.0);
    EXPECT_TRUE(EqualXyz(v, 0, 0, 0));
    V below(1e-11, 0, 0);  // below it both fail and zero
    EXPECT_FALSE(below.Normalize());
    EXPECT_TRUE(EqualXyz(below, 0, 0, 0));
    // A length of exactly DivideByZeroTol passes the strict length guard.
    ASSERT_EQ(V(1e-10, 0, 0).Length(), g::DivideByZeroTol);
    v = V(0, -1e-10, 0);
    EXPECT_TRUE(v.Normalize(len));
    EXPECT_TRUE(EqualXyz(v, 0, -1, 0));
    // Scaled by the reciprocal of the length, not divided: 3 * (1/5) != 3 / 5.
    v = V(3, 4, 0);
    EXPECT_TRUE(v.Normalize(len));
    EXPECT_TRUE(EqualXyz(v, 3 * (1.0 / 5), 4 * (1.0 / 5), 0));
    v = V(0, 3, -4);
    EXPECT_TRUE(v.Normalize());
    EXPECT_TRUE(EqualXyz(v, 0, 3 * (1.0 / 5), -4 * (1.0 / 5)));
}

TEST(CVector3d, SetLengthLeavesTooShortVectorsUnchanged) {
    for (const V& start : {V(0, 0, 0), V(1e-11, -2e-11, 0), kAtZeroSq}) {
        V v = start;
        EXPECT_FALSE(v.SetLength(2.0));
        EXPECT_TRUE(EqualXyz(v, start.x, start.y, start.z));
    }
    V v(1e-10, 0, 0);  // exactly DivideByZeroTol long is long enough
    EXPECT_TRUE(v.SetLength(3.0));
    EXPECT_NEAR(v.x, 3.0, 1e-15);
    v = V(3, 4, 0);
    EXPECT_TRUE(v.SetLength(-10.0));
    EXPECT_TRUE(EqualXyz(v, -6, -8, 0));
}

TEST(CVector3d, EqualityIsInclusivePerComponentAndOrderIsTolerant) {
    plenar_test::ToleranceGuard guard(0.125);
    V o(0, 0, 0);
    EXPECT_TRUE(o == V(0.125, -0.125, 0.125));  // per component, not spherical
    EXPECT_FALSE(o == V(0, 0, 0.125 + 0x1p-20));
    EXPECT_TRUE(o != V(-0.125 - 0x1p-20, 0, 0));
    EXPECT_TRUE(o < V(0.125, -9, -9));  // inclusive at +-EqualTol, x then y then z
    EXPECT_FALSE(o < V(-0.125, 9, 9));
    EXPECT_FALSE(o < V(0.0625, -0.125, 9));
    EXPECT_TRUE(o < V(0.0625, 0.125, -9));
    EXPECT_TRUE(o < V(0.0625, 0.0625, 0.125));
    EXPECT_FALSE(o < V(0.0625, 0.0625, 0.0625));
}

TEST(CVector3d, AngleBetweenTestsTheRawDotFirst) {
    constexpr double kHalfPi = 1.570796326794896;
    EXPECT_EQ(V(1, 0, 0).AngleBetween(V(0.0005, 1, 0)), kHalfPi);
    // A short vector gives 0.0, neither pi/2 nor an arc cosine, even where an arc
    // cosine would give pi/4: the length guard is EqualTol, not its square.
    EXPECT_EQ(V(0.0005, 0, 0).AngleBetween(V(1e4, 1e4, 0)), 0.0);
    EXPECT_EQ(V(1e4, 1e4, 0).AngleBetween(V(0.0005, 0, 0)), 0.0);
    // d / L1 / L2 rounds to +-1.0000000000000002 here: clamped.
    const V v(1, 1, 1);
    EXPECT_EQ(v.AngleBetween(v), 0.0);
    EXPECT_EQ(v.AngleBetween(-v), kPi);
    // Both tests are strict: a dot and a length of exactly EqualTol reach acos.
    plenar_test::ToleranceGuard guard(0.125);
    EXPECT_NEAR(V(0.125, 0, 0).AngleBetween(V(1, 1, 0)), kPi / 4, 1e-15);
    EXPECT_NEAR(V(1, 1, 0).AngleBetween(V(0.125, 0, 0)), kPi / 4, 1e-15);
}

TEST(CVector3d, CrossProductsFramesAndUnguardedDivision) {
    const V a(1, 2, 3), b(-4, 0.5, 2);
    EXPECT_TRUE(EqualXyz(a * b, 2.5, -14, 8.5));
    EXPECT_TRUE(EqualXyz(b.Cross(a), -2.5, 14, -8.5));
    const CUnitVector3d ux(1, 0, 0), uy(0, 1, 0), uz(0, 0, 1);
    EXPECT_TRUE(EqualXyz(V(0, 0, 2) * ux, 0, 2, 0));
    EXPECT_TRUE(EqualXyz(V(2, ux, -3, uy, 4, uz), 2, -3, 4));
    const V q = V(1, -1, 0) / 0.0;
    EXPECT_EQ(q.x, std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(q.z));
    EXPECT_FALSE(q.IsValidObj());
}

TEST(CVector3d, StreamsWithTheCurrentFormatting) {
    std::ostringstream os;
    os << std::fixed << std::setprecision(1) << V(1, 2.5, -3);
    EXPECT_EQ(os.str(), "(1.0, 2.5, -3.0)");
}
