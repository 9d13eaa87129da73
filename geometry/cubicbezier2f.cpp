#include <geometry/cubicbezier2f.h>

#include <geometry/affinetransform.h>
#include <geometry/tol.h>

#include <cmath>
#include <cstdint>
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

// The flatness tolerance of the rectangle queries, read at call time.
float RectTol() noexcept { return static_cast<float>(EqualTol); }

// The flatness tolerance of the curve intersections: half the length tolerance,
// halved in double.
float IntersectionTol() noexcept { return static_cast<float>(EqualTol * 0.5); }

// Limits of the recursive bisections.
//
// Depth: a piece at depth k covers 1/2^k of its curve's parameter interval, so
// its control polygon spans about 3/2^k of the curve's, plus a few float ulps of
// its own coordinates from the rounding of the splits. Once a piece spans less
// than the tolerance it is flat or tiny; and once it has shrunk onto a single
// float point it is flat for every tolerance whose float square is positive.
// A finite curve of extent E therefore stops by depth log2(3E/tol), or, where
// the float spacing of its coordinates exceeds the tolerance, where its pieces
// collapse onto the float grid, some 26 levels below the curve's own scale. At
// the default tolerance 64 levels cover curves spanning up to about 1e15 units.
//
// Bisections: flattening emits a point per flat piece and the intersections keep
// every pair of pieces whose bounds meet, so each call also counts its
// bisections. A flattening within tol needs on the order of sqrt(E/tol) pieces:
// curves spanning a few thousand units take a few thousand bisections at the
// default tolerance, and intersecting such a curve with itself (every piece
// meets its neighbours) some ten thousand. Near 1e4 units the float spacing of
// the coordinates reaches the tolerance and flatness stops being decidable.
// 2^16 is met only by a zero, negative or NaN tolerance, or by coordinates so
// large that float rounding keeps pieces from ever becoming flat, where every
// further piece would follow rounding noise and the unlimited recursion would
// not end in any useful time.
//
// A piece that may not be bisected is answered as the recursion answers a piece
// it stops at: as a straight piece, or as a tiny one where that is the other
// stop. A curve with a NaN or infinite control point is never bisected: the
// public entries answer it without recursing.
constexpr int kMaxDepth = 64;
constexpr std::uint32_t kMaxBisections = 1u << 16;

class Budget {
public:
    // Whether a piece at the given depth may be split once more; counts the split.
    bool Bisect(int depth) noexcept {
        if (depth >= kMaxDepth || used_ >= kMaxBisections) return false;
        ++used_;
        return true;
    }

private:
    std::uint32_t used_ = 0;
};

// --- Recursive workers: each takes the depth of its piece and the call's budget.

CRect2f BoundsOf(const CCubicBezier2f& c, int depth, Budget& budget) noexcept {
    CRect2f r(c.p0, c.p3);
    if (r.Contains(c.p1) && r.Contains(c.p2)) return r;
    const CRect2f cb = c.ControlPointBounds();
    if (!c.IsLine(RectTol()) && !(cb.DiagonalSquared() < static_cast<float>(EqualTolSq)) && budget.Bisect(depth)) {
        CCubicBezier2f left, right;
        c.Split(0.5f, left, right);
        r += BoundsOf(left, depth + 1, budget);
        r += BoundsOf(right, depth + 1, budget);
        return r;
    }
    return cb;
}

bool IntersectsRect(const CCubicBezier2f& c, const CRect2f& r, int depth, Budget& budget) noexcept {
    if (r.Contains(c.p0) || r.Contains(c.p3)) return true;
    if (!c.ControlPointBounds().Intersects(r)) return false;
    if (c.IsLine(RectTol()) || !budget.Bisect(depth)) return r.Intersects(c.p0, c.p3);
    CCubicBezier2f left, right;
    c.Split(0.5f, left, right);
    return IntersectsRect(left, r, depth + 1, budget) || IntersectsRect(right, r, depth + 1, budget);
}

bool InsideRect(const CCubicBezier2f& c, const CRect2f& r, int depth, Budget& budget) noexcept {
    if (!(r.Contains(c.p0) && r.Contains(c.p3))) return false;
    if (r.Contains(c.p1) && r.Contains(c.p2)) return true;
    // A straight piece between two contained end points is inside.
    if (c.IsLine(RectTol()) || !budget.Bisect(depth)) return true;
    CCubicBezier2f left, right;
    c.Split(0.5f, left, right);
    return InsideRect(left, r, depth + 1, budget) && InsideRect(right, r, depth + 1, budget);
}

// t is written only when true is returned.
bool ParameterOf(const CCubicBezier2f& c, const CPoint2f& p, float tol, float& t, int depth, Budget& budget) noexcept {
    const CRect2f cb = c.ControlPointBounds();
    if (!cb.Contains(p, tol)) return false;
    const float tol2 = tol * tol;

    if (c.IsLine(tol)) {
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

    if (cb.DiagonalSquared() >= tol2 && budget.Bisect(depth)) {
        CCubicBezier2f left, right;
        c.Split(0.5f, left, right);
        float u = 0.0f;
        if (ParameterOf(left, p, tol, u, depth + 1, budget)) {
            t = Rangef(0.0f, 0.5f).Evaluate(u);
            return true;
        }
        if (ParameterOf(right, p, tol, u, depth + 1, budget)) {
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

void Flatten(const CCubicBezier2f& c, std::vector<CPoint2f>& points, float tol, int depth, Budget& budget) {
    if (c.IsLine(tol) || !budget.Bisect(depth)) {
        AppendChord(c, points);
        return;
    }
    CCubicBezier2f left, right;
    c.Split(0.5f, left, right);
    Flatten(left, points, tol, depth + 1, budget);
    Flatten(right, points, tol, depth + 1, budget);
}

bool LineHits(const CCubicBezier2f& c, const CPoint2f& a, const CPoint2f& b, const Rangef& range1, const Rangef& range2,
              CurveIntersections2f& out, int depth, Budget& budget) {
    const CRect2f cb = c.ControlPointBounds();
    if (!cb.Intersects(a, b)) return false;
    const float tolL = IntersectionTol();

    if (c.IsLine(tolL)) {
        // Parameters on a flat piece are linear along its chord.
        IntersectionPoint2f ip;
        if (!IntersectLineSegments(c.p0, c.p3, a, b, ip)) return false;
        ip.ScaleParameters(range1, range2);
        out.Add(ip);
        return true;
    }

    // A tiny piece that is not flat is judged by its middle; any parameter along
    // the infinite line through a and b is accepted.
    const auto midpointHit = [&]() {
        const CPoint2f m = MidPoint(c);
        float t = 0.0f;
        if (!m.IsOnLine(a, b, t)) return false;
        out.Add(m, range1.Evaluate(0.5f), range2.Evaluate(t));
        return true;
    };
    const bool tiny = cb.DiagonalSquared() < tolL * tolL;
    if (tiny && midpointHit()) return true;
    if (!budget.Bisect(depth)) return !tiny && midpointHit();

    CCubicBezier2f left, right;
    c.Split(0.5f, left, right);
    // Both halves are always visited: a crossing on the split point belongs to both.
    const bool r1 = LineHits(left, a, b, range1.Left(0.5f), range2, out, depth + 1, budget);
    const bool r2 = LineHits(right, a, b, range1.Right(0.5f), range2, out, depth + 1, budget);
    return r1 || r2;
}

bool CurveHits(const CCubicBezier2f& c, const CCubicBezier2f& other, const Rangef& range1, const Rangef& range2,
               CurveIntersections2f& out, int depth, Budget& budget) {
    const CRect2f cb = c.ControlPointBounds();
    if (!cb.Intersects(other.ControlPointBounds())) return false;
    const float tolL = IntersectionTol();
    const float tol2 = tolL * tolL;

    if (other.IsLine(tolL)) return LineHits(c, other.p0, other.p3, range1, range2, out, depth, budget);
    if (c.IsLine(tolL)) {
        // Roles exchanged: the other curve is the curved one. Its hits carry t1
        // on the other curve, so they are swapped back before they join out.
        CurveIntersections2f swapped;
        const bool found = LineHits(other, c.p0, c.p3, range2, range1, swapped, depth, budget);
        if (found) {
            swapped.SwapParameters();
            out.Add(swapped);
        }
        return found;
    }

    // Only this curve's size decides whether to go on; the other curve is
    // bisected alongside, and all four pairs are visited.
    if (cb.DiagonalSquared() >= tol2 && budget.Bisect(depth)) {
        CCubicBezier2f a1, a2, b1, b2;
        c.Split(0.5f, a1, a2);
        other.Split(0.5f, b1, b2);
        const Rangef left1 = range1.Left(0.5f), right1 = range1.Right(0.5f);
        const Rangef left2 = range2.Left(0.5f), right2 = range2.Right(0.5f);
        bool found = CurveHits(a1, b1, left1, left2, out, depth + 1, budget);
        found = CurveHits(a1, b2, left1, right2, out, depth + 1, budget) || found;
        found = CurveHits(a2, b1, right1, left2, out, depth + 1, budget) || found;
        found = CurveHits(a2, b2, right1, right2, out, depth + 1, budget) || found;
        return found;
    }

    // This piece is tiny: its middle is a hit when it lies on the other piece.
    const CPoint2f m = MidPoint(c);
    float u = 0.0f;
    if (ParameterOf(other, m, tolL, u, depth, budget) && (m - other.EvaluatePoint(u)).LengthSquared() <= tol2) {
        out.Add(m, range1.Evaluate(0.5f), range2.Evaluate(u));
        return true;
    }
    return false;
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
    Budget budget;
    return BoundsOf(*this, 0, budget);
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
    if (!IsFinite(*this)) return false;
    Budget budget;
    return ParameterOf(*this, p, tol, t, 0, budget);
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
    Budget budget;
    return IntersectsRect(*this, r, 0, budget);
}

bool CCubicBezier2f::IsInside(const CRect2f& r) const noexcept {
    if (!IsFinite(*this)) return false;
    Budget budget;
    return InsideRect(*this, r, 0, budget);
}

// --- Polylines and arcs ---------------------------------------------------------

void CCubicBezier2f::ApproximateWithPolyline(std::vector<CPoint2f>& points, float tol) const {
    if (!IsFinite(*this)) {
        AppendChord(*this, points);
        return;
    }
    Budget budget;
    Flatten(*this, points, tol, 0, budget);
}

void CCubicBezier2f::ApproximateArc(const CPoint2f& center, float radius, float startAngle, float endAngle,
                                    std::vector<CPoint2f>& points) {
    points.clear();
    const float sweep = endAngle - startAngle;
    // Just above pi/2 as a float, so that a quarter circle is a single piece.
    const float quarters = std::fabs(sweep) / 1.5709709f;
    // A sweep that cannot be counted in pieces (not finite, or absurdly many
    // turns) yields no arc rather than an unbounded list.
    constexpr float kMaxQuarters = static_cast<float>(1 << 20);
    if (!(quarters < kMaxQuarters)) return;
    const int n = static_cast<int>(quarters);
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
    for (int i = 0; i <= n; ++i) {
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
    if (!IsFinite(*this) || !IsFinite(a) || !IsFinite(b)) return false;
    Budget budget;
    return LineHits(*this, a, b, range1, range2, out, 0, budget);
}

bool CCubicBezier2f::IntersectWithBezier(const CCubicBezier2f& other, const Rangef& range1, const Rangef& range2,
                                         CurveIntersections2f& out) const {
    if (!IsFinite(*this) || !IsFinite(other)) return false;
    Budget budget;
    return CurveHits(*this, other, range1, range2, out, 0, budget);
}

bool PointInsideTriangle(const CPoint2f& p, const CPoint2f& a, const CPoint2f& b, const CPoint2f& c) noexcept {
    // Inclusive: a zero product (p on the edge's line, or a degenerate triangle)
    // never rejects.
    if (SideOf(c, a, b) * SideOf(p, a, b) < 0.0f) return false;
    if (SideOf(a, b, c) * SideOf(p, b, c) < 0.0f) return false;
    return SideOf(b, c, a) * SideOf(p, c, a) >= 0.0f;
}

}  // namespace velmor::geometry
