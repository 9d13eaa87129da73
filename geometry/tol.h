// libPlenar: the tolerance model.
//
// Every comparison of lengths and coordinates in the library is made against the
// globals below, read at the moment of each test (never cached), so a client that
// changes EqualTol changes every test that uses it directly, at once.
//
//   EqualTol        0.001 model units. Two positions closer than this are the same;
//                   a length below it is zero. Tests are strict (q < EqualTol)
//                   unless a member says otherwise.
//   EqualTolF       the same for single-precision 2D drawing geometry (0.001f).
//   EqualTolSq      EqualTol squared (1e-6), for comparing squared lengths.
//   EqualTolSqF     EqualTolF squared, computed in float.
//   EqualTolLatLong 2.28e-8, for clients comparing latitudes and longitudes; the
//                   library never reads it.
//   DivideByZeroTol   1e-10, constant: a divisor of smaller magnitude counts as zero.
//   DivideByZeroTolSq 1e-20, constant: a squared length at or below it is zero.
//
// The squared tolerances are computed exactly once, when the library is loaded,
// from the values EqualTol and EqualTolF have then. They are never recomputed:
// after a client sets EqualTol = 0.01, EqualTolSq still holds 1e-6. Tests on
// squared lengths therefore keep the load-time tolerance. This is deliberate.
// Before load-time initialisation has run the squared values read 0.
//
// The globals are plain variables without synchronisation: changing EqualTol
// while other threads compute needs the caller's own locking.
#ifndef PLENAR_GEOMETRY_TOL_H
#define PLENAR_GEOMETRY_TOL_H

#include <geometry/export.h>

namespace velmor::geometry {

PLENAR_API extern double EqualTol;
PLENAR_API extern float EqualTolF;
PLENAR_API extern double EqualTolLatLong;
PLENAR_API extern double EqualTolSq;
PLENAR_API extern float EqualTolSqF;
PLENAR_API extern const double DivideByZeroTol;
PLENAR_API extern const double DivideByZeroTolSq;

}  // namespace velmor::geometry

#endif
