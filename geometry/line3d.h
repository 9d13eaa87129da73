// CLine3d: a straight line in 3D that may be bounded at either end: a full
// infinite line, a half-line or a finite segment. It is a CRay3d (origin and unit
// direction) with two parameters along the direction: the point at parameter t is
// origin + t * direction, and since the direction has unit length, endParam -
// startParam is the segment's length.
//
// Unbounded ends are marked by parameters: a start at or below InfiniteStart
// (-1e30) and an end at or above InfiniteEnd (1e30) are infinite, and the markers
// are always written as exactly those values. They are ordinary finite numbers, so
// validity tests accept them, and a few members (TrimToPlane) compare them as
// numbers on purpose.
//
// Setting an end from a point keeps startParam <= endParam by reversing the
// direction when needed. Tolerances: IsNull and TrimToPlane's sliver rule are
// strict against EqualTol; the box test's Zone codes use no tolerance (a point on a
// face is inside).
#ifndef PLENAR_GEOMETRY_LINE3D_H
#define PLENAR_GEOMETRY_LINE3D_H

#include <geometry/boundingbox.h>
#include <geometry/export.h>
#include <geometry/plane.h>
#include <geometry/point3d.h>
#include <geometry/ray3d.h>
#include <geometry/unitvector3d.h>

namespace velmor::geometry {

class PLENAR_API CLine3d : public CRay3d {
public:
    /// The start parameter of a line without start: any startParam at or below it.
    static constexpr double InfiniteStart = -1e30;
    /// The end parameter of a line without end: any endParam at or above it.
    static constexpr double InfiniteEnd = 1e30;

    double startParam;
    double endParam;

    /// The infinite z axis: origin (0, 0, 0), direction (0, 0, 1), both ends
    /// infinite.
    constexpr CLine3d() noexcept : CRay3d(), startParam(InfiniteStart), endParam(InfiniteEnd) {}
    /// The segment from a to b: origin a, direction towards b, parameters 0 and the
    /// distance a-b. Coincident points give the zero direction and a null line.
    CLine3d(const CPoint3d& a, const CPoint3d& b) noexcept;
    /// The ray's carrier line, each end infinite as asked; a finite start is the
    /// ray's origin (parameter 0) and a finite end lies at parameter exactly 1.0,
    /// one unit along, whatever the ray stands for.
    CLine3d(const CRay3d& ray, bool infiniteAtStart, bool infiniteAtEnd) noexcept
        : CRay3d(ray), startParam(infiniteAtStart ? InfiniteStart : 0.0), endParam(infiniteAtEnd ? InfiniteEnd : 1.0) {}

    // The box overload below would hide the ray's intersections; they apply to
    // the carrier line.
    using CRay3d::IntersectWith;

    /// The point at startParam, computed even for an infinite start; true when the
    /// start is finite (startParam > InfiniteStart).
    bool GetStartPoint(CPoint3d& p) const noexcept {
        p = CPoint3d(origin, startParam, direction);
        return startParam > InfiniteStart;
    }
    /// The point at endParam, always computed; true when the end is finite
    /// (endParam < InfiniteEnd).
    bool GetEndPoint(CPoint3d& p) const noexcept {
        p = CPoint3d(origin, endParam, direction);
        return endParam < InfiniteEnd;
    }

    /// Starts the line at p's projection on the carrier line. When that lies
    /// beyond a finite end (strictly), the line is reversed so that it runs from
    /// the new start to the old end point. With an infinite end it never reverses.
    void SetStartPoint(const CPoint3d& p) noexcept;
    /// Ends the line at p's projection; reverses, as SetStartPoint does, when that
    /// lies strictly before a finite start, so the line runs from the old start
    /// point to the new end.
    void SetEndPoint(const CPoint3d& p) noexcept;
    /// Removes the start.
    void SetInfiniteAtStart() noexcept { startParam = InfiniteStart; }
    /// Removes the end.
    void SetInfiniteAtEnd() noexcept { endParam = InfiniteEnd; }
    /// Replaces the direction (taken as given, not renormalised), rebasing the line
    /// on its finite end: a segment keeps its start point and length, a half-line
    /// its finite end point; a line infinite at both ends only turns.
    void SetDirection(CUnitVector3d dir) noexcept;
    /// Negates the direction, the origin staying put. Finite parameters are
    /// re-measured in the new direction and the infinite markers stay where they
    /// are (then the two are ordered). A segment is the same segment traversed the
    /// other way; a half-line deliberately becomes the complementary half of its
    /// carrier line (start -1e30, end 5 becomes start -1e30, end -5: the points at
    /// and beyond the old end point).
    void Reverse() noexcept;
    /// For a half-line, the ray from its finite end into the infinite side: true.
    /// False, ray untouched, for a segment or a line infinite at both ends.
    bool GetSemiInfiniteRay(CRay3d& ray) const noexcept;
    /// The parameters differ by less than EqualTol (strict); a line with an
    /// infinite end is never null.
    bool IsNull() const noexcept;

    /// Keeps the part of the line on the positive side of the plane (where its
    /// normal points) and tells whether anything is left. Only the end on the
    /// negative side moves, to the crossing; a part thinner than EqualTol (strict)
    /// counts as nothing, though the parameter is still moved. A line parallel to
    /// the plane is kept, unchanged, when its origin is less than EqualTol below
    /// the plane (strict). The crossing is compared with the parameters without
    /// tolerance, the infinite markers taking part as plain numbers.
    bool TrimToPlane(const CPlane& plane) noexcept;

    /// Whether any point of the line lies in the closed box. Infinite and
    /// half-infinite lines use the ray test. A segment is decided by the Zone codes
    /// of its ends: an end inside is a hit, ends beyond the same face a miss, ends
    /// beyond opposite faces of one axis only a hit (the segment crosses that slab
    /// within the other two); otherwise each face the ends lie beyond is tried,
    /// skipping faces whose axis the direction crosses by less than EqualTolSq.
    /// The face crossing is measured from the start point but laid off from the
    /// origin: for a segment whose startParam is not 0 the test is made with that
    /// shifted point. Callers depend on this as it is.
    bool IntersectWith(const CBoundingBox3d& box) const noexcept;

    /// Both parameters neither NaN nor infinite (the markers are finite), and the
    /// ray a valid object.
    bool IsValidObj() const noexcept;
};

/// The outcode of p against the box, over the axes whose bit is set in axes (1 x,
/// 2 y, 4 z; pass 7 for all): 1 below x, 2 below y, 4 below z, 8 above x, 16
/// above y, 32 above z. Comparisons are strict and without tolerance, so a point on
/// a face is inside; 0 means inside the box on every tested axis.
PLENAR_API int Zone(const CBoundingBox3d& box, const CPoint3d& p, int axes) noexcept;

}  // namespace velmor::geometry

#endif
