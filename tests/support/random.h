// Test helper: one seeded generator for every randomised test. Its output is the
// same with every standard library and compiler (unlike the <random>
// distributions), so a failing seed found on one platform replays on another.
#ifndef PLENAR_TESTS_SUPPORT_RANDOM_H
#define PLENAR_TESTS_SUPPORT_RANDOM_H

#include <cstdint>

namespace plenar_test {

/// splitmix64: a small generator with a 64-bit state.
class SplitMix64 {
public:
    explicit SplitMix64(std::uint64_t seed) : state_(seed) {}

    /// The next 64 random bits; rng() is the same, for code written against <random>.
    std::uint64_t Next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    std::uint64_t operator()() { return Next(); }
    /// A double in [0, 1) with 53 random bits.
    double Unit() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }
    /// A double in [lo, hi).
    double Uniform(double lo, double hi) { return lo + (hi - lo) * Unit(); }
    /// An integer in [lo, hi], both inclusive.
    int Int(int lo, int hi) {
        return lo + static_cast<int>(Next() % static_cast<std::uint64_t>(static_cast<std::int64_t>(hi) - lo + 1));
    }

private:
    std::uint64_t state_;
};

/// Uniform doubles in [lo, hi) with the call syntax of the standard distribution,
/// u(rng), but the same draws on every platform.
class UniformReal {
public:
    UniformReal(double lo, double hi) : lo_(lo), hi_(hi) {}
    double operator()(SplitMix64& rng) const { return rng.Uniform(lo_, hi_); }

private:
    double lo_, hi_;
};

}  // namespace plenar_test

#endif
