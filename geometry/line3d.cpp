#include <geometry/line3d.h>

#include <cmath>
#include <utility>

namespace velmor::geometry {

namespace {

// Zone codes of the faces, with the axis (0 x, 1 y, 2 z) each one bounds and
// whether it is the maximum face, in the order the segment box test tries them.
struct Face {
    int code;
    int axis;
    bool isMax;
};
constexpr Face Faces[6] = {{1, 0, false}, {2, 1, false}, {4, 2, false}, {8, 0, true}, {16, 1, true}, {32, 2, true}};

// Zone codes of the axes other than x, other than y, other than z.
constexpr int NotX = 2 | 4 | 16 | 32;
constexpr int NotY = 1 | 4 | 8 | 32;
constexpr int NotZ = 1 | 2 | 8 | 16;

}  // namespace

int Zone(const CBoundingBox3d& box, const CPoint3d& p, int axes) noexcept {
    int code = 0;
    if (axes & 1) {
        if (p.x > box.x.max) {
            code += 8;
        } else if (p.x < box.x.min) {
            code += 1;
        }
    }
    if (axes & 2) {
        if (p.y > box.y.max) {
            code += 16;
        } else if (p.y < box.y.min) {
            code += 2;
        }
    }
    if (axes & 4) {
        if (p.z > box.z.max) {
            code += 32;
        } else if (p.z < box.z.min) {
            code += 4;
        }
    }
    return code;
}

CLine3d::CLine3d(const CPoint3d& a, const CPoint3d& b) noexcept
    : CRay3d(a, CUnitVector3d(a, b)), startParam(0.0), endParam(0.0) {
    endParam = ParameterOfClosestPoint(b);
}

void CLine3d::SetStartPoint(const CPoint3d& p) noexcept {
    const double t = ParameterOfClosestPoint(p);
    startParam = t;
    if (endParam < InfiniteEnd && t > endParam) {
        const CPoint3d end(origin, endParam, direction);
        Reverse();
        startParam = ParameterOfClosestPoint(p);
        endParam = ParameterOfClosestPoint(end);
    }
}

void CLine3d::SetEndPoint(const CPoint3d& p) noexcept {
    const double t = ParameterOfClosestPoint(p);
    endParam = t;
    if (startParam > InfiniteStart && startParam > t) {
        const CPoint3d start(origin, startParam, direction);
        Reverse();
        startParam = ParameterOfClosestPoint(start);
        endParam = ParameterOfClosestPoint(p);
    }
}

void CLine3d::SetDirection(CUnitVector3d dir) noexcept {
    if (startParam <= InfiniteStart) {
        if (endParam < InfiniteEnd) {
            origin = CPoint3d(origin, endParam, direction);
            endParam = 0.0;
        }
    } else {
        origin = CPoint3d(origin, startParam, direction);
        if (endParam < InfiniteEnd) endParam = endParam - startParam;
        startParam = 0.0;
    }
    direction = dir;
}

void CLine3d::Reverse() noexcept {
    const CPoint3d start(origin, startParam, direction);
    const CPoint3d end(origin, endParam, direction);
    const double oldStart = startParam;
    const double oldEnd = endParam;
    direction.Reverse();
    // Finite ends are re-measured; a marker stays at its own end, which turns a
    // half-line into the other half.
    if (oldStart > InfiniteStart) startParam = ParameterOfClosestPoint(start);
    if (oldEnd < InfiniteEnd) endParam = ParameterOfClosestPoint(end);
    if (startParam > endParam) std::swap(startParam, endParam);
}

bool CLine3d::GetSemiInfiniteRay(CRay3d& ray) const noexcept {
    const bool finiteStart = startParam > InfiniteStart;
    const bool finiteEnd = endParam < InfiniteEnd;
    if (finiteEnd && !finiteStart) {
        ray = CRay3d(CPoint3d(origin, endParam, direction), -direction);
        return true;
    }
    if (finiteStart && !finiteEnd) {
        ray = CRay3d(CPoint3d(origin, startParam, direction), direction);
        return true;
    }
    return false;
}

bool CLine3d::IsNull() const noexcept { return std::fabs(startParam - endParam) < EqualTol; }

bool CLine3d::TrimToPlane(const CPlane& plane) noexcept {
    double t = 0.0;
    if (!CRay3d::IntersectWith(plane, t)) return plane.SignedDistance(origin) > -EqualTol;
    if (Dot(direction, plane.Normal()) > 0.0) {
        // Parameters above t are on the positive side.
        if (startParam > t) return true;
        if (t > endParam) return false;
        startParam = t;
        return !(std::fabs(t - endParam) < EqualTol);
    }
    // Parameters below t are on the positive side.
    if (startParam > t) return false;
    if (t > endParam) return true;
    endParam = t;
    return !(std::fabs(startParam - t) < EqualTol);
}

bool CLine3d::IntersectWith(const CBoundingBox3d& box) const noexcept {
    const bool finiteStart = startParam > InfiniteStart;
    const bool finiteEnd = endParam < InfiniteEnd;
    CPoint3d hit;
    EBoxSide side = NoSide;
    if (!finiteStart && !finiteEnd) {
        if (CRay3d(origin, direction).IntersectWith(box, hit, side)) return true;
        return CRay3d(origin, -direction).IntersectWith(box, hit, side);
    }
    if (!finiteStart || !finiteEnd) {
        CRay3d ray;
        GetSemiInfiniteRay(ray);
        return ray.IntersectWith(box, hit, side);
    }

    const CPoint3d s(origin, startParam, direction);
    const CPoint3d e(origin, endParam, direction);
    const int c1 = Zone(box, s, 7);
    const int c2 = Zone(box, e, 7);
    if (c1 == 0 || c2 == 0) return true;
    if (c1 & c2) return false;
    const int c = c1 | c2;
    // The ends lie beyond opposite faces of a single axis and within the other
    // two: the segment crosses that slab inside the box.
    if ((c & NotX) == 0 || (c & NotY) == 0 || (c & NotZ) == 0) return true;

    const double start[3] = {s.x, s.y, s.z};
    const double dir[3] = {direction.x, direction.y, direction.z};
    const CRange* ranges[3] = {&box.x, &box.y, &box.z};
    for (const Face& face : Faces) {
        if ((c & face.code) == 0) continue;
        const int k = face.axis;
        // The squared tolerance against a unit component, deliberately.
        if (std::fabs(dir[k]) < EqualTolSq) continue;
        const double f = face.isMax ? ranges[k]->max : ranges[k]->min;
        // Measured from the start point, laid off from the origin.
        const CPoint3d p(origin, (f - start[k]) / dir[k], direction);
        const double q[3] = {p.x, p.y, p.z};
        bool within = true;
        for (int j = 0; j < 3; ++j) {
            if (j != k && (q[j] > ranges[j]->max || q[j] < ranges[j]->min)) within = false;
        }
        if (within) return true;
    }
    return false;
}

bool CLine3d::IsValidObj() const noexcept {
    return std::isfinite(startParam) && std::isfinite(endParam) && CRay3d::IsValidObj();
}

}  // namespace velmor::geometry
