#include <geometry/quaternion.h>

#include "support/random.h"

#include <gtest/gtest.h>

#include <cmath>

using velmor::geometry::CUnitVector3d;
using velmor::geometry::CVector3d;
using velmor::geometry::Quaternion;

namespace {

constexpr double Pi = 3.141592653589793;
const CUnitVector3d ZAxis(0, 0, 1);

// Rotation matrix by Rodrigues' formula, built independently of the class.
void AxisAngleMatrix(const CUnitVector3d& u, double a, double* m) {
    const double c = std::cos(a), s = std::sin(a), k = 1.0 - c;
    const double r[9] = {c + u.x * u.x * k,       u.x * u.y * k - u.z * s, u.x * u.z * k + u.y * s,
                         u.y * u.x * k + u.z * s, c + u.y * u.y * k,       u.y * u.z * k - u.x * s,
                         u.z * u.x * k - u.y * s, u.z * u.y * k + u.x * s, c + u.z * u.z * k};
    for (int i = 0; i < 9; ++i) m[i] = r[i];
}

void ExpectQuat(const Quaternion& q, const Quaternion& e, double tol = 1e-15) {
    EXPECT_NEAR(q.x, e.x, tol);
    EXPECT_NEAR(q.y, e.y, tol);
    EXPECT_NEAR(q.z, e.z, tol);
    EXPECT_NEAR(q.w, e.w, tol);
}
Quaternion Neg(const Quaternion& q) { return {-q.x, -q.y, -q.z, -q.w}; }

}  // namespace

TEST(Quaternion, AxisAngleAndMatrixOutput) {
    const double h = std::sqrt(0.5);
    const Quaternion q(Pi / 2, ZAxis);
    ExpectQuat(q, {0, 0, h, h});
    double m[9];
    q.Set(m);
    const double rows[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(m[i], rows[i], 1e-15) << i;
    // The whole quaternion is normalised, so an axis that is not unit length
    // shifts weight between the vector and scalar parts: (0, 0, 1, cos 30deg) / n.
    const double n = std::sqrt(1.75);
    ExpectQuat(Quaternion(Pi / 3, CUnitVector3d::FromComponents(0, 0, 2)), {0, 0, 1 / n, std::sqrt(0.75) / n});
    // Set takes the quaternion as it stands: (1, 0, 0, 1) is not normalised first.
    Quaternion(1, 0, 0, 1).Set(m);
    const double raw[9] = {1, 0, 0, 0, -1, -2, 0, 2, -1};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(m[i], raw[i]) << i;
}

TEST(Quaternion, FromMatrixTakesEachBranchWithStrictTies) {
    const double h = std::sqrt(0.5);
    // Half turns about diagonal axes tie two diagonal elements; the later one
    // wins, and its component is the one made positive.
    const double tieXY[9] = {0, -1, 0, -1, 0, 0, 0, 0, -1};  // about (1, -1, 0)
    const double tieYZ[9] = {-1, 0, 0, 0, 0, -1, 0, -1, 0};  // about (0, 1, -1)
    const double tieXZ[9] = {0, 0, -1, 0, -1, 0, -1, 0, 0};  // about (1, 0, -1)
    ExpectQuat(Quaternion(tieXY), {-h, h, 0, 0});
    ExpectQuat(Quaternion(tieYZ), {0, -h, h, 0});
    ExpectQuat(Quaternion(tieXZ), {-h, 0, h, 0});
    // A trace of exactly 1e-9 is not above the threshold: the y branch gives
    // y > 0 and w < 0, where the trace branch would make w positive.
    const double atThreshold[9] = {-1, 0, -0.5, 0, 1e-9, 0, 0.5, 0, 0};
    const Quaternion t(atThreshold);
    EXPECT_GT(t.y, 0.0);
    EXPECT_LT(t.w, 0.0);
}

TEST(Quaternion, MatrixRoundTripKeepsRandomRotations) {
    plenar_test::SplitMix64 rng(20240611);
    plenar_test::UniformReal unit(-1.0, 1.0);
    int nonTrace = 0;
    for (int i = 0; i < 2000; ++i) {
        const CUnitVector3d u(unit(rng), unit(rng), unit(rng));
        // Every other angle lies within 1e-6 of a half turn: the diagonal branches.
        const double a = (i % 2 == 0) ? Pi * unit(rng) : Pi + 1e-6 * unit(rng);
        double m[9], back[9];
        AxisAngleMatrix(u, a, m);
        if (((1.0 + m[0]) + m[4]) + m[8] <= 1e-9) ++nonTrace;
        const Quaternion q(m), e(a, u);  // equal up to sign
        ExpectQuat(q, ((q.x * e.x + q.y * e.y) + q.z * e.z) + q.w * e.w >= 0 ? e : Neg(e), 1e-9);
        q.Set(back);
        for (int k = 0; k < 9; ++k) ASSERT_NEAR(back[k], m[k], 1e-12) << "rotation " << i << " element " << k;
    }
    EXPECT_GT(nonTrace, 500);
}

TEST(Quaternion, SlerpTakesShorterArcAndDoesNotRenormalise) {
    const Quaternion id, quarter(Pi / 2, ZAxis), eighth(Pi / 4, ZAxis);
    ExpectQuat(Quaternion::Slerp(id, quarter, 0.5), eighth);
    ExpectQuat(Quaternion::Slerp(id, quarter, 1.0), quarter);
    // -quarter is the same rotation: a is turned round instead of going the long
    // way (through a 225 degree rotation).
    ExpectQuat(Quaternion::Slerp(id, Neg(quarter), 0.5), Neg(eighth));
    // At a cosine of exactly 0 a is not turned round (strict): half way to the half
    // turn about z is the quarter turn, not its inverse.
    ExpectQuat(Quaternion::Slerp(id, Quaternion(0, 0, 1, 0), 0.5), quarter);
    // Slerp(q, -q, t) is -q for every t, through the linear blend.
    const Quaternion q(1.0, CUnitVector3d(1, 2, 3));
    for (double t : {0.0, 0.3, 1.0, 2.5}) ExpectQuat(Quaternion::Slerp(q, Neg(q), t), Neg(q));
    // Nearly equal rotations blend linearly, bit for bit.
    const Quaternion tiny(1e-4, ZAxis), lin = Quaternion::Slerp(id, tiny, 0.25);
    EXPECT_EQ(lin.z, 0.25 * tiny.z);
    EXPECT_EQ(lin.w, 0.75 * 1.0 + 0.25 * tiny.w);
    // No renormalisation of the result.
    EXPECT_EQ(Quaternion::Slerp(Quaternion(0, 0, 0, 2), Quaternion(0, 0, 0, 2), 0.5), Quaternion(0, 0, 0, 2));
}

TEST(Quaternion, AxisAndAngleWithoutGuard) {
    CVector3d axis;
    double angle = 0.0;
    Quaternion(2 * Pi / 3, CUnitVector3d(1, 1, 1)).GetAxisAndAngle(axis, angle);
    EXPECT_NEAR(angle, 2 * Pi / 3, 1e-14);
    EXPECT_NEAR(axis.x, 1 / std::sqrt(3.0), 1e-14);
    EXPECT_NEAR(axis.z, 1 / std::sqrt(3.0), 1e-14);
    // The identity has no axis: the division by sin 0 is left to the caller.
    Quaternion().GetAxisAndAngle(axis, angle);
    EXPECT_FALSE(axis.IsValidObj());
}
