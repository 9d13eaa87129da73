// The array calls against the single-item calls, bit for bit (memcmp), on inputs
// drawn the way the determinism battery draws them: ordinary coordinates, values
// on a 1/8 grid (coincident faces, ties, axis-aligned rays), tolerances, signed
// zeros, the 1e30 mark, NaN and infinity of either sign, huge and subnormal values.
// Array lengths cover every remainder of the vector widths. ctest runs this program
// twice, the second time with PLENAR_SIMD=sse2, so both kernels are checked.
#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>
#include <geometry/tol.h>
#include <geometry/transformation.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "support/random.h"

using namespace velmor::geometry;
using plenar_test::SplitMix64;

namespace {

constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

double Coord(SplitMix64& rng) {
    const int kind = rng.Int(0, 31);
    if (kind < 18) return rng.Uniform(-100.0, 100.0);
    if (kind < 28) return rng.Int(-64, 64) * 0.125;
    switch (rng.Int(0, 13)) {
        case 0:
            return EqualTol;
        case 1:
            return -EqualTol * 0.5;
        case 2:
            return DivideByZeroTol;
        case 3:
            return 0.0;
        case 4:
            return -0.0;
        case 5:
            return rng.Int(0, 1) != 0 ? 1e30 : -1e30;
        case 6:
            return NaN;
        case 7:
            return -NaN;
        case 8:
            return Inf;
        case 9:
            return -Inf;
        case 10:
            return 1e15 + rng.Unit();
        case 11:
            return rng.Int(0, 1) != 0 ? 1e300 : -1e300;
        case 12:
            return 4.9e-324 * rng.Int(-3, 3);
        default:
            return rng.Unit() * 1e-6;
    }
}

double Finite(SplitMix64& rng) { return rng.Int(0, 3) == 0 ? rng.Int(-64, 64) * 0.125 : rng.Uniform(-100.0, 100.0); }

CPoint3d Point(SplitMix64& rng) {
    const double x = Coord(rng), y = Coord(rng), z = Coord(rng);
    return {x, y, z};
}

CPoint3d FinitePoint(SplitMix64& rng) {
    const double x = Finite(rng), y = Finite(rng), z = Finite(rng);
    return {x, y, z};
}

CUnitVector3d UnitVector(SplitMix64& rng) {
    const double x = Finite(rng), y = Finite(rng), z = Finite(rng);
    return CUnitVector3d(x, y, z);
}

// The battery's placements, plus the identity, singular ones and raw numbers.
CTransformation RandomTransformation(SplitMix64& rng) {
    switch (rng.Int(0, 8)) {
        case 0: {
            const CPoint3d c = FinitePoint(rng);
            const CUnitVector3d axis = UnitVector(rng);
            return CTransformation::Rotate(c, axis, rng.Uniform(-6.0, 6.0));
        }
        case 1: {
            const CPoint3d c = FinitePoint(rng);
            return CTransformation::Scale(c, Finite(rng));
        }
        case 2: {
            const CPoint3d c = FinitePoint(rng);
            const double sx = Finite(rng), sy = Finite(rng);
            return CTransformation::Scale(c, sx, sy, Finite(rng));
        }
        case 3: {
            const CUnitVector3d xa = UnitVector(rng), ya = UnitVector(rng), za = UnitVector(rng);
            return CTransformation(xa, ya, za, FinitePoint(rng));
        }
        case 4: {
            const CPoint3d o = FinitePoint(rng);
            return CTransformation(o, UnitVector(rng));
        }
        case 5:
            return CTransformation();
        case 6:
            return CTransformation::Scale(0.0, Finite(rng), Finite(rng));  // singular: planes use itself
        default: {
            double m16[16];
            for (double& v : m16) v = Coord(rng);
            return CTransformation(m16);
        }
    }
}

// Lengths 0 to 19 often (every remainder of two and four, with and without a
// vector body), sometimes longer.
std::size_t Length(SplitMix64& rng) {
    return static_cast<std::size_t>(rng.Int(0, 7) == 0 ? rng.Int(20, 200) : rng.Int(0, 19));
}

// Every NaN replaced by one quiet NaN. A NaN's sign and payload are not part of any
// result (the battery prints every NaN as "nan"): when two NaNs meet in a sum or a
// product, which one propagates depends on the operand order the compiler picks,
// and it may commute them differently in two places that compile the same source.
template <class T>
std::vector<T> CanonicalNaNs(std::vector<T> values) {
    static_assert(sizeof(T) % sizeof(double) == 0, "made of doubles");
    for (T& v : values) {
        double d[sizeof(T) / sizeof(double)];
        std::memcpy(d, &v, sizeof(T));
        for (double& x : d) x = x != x ? NaN : x;
        std::memcpy(&v, d, sizeof(T));
    }
    return values;
}

// Bit for bit, NaNs aside as above.
template <class T>
bool SameBits(const std::vector<T>& a, const std::vector<T>& b) {
    const std::vector<T> ca = CanonicalNaNs(a), cb = CanonicalNaNs(b);
    return ca.size() == cb.size() && (ca.empty() || std::memcmp(ca.data(), cb.data(), ca.size() * sizeof(T)) == 0);
}

bool SameBits(const std::vector<EBoxSide>& a, const std::vector<EBoxSide>& b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(EBoxSide)) == 0);
}

// A bool array (std::vector<bool> is packed) primed with a value.
std::unique_ptr<bool[]> Flags(std::size_t n, bool value) {
    std::unique_ptr<bool[]> flags(new bool[n + 1]);
    for (std::size_t i = 0; i < n; ++i) flags[i] = value;
    return flags;
}

bool SameFlags(const std::unique_ptr<bool[]>& a, const std::unique_ptr<bool[]>& b, std::size_t n) {
    return n == 0 || std::memcmp(a.get(), b.get(), n) == 0;
}

}  // namespace

TEST(BulkDeterminism, PointsAndVectorsMatchTheSingleCall) {
    SplitMix64 rng(20240615);
    for (int round = 0; round < 2000; ++round) {
        const CTransformation t = RandomTransformation(rng);
        const std::size_t n = Length(rng);
        std::vector<CPoint3d> points(n);
        std::vector<CVector3d> vectors(n);
        for (std::size_t i = 0; i < n; ++i) {
            points[i] = Point(rng);
            const CPoint3d v = Point(rng);
            vectors[i] = CVector3d(v.x, v.y, v.z);
        }

        std::vector<CPoint3d> expected = points;
        for (CPoint3d& p : expected) t.Transform(p);
        std::vector<CPoint3d> copied(n, CPoint3d(7, 7, 7));
        t.TransformPoints(points.data(), n, copied.data());
        std::vector<CPoint3d> inPlace = points;
        t.TransformPoints(inPlace.data(), n);
        ASSERT_TRUE(SameBits(copied, expected)) << "round " << round << " n " << n;
        ASSERT_TRUE(SameBits(inPlace, expected)) << "round " << round << " n " << n;

        std::vector<CVector3d> expectedV = vectors;
        for (CVector3d& v : expectedV) t.Transform(v);
        t.TransformVectors(vectors.data(), n);
        ASSERT_TRUE(SameBits(vectors, expectedV)) << "round " << round << " n " << n;
    }
}

TEST(BulkDeterminism, PlanesInvertOnceWithTheSameBits) {
    SplitMix64 rng(777);
    for (int round = 0; round < 1500; ++round) {
        const CTransformation t = RandomTransformation(rng);
        const std::size_t n = Length(rng);
        std::vector<CPlane> planes(n);
        for (CPlane& pl : planes) {
            if (rng.Int(0, 2) == 0) {
                // Raw, possibly unnormalised or non-finite equations.
                pl.a = Coord(rng);
                pl.b = Coord(rng);
                pl.c = Coord(rng);
                pl.d = Coord(rng);
            } else {
                pl = CPlane(FinitePoint(rng), UnitVector(rng));
            }
        }
        std::vector<CPlane> expected = planes;
        for (CPlane& pl : expected) t.Transform(pl);
        t.TransformPlanes(planes.data(), n);
        ASSERT_TRUE(SameBits(planes, expected)) << "round " << round << " n " << n;
    }
}

TEST(BulkDeterminism, OneRayManyBoxesMatchesTheSingleCall) {
    SplitMix64 rng(4242);
    int faces = 0, inside = 0;
    for (int round = 0; round < 3000; ++round) {
        // Rays on the grid with axis-aligned or diagonal directions meet faces, edges
        // and corners exactly; the others are the battery's.
        CRay3d ray;
        switch (rng.Int(0, 3)) {
            case 0: {
                const double d[3] = {static_cast<double>(rng.Int(-1, 1)), static_cast<double>(rng.Int(-1, 1)),
                                     static_cast<double>(rng.Int(-1, 1))};
                ray = CRay3d(CPoint3d(rng.Int(-16, 16) * 0.125, rng.Int(-16, 16) * 0.125, rng.Int(-16, 16) * 0.125),
                             CUnitVector3d::FromComponents(d[0], d[1], d[2] == 0.0 && rng.Int(0, 1) ? -0.0 : d[2]));
                break;
            }
            case 1:
                ray = CRay3d(Point(rng), CUnitVector3d::FromComponents(Coord(rng), Coord(rng), Coord(rng)));
                break;
            default:
                ray.Set(FinitePoint(rng), FinitePoint(rng));
                break;
        }
        const std::size_t n = Length(rng);
        std::vector<CBoundingBox3d> boxes(n);
        for (CBoundingBox3d& box : boxes) {
            const int kind = rng.Int(0, 5);
            if (kind == 0) {
                box = CBoundingBox3d();  // the canonical empty box
            } else if (kind <= 2) {
                const double lo[3] = {rng.Int(-8, 8) * 0.125, rng.Int(-8, 8) * 0.125, rng.Int(-8, 8) * 0.125};
                box = CBoundingBox3d(CPoint3d(lo[0], lo[1], lo[2]),
                                     CPoint3d(lo[0] + rng.Int(-1, 8) * 0.125, lo[1] + rng.Int(0, 8) * 0.125,
                                              lo[2] + rng.Int(-1, 8) * 0.125));
            } else {
                box = CBoundingBox3d(CRange(Coord(rng), Coord(rng)), CRange(Coord(rng), Coord(rng)),
                                     CRange(Coord(rng), Coord(rng)));
            }
        }

        // Expected: the single call per box, on outputs primed with markers so that
        // what is left unwritten is compared too.
        const std::unique_ptr<bool[]> expectedHits = Flags(n, false);
        std::vector<CPoint3d> expectedEntries(n, CPoint3d(-3, -3, -3));
        std::vector<EBoxSide> expectedSides(n, MaxZ);
        for (std::size_t i = 0; i < n; ++i) {
            expectedHits[i] = ray.IntersectWith(boxes[i], expectedEntries[i], expectedSides[i]);
            faces += expectedHits[i] && expectedSides[i] != NoSide ? 1 : 0;
            inside += expectedHits[i] && expectedSides[i] == NoSide ? 1 : 0;
        }

        const std::unique_ptr<bool[]> got = Flags(n, true);
        std::vector<CPoint3d> entries(n, CPoint3d(-3, -3, -3));
        std::vector<EBoxSide> sides(n, MaxZ);
        ray.IntersectBoxes(boxes.data(), n, got.get(), entries.data(), sides.data());
        ASSERT_TRUE(SameFlags(got, expectedHits, n) && SameBits(entries, expectedEntries) &&
                    SameBits(sides, expectedSides))
            << "round " << round << " n " << n;

        // Either output may be left out; the others are unaffected.
        const std::unique_ptr<bool[]> maskOnly = Flags(n, true);
        ray.IntersectBoxes(boxes.data(), n, maskOnly.get(), nullptr, nullptr);
        std::vector<EBoxSide> sidesOnly(n, MaxZ);
        ray.IntersectBoxes(boxes.data(), n, maskOnly.get(), nullptr, sidesOnly.data());
        std::vector<CPoint3d> entriesOnly(n, CPoint3d(-3, -3, -3));
        ray.IntersectBoxes(boxes.data(), n, maskOnly.get(), entriesOnly.data(), nullptr);
        ASSERT_TRUE(SameFlags(maskOnly, expectedHits, n) && SameBits(sidesOnly, expectedSides) &&
                    SameBits(entriesOnly, expectedEntries))
            << "round " << round << " n " << n;
    }
    // The draws reach every kind of answer.
    EXPECT_GT(faces, 1000);
    EXPECT_GT(inside, 200);
}
