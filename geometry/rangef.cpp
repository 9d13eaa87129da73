// Rangef is wholly inline; this unit anchors it in the library's source layout.
#include <geometry/rangef.h>
