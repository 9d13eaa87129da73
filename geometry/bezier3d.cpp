#include <geometry/bezier3d.h>

#include <geometry/mathutil.h>

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

// How deep Draw may halve before it gives up on a piece. It never changes what a
// finishing flattening sends.
//
// The inner control points lie within max(|p0 - 2p1 + p2|, |p1 - 2p2 + p3|) of the
// chord, and each halving divides those second differences by four. Finite
// coordinates bound them by 2^1027 and a tolerance with a positive square is at
// least 2^-537, so with a tolerance above the rounding of the coordinates every
// piece is straight by level 783. Real curves stop after a few dozen levels.
//
// What does reach the budget is a tolerance below that rounding, such as control
// points a unit in the last place apart with tol 0.5: the halves stop changing
// while the piece is still not straight, so plain recursion would never end. There
// the budget ends the piece at its end point, and the polyline still arrives at
// p3. 1024 levels keep the worst stack in the hundreds of kilobytes.
constexpr int DrawDepthBudget = 1024;

// How many halvings one Draw call may make in total. The depth budget bounds the
// stack but not the work: a finite curve a thousand billion billion billion units
// across at tol 0.001 is straight only after some 10^16 pieces, which no caller
// could wait for. Past this many halvings every piece still to come is ended at
// its end point, as at the depth budget, so the call sends at most
// DrawSplitBudget + DrawDepthBudget + 1 vertices and the polyline still arrives
// at p3. A flattening into at most 2^20 + 1 pieces (a million vertices, far
// beyond what any drawing uses) needs at most 2^20 halvings and is unchanged.
// The bound also keeps the worst call to a fraction of a second.
constexpr long DrawSplitBudget = 1L << 20;

void DrawPiece(const CBezier3d& piece, IBezier3dDraw& sink, double tol, int depth, long& splits) {
    if (depth == 0 || splits == 0 || piece.IsStraight(tol)) {
        sink.LineTo(piece.p3);
        return;
    }
    --splits;
    CBezier3d left;
    CBezier3d right;
    piece.Split(left, right);
    DrawPiece(left, sink, tol, depth - 1, splits);
    DrawPiece(right, sink, tol, depth - 1, splits);
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
    long splits = DrawSplitBudget;
    DrawPiece(*this, *sink, tol, DrawDepthBudget, splits);
}

}  // namespace velmor::geometry
