/// \file
/// CRect2f: an axis-aligned float rectangle of the drawing geometry, stored as its
/// bottom-left corner (x, y) with width and height; y points up, so the top side
/// is y + height.
///
/// Empty: a rectangle is empty exactly when width < 0; height is never consulted.
/// Every operation that yields nothing yields EmptyRect = (0, 0, -1, -1), which is
/// also the default value. A width of 0 is a valid degenerate rectangle: the
/// intersection of two rectangles that share an edge is such a zero-area
/// rectangle, not an empty one.
///
/// Tests are closed (the border is inside) and an empty rectangle contains
/// nothing. Intersects(a, b) is an outcode test with a 1e-5 slack at the sides and
/// no empty check. Equality is per field within EqualTol, inclusive.
///
/// Corner masks name sides, corners and centre lines as bits: 1 left, 2 right,
/// 4 bottom, 8 top, 16 the centre in x (x + width/2), 32 the centre in y
/// (y + height/2). Corners are numbered counter-clockwise from the
/// bottom-left: 0 (mask 5), 1 (6), 2 (10), 3 (9).
#ifndef PLENAR_GEOMETRY_RECT2F_H
#define PLENAR_GEOMETRY_RECT2F_H

#include <geometry/export.h>
#include <geometry/point2f.h>
#include <geometry/tol.h>

#include <cmath>
#include <vector>

namespace velmor::geometry {

/// An axis-aligned float rectangle: bottom-left corner, width and height; empty when width < 0.
class PLENAR_API CRect2f {
public:
    /// Left side.
    float x;
    /// Bottom side (y points up).
    float y;
    /// Extent in x; negative marks the empty rectangle.
    float width;
    /// Extent in y; not consulted for emptiness.
    float height;

    /// Corner-mask bits.
    enum : unsigned int {
        MaskLeft = 1u,      ///< x
        MaskRight = 2u,     ///< x + width
        MaskBottom = 4u,    ///< y
        MaskTop = 8u,       ///< y + height
        MaskCenterX = 16u,  ///< x + width*0.5
        MaskCenterY = 32u,  ///< y + height*0.5
    };

    /// (0, 0, -1, -1), the value of every rectangle that holds nothing.
    static const CRect2f EmptyRect;

    /// The empty rectangle (0, 0, -1, -1), ready to be grown with +=.
    constexpr CRect2f() noexcept : x(0.0f), y(0.0f), width(-1.0f), height(-1.0f) {}
    /// The rectangle with bottom-left (x, y) and the given size, as given (a negative width makes it empty).
    constexpr CRect2f(float x_, float y_, float width_, float height_) noexcept
        : x(x_), y(y_), width(width_), height(height_) {}
    /// The rectangle spanned by two opposite corners, in any order.
    CRect2f(const CPoint2f& a, const CPoint2f& b) noexcept
        : x(std::fmin(a.x, b.x)), y(std::fmin(a.y, b.y)), width(std::fabs(a.x - b.x)), height(std::fabs(a.y - b.y)) {}
    /// r with all four fields scaled by s, position included.
    constexpr CRect2f(const CRect2f& r, float s) noexcept
        : x(r.x * s), y(r.y * s), width(r.width * s), height(r.height * s) {}

    /// Width negative; height is not consulted.
    constexpr bool IsEmpty() const noexcept { return width < 0.0f; }

    /// Each field within EqualTol, inclusive; empty rectangles get no special case.
    bool operator==(const CRect2f& r) const noexcept {
        return std::fabs(x - r.x) <= EqualTol && std::fabs(y - r.y) <= EqualTol &&
               std::fabs(width - r.width) <= EqualTol && std::fabs(height - r.height) <= EqualTol;
    }
    /// Negation of ==.
    bool operator!=(const CRect2f& r) const noexcept { return !(*this == r); }

    /// All four fields scaled by s.
    constexpr CRect2f operator*(float s) const noexcept { return CRect2f(*this, s); }
    /// Scales all four fields by s.
    CRect2f& operator*=(float s) noexcept { return *this = CRect2f(*this, s); }
    /// Translation; the size is unchanged.
    constexpr CRect2f operator+(const CVector2f& v) const noexcept { return {x + v.x, y + v.y, width, height}; }
    /// Moves the rectangle by v.
    CRect2f& operator+=(const CVector2f& v) noexcept {
        x += v.x;
        y += v.y;
        return *this;
    }
    /// Translation by -v; the size is unchanged.
    constexpr CRect2f operator-(const CVector2f& v) const noexcept { return {x - v.x, y - v.y, width, height}; }
    /// Moves the rectangle by -v.
    CRect2f& operator-=(const CVector2f& v) noexcept {
        x -= v.x;
        y -= v.y;
        return *this;
    }
    /// Grows to include p; an empty rectangle becomes (p.x, p.y, 0, 0).
    CRect2f& operator+=(const CPoint2f& p) noexcept;
    /// Grows to include r. An empty r changes nothing; an empty this becomes r.
    CRect2f& operator+=(const CRect2f& r) noexcept;

    /// (x, y): corner 0.
    constexpr CPoint2f BottomLeft() const noexcept { return {x, y}; }
    /// (x + width, y): corner 1.
    constexpr CPoint2f BottomRight() const noexcept { return {x + width, y}; }
    /// (x, y + height): corner 3.
    constexpr CPoint2f TopLeft() const noexcept { return {x, y + height}; }
    /// (x + width, y + height): corner 2.
    constexpr CPoint2f TopRight() const noexcept { return {x + width, y + height}; }
    /// (x + width/2, y + height/2). Not meaningful for an empty rectangle.
    constexpr CPoint2f Center() const noexcept { return {x + width * 0.5f, y + height * 0.5f}; }
    /// Corner i, counter-clockwise from 0 at the bottom-left; any other index gives (x, y).
    CPoint2f GetCorner(int i) const noexcept;
    /// The point named by a corner mask: x from bit 2 (right), else 16 (centre),
    /// else the left side; y from bit 8 (top), else 32 (centre), else the bottom.
    CPoint2f GetPointFromMask(unsigned int mask) const noexcept;
    /// The mask of corner i: 5, 6, 10, 9 for 0..3; 48 (the centre) for any other
    /// index, negative ones included.
    constexpr unsigned int GetMaskForCorner(int i) const noexcept {
        constexpr unsigned int masks[4] = {MaskLeft | MaskBottom, MaskRight | MaskBottom, MaskRight | MaskTop,
                                           MaskLeft | MaskTop};
        return static_cast<unsigned int>(i) < 4u ? masks[i] : (MaskCenterX | MaskCenterY);
    }
    /// The coordinate of a single side (mask 1, 2, 4 or 8); 0 for any other mask.
    float Side(unsigned int mask) const noexcept;

    /// Closed test; false for an empty rectangle.
    bool Contains(const CPoint2f& p) const noexcept {
        if (IsEmpty()) return false;
        return x <= p.x && p.x <= x + width && y <= p.y && p.y <= y + height;
    }
    /// Closed test against this rectangle grown by tol on every side; false for an
    /// empty rectangle whatever tol is.
    bool Contains(const CPoint2f& p, float tol) const noexcept {
        if (IsEmpty()) return false;
        return x - tol <= p.x && p.x <= x + width + tol && y - tol <= p.y && p.y <= y + height + tol;
    }
    /// Whether r lies within this rectangle, borders may touch; false when either is empty.
    bool Contains(const CRect2f& r) const noexcept {
        if (IsEmpty() || r.IsEmpty()) return false;
        return x <= r.x && r.x + r.width <= x + width && y <= r.y && r.y + r.height <= y + height;
    }
    /// Closed overlap test; touching rectangles intersect. No empty check.
    bool Intersects(const CRect2f& r) const noexcept {
        return !(x > r.x + r.width) && !(r.x > x + width) && !(y > r.y + r.height) && !(r.y > y + height);
    }
    /// Whether the segment a-b touches the rectangle, with a slack of 1e-5 where it
    /// crosses a side's line. No empty check.
    bool Intersects(const CPoint2f& a, const CPoint2f& b) const noexcept;

    /// The common part. Rectangles that only touch give a zero-width or
    /// zero-height rectangle; disjoint ones give EmptyRect. An empty operand is
    /// returned as it is (this first).
    CRect2f Intersection(const CRect2f& r) const noexcept;
    /// The enclosing rectangle. An empty operand yields the other (r when both are).
    CRect2f Union(const CRect2f& r) const noexcept;
    /// Grows a non-empty rectangle outward to whole-number sides.
    void ExpandToIntegralValues() noexcept;
    /// Moves every side of a non-empty rectangle outward by d (inward for d < 0).
    void Expand(float d) noexcept {
        if (IsEmpty()) return;
        x -= d;
        y -= d;
        width += 2.0f * d;
        height += 2.0f * d;
    }
    /// Length of the diagonal; 0 when empty.
    float Diagonal() const noexcept { return std::sqrt(DiagonalSquared()); }
    /// Squared length of the diagonal; 0 when empty.
    constexpr float DiagonalSquared() const noexcept { return IsEmpty() ? 0.0f : width * width + height * height; }

    /// p in coordinates relative to the rectangle: (0, 0) at the bottom-left,
    /// (1, 1) at the top-right. A side not above 1e-10 gives 0 in that coordinate;
    /// the width is compared in float, the height in double.
    CPoint2f RelativeCoordinates(const CPoint2f& p) const noexcept;
    /// The inverse of RelativeCoordinates: (x + uv.x*width, y + uv.y*height).
    constexpr CPoint2f AbsoluteCoordinates(const CPoint2f& uv) const noexcept {
        return {x + uv.x * width, y + uv.y * height};
    }

    /// Appends where the infinite line origin + t*dir meets the border, within
    /// EqualTol. *points is not cleared: points already in it count toward the
    /// limit of two and are not appended again. points must not be null.
    void Intersections(const CPoint2f& origin, const CVector2f& dir, std::vector<CPoint2f>* points) const;

    /// Writes "label: x, y, width, height" to standard output, six decimals each.
    void Print(const char* label) const;
    /// Writes "label: (x, y) (right, top)" to standard output, six decimals each.
    void PrintCorners(const char* label) const;
};

}  // namespace velmor::geometry

#endif
