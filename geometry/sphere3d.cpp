// CSphere3d is wholly inline; this file keeps the one-source-per-type layout.
#include <geometry/sphere3d.h>
