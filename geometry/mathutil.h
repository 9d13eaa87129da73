// Free geometry functions of libPlenar: closest points of lines and segments,
// projection parameters, collinearity and on-segment tests, points along an arc,
// tolerant 2D segment intersection and point-in-polygon classification.
//
// The tolerance globals themselves are declared in geometry/tol.h and defined,
// with their load-time initialisation, beside these functions.
#ifndef PLENAR_GEOMETRY_MATHUTIL_H
#define PLENAR_GEOMETRY_MATHUTIL_H

#include <geometry/export.h>
#include <geometry/tol.h>

#endif
