// Records of the outside world in Python: times, observations, broadcast messages, corrections, files.

#include "records.h"

#include <pybind11/numpy.h>
#include <pybind11/operators.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <limits>
#include <sstream>

#include "gnx/read.h"

namespace gnx::python {

namespace py = pybind11;
using namespace py::literals;

py::array datetimes(const std::vector<GpsTime>& times) {
  std::vector<std::int64_t> ns;
  ns.reserve(times.size());
  for (const GpsTime& t : times) ns.push_back(t.seconds * 1'000'000'000 + std::llround(t.fraction * 1e9));
  return py::array_t<std::int64_t>(static_cast<py::ssize_t>(ns.size()), ns.data())
      .attr("view")("datetime64[ns]");
}

py::array_t<double> matrix(const std::vector<double>& values, std::vector<py::ssize_t> shape) {
  py::array_t<double> array(shape);
  std::copy(values.begin(), values.end(), array.mutable_data());
  return array;
}

namespace {

/// Points of a product as times and rows of numbers.
template <class Points, class Row>
py::tuple pointArrays(const Points& points, std::size_t width, Row row) {
  std::vector<GpsTime> times;
  std::vector<double> values;
  for (const auto& point : points) {
    times.push_back(point.time);
    row(point, values);
  }
  const auto n = static_cast<py::ssize_t>(times.size());
  return py::make_tuple(datetimes(times), width == 1 ? matrix(values, {n})
                                                     : matrix(values, {n, static_cast<py::ssize_t>(width)}));
}

template <class Map>
const typename Map::mapped_type& pointsOf(const Map& map, const std::string& satellite) {
  const auto found = map.find(satellite);
  if (found == map.end()) throw py::key_error("the product holds no satellite " + satellite);
  return found->second;
}

void addTime(py::module_& m) {
  py::class_<GpsTime>(m, "GpsTime", "A point in time, GPS time scale.")
      .def(py::init([](int year, int month, int day, int hour, int minute, double second) {
             const auto t = parseDate(year, month, day, hour, minute, second);
             if (!t) throw py::value_error("no such date or time of day");
             return *t;
           }),
           "year"_a, "month"_a, "day"_a, "hour"_a = 0, "minute"_a = 0, "second"_a = 0.0)
      .def_static(
          "from_seconds",
          [](std::int64_t s, double fraction) {
            return GpsTime{s, 0.0} + fraction;
          },
          "seconds"_a, "fraction"_a = 0.0, "From seconds since 1970-01-01 of the GPS time scale.")
      .def_readonly("seconds", &GpsTime::seconds)
      .def_readonly("fraction", &GpsTime::fraction)
      .def(
          "__add__", [](const GpsTime& t, double s) { return t + s; }, py::is_operator())
      .def(
          "__sub__", [](const GpsTime& a, const GpsTime& b) { return a - b; }, py::is_operator())
      .def(
          "__eq__", [](const GpsTime& a, const GpsTime& b) { return a == b; }, py::is_operator())
      .def(
          "__lt__", [](const GpsTime& a, const GpsTime& b) { return a < b; }, py::is_operator())
      .def("__hash__",
           [](const GpsTime& t) { return std::hash<double>()(static_cast<double>(t.seconds) + t.fraction); })
      .def("__str__", [](const GpsTime& t) { return formatTime(t, 3); })
      .def("__repr__", [](const GpsTime& t) { return "GpsTime(" + formatTime(t, 3) + ")"; });
}

void addObservations(py::module_& m) {
  py::class_<SignalObs>(m, "SignalObs", "One signal of a satellite; absent values are 0.")
      .def(py::init(
               [](const std::string& code, double phase, double range, double doppler, double snr, int lli) {
                 if (code.size() != 2) throw py::value_error("'" + code + "' is no signal such as 1C");
                 SignalObs s{{}, phase, range, doppler, snr, lli};
                 code.copy(s.code.data(), 2);
                 return s;
               }),
           "code"_a, "phase"_a = 0.0, "range"_a = 0.0, "doppler"_a = 0.0, "snr"_a = 0.0, "lli"_a = 0)
      .def_property_readonly("code", [](const SignalObs& s) { return std::string(s.code.data()); })
      .def_readwrite("phase", &SignalObs::phase, "cycles")
      .def_readwrite("range", &SignalObs::range, "m")
      .def_readwrite("doppler", &SignalObs::doppler, "Hz")
      .def_readwrite("snr", &SignalObs::snr, "dB-Hz")
      .def_readwrite("lli", &SignalObs::lli);
  py::class_<SatObs>(m, "SatObs", "The signals of a satellite.")
      .def(py::init([](std::string sat, std::vector<SignalObs> signals) {
             return SatObs{std::move(sat), std::move(signals)};
           }),
           "sat"_a, "signals"_a)
      .def_readwrite("sat", &SatObs::sat)
      .def_readwrite("signals", &SatObs::signals);
  py::class_<ObsEpoch>(m, "ObsEpoch", "All observations of a moment on the receiver's clock.")
      .def(py::init([](GpsTime time, std::vector<SatObs> sats) {
             return ObsEpoch{time, std::move(sats)};
           }),
           "time"_a, "sats"_a)
      .def_readwrite("time", &ObsEpoch::time)
      .def_readwrite("sats", &ObsEpoch::sats);
  py::class_<ObsHeader>(m, "ObsHeader", "What a receiver says about itself.")
      .def(py::init<>())
      .def_readwrite("marker", &ObsHeader::marker)
      .def_readwrite("receiver", &ObsHeader::receiver)
      .def_readwrite("antenna", &ObsHeader::antenna)
      .def_readwrite("position", &ObsHeader::position, "approximate, m")
      .def_readwrite("antenna_delta", &ObsHeader::antennaDelta, "height, east, north, m")
      .def_readwrite("types", &ObsHeader::types, "observation types by system: {'G': ['C1C', 'L1C']}")
      .def_readwrite("interval", &ObsHeader::interval, "s");
  py::class_<ObservationReader>(m, "ObservationReader", "Epochs of a RINEX file, one by one.")
      .def(py::init<const std::string&>(), "path"_a)
      .def_property_readonly("header", &ObservationReader::header)
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", [](ObservationReader& reader) {
        ObsEpoch epoch;
        if (!reader.next(epoch)) throw py::stop_iteration();
        return epoch;
      });
}

void addMessages(py::module_& m) {
  auto message =
      py::class_<BroadcastEph>(m, "BroadcastEph", "Keplerian broadcast message; radians, metres, seconds.");
  message.def(py::init<>()).def_readwrite("sat", &BroadcastEph::sat);
  const std::pair<const char*, GpsTime BroadcastEph::*> times[] = {
      {"toc", &BroadcastEph::toc},
      {"toe", &BroadcastEph::toe},
      {"transmission", &BroadcastEph::transmission}};
  for (const auto& [name, member] : times) message.def_readwrite(name, member);
  const std::pair<const char*, int BroadcastEph::*> numbers[] = {
      {"iode", &BroadcastEph::iode},     {"iodc", &BroadcastEph::iodc},
      {"health", &BroadcastEph::health}, {"accuracy", &BroadcastEph::accuracy},
      {"code", &BroadcastEph::code},     {"l2flag", &BroadcastEph::l2flag}};
  for (const auto& [name, member] : numbers) message.def_readwrite(name, member);
  const std::pair<const char*, double BroadcastEph::*> values[] = {
      {"crs", &BroadcastEph::crs},       {"delta_n", &BroadcastEph::deltaN},
      {"m0", &BroadcastEph::m0},         {"cuc", &BroadcastEph::cuc},
      {"e", &BroadcastEph::e},           {"cus", &BroadcastEph::cus},
      {"sqrt_a", &BroadcastEph::sqrtA},  {"cic", &BroadcastEph::cic},
      {"omega0", &BroadcastEph::omega0}, {"cis", &BroadcastEph::cis},
      {"i0", &BroadcastEph::i0},         {"crc", &BroadcastEph::crc},
      {"omega", &BroadcastEph::omega},   {"omega_dot", &BroadcastEph::omegaDot},
      {"idot", &BroadcastEph::idot}};
  for (const auto& [name, member] : values) message.def_readwrite(name, member);
  message.def_readwrite("af", &BroadcastEph::af)
      .def_property(
          "tgd",
          [](const BroadcastEph& e) {
            return std::array{e.tgd[0], e.tgd[1]};
          },
          [](BroadcastEph& e, std::array<double, 2> v) { std::copy(v.begin(), v.end(), e.tgd); });

  py::class_<GlonassEph>(m, "GlonassEph", "GLONASS broadcast message; metres, seconds.")
      .def(py::init<>())
      .def_readwrite("sat", &GlonassEph::sat)
      .def_readwrite("toe", &GlonassEph::toe)
      .def_readwrite("frame", &GlonassEph::frame)
      .def_readwrite("tau", &GlonassEph::tau)
      .def_readwrite("gamma", &GlonassEph::gamma)
      .def_readwrite("position", &GlonassEph::position)
      .def_readwrite("velocity", &GlonassEph::velocity)
      .def_readwrite("acceleration", &GlonassEph::acceleration)
      .def_readwrite("health", &GlonassEph::health)
      .def_readwrite("channel", &GlonassEph::channel)
      .def_readwrite("age", &GlonassEph::age);
}

void addCorrections(py::module_& m) {
  py::class_<OrbitClockCorrection>(m, "OrbitClockCorrection",
                                   "Orbit and clock of a satellite, signs of RTCM SSR.")
      .def(py::init([](std::string sat, int iod, Vector3 deph, Vector3 ddeph, Vector3 dclk) {
             return OrbitClockCorrection{std::move(sat), iod, deph, ddeph, dclk};
           }),
           "sat"_a, "iod"_a, "deph"_a, "ddeph"_a = Vector3{}, "dclk"_a = Vector3{})
      .def_readwrite("sat", &OrbitClockCorrection::sat)
      .def_readwrite("iod", &OrbitClockCorrection::iod)
      .def_readwrite("deph", &OrbitClockCorrection::deph, "radial, along-track, cross-track, m")
      .def_readwrite("ddeph", &OrbitClockCorrection::ddeph, "m/s")
      .def_readwrite("dclk", &OrbitClockCorrection::dclk, "m, m/s, m/s^2");
  py::class_<SsrBias>(m, "SignalBias", "A bias of one signal, to be added to the observation.")
      .def(py::init([](std::string signal, double value, int discontinuity) {
             return SsrBias{std::move(signal), value, 0, 0, discontinuity};
           }),
           "signal"_a, "value"_a, "discontinuity"_a = 0)
      .def_readwrite("signal", &SsrBias::signal)
      .def_readwrite("value", &SsrBias::value, "m")
      .def_readwrite("discontinuity", &SsrBias::discontinuity);
  py::class_<SatBiases>(m, "SatBiases", "Biases of one satellite.")
      .def(py::init([](std::string sat, std::vector<SsrBias> code, std::vector<SsrBias> phase) {
             return SatBiases{std::move(sat), std::move(code), std::move(phase)};
           }),
           "sat"_a, "code"_a = std::vector<SsrBias>{}, "phase"_a = std::vector<SsrBias>{})
      .def_readwrite("sat", &SatBiases::sat)
      .def_readwrite("code", &SatBiases::code)
      .def_readwrite("phase", &SatBiases::phase);
  py::class_<CorrectionBatch>(m, "CorrectionBatch", "Corrections that are handed over at one moment.")
      .def(py::init([](GpsTime delivery, GpsTime tag, std::vector<OrbitClockCorrection> corrections,
                       std::vector<SatBiases> biases) {
             const bool newBiases = !biases.empty();
             return CorrectionBatch{delivery, tag, std::move(corrections), newBiases, tag, std::move(biases)};
           }),
           "delivery"_a, "tag"_a, "corrections"_a, "biases"_a = std::vector<SatBiases>{})
      .def_readwrite("delivery", &CorrectionBatch::delivery)
      .def_readwrite("tag", &CorrectionBatch::tag)
      .def_readwrite("corrections", &CorrectionBatch::orbitClock)
      .def_readwrite("biases", &CorrectionBatch::biases);
}

void addProducts(py::module_& m) {
  py::class_<Sp3Product>(m, "Orbits", "Precise orbits of SP3 files.")
      .def_property_readonly("satellites",
                             [](const Sp3Product& p) {
                               std::vector<std::string> names;
                               for (const auto& [name, points] : p.orbits) names.push_back(name);
                               return names;
                             })
      .def_readonly("agency", &Sp3Product::agency)
      .def(
          "positions",
          [](const Sp3Product& p, const std::string& sat) {
            return pointArrays(pointsOf(p.orbits, sat), 3,
                               [](const OrbitPoint& point, std::vector<double>& out) {
                                 out.insert(out.end(), point.position.begin(), point.position.end());
                               });
          },
          "satellite"_a, "Times (datetime64, GPS) and earth-fixed positions, m, (n, 3).");
  py::class_<ClockProduct>(m, "Clocks", "Satellite clocks of RINEX clock files.")
      .def_property_readonly("satellites",
                             [](const ClockProduct& p) {
                               std::vector<std::string> names;
                               for (const auto& [name, points] : p.clocks) names.push_back(name);
                               return names;
                             })
      .def_readonly("agency", &ClockProduct::agency)
      .def(
          "biases",
          [](const ClockProduct& p, const std::string& sat) {
            return pointArrays(
                pointsOf(p.clocks, sat), 1,
                [](const ClockPoint& point, std::vector<double>& out) { out.push_back(point.bias); });
          },
          "satellite"_a, "Times (datetime64, GPS) and clock offsets, s.");
  m.def("read_orbits", &readSp3, "paths"_a, "Orbits of SP3 files, joined by time.");
  m.def("read_clocks", &readRinexClocks, "paths"_a, "Clocks of RINEX clock files, joined by time.");
  m.def(
      "read_messages",
      [](const std::vector<std::string>& paths) {
        NavData data = readRinexNav(paths);
        return py::make_tuple(std::move(data.keplerian), std::move(data.glonass));
      },
      "paths"_a, "Broadcast messages of RINEX navigation files: Keplerian ones and those of GLONASS.");
}

}  // namespace

void addRecords(py::module_& m) {
  addTime(m);
  addObservations(m);
  addMessages(m);
  addCorrections(m);
  addProducts(m);
}

}  // namespace gnx::python
