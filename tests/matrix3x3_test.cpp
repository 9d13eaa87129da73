#include <geometry/matrix3x3.h>
#include <geometry/tol.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/tolerance_guard.h"

using velmor::geometry::CMatrix3x3;
using velmor::geometry::CMatrix4x4;
using velmor::geometry::CPoint4d;
using velmor::geometry::EqualTolSq;
using V = std::vector<double>;
using plenar_test::SquaredToleranceGuard;

namespace {

CMatrix3x3 Make(const V& values) {
    CMatrix3x3 a;
    std::copy(values.begin(), values.end(), a.m);
    return a;
}
V Elements(const CMatrix3x3& a) { return V(a.m, a.m + 9); }

}  // namespace

TEST(CMatrix3x3, FactoriesActOnRowVectorsLeftFactorFirst) {
    double p[3] = {1.0, 0.0, 1.0};
    CMatrix3x3::Rotation(1.5707963267948966).Transform(p);  // pi/2
    EXPECT_TRUE(std::abs(p[1] - 1.0) < 1e-15);
    double q[3] = {1.0, 1.0, 1.0};
    (CMatrix3x3::Translation(2.0, 3.0) * CMatrix3x3::Scaling(2.0, 2.0)).Transform(q);
    EXPECT_EQ(V(q, q + 3), (V{6, 8, 1}));
    CMatrix3x3::Shearing(2.0, 3.0).Transform(q);  // x + 2y, 3x + y
    EXPECT_EQ(V(q, q + 2), (V{22, 26}));
    const double rows[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    CMatrix3x3 set;
    set.Set(rows);  // row by row
    EXPECT_EQ(Elements(set), (V{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(CMatrix3x3, ProductsNormaliseOnlyAffineResults) {
    const CMatrix3x3 id;
    // A projective term of exactly EqualTolSq is not zero (strict); half of it is.
    for (int k : {2, 5}) {
        CMatrix3x3 a = Make({1, 0, 0, 0, 1, 0, 0, 0, 2});
        a.m[k] = EqualTolSq;
        EXPECT_EQ((a * id).m[8], 2.0) << k;
        a.m[k] = EqualTolSq / 2;
        EXPECT_EQ((a * id).m[8], 1.0) << k;
    }
    EXPECT_TRUE(Make({1, 0, 0, 0, 1, 0, 0, 0, EqualTolSq / 2}).IsProjective());  // a vanishing m[8] is not affine
    EXPECT_TRUE(Make({1, 0, 0, 0, 1, 0, 0, 0, EqualTolSq}).IsAffine());  // exactly EqualTolSq: not vanishing (strict)

    // Normalize multiplies by the reciprocal of m[8], which is not the same as dividing.
    CMatrix3x3 a = Make({5, 0, 0, 0, 1, 0, 0, 0, 3});
    ASSERT_NE(5.0 * (1.0 / 3.0), 5.0 / 3.0);
    a.Normalize();
    EXPECT_TRUE(a.m[0] == 5.0 * (1.0 / 3.0));
    // m8, result, m0 after: |m8 - 1| == tol is left as it is, |m8| == tol is not below it.
    const SquaredToleranceGuard tol(0x1p-20);
    const double cases[][3] = {{1 + 0x1p-20, 1, 3}, {0x1p-21, 0, 3}, {0x1p-20, 1, 3 * 0x1p20}};
    for (const auto& c : cases) {
        CMatrix3x3 n = Make({3, 0, 0, 0, 3, 0, 0, 0, c[0]});
        EXPECT_EQ(n.Normalize(), c[1] != 0) << c[0];
        EXPECT_EQ(n.m[0], c[2]) << c[0];
    }
}

TEST(CMatrix3x3, IsIdentityIsInclusiveOnTheDiagonalAndStrictOffIt) {
    for (int i = 0; i < 9; ++i) {
        const bool diagonal = i % 4 == 0;
        CMatrix3x3 a;
        a.m[i] = diagonal ? 1.0 : EqualTolSq;
        EXPECT_EQ(a.IsIdentity(), diagonal) << i;
    }
    const SquaredToleranceGuard tol(0x1p-20);
    for (double d : {1 + 0x1p-20, 1 - 0x1p-20, 1 + 0x1p-19}) {
        CMatrix3x3 a;
        a.m[8] = d;
        EXPECT_EQ(a.IsIdentity(), d != 1 + 0x1p-19) << d;
    }
}

TEST(CMatrix3x3, InverseDividesByTheAdjointScalarNotTheDeterminant) {
    // det = -2, adjoint scalar = 4; projective, so no normalisation hides which was used.
    CMatrix3x3 a = Make({1, 2, 1, 3, 4, 0, 0, 0, 1});
    a.Invert();
    EXPECT_EQ(Elements(a), (V{1, -0.5, -1, -0.75, 0.25, 0.75, 0, 0, -0.5}));
    // The division guard is inclusive: a scalar of exactly EqualTolSq divides.
    const CMatrix3x3 small = Make({0x1p-20, 0, 0, 0, 1, 4, 0, 0, 1});
    {
        const SquaredToleranceGuard tol(0x1p-20);
        EXPECT_EQ(Elements(CMatrix3x3::Inverse(small)), (V{0x1p20, 0, 0, 0, 1, -4, 0, 0, 1}));
    }
    const SquaredToleranceGuard tol(0x1p-19);
    EXPECT_EQ(Elements(CMatrix3x3::Inverse(small)), (V{1, 0, 0, 0, 0x1p-20, -0x1p-18, 0, 0, 0x1p-20}));
}

TEST(CMatrix3x3, Mat16MappingPassesZThrough) {
    const CMatrix3x3 a = Make({1, 2, 3, 4, 5, 6, 7, 8, 9});
    const CMatrix4x4 wide(a);
    EXPECT_EQ(V(wide.m, wide.m + 16), (V{1, 2, 0, 3, 4, 5, 0, 6, 0, 0, 1, 0, 7, 8, 0, 9}));
    CMatrix3x3 back;
    back.SetMat16(wide.m);  // projective (m[2] = 3): read back unscaled
    EXPECT_TRUE(back.Equals(a, 0.0));
    CMatrix4x4 t(CMatrix3x3::Translation(2.0, 3.0));
    CPoint4d p(5.0, -1.0, 7.0, 1.0);
    t.Transform(p);
    EXPECT_EQ(p, CPoint4d(7.0, 2.0, 7.0, 1.0));
    t.m[15] = 4.0;  // affine with a w scale of 4: normalised on the way in
    back.SetMat16(t.m);
    EXPECT_EQ(Elements(back), (V{0.25, 0, 0, 0, 0.25, 0, 0.5, 0.75, 1}));
    // Row-vector p * T * S is column-vector S' * T' * v.
    const CMatrix3x3 sh = CMatrix3x3::Shearing(2.0, -1.0), tr = CMatrix3x3::Translation(2.0, 3.0);
    const CMatrix4x4 lhs(tr * sh), rhs = CMatrix4x4(sh) * CMatrix4x4(tr);
    EXPECT_EQ(V(lhs.m, lhs.m + 16), V(rhs.m, rhs.m + 16));
}

TEST(CMatrix4x4, GetInversePivotsBottomUpKeepingTheUpperOfEqualRows) {
    // Column 0 holds -3, 2, 3, 2: row 0 must stay the pivot over row 2, with the rows
    // below in bottom-up order (2, 1, 3); anything else changes the last bits.
    const double in[16] = {-3, 2, 3, 2, 3, 3, 2, -1, -3, 0, 3, 2, 2, 2, -3, 0};
    CMatrix4x4 a(in);
    ASSERT_TRUE(a.GetInverse(a));  // in place
    EXPECT_EQ(V(a.m, a.m + 16),
              (V{-0x1.642c8590b2165p-1, 0x1.0b21642c8590bp-2, 0x1.a6f4de9bd37a8p-1, 0x1.37a6f4de9bd38p-2, 0x1p-1, 0.0,
                 -0x1p-1, 0.0, -0x1.0b21642c8590bp-3, 0x1.642c8590b2164p-3, 0x1.bd37a6f4de9bcp-3, -0x1.0b21642c8590cp-3,
                 -0x1.b21642c8590b1p-1, 0x1.0b21642c8590bp-3, 0x1.69bd37a6f4de9p+0, 0x1.4de9bd37a6f4ep-1}));
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
    // A zero column, and two equal rows whose zero pivot only appears in column 3: identity out.
    const double zeroColumn[16] = {1, 2, 3, 4, 0, 0, 0, 0, 5, 6, 7, 9, 1, 0, 0, 1};
    const double equalRows[16] = {1, 1, 0, 0, 2, 2, 1, 0, 3, 3, 0, 1, 4, 4, 0, 0};
    for (const double* m : {zeroColumn, equalRows}) {
        CMatrix4x4 out(equalRows);
        EXPECT_FALSE(CMatrix4x4(m).GetInverse(out));
        for (int k = 0; k < 16; ++k) EXPECT_EQ(out.m[k], k % 5 == 0 ? 1.0 : 0.0);
    }
    // No tolerance: a tiny pivot is still a pivot. Non-finite input finishes.
    const double tiny[16] = {1, 0, 0, 0, 0, 1e-300, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    CMatrix4x4 out;
    ASSERT_TRUE(CMatrix4x4(tiny).GetInverse(out));
    EXPECT_EQ(out.m[5], 1.0 / 1e-300);
    for (int k = 0; k < 32; ++k) {  // NaN, then infinity, in each element
        CMatrix4x4 m(CMatrix3x3::Rotation(0.5));
        m.m[k % 16] = k < 16 ? NAN : INFINITY;
        m.GetInverse(out);
    }
}
