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

static_assert(std::is_abstract_v<IGeomFilter> && std::is_abstract_v<CGeomFilterVolume>);
static_assert(std::has_virtual_destructor_v<IGeomFilter>);
// The combined filter owns raw member pointers: copying it would delete them twice.
static_assert(!std::is_copy_constructible_v<CGeomFilterCombined> && !std::is_copy_assignable_v<CGeomFilterCombined>);

namespace {

const double kPi = std::acos(-1.0);
const double kAbsent = CGeomFilterVolume::AbsentPlaneD;

bool Same(const CPlane& p, const CPlane& q) { return p.a == q.a && p.b == q.b && p.c == q.c && p.d == q.d; }

// The unit cube [0, 1]^3, normals pointing out; plane 5 is z <= 1.
template <class V>
V& UnitCube(V& v) {
    const CPlane planes[6] = {CPlane(1, 0, 0, -1), CPlane(-1, 0, 0, 0), CPlane(0, 1, 0, -1),
                              CPlane(0, -1, 0, 0), CPlane(0, 0, -1, 0), CPlane(0, 0, 1, -1)};
    std::copy(planes, planes + 6, v.planes);
    return v;
}

// Six planes with random outward normals at random distances from c.
void RandomVolume(std::mt19937_64& rng, CGeomFilterVolume& v, const P3& c) {
    std::normal_distribution<double> n(0.0, 1.0);
    std::uniform_real_distribution<double> r(0.5, 2.0);
    for (CPlane& p : v.planes) {
        const CUnitVector3d normal(n(rng), n(rng), n(rng));
        p.Set(P3(c, r(rng), normal), normal);
    }
}

// Independent reference for segments: the parameter interval left after clipping
// against every present half-space (empty when lo > hi).
void ClipInterval(const CGeomFilterVolume& v, const P3& a, const P3& b, double& lo, double& hi) {
    lo = 0.0;
    hi = 1.0;
    for (int i = 0; i < (v.HasPlane5() ? 6 : 5); ++i) {
        const double da = v.planes[i].SignedDistance(a), db = v.planes[i].SignedDistance(b);
        if (da > 0 && db > 0) return void((lo = 1.0, hi = 0.0));
        if (da > 0) lo = std::max(lo, da / (da - db));
        if (db > 0) hi = std::min(hi, da / (da - db));
    }
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
    EXPECT_TRUE(def.Test(P3(0, 0, 0)) && def.Test(P3(5, 5, -1)));
    EXPECT_FALSE(def.Test(P3(0, 0, 1e-9)));

    CGeomFilterCrossingVolume cube;
    IGeomFilter& f = UnitCube(cube);
    EXPECT_TRUE(f.Test(P3(1, 1, 1)) && f.Test(P3(0, 0, 0)));  // faces belong
    EXPECT_FALSE(f.Test(P3(1 + 1e-12, 0.5, 0.5)) || f.Test(P3(0.5, -1e-12, 0.5)) || f.Test(P3(0.5, 0.5, 1 + 1e-12)));
    for (int i = 0; i < 5; ++i) EXPECT_FALSE(f.Test(P3(0.5, 0.5, 0.5) + CVector3d(cube.planes[i].Normal()))) << i;

    // Plane 5 is absent only for exactly the widened FLT_MAX.
    EXPECT_EQ(kAbsent, 3.4028234663852886e38);
    cube.planes[5].d = kAbsent;
    EXPECT_TRUE(!cube.HasPlane5() && f.Test(P3(0.5, 0.5, 1e6)));
    cube.planes[5].d = std::nextafter(kAbsent, 0.0);
    EXPECT_TRUE(cube.HasPlane5() && !f.Test(P3(0.5, 0.5, 0.5)));

    cube.planes[5].d = kAbsent;  // an absent plane 5 is still offered
    for (int i = 0; i < 6; ++i) EXPECT_EQ(f.GetFrustumPlane(i), &cube.planes[i]);
    EXPECT_TRUE(f.GetFrustumPlane(-1) == nullptr && f.GetFrustumPlane(6) == nullptr);
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
    EXPECT_TRUE(v.Test(t * P3(0.5, 0.5, 7)) && !v.Test(t * P3(0.5, 0.5, -0.01)));
}

TEST(GeomFilterVolume, BoxCodesAndTheFullyAcceptedFlag) {
    CGeomFilterInsideVolume inside;
    CGeomFilterCrossingVolume crossing;
    for (IGeomFilter* f :
         {static_cast<IGeomFilter*>(&UnitCube(inside)), static_cast<IGeomFilter*>(&UnitCube(crossing))}) {
        bool full = false;
        EXPECT_TRUE(f->Test(Box(P3(0.2, 0.2, 0.2), P3(0.8, 0.8, 0.8)), full) && full);
        EXPECT_TRUE(f->Test(Box(P3(0, 0, 0), P3(1, 1, 1)), full) && !full);          // faces on the planes
        EXPECT_TRUE(f->Test(Box(P3(1, 0.5, 0.5), P3(2, 0.8, 0.8)), full) && !full);  // touches x = 1 from outside
        full = true;
        EXPECT_FALSE(f->Test(Box(P3(1 + 1e-12, 0, 0), P3(2, 1, 1)), full) || full);  // flag cleared up front
        EXPECT_FALSE(f->Test(Box(P3(0.2, 0.2, 1.5), P3(0.8, 0.8, 2))));              // above plane 5
        EXPECT_TRUE(f->Test(Box(P3(-3, -3, -3), P3(3, 3, 3))));
    }
    inside.planes[5].d = kAbsent;
    bool full = false;
    EXPECT_TRUE(inside.Test(Box(P3(0.2, 0.2, 0.2), P3(0.8, 0.8, 50)), full) && full);
    EXPECT_FALSE(inside.Test(Box(P3(0.2, 0.2, -2), P3(0.8, 0.8, -1)), full) || full);  // plane 4 still counts
}

TEST(GeomFilterVolume, InsideAndCrossingAgreeOnRandomBoxes) {
    std::mt19937_64 rng(4242);
    std::uniform_real_distribution<double> u(-2.5, 2.0), s(0.0, 1.0);
    int seen[3] = {0, 0, 0};
    for (int round = 0; round < 200; ++round) {
        CGeomFilterInsideVolume inside;
        RandomVolume(rng, inside, P3(0, 0, 0));
        if (round % 3 == 0) inside.planes[5].d = kAbsent;
        CGeomFilterCrossingVolume crossing;
        std::copy(inside.planes, inside.planes + 6, crossing.planes);
        IGeomFilter *a = &inside, *b = &crossing;
        for (int k = 0; k < 50; ++k) {
            const double e = k % 2 ? 0.5 : 2.0;
            const P3 lo(u(rng), u(rng), u(rng));
            const Box box(lo, P3(lo.x + e * s(rng), lo.y + e * s(rng), lo.z + e * s(rng)));
            bool fa = false, fb = true;
            const bool ra = a->Test(box, fa);
            ASSERT_TRUE(b->Test(box, fb) == ra && fa == fb && a->Test(box) == ra && b->Test(box) == ra);
            for (int c = 0; fa && c < 8; ++c) ASSERT_TRUE(a->Test(box.GetCorner(c)));
            ++seen[!ra ? 0 : (fa ? 1 : 2)];
        }
    }
    EXPECT_TRUE(seen[0] > 100 && seen[1] > 100 && seen[2] > 100);
}

TEST(GeomFilterVolume, SegmentsInsideAndCrossing) {
    CGeomFilterInsideVolume inside;
    CGeomFilterCrossingVolume crossing;
    IGeomFilter& in = UnitCube(inside);
    IGeomFilter& cr = UnitCube(crossing);
    const P3 centre(0.5, 0.5, 0.5), out(2, 0.5, 0.5);
    EXPECT_TRUE(in.Test(centre, P3(1, 1, 1)) && cr.Test(centre, out) && cr.Test(out, centre));
    EXPECT_FALSE(in.Test(centre, out) || in.Test(out, centre) || in.Test(P3(-1, 0.5, 0.5), out));
    EXPECT_TRUE(cr.Test(P3(-1, 0.5, 0.5), out) && cr.Test(P3(-1, 1, 0.5), P3(2, 1, 0.5)));  // through; along a face
    EXPECT_FALSE(cr.Test(P3(-1, 1 + 1e-9, 0.5), P3(2, 1 + 1e-9, 0.5)));
    // x + y = 2.1 passes beside the edge x = y = 1: each face keeps a piece but the
    // trims must accumulate. x + y = 1.9 cuts the corner.
    EXPECT_FALSE(cr.Test(P3(0.5, 1.6, 0.5), P3(1.6, 0.5, 0.5)) || cr.Test(P3(1.6, 0.5, 0.5), P3(0.5, 1.6, 0.5)));
    EXPECT_TRUE(cr.Test(P3(0.5, 1.4, 0.5), P3(1.4, 0.5, 0.5)));
    EXPECT_FALSE(cr.Test(P3(1.3, 1, 1), P3(0.9, 1.2, 1.2)));  // beside the corner, plane 5 involved

    crossing.planes[5].d = inside.planes[5].d = kAbsent;
    EXPECT_TRUE(cr.Test(P3(0.5, 0.5, 5), P3(0.6, 0.5, 9)) && in.Test(P3(0.5, 0.5, 5), P3(0.6, 0.5, 9)));
    EXPECT_FALSE(cr.Test(P3(0.5, 1.6, 5), P3(1.6, 0.5, 5)));
}

TEST(GeomFilterVolume, CrossingSegmentsMatchParametricClipping) {
    std::mt19937_64 rng(99);
    std::uniform_real_distribution<double> u(-3.0, 3.0);
    int count[2] = {0, 0};
    for (int round = 0; round < 100; ++round) {
        CGeomFilterCrossingVolume crossing;
        RandomVolume(rng, crossing, P3(0, 0, 0));
        if (round % 4 == 0) crossing.planes[5].d = kAbsent;
        CGeomFilterInsideVolume inside;
        std::copy(crossing.planes, crossing.planes + 6, inside.planes);
        for (int k = 0; k < 100; ++k) {
            const P3 a(u(rng), u(rng), u(rng)), b(u(rng), u(rng), u(rng));
            double lo, hi;
            ClipInterval(crossing, a, b, lo, hi);
            if (std::fabs(hi - lo) < 1e-9) continue;  // grazing: rounding decides
            ASSERT_EQ(crossing.Test(a, b), lo < hi) << round << " " << k;
            ASSERT_TRUE(!inside.Test(a, b) || lo < hi);
            ++count[lo < hi];
        }
    }
    EXPECT_TRUE(count[0] > 1000 && count[1] > 1000);
}

TEST(GeomFilterPlane, TouchingWithinTheBand) {
    CGeomFilterPlane pf(CPlane(0, 0, 1, 0));
    IGeomFilter& f = pf;
    auto at = [](double z) { return P3(1, 2, z); };
    EXPECT_TRUE(f.Test(at(0.0009)) && f.Test(at(-0.0009)));
    EXPECT_FALSE(f.Test(at(0.001)) || f.Test(at(-0.001)));  // strict
    EXPECT_TRUE(f.Test(at(-2), at(3)) && f.Test(at(3), at(-2)) && f.Test(at(5), at(0.0005)));
    EXPECT_TRUE(f.Test(at(-1), at(-0.0009)));
    EXPECT_FALSE(f.Test(at(0.002), at(5)) || f.Test(at(-1), at(-0.001)));
    {
        // Without the band an end exactly on the plane counts with the positive side.
        plenar_test::ToleranceGuard zero(0.0);
        EXPECT_FALSE(f.Test(at(0), at(5)) || f.Test(at(0), at(0)) || f.Test(at(0)));
        EXPECT_TRUE(f.Test(at(0), at(-5)) && f.Test(at(-5), at(0)));
    }
    bool full = true;
    EXPECT_TRUE(f.Test(Box(P3(0, 0, -1), P3(1, 1, 1)), full) && !full);
    EXPECT_TRUE(f.Test(Box(P3(0, 0, 0), P3(1, 1, 1))));  // touching with a face
    EXPECT_FALSE(f.Test(Box(P3(0, 0, 1e-12), P3(1, 1, 1))) || f.Test(Box(P3(0, 0, -1), P3(1, 1, -0.0005))));
    EXPECT_EQ(f.GetFrustumPlane(0), nullptr);

    std::unique_ptr<IGeomFilter> copy(f.Clone());
    ASSERT_TRUE(dynamic_cast<CGeomFilterPlane*>(copy.get()) && !dynamic_cast<CGeomFilterAbovePlane*>(copy.get()));
    copy->Transform(CTransformation::Translate(CVector3d(0, 0, 2)));
    EXPECT_TRUE(copy->Test(at(2)) && !copy->Test(at(0)) && f.Test(at(0)));

    // A subclass overriding only Test(box) changes the flagged answer as well.
    struct Everything : CGeomFilterPlane {
        using CGeomFilterPlane::Test;
        bool Test(const Box&) override { return true; }
    } everything;
    full = true;
    EXPECT_TRUE(static_cast<IGeomFilter&>(everything).Test(Box(P3(0, 0, 5), P3(1, 1, 6)), full) && !full);
}

TEST(GeomFilterPlane, AbovePlaneBandForPointsButNotBoxes) {
    CGeomFilterAbovePlane above(CPlane(0, 0, 1, 0));
    CGeomFilterPlane* f = &above;  // dispatch through the plane filter reaches the above-plane bodies
    auto at = [](double z) { return P3(-4, 9, z); };
    EXPECT_TRUE(f->Test(at(-0.0009)) && f->Test(at(100)) && !f->Test(at(-0.001)));
    EXPECT_TRUE(f->Test(at(-1), at(-0.0009)) && f->Test(at(-0.0009), at(-1)) && f->Test(at(7), at(8)));
    EXPECT_FALSE(f->Test(at(-1), at(-0.001)));
    EXPECT_FALSE(f->Test(Box(P3(0, 0, -1), P3(1, 1, -0.0005))));  // no band for boxes
    EXPECT_TRUE(f->Test(Box(P3(0, 0, -1), P3(1, 1, 0))));
    bool full = false;
    EXPECT_TRUE(f->Test(Box(P3(0, 0, 1), P3(1, 1, 2)), full) && full);
    EXPECT_TRUE(f->Test(Box(P3(0, 0, -1), P3(1, 1, 2)), full) && !full);
    full = true;
    EXPECT_FALSE(f->Test(Box(P3(0, 0, -2), P3(1, 1, -1)), full) || full);

    std::unique_ptr<IGeomFilter> copy(f->Clone());
    ASSERT_NE(dynamic_cast<CGeomFilterAbovePlane*>(copy.get()), nullptr);
    copy->Transform(CTransformation::Rotate(P3(0, 0, 0), CUnitVector3d(1, 0, 0), kPi));  // flips the normal
    EXPECT_TRUE(copy->Test(at(-5)) && !copy->Test(at(5)) && copy->GetFrustumPlane(0) == nullptr);
}

TEST(GeomFilterSelectAll, EverythingAndFullyAccepted) {
    CGeomFilterSelectAll all;
    IGeomFilter& f = all;
    bool full = false;
    EXPECT_TRUE(f.Test(P3(std::nan(""), 0, 0)) && f.Test(P3(), P3(1e300, 0, 0)) && f.Test(Box()) &&
                f.Test(Box(), full) && full);
    f.Transform(CTransformation::Scale(0));
    std::unique_ptr<IGeomFilter> copy(f.Clone());
    EXPECT_TRUE(f.GetFrustumPlane(0) == nullptr && dynamic_cast<CGeomFilterSelectAll*>(copy.get()));
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
    IGeomFilter& f = c;
    bool full = true;
    EXPECT_FALSE(f.Test(P3()) || f.Test(P3(), P3()) || f.Test(Box()) || f.Test(Box(), full) || full);
    EXPECT_EQ(Probe::log,
              (Log{"a point", "b point", "a segment", "b segment", "a box", "b box", "a box+flag", "b box+flag"}));

    static_cast<Probe*>(c.filters[1])->answer = true;
    EXPECT_TRUE(f.Test(P3()) && f.Test(P3(), P3()) && f.Test(Box()) && f.Test(Box(), full) && full);
    static_cast<Probe*>(c.filters[2])->full = false;  // one member cannot vouch for the whole box
    EXPECT_TRUE(f.Test(Box(), full) && !full);

    CGeomFilterCombined empty;
    full = false;
    EXPECT_TRUE(empty.Test(P3()) && empty.Test(P3(), P3()) && empty.Test(Box()) && empty.Test(Box(), full) && full);
    EXPECT_EQ(empty.GetFrustumPlane(0), nullptr);
}

TEST_F(GeomFilterCombinedTest, FrustumPlanesCloneAndTransform) {
    auto* volume = new CGeomFilterInsideVolume();
    CGeomFilterCombined c(new CGeomFilterPlane(CPlane(1, 0, 0, 0)), &UnitCube(*volume));
    c.Add(new CGeomFilterSelectAll());
    EXPECT_EQ(c.GetFrustumPlane(2), &volume->planes[2]);  // the plane filter offers none
    EXPECT_EQ(c.GetFrustumPlane(6), nullptr);
    c.Add(new Probe("p", true, true, true));
    EXPECT_EQ(c.GetFrustumPlane(0), &volume->planes[0]);  // the first non-null answer wins

    std::unique_ptr<IGeomFilter> copy(c.Clone());
    auto* cc = dynamic_cast<CGeomFilterCombined*>(copy.get());
    ASSERT_TRUE(cc && cc->filters.size() == 4u);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NE(cc->filters[i], c.filters[i]);  // deep
    EXPECT_TRUE(dynamic_cast<CGeomFilterPlane*>(cc->filters[0]) &&
                dynamic_cast<CGeomFilterInsideVolume*>(cc->filters[1]) &&
                dynamic_cast<CGeomFilterSelectAll*>(cc->filters[2]));
    EXPECT_EQ(static_cast<Probe*>(cc->filters[3])->name, "p'");

    Probe::log.clear();
    copy->Transform(CTransformation::Translate(CVector3d(5, 0, 0)));
    EXPECT_EQ(Probe::log, (Log{"p' transform"}));
    EXPECT_TRUE(copy->Test(P3(5, 0.5, 0.5)) && !copy->Test(P3(0, 0.5, 0.5)) && c.Test(P3(0, 0.5, 0.5)));
    EXPECT_TRUE(cc->GetFrustumPlane(0)->d == -6.0 && volume->planes[0].d == -1.0);
}

TEST(GeomFilter, CloneAndTransformAgreesWithTransformingTheInput) {
    // A filter moved into an instance's frame by the inverse placement answers for
    // local geometry as the world filter does for the placed geometry.
    std::mt19937_64 rng(8080);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::uniform_int_distribution<int> quarter(0, 3);
    const P3 o(0, 0, 0);
    const CPlane abovePlane(0.2, 0.3, -1, 0.5);
    int agreed = 0;
    for (int round = 0; round < 60; ++round) {
        auto* world = new CGeomFilterCrossingVolume();
        RandomVolume(rng, *world, P3(0.3, -0.2, 0.1));
        if (round % 5 == 0) world->planes[5].d = kAbsent;
        CGeomFilterCombined worldFilter(world, new CGeomFilterAbovePlane(abovePlane));
        // Quarter turns keep boxes axis-aligned, so boxes can be compared too.
        const CTransformation placement = CTransformation::Translate(CVector3d(u(rng), u(rng), u(rng))) *
                                          CTransformation::Rotate(o, CUnitVector3d(0, 0, 1), quarter(rng) * kPi / 2) *
                                          CTransformation::Rotate(o, CUnitVector3d(1, 0, 0), quarter(rng) * kPi / 2) *
                                          CTransformation::Scale(0.5 + (u(rng) + 1.0));
        const CTransformation back = CTransformation::Inverse(placement);
        std::unique_ptr<IGeomFilter> local(worldFilter.Clone());
        local->Transform(back);
        // Skip points on a plane; the above-plane band is in each frame's own units,
        // so skip the widest band the scales can give too.
        auto nearAPlane = [&](const P3& w) {
            for (const CPlane& p : world->planes)
                if (p.d != kAbsent && std::fabs(p.SignedDistance(w)) < 1e-7) return true;
            const double s = abovePlane.SignedDistance(w);
            return s < 1e-7 && s > -3 * EqualTol;
        };
        for (int k = 0; k < 100; ++k) {
            const P3 wa(2 * u(rng), 2 * u(rng), 2 * u(rng)), wb(2 * u(rng), 2 * u(rng), 2 * u(rng));
            if (nearAPlane(wa) || nearAPlane(wb)) continue;
            ASSERT_EQ(local->Test(back * wa), worldFilter.Test(wa));
            double lo, hi;
            ClipInterval(*world, wa, wb, lo, hi);
            const bool grazing = std::fabs(hi - lo) <= 1e-7;
            ASSERT_TRUE(grazing || local->Test(back * wa, back * wb) == worldFilter.Test(wa, wb));
            Box wbox(wa, wa);
            wbox += wb;
            bool skip = false, fl = false, fw = false;
            for (int c = 0; c < 8; ++c) skip = skip || nearAPlane(wbox.GetCorner(c));
            ASSERT_TRUE(skip || (local->Test(back * wbox, fl) == worldFilter.Test(wbox, fw) && fl == fw));
            ++agreed;
        }
    }
    EXPECT_GT(agreed, 5000);
}
