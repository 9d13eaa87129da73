/// \file
/// 2D cubic Bezier curves in float, and the triangle test that their control-hull
/// checks are built on.
///
/// CCubicBezier2f is the curve B(t) = (1-t)^3 p0 + 3t(1-t)^2 p1 + 3t^2(1-t) p2 +
/// t^3 p3, t in [0, 1], from p0 to p3. All arithmetic is float. Almost every
/// query is a recursive bisection at t = 0.5, left half first, that stops when a
/// piece passes the flatness test IsLine(tol): both inner control points within
/// tol of the chord p0-p3 (strictly beyond tol fails, so exactly tol passes) and
/// neither lying before p0 nor beyond p3 along it. Bounds, Intersects and
/// IsInside test flatness against EqualTol narrowed to float; the curve
/// intersections against half of it.
///
/// Guards: the bisections have no depth or work budget; they run until their
/// pieces stop. Only three things end them otherwise, and none changes an answer
/// the recursion reaches by itself:
/// - a curve with a NaN or infinite control point (or segment end) is answered
///   without recursing: Bounds gives ControlPointBounds, the tests and
///   intersections answer false, flattening appends the chord;
/// - a tolerance that is NaN, not positive, or so small that its float square is
///   zero (below about 2.6e-23) cannot stop a flattening or a point search:
///   ApproximateWithPolyline then appends the chord and ParameterOfPointOnCurve
///   answers false; the curve intersections find nothing when EqualTol / 2 is
///   such a tolerance;
/// - where the tolerance is finer than the float spacing of the coordinates,
///   halving can stop making progress on the float grid (a half identical to its
///   piece, or a few halvings that lead back to the same bounds), and the
///   recursion would never end. Such a piece, only a few float steps wide, is
///   answered as a straight piece (its chord). A depth of 400 levels is also
///   answered that way; no finite input measured deeper than 211.
///
/// Flattening and the curve intersections also count their work. Coordinates
/// whose float spacing exceeds the tolerance (a curve 1e18 wide flattened within
/// 0.001, or intersected) can otherwise need up to one piece per float step along
/// the curve, hundreds of millions. A call that needs more than 2^22 bisections,
/// or whose hit set would be scanned more than 2^30 times for duplicates, is
/// started over as a whole with the tolerance raised to four float steps at the
/// curve's largest coordinate: its output is then flat within the float
/// resolution of the curve, evenly, and never one long chord. The largest
/// ordinary calls measured stay far below (168,169 bisections to flatten the
/// 300-unit arch at 1e-5; 118,829 bisections and 1.3e8 scans for the
/// self-intersection of a 256-unit arch at (20000, 20000)).
/// The measurements behind these limits are in the source.
///
/// PointInsideTriangle is an inclusive same-side test in float: points on an edge
/// or at a vertex are inside, the triangle's orientation does not matter, and a
/// degenerate (collinear) triangle contains every point, so that a control point
/// lying on the line of the other three is dropped from the hull.
#ifndef PLENAR_GEOMETRY_CUBICBEZIER2F_H
#define PLENAR_GEOMETRY_CUBICBEZIER2F_H

#include <geometry/export.h>
#include <geometry/intersection2f.h>
#include <geometry/point2f.h>
#include <geometry/rangef.h>
#include <geometry/rect2f.h>

#include <vector>

namespace velmor::geometry {

/// A cubic Bezier curve in float, from p0 (t = 0) to p3 (t = 1) with inner control points p1 and p2.
class PLENAR_API CCubicBezier2f {
public:
    CPoint2f p0;  ///< start, t = 0
    /// First inner control point: the start tangent is 3 * (p1 - p0).
    CPoint2f p1;
    /// Second inner control point: the end tangent is 3 * (p3 - p2).
    CPoint2f p2;
    CPoint2f p3;  ///< end, t = 1

    /// All four points at (0, 0).
    constexpr CCubicBezier2f() noexcept : p0(), p1(), p2(), p3() {}
    /// The four control points as given.
    constexpr CCubicBezier2f(const CPoint2f& p0_, const CPoint2f& p1_, const CPoint2f& p2_,
                             const CPoint2f& p3_) noexcept
        : p0(p0_), p1(p1_), p2(p2_), p3(p3_) {}
    /// Copies points[0..3].
    explicit constexpr CCubicBezier2f(const CPoint2f* points) noexcept
        : p0(points[0]), p1(points[1]), p2(points[2]), p3(points[3]) {}
    /// From end points and tangent directions: both tangents are given a third of
    /// the distance start-end as their length (a tangent too short to be scaled
    /// is used as it is); p1 = start + startTangent', p2 = end - endTangent'.
    CCubicBezier2f(const CPoint2f& start, const CVector2f& startTangent, const CPoint2f& end,
                   const CVector2f& endTangent) noexcept;
    /// The quadratic p0, q, p3 raised to a cubic, with the float weights
    /// 0.33333334 and 0.6666667.
    constexpr CCubicBezier2f(const CPoint2f& p0_, const CPoint2f& q, const CPoint2f& p3_) noexcept
        : p0(p0_), p1(0.33333334f, p0_, 0.6666667f, q), p2(0.6666667f, q, 0.33333334f, p3_), p3(p3_) {}
    /// The straight segment a-b, inner points at a third and two thirds.
    constexpr CCubicBezier2f(const CPoint2f& a, const CPoint2f& b) noexcept
        : p0(a), p1(0.6666667f, a, 0.33333334f, b), p2(0.33333334f, a, 0.6666667f, b), p3(b) {}

    /// The span from b to c of the Catmull-Rom spline through a, b, c, d: the
    /// tangent at b is c - a and the one at c is b - d, each scaled by tension.
    static CCubicBezier2f CreateFromCatmullRomSpline(const CPoint2f& a, const CPoint2f& b, const CPoint2f& c,
                                                     const CPoint2f& d, float tension) noexcept;
    /// As CreateFromCatmullRomSpline for samples taken at irregular spacing: the
    /// tangents are further scaled by 2*nb/(na + nb) at b and 2*nb/(nb + nc) at
    /// c, where the counts say how many steps each span covers.
    static CCubicBezier2f CreateFromIrregularlySampledCatmullRomSpline(const CPoint2f& a, int na, const CPoint2f& b,
                                                                       int nb, const CPoint2f& c, int nc,
                                                                       const CPoint2f& d, float tension) noexcept;

    /// Control point i for i in 0..3. Any larger index yields p0 on purpose:
    /// callers index with unchecked values and rely on never failing.
    const CPoint2f& GetPoint(unsigned int i) const noexcept;
    /// Control point i for writing; any index above 3 yields p0, as for the const overload.
    CPoint2f& GetPoint(unsigned int i) noexcept;
    /// Sets control point i; an index above 3 overwrites p0, as GetPoint reads it.
    void SetPoint(unsigned int i, const CPoint2f& p) noexcept { GetPoint(i) = p; }
    /// Sets all four control points.
    void SetPoints(const CPoint2f& p0_, const CPoint2f& p1_, const CPoint2f& p2_, const CPoint2f& p3_) noexcept {
        p0 = p0_;
        p1 = p1_;
        p2 = p2_;
        p3 = p3_;
    }
    /// Runs the curve backwards: swaps p0 with p3 and p1 with p2.
    void Reverse() noexcept;

    /// B(t) by the Bernstein form, summed in control-point order; t is not clamped.
    CPoint2f EvaluatePoint(float t) const noexcept;
    /// Point and derivative B'(t) by de Casteljau. t is clamped from above only
    /// (min(t, 1)): beyond the end the end is returned, before the start the curve
    /// is extrapolated. Where the derivative is zero (both components below
    /// EqualTol) it is taken 0.0001 further into the curve instead and true is
    /// returned; the point stays the one at t.
    bool Evaluate(float t, CPoint2f& point, CVector2f& tangent) const noexcept;
    /// de Casteljau subdivision at t; the parent's end points are copied exactly.
    void Split(float t, CCubicBezier2f& left, CCubicBezier2f& right) const noexcept;

    /// The rectangle of the four control points; the curve lies within it.
    CRect2f ControlPointBounds() const noexcept;
    /// True when rect is null; otherwise whether it meets ControlPointBounds().
    bool MightIntersectBounds(CRect2f* rect) const noexcept;
    /// A bounding rectangle tighter than ControlPointBounds(): the end points'
    /// rectangle grown by the bounds of both halves wherever an inner control
    /// point sticks out, down to pieces that are flat within EqualTol or have a
    /// control-bounds diagonal below EqualTol.
    CRect2f Bounds() const noexcept;
    /// Flatness: both inner control points within tol of the chord p0-p3
    /// (exactly tol passes), neither before p0 nor beyond p3 along it. With p0
    /// and p3 less than 1e-10 apart, both inner points must lie strictly within
    /// tol of p0.
    bool IsLine(float tol) const noexcept;

    /// Whether p lies within tol of the convex hull of the control points
    /// (points on the hull's border count as inside).
    bool PointInConvexHullOfControlPoints(const CPoint2f& p, float tol) const noexcept;
    /// Whether p lies within tol of the curve; t receives its parameter in
    /// [-EqualTol, 1 + EqualTol]. t is left untouched when false is returned.
    bool ParameterOfPointOnCurve(const CPoint2f& p, float tol, float& t) const noexcept;
    /// Refines t toward the parameter of the curve point closest to p by at most
    /// 10 projections onto the tangent; true when the last step was below 1e-5.
    /// t is not clamped and keeps its last value either way.
    bool RefineClosestPointOnCurve(const CPoint2f& p, float& t) const noexcept;
    /// Whether p lies within tol of the curve.
    bool PointIsOnCurve(const CPoint2f& p, float tol) const noexcept;
    /// Whether any part of the curve touches the closed rectangle r.
    bool Intersects(const CRect2f& r) const noexcept;
    /// Whether the whole curve lies in the closed rectangle r.
    bool IsInside(const CRect2f& r) const noexcept;

    /// Flattens the curve to a polyline within tol and appends it to points. The
    /// start point is not appended to an empty list (the caller seeds the
    /// polyline with it), nor when the list already ends at p0 within EqualTol,
    /// so consecutive curves of a chain never duplicate their shared point.
    void ApproximateWithPolyline(std::vector<CPoint2f>& points, float tol) const;
    /// Replaces points with the control points of a chain of cubics
    /// approximating the arc of the given radius about center from startAngle to
    /// endAngle: p0 followed by (p1, p2, p3) per piece, 3(n + 1) + 1 points for
    /// n + 1 pieces of at most a quarter turn each. The angles are taken
    /// clockwise: the chain starts at the angle -startAngle and ends at
    /// -endAngle in the counter-clockwise convention. Every finite sweep gets all
    /// its pieces (a sweep of 1.65e6 radians gives 3,150,919 points); a sweep that
    /// is not finite, or whose point count exceeds points.max_size(), leaves
    /// points empty. Allocation failure for a huge count throws std::bad_alloc.
    static void ApproximateArc(const CPoint2f& center, float radius, float startAngle, float endAngle,
                               std::vector<CPoint2f>& points);

    /// Appends the hits of this curve (t1, mapped through range1) with the
    /// segment a-b (t2, 0 at a and 1 at b, mapped through range2) to out. On a
    /// piece that is flat within EqualTol/2 the parameter is linear along its
    /// chord. True when a hit was found, even if out already held it. Top-level
    /// callers pass Rangef(0, 1) for both ranges.
    bool IntersectWithLine(const CPoint2f& a, const CPoint2f& b, const Rangef& range1, const Rangef& range2,
                           CurveIntersections2f& out) const;
    /// Appends the hits of this curve (t1, range1) with other (t2, range2) to
    /// out, in the order found (left halves of this curve first); true when a hit
    /// was found. out is neither cleared nor sorted.
    bool IntersectWithBezier(const CCubicBezier2f& other, const Rangef& range1, const Rangef& range2,
                             CurveIntersections2f& out) const;
};

/// Whether p lies inside or on the boundary of the triangle a, b, c: for each
/// edge, p must not lie strictly on the other side from the opposite vertex.
PLENAR_API bool PointInsideTriangle(const CPoint2f& p, const CPoint2f& a, const CPoint2f& b,
                                    const CPoint2f& c) noexcept;

}  // namespace velmor::geometry

#endif
