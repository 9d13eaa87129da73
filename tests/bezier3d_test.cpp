#include <geometry/bezier3d.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/random.h"

using namespace velmor::geometry;
using P = CPoint3d;
using Coords = std::vector<double>;

namespace {

struct Recorder : IBezier3dDraw {
    Coords xyz;
    void LineTo(const P& p) override {
        for (double v : {p.x, p.y, p.z}) xyz.push_back(v);
    }
};

Coords Flat(std::initializer_list<P> pts) {
    Recorder r;
    for (const P& p : pts) r.LineTo(p);
    return r.xyz;
}

// Plain halving with no guard at all: what Draw must send whenever that finishes.
void Halve(const CBezier3d& piece, double tol, IBezier3dDraw& sink) {
    if (piece.IsStraight(tol)) return sink.LineTo(piece.p3);
    CBezier3d left, right;
    piece.Split(left, right);
    Halve(left, tol, sink);
    Halve(right, tol, sink);
}

// Draw's polyline, or with plain = true that of plain halving.
Coords Drawn(const CBezier3d& c, double tol, bool plain = false) {
    Recorder r;
    plain ? Halve(c, tol, r) : c.Draw(&r, tol);
    return r.xyz;
}

CBezier3d Scaled(const CBezier3d& c, double s) {
    auto p = [s](const P& q) { return P(q.x * s, q.y * s, q.z * s); };
    return CBezier3d(p(c.p0), p(c.p1), p(c.p2), p(c.p3));
}

const CBezier3d kArch(P(0, 0, 0), P(1, 2, 0), P(3, 2, 0), P(4, 0, 0));

}  // namespace

static_assert(!std::is_polymorphic_v<CBezier3d> && std::is_trivially_destructible_v<CBezier3d>);
static_assert(std::has_virtual_destructor_v<IBezier3dDraw> && std::is_abstract_v<IBezier3dDraw>);

TEST(Bezier3d, EvaluationIsDeCasteljauAndExtrapolates) {
    const CBezier3d odd(P(0.1, 0.7, -0.3), P(1.3, 0.2, 0.9), P(-0.6, 2.1, 0.4), P(0.3, -1.9, 2.2));
    EXPECT_EQ(Flat({odd.EvaluatePoint(0), odd.EvaluatePoint(1)}), Flat({odd.p0, odd.p3}));
    // Bernstein weights 27/64, 27/64, 9/64, 1/64 at t = 0.25; -1, 6, -12, 8 at t = 2.
    EXPECT_EQ(Flat({kArch.EvaluatePoint(0.25), kArch.EvaluatePoint(0.5), kArch.EvaluatePoint(2)}),
              Flat({P(0.90625, 1.125, 0), P(2, 1.5, 0), P(2, -12, 0)}));
    EXPECT_TRUE(kArch.EvaluateDirection(0) == CUnitVector3d(1, 2, 0));  // along travel
    EXPECT_TRUE(kArch.EvaluateDirection(1) == CUnitVector3d(1, -2, 0));
    const CRay3d ray = odd.Evaluate(0.3);
    EXPECT_EQ(Flat({ray.origin}), Flat({odd.EvaluatePoint(0.3)}));
    EXPECT_TRUE(ray.direction.Equals(odd.EvaluateDirection(0.3), 0.0));
    // The end tangent is the direction of arrival: p2 lies back against it.
    const CBezier3d hermite(P(0, 0, 0), CUnitVector3d(0, 1, 0), P(3, 0, 0), CUnitVector3d(0, -1, 0));
    EXPECT_EQ(Flat({hermite.p1, hermite.p2}), Flat({P(0, 1, 0), P(3, 1, 0)}));
}

TEST(Bezier3d, SplitHalvesTraceTheCurveAlsoWhenSplitIntoItself) {
    const CBezier3d c(P(0.1, 0.7, -0.3), P(1.3, 0.2, 0.9), P(-0.6, 2.1, 0.4), P(0.3, -1.9, 2.2));
    CBezier3d l, r, self = c, other;
    c.Split(l, r);
    EXPECT_LT(l.EvaluatePoint(0.6).DistanceTo(c.EvaluatePoint(0.3)), 1e-15);
    EXPECT_LT(r.EvaluatePoint(0.6).DistanceTo(c.EvaluatePoint(0.8)), 1e-15);
    self.Split(self, other);  // splitting into itself reads the original points
    EXPECT_EQ(Flat({self.p1, self.p2, other.p1, other.p2}), Flat({l.p1, l.p2, r.p1, r.p2}));
}

TEST(Bezier3d, IsStraightUsesTheGivenToleranceStrictly) {
    struct Case {
        P p1, p2, p3;
        bool straight;
    } const cases[] = {
        {P(1, 0.5, 0), P(3, 0, 0), P(4, 0, 0), false},      // p1 exactly tol off the chord
        {P(1, 0.4375, 0), P(3, 0, 0), P(4, 0, 0), true},    // inside, yet far beyond EqualTol
        {P(1, 0, 0), P(3, 0, -0.5), P(4, 0, 0), false},     // p2 is tested too
        {P(9, 0, 0), P(-5, 0, 0), P(4, 0, 0), true},        // on the line, out of order
        {P(5, 5, 5), P(-5, 5, 0), P(0.25, 0.25, 0), true},  // chord shorter than tol
        {P(5, 5, 5), P(-5, 5, 0), P(0.5, 0, 0), false},     // chord exactly tol
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CBezier3d(P(0, 0, 0), c.p1, c.p2, c.p3).IsStraight(0.5), c.straight) << c.p1 << c.p2 << c.p3;
    }
}

TEST(Bezier3d, DrawSendsEachPieceEndButNeverTheStart) {
    // The arch's halves have inner points 0.5 and 0.45 off their chords: halved once
    // more within 0.4, in curve order.
    EXPECT_EQ(Drawn(kArch, 0.4), Flat({P(0.90625, 1.125, 0), P(2, 1.5, 0), P(3.09375, 1.125, 0), P(4, 0, 0)}));
    EXPECT_EQ(Drawn(kArch, std::numeric_limits<double>::infinity()), Flat({P(4, 0, 0)}));
    kArch.Draw(nullptr, 1.0);  // no sink: nothing to do
}

TEST(Bezier3d, DrawEqualsPlainHalvingFromTinyToHugeCurves) {
    plenar_test::SplitMix64 rng(11);
    const plenar_test::UniformReal u(-1, 1);
    for (int i = 0; i < 40; ++i) {
        const double scale = std::ldexp(1.0, (i % 5 - 2) * 200);  // 2^-400 ... 2^400
        const double tol = std::pow(10.0, -2 - i % 4);
        double v[12];  // one draw per statement: argument order differs between compilers
        for (double& x : v) x = u(rng);
        const CBezier3d unit(P(v[0], v[1], v[2]), P(v[3], v[4], v[5]), P(v[6], v[7], v[8]), P(v[9], v[10], v[11]));
        const Coords drawn = Drawn(Scaled(unit, scale), tol * scale);
        ASSERT_EQ(drawn, Drawn(Scaled(unit, scale), tol * scale, true)) << i;
    }
    // A fine tolerance (some twenty levels deep), and curves near the top of the
    // double range, where the squared tolerance overflows.
    const CBezier3d huge(P(-1e308, 0, 0), P(0, 1e308, 0), P(1e308, -1e308, 1e308), P(1e308, 1e308, -1e308));
    for (const auto& [c, tol] :
         {std::pair(kArch, 1e-10), std::pair(huge, 1e300), std::pair(Scaled(huge, 1e-158), 1e142)}) {
        EXPECT_EQ(Drawn(c, tol), Drawn(c, tol, true));
    }
}

TEST(Bezier3d, DrawEndsOnInputThatHalvingCannotFinish) {
    const double nan = std::nan(""), inf = std::numeric_limits<double>::infinity();
    for (double tol : {0.0, -1.0, nan, -inf, 1e-200}) EXPECT_TRUE(Drawn(kArch, tol).empty()) << tol;
    for (double bad : {nan, inf, -inf}) {
        for (P CBezier3d::*member : {&CBezier3d::p0, &CBezier3d::p1, &CBezier3d::p2, &CBezier3d::p3}) {
            CBezier3d c = kArch;
            (c.*member).z = bad;
            EXPECT_TRUE(Drawn(c, 0.1).empty()) << bad;
        }
    }
}

namespace {

// Streams a long polyline without keeping it: count, longest chord, last vertex and
// an order-sensitive digest of every coordinate's bits.
struct Summary : IBezier3dDraw {
    P last;
    std::size_t count = 0;
    double longest = 0.0;
    std::uint64_t digest = 0;
    explicit Summary(const P& start) : last(start) {}
    void LineTo(const P& p) override {
        longest = std::fmax(longest, p.DistanceTo(last));
        for (double v : {p.x, p.y, p.z}) {
            std::uint64_t bits;
            std::memcpy(&bits, &v, sizeof bits);
            digest = (digest ^ bits) * 0x100000001b3ull;
        }
        last = p;
        ++count;
    }
};

Summary Summarise(const CBezier3d& c, double tol, bool plain = false) {
    Summary s(c.p0);
    plain ? Halve(c, tol, s) : c.Draw(&s, tol);
    return s;
}

}  // namespace

TEST(Bezier3d, DrawSendsEveryPieceOfAFlatteningWithinTheVertexBudget) {
    // Four million pieces: plain halving to the last vertex, no long chord at the end.
    const CBezier3d arch(P(0, 0, 0), P(0, 1e4, 0), P(1e4, 1e4, 0), P(1e4, 0, 0));
    const Summary drawn = Summarise(arch, 1e-9);
    const Summary plain = Summarise(arch, 1e-9, true);
    EXPECT_EQ(drawn.digest, plain.digest);

    // Tolerances below the rounding of coordinates near 2^40 (a unit in the last
    // place is 2^-12 there) that halving still finishes, its pieces collapsing onto
    // the grid: counted first, then drawn exactly.
    const CBezier3d far(P(0x1p40, 0, 0), P(0x1p40 + 1, 2, 0), P(0x1p40 + 3, 2, 1), P(0x1p40 + 4, 0, 0));
    for (double tol : {0x1p-10, 0x1p-16, 0x1p-20}) {
        const Summary fine = Summarise(far, tol);
        EXPECT_EQ(fine.digest, Summarise(far, tol, true).digest);
    }
}

TEST(Bezier3d, DrawCoarsensTheWholeCurveWhenHalvingCannotFinish) {
    // Coordinates just above 2^52 (a unit in the last place is 1 there) at tol 0.25:
    // halved pieces stop changing before they are straight, so halving never ends.
    // The whole curve is drawn at the first coarser tolerance halving finishes,
    // 0.25 * 4, as plain halving draws it (not piecewise ended after 1024 levels).
    const double o = 0x1p52 + 1;
    const CBezier3d far(P(o, o, o), P(o + 16, o + 32, o), P(o + 48, o + 32, o + 16), P(o + 64, o, o));
    const Summary drawn = Summarise(far, 0.25);
    const Summary plain = Summarise(far, 1.0, true);
    EXPECT_EQ(drawn.digest, plain.digest);
}

namespace {

// Under AddressSanitizer the tests that count tens of millions of pieces run only
// when PLENAR_SLOW_TESTS is set: seconds in a release build, beyond the timeout there.
bool SlowTestsSkipped() {
#if defined(__SANITIZE_ADDRESS__)
    return std::getenv("PLENAR_SLOW_TESTS") == nullptr;
#else
    return false;
#endif
}

}  // namespace

TEST(Bezier3d, DrawSendsAFlatteningOfExactlyTheVertexBudget) {
    if (SlowTestsSkipped()) GTEST_SKIP() << "counts 2^25 pieces twice";
    // The four-million-piece arch at a 64th of its tolerance: 2^25 pieces, exactly
    // the budget, which is inclusive: plain halving draws them all.
    const CBezier3d arch(P(0, 0, 0), P(0, 1e4, 0), P(1e4, 1e4, 0), P(1e4, 0, 0));
    EXPECT_EQ(Summarise(arch, 1e-9 / 64).count, std::size_t{1} << 25);
}

TEST(Bezier3d, DrawCoarsensAHugeCurveEvenly) {
    // The only test that reaches the whole-curve coarsening of a huge curve.
    if (SlowTestsSkipped()) GTEST_SKIP() << "counts tens of millions of pieces";
    // Finite, 1e30 across at tol 0.001: halving would need some 10^16 pieces. It is
    // drawn evenly at one coarser tolerance: between a quarter of the budget and the
    // budget, every chord within a small factor of the others, ending at p3.
    const CBezier3d huge(P(0, 0, 0), P(0, 1e30, 0), P(1e30, 1e30, 0), P(1e30, 0, 0));
    const Summary coarse = Summarise(huge, 0.001);
    EXPECT_GE(coarse.count, std::size_t{1} << 23);
    EXPECT_LE(coarse.count, std::size_t{1} << 25);
    EXPECT_LT(coarse.longest, 4.0 * 1.6e30 / static_cast<double>(coarse.count));
    EXPECT_EQ(Flat({coarse.last}), Flat({huge.p3}));

    // Coarsening starts from the first tol * 4^j at or above the rounding floor,
    // 2^-44 of the largest coordinate (pins the inclusive boundary): here
    // tol * 4^33 is the floor itself. Its 4.2 million pieces predict twice that one
    // step finer, past a quarter of the budget, so the curve is drawn at the floor.
    const CBezier3d narrow(P(0, 0, 0), P(0, 1e30, 0), P(2.49996e29, 1e30, 0), P(2.49996e29, 0, 0));
    const Summary floor = Summarise(narrow, std::ldexp(1e30, -44 - 66));
    EXPECT_GT(floor.count, std::size_t{1} << 22);
    EXPECT_LT(floor.count, std::size_t{1} << 23);
}
