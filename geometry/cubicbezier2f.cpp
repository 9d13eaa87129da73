#include <geometry/cubicbezier2f.h>

#include <geometry/affinetransform.h>
#include <geometry/tol.h>

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <utility>

namespace velmor::geometry {

namespace {

// Which side of the line from -> to q lies on, unnormalised: the sign is what
// matters, zero on the line.
float SideOf(const CPoint2f& q, const CPoint2f& from, const CPoint2f& to) noexcept {
    return (q.y - from.y) * (to.x - from.x) - (q.x - from.x) * (to.y - from.y);
}

// (1 - t)*a + t*b, by the weighted-point constructor.
CPoint2f Lerp(const CPoint2f& a, const CPoint2f& b, float t) noexcept { return CPoint2f(1.0f - t, a, t, b); }

// The two points of the second de Casteljau level at t; the curve point is
// Lerp(d, e, t) and the derivative 3*(e - d).
void SecondLevel(const CCubicBezier2f& c, float t, CPoint2f& d, CPoint2f& e) noexcept {
    const CPoint2f a = Lerp(c.p0, c.p1, t);
    const CPoint2f b = Lerp(c.p1, c.p2, t);
    const CPoint2f cc = Lerp(c.p2, c.p3, t);
    d = Lerp(a, b, t);
    e = Lerp(b, cc, t);
}

// The curve point at t = 0.5 from fixed weights, for pieces judged by their middle.
CPoint2f MidPoint(const CCubicBezier2f& c) noexcept {
    return CPoint2f(((c.p0.x * 0.125f + c.p1.x * 0.375f) + c.p2.x * 0.375f) + c.p3.x * 0.125f,
                    ((c.p0.y * 0.125f + c.p1.y * 0.375f) + c.p2.y * 0.375f) + c.p3.y * 0.125f);
}

bool IsFinite(const CPoint2f& p) noexcept { return std::isfinite(p.x) && std::isfinite(p.y); }

bool IsFinite(const CCubicBezier2f& c) noexcept {
    return IsFinite(c.p0) && IsFinite(c.p1) && IsFinite(c.p2) && IsFinite(c.p3);
}

// Whether a tolerance can stop a bisection: positive, with a positive float
// square. Below about 2.6e-23 the square rounds to zero and the flatness test can
// no longer pass for pieces whose ends are under 1e-10 apart.
bool UsableTol(float tol) noexcept { return tol > 0.0f && tol * tol > 0.0f; }

// The flatness tolerance of the rectangle queries, read at call time.
float RectTol() noexcept { return static_cast<float>(EqualTol); }

// The flatness tolerance of the curve intersections: half the length tolerance,
// halved in double.
float IntersectionTol() noexcept { return static_cast<float>(EqualTol * 0.5); }

// Ending the recursive bisections.
//
// Halving a piece of a finite curve shrinks its control polygon until one of the
// recursion's stop tests holds: the piece is flat within the tolerance, or tiny,
// or (for the rectangle tests) decided by its control points. Where the tolerance
// is finer than the float spacing of the coordinates, pieces shrink onto the
// float grid instead, and there halving can stop making progress: the midpoints
// of neighbouring floats round back onto the same floats, so a half can be
// identical to its parent (a point piece is its own half; so is the piece
// (1+u, 1+u), (1+2u, 1+u), (1+2u, 1+2u), (1+2u, 1+2u) with u the float spacing
// at 1, not flat within 1e-8), or a few halvings can lead back to where they
// started. Such a recursion would never end. Each recursion therefore tracks its
// descent, and a piece whose descent is exhausted is answered as a straight piece
// (its chord), the answer the recursion gives a flat piece:
// - a half identical to its parent is exhausted at once (bisecting it again
//   repeats the same call forever);
// - a piece whose control-point bounds came out of kMaxStall halvings in a row
//   unchanged is exhausted. Halving nests the bounds (a rounded midpoint lies
//   between its two floats), and in exact arithmetic every halving of a piece
//   that is not a single point shrinks them, so unchanged bounds come from
//   rounding alone: the piece is a few float steps wide. Two levels already
//   leave the 300-unit arch at 1e-5 (168,170 points) and the self-intersection
//   of a 256-unit arch at (20000, 20000) (16,274 hits) exactly as the unlimited
//   recursion gives them; one level does not;
// - a piece at depth kMaxDepth is exhausted. The float range spans 277 halvings
//   from the largest coordinates down to the smallest spacing, so this cap holds
//   the stack to a fixed depth. The deepest measured descent was 211 levels
//   (ParameterOfPointOnCurve on an arch 1e19 wide at the smallest tolerance);
//   flattening reached 117 and the intersections 28, over curves from 1e-44 to
//   3.4e38 units, at tolerances down to 1.4e-45, and random curves at every
//   float scale. None reached the cap.
// An exhausted piece spans a few float steps of its own coordinates, so its chord
// is as short as the float grid allows. Pieces never cross a non-finite value:
// the public entries answer a curve with a NaN or infinite control point without
// recursing.
constexpr int kMaxDepth = 400;
constexpr int kMaxStall = 4;

bool SameCurve(const CCubicBezier2f& a, const CCubicBezier2f& b) noexcept {
    return a.p0 == b.p0 && a.p1 == b.p1 && a.p2 == b.p2 && a.p3 == b.p3;
}

bool SameRect(const CRect2f& a, const CRect2f& b) noexcept {
    return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

// How far a recursion has descended to its current piece.
struct Descent {
    int depth = 0;
    int stall = 0;  // halvings in a row that left the control-point bounds unchanged

    // Whether the piece may be halved once more.
    bool CanSplit() const noexcept { return depth < kMaxDepth && stall < kMaxStall; }

    // The descent of a half of a piece whose control-point bounds are parentBounds.
    Descent Into(const CCubicBezier2f& half, const CCubicBezier2f& parent, const CRect2f& parentBounds) const noexcept {
        if (SameCurve(half, parent)) return {depth + 1, kMaxStall};
        return {depth + 1, SameRect(half.ControlPointBounds(), parentBounds) ? stall + 1 : 0};
    }
};

// The bisections a flattening or an intersection call may spend before it gives
// up and starts over at the float resolution of its coordinates (see
// ResolutionTol). 2^22 is 25 times what the largest of the measured ordinary
// calls spends (a 256-unit arch at (20000, 20000) intersected with itself: 118,829
// bisections; flattening the 300-unit arch at 1e-5: 168,169).
constexpr std::uint64_t kMaxBisections = std::uint64_t(1) << 22;
// Likewise the stored hits that adding new ones may compare against: 2^30 is 8
// times the 1.3e8 of that same self-intersection (16,274 hits).
constexpr std::uint64_t kMaxScans = std::uint64_t(1) << 30;

// The flatness tolerance of a flattening or intersection pass, and what is left
// of its bisection budget.
struct Work {
    float tol;
    std::uint64_t left;
    bool exhausted = false;

    std::uint64_t scans = kMaxScans;

    // Counts the stored hits that adding one more compares against (the hit set
    // scans for duplicates); a pass that has scanned too long is exhausted.
    void Scan(std::size_t stored) noexcept {
        if (stored > scans) {
            exhausted = true;
            scans = 0;
        } else {
            scans -= stored;
        }
    }

    bool Take() noexcept {
        if (left == 0) {
            exhausted = true;
            return false;
        }
        --left;
        return true;
    }
};

// Four float steps at the largest coordinate magnitude among the given points:
// the finest flatness that halving can resolve everywhere on a curve holding
// them.
float ResolutionTol(std::initializer_list<const CPoint2f*> points) noexcept {
    float m = 0.0f;
    for (const CPoint2f* p : points) m = std::fmax(m, std::fmax(std::fabs(p->x), std::fabs(p->y)));
    const float step = m - std::nextafter(m, 0.0f);
    return 4.0f * step;
}

// --- Recursive workers: each takes the descent to its piece.

CRect2f BoundsOf(const CCubicBezier2f& c, Descent at) noexcept {
    CRect2f r(c.p0, c.p3);
    if (r.Contains(c.p1) && r.Contains(c.p2)) return r;
    const CRect2f cb = c.ControlPointBounds();
    if (!c.IsLine(RectTol()) && !(cb.DiagonalSquared() < static_cast<float>(EqualTolSq)) && at.CanSplit()) {
        CCubicBezier2f left, right;
        c.Split(0.5f, left, right);
        r += BoundsOf(left, at.Into(left, c, cb));
        r += BoundsOf(right, at.Into(right, c, cb));
        return r;
    }
    return cb;
}

bool IntersectsRect(const CCubicBezier2f& c, const CRect2f& r, Descent at) noexcept {
    if (r.Contains(c.p0) || r.Contains(c.p3)) return true;
    const CRect2f cb = c.ControlPointBounds();
    if (!cb.Intersects(r)) return false;
    if (c.IsLine(RectTol()) || !at.CanSplit()) return r.Intersects(c.p0, c.p3);
    CCubicBezier2f left, right;
    c.Split(0.5f, left, right);
    return IntersectsRect(left, r, at.Into(left, c, cb)) || IntersectsRect(right, r, at.Into(right, c, cb));
}

bool InsideRect(const CCubicBezier2f& c, const CRect2f& r, Descent at) noexcept {
    if (!(r.Contains(c.p0) && r.Contains(c.p3))) return false;
    if (r.Contains(c.p1) && r.Contains(c.p2)) return true;
    // A straight piece between two contained end points is inside.
    if (c.IsLine(RectTol()) || !at.CanSplit()) return true;
    CCubicBezier2f left, right;
    c.Split(0.5f, left, right);
    const CRect2f cb = c.ControlPointBounds();
    return InsideRect(left, r, at.Into(left, c, cb)) && InsideRect(right, r, at.Into(right, c, cb));
}

// t is written only when true is returned.
bool ParameterOf(const CCubicBezier2f& c, const CPoint2f& p, float tol, float& t, Descent at) noexcept {
    const CRect2f cb = c.ControlPointBounds();
    if (!cb.Contains(p, tol)) return false;
    const float tol2 = tol * tol;

    if (c.IsLine(tol) || (cb.DiagonalSquared() >= tol2 && !at.CanSplit())) {
        float u = 0.0f;
        const CPoint2f q = p.ClosestPointOnLineSegment(c.p0, c.p3, u);
        if (!(p.DistanceSquaredTo(q) < tol2)) return false;
        // The chord's parameter only starts the refinement; whether the
        // refinement converged does not matter, only where it ends.
        c.RefineClosestPointOnCurve(p, u);
        if (!(-EqualTol <= u && u <= 1.0 + EqualTol)) return false;
        t = u;
        return true;
    }

    if (cb.DiagonalSquared() >= tol2) {
        CCubicBezier2f left, right;
        c.Split(0.5f, left, right);
        float u = 0.0f;
        if (ParameterOf(left, p, tol, u, at.Into(left, c, cb))) {
            t = Rangef(0.0f, 0.5f).Evaluate(u);
            return true;
        }
        if (ParameterOf(right, p, tol, u, at.Into(right, c, cb))) {
            t = Rangef(0.5f, 1.0f).Evaluate(u);
            return true;
        }
        // Neither half reached p, but it may still sit at an end of this piece.
        if (p.DistanceSquaredTo(c.p0) < tol2) {
            t = 0.0f;
            return true;
        }
        if (p.DistanceSquaredTo(c.p3) < tol2) {
            t = 1.0f;
            return true;
        }
        return false;
    }

    // A tiny piece that is not flat stands for its middle.
    if ((cb.Center() - p).LengthSquared() < tol2) {
        t = 0.5f;
        return true;
    }
    return false;
}

// Appends the chord of a flat piece: its end point, preceded by its start point
// unless the list is empty (the caller seeds it) or already ends there.
void AppendChord(const CCubicBezier2f& c, std::vector<CPoint2f>& points) {
    if (!points.empty()) {
        const CPoint2f& last = points.back();
        const double dx = static_cast<double>(last.x - c.p0.x);
        const double dy = static_cast<double>(last.y - c.p0.y);
        if (!(std::fabs(dx) <= EqualTol && std::fabs(dy) <= EqualTol && dx * dx + dy * dy < EqualTolSq)) {
            points.push_back(c.p0);
        }
    }
    points.push_back(c.p3);
}

void Flatten(const CCubicBezier2f& c, std::vector<CPoint2f>& points, Work& work, Descent at) {
    if (c.IsLine(work.tol) || !at.CanSplit() || !work.Take()) {
        AppendChord(c, points);
        return;
    }
    CCubicBezier2f left, right;
    c.Split(0.5f, left, right);
    const CRect2f cb = c.ControlPointBounds();
    Flatten(left, points, work, at.Into(left, c, cb));
    if (work.exhausted) return;
    Flatten(right, points, work, at.Into(right, c, cb));
}

// Where a recursion's hits go: the tail of out.points from index from on. A hit
// joins unless it equals one already in that tail; with from at 0 this is
// CurveIntersections2f::Add itself. A tail lets a pass collect hits apart from
// those stored before it, without a set of its own.
struct Hits {
    CurveIntersections2f& out;
    std::size_t from;

    std::size_t Size() const noexcept { return out.points.size() - from; }

    void Add(const IntersectionPoint2f& ip) {
        if (from == 0) {
            out.Add(ip);
            return;
        }
        // The duplicate rule of CurveIntersections2f::Add, over the tail only. The
        // passes run only at a tolerance with a positive float square, where Add
        // always scans.
        for (std::size_t i = from; i < out.points.size(); ++i) {
            if (out.points[i] == ip) return;
        }
        out.points.push_back(ip);
    }
};

// The hit of a piece taken as straight: its chord against the segment a-b, with
// parameters linear along the chord.
bool ChordHit(const CCubicBezier2f& c, const CPoint2f& a, const CPoint2f& b, const Rangef& range1, const Rangef& range2,
              Hits& out, Work& work) {
    IntersectionPoint2f ip;
    if (!IntersectLineSegments(c.p0, c.p3, a, b, ip)) return false;
    ip.ScaleParameters(range1, range2);
    work.Scan(out.Size());
    out.Add(ip);
    return true;
}

// The descent of a half whose control-point bounds are halfBounds.
Descent Into(const Descent& at, const CCubicBezier2f& half, const CRect2f& halfBounds, const CCubicBezier2f& parent,
             const CRect2f& parentBounds) noexcept {
    if (SameCurve(half, parent)) return {at.depth + 1, kMaxStall};
    return {at.depth + 1, SameRect(halfBounds, parentBounds) ? at.stall + 1 : 0};
}

// Hits of the piece c, whose control-point bounds are cb, with the segment a-b.
bool LineHits(const CCubicBezier2f& c, const CRect2f& cb, const CPoint2f& a, const CPoint2f& b, const Rangef& range1,
              const Rangef& range2, Hits& out, Work& work, Descent at) {
    if (!cb.Intersects(a, b)) return false;
    const float tolL = work.tol;

    if (c.IsLine(tolL)) return ChordHit(c, a, b, range1, range2, out, work);

    // A tiny piece that is not flat is judged by its middle; any parameter along
    // the infinite line through a and b is accepted.
    if (cb.DiagonalSquared() < tolL * tolL) {
        const CPoint2f m = MidPoint(c);
        float t = 0.0f;
        if (m.IsOnLine(a, b, t)) {
            work.Scan(out.Size());
            out.Add(IntersectionPoint2f(m, range1.Evaluate(0.5f), range2.Evaluate(t)));
            return true;
        }
    }
    if (!at.CanSplit() || !work.Take()) return ChordHit(c, a, b, range1, range2, out, work);

    CCubicBezier2f left, right;
    c.Split(0.5f, left, right);
    const CRect2f lb = left.ControlPointBounds();
    const CRect2f rb = right.ControlPointBounds();
    // Both halves are always visited: a crossing on the split point belongs to both.
    const bool r1 = LineHits(left, lb, a, b, range1.Left(0.5f), range2, out, work, Into(at, left, lb, c, cb));
    if (work.exhausted) return r1;
    const bool r2 = LineHits(right, rb, a, b, range1.Right(0.5f), range2, out, work, Into(at, right, rb, c, cb));
    return r1 || r2;
}

// Hits of the straight piece line (t2, range2) with the curve c (t1, range1),
// whose control-point bounds are cb: found with the roles exchanged into the
// tail of out, apart from the hits stored before, then swapped back and kept
// unless they equal a stored hit or one kept before them.
bool CurveHitsLine(const CCubicBezier2f& c, const CRect2f& cb, const CCubicBezier2f& line, const Rangef& range1,
                   const Rangef& range2, CurveIntersections2f& out, Work& work, Descent at) {
    std::vector<IntersectionPoint2f>& points = out.points;
    const std::size_t kept = points.size();
    Hits swapped{out, kept};
    const bool found = LineHits(c, cb, line.p0, line.p3, range1, range2, swapped, work, at);
    if (!found) {
        points.resize(kept);
        return false;
    }
    const std::size_t count = points.size();
    for (std::size_t i = kept; i < count; ++i) points[i].SwapParameters();
    work.Scan(kept * (count - kept));
    std::size_t joined = kept;
    for (std::size_t i = kept; i < count; ++i) {
        const IntersectionPoint2f ip = points[i];
        bool duplicate = false;
        for (std::size_t j = 0; j < joined && !duplicate; ++j) duplicate = points[j] == ip;
        if (!duplicate) points[joined++] = ip;
    }
    points.resize(joined);
    return true;
}

// A piece of one curve in the pairwise recursion, with what the recursion asks
// of it worked out once however many partners it meets: its control-point
// bounds, its flatness, and how it compares with the piece it was halved from.
struct Piece {
    CCubicBezier2f c;
    CRect2f box;
    bool sameCurve = false;  // identical to the piece it was halved from
    bool sameBox = false;    // the same control-point bounds as that piece
    signed char flat = -1;   // c.IsLine at the pass's tolerance; -1 until asked

    bool Flat(float tol) noexcept {
        if (flat < 0) flat = c.IsLine(tol) ? 1 : 0;
        return flat == 1;
    }
};

// The two halves of a piece, made when a pair first bisects it and shared by
// the pairs that follow.
struct Halves {
    Piece half[2];
    bool made = false;

    void Make(const Piece& parent) noexcept {
        if (made) return;
        made = true;
        parent.c.Split(0.5f, half[0].c, half[1].c);
        for (Piece& h : half) {
            h.box = h.c.ControlPointBounds();
            h.sameCurve = SameCurve(h.c, parent.c);
            h.sameBox = SameRect(h.box, parent.box);
        }
    }
};

// Hits of the piece a (t1, range1) with the piece b (t2, range2); aHalves and
// bHalves hold their halves once a pair has made them.
bool CurveHits(Piece& a, Halves& aHalves, Piece& b, Halves& bHalves, const Rangef& range1, const Rangef& range2,
               CurveIntersections2f& out, Work& work, Descent at) {
    if (!a.box.Intersects(b.box)) return false;
    const float tolL = work.tol;
    const float tol2 = tolL * tolL;

    if (b.Flat(tolL)) {
        Hits direct{out, 0};
        return LineHits(a.c, a.box, b.c.p0, b.c.p3, range1, range2, direct, work, Descent{at.depth, 0});
    }
    // Roles exchanged: the other curve is the curved one.
    if (a.Flat(tolL)) return CurveHitsLine(b.c, b.box, a.c, range2, range1, out, work, Descent{at.depth, 0});

    // Only this curve's size decides whether to go on; the other curve is
    // bisected alongside, and all four pairs are visited.
    if (a.box.DiagonalSquared() >= tol2) {
        // A pair that halving no longer changes takes this piece as straight.
        if (!at.CanSplit() || !work.Take())
            return CurveHitsLine(b.c, b.box, a.c, range2, range1, out, work, Descent{at.depth, 0});
        aHalves.Make(a);
        bHalves.Make(b);
        Piece* const as = aHalves.half;
        Piece* const bs = bHalves.half;
        const Rangef left1 = range1.Left(0.5f), right1 = range1.Right(0.5f);
        const Rangef left2 = range2.Left(0.5f), right2 = range2.Right(0.5f);
        const auto into = [&](const Piece& half, const Piece& otherHalf) {
            if (half.sameCurve && otherHalf.sameCurve) return Descent{at.depth + 1, kMaxStall};
            const bool same = half.sameBox && otherHalf.sameBox;
            return Descent{at.depth + 1, same ? at.stall + 1 : 0};
        };
        Halves ah[2], bh[2];
        bool found = CurveHits(as[0], ah[0], bs[0], bh[0], left1, left2, out, work, into(as[0], bs[0]));
        if (work.exhausted) return found;
        found = CurveHits(as[0], ah[0], bs[1], bh[1], left1, right2, out, work, into(as[0], bs[1])) || found;
        if (work.exhausted) return found;
        found = CurveHits(as[1], ah[1], bs[0], bh[0], right1, left2, out, work, into(as[1], bs[0])) || found;
        if (work.exhausted) return found;
        found = CurveHits(as[1], ah[1], bs[1], bh[1], right1, right2, out, work, into(as[1], bs[1])) || found;
        return found;
    }

    // This piece is tiny: its middle is a hit when it lies on the other piece,
    // searched for afresh.
    const CPoint2f m = MidPoint(a.c);
    float u = 0.0f;
    if (b.c.ParameterOfPointOnCurve(m, tolL, u) && (m - b.c.EvaluatePoint(u)).LengthSquared() <= tol2) {
        work.Scan(out.points.size());
        out.Add(m, range1.Evaluate(0.5f), range2.Evaluate(u));
        return true;
    }
    return false;
}

// Hits of curve a with curve b over a whole pass.
bool CurvePairHits(const CCubicBezier2f& a, const CCubicBezier2f& b, const Rangef& range1, const Rangef& range2,
                   CurveIntersections2f& out, Work& work) {
    Piece pa{a, a.ControlPointBounds()};
    Piece pb{b, b.ControlPointBounds()};
    Halves ah, bh;
    return CurveHits(pa, ah, pb, bh, range1, range2, out, work, Descent{});
}

}  // namespace

// --- Construction -----------------------------------------------------------

CCubicBezier2f::CCubicBezier2f(const CPoint2f& start, const CVector2f& startTangent, const CPoint2f& end,
                               const CVector2f& endTangent) noexcept
    : p0(start), p1(), p2(), p3(end) {
    const float length = (start - end).Length() / 3.0f;
    CVector2f t0 = startTangent;
    CVector2f t1 = endTangent;
    // A tangent too short to be scaled keeps its own length.
    t0.SetLength(length);
    t1.SetLength(length);
    p1 = p0 + t0;
    p2 = p3 - t1;
}

CCubicBezier2f CCubicBezier2f::CreateFromCatmullRomSpline(const CPoint2f& a, const CPoint2f& b, const CPoint2f& c,
                                                          const CPoint2f& d, float tension) noexcept {
    CVector2f t1 = c - a;
    CVector2f t2 = b - d;
    t1.SetLength(t1.Length() * tension);
    t2.SetLength(t2.Length() * tension);
    return CCubicBezier2f(b, b + t1, c + t2, c);
}

CCubicBezier2f CCubicBezier2f::CreateFromIrregularlySampledCatmullRomSpline(const CPoint2f& a, int na,
                                                                            const CPoint2f& b, int nb,
                                                                            const CPoint2f& c, int nc,
                                                                            const CPoint2f& d, float tension) noexcept {
    // The sums are formed in integers (wide enough never to overflow), the
    // weights in float.
    const float twiceB = 2.0f * static_cast<float>(nb);
    const float weight1 = twiceB / static_cast<float>(static_cast<std::int64_t>(na) + nb);
    const float weight2 = twiceB / static_cast<float>(static_cast<std::int64_t>(nb) + nc);
    CVector2f t1 = c - a;
    CVector2f t2 = b - d;
    t1.SetLength(t1.Length() * tension * weight1);
    t2.SetLength(t2.Length() * tension * weight2);
    return CCubicBezier2f(b, b + t1, c + t2, c);
}

// --- Access -------------------------------------------------------------------

const CPoint2f& CCubicBezier2f::GetPoint(unsigned int i) const noexcept {
    switch (i) {
        case 1:
            return p1;
        case 2:
            return p2;
        case 3:
            return p3;
        default:
            return p0;
    }
}

CPoint2f& CCubicBezier2f::GetPoint(unsigned int i) noexcept {
    return const_cast<CPoint2f&>(static_cast<const CCubicBezier2f&>(*this).GetPoint(i));
}

void CCubicBezier2f::Reverse() noexcept {
    std::swap(p0, p3);
    std::swap(p1, p2);
}

// --- Evaluation ---------------------------------------------------------------

CPoint2f CCubicBezier2f::EvaluatePoint(float t) const noexcept {
    const float s = 1.0f - t;
    const float b0 = s * (s * s);
    const float b1 = (3.0f * t) * (s * s);
    const float b2 = (3.0f * (t * t)) * s;
    const float b3 = t * t * t;
    return CPoint2f(((p0.x * b0 + p1.x * b1) + p2.x * b2) + p3.x * b3,
                    ((p0.y * b0 + p1.y * b1) + p2.y * b2) + p3.y * b3);
}

bool CCubicBezier2f::Evaluate(float t, CPoint2f& point, CVector2f& tangent) const noexcept {
    // Clamped from above only: callers step past the end and expect the end
    // point, while a t below 0 extrapolates.
    t = std::fmin(t, 1.0f);
    CPoint2f d, e;
    SecondLevel(*this, t, d, e);
    point = Lerp(d, e, t);
    tangent = e - d;
    bool nudged = false;
    if (tangent.IsZero()) {
        // A vanishing derivative (a cusp, or coinciding control points at an end)
        // is replaced by the one a step further into the curve.
        const float tn = t < 0.5f ? t + 0.0001f : t - 0.0001f;
        SecondLevel(*this, tn, d, e);
        tangent = e - d;
        nudged = true;
    }
    tangent *= 3.0f;
    return nudged;
}

void CCubicBezier2f::Split(float t, CCubicBezier2f& left, CCubicBezier2f& right) const noexcept {
    const CPoint2f a = Lerp(p0, p1, t);
    const CPoint2f c = Lerp(p2, p3, t);
    const CPoint2f b = Lerp(p1, p2, t);
    const CPoint2f d = Lerp(a, b, t);
    const CPoint2f e = Lerp(b, c, t);
    const CPoint2f m = Lerp(d, e, t);
    // Copies first: left or right may alias this curve.
    const CPoint2f start = p0;
    const CPoint2f end = p3;
    left = CCubicBezier2f(start, a, d, m);
    right = CCubicBezier2f(m, e, c, end);
}

// --- Bounds and flatness --------------------------------------------------------

CRect2f CCubicBezier2f::ControlPointBounds() const noexcept {
    CRect2f r;
    r += p0;
    r += p1;
    r += p2;
    r += p3;
    return r;
}

bool CCubicBezier2f::MightIntersectBounds(CRect2f* rect) const noexcept {
    return rect == nullptr || rect->Intersects(ControlPointBounds());
}

CRect2f CCubicBezier2f::Bounds() const noexcept {
    if (!IsFinite(*this)) return ControlPointBounds();
    return BoundsOf(*this, Descent{});
}

bool CCubicBezier2f::IsLine(float tol) const noexcept {
    const CVector2f d = p3 - p0;
    const float length = d.Length();
    if (!(static_cast<double>(length) < 1e-10)) {
        for (const CPoint2f* pi : {&p1, &p2}) {
            const CVector2f v = *pi - p0;
            // Strict: a control point exactly tol off the chord still passes.
            if (std::fabs(Cross(d, v)) / length > tol) return false;
            // Before p0 or beyond p3: the piece doubles back on itself and is no
            // segment, however close to the chord line it lies.
            if (Dot(v, d) / length < 0.0f) return false;
            if (Dot(*pi - p3, d) / length > 0.0f) return false;
        }
        return true;
    }
    const float tol2 = tol * tol;
    return p1.DistanceSquaredTo(p0) < tol2 && p2.DistanceSquaredTo(p0) < tol2;
}

// --- Containment --------------------------------------------------------------

bool CCubicBezier2f::PointInConvexHullOfControlPoints(const CPoint2f& p, float tol) const noexcept {
    const CPoint2f* cp[4] = {&p0, &p1, &p2, &p3};
    // At most one control point is dropped: the first one inside the triangle of
    // the other three (inclusive, so a point on the line of collinear others goes).
    CPoint2f hull[5];
    int count = 0;
    bool dropped = false;
    for (int i = 0; i < 4; ++i) {
        if (!dropped) {
            const CPoint2f* o[3];
            for (int j = 0, k = 0; j < 4; ++j) {
                if (j != i) o[k++] = cp[j];
            }
            if (PointInsideTriangle(*cp[i], *o[0], *o[1], *o[2])) {
                dropped = true;
                continue;
            }
        }
        hull[count++] = *cp[i];
    }

    if (count == 4) {
        // Order the quadrilateral around its border: a diagonal q0-q1 or q0-q3
        // separates the other two vertices.
        const auto opposite = [](const CPoint2f& from, const CPoint2f& to, const CPoint2f& a, const CPoint2f& b) {
            const CVector2f e = to - from;
            return Cross(e, a - from) * Cross(e, b - from) < 0.0f;
        };
        if (opposite(hull[0], hull[1], hull[2], hull[3])) std::swap(hull[1], hull[2]);
        if (opposite(hull[0], hull[3], hull[1], hull[2])) std::swap(hull[2], hull[3]);
    }
    hull[count] = hull[0];

    const CPoint2f center(((p0.x + p1.x) + p2.x + p3.x) * 0.25f, ((p0.y + p1.y) + p2.y + p3.y) * 0.25f);
    const float tol2 = tol * tol;
    bool anyEdge = false;
    for (int i = 0; i < count; ++i) {
        CVector2f e = hull[i + 1] - hull[i];
        const float len2 = e.LengthSquared();
        // Edges no longer than tol are ignored: their end points stand for them.
        if (len2 <= tol2) continue;
        anyEdge = true;
        const float len = std::sqrt(len2);
        if (!(static_cast<double>(len2) < 1e-20)) e = e / len;
        const CVector2f v = p - hull[i];
        const float s = Dot(v, e);
        const CVector2f perp = v - e * s;
        // p on the far side of the edge line from the centroid (or on it): it must
        // then lie within tol of the edge itself.
        if (static_cast<double>(Dot((center - hull[i]) - e * s, perp)) <= EqualTol) {
            if (perp.LengthSquared() > tol2 || s <= -tol || s >= len + tol) return false;
        }
    }
    // All control points within tol of each other: the hull is their mean.
    if (!anyEdge) return (center - p).LengthSquared() <= tol2;
    return true;
}

bool CCubicBezier2f::ParameterOfPointOnCurve(const CPoint2f& p, float tol, float& t) const noexcept {
    if (!IsFinite(*this) || !UsableTol(tol)) return false;
    return ParameterOf(*this, p, tol, t, Descent{});
}

bool CCubicBezier2f::RefineClosestPointOnCurve(const CPoint2f& p, float& t) const noexcept {
    for (int i = 0; i < 10; ++i) {
        CPoint2f q;
        CVector2f tangent;
        Evaluate(t, q, tangent);
        const float dt = p.ParameterOfCLosestPointOnLine(q, tangent);
        t = t + dt;
        if (std::fabs(static_cast<double>(dt)) < 1e-5) return true;
    }
    return false;
}

bool CCubicBezier2f::PointIsOnCurve(const CPoint2f& p, float tol) const noexcept {
    float t = 0.0f;
    return ParameterOfPointOnCurve(p, tol, t);
}

bool CCubicBezier2f::Intersects(const CRect2f& r) const noexcept {
    if (!IsFinite(*this)) return false;
    return IntersectsRect(*this, r, Descent{});
}

bool CCubicBezier2f::IsInside(const CRect2f& r) const noexcept {
    if (!IsFinite(*this)) return false;
    return InsideRect(*this, r, Descent{});
}

// --- Polylines and arcs ---------------------------------------------------------

void CCubicBezier2f::ApproximateWithPolyline(std::vector<CPoint2f>& points, float tol) const {
    if (!IsFinite(*this) || !UsableTol(tol)) {
        AppendChord(*this, points);
        return;
    }
    const std::size_t seeded = points.size();
    Work work{tol, kMaxBisections};
    Flatten(*this, points, work, Descent{});
    if (!work.exhausted) return;
    // Too many pieces for this tolerance: the coordinates are too coarse in float
    // to resolve it. Start over, flat within the float resolution of the curve.
    points.resize(seeded);
    Work coarse{std::fmax(tol, ResolutionTol({&p0, &p1, &p2, &p3})), ~std::uint64_t(0), false, ~std::uint64_t(0)};
    Flatten(*this, points, coarse, Descent{});
}

void CCubicBezier2f::ApproximateArc(const CPoint2f& center, float radius, float startAngle, float endAngle,
                                    std::vector<CPoint2f>& points) {
    points.clear();
    const float sweep = endAngle - startAngle;
    // Just above pi/2 as a float, so that a quarter circle is a single piece.
    const float quarters = std::fabs(sweep) / 1.5709709f;
    // A sweep that is not finite has no piece count; one whose list could not
    // even be requested from the vector yields no arc. Any other sweep gets all
    // its pieces (allocation failure may still throw from reserve).
    if (!std::isfinite(quarters)) return;
    const std::size_t maxCount = (points.max_size() - 1) / 3;
    const double maxPieces = static_cast<double>(maxCount);
    if (!(static_cast<double>(quarters) + 1.0 <= maxPieces)) return;
    const std::uint64_t n = static_cast<std::uint64_t>(quarters);
    const float da = sweep / static_cast<float>(n + 1);

    // One piece of angle da symmetric about the x axis, scaled by the radius.
    const float h = 0.5f * da;
    const float s = std::sin(h);
    const float c = std::cos(h);
    const float k1 = (4.0f - c) / 3.0f;
    const float k2 = std::fabs(s) < EqualTol ? 0.0f : (3.0f - c) * (1.0f - c) / (3.0f * s);
    const CPoint2f a(c * radius, s * radius);
    const CPoint2f b(k1 * radius, k2 * radius);
    const CPoint2f cc(k1 * radius, -k2 * radius);
    const CPoint2f d(c * radius, -s * radius);

    points.reserve(3 * static_cast<std::size_t>(n + 1) + 1);
    for (std::uint64_t i = 0; i <= n; ++i) {
        // Negated on purpose: the arc's angles run clockwise.
        const AffineTransform r = AffineTransform::Rotate(-(static_cast<float>(i) * da + (h + startAngle)));
        if (i == 0) points.push_back(r * a);
        points.push_back(r * b);
        points.push_back(r * cc);
        points.push_back(r * d);
    }
    const CVector2f offset(center.x, center.y);
    for (CPoint2f& p : points) p += offset;
}

// --- Intersections ------------------------------------------------------------

bool CCubicBezier2f::IntersectWithLine(const CPoint2f& a, const CPoint2f& b, const Rangef& range1, const Rangef& range2,
                                       CurveIntersections2f& out) const {
    if (!IsFinite(*this) || !IsFinite(a) || !IsFinite(b) || !UsableTol(IntersectionTol())) return false;
    const std::size_t kept = out.points.size();
    Work work{IntersectionTol(), kMaxBisections};
    Hits hits{out, 0};
    const bool found = LineHits(*this, ControlPointBounds(), a, b, range1, range2, hits, work, Descent{});
    if (!work.exhausted) return found;
    // Too many pieces to resolve the tolerance at these coordinates: start over,
    // flat within the float resolution of the curve and the segment.
    out.points.resize(kept);
    Work coarse{std::fmax(work.tol, ResolutionTol({&p0, &p1, &p2, &p3, &a, &b})), ~std::uint64_t(0), false,
                ~std::uint64_t(0)};
    return LineHits(*this, ControlPointBounds(), a, b, range1, range2, hits, coarse, Descent{});
}

bool CCubicBezier2f::IntersectWithBezier(const CCubicBezier2f& other, const Rangef& range1, const Rangef& range2,
                                         CurveIntersections2f& out) const {
    if (!IsFinite(*this) || !IsFinite(other) || !UsableTol(IntersectionTol())) return false;
    const std::size_t kept = out.points.size();
    Work work{IntersectionTol(), kMaxBisections};
    const bool found = CurvePairHits(*this, other, range1, range2, out, work);
    if (!work.exhausted) return found;
    // As for IntersectWithLine: start over at the float resolution of both curves.
    out.points.resize(kept);
    const float resolution = ResolutionTol({&p0, &p1, &p2, &p3, &other.p0, &other.p1, &other.p2, &other.p3});
    Work coarse{std::fmax(work.tol, resolution), ~std::uint64_t(0), false, ~std::uint64_t(0)};
    return CurvePairHits(*this, other, range1, range2, out, coarse);
}

bool PointInsideTriangle(const CPoint2f& p, const CPoint2f& a, const CPoint2f& b, const CPoint2f& c) noexcept {
    // Inclusive: a zero product (p on the edge's line, or a degenerate triangle)
    // never rejects.
    if (SideOf(c, a, b) * SideOf(p, a, b) < 0.0f) return false;
    if (SideOf(a, b, c) * SideOf(p, b, c) < 0.0f) return false;
    return SideOf(b, c, a) * SideOf(p, c, a) >= 0.0f;
}

}  // namespace velmor::geometry
