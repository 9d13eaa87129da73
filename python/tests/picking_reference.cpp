#include <pybind11/pybind11.h>
PYBIND11_MODULE(plenar_picking_reference, m) {}
