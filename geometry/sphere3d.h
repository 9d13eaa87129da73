/// \file
/// CSphere3d: a sphere given by its centre and radius.
///
/// A plain value: the radius is stored as given and never validated, so a negative
/// radius stays negative. The default value is the zero sphere at the origin.
#ifndef PLENAR_GEOMETRY_SPHERE3D_H
#define PLENAR_GEOMETRY_SPHERE3D_H

#include <geometry/export.h>
#include <geometry/point3d.h>

#include <cmath>

namespace velmor::geometry {

/// A sphere: centre and radius, stored as given. The zero sphere at the origin by default.
class PLENAR_API CSphere3d {
public:
    /// Centre.
    CPoint3d center;
    /// Radius, never validated (a negative value stays negative).
    double radius;

    /// Radius 0 at the origin.
    constexpr CSphere3d() noexcept : center(), radius(0.0) {}
    /// Stores both values as given.
    constexpr CSphere3d(const CPoint3d& c, double r) noexcept : center(c), radius(r) {}

    /// True when the centre and the radius are all finite.
    bool IsValidObj() const noexcept { return center.IsValidObj() && std::isfinite(radius); }
};

}  // namespace velmor::geometry

#endif
