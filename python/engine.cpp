// Deployments, streams, engines and solutions in Python.

#include "gnx/engine.h"

#include <pybind11/functional.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <sstream>

#include "records.h"

namespace gnx::python {

namespace py = pybind11;
using namespace py::literals;

namespace {

void addDeployment(py::module_& m) {
  py::class_<Deployment>(m, "Deployment", "A directory of files from which an engine starts.")
      .def_static("open", &Deployment::open, "directory"_a)
      .def_static(
          "make",
          [](const std::filesystem::path& directory, const std::string& systems, const std::string& antex,
             const std::string& mode, double interval, double cutoff, std::optional<GpsTime> date,
             const std::string& refpoint, bool resolution, std::map<std::string, std::string> overrides) {
            DeploymentOptions options;
            options.systems = systems;
            options.antex = antex;
            options.run.mode = parseMode(mode);
            options.run.interval_s = interval;
            options.run.cutoff_deg = cutoff;
            if (date) options.date = *date;
            options.refpoint = refpoint;
            options.resolution = resolution;
            options.overrides = std::move(overrides);
            return Deployment::make(directory, options);
          },
          "directory"_a, "systems"_a = "GE", "antex"_a = "", "mode"_a = "static", "interval"_a = 30.0,
          "cutoff"_a = 7.0, "date"_a = py::none(), "refpoint"_a = "CoM_ITRF", "resolution"_a = true,
          "overrides"_a = std::map<std::string, std::string>{},
          "Write a deployment. Systems: letters of G R E C B J; date: of the data (default: now).")
      .def_property_readonly("directory", &Deployment::directory)
      .def_property_readonly("notes", &Deployment::notes)
      .def("check", &Deployment::check, "What would keep the engine from starting or fixing, sentences.")
      .def("explain", [](const Deployment& d) {
        std::ostringstream out;
        d.explain(out);
        return out.str();
      });
}

void addStream(py::module_& m) {
  py::class_<StreamStart>(m, "StreamStart", "What a stream tells before its first record.")
      .def(py::init([](ObsHeader header, std::map<char, std::set<std::string>> corrected,
                       std::optional<GpsTime> first) {
             StreamStart start;
             start.header = std::move(header);
             start.corrected = std::move(corrected);
             start.first = first;
             return start;
           }),
           "header"_a, "corrected"_a = std::map<char, std::set<std::string>>{}, "first"_a = py::none())
      .def_readwrite("first", &StreamStart::first)
      .def_readwrite("header", &StreamStart::header)
      .def_readwrite("corrected", &StreamStart::corrected,
                     "signals with code biases by system: {'G': {'1C'}}")
      .def_readonly("notes", &StreamStart::notes);
  py::class_<Event>(m, "Event", "Something that a host has at a time.")
      .def_readonly("time", &Event::time)
      .def_readonly("record", &Event::record,
                    "StreamStart, BroadcastEph, GlonassEph, CorrectionBatch or ObsEpoch");
  py::class_<EventStream>(m, "EventStream", "The merged stream of a run, an iterator of events.")
      .def_property_readonly("start", &EventStream::start)
      .def_property_readonly("share", &EventStream::share)
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", [](EventStream& stream) {
        Event event;
        bool more = false;
        {
          const py::gil_scoped_release release;
          more = stream.next(event);
        }
        if (!more) throw py::stop_iteration();
        return event;
      });
}

void addSolution(py::module_& m) {
  py::enum_<SolutionState>(m, "State", "What a position rests on.")
      .value("NONE", SolutionState::none)
      .value("CODES", SolutionState::codes)
      .value("FLOAT", SolutionState::floating)
      .value("EXTRA_WIDE_LANE", SolutionState::extraWideLane)
      .value("WIDE_LANE", SolutionState::wideLane)
      .value("FIXED", SolutionState::fixed);
  py::class_<ValueFate>(m, "ValueFate", "What became of a code or phase value.")
      .def_readonly("fate", &ValueFate::fate)
      .def_readonly("residual", &ValueFate::residual_m, "m, with the integers of the epoch")
      .def_readonly("float_residual", &ValueFate::floatResidual_m, "m, without them")
      .def_readonly("sigma", &ValueFate::sigma_m, "m; 0: no row of its own");
  py::class_<BandSolution>(m, "BandSolution", "A frequency of a satellite.")
      .def_readonly("band", &BandSolution::band)
      .def_readonly("signal", &BandSolution::signal)
      .def_readonly("snr", &BandSolution::snr_dBHz)
      .def_readonly("code", &BandSolution::code)
      .def_readonly("phase", &BandSolution::phase)
      .def_property_readonly("ambiguity", [](const BandSolution& b) -> std::optional<double> {
        return b.ambiguity ? std::optional(b.ambiguity->value) : std::nullopt;
      });
  py::class_<SatelliteSolution>(m, "SatelliteSolution", "A satellite of which at least one value came in.")
      .def_readonly("sat", &SatelliteSolution::sat)
      .def_readonly("azimuth", &SatelliteSolution::azimuth_deg, "degrees")
      .def_readonly("elevation", &SatelliteSolution::elevation_deg, "degrees")
      .def_readonly("bands", &SatelliteSolution::bands)
      .def_property_readonly(
          "ionosphere",
          [](const SatelliteSolution& s) -> std::optional<std::pair<double, double>> {
            if (!s.ionosphere) return std::nullopt;
            return std::pair(s.ionosphere->delay_m, s.ionosphere->sigma_m);
          },
          "Slant delay of the first band and its sigma, m.");
  py::class_<Solution>(m, "Solution", "All that an epoch gave.")
      .def_readonly("time", &Solution::time)
      .def_readonly("state", &Solution::state)
      .def_readonly("why", &Solution::why, "why the state is no higher, a sentence")
      .def_property_readonly(
          "position",
          [](const Solution& s) {
            return matrix({s.position.begin(), s.position.end()}, {3});
          },
          "earth-fixed, m")
      .def_property_readonly(
          "covariance",
          [](const Solution& s) {
            std::vector<double> values;
            for (const Vector3& row : s.covariance) values.insert(values.end(), row.begin(), row.end());
            return matrix(values, {3, 3});
          },
          "m^2")
      .def_readonly("fixed", &Solution::fixed)
      .def_readonly("ratio", &Solution::ratio)
      .def_readonly("sigma0", &Solution::sigma0)
      .def_property_readonly("pdop", [](const Solution& s) { return s.dop.position; })
      .def_property_readonly(
          "zenith_delay",
          [](const Solution& s) {
            return s.zenith.aprioriHydrostatic_m + s.zenith.aprioriWet_m + s.zenith.correction_m;
          },
          "m")
      .def_property_readonly(
          "zenith_sigma", [](const Solution& s) { return s.zenith.sigma_m; }, "m")
      .def_property_readonly(
          "clocks",
          [](const Solution& s) {
            std::map<std::string, double> clocks;
            for (const ClockSolution& c : s.clocks) clocks[std::string(1, c.system)] = c.value_m;
            return clocks;
          },
          "receiver clock of the reference system and offsets of the others from it, m")
      .def_property_readonly(
          "ages",
          [](const Solution& s) {
            return std::map<std::string, std::optional<double>>{{"orbit_clock", s.ages.orbitClock_s},
                                                                {"phase_bias", s.ages.phaseBias_s},
                                                                {"code_bias", s.ages.codeBias_s}};
          },
          "epoch minus time of the corrections, s")
      .def_readonly("satellites", &Solution::satellites)
      .def_readonly("milliseconds", &Solution::milliseconds)
      .def("__repr__", [](const Solution& s) {
        std::ostringstream out;
        out << s.time << ' ' << s.position << ' ' << s.state;
        return out.str();
      });
}

/// Feeds a record without the interpreter's lock: other threads go on.
template <class Record>
void addFeed(py::class_<Engine>& engine) {
  engine.def(
      "feed", [](Engine& e, const Record& record) { return e.feed(record); }, "record"_a,
      py::call_guard<py::gil_scoped_release>());
}

}  // namespace

EngineOptions engineOptions(const std::optional<std::string>& mode, bool inProcess,
                            const std::string& directory, const std::string& outputOptions,
                            const std::string& worker, const std::string& state) {
  EngineOptions options;
  if (mode) options.mode = parseMode(*mode);
  if (inProcess) options.place = Place::inProcess;
  options.directory = directory;
  options.outputOptions = outputOptions;
  options.worker = worker;
  options.state = state;
  return options;
}

void addEngine(py::module_& m) {
  addDeployment(m);
  addStream(m);
  addSolution(m);
  m.def(
      "read",
      [](const std::vector<std::string>& files, std::optional<Deployment> deployment,
         std::optional<GpsTime> from, std::optional<GpsTime> to) {
        ReadOptions options;
        options.deployment = std::move(deployment);
        options.from = from;
        options.to = to;
        return read(files, options);
      },
      "files"_a, "deployment"_a = py::none(), "start"_a = py::none(), "end"_a = py::none(),
      "The files of a run, recognised by content, as one stream of events in order of time.");

  py::class_<IntegerPolicy>(m, "IntegerPolicy", "Which integers corrections carry.")
      .def_readwrite("resolved", &IntegerPolicy::resolved)
      .def_readonly("misfits", &IntegerPolicy::misfits,
                    "satellites left float, and by how many cycles they miss")
      .def_readonly("remarks", &IntegerPolicy::remarks);
  py::class_<IntegerJudge>(m, "IntegerJudge",
                           "Judges the integers of corrections that a host decodes itself.")
      .def(py::init<const Deployment&, const StreamStart&>(), "deployment"_a, "start"_a)
      .def("take", py::overload_cast<const BroadcastEph&>(&IntegerJudge::take), "record"_a)
      .def("take", py::overload_cast<const CorrectionBatch&>(&IntegerJudge::take), "record"_a)
      .def("take", py::overload_cast<const ObsEpoch&>(&IntegerJudge::take), "record"_a)
      .def(
          "verdict",
          [](const IntegerJudge& judge, const std::string& orbits, const std::string& clocks,
             const std::string& phaseBiases) {
            CorrectionFacts facts;
            facts.orbits = orbits, facts.clocks = clocks, facts.phaseBiases = phaseBiases;
            return judge.verdict(facts);
          },
          "orbits"_a = "", "clocks"_a = "", "phase_biases"_a = "",
          "By all that was taken so far; the names tell whose solution orbits, clocks and biases are.");

  auto engine = py::class_<Engine>(m, "Engine", "One station: records in, a solution an epoch out.");
  engine.def(
      py::init(
          [](const Deployment& deployment, std::optional<std::string> mode, bool inProcess,
             const std::string& directory, const std::string& outputOptions, const std::string& worker,
             const py::bytes& state,
             std::function<void(const std::string&, const std::map<std::string, std::string>&)> onEvent) {
            EngineOptions options = engineOptions(mode, inProcess, directory, outputOptions, worker, state);
            if (onEvent)
              options.onEvent = [call = std::move(onEvent)](const EngineEvent& event) {
                const py::gil_scoped_acquire lock;
                try {
                  call(event.name, event.values);
                } catch (py::error_already_set& e) {  // the engine is in the middle of an epoch
                  e.discard_as_unraisable("on_event");
                }
              };
            return Engine(deployment, options);
          }),
      "deployment"_a, "mode"_a = py::none(), "in_process"_a = false, "directory"_a = "",
      "output_options"_a = "", "worker"_a = "", "state"_a = py::bytes(), "on_event"_a = py::none(),
      "State: what saved_state() gave an engine of the same deployment up to five minutes before. On_event: "
      "called with the name and the values of each event, inside feed().");
  addFeed<Event>(engine);
  addFeed<ObsEpoch>(engine);
  addFeed<BroadcastEph>(engine);
  addFeed<GlonassEph>(engine);
  addFeed<CorrectionBatch>(engine);
  engine.def("start", &Engine::start, "start"_a, py::call_guard<py::gil_scoped_release>())
      .def("obey", &Engine::obey, "policy"_a, "Resolve integers as a judgement says, from the next epoch on.")
      .def(
          "saved_state", [](Engine& e) { return py::bytes(e.state()); },
          "What the engine knows between two epochs, for one that goes on; empty before the first.")
      .def("restart", &Engine::restart, "Empty the filter; configuration and products stay.")
      .def("finish", &Engine::finish, py::call_guard<py::gil_scoped_release>())
      .def_property_readonly("directory", &Engine::directory)
      .def_property_readonly("signals", &Engine::signals)
      .def_property_readonly("warnings", &Engine::warnings,
                             "What will cost accuracy, satellites or integers.")
      .def_property_readonly("notes", &Engine::notes);
}

}  // namespace gnx::python
