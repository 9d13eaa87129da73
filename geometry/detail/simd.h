// Internal to the library (not installed): which vector kernels the bulk calls
// may use. Every kernel gives each element the bits of the single-item call, so
// the choice changes speed only.
#ifndef PLENAR_GEOMETRY_DETAIL_SIMD_H
#define PLENAR_GEOMETRY_DETAIL_SIMD_H

#if defined(__x86_64__) || defined(_M_X64)
#include <immintrin.h>
#define PLENAR_X86_64 1

#include <cstdlib>
#include <cstring>

namespace velmor::geometry::detail {

/// AVX when the processor and the system support it. PLENAR_SIMD=sse2 in the
/// environment keeps the SSE2 kernels, so that both paths can be checked on one
/// machine; the answers are the same either way. Decided once per process.
inline bool HasAvx() noexcept {
    static const bool has = [] {
        const char* request = std::getenv("PLENAR_SIMD");
        const bool sse2Only = request != nullptr && std::strcmp(request, "sse2") == 0;
        return !sse2Only && __builtin_cpu_supports("avx") != 0;
    }();
    return has;
}

}  // namespace velmor::geometry::detail

#endif

#endif
