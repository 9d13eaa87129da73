#include <geometry/raytriangle.h>

#include <cmath>
#include <utility>

namespace velmor::geometry {

bool IntersectTriangle(const CRay3d& ray, const CPoint3d& a, const CPoint3d& b, const CPoint3d& c, double& t, double& u,
                       double& v) noexcept {
    const double d[3] = {ray.direction.x, ray.direction.y, ray.direction.z};
    // The dominant axis of the direction becomes the depth axis kz; kx and ky follow
    // it cyclically, swapped when the direction points down that axis so that the
    // projection keeps the triangle's winding.
    int kz = 0;
    if (std::fabs(d[1]) > std::fabs(d[kz])) kz = 1;
    if (std::fabs(d[2]) > std::fabs(d[kz])) kz = 2;
    int kx = kz == 2 ? 0 : kz + 1;
    int ky = kx == 2 ? 0 : kx + 1;
    if (d[kz] < 0.0) std::swap(kx, ky);
    if (!(d[kz] != 0.0)) return false;

    // The shear that maps the ray onto the depth axis.
    const double sx = d[kx] / d[kz], sy = d[ky] / d[kz], sz = 1.0 / d[kz];

    const double o[3] = {ray.origin.x, ray.origin.y, ray.origin.z};
    const double pa[3] = {a.x - o[0], a.y - o[1], a.z - o[2]};
    const double pb[3] = {b.x - o[0], b.y - o[1], b.z - o[2]};
    const double pc[3] = {c.x - o[0], c.y - o[1], c.z - o[2]};
    const double ax = pa[kx] - sx * pa[kz], ay = pa[ky] - sy * pa[kz];
    const double bx = pb[kx] - sx * pb[kz], by = pb[ky] - sy * pb[kz];
    const double cx = pc[kx] - sx * pc[kz], cy = pc[ky] - sy * pc[kz];

    // Edge functions: ea belongs to edge b-c, eb to c-a, ec to a-b. Each is the cross
    // product of its endpoints in edge order, so the same edge walked the other way
    // by a neighbour gives exactly the negated value.
    const double ea = bx * cy - by * cx;
    const double eb = cx * ay - cy * ax;
    const double ec = ax * by - ay * bx;
    // Inside or on the boundary: no two edge functions of opposite strict signs.
    if ((ea < 0.0 || eb < 0.0 || ec < 0.0) && (ea > 0.0 || eb > 0.0 || ec > 0.0)) return false;
    const double det = ea + eb + ec;
    if (!(det != 0.0) || !std::isfinite(det)) return false;

    const double depth = ea * (sz * pa[kz]) + eb * (sz * pb[kz]) + ec * (sz * pc[kz]);
    const double tHit = depth / det;
    if (!(tHit >= 0.0) || !std::isfinite(tHit)) return false;
    t = tHit;
    u = eb / det;
    v = ec / det;
    return true;
}

}  // namespace velmor::geometry
