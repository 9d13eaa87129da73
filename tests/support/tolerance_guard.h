// Test helper: changes the library's linear tolerances for the lifetime of the
// guard and restores them afterwards, so that one test's change never leaks into
// another. The squared tolerances are deliberately left alone: the library
// computes them once at load time and never follows later changes.
#ifndef PLENAR_TESTS_SUPPORT_TOLERANCE_GUARD_H
#define PLENAR_TESTS_SUPPORT_TOLERANCE_GUARD_H

#include <geometry/tol.h>

namespace plenar_test {

class ToleranceGuard {
public:
    ToleranceGuard() = default;
    ToleranceGuard(double equalTol, float equalTolF) {
        velmor::geometry::EqualTol = equalTol;
        velmor::geometry::EqualTolF = equalTolF;
    }
    explicit ToleranceGuard(double equalTol) { velmor::geometry::EqualTol = equalTol; }
    ~ToleranceGuard() {
        velmor::geometry::EqualTol = savedTol_;
        velmor::geometry::EqualTolF = savedTolF_;
    }
    ToleranceGuard(const ToleranceGuard&) = delete;
    ToleranceGuard& operator=(const ToleranceGuard&) = delete;

private:
    double savedTol_ = velmor::geometry::EqualTol;
    float savedTolF_ = velmor::geometry::EqualTolF;
};

// Sets EqualTolSq for the lifetime of the guard, for tests that need a squared
// tolerance other than the load-time one (for example an exact power of two).
class SquaredToleranceGuard {
public:
    explicit SquaredToleranceGuard(double equalTolSq) { velmor::geometry::EqualTolSq = equalTolSq; }
    ~SquaredToleranceGuard() { velmor::geometry::EqualTolSq = saved_; }
    SquaredToleranceGuard(const SquaredToleranceGuard&) = delete;
    SquaredToleranceGuard& operator=(const SquaredToleranceGuard&) = delete;

private:
    double saved_ = velmor::geometry::EqualTolSq;
};

// Components whose squares sum to exactly DivideByZeroTolSq (1e-20): the vector
// (kAtDivideGuardX, kAtDivideGuardY, 0) has a squared length exactly on the
// library's divide-by-zero guard, in either order of the sum.
constexpr double kAtDivideGuardX = 0x1.8p-34, kAtDivideGuardY = 0x1.acd27f29f1f83p-35;

}  // namespace plenar_test

#endif
