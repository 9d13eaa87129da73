/// \file
/// LineClipper: clips a segment given in homogeneous clip coordinates against the
/// canonical view volume, before any perspective division.
///
/// Either the four side planes (-w <= x <= w, -w <= y <= w) or the two depth planes
/// (-d*w <= z <= d*w, d = depthLimit) are used. Each plane gives a boundary
/// coordinate that is >= 0 on the inner side; a point is outside a plane only when
/// its coordinate is strictly negative, so a point on a plane is inside. Because
/// the test is made on the homogeneous values, segments that cross w = 0 clip
/// without dividing by w.
///
/// The visible part is reported as the parameter interval [tMin, tMax] on
/// p0 + t*(p1 - p0), t = 0 at p0 and 1 at p1, interpolated in homogeneous
/// coordinates. A plain aggregate: the caller sets depthLimit; Clip writes tMin and
/// tMax only when the segment is cut.
#ifndef PLENAR_GEOMETRY_LINECLIPPER_H
#define PLENAR_GEOMETRY_LINECLIPPER_H

#include <geometry/export.h>
#include <geometry/point4d.h>

namespace velmor::geometry {

/// What LineClipper::Clip found visible of a segment.
enum EClipResult : int { NothingVisible = 0, AllVisible = 1, PartVisible = 2 };

/// Clips homogeneous segments against the side or depth planes of the view volume and reports the visible
/// parameter interval. A plain value: no pool, nothing owned.
class PLENAR_API LineClipper {
public:
    /// d: the depth planes are z/w = -d and z/w = d. Set before depth clipping or
    /// clamping; 1 is the canonical volume.
    double depthLimit = 1.0;
    /// Start of the visible parameter interval, written by Clip.
    double tMin = 0.0;
    /// End of the visible parameter interval, written by Clip.
    double tMax = 1.0;

    /// Fills bc with the boundary coordinates of p and returns its outcode.
    /// sides: four values x + w, w - x, y + w, w - y. Otherwise two values
    /// d*w + z, d*w - z (bc[2] and bc[3] are not written). Bit i of the outcode is
    /// set when bc[i] < 0 (strict: on the plane is inside).
    unsigned int CalculateBoundaryCoordinates(bool sides, const CPoint4d& p, double* bc) const noexcept;

    /// Clips p0-p1 (an EClipResult). NothingVisible (0) when nothing is inside,
    /// AllVisible (1) when all of it is inside (tMin and tMax are then left as they
    /// were, so callers can keep their own values), PartVisible (2) when part of it
    /// is inside (tMin, tMax give that part). NothingVisible found while narrowing
    /// the interval leaves tMin, tMax at the values reached.
    int Clip(bool sides, const CPoint4d& p0, const CPoint4d& p1) noexcept;

    /// Clamps the normalised depth z/w of p into [-d, d] and writes z = w * (z/w);
    /// x, y and w are unchanged. An in-range depth is rewritten too, so z may move
    /// by the rounding of that round trip. Unguarded: w must not be 0.
    void ClampToNearFarPlaneZ(CPoint4d& p) const noexcept;
};

}  // namespace velmor::geometry

#endif
