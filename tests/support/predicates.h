// Test helper: comparisons of the library's value types that say, on failure,
// which coordinate differed and by how much. Use them as
//   EXPECT_TRUE(NearXyz(actual, expected, 1e-12));   // within a printed tolerance
//   EXPECT_TRUE(EqualXyz(actual, 1, 2, 3));           // exactly these coordinates
//   EXPECT_TRUE(SameBits(actual, expected));          // bit for bit (NaN == NaN, -0 != +0)
// They are templates over the field names, so one predicate serves points,
// vectors and unit vectors (x, y, z), the 2D types (x, y), planes (a, b, c, d)
// and ranges and boxes (min, max per axis).
#ifndef PLENAR_TESTS_SUPPORT_PREDICATES_H
#define PLENAR_TESTS_SUPPORT_PREDICATES_H

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <sstream>

namespace plenar_test {

namespace detail {

// Appends "name: a vs b (off by d)" when |a - b| > tol (or either is NaN).
template <typename T>
bool NearField(std::ostringstream& why, const char* name, T a, T b, double tol) {
    const double d = std::fabs(static_cast<double>(a) - static_cast<double>(b));
    if (d <= tol) return true;
    why.precision(17);
    why << name << ": " << a << " vs " << b << " (off by " << d << ", tolerance " << tol << ") ";
    return false;
}

// Appends "name: a vs b" when the two differ in any bit.
template <typename T>
bool SameField(std::ostringstream& why, const char* name, T a, T b) {
    if (std::memcmp(&a, &b, sizeof(T)) == 0) return true;
    why.precision(17);
    why << name << ": " << a << " vs " << b << " (bits differ) ";
    return false;
}

inline ::testing::AssertionResult Verdict(bool ok, const std::ostringstream& why) {
    if (ok) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << why.str();
}

}  // namespace detail

/// x and y within tol of each other (2D points and vectors, float or double).
template <typename A, typename B>
::testing::AssertionResult NearXy(const A& a, const B& b, double tol) {
    std::ostringstream why;
    bool ok = detail::NearField(why, "x", a.x, b.x, tol);
    ok = detail::NearField(why, "y", a.y, b.y, tol) && ok;
    return detail::Verdict(ok, why);
}

/// x, y and z within tol of each other (points, vectors, unit vectors).
template <typename A, typename B>
::testing::AssertionResult NearXyz(const A& a, const B& b, double tol) {
    std::ostringstream why;
    bool ok = detail::NearField(why, "x", a.x, b.x, tol);
    ok = detail::NearField(why, "y", a.y, b.y, tol) && ok;
    ok = detail::NearField(why, "z", a.z, b.z, tol) && ok;
    return detail::Verdict(ok, why);
}

/// x, y and z equal (==) to the given values, for exactly computed results.
template <typename A>
::testing::AssertionResult EqualXyz(const A& a, double x, double y, double z) {
    const struct { double x, y, z; } expected{x, y, z};
    return NearXyz(a, expected, 0.0);
}

/// The four plane coefficients within tol of each other.
template <typename A, typename B>
::testing::AssertionResult NearPlane(const A& a, const B& b, double tol) {
    std::ostringstream why;
    bool ok = detail::NearField(why, "a", a.a, b.a, tol);
    ok = detail::NearField(why, "b", a.b, b.b, tol) && ok;
    ok = detail::NearField(why, "c", a.c, b.c, tol) && ok;
    ok = detail::NearField(why, "d", a.d, b.d, tol) && ok;
    return detail::Verdict(ok, why);
}

/// x, y and z identical to the bit.
template <typename A>
::testing::AssertionResult SameXyz(const A& a, const A& b) {
    std::ostringstream why;
    bool ok = detail::SameField(why, "x", a.x, b.x);
    ok = detail::SameField(why, "y", a.y, b.y) && ok;
    ok = detail::SameField(why, "z", a.z, b.z) && ok;
    return detail::Verdict(ok, why);
}

/// A range's min and max identical to the bit.
template <typename R>
::testing::AssertionResult SameRange(const R& a, const R& b) {
    std::ostringstream why;
    bool ok = detail::SameField(why, "min", a.min, b.min);
    ok = detail::SameField(why, "max", a.max, b.max) && ok;
    return detail::Verdict(ok, why);
}

/// A 3D box's three ranges identical to the bit.
template <typename Box>
::testing::AssertionResult SameBox3(const Box& a, const Box& b) {
    std::ostringstream why;
    bool ok = true;
    const char* names[3] = {"x.", "y.", "z."};
    const decltype(a.x)* ra[3] = {&a.x, &a.y, &a.z};
    const decltype(b.x)* rb[3] = {&b.x, &b.y, &b.z};
    for (int i = 0; i < 3; ++i) {
        const std::string lo = std::string(names[i]) + "min", hi = std::string(names[i]) + "max";
        ok = detail::SameField(why, lo.c_str(), ra[i]->min, rb[i]->min) && ok;
        ok = detail::SameField(why, hi.c_str(), ra[i]->max, rb[i]->max) && ok;
    }
    return detail::Verdict(ok, why);
}

}  // namespace plenar_test

#endif
