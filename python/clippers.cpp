#include "bindings.h"
namespace plenar_python {
void RegisterClippers(py::module_&) {}
}  // namespace plenar_python
