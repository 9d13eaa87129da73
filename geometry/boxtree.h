/// \file
/// CBoxTree: a bounding-box hierarchy over n indexed boxes (the bounds of triangles,
/// of objects, of anything a pick has to search), built once and then queried with a
/// selection filter or a ray.
///
/// Contract: every query answers exactly what testing each box on its own would.
///   - Visit(filter) reports box i when filter.Test(box i, fullyAccepted) accepts it,
///     with that test's fullyAccepted flag. A subtree whose box the filter rejects is
///     skipped, and one whose box it fully accepts is reported whole without looking
///     inside. This relies on the filter being monotone (a box inside a rejected box
///     is rejected, a box inside a fully accepted box is fully accepted), which every
///     filter of this library is, bit for bit: the box classification takes one
///     corner per plane and rounding is monotone.
///   - VisitRay(ray) reports box i when ray.IntersectWith(box i, hit, side) is true,
///     with that hit and side, in increasing order of the entry parameter t (0 for an
///     origin inside the box, otherwise the parameter of the entry face); equal
///     parameters come in increasing index. The hierarchy's own ray test is wider
///     than the box test by a relative margin, so it never drops a box the box test
///     would hit, however the ray grazes an edge or a corner.
///
/// Boxes that are empty on any axis, or hold a NaN or an infinity, are kept outside
/// the hierarchy and tested one by one on every query, so they get exactly the
/// answer a direct test gives. A ray whose origin or direction is not finite meets
/// no box here (the box test would report a NaN origin inside every box; the tree
/// deliberately does not).
///
/// Storage is flat (a node array, and the boxes copied in leaf order), so the tree
/// does not refer to the caller's array after the build. The build bounds the depth
/// by MaxDepth (the surface-area split gives way to the median split where it would
/// go deeper), so the queries walk with a fixed stack and allocate nothing beyond
/// the caller's output. The queries are const and may run on one tree from several
/// threads at once; IGeomFilter::Test is not const, so each thread needs its own
/// filter (Clone).
#ifndef PLENAR_GEOMETRY_BOXTREE_H
#define PLENAR_GEOMETRY_BOXTREE_H

#include <geometry/boundingbox.h>
#include <geometry/export.h>
#include <geometry/geomfilter.h>
#include <geometry/point3d.h>
#include <geometry/ray3d.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

namespace velmor::geometry {

/// A box hierarchy built once over indexed boxes and queried with filters and rays.
class PLENAR_API CBoxTree {
public:
    /// How a node's boxes are divided between its two children.
    enum ESplit : int {
        /// Binned surface-area heuristic on the box centres: fewer boxes tested per query.
        SurfaceArea = 0,
        /// Halves by count along the axis of widest spread of the centres: faster to build.
        Median = 1
    };

    /// One box met by a ray: its index, the entry parameter and the box test's hit and side.
    struct RayHit {
        long index;
        double t;
        CPoint3d point;
        EBoxSide side;
    };

    /// A node: its box, the run of leaf-ordered boxes below it, and its second child.
    /// The first child of an inner node is the next node; right is 0 for a leaf.
    struct Node {
        CBoundingBox3d box;
        std::int32_t first;
        std::int32_t count;
        std::int32_t right;
        std::int32_t depth;
    };

    /// No node is deeper than this (the root has depth 0).
    static constexpr int MaxDepth = 48;
    /// The largest number of boxes a leaf may hold.
    static constexpr int MaxLeafSize = 64;
    /// The most boxes a tree can index.
    static constexpr std::size_t MaxBoxes = 0x7fffffff;

    /// An empty tree: every query reports nothing.
    CBoxTree() = default;
    /// Builds over boxes[0..n-1]; see Build.
    CBoxTree(const CBoundingBox3d* boxes, std::size_t n, ESplit split = SurfaceArea, int leafSize = 4) {
        Build(boxes, n, split, leafSize);
    }

    /// Replaces the tree with one over boxes[0..n-1], box i keeping index i. leafSize
    /// is clamped to 1..MaxLeafSize. False, leaving an empty tree, when n exceeds
    /// MaxBoxes or boxes is null with n > 0.
    bool Build(const CBoundingBox3d* boxes, std::size_t n, ESplit split = SurfaceArea, int leafSize = 4);

    /// The number of boxes indexed.
    std::size_t Size() const noexcept { return ids_.size() + oddIds_.size(); }
    /// The number of nodes (0 when no box is finite and non-empty).
    std::size_t NodeCount() const noexcept { return nodes_.size(); }
    /// The deepest node's depth; -1 without nodes.
    int Depth() const noexcept { return depth_; }
    /// The nodes, root first; for inspection.
    const std::vector<Node>& Nodes() const noexcept { return nodes_; }
    /// The box of all finite, non-empty boxes (empty without any).
    CBoundingBox3d Bounds() const noexcept { return nodes_.empty() ? CBoundingBox3d() : nodes_[0].box; }

    /// Calls visit(long index, bool fullyAccepted) for every box the filter accepts,
    /// each once, in the tree's order; visit returns false to stop. Returns false
    /// when visit stopped the walk.
    template <typename Visitor>
    bool Visit(IGeomFilter& filter, Visitor&& visit) const {
        using V = std::remove_reference_t<Visitor>;
        return VisitFilter(
            filter,
            [](void* context, long index, bool fullyAccepted) -> bool {
                return (*static_cast<V*>(context))(index, fullyAccepted);
            },
            const_cast<void*>(static_cast<const void*>(&visit)));
    }
    /// Appends the indices of the boxes the filter accepts, in increasing order.
    void Collect(IGeomFilter& filter, std::vector<long>& indices) const;

    /// Calls visit(const RayHit&) for every box the ray meets, nearest entry first;
    /// visit returns false to stop (once the nearest hit of what the boxes hold is
    /// nearer than the next box's t, nothing further can beat it). Returns false when
    /// visit stopped the walk. The walk gathers the boxes in passes, the first for
    /// the nearest box alone, then batches doubling up to RayBatch: stopping at the
    /// first boxes is cheap, and visiting everything costs a pass per RayBatch boxes.
    template <typename Visitor>
    bool VisitRay(const CRay3d& ray, Visitor&& visit) const {
        using V = std::remove_reference_t<Visitor>;
        return VisitRayHits(
            ray, [](void* context, const RayHit& hit) -> bool { return (*static_cast<V*>(context))(hit); },
            const_cast<void*>(static_cast<const void*>(&visit)));
    }
    /// Appends every box the ray meets, in the order VisitRay reports them.
    void CollectRay(const CRay3d& ray, std::vector<RayHit>& hits) const;

    /// Boxes per pass of VisitRay.
    static constexpr int RayBatch = 32;

private:
    using FilterCallback = bool (*)(void*, long, bool);
    using RayCallback = bool (*)(void*, const RayHit&);

    bool VisitFilter(IGeomFilter& filter, FilterCallback callback, void* context) const;
    bool VisitRayHits(const CRay3d& ray, RayCallback callback, void* context) const;

    std::vector<Node> nodes_;
    std::vector<CBoundingBox3d> boxes_;     ///< finite, non-empty boxes in leaf order
    std::vector<long> ids_;                 ///< their indices
    std::vector<CBoundingBox3d> oddBoxes_;  ///< empty or non-finite boxes, tested one by one
    std::vector<long> oddIds_;
    int depth_ = -1;
};

}  // namespace velmor::geometry

#endif
