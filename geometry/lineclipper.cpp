#include <geometry/lineclipper.h>

namespace velmor::geometry {

unsigned int LineClipper::CalculateBoundaryCoordinates(bool sides, const CPoint4d& p, double* bc) const noexcept {
    int count = 0;
    if (sides) {
        bc[0] = p.x + p.w;
        bc[1] = p.w - p.x;
        bc[2] = p.y + p.w;
        bc[3] = p.w - p.y;
        count = 4;
    } else {
        const double dw = depthLimit * p.w;
        bc[0] = dw + p.z;
        bc[1] = dw - p.z;
        count = 2;
    }
    unsigned int code = 0;
    for (int i = 0; i < count; ++i) {
        // Strict: a point exactly on a plane counts as inside it.
        if (bc[i] < 0.0) code |= 1u << i;
    }
    return code;
}

int LineClipper::Clip(bool sides, const CPoint4d& p0, const CPoint4d& p1) noexcept {
    double bc0[4];
    double bc1[4];
    const unsigned int c0 = CalculateBoundaryCoordinates(sides, p0, bc0);
    const unsigned int c1 = CalculateBoundaryCoordinates(sides, p1, bc1);
    if ((c0 & c1) != 0) return NothingVisible;  // both outside one plane
    const unsigned int crossed = c0 | c1;
    if (crossed == 0) return AllVisible;  // wholly inside: the interval fields stay as they were

    const int count = sides ? 4 : 2;
    tMin = 0.0;
    tMax = 1.0;
    for (int i = 0; i < count; ++i) {
        const unsigned int bit = 1u << i;
        if ((crossed & bit) == 0) continue;
        const double t = bc0[i] / (bc0[i] - bc1[i]);
        if ((c0 & bit) != 0) {
            if (t > tMin) tMin = t;  // p0 outside: the segment enters here
        } else {
            if (t < tMax) tMax = t;  // p1 outside: the segment leaves here
        }
        if (tMin > tMax) return NothingVisible;
    }
    return PartVisible;
}

void LineClipper::ClampToNearFarPlaneZ(CPoint4d& p) const noexcept {
    const double d = depthLimit;
    double r = p.z / p.w;
    if (r < -d) {
        r = -d;
    } else if (r > d) {
        r = d;
    }
    p.z = p.w * r;
}

}  // namespace velmor::geometry
