#include "bindings.h"
namespace plenar_python {
void RegisterFilters(py::module_&) {}
}  // namespace plenar_python
