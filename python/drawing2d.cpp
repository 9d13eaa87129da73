#include "bindings.h"
namespace plenar_python {
void RegisterDrawing2d(py::module_&) {}
}  // namespace plenar_python
