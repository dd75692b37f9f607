// Writes the files of a run directory: satellites, antennas, tables, configuration.

#include "deployment/deployment.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <ctime>
#include <fstream>
#include <ostream>
#include <set>
#include <sstream>

#include "deployment/antex_file.h"
#include "deployment/built_in_files.h"
#include "deployment/choices.h"
#include "deployment/deployed_integers.h"
#include "deployment/deployed_keys.h"
#include "deployment/json_template.h"
#include "deployment/pole_table.h"
#include "deployment/troposphere_grid.h"
#include "gnx/adapt.h"
#include "gnx/error.h"
#include "gnx/satellite.h"
#include "text/fields.h"
#include "text/json_file.h"
#include "text/nearest_name.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace fs = std::filesystem;

namespace {

std::string_view builtIn(const std::string& name) {
  const auto file = builtInFiles().find(name);
  if (file == builtInFiles().end()) throw std::logic_error("file " + name + " is not built in");
  return file->second;
}

/// Content of a built-in .gz file.
std::string inflated(std::string_view data) {
  z_stream stream{};
  constexpr int kGzip = 16;
  if (inflateInit2(&stream, MAX_WBITS + kGzip) != Z_OK) throw std::bad_alloc();
  std::string input(data), text;
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  std::vector<char> chunk(1 << 18);
  int state = Z_OK;
  while (state == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(chunk.data());
    stream.avail_out = static_cast<uInt>(chunk.size());
    state = inflate(&stream, Z_NO_FLUSH);
    text.append(chunk.data(), chunk.size() - stream.avail_out);
  }
  inflateEnd(&stream);
  if (state != Z_STREAM_END) throw std::logic_error("a built-in file is damaged");
  return text;
}

/// Writes one file of the deployment. The old one is removed first: it may be a link to elsewhere.
template <class Write>
void writeFile(const fs::path& file, Write&& write) {
  std::error_code ignored;
  fs::remove(file, ignored);
  std::ofstream out(file, std::ios::binary);
  if (out) write(out);
  if (!out.flush())
    throw InputError(file.string(), 0, "cannot be written; check the directory and free space");
}

void writeText(const fs::path& file, std::string_view text) {
  writeFile(file, [&](std::ostream& out) { out << text; });
}

/// Copies a text file, unpacking it on the way.
void unpack(const fs::path& from, const fs::path& to) {
  std::error_code none;
  if (fs::exists(to, none) && fs::equivalent(from, to, none)) return;
  TextReader in(from.string());
  writeFile(to, [&](std::ostream& out) {
    for (std::string_view line; in.next(line);) out << line << '\n';
  });
}

TableTime dateOf(const DeploymentOptions& options) {
  if (options.date.seconds != 0) return tableTime(options.date);
  constexpr int kGpsMinusUtc = 18;
  return tableTime({static_cast<std::int64_t>(std::time(nullptr)) + kGpsMinusUtc, 0.0});
}

std::string dateText(const TableTime& t) { return printed("%04d-%02d-%02d", t[0], t[1], t[2]); }

// ---- satellites and antennas ----

struct Antennas {
  std::vector<AntexBlock> blocks;           ///< satellites of the chosen systems, then receivers
  std::vector<SatelliteRecord> satellites;  ///< rows of the navigation table
  bool fromFile = false;
};

/// Blocks of the file that are valid at the date or later, with the table rows that they describe.
Antennas readAntennas(const fs::path& path, const TableTime& date) {
  Antennas a;
  a.fromFile = true;
  std::map<std::string, double> mass;
  for (const SatelliteRecord& r : parseSatelliteTable(builtIn("satnav.txt"))) {
    mass[r.name.substr(0, 1) + r.vehicle] = r.mass_kg;
    mass.emplace(r.block, r.mass_kg);
  }
  for (AntexBlock& block : readAntex(path)) {
    if (block.until[0] != 0 && block.until < date) continue;
    if (block.isSatellite()) {
      SatelliteRecord r = satelliteOf(block);
      const auto known = mass.contains(block.svn) ? mass.find(block.svn) : mass.find(r.block);
      r.mass_kg = known == mass.end() ? 1000.0 : known->second;
      a.satellites.push_back(std::move(r));
    }
    a.blocks.push_back(std::move(block));
  }
  return a;
}

Antennas nominalAntennas() {
  Antennas a;
  a.satellites = parseSatelliteTable(builtIn("satnav.txt"));
  for (const SatelliteRecord& r : a.satellites)
    a.blocks.push_back(nominalBlock(r, builtIn("block_offsets.csv")));
  return a;
}

const SystemChoice* choiceOf(const std::vector<SystemChoice>& systems, char letter) {
  const auto at = std::ranges::find(systems, letter, &SystemChoice::letter);
  return at == systems.end() ? nullptr : &*at;
}

/// Satellites that have been launched since the antenna file was made get the offsets of their kind: orbits
/// of phase centres use none of them.
void addLaunched(Antennas& a, const std::vector<SystemChoice>& systems, const TableTime& date,
                 std::ostream& notes) {
  std::string added;
  for (const SatelliteRecord& r : parseSatelliteTable(builtIn("satnav.txt"))) {
    const auto same = [&](const SatelliteRecord& other) {
      return other.name == r.name && other.validAt(date);
    };
    if (!r.validAt(date) || choiceOf(systems, systemLetter(r)) == nullptr ||
        std::ranges::any_of(a.satellites, same))
      continue;
    a.satellites.push_back(r);
    a.blocks.push_back(nominalBlock(r, builtIn("block_offsets.csv")));
    added += " " + r.name;
  }
  if (!added.empty())
    notes << "not in the antenna file, so with the offsets of their kind and without patterns:" << added
          << '\n';
}

/// Gives every block the observed frequencies of its system; blocks without any offset are dropped.
void completeBlocks(Antennas& a, const std::vector<SystemChoice>& systems, std::ostream& notes) {
  std::map<std::string, int> repeated;
  std::erase_if(a.blocks, [&](AntexBlock& block) {
    if (!block.isSatellite()) return false;
    const SystemChoice* choice = choiceOf(systems, systemLetter(satelliteOf(block)));
    if (choice == nullptr) return true;
    for (const Carrier& carrier : choice->observed) {
      if (block.find(carrier.antex) != nullptr) continue;
      if (!completeFrequency(block, carrier.antex, carrier.hz)) return true;
      if (a.fromFile) ++repeated[choice->title + " " + carrier.word];
    }
    return false;
  });
  for (const auto& [name, count] : repeated) {
    notes << name << ": " << count
          << " satellite antennas without offsets of their own take those of the nearest "
          << "frequency\n";
  }
}

std::string join(const std::set<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
  return text;
}

/// The satellite list, in the order of the systems. Satellites that fly at the date but have no
/// antenna are named in the notes.
std::string satelliteList(const Antennas& a, const std::vector<SystemChoice>& systems, const TableTime& date,
                          const DeploymentOptions& options, std::ostream& notes) {
  std::string text = "Satellites in use at " + dateText(date) +
                     ". Each line with a leading blank: name and system (GPS, GLS, GAL, BD2, BD3, QZS).\n"
                     "The first other line ends the list: leave a satellite out by deleting its line.\n"
                     "-Satellite used\n";
  for (const SystemChoice& choice : systems) {
    std::set<std::string> inOrbit, listed;
    const auto flies = [&](const SatelliteRecord& r) {
      return systemLetter(r) == choice.letter && r.validAt(date);
    };
    for (const SatelliteRecord& r : parseSatelliteTable(builtIn("satnav.txt"))) {
      if (flies(r)) inOrbit.insert(r.name);
    }
    for (const SatelliteRecord& r : a.satellites) {
      if (!flies(r)) continue;
      const bool antenna = std::ranges::any_of(a.blocks, [&](const AntexBlock& block) {
        return block.isSatellite() && block.serial == r.name && satelliteOf(block).validAt(date);
      });
      (antenna ? listed : inOrbit).insert(r.name);
    }
    if (listed.empty()) {
      throw UsageError("no " + choice.title + " satellite has an antenna valid at " + dateText(date) +
                       (options.antex.empty() ? " in the built-in table" : " in " + options.antex.string()) +
                       ": leave the system out or give another antenna file");
    }
    for (const std::string& name : listed) {
      text += " " + name + " " + choice.listWord + "\n";
      inOrbit.erase(name);
    }
    if (!inOrbit.empty())
      notes << choice.title << ": left out for want of an antenna block: " << join(inOrbit) << '\n';
  }
  return text + "=\n";
}

/// The name table lists the receiver antennas of the antenna file.
std::string antennaNames(const Antennas& a) {
  std::set<std::string> names{"ANTNONE         NONE"};
  for (const AntexBlock& block : a.blocks) {
    if (!block.isSatellite()) names.insert(block.type);
  }
  std::string text;
  for (const std::string& name : names) text += "MAIN  " + name + "\n";
  return text;
}

/// Antenna files and products share the axes of the IGS. The engine flies blocks with reversed axes that are
/// their own, so their offsets are turned with them; and it knows orbit-normal attitude, which the
/// geostationary QZSS flies at all times, by BeiDou's name.
void matchAttitudes(Antennas& a) {
  constexpr const char *kOrbitNormal = "QZSS-2G", *kKnownAs = "BEIDOU-3G-CAST";
  for (AntexBlock& block : a.blocks) {
    if (!block.isSatellite()) continue;
    const std::string name = satelliteOf(block).block;
    if (hasReversedAxes(name)) block.reverseAxes();
    if (name == kOrbitNormal) block.setType(kKnownAs);
  }
  for (SatelliteRecord& satellite : a.satellites)
    if (satellite.block == kOrbitNormal) satellite.block = kKnownAs;
}

/// Finds the station's antenna, with any radome when its own is not calibrated.
void resolveAntenna(std::string& antenna, const Antennas& a, std::ostream& notes) {
  if (antenna.empty()) return;
  antenna.resize(20, ' ');
  const auto known = [&](const std::string& name) {
    return std::ranges::any_of(a.blocks,
                               [&](const AntexBlock& b) { return !b.isSatellite() && b.type == name; });
  };
  if (known(antenna) || antenna.starts_with("ANTNONE")) return;
  const std::string bare = antenna.substr(0, 16) + "NONE";
  if (known(bare)) {
    notes << "antenna '" << antenna << "' is not in the antenna file: '" << bare << "' is taken\n";
    antenna = bare;
  } else {
    notes << "antenna '" << antenna
          << "' is not in the antenna file: its offsets are zero, the height refers to "
          << "the phase centre\n";
  }
}

void writeAntennas(const fs::path& dir, const std::vector<SystemChoice>& systems, DeploymentOptions& options,
                   std::ostream& notes) {
  const TableTime date = dateOf(options);
  Antennas a = options.antex.empty() ? nominalAntennas() : readAntennas(options.antex, date);
  if (options.antex.empty()) {
    notes
        << "no antenna file (--antex): nominal satellite offsets by block, 0.05 to 0.3 m from the true ones; "
        << "no receiver antennas\n";
  }
  if (a.fromFile && options.refpoint == "APC_ITRF") addLaunched(a, systems, date, notes);
  completeBlocks(a, systems, notes);
  matchAttitudes(a);
  writeText(dir / "satellites.txt", satelliteList(a, systems, date, options, notes));
  writeText(dir / "satnav.txt", formatSatelliteTable(a.satellites));
  writeText(dir / "antnam.txt", antennaNames(a));
  resolveAntenna(options.run.antenna, a, notes);
  for (AntexBlock& block : a.blocks)
    if (block.isSatellite() || block.type != options.run.antenna) block.dropAzimuthRows();
  writeFile(dir / "antenna.atx", [&](std::ostream& out) {
    writeAntex(out, a.blocks,
               options.antex.empty() ? "Nominal offsets by satellite block, to a centimetre\n"
                                     : "Offsets of " + options.antex.filename().string().substr(0, 40) +
                                           "\nwith azimuth rows of the own receiver antenna alone;\n"
                                           "satellites of the chosen systems; a missing frequency\n"
                                           "repeats its neighbour\n");
  });
}

// ---- other data ----

/// \return the grid's path as the engine reads it
std::string placeGrid(const fs::path& dir, const DeploymentOptions& options, std::ostream& notes) {
  const std::string name = "gpt2_1w.grd";
  if (options.grid.empty()) {
    notes << "no troposphere grid (--grid): interpolated from a 5-degree climatology, millimetres of zenith "
             "delay "
          << "in flat country, centimetres in mountains\n";
    const CoarseGrid grid = parseBuiltInGrid(inflated(builtIn("gpt2_5deg.csv.gz")));
    writeFile(dir / name, [&](std::ostream& out) { writeFineGrid(out, grid); });
    return name;
  }
  CoarseGrid coarse;
  if (inspectGrid(options.grid, &coarse) == GridKind::coarse) {
    notes << "troposphere grid: the 5-degree file is interpolated to 1 degree\n";
    writeFile(dir / name, [&](std::ostream& out) { writeFineGrid(out, coarse); });
    return name;
  }
  const std::string plain = fs::absolute(options.grid).string();
  // The engine takes '!' and '#' for the start of a comment.
  if (options.grid.extension() != ".gz" && plain.find_first_of("!#") == std::string::npos &&
      plain.size() < 200) {
    return plain;
  }
  unpack(options.grid, dir / name);
  return name;
}

void placeOceanLoading(const fs::path& dir, const DeploymentOptions& options, std::ostream& notes) {
  if (!options.blq.empty()) {
    unpack(options.blq, dir / "ocean.blq");
    return;
  }
  notes << "no ocean loading (--blq): none is applied, up to 0.05 m of height at oceanic coasts\n";
  writeText(dir / "ocean.blq", "$$ Ocean loading: no site\n");
}

/// The table of the pole, and in a line what it is made from.
void placePole(const fs::path& dir, const DeploymentOptions& options, std::ostream& notes) {
  const TableTime date = dateOf(options);
  const double mjd = modifiedJulianDay(toGpsTime({date[0], date[1], date[2], 12, 0, 0.0}));
  std::vector<EarthRotation> records, taken;
  if (!options.erp.empty()) records = readEarthRotation(options.erp.string());
  writeFile(dir / "polut1.txt", [&](std::ostream& out) { taken = writePoleTable(out, records, mjd); });
  constexpr const char* kError = "1 to 4 mm of the pole tide are missing";
  const auto day = [](const EarthRotation& r) { return std::to_string(static_cast<int>(r.mjd)); };
  if (options.erp.empty()) {
    notes << "no Earth rotation (--erp): the pole is the secular one, " << kError << '\n';
  } else if (taken.empty()) {
    notes << options.erp.string() << " ends at MJD " << day(records.back())
          << ", before the date: the pole is the secular one, " << kError << '\n';
  } else if (taken.front().mjd > mjd + 1.0 || taken.back().mjd < mjd) {
    notes << options.erp.string() << " holds MJD " << day(taken.front()) << " to " << day(taken.back())
          << ", not the date: away from there the pole is the secular one, " << kError << '\n';
  }
}

// ---- configuration files ----

/// The Melbourne-Wuebbena combination of a pair as the smoother reads it: phases by +1 and -1 times
/// their frequency, codes by f/(fa + fb).
std::string wideLaneCombination(const SystemChoice& s, const Carrier& a, const Carrier& b) {
  return printed("%s:L%s:1_L%s:-1_P%s:%.10f_P%s:%.10f", s.listWord.c_str(), a.name.c_str(), b.name.c_str(),
                 a.name.c_str(), a.hz / (a.hz + b.hz), b.name.c_str(), b.hz / (a.hz + b.hz));
}

struct Pair {
  Carrier high, low;
};

Pair ordered(Carrier a, Carrier b) {
  if (a.hz < b.hz) std::swap(a, b);
  return {std::move(a), std::move(b)};
}

/// The first two used frequencies; with a single one, that twice.
Pair widePair(const SystemChoice& s) { return ordered(s.used.front(), s.used[s.used.size() > 1 ? 1 : 0]); }

/// The two lowest of three; with fewer the wide-lane pair.
Pair extraWidePair(const SystemChoice& s) {
  if (s.used.size() < 3) return widePair(s);
  std::vector<Carrier> carriers = s.used;
  std::ranges::sort(carriers, std::ranges::greater{}, &Carrier::hz);
  return {carriers[carriers.size() - 2], carriers.back()};
}

std::string pairText(const SystemChoice& s, const Pair& p) {
  return s.listWord + ":" + p.high.word + (p.high.name == p.low.name ? "" : "_" + p.low.word);
}

std::map<std::string, std::string> ambiguityValues(const std::vector<SystemChoice>& systems,
                                                   const DeploymentOptions& o) {
  std::map<std::string, std::string> v;
  for (const SystemChoice& s : systems) {
    const Pair wide = widePair(s), extra = extraWidePair(s);
    const std::string gap = v["WL_COMB"].empty() ? "" : " ";
    v["WL_COMB"] += gap + pairText(s, wide);
    v["EWL_COMB"] += gap + pairText(s, extra);
    v["WL_SMOOTH"] += gap + wideLaneCombination(s, wide.high, wide.low);
    v["EWL_SMOOTH"] += gap + wideLaneCombination(s, extra.high, extra.low);
  }
  const bool levels = o.resolution && o.combination != "SF";  // one frequency has no wide-lane
  const bool triple = std::ranges::any_of(systems, [](const SystemChoice& s) { return s.used.size() > 2; });
  // The filter of ionosphere-free observations has no wide-lanes of its own; AFIF has, behind
  // extra-wide-lanes.
  const bool smoothedExtra = o.combination == "AFIF", smoothedWide = o.combination.ends_with("IF");
  v["EWL_RESOLUTION"] = levels && triple && o.combination != "IF" ? "on" : "off";
  v["WL_RESOLUTION"] = v["N1_RESOLUTION"] = levels ? "on" : "off";
  v["EWL_TYPE"] = smoothedExtra ? "mw" : "raw";
  v["EWL_MW"] = smoothedExtra ? "on" : "off";
  v["WL_TYPE"] = smoothedWide ? "mw" : "raw";
  v["WL_MW"] = smoothedWide ? "on" : "off";
  // Wide-lanes are right long before the floats are worth fixing: an arc has to last by itself.
  v["N1_MINSECONDS"] = o.combination == "RAW" ? "60" : "600";
  v["UPD_SWITCH"] = o.biasProducts ? "on" : "off";
  return v;
}

constexpr double kGeodeticCode_m = 0.18;  ///< where sigmas are fixed

/// Factors on the engine's code sigma.
std::string noiseFactors(const std::vector<SystemChoice>& systems, double sigma_m) {
  constexpr double kEngineSigma_m = 0.3;
  const std::string factor = printed("%.3g", sigma_m / kEngineSigma_m);
  std::string text;
  for (const SystemChoice& s : systems) {
    text += (text.empty() ? "" : " ") + s.listWord + ":";
    for (std::size_t i = 0; i < s.used.size(); ++i) text += (i > 0 ? "_" : "") + factor;
  }
  return text;
}

std::map<std::string, std::string> mainValues(const std::vector<SystemChoice>& systems,
                                              const DeploymentOptions& o) {
  const TableTime date = dateOf(o);
  const bool moving = o.run.mode != Mode::static_;
  const bool raw = o.combination == "RAW";
  const bool triple = std::ranges::any_of(systems, [](const SystemChoice& s) { return s.used.size() > 2; });
  return {
      {"TIME", printed("%04d %02d %02d 00 00 00.0 86400.0", date[0], date[1], date[2])},
      {"INTERVAL", printed("%.6g", o.run.interval_s)},
      {"OBSUSED", "CODE+PHASE"},
      {"NOISECOEF", moving ? "2000.0 1000.0" : "2000.0 0.001"},
      {"NOISECOEF_NOTE",
       moving ? "a-priori sigma 0.05 m times the first; noise of each epoch 1 m/sqrt(s) times the second"
              : "a-priori sigma 0.05 m times the first; the second, noise, does not act on a static station"},
      {"REFPOINT", o.refpoint},
      {"FREQOBS", frequencyList(systems, CarrierSet::observed)},
      {"FREQUSED", frequencyList(systems, CarrierSet::used)},
      {"NOISEBYFREQ", noiseFactors(systems, o.codeNoise_m.value_or(kGeodeticCode_m))},
      {"CODENOISE", o.codeNoise_m ? printed("%.4g %.4g", *o.codeNoise_m, *o.codeNoise_m) : "0.3 0.25"},
      {"OBSCOMB", o.combination},
      {"P1P2DCB", raw ? "DCB_EST 10.0 0.0001" : "DCB_NONE 0 0"},
      {"ICBDCB", raw && triple ? "DCB_EST 10.0 0.0001" : "DCB_NONE 0 0"},
      {"IONMODEL", o.combination.ends_with("IF") ? "ION_NONE" : "ION_EST"},
      {"IONPRI", o.ionosphereSigma_m ? printed("ION_WALK %.4g 0.03", *o.ionosphereSigma_m)
                 : raw               ? "ION_WALK 30 0.03"
                                     : "ION_NONE"},
      {"TRACELEVEL", std::to_string(o.traceLevel)},
      {"CLOCKDATUM", frequencyList(systems, CarrierSet::used, 2)}};
}

[[noreturn]] void refuseKey(const std::string& key) {
  const std::string nearest = nearestName(key, keysOfDeployments());
  throw UsageError("'" + key + "' is no key of a deployment; " +
                   (nearest.empty() ? "" : "did you mean " + nearest + "? ") +
                   "Keys are such as common.ionmodel, threshold.dia, amb.n1.cutoff_amb, files.ocload "
                   "(docs/configuration.md lists them)");
}

bool isNumbers(const std::string& text) {
  std::vector<std::string_view> words;
  split(text, words);
  return !words.empty() &&
         std::ranges::all_of(words, [](std::string_view w) { return parseReal(w).has_value(); });
}

/// A text in the place of numbers would be taken for a default without a word.
void checkOverride(const Json::Value& root, const std::string& key, const std::string& value) {
  const Json::Value* old = &root;
  std::istringstream names(key);
  for (std::string name; std::getline(names, name, '.') && old->isObject();) old = &(*old)[name];
  const std::string before = plainValue(*old);
  if (isNumbers(before) && !isNumbers(value))
    throw UsageError("--set " + key + " takes numbers such as '" + before + "', not '" + value + "'");
}

/// Applies the overrides to the files' texts, by the first part of their key.
void applyOverrides(const DeploymentOptions& o, std::string& main, std::string& ambiguity,
                    std::string& tables) {
  for (const auto& [key, value] : o.overrides) {
    if (std::ranges::any_of(value, [](unsigned char c) { return std::iscntrl(c) != 0; })) {
      throw UsageError("the value of " + key + " holds a control character");
    }
    for (const std::string* text : {&main, &ambiguity})
      checkOverride(parseJson("template", *text), key, value);
    const bool done = key == "amb.osb_switch"     ? setJsonValue(ambiguity, "osb_switch", value)
                      : key.starts_with("amb.")   ? setJsonValue(ambiguity, key, value)
                      : key.starts_with("files.") ? setJsonValue(tables, key, value)
                                                  : setJsonValue(main, key, value);
    if (!done) refuseKey(key);
  }
}

void writeJson(const fs::path& file, const std::string& text) {
  parseJson(file.string(), text);
  writeText(file, text);
}

}  // namespace

void writeDeployment(const fs::path& dir, const DeploymentOptions& given, std::ostream& notes) {
  DeploymentOptions options = given;
  const std::vector<SystemChoice> systems = checkChoices(options);
  const auto ambiguityTexts = ambiguityValues(systems, options);
  std::string main = fillJson(builtIn("ppp.json.in"), mainValues(systems, options));
  std::string ambiguity = fillJson(builtIn("ambiguity.json.in"), ambiguityTexts);
  if (choiceOf(systems, 'R') != nullptr)
    notes << "GLONASS is read and corrected, but the engine never estimates with it\n";
  if (options.resolution && options.combination == "SF")
    notes << "ambiguity resolution is off: one frequency has no wide-lane\n";

  std::error_code error;
  fs::create_directories(dir / "log", error);
  if (error) throw InputError((dir / "log").string(), 0, "cannot be made: " + error.message());
  std::string tables = fillJson(builtIn("tables.json.in"), {{"GRID", placeGrid(dir, options, notes)}});
  applyOverrides(options, main, ambiguity, tables);
  for (const std::string& sentence :
       checkIntegers(parseJson("ppp.json", main), parseJson("ambiguity.json", ambiguity)))
    notes << sentence << '\n';
  writeAntennas(dir, systems, options, notes);
  placeOceanLoading(dir, options, notes);
  placePole(dir, options, notes);
  for (const char* name : {"leapseconds.txt", "ut1t10.txt", "predefine.txt", "ratio.txt"}) {
    writeText(dir / name, builtIn(name));
  }
  writeText(dir / "no_ratio_table.txt", "nrow 0 ndim 0\n");
  writeJson(dir / "tables.json", tables);
  writeJson(dir / "ambiguity.json", ambiguity);
  writeJson(dir / "smoothing.json", fillJson(builtIn("smoothing.json.in"), ambiguityTexts));
  writeRunSettings(dir, options.run);
  writeJson(dir / "ppp.json", main);  // last: its presence says that the deployment is complete
}

}  // namespace gnx
