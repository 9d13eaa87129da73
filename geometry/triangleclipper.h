/// \file
/// TriangleClipper: cuts indexed triangles against axis-aligned clip planes (the
/// faces of a 2D rectangle or a 3D box) and returns the pieces that lie inside, again
/// as indexed triangles.
///
/// Vertices live in a point pool the caller owns; triangles hold three indices into
/// it. Clipping never moves or removes a point: every new vertex (a crossing with a
/// clip plane) is appended to the pool, and output triangles index old and new
/// points alike. The pool is never de-duplicated: a split appends the same crossing
/// point twice, and callers that weld vertices do so themselves. Indices already
/// handed out stay valid, but references into the pool do not survive its growth.
///
/// Every output triangle keeps the winding of its input triangle. A clip plane keeps
/// the side where the coordinate on its axis is >= value (keepGreater) or <= value;
/// a vertex exactly on the plane is inside. No tolerance is used anywhere.
///
/// A vertex index outside the pool (negative, or not below the pool size) raises
/// std::out_of_range from the bounds-checked fetch, before anything is appended for
/// the triangle being clipped.
#ifndef PLENAR_GEOMETRY_TRIANGLECLIPPER_H
#define PLENAR_GEOMETRY_TRIANGLECLIPPER_H

#include <geometry/boundingbox.h>
#include <geometry/export.h>
#include <geometry/point3d.h>
#include <geometry/vector3d.h>

#include <limits>
#include <vector>

namespace velmor::geometry {

/// One axis-aligned clip plane: a bound on the x (axis 0), y (axis 1) or z (any
/// other axis value) coordinate.
class PLENAR_API ClipPlane {
public:
    /// True keeps coordinate >= value (a lower bound); false keeps coordinate <= value.
    bool keepGreater;
    /// The plane's position on its axis.
    double value;
    /// 0 for x, 1 for y; any other value means z.
    int axis;

    /// The plane on axis_ at value_, keeping the greater side when keepGreater_.
    constexpr ClipPlane(bool keepGreater_, double value_, int axis_) noexcept
        : keepGreater(keepGreater_), value(value_), axis(axis_) {}

    /// The coordinate of p on this plane's axis.
    constexpr double Coordinate(const CPoint3d& p) const noexcept { return axis == 0 ? p.x : (axis == 1 ? p.y : p.z); }
    /// Whether p lies on the kept side. Inclusive, no tolerance: a vertex exactly on
    /// the plane is inside, so a triangle touching a face is kept whole.
    constexpr bool IsInside(const CPoint3d& p) const noexcept {
        const double c = Coordinate(p);
        return keepGreater ? c >= value : value >= c;
    }
    /// The point where the segment a->b meets the plane: a + (b - a) * t with
    /// t = (value - c(a)) / (c(b) - c(a)). When c(b) - c(a) is exactly 0 the result is
    /// (+inf, +inf, +inf); the clipper only cuts edges whose ends lie on opposite
    /// sides, so it never meets that case.
    CPoint3d Intersection(const CPoint3d& a, const CPoint3d& b) const noexcept {
        const double ca = Coordinate(a);
        const double denominator = Coordinate(b) - ca;
        if (denominator == 0.0) {
            const double inf = std::numeric_limits<double>::infinity();
            return {inf, inf, inf};
        }
        const double t = (value - ca) / denominator;
        return a + (b - a) * t;
    }
};

/// Clips indexed triangles against a list of clip planes, applied in insertion
/// order, appending new vertices to a caller-owned point pool.
class PLENAR_API TriangleClipper {
public:
    /// Three vertex indices into the point pool, in winding order.
    struct IndexedTriangle {
        /// Vertex indices into the point pool, in winding order.
        int indices[3];

        /// Same indices in the same positions (a rotated triangle differs).
        friend constexpr bool operator==(const IndexedTriangle& l, const IndexedTriangle& r) noexcept {
            return l.indices[0] == r.indices[0] && l.indices[1] == r.indices[1] && l.indices[2] == r.indices[2];
        }
        /// Negation of ==.
        friend constexpr bool operator!=(const IndexedTriangle& l, const IndexedTriangle& r) noexcept {
            return !(l == r);
        }
    };

    /// The caller's point pool; not owned, must outlive the clipper. Clipping
    /// appends to it.
    std::vector<CPoint3d>* points;
    /// The clip planes, applied in insertion order.
    std::vector<ClipPlane> clipPlanes;

    /// A clipper on the given pool with no planes (it passes triangles through).
    explicit TriangleClipper(std::vector<CPoint3d>* points_) : points(points_) {}
    /// A clipper on the given pool with a copy of the given planes.
    TriangleClipper(std::vector<CPoint3d>* points_, const std::vector<ClipPlane>& planes)
        : points(points_), clipPlanes(planes) {}
    /// Frees the plane list; the point pool is left alone.
    virtual ~TriangleClipper();

    /// Shares the caller's pool (the pointer is copied) and copies the planes.
    TriangleClipper(const TriangleClipper&) = default;
    /// Shares the caller's pool (the pointer is copied) and copies the planes.
    TriangleClipper& operator=(const TriangleClipper&) = default;

    /// Appends a plane and returns its index (the number of planes before the call).
    int AddClipPlane(const ClipPlane& plane) {
        const int index = static_cast<int>(clipPlanes.size());
        clipPlanes.push_back(plane);
        return index;
    }

    /// Clips one triangle against every plane in order and appends the surviving
    /// pieces to *result, which is not cleared. Pieces come out in the order they
    /// arise: within one plane they keep the order of their parents, and a split
    /// parent yields its (prev, I1, I2) piece before its (next, prev, I2) piece.
    /// With no planes the triangle is appended unchanged.
    ///
    /// The working lists live in per-thread storage reused from call to call, so
    /// clipping a soup of triangles does not allocate per triangle and the clipper
    /// carries no hidden state: several threads may clip at once with clippers of
    /// their own (each on its own pool). A clip started on a thread while another
    /// is still running there gets lists of its own.
    void ClipToExtents(const IndexedTriangle& triangle, std::vector<IndexedTriangle>* result);

    /// Clips one triangle against one plane, appending 0, 1 or 2 triangles: the
    /// triangle itself when all three vertices are inside, a shortened triangle when
    /// one is, the two halves of a split when two are, nothing when none is.
    void ClipToPlane(const ClipPlane& plane, const IndexedTriangle& triangle, std::vector<IndexedTriangle>* result);

    /// Only the vertex at position `inside` (0..2) survives: appends (kept, I2, I1)
    /// with I2 on the edge kept->next and I1 on the edge prev->kept; the pool gains
    /// I2 then I1. A position outside 0..2 appends nothing.
    void ShortenTriangle(const ClipPlane& plane, const IndexedTriangle& triangle, int inside,
                         std::vector<IndexedTriangle>* result);

    /// The vertex at position `outside` (0..2) is cut away, leaving the
    /// quadrilateral prev, I1, I2, next: appends (prev, I1, I2) and then
    /// (next, prev, I2). The pool gains I1, I2 and a second copy of I2, so each half
    /// owns its points. A position outside 0..2 appends nothing.
    void SplitTriangle(const ClipPlane& plane, const IndexedTriangle& triangle, int outside,
                       std::vector<IndexedTriangle>* result);

    /// Appends a, then b to the pool and returns (i, n, n + 1), n the pool size
    /// before. a and b may refer into the pool.
    IndexedTriangle AddIndexedTriangle(int i, const CPoint3d& a, const CPoint3d& b);
    /// Appends a to the pool and returns (i, j, n), n the pool size before.
    IndexedTriangle AddIndexedTriangle(int i, int j, const CPoint3d& a);
    /// Appends a, b, c to the pool and returns (n, n + 1, n + 2), n the pool size
    /// before. a, b and c may refer into the pool.
    IndexedTriangle AddIndexedTriangle(const CPoint3d& a, const CPoint3d& b, const CPoint3d& c);

private:
    /// The pool point at index, bounds-checked (std::out_of_range for a negative
    /// index or one not below the pool size). Returned by value: the pool may
    /// reallocate before the caller is done with it.
    CPoint3d Fetch(int index) const { return points->at(static_cast<std::size_t>(index)); }
};

/// A clipper to a 2D rectangle: keeps y <= y max, y >= y min, x <= x max and
/// x >= x min, in that order. z is not bounded; new points get z interpolated along
/// the cut edge like the other coordinates.
class PLENAR_API TriangleClipper2D : public TriangleClipper {
public:
    /// The rectangle, as given to the constructor.
    CBoundingBox2d extents;
    /// Indices of the four planes added for the rectangle, in the order added.
    int extentPlanes[4];

    /// Stores the rectangle and adds its four planes.
    TriangleClipper2D(std::vector<CPoint3d>* points_, const CBoundingBox2d& extents_);
    /// Frees the planes; the point pool is left alone.
    ~TriangleClipper2D() override;
    /// Shares the caller's pool and copies the rectangle and planes.
    TriangleClipper2D(const TriangleClipper2D&) = default;
    /// Shares the caller's pool and copies the rectangle and planes.
    TriangleClipper2D& operator=(const TriangleClipper2D&) = default;
};

/// A clipper to a 3D box: the rectangle's four planes as TriangleClipper2D adds
/// them, then z <= z max and z >= z min.
class PLENAR_API TriangleClipper3D : public TriangleClipper {
public:
    /// The box, as given to the constructor.
    CBoundingBox3d extents;
    /// Indices of the six planes added for the box, in the order added.
    int extentPlanes[6];

    /// Stores the box and adds its six planes.
    TriangleClipper3D(std::vector<CPoint3d>* points_, const CBoundingBox3d& extents_);
    /// Frees the planes; the point pool is left alone.
    ~TriangleClipper3D() override;
    /// Shares the caller's pool and copies the box and planes.
    TriangleClipper3D(const TriangleClipper3D&) = default;
    /// Shares the caller's pool and copies the box and planes.
    TriangleClipper3D& operator=(const TriangleClipper3D&) = default;
};

}  // namespace velmor::geometry

#endif
