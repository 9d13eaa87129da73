// Fuzz target: the picking machinery: the homogeneous line clipper against the
// view volume's sides and depth limits.
#include <geometry/lineclipper.h>
#include <geometry/point4d.h>

#include <cstddef>
#include <cstdint>

#include "fuzz_input.h"

using namespace velmor::geometry;
using plenar_fuzz::Consume;
using plenar_fuzz::FuzzInput;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    plenar_fuzz::ToleranceScope scope;
    LineClipper clipper;
    int steps = 0;
    while (!in.Empty() && steps++ < 128) {
        switch (in.Byte() % 4) {
            case 0:
                plenar_fuzz::ToleranceScope::Mutate(in);
                break;
            case 1: {
                clipper.depthLimit = in.Double();
                const bool sides = in.Bool();
                const CPoint4d p0 = in.Point4d();
                const CPoint4d p1 = in.Point4d();
                Consume(clipper.Clip(sides, p0, p1));
                Consume(clipper.tMin);
                Consume(clipper.tMax);
                break;
            }
            case 2: {
                double bc[4] = {};
                Consume(clipper.CalculateBoundaryCoordinates(in.Bool(), in.Point4d(), bc));
                Consume(bc);
                break;
            }
            default: {
                CPoint4d p = in.Point4d();
                clipper.depthLimit = in.Double();
                clipper.ClampToNearFarPlaneZ(p);
                Consume(p);
                break;
            }
        }
    }
    return 0;
}
