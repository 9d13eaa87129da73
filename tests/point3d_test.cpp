#include <geometry/plane.h>
#include <geometry/point3d.h>
#include <gtest/gtest.h>
#include <support/predicates.h>
#include <support/tolerance_guard.h>

#include <array>
#include <cmath>
#include <limits>
#include <sstream>

namespace g = velmor::geometry;
using g::CUnitVector3d, g::CVector3d, plenar_test::EqualXyz;
using P = g::CPoint3d;
using g::MeetAtP1, g::MeetAtP2, g::MeetAtP3, g::MeetAtP4, g::MeetInsideP1P2, g::MeetInsideP3P4, g::NoMeeting;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

bool Solve(P& p, std::array<double, 9> s) { return p.ComputeLSF(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]); }

// One segment-intersection case: the two segments, the code, t, u and the point written. The point starts
// at kUnset, which must survive a result of 0. Values are compared exactly unless eps is given.
const P kUnset(99, 99, 99);
const int kCross = MeetInsideP1P2 | MeetInsideP3P4;  // both interiors
struct Case {
    P p1, p2, p3, p4;
    int code;
    double t, u;
    P at;
    double eps = 0.0;
};

void Check(const std::vector<Case>& cases) {
    for (size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "case " << i);
        const Case& c = cases[i];
        P at = kUnset;
        double t = 7, u = 7;
        EXPECT_EQ(at.Intersect(c.p1, c.p2, c.p3, c.p4, &t, &u), c.code);
        EXPECT_NEAR(t, c.t, c.eps);
        EXPECT_NEAR(u, c.u, c.eps);
        EXPECT_TRUE(plenar_test::NearXyz(at, c.at, c.eps));
    }
}

}  // namespace

TEST(CPoint3d, ArithmeticOffsetsAndStreaming) {
    const P p(1, 2, 3), q(-1, 0.5, 4);
    EXPECT_TRUE(EqualXyz(p - q, 2, 1.5, -1));  // the vector from q to p
    EXPECT_TRUE(EqualXyz(P(0.25, p, 2, q), -1.75, 1.5, 8.75));
    EXPECT_TRUE(EqualXyz(P(p, -2, CUnitVector3d(0, 0, 1)), 1, 2, 1));
    std::ostringstream os;
    os << P(1, 2.5, -3);
    EXPECT_EQ(os.str(), "(1, 2.5, -3)");
}

TEST(CPoint3d, EqualsIsStrictAndSphericalWhileOrderIsInclusive) {
    const P o(0, 0, 0);
    // The spherical test is strict: offsets 3/1024 and 4/1024 lie exactly 5/1024
    // away (squares summed without rounding), each axis well within.
    EXPECT_FALSE(o.Equals(P(0x3p-10, 0x4p-10, 0), 0x5p-10));

    plenar_test::ToleranceGuard guard(0.125);
    const P b(0.125, -5, -5);
    // A difference of exactly EqualTol already orders but is not equal.
    EXPECT_TRUE(o < b);
    EXPECT_TRUE(b > o);
    EXPECT_TRUE(!(o > b));
    EXPECT_FALSE(b < o);  // x decides at exactly EqualTol; y would say less
    // Rows: the other point, then o < it and o > it. y decides, inclusive, before z.
    const struct {
        P q;
        bool less, greater;
    } order[] = {{P(0.0625, -0.125, 5), false, true},
                 {P(0.0625, 0.125, -5), true, false},
                 {P(-0.0625, 0.0625, 0.125), true, false},
                 {P(-0.0625, 0.0625, -0.125), false, true},
                 {P(0.0625, -0.0625, 0.0625), false, false}};
    for (const auto& r : order) {
        EXPECT_EQ(o < r.q, r.less) << r.q;
        EXPECT_EQ(o > r.q, r.greater) << r.q;
    }
}

TEST(CPoint3d, DistancesAndMembership) {
    const P o(0, 0, 0);
    const P boundary(plenar_test::kAtDivideGuardX, plenar_test::kAtDivideGuardY, 0);
    ASSERT_EQ(o.DistanceSquaredTo(boundary), g::DivideByZeroTolSq);
    EXPECT_EQ(o.DistanceTo(boundary), 0.0);  // at the guard counts as zero
    EXPECT_EQ(P(1, 2, 3).DistanceTo(P(4, 6, 3)), 5.0);

    const CUnitVector3d z(0, 0, 1);
    EXPECT_EQ(P(1, 2, 3).DistanceTo(P(0, 0, 7), z), std::sqrt(5.0));
    EXPECT_EQ(P(boundary.x, boundary.y, 3).DistanceTo(o, z), 0.0);     // at the guard, as for points
    EXPECT_EQ(P(1e-11, 0, 3).DistanceSquaredTo(o, z), 1e-11 * 1e-11);  // unguarded

    plenar_test::ToleranceGuard guard(0.125);
    EXPECT_FALSE(P(0.125, 0, 5).IsOn(o, z));  // strict
    EXPECT_TRUE(P(0, -0.0625, -5).IsOn(o, z));

    // SelectClosest prefers a on ties and b on NaN.
    const P a(1, 0, 0), b(0, -1, 0);
    EXPECT_TRUE(EqualXyz(o.SelectClosest(a, b), 1, 0, 0));
    EXPECT_TRUE(EqualXyz(o.SelectClosest(a, P(0, 0.5, 0)), 0, 0.5, 0));
    EXPECT_TRUE(EqualXyz(o.SelectClosest(P(kNaN, 0, 0), b), 0, -1, 0));
}

TEST(CPoint3d, ProjectionsGuardOnZ) {
    for (double z : {0.0, 5e-11, -9.9e-11}) {  // |z| below DivideByZeroTol: untouched
        P p(2, 4, z), q(2, 4, z);
        EXPECT_FALSE(p.Project(10));
        EXPECT_FALSE(q.ProjectGL(10));
        EXPECT_EQ(q.z, z);
    }
    P p(2, 4, 5);
    EXPECT_TRUE(p.Project(10));  // s = 10 / (10 - 5)
    EXPECT_TRUE(EqualXyz(p, 4, 8, 10));
    p = P(49, 98, 49);  // z is set to -d, not scaled: (-1 / 49) * 49 != -1
    EXPECT_TRUE(p.ProjectGL(1));
    EXPECT_TRUE(EqualXyz(p, (-1.0 / 49) * 49, (-1.0 / 49) * 98, -1));
    p = P(1, 1, 1e-10);  // |z| of exactly DivideByZeroTol is not below it
    P q(1, 1, -1e-10);
    EXPECT_TRUE(p.Project(1));
    EXPECT_TRUE(q.ProjectGL(1));
}

TEST(CPoint3d, ComputeLSFSolvesTheNormalEquations) {
    P p(9, 9, 9);
    // Oblique planes through (1, 2, 3), with distinct cross sums, use every term.
    const double planes[3][4] = {{0.8, 0, 0.6, -2.6}, {0.6, 0.8, 0, -2.2}, {0.36, 0.48, 0.8, -3.72}};
    std::array<double, 9> s{};
    for (const auto& e : planes) {
        const double v[9] = {e[0] * e[0], e[0] * e[1], e[0] * e[2], e[0] * e[3], e[1] * e[1],
                             e[1] * e[2], e[1] * e[3], e[2] * e[2], e[2] * e[3]};
        for (int i = 0; i < 9; ++i) s[i] += v[i];
    }
    EXPECT_TRUE(Solve(p, s));
    EXPECT_TRUE(p.Equals(P(1, 2, 3), 1e-12));
    // Planes x = 1, y = 2, z = 3, as the sums aa, ab, ac, ad, bb, bc, bd, cc, cd,
    // with |aa|, then |D|, exactly DivideByZeroTol: both guards are strict.
    EXPECT_TRUE(Solve(p, {1e-10, 0, 0, -1e-10, 1, 0, -2, 1, -3}));
    EXPECT_TRUE(EqualXyz(p, 1, 2, 3));
    EXPECT_TRUE(Solve(p, {1, 0, 0, -1, 1, 0, -2, 1e-10, -3e-10}));  // D = -1e-10
    // Failures leave the point alone: no x term; a singular y-z system (y = 2 twice).
    p = P(9, 9, 9);
    EXPECT_FALSE(Solve(p, {0, 0, 0, 0, 1, 0, -2, 1, -3}));
    EXPECT_FALSE(Solve(p, {1, 0, 0, -1, 2, 0, -4, 0, 0}));
    EXPECT_TRUE(EqualXyz(p, 9, 9, 9));
}

TEST(CPoint3d, LeastSquaresFitAcceptsPlanesUpToEqualTol) {
    // x = 0 and x = 2h pull the fit to x = h, exactly h from both: inclusive.
    plenar_test::ToleranceGuard guard(0x5p-10);
    const auto planes = [](double h) {
        return std::vector<g::CPlane>{{1, 0, 0, 0}, {1, 0, 0, -2 * h}, {0, 1, 0, 0}, {0, 0, 1, 0}};
    };
    P p;
    EXPECT_TRUE(p.LeastSquaresFit(planes(0x4p-10)));
    EXPECT_TRUE(EqualXyz(p, 0x4p-10, 0, 0));
    EXPECT_TRUE(p.LeastSquaresFit(planes(0x5p-10)));
    EXPECT_FALSE(p.LeastSquaresFit(planes(0x6p-10)));
    // Three planes are enough, through either overload.
    std::vector<g::CPlane> three = planes(0);
    three.erase(three.begin());
    EXPECT_TRUE(p.LeastSquaresFit(3, three.data()));
    EXPECT_FALSE(p.LeastSquaresFit(2, three.data()));
    EXPECT_FALSE(p.LeastSquaresFit(3, nullptr));
}

TEST(CPoint3d, IntersectGeneralCase) {
    const double gap = 0x1p-12;
    Check({
        {{0, 0, 0}, {4, 0, 0}, {1, -1, 0}, {1, 3, 0}, kCross, 0.25, 0.25, {1, 0, 0}},
        {{0, 0, 0}, {2, 0, 0}, {1, 1, 0}, {1, 0, 0}, MeetInsideP1P2 | MeetAtP4, 0.5, 1, {1, 0, 0}},  // T junction
        // Skew lines that pass apart, and ones that pass within EqualTol (midpoint).
        {{0, 0, 0}, {2, 0, 0}, {1, -1, 1}, {1, 1, 1}, NoMeeting, -1, -1, kUnset},
        {{0, 0, 0}, {2, 0, 0}, {1, -1, gap}, {1, 1, gap}, kCross, 0.5, 0.5, {1, 0, gap / 2}},
        // Endpoint coincidence wins over the parameter range (t = 1.0005 > 1).
        {{0, 0, 0}, {1, 0, 0}, {1.0005, -1, 0}, {1.0005, 1, 0}, MeetAtP2 | MeetInsideP3P4, 1.0005, 0.5, {1.0005, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {1.002, -1, 0}, {1.002, 1, 0}, NoMeeting, -1, -1, kUnset},
        {{0, 0, 0}, {1, 0, 0}, {0.5, 1, 0}, {0.5, 2, 0}, NoMeeting, -1, -1, kUnset},  // u = -1
        // A shallow crossing (sin^2 of the angle 1e-8) is a crossing, not parallel.
        {{0, 0, 0}, {2, 0, 0}, {0, -1e-4, 0}, {2, 1e-4, 0}, kCross, 0.5, 0.5, {1, 0, 0}, 1e-12},
        // Shared endpoints.
        {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {0, 1, 0}, MeetAtP1 | MeetAtP3, 0, 0, {0, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {1, 0, 0}, MeetAtP2 | MeetAtP4, 1, 1, {1, 0, 0}},
        // Non-finite input finds nothing.
        {{kNaN, 0, 0}, {1, 0, 0}, {0, 0, 0}, {0, 1, 0}, NoMeeting, -1, -1, kUnset},
    });
    // Crossing at sin^2 of the angle exactly DivideByZeroTol (inclusive) is still a
    // crossing; the parallel branch would reject these offset lines.
    const double h = 0x1.4fdf3b64a23d7p-18;
    const P c1(0, 0, 0), c2(1, 0, 0), c3(-0x1p-11, -h, 0), c4(1 + 0x1p-11, h, 0);
    const CVector3d ca = c2 - c1, cb = c4 - c3;
    ASSERT_EQ((ca * cb).LengthSquared() / (ca.LengthSquared() * cb.LengthSquared()), g::DivideByZeroTol);
    Check({{c1, c2, c3, c4, kCross, 0.5, 0.5, {0.5, 0, 0}, 1e-9}});
    {
        // The interior is open at t = 1 and u = 1: p1 + (p2 - p1) rounds to 0, which
        // a tolerance of 2^-61 tells apart from p2 = 2^-60.
        plenar_test::ToleranceGuard tiny(0x1p-61);
        Check({{{1, 0, 0}, {0x1p-60, 0, 0}, {0, -1, 0}, {0, 1, 0}, NoMeeting, -1, -1, kUnset},
               {{0, -1, 0}, {0, 1, 0}, {1, 0, 0}, {0x1p-60, 0, 0}, NoMeeting, -1, -1, kUnset}});
    }
    // The overload without parameters answers whether the classifier found anything.
    P at(7, 7, 7);
    EXPECT_TRUE(at.Intersect({0, 0, 0}, {2, 2, 0}, {0, 2, 0}, {2, 0, 0}));
    EXPECT_FALSE(at.Intersect({0, 0, 0}, {2, 0, 0}, {1, -1, 1}, {1, 1, 1}));
}

TEST(CPoint3d, IntersectCollinearReportsOnePointInteriorFirst) {
    const double off = 0x1p-20;  // within the relative collinearity test
    Check({
        {{0, 0, 0}, {4, 0, 0}, {1, 0, 0}, {6, 0, 0}, MeetInsideP1P2 | MeetAtP3, 0.25, 0, {1, 0, 0}},
        {{0, 0, 0}, {4, 0, 0}, {6, 0, 0}, {1, 0, 0}, MeetInsideP1P2 | MeetAtP4, 0.25, 1, {1, 0, 0}},
        {{1, 0, 0}, {2, 0, 0}, {0, 0, 0}, {4, 0, 0}, MeetAtP1 | MeetInsideP3P4, 0, 0.25, {1, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {4, 0, 0}, MeetAtP2 | MeetInsideP3P4, 1, 0.25, {1, 0, 0}},  // beats p1 = p3
        // The written point is the midpoint of the endpoint and its foot.
        {{0, 0, 0}, {4, 0, 0}, {1, off, 0}, {6, off, 0}, MeetInsideP1P2 | MeetAtP3, 0.25, 0, {1, off / 2, 0}},
        // Touching end to end, identical, and disjoint.
        {{0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {2, 0, 0}, MeetAtP2 | MeetAtP3, 1, 0, {1, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {-1, 0, 0}, MeetAtP1 | MeetAtP3, 0, 0, {0, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {-1, 0, 0}, {0, 0, 0}, MeetAtP1 | MeetAtP4, 0, 1, {0, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 0, 0}, MeetAtP2 | MeetAtP4, 1, 1, {1, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {1, 0, 0}, MeetAtP1 | MeetAtP3, 0, 0, {0, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {0, 0, 0}, MeetAtP1 | MeetAtP4, 0, 1, {0, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, NoMeeting, -1, -1, kUnset},
        // Parallel and apart, even by less than EqualTol: the test is relative.
        {{0, 0, 0}, {4, 0, 0}, {1, 0.0001, 0}, {6, 0.0001, 0}, NoMeeting, -1, -1, kUnset},
    });
    // The relative test is inclusive: sin^2 of the angle (p1-p2, p1-p3) exactly DivideByZeroTol is collinear.
    const double wx = 0x1.02p-2, wy = 0x1.522a6f3f9b9b0p-19;
    const CVector3d a(1, 0, 0), w(wx, wy, 0);
    ASSERT_EQ((a * w).LengthSquared() / (w.LengthSquared() * a.LengthSquared()), g::DivideByZeroTol);
    Check({{{0, 0, 0}, {1, 0, 0}, {wx, wy, 0}, {wx + 1, wy, 0}, MeetInsideP1P2 | MeetAtP3, wx, 0, {wx, wy / 2, 0}}});
    // An end lying at t = 1 exactly is on the segment: p1 + (p2 - p1) rounds to 0,
    // 2^-60 short of p2, which a tolerance of 2^-61 tells apart.
    plenar_test::ToleranceGuard tiny(0x1p-61);
    Check({{{1, 0, 0}, {0x1p-60, 0, 0}, {0, 0, 0}, {-5, 0, 0}, MeetInsideP1P2 | MeetAtP3, 1, 0, {0, 0, 0}}});
}

TEST(CPoint3d, IntersectPointLikeSegments) {
    // A squared length of exactly EqualTolSq is a proper segment (t from the lines,
    // about 0.5); one ulp shorter it is a point (t = 0). The same for p3-p4.
    ASSERT_EQ((P(0.001, 0, 0) - P(0, 0, 0)).LengthSquared(), g::EqualTolSq);
    const P o(0, 0, 0), e(0.001, 0, 0), s(std::nextafter(0.001, 0.0), 0, 0);
    const P q3(0.0005, -1, 0), q4(0.0005, 1, 0), mid(0.0005, 0, 0);
    const int inAtP3 = MeetInsideP1P2 | MeetAtP3;
    Check({
        {o, e, q3, q4, MeetAtP1 | MeetInsideP3P4, 0.5, 0.5, mid, 1e-12},
        {o, s, q3, q4, MeetAtP1 | MeetInsideP3P4, 0, 0.5, mid, 1e-12},
        {q3, q4, o, e, inAtP3, 0.5, 0.5, mid, 1e-12},
        {q3, q4, o, s, inAtP3, 0.5, 0, mid, 1e-12},
        // Both point-like.
        {{0, 0, 0}, {0, 0, 0}, {0.0004, 0, 0}, {0.0004, 0, 0}, MeetAtP1 | MeetAtP3, 0, 0, {0.0002, 0, 0}},
        {{0, 0, 0}, {0, 0, 0}, {0.002, 0, 0}, {0.002, 0, 0}, NoMeeting, -1, -1, kUnset},
        // p1-p2 point-like: at p3, at p4, inside p3-p4 (midpoint with the foot), off.
        {{1, 0, 0}, {1, 0, 0}, {1, 0, 0}, {3, 0, 0}, MeetAtP1 | MeetAtP3, 0, 0, {1, 0, 0}},
        {{1, 0, 0}, {1, 0, 0}, {-1, 0, 0}, {1, 0, 0}, MeetAtP1 | MeetAtP4, 0, 1, {1, 0, 0}},
        {{1, 0, 0}, {1, 0, 0}, {0, 0.0005, 0}, {4, 0.0005, 0}, MeetAtP1 | MeetInsideP3P4, 0, 0.25, {1, 0.00025, 0}},
        {{1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {4, 1, 0}, NoMeeting, -1, -1, kUnset},
        // p3-p4 point-like: at p1, at p2, inside p1-p2, off the line.
        {{0, 0, 0}, {4, 0, 0}, {0, 0, 0}, {0, 0, 0}, MeetAtP1 | MeetAtP3, 0, 0, {0, 0, 0}},
        {{0, 0, 0}, {4, 0, 0}, {4, 0, 0}, {4, 0, 0}, MeetAtP2 | MeetAtP3, 1, 0, {4, 0, 0}},
        {{0, 0, 0}, {4, 0, 0}, {1, 0.0005, 0}, {1, 0.0005, 0}, inAtP3, 0.25, 0, {1, 0.00025, 0}},
        {{0, 0, 0}, {4, 0, 0}, {1, 1, 0}, {1, 1, 0}, NoMeeting, -1, -1, kUnset},
        // A short piece stands for its middle: (1.00045) matches p3 = 1.0013 although
        // p1 itself does not; (1.0003) sits at t = 0.250075.
        {{1, 0, 0}, {1.0009, 0, 0}, {1.0013, 0, 0}, {3, 0, 0}, MeetAtP1 | MeetAtP3, 0, 0, {1.000875, 0, 0}, 1e-12},
        {{0, 0, 0}, {4, 0, 0}, {1, 0, 0}, {1.0006, 0, 0}, inAtP3, 0.250075, 0, {1.0003, 0, 0}, 1e-12},
    });
}
