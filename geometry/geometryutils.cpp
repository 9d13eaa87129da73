#include <geometry/geometryutils.h>

#include <geometry/tol.h>

#include <cmath>

namespace velmor::geometry {

int PointInPolygon(const CPoint2f& p, const CPoint2f* points, unsigned int count) noexcept {
    if (count == 0 || points == nullptr) return OutsidePolygon;
    const double tol = EqualTol;
    const double px = p.x;
    const double py = p.y;
    unsigned int right = 0;  // crossings of the ray toward +x, tol above p
    unsigned int left = 0;   // crossings of the ray toward -x, tol below p

    const CPoint2f* prev = &points[count - 1];
    for (unsigned int i = 0; i < count; ++i) {
        const CPoint2f& v = points[i];
        // Strict in both coordinates: a point exactly tol away is not on the vertex.
        if (std::fabs(px - v.x) < tol && std::fabs(py - v.y) < tol) return OnPolygonVertex;

        // A vertex exactly tol above (below) p counts as above (below) the ray's line.
        const bool upper = (prev->y - py >= tol) != (v.y - py >= tol);
        const bool lower = (prev->y - py <= -tol) != (v.y - py <= -tol);
        if (upper || lower) {
            const float xi = (p.y - prev->y) * (v.x - prev->x) / (v.y - prev->y) + prev->x;
            if (upper && xi - px >= tol) ++right;
            if (lower && xi - px <= -tol) ++left;
        }
        prev = &v;
    }

    const bool rightOdd = (right & 1u) != 0;
    const bool leftOdd = (left & 1u) != 0;
    if (rightOdd != leftOdd) return OnPolygonEdge;
    return rightOdd ? InsidePolygon : OutsidePolygon;
}

}  // namespace velmor::geometry
