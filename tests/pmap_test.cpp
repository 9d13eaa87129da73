#include <geometry/pmap.h>

#include <gtest/gtest.h>

using velmor::geometry::mx3d_adjoint;
using velmor::geometry::mx3d_mul;
using velmor::geometry::mx3d_transform;
using velmor::geometry::pmap_quad_rect;
using velmor::geometry::pmap_square_quad;

namespace {

void ExpectMatrix(const double (*m)[3], const double (&expected)[3][3]) {
    for (int i = 0; i < 9; ++i) EXPECT_EQ(m[i / 3][i % 3], expected[i / 3][i % 3]) << "element " << i;
}

// (x, y, 1) * M, divided by w.
void Map(const double (*m)[3], double x, double y, double& u, double& v) {
    const double p[3] = {x, y, 1.0};
    double q[3];
    mx3d_transform(p, m, q);
    u = q[0] / q[2];
    v = q[1] / q[2];
}

}  // namespace

TEST(Pmap, ParallelogramThresholdIsStrictAtOneEMinus13) {
    double square[4][2] = {{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}};
    double sq[3][3];
    EXPECT_EQ(pmap_square_quad(square, sq), 0);
    ExpectMatrix(sq, {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}});

    // The square entered at another corner, so that corner 3 is the origin and an
    // offset there makes px (or py) exactly its negation.
    for (int axis = 0; axis < 2; ++axis) {
        for (double sign : {1.0, -1.0}) {
            double q[4][2] = {{1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}, {0.0, 0.0}};
            q[3][axis] = sign * 5e-14;
            EXPECT_EQ(pmap_square_quad(q, sq), 0) << axis << " " << sign;
            q[3][axis] = sign * 1e-13;
            EXPECT_EQ(pmap_square_quad(q, sq), 1) << axis << " " << sign;
        }
    }
}

TEST(Pmap, DegenerateInputFailsWithoutTouchingTheOutput) {
    // Corners 1, 2, 3 on the line y = 1 make del exactly 0 while px = -1.
    double collinear[4][2] = {{0.0, 0.0}, {2.0, 1.0}, {1.0, 1.0}, {0.0, 1.0}};
    double square[4][2] = {{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}};
    double m[3][3] = {{42, 42, 42}, {42, 42, 42}, {42, 42, 42}};
    EXPECT_EQ(pmap_square_quad(collinear, m), -1);
    EXPECT_EQ(pmap_quad_rect(0.0, 0.0, 1.0, 1.0, collinear, m), -1);
    EXPECT_EQ(pmap_quad_rect(2.0, 0.0, 2.0, 1.0, square, m), -1);
    EXPECT_EQ(pmap_quad_rect(0.0, -3.0, 1.0, -3.0, square, m), -1);
    ExpectMatrix(m, {{42, 42, 42}, {42, 42, 42}, {42, 42, 42}});

    // Only an exact zero is degenerate.
    collinear[1][1] += 0x1p-40;
    EXPECT_EQ(pmap_square_quad(collinear, m), 1);
}

TEST(Pmap, TrapezoidMapsOntoTheUnitSquare) {
    double quad[4][2] = {{0.0, 0.0}, {4.0, 0.0}, {3.0, 2.0}, {1.0, 2.0}};
    double sq[3][3];
    // px = -2, py = 0, del = -4, g = -0, h = 1.
    EXPECT_EQ(pmap_square_quad(quad, sq), 1);
    ExpectMatrix(sq, {{4.0, 0.0, 0.0}, {2.0, 4.0, 1.0}, {0.0, 0.0, 1.0}});

    double qr[3][3];
    EXPECT_EQ(pmap_quad_rect(0.0, 0.0, 1.0, 1.0, quad, qr), 1);
    ExpectMatrix(qr, {{4.0, 0.0, 0.0}, {-2.0, 4.0, -4.0}, {0.0, 0.0, 16.0}});  // adjoint, undivided
}

TEST(Pmap, QuadToRectangleKeepsCornersAndIncidence) {
    // The kite's diagonals cross at the origin. A projective map keeps incidence, so
    // the origin must land where the rectangle's diagonals cross: its centre.
    const double u0 = 2.0, v0 = -1.0, u1 = 6.0, v1 = 3.0;
    const double rect[5][2] = {{u0, v0}, {u1, v0}, {u1, v1}, {u0, v1}, {4.0, 1.0}};
    double kite[5][2] = {{-2.0, 0.0}, {0.0, -1.0}, {4.0, 0.0}, {0.0, 3.0}, {0.0, 0.0}};
    double qr[3][3];
    ASSERT_EQ(pmap_quad_rect(u0, v0, u1, v1, kite, qr), 1);
    for (int i = 0; i < 5; ++i) {
        double u = 0.0, v = 0.0;
        Map(qr, kite[i][0], kite[i][1], u, v);
        EXPECT_NEAR(u, rect[i][0], 1e-12) << "point " << i;
        EXPECT_NEAR(v, rect[i][1], 1e-12) << "point " << i;
    }
}

TEST(Pmap, AdjointScalarIsNotTheDeterminant) {
    // det = -2, but the returned a00*b00 - a01*b01 + a02*b02 is 4 + 4 = 8.
    const double a[3][3] = {{1.0, 2.0, 0.0}, {3.0, 4.0, 0.0}, {0.0, 0.0, 1.0}};
    double b[3][3];
    EXPECT_EQ(mx3d_adjoint(a, b), 8.0);
    ExpectMatrix(b, {{4.0, -2.0, 0.0}, {-3.0, 1.0, 0.0}, {0.0, 0.0, -2.0}});
    // The product is t * a, not a * t.
    double ta[3][3];
    const double t[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {5.0, 7.0, 1.0}};
    mx3d_mul(t, a, ta);
    ExpectMatrix(ta, {{1.0, 2.0, 0.0}, {3.0, 4.0, 0.0}, {26.0, 38.0, 1.0}});
}
