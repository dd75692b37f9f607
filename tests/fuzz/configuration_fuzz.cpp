// Any text as one of the files from which the engine is configured, in the middle of sound ones. The first
// byte chooses which of them.

#include <array>
#include <fstream>

#include "Common/Taiutc.h"
#include "Config/Configuration.h"
#include "Config/SiteInfo.h"
#include "support/deployment.h"

namespace {

struct Refused {};

constexpr std::array kFiles = {"ppp.json",    "tables.json", "amb.json",    "smooth.json",
                               "satconf.txt", "satnav.txt",  "antenna.atx", "antnam.txt",
                               "leapsc.txt",  "ratio.txt",   "ocload.blq"};

bool loading = false;

/// A sound configuration in a directory of its own.
class Sandbox {
 public:
  Sandbox() {
    for (const char* key : {"broad", "obs", "external", "qclog", "output", "trace"})
      m_deployment.config["path"][key] = "log";  // of whatever a fuzzer makes of the word, most stays in here
    m_deployment.config["files"] = "tables.json";
    m_deployment.config["amb"] = "amb.json";
    m_deployment.write();
    for (const char* file : kFiles) m_sound[file] = support::readFile(m_deployment.path(file));
  }
  void load(const char* file, const std::string& text) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(m_deployment.path(""));
    write(file, text);
    try {
      loading = true;
      tarvio::Deploy deploy;
      tarvio::s_setConfig(&deploy);
      const char* words[] = {"-mode", "ppp", "ppp.json", "-itrs", "-dia", "-iar"};
      deploy.m_readJsonFile(std::size(words), words);
      double coefficients[6][11];
      tarvio::s_checkOceanFile();
      tarvio::oceanload_coef(0.9, 0.2, coefficients);
    } catch (const Refused&) {  // where the process would end, with a sentence on the console
    }
    loading = false;
    // What belongs to the process outlives the end that it was to have.
    tarvio::Taiutc::s_getInstance().m_mjds = {41317, 99999};
    tarvio::Taiutc::s_getInstance().m_taiutc = {10, 37};
    tarvio::s_setConfig(nullptr);
    write(file, m_sound[file]);
    std::filesystem::current_path(before);
  }

 private:
  static void write(const char* file, const std::string& text) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
  }
  support::Deployment m_deployment;
  std::map<std::string, std::string> m_sound;
};

}  // namespace

// The linker puts it in the place of exit().
extern "C" [[noreturn]] void __real_exit(int status);
extern "C" [[noreturn]] void __wrap_exit(int status) {
  if (loading) throw Refused();
  __real_exit(status);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Sandbox& sandbox = *new Sandbox;
  if (size == 0) return 0;
  sandbox.load(kFiles[data[0] % kFiles.size()], {reinterpret_cast<const char*>(data) + 1, size - 1});
  return 0;
}
