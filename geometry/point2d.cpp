#include <geometry/point2d.h>

#include <geometry/point2f.h>

namespace velmor::geometry {

CVector2d::CVector2d(const CVector2f& v) noexcept : x(v.x), y(v.y) {}
CPoint2d::CPoint2d(const CPoint2f& p) noexcept : x(p.x), y(p.y) {}

}  // namespace velmor::geometry
