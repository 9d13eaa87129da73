// A tiny client of the installed library: includes public headers the way users
// do, reads the exported globals and calls exported functions.
#include <geometry/point3d.h>
#include <geometry/point4d.h>
#include <geometry/tol.h>

#include <cstring>
#include <iostream>

int main() {
    using namespace velmor::geometry;
    CVector3d v(3.0, 4.0, 0.0);
    double length = 0.0;
    const bool ok = v.Normalize(length);
    const CPoint3d p(1.0, 2.0, 3.0);
    if (!ok || length != 5.0 || EqualTolSq != 1e-06 || PlenarVersionNumber != 16.0 ||
        std::strstr(PlenarVersionString, "plenar-16.0.19913") == nullptr || !p.Equals(p + v * 1e-4, EqualTol)) {
        std::cerr << "installed library misbehaves\n";
        return 1;
    }
    std::cout << "libPlenar " << PlenarVersionNumber << " " << p << "\n";
    return 0;
}
