/// \file
/// The tolerance model: the globals against which every comparison of lengths and
/// coordinates in the library is made.
///
/// Each test reads the global at the moment it runs (never a cached copy), so a
/// client that changes EqualTol changes every test that uses it directly, at once.
/// Tests are strict (q < EqualTol) unless a member says otherwise; whether a given
/// test is strict or inclusive is stated on each member.
///
/// The squared tolerances are computed exactly once, when the library is loaded,
/// from the values EqualTol and EqualTolF have then. They are never recomputed:
/// after a client sets EqualTol = 0.01, EqualTolSq still holds 1e-6, so tests on
/// squared lengths keep the load-time tolerance. This is deliberate. Before
/// load-time initialisation has run the squared values read 0, so code running
/// during another library's static initialisation must not rely on them.
///
/// The globals are plain variables without synchronisation: changing EqualTol
/// while other threads compute needs the caller's own locking.
#ifndef PLENAR_GEOMETRY_TOL_H
#define PLENAR_GEOMETRY_TOL_H

#include <geometry/export.h>

namespace velmor::geometry {

/// Length tolerance, 0.001 model units: two positions closer than this are the
/// same, and a length below it is zero. Writable; read at every test.
PLENAR_API extern double EqualTol;
/// The same for the single-precision 2D drawing geometry, 0.001f. Writable.
PLENAR_API extern float EqualTolF;
/// 2.28e-8, for clients comparing latitudes and longitudes; the library never
/// reads it.
PLENAR_API extern double EqualTolLatLong;
/// EqualTol squared (1e-6), for comparing squared lengths. Set once at load time
/// from the EqualTol of that moment; it does not follow later changes of EqualTol.
PLENAR_API extern double EqualTolSq;
/// EqualTolF squared, computed in float at load time; like EqualTolSq it does not
/// follow later changes of EqualTolF.
PLENAR_API extern float EqualTolSqF;
/// 1e-10, constant: a divisor of smaller magnitude counts as zero (each member
/// states whether its guard is < or <=).
PLENAR_API extern const double DivideByZeroTol;
/// 1e-20, constant: a squared length at or below it is a zero length.
PLENAR_API extern const double DivideByZeroTolSq;

/// \name Fixed thresholds
/// A few algorithms compare with fixed absolute thresholds of their own rather
/// than with the globals above: they are not scaled by the lengths involved and do
/// not follow a change of EqualTol. Each has one name here; the members that use
/// them state whether their test is strict or inclusive.
/// @{
/// 1e-10: two directions count as parallel in the closest-point, line distance and
/// 2D segment intersection routines when their cross-product measure is below it.
constexpr double ParallelThreshold = 1e-10;
/// 1e-10: a 2D float vector or chord no longer than this has no usable direction
/// (it cannot be rescaled, and a curve whose end points are this close is not
/// tested as a line).
constexpr double MinDirectionLength = 1e-10;
/// 1e-10: a plane fit gives up when the best 2x2 moment determinant of the centred
/// points is below it (the points are collinear or coincident).
constexpr double PlaneFitDeterminantThreshold = 1e-10;
/// 1e-10: a rectangle side not above this maps every point to 0 along that side.
constexpr double DegenerateSideThreshold = 1e-10;
/// @}

}  // namespace velmor::geometry

#endif
