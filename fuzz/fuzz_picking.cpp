// Fuzz target: the picking machinery: selection filters (volumes, planes, select
// all and owning combinations, cloned and transformed), the triangle clipper and
// the homogeneous line clipper against the view volume's sides and depth limits.
#include <geometry/boundingbox.h>
#include <geometry/geomfilter.h>
#include <geometry/lineclipper.h>
#include <geometry/plane.h>
#include <geometry/point4d.h>
#include <geometry/transformation.h>
#include <geometry/triangleclipper.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include "fuzz_input.h"

using namespace velmor::geometry;
using plenar_fuzz::Consume;
using plenar_fuzz::FuzzInput;

namespace {

CPlane ReadPlane(FuzzInput& in) {
    if ((in.Byte() & 3) == 0) {
        CPlane pl;
        pl.a = in.Double();
        pl.b = in.Double();
        pl.c = in.Double();
        pl.d = in.Double();
        return pl;
    }
    const CPoint3d p = in.Point3d();
    return CPlane(p, in.UnitVector3d());
}

CBoundingBox3d ReadBox(FuzzInput& in) {
    if ((in.Byte() & 7) == 0) return CBoundingBox3d();
    const CPoint3d lo = in.Point3d();
    return CBoundingBox3d(lo, in.Point3d());
}

// A filter of any kind; combinations nest up to `depth` levels.
std::unique_ptr<IGeomFilter> ReadFilter(FuzzInput& in, int depth) {
    switch (in.Byte() % 6) {
        case 0:
        case 1: {
            CPlane planes[6];
            for (CPlane& pl : planes) pl = ReadPlane(in);
            if (in.Bool()) planes[5].d = CGeomFilterVolume::AbsentPlaneD;
            if (in.Bool()) {
                return std::make_unique<CGeomFilterInsideVolume>(planes[0], planes[1], planes[2], planes[3], planes[4],
                                                                 planes[5]);
            }
            return std::make_unique<CGeomFilterCrossingVolume>(planes[0], planes[1], planes[2], planes[3], planes[4],
                                                               planes[5]);
        }
        case 2:
            return std::make_unique<CGeomFilterPlane>(ReadPlane(in));
        case 3:
            return std::make_unique<CGeomFilterAbovePlane>(ReadPlane(in));
        case 4:
            return std::make_unique<CGeomFilterSelectAll>();
        default: {
            auto combined = std::make_unique<CGeomFilterCombined>();
            if (depth > 0) {
                const int n = in.Count(4);
                for (int i = 0; i < n; ++i) combined->Add(ReadFilter(in, depth - 1).release());
            }
            return combined;
        }
    }
}

void FuzzFilter(FuzzInput& in) {
    std::unique_ptr<IGeomFilter> filter = ReadFilter(in, 3);
    if (in.Bool()) {
        std::unique_ptr<IGeomFilter> clone(filter->Clone());
        CTransformation t;
        if (in.Bool()) {
            const CPoint3d p = in.Point3d();
            const CUnitVector3d axis = in.UnitVector3d();
            t = CTransformation::Rotate(p, axis, in.Double());
        } else {
            double m16[16];
            for (double& v : m16) v = in.Double();
            t = CTransformation(m16);
        }
        clone->Transform(t);
        filter = std::move(clone);
    }
    const int tests = in.Count(8);
    for (int i = 0; i < tests; ++i) {
        switch (in.Byte() & 3) {
            case 0:
                Consume(filter->Test(in.Point3d()));
                break;
            case 1: {
                const CPoint3d a = in.Point3d();
                Consume(filter->Test(a, in.Point3d()));
                break;
            }
            case 2:
                Consume(filter->Test(ReadBox(in)));
                break;
            default: {
                bool fully = false;
                Consume(filter->Test(ReadBox(in), fully));
                Consume(fully);
                break;
            }
        }
    }
    Consume(filter->GetFrustumPlane(in.Int(-2, 7)));
    if (auto* volume = dynamic_cast<CGeomFilterVolume*>(filter.get())) {
        Consume(volume->HasPlane5());
        Consume(volume->planes[5].d);
    }
}

void FuzzTriangleClipper(FuzzInput& in) {
    std::vector<CPoint3d> pool = in.List<CPoint3d>(16, [&in] { return in.Point3d(); });
    // Each plane can split every piece in two: a dozen planes keep the worst case
    // (4096 pieces per triangle) small.
    std::vector<ClipPlane> planes;
    const int n = in.Count(12);
    for (int i = 0; i < n; ++i) {
        const bool keepGreater = in.Bool();
        const double value = in.Double();
        planes.emplace_back(keepGreater, value, in.Int(-1, 3));
    }
    TriangleClipper clipper(&pool, planes);
    if (in.Bool()) Consume(clipper.AddClipPlane(ClipPlane(in.Bool(), in.Double(), in.Int(0, 2))));
    std::vector<TriangleClipper::IndexedTriangle> result;
    const int triangles = in.Count(4);
    for (int i = 0; i < triangles; ++i) {
        // Indices may fall outside the pool: the clipper reports that with
        // std::out_of_range, by design.
        const int limit = static_cast<int>(pool.size()) + 1;
        TriangleClipper::IndexedTriangle t{{in.Int(-1, limit), in.Int(-1, limit), in.Int(-1, limit)}};
        try {
            if (in.Bool() && !clipper.clipPlanes.empty()) {
                clipper.ClipToPlane(clipper.clipPlanes[0], t, &result);
            } else {
                clipper.ClipToExtents(t, &result);
            }
        } catch (const std::out_of_range&) {
            Consume(i);
        }
    }
    // With no planes a triangle passes through unchecked, so only in-range indices
    // are read back.
    for (const auto& t : result) {
        for (int index : t.indices) {
            if (index >= 0 && static_cast<std::size_t>(index) < pool.size()) Consume(pool[index]);
        }
    }
    const ClipPlane plane(in.Bool(), in.Double(), in.Int(0, 2));
    const CPoint3d a = in.Point3d();
    const CPoint3d b = in.Point3d();
    Consume(plane.IsInside(a));
    Consume(plane.Intersection(a, b));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    plenar_fuzz::ToleranceScope scope;
    LineClipper clipper;
    int steps = 0;
    while (!in.Empty() && steps++ < 128) {
        switch (in.Byte() % 7) {
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
            case 4:
                FuzzFilter(in);
                break;
            case 5:
                FuzzTriangleClipper(in);
                break;
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
