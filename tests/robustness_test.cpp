// Guards on the library's open-ended iterations: each one must leave every answer
// for finite input with a positive tolerance exactly as an unlimited iteration
// would give it, and must end the iteration for non-finite input or a zero or
// negative tolerance.
#include <geometry/boundingbox.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "support/random.h"
#include "support/tolerance_guard.h"

using namespace velmor::geometry;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

// Coordinates that stress the segment clipping: ordinary values, values on a
// coarse grid (on faces and edges), values a tolerance step off a face, and
// large magnitudes where rounding overshoots a face.
double Coord(plenar_test::SplitMix64& rng) {
    switch (rng.Int(0, 5)) {
        case 0:
            return static_cast<double>(rng.Int(-4, 4)) * 0.5;
        case 1:
            return static_cast<double>(rng.Int(-4, 4)) * 0.5 + (rng.Unit() - 0.5) * 0.004;
        case 2:
            return (rng.Unit() - 0.5) * 4e4;
        case 3:
            return (rng.Unit() - 0.5) * 2e15;
        default:
            return (rng.Unit() - 0.5) * 8.0;
    }
}

// The segment-against-box clipping with no limit on its passes (up to a budget far
// beyond anything that settles), reporting how many passes it took.
int Outcode(const CBoundingBox3d& box, const double (&p)[3]) {
    const CRange* r[3] = {&box.x, &box.y, &box.z};
    int code = 0;
    for (int k = 0; k < 3; ++k) {
        if (p[k] < r[k]->min) code |= 1 << (2 * k);
        if (p[k] > r[k]->max) code |= 2 << (2 * k);
    }
    return code;
}

bool UnlimitedSegmentTest(const CBoundingBox3d& box, const CPoint3d& a, const CPoint3d& b, int& passes) {
    double pa[3] = {a.x, a.y, a.z};
    const double pb[3] = {b.x, b.y, b.z};
    passes = 0;
    int codeA = Outcode(box, pa);
    if (codeA == 0) return true;
    const int codeB = Outcode(box, pb);
    if (codeB == 0) return true;
    if ((codeA & codeB) != 0) return false;
    const CRange* r[3] = {&box.x, &box.y, &box.z};
    for (passes = 1; passes < 100000; ++passes) {
        int bit = 0;
        while ((codeA & (1 << bit)) == 0) ++bit;
        const int k = bit / 2;
        const double face = (bit % 2 == 0) ? r[k]->min : r[k]->max;
        const double d = pb[k] - pa[k];
        if (std::fabs(d) >= EqualTol) {
            const double t = (face - pa[k]) / d;
            for (int j = 0; j < 3; ++j) {
                if (j != k) pa[j] = pa[j] + t * (pb[j] - pa[j]);
            }
        }
        pa[k] = face;
        codeA = Outcode(box, pa);
        if (codeA == 0) return true;
        if ((codeA & codeB) != 0) return false;
    }
    return false;
}

}  // namespace

TEST(Guards, BoxSegmentPassLimitNeverDecidesFiniteInput) {
    // The clipping settles within the six passes the library allows for every
    // finite box and segment at the ordinary tolerance and at much larger and
    // smaller ones, so the limit never changes an answer.
    plenar_test::SplitMix64 rng(0xB0C5);
    int maxPasses = 0;
    int hits = 0;
    for (const double tol : {0.001, 0.25, 1e-9}) {
        plenar_test::ToleranceGuard guard(tol);
        for (int i = 0; i < 60000; ++i) {
            const double x0 = Coord(rng), y0 = Coord(rng), z0 = Coord(rng);
            const CBoundingBox3d box(CRange(x0, x0 + std::fabs(Coord(rng))), CRange(y0, y0 + std::fabs(Coord(rng))),
                                     CRange(z0, z0 + std::fabs(Coord(rng))));
            const CPoint3d a(Coord(rng), Coord(rng), Coord(rng));
            const CPoint3d b(Coord(rng), Coord(rng), Coord(rng));
            int passes = 0;
            const bool expected = UnlimitedSegmentTest(box, a, b, passes);
            ASSERT_EQ(box.Intersects(a, b), expected) << i << " tol " << tol;
            maxPasses = passes > maxPasses ? passes : maxPasses;
            hits += expected ? 1 : 0;
        }
    }
    EXPECT_LE(maxPasses, 6);
    EXPECT_GE(maxPasses, 3);
    EXPECT_GT(hits, 1000);

    // A rounding overshoot past a face, absorbed by a snap: the deepest case known,
    // four passes.
    const CBoundingBox3d big(CRange(-2300.6277058493288, 11027.409282471628),
                             CRange(-5622.9285849373609, 15441.094234936463),
                             CRange(-12580.627158713967, -10268.274147271466));
    const CPoint3d a(29349.756334665261, -36148.175088315817, -22465.592734711347);
    const CPoint3d b(-2300.6277058493292, 15441.094234936463, -12580.627158713967);
    int passes = 0;
    EXPECT_TRUE(UnlimitedSegmentTest(big, a, b, passes));
    EXPECT_EQ(passes, 4);
    EXPECT_TRUE(big.Intersects(a, b));
}

TEST(Guards, BoxSegmentTestEndsOnNonFiniteInputAndZeroTolerance) {
    // Each of these would bounce between two faces (or divide 0 by 0 and wander)
    // without the pass limit; all of them must simply answer.
    const CBoundingBox3d empty(CRange(1, 0), CRange(0, 1), CRange(0, 1));
    const CBoundingBox3d unit(CPoint3d(0, 0, 0), CPoint3d(1, 1, 1));
    const CBoundingBox3d infinite(CRange(-kInf, kInf), CRange(0, 1), CRange(kNaN, 1));
    const CPoint3d inside(0.5, 0.5, 0.5);
    for (const double tol : {0.001, 0.0, -0.001, kNaN, kInf}) {
        plenar_test::ToleranceGuard guard(tol);
        for (const CBoundingBox3d& box : {empty, unit, infinite}) {
            for (const double v : {kNaN, kInf, -kInf, 1e308, -1e308, 2.0}) {
                (void)box.Intersects(inside, CPoint3d(v, 2, 0.5));
                (void)box.Intersects(CPoint3d(-1, v, -1), CPoint3d(v, -v, 2));
                (void)box.Intersects(CPoint3d(v, v, v), CPoint3d(2, 2, 2));
            }
        }
    }
    // Answers that do not depend on the limit stay as they are.
    plenar_test::ToleranceGuard zero(0.0);
    EXPECT_TRUE(unit.Intersects(inside, CPoint3d(kNaN, kNaN, kNaN)));  // a start inside decides at once
    EXPECT_FALSE(empty.Intersects(CPoint3d(0.5, 0.5, 0.5), CPoint3d(kNaN, 2, 0.5)));
}
