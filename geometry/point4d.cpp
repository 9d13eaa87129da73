#include <geometry/point4d.h>

extern "C" {
const char PlenarVersionString[] = "@(#)PROGRAM:Plenar  PROJECT:plenar-16.0.19913\n";
const double PlenarVersionNumber = 16.0;
}
