/// \file
/// CBezier3d: a cubic Bezier curve in 3D, given by its four control points, and
/// IBezier3dDraw, the caller's sink for the polyline it flattens into.
///
/// Contract:
///   - Evaluation is de Casteljau's construction with every blend written
///     s*A + t*B (s = 1 - t), so EvaluatePoint(0) is p0 and EvaluatePoint(1) is p3
///     exactly. t is not clamped: values outside [0, 1] extrapolate.
///   - The tangent is the unit vector between the last two de Casteljau points; where
///     they coincide (t = 0 with p0 == p1, for instance) it is the zero vector.
///   - IsStraight(tol) holds when both inner control points lie within tol of the
///     chord's carrier line, strictly (AreColinear). A chord shorter than tol is
///     straight whatever the inner points do.
///   - Draw flattens by halving until every piece is straight within tol and sends
///     the end point of each piece, in order along the curve. It never sends p0: the
///     caller has already moved there. It needs a positive tolerance and finite
///     control points; without them there is nothing it could ever finish, and it
///     sends nothing. Whenever halving ends within 2^25 pieces (33,554,432
///     vertices), Draw sends exactly what halving sends; beyond that it flattens
///     the whole curve at one coarser tolerance (see Draw).
#ifndef PLENAR_GEOMETRY_BEZIER3D_H
#define PLENAR_GEOMETRY_BEZIER3D_H

#include <geometry/export.h>
#include <geometry/point3d.h>
#include <geometry/ray3d.h>
#include <geometry/unitvector3d.h>

namespace velmor::geometry {

/// Receives the vertices of a flattened curve, one call per vertex, in order.
/// Implemented by the caller; the library provides none.
class PLENAR_API IBezier3dDraw {
public:
    /// The next vertex of the polyline; the previous one (or the curve's start) is
    /// where the line comes from.
    virtual void LineTo(const CPoint3d& p) = 0;
    /// Virtual: sinks may be used through IBezier3dDraw pointers.
    virtual ~IBezier3dDraw();
};

/// A cubic Bezier curve in 3D from p0 (t = 0) to p3 (t = 1): evaluated, halved and flattened into a
/// caller-supplied sink.
class PLENAR_API CBezier3d {
public:
    /// Start point (parameter 0).
    CPoint3d p0;
    /// First inner control point.
    CPoint3d p1;
    /// Second inner control point.
    CPoint3d p2;
    /// End point (parameter 1).
    CPoint3d p3;

    /// All four control points at (0, 0, 0).
    constexpr CBezier3d() noexcept = default;
    /// The four control points as given.
    constexpr CBezier3d(const CPoint3d& p0_, const CPoint3d& p1_, const CPoint3d& p2_, const CPoint3d& p3_) noexcept
        : p0(p0_), p1(p1_), p2(p2_), p3(p3_) {}
    /// The curve leaving start along startDir and arriving at end along endDir: the
    /// inner control points lie a third of the chord length from the ends, p1
    /// forward along startDir and p2 back against endDir.
    CBezier3d(const CPoint3d& start, const CUnitVector3d& startDir, const CPoint3d& end,
              const CUnitVector3d& endDir) noexcept
        : p0(start), p3(end) {
        const double k = start.DistanceTo(end) / 3.0;
        p1 = start.Offset(k, startDir);
        p2 = end.Offset(-k, endDir);
    }

    /// The point at parameter t.
    CPoint3d EvaluatePoint(double t) const noexcept;
    /// The unit tangent at t, in the direction of travel; the zero vector where the
    /// last two de Casteljau points coincide.
    CUnitVector3d EvaluateDirection(double t) const noexcept;
    /// The point at t as origin and the unit tangent at t as direction, from one
    /// construction.
    CRay3d Evaluate(double t) const noexcept;

    /// Halves the curve at t = 0.5. The halves share the middle point: left ends
    /// and right starts exactly there.
    void Split(CBezier3d& left, CBezier3d& right) const noexcept;

    /// Both inner control points lie within tol of the line through p0 and p3
    /// (strict), or the chord is shorter than tol.
    bool IsStraight(double tol) const noexcept;

    /// Flattens the curve into sink: halves it until each piece IsStraight(tol) and
    /// calls LineTo with each piece's end point, first to last. p0 is never sent.
    /// Nothing is sent for a null sink, a tolerance that is not positive (or whose
    /// square vanishes), or a non-finite control point.
    ///
    /// Plain halving is what Draw sends, vertex for vertex, whenever that halving
    /// ends within 2^25 pieces, no piece halved more than 1024 times. The inputs
    /// outside that, and only they, are flattened differently: curves whose
    /// tolerance is so fine for their size that halving would need more than 2^25
    /// pieces (a curve 1e30 long at tol 0.001 needs some 10^16; with tol at least
    /// 2^-44 of the largest coordinate, and coordinates and tol below 2^500, no
    /// curve needs more than 2^24), and tolerances below the rounding of the
    /// coordinates, where halved pieces stop changing while still not straight.
    /// For them the whole curve is flattened by plain halving at one coarser
    /// tolerance tol * 4^j (j >= 1; each quadrupling about halves the count), the
    /// finest the budget allows as far as the counts predict, keeping the result
    /// within a quarter to a half of the budget. The polyline stays even: no piece
    /// is cut short or left longer than the coarser tolerance makes it, and it
    /// still ends at p3. (Only for coordinates or tolerances beyond 2^500, where
    /// squared lengths overflow, and no tolerance of 64 further quadruplings fits,
    /// is the curve halved evenly into 2^16 pieces.)
    ///
    /// Deciding which case applies costs no extra halving when tol is at least
    /// 2^-44 of the largest coordinate; finer tolerances first halve once only
    /// counting, which doubles the time of the call. A call that ends coarsened
    /// takes seconds.
    void Draw(IBezier3dDraw* sink, double tol) const;
};

}  // namespace velmor::geometry

#endif
