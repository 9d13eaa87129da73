// Applying transformations to planes, rays and boxes.
#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>
#include <geometry/transformation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace velmor::geometry;

namespace {

// A general (non-orthogonal) placement built from its fields.
CTransformation Affine(const double (&m)[9], const double (&t)[3], double s) {
    CTransformation x;
    std::copy(m, m + 9, x.matrix);
    std::copy(t, t + 3, x.translation);
    x.scale = s;
    x.isIdentity = false;
    x.isOrthogonal = false;
    return x;
}

CTransformation RandomAffine(std::mt19937& rng) {
    std::uniform_real_distribution<double> u(-1, 1);
    for (;;) {
        double m[9];
        for (double& v : m) v = u(rng);
        for (int i = 0; i < 3; ++i) m[4 * i] += 1.5 * (u(rng) < 0 ? -1 : 1);  // keep it well conditioned
        const double t[3] = {10 * u(rng), 10 * u(rng), 10 * u(rng)};
        const double s = (u(rng) < 0 ? -1 : 1) * (0.25 + 2 * (u(rng) + 1));
        CTransformation x = Affine(m, t, s);
        if (std::fabs(x.GetDeterminant()) > 0.1) return x;
    }
}

CBoundingBox3d Box(double x0, double x1, double y0, double y1, double z0, double z1) {
    return CBoundingBox3d(CPoint3d(x0, y0, z0), CPoint3d(x1, y1, z1));
}

void ExpectRange(const CRange& r, double lo, double hi, double eps) {
    EXPECT_NEAR(r.min, lo, eps);
    EXPECT_NEAR(r.max, hi, eps);
}

}  // namespace

TEST(TransformApply, PlaneMovesWithItsPoints) {
    std::mt19937 rng(1234);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 500; ++i) {
        const CTransformation x = RandomAffine(rng);
        const CPlane pl(u(rng), u(rng), u(rng), 5 * u(rng));
        const CPlane moved = x * pl;
        EXPECT_NEAR(moved.a * moved.a + moved.b * moved.b + moved.c * moved.c, 1.0, 1e-12);
        for (int k = 0; k < 3; ++k) {
            CPoint3d on = pl.Project(CPoint3d(5 * u(rng), 5 * u(rng), 5 * u(rng)));
            x.Transform(on);
            ASSERT_NEAR(moved.SignedDistance(on), 0.0, 1e-9) << i;
        }
        // A point above stays on the side its signed distance times the scale gives.
        CPoint3d above(pl.GetPoint(), 2.0, pl.Normal());
        const double before = pl.SignedDistance(above);
        x.Transform(above);
        EXPECT_GT(moved.SignedDistance(above) * before * x.scale, 0.0);
    }

    // The plane x = 1 under a stretch of x by 2 and a shift by 3 becomes x = 5.
    const CTransformation stretch = Affine({2, 0, 0, 0, 1, 0, 0, 0, 1}, {3, 0, 0}, 1.0);
    CPlane x1(1, 0, 0, -1);
    stretch.Transform(x1);
    EXPECT_DOUBLE_EQ(x1.a, 1.0);
    EXPECT_DOUBLE_EQ(x1.d, -5.0);
    // The array form is not renormalised: (1/2, 0, 0, -5/2), the same plane.
    double eq[4] = {1, 0, 0, -1};
    stretch.Transform(eq);
    EXPECT_DOUBLE_EQ(eq[0], 0.5);
    EXPECT_DOUBLE_EQ(eq[3], -2.5);
    // A uniform scale enters through d.
    const CTransformation twice = Affine({1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}, 2.0);
    double eq2[4] = {0, 0, 1, -1};
    twice.Transform(eq2);
    EXPECT_DOUBLE_EQ(eq2[2], 1.0);
    EXPECT_DOUBLE_EQ(eq2[3], -2.0);

    // The identity leaves even an unnormalised plane as it is.
    CPlane raw;
    raw.c = 2.0;
    raw.d = 3.0;
    CTransformation().Transform(raw);
    EXPECT_EQ(raw.c, 2.0);
    EXPECT_EQ(raw.d, 3.0);

    // A singular transformation cannot be inverted and transforms with itself; the
    // collapsed normal is stored unnormalised.
    const CTransformation flat = Affine({0, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}, 1.0);
    CPlane xPlane(1, 0, 0, -1);
    flat.Transform(xPlane);
    EXPECT_EQ(xPlane.a, 0.0);
    EXPECT_EQ(xPlane.b, 0.0);
    EXPECT_EQ(xPlane.c, 0.0);
    EXPECT_EQ(xPlane.d, -1.0);
}

TEST(TransformApply, RayReportsTheStretchOfItsDirection) {
    const CTransformation twice = Affine({1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}, 2.0);
    CRay3d r(CPoint3d(1, 2, 3), CUnitVector3d(0, 0.6, 0.8));
    EXPECT_DOUBLE_EQ(twice.Transform(r), 2.0);
    EXPECT_DOUBLE_EQ(r.origin.z, 6.0);
    EXPECT_NEAR(r.direction.y, 0.6, 1e-15);
    EXPECT_TRUE(r.IsValidObj());

    const CTransformation stretch = Affine({1, 0, 0, 0, 2, 0, 0, 0, 3}, {5, 0, 0}, 1.0);
    CRay3d s(CPoint3d(0, 0, 0), CUnitVector3d(0, 0.6, 0.8));
    EXPECT_DOUBLE_EQ(stretch.Transform(s), std::sqrt(1.2 * 1.2 + 2.4 * 2.4));
    EXPECT_EQ(s.origin.x, 5.0);

    CRay3d same(CPoint3d(1, 2, 3), CUnitVector3d(1, 0, 0));
    EXPECT_EQ(CTransformation().Transform(same), 1.0);
    EXPECT_EQ(same.origin.x, 1.0);

    // operator* works on a copy; operator*= transforms the direction as a vector,
    // which agrees with the two-point form up to rounding.
    std::mt19937 rng(77);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 200; ++i) {
        const CTransformation x = RandomAffine(rng);
        const CRay3d ray(CPoint3d(u(rng), u(rng), u(rng)), CUnitVector3d(u(rng), u(rng), u(rng)));
        const CRay3d copy = x * ray;
        CRay3d inPlace = ray;
        inPlace *= x;
        EXPECT_EQ(copy.origin.x, inPlace.origin.x);
        EXPECT_EQ(copy.origin.z, inPlace.origin.z);
        EXPECT_NEAR(Dot(copy.direction, inPlace.direction), 1.0, 1e-12);
        // Points of the ray map onto the transformed ray.
        CPoint3d p(ray.origin, 3 * u(rng), ray.direction);
        x.Transform(p);
        EXPECT_NEAR(p.DistanceTo(copy), 0.0, 1e-9);
    }
}

TEST(TransformApply, BoxStaysOrderedUnderMirrorAndNegativeScale) {
    const double c = std::cos(0.7853981633974483), s = std::sin(0.7853981633974483);
    CTransformation turn = Affine({c, -s, 0, s, c, 0, 0, 0, 1}, {0, 0, 0}, 1.0);
    turn.isOrthogonal = true;
    const CBoundingBox3d unit = Box(0, 1, 0, 1, 0, 1);
    const CBoundingBox3d turned = turn * unit;
    ExpectRange(turned.x, -s, c, 1e-15);
    ExpectRange(turned.y, 0, s + c, 1e-15);
    ExpectRange(turned.z, 0, 1, 0);
    EXPECT_EQ(unit.x.max, 1.0);  // operator* leaves its argument alone

    const CBoundingBox3d b = Box(1, 2, 3, 4, 5, 6);
    const CBoundingBox3d negated = Affine({1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}, -1.0) * b;
    ExpectRange(negated.x, -2, -1, 0);
    ExpectRange(negated.y, -4, -3, 0);
    ExpectRange(negated.z, -6, -5, 0);
    const CBoundingBox3d mirrored = Affine({-1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}, 1.0) * b;
    ExpectRange(mirrored.x, -2, -1, 0);
    ExpectRange(mirrored.y, 3, 4, 0);
    // Translation, then scale: (p + t) * s.
    const CBoundingBox3d moved = Affine({1, 0, 0, 0, 1, 0, 0, 0, 1}, {1, 0, 0}, -2.0) * b;
    ExpectRange(moved.x, -6, -4, 0);

    CBoundingBox3d empty;
    empty.Clear();
    const CBoundingBox3d stillEmpty = turn * empty;
    EXPECT_EQ(stillEmpty.x.min, 1e30);
    EXPECT_EQ(stillEmpty.z.max, -1e30);
    CBoundingBox3d same = b;
    CTransformation().Transform(same);
    EXPECT_EQ(same.y.min, 3.0);

    // The result is the tight box of the eight transformed corners.
    std::mt19937 rng(99);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 300; ++i) {
        const CTransformation x = RandomAffine(rng);
        const double x0 = 5 * u(rng), y0 = 5 * u(rng), z0 = 5 * u(rng);
        const CBoundingBox3d box = Box(x0, x0 + 2 * (u(rng) + 1), y0, y0 + 1, z0, z0 + 3 * (u(rng) + 1));
        const CBoundingBox3d out = x * box;
        CBoundingBox3d corners;
        corners.Clear();
        for (int k = 0; k < 8; ++k) {
            CPoint3d p = box.GetCorner(k);
            x.Transform(p);
            corners.Add(p);
        }
        ASSERT_LE(out.x.min, out.x.max);
        ASSERT_LE(out.y.min, out.y.max);
        ASSERT_LE(out.z.min, out.z.max);
        ExpectRange(out.x, corners.x.min, corners.x.max, 1e-9);
        ExpectRange(out.y, corners.y.min, corners.y.max, 1e-9);
        ExpectRange(out.z, corners.z.min, corners.z.max, 1e-9);
    }
}
