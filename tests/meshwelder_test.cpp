#include <geometry/meshwelder.h>

#include <geometry/transformation.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "support/random.h"
#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using plenar_test::SplitMix64;
using plenar_test::ToleranceGuard;
using P = CPoint3d;

namespace {

constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double T = 0x1p-10;  // a dyadic tolerance, so that offsets of exactly T are exact

bool SamePool(const CPolygonMesh& a, const CPolygonMesh& b) {
    return a.points.size() == b.points.size() &&
           std::memcmp(a.points.data(), b.points.data(), a.points.size() * sizeof(P)) == 0 &&
           a.polygonStarts == b.polygonStarts && a.polygonIndices == b.polygonIndices;
}

// A mesh welded by the linear scan beside one welded through a CMeshWelder.
struct Twin {
    CPolygonMesh ref{0};
    CPolygonMesh mesh{0};
    CMeshWelder welder{mesh};
};

// Points that stress the index: tolerance-sized clusters around multiples of 4 s,
// dyadic steps of a quarter tolerance around them (which land on the index's cell
// borders and make differences of exactly the tolerance), neighbours of earlier
// points at exactly and just under the tolerance, non-finite and huge coordinates,
// and scattered points. `s` is the length scale, the tolerance when it is usable.
P MakePoint(SplitMix64& rng, double s, const std::vector<P>& earlier) {
    auto axis = [&](int kind) {
        const double corner = 4.0 * s * rng.Int(-2, 2);
        if (kind == 0) return corner + rng.Uniform(-1.5 * s, 1.5 * s);
        if (kind == 1) return corner + 0.25 * s * rng.Int(-8, 8);
        const double huge[] = {1e300, -1e300, 1.7e308, 4.0 * s * 0x1p62, 1e16, -0x1p53 * s};
        if (kind == 2) return huge[rng.Int(0, 5)] + s * rng.Int(-2, 2);
        return rng.Uniform(-100.0 * s, 100.0 * s);
    };
    const int kind = rng.Int(0, 19);
    if (kind < 4 && !earlier.empty()) {
        P p = earlier[rng.Next() % earlier.size()];
        double& c = rng.Int(0, 2) == 0 ? p.x : (rng.Int(0, 1) == 0 ? p.y : p.z);
        const double steps[] = {s, -s, std::nextafter(s, 0.0), -std::nextafter(s, 0.0), 0.5 * s, 0.0};
        c += steps[rng.Int(0, 5)];
        return p;
    }
    if (kind == 4) {
        P p(axis(0), axis(0), axis(0));
        (rng.Int(0, 1) == 0 ? p.y : p.z) = rng.Int(0, 2) == 0 ? NaN : (rng.Int(0, 1) == 0 ? Inf : -Inf);
        return p;
    }
    const int mix = kind < 12 ? 0 : (kind < 17 ? 1 : (kind < 18 ? 2 : 3));
    return P(axis(mix), axis(mix == 2 ? rng.Int(0, 2) : mix), axis(mix));
}

}  // namespace

TEST(MeshWelder, WeldsToTheLowestStrictMatchWhereverTheCellBordersFall) {
    ToleranceGuard guard(T);
    // The same scene shifted in steps of T / 4 over 16 T, so that every position
    // in it meets a cell border of the index in some shift (all values stay exact).
    for (int k = 0; k < 64; ++k) {
        const double o = 0.25 * T * k;
        Twin t;
        EXPECT_EQ(t.welder.InsertPoint(P(o + 4.5 * T, 0, 0)), 1);
        EXPECT_EQ(t.welder.InsertPoint(P(o + 6.0 * T, 0, 0)), 2);  // 1.5 T from point 1
        // Within reach of both: the earlier point wins.
        EXPECT_EQ(t.welder.FindPoint(P(o + 5.25 * T, 0, 0)), 1) << k;
        // Exactly T from point 1: strict, so only point 2 (0.5 T away) matches.
        EXPECT_EQ(t.welder.FindPoint(P(o + 5.5 * T, 0, 0)), 2) << k;
        EXPECT_EQ(t.welder.FindPoint(P(o + 3.5 * T, 0, 0)), 0) << k;
        EXPECT_EQ(t.welder.FindPoint(P(std::nextafter(o + 3.5 * T, 1.0), 0, 0)), 1) << k;
    }
}

TEST(MeshWelder, DegenerateTolerancesGiveTheScansAnswers) {
    const P a(1, 2, 3);
    for (double tol : {0.0, -0.0, -1.0, NaN, 1e-200}) {  // 1e-200 squared is 0: nothing matches
        ToleranceGuard guard(tol);
        Twin t;
        EXPECT_EQ(t.welder.InsertPoint(a), 1) << tol;
        EXPECT_EQ(t.welder.InsertPoint(a), 2) << tol;
    }
    // An infinite tolerance goes to the scan, where an infinite coordinate keeps a
    // point from matching anything, itself included.
    ToleranceGuard guard(Inf);
    Twin t;
    EXPECT_EQ(t.welder.InsertPoint(P(Inf, 0, 0)), 1);
    EXPECT_EQ(t.welder.InsertPoint(P(0, 0, 0)), 2);
    EXPECT_EQ(t.welder.FindPoint(P(Inf, 0, 0)), 0);
}

TEST(MeshWelder, ToleranceBoxesThatOverflowFallBackToTheScan) {
    // p + tol overflows to infinity: the index cannot file such a point in a few
    // cells, and must neither loop over the clamped key range nor exhaust memory.
    ToleranceGuard guard(1e308);
    Twin t;
    for (const P& p : {P(1e308, 1e308, 1e308), P(1e308, 1e308, 1e308), P(-1e308, 0, 5e307), P(1, 2, 3)})
        EXPECT_EQ(t.welder.InsertPoint(p), t.ref.InsertPoint(p)) << p;
}

// Seeded random sequences of every operation, compared call by call and pool by
// pool with the linear scan, with EqualTol changing mid-sequence and the pool
// grown and shrunk behind the welder's back.
TEST(MeshWelder, MatchesTheLinearScanOnRandomSequences) {
    const double tolerances[] = {T, 0.001, 1e-6, 3.0, 1e-160, 1e200, 0.0, -T, NaN, Inf};
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        SplitMix64 rng(seed);
        ToleranceGuard guard(tolerances[seed % 4]);
        Twin t;
        std::vector<P> emitted;
        for (int op = 0; op < 1500; ++op) {
            const double tol = EqualTol;
            const double s = tol > 0.0 && tol < 1e100 && tol * tol > 0.0 ? tol : T;
            const int what = rng.Int(0, 99);
            const P p = MakePoint(rng, s, emitted);
            emitted.push_back(p);
            if (what < 60) {
                ASSERT_EQ(t.welder.InsertPoint(p), t.ref.InsertPoint(p)) << seed << " op " << op;
            } else if (what < 80) {
                ASSERT_EQ(t.welder.FindPoint(p), t.ref.FindPoint(p)) << seed << " op " << op;
            } else if (what < 86) {
                std::vector<P> batch{p};
                for (int k = rng.Int(0, 6); k > 0; --k) batch.push_back(MakePoint(rng, s, emitted));
                std::vector<long> got(batch.size()), want;
                t.welder.InsertPoints(batch.data(), batch.size(), got.data());
                for (const P& q : batch) want.push_back(t.ref.InsertPoint(q));
                ASSERT_EQ(got, want) << seed << " op " << op;
            } else if (what < 91) {
                std::vector<P> corners{p};
                const long count = rng.Int(-1, 4);
                while (static_cast<long>(corners.size()) < count) corners.push_back(MakePoint(rng, s, emitted));
                ASSERT_EQ(t.welder.AddPolygon(count, corners.data()), t.ref.AddPolygon(count, corners.data()))
                    << seed << " op " << op;
            } else if (what < 94) {
                t.mesh.points.push_back(p);  // appended by other means
                t.ref.points.push_back(p);
            } else if (what < 96 && !t.ref.points.empty()) {
                const std::size_t n = t.ref.points.size() - rng.Next() % (t.ref.points.size() / 4 + 1) - 1;
                t.mesh.points.resize(n);  // removed: the welder must notice and rebuild
                t.ref.points.resize(n);
            } else {
                EqualTol = tolerances[rng.Int(0, 9)];
            }
        }
        EXPECT_TRUE(SamePool(t.mesh, t.ref)) << seed;
    }
}

TEST(MeshWelder, FollowsPoolsEditedBehindItsBack) {
    ToleranceGuard guard(T);
    Twin t;
    SplitMix64 rng(99);
    std::vector<P> probes;
    for (int i = 0; i < 400; ++i) probes.push_back(MakePoint(rng, T, probes));
    for (const P& p : probes) {
        t.welder.InsertPoint(p);
        t.ref.InsertPoint(p);
    }
    auto agree = [&](const char* what) {
        for (const P& p : probes) ASSERT_EQ(t.welder.FindPoint(p), t.ref.FindPoint(p)) << what;
    };
    // A pool moved in place as a whole: the last point changed, which the welder sees.
    CTransformation shift;
    shift.Translation(CVector3d(0.5 * T, 0, 0));
    t.mesh.Transform(shift);
    t.ref.Transform(shift);
    agree("after a transform");
    // A refilled pool of the same size.
    t.mesh.points.assign(probes.rbegin(), probes.rbegin() + static_cast<long>(t.ref.points.size()));
    t.ref.points = t.mesh.points;
    agree("after a refill");
    // One earlier point edited in place, made known by Rebuild.
    t.mesh.points[3] = t.ref.points[3] = P(4.0 * T, 4.0 * T, 4.0 * T);
    t.welder.Rebuild();
    agree("after an edit and Rebuild");
    EXPECT_EQ(&t.welder.Mesh(), &t.mesh);

    // Only the last indexed point is watched (O(1) a call): an earlier point moved
    // in place is still filed under its old place.
    Twin e;
    e.welder.InsertPoint(P(0, 0, 0));
    e.welder.InsertPoint(P(1, 0, 0));
    e.mesh.points[0] = P(2, 0, 0);
    EXPECT_EQ(e.welder.FindPoint(P(2, 0, 0)), 0);
}

TEST(MeshWelder, BulkCallsMatchTheMeshIncludingRefusedPolygons) {
    ToleranceGuard guard(T);
    Twin t;
    const P quad[] = {P(0, 0, 0), P(1, 0, 0), P(1, 1, 0), P(0.25 * T, 0, 0)};
    EXPECT_EQ(t.welder.AddPolygon(4, quad), 1);
    t.ref.AddPolygon(4, quad);
    for (long count : {2L, 0L, -3L}) {
        EXPECT_EQ(t.welder.AddPolygon(count, quad + 1), 0);
        t.ref.AddPolygon(count, quad + 1);
    }
    EXPECT_EQ(t.welder.AddPolygon(3, nullptr), 0);
    const P tri[] = {P(2, 0, 0), P(2, 1, 0), P(2, 0, 0)};  // a repeated corner stays a corner
    EXPECT_EQ(t.welder.AddPolygon(3, tri), 2);
    t.ref.AddPolygon(3, tri);
    EXPECT_TRUE(SamePool(t.mesh, t.ref));

    long indices[3] = {-7, -7, -7};
    t.welder.InsertPoints(tri, 0, indices);
    EXPECT_EQ(indices[0], -7);
    t.welder.InsertPoints(quad, 4, nullptr);  // welds without reporting
    EXPECT_EQ(t.mesh.points.size(), 5u);

    // Corners that exactly fill the room reserved for them leave the index list where
    // it is (the room is used up inclusively before it grows).
    Twin r;
    r.mesh.ReserveSpace(0, 1);
    const std::vector<P> fan(r.mesh.polygonIndices.capacity(), P(2, 0, 0));
    const long* before = r.mesh.polygonIndices.data();
    r.welder.AddPolygon(static_cast<long>(fan.size()), fan.data());
    EXPECT_EQ(r.mesh.polygonIndices.data(), before);
}
