// Damaged files of every format: cut at every kilobyte, and with bytes flipped. A reader may deliver
// what stands in front of the damage and must then stop with an InputError or at a plausible end;
// any other exception, a crash or a hang fails the test (run under sanitizers too).

#include <functional>
#include <random>

#include "deployment/antex_file.h"
#include "formats/rinex_clk.h"
#include "formats/rinex_nav.h"
#include "formats/rinex_obs.h"
#include "formats/sinex_bias.h"
#include "formats/sp3.h"
#include "formats/ssr_text.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

using Reader = std::function<void(const std::string& path)>;

struct Format {
  const char* name;
  Reader read;
  std::string text;  ///< the first 60 kB of a real file, "" when the data are not there
  bool endMark;      ///< whether the format can tell that its end is missing
};

std::string real(const std::string& file) { return readFile(realFile(file)).substr(0, 60000); }

std::string biases() {
  std::string text =
      "%=BIA 1.00 TST 2020:177:00000 TST 2020:177:00000 2020:178:00000 R 00000004\n+BIAS/SOLUTION\n";
  for (int prn = 1; prn < 100; ++prn)
    text += printed(" OSB  G%03d G%02d           C1W       2020:177:00000 2020:178:00000 ns %21.4f %11.4f\n",
                    prn, prn, prn * 0.1, 0.001);
  return text + "-BIAS/SOLUTION\n%=ENDBIA\n";
}

const std::vector<Format>& formats() {
  static const std::vector<Format> all = {
      {"obs",
       [](const std::string& path) {
         RinexObsReader reader(path);
         for (ObsEpoch epoch; reader.next(epoch);) continue;
       },
       real("clas_2021078/SEPT078M.21O.gz"), false},
      {"nav", [](const std::string& path) { readRinexNav({path}); },
       real("esbc_2020177/ESBC00DNK_R_20201770000_01D_MN.rnx.gz"), false},
      {"sp3", [](const std::string& path) { readSp3({path}); },
       real("esbc_2020177/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz"), true},
      {"clk", [](const std::string& path) { readRinexClocks({path}); },
       real("esbc_2020177/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz"), false},
      {"ssr",
       [](const std::string& path) {
         SsrTextReader reader(path);
         for (SsrBlock block; reader.next(block);) continue;
       },
       real("clas_2021078/corrections.ssr.gz"), false},
      {"atx", [](const std::string& path) { readAntex(path); }, real("antex/igs14_trim.atx.gz"), false},
      {"bia", [](const std::string& path) { readSinexBias({path}); }, biases(), true}};
  return all;
}

/// Runs a reader on damaged bytes. \return the message of its InputError, "" for none
std::string outcome(const TempDir& dir, const Reader& read, const std::string& bytes) {
  const std::string path = dir.write("damaged", bytes);
  const std::string message = inputError([&] { read(path); });
  if (!message.empty()) {
    EXPECT_EQ(message.find(path), 0u) << message;
    EXPECT_LT(message.size(), 500u) << message;
  }
  return message;
}

TEST(DamagedInput, CutAtEveryKilobyte) {
  const TempDir dir;
  for (const Format& format : formats()) {
    if (format.text.empty()) continue;
    int refused = 0, cuts = 0;
    for (std::size_t length = 0; length < format.text.size(); length += 1024, ++cuts) {
      // A cut on a line boundary can be a whole file; everywhere else the last record is a stump.
      const std::string message = outcome(dir, format.read, format.text.substr(0, length));
      refused += message.empty() ? 0 : 1;
      EXPECT_TRUE(!format.endMark || !message.empty()) << format.name << " cut at " << length;
    }
    EXPECT_GT(refused, cuts / 2) << format.name;
  }
}

TEST(DamagedInput, FlippedBytes) {
  const TempDir dir;
  std::mt19937 random(20200625);
  for (const Format& format : formats()) {
    const std::string text = format.text.substr(0, 20000);
    if (text.empty()) continue;
    int refused = 0;
    for (int round = 0; round < 200; ++round) {
      std::string bytes = text;
      for (std::size_t i = 0, n = 1 + random() % 20; i < n; ++i)
        bytes[random() % bytes.size()] = static_cast<char>(random());
      refused += outcome(dir, format.read, bytes).empty() ? 0 : 1;
    }
    EXPECT_GT(refused, 100) << format.name;
    const std::string archive = packed(text);
    for (int round = 0; round < 60; ++round) {
      std::string bytes = archive;
      // behind the ten bytes of the header, whose time and name fields no checksum covers
      bytes[10 + random() % (bytes.size() - 10)] ^= static_cast<char>(1 << random() % 8);
      EXPECT_NE(outcome(dir, format.read, bytes), "") << format.name << " packed, round " << round;
    }
  }
}

TEST(DamagedInput, WhatIsNoTextAtAll) {
  const TempDir dir;
  std::string random(200000, '\0');
  std::mt19937 source(1);
  for (char& c : random) c = static_cast<char>(source());
  const std::string longLine(3000000, 'x');
  for (const Format& format : formats()) {
    for (const std::string& bytes : {std::string(), std::string("\n"), random, longLine})
      EXPECT_NE(outcome(dir, format.read, bytes), "") << format.name << ", bytes " << bytes.size();
    EXPECT_THAT(inputError([&] { format.read("/tmp"); }), HasSubstr("is a directory")) << format.name;
  }
}

}  // namespace
}  // namespace gnx::test
