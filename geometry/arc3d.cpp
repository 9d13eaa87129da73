#include <geometry/arc3d.h>

#include <cmath>

namespace velmor::geometry {

namespace {
constexpr double TwoPi = 6.283185307179586;
}  // namespace

CArc3d::CArc3d() noexcept : CCircle3d(), startAngle(0.0), endAngle(TwoPi) {}

CArc3d::CArc3d(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept
    : CCircle3d(p1, p2, p3), startAngle(0.0), endAngle(0.0) {
    endAngle = ParameterOfClosestPoint(p3);
    if (ParameterOfClosestPoint(p2) > endAngle) {
        plane.Reverse();
        endAngle = TwoPi - endAngle;
    }
}

CArc3d::CArc3d(const CPoint3d& center_, const CPoint3d& start, const CPoint3d& end,
               const CUnitVector3d& normal) noexcept
    : CCircle3d(center_, start - center_, normal), startAngle(0.0), endAngle(0.0) {
    endAngle = ParameterOfClosestPoint(end);
}

CArc3d::CArc3d(const CCircle3d& c) noexcept : CCircle3d(c), startAngle(0.0), endAngle(TwoPi) {}

bool CArc3d::IsNull() const noexcept { return std::fabs(startAngle - endAngle) < EqualTol; }

bool CArc3d::IsFullCircle(bool tolerant) const noexcept {
    if (startAngle == 0.0 && endAngle == 0.0) return true;
    if (!tolerant) return false;
    return std::fabs(TwoPi - std::fabs(endAngle - startAngle)) < EqualTol;
}

bool CArc3d::IsValidObj() const noexcept {
    return std::isfinite(startAngle) && std::isfinite(endAngle) && CCircle3d::IsValidObj();
}

}  // namespace velmor::geometry
