#include <geometry/geomfilter.h>

#include <cfloat>
#include <cmath>
#include <memory>
#include <typeinfo>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace velmor::geometry {

static_assert(CGeomFilterVolume::AbsentPlaneD == static_cast<double>(FLT_MAX),
              "the absent-plane marker is the largest float");

IGeomFilter::~IGeomFilter() = default;

// ----- volumes ----------------------------------------------------------------

CGeomFilterVolume::~CGeomFilterVolume() = default;

bool CGeomFilterVolume::Contains(const CPoint3d& point) const noexcept {
    // Strict on purpose: a point exactly on a face is inside.
    for (int i = 0; i < 5; ++i)
        if (planes[i].SignedDistance(point) > 0.0) return false;
    if (!HasPlane5()) return true;
    return !(planes[5].SignedDistance(point) > 0.0);
}

namespace {

// Runs of this many elements are copied into columns on the stack, so that the
// plane loops run down contiguous arrays and compile to vector code.
constexpr std::size_t Run = 128;

// What a run kernel records per element, as bits.
constexpr unsigned char AnyAbove = 1;     // some plane has the box (or point) strictly above it
constexpr unsigned char AnyNotBelow = 2;  // some plane does not have the box strictly below it

// The box codes of one box against the present planes, all of them evaluated (no
// early exit, so no branch on the data): whether any plane has the box wholly
// above it, and whether some plane does not have it wholly below. The corners are
// those of CPlane::IntersectWith(box). Count is 5 or 6.
template <int Count>
inline void ClassifyBox(const CPlane* planes, const CBoundingBox3d& box, bool& anyAbove, bool& anyNotBelow) noexcept {
    const double x0 = box.x.min, x1 = box.x.max, y0 = box.y.min, y1 = box.y.max, z0 = box.z.min, z1 = box.z.max;
    bool above = false, notBelow = false;
    for (int i = 0; i < Count; ++i) {
        const CPlane& p = planes[i];
        const bool px = p.a >= 0.0, py = p.b >= 0.0, pz = p.c >= 0.0;
        const double low = p.SignedDistance(CPoint3d(px ? x0 : x1, py ? y0 : y1, pz ? z0 : z1));
        const double high = p.SignedDistance(CPoint3d(px ? x1 : x0, py ? y1 : y0, pz ? z1 : z0));
        above = above | (low > 0.0);
        notBelow = notBelow | !(high < 0.0);
    }
    anyAbove = above;
    anyNotBelow = notBelow;
}

// The ranges of a run of boxes as columns: lo[k] / hi[k] hold the minima / maxima
// of axis k. A run of odd length is padded with one zero box, so that the vector
// kernels can take elements two at a time; its answer is never written out.
struct BoxColumns {
    alignas(16) double lo[3][Run];
    alignas(16) double hi[3][Run];

    void Load(const CBoundingBox3d* boxes, std::size_t m) noexcept {
        for (std::size_t j = 0; j < m; ++j) {
            lo[0][j] = boxes[j].x.min;
            hi[0][j] = boxes[j].x.max;
            lo[1][j] = boxes[j].y.min;
            hi[1][j] = boxes[j].y.max;
            lo[2][j] = boxes[j].z.min;
            hi[2][j] = boxes[j].z.max;
        }
        if (m % 2 != 0)
            for (int k = 0; k < 3; ++k) lo[k][m] = hi[k][m] = 0.0;
    }
};

// The coordinates of a run of points (every stride-th one) as columns, padded as
// BoxColumns.
struct PointColumns {
    alignas(16) double c[3][Run];

    void Load(const CPoint3d* points, std::size_t m, std::size_t stride) noexcept {
        for (std::size_t j = 0; j < m; ++j) {
            c[0][j] = points[j * stride].x;
            c[1][j] = points[j * stride].y;
            c[2][j] = points[j * stride].z;
        }
        if (m % 2 != 0)
            for (int k = 0; k < 3; ++k) c[k][m] = 0.0;
    }
};

// One plane as the run kernels use it: its coefficients and, per axis, the column
// of the low corner (the minimum where the normal component is >= 0, as
// CPlane::IntersectWith(box) picks it) and of the high corner.
struct PlaneCorners {
    double a, b, c, d;
    const double* low[3];
    const double* high[3];

    void Set(const CPlane& p, const BoxColumns& columns) noexcept {
        a = p.a;
        b = p.b;
        c = p.c;
        d = p.d;
        const bool positive[3] = {a >= 0.0, b >= 0.0, c >= 0.0};
        for (int k = 0; k < 3; ++k) {
            low[k] = positive[k] ? columns.lo[k] : columns.hi[k];
            high[k] = positive[k] ? columns.hi[k] : columns.lo[k];
        }
    }
};

#if defined(__SSE2__)
// The plane's a, b, c, d, each in both lanes of e[0..3].
inline void Broadcast(const CPlane& p, __m128d* e) noexcept {
    e[0] = _mm_set1_pd(p.a);
    e[1] = _mm_set1_pd(p.b);
    e[2] = _mm_set1_pd(p.c);
    e[3] = _mm_set1_pd(p.d);
}

// ((a*x + b*y) + c*z) + d in both lanes, as CPlane::SignedDistance evaluates it.
inline __m128d Distance(const __m128d* e, __m128d x, __m128d y, __m128d z) noexcept {
    return _mm_add_pd(_mm_add_pd(_mm_add_pd(_mm_mul_pd(e[0], x), _mm_mul_pd(e[1], y)), _mm_mul_pd(e[2], z)), e[3]);
}

// a where mask is set, b elsewhere.
inline __m128d Select(__m128d mask, __m128d a, __m128d b) noexcept {
    return _mm_or_pd(_mm_and_pd(mask, a), _mm_andnot_pd(mask, b));
}
#endif

// codes[j] of a run of m boxes against planes[0..count-1]: AnyAbove when some plane
// has box j wholly above it (low corner's distance > 0), AnyNotBelow when some
// plane does not have it wholly below (high corner's distance not < 0). Every
// distance is ((a*x + b*y) + c*z) + d, as CPlane::SignedDistance evaluates it, and
// every plane is evaluated: no early exit, so no branch on the data.
void ClassifyRun(const CPlane* planes, int count, const BoxColumns& columns, std::size_t m,
                 unsigned char* codes) noexcept {
    PlaneCorners pc[6];
    for (int k = 0; k < count; ++k) pc[k].Set(planes[k], columns);
#if defined(__SSE2__)
    // Two boxes at a time in the two lanes; the same operations in the same order.
    __m128d coef[6][4];
    for (int k = 0; k < count; ++k) Broadcast(planes[k], coef[k]);
    const __m128d zero = _mm_setzero_pd();
    for (std::size_t j = 0; j < m; j += 2) {
        __m128d above = zero, notBelow = zero;
        for (int k = 0; k < count; ++k) {
            const PlaneCorners& q = pc[k];
            const __m128d* e = coef[k];
            const __m128d low =
                Distance(e, _mm_load_pd(q.low[0] + j), _mm_load_pd(q.low[1] + j), _mm_load_pd(q.low[2] + j));
            const __m128d high =
                Distance(e, _mm_load_pd(q.high[0] + j), _mm_load_pd(q.high[1] + j), _mm_load_pd(q.high[2] + j));
            above = _mm_or_pd(above, _mm_cmpgt_pd(low, zero));
            notBelow = _mm_or_pd(notBelow, _mm_cmpnlt_pd(high, zero));  // true for NaN, as !(high < 0)
        }
        const int up = _mm_movemask_pd(above), nb = _mm_movemask_pd(notBelow);
        codes[j] = static_cast<unsigned char>((up & 1) | ((nb & 1) << 1));
        codes[j + 1] = static_cast<unsigned char>(((up >> 1) & 1) | (nb & 2));
    }
#else
    for (std::size_t j = 0; j < m; ++j) {
        unsigned char code = 0;
        for (int k = 0; k < count; ++k) {
            const PlaneCorners& q = pc[k];
            const double low = q.a * q.low[0][j] + q.b * q.low[1][j] + q.c * q.low[2][j] + q.d;
            const double high = q.a * q.high[0][j] + q.b * q.high[1][j] + q.c * q.high[2][j] + q.d;
            code |= static_cast<unsigned char>((low > 0.0 ? AnyAbove : 0) | (high < 0.0 ? 0 : AnyNotBelow));
        }
        codes[j] = code;
    }
#endif
}

// out[j] |= AnyAbove when some plane of planes[0..count-1] has point j strictly
// above it (distance > 0, evaluated as CPlane::SignedDistance).
void AboveRun(const CPlane* planes, int count, const PointColumns& q, std::size_t m, unsigned char* out) noexcept {
#if defined(__SSE2__)
    __m128d coef[6][4];
    for (int k = 0; k < count; ++k) Broadcast(planes[k], coef[k]);
    const __m128d zero = _mm_setzero_pd();
    for (std::size_t j = 0; j < m; j += 2) {
        const __m128d x = _mm_load_pd(q.c[0] + j), y = _mm_load_pd(q.c[1] + j), z = _mm_load_pd(q.c[2] + j);
        __m128d above = zero;
        for (int k = 0; k < count; ++k) {
            const __m128d* e = coef[k];
            above = _mm_or_pd(above, _mm_cmpgt_pd(Distance(e, x, y, z), zero));
        }
        const int up = _mm_movemask_pd(above);
        out[j] |= static_cast<unsigned char>(up & 1);
        out[j + 1] |= static_cast<unsigned char>((up >> 1) & 1);
    }
#else
    for (std::size_t j = 0; j < m; ++j)
        for (int k = 0; k < count; ++k) {
            const CPlane& p = planes[k];
            if (p.a * q.c[0][j] + p.b * q.c[1][j] + p.c * q.c[2][j] + p.d > 0.0) out[j] |= AnyAbove;
        }
#endif
}

// Segment i of a bulk call runs from endpoints[2i] to endpoints[2i+1].
inline const CPoint3d& Start(const CPoint3d* endpoints, std::size_t i) { return endpoints[2 * i]; }
inline const CPoint3d& End(const CPoint3d* endpoints, std::size_t i) { return endpoints[2 * i + 1]; }

}  // namespace

bool CGeomFilterVolume::TestBox(const CBoundingBox3d& box) const noexcept {
    bool above, notBelow;
    if (HasPlane5())
        ClassifyBox<6>(planes, box, above, notBelow);
    else
        ClassifyBox<5>(planes, box, above, notBelow);
    return !above;
}

bool CGeomFilterVolume::TestBox(const CBoundingBox3d& box, bool& fullyAccepted) const noexcept {
    // An absent plane 5 counts as having the box below it, so it simply drops out.
    bool above, notBelow;
    if (HasPlane5())
        ClassifyBox<6>(planes, box, above, notBelow);
    else
        ClassifyBox<5>(planes, box, above, notBelow);
    fullyAccepted = !above && !notBelow;
    return !above;
}

void CGeomFilterVolume::TestBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* accepted,
                                  bool* fullyAccepted) const noexcept {
    // An absent plane 5 would count as having every box below it: leaving it out
    // gives the same codes.
    const int count = HasPlane5() ? 6 : 5;
    BoxColumns columns;
    alignas(16) unsigned char codes[Run];
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        columns.Load(boxes + i, m);
        ClassifyRun(planes, count, columns, m, codes);
        for (std::size_t j = 0; j < m; ++j) accepted[i + j] = (codes[j] & AnyAbove) == 0;
        if (fullyAccepted)
            for (std::size_t j = 0; j < m; ++j) fullyAccepted[i + j] = codes[j] == 0;
    }
}

void CGeomFilterVolume::TestPoints(const CPoint3d* points, std::size_t n, bool* accepted) const noexcept {
    const int count = HasPlane5() ? 6 : 5;
    PointColumns columns;
    alignas(16) unsigned char out[Run];
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        columns.Load(points + i, m, 1);
        for (std::size_t j = 0; j < Run; ++j) out[j] = 0;
        AboveRun(planes, count, columns, m, out);
        for (std::size_t j = 0; j < m; ++j) accepted[i + j] = out[j] == 0;
    }
}

void CGeomFilterVolume::Transform(const CTransformation& t) {
    // One inversion for all the planes; each plane ends exactly as Transform(CPlane&)
    // leaves it.
    t.TransformPlanes(planes, HasPlane5() ? 6 : 5);
}

CGeomFilterInsideVolume::~CGeomFilterInsideVolume() = default;

bool CGeomFilterInsideVolume::Test(const CPoint3d& start, const CPoint3d& end) {
    return Contains(start) && Contains(end);
}

bool CGeomFilterInsideVolume::Test(const CBoundingBox3d& box) { return TestBox(box); }

bool CGeomFilterInsideVolume::Test(const CBoundingBox3d& box, bool& fullyAccepted) {
    return TestBox(box, fullyAccepted);
}

IGeomFilter* CGeomFilterInsideVolume::Clone() { return new CGeomFilterInsideVolume(*this); }

void CGeomFilterInsideVolume::TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept {
    // Both ends inside; which end fails first does not change the answer.
    const int count = HasPlane5() ? 6 : 5;
    PointColumns starts, ends;
    alignas(16) unsigned char out[Run];
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        starts.Load(endpoints + 2 * i, m, 2);
        ends.Load(endpoints + 2 * i + 1, m, 2);
        for (std::size_t j = 0; j < Run; ++j) out[j] = 0;
        AboveRun(planes, count, starts, m, out);
        AboveRun(planes, count, ends, m, out);
        for (std::size_t j = 0; j < m; ++j) accepted[i + j] = out[j] == 0;
    }
}

CGeomFilterCrossingVolume::~CGeomFilterCrossingVolume() = default;

bool CGeomFilterCrossingVolume::Test(const CPoint3d& start, const CPoint3d& end) {
    // Each plane trims what the earlier planes left of the segment.
    CPoint3d a = start, b = end;
    const int count = HasPlane5() ? 6 : 5;
    for (int i = 0; i < count; ++i)
        if (planes[i].TrimAbove(&a, &b) == SegmentAbove) return false;
    return true;
}

bool CGeomFilterCrossingVolume::Test(const CBoundingBox3d& box) { return TestBox(box); }

bool CGeomFilterCrossingVolume::Test(const CBoundingBox3d& box, bool& fullyAccepted) {
    return TestBox(box, fullyAccepted);
}

IGeomFilter* CGeomFilterCrossingVolume::Clone() { return new CGeomFilterCrossingVolume(*this); }

namespace {}  // namespace

void CGeomFilterCrossingVolume::TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept {
    // CPlane::TrimAbove plane by plane, as Test(start, end) does: the end above a
    // plane moves to (|s_below| * above + |s_above| * below) / (|s_above| +
    // |s_below|) unless that sum is below DivideByZeroTol, and the segment is
    // rejected once both ends are strictly above a plane.
    const int count = HasPlane5() ? 6 : 5;
#if defined(__SSE2__)
    // Two segments at a time in the two lanes. A lane whose segment is rejected
    // goes on being computed until both are; its answer no longer changes.
    __m128d coef[6][4];
    for (int k = 0; k < count; ++k) Broadcast(planes[k], coef[k]);
    const __m128d zero = _mm_setzero_pd(), tol = _mm_set1_pd(DivideByZeroTol);
    const __m128d sign = _mm_set1_pd(-0.0);
    PointColumns starts, ends;
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        starts.Load(endpoints + 2 * i, m, 2);
        ends.Load(endpoints + 2 * i + 1, m, 2);
        for (std::size_t j = 0; j < m; j += 2) {
            __m128d ax = _mm_load_pd(starts.c[0] + j), ay = _mm_load_pd(starts.c[1] + j);
            __m128d az = _mm_load_pd(starts.c[2] + j);
            __m128d bx = _mm_load_pd(ends.c[0] + j), by = _mm_load_pd(ends.c[1] + j), bz = _mm_load_pd(ends.c[2] + j);
            __m128d rejected = zero;
            for (int k = 0; k < count; ++k) {
                const __m128d sa = Distance(coef[k], ax, ay, az), sb = Distance(coef[k], bx, by, bz);
                const __m128d aAbove = _mm_cmpgt_pd(sa, zero), bAbove = _mm_cmpgt_pd(sb, zero);
                rejected = _mm_or_pd(rejected, _mm_and_pd(aAbove, bAbove));
                if (_mm_movemask_pd(rejected) == 3) break;
                const __m128d one = _mm_xor_pd(aAbove, bAbove);  // exactly one end above
                if (_mm_movemask_pd(one) == 0) continue;
                // u the end above, v the end below, wa and wb the sizes of their distances.
                const __m128d wa = _mm_andnot_pd(sign, Select(aAbove, sa, sb));
                const __m128d wb = _mm_andnot_pd(sign, Select(aAbove, sb, sa));
                const __m128d sum = _mm_add_pd(wa, wb);
                const __m128d move = _mm_and_pd(one, _mm_cmpge_pd(sum, tol));
                const __m128d moveA = _mm_and_pd(move, aAbove), moveB = _mm_andnot_pd(aAbove, move);
                const __m128d cx = _mm_div_pd(
                    _mm_add_pd(_mm_mul_pd(wb, Select(aAbove, ax, bx)), _mm_mul_pd(wa, Select(aAbove, bx, ax))), sum);
                const __m128d cy = _mm_div_pd(
                    _mm_add_pd(_mm_mul_pd(wb, Select(aAbove, ay, by)), _mm_mul_pd(wa, Select(aAbove, by, ay))), sum);
                const __m128d cz = _mm_div_pd(
                    _mm_add_pd(_mm_mul_pd(wb, Select(aAbove, az, bz)), _mm_mul_pd(wa, Select(aAbove, bz, az))), sum);
                ax = Select(moveA, cx, ax);
                ay = Select(moveA, cy, ay);
                az = Select(moveA, cz, az);
                bx = Select(moveB, cx, bx);
                by = Select(moveB, cy, by);
                bz = Select(moveB, cz, bz);
            }
            const int out = _mm_movemask_pd(rejected);
            accepted[i + j] = (out & 1) == 0;
            if (j + 1 < m) accepted[i + j + 1] = (out & 2) == 0;
        }
    }
#else
    for (std::size_t i = 0; i < n; ++i) {
        CPoint3d a = Start(endpoints, i), b = End(endpoints, i);
        bool keep = true;
        for (int k = 0; k < count && keep; ++k) keep = planes[k].TrimAbove(&a, &b) != SegmentAbove;
        accepted[i] = keep;
    }
#endif
}

// ----- select-all and planes ----------------------------------------------------

CGeomFilterSelectAll::~CGeomFilterSelectAll() = default;

IGeomFilter* CGeomFilterSelectAll::Clone() { return new CGeomFilterSelectAll(*this); }

void CGeomFilterSelectAll::TestBoxes(const CBoundingBox3d*, std::size_t n, bool* accepted,
                                     bool* fullyAccepted) const noexcept {
    for (std::size_t i = 0; i < n; ++i) accepted[i] = true;
    if (fullyAccepted)
        for (std::size_t i = 0; i < n; ++i) fullyAccepted[i] = true;
}

void CGeomFilterSelectAll::TestPoints(const CPoint3d*, std::size_t n, bool* accepted) const noexcept {
    for (std::size_t i = 0; i < n; ++i) accepted[i] = true;
}

void CGeomFilterSelectAll::TestSegments(const CPoint3d*, std::size_t n, bool* accepted) const noexcept {
    for (std::size_t i = 0; i < n; ++i) accepted[i] = true;
}

CGeomFilterPlane::~CGeomFilterPlane() = default;

bool CGeomFilterPlane::Test(const CPoint3d& start, const CPoint3d& end) {
    const double d1 = plane.SignedDistance(start);
    const double d2 = plane.SignedDistance(end);
    if (std::fabs(d1) < EqualTol) return true;
    if (std::fabs(d2) < EqualTol) return true;
    if (d1 >= 0.0 && d2 >= 0.0) return false;
    if (d1 < 0.0 && d2 < 0.0) return false;
    return true;
}

IGeomFilter* CGeomFilterPlane::Clone() { return new CGeomFilterPlane(*this); }

void CGeomFilterPlane::Transform(const CTransformation& t) { t.Transform(plane); }

namespace {

// The box codes of a run of boxes against one plane (ClassifyRun): AnyAbove alone
// is BoxAbove, no bit is BoxBelow, AnyNotBelow alone is BoxCrossing.
inline void ClassifyRunAgainst(const CPlane& p, const CBoundingBox3d* boxes, std::size_t m,
                               unsigned char* codes) noexcept {
    BoxColumns columns;
    columns.Load(boxes, m);
    ClassifyRun(&p, 1, columns, m, codes);
}

// The signed distances of a run of points (every stride-th point) to one plane.
inline void DistanceRun(const CPlane& p, const CPoint3d* points, std::size_t m, std::size_t stride,
                        double* out) noexcept {
    PointColumns columns;
    columns.Load(points, m, stride);
    const double a = p.a, b = p.b, c = p.c, d = p.d;
    for (std::size_t j = 0; j < m; ++j) out[j] = a * columns.c[0][j] + b * columns.c[1][j] + c * columns.c[2][j] + d;
}

}  // namespace

void CGeomFilterPlane::TestBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* accepted,
                                 bool* fullyAccepted) const noexcept {
    alignas(16) unsigned char codes[Run];
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        ClassifyRunAgainst(plane, boxes + i, m, codes);
        for (std::size_t j = 0; j < m; ++j) accepted[i + j] = codes[j] == AnyNotBelow;
    }
    if (fullyAccepted)
        for (std::size_t i = 0; i < n; ++i) fullyAccepted[i] = false;
}

void CGeomFilterPlane::TestPoints(const CPoint3d* points, std::size_t n, bool* accepted) const noexcept {
    const double tol = EqualTol;
    alignas(32) double s[Run];
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        DistanceRun(plane, points + i, m, 1, s);
        for (std::size_t j = 0; j < m; ++j) accepted[i + j] = std::fabs(s[j]) < tol;
    }
}

void CGeomFilterPlane::TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept {
    // An end within the band, or ends strictly on opposite sides (d1 >= 0 against
    // d2 < 0 or the reverse; a NaN distance is on neither side and so counts).
    const double tol = EqualTol;
    alignas(32) double s1[Run], s2[Run];
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        DistanceRun(plane, endpoints + 2 * i, m, 2, s1);
        DistanceRun(plane, endpoints + 2 * i + 1, m, 2, s2);
        for (std::size_t j = 0; j < m; ++j) {
            const double d1 = s1[j], d2 = s2[j];
            const bool near = (std::fabs(d1) < tol) | (std::fabs(d2) < tol);
            const bool sameSide = ((d1 >= 0.0) & (d2 >= 0.0)) | ((d1 < 0.0) & (d2 < 0.0));
            accepted[i + j] = near | !sameSide;
        }
    }
}

CGeomFilterAbovePlane::~CGeomFilterAbovePlane() = default;

bool CGeomFilterAbovePlane::Test(const CBoundingBox3d& box, bool& fullyAccepted) {
    fullyAccepted = false;
    const int code = plane.IntersectWith(box);
    if (code == BoxBelow) return false;
    if (code == BoxAbove) fullyAccepted = true;
    return true;
}

IGeomFilter* CGeomFilterAbovePlane::Clone() { return new CGeomFilterAbovePlane(*this); }

void CGeomFilterAbovePlane::TestBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* accepted,
                                      bool* fullyAccepted) const noexcept {
    alignas(16) unsigned char codes[Run];
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        ClassifyRunAgainst(plane, boxes + i, m, codes);
        for (std::size_t j = 0; j < m; ++j) accepted[i + j] = codes[j] != 0;  // not wholly below
        if (fullyAccepted)
            for (std::size_t j = 0; j < m; ++j) fullyAccepted[i + j] = (codes[j] & AnyAbove) != 0;
    }
}

void CGeomFilterAbovePlane::TestPoints(const CPoint3d* points, std::size_t n, bool* accepted) const noexcept {
    const double band = -EqualTol;
    alignas(32) double s[Run];
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        DistanceRun(plane, points + i, m, 1, s);
        for (std::size_t j = 0; j < m; ++j) accepted[i + j] = s[j] > band;
    }
}

void CGeomFilterAbovePlane::TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept {
    const double band = -EqualTol;
    alignas(32) double s1[Run], s2[Run];
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        DistanceRun(plane, endpoints + 2 * i, m, 2, s1);
        DistanceRun(plane, endpoints + 2 * i + 1, m, 2, s2);
        for (std::size_t j = 0; j < m; ++j) accepted[i + j] = (s1[j] > band) | (s2[j] > band);
    }
}

// ----- combination --------------------------------------------------------------

CGeomFilterCombined::CGeomFilterCombined(IGeomFilter* first, IGeomFilter* second) {
    try {
        filters.reserve(2);
    } catch (...) {
        delete first;
        delete second;
        throw;
    }
    filters.push_back(first);
    filters.push_back(second);
}

CGeomFilterCombined::~CGeomFilterCombined() {
    for (IGeomFilter* filter : filters) delete filter;
}

void CGeomFilterCombined::Add(IGeomFilter* filter) {
    try {
        filters.push_back(filter);
    } catch (...) {
        delete filter;
        throw;
    }
}

bool CGeomFilterCombined::Test(const CPoint3d& point) {
    for (IGeomFilter* filter : filters)
        if (!filter->Test(point)) return false;
    return true;
}

bool CGeomFilterCombined::Test(const CPoint3d& start, const CPoint3d& end) {
    for (IGeomFilter* filter : filters)
        if (!filter->Test(start, end)) return false;
    return true;
}

bool CGeomFilterCombined::Test(const CBoundingBox3d& box) {
    for (IGeomFilter* filter : filters)
        if (!filter->Test(box)) return false;
    return true;
}

bool CGeomFilterCombined::Test(const CBoundingBox3d& box, bool& fullyAccepted) {
    fullyAccepted = false;
    bool all = true;
    for (IGeomFilter* filter : filters) {
        bool full = false;
        if (!filter->Test(box, full)) return false;
        all = all && full;
    }
    fullyAccepted = all;
    return true;
}

IGeomFilter* CGeomFilterCombined::Clone() {
    std::unique_ptr<CGeomFilterCombined> copy(new CGeomFilterCombined());
    copy->filters.reserve(filters.size());
    for (IGeomFilter* filter : filters) copy->filters.push_back(filter->Clone());  // capacity reserved: no throw
    return copy.release();
}

void CGeomFilterCombined::Transform(const CTransformation& t) {
    for (IGeomFilter* filter : filters) filter->Transform(t);
}

const CPlane* CGeomFilterCombined::GetFrustumPlane(int index) const {
    for (const IGeomFilter* filter : filters)
        if (const CPlane* plane = filter->GetFrustumPlane(index)) return plane;
    return nullptr;
}

// ----- bulk dispatch ------------------------------------------------------------

namespace {

// The filters whose bulk members are known to answer as their per-item Test; any
// other dynamic type, a client's class derived from one of these included, is
// Other and is asked element by element.
enum class FilterKind { Other, Inside, Crossing, SelectAll, Plane, AbovePlane, Combined };

FilterKind KindOf(const IGeomFilter& filter) noexcept {
    const std::type_info& type = typeid(filter);
    if (type == typeid(CGeomFilterCrossingVolume)) return FilterKind::Crossing;
    if (type == typeid(CGeomFilterInsideVolume)) return FilterKind::Inside;
    if (type == typeid(CGeomFilterPlane)) return FilterKind::Plane;
    if (type == typeid(CGeomFilterAbovePlane)) return FilterKind::AbovePlane;
    if (type == typeid(CGeomFilterSelectAll)) return FilterKind::SelectAll;
    if (type == typeid(CGeomFilterCombined)) return FilterKind::Combined;
    return FilterKind::Other;
}

// Whether every member, at any depth, has a known kind (and is not null).
bool AllMembersKnown(const CGeomFilterCombined& combined) noexcept {
    for (const IGeomFilter* member : combined.filters) {
        if (member == nullptr) return false;
        const FilterKind kind = KindOf(*member);
        if (kind == FilterKind::Other) return false;
        if (kind == FilterKind::Combined && !AllMembersKnown(static_cast<const CGeomFilterCombined&>(*member)))
            return false;
    }
    return true;
}

void KnownBoxes(FilterKind kind, const IGeomFilter& f, const CBoundingBox3d* boxes, std::size_t n, bool* accepted,
                bool* fullyAccepted) noexcept {
    switch (kind) {
        case FilterKind::Inside:
        case FilterKind::Crossing:
            static_cast<const CGeomFilterVolume&>(f).TestBoxes(boxes, n, accepted, fullyAccepted);
            break;
        case FilterKind::Plane:
            static_cast<const CGeomFilterPlane&>(f).TestBoxes(boxes, n, accepted, fullyAccepted);
            break;
        case FilterKind::AbovePlane:
            static_cast<const CGeomFilterAbovePlane&>(f).TestBoxes(boxes, n, accepted, fullyAccepted);
            break;
        case FilterKind::SelectAll:
            static_cast<const CGeomFilterSelectAll&>(f).TestBoxes(boxes, n, accepted, fullyAccepted);
            break;
        case FilterKind::Combined:
            static_cast<const CGeomFilterCombined&>(f).TestBoxes(boxes, n, accepted, fullyAccepted);
            break;
        case FilterKind::Other:
            break;
    }
}

void KnownPoints(FilterKind kind, const IGeomFilter& f, const CPoint3d* points, std::size_t n,
                 bool* accepted) noexcept {
    switch (kind) {
        case FilterKind::Inside:
        case FilterKind::Crossing:
            static_cast<const CGeomFilterVolume&>(f).TestPoints(points, n, accepted);
            break;
        case FilterKind::Plane:
            static_cast<const CGeomFilterPlane&>(f).TestPoints(points, n, accepted);
            break;
        case FilterKind::AbovePlane:
            static_cast<const CGeomFilterAbovePlane&>(f).TestPoints(points, n, accepted);
            break;
        case FilterKind::SelectAll:
            static_cast<const CGeomFilterSelectAll&>(f).TestPoints(points, n, accepted);
            break;
        case FilterKind::Combined:
            static_cast<const CGeomFilterCombined&>(f).TestPoints(points, n, accepted);
            break;
        case FilterKind::Other:
            break;
    }
}

void KnownSegments(FilterKind kind, const IGeomFilter& f, const CPoint3d* endpoints, std::size_t n,
                   bool* accepted) noexcept {
    switch (kind) {
        case FilterKind::Inside:
            static_cast<const CGeomFilterInsideVolume&>(f).TestSegments(endpoints, n, accepted);
            break;
        case FilterKind::Crossing:
            static_cast<const CGeomFilterCrossingVolume&>(f).TestSegments(endpoints, n, accepted);
            break;
        case FilterKind::Plane:
            static_cast<const CGeomFilterPlane&>(f).TestSegments(endpoints, n, accepted);
            break;
        case FilterKind::AbovePlane:
            static_cast<const CGeomFilterAbovePlane&>(f).TestSegments(endpoints, n, accepted);
            break;
        case FilterKind::SelectAll:
            static_cast<const CGeomFilterSelectAll&>(f).TestSegments(endpoints, n, accepted);
            break;
        case FilterKind::Combined:
            static_cast<const CGeomFilterCombined&>(f).TestSegments(endpoints, n, accepted);
            break;
        case FilterKind::Other:
            break;
    }
}

// The AND of the members' answers for one run, each member asked in bulk. The
// library's filters have no side effects, so asking a member about an element an
// earlier member refused changes nothing.
template <class Ask>
void AndOfMembers(const std::vector<IGeomFilter*>& members, std::size_t m, bool* accepted, bool* fullyAccepted,
                  Ask ask) noexcept {
    alignas(32) bool memberAccepted[Run], memberFull[Run];
    for (std::size_t j = 0; j < m; ++j) accepted[j] = true;
    if (fullyAccepted)
        for (std::size_t j = 0; j < m; ++j) fullyAccepted[j] = true;
    for (const IGeomFilter* member : members) {
        ask(KindOf(*member), *member, memberAccepted, fullyAccepted ? memberFull : nullptr);
        for (std::size_t j = 0; j < m; ++j) accepted[j] = accepted[j] & memberAccepted[j];
        if (fullyAccepted)
            for (std::size_t j = 0; j < m; ++j) fullyAccepted[j] = fullyAccepted[j] & memberFull[j];
    }
    // A refused element is never fully accepted.
    if (fullyAccepted)
        for (std::size_t j = 0; j < m; ++j) fullyAccepted[j] = fullyAccepted[j] & accepted[j];
}

}  // namespace

void CGeomFilterCombined::TestBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* accepted,
                                    bool* fullyAccepted) const noexcept {
    if (!AllMembersKnown(*this)) {
        // The queries do not change the filter; the per-item bodies are just not const.
        auto* self = const_cast<CGeomFilterCombined*>(this);
        for (std::size_t i = 0; i < n; ++i)
            accepted[i] = fullyAccepted ? self->CGeomFilterCombined::Test(boxes[i], fullyAccepted[i])
                                        : self->CGeomFilterCombined::Test(boxes[i]);
        return;
    }
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        AndOfMembers(filters, m, accepted + i, fullyAccepted ? fullyAccepted + i : nullptr,
                     [&](FilterKind kind, const IGeomFilter& f, bool* a, bool* full) {
                         KnownBoxes(kind, f, boxes + i, m, a, full);
                     });
    }
}

void CGeomFilterCombined::TestPoints(const CPoint3d* points, std::size_t n, bool* accepted) const noexcept {
    if (!AllMembersKnown(*this)) {
        auto* self = const_cast<CGeomFilterCombined*>(this);
        for (std::size_t i = 0; i < n; ++i) accepted[i] = self->CGeomFilterCombined::Test(points[i]);
        return;
    }
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        AndOfMembers(filters, m, accepted + i, nullptr, [&](FilterKind kind, const IGeomFilter& f, bool* a, bool*) {
            KnownPoints(kind, f, points + i, m, a);
        });
    }
}

void CGeomFilterCombined::TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept {
    if (!AllMembersKnown(*this)) {
        auto* self = const_cast<CGeomFilterCombined*>(this);
        for (std::size_t i = 0; i < n; ++i)
            accepted[i] = self->CGeomFilterCombined::Test(Start(endpoints, i), End(endpoints, i));
        return;
    }
    for (std::size_t i = 0; i < n; i += Run) {
        const std::size_t m = n - i < Run ? n - i : Run;
        AndOfMembers(filters, m, accepted + i, nullptr, [&](FilterKind kind, const IGeomFilter& f, bool* a, bool*) {
            KnownSegments(kind, f, endpoints + 2 * i, m, a);
        });
    }
}

void TestBoxes(IGeomFilter& filter, const CBoundingBox3d* boxes, std::size_t n, bool* accepted, bool* fullyAccepted) {
    const FilterKind kind = KindOf(filter);
    if (kind != FilterKind::Other) return KnownBoxes(kind, filter, boxes, n, accepted, fullyAccepted);
    for (std::size_t i = 0; i < n; ++i)
        accepted[i] = fullyAccepted ? filter.Test(boxes[i], fullyAccepted[i]) : filter.Test(boxes[i]);
}

void TestPoints(IGeomFilter& filter, const CPoint3d* points, std::size_t n, bool* accepted) {
    const FilterKind kind = KindOf(filter);
    if (kind != FilterKind::Other) return KnownPoints(kind, filter, points, n, accepted);
    for (std::size_t i = 0; i < n; ++i) accepted[i] = filter.Test(points[i]);
}

void TestSegments(IGeomFilter& filter, const CPoint3d* endpoints, std::size_t n, bool* accepted) {
    const FilterKind kind = KindOf(filter);
    if (kind != FilterKind::Other) return KnownSegments(kind, filter, endpoints, n, accepted);
    for (std::size_t i = 0; i < n; ++i) accepted[i] = filter.Test(Start(endpoints, i), End(endpoints, i));
}

}  // namespace velmor::geometry
