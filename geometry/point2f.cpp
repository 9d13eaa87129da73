#include <geometry/point2f.h>

namespace velmor::geometry {

const CPoint2f CPoint2f::Origin(0.0f, 0.0f);

}  // namespace velmor::geometry
