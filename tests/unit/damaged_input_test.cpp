// Damaged files of every format: cut at every kilobyte, and with bytes flipped. A reader may deliver
// what stands in front of the damage and must then stop with an InputError or at a plausible end;
// any other exception, a crash or a hang fails the test (run under sanitizers too).

#include <random>

#include "deployment/antex_file.h"
#include "formats/rinex_obs.h"
#include "formats/ssr_text.h"
#include "gnx/read.h"
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

void readObservations(const std::string& path) {
  RinexObsReader reader(path);
  for (ObsEpoch epoch; reader.next(epoch);) continue;
}

const std::vector<Format>& formats() {
  static const std::vector<Format> all = {
      {"obs", readObservations, real("clas_2021078/SEPT078M.21O.gz"), false},
      {"obs of version 2", readObservations, real("rinex_samples/npaz3550.21o"), false},
      {"compact obs of version 2", readObservations, real("rinex_samples/npaz3550.21d"), false},
      {"compact obs", readObservations, real("rinex_samples/ACOR00ESP_R_20213550000_01D_30S_MO.crx"), false},
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
      {"atx", [](const std::string& path) { readAntex(path); }, real("antex/igs14_2134.atx.gz"), false},
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

/// Whether an archive unpacks to a text without complaint: a few bits of the tables of a packed file are not
/// used, and their loss is no damage.
bool isArchiveOf(const std::string& path, const std::string& text) {
  std::string content(text.size() + 1, '\0');
  gzFile file = gzopen(path.c_str(), "rb");
  const int read = gzread(file, content.data(), static_cast<unsigned>(content.size()));
  const bool whole = gzclose(file) == Z_OK && read == static_cast<int>(text.size());
  return whole && content.starts_with(text);
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
  for (const Format& format : formats()) {
    std::mt19937 random(20200625);  // the same damage whichever other formats have data
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
      if (isArchiveOf(dir.write("flipped.gz", bytes), text)) continue;
      EXPECT_NE(outcome(dir, format.read, bytes), "") << format.name << " packed, round " << round;
    }
  }
}

// A flipped bit can leave a plausible text, and a cut can miss the text altogether: the checksum and the
// length at the end of the archive tell, also to a reader that has met the end mark of its format.
TEST(DamagedInput, EndMarksDoNotHideADamagedArchive) {
  const TempDir dir;
  const std::string sp3 =
      "#cP2020  6 25  0  0  0.00000000       1 ORBIT IGb14 FIT TEST\n"
      "## 2111 345600.00000000   900.00000000 59025 0.0000000000000\n"
      "+    1   G05\n"
      "%c M  cc GPS ccc cccc cccc cccc cccc ccccc ccccc ccccc ccccc\n"
      "*  2020  6 25  0  0  0.00000000\n"
      "PG05  20403.407950  -4547.528917  16359.977229    -15.319332\nEOF\n";
  for (const Format& format : formats()) {
    if (!format.endMark) continue;
    const std::string whole = format.name == std::string("sp3") ? sp3 : biases();
    const std::string tail(700000, '\0');  // longer than what is read at once, and no text
    for (const std::string& text : {whole, whole + tail}) {
      const std::string archive = packed(text);
      EXPECT_EQ(outcome(dir, format.read, archive), "") << format.name;
      for (std::size_t behind = 1; behind <= 8; ++behind) {
        std::string bytes = archive;
        bytes[bytes.size() - behind] ^= 4;
        EXPECT_THAT(outcome(dir, format.read, bytes), HasSubstr("compressed data are damaged"))
            << format.name << ", byte " << behind << " from the end";
        EXPECT_THAT(outcome(dir, format.read, archive.substr(0, archive.size() - behind)),
                    HasSubstr("compressed data end early"))
            << format.name << ", cut by " << behind;
      }
    }
    EXPECT_EQ(outcome(dir, format.read, whole + tail), "") << format.name << ", not packed";
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
