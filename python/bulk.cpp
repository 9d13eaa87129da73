#include "bindings.h"
namespace plenar_python {
void RegisterBulk(py::module_&) {}
}  // namespace plenar_python
