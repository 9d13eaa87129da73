// Intersections of 2D float curves: the hit record IntersectionPoint2f, the hit
// set CurveIntersections2f, and the segment/segment intersection that the curve
// intersections of CCubicBezier2f end in.
//
// A hit carries the point and its parameter on each of the two curves (t1 on the
// first, t2 on the second). Two hits are the same when both parameters agree
// within 0.001 (inclusive) and the points agree within EqualTol narrowed to float
// (per coordinate inclusive, squared distance strict). CurveIntersections2f never
// holds two such equal hits: Add silently drops a hit equal to a stored one, so
// a crossing found by several neighbouring curve pieces is stored once, while
// hits at one point with different parameters (a curve touching itself) are kept.
//
// Hits stay in insertion order until sorted; sorting by either parameter is not
// stable.
#ifndef PLENAR_GEOMETRY_INTERSECTION2F_H
#define PLENAR_GEOMETRY_INTERSECTION2F_H

#include <geometry/export.h>
#include <geometry/point2f.h>
#include <geometry/rangef.h>
#include <geometry/tol.h>

#include <cmath>
#include <vector>

namespace velmor::geometry {

class PLENAR_API IntersectionPoint2f {
public:
    CPoint2f point;
    float t1;
    float t2;

    /// (0, 0) with both parameters 0.
    constexpr IntersectionPoint2f() noexcept : point(), t1(0.0f), t2(0.0f) {}
    constexpr IntersectionPoint2f(const CPoint2f& point_, float t1_, float t2_) noexcept
        : point(point_), t1(t1_), t2(t2_) {}

    /// Same hit: |t1 - o.t1| <= 0.001 and |t2 - o.t2| <= 0.001 (in double,
    /// inclusive), and the points within EqualTol narrowed to float: each
    /// coordinate difference inclusive (in double), and the squared distance
    /// (in float) strictly below the tolerance's square.
    bool operator==(const IntersectionPoint2f& o) const noexcept {
        if (!(std::fabs(static_cast<double>(t1) - static_cast<double>(o.t1)) <= 0.001 &&
              std::fabs(static_cast<double>(t2) - static_cast<double>(o.t2)) <= 0.001)) {
            return false;
        }
        const float tol = static_cast<float>(EqualTol);
        const double dx = static_cast<double>(point.x) - static_cast<double>(o.point.x);
        const double dy = static_cast<double>(point.y) - static_cast<double>(o.point.y);
        if (!(std::fabs(dx) <= tol && std::fabs(dy) <= tol)) return false;
        const float fx = point.x - o.point.x;
        const float fy = point.y - o.point.y;
        return fx * fx + fy * fy < tol * tol;
    }
    bool operator!=(const IntersectionPoint2f& o) const noexcept { return !(*this == o); }

    /// Maps local parameters of two curve pieces to their parents':
    /// t1 = r1.Evaluate(t1), t2 = r2.Evaluate(t2).
    void ScaleParameters(const Rangef& r1, const Rangef& r2) noexcept {
        t1 = r1.Evaluate(t1);
        t2 = r2.Evaluate(t2);
    }
    /// t2 when which is 2, t1 for any other value.
    constexpr float GetParameter(int which) const noexcept { return which == 2 ? t2 : t1; }
    /// Exchanges t1 and t2, for a hit found with the two curves' roles swapped.
    void SwapParameters() noexcept {
        const float t = t1;
        t1 = t2;
        t2 = t;
    }
};

/// a.t1 < b.t1.
inline bool Parameter1Less(const IntersectionPoint2f& a, const IntersectionPoint2f& b) noexcept { return a.t1 < b.t1; }
/// a.t2 < b.t2.
inline bool Parameter2Less(const IntersectionPoint2f& a, const IntersectionPoint2f& b) noexcept { return a.t2 < b.t2; }

class PLENAR_API CurveIntersections2f {
public:
    /// The hits, free of duplicates, in insertion order until sorted.
    std::vector<IntersectionPoint2f> points;

    CurveIntersections2f() = default;

    /// Appends ip unless a stored hit equals it. A linear scan, so adding n hits
    /// costs time quadratic in n.
    void Add(const IntersectionPoint2f& ip);
    void Add(const CPoint2f& point, float t1, float t2) { Add(IntersectionPoint2f(point, t1, t2)); }
    /// Adds other's hits in order, each with the duplicate test, so duplicates
    /// within other are dropped too.
    void Add(const CurveIntersections2f& other);
    /// Exchanges t1 and t2 of every hit.
    void SwapParameters() noexcept;
    /// Orders the hits by ascending t1; hits with equal t1 may come in any order.
    void SortByParameter1();
    /// Orders the hits by ascending t2; hits with equal t2 may come in any order.
    void SortByParameter2();
};

/// Intersects the segments a0-a1 and b0-b1, in double from the float inputs.
/// Returns false, leaving ip untouched, when the segments are parallel or
/// degenerate (|determinant| < 1e-30). Otherwise ip receives the meeting point of
/// the two lines (the mean of both lines' own evaluations, which evens out
/// rounding) with t1 on a0-a1 and t2 on b0-b1, and the result says whether both
/// parameters lie in [0, 1] (inclusive, so segments touching at an end meet).
/// ip is filled even when a parameter lies outside.
PLENAR_API bool IntersectLineSegments(const CPoint2f& a0, const CPoint2f& a1, const CPoint2f& b0, const CPoint2f& b1,
                                      IntersectionPoint2f& ip) noexcept;

}  // namespace velmor::geometry

#endif
