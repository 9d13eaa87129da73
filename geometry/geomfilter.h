/// \file
/// Selection filters: decide whether points, segments and axis-aligned boxes are
/// selected by a pick volume, a plane, the positive side of a plane, or several of
/// these at once.
///
/// IGeomFilter is the interface a scene walk talks to. Its box test with a
/// fully-accepted flag lets a hierarchical walk accept a whole subtree without
/// testing its contents, and skip a subtree whose box cannot hold anything selected.
/// Filters move into another frame with Transform (a pick volume built in world
/// space is cloned and moved by the inverse of an instance's placement) and copy
/// polymorphically with Clone, whose result the caller deletes.
///
/// Distances are the signed plane distance ((a*x + b*y) + c*z) + d. The volume, the
/// box classification and the segment trimming use no tolerance at all: a point
/// exactly on a face is inside and one 1e-12 outside is not. The plane filters keep a
/// band of EqualTol (strict) for points and segments, but classify boxes exactly.
///
/// The queries never allocate; only Clone and CGeomFilterCombined::Add do.
///
/// Bulk queries test whole arrays in one call: TestBoxes, TestPoints and
/// TestSegments, as non-virtual members of the concrete filters and as free
/// functions taking an IGeomFilter&. Element i of a bulk answer is exactly what the
/// per-item Test gives for element i (the same booleans for every input, NaN,
/// infinite and empty boxes included); only the speed differs. The free functions
/// use the bulk members when the filter's dynamic type is exactly one of the
/// filters of this header, and otherwise call the virtual Test for each element in
/// order, so a class derived by a client that overrides Test keeps its answers.
///
/// \code
/// std::vector<CBoundingBox3d> boxes = ...;
/// std::unique_ptr<bool[]> hit(new bool[boxes.size()]), whole(new bool[boxes.size()]);
/// TestBoxes(filter, boxes.data(), boxes.size(), hit.get(), whole.get());  // whole may be null
/// \endcode
#ifndef PLENAR_GEOMETRY_GEOMFILTER_H
#define PLENAR_GEOMETRY_GEOMFILTER_H

#include <geometry/boundingbox.h>
#include <geometry/export.h>
#include <geometry/plane.h>
#include <geometry/point3d.h>
#include <geometry/transformation.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace velmor::geometry {

/// The selection question asked by a scene walk. Every implementation answers the
/// four queries without changing the filter.
class PLENAR_API IGeomFilter {
public:
    /// Virtual: filters are deleted through IGeomFilter pointers (the clones a caller owns, the members of a
    /// combined filter). Every filter's destructor is defined out of line, in the library, on purpose: it
    /// anchors the virtual table and the type information in libPlenar.so, so there is one of each for the
    /// whole program and the exact-type dispatch of the bulk calls (typeid) holds across the library boundary.
    virtual ~IGeomFilter();

    /// Is the point selected.
    virtual bool Test(const CPoint3d& point) = 0;
    /// Is the segment from start to end selected.
    virtual bool Test(const CPoint3d& start, const CPoint3d& end) = 0;
    /// May anything in the box be selected; false lets the caller skip the box and
    /// everything in it.
    virtual bool Test(const CBoundingBox3d& box) = 0;
    /// As Test(box); fullyAccepted becomes true when everything in the box is
    /// certainly selected, so the caller may take it whole without looking inside.
    virtual bool Test(const CBoundingBox3d& box, bool& fullyAccepted) = 0;
    /// A new heap copy of the same dynamic type; the caller owns it.
    virtual IGeomFilter* Clone() = 0;
    /// Clone, owned by the returned pointer: the form to prefer in new code.
    std::unique_ptr<IGeomFilter> CloneUnique() { return std::unique_ptr<IGeomFilter>(Clone()); }
    /// Moves the filter's geometry by t in place.
    virtual void Transform(const CTransformation& t) = 0;
    /// One of the filter's bounding planes, or null when it has none at index.
    virtual const CPlane* GetFrustumPlane(int index) const = 0;

protected:
    /// Only derived filters are constructed.
    IGeomFilter() = default;
    /// Protected: filters are copied polymorphically with Clone, or by their concrete type.
    IGeomFilter(const IGeomFilter&) = default;
    /// Protected, as the copy constructor.
    IGeomFilter& operator=(const IGeomFilter&) = default;
};

/// A convex volume bounded by six planes whose normals point out of it: a point is
/// inside when its signed distance to every plane is not positive. The sixth plane
/// is optional: storing AbsentPlaneD in planes[5].d removes it from every test and
/// from Transform. Planes 0 to 4 are always used.
class PLENAR_API CGeomFilterVolume : public IGeomFilter {
public:
    /// The d that marks plane 5 as absent: the largest float, widened to double.
    static constexpr double AbsentPlaneD = 3.4028234663852886e38;

    /// The bounding planes, normals pointing out of the volume.
    CPlane planes[6];

    /// Six planes (0, 0, 1, 0), all present: the half-space z <= 0.
    CGeomFilterVolume() noexcept = default;
    CGeomFilterVolume(const CGeomFilterVolume&) noexcept = default;
    CGeomFilterVolume& operator=(const CGeomFilterVolume&) noexcept = default;
    /// The six planes in argument order.
    CGeomFilterVolume(const CPlane& p0, const CPlane& p1, const CPlane& p2, const CPlane& p3, const CPlane& p4,
                      const CPlane& p5) noexcept
        : planes{p0, p1, p2, p3, p4, p5} {}
    ~CGeomFilterVolume() override;

    /// Whether plane 5 takes part in the tests (its d is not AbsentPlaneD).
    bool HasPlane5() const noexcept { return planes[5].d != AbsentPlaneD; }

    using IGeomFilter::Test;
    /// Inside or on every present plane: no tolerance, a point on a face is inside.
    bool Test(const CPoint3d& point) override { return Contains(point); }
    bool Test(const CPoint3d& start, const CPoint3d& end) override = 0;
    bool Test(const CBoundingBox3d& box) override = 0;
    bool Test(const CBoundingBox3d& box, bool& fullyAccepted) override = 0;
    IGeomFilter* Clone() override = 0;
    /// Transforms planes 0 to 4, and plane 5 when present (an absent plane stays
    /// absent); each normal is renormalised.
    void Transform(const CTransformation& t) override;
    /// &planes[index] for index 0 to 5 (also for an absent plane 5), otherwise null.
    const CPlane* GetFrustumPlane(int index) const override {
        return index >= 0 && index < 6 ? &planes[index] : nullptr;
    }

    /// Box test of n boxes: accepted[i] as Test(boxes[i], flag) and, when
    /// fullyAccepted is not null, fullyAccepted[i] as its flag. The box rules of both
    /// volume filters, whatever the dynamic type of this filter.
    void TestBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* accepted, bool* fullyAccepted) const noexcept;
    /// Point test of n points: accepted[i] as Test(points[i]).
    void TestPoints(const CPoint3d* points, std::size_t n, bool* accepted) const noexcept;

protected:
    /// The point test shared by the volume filters.
    bool Contains(const CPoint3d& point) const noexcept;
    /// False at the first present plane, in order 0 to 5, that has the box wholly
    /// above it; a box straddling a face is kept.
    bool TestBox(const CBoundingBox3d& box) const noexcept;
    /// As TestBox; fullyAccepted is set false first and becomes true when every
    /// plane has the box wholly below it (an absent plane 5 counts as below).
    bool TestBox(const CBoundingBox3d& box, bool& fullyAccepted) const noexcept;
};

/// Selects what lies wholly inside the volume.
class PLENAR_API CGeomFilterInsideVolume : public CGeomFilterVolume {
public:
    /// Six planes (0, 0, 1, 0), all present: the half-space z <= 0.
    CGeomFilterInsideVolume() noexcept = default;
    CGeomFilterInsideVolume(const CGeomFilterInsideVolume&) noexcept = default;
    CGeomFilterInsideVolume& operator=(const CGeomFilterInsideVolume&) noexcept = default;
    /// The six planes in argument order, normals pointing out of the volume.
    CGeomFilterInsideVolume(const CPlane& p0, const CPlane& p1, const CPlane& p2, const CPlane& p3, const CPlane& p4,
                            const CPlane& p5) noexcept
        : CGeomFilterVolume(p0, p1, p2, p3, p4, p5) {}
    ~CGeomFilterInsideVolume() override;

    using CGeomFilterVolume::Test;
    /// Both ends inside (start first, end only when start passes); the volume is
    /// convex, so the whole segment is.
    bool Test(const CPoint3d& start, const CPoint3d& end) override;
    bool Test(const CBoundingBox3d& box) override;
    bool Test(const CBoundingBox3d& box, bool& fullyAccepted) override;
    IGeomFilter* Clone() override;

    /// Segment test of n segments, segment i from endpoints[2i] to endpoints[2i+1]:
    /// accepted[i] as this class's Test(start, end).
    void TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept;
};

/// Selects what lies inside the volume or crosses its boundary.
class PLENAR_API CGeomFilterCrossingVolume : public CGeomFilterVolume {
public:
    /// Six planes (0, 0, 1, 0), all present: the half-space z <= 0.
    CGeomFilterCrossingVolume() noexcept = default;
    CGeomFilterCrossingVolume(const CGeomFilterCrossingVolume&) noexcept = default;
    CGeomFilterCrossingVolume& operator=(const CGeomFilterCrossingVolume&) noexcept = default;
    /// The six planes in argument order, normals pointing out of the volume.
    CGeomFilterCrossingVolume(const CPlane& p0, const CPlane& p1, const CPlane& p2, const CPlane& p3, const CPlane& p4,
                              const CPlane& p5) noexcept
        : CGeomFilterVolume(p0, p1, p2, p3, p4, p5) {}
    ~CGeomFilterCrossingVolume() override;

    using CGeomFilterVolume::Test;
    /// Trims the segment plane by plane (CPlane::TrimAbove) and rejects it as soon
    /// as nothing is left below a plane. The trims accumulate, so a segment that
    /// passes beside an edge or corner of the volume, inside each half-space in part
    /// but never inside all at once, is rejected.
    bool Test(const CPoint3d& start, const CPoint3d& end) override;
    /// The same box rules as CGeomFilterInsideVolume.
    bool Test(const CBoundingBox3d& box) override;
    bool Test(const CBoundingBox3d& box, bool& fullyAccepted) override;
    IGeomFilter* Clone() override;

    /// Segment test of n segments, segment i from endpoints[2i] to endpoints[2i+1]:
    /// accepted[i] as this class's Test(start, end), trims and all.
    void TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept;
};

/// Selects everything; boxes are always fully accepted.
class PLENAR_API CGeomFilterSelectAll : public IGeomFilter {
public:
    /// Nothing to set.
    CGeomFilterSelectAll() noexcept = default;
    /// Nothing to copy.
    CGeomFilterSelectAll(const CGeomFilterSelectAll&) noexcept = default;
    /// Nothing to copy.
    CGeomFilterSelectAll& operator=(const CGeomFilterSelectAll&) noexcept = default;
    ~CGeomFilterSelectAll() override;

    bool Test(const CPoint3d&) override { return true; }
    bool Test(const CPoint3d&, const CPoint3d&) override { return true; }
    bool Test(const CBoundingBox3d&) override { return true; }
    bool Test(const CBoundingBox3d&, bool& fullyAccepted) override {
        fullyAccepted = true;
        return true;
    }
    IGeomFilter* Clone() override;
    /// Nothing to move.
    void Transform(const CTransformation&) override {}
    /// Always null: there are no bounding planes.
    const CPlane* GetFrustumPlane(int) const override { return nullptr; }

    /// Every accepted[i] and fullyAccepted[i] (when not null) true.
    void TestBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* accepted, bool* fullyAccepted) const noexcept;
    /// Every accepted[i] true.
    void TestPoints(const CPoint3d* points, std::size_t n, bool* accepted) const noexcept;
    /// Every accepted[i] true; n segments from 2n endpoints.
    void TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept;
};

/// Selects what touches or crosses one plane: points and segment ends within
/// EqualTol of it (strict), segments whose ends lie strictly on opposite sides, and
/// boxes that touch or straddle it (exactly, no tolerance). A box is never fully
/// accepted.
class PLENAR_API CGeomFilterPlane : public IGeomFilter {
public:
    /// The plane; default (0, 0, 1, 0).
    CPlane plane;

    /// The plane (0, 0, 1, 0): z = 0.
    CGeomFilterPlane() noexcept = default;
    CGeomFilterPlane(const CGeomFilterPlane&) noexcept = default;
    CGeomFilterPlane& operator=(const CGeomFilterPlane&) noexcept = default;
    /// Selects what touches plane_, stored as given.
    explicit CGeomFilterPlane(const CPlane& plane_) noexcept : plane(plane_) {}
    ~CGeomFilterPlane() override;

    /// |distance| < EqualTol, strict.
    bool Test(const CPoint3d& point) override { return plane.DistanceTo(point) < EqualTol; }
    /// An end within EqualTol (strict) of the plane, start tested first, or ends
    /// strictly on opposite sides.
    bool Test(const CPoint3d& start, const CPoint3d& end) override;
    /// The box touches or straddles the plane (exact classification).
    bool Test(const CBoundingBox3d& box) override { return plane.IntersectWith(box) == BoxCrossing; }
    /// fullyAccepted false; the answer is the dispatched Test(box), so a subclass
    /// that overrides only Test(box) changes this answer too.
    bool Test(const CBoundingBox3d& box, bool& fullyAccepted) override {
        fullyAccepted = false;
        return Test(box);
    }
    IGeomFilter* Clone() override;
    /// Transforms the plane, renormalising its normal.
    void Transform(const CTransformation& t) override;
    /// Always null: the plane is not offered as a frustum plane.
    const CPlane* GetFrustumPlane(int) const override { return nullptr; }

    /// Box test of n boxes by this class's own rule (touches or straddles, no
    /// tolerance); fullyAccepted[i], when not null, is always false.
    void TestBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* accepted, bool* fullyAccepted) const noexcept;
    /// Point test of n points: |distance| < EqualTol, strict.
    void TestPoints(const CPoint3d* points, std::size_t n, bool* accepted) const noexcept;
    /// Segment test of n segments, segment i from endpoints[2i] to endpoints[2i+1].
    void TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept;
};

/// Selects what reaches the positive side of the plane. Points and segment ends
/// count from EqualTol below the plane (distance > -EqualTol, strict); boxes are
/// classified exactly, with no band: a box whose top lies 0.0005 below the plane
/// is rejected although its corner as a point would be selected. Callers rely on
/// that difference. A box wholly above is fully accepted.
class PLENAR_API CGeomFilterAbovePlane : public CGeomFilterPlane {
public:
    /// The plane (0, 0, 1, 0): selects what reaches z > -EqualTol.
    CGeomFilterAbovePlane() noexcept = default;
    CGeomFilterAbovePlane(const CGeomFilterAbovePlane&) noexcept = default;
    CGeomFilterAbovePlane& operator=(const CGeomFilterAbovePlane&) noexcept = default;
    /// Selects what reaches the positive side of plane_, stored as given.
    explicit CGeomFilterAbovePlane(const CPlane& plane_) noexcept : CGeomFilterPlane(plane_) {}
    ~CGeomFilterAbovePlane() override;

    bool Test(const CPoint3d& point) override { return plane.SignedDistance(point) > -EqualTol; }
    /// Start's distance > -EqualTol, else end's.
    bool Test(const CPoint3d& start, const CPoint3d& end) override {
        return plane.SignedDistance(start) > -EqualTol || plane.SignedDistance(end) > -EqualTol;
    }
    /// Rejected only when wholly below the plane.
    bool Test(const CBoundingBox3d& box) override { return plane.IntersectWith(box) != BoxBelow; }
    bool Test(const CBoundingBox3d& box, bool& fullyAccepted) override;
    IGeomFilter* Clone() override;

    /// Box test of n boxes by this class's rules: rejected only when wholly below,
    /// fully accepted when wholly above. Hides CGeomFilterPlane::TestBoxes; through a
    /// CGeomFilterPlane& the plane filter's rule applies, so call the free function
    /// TestBoxes when the type is not known.
    void TestBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* accepted, bool* fullyAccepted) const noexcept;
    /// Point test of n points: distance > -EqualTol, strict.
    void TestPoints(const CPoint3d* points, std::size_t n, bool* accepted) const noexcept;
    /// Segment test of n segments, segment i from endpoints[2i] to endpoints[2i+1].
    void TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept;
};

/// The logical AND of a list of filters, which it owns: every member added through
/// the constructor or Add is deleted (through its virtual destructor) by this
/// filter's destructor, in order; null entries are skipped there, but every query
/// assumes non-null members. An empty list selects everything. Copies are made
/// with Clone (a deep copy); a member-wise copy would own the members twice, so it
/// does not compile.
class PLENAR_API CGeomFilterCombined : public IGeomFilter {
public:
    /// The members, in insertion order.
    std::vector<IGeomFilter*> filters;

    /// An empty list.
    CGeomFilterCombined() noexcept = default;
    /// A list holding first, then second, both taken over (null is not refused).
    /// Should the list fail to allocate, both are deleted before the error passes.
    CGeomFilterCombined(IGeomFilter* first, IGeomFilter* second);
    CGeomFilterCombined(const CGeomFilterCombined&) = delete;
    CGeomFilterCombined& operator=(const CGeomFilterCombined&) = delete;
    /// Deletes every non-null member once, in order.
    ~CGeomFilterCombined() override;

    /// Appends filter and takes ownership of it; should the list fail to grow, the
    /// filter is deleted before the error passes. Adding one filter twice, or one
    /// the caller still deletes, is an error.
    void Add(IGeomFilter* filter);
    /// Appends filter, handing its ownership over; the form to prefer in new code.
    void Add(std::unique_ptr<IGeomFilter> filter) { Add(filter.release()); }
    /// Appends a null member, as Add(IGeomFilter*) does; only destruction tolerates
    /// one (the queries call every member).
    void Add(std::nullptr_t) { Add(static_cast<IGeomFilter*>(nullptr)); }

    /// False at the first member, in order, that refuses.
    bool Test(const CPoint3d& point) override;
    bool Test(const CPoint3d& start, const CPoint3d& end) override;
    bool Test(const CBoundingBox3d& box) override;
    /// fullyAccepted false, then false at the first refusal; when all accept,
    /// fullyAccepted is the AND of their flags (true for an empty list).
    bool Test(const CBoundingBox3d& box, bool& fullyAccepted) override;
    /// A new combined filter holding Clone() of every member, in order.
    IGeomFilter* Clone() override;
    /// Transforms every member in order.
    void Transform(const CTransformation& t) override;
    /// The first non-null answer of the members, in order; null when none has one.
    const CPlane* GetFrustumPlane(int index) const override;

    /// Box test of n boxes: the AND of the members' answers, as Test(box, flag), or
    /// as Test(box) when fullyAccepted is null. Members whose type is a filter of
    /// this header are tested in bulk; when any member (at any depth) is of another
    /// type, every box goes through this class's per-item Test, so that member is
    /// asked exactly the questions, in exactly the order, the per-item walk asks.
    void TestBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* accepted, bool* fullyAccepted) const noexcept;
    /// Point test of n points, on the same terms as TestBoxes.
    void TestPoints(const CPoint3d* points, std::size_t n, bool* accepted) const noexcept;
    /// Segment test of n segments, segment i from endpoints[2i] to endpoints[2i+1],
    /// on the same terms as TestBoxes.
    void TestSegments(const CPoint3d* endpoints, std::size_t n, bool* accepted) const noexcept;
};

/// Tests n boxes with any filter: accepted[i] = filter.Test(boxes[i],
/// fullyAccepted[i]), or filter.Test(boxes[i]) when fullyAccepted is null. When the
/// dynamic type of filter is exactly one of this header's filters, its bulk member
/// answers; for any other type (a client's class, also one derived from a filter
/// here) the virtual Test is called for each box in order.
PLENAR_API void TestBoxes(IGeomFilter& filter, const CBoundingBox3d* boxes, std::size_t n, bool* accepted,
                          bool* fullyAccepted);
/// Tests n points with any filter: accepted[i] = filter.Test(points[i]), dispatched
/// as TestBoxes.
PLENAR_API void TestPoints(IGeomFilter& filter, const CPoint3d* points, std::size_t n, bool* accepted);
/// Tests n segments with any filter: accepted[i] = filter.Test(endpoints[2i],
/// endpoints[2i+1]), dispatched as TestBoxes.
PLENAR_API void TestSegments(IGeomFilter& filter, const CPoint3d* endpoints, std::size_t n, bool* accepted);

}  // namespace velmor::geometry

#endif
