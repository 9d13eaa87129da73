// Applying transformations to planes, rays and boxes.
#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>
#include <geometry/transformation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/random.h"
#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using P = CPoint3d;

namespace {

// A general (non-orthogonal) placement built from its fields.
CTransformation Affine(const double (&m)[9], const double (&t)[3], double s) {
    CTransformation x;
    std::copy(m, m + 9, x.matrix);
    std::copy(t, t + 3, x.translation);
    x.scale = s;
    x.isIdentity = x.isOrthogonal = false;
    return x;
}
CTransformation Scaling(double s, const double (&t)[3] = {0, 0, 0}) {
    return Affine({1, 0, 0, 0, 1, 0, 0, 0, 1}, t, s);
}

CTransformation RandomAffine(plenar_test::SplitMix64& rng) {
    const plenar_test::UniformReal u(-1, 1);
    for (;;) {
        double m[9];
        for (double& v : m) v = u(rng);
        for (int i = 0; i < 3; ++i) m[4 * i] += 1.5 * (u(rng) < 0 ? -1 : 1);  // keep it well conditioned
        const CTransformation x =
            Affine(m, {10 * u(rng), 10 * u(rng), 10 * u(rng)}, (u(rng) < 0 ? -1 : 1) * (0.25 + 2 * (u(rng) + 1)));
        if (std::fabs(x.GetDeterminant()) > 0.1) return x;
    }
}

CBoundingBox3d Box(double x0, double x1, double y0, double y1, double z0, double z1) {
    return CBoundingBox3d(P(x0, y0, z0), P(x1, y1, z1));
}

// Ranges of a box as {x.min, x.max, y.min, ...}.
std::vector<double> Ranges(const CBoundingBox3d& b) { return {b.x.min, b.x.max, b.y.min, b.y.max, b.z.min, b.z.max}; }

}  // namespace

TEST(TransformApply, PlaneMovesWithItsPoints) {
    plenar_test::SplitMix64 rng(1234);
    const plenar_test::UniformReal u(-1, 1);
    for (int i = 0; i < 500; ++i) {
        const CTransformation x = RandomAffine(rng);
        const CPlane pl(u(rng), u(rng), u(rng), 5 * u(rng));
        const CPlane moved = x * pl;
        EXPECT_NEAR(moved.a * moved.a + moved.b * moved.b + moved.c * moved.c, 1.0, 1e-12);
        P on = pl.Project(P(5 * u(rng), 5 * u(rng), 5 * u(rng)));
        x.Transform(on);
        ASSERT_NEAR(moved.SignedDistance(on), 0.0, 1e-9) << i;
        // A point above stays on the side its signed distance times the scale gives.
        P above(pl.GetPoint(), 2.0, pl.Normal());
        const double before = pl.SignedDistance(above);
        x.Transform(above);
        EXPECT_GT(moved.SignedDistance(above) * before * x.scale, 0.0);
    }
    // The array form is not renormalised: x = 1 under a stretch of x by 2 keeps a
    // normal of length 1/2.
    const CTransformation stretch = Affine({2, 0, 0, 0, 1, 0, 0, 0, 1}, {3, 0, 0}, 1.0);
    double eq[4] = {1, 0, 0, -1};
    stretch.Transform(eq);
    EXPECT_NEAR(eq[0], 0.5, 1e-15);

    CPlane raw;  // the identity leaves even an unnormalised plane as it is
    raw.c = 2.0;
    raw.d = 3.0;
    CTransformation().Transform(raw);
    EXPECT_EQ(raw.c, 2.0);
    // A normal whose squared length is exactly DivideByZeroTolSq (1e-20) counts as
    // collapsed and stays unnormalised: pins the strict boundary.
    CPlane faint;
    faint.a = plenar_test::kAtDivideGuardX;
    faint.b = plenar_test::kAtDivideGuardY;
    faint.c = 0;
    Scaling(1.0, {1, 0, 0}).Transform(faint);
    EXPECT_EQ(faint.a, plenar_test::kAtDivideGuardX);
}

TEST(TransformApply, RayReportsTheStretchOfItsDirection) {
    CRay3d s(P(0, 0, 0), CUnitVector3d(0, 0.6, 0.8));
    EXPECT_DOUBLE_EQ(Affine({1, 0, 0, 0, 2, 0, 0, 0, 3}, {5, 0, 0}, 1.0).Transform(s),
                     std::sqrt(1.2 * 1.2 + 2.4 * 2.4));

    // operator* works on a copy; operator*= transforms the direction as a vector,
    // which agrees with the two-point form up to rounding.
    plenar_test::SplitMix64 rng(77);
    const plenar_test::UniformReal u(-1, 1);
    for (int i = 0; i < 200; ++i) {
        const CTransformation x = RandomAffine(rng);
        const CRay3d ray(P(u(rng), u(rng), u(rng)), CUnitVector3d(u(rng), u(rng), u(rng)));
        const CRay3d copy = x * ray;
        CRay3d inPlace = ray;
        inPlace *= x;
        EXPECT_EQ(copy.origin.x, inPlace.origin.x);
        EXPECT_NEAR(Dot(copy.direction, inPlace.direction), 1.0, 1e-12);
        P p(ray.origin, 3 * u(rng), ray.direction);  // points of the ray map onto the transformed ray
        x.Transform(p);
        EXPECT_NEAR(p.DistanceTo(copy), 0.0, 1e-9);
    }
}

TEST(TransformApply, BoxStaysOrderedUnderMirrorAndNegativeScale) {
    const double c = std::cos(0.7853981633974483), s = std::sin(0.7853981633974483);
    CTransformation turn = Affine({c, -s, 0, s, c, 0, 0, 0, 1}, {0, 0, 0}, 1.0);
    turn.isOrthogonal = true;

    const CBoundingBox3d b = Box(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(Ranges(Scaling(-1.0) * b), (std::vector<double>{-2, -1, -4, -3, -6, -5}));
    CBoundingBox3d empty;
    empty.Clear();
    EXPECT_EQ(Ranges(turn * empty), Ranges(empty));
    EXPECT_EQ(Ranges(Scaling(2.0) * Box(1, 1, 3, 4, 5, 6))[0], 2.0);  // x.min == x.max is not empty: strict
    // Terms that tie (+0 and -0) go e2 to lo and e1 to hi, which decides the sign of
    // a zero corner: here lo = -0 + +0 = +0.
    EXPECT_FALSE(std::signbit((Scaling(1.0, {-0.0, 0, 0}) * Box(-0.0, 0.0, -2, -1, -2, -1)).x.min));

    // The result is the tight box of the eight transformed corners.
    plenar_test::SplitMix64 rng(99);
    const plenar_test::UniformReal u(-1, 1);
    for (int i = 0; i < 300; ++i) {
        const CTransformation x = RandomAffine(rng);
        const double x0 = 5 * u(rng), y0 = 5 * u(rng), z0 = 5 * u(rng);
        const CBoundingBox3d box = Box(x0, x0 + 2 * (u(rng) + 1), y0, y0 + 1, z0, z0 + 3 * (u(rng) + 1));
        CBoundingBox3d corners;
        corners.Clear();
        for (int k = 0; k < 8; ++k) {
            P p = box.GetCorner(k);
            x.Transform(p);
            corners.Add(p);
        }
        const std::vector<double> out = Ranges(x * box), ref = Ranges(corners);
        for (int k = 0; k < 6; ++k) EXPECT_NEAR(out[k], ref[k], 1e-9) << i << " " << k;
    }
}
