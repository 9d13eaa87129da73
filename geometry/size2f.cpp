#include <geometry/size2f.h>

namespace velmor::geometry {

const CSize2f CSize2f::ZeroSize(0.0f, 0.0f);

}  // namespace velmor::geometry
