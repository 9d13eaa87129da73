/// \file
/// Projective mapping between an axis-aligned rectangle in (u, v) and an arbitrary
/// quadrilateral in (x, y), after Heckbert's mapping of the unit square onto a
/// quadrilateral, plus the 3x3 helpers the matrix classes share.
///
/// Matrices are double[3][3], row-major, used with row vectors: (u, v, 1) maps to
/// (x*w, y*w, w) = (u, v, 1) * M, and the caller divides by w; nothing here ever
/// does. A quadrilateral is double[4][2], corners in order around the boundary:
/// corner 0 is the rectangle's (u0, v0), 1 is (u1, v0), 2 is (u1, v1), 3 is
/// (u0, v1).
///
/// Result codes: -1 the mapping cannot be built (empty rectangle, degenerate
/// quadrilateral), 0 affine, 1 projective. The quadrilateral counts as a
/// parallelogram (affine) when both of its corner-alternating sums lie strictly
/// inside (-1e-13, 1e-13); degeneracy is only an exactly zero determinant. On -1 the
/// output matrix is left as it was.
#ifndef PLENAR_GEOMETRY_PMAP_H
#define PLENAR_GEOMETRY_PMAP_H

#include <geometry/export.h>

namespace velmor::geometry {

/// The mapping SQ from the unit square onto quad. Returns -1, 0 or 1.
PLENAR_API int pmap_square_quad(double (*quad)[2], double (*SQ)[3]);

/// The mapping QR from quad onto the rectangle (u0, v0)-(u1, v1): the adjoint of the
/// rectangle-to-quad mapping, not divided by its determinant (a projective mapping
/// is unchanged by a scalar factor). Returns the code of the square mapping, or -1
/// for an empty rectangle (u0 == u1 or v0 == v1 exactly) or a degenerate quad.
PLENAR_API int pmap_quad_rect(double u0, double v0, double u1, double v1, double (*quad)[2], double (*QR)[3]);

/// b = adjoint of a (b[i][j] is the cofactor of a[j][i]). Returns
/// a00*b00 - a01*b01 + a02*b02, which is the determinant only in special cases
/// (for instance a01 == a02 == 0); CMatrix3x3::Inverse divides by exactly this
/// value. b must not alias a.
PLENAR_API double mx3d_adjoint(const double (*a)[3], double (*b)[3]);

/// c = a * b. c must not alias a or b.
PLENAR_API void mx3d_mul(const double (*a)[3], const double (*b)[3], double (*c)[3]);

/// q = p * m for the row vector p of three values. q must not alias p.
PLENAR_API void mx3d_transform(const double* p, const double (*m)[3], double* q);

}  // namespace velmor::geometry

#endif
