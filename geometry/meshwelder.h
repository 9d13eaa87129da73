/// \file
/// CMeshWelder: a welding index bound to a CPolygonMesh, so that welding n points
/// costs about O(n) instead of the O(n^2) of the mesh's own linear scan.
///
/// Contract:
///   - Every answer is the mesh's own: InsertPoint, FindPoint and AddPolygon return
///     exactly what the CPolygonMesh members of the same name return and change the
///     mesh exactly as they do. A point welds to the lowest-numbered pool point that
///     CPoint3d::Equals it within EqualTol (strict per axis and on the squared
///     distance); the index only narrows down the candidates that Equals decides.
///   - EqualTol is read at every call, as the mesh does. When it differs from the
///     value the index was built for, the index is rebuilt from the whole pool (O(n)),
///     so a caller that alternates tolerances pays a rebuild per change.
///   - Points with a NaN or infinite coordinate never equal anything, so they are
///     appended like any other unmatched point but never indexed. A NaN, zero or
///     negative EqualTol (or one whose square is 0) matches nothing: every insert
///     appends, with no index kept. An infinite EqualTol is answered by the linear
///     scan, as are pools with a point whose box of +-EqualTol overflows, and pools
///     beyond the index's 32-bit lists (never below 150 million
///     points). Coordinates beyond about 2^65 * EqualTol share boundary cells:
///     still exact, but slower where many of them crowd.
///   - The index holds about 50 to 100 bytes per pool point besides the pool. The
///     welder reads and appends to mesh.points through its reference; the mesh
///     must outlive it. It keeps no lock: one welder and its mesh belong to one
///     thread at a time, FindPoint included (it updates the index).
///
/// While a welder is in use the caller must not
///   - overwrite points of the pool in place (GetPoint(i) = ..., Transform, or
///     writing points[i]) without calling Rebuild afterwards: the index would still
///     file the point under its old position;
///   - pass a points array that lies inside mesh.points to InsertPoints or
///     AddPolygon (appending may move the pool).
/// What is detected at the next call, at O(1) cost: points appended to mesh.points
/// by other means (they are indexed then, in order), a shorter pool (points
/// removed: full rebuild), and a change of the last indexed point (which catches a
/// refilled pool and most in-place transforms; full rebuild).
#ifndef PLENAR_GEOMETRY_MESHWELDER_H
#define PLENAR_GEOMETRY_MESHWELDER_H

#include <geometry/export.h>
#include <geometry/point3d.h>
#include <geometry/polygonmesh.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmor::geometry {

/// A hash grid over the point pool of one CPolygonMesh that welds points with the
/// mesh's exact answers. See the file description for what a caller must not do
/// while it is in use.
class PLENAR_API CMeshWelder {
public:
    /// Binds to mesh and indexes its current points for the current EqualTol.
    explicit CMeshWelder(CPolygonMesh& mesh);

    /// Same answer and effect as mesh.InsertPoint(point): the 1-based index of the
    /// lowest-numbered pool point that equals point within EqualTol, or point
    /// appended to the pool and its new index.
    long InsertPoint(const CPoint3d& point);
    /// Same answer as mesh.FindPoint(point): that index, or 0 when none equals it.
    /// Not const: it brings the index up to date with the pool first.
    long FindPoint(const CPoint3d& point);
    /// indices[i] = InsertPoint(points[i]) for i in order; points must not lie
    /// inside mesh.points. Nothing happens for n = 0 or a null array.
    void InsertPoints(const CPoint3d* points, std::size_t n, long* indices);
    /// Same answer and effect as mesh.AddPolygon(count, points), including a
    /// refused polygon (fewer than three corners: 0, the start withdrawn, the
    /// corners and welded points kept). points must not lie inside mesh.points.
    long AddPolygon(long count, const CPoint3d* points);

    /// The mesh this welder is bound to.
    CPolygonMesh& Mesh() const { return *mesh_; }

    /// Forgets the index and indexes the whole pool afresh; call it after points
    /// of the pool were changed in place.
    void Rebuild();

private:
    /// How the current EqualTol is answered.
    enum class EMode : unsigned char {
        NothingMatches,  ///< NaN, zero, negative or square-underflowing tolerance
        Grid,            ///< the hash grid
        Scan             ///< the linear scan (infinite tolerance, oversized pool)
    };
    /// A slot of the open-addressing table: 32 bits of a cell's hashed key, its
    /// lowest-numbered point (0-based; NoPoint marks a free slot), and the tail of a
    /// circular list in entries_ of all its points in ascending order once it holds
    /// more than one (NoPoint while it holds one). Cells whose keys collide share a
    /// list, which only adds candidates.
    struct Cell {
        std::uint32_t key;
        std::uint32_t first;
        std::uint32_t tail;
    };
    /// One point of a cell list; next closes the circle at the tail.
    struct Entry {
        std::uint32_t point;
        std::uint32_t next;
    };

    void Sync(double tol);
    void Reset(double tol);
    void IndexPoint(std::size_t index);
    void FallBackToScan();
    void AddToCell(std::uint64_t hash, std::uint32_t point);
    void Grow();
    long Lookup(const CPoint3d& point, double tol) const;
    long Scan(const CPoint3d& point, double tol) const;
    long Insert(CPoint3d point, double tol);

    CPolygonMesh* mesh_;
    double tol_ = 0.0;
    double inverseCell_ = 0.0;
    EMode mode_ = EMode::NothingMatches;
    std::size_t indexed_ = 0;
    CPoint3d lastIndexed_{0.0, 0.0, 0.0};
    std::vector<Cell> cells_;
    std::size_t usedCells_ = 0;
    std::vector<Entry> entries_;
};

}  // namespace velmor::geometry

#endif
