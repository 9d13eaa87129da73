#include <geometry/intersection2f.h>

#include <algorithm>
#include <cmath>

namespace velmor::geometry {

void CurveIntersections2f::Add(const IntersectionPoint2f& ip) {
    // Under a float length tolerance that is zero, negative or NaN no two hits are
    // ever equal (the point test needs |dx| <= tol and a squared distance below
    // tol * tol), so the scan could find nothing; skipping it keeps such a
    // tolerance, which lets every piece of a curve through as a hit, from making
    // the collection quadratic in time.
    if (static_cast<float>(EqualTol) > 0.0f) {
        for (const IntersectionPoint2f& stored : points) {
            if (stored == ip) return;
        }
    }
    points.push_back(ip);
}

void CurveIntersections2f::Add(const CurveIntersections2f& other) {
    // By index over the count at entry, so that adding a set to itself neither
    // walks the entries it appends nor holds iterators across a reallocation.
    const std::size_t count = other.points.size();
    for (std::size_t i = 0; i < count; ++i) Add(other.points[i]);
}

void CurveIntersections2f::SwapParameters() noexcept {
    for (IntersectionPoint2f& ip : points) ip.SwapParameters();
}

void CurveIntersections2f::SortByParameter1() { std::sort(points.begin(), points.end(), Parameter1Less); }

void CurveIntersections2f::SortByParameter2() { std::sort(points.begin(), points.end(), Parameter2Less); }

bool IntersectLineSegments(const CPoint2f& a0, const CPoint2f& a1, const CPoint2f& b0, const CPoint2f& b1,
                           IntersectionPoint2f& ip) noexcept {
    const CPoint2d pa0(a0);
    const CPoint2d pb0(b0);
    const CVector2d da = CPoint2d(a1) - pa0;
    // The second direction runs backwards, from b1 to b0, so that the system
    // da*s + db*u = w reads as a plain 2x2 solve.
    const CVector2d db = pb0 - CPoint2d(b1);
    const CVector2d w = pb0 - pa0;

    const double det = da.x * db.y - db.x * da.y;
    if (std::fabs(det) < 1e-30) return false;
    const double s = (w.x * db.y - db.x * w.y) / det;
    const double u = (da.x * w.y - w.x * da.y) / det;

    // Each line evaluated at its own parameter; their mean evens out the rounding
    // of either evaluation.
    const CPoint2d onB = pb0 - db * u;
    const CPoint2d onA = pa0 + da * s;
    ip.point = CPoint2f(static_cast<float>((onB.x + onA.x) * 0.5), static_cast<float>((onB.y + onA.y) * 0.5));
    ip.t1 = static_cast<float>(s);
    ip.t2 = static_cast<float>(u);
    return 0.0 <= s && s <= 1.0 && 0.0 <= u && u <= 1.0;
}

}  // namespace velmor::geometry
