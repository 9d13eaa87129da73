#include <geometry/ray3d.h>

#include <geometry/circle3d.h>
#include <geometry/mathutil.h>
#include <geometry/transformation.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "detail/simd.h"

namespace velmor::geometry {

bool CRay3d::IsOn(const CRay3d& other) const noexcept {
    return origin.IsOn(other) && direction.IsParallelTo(other.direction);
}

bool CRay3d::IsOn(const CPlane& plane) const noexcept {
    return origin.IsOn(plane) && direction.IsPerpendicularTo(plane.Normal());
}

bool CRay3d::IntersectWith(const CRay3d& other, CPoint3d& p) const noexcept {
    CPoint3d q1(0.0, 0.0, 0.0);
    CPoint3d q2(0.0, 0.0, 0.0);
    const bool notParallel = ClosestPoint(origin, direction, other.origin, other.direction, q1, q2);
    p = CPoint3d(0.5, q1, 0.5, q2);
    return q1.Equals(q2, EqualTol) && notParallel;
}

bool CRay3d::IntersectWith(const CPoint3d& a, const CPoint3d& b, double& t) const noexcept {
    const CVector3d v = b - a;
    if (v.LengthSquared() < EqualTolSq) {
        // A segment shorter than the tolerance is its midpoint.
        const CPoint3d m((a.x + b.x) * 0.5, (a.y + b.y) * 0.5, (a.z + b.z) * 0.5);
        t = ParameterOfClosestPoint(m);
        return CPoint3d(origin, t, direction).Equals(m, EqualTol);
    }
    CVector3d w = v * direction;
    const double q2 = w.LengthSquared();
    if (std::fabs(q2) < DivideByZeroTol) {
        // Parallel: only whether a lies on the carrier line is asked.
        t = ParameterOfClosestPoint(a);
        return CPoint3d(origin, t, direction).Equals(a, EqualTol);
    }
    w = w / q2;
    // Parameter on the segment (0 at a, 1 at b) of its point nearest this line.
    const double s = Dot((origin - a) * direction, w);
    const CPoint3d q = a + v * s;
    if ((s < 0.0 || s > 1.0) && !q.Equals(a, EqualTol) && !q.Equals(b, EqualTol)) return false;
    t = ParameterOfClosestPoint(q);
    return true;
}

int CRay3d::IntersectWith(const CCircle3d& circle, CPoint3d& p1, CPoint3d& p2) const noexcept {
    const CPoint3d& c = circle.center;
    const double r2 = circle.radius * circle.radius;
    if (!IsOn(circle.plane)) {
        // Across the plane: the one crossing must lie on the circle.
        if (!circle.plane.IntersectWith(*this, p1)) return 0;
        return std::fabs(p1.DistanceSquaredTo(c) - r2) < EqualTolSq ? 1 : 0;
    }

    // In the plane: compare the centre's squared distance from the line with r^2.
    const CPoint3d foot(origin, ParameterOfClosestPoint(c), direction);
    p1 = foot;
    const double e = c.DistanceSquaredTo(foot);
    if (std::fabs(e - r2) < EqualTolSq) return 1;
    if (e > r2) return 0;

    // The chord runs along the line. Off the centre its sense is the one the
    // plane across the line at the foot yields with the circle's plane; should
    // that intersection fail, this line's direction stands in.
    CRay3d chord(foot, direction);
    if (!(e < EqualTolSq)) {
        const CPlane across(foot, CUnitVector3d(foot, c));
        across.IntersectWith(circle.plane, chord);
    }
    const double h = std::sqrt(r2 - e);
    p2 = foot + chord.direction * h;
    p1 = foot - chord.direction * h;
    return 2;
}

int CRay3d::IntersectWith(const CCircle3d& circle, double& angle1, double& angle2, CPoint3d* p1,
                          CPoint3d* p2) const noexcept {
    CPoint3d local1(0.0, 0.0, 0.0);
    CPoint3d local2(0.0, 0.0, 0.0);
    CPoint3d& q1 = p1 != nullptr ? *p1 : local1;
    CPoint3d& q2 = p2 != nullptr ? *p2 : local2;
    const int n = IntersectWith(circle, q1, q2);
    const CVector3d& x = circle.xAxis;
    const CUnitVector3d normal = circle.plane.Normal();
    if (n < 1) return n;
    const CUnitVector3d u1(circle.center, q1);
    angle1 = std::atan2(Dot(x * u1, normal), Dot(x, u1));
    if (n < 2) return n;
    const CUnitVector3d u2(circle.center, q2);
    angle2 = std::atan2(Dot(x * u2, normal), Dot(x, u2));
    if (angle1 > angle2) {
        std::swap(angle1, angle2);
        // The points follow their angles only when the caller asked for the first.
        if (p1 != nullptr) std::swap(q1, q2);
    }
    return n;
}

// ---------------------------------------------------------------------------
// One ray against an array of boxes.
//
// The vector kernels run IntersectWith(box, hit, side) on two (SSE2) or four (AVX)
// boxes at once: the same comparisons, the same divisions and the same products
// and sums per box, with the branches turned into lane masks. The ray is the same
// for every box, so an axis the direction is parallel to never divides. Each lane's
// answer is then written out exactly as the single-box call writes it.

namespace {

// Writes the answers of `lanes` boxes from `first` on: the hit flags from the bits
// of okBits, the sides already computed as ints, and the entry points of the boxes
// that are hit (only those: a miss leaves its entry as it was).
inline void WriteLanes(int lanes, std::size_t first, int okBits, const int* side, const double* hx, const double* hy,
                       const double* hz, bool* hits, CPoint3d* entries, EBoxSide* sides) noexcept {
    for (int k = 0; k < lanes; ++k) hits[first + k] = ((okBits >> k) & 1) != 0;
    if (sides != nullptr) {
        for (int k = 0; k < lanes; ++k) sides[first + k] = static_cast<EBoxSide>(side[k]);
    }
    if (entries != nullptr && okBits != 0) {
        for (int k = 0; k < lanes; ++k) {
            if (((okBits >> k) & 1) != 0) entries[first + k] = CPoint3d(hx[k], hy[k], hz[k]);
        }
    }
}

#ifdef PLENAR_X86_64

// The ray's numbers broadcast, with the axes it can enter through.
struct RayLanes {
    double o[3];
    double u[3];
    bool moves[3];  // direction component exactly non-zero
};

std::size_t IntersectSse2(const RayLanes& r, const CBoundingBox3d* boxes, std::size_t n, bool* hits, CPoint3d* entries,
                          EBoxSide* sides) noexcept {
    const __m128d minusOne = _mm_set1_pd(-1.0), zero = _mm_setzero_pd();
    const __m128d ones = _mm_castsi128_pd(_mm_set1_epi32(-1));
    __m128d o[3], u[3];
    for (std::size_t a = 0; a < 3; ++a) {
        o[a] = _mm_set1_pd(r.o[a]);
        u[a] = _mm_set1_pd(r.u[a]);
    }
    const auto select = [](__m128d mask, __m128d yes, __m128d no) {
        return _mm_or_pd(_mm_and_pd(mask, yes), _mm_andnot_pd(mask, no));
    };
    std::size_t i = 0;
    for (; i + 2 <= n; i += 2) {
        const double* b0 = &boxes[i].x.min;
        const double* b1 = &boxes[i + 1].x.min;
        __m128d lo[3], hi[3], left[3], out[3], cand[3], t[3];
        for (std::size_t a = 0; a < 3; ++a) {
            const __m128d r0 = _mm_loadu_pd(b0 + 2 * a), r1 = _mm_loadu_pd(b1 + 2 * a);
            lo[a] = _mm_unpacklo_pd(r0, r1);
            hi[a] = _mm_unpackhi_pd(r0, r1);
            left[a] = _mm_cmpgt_pd(lo[a], o[a]);
            out[a] = _mm_or_pd(left[a], _mm_cmpgt_pd(o[a], hi[a]));
            cand[a] = select(left[a], lo[a], hi[a]);
            t[a] = r.moves[a] ? select(out[a], _mm_div_pd(_mm_sub_pd(cand[a], o[a]), u[a]), minusOne) : minusOne;
        }
        const __m128d pickY = _mm_cmpgt_pd(t[1], t[0]);
        const __m128d txy = select(pickY, t[1], t[0]);
        const __m128d pickZ = _mm_cmpgt_pd(t[2], txy);
        const __m128d tt = select(pickZ, t[2], txy);
        const __m128d entry[3] = {_mm_andnot_pd(_mm_or_pd(pickY, pickZ), ones), _mm_andnot_pd(pickZ, pickY), pickZ};
        __m128d fail = _mm_cmplt_pd(tt, zero);
        __m128d h[3];
        for (std::size_t a = 0; a < 3; ++a) {
            const __m128d p = _mm_add_pd(o[a], _mm_mul_pd(tt, u[a]));
            const __m128d miss = _mm_or_pd(_mm_cmplt_pd(p, lo[a]), _mm_cmpgt_pd(p, hi[a]));
            fail = _mm_or_pd(fail, _mm_andnot_pd(entry[a], miss));
            h[a] = select(entry[a], cand[a], p);
        }
        const __m128d outside = _mm_or_pd(_mm_or_pd(out[0], out[1]), out[2]);
        const __m128d empty = _mm_cmpgt_pd(lo[0], hi[0]);
        const __m128d okOutside = _mm_andnot_pd(fail, outside);
        const __m128d ok = _mm_andnot_pd(empty, _mm_or_pd(_mm_andnot_pd(outside, ones), okOutside));
        // Faces 1 + 2 * axis (minimum) or 2 + 2 * axis (maximum) of the entry axis,
        // 0 where the origin is inside or the box is missed.
        const __m128d fx = select(left[0], _mm_set1_pd(1.0), _mm_set1_pd(2.0));
        const __m128d fy = select(left[1], _mm_set1_pd(3.0), _mm_set1_pd(4.0));
        const __m128d fz = select(left[2], _mm_set1_pd(5.0), _mm_set1_pd(6.0));
        const __m128d face = select(pickZ, fz, select(pickY, fy, fx));
        int side[4];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(side), _mm_cvttpd_epi32(_mm_and_pd(face, _mm_and_pd(ok, outside))));
        double hx[2], hy[2], hz[2];
        _mm_storeu_pd(hx, select(outside, h[0], o[0]));
        _mm_storeu_pd(hy, select(outside, h[1], o[1]));
        _mm_storeu_pd(hz, select(outside, h[2], o[2]));
        WriteLanes(2, i, _mm_movemask_pd(ok), side, hx, hy, hz, hits, entries, sides);
    }
    return i;
}

// mask ? yes : no per lane, for masks that are all ones or all zeros per lane (as
// comparisons give), in one blend instruction. The blend is written out because
// GCC 12 rewrites _mm256_blendv_pd into a generic conditional that, without AVX2,
// it splits into scalar branches per lane; three bitwise operations would also do,
// at about an eighth more time for the whole kernel.
__attribute__((target("avx"), always_inline)) inline __m256d Select(__m256d mask, __m256d yes, __m256d no) noexcept {
    __m256d r;
    __asm__("vblendvpd %3, %1, %2, %0" : "=x"(r) : "x"(yes), "x"(no), "x"(mask));
    return r;
}

__attribute__((target("avx"))) std::size_t IntersectAvx(const RayLanes& r, const CBoundingBox3d* boxes, std::size_t n,
                                                        bool* hits, CPoint3d* entries, EBoxSide* sides) noexcept {
    const __m256d minusOne = _mm256_set1_pd(-1.0), zero = _mm256_setzero_pd();
    const __m256d ones = _mm256_castsi256_pd(_mm256_set1_epi32(-1));
    __m256d o[3], u[3];
    for (std::size_t a = 0; a < 3; ++a) {
        o[a] = _mm256_set1_pd(r.o[a]);
        u[a] = _mm256_set1_pd(r.u[a]);
    }
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const double* b0 = &boxes[i].x.min;
        const double* b1 = &boxes[i + 1].x.min;
        const double* b2 = &boxes[i + 2].x.min;
        const double* b3 = &boxes[i + 3].x.min;
        __m256d lo[3], hi[3], left[3], out[3], cand[3], t[3];
        for (std::size_t a = 0; a < 3; ++a) {
            // Boxes 0 and 2 in one register, 1 and 3 in the other: the unpacks then
            // give the four boxes in order.
            const __m256d r02 =
                _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(b0 + 2 * a)), _mm_loadu_pd(b2 + 2 * a), 1);
            const __m256d r13 =
                _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(b1 + 2 * a)), _mm_loadu_pd(b3 + 2 * a), 1);
            lo[a] = _mm256_unpacklo_pd(r02, r13);
            hi[a] = _mm256_unpackhi_pd(r02, r13);
            left[a] = _mm256_cmp_pd(lo[a], o[a], _CMP_GT_OQ);
            out[a] = _mm256_or_pd(left[a], _mm256_cmp_pd(o[a], hi[a], _CMP_GT_OQ));
            cand[a] = Select(left[a], lo[a], hi[a]);
            t[a] = r.moves[a] ? Select(out[a], _mm256_div_pd(_mm256_sub_pd(cand[a], o[a]), u[a]), minusOne) : minusOne;
        }
        const __m256d pickY = _mm256_cmp_pd(t[1], t[0], _CMP_GT_OQ);
        const __m256d txy = Select(pickY, t[1], t[0]);
        const __m256d pickZ = _mm256_cmp_pd(t[2], txy, _CMP_GT_OQ);
        const __m256d tt = Select(pickZ, t[2], txy);
        const __m256d entry[3] = {_mm256_andnot_pd(_mm256_or_pd(pickY, pickZ), ones), _mm256_andnot_pd(pickZ, pickY),
                                  pickZ};
        __m256d fail = _mm256_cmp_pd(tt, zero, _CMP_LT_OQ);
        __m256d h[3];
        for (std::size_t a = 0; a < 3; ++a) {
            const __m256d p = _mm256_add_pd(o[a], _mm256_mul_pd(tt, u[a]));
            const __m256d miss = _mm256_or_pd(_mm256_cmp_pd(p, lo[a], _CMP_LT_OQ), _mm256_cmp_pd(p, hi[a], _CMP_GT_OQ));
            fail = _mm256_or_pd(fail, _mm256_andnot_pd(entry[a], miss));
            h[a] = Select(entry[a], cand[a], p);
        }
        const __m256d outside = _mm256_or_pd(_mm256_or_pd(out[0], out[1]), out[2]);
        const __m256d empty = _mm256_cmp_pd(lo[0], hi[0], _CMP_GT_OQ);
        const __m256d okOutside = _mm256_andnot_pd(fail, outside);
        const __m256d ok = _mm256_andnot_pd(empty, _mm256_or_pd(_mm256_andnot_pd(outside, ones), okOutside));
        const __m256d fx = Select(left[0], _mm256_set1_pd(1.0), _mm256_set1_pd(2.0));
        const __m256d fy = Select(left[1], _mm256_set1_pd(3.0), _mm256_set1_pd(4.0));
        const __m256d fz = Select(left[2], _mm256_set1_pd(5.0), _mm256_set1_pd(6.0));
        const __m256d face = Select(pickZ, fz, Select(pickY, fy, fx));
        int side[4];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(side),
                         _mm256_cvttpd_epi32(_mm256_and_pd(face, _mm256_and_pd(ok, outside))));
        double hx[4], hy[4], hz[4];
        _mm256_storeu_pd(hx, Select(outside, h[0], o[0]));
        _mm256_storeu_pd(hy, Select(outside, h[1], o[1]));
        _mm256_storeu_pd(hz, Select(outside, h[2], o[2]));
        WriteLanes(4, i, _mm256_movemask_pd(ok), side, hx, hy, hz, hits, entries, sides);
    }
    return i;
}

using detail::HasAvx;

#endif

}  // namespace

void CRay3d::IntersectBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* hits, CPoint3d* entries,
                            EBoxSide* sides) const noexcept {
    std::size_t done = 0;
#ifdef PLENAR_X86_64
    const RayLanes r{{origin.x, origin.y, origin.z},
                     {direction.x, direction.y, direction.z},
                     {direction.x != 0.0, direction.y != 0.0, direction.z != 0.0}};
    done =
        HasAvx() ? IntersectAvx(r, boxes, n, hits, entries, sides) : IntersectSse2(r, boxes, n, hits, entries, sides);
#endif
    for (std::size_t i = done; i < n; ++i) {
        EBoxSide side = NoSide;
        CPoint3d hit;
        const bool ok = IntersectWith(boxes[i], hit, side);
        hits[i] = ok;
        if (sides != nullptr) sides[i] = side;
        if (entries != nullptr && ok) entries[i] = hit;
    }
}

bool CRay3d::FindClosestPoints(const CRay3d& other, CPoint3d& p1, CPoint3d& p2) const noexcept {
    return ClosestPoint(origin, direction, other.origin, other.direction, p1, p2);
}

CRay3d& CRay3d::operator*=(const CTransformation& t) noexcept {
    origin = t * origin;
    direction = t * CVector3d(direction);
    return *this;
}

bool CRay3d::IntersectPlanes(const CPlane& p1, const CPlane& p2) noexcept {
    const CVector3d v = p1.Normal() * p2.Normal();
    if (v.Length() < DivideByZeroTol) return false;
    direction.Set(v.x, v.y, v.z);

    // Cramer's rule on the two plane equations with the dominant coordinate set to
    // zero; the un-normalised cross product is the determinant.
    const double a1 = p1.a, b1 = p1.b, c1 = p1.c, d1 = p1.d;
    const double a2 = p2.a, b2 = p2.b, c2 = p2.c, d2 = p2.d;
    const double ax = std::fabs(direction.x);
    const double ay = std::fabs(direction.y);
    const double az = std::fabs(direction.z);
    if (ax >= ay && ax >= az) {
        origin = CPoint3d(0.0, (c1 * d2 - c2 * d1) / v.x, (b2 * d1 - b1 * d2) / v.x);
    } else if (ay >= az) {
        origin = CPoint3d((c2 * d1 - c1 * d2) / v.y, 0.0, (a1 * d2 - a2 * d1) / v.y);
    } else {
        origin = CPoint3d((b1 * d2 - b2 * d1) / v.z, (a2 * d1 - a1 * d2) / v.z, 0.0);
    }
    return true;
}

}  // namespace velmor::geometry
