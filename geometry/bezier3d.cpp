#include <geometry/bezier3d.h>

#include <geometry/mathutil.h>

#include <cmath>
#include <cstdint>

namespace velmor::geometry {

namespace {

// s*A + t*B, in the one evaluation order every blend of this file uses.
inline CPoint3d Blend(double s, const CPoint3d& a, double t, const CPoint3d& b) { return CPoint3d(s, a, t, b); }

// The two points of the second de Casteljau level at t; the curve point is their
// blend and the tangent runs from b0 to b1.
void SecondLevel(const CBezier3d& c, double t, CPoint3d& b0, CPoint3d& b1) {
    const double s = 1.0 - t;
    const CPoint3d a0 = Blend(s, c.p0, t, c.p1);
    const CPoint3d a1 = Blend(s, c.p1, t, c.p2);
    const CPoint3d a2 = Blend(s, c.p2, t, c.p3);
    b0 = Blend(s, a0, t, a1);
    b1 = Blend(s, a1, t, a2);
}

// The most pieces Draw sends in one call: 2^25, some 33.5 million vertices, 800 MB
// as CPoint3d values. A flattening that needs more is beyond what a sink could
// keep, and counting its pieces up to here already takes seconds, so Draw
// coarsens the tolerance for the whole curve instead.
constexpr std::uint64_t DrawPieceBudget = std::uint64_t{1} << 25;
// log2 of DrawPieceBudget: at most this many levels of halving fit the budget.
constexpr int DrawBudgetLevels = 25;

// How deep a trial halving may go before Draw counts the curve as one that halving
// cannot finish. A piece that has been halved this often has collapsed onto the
// rounding grid of its coordinates: its halves stop changing, and only a coarser
// tolerance ends it. The deepest flattening that did finish, over random curves
// at scales 2^-1000 to 2^1000 with tolerances down to 2^-70 of their size, was 21
// levels deep; a thousand levels of this recursion take a few hundred kilobytes of
// stack.
constexpr int DrawDepthLimit = 1024;

// The number of pieces a curve that no tolerance fits is halved into, evenly.
constexpr int DrawUniformLevels = 16;

// Counts the pieces plain halving would send, without sending them. False as soon
// as there are more than DrawPieceBudget or a piece lies deeper than
// DrawDepthLimit.
bool CountPieces(const CBezier3d& piece, double tol, int depth, std::uint64_t& count) {
    if (piece.IsStraight(tol)) return ++count <= DrawPieceBudget;
    if (depth == DrawDepthLimit) return false;
    CBezier3d left;
    CBezier3d right;
    piece.Split(left, right);
    return CountPieces(left, tol, depth + 1, count) && CountPieces(right, tol, depth + 1, count);
}

// Follows a few single paths of halving from the whole curve down to a straight
// piece, each choosing halves by the bits of its own fixed pattern. A path that
// reaches DrawDepthLimit proves that plain halving cannot finish (it halves every
// piece on every path), at the cost of a few thousand halvings: curves whose
// tolerance lies below the rounding of their coordinates are told apart at once,
// without counting pieces up to the budget.
bool PathsEnd(const CBezier3d& c, double tol) {
    constexpr int Paths = 16;
    for (int i = 0; i < Paths; ++i) {
        const std::uint64_t pattern = static_cast<std::uint64_t>(i) * 0x9E3779B97F4A7C15ull;
        CBezier3d piece = c;
        for (int depth = 0; !piece.IsStraight(tol); ++depth) {
            if (depth == DrawDepthLimit) return false;
            CBezier3d left;
            CBezier3d right;
            piece.Split(left, right);
            piece = (pattern >> (depth % 64)) & 1u ? right : left;
        }
    }
    return true;
}

// Whether plain halving at tol finishes within the budget and DrawDepthLimit;
// count receives the pieces it sends when it does.
bool HalvingFits(const CBezier3d& c, double tol, std::uint64_t& count) {
    count = 0;
    return PathsEnd(c, tol) && CountPieces(c, tol, 0, count);
}

// Plain halving. Called only where it is known to finish within the budget.
void DrawPieces(const CBezier3d& piece, IBezier3dDraw& sink, double tol) {
    if (piece.IsStraight(tol)) {
        sink.LineTo(piece.p3);
        return;
    }
    CBezier3d left;
    CBezier3d right;
    piece.Split(left, right);
    DrawPieces(left, sink, tol);
    DrawPieces(right, sink, tol);
}

// Halves every piece exactly `levels` times and sends all their end points.
void DrawUniform(const CBezier3d& piece, IBezier3dDraw& sink, int levels) {
    if (levels == 0) {
        sink.LineTo(piece.p3);
        return;
    }
    CBezier3d left;
    CBezier3d right;
    piece.Split(left, right);
    DrawUniform(left, sink, levels - 1);
    DrawUniform(right, sink, levels - 1);
}

double MaxAbs(const CPoint3d& p) { return std::fmax(std::fabs(p.x), std::fmax(std::fabs(p.y), std::fabs(p.z))); }

// The largest coordinate magnitude of the control points.
double Size(const CBezier3d& c) {
    return std::fmax(std::fmax(MaxAbs(c.p0), MaxAbs(c.p1)), std::fmax(MaxAbs(c.p2), MaxAbs(c.p3)));
}

// Below this fraction of the largest coordinate a tolerance nears the rounding of
// the coordinates (2^-52 of them), and only a trial halving can tell whether
// halving finishes.
constexpr int RoundingFloorExponent = -44;
// Above this, squared lengths can overflow.
constexpr int SquareSafeExponent = 500;

// Levels of halving after which every piece is certain to be straight within tol,
// or -1 when the control polygon cannot promise it.
//
// A piece's inner control points lie within max(|p0 - 2p1 + p2|, |p1 - 2p2 + p3|)
// of its chord, and each halving divides both second differences by at least
// four. Rounding adds at most 2^-47 of the largest coordinate to a piece's offsets
// and to the distances IsStraight computes, an eighth of tol once tol is at least
// 2^-44 of that coordinate; the squares IsStraight compares stay finite while
// coordinates and tol stay below 2^500. Within those limits every piece at level k
// is straight once 8 * (largest component of a quarter second difference) / 4^k
// <= tol / 2, which bounds the depth (k) and the piece count (2^k) of plain
// halving. The floor keeps k at 24 or less.
int CertainLevels(const CBezier3d& c, double tol) {
    const double size = Size(c);
    const double limit = std::ldexp(1.0, SquareSafeExponent);
    if (!(size <= limit && tol <= limit && tol >= std::ldexp(size, RoundingFloorExponent))) return -1;
    // A quarter of each second difference, so that nothing overflows.
    const CPoint3d q1(0.25 * c.p0.x - 0.5 * c.p1.x + 0.25 * c.p2.x, 0.25 * c.p0.y - 0.5 * c.p1.y + 0.25 * c.p2.y,
                      0.25 * c.p0.z - 0.5 * c.p1.z + 0.25 * c.p2.z);
    const CPoint3d q2(0.25 * c.p1.x - 0.5 * c.p2.x + 0.25 * c.p3.x, 0.25 * c.p1.y - 0.5 * c.p2.y + 0.25 * c.p3.y,
                      0.25 * c.p1.z - 0.5 * c.p2.z + 0.25 * c.p3.z);
    double bound = 8.0 * std::fmax(MaxAbs(q1), MaxAbs(q2));
    int levels = 0;
    while (bound > 0.5 * tol) {
        bound *= 0.25;
        ++levels;
    }
    return levels;
}

// Flattens at tol * 4^j, the whole curve at one coarser tolerance, for a curve
// that plain halving at tol cannot flatten within the budget.
//
// The start is the least j that lifts tol to the rounding floor, where
// CertainLevels vouches for the budget (beyond 2^500, where it cannot, the first j
// from there at which a trial halving fits; if none of 64 does, the curve is
// halved evenly into 2^16 pieces). Pieces grow as the square root of 1 / tol, so
// each step back towards tol about doubles the count: Draw steps back as far as
// that keeps the predicted count within a quarter of the budget, checks that
// tolerance with a counting halving, and moves one step coarser while the check
// fails.
void DrawCoarsened(const CBezier3d& c, IBezier3dDraw& sink, double tol) {
    const double size = Size(c);
    int j = 1;
    while (std::ldexp(tol, 2 * j) < std::ldexp(size, RoundingFloorExponent)) ++j;
    std::uint64_t count = 0;
    if (CertainLevels(c, std::ldexp(tol, 2 * j)) >= 0) {
        HalvingFits(c, std::ldexp(tol, 2 * j), count);  // certain to fit
    } else {
        for (int tries = 0; !HalvingFits(c, std::ldexp(tol, 2 * j), count); ++tries, ++j) {
            if (tries == 63) return DrawUniform(c, sink, DrawUniformLevels);
        }
    }
    int target = j;
    for (std::uint64_t predicted = 2 * count; target > 1 && predicted <= DrawPieceBudget / 4; predicted *= 2) --target;
    for (; target < j; ++target) {
        std::uint64_t trial = 0;
        if (HalvingFits(c, std::ldexp(tol, 2 * target), trial)) break;
    }
    DrawPieces(c, sink, std::ldexp(tol, 2 * target));
}

}  // namespace

IBezier3dDraw::~IBezier3dDraw() = default;

CPoint3d CBezier3d::EvaluatePoint(double t) const noexcept {
    CPoint3d b0, b1;
    SecondLevel(*this, t, b0, b1);
    return Blend(1.0 - t, b0, t, b1);
}

CUnitVector3d CBezier3d::EvaluateDirection(double t) const noexcept {
    CPoint3d b0, b1;
    SecondLevel(*this, t, b0, b1);
    return CUnitVector3d(b0, b1);
}

CRay3d CBezier3d::Evaluate(double t) const noexcept {
    CPoint3d b0, b1;
    SecondLevel(*this, t, b0, b1);
    return CRay3d(Blend(1.0 - t, b0, t, b1), CUnitVector3d(b0, b1));
}

void CBezier3d::Split(CBezier3d& left, CBezier3d& right) const noexcept {
    const CPoint3d m01 = Blend(0.5, p0, 0.5, p1);
    const CPoint3d m12 = Blend(0.5, p1, 0.5, p2);
    const CPoint3d m23 = Blend(0.5, p2, 0.5, p3);
    const CPoint3d m012 = Blend(0.5, m01, 0.5, m12);
    const CPoint3d m123 = Blend(0.5, m12, 0.5, m23);
    const CPoint3d mid = Blend(0.5, m012, 0.5, m123);
    // Through locals, so that splitting a curve into itself (left or right being
    // *this) still reads the original control points.
    const CPoint3d start = p0;
    const CPoint3d end = p3;
    left = CBezier3d(start, m01, m012, mid);
    right = CBezier3d(mid, m123, m23, end);
}

bool CBezier3d::IsStraight(double tol) const noexcept {
    return AreColinear(p0, p3, p1, tol) && AreColinear(p0, p3, p2, tol);
}

void CBezier3d::Draw(IBezier3dDraw* sink, double tol) const {
    if (sink == nullptr) return;
    // IsStraight compares squared distances with tol * tol strictly, so a tolerance
    // that is not positive, NaN, or so small that its square is 0, and any NaN or
    // infinite control point, can never give a straight piece.
    if (!(tol > 0.0 && tol * tol > 0.0)) return;
    if (!(p0.IsValidObj() && p1.IsValidObj() && p2.IsValidObj() && p3.IsValidObj())) return;

    // Plain halving whenever it finishes within the budget: promised by the control
    // polygon, or else found by a halving that only counts.
    const int levels = CertainLevels(*this, tol);
    std::uint64_t count = 0;
    if ((levels >= 0 && levels <= DrawBudgetLevels) || HalvingFits(*this, tol, count)) {
        DrawPieces(*this, *sink, tol);
        return;
    }
    DrawCoarsened(*this, *sink, tol);
}

}  // namespace velmor::geometry
