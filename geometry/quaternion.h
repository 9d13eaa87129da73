/// \file
/// Quaternion: a rotation held as four doubles, the vector part (x, y, z) then the
/// scalar part w. A rotation by angle a about the unit axis u is (u*sin(a/2),
/// cos(a/2)); q and -q are the same rotation.
///
/// Rotation matrices exchanged with this class are nine doubles, row-major
/// (element (r, c) at index 3r + c), acting on column vectors: the image of the X
/// axis is the first column. Both rotation constructors normalise, without a guard
/// (a zero quaternion becomes NaN); Set, Slerp and GetAxisAndAngle take the
/// quaternion as it is and never renormalise. The conversion from a matrix uses the
/// fixed threshold 1e-9 on the trace and Slerp the fixed threshold 1e-6; neither is
/// one of the global tolerances.
#ifndef PLENAR_GEOMETRY_QUATERNION_H
#define PLENAR_GEOMETRY_QUATERNION_H

#include <geometry/export.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

namespace velmor::geometry {

/// A rotation as a quaternion (x, y, z, w): vector part, then scalar part. The identity by default.
class PLENAR_API Quaternion {
public:
    /// x of the vector part: axis.x * sin(angle/2) for a unit quaternion.
    double x;
    /// y of the vector part.
    double y;
    /// z of the vector part.
    double z;
    /// Scalar part: cos(angle/2) for a unit quaternion.
    double w;

    /// The identity rotation (0, 0, 0, 1).
    constexpr Quaternion() noexcept : x(0.0), y(0.0), z(0.0), w(1.0) {}
    /// Stores the four components as given, without normalising.
    constexpr Quaternion(double x_, double y_, double z_, double w_) noexcept : x(x_), y(y_), z(z_), w(w_) {}
    /// Rotation by angle radians about axis: (axis*sin(angle/2), cos(angle/2)),
    /// then normalised. The axis is not normalised again beforehand.
    Quaternion(double angle, const CUnitVector3d& axis) noexcept;
    /// From a row-major 3x3 rotation matrix, then normalised. Uses the trace when
    /// it exceeds 1e-9, otherwise the largest diagonal element; ties between
    /// diagonal elements go to the later one.
    explicit Quaternion(const double* matrix) noexcept;

    /// Writes the row-major rotation matrix of this quaternion into matrix[0..8].
    /// The quaternion is used as it stands, not normalised first.
    void Set(double* matrix) const noexcept;

    /// Spherical interpolation from a (t = 0) to b (t = 1) along the shorter arc:
    /// a is negated when a.b < 0. Nearly equal rotations blend linearly. The
    /// result is not renormalised.
    static Quaternion Slerp(Quaternion a, Quaternion b, double t) noexcept;

    /// angle = 2*acos(w) and axis = (x, y, z) / sin(angle/2). No guard: the
    /// identity rotation (w = 1) divides by zero and yields a non-finite axis, and
    /// |w| rounded above 1 gives a NaN angle; callers handle the identity first.
    void GetAxisAndAngle(CVector3d& axis, double& angle) const noexcept;

    /// Exact component-wise comparison (q and -q compare unequal).
    constexpr bool operator==(const Quaternion& q) const noexcept {
        return x == q.x && y == q.y && z == q.z && w == q.w;
    }
    /// Exact comparison.
    constexpr bool operator!=(const Quaternion& q) const noexcept { return !(*this == q); }
};

}  // namespace velmor::geometry

#endif
