#include <geometry/cubicbezier2f.h>

namespace velmor::geometry {

namespace {

// Which side of the line from -> to q lies on, unnormalised: the sign is what
// matters, zero on the line.
float SideOf(const CPoint2f& q, const CPoint2f& from, const CPoint2f& to) noexcept {
    return (q.y - from.y) * (to.x - from.x) - (q.x - from.x) * (to.y - from.y);
}

}  // namespace

bool PointInsideTriangle(const CPoint2f& p, const CPoint2f& a, const CPoint2f& b, const CPoint2f& c) noexcept {
    // Inclusive: a zero product (p on the edge's line, or a degenerate triangle)
    // never rejects.
    if (SideOf(c, a, b) * SideOf(p, a, b) < 0.0f) return false;
    if (SideOf(a, b, c) * SideOf(p, b, c) < 0.0f) return false;
    return SideOf(b, c, a) * SideOf(p, c, a) >= 0.0f;
}

}  // namespace velmor::geometry
