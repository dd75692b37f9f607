#pragma once
/// \file records.h
/// Parts of the Python module.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cmath>
#include <vector>

#include "gnx/records.h"

namespace gnx::python {

void addRecords(pybind11::module_& m);
void addEngine(pybind11::module_& m);
void addRun(pybind11::module_& m);

/// Times as numpy datetime64[ns], GPS time.
pybind11::array datetimes(const std::vector<GpsTime>& times);
/// Numbers as an array of a shape.
pybind11::array_t<double> matrix(const std::vector<double>& values, std::vector<pybind11::ssize_t> shape);

}  // namespace gnx::python
