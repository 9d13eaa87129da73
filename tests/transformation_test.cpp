#include <geometry/transformation.h>

#include "support/predicates.h"
#include "support/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>

#include "support/tolerance_guard.h"

using namespace plenar_test;
using velmor::geometry::CPoint3d;
using velmor::geometry::CTransformation;
using velmor::geometry::CUnitVector3d;
using velmor::geometry::CVector3d;

namespace {

using T = CTransformation;
constexpr double Pi = 3.141592653589793;
const CPoint3d O(0, 0, 0);
const CUnitVector3d ZAxis(0, 0, 1);
const double Tol10 = std::ldexp(1.0, -10);  // a tolerance exact in binary

CPoint3d P(const CVector3d& v) { return {v.x, v.y, v.z}; }
CPoint3d Col(const T& t, int j) { return {t.matrix[j], t.matrix[3 + j], t.matrix[6 + j]}; }

// The k-th of the thirteen stored numbers: matrix, translation, scale.
double& Number(T& t, int k) { return k < 9 ? t.matrix[k] : k < 12 ? t.translation[k - 9] : t.scale; }
void ExpectSameNumbers(T a, T b) {
    for (int k = 0; k < 13; ++k) EXPECT_EQ(Number(a, k), Number(b, k)) << k;
}

T Flagged(bool identity, bool orthogonal, std::initializer_list<double> rows = {1, 0, 0, 0, 1, 0, 0, 0, 1}) {
    T t;
    int i = 0;
    for (double v : rows) t.matrix[i++] = v;
    t.isIdentity = identity;
    t.isOrthogonal = orthogonal;
    return t;
}
T Rows(std::initializer_list<double> rows) { return Flagged(false, false, rows); }
template <class Op>
T After(bool identity, bool orthogonal, Op op) {
    T t = Flagged(identity, orthogonal);
    op(t);
    return t;
}

// A random placement with a uniform scale of either sign; general ones add a
// non-uniform scale and a second rotation, so that the 3x3 part is no rotation.
T RandomPlacement(plenar_test::SplitMix64& rng, bool general) {
    plenar_test::UniformReal u(-1.0, 1.0);
    T t = T::Translate(CVector3d(10 * u(rng), 10 * u(rng), 10 * u(rng))) *
          T::Rotate(CPoint3d(u(rng), u(rng), u(rng)), CUnitVector3d(u(rng), u(rng), u(rng)), 4 * u(rng)) *
          T::Scale((u(rng) < 0 ? -1 : 1) * (0.25 + 2 * std::fabs(u(rng))));
    if (!general) return t;
    return t * T::Scale(0.5 + std::fabs(u(rng)), 0.5 + std::fabs(u(rng)), -0.5 - std::fabs(u(rng))) *
           T::Rotate(O, CUnitVector3d(u(rng), u(rng), u(rng)), 4 * u(rng));
}

}  // namespace

TEST(CTransformation, EveryConstructorSetterAndFactoryWritesItsFlags) {
    // Setters start from the opposite flags, so that a flag left unwritten shows.
    const double m16[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const float m16f[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const double rot[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1}, shear[9] = {1, 0.5, 0, 0, 1, 0, 0, 0, 1};
    const double id9[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1}, t3[3] = {1, 2, 3}, zero3[3] = {0, 0, 0};
    const T rz = T::Rotate(O, ZAxis, 1.0), s3 = T::Scale(1, 2, 3);
    const struct {
        const char* name;
        T t;
        bool identity, orthogonal;
    } cases[] = {
        {"default", T(), true, true},
        {"Identity", After(false, false, [](T& t) { t.Identity(); }), true, true},
        {"axes", T(CUnitVector3d(1, 0, 0), CUnitVector3d(0, 1, 0), ZAxis, O), false, true},
        {"origin+z", T(O, ZAxis), false, true},
        {"SetMatrix", After(true, true, [&](T& t) { t.SetMatrix(m16); }), false, false},
        {"SetMatrixf", After(true, true, [&](T& t) { t.SetMatrixf(m16f); }), false, false},
        {"SetTransformation id", After(false, false, [&](T& t) { t.SetTransformation(id9, zero3, 1); }), true, true},
        {"SetTransformation rot", After(true, false, [&](T& t) { t.SetTransformation(rot, t3, 2); }), false, true},
        {"SetTransformation shear", After(true, true, [&](T& t) { t.SetTransformation(shear, t3, 1); }), false, false},
        {"Translation(v)", After(true, false, [](T& t) { t.Translation(CVector3d(1, 2, 3)); }), false, true},
        {"Translation(p)", After(true, false, [](T& t) { t.Translation(CPoint3d(1, 2, 3)); }), false, true},
        {"Rotation", After(true, false, [](T& t) { t.Rotation(O, ZAxis, 1.0); }), false, true},
        {"Scaling(s)", After(true, false, [](T& t) { t.Scaling(2.0); }), false, true},
        {"Scaling(sx,sy,sz)", After(true, true, [](T& t) { t.Scaling(1, 2, 3); }), false, false},
        {"ClearRotation", After(true, false, [](T& t) { t.ClearRotation(); }), true, false},
        {"ClearTranslation", After(true, false, [](T& t) { t.ClearTranslation(); }), true, false},
        {"ClearScaling", After(true, false, [](T& t) { t.ClearScaling(); }), true, false},
        {"rot * scale3", rz * s3, false, false},
        {"scale3 * rot", s3 * rz, false, false},
        {"identity * scale3", T() * s3, false, false},
        {"rot * identity", rz * T(), false, true},
        {"Interpolate mid", T::Interpolate(T(), s3, 0.5), false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.t.isIdentity, c.identity) << c.name;
        EXPECT_EQ(c.t.isOrthogonal, c.orthogonal) << c.name;
    }
}

TEST(CTransformation, ConstructionPlacesAxesAsColumns) {
    // Axes become columns and the origin the translation.
    const T f(CUnitVector3d(0, 1, 0), CUnitVector3d(-1, 0, 0), CUnitVector3d::FromComponents(0, 0, 2),
              CPoint3d(1, 2, 3));
    EXPECT_TRUE(NearXyz(f * CPoint3d(1, 0, 0), CPoint3d(1, 3, 3), 1e-12));

    // The axis line through p stays fixed; scaling about a point.
    const T about = T::Rotate(CPoint3d(1, 0, 0), ZAxis, Pi / 2);
    EXPECT_TRUE(NearXyz(about * CPoint3d(1, 0, 5), CPoint3d(1, 0, 5), 1e-12));
    EXPECT_TRUE(NearXyz(T::Scale(CPoint3d(1, 1, 1), 2, 3, 4) * CPoint3d(2, 2, 2), CPoint3d(3, 4, 5), 1e-12));

    // An identity-flagged object is trusted to hold the unit matrix and scale:
    // Translation(p) and Scaling skip their reset.
    T t = Flagged(true, true, {5, 0, 0, 0, 1, 0, 0, 0, 1});
    t.Translation(CPoint3d(1, 2, 3));
    EXPECT_EQ(t.matrix[0], 5.0);
    t.isIdentity = true;
    t.Scaling(3.0);
    EXPECT_EQ(t.translation[0], 1.0);
    t.Scaling(3.0);  // no longer identity-flagged: reset
    EXPECT_EQ(t.translation[0], 0.0);
}

TEST(CTransformation, MatrixExchangeIsColumnMajorAndRoundTrips) {
    const double m[16] = {1, 2, 3, 7, 4, 5, 6, 11, 7.5, 8, 9, 13, 10, 11, 12, 3};
    T t(m);
    EXPECT_TRUE(NearXyz(Col(t, 2), CPoint3d(7.5, 8, 9), 0));
    double back[16];
    t.GetMatrix(back);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(back[i], (i == 3 || i == 7 || i == 11) ? 0.0 : i == 15 ? 1.0 / (1.0 / m[15]) : m[i]) << i;
    }
    float mf[16], backf[16];
    for (int i = 0; i < 16; ++i) mf[i] = static_cast<float>(i == 15 ? 4.0 : m[i]);
    T f;
    f.SetMatrixf(mf);
    f.GetMatrixf(backf);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(backf[i], (i == 3 || i == 7 || i == 11) ? 0.0f : mf[i]) << i;
}

TEST(CTransformation, SetTransformationRederivesFlagsFromNumbers) {
    const double nearId[9] = {1, 0.0005, 0, 0, 1, 0, 0, 0, 1}, small[3] = {0.0005, 0, 0};
    T t = Flagged(false, false);
    t.SetTransformation(nearId, small, 1.0005);
    ExpectSameNumbers(t, T());  // snapped to the exact identity

    // A nearly orthogonal rotation is straightened; a stretch is kept as is.
    const double c = std::cos(0.5), s = std::sin(0.5), t3[3] = {1, 2, 3};
    const double nearRot[9] = {c, -s + 2e-4, 0, s, c, 0, 0, 0, 1}, stretch[9] = {1, 0, 0, 0, 2, 0, 0, 0, 1};
    t.SetTransformation(nearRot, t3, 2.0);
    EXPECT_NEAR(Dot(CVector3d(t.X()), CVector3d(t.matrix[1], t.matrix[4], t.matrix[7])), 0.0, 1e-15);
    EXPECT_FALSE(t.SetTransformation(stretch, t3, 1.0));
    EXPECT_EQ(t.matrix[4], 2.0);
}

TEST(CTransformation, CompositionAppliesRightOperandFirstAndInverseUndoes) {
    plenar_test::SplitMix64 rng(7);
    plenar_test::UniformReal u(-5.0, 5.0);
    for (int i = 0; i < 500; ++i) {
        const T x = RandomPlacement(rng, i % 2 == 0), y = RandomPlacement(rng, i % 3 == 0), inv = T::Inverse(x);
        const CPoint3d p(u(rng), u(rng), u(rng));
        const CVector3d v(u(rng), u(rng), u(rng));
        ASSERT_TRUE(((x * y) * p).Equals(x * (y * p), 1e-9)) << i;
        ASSERT_TRUE(P((x * y) * v).Equals(P(x * (y * v)), 1e-9)) << i;
        ASSERT_TRUE((inv * (x * p)).Equals(p, 1e-9)) << i;
        ASSERT_TRUE((x * inv).IsReallyIdentity()) << i;
        ASSERT_TRUE((inv * x).IsReallyIdentity()) << i;
    }
    // Only the left operand's identity flag short-cuts: on the right a flagged
    // translation is multiplied out; on the left the result is b exactly.
    T move = T::Translate(CVector3d(5, 0, 0));
    move.isIdentity = true;
    const T r = T::Scale(2) * move;
    EXPECT_EQ(r.translation[0], 5.0);
    const T s = T::Scale(2, 3, 4) * T::Translate(CVector3d(0, 1, 0)), l = move * s;
    ExpectSameNumbers(l, s);
}

TEST(CTransformation, InvertHonoursScaleAndFixedThreshold) {
    // |scale| < 1e-15, a singular 3x3 part (|det| < 1e-15) or the identity flag: a silent no-op.
    const T tiny = T::Scale(1e-16) * T::Translate(CVector3d(1, 2, 3));
    ExpectSameNumbers(T::Inverse(tiny), tiny);
    EXPECT_EQ(T::Inverse(T::Scale(1e-15)).scale, 1.0 / 1e-15);
    T flat = T::Scale(5e-16, 1, 1) * T::Translate(CVector3d(1, 0, 0));
    const T flatCopy = flat;
    flat.Invert();
    ExpectSameNumbers(flat, flatCopy);
    T flagged = T::Translate(CVector3d(1, 0, 0));
    flagged.isIdentity = true;
    flagged.Invert();
    EXPECT_EQ(flagged.translation[0], 1.0);

    // Without the orthogonal flag the adjugate is used; with it a transpose is
    // trusted whatever the numbers.
    T thin = T::Scale(1e-15, 1, 1);
    thin.Invert3x3();
    EXPECT_TRUE(thin.matrix[0] == 1.0 / 1e-15);
    T shear = Flagged(false, true, {1, 2, 0, 0, 1, 0, 0, 0, 1});
    shear.Invert3x3();
    EXPECT_EQ(shear.matrix[3], 2.0);
}

TEST(CTransformation, InterpolateBlendsAndReturnsNearbyEnds) {
    const T a = T::Translate(CVector3d(2, 0, 0));
    const T b = T::Translate(CVector3d(0, 4, 0)) * T::Rotate(O, ZAxis, Pi / 2) * T::Scale(3);
    const T quarter = T::Interpolate(a, b, 0.25);  // a quarter of the way from a
    EXPECT_TRUE(NearXyz(Col(quarter, 0), T::Rotate(O, ZAxis, Pi / 8) * CPoint3d(1, 0, 0), 1e-12));
    EXPECT_EQ(quarter.translation[0], 0.25 * b.translation[0] + 0.75 * a.translation[0]);
    // Strictly within EqualTol of an end, that end is returned as is.
    ExpectSameNumbers(T::Interpolate(a, b, 0.0009), a);
    ExpectSameNumbers(T::Interpolate(a, b, 0.9995), b);
    plenar_test::ToleranceGuard guard(Tol10);  // exactly EqualTol from an end interpolates
    EXPECT_NE(T::Interpolate(a, b, Tol10).translation[0], a.translation[0]);
    EXPECT_NE(T::Interpolate(a, b, 1.0 - Tol10).matrix[0], b.matrix[0]);
}

TEST(CTransformation, EqualityAndIdentityAreStrictOnEveryNumber) {
    plenar_test::ToleranceGuard guard(Tol10);
    T base = Rows({0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4, 4.5});
    base.scale = 4;
    for (int k = 0; k < 13; ++k) {
        T t = base, id = Flagged(false, true);
        Number(t, k) += Tol10;
        Number(id, k) += Tol10;
        EXPECT_NE(t, base) << k;
        EXPECT_TRUE(!id.IsReallyIdentity()) << k;
        Number(t, k) -= 1.5 * Tol10;
        Number(id, k) -= Tol10 / 2;
        EXPECT_EQ(t, base) << k;
        EXPECT_TRUE(id.IsReallyIdentity()) << k;
    }
}

TEST(CTransformation, ApplicationToPointsVectorsAndDirections) {
    T t = T::Translate(CVector3d(1, 2, 3)) * T::Rotate(O, ZAxis, Pi / 2);
    t.scale = 2;
    EXPECT_TRUE(NearXyz(P(t * CVector3d(1, 0, 0)), CPoint3d(0, 2, 0), 1e-12));  // no translation, scale applies
    // Identity-flagged: points and vectors are left alone, a direction is still renormalised.
    t.isIdentity = true;
    EXPECT_TRUE(NearXyz(t * CPoint3d(1, 2, 3), CPoint3d(1, 2, 3), 0));
    EXPECT_TRUE(NearXyz(P(t * CVector3d(1, 2, 3)), CPoint3d(1, 2, 3), 0));
    CUnitVector3d raw = CUnitVector3d::FromComponents(0, 0, 2);
    t.Transform(raw);
    EXPECT_EQ(raw.z, 1.0);
}

TEST(CTransformation, AxisOriginScaleAndDeterminantQueries) {
    T t = T::Translate(CVector3d(1, 2, 3)) * T::Rotate(O, ZAxis, Pi / 2) * T::Scale(3);
    EXPECT_TRUE(NearXyz(P(t.Y()), CPoint3d(-1, 0, 0), 1e-12));  // the scale does not enter
    EXPECT_TRUE(NearXyz(t.T(), CPoint3d(1, 2, 3), 1e-12));
    EXPECT_EQ(t.Scale(), 3.0);
    EXPECT_TRUE(NearXyz(P(T::Scale(2, 5, 7).XYZScale()), CPoint3d(2, 5, 7), 0));
    t.isIdentity = true;
    EXPECT_TRUE(NearXyz(t.T(), CPoint3d(0, 0, 0), 0));

    // |det| >= 1e-15 is invertible (inclusive), and the uniform scale must be too.
    EXPECT_TRUE(T::Scale(5e-16, 1, 1).IsSingular());
    EXPECT_TRUE(!T::Scale(1e-15, 1, 1).IsSingular());
    EXPECT_TRUE(T::Scale(1e-15, 1, 1).IsInvertible());
    EXPECT_FALSE(T::Scale(5e-16, 1, 1).IsInvertible());
    EXPECT_FALSE(T::Scale(1e-16).IsInvertible());
    EXPECT_TRUE(T::Scale(1e-15).IsInvertible());
    const T zero = Flagged(false, true, {0, 0, 0, 0, 0, 0, 0, 0, 0});  // the flag is trusted
    EXPECT_TRUE(!zero.IsSingular());
    EXPECT_TRUE(zero.IsInvertible());
    T id;
    id.scale = 0;
    EXPECT_TRUE(id.IsInvertible());  // the identity flag comes first
}

TEST(CTransformation, ZRotationIsCounterClockwiseInZeroToTwoPi) {
    for (int k = -12; k < 12; ++k) {
        const double a = k * Pi / 6 + 0.1;
        const double z = (T::Translate(CVector3d(5, -3, 2)) * T::Rotate(O, ZAxis, a) * T::Scale(2)).ZRotation();
        EXPECT_NEAR(z, a < 0 ? a + 2 * Pi : a, 1e-12) << k;
    }
    // Measured about the transformation's own, tilted Z axis.
    EXPECT_NEAR((T::Rotate(O, CUnitVector3d(1, 0, 0), 0.3) * T::Rotate(O, ZAxis, 1.0)).ZRotation(), 1.0, 1e-12);
}

TEST(CTransformation, OrthogonalityMirroringAndValidity) {
    // The identity flag vouches for a row too long (squared 1.0014).
    EXPECT_TRUE(Flagged(true, false, {1, 0, 0, 0, 1.0007, 0, 0, 0, 1}).IsOrthogonal());
    EXPECT_TRUE((T::Rotate(O, CUnitVector3d(1, 2, 3), 1) * T::Scale(5)).IsOrthogonal());
    {
        ToleranceGuard guard(0x1.02p-5);  // (1 + 2^-6)^2 - 1 exactly: pins the strict boundary
        EXPECT_FALSE(Rows({1, 0, 0, 0, 1 + 0x1p-6, 0, 0, 0, 1}).IsOrthogonal());
    }
    {
        // Each pair of rows (0-1, 0-2, 1-2) against the linear tolerance, strict; the
        // load-time EqualTolSq (1e-6) lies below these dots.
        ToleranceGuard guard(Tol10);
        for (int k = 0; k < 3; ++k) {
            T t = Rows({1, 0, 0, 0, 1, 0, 0, 0, 1});
            t.matrix[k == 2 ? 5 : k + 1] = Tol10;  // entry (0,1), (0,2) or (1,2)
            EXPECT_FALSE(t.IsOrthogonal()) << k;
            t.matrix[k == 2 ? 5 : k + 1] = Tol10 / 2;
            EXPECT_TRUE(t.IsOrthogonal()) << k;
        }
    }
    {
        // A column (1, 2^-27) has a squared length that rounds to 1, so it stays as
        // it is when normalised: each pair of columns (X-Y, X-Z, Y-Z) dots to exactly
        // EqualTol, which is not orthonormal (strict); EqualTolSq (1e-6) lies above.
        ToleranceGuard guard(0x1p-27);
        for (int k = 0; k < 3; ++k) {
            T t = Rows({1, 0, 0, 0, 1, 0, 0, 0, 1});
            t.matrix[k == 2 ? 7 : 3 * (k + 1)] = 0x1p-27;  // entry (1,0), (2,0) or (2,1)
            EXPECT_FALSE(t.IsOrthonormal()) << k;
        }
    }
    EXPECT_FALSE(Rows({1, 1, 0, 0, 0, 0, 0, 0, 1}).IsMirrored());  // a flat frame (X = Y): strict
    for (int k = 0; k < 13; ++k) {
        T t = T::Scale(1e30);
        EXPECT_TRUE(t.IsValidObj());
        Number(t, k) = (k % 2) ? NAN : -INFINITY;
        EXPECT_FALSE(t.IsValidObj()) << k;
    }
}

TEST(CTransformation, FixOrthogonalKeepsZAndHandedness) {
    T t = Rows({1, 0, 0, 0.01, 1, 0, 0, 0, 1});  // X column (1, 0.01, 0)
    t.FixOrthogonal();
    const double n = std::sqrt(1.0001);
    EXPECT_TRUE(NearXyz(Col(t, 0), CPoint3d(1 / n, 0.01 / n, 0), 1e-15));
    T m = Rows({-1, 0, 0, 0.01, 1, 0, 0, 0, 1});
    m.FixOrthogonal();
    EXPECT_TRUE(NearXyz(Col(m, 0), CPoint3d(-1, 0, 0), 1e-15));  // still mirrored
    EXPECT_TRUE(NearXyz(Col(m, 1), CPoint3d(0, 1, 0), 1e-15));

    // CheckOrthogonal straightens only what is flagged orthogonal and not identity.
    for (const bool id : {false, true}) {
        for (const bool orth : {false, true}) {
            T c = Flagged(id, orth, {1, 0, 0, 0.0005, 1, 0, 0, 0, 1});
            c.CheckOrthogonal();
            EXPECT_EQ(c.matrix[3] == 0.0, orth && !id) << id << orth;
        }
    }
    T q = T::Rotate(O, ZAxis, 1);
    q.isOrthogonal = false;
    EXPECT_TRUE(q.ResynchOrthogonal());
    EXPECT_TRUE(q.isOrthogonal);
}
