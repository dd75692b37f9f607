// A whole run as numpy arrays. Records and solutions stay on this side; the interpreter sees the arrays.

#include <pybind11/stl.h>

#include "gnx.h"
#include "gnx/engine.h"
#include "gnx/geodesy.h"
#include "records.h"

namespace gnx::python {

namespace py = pybind11;
using namespace py::literals;

EngineOptions engineOptions(const std::optional<std::string>& mode, bool inProcess,
                            const std::string& directory, const std::string& outputOptions,
                            const std::string& worker, const std::string& state = {});

namespace {

struct Run {
  std::vector<Solution> solutions;

  /// A number of every epoch.
  template <class Value>
  py::array_t<double> column(Value value) const {
    std::vector<double> values;
    values.reserve(solutions.size());
    for (const Solution& s : solutions) values.push_back(static_cast<double>(value(s)));
    return matrix(values, {static_cast<py::ssize_t>(values.size())});
  }
};

Run run(const Deployment& deployment, const std::vector<std::string>& files, const EngineOptions& options) {
  Run result;
  const py::gil_scoped_release release;
  Engine engine(deployment, options);
  for (const Event& event : read(files, {.deployment = deployment}))
    if (auto solution = engine.feed(event)) result.solutions.push_back(std::move(*solution));
  engine.finish();
  return result;
}

py::array timesOf(const Run& r) {
  std::vector<GpsTime> times;
  for (const Solution& s : r.solutions) times.push_back(s.time);
  return datetimes(times);
}

py::array_t<double> positions(const Run& r) {
  std::vector<double> values;
  for (const Solution& s : r.solutions) values.insert(values.end(), s.position.begin(), s.position.end());
  return matrix(values, {static_cast<py::ssize_t>(r.solutions.size()), 3});
}

py::array_t<double> covariances(const Run& r) {
  std::vector<double> values;
  for (const Solution& s : r.solutions)
    for (const Vector3& row : s.covariance) values.insert(values.end(), row.begin(), row.end());
  return matrix(values, {static_cast<py::ssize_t>(r.solutions.size()), 3, 3});
}

/// Without a reference against the mean of the fixed epochs, or of all when none is fixed.
Vector3 meanPosition(const Run& r) {
  for (const SolutionState least : {SolutionState::fixed, SolutionState::codes}) {
    Vector3 sum{};
    double count = 0.0;
    for (const Solution& s : r.solutions) {
      if (s.state < least) continue;
      for (std::size_t i = 0; i < 3; ++i) sum[i] += s.position[i];
      count += 1.0;
    }
    if (count > 0.0) return {sum[0] / count, sum[1] / count, sum[2] / count};
  }
  throw py::value_error("no epoch of the run has a position");
}

py::array_t<double> eastNorthUp(const Run& r, std::optional<Vector3> reference) {
  const Vector3 origin = reference ? *reference : meanPosition(r);
  const Geodetic place = toGeodetic(origin);
  std::vector<double> values;
  for (const Solution& s : r.solutions) {
    Vector3 enu;
    enu.fill(std::nan(""));
    if (s.solved())
      enu = toEastNorthUp({s.position[0] - origin[0], s.position[1] - origin[1], s.position[2] - origin[2]},
                          place);
    values.insert(values.end(), enu.begin(), enu.end());
  }
  return matrix(values, {static_cast<py::ssize_t>(r.solutions.size()), 3});
}

}  // namespace

void addRun(py::module_& m) {
  py::class_<Run>(m, "Run", "The solutions of a run, as arrays with one row an epoch.")
      .def("__len__", [](const Run& r) { return r.solutions.size(); })
      .def(
          "__getitem__",
          [](const Run& r, std::ptrdiff_t i) -> const Solution& {
            const auto n = static_cast<std::ptrdiff_t>(r.solutions.size());
            if (i < -n || i >= n) throw py::index_error("the run has " + std::to_string(n) + " epochs");
            return r.solutions[static_cast<std::size_t>(i < 0 ? i + n : i)];
          },
          py::return_value_policy::reference_internal)
      .def(
          "__iter__", [](const Run& r) { return py::make_iterator(r.solutions.begin(), r.solutions.end()); },
          py::keep_alive<0, 1>())
      .def_property_readonly("time", &timesOf, "datetime64[ns], GPS time")
      .def_property_readonly("position", &positions, "earth-fixed, m, (n, 3)")
      .def_property_readonly("covariance", &covariances, "m^2, (n, 3, 3)")
      .def_property_readonly(
          "state",
          [](const Run& r) { return r.column([](const Solution& s) { return static_cast<int>(s.state); }); },
          "0 none, 1 codes, 2 float, 3 and 4 with wide-lanes, 5 fixed")
      .def_property_readonly(
          "pdop", [](const Run& r) { return r.column([](const Solution& s) { return s.dop.position; }); })
      .def_property_readonly("ratio",
                             [](const Run& r) { return r.column([](const Solution& s) { return s.ratio; }); })
      .def_property_readonly(
          "zenith_delay",
          [](const Run& r) {
            return r.column([](const Solution& s) {
              return s.zenith.aprioriHydrostatic_m + s.zenith.aprioriWet_m + s.zenith.correction_m;
            });
          },
          "m")
      .def("enu", &eastNorthUp, "reference"_a = py::none(),
           "East, north, up from a reference (default: mean of the fixed epochs), m, (n, 3); nan without a "
           "position.");
  m.def(
      "replay",
      [](const Deployment& deployment, const std::vector<std::string>& files, std::optional<std::string> mode,
         bool inProcess, const std::string& directory, const std::string& outputOptions,
         const std::string& worker) {
        return run(deployment, files, engineOptions(mode, inProcess, directory, outputOptions, worker));
      },
      "deployment"_a, "files"_a, "mode"_a = py::none(), "in_process"_a = false, "directory"_a = "",
      "output_options"_a = "", "worker"_a = "", "Run files through an engine.");
}

}  // namespace gnx::python

PYBIND11_MODULE(_gnx, m) {
  m.doc() = "Precise point positioning: deployments, files, engines.";
  pybind11::register_exception<gnx::Error>(m, "Error", PyExc_RuntimeError);
  m.attr("__version__") = gnx_version();
  gnx::python::addRecords(m);
  gnx::python::addEngine(m);
  gnx::python::addRun(m);
}
