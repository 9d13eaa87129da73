#include <geometry/boxtree.h>

#include <algorithm>
#include <cmath>

namespace velmor::geometry {

namespace {

constexpr int kBins = 16;
// The walks keep one pending sibling per level, so MaxDepth + 1 entries suffice.
constexpr int kStackSize = CBoxTree::MaxDepth + 2;

bool IsOrdinary(const CBoundingBox3d& b) {
    return b.IsValidObj() && !b.x.IsEmpty() && !b.y.IsEmpty() && !b.z.IsEmpty();
}

// Half the surface area, with extents capped so that huge boxes give a large finite
// cost rather than an infinity (or a NaN from infinity times zero).
double HalfArea(const CBoundingBox3d& b) {
    const double cap = 1e100;
    const double ex = std::fmin(b.x.Extent(), cap), ey = std::fmin(b.y.Extent(), cap),
                 ez = std::fmin(b.z.Extent(), cap);
    return ex * ey + ey * ez + ez * ex;
}

int CeilLog2(std::size_t n) {
    int k = 0;
    while ((std::size_t{1} << k) < n) ++k;
    return k;
}

struct Ref {
    double centre[3];
    std::int32_t item;  // index into the ordinary boxes
};

struct Task {
    std::int32_t begin, end;
    std::int32_t parent;  // the node whose right child this becomes; -1 for the root and left children
    std::int32_t depth;
};

// Where the ray can meet anything inside the box: a slab test against the box grown
// by a relative margin, returning a lower bound lb (>= 0) and an upper bound ub of
// the entry parameter the exact box test can give for any box inside. The margin
// (2^-30 of the coordinates' size) and the factors on lb and ub far exceed the
// rounding of that test and of this one, so a box the exact test hits is never
// outside [lb, ub] of a node holding it.
bool RayRange(const CBoundingBox3d& box, const double o[3], const double u[3], double& lb, double& ub) {
    const CRange* r[3] = {&box.x, &box.y, &box.z};
    double tnear = -HUGE_VAL, tfar = HUGE_VAL;
    for (int i = 0; i < 3; ++i) {
        const double margin = 0x1p-30 * (std::fabs(o[i]) + std::fabs(r[i]->min) + std::fabs(r[i]->max)) + 1e-300;
        const double lo = r[i]->min - margin, hi = r[i]->max + margin;
        if (u[i] == 0.0) {
            if (o[i] < lo || o[i] > hi) return false;
            continue;
        }
        double t0 = (lo - o[i]) / u[i], t1 = (hi - o[i]) / u[i];
        if (t0 > t1) std::swap(t0, t1);
        tnear = std::fmax(tnear, t0);
        tfar = std::fmin(tfar, t1);
    }
    if (tfar < 0.0) return false;
    lb = tnear > 0.0 ? tnear * (1.0 - 0x1p-40) : 0.0;
    ub = tfar * (1.0 + 0x1p-40);
    return lb <= ub;
}

// The order of ray hits: entry parameter, then index.
bool Before(const CBoxTree::RayHit& a, const CBoxTree::RayHit& b) {
    return a.t < b.t || (a.t == b.t && a.index < b.index);
}

bool FiniteRay(const CRay3d& ray, double o[3], double u[3]) {
    o[0] = ray.origin.x;
    o[1] = ray.origin.y;
    o[2] = ray.origin.z;
    u[0] = ray.direction.x;
    u[1] = ray.direction.y;
    u[2] = ray.direction.z;
    for (int i = 0; i < 3; ++i)
        if (!std::isfinite(o[i]) || !std::isfinite(u[i])) return false;
    return true;
}

// The box test, with the entry parameter recovered exactly as the test computed it:
// the entry face's coordinate less the origin's, over the direction's component.
bool HitBox(const CRay3d& ray, const double o[3], const double u[3], const CBoundingBox3d& box, long id,
            CBoxTree::RayHit& hit) {
    CPoint3d p;
    EBoxSide side = NoSide;
    if (!ray.IntersectWith(box, p, side)) return false;
    double t = 0.0;
    if (side != NoSide) {
        const int axis = (static_cast<int>(side) - 1) / 2;
        const double c = axis == 0 ? p.x : axis == 1 ? p.y : p.z;
        t = (c - o[axis]) / u[axis];
    }
    hit.index = id;
    hit.t = t;
    hit.point = p;
    hit.side = side;
    return true;
}

}  // namespace

bool CBoxTree::Build(const CBoundingBox3d* boxes, std::size_t n, ESplit split, int leafSize) {
    nodes_.clear();
    boxes_.clear();
    ids_.clear();
    oddBoxes_.clear();
    oddIds_.clear();
    depth_ = -1;
    if (n > MaxBoxes || (boxes == nullptr && n > 0)) return false;
    leafSize = std::clamp(leafSize, 1, MaxLeafSize);

    std::vector<Ref> refs;
    std::vector<CBoundingBox3d> ordinary;
    std::vector<long> ordinaryIds;
    for (std::size_t i = 0; i < n; ++i) {
        const CBoundingBox3d& b = boxes[i];
        if (!IsOrdinary(b)) {
            oddBoxes_.push_back(b);
            oddIds_.push_back(static_cast<long>(i));
            continue;
        }
        Ref ref;
        ref.centre[0] = b.x.min * 0.5 + b.x.max * 0.5;
        ref.centre[1] = b.y.min * 0.5 + b.y.max * 0.5;
        ref.centre[2] = b.z.min * 0.5 + b.z.max * 0.5;
        ref.item = static_cast<std::int32_t>(ordinary.size());
        refs.push_back(ref);
        ordinary.push_back(b);
        ordinaryIds.push_back(static_cast<long>(i));
    }
    if (refs.empty()) return true;

    nodes_.reserve(2 * refs.size());
    std::vector<Task> tasks;
    tasks.push_back(Task{0, static_cast<std::int32_t>(refs.size()), -1, 0});
    while (!tasks.empty()) {
        const Task task = tasks.back();
        tasks.pop_back();
        const std::int32_t index = static_cast<std::int32_t>(nodes_.size());
        if (task.parent >= 0) nodes_[task.parent].right = index;

        Node node;
        node.first = task.begin;
        node.count = task.end - task.begin;
        node.right = 0;
        node.depth = task.depth;
        // Grown from the first box rather than from the cleared box, whose 1e30 ends
        // would stick for boxes beyond them: a one-box node's box is that box.
        node.box = ordinary[refs[task.begin].item];
        const Ref& r0 = refs[task.begin];
        CBoundingBox3d centres(CPoint3d(r0.centre[0], r0.centre[1], r0.centre[2]),
                               CPoint3d(r0.centre[0], r0.centre[1], r0.centre[2]));
        for (std::int32_t k = task.begin + 1; k < task.end; ++k) {
            node.box += ordinary[refs[k].item];
            centres += CPoint3d(refs[k].centre[0], refs[k].centre[1], refs[k].centre[2]);
        }
        nodes_.push_back(node);
        depth_ = std::max(depth_, static_cast<int>(task.depth));
        const std::size_t count = static_cast<std::size_t>(node.count);
        if (count <= static_cast<std::size_t>(leafSize)) continue;

        // The split position: bins of centres under the surface-area cost, unless
        // the median is asked for, or the depth budget left is only what halving
        // needs, or every centre falls in one bin.
        Ref* first = refs.data() + task.begin;
        Ref* last = refs.data() + task.end;
        Ref* middle = nullptr;
        const CRange* spread[3] = {&centres.x, &centres.y, &centres.z};
        const bool surfaceArea = split == SurfaceArea && task.depth + 1 + CeilLog2(count) < MaxDepth;
        if (surfaceArea) {
            double bestCost = HUGE_VAL;
            int bestAxis = -1, bestSplit = 0;
            double bestScale = 0.0;
            for (int axis = 0; axis < 3; ++axis) {
                const double extent = spread[axis]->max - spread[axis]->min;
                const double scale = kBins / extent;
                if (!(extent > 0.0) || !std::isfinite(scale)) continue;
                CBoundingBox3d binBox[kBins];
                std::size_t binCount[kBins] = {};
                for (Ref* r = first; r != last; ++r) {
                    const int bin =
                        std::min(kBins - 1, static_cast<int>((r->centre[axis] - spread[axis]->min) * scale));
                    binBox[bin] += ordinary[r->item];
                    ++binCount[bin];
                }
                // Right-hand sums, then a sweep from the left.
                double rightArea[kBins];
                std::size_t rightCount[kBins];
                CBoundingBox3d acc;
                std::size_t accCount = 0;
                for (int b = kBins - 1; b > 0; --b) {
                    acc += binBox[b];
                    accCount += binCount[b];
                    rightArea[b] = HalfArea(acc);
                    rightCount[b] = accCount;
                }
                acc.Clear();
                accCount = 0;
                for (int b = 1; b < kBins; ++b) {
                    acc += binBox[b - 1];
                    accCount += binCount[b - 1];
                    if (accCount == 0 || rightCount[b] == 0) continue;
                    const double cost = HalfArea(acc) * static_cast<double>(accCount) +
                                        rightArea[b] * static_cast<double>(rightCount[b]);
                    if (cost < bestCost) {
                        bestCost = cost;
                        bestAxis = axis;
                        bestSplit = b;
                        bestScale = scale;
                    }
                }
            }
            if (bestAxis >= 0) {
                const double low = spread[bestAxis]->min;
                middle = std::partition(first, last, [&](const Ref& r) {
                    return std::min(kBins - 1, static_cast<int>((r.centre[bestAxis] - low) * bestScale)) < bestSplit;
                });
            }
        }
        if (middle == nullptr) {
            // The axis of widest spread (ties favour x, then y); the centre, then the
            // index, orders the boxes, so the halves do not depend on the sort.
            int axis = 0;
            double widest = spread[0]->max - spread[0]->min;
            for (int a = 1; a < 3; ++a) {
                const double extent = spread[a]->max - spread[a]->min;
                if (extent > widest) {
                    widest = extent;
                    axis = a;
                }
            }
            middle = first + count / 2;
            std::nth_element(first, middle, last, [axis](const Ref& a, const Ref& b) {
                return a.centre[axis] < b.centre[axis] || (a.centre[axis] == b.centre[axis] && a.item < b.item);
            });
        }
        const std::int32_t mid = static_cast<std::int32_t>(middle - refs.data());
        // The left child is built next, so it becomes node index + 1.
        tasks.push_back(Task{mid, task.end, index, task.depth + 1});
        tasks.push_back(Task{task.begin, mid, -1, task.depth + 1});
    }

    // Boxes in leaf order; within a leaf by index, so the layout does not depend on
    // the standard library's partition and selection.
    for (const Node& node : nodes_) {
        if (node.right != 0) continue;
        std::sort(refs.begin() + node.first, refs.begin() + node.first + node.count,
                  [](const Ref& a, const Ref& b) { return a.item < b.item; });
    }
    boxes_.reserve(refs.size());
    ids_.reserve(refs.size());
    for (const Ref& r : refs) {
        boxes_.push_back(ordinary[r.item]);
        ids_.push_back(ordinaryIds[r.item]);
    }
    return true;
}

bool CBoxTree::VisitFilter(IGeomFilter& filter, FilterCallback callback, void* context) const {
    for (std::size_t k = 0; k < oddBoxes_.size(); ++k) {
        bool full = false;
        if (filter.Test(oddBoxes_[k], full) && !callback(context, oddIds_[k], full)) return false;
    }
    if (nodes_.empty()) return true;

    std::int32_t stack[kStackSize];
    int top = 0;
    stack[top++] = 0;
    while (top > 0) {
        const std::int32_t index = stack[--top];
        const Node& node = nodes_[index];
        bool full = false;
        if (!filter.Test(node.box, full)) continue;
        // A one-box leaf's box is that box: its answer is the node's.
        if (full || node.count == 1) {
            for (std::int32_t k = node.first; k < node.first + node.count; ++k)
                if (!callback(context, ids_[k], full)) return false;
            continue;
        }
        if (node.right == 0) {
            for (std::int32_t k = node.first; k < node.first + node.count; ++k) {
                bool boxFull = false;
                if (filter.Test(boxes_[k], boxFull) && !callback(context, ids_[k], boxFull)) return false;
            }
            continue;
        }
        stack[top++] = node.right;
        stack[top++] = index + 1;
    }
    return true;
}

void CBoxTree::Collect(IGeomFilter& filter, std::vector<long>& indices) const {
    const std::size_t start = indices.size();
    Visit(filter, [&indices](long index, bool) {
        indices.push_back(index);
        return true;
    });
    std::sort(indices.begin() + static_cast<std::ptrdiff_t>(start), indices.end());
}

bool CBoxTree::VisitRayHits(const CRay3d& ray, RayCallback callback, void* context) const {
    double o[3], u[3];
    if (!FiniteRay(ray, o, u)) return true;

    struct Entry {
        std::int32_t node;
        double lb, ub;
    };
    // Each pass keeps the nearest hits after the last one reported (a max-heap of
    // up to RayBatch, the farthest on top), prunes nodes that cannot hold anything nearer
    // than that farthest or later than the last reported hit, then reports the batch
    // in order. A short batch means nothing is left.
    // The first pass looks for the nearest hit alone, which is all a pick that
    // stops there needs; later passes double the batch up to RayBatch.
    RayHit batch[RayBatch];
    RayHit last{};
    bool haveLast = false;
    for (int capacity = 1;; capacity = std::min(2 * capacity, static_cast<int>(RayBatch))) {
        int count = 0;
        auto consider = [&](const CBoundingBox3d& box, long id) {
            RayHit hit;
            if (!HitBox(ray, o, u, box, id, hit)) return;
            if (haveLast && !Before(last, hit)) return;
            if (count < capacity) {
                batch[count++] = hit;
                std::push_heap(batch, batch + count, Before);
            } else if (Before(hit, batch[0])) {
                std::pop_heap(batch, batch + count, Before);
                batch[count - 1] = hit;
                std::push_heap(batch, batch + count, Before);
            }
        };
        for (std::size_t k = 0; k < oddBoxes_.size(); ++k) consider(oddBoxes_[k], oddIds_[k]);

        Entry stack[kStackSize];
        int top = 0;
        if (!nodes_.empty() && RayRange(nodes_[0].box, o, u, stack[0].lb, stack[0].ub)) stack[top++].node = 0;
        while (top > 0) {
            const Entry entry = stack[--top];
            if (count == capacity && entry.lb > batch[0].t) continue;
            if (haveLast && entry.ub < last.t) continue;
            const Node& node = nodes_[entry.node];
            if (node.right == 0) {
                for (std::int32_t k = node.first; k < node.first + node.count; ++k) consider(boxes_[k], ids_[k]);
                continue;
            }
            Entry near{entry.node + 1, 0, 0}, far{node.right, 0, 0};
            const bool nearHit = RayRange(nodes_[near.node].box, o, u, near.lb, near.ub);
            const bool farHit = RayRange(nodes_[far.node].box, o, u, far.lb, far.ub);
            if (nearHit && farHit && far.lb < near.lb) std::swap(near, far);
            // The nearer child is walked first: its hits shrink the batch sooner.
            if (nearHit && farHit) {
                stack[top++] = far;
                stack[top++] = near;
            } else if (nearHit) {
                stack[top++] = near;
            } else if (farHit) {
                stack[top++] = far;
            }
        }

        std::sort_heap(batch, batch + count, Before);
        for (int k = 0; k < count; ++k)
            if (!callback(context, batch[k])) return false;
        if (count < capacity) return true;
        last = batch[count - 1];
        haveLast = true;
    }
}

void CBoxTree::CollectRay(const CRay3d& ray, std::vector<RayHit>& hits) const {
    double o[3], u[3];
    if (!FiniteRay(ray, o, u)) return;
    const std::size_t start = hits.size();
    RayHit hit;
    for (std::size_t k = 0; k < oddBoxes_.size(); ++k)
        if (HitBox(ray, o, u, oddBoxes_[k], oddIds_[k], hit)) hits.push_back(hit);
    if (!nodes_.empty()) {
        std::int32_t stack[kStackSize];
        int top = 0;
        double lb = 0.0, ub = 0.0;
        if (RayRange(nodes_[0].box, o, u, lb, ub)) stack[top++] = 0;
        while (top > 0) {
            const std::int32_t index = stack[--top];
            const Node& node = nodes_[index];
            if (node.right == 0) {
                for (std::int32_t k = node.first; k < node.first + node.count; ++k)
                    if (HitBox(ray, o, u, boxes_[k], ids_[k], hit)) hits.push_back(hit);
                continue;
            }
            if (RayRange(nodes_[node.right].box, o, u, lb, ub)) stack[top++] = node.right;
            if (RayRange(nodes_[index + 1].box, o, u, lb, ub)) stack[top++] = index + 1;
        }
    }
    std::sort(hits.begin() + static_cast<std::ptrdiff_t>(start), hits.end(), Before);
}

}  // namespace velmor::geometry
