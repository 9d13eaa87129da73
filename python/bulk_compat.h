// The bulk entry points the Python bulk calls are built on: the selection tests of
// geometry/geomfilter.h and the welding index of geometry/meshwelder.h. Where this
// library's headers already declare them they are used as they are; otherwise the
// stand-ins below give the same answers by calling the per-item members in order,
// so that the module has one set of names to call either way.
#ifndef PLENAR_PYTHON_BULK_COMPAT_H
#define PLENAR_PYTHON_BULK_COMPAT_H

#include <geometry/boundingbox.h>
#include <geometry/geomfilter.h>
#include <geometry/point3d.h>
#include <geometry/polygonmesh.h>

#include <cstddef>

#if defined(PLENAR_PYTHON_HAVE_MESH_WELDER)
#include <geometry/meshwelder.h>
#endif

namespace plenar_python {

#if defined(PLENAR_PYTHON_HAVE_BULK_FILTERS)
using velmor::geometry::TestBoxes;
using velmor::geometry::TestPoints;
using velmor::geometry::TestSegments;
#else
/// accepted[i] = filter.Test(boxes[i], fullyAccepted[i]), or Test(boxes[i]) when
/// fullyAccepted is null.
inline void TestBoxes(velmor::geometry::IGeomFilter& filter, const velmor::geometry::CBoundingBox3d* boxes,
                      std::size_t n, bool* accepted, bool* fullyAccepted) {
    for (std::size_t i = 0; i < n; ++i) {
        if (fullyAccepted != nullptr) {
            bool full = false;
            accepted[i] = filter.Test(boxes[i], full);
            fullyAccepted[i] = full;
        } else {
            accepted[i] = filter.Test(boxes[i]);
        }
    }
}
/// accepted[i] = filter.Test(points[i]).
inline void TestPoints(velmor::geometry::IGeomFilter& filter, const velmor::geometry::CPoint3d* points, std::size_t n,
                       bool* accepted) {
    for (std::size_t i = 0; i < n; ++i) accepted[i] = filter.Test(points[i]);
}
/// accepted[i] = filter.Test(endpoints[2i], endpoints[2i + 1]).
inline void TestSegments(velmor::geometry::IGeomFilter& filter, const velmor::geometry::CPoint3d* endpoints,
                         std::size_t n, bool* accepted) {
    for (std::size_t i = 0; i < n; ++i) accepted[i] = filter.Test(endpoints[2 * i], endpoints[2 * i + 1]);
}
#endif

#if defined(PLENAR_PYTHON_HAVE_MESH_WELDER)
using velmor::geometry::CMeshWelder;
#else
/// The welding index's interface over the mesh's own linear scans: the same answers
/// and effects, without the speed.
class CMeshWelder {
public:
    explicit CMeshWelder(velmor::geometry::CPolygonMesh& mesh) : mesh_(&mesh) {}
    long InsertPoint(const velmor::geometry::CPoint3d& point) { return mesh_->InsertPoint(point); }
    long FindPoint(const velmor::geometry::CPoint3d& point) { return mesh_->FindPoint(point); }
    void InsertPoints(const velmor::geometry::CPoint3d* points, std::size_t n, long* indices) {
        for (std::size_t i = 0; i < n; ++i) indices[i] = mesh_->InsertPoint(points[i]);
    }
    long AddPolygon(long count, const velmor::geometry::CPoint3d* points) { return mesh_->AddPolygon(count, points); }
    velmor::geometry::CPolygonMesh& Mesh() const { return *mesh_; }

private:
    velmor::geometry::CPolygonMesh* mesh_;
};
#endif

}  // namespace plenar_python

#endif
