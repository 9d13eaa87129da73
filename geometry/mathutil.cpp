#include <geometry/mathutil.h>

#include <ios>

namespace velmor::geometry {

double EqualTol = 0.001;
float EqualTolF = 0.001f;
double EqualTolLatLong = 2.28e-08;
// Zero until the load-time initialisation below has run.
double EqualTolSq;
float EqualTolSqF;
const double DivideByZeroTol = 1e-10;
const double DivideByZeroTolSq = 1e-20;

namespace {

// Load-time work of this translation unit, in this order: the stream library,
// then the squared tolerances, computed once from the values the linear ones have
// now. They are never recomputed when a client later changes EqualTol.
const std::ios_base::Init streamInit;

struct SquareTolerancesAtLoad {
    SquareTolerancesAtLoad() noexcept {
        EqualTolSq = EqualTol * EqualTol;
        EqualTolSqF = EqualTolF * EqualTolF;
    }
};
const SquareTolerancesAtLoad squareTolerancesAtLoad;

}  // namespace

}  // namespace velmor::geometry
