// Library identity, and (with the homogeneous point types) the 4D values of
// libPlenar.
//
// PlenarVersionString and PlenarVersionNumber are exported under plain C symbol
// names, outside any namespace, so that tools can find them in the binary.
#ifndef PLENAR_GEOMETRY_POINT4D_H
#define PLENAR_GEOMETRY_POINT4D_H

#include <geometry/export.h>

extern "C" {
/// "@(#)PROGRAM:Plenar  PROJECT:plenar-16.0.19913\n"
PLENAR_API extern const char PlenarVersionString[];
/// 16.0
PLENAR_API extern const double PlenarVersionNumber;
}

#endif
