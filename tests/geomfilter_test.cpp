#include <geometry/geomfilter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using P3 = CPoint3d;
using Box = CBoundingBox3d;

// Which class supplies the non-overloaded slots: an inherited member's pointer has
// the base's class type.
static_assert(
    std::is_same_v<decltype(&CGeomFilterAbovePlane::Transform), void (CGeomFilterPlane::*)(const CTransformation&)>);
static_assert(
    std::is_same_v<decltype(&CGeomFilterAbovePlane::GetFrustumPlane), const CPlane* (CGeomFilterPlane::*)(int) const>);
static_assert(std::is_same_v<decltype(&CGeomFilterAbovePlane::Clone), IGeomFilter* (CGeomFilterAbovePlane::*)()>);
static_assert(
    std::is_same_v<decltype(&CGeomFilterInsideVolume::Transform), void (CGeomFilterVolume::*)(const CTransformation&)>);
static_assert(std::is_same_v<decltype(&CGeomFilterCrossingVolume::GetFrustumPlane),
                             const CPlane* (CGeomFilterVolume::*)(int) const>);
static_assert(
    std::is_same_v<decltype(&CGeomFilterCrossingVolume::Clone), IGeomFilter* (CGeomFilterCrossingVolume::*)()>);
static_assert(std::is_abstract_v<IGeomFilter> && std::is_abstract_v<CGeomFilterVolume>);
static_assert(!std::is_abstract_v<CGeomFilterInsideVolume> && !std::is_abstract_v<CGeomFilterCrossingVolume> &&
              !std::is_abstract_v<CGeomFilterAbovePlane> && !std::is_abstract_v<CGeomFilterCombined>);
static_assert(std::has_virtual_destructor_v<IGeomFilter>);
static_assert(std::is_copy_constructible_v<CGeomFilterCrossingVolume> &&
              std::is_copy_assignable_v<CGeomFilterAbovePlane>);
static_assert(!std::is_copy_constructible_v<CGeomFilterCombined> && !std::is_copy_assignable_v<CGeomFilterCombined>);

namespace {

const double kPi = std::acos(-1.0);

bool Same(const CPlane& p, const CPlane& q) { return p.a == q.a && p.b == q.b && p.c == q.c && p.d == q.d; }

// The unit cube [0, 1]^3 as six planes, normals pointing out; plane 5 is z <= 1.
CGeomFilterVolume* UnitCube(CGeomFilterVolume* v) {
    v->planes[0] = CPlane(1, 0, 0, -1);
    v->planes[1] = CPlane(-1, 0, 0, 0);
    v->planes[2] = CPlane(0, 1, 0, -1);
    v->planes[3] = CPlane(0, -1, 0, 0);
    v->planes[4] = CPlane(0, 0, -1, 0);
    v->planes[5] = CPlane(0, 0, 1, -1);
    return v;
}

// A random convex volume around c: six planes with random outward normals, each at
// a random distance from c.
void RandomVolume(std::mt19937_64& rng, CGeomFilterVolume* v, const P3& c) {
    std::normal_distribution<double> n(0.0, 1.0);
    std::uniform_real_distribution<double> r(0.5, 2.0);
    for (CPlane& p : v->planes) {
        const CUnitVector3d normal(n(rng), n(rng), n(rng));
        p.Set(P3(c, r(rng), normal), normal);
    }
}

Box RandomBox(std::mt19937_64& rng, double lo, double hi, double size) {
    std::uniform_real_distribution<double> u(lo, hi), s(0.0, size);
    const P3 a(u(rng), u(rng), u(rng));
    return Box(a, P3(a.x + s(rng), a.y + s(rng), a.z + s(rng)));
}

// Parametric clip of a segment against the half-spaces, as an independent check of
// the crossing test: the remaining parameter interval, possibly empty (lo > hi).
void ClipInterval(const CGeomFilterVolume& v, const P3& a, const P3& b, double& lo, double& hi) {
    lo = 0.0;
    hi = 1.0;
    for (int i = 0; i < (v.HasPlane5() ? 6 : 5); ++i) {
        const double da = v.planes[i].SignedDistance(a), db = v.planes[i].SignedDistance(b);
        if (da > 0 && db > 0) {
            lo = 1.0;
            hi = 0.0;
            return;
        }
        if (da > 0) lo = std::max(lo, da / (da - db));
        if (db > 0) hi = std::min(hi, da / (da - db));
    }
}

// A filter that records what is asked of it, and how many of its kind live.
struct Probe : IGeomFilter {
    static int alive;
    static int made;
    static std::vector<std::string> log;
    std::string name;
    bool answer;
    bool full;
    CPlane plane;
    const bool offersPlane;

    Probe(std::string n, bool a = true, bool f = true, bool offer = false)
        : name(std::move(n)), answer(a), full(f), offersPlane(offer) {
        ++alive;
        ++made;
    }
    Probe(const Probe& o)
        : IGeomFilter(o),
          name(o.name + "'"),
          answer(o.answer),
          full(o.full),
          plane(o.plane),
          offersPlane(o.offersPlane) {
        ++alive;
        ++made;
    }
    ~Probe() override {
        --alive;
        log.push_back("~" + name);
    }
    bool Test(const P3&) override { return Ask("point"); }
    bool Test(const P3&, const P3&) override { return Ask("segment"); }
    bool Test(const Box&) override { return Ask("box"); }
    bool Test(const Box&, bool& f) override {
        f = full;
        return Ask("box+flag");
    }
    IGeomFilter* Clone() override { return new Probe(*this); }
    void Transform(const CTransformation& t) override {
        log.push_back(name + " transform");
        t.Transform(plane);
    }
    const CPlane* GetFrustumPlane(int index) const override { return offersPlane && index == 0 ? &plane : nullptr; }

    bool Ask(const char* what) {
        log.push_back(name + " " + what);
        return answer;
    }
};
int Probe::alive = 0;
int Probe::made = 0;
std::vector<std::string> Probe::log;

class GeomFilterCombinedTest : public ::testing::Test {
protected:
    void SetUp() override {
        Probe::alive = 0;
        Probe::made = 0;
        Probe::log.clear();
    }
    void TearDown() override { EXPECT_EQ(Probe::alive, 0) << "a member filter leaked or was deleted twice"; }
};

}  // namespace

TEST(GeomFilterVolume, PointTestIsExactOnEveryPresentPlane) {
    CGeomFilterInsideVolume def;
    EXPECT_TRUE(def.Test(P3(0, 0, 0)) && def.Test(P3(5, 5, -1)));
    EXPECT_FALSE(def.Test(P3(0, 0, 1e-9)));

    CGeomFilterCrossingVolume cube;
    UnitCube(&cube);
    IGeomFilter& f = cube;
    EXPECT_TRUE(f.Test(P3(1, 1, 1)) && f.Test(P3(0, 0, 0)) && f.Test(P3(0.5, 0.5, 0.5)));  // faces belong
    EXPECT_FALSE(f.Test(P3(1 + 1e-12, 0.5, 0.5)) || f.Test(P3(0.5, -1e-12, 0.5)) || f.Test(P3(0.5, 0.5, 1 + 1e-12)));
    for (int i = 0; i < 5; ++i) {  // every one of planes 0..4 is consulted
        const P3 outside = P3(0.5, 0.5, 0.5) + CVector3d(cube.planes[i].Normal()) * 0.75;
        EXPECT_FALSE(f.Test(outside)) << i;
    }

    // Plane 5 is absent only for exactly the widened FLT_MAX.
    EXPECT_EQ(CGeomFilterVolume::AbsentPlaneD, 3.4028234663852886e38);
    cube.planes[5].d = CGeomFilterVolume::AbsentPlaneD;
    EXPECT_FALSE(cube.HasPlane5());
    EXPECT_TRUE(f.Test(P3(0.5, 0.5, 1e6)));
    cube.planes[5].d = std::nextafter(CGeomFilterVolume::AbsentPlaneD, 0.0);
    EXPECT_TRUE(cube.HasPlane5());
    EXPECT_FALSE(f.Test(P3(0.5, 0.5, 0.5)));  // a present plane with a huge d rejects everything

    // Frustum planes: all six slots (an absent plane 5 too), nothing else.
    cube.planes[5].d = CGeomFilterVolume::AbsentPlaneD;
    for (int i = 0; i < 6; ++i) EXPECT_EQ(f.GetFrustumPlane(i), &cube.planes[i]);
    EXPECT_EQ(f.GetFrustumPlane(-1), nullptr);
    EXPECT_EQ(f.GetFrustumPlane(6), nullptr);
}

TEST(GeomFilterVolume, TransformSkipsAnAbsentPlane5) {
    const CTransformation t = CTransformation::Translate(CVector3d(1, 2, 3)) *
                              CTransformation::Rotate(P3(0, 0, 0), CUnitVector3d(1, 1, 0), 0.3) *
                              CTransformation::Scale(2);
    CGeomFilterInsideVolume v;
    UnitCube(&v);
    const CGeomFilterInsideVolume before(v);
    v.Transform(t);
    for (int i = 0; i < 6; ++i) {
        CPlane expected = before.planes[i];
        t.Transform(expected);
        EXPECT_TRUE(Same(v.planes[i], expected)) << i;
    }
    EXPECT_TRUE(v.Test(t * P3(0.5, 0.5, 0.5)) && !v.Test(t * P3(0.5, 0.5, 1.01)));

    v = before;
    v.planes[5] = CPlane(0.6, 0, 0.8, 0);
    v.planes[5].d = CGeomFilterVolume::AbsentPlaneD;
    const CPlane absent = v.planes[5];
    v.Transform(t);
    EXPECT_TRUE(Same(v.planes[5], absent));  // untouched, still absent
    EXPECT_TRUE(v.Test(t * P3(0.5, 0.5, 7)));
    EXPECT_FALSE(v.Test(t * P3(0.5, 0.5, -0.01)));
}

TEST(GeomFilterVolume, BoxCodesAndTheFullyAcceptedFlag) {
    CGeomFilterInsideVolume inside;
    CGeomFilterCrossingVolume crossing;
    UnitCube(&inside);
    UnitCube(&crossing);
    for (IGeomFilter* f : {static_cast<IGeomFilter*>(&inside), static_cast<IGeomFilter*>(&crossing)}) {
        bool full = false;
        EXPECT_TRUE(f->Test(Box(P3(0.2, 0.2, 0.2), P3(0.8, 0.8, 0.8)), full) && full);
        EXPECT_TRUE(f->Test(Box(P3(0, 0, 0), P3(1, 1, 1)), full) && !full);  // faces on the planes: code 3
        EXPECT_TRUE(f->Test(Box(P3(0.5, 0.5, 0.5), P3(2, 0.8, 0.8)), full) && !full);
        EXPECT_TRUE(f->Test(Box(P3(1, 0.5, 0.5), P3(2, 0.8, 0.8)), full) && !full);  // touches x = 1 from outside
        full = true;
        EXPECT_FALSE(f->Test(Box(P3(1 + 1e-12, 0, 0), P3(2, 1, 1)), full));
        EXPECT_FALSE(full);                                              // cleared before the first plane
        EXPECT_FALSE(f->Test(Box(P3(0.2, 0.2, 1.5), P3(0.8, 0.8, 2))));  // above plane 5
        EXPECT_TRUE(f->Test(Box(P3(-3, -3, -3), P3(3, 3, 3))));          // encloses the volume
    }
    // With plane 5 absent a box far above it is inside as far as plane 5 goes.
    inside.planes[5].d = CGeomFilterVolume::AbsentPlaneD;
    bool full = false;
    EXPECT_TRUE(inside.Test(Box(P3(0.2, 0.2, 0.2), P3(0.8, 0.8, 50)), full) && full);
    EXPECT_TRUE(inside.Test(Box(P3(0.2, 0.2, 40), P3(0.8, 0.8, 50))));
    EXPECT_FALSE(inside.Test(Box(P3(0.2, 0.2, -2), P3(0.8, 0.8, -1)), full) || full);  // plane 4 still counts
}

TEST(GeomFilterVolume, InsideAndCrossingAgreeOnRandomBoxes) {
    std::mt19937_64 rng(4242);
    int seen[3] = {0, 0, 0};
    for (int round = 0; round < 200; ++round) {
        CGeomFilterInsideVolume inside;
        RandomVolume(rng, &inside, P3(0, 0, 0));
        if (round % 3 == 0) inside.planes[5].d = CGeomFilterVolume::AbsentPlaneD;
        CGeomFilterCrossingVolume crossing(inside.planes[0], inside.planes[1], inside.planes[2], inside.planes[3],
                                           inside.planes[4], inside.planes[5]);
        IGeomFilter* a = &inside;
        IGeomFilter* b = &crossing;
        for (int k = 0; k < 50; ++k) {
            const Box box = RandomBox(rng, -2.5, 2.0, k % 2 ? 0.5 : 2.0);
            bool fa = false, fb = true;
            const bool ra = a->Test(box, fa), rb = b->Test(box, fb);
            ASSERT_EQ(ra, rb);
            ASSERT_EQ(fa, fb);
            ASSERT_EQ(a->Test(box), ra);
            ASSERT_EQ(b->Test(box), ra);
            // Everything fully accepted really lies inside: its eight corners do.
            if (fa) {
                for (int c = 0; c < 8; ++c) ASSERT_TRUE(a->Test(box.GetCorner(c)));
            }
            ++seen[!ra ? 0 : (fa ? 1 : 2)];
        }
    }
    EXPECT_GT(seen[0], 100);  // rejected
    EXPECT_GT(seen[1], 100);  // fully accepted
    EXPECT_GT(seen[2], 100);  // straddling
}

TEST(GeomFilterVolume, SegmentsInsideAndCrossing) {
    CGeomFilterInsideVolume inside;
    CGeomFilterCrossingVolume crossing;
    UnitCube(&inside);
    UnitCube(&crossing);
    IGeomFilter& in = inside;
    IGeomFilter& cr = crossing;
    const P3 centre(0.5, 0.5, 0.5), out(2, 0.5, 0.5);
    EXPECT_TRUE(in.Test(centre, P3(1, 1, 1)) && cr.Test(centre, P3(1, 1, 1)));
    EXPECT_FALSE(in.Test(centre, out) || in.Test(out, centre));
    EXPECT_TRUE(cr.Test(centre, out) && cr.Test(out, centre));
    EXPECT_TRUE(cr.Test(P3(-1, 0.5, 0.5), out) && !in.Test(P3(-1, 0.5, 0.5), out));  // through, both ends out
    EXPECT_TRUE(cr.Test(P3(-1, 1, 0.5), P3(2, 1, 0.5)));                             // along a face
    EXPECT_FALSE(cr.Test(P3(-1, 1 + 1e-9, 0.5), P3(2, 1 + 1e-9, 0.5)));

    // Beside an edge: x + y = 2.1 passes outside the edge x = y = 1. Each face keeps a
    // piece, but no piece is inside both, so the trims must accumulate.
    EXPECT_FALSE(cr.Test(P3(0.5, 1.6, 0.5), P3(1.6, 0.5, 0.5)));
    EXPECT_FALSE(cr.Test(P3(1.6, 0.5, 0.5), P3(0.5, 1.6, 0.5)));
    EXPECT_TRUE(cr.Test(P3(0.5, 1.4, 0.5), P3(1.4, 0.5, 0.5)));  // x + y = 1.9 cuts the corner
    // Beside the corner (1, 1, 1) of plane 5, x + y + z = 3.3.
    EXPECT_FALSE(cr.Test(P3(1.3, 1, 1), P3(0.9, 1.2, 1.2)));

    // Plane 5 absent: only planes 0..4 trim.
    crossing.planes[5].d = CGeomFilterVolume::AbsentPlaneD;
    inside.planes[5].d = CGeomFilterVolume::AbsentPlaneD;
    EXPECT_TRUE(cr.Test(P3(0.5, 0.5, 5), P3(0.6, 0.5, 9)) && in.Test(P3(0.5, 0.5, 5), P3(0.6, 0.5, 9)));
    EXPECT_FALSE(cr.Test(P3(0.5, 1.6, 5), P3(1.6, 0.5, 5)));
}

TEST(GeomFilterVolume, CrossingSegmentsMatchParametricClipping) {
    std::mt19937_64 rng(99);
    std::uniform_real_distribution<double> u(-3.0, 3.0);
    int accepted = 0, rejected = 0;
    for (int round = 0; round < 100; ++round) {
        CGeomFilterCrossingVolume crossing;
        RandomVolume(rng, &crossing, P3(0, 0, 0));
        if (round % 4 == 0) crossing.planes[5].d = CGeomFilterVolume::AbsentPlaneD;
        CGeomFilterInsideVolume inside(crossing.planes[0], crossing.planes[1], crossing.planes[2], crossing.planes[3],
                                       crossing.planes[4], crossing.planes[5]);
        for (int k = 0; k < 100; ++k) {
            const P3 a(u(rng), u(rng), u(rng)), b(u(rng), u(rng), u(rng));
            double lo, hi;
            ClipInterval(crossing, a, b, lo, hi);
            if (std::fabs(hi - lo) < 1e-9) continue;  // grazing: rounding decides
            const bool expected = lo < hi;
            ASSERT_EQ(crossing.Test(a, b), expected) << round << " " << k;
            if (inside.Test(a, b)) {
                ASSERT_TRUE(expected);
            }
            ++(expected ? accepted : rejected);
        }
    }
    EXPECT_GT(accepted, 1000);
    EXPECT_GT(rejected, 1000);
}

TEST(GeomFilterPlane, TouchingWithinTheBand) {
    CGeomFilterPlane pf(CPlane(0, 0, 1, 0));
    IGeomFilter& f = pf;
    auto at = [](double z) { return P3(1, 2, z); };
    EXPECT_TRUE(f.Test(at(0.0009)) && f.Test(at(-0.0009)));
    EXPECT_FALSE(f.Test(at(0.001)) || f.Test(at(-0.001)));  // strict
    EXPECT_TRUE(f.Test(at(-2), at(3)) && f.Test(at(3), at(-2)));
    EXPECT_TRUE(f.Test(at(0.0005), at(5)) && f.Test(at(5), at(0.0005)));
    EXPECT_FALSE(f.Test(at(0.002), at(5)) || f.Test(at(-1), at(-0.001)));
    EXPECT_TRUE(f.Test(at(-1), at(-0.0009)));
    {
        // Without the band an end exactly on the plane counts with the positive side.
        plenar_test::ToleranceGuard zero(0.0);
        EXPECT_FALSE(f.Test(at(0), at(5)) || f.Test(at(0), at(0)));
        EXPECT_TRUE(f.Test(at(0), at(-5)) && f.Test(at(-5), at(0)));
        EXPECT_FALSE(f.Test(at(0)));
    }
    bool full = true;
    EXPECT_TRUE(f.Test(Box(P3(0, 0, -1), P3(1, 1, 1)), full) && !full);
    EXPECT_TRUE(f.Test(Box(P3(0, 0, 0), P3(1, 1, 1))));  // touching with a face
    EXPECT_FALSE(f.Test(Box(P3(0, 0, 1e-12), P3(1, 1, 1))) || f.Test(Box(P3(0, 0, -1), P3(1, 1, -0.0005))));
    EXPECT_EQ(f.GetFrustumPlane(0), nullptr);

    std::unique_ptr<IGeomFilter> copy(f.Clone());
    ASSERT_NE(dynamic_cast<CGeomFilterPlane*>(copy.get()), nullptr);
    EXPECT_EQ(dynamic_cast<CGeomFilterAbovePlane*>(copy.get()), nullptr);
    copy->Transform(CTransformation::Translate(CVector3d(0, 0, 2)));
    EXPECT_TRUE(copy->Test(at(2)) && !copy->Test(at(0)));
    EXPECT_TRUE(f.Test(at(0)));  // the original did not move
}

TEST(GeomFilterPlane, AbovePlaneBandForPointsButNotBoxes) {
    CGeomFilterAbovePlane above(CPlane(0, 0, 1, 0));
    CGeomFilterPlane* asPlane = &above;
    IGeomFilter* f = &above;
    auto at = [](double z) { return P3(-4, 9, z); };
    EXPECT_TRUE(f->Test(at(-0.0009)) && f->Test(at(100)));
    EXPECT_FALSE(f->Test(at(-0.001)));
    EXPECT_TRUE(f->Test(at(-1), at(-0.0009)) && f->Test(at(-0.0009), at(-1)) && f->Test(at(7), at(8)));
    EXPECT_FALSE(f->Test(at(-1), at(-0.001)));
    EXPECT_FALSE(f->Test(Box(P3(0, 0, -1), P3(1, 1, -0.0005))));  // no band for boxes
    EXPECT_TRUE(f->Test(Box(P3(0, 0, -1), P3(1, 1, 0))));

    // Dispatch through the plane filter's interface reaches the above-plane bodies.
    bool full = false;
    EXPECT_TRUE(asPlane->Test(Box(P3(0, 0, 1), P3(1, 1, 2)), full) && full);  // wholly above: fully accepted
    EXPECT_TRUE(asPlane->Test(Box(P3(0, 0, -1), P3(1, 1, 2)), full) && !full);
    full = true;
    EXPECT_FALSE(asPlane->Test(Box(P3(0, 0, -2), P3(1, 1, -1)), full) || full);
    EXPECT_TRUE(asPlane->Test(at(50)) && asPlane->Test(at(50), at(60)));

    // Transform and frustum planes are the plane filter's.
    std::unique_ptr<IGeomFilter> copy(f->Clone());
    ASSERT_NE(dynamic_cast<CGeomFilterAbovePlane*>(copy.get()), nullptr);
    copy->Transform(CTransformation::Rotate(P3(0, 0, 0), CUnitVector3d(1, 0, 0), kPi));  // flips the normal
    EXPECT_TRUE(copy->Test(at(-5)) && !copy->Test(at(5)));
    EXPECT_EQ(copy->GetFrustumPlane(0), nullptr);
    EXPECT_EQ(f->GetFrustumPlane(-1), nullptr);
}

TEST(GeomFilterPlane, BoxWithFlagDispatchesToAnOverriddenBoxTest) {
    // A subclass that overrides only Test(box) changes the flagged answer as well.
    struct Everything : CGeomFilterPlane {
        using CGeomFilterPlane::Test;
        bool Test(const Box&) override { return true; }
    } everything;
    IGeomFilter& f = everything;
    bool full = true;
    EXPECT_TRUE(f.Test(Box(P3(0, 0, 5), P3(1, 1, 6)), full));
    EXPECT_FALSE(full);
    CGeomFilterPlane plain;
    EXPECT_FALSE(plain.Test(Box(P3(0, 0, 5), P3(1, 1, 6)), full));
}

TEST(GeomFilterSelectAll, EverythingAndFullyAccepted) {
    CGeomFilterSelectAll all;
    IGeomFilter& f = all;
    const double nan = std::nan("");
    bool full = false;
    EXPECT_TRUE(f.Test(P3(nan, 0, 0)) && f.Test(P3(), P3(1e300, 0, 0)) && f.Test(Box()) && f.Test(Box(), full) && full);
    f.Transform(CTransformation::Scale(0));
    EXPECT_EQ(f.GetFrustumPlane(0), nullptr);
    std::unique_ptr<IGeomFilter> copy(f.Clone());
    EXPECT_NE(dynamic_cast<CGeomFilterSelectAll*>(copy.get()), nullptr);
}

TEST_F(GeomFilterCombinedTest, OwnsItsMembersAndDeletesEachOnceInOrder) {
    {
        CGeomFilterCombined c(new Probe("a"), new Probe("b"));
        c.Add(new Probe("c"));
        EXPECT_EQ(Probe::alive, 3);
    }
    EXPECT_EQ(Probe::log, (std::vector<std::string>{"~a", "~b", "~c"}));
    Probe::log.clear();
    {
        CGeomFilterCombined withNull(nullptr, new Probe("d"));  // a null member is skipped by the destructor
        withNull.Add(nullptr);
    }
    EXPECT_EQ(Probe::log, (std::vector<std::string>{"~d"}));

    // Deletion through the interface reaches the combined destructor and its members.
    IGeomFilter* owned = new CGeomFilterCombined(new Probe("e"), new CGeomFilterSelectAll());
    delete owned;
    EXPECT_EQ(Probe::alive, 0);
}

TEST_F(GeomFilterCombinedTest, AndOfMembersStoppingAtTheFirstRefusal) {
    CGeomFilterCombined c(new Probe("a"), new Probe("b", false));
    c.Add(new Probe("c"));
    IGeomFilter& f = c;
    EXPECT_FALSE(f.Test(P3()));
    EXPECT_FALSE(f.Test(P3(), P3()));
    EXPECT_FALSE(f.Test(Box()));
    bool full = true;
    EXPECT_FALSE(f.Test(Box(), full));
    EXPECT_FALSE(full);
    EXPECT_EQ(Probe::log, (std::vector<std::string>{"a point", "b point", "a segment", "b segment", "a box", "b box",
                                                    "a box+flag", "b box+flag"}));

    static_cast<Probe*>(c.filters[1])->answer = true;
    EXPECT_TRUE(f.Test(P3()) && f.Test(P3(), P3()) && f.Test(Box()));
    EXPECT_TRUE(f.Test(Box(), full) && full);
    static_cast<Probe*>(c.filters[2])->full = false;  // one member cannot vouch for the whole box
    EXPECT_TRUE(f.Test(Box(), full));
    EXPECT_FALSE(full);

    CGeomFilterCombined empty;
    full = false;
    EXPECT_TRUE(empty.Test(P3()) && empty.Test(P3(), P3()) && empty.Test(Box()) && empty.Test(Box(), full) && full);
    EXPECT_EQ(empty.GetFrustumPlane(0), nullptr);
}

TEST_F(GeomFilterCombinedTest, FrustumPlanesCloneAndTransform) {
    auto* volume = new CGeomFilterInsideVolume();
    UnitCube(volume);
    CGeomFilterCombined c(new CGeomFilterPlane(CPlane(1, 0, 0, 0)), volume);
    c.Add(new CGeomFilterSelectAll());
    EXPECT_EQ(c.GetFrustumPlane(2), &volume->planes[2]);  // the plane filter offers none
    EXPECT_EQ(c.GetFrustumPlane(6), nullptr);
    c.Add(new Probe("p", true, true, true));
    EXPECT_EQ(c.GetFrustumPlane(0), &volume->planes[0]);  // the first non-null answer wins

    std::unique_ptr<IGeomFilter> copy(c.Clone());
    auto* cc = dynamic_cast<CGeomFilterCombined*>(copy.get());
    ASSERT_NE(cc, nullptr);
    ASSERT_EQ(cc->filters.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NE(cc->filters[i], c.filters[i]);  // deep
    EXPECT_NE(dynamic_cast<CGeomFilterPlane*>(cc->filters[0]), nullptr);
    EXPECT_NE(dynamic_cast<CGeomFilterInsideVolume*>(cc->filters[1]), nullptr);
    EXPECT_NE(dynamic_cast<CGeomFilterSelectAll*>(cc->filters[2]), nullptr);
    EXPECT_EQ(static_cast<Probe*>(cc->filters[3])->name, "p'");
    EXPECT_EQ(Probe::alive, 2);

    Probe::log.clear();
    copy->Transform(CTransformation::Translate(CVector3d(5, 0, 0)));
    EXPECT_EQ(Probe::log, (std::vector<std::string>{"p' transform"}));
    EXPECT_TRUE(copy->Test(P3(5, 0.5, 0.5)) && !copy->Test(P3(0, 0.5, 0.5)));
    EXPECT_TRUE(c.Test(P3(0, 0.5, 0.5)));  // the original stayed where it was
    EXPECT_EQ(cc->GetFrustumPlane(0)->d, -6.0);
    EXPECT_EQ(volume->planes[0].d, -1.0);
}

TEST(GeomFilter, CloneAndTransformAgreesWithTransformingTheInput) {
    // A filter moved into an instance's frame by the inverse placement must answer
    // for local geometry as the world filter answers for the placed geometry.
    std::mt19937_64 rng(8080);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::uniform_int_distribution<int> quarter(0, 3);
    int agreed = 0;
    for (int round = 0; round < 60; ++round) {
        auto* world = new CGeomFilterCrossingVolume();
        RandomVolume(rng, world, P3(0.3, -0.2, 0.1));
        if (round % 5 == 0) world->planes[5].d = CGeomFilterVolume::AbsentPlaneD;
        const CPlane abovePlane(0.2, 0.3, -1, 0.5);
        CGeomFilterCombined worldFilter(world, new CGeomFilterAbovePlane(abovePlane));

        // Quarter turns keep boxes axis-aligned, so boxes can be compared too.
        const P3 o(0, 0, 0);
        const CTransformation placement = CTransformation::Translate(CVector3d(u(rng), u(rng), u(rng))) *
                                          CTransformation::Rotate(o, CUnitVector3d(0, 0, 1), quarter(rng) * kPi / 2) *
                                          CTransformation::Rotate(o, CUnitVector3d(1, 0, 0), quarter(rng) * kPi / 2) *
                                          CTransformation::Scale(0.5 + (u(rng) + 1.0));
        std::unique_ptr<IGeomFilter> local(worldFilter.Clone());
        local->Transform(CTransformation::Inverse(placement));

        auto nearAPlane = [&](const P3& w) {
            for (const CPlane& p : world->planes)
                if (p.d != CGeomFilterVolume::AbsentPlaneD && std::fabs(p.SignedDistance(w)) < 1e-7) return true;
            // The above-plane's EqualTol band is measured in each frame's own units,
            // so under scaling it moves: skip everything from just above the plane to
            // the widest band the scales below can give.
            const double s = abovePlane.SignedDistance(w);
            return s < 1e-7 && s > -3 * EqualTol;
        };
        const CTransformation back = CTransformation::Inverse(placement);
        for (int k = 0; k < 100; ++k) {
            const P3 wa(2 * u(rng), 2 * u(rng), 2 * u(rng)), wb(2 * u(rng), 2 * u(rng), 2 * u(rng));
            const P3 la = back * wa, lb = back * wb;
            if (nearAPlane(wa) || nearAPlane(wb)) continue;
            ASSERT_EQ(local->Test(la), worldFilter.Test(wa));
            double lo, hi;
            ClipInterval(*world, wa, wb, lo, hi);
            if (std::fabs(hi - lo) > 1e-7) {
                ASSERT_EQ(local->Test(la, lb), worldFilter.Test(wa, wb));
            }

            Box wbox(wa, wa);
            wbox += wb;
            const Box lbox = back * wbox;
            bool fl = false, fw = false;
            bool skip = false;  // a box corner on a plane may tip the classification
            for (int c = 0; c < 8; ++c) skip = skip || nearAPlane(wbox.GetCorner(c));
            if (!skip) {
                ASSERT_EQ(local->Test(lbox, fl), worldFilter.Test(wbox, fw));
                ASSERT_EQ(fl, fw);
            }
            ++agreed;
        }
    }
    EXPECT_GT(agreed, 5000);
}
