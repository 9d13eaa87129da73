#include <geometry/boundingbox.h>

#include <cmath>

namespace velmor::geometry {

namespace {

// Outcode of the segment test: 1 below the x minimum, 2 above the x maximum, 4 and
// 8 likewise on y, 16 and 32 on z. Strict, so a point on a face is inside. On an
// empty axis every value is outside on at least one side.
int SegmentOutcode(const CBoundingBox3d& box, const double (&p)[3]) {
    const CRange* ranges[3] = {&box.x, &box.y, &box.z};
    int code = 0;
    for (int k = 0; k < 3; ++k) {
        if (p[k] < ranges[k]->min) code |= 1 << (2 * k);
        if (p[k] > ranges[k]->max) code |= 2 << (2 * k);
    }
    return code;
}

// Passes of the segment clipping before it gives up and reports a miss. A proper
// box and finite points settle within a few passes (one per axis, plus snaps that
// absorb rounding overshoots); the limit ends the bouncing between the two faces
// of an empty axis, which never settles when b's coordinate there is NaN.
constexpr int MaxClipPasses = 6;

}  // namespace

bool CBoundingBox3d::Intersects(CPoint3d a, CPoint3d b) const noexcept {
    double pa[3] = {a.x, a.y, a.z};
    const double pb[3] = {b.x, b.y, b.z};
    int codeA = SegmentOutcode(*this, pa);
    if (codeA == 0) return true;
    const int codeB = SegmentOutcode(*this, pb);
    if (codeB == 0) return true;
    if ((codeA & codeB) != 0) return false;

    const CRange* ranges[3] = {&x, &y, &z};
    for (int pass = 1;; ++pass) {
        int bit = 0;
        while ((codeA & (1 << bit)) == 0) ++bit;  // codeA is non-zero here
        const int k = bit / 2;
        const double face = (bit % 2 == 0) ? ranges[k]->min : ranges[k]->max;
        const double d = pb[k] - pa[k];
        if (std::fabs(d) >= EqualTol) {
            const double t = (face - pa[k]) / d;
            for (int j = 0; j < 3; ++j) {
                if (j != k) pa[j] = pa[j] + t * (pb[j] - pa[j]);
            }
        }
        // A nearly flat step is snapped onto the face without moving the other
        // coordinates, deliberately.
        pa[k] = face;
        codeA = SegmentOutcode(*this, pa);
        if (codeA == 0) return true;
        if ((codeA & codeB) != 0 || pass == MaxClipPasses) return false;
    }
}

bool CBoundingBox3d::Overlaps(const CBoundingBox3d& b, CBoundingBox3d& out) const noexcept {
    const CBoundingBox3d a = *this;
    const CBoundingBox3d c = b;
    out.Clear();
    return a.x.Overlaps(c.x, out.x) && a.y.Overlaps(c.y, out.y) && a.z.Overlaps(c.z, out.z);
}

double CBoundingBox3d::MaxDistanceSquaredTo(const CPoint3d& p) const noexcept {
    const double dx = std::fmax(std::fabs(p.x - x.min), std::fabs(p.x - x.max));
    const double dy = std::fmax(std::fabs(p.y - y.min), std::fabs(p.y - y.max));
    const double dz = std::fmax(std::fabs(p.z - z.min), std::fabs(p.z - z.max));
    return dx * dx + dy * dy + dz * dz;
}

void CBoundingBox3d::ExpandRangeIfZero(double factor) noexcept {
    const double extents[3] = {x.Extent(), y.Extent(), z.Extent()};
    const double g = std::fmax(std::fmax(extents[0], extents[1]), extents[2]) * factor;
    CRange* ranges[3] = {&x, &y, &z};
    for (int k = 0; k < 3; ++k) {
        // An empty axis is never touched: it must stay empty.
        if (extents[k] < EqualTol && !ranges[k]->IsEmpty()) {
            ranges[k]->min -= g;
            ranges[k]->max += g;
        }
    }
}

void CBoundingBox3d::GetCenterNormal(EBoxSide side, CPoint3d& centre, CUnitVector3d& normal) const noexcept {
    centre = GetCenter();
    switch (side) {
        case MinX:
            centre.x = x.min;
            normal = CUnitVector3d::FromComponents(-1.0, 0.0, 0.0);
            break;
        case MaxX:
            centre.x = x.max;
            normal = CUnitVector3d::FromComponents(1.0, 0.0, 0.0);
            break;
        case MinY:
            centre.y = y.min;
            normal = CUnitVector3d::FromComponents(0.0, -1.0, 0.0);
            break;
        case MaxY:
            centre.y = y.max;
            normal = CUnitVector3d::FromComponents(0.0, 1.0, 0.0);
            break;
        case MinZ:
            centre.z = z.min;
            normal = CUnitVector3d::FromComponents(0.0, 0.0, -1.0);
            break;
        case MaxZ:
            centre.z = z.max;
            normal = CUnitVector3d::FromComponents(0.0, 0.0, 1.0);
            break;
        default:
            break;  // no face: only the centre is reported
    }
}

bool CBoundingBox2d::Overlaps(const CBoundingBox2d& b, CBoundingBox2d& out) const noexcept {
    const CBoundingBox2d a = *this;
    const CBoundingBox2d c = b;
    out.Clear();
    return a.x.Overlaps(c.x, out.x) && a.y.Overlaps(c.y, out.y);
}

}  // namespace velmor::geometry
