/// \file
/// CSize2f: a float width and height, the extent of a drawing element.
///
/// Equality is per field within EqualTol, inclusive; IsZero is strict (both
/// |width| and |height| below EqualTol). Negative sizes are stored as given.
#ifndef PLENAR_GEOMETRY_SIZE2F_H
#define PLENAR_GEOMETRY_SIZE2F_H

#include <geometry/export.h>
#include <geometry/tol.h>

#include <cmath>

namespace velmor::geometry {

/// A float width and height; negative values are stored as given.
class PLENAR_API CSize2f {
public:
    /// Extent in x.
    float width;
    /// Extent in y.
    float height;

    /// (0, 0), set when the library is loaded.
    static const CSize2f ZeroSize;

    /// (0, 0).
    constexpr CSize2f() noexcept : width(0.0f), height(0.0f) {}
    /// The size (width, height), as given.
    constexpr CSize2f(float width_, float height_) noexcept : width(width_), height(height_) {}

    /// Both fields within EqualTol, inclusive.
    bool operator==(const CSize2f& s) const noexcept {
        return std::fabs(width - s.width) <= EqualTol && std::fabs(height - s.height) <= EqualTol;
    }
    /// Negation of ==.
    bool operator!=(const CSize2f& s) const noexcept { return !(*this == s); }

    /// Both |width| and |height| strictly below EqualTol.
    bool IsZero() const noexcept { return std::fabs(width) < EqualTol && std::fabs(height) < EqualTol; }
};

}  // namespace velmor::geometry

#endif
