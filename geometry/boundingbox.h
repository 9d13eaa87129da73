/// \file
/// CRange, CBoundingBox2d and CBoundingBox3d: intervals of doubles and the
/// axis-aligned boxes made of two or three of them (x, y[, z], each min then max).
///
/// Empty convention: a range is empty when min > max (strict). The canonical empty
/// value, written by Clear() and by the default constructors, is (1e30, -1e30), so
/// that growing by the first point sets both ends. 1e30 is an ordinary finite
/// number: an empty box is a valid object. Emptiness is decided per axis:
///   - IsEmpty() of a box, and the box members that reject an empty argument box
///     (3D Contains and ContainsInInterior of a box), look only at the x range;
///   - the box-box intersection tests check every axis of both boxes;
///   - the 2D Contains / ContainsInInterior of a box and all point tests check no
///     emptiness at all and compute with 1e30 and -1e30 as plain numbers.
///
/// Tolerances (EqualTol read at call time):
///   - Contains(point): exact face values belong; otherwise the coordinate must lie
///     strictly between min - EqualTol and max + EqualTol.
///   - Contains(box): strict against faces widened by EqualTol.
///   - ContainsInInterior: at least EqualTol inside every face (inclusive at EqualTol).
///   - PreciselyContains: half-open, min <= v < max, no tolerance.
///   - Intersects: closed intervals, no tolerance. IntersectsInTolerance: a gap of
///     up to twice tol still counts. Overlaps: the overlap must be at least
///     EqualTol thick.
///
/// Corner i takes the maximum on x when bit 1 of i is set, on y for bit 2 and on z
/// for bit 4, the minimum otherwise: corner 0 is the minimum point, corner 7 the
/// maximum point.
#ifndef PLENAR_GEOMETRY_BOUNDINGBOX_H
#define PLENAR_GEOMETRY_BOUNDINGBOX_H

#include <geometry/export.h>
#include <geometry/point2d.h>
#include <geometry/point3d.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <cmath>

namespace velmor::geometry {

/// The faces of a box, as reported by ray and line box tests. NoSide (0) means no
/// face, for example a ray that starts inside the box.
enum EBoxSide : int { NoSide = 0, MinX = 1, MaxX = 2, MinY = 3, MaxY = 4, MinZ = 5, MaxZ = 6 };

/// A closed interval [min, max] of doubles; empty when min > max.
class PLENAR_API CRange {
public:
    /// Lower end; 1e30 in the canonical empty range.
    double min;
    /// Upper end; -1e30 in the canonical empty range.
    double max;

    /// The empty range (1e30, -1e30).
    constexpr CRange() noexcept : min(1e30), max(-1e30) {}
    /// The range as given; min > max makes an empty range.
    constexpr CRange(double min_, double max_) noexcept : min(min_), max(max_) {}

    /// Makes the range the canonical empty value (1e30, -1e30).
    void Clear() noexcept {
        min = 1e30;
        max = -1e30;
    }
    /// True when min > max (strict): a single-value range is not empty.
    constexpr bool IsEmpty() const noexcept { return min > max; }
    /// max - min when max > min, else 0 (empty and single-value ranges).
    constexpr double Extent() const noexcept { return max > min ? max - min : 0.0; }

    /// Tolerant membership as the boxes test it: an exact end value belongs;
    /// otherwise v must lie strictly between min - EqualTol and max + EqualTol.
    bool Contains(double v) const noexcept {
        return v == min || v == max || (v > min - EqualTol && v < max + EqualTol);
    }
    /// r lies within this range widened by EqualTol, strict on both sides. No
    /// emptiness test.
    bool Contains(const CRange& r) const noexcept { return r.min > min - EqualTol && max + EqualTol > r.max; }
    /// Half-open membership min <= v < max, no tolerance.
    constexpr bool PreciselyContains(double v) const noexcept { return min <= v && v < max; }
    /// v lies at least EqualTol inside both ends (inclusive at EqualTol).
    bool ContainsInInterior(double v) const noexcept { return v - min >= EqualTol && v - max <= -EqualTol; }
    /// r lies at least EqualTol inside both ends. No emptiness test.
    bool ContainsInInterior(const CRange& r) const noexcept {
        return r.min - min >= EqualTol && r.max - max <= -EqualTol;
    }

    /// Closed intervals meet, no tolerance; false when either is empty.
    bool Intersects(const CRange& r) const noexcept {
        if (IsEmpty()) return false;
        return r.min <= max && min <= r.max && !r.IsEmpty();
    }
    /// Both ranges are widened by tol before the test, so a gap of up to 2*tol
    /// still counts; false when either is empty.
    bool IntersectsInTolerance(const CRange& r, double tol) const noexcept {
        if (IsEmpty() || r.IsEmpty()) return false;
        return !(r.min - tol > max + tol) && !(min - tol > r.max + tol);
    }

    /// Widens this range to cover r; an empty r changes nothing.
    CRange& operator+=(const CRange& r) noexcept {
        if (!r.IsEmpty()) {
            min = std::fmin(min, r.min);
            max = std::fmax(max, r.max);
        }
        return *this;
    }
    /// Widens this range to cover v. Both ends are tested, so the first value added
    /// to an empty range sets both.
    CRange& operator+=(double v) noexcept {
        if (min > v) min = v;
        if (v > max) max = v;
        return *this;
    }
    /// This range widened to cover r (a copy of this when r is empty).
    CRange Union(const CRange& r) const noexcept {
        CRange u = *this;
        u += r;
        return u;
    }
    /// The union of two ranges (see Union).
    CRange operator+(const CRange& r) const noexcept { return Union(r); }
    /// (smaller of v and min, larger of v and max).
    CRange operator+(double v) const noexcept { return {std::fmin(v, min), std::fmax(v, max)}; }

    /// The common part: empty unless both are non-empty and they meet (closed);
    /// touching ranges give a single-value range.
    CRange Intersect(const CRange& r) const noexcept {
        if (IsEmpty() || r.IsEmpty() || !(r.min <= max && min <= r.max)) return CRange();
        return {std::fmax(min, r.min), std::fmin(max, r.max)};
    }

    /// Moves both ends out by e (in by a negative e); an empty range is left alone.
    void Expand(double e) noexcept {
        if (!IsEmpty()) {
            min -= e;
            max += e;
        }
    }

    /// Whether the ranges overlap by at least EqualTol: out is first made empty;
    /// false when either range is empty or the overlap is thinner than EqualTol,
    /// otherwise out receives the common part. out may be this range or r.
    bool Overlaps(const CRange& r, CRange& out) const noexcept {
        const CRange a = *this;
        const CRange b = r;
        out.Clear();
        if (a.IsEmpty() || b.IsEmpty() || a.max - b.min < EqualTol || a.min - b.max > -EqualTol) return false;
        out = CRange(std::fmax(a.min, b.min), std::fmin(a.max, b.max));
        return true;
    }

    /// True when neither end is NaN or infinite (the empty value is valid).
    bool IsValidObj() const noexcept { return std::isfinite(min) && std::isfinite(max); }
};

namespace detail {
// One axis of the box-box intersection test: false when either range is empty or
// they are apart (closed, no tolerance).
constexpr bool BoxAxesMeet(const CRange& a, const CRange& b) noexcept {
    return !a.IsEmpty() && !b.IsEmpty() && !(b.min > a.max) && !(a.min > b.max);
}
}  // namespace detail

/// An axis-aligned 3D box: ranges x, y, z. Default-constructed boxes are empty.
class PLENAR_API CBoundingBox3d {
public:
    /// Extent along x; its emptiness decides IsEmpty() of the box.
    CRange x;
    /// Extent along y.
    CRange y;
    /// Extent along z.
    CRange z;

    /// The empty box.
    constexpr CBoundingBox3d() noexcept = default;
    /// The box of the given ranges.
    constexpr CBoundingBox3d(const CRange& x_, const CRange& y_, const CRange& z_) noexcept : x(x_), y(y_), z(z_) {}
    /// The box from its minimum corner to its maximum corner, stored as given (a
    /// minimum above the maximum on an axis makes that axis empty).
    constexpr CBoundingBox3d(const CPoint3d& minPoint, const CPoint3d& maxPoint) noexcept
        : x(minPoint.x, maxPoint.x), y(minPoint.y, maxPoint.y), z(minPoint.z, maxPoint.z) {}

    /// Makes every axis empty (minima 1e30, maxima -1e30).
    void Clear() noexcept {
        x.Clear();
        y.Clear();
        z.Clear();
    }
    /// True when the x range is empty. Only x is looked at, as by every member
    /// that rejects an empty box.
    constexpr bool IsEmpty() const noexcept { return x.IsEmpty(); }

    /// Per axis: an exact face value passes, otherwise strictly within EqualTol
    /// outside the faces. No emptiness test.
    bool Contains(const CPoint3d& p) const noexcept { return x.Contains(p.x) && y.Contains(p.y) && z.Contains(p.z); }
    /// min <= p < max on every axis: the minimum faces belong to the box, the
    /// maximum faces do not, so that boxes tiling space claim each point once.
    constexpr bool PreciselyContains(const CPoint3d& p) const noexcept {
        return x.PreciselyContains(p.x) && y.PreciselyContains(p.y) && z.PreciselyContains(p.z);
    }
    /// b lies within this box widened by EqualTol (strict). False when b's x range
    /// is empty; the other axes of b are not checked for emptiness.
    bool Contains(const CBoundingBox3d& b) const noexcept {
        if (b.x.IsEmpty()) return false;
        return x.Contains(b.x) && y.Contains(b.y) && z.Contains(b.z);
    }
    /// p lies at least EqualTol inside every face.
    bool ContainsInInterior(const CPoint3d& p) const noexcept {
        return x.ContainsInInterior(p.x) && y.ContainsInInterior(p.y) && z.ContainsInInterior(p.z);
    }
    /// b lies at least EqualTol inside every face. False when b's x range is empty.
    bool ContainsInInterior(const CBoundingBox3d& b) const noexcept {
        if (b.x.IsEmpty()) return false;
        return x.ContainsInInterior(b.x) && y.ContainsInInterior(b.y) && z.ContainsInInterior(b.z);
    }

    /// Whether the segment from a to b meets the box (faces included), by
    /// Cohen-Sutherland clipping of a towards b in at most six passes. An empty box
    /// meets no segment of finite points.
    bool Intersects(CPoint3d a, CPoint3d b) const noexcept;
    /// Closed test on x, y and z in turn, no tolerance; false when any axis of
    /// either box is empty.
    constexpr bool Intersects(const CBoundingBox3d& b) const noexcept {
        return detail::BoxAxesMeet(x, b.x) && detail::BoxAxesMeet(y, b.y) && detail::BoxAxesMeet(z, b.z);
    }
    /// CRange::IntersectsInTolerance on every axis.
    bool IntersectsInTolerance(const CBoundingBox3d& b, double tol) const noexcept {
        return x.IntersectsInTolerance(b.x, tol) && y.IntersectsInTolerance(b.y, tol) &&
               z.IntersectsInTolerance(b.z, tol);
    }
    /// out is cleared, then CRange::Overlaps on x, y and z in turn into out's
    /// ranges, stopping at the first axis that fails. out may be this box or b.
    bool Overlaps(const CBoundingBox3d& b, CBoundingBox3d& out) const noexcept;

    /// Squared length of the diagonal: the sum of the squared extents, an empty or
    /// flat axis contributing 0.
    constexpr double GetDiagonalSquared() const noexcept {
        const double ex = x.Extent();
        const double ey = y.Extent();
        const double ez = z.Extent();
        return ex * ex + ey * ey + ez * ez;
    }
    /// Length of the diagonal; 0 when its square is at or below DivideByZeroTolSq.
    double GetDiagonal() const noexcept {
        const double d2 = GetDiagonalSquared();
        return d2 > DivideByZeroTolSq ? std::sqrt(d2) : 0.0;
    }
    /// The centre, (min + max) * 0.5 per axis; (0, 0, 0) for the empty box.
    constexpr CPoint3d GetCenter() const noexcept {
        return {(x.min + x.max) * 0.5, (y.min + y.max) * 0.5, (z.min + z.max) * 0.5};
    }
    /// Same as GetCenter.
    constexpr CPoint3d GetMidPoint() const noexcept { return GetCenter(); }

    /// Grows the box to cover p; the first point added to an empty box sets both
    /// ends of every axis.
    CBoundingBox3d& operator+=(const CPoint3d& p) noexcept {
        x += p.x;
        y += p.y;
        z += p.z;
        return *this;
    }
    /// The same as operator+=(p): grows the box to cover p.
    void Add(const CPoint3d& p) noexcept { *this += p; }
    /// Grows the box to cover b, axis by axis; an empty axis of b is skipped.
    CBoundingBox3d& operator+=(const CBoundingBox3d& b) noexcept {
        x += b.x;
        y += b.y;
        z += b.z;
        return *this;
    }
    /// A copy of this box grown to cover b, axis by axis; an empty axis of b is skipped.
    CBoundingBox3d Union(const CBoundingBox3d& b) const noexcept {
        CBoundingBox3d u = *this;
        u += b;
        return u;
    }
    /// The same as Union(b).
    CBoundingBox3d operator+(const CBoundingBox3d& b) const noexcept { return Union(b); }
    /// A copy grown to include p.
    CBoundingBox3d operator+(const CPoint3d& p) const noexcept {
        CBoundingBox3d u = *this;
        u += p;
        return u;
    }
    /// CRange::Intersect per axis: an axis that does not meet becomes empty while
    /// the others keep their common part.
    CBoundingBox3d Intersect(const CBoundingBox3d& b) const noexcept {
        return {x.Intersect(b.x), y.Intersect(b.y), z.Intersect(b.z)};
    }

    /// Corner 0: (x.min, y.min, z.min). Meaningless for an empty box.
    constexpr CPoint3d GetMinPoint() const noexcept { return {x.min, y.min, z.min}; }
    /// Corner 7: (x.max, y.max, z.max). Meaningless for an empty box.
    constexpr CPoint3d GetMaxPoint() const noexcept { return {x.max, y.max, z.max}; }
    /// Corner i: maximum on x for bit 1, on y for bit 2, on z for bit 4.
    constexpr CPoint3d GetCorner(int i) const noexcept {
        return {(i & 1) != 0 ? x.max : x.min, (i & 2) != 0 ? y.max : y.min, (i & 4) != 0 ? z.max : z.min};
    }
    /// Writes corner i into p, exactly as GetCorner. Despite its name it leaves the
    /// box unchanged; the name is kept for the callers that use it.
    void SetCorner(int i, CPoint3d& p) const noexcept { p = GetCorner(i); }

    /// Sets the maximum of axis 0 (x), 1 (y) or, for any other value, z.
    void SetMaxInRange(int axis, double v) noexcept { (axis == 0 ? x : axis == 1 ? y : z).max = v; }
    /// Sets the minimum of axis 0 (x), 1 (y) or, for any other value, z.
    void SetMinInRange(int axis, double v) noexcept { (axis == 0 ? x : axis == 1 ? y : z).min = v; }

    /// Squared distance from p to the farthest corner: per axis the larger of
    /// |p - min| and |p - max|, squared and summed.
    double MaxDistanceSquaredTo(const CPoint3d& p) const noexcept;

    /// Moves the faces of every non-empty axis out by e.
    void Expand(double e) noexcept {
        x.Expand(e);
        y.Expand(e);
        z.Expand(e);
    }
    /// Gives flat boxes some thickness: every non-empty axis thinner than EqualTol
    /// (strict) is widened on both sides by the largest extent times factor. A
    /// single-point box stays as it is.
    void ExpandRangeIfZero(double factor) noexcept;
    /// Moves the faces of each non-empty axis k out by v_k (in for a negative v_k).
    void Stretch(const CVector3d& v) noexcept {
        if (!x.IsEmpty()) {
            x.min -= v.x;
            x.max += v.x;
        }
        if (!y.IsEmpty()) {
            y.min -= v.y;
            y.max += v.y;
        }
        if (!z.IsEmpty()) {
            z.min -= v.z;
            z.max += v.z;
        }
    }

    /// centre receives the box centre moved onto the given face and normal the
    /// face's outward axis direction. For NoSide (or any other value) centre is the
    /// box centre and normal is left untouched.
    void GetCenterNormal(EBoxSide side, CPoint3d& centre, CUnitVector3d& normal) const noexcept;

    /// True when none of the six values is NaN or infinite (the empty box is valid).
    bool IsValidObj() const noexcept { return x.IsValidObj() && y.IsValidObj() && z.IsValidObj(); }
};

/// An axis-aligned 2D box: ranges x and y. Default-constructed boxes are empty.
class PLENAR_API CBoundingBox2d {
public:
    /// Extent along x; its emptiness decides IsEmpty() of the box.
    CRange x;
    /// Extent along y.
    CRange y;

    /// The empty box.
    constexpr CBoundingBox2d() noexcept = default;
    /// The box of the given ranges.
    constexpr CBoundingBox2d(const CRange& x_, const CRange& y_) noexcept : x(x_), y(y_) {}
    /// The box from its minimum corner to its maximum corner, stored as given.
    constexpr CBoundingBox2d(const CPoint2d& minPoint, const CPoint2d& maxPoint) noexcept
        : x(minPoint.x, maxPoint.x), y(minPoint.y, maxPoint.y) {}

    /// Makes both axes empty (minima 1e30, maxima -1e30).
    void Clear() noexcept {
        x.Clear();
        y.Clear();
    }
    /// True when the x range is empty.
    constexpr bool IsEmpty() const noexcept { return x.IsEmpty(); }

    /// Per axis: an exact face value passes, otherwise strictly within EqualTol
    /// outside the faces. No emptiness test.
    bool Contains(const CPoint2d& p) const noexcept { return x.Contains(p.x) && y.Contains(p.y); }
    /// b lies within this box widened by EqualTol (strict). Unlike the 3D box there
    /// is no emptiness test at all: the stored values are compared as they are.
    bool Contains(const CBoundingBox2d& b) const noexcept { return x.Contains(b.x) && y.Contains(b.y); }
    /// p lies at least EqualTol inside every edge.
    bool ContainsInInterior(const CPoint2d& p) const noexcept {
        return x.ContainsInInterior(p.x) && y.ContainsInInterior(p.y);
    }
    /// b lies at least EqualTol inside every edge. No emptiness test.
    bool ContainsInInterior(const CBoundingBox2d& b) const noexcept {
        return x.ContainsInInterior(b.x) && y.ContainsInInterior(b.y);
    }
    /// Closed test on x then y, no tolerance; false when any axis of either box is
    /// empty.
    constexpr bool Intersects(const CBoundingBox2d& b) const noexcept {
        return detail::BoxAxesMeet(x, b.x) && detail::BoxAxesMeet(y, b.y);
    }
    /// out is cleared, then CRange::Overlaps on x and y in turn, stopping at the
    /// first axis that fails. out may be this box or b.
    bool Overlaps(const CBoundingBox2d& b, CBoundingBox2d& out) const noexcept;

    /// Sum of the squared extents, an empty or flat axis contributing 0.
    constexpr double GetDiagonalSquared() const noexcept {
        const double ex = x.Extent();
        const double ey = y.Extent();
        return ex * ex + ey * ey;
    }
    /// Length of the diagonal; 0 when its square is at or below DivideByZeroTolSq.
    double GetDiagonal() const noexcept {
        const double d2 = GetDiagonalSquared();
        return d2 > DivideByZeroTolSq ? std::sqrt(d2) : 0.0;
    }
    /// The centre, (min + max) * 0.5 per axis; (0, 0) for the empty box.
    constexpr CPoint2d GetCenter() const noexcept { return {(x.min + x.max) * 0.5, (y.min + y.max) * 0.5}; }

    /// Grows the box to cover p; the first point added to an empty box sets both
    /// ends of both axes.
    CBoundingBox2d& operator+=(const CPoint2d& p) noexcept {
        x += p.x;
        y += p.y;
        return *this;
    }
    /// The same as operator+=(p): grows the box to cover p.
    void Add(const CPoint2d& p) noexcept { *this += p; }
    /// Grows the box to cover b, axis by axis; an empty axis of b is skipped.
    CBoundingBox2d& operator+=(const CBoundingBox2d& b) noexcept {
        x += b.x;
        y += b.y;
        return *this;
    }
    /// A copy of this box grown to cover b, axis by axis; an empty axis of b is skipped.
    CBoundingBox2d Union(const CBoundingBox2d& b) const noexcept {
        CBoundingBox2d u = *this;
        u += b;
        return u;
    }
    /// The same as Union(b).
    CBoundingBox2d operator+(const CBoundingBox2d& b) const noexcept { return Union(b); }
    /// A copy grown to include p.
    CBoundingBox2d operator+(const CPoint2d& p) const noexcept {
        CBoundingBox2d u = *this;
        u += p;
        return u;
    }
    /// CRange::Intersect per axis.
    CBoundingBox2d Intersect(const CBoundingBox2d& b) const noexcept { return {x.Intersect(b.x), y.Intersect(b.y)}; }

    /// (x.min, y.min). Meaningless for an empty box.
    constexpr CPoint2d GetMinPoint() const noexcept { return {x.min, y.min}; }
    /// (x.max, y.max). Meaningless for an empty box.
    constexpr CPoint2d GetMaxPoint() const noexcept { return {x.max, y.max}; }
    /// Corner i: maximum on x for bit 1, on y for bit 2.
    constexpr CPoint2d GetCorner(int i) const noexcept {
        return {(i & 1) != 0 ? x.max : x.min, (i & 2) != 0 ? y.max : y.min};
    }

    /// True when none of the four values is NaN or infinite (the empty box is valid).
    bool IsValidObj() const noexcept { return x.IsValidObj() && y.IsValidObj(); }
};

}  // namespace velmor::geometry

#endif
