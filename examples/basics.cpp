// A first look at libPlenar: the library's identity, the tolerance model, and
// normalising, comparing and ordering vectors and points.
#include <geometry/point3d.h>
#include <geometry/point4d.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <iostream>

int main() {
    using namespace velmor::geometry;

    std::cout << "libPlenar " << PlenarVersionNumber << ": " << PlenarVersionString;
    std::cout << "EqualTol " << EqualTol << ", EqualTolSq " << EqualTolSq << ", DivideByZeroTol " << DivideByZeroTol
              << "\n\n";

    CVector3d v(3.0, 4.0, 0.0);
    double length = 0.0;
    v.Normalize(length);
    std::cout << "(3, 4, 0) normalised is " << v << ", its length was " << length << "\n";

    const CUnitVector3d z(0.0, 0.0, 5.0);
    CUnitVector3d xAxis, yAxis;
    z.GetArbitraryAxes(xAxis, yAxis);
    std::cout << "a frame around " << CVector3d(z) << ": x " << CVector3d(xAxis) << ", y " << CVector3d(yAxis) << "\n";
    std::cout << "counter-clockwise angle from x to y about z: "
              << z.CCWAngleBetween(CVector3d(xAxis), CVector3d(yAxis)) << " rad\n";

    const CPoint3d a(1.0, 2.0, 3.0);
    const CPoint3d nearA(1.0005, 2.0, 3.0);
    const CPoint3d farA(1.002, 2.0, 3.0);
    std::cout << a << " equals " << nearA << " within EqualTol: " << std::boolalpha << a.Equals(nearA, EqualTol)
              << "\n";
    std::cout << a << " equals " << farA << " within EqualTol: " << a.Equals(farA, EqualTol) << "\n";
    std::cout << a << " < " << farA << " in the tolerant order: " << (a < farA) << "\n";

    CPoint3d crossing;
    double t = 0.0, u = 0.0;
    const int code = crossing.Intersect({0, 0, 0}, {2, 2, 0}, {0, 2, 0}, {2, 0, 0}, &t, &u);
    std::cout << "segments (0,0,0)-(2,2,0) and (0,2,0)-(2,0,0) meet at " << crossing << ", code " << code << ", t " << t
              << ", u " << u << "\n";
    return 0;
}
