// Decoder shared by the fuzz targets: turns the fuzzer's bytes into the numbers,
// points and counts the library's operations take.
//
// Every number starts with a tag byte that decides its kind, so that the values
// the library finds hardest turn up often instead of once in 2^64 tries:
//   0-3   raw bits of the next 8 (or 4) bytes: anything, including NaN payloads
//   4-7   a small multiple of 1/4 in [-32, 32): coincident, collinear and
//         axis-aligned configurations
//   8     NaN           9  +inf          10 -inf
//   11    a denormal    12 +-1e30 (the library's "unbounded" mark)
//   13    -0.0          14 0.0
//   15    a value from a table of tolerances and extremes (EqualTol exactly, its
//         square, DivideByZeroTol, values just beside them, DBL_MAX, ...)
// Once the bytes run out every read yields zero, so a target never has to check.
#ifndef PLENAR_FUZZ_FUZZ_INPUT_H
#define PLENAR_FUZZ_FUZZ_INPUT_H

#include <geometry/point2d.h>
#include <geometry/point2f.h>
#include <geometry/point3d.h>
#include <geometry/point4d.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace plenar_fuzz {

namespace geo = velmor::geometry;

class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool Empty() const { return pos_ >= size_; }

    std::uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }

    bool Bool() { return (Byte() & 1) != 0; }

    /// An integer in [lo, hi], both inclusive.
    int Int(int lo, int hi) {
        const std::uint32_t span = static_cast<std::uint32_t>(hi - lo) + 1u;
        std::uint32_t raw = 0;
        for (int i = 0; i < 4; ++i) raw = (raw << 8) | Byte();
        return lo + static_cast<int>(raw % span);
    }

    /// A count in [0, max].
    int Count(int max) { return Int(0, max); }

    double Double() { return Real<double, std::uint64_t>(Special); }
    float Float() { return Real<float, std::uint32_t>(SpecialF); }

    /// A tolerance argument: mostly the ones callers pass, often zero, negative
    /// or not finite.
    double Tolerance() {
        switch (Byte() & 7) {
            case 0:
                return geo::EqualTol;
            case 1:
                return 0.0;
            case 2:
                return -geo::EqualTol;
            case 3:
                return geo::EqualTolSq;
            default:
                return Double();
        }
    }

    float ToleranceF() {
        switch (Byte() & 7) {
            case 0:
                return geo::EqualTolF;
            case 1:
                return 0.0f;
            case 2:
                return -geo::EqualTolF;
            case 3:
                return geo::EqualTolSqF;
            default:
                return Float();
        }
    }

    geo::CPoint3d Point3d() {
        const double x = Double();
        const double y = Double();
        const double z = Double();
        return {x, y, z};
    }
    geo::CVector3d Vector3d() {
        const double x = Double();
        const double y = Double();
        const double z = Double();
        return {x, y, z};
    }
    /// Mostly normalised through the constructor; sometimes raw components, as a
    /// caller may build with FromComponents.
    geo::CUnitVector3d UnitVector3d() {
        const bool raw = (Byte() & 7) == 0;
        const double x = Double();
        const double y = Double();
        const double z = Double();
        return raw ? geo::CUnitVector3d::FromComponents(x, y, z) : geo::CUnitVector3d(x, y, z);
    }
    geo::CPoint4d Point4d() {
        const double x = Double();
        const double y = Double();
        const double z = Double();
        const double w = Double();
        return {x, y, z, w};
    }
    geo::CPoint2d Point2d() {
        const double x = Double();
        const double y = Double();
        return {x, y};
    }
    geo::CPoint2f Point2f() {
        const float x = Float();
        const float y = Float();
        return {x, y};
    }
    geo::CVector2f Vector2f() {
        const float x = Float();
        const float y = Float();
        return {x, y};
    }

    /// Between 0 and max points (max <= 64 in every target).
    template <class T, class Read>
    std::vector<T> List(int max, Read read) {
        const int n = Count(max);
        std::vector<T> out;
        out.reserve(static_cast<std::size_t>(n));
        for (int i = 0; i < n; ++i) out.push_back(read());
        return out;
    }

private:
    // One number of type T by the tag scheme described at the top of this file;
    // Bits is the unsigned integer of T's size, special the table of tag 15.
    template <class T, class Bits>
    T Real(T (*special)(std::uint8_t)) {
        using Limits = std::numeric_limits<T>;
        switch (Byte() & 15) {
            case 0:
            case 1:
            case 2:
            case 3: {
                Bits bits = 0;
                for (std::size_t i = 0; i < sizeof(T); ++i) bits = static_cast<Bits>((bits << 8) | Byte());
                T v;
                std::memcpy(&v, &bits, sizeof v);
                return v;
            }
            case 4:
            case 5:
            case 6:
            case 7:
                return static_cast<T>(static_cast<std::int8_t>(Byte())) / T(4);
            case 8:
                return Limits::quiet_NaN();
            case 9:
                return Limits::infinity();
            case 10:
                return -Limits::infinity();
            case 11:
                return (Byte() & 1) != 0 ? Limits::denorm_min() : -Limits::min() / T(4);
            case 12:
                return (Byte() & 1) != 0 ? T(1e30) : T(-1e30);
            case 13:
                return -T(0);
            case 14:
                return T(0);
            default:
                return special(Byte());
        }
    }

    static double Special(std::uint8_t k) {
        switch (k % 24) {
            case 0:
                return geo::EqualTol;
            case 1:
                return -geo::EqualTol;
            case 2:
                return std::nextafter(geo::EqualTol, 0.0);
            case 3:
                return std::nextafter(geo::EqualTol, 1.0);
            case 4:
                return geo::EqualTolSq;
            case 5:
                return geo::DivideByZeroTol;
            case 6:
                return -geo::DivideByZeroTol;
            case 7:
                return std::nextafter(geo::DivideByZeroTol, 0.0);
            case 8:
                return geo::DivideByZeroTolSq;
            case 9:
                return DBL_MAX;
            case 10:
                return -DBL_MAX;
            case 11:
                return 1e300;
            case 12:
                return 1e-300;
            case 13:
                return DBL_EPSILON;
            case 14:
                return 1.0;
            case 15:
                return -1.0;
            case 16:
                return 0.5;
            case 17:
                return 1e15;
            case 18:
                return 3.141592653589793;
            case 19:
                return 6.283185307179586;
            case 20:
                return 1e-15;
            case 21:
                return 1e-9;
            case 22:
                return 1e-6;
            default:
                return 1.0 + DBL_EPSILON;
        }
    }

    static float SpecialF(std::uint8_t k) {
        switch (k % 16) {
            case 0:
                return geo::EqualTolF;
            case 1:
                return -geo::EqualTolF;
            case 2:
                return std::nextafter(geo::EqualTolF, 0.0f);
            case 3:
                return std::nextafter(geo::EqualTolF, 1.0f);
            case 4:
                return geo::EqualTolSqF;
            case 5:
                return static_cast<float>(geo::EqualTol);
            case 6:
                return FLT_MAX;
            case 7:
                return -FLT_MAX;
            case 8:
                return 1e20f;
            case 9:
                return FLT_EPSILON;
            case 10:
                return 1.0f;
            case 11:
                return -1.0f;
            case 12:
                return 0.5f;
            case 13:
                return 3.14159265f;
            case 14:
                return 1e-20f;
            default:
                return 16777216.0f;
        }
    }

    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

/// Keeps results alive so the optimiser cannot drop the calls that make them.
template <class T>
inline void Consume(const T& value) {
    static volatile unsigned char sink = 0;
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    unsigned char acc = 0;
    for (unsigned char b : bytes) acc = static_cast<unsigned char>(acc ^ b);
    sink = static_cast<unsigned char>(sink ^ acc);
}

/// Scopes changes of the writable tolerance globals made by one input, so each
/// run starts from the load-time values.
class ToleranceScope {
public:
    ToleranceScope()
        : equalTol_(geo::EqualTol),
          equalTolF_(geo::EqualTolF),
          equalTolSq_(geo::EqualTolSq),
          equalTolSqF_(geo::EqualTolSqF) {}
    ~ToleranceScope() {
        geo::EqualTol = equalTol_;
        geo::EqualTolF = equalTolF_;
        geo::EqualTolSq = equalTolSq_;
        geo::EqualTolSqF = equalTolSqF_;
    }
    ToleranceScope(const ToleranceScope&) = delete;
    ToleranceScope& operator=(const ToleranceScope&) = delete;

    /// Sets the linear tolerances (and, sometimes, the squared ones) from the input:
    /// zero, negative and non-finite tolerances must be survived too.
    static void Mutate(FuzzInput& in) {
        const std::uint8_t which = in.Byte();
        if ((which & 1) != 0) geo::EqualTol = in.Tolerance();
        if ((which & 2) != 0) geo::EqualTolF = in.ToleranceF();
        if ((which & 4) != 0) geo::EqualTolSq = in.Tolerance();
        if ((which & 8) != 0) geo::EqualTolSqF = in.ToleranceF();
    }

private:
    double equalTol_;
    float equalTolF_;
    double equalTolSq_;
    float equalTolSqF_;
};

}  // namespace plenar_fuzz

#endif
