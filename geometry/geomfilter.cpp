#include <geometry/geomfilter.h>

#include <cfloat>
#include <cmath>
#include <memory>

namespace velmor::geometry {

static_assert(CGeomFilterVolume::AbsentPlaneD == static_cast<double>(FLT_MAX),
              "the absent-plane marker is the largest float");

IGeomFilter::~IGeomFilter() = default;

// ----- volumes ----------------------------------------------------------------

CGeomFilterVolume::~CGeomFilterVolume() = default;

bool CGeomFilterVolume::Contains(const CPoint3d& point) const noexcept {
    // Strict on purpose: a point exactly on a face is inside.
    for (int i = 0; i < 5; ++i)
        if (planes[i].SignedDistance(point) > 0.0) return false;
    if (!HasPlane5()) return true;
    return !(planes[5].SignedDistance(point) > 0.0);
}

bool CGeomFilterVolume::TestBox(const CBoundingBox3d& box) const noexcept {
    const int count = HasPlane5() ? 6 : 5;
    for (int i = 0; i < count; ++i)
        if (planes[i].IntersectWith(box) == 1) return false;
    return true;
}

bool CGeomFilterVolume::TestBox(const CBoundingBox3d& box, bool& fullyAccepted) const noexcept {
    fullyAccepted = false;
    const int count = HasPlane5() ? 6 : 5;
    bool allBelow = true;  // an absent plane 5 counts as having the box below it
    for (int i = 0; i < count; ++i) {
        const int code = planes[i].IntersectWith(box);
        if (code == 1) return false;
        allBelow = allBelow && code == 2;
    }
    fullyAccepted = allBelow;
    return true;
}

void CGeomFilterVolume::Transform(const CTransformation& t) {
    const int count = HasPlane5() ? 6 : 5;
    for (int i = 0; i < count; ++i) t.Transform(planes[i]);
}

CGeomFilterInsideVolume::~CGeomFilterInsideVolume() = default;

bool CGeomFilterInsideVolume::Test(const CPoint3d& start, const CPoint3d& end) {
    return Contains(start) && Contains(end);
}

bool CGeomFilterInsideVolume::Test(const CBoundingBox3d& box) { return TestBox(box); }

bool CGeomFilterInsideVolume::Test(const CBoundingBox3d& box, bool& fullyAccepted) {
    return TestBox(box, fullyAccepted);
}

IGeomFilter* CGeomFilterInsideVolume::Clone() { return new CGeomFilterInsideVolume(*this); }

CGeomFilterCrossingVolume::~CGeomFilterCrossingVolume() = default;

bool CGeomFilterCrossingVolume::Test(const CPoint3d& start, const CPoint3d& end) {
    // Each plane trims what the earlier planes left of the segment.
    CPoint3d a = start, b = end;
    const int count = HasPlane5() ? 6 : 5;
    for (int i = 0; i < count; ++i)
        if (planes[i].TrimAbove(&a, &b) == 1) return false;
    return true;
}

bool CGeomFilterCrossingVolume::Test(const CBoundingBox3d& box) { return TestBox(box); }

bool CGeomFilterCrossingVolume::Test(const CBoundingBox3d& box, bool& fullyAccepted) {
    return TestBox(box, fullyAccepted);
}

IGeomFilter* CGeomFilterCrossingVolume::Clone() { return new CGeomFilterCrossingVolume(*this); }

// ----- select-all and planes ----------------------------------------------------

CGeomFilterSelectAll::~CGeomFilterSelectAll() = default;

IGeomFilter* CGeomFilterSelectAll::Clone() { return new CGeomFilterSelectAll(*this); }

CGeomFilterPlane::~CGeomFilterPlane() = default;

bool CGeomFilterPlane::Test(const CPoint3d& start, const CPoint3d& end) {
    const double d1 = plane.SignedDistance(start);
    const double d2 = plane.SignedDistance(end);
    if (std::fabs(d1) < EqualTol) return true;
    if (std::fabs(d2) < EqualTol) return true;
    if (d1 >= 0.0 && d2 >= 0.0) return false;
    if (d1 < 0.0 && d2 < 0.0) return false;
    return true;
}

IGeomFilter* CGeomFilterPlane::Clone() { return new CGeomFilterPlane(*this); }

void CGeomFilterPlane::Transform(const CTransformation& t) { t.Transform(plane); }

CGeomFilterAbovePlane::~CGeomFilterAbovePlane() = default;

bool CGeomFilterAbovePlane::Test(const CBoundingBox3d& box, bool& fullyAccepted) {
    fullyAccepted = false;
    const int code = plane.IntersectWith(box);
    if (code == 2) return false;
    if (code == 1) fullyAccepted = true;
    return true;
}

IGeomFilter* CGeomFilterAbovePlane::Clone() { return new CGeomFilterAbovePlane(*this); }

// ----- combination --------------------------------------------------------------

CGeomFilterCombined::CGeomFilterCombined(IGeomFilter* first, IGeomFilter* second) {
    try {
        filters.reserve(2);
    } catch (...) {
        delete first;
        delete second;
        throw;
    }
    filters.push_back(first);
    filters.push_back(second);
}

CGeomFilterCombined::~CGeomFilterCombined() {
    for (IGeomFilter* filter : filters) delete filter;
}

void CGeomFilterCombined::Add(IGeomFilter* filter) {
    try {
        filters.push_back(filter);
    } catch (...) {
        delete filter;
        throw;
    }
}

bool CGeomFilterCombined::Test(const CPoint3d& point) {
    for (IGeomFilter* filter : filters)
        if (!filter->Test(point)) return false;
    return true;
}

bool CGeomFilterCombined::Test(const CPoint3d& start, const CPoint3d& end) {
    for (IGeomFilter* filter : filters)
        if (!filter->Test(start, end)) return false;
    return true;
}

bool CGeomFilterCombined::Test(const CBoundingBox3d& box) {
    for (IGeomFilter* filter : filters)
        if (!filter->Test(box)) return false;
    return true;
}

bool CGeomFilterCombined::Test(const CBoundingBox3d& box, bool& fullyAccepted) {
    fullyAccepted = false;
    bool all = true;
    for (IGeomFilter* filter : filters) {
        bool full = false;
        if (!filter->Test(box, full)) return false;
        all = all && full;
    }
    fullyAccepted = all;
    return true;
}

IGeomFilter* CGeomFilterCombined::Clone() {
    std::unique_ptr<CGeomFilterCombined> copy(new CGeomFilterCombined());
    copy->filters.reserve(filters.size());
    for (IGeomFilter* filter : filters) copy->filters.push_back(filter->Clone());  // capacity reserved: no throw
    return copy.release();
}

void CGeomFilterCombined::Transform(const CTransformation& t) {
    for (IGeomFilter* filter : filters) filter->Transform(t);
}

const CPlane* CGeomFilterCombined::GetFrustumPlane(int index) const {
    for (const IGeomFilter* filter : filters)
        if (const CPlane* plane = filter->GetFrustumPlane(index)) return plane;
    return nullptr;
}

}  // namespace velmor::geometry
