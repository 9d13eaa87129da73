#include <geometry/rect2f.h>

#include <cmath>
#include <cstdio>

namespace velmor::geometry {

const CRect2f CRect2f::EmptyRect(0.0f, 0.0f, -1.0f, -1.0f);

namespace {

// The width guard compares in float, against the threshold rounded to float.
constexpr float kDegenerateSideF = static_cast<float>(DegenerateSideThreshold);
static_assert(kDegenerateSideF == 1e-10f, "the float guard keeps its value");

// The rectangle from (x0, y0) to (x1, y1), in float.
CRect2f Span(float x0, float y0, float x1, float y1) noexcept { return CRect2f(x0, y0, x1 - x0, y1 - y0); }

// Outcode of p against the sides: left or right, bottom or top. The bits are the
// rectangle's side masks.
unsigned int Outcode(const CPoint2f& p, float left, float bottom, float right, float top) noexcept {
    unsigned int code = 0;
    if (p.x < left) {
        code |= CRect2f::MaskLeft;
    } else if (p.x > right) {
        code |= CRect2f::MaskRight;
    }
    if (p.y < bottom) {
        code |= CRect2f::MaskBottom;
    } else if (p.y > top) {
        code |= CRect2f::MaskTop;
    }
    return code;
}

// Slack with which a segment crossing a side's line still counts as hitting the
// side just beyond its ends; compared in double.
constexpr double kSideSlack = 1e-5;

// Whether the segment a-b crosses the vertical line x = side between the bottom
// and the top (with slack).
bool HitsVerticalSide(const CPoint2f& a, const CPoint2f& b, float side, float bottom, float top) noexcept {
    const float yAt = a.y + (b.y - a.y) * ((side - a.x) / (b.x - a.x));
    return bottom - kSideSlack < yAt && yAt < top + kSideSlack;
}

// Whether the segment a-b crosses the horizontal line y = side between the left
// and the right (with slack).
bool HitsHorizontalSide(const CPoint2f& a, const CPoint2f& b, float side, float left, float right) noexcept {
    const float xAt = a.x + (b.x - a.x) * ((side - a.y) / (b.y - a.y));
    return left - kSideSlack < xAt && xAt < right + kSideSlack;
}

}  // namespace

CRect2f& CRect2f::operator+=(const CPoint2f& p) noexcept {
    if (IsEmpty()) {
        *this = CRect2f(p.x, p.y, 0.0f, 0.0f);
    } else {
        *this = Span(std::fmin(x, p.x), std::fmin(y, p.y), std::fmax(x + width, p.x), std::fmax(y + height, p.y));
    }
    return *this;
}

CRect2f& CRect2f::operator+=(const CRect2f& r) noexcept {
    if (r.IsEmpty()) return *this;
    if (IsEmpty()) {
        *this = r;
    } else {
        *this = Span(std::fmin(x, r.x), std::fmin(y, r.y), std::fmax(x + width, r.x + r.width),
                     std::fmax(y + height, r.y + r.height));
    }
    return *this;
}

CPoint2f CRect2f::GetCorner(int i) const noexcept {
    switch (i) {
        case 1:
            return BottomRight();
        case 2:
            return TopRight();
        case 3:
            return TopLeft();
        default:
            return BottomLeft();
    }
}

CPoint2f CRect2f::GetPointFromMask(unsigned int mask) const noexcept {
    float px = x;
    if (mask & MaskRight) {
        px = x + width;
    } else if (mask & MaskCenterX) {
        px = x + width * 0.5f;
    }
    float py = y;
    if (mask & MaskTop) {
        py = y + height;
    } else if (mask & MaskCenterY) {
        py = y + height * 0.5f;
    }
    return {px, py};
}

float CRect2f::Side(unsigned int mask) const noexcept {
    switch (mask) {
        case MaskLeft:
            return x;
        case MaskRight:
            return x + width;
        case MaskBottom:
            return y;
        case MaskTop:
            return y + height;
        default:
            return 0.0f;
    }
}

bool CRect2f::Intersects(const CPoint2f& a, const CPoint2f& b) const noexcept {
    const float right = x + width;
    const float top = y + height;
    const unsigned int codeA = Outcode(a, x, y, right, top);
    if (codeA == 0) return true;
    const unsigned int codeB = Outcode(b, x, y, right, top);
    if (codeB == 0) return true;
    // Both ends beyond the same side.
    if (codeA & codeB) return false;

    // Only the sides some end lies beyond can be crossed; a side is tried only when
    // one end is beyond it, so the segment is never parallel to it.
    const unsigned int code = codeA | codeB;
    if ((code & MaskLeft) && HitsVerticalSide(a, b, x, y, top)) return true;
    if ((code & MaskRight) && HitsVerticalSide(a, b, right, y, top)) return true;
    if ((code & MaskBottom) && HitsHorizontalSide(a, b, y, x, right)) return true;
    if ((code & MaskTop) && HitsHorizontalSide(a, b, top, x, right)) return true;
    return false;
}

CRect2f CRect2f::Intersection(const CRect2f& r) const noexcept {
    if (IsEmpty()) return *this;
    if (r.IsEmpty()) return r;
    const double x0 = std::fmax(static_cast<double>(x), static_cast<double>(r.x));
    const double x1 = std::fmin(static_cast<double>(x + width), static_cast<double>(r.x + r.width));
    const double y0 = std::fmax(static_cast<double>(y), static_cast<double>(r.y));
    const double y1 = std::fmin(static_cast<double>(y + height), static_cast<double>(r.y + r.height));
    // Strict: rectangles that share only an edge keep a zero-area common part.
    if (x0 > x1 || y0 > y1) return EmptyRect;
    return CRect2f(static_cast<float>(x0), static_cast<float>(y0), static_cast<float>(x1 - x0),
                   static_cast<float>(y1 - y0));
}

CRect2f CRect2f::Union(const CRect2f& r) const noexcept {
    if (IsEmpty()) return r;
    CRect2f u(*this);
    u += r;
    return u;
}

void CRect2f::ExpandToIntegralValues() noexcept {
    if (IsEmpty()) return;
    const float left = std::floor(x);
    const float bottom = std::floor(y);
    width = std::ceil(x + width) - left;
    height = std::ceil(y + height) - bottom;
    x = left;
    y = bottom;
}

CPoint2f CRect2f::RelativeCoordinates(const CPoint2f& p) const noexcept {
    // The two guards differ on purpose: the width is compared with 1e-10 in float,
    // the height in double. A side of exactly 1e-10f is degenerate in x but not in y.
    const float u = width > kDegenerateSideF ? (p.x - x) / width : 0.0f;
    const float v = static_cast<double>(height) > DegenerateSideThreshold ? (p.y - y) / height : 0.0f;
    return {u, v};
}

void CRect2f::Intersections(const CPoint2f& origin, const CVector2f& dir, std::vector<CPoint2f>* points) const {
    CPoint2f candidates[4];
    int count = 0;
    if (AreParallel(dir, CVector2f(1.0f, 0.0f))) {
        candidates[count++] = CPoint2f(x, origin.y);
        candidates[count++] = CPoint2f(x + width, origin.y);
    } else if (AreParallel(dir, CVector2f(0.0f, 1.0f))) {
        candidates[count++] = CPoint2f(origin.x, y + height);
        candidates[count++] = CPoint2f(origin.x, y);
    } else {
        // Neither component is below the parallelism tolerance here, so the
        // divisions are safe.
        const float top = y + height;
        const float right = x + width;
        candidates[count++] = origin + dir * ((top - origin.y) / dir.y);
        candidates[count++] = origin + dir * ((y - origin.y) / dir.y);
        candidates[count++] = origin + dir * ((x - origin.x) / dir.x);
        candidates[count++] = origin + dir * ((right - origin.x) / dir.x);
    }

    const float tol = static_cast<float>(EqualTol);
    for (int i = 0; i < count; ++i) {
        const CPoint2f& c = candidates[i];
        if (!Contains(c, tol) || points->size() >= 2) continue;
        bool known = false;
        for (const CPoint2f& q : *points) known = known || q.Equals(c, tol);
        if (!known) points->push_back(c);
    }
}

void CRect2f::Print(const char* label) const {
    std::printf("%s: %f, %f, %f, %f\n", label ? label : "", x, y, width, height);
}

void CRect2f::PrintCorners(const char* label) const {
    std::printf("%s: (%f, %f) (%f, %f)\n", label ? label : "", x, y, x + width, y + height);
}

}  // namespace velmor::geometry
