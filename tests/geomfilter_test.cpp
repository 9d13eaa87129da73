#include <geometry/geomfilter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/random.h"
#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using P3 = CPoint3d;
using Box = CBoundingBox3d;

static_assert(std::is_abstract_v<IGeomFilter> && std::is_abstract_v<CGeomFilterVolume>);
static_assert(std::has_virtual_destructor_v<IGeomFilter>);
// The combined filter owns raw member pointers: copying it would delete them twice.
static_assert(!std::is_copy_constructible_v<CGeomFilterCombined> && !std::is_copy_assignable_v<CGeomFilterCombined>);

namespace {

const double kAbsent = CGeomFilterVolume::AbsentPlaneD;

bool Same(const CPlane& p, const CPlane& q) { return p.a == q.a && p.b == q.b && p.c == q.c && p.d == q.d; }

// The flagged box test as (accepted, fully accepted), the flag preset to `preset`
// so that a flag left unwritten shows. A braced list evaluates in order: the flag
// is read after the test.
using Answer = std::pair<bool, bool>;
Answer Flagged(IGeomFilter& f, const Box& b, bool preset) { return {f.Test(b, preset), preset}; }

// The unit cube [0, 1]^3, normals pointing out; plane 5 is z <= 1.
template <class V>
V& UnitCube(V& v) {
    const CPlane planes[6] = {CPlane(1, 0, 0, -1), CPlane(-1, 0, 0, 0), CPlane(0, 1, 0, -1),
                              CPlane(0, -1, 0, 0), CPlane(0, 0, -1, 0), CPlane(0, 0, 1, -1)};
    std::copy(planes, planes + 6, v.planes);
    return v;
}

// A member filter that logs what it is asked and counts live instances.
struct Probe : IGeomFilter {
    static int alive;
    static std::vector<std::string> log;
    std::string name;
    bool answer, full, offersPlane;
    CPlane plane;

    Probe(std::string n, bool a = true, bool f = true, bool offer = false)
        : name(std::move(n)), answer(a), full(f), offersPlane(offer) {
        ++alive;
    }
    Probe(const Probe& o) : Probe(o.name + "'", o.answer, o.full, o.offersPlane) { plane = o.plane; }
    ~Probe() override {
        --alive;
        log.push_back("~" + name);
    }
    bool Test(const P3&) override { return Ask("point"); }
    bool Test(const P3&, const P3&) override { return Ask("segment"); }
    bool Test(const Box&) override { return Ask("box"); }
    bool Test(const Box&, bool& f) override { return f = full, Ask("box+flag"); }
    IGeomFilter* Clone() override { return new Probe(*this); }
    void Transform(const CTransformation&) override {}
    const CPlane* GetFrustumPlane(int index) const override { return offersPlane && index == 0 ? &plane : nullptr; }
    bool Ask(const char* what) {
        log.push_back(name + " " + what);
        return answer;
    }
};
int Probe::alive = 0;
std::vector<std::string> Probe::log;
using Log = std::vector<std::string>;

class GeomFilterCombinedTest : public ::testing::Test {
protected:
    void SetUp() override {
        Probe::alive = 0;
        Probe::log.clear();
    }
    void TearDown() override { EXPECT_EQ(Probe::alive, 0) << "a member filter leaked or was deleted twice"; }
};

}  // namespace

TEST(GeomFilterVolume, PointTestIsExactOnEveryPresentPlane) {
    CGeomFilterInsideVolume def;  // the default is the half-space z <= 0
    EXPECT_FALSE(def.Test(P3(0, 0, 1e-9)));

    CGeomFilterCrossingVolume cube;
    IGeomFilter& f = UnitCube(cube);
    for (const P3& p : {P3(1 + 1e-12, 0.5, 0.5), P3(0.5, -1e-12, 0.5), P3(0.5, 0.5, 1 + 1e-12)})
        EXPECT_FALSE(f.Test(p)) << p;

    // Plane 5 is absent only for exactly the widened FLT_MAX.
    cube.planes[5].d = kAbsent;
    EXPECT_TRUE(!cube.HasPlane5());
    cube.planes[5].d = std::nextafter(kAbsent, 0.0);
    EXPECT_TRUE(cube.HasPlane5());

    for (int i : {-1, 6}) EXPECT_EQ(f.GetFrustumPlane(i), nullptr) << i;
}

TEST(GeomFilterVolume, TransformSkipsAnAbsentPlane5) {
    const CTransformation t = CTransformation::Translate(CVector3d(1, 2, 3)) *
                              CTransformation::Rotate(P3(0, 0, 0), CUnitVector3d(1, 1, 0), 0.3) *
                              CTransformation::Scale(2);
    CGeomFilterInsideVolume v;
    const CGeomFilterInsideVolume before(UnitCube(v));
    v.Transform(t);
    for (int i = 0; i < 6; ++i) {
        CPlane expected = before.planes[i];
        t.Transform(expected);
        EXPECT_TRUE(Same(v.planes[i], expected)) << i;
    }
    v = before;
    v.planes[5] = CPlane(0.6, 0, 0.8, 0);
    v.planes[5].d = kAbsent;
    const CPlane absent = v.planes[5];
    v.Transform(t);
    EXPECT_TRUE(Same(v.planes[5], absent));
}

TEST(GeomFilterPlane, TouchingWithinTheBand) {
    CGeomFilterPlane pf(CPlane(0, 0, 1, 0));
    IGeomFilter& f = pf;
    auto at = [](double z) { return P3(1, 2, z); };
    // The band is strict and two-sided, for points and for segment ends.
    for (double z : {0.001, -0.001}) EXPECT_FALSE(f.Test(at(z))) << z;
    EXPECT_FALSE(f.Test(at(-1), at(-0.001)));
    {
        // Without the band an end exactly on the plane counts with the positive side.
        plenar_test::ToleranceGuard zero(0.0);
        EXPECT_FALSE(f.Test(at(0), at(0)));
        EXPECT_FALSE(f.Test(at(0)));
        EXPECT_TRUE(f.Test(at(0), at(-5)));
        EXPECT_TRUE(f.Test(at(-5), at(0)));
    }

    std::unique_ptr<IGeomFilter> copy(f.Clone());
    ASSERT_NE(dynamic_cast<CGeomFilterPlane*>(copy.get()), nullptr);
    EXPECT_EQ(dynamic_cast<CGeomFilterAbovePlane*>(copy.get()), nullptr);
    copy->Transform(CTransformation::Translate(CVector3d(0, 0, 2)));
    EXPECT_TRUE(copy->Test(at(2)));
    EXPECT_TRUE(f.Test(at(0)));  // the original stays

    // A subclass overriding only Test(box) changes the flagged answer as well.
    struct Everything : CGeomFilterPlane {
        using CGeomFilterPlane::Test;
        bool Test(const Box&) override { return true; }
    } everything;
    EXPECT_EQ(Flagged(everything, Box(P3(0, 0, 5), P3(1, 1, 6)), true), Answer(true, false));
}

TEST(GeomFilterPlane, AbovePlaneKeepsABandBelowForPointsAndSegments) {
    CGeomFilterAbovePlane above(CPlane(0, 0, 1, 0));
    CGeomFilterPlane* f = &above;  // dispatch through the plane filter reaches the above-plane bodies
    auto at = [](double z) { return P3(-4, 9, z); };
    EXPECT_TRUE(f->Test(at(-0.0009)));
    EXPECT_TRUE(!f->Test(at(-0.001)));
    const double kept[][2] = {{-1, -0.0009}, {-0.0009, -1}, {7, 8}};  // from z to z
    for (const auto& z : kept) EXPECT_TRUE(f->Test(at(z[0]), at(z[1]))) << z[0] << " " << z[1];
    EXPECT_FALSE(f->Test(at(-1), at(-0.001)));

    std::unique_ptr<IGeomFilter> copy(f->Clone());
    EXPECT_NE(dynamic_cast<CGeomFilterAbovePlane*>(copy.get()), nullptr);
}

TEST_F(GeomFilterCombinedTest, OwnsItsMembersAndDeletesEachOnceInOrder) {
    {
        CGeomFilterCombined c(new Probe("a"), new Probe("b"));
        c.Add(new Probe("c"));
        CGeomFilterCombined withNull(nullptr, new Probe("d"));  // null members are skipped
        withNull.Add(nullptr);
        EXPECT_EQ(Probe::alive, 4);
    }
    EXPECT_EQ(Probe::log, (Log{"~d", "~a", "~b", "~c"}));
    IGeomFilter* owned = new CGeomFilterCombined(new Probe("e"), new CGeomFilterSelectAll());
    delete owned;  // through the interface
}

TEST_F(GeomFilterCombinedTest, AndOfMembersStoppingAtTheFirstRefusal) {
    CGeomFilterCombined c(new Probe("a"), new Probe("b", false));
    c.Add(new Probe("c"));
    // Point, segment, box and flagged box (the flag preset) in that order: b refuses
    // each, and c is never asked.
    EXPECT_FALSE(c.Test(P3()));
    EXPECT_FALSE(c.Test(P3(), P3()));
    EXPECT_FALSE(c.Test(Box()));
    EXPECT_EQ(Flagged(c, Box(), true), Answer(false, false));
    EXPECT_EQ(Probe::log,
              (Log{"a point", "b point", "a segment", "b segment", "a box", "b box", "a box+flag", "b box+flag"}));
}

TEST_F(GeomFilterCombinedTest, FrustumPlanesCloneAndTransform) {
    auto* volume = new CGeomFilterInsideVolume();
    CGeomFilterCombined c(new CGeomFilterPlane(CPlane(1, 0, 0, 0)), &UnitCube(*volume));
    c.Add(new CGeomFilterSelectAll());
    c.Add(new Probe("p", true, true, true));
    EXPECT_EQ(c.GetFrustumPlane(0), &volume->planes[0]);  // the plane filter offers none; the first non-null wins

    std::unique_ptr<IGeomFilter> copy(c.Clone());
    auto* cc = dynamic_cast<CGeomFilterCombined*>(copy.get());
    ASSERT_NE(cc, nullptr);
    ASSERT_EQ(cc->filters.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NE(cc->filters[i], c.filters[i]);  // deep
    EXPECT_TRUE(dynamic_cast<CGeomFilterInsideVolume*>(cc->filters[1]));
    EXPECT_TRUE(dynamic_cast<CGeomFilterSelectAll*>(cc->filters[2]));
    EXPECT_EQ(static_cast<Probe*>(cc->filters[3])->name, "p'");

    copy->Transform(CTransformation::Translate(CVector3d(5, 0, 0)));
    EXPECT_TRUE(!copy->Test(P3(0, 0.5, 0.5)));
    EXPECT_EQ(volume->planes[0].d, -1.0);
}

namespace {

// Coordinates that reach every branch of the tests: ordinary values, values on a
// dyadic grid (exactly on the axis-aligned planes below), signed zeros, the empty
// marks and non-finite numbers.
double Coord(plenar_test::SplitMix64& rng) {
    const int kind = rng.Int(0, 39);
    if (kind < 24) return rng.Uniform(-3.0, 3.0);
    if (kind < 34) return rng.Int(-12, 12) / 4.0;
    const double special[] = {
        0.0, -0.0, 1e30, -1e30, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};
    return special[kind - 34] * (kind == 38 && rng.Int(0, 1) ? -1.0 : 1.0);
}

P3 RandomPoint(plenar_test::SplitMix64& rng) { return P3(Coord(rng), Coord(rng), Coord(rng)); }

// Mostly proper boxes, some flat, empty (min > max), cleared or non-finite.
Box RandomBox(plenar_test::SplitMix64& rng) {
    const int kind = rng.Int(0, 9);
    if (kind == 0) return Box();  // the cleared box
    if (kind == 1) return Box(RandomPoint(rng), RandomPoint(rng));
    const P3 lo(rng.Int(-12, 12) / 4.0, rng.Int(-12, 12) / 4.0, rng.Int(-12, 12) / 4.0);
    if (kind < 5)
        return Box(lo, P3(lo.x + rng.Int(0, 8) / 4.0, lo.y + rng.Int(0, 8) / 4.0, lo.z + rng.Int(0, 8) / 4.0));
    const P3 c(rng.Uniform(-2, 2), rng.Uniform(-2, 2), rng.Uniform(-2, 2));
    const double e = kind == 9 ? -0.1 : rng.Uniform(0.0, 1.5);  // kind 9: empty on every axis
    return Box(P3(c.x - e, c.y - e * 0.5, c.z - e), P3(c.x + e, c.y + e, c.z + e * 0.5));
}

// A plane through the grid with an axis normal (signed zeros included), or a random
// one; rarely a NaN coefficient.
CPlane RandomPlane(plenar_test::SplitMix64& rng) {
    CPlane p;
    const int kind = rng.Int(0, 19);
    if (kind < 8) {
        double n[3] = {rng.Int(0, 1) ? 0.0 : -0.0, rng.Int(0, 1) ? 0.0 : -0.0, rng.Int(0, 1) ? 0.0 : -0.0};
        n[kind % 3] = kind < 4 ? 1.0 : -1.0;
        p.a = n[0];
        p.b = n[1];
        p.c = n[2];
        p.d = rng.Int(-8, 8) / 4.0;
    } else {
        p.Set(rng.Uniform(-1, 1), rng.Uniform(-1, 1), rng.Uniform(-1, 1), rng.Uniform(-1.5, 1.5));
    }
    if (kind == 19) p.b = std::numeric_limits<double>::quiet_NaN();
    return p;
}

template <class V>
V RandomVolumeOf(plenar_test::SplitMix64& rng) {
    V v;
    for (CPlane& p : v.planes) p = RandomPlane(rng);
    if (rng.Int(0, 2) == 0) v.planes[5].d = kAbsent;
    return v;
}

// The sizes that cross the internal runs of the bulk calls, odd and even.
const std::size_t kSizes[] = {0, 1, 2, 3, 127, 128, 129, 256, 301};

// Each bulk call of `bulk` (members or free function) against the per-item virtual
// calls of `filter`, on fresh inputs for every size; outputs start filled with
// `fill` so that an element left unwritten shows.
template <class Bulk>
void ExpectBulkEqualsPerItem(IGeomFilter& filter, plenar_test::SplitMix64& rng, Bulk bulk, const char* what) {
    for (const std::size_t n : kSizes) {
        std::vector<Box> boxes(n);
        std::vector<P3> points(n), ends(2 * n);
        for (Box& b : boxes) b = RandomBox(rng);
        for (P3& p : points) p = RandomPoint(rng);
        for (std::size_t i = 0; i < n; ++i) {
            ends[2 * i] = rng.Int(0, 3) ? P3(rng.Int(-12, 12) / 4.0, rng.Uniform(-3, 3), rng.Int(-12, 12) / 4.0)
                                        : RandomPoint(rng);
            ends[2 * i + 1] =
                rng.Int(0, 3) ? P3(rng.Uniform(-3, 3), rng.Int(-12, 12) / 4.0, rng.Uniform(-3, 3)) : RandomPoint(rng);
        }
        for (const bool fill : {false, true}) {
            std::unique_ptr<bool[]> acc(new bool[n]), full(new bool[n]), accNoFlag(new bool[n]), pts(new bool[n]),
                segs(new bool[n]);
            for (std::size_t i = 0; i < n; ++i) acc[i] = full[i] = accNoFlag[i] = pts[i] = segs[i] = fill;
            bulk.Boxes(boxes.data(), n, acc.get(), full.get());
            bulk.Boxes(boxes.data(), n, accNoFlag.get(), nullptr);
            bulk.Points(points.data(), n, pts.get());
            bulk.Segments(ends.data(), n, segs.get());
            for (std::size_t i = 0; i < n; ++i) {
                bool f = !fill;
                const bool a = filter.Test(boxes[i], f);
                ASSERT_EQ(acc[i], a) << what << " box " << i << " of " << n;
                ASSERT_EQ(full[i], f) << what << " box " << i << " of " << n;
                ASSERT_EQ(accNoFlag[i], filter.Test(boxes[i])) << what << " box " << i << " of " << n;
                ASSERT_EQ(pts[i], filter.Test(points[i])) << what << " point " << i << " of " << n;
                ASSERT_EQ(segs[i], filter.Test(ends[2 * i], ends[2 * i + 1])) << what << " segment " << i;
            }
        }
    }
}

// The free functions, dispatching on the dynamic type.
struct FreeBulk {
    IGeomFilter& f;
    void Boxes(const Box* b, std::size_t n, bool* a, bool* full) { TestBoxes(f, b, n, a, full); }
    void Points(const P3* p, std::size_t n, bool* a) { TestPoints(f, p, n, a); }
    void Segments(const P3* e, std::size_t n, bool* a) { TestSegments(f, e, n, a); }
};

// The members of the concrete type F.
template <class F>
struct MemberBulk {
    const F& f;
    void Boxes(const Box* b, std::size_t n, bool* a, bool* full) { f.TestBoxes(b, n, a, full); }
    void Points(const P3* p, std::size_t n, bool* a) { f.TestPoints(p, n, a); }
    void Segments(const P3* e, std::size_t n, bool* a) { f.TestSegments(e, n, a); }
};

template <class F>
void ExpectBothBulkFormsEqualPerItem(F& filter, plenar_test::SplitMix64& rng, const char* what) {
    ExpectBulkEqualsPerItem(filter, rng, MemberBulk<F>{filter}, what);
    ExpectBulkEqualsPerItem(filter, rng, FreeBulk{filter}, what);
}

}  // namespace

TEST(GeomFilterBulk, VolumesAnswerAsTheirPerItemTests) {
    plenar_test::SplitMix64 rng(0xB01);
    for (int round = 0; round < 12; ++round) {
        auto inside = RandomVolumeOf<CGeomFilterInsideVolume>(rng);
        ExpectBothBulkFormsEqualPerItem(inside, rng, "inside");
        auto crossing = RandomVolumeOf<CGeomFilterCrossingVolume>(rng);
        ExpectBothBulkFormsEqualPerItem(crossing, rng, "crossing");
    }
    // The unit cube: grid points and segments land exactly on its faces, and
    // segments beside its edges need the trims to accumulate.
    CGeomFilterCrossingVolume cube;
    ExpectBothBulkFormsEqualPerItem(UnitCube(cube), rng, "cube");
    cube.planes[5].d = kAbsent;
    ExpectBothBulkFormsEqualPerItem(cube, rng, "cube without plane 5");

    // Ends DivideByZeroTol / 2 either side of z = 0: their weights sum to exactly
    // DivideByZeroTol, which still moves the end above onto the plane; the moved
    // end then lies above x >= 0.5 with the other end, and the segment is rejected.
    // Without the move the end at x = 1 would keep part of it. The second segment
    // fills the other lane of the pair.
    CGeomFilterCrossingVolume slab(CPlane(0, 0, 1, 0), CPlane(-1, 0, 0, 0.5), CPlane(1, 0, 0, -10),
                                   CPlane(0, 1, 0, -10), CPlane(0, -1, 0, -10), CPlane(0, 0, -1, -10));
    const double h = DivideByZeroTol / 2;
    const P3 ends[4] = {P3(1, 0, h), P3(-1, 0, -h), P3(1, 0, 3 * h), P3(-1, 0, -0.5 * h)};
    bool out[2] = {true, false};
    slab.TestSegments(ends, 2, out);
    EXPECT_FALSE(out[0]);
    EXPECT_FALSE(slab.Test(ends[0], ends[1]));
}

TEST(GeomFilterBulk, PlanesSelectAllAndCombinedAnswerAsTheirPerItemTests) {
    plenar_test::SplitMix64 rng(0xB02);
    for (int round = 0; round < 12; ++round) {
        CGeomFilterPlane plane(RandomPlane(rng));
        ExpectBothBulkFormsEqualPerItem(plane, rng, "plane");
        CGeomFilterAbovePlane above(RandomPlane(rng));
        ExpectBothBulkFormsEqualPerItem(above, rng, "above plane");
    }
    for (const double band : {0.25, 0.0}) {
        // The bands follow EqualTol at the moment of the call; without a band, grid
        // points exactly on the plane decide the sides.
        plenar_test::ToleranceGuard tol(band);
        CGeomFilterPlane plane(CPlane(0, 0, 1, -0.5));
        CGeomFilterAbovePlane above(CPlane(1, 0, 0, 0.25));
        ExpectBothBulkFormsEqualPerItem(plane, rng, "plane, other band");
        ExpectBothBulkFormsEqualPerItem(above, rng, "above plane, other band");
    }
    CGeomFilterSelectAll all;
    ExpectBothBulkFormsEqualPerItem(all, rng, "select-all");

    CGeomFilterCombined empty;
    ExpectBothBulkFormsEqualPerItem(empty, rng, "empty combined");
    for (int round = 0; round < 6; ++round) {
        CGeomFilterCombined combined(new CGeomFilterCrossingVolume(RandomVolumeOf<CGeomFilterCrossingVolume>(rng)),
                                     new CGeomFilterAbovePlane(RandomPlane(rng)));
        if (round % 2) combined.Add(new CGeomFilterSelectAll());
        auto* nested =
            new CGeomFilterCombined(new CGeomFilterPlane(RandomPlane(rng)),
                                    new CGeomFilterInsideVolume(RandomVolumeOf<CGeomFilterInsideVolume>(rng)));
        combined.Add(nested);
        ExpectBothBulkFormsEqualPerItem(combined, rng, "combined");
    }
}

TEST_F(GeomFilterCombinedTest, BulkFallsBackToTheVirtualTestsForOtherTypes) {
    // A client's volume that overrides the tests: the free functions must take its
    // answers, although its type derives from a filter with bulk members.
    struct Inverted : CGeomFilterCrossingVolume {
        using CGeomFilterCrossingVolume::Test;
        bool Test(const P3& p) override { return !CGeomFilterCrossingVolume::Test(p); }
        bool Test(const P3& a, const P3& b) override { return !CGeomFilterCrossingVolume::Test(a, b); }
        bool Test(const Box& b) override { return !CGeomFilterCrossingVolume::Test(b); }
        bool Test(const Box& b, bool& full) override {
            const bool accepted = CGeomFilterCrossingVolume::Test(b, full);
            full = !full;
            return !accepted;
        }
    } inverted;
    UnitCube(inverted);
    plenar_test::SplitMix64 rng(0xB03);
    ExpectBulkEqualsPerItem(inverted, rng, FreeBulk{inverted}, "client volume");

    // A combined filter with a client member asks it exactly what the per-item walk
    // asks, in the same order: box i is not put to b once a has refused it, and a
    // null flag array asks the flagless box test.
    CGeomFilterCombined c(new Probe("a", false), new Probe("b"));
    c.Add(new CGeomFilterSelectAll());
    const Box boxes[2];
    const P3 ends[4];
    bool out[2];
    TestBoxes(c, boxes, 2, out, nullptr);
    bool flags[2];
    c.TestBoxes(boxes, 2, out, flags);
    TestPoints(c, ends, 2, out);
    TestSegments(c, ends, 2, out);
    EXPECT_EQ(Probe::log,
              (Log{"a box", "a box", "a box+flag", "a box+flag", "a point", "a point", "a segment", "a segment"}));
    Probe::log.clear();
    static_cast<Probe*>(c.filters[0])->answer = true;
    TestBoxes(c, boxes, 2, out, flags);
    EXPECT_EQ(Probe::log, (Log{"a box+flag", "b box+flag", "a box+flag", "b box+flag"}));
    for (int i : {0, 1}) EXPECT_EQ(Answer(out[i], flags[i]), Answer(true, true)) << i;
}
