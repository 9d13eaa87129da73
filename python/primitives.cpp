#include "bindings.h"
namespace plenar_python {
void RegisterPrimitives(py::module_&) {}
}  // namespace plenar_python
