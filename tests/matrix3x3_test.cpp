#include <geometry/matrix3x3.h>
#include <geometry/tol.h>

#include <gtest/gtest.h>

#include <algorithm>

using velmor::geometry::CMatrix3x3;
using velmor::geometry::CMatrix4x4;
using velmor::geometry::CPoint4d;
using velmor::geometry::EqualTolSq;

namespace {

// Sets the squared tolerance to a power of two for one test, so that boundaries
// can be hit exactly, and restores the load-time value afterwards.
class ScopedEqualTolSq {
public:
    explicit ScopedEqualTolSq(double value) { EqualTolSq = value; }
    ~ScopedEqualTolSq() { EqualTolSq = saved_; }
    ScopedEqualTolSq(const ScopedEqualTolSq&) = delete;
    ScopedEqualTolSq& operator=(const ScopedEqualTolSq&) = delete;

private:
    double saved_ = EqualTolSq;
};

CMatrix3x3 Make(std::initializer_list<double> values) {
    CMatrix3x3 a;
    std::copy(values.begin(), values.end(), a.m);
    return a;
}

void ExpectExactly(const CMatrix3x3& a, std::initializer_list<double> expected) {
    for (int i = 0; i < 9; ++i) EXPECT_EQ(a.m[i], expected.begin()[i]) << "element " << i;
}

}  // namespace

TEST(CMatrix3x3, FactoriesActOnRowVectorsLeftFactorFirst) {
    double p[3] = {1.0, 0.0, 1.0};
    CMatrix3x3::Rotation(1.5707963267948966).Transform(p);  // pi/2
    EXPECT_NEAR(p[0], 0.0, 1e-15);
    EXPECT_NEAR(p[1], 1.0, 1e-15);

    double q[3] = {1.0, 1.0, 1.0};
    (CMatrix3x3::Translation(2.0, 3.0) * CMatrix3x3::Scaling(2.0, 2.0)).Transform(q);
    EXPECT_EQ(q[0], 6.0);
    EXPECT_EQ(q[1], 8.0);
    EXPECT_EQ(q[2], 1.0);

    CMatrix3x3::Shearing(2.0, 3.0).Transform(q);  // x + 2y, 3x + y
    EXPECT_EQ(q[0], 22.0);
    EXPECT_EQ(q[1], 26.0);
}

TEST(CMatrix3x3, ProductsNormaliseOnlyAffineResults) {
    const CMatrix3x3 id;
    ExpectExactly(Make({1, 0, 0, 0, 1, 0, 4, 0, 2}) * id, {0.5, 0, 0, 0, 0.5, 0, 2, 0, 1});
    ExpectExactly(Make({1, 0, 0.5, 0, 1, 0, 4, 0, 2}) * id, {1, 0, 0.5, 0, 1, 0, 4, 0, 2});

    // A projective term of exactly EqualTolSq is not zero (strict); half of it is.
    for (int k : {2, 5}) {
        CMatrix3x3 a = Make({1, 0, 0, 0, 1, 0, 0, 0, 2});
        a.m[k] = EqualTolSq;
        EXPECT_EQ((a * id).m[8], 2.0) << k;
        a.m[k] = EqualTolSq / 2;
        EXPECT_EQ((a * id).m[8], 1.0) << k;
    }
    // A vanishing m[8] is not affine either, so nothing is divided by it.
    EXPECT_TRUE(Make({1, 0, 0, 0, 1, 0, 0, 0, EqualTolSq / 2}).IsProjective());

    // Normalize multiplies by the reciprocal of m[8], which is not the same as dividing.
    CMatrix3x3 a = Make({5, 0, 0, 0, 1, 0, 0, 0, 3});
    EXPECT_TRUE(a.Normalize());
    ASSERT_NE(5.0 * (1.0 / 3.0), 5.0 / 3.0);
    EXPECT_EQ(a.m[0], 5.0 * (1.0 / 3.0));

    const ScopedEqualTolSq tol(0x1p-20);
    CMatrix3x3 near = Make({3, 0, 0, 0, 3, 0, 0, 0, 1 + 0x1p-20});
    EXPECT_TRUE(near.Normalize());  // |m8 - 1| == tol: inclusive, left as it is
    EXPECT_EQ(near.m[0], 3.0);
    CMatrix3x3 tiny = Make({3, 0, 0, 0, 3, 0, 0, 0, 0x1p-21});
    EXPECT_FALSE(tiny.Normalize());
    EXPECT_EQ(tiny.m[0], 3.0);
    CMatrix3x3 atTol = Make({3, 0, 0, 0, 3, 0, 0, 0, 0x1p-20});
    EXPECT_TRUE(atTol.Normalize());  // |m8| == tol is not below it
    EXPECT_EQ(atTol.m[0], 3 * 0x1p20);
}

TEST(CMatrix3x3, IsIdentityIsInclusiveOnTheDiagonalAndStrictOffIt) {
    for (int i = 0; i < 9; ++i) {
        const bool diagonal = i % 4 == 0;
        CMatrix3x3 a;
        a.m[i] += diagonal ? EqualTolSq / 2 : -EqualTolSq / 2;
        EXPECT_TRUE(a.IsIdentity()) << i;
        a.m[i] = diagonal ? 1.0 : EqualTolSq;
        EXPECT_EQ(a.IsIdentity(), diagonal) << i;
    }
    const ScopedEqualTolSq tol(0x1p-20);
    for (double d : {1 + 0x1p-20, 1 - 0x1p-20, 1 + 0x1p-19}) {
        CMatrix3x3 a;
        a.m[8] = d;
        EXPECT_EQ(a.IsIdentity(), d != 1 + 0x1p-19) << d;
    }
}

TEST(CMatrix3x3, InverseDividesByTheAdjointScalarNotTheDeterminant) {
    // det = -2, adjoint scalar = 4; the result is projective, so no normalisation
    // hides which one was used.
    CMatrix3x3 a = Make({1, 2, 1, 3, 4, 0, 0, 0, 1});
    a.Invert();
    ExpectExactly(a, {1, -0.5, -1, -0.75, 0.25, 0.75, 0, 0, -0.5});

    // Affine input comes back as the exact inverse (scalar 2, det 1; normalised).
    ExpectExactly(CMatrix3x3::Inverse(Make({1, 1, 0, 0, 1, 0, 3, 4, 1})), {1, -1, 0, 0, 1, 0, -3, -1, 1});
    // Singular input yields the adjoint, without error.
    ExpectExactly(CMatrix3x3::Inverse(Make({0, 0, 0, 0, 0, 0, 0, 0, 0})), {0, 0, 0, 0, 0, 0, 0, 0, 0});
    ExpectExactly(CMatrix3x3::Inverse(Make({1, 0, 0, 0, 1, 0, 0, 0, 0})), {0, 0, 0, 0, 0, 0, 0, 0, 1});

    // The division guard is inclusive: a scalar of exactly EqualTolSq divides.
    const CMatrix3x3 small = Make({0x1p-20, 0, 0, 0, 1, 4, 0, 0, 1});
    {
        const ScopedEqualTolSq tol(0x1p-20);
        ExpectExactly(CMatrix3x3::Inverse(small), {0x1p20, 0, 0, 0, 1, -4, 0, 0, 1});
    }
    const ScopedEqualTolSq tol(0x1p-19);
    ExpectExactly(CMatrix3x3::Inverse(small), {1, 0, 0, 0, 0x1p-20, -0x1p-18, 0, 0, 0x1p-20});
}

TEST(CMatrix3x3, Mat16MappingPassesZThrough) {
    const CMatrix3x3 a = Make({1, 2, 3, 4, 5, 6, 7, 8, 9});
    const double expected[16] = {1, 2, 0, 3, 4, 5, 0, 6, 0, 0, 1, 0, 7, 8, 0, 9};
    const CMatrix4x4 wide(a);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(wide.m[i], expected[i]) << i;
    CMatrix3x3 back;
    back.SetMat16(wide.m);  // projective (m[2] = 3): read back unscaled
    EXPECT_TRUE(back.Equals(a, 0.0));

    CMatrix4x4 t(CMatrix3x3::Translation(2.0, 3.0));
    CPoint4d p(5.0, -1.0, 7.0, 1.0);
    t.Transform(p);
    EXPECT_EQ(p, CPoint4d(7.0, 2.0, 7.0, 1.0));
    t.m[15] = 4.0;  // affine with a w scale of 4: normalised on the way in
    back.SetMat16(t.m);
    ExpectExactly(back, {0.25, 0, 0, 0, 0.25, 0, 0.5, 0.75, 1});

    // Row-vector p * T * S is column-vector S' * T' * v.
    const CMatrix3x3 sh = CMatrix3x3::Shearing(2.0, -1.0);
    const CMatrix4x4 lhs(CMatrix3x3::Translation(2.0, 3.0) * sh);
    const CMatrix4x4 rhs = CMatrix4x4(sh) * CMatrix4x4(CMatrix3x3::Translation(2.0, 3.0));
    for (int i = 0; i < 16; ++i) EXPECT_EQ(lhs.m[i], rhs.m[i]) << i;
}

TEST(CMatrix4x4, GetInversePivotsBottomUpKeepingTheUpperOfEqualRows) {
    // Column 0 holds -3, 2, 3, 2: rows 0 and 2 tie in magnitude and row 0 must stay
    // the pivot, with the rows below left in the order the bottom-up pass makes
    // (2, 1, 3). Taking row 2, or keeping rows 1 and 2 in place, changes the last
    // bits of several entries.
    const double in[16] = {-3, 2, 3, 2, 3, 3, 2, -1, -3, 0, 3, 2, 2, 2, -3, 0};
    const double expected[16] = {-0x1.642c8590b2165p-1,
                                 0x1.0b21642c8590bp-2,
                                 0x1.a6f4de9bd37a8p-1,
                                 0x1.37a6f4de9bd38p-2,
                                 0x1p-1,
                                 0.0,
                                 -0x1p-1,
                                 0.0,
                                 -0x1.0b21642c8590bp-3,
                                 0x1.642c8590b2164p-3,
                                 0x1.bd37a6f4de9bcp-3,
                                 -0x1.0b21642c8590cp-3,
                                 -0x1.b21642c8590b1p-1,
                                 0x1.0b21642c8590bp-3,
                                 0x1.69bd37a6f4de9p+0,
                                 0x1.4de9bd37a6f4ep-1};
    CMatrix4x4 a(in);
    ASSERT_TRUE(a.GetInverse(a));  // in place
    for (int i = 0; i < 16; ++i) EXPECT_EQ(a.m[i], expected[i]) << i;
}

TEST(CMatrix4x4, GetInverseFailsOnlyOnAnExactlyZeroPivot) {
    // Signed permutations need pivoting at every step; they invert exactly.
    int perm[4] = {0, 1, 2, 3};
    int n = 0;
    do {
        double m[16] = {};
        for (int c = 0; c < 4; ++c) m[4 * c + perm[c]] = ((n >> c) & 1) ? -2.0 : 2.0;
        CMatrix4x4 out;
        ASSERT_TRUE(CMatrix4x4(m).GetInverse(out)) << n;
        for (int k = 0; k < 16; ++k) EXPECT_EQ(out.m[k], m[4 * (k % 4) + k / 4] / 4.0) << n;
        ++n;
    } while (std::next_permutation(perm, perm + 4));

    // A zero column, and two equal rows whose zero pivot only appears in column 3.
    const double zeroColumn[16] = {1, 2, 3, 4, 0, 0, 0, 0, 5, 6, 7, 9, 1, 0, 0, 1};
    const double equalRows[16] = {1, 1, 0, 0, 2, 2, 1, 0, 3, 3, 0, 1, 4, 4, 0, 0};
    for (const double* m : {zeroColumn, equalRows}) {
        CMatrix4x4 out(equalRows);
        EXPECT_FALSE(CMatrix4x4(m).GetInverse(out));
        for (int k = 0; k < 16; ++k) EXPECT_EQ(out.m[k], k % 5 == 0 ? 1.0 : 0.0);
    }

    // No tolerance: a tiny pivot is still a pivot.
    const double tiny[16] = {1, 0, 0, 0, 0, 1e-300, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    CMatrix4x4 out;
    ASSERT_TRUE(CMatrix4x4(tiny).GetInverse(out));
    EXPECT_EQ(out.m[5], 1.0 / 1e-300);

    // Non-finite input finishes, whatever it returns.
    for (double bad : {NAN, INFINITY}) {
        for (int k = 0; k < 16; ++k) {
            CMatrix4x4 m(CMatrix3x3::Rotation(0.5));
            m.m[k] = bad;
            m.GetInverse(out);
        }
    }
}
