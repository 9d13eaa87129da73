#include <geometry/meshwelder.h>

#include <geometry/tol.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace velmor::geometry {

namespace {

// Marks a free table slot, and a cell that holds a single point (no list yet).
constexpr std::uint32_t NoPoint = std::numeric_limits<std::uint32_t>::max();

// The grid indexes points 0 .. MaxIndexed - 1 and at most MaxEntries list entries;
// a pool beyond either is answered by the linear scan. A point adds at most 54
// entries (27 cells, two entries each when a cell opens its list).
constexpr std::size_t MaxIndexed = NoPoint - 1;
constexpr std::size_t MaxEntries = NoPoint - 64;

// Cell keys are clamped to +-2^62: far-away coordinates share the boundary cells
// instead of overflowing the integer conversion.
constexpr double KeyLimit = 4611686018427387904.0;  // 2^62
constexpr std::int64_t KeyLimitInt = std::int64_t{1} << 62;

// A cell is eight tolerances wide: a point is filed under every cell its open box
// of half-width EqualTol touches, one or two per axis (about two cells on
// average), so that a query looks into its own cell only. Wider cells file fewer
// copies but hold more candidates where points crowd within a few tolerances.
constexpr double CellsPerTolerance = 0.125;

constexpr std::size_t MinSlots = 16;

// Cell borders sit 5/8 of a cell past the multiples of the cell width, so that
// round coordinates (multiples of the cell width, as drawn data often has) lie
// inside cells rather than on their borders, where they would be filed twice per
// axis. Dyadic, so that the keys of dyadic coordinates are exact.
constexpr double GridOffset = 0.375;

// floor(v * inv + GridOffset), clamped to +-2^62. Monotone in v (including
// +-infinity), which is all the index relies on.
std::int64_t FloorKey(double v, double inv) {
    v = v * inv + GridOffset;
    if (!(v > -KeyLimit)) return -KeyLimitInt;
    if (!(v < KeyLimit)) return KeyLimitInt;
    const std::int64_t t = static_cast<std::int64_t>(v);  // toward zero
    return static_cast<double>(t) > v ? t - 1 : t;
}

// A well-mixed 64-bit hash of a cell's three keys (the murmur3 finaliser).
std::uint64_t CellHash(std::int64_t kx, std::int64_t ky, std::int64_t kz) {
    std::uint64_t h = static_cast<std::uint64_t>(kx);
    h = h * 0x9E3779B97F4A7C15ull + static_cast<std::uint64_t>(ky);
    h = h * 0x9E3779B97F4A7C15ull + static_cast<std::uint64_t>(kz);
    h ^= h >> 33;
    h *= 0xFF51AFD7ED558CCDull;
    h ^= h >> 33;
    h *= 0xC4CEB9FE1A85EC53ull;
    h ^= h >> 33;
    return h;
}

// Where a cell's probe sequence starts: the key scaled onto the table (a
// multiply-shift, so that growing the table can recompute it from the stored key).
std::size_t HomeSlot(std::uint32_t key, std::size_t slots) {
    return static_cast<std::size_t>((static_cast<std::uint64_t>(key) * slots) >> 32);
}

bool IsFinite(const CPoint3d& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

bool SameBits(double a, double b) {
    std::uint64_t ua = 0, ub = 0;
    std::memcpy(&ua, &a, sizeof a);
    std::memcpy(&ub, &b, sizeof b);
    return ua == ub;
}

bool SameBits(const CPoint3d& a, const CPoint3d& b) {
    return SameBits(a.x, b.x) && SameBits(a.y, b.y) && SameBits(a.z, b.z);
}

// The smallest power of two of at least n slots (and at least MinSlots).
std::size_t SlotsFor(std::size_t n) {
    std::size_t slots = MinSlots;
    while (slots < n && slots <= std::numeric_limits<std::size_t>::max() / 2) slots *= 2;
    return slots;
}

// Room for `extra` more corners before a polygon, as the mesh makes it, but grown
// geometrically: reserving exactly size + extra on every call would copy the
// index list once per polygon after an initial reservation runs out. A count
// below 1 reserves nothing; an impossible one fails as the mesh's does.
void ReserveMore(std::vector<long>& v, long extra) {
    if (extra <= 0) return;
    const std::size_t cap = std::numeric_limits<std::size_t>::max();
    const std::size_t more = static_cast<std::size_t>(extra);
    const std::size_t wanted = more > cap - v.size() ? cap : v.size() + more;
    if (wanted <= v.capacity()) return;
    const std::size_t doubled = v.capacity() > v.max_size() / 2 ? v.max_size() : 2 * v.capacity();
    v.reserve(std::max(wanted, doubled));
}

}  // namespace

CMeshWelder::CMeshWelder(CPolygonMesh& mesh) : mesh_(&mesh) { Rebuild(); }

void CMeshWelder::Rebuild() {
    const double tol = EqualTol;
    Reset(tol);
    Sync(tol);
}

long CMeshWelder::InsertPoint(const CPoint3d& point) {
    const CPoint3d p = point;  // point may lie in the pool, which the append can move
    const double tol = EqualTol;
    Sync(tol);
    return Insert(p, tol);
}

long CMeshWelder::FindPoint(const CPoint3d& point) {
    const double tol = EqualTol;
    Sync(tol);
    switch (mode_) {
        case EMode::Grid:
            return Lookup(point, tol);
        case EMode::Scan:
            return Scan(point, tol);
        case EMode::NothingMatches:
            break;
    }
    return 0;
}

void CMeshWelder::InsertPoints(const CPoint3d* points, std::size_t n, long* indices) {
    if (points == nullptr || n == 0) return;
    const double tol = EqualTol;
    Sync(tol);
    for (std::size_t i = 0; i < n; ++i) {
        const long k = Insert(points[i], tol);
        if (indices != nullptr) indices[i] = k;
    }
}

long CMeshWelder::AddPolygon(long count, const CPoint3d* points) {
    if (points == nullptr) return 0;
    CPolygonMesh& mesh = *mesh_;
    ReserveMore(mesh.polygonIndices, count);
    mesh.polygonStarts.push_back(static_cast<long>(mesh.polygonIndices.size()));
    const double tol = EqualTol;
    Sync(tol);
    long added = 0;
    for (long k = 0; k < count; ++k) {
        mesh.polygonIndices.push_back(Insert(points[k], tol));
        ++added;
    }
    if (added > 2) return static_cast<long>(mesh.polygonStarts.size());
    // As the mesh does: only the start is withdrawn, the corners and welded points
    // stay.
    mesh.polygonStarts.pop_back();
    return 0;
}

// Brings the index in line with the tolerance and the pool: a new tolerance, a
// shorter pool or a changed last indexed point start it afresh; points appended
// since the last call are indexed in order.
void CMeshWelder::Sync(double tol) {
    if (!SameBits(tol, tol_)) Reset(tol);
    if (mode_ != EMode::Grid) return;
    const std::vector<CPoint3d>& pool = mesh_->points;
    if (pool.size() < indexed_ || (indexed_ > 0 && !SameBits(pool[indexed_ - 1], lastIndexed_))) Reset(tol);
    while (indexed_ < pool.size() && mode_ == EMode::Grid) IndexPoint(indexed_);
}

// Empties the index and chooses how tol is answered. Equals is strict, so a
// tolerance that is NaN, at most 0, or whose square is 0 matches nothing; an
// infinite one would put every point into one cell, so the scan answers it. The
// new table is allocated before anything changes, so an allocation failure
// leaves the welder as it was.
void CMeshWelder::Reset(double tol) {
    EMode mode = EMode::Grid;
    if (!(tol > 0.0) || !(tol * tol > 0.0)) {
        mode = EMode::NothingMatches;
    } else if (!(tol <= std::numeric_limits<double>::max())) {
        mode = EMode::Scan;
    }
    std::vector<Cell> cells;
    if (mode == EMode::Grid) {
        // About two cells per distinct point at a load of at most one half.
        const std::size_t slots = SlotsFor(mesh_->points.size() * 4);
        if (cells_.size() == slots) {
            std::fill(cells_.begin(), cells_.end(), Cell{0, NoPoint, NoPoint});
            cells.swap(cells_);
        } else {
            std::vector<Cell>(slots, Cell{0, NoPoint, NoPoint}).swap(cells);
        }
    }
    cells_.swap(cells);
    std::vector<Entry>().swap(entries_);
    tol_ = tol;
    mode_ = mode;
    inverseCell_ = mode == EMode::Grid ? CellsPerTolerance / tol : 0.0;
    indexed_ = 0;
    usedCells_ = 0;
}

// Files pool point `index` under every cell that its open box of half-width tol
// touches. For a query q that Equals p, each |p - q| < tol exactly (the rounded
// difference is below tol, and tol is a double), so p - tol < q < p + tol, and the
// rounded bounds still bracket q; the key is monotone, so q's cell is among those
// filed here. Non-finite points equal nothing and are skipped.
void CMeshWelder::IndexPoint(std::size_t index) {
    // Too large for 32-bit lists: the scan answers this tolerance from now on.
    if (index >= MaxIndexed || entries_.size() >= MaxEntries) return FallBackToScan();
    const CPoint3d p = mesh_->points[index];
    if (IsFinite(p)) {
        const double tol = tol_, inv = inverseCell_;
        const std::int64_t x0 = FloorKey(p.x - tol, inv), x1 = FloorKey(p.x + tol, inv);
        const std::int64_t y0 = FloorKey(p.y - tol, inv), y1 = FloorKey(p.y + tol, inv);
        const std::int64_t z0 = FloorKey(p.z - tol, inv), z1 = FloorKey(p.z + tol, inv);
        // The box of half-width tol spans a quarter of a cell, so at most two cells
        // per axis. More means p +- tol overflowed (a tolerance and coordinates near
        // the largest double): the scan answers such a pool instead.
        if (x1 > x0 + 2 || y1 > y0 + 2 || z1 > z0 + 2) return FallBackToScan();
        const std::uint32_t point = static_cast<std::uint32_t>(index);
        for (std::int64_t kx = x0; kx <= x1; ++kx) {
            for (std::int64_t ky = y0; ky <= y1; ++ky) {
                for (std::int64_t kz = z0; kz <= z1; ++kz) AddToCell(CellHash(kx, ky, kz), point);
            }
        }
    }
    indexed_ = index + 1;
    lastIndexed_ = p;
}

// Drops the index: the linear scan answers the current tolerance from now on.
void CMeshWelder::FallBackToScan() {
    mode_ = EMode::Scan;
    indexed_ = 0;
    usedCells_ = 0;
    std::vector<Cell>().swap(cells_);
    std::vector<Entry>().swap(entries_);
}

// Appends point to the list of the cell with this hash, opening the cell when it
// is new. Points arrive in ascending order, so every list stays ascending.
void CMeshWelder::AddToCell(std::uint64_t hash, std::uint32_t point) {
    if ((usedCells_ + 1) * 2 > cells_.size()) Grow();
    const std::size_t mask = cells_.size() - 1;
    const std::uint32_t key = static_cast<std::uint32_t>(hash >> 32);
    std::size_t i = HomeSlot(key, cells_.size());
    while (cells_[i].first != NoPoint && cells_[i].key != key) i = (i + 1) & mask;
    Cell& cell = cells_[i];
    if (cell.first == NoPoint) {
        cell = Cell{key, point, NoPoint};
        ++usedCells_;
    } else if (cell.tail == NoPoint) {
        const std::uint32_t e = static_cast<std::uint32_t>(entries_.size());
        entries_.push_back(Entry{cell.first, e + 1});
        entries_.push_back(Entry{point, e});
        cell.tail = e + 1;
    } else {
        const std::uint32_t e = static_cast<std::uint32_t>(entries_.size());
        entries_.push_back(Entry{point, entries_[cell.tail].next});
        entries_[cell.tail].next = e;
        cell.tail = e;
    }
}

// Doubles the table. The new table is filled before it replaces the old one, so
// an allocation failure leaves the index intact.
void CMeshWelder::Grow() {
    std::vector<Cell> grown(cells_.size() * 2, Cell{0, NoPoint, NoPoint});
    const std::size_t mask = grown.size() - 1;
    for (const Cell& c : cells_) {
        if (c.first == NoPoint) continue;
        std::size_t i = HomeSlot(c.key, grown.size());
        while (grown[i].first != NoPoint) i = (i + 1) & mask;
        grown[i] = c;
    }
    grown.swap(cells_);
}

long CMeshWelder::Lookup(const CPoint3d& q, double tol) const {
    if (!IsFinite(q) || cells_.empty()) return 0;
    const double inv = inverseCell_;
    const std::uint64_t hash = CellHash(FloorKey(q.x, inv), FloorKey(q.y, inv), FloorKey(q.z, inv));
    const std::size_t mask = cells_.size() - 1;
    const std::uint32_t key = static_cast<std::uint32_t>(hash >> 32);
    std::size_t i = HomeSlot(key, cells_.size());
    while (cells_[i].first != NoPoint && cells_[i].key != key) i = (i + 1) & mask;
    const Cell& cell = cells_[i];
    if (cell.first == NoPoint) return 0;
    const CPoint3d* pool = mesh_->points.data();
    // The scan's comparison, in its order: the first (lowest) match wins.
    if (pool[cell.first].Equals(q, tol)) return static_cast<long>(cell.first) + 1;
    if (cell.tail == NoPoint) return 0;
    const std::uint32_t head = entries_[cell.tail].next;
    for (std::uint32_t e = entries_[head].next; e != head; e = entries_[e].next) {
        const std::uint32_t k = entries_[e].point;
        if (pool[k].Equals(q, tol)) return static_cast<long>(k) + 1;
    }
    return 0;
}

long CMeshWelder::Scan(const CPoint3d& q, double tol) const {
    const std::vector<CPoint3d>& pool = mesh_->points;
    for (std::size_t k = 0; k < pool.size(); ++k) {
        if (pool[k].Equals(q, tol)) return static_cast<long>(k + 1);
    }
    return 0;
}

// The welding insert on a synchronised index.
long CMeshWelder::Insert(CPoint3d q, double tol) {
    long found = 0;
    if (mode_ == EMode::Grid) {
        found = Lookup(q, tol);
    } else if (mode_ == EMode::Scan) {
        found = Scan(q, tol);
    }
    if (found != 0) return found;
    std::vector<CPoint3d>& pool = mesh_->points;
    pool.push_back(q);
    if (mode_ == EMode::Grid) IndexPoint(pool.size() - 1);
    return static_cast<long>(pool.size());
}

}  // namespace velmor::geometry
