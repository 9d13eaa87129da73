#include "bindings.h"
namespace plenar_python {
void RegisterTransforms(py::module_&) {}
}  // namespace plenar_python
