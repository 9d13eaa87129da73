/// \file
/// Rangef: a float parameter interval from start to end, as carried by curve
/// subdivision to map a piece's local parameter back to its parent's.
///
/// Not ordered: start may exceed end, and Evaluate then runs backwards.
/// Evaluate(0) is start and Evaluate(1) is end.
#ifndef PLENAR_GEOMETRY_RANGEF_H
#define PLENAR_GEOMETRY_RANGEF_H

#include <geometry/export.h>

namespace velmor::geometry {

/// A float parameter interval from start to end, not necessarily ordered.
class PLENAR_API Rangef {
public:
    /// Value at local parameter 0.
    float start;
    /// Value at local parameter 1.
    float end;

    /// (0, 0).
    constexpr Rangef() noexcept : start(0.0f), end(0.0f) {}
    /// The interval from start to end, as given.
    constexpr Rangef(float start_, float end_) noexcept : start(start_), end(end_) {}

    /// The value at local parameter t: (end - start)*t + start, in float.
    constexpr float Evaluate(float t) const noexcept { return (end - start) * t + start; }
    /// The part from start to Evaluate(t).
    constexpr Rangef Left(float t) const noexcept { return {start, Evaluate(t)}; }
    /// The part from Evaluate(t) to end.
    constexpr Rangef Right(float t) const noexcept { return {Evaluate(t), end}; }
    /// Shifts both ends by d.
    Rangef& operator+=(float d) noexcept {
        start += d;
        end += d;
        return *this;
    }
};

}  // namespace velmor::geometry

#endif
