// Observation files: what receivers and converters really write, and what must be refused.

#include "formats/rinex_obs.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

std::string header(const std::string& more = "", const std::string& timeSystem = "GPS") {
  return headerLine("     3.04           OBSERVATION DATA    M", "RINEX VERSION / TYPE") +
         headerLine("STAN", "MARKER NAME") +
         headerLine("1                   RECEIVER X", "REC # / TYPE / VERS") +
         headerLine("2                   ANTENNA         DOME", "ANT # / TYPE") +
         headerLine("  3582105.2910   532589.7313  5232754.8054", "APPROX POSITION XYZ") +
         headerLine("        0.2160        0.0010        0.0020", "ANTENNA: DELTA H/E/N") +
         headerLine("G    4 C1C L1C D1C S1C", "SYS / # / OBS TYPES") +
         headerLine("E   14 C1C L1C S1C C5Q L5Q S5Q C7Q L7Q S7Q C8Q L8Q S8Q C6C", "SYS / # / OBS TYPES") +
         headerLine("       L6C", "SYS / # / OBS TYPES") + more +
         headerLine("  2020     6    25     0     0    0.0000000     " + timeSystem, "TIME OF FIRST OBS") +
         headerLine("", "END OF HEADER");
}

const SignalObs& signalOf(const SatObs& sat, const std::string& code) {
  for (const SignalObs& s : sat.signals)
    if (code == s.code.data()) return s;
  throw std::runtime_error("no signal " + code);
}

struct RinexObs : testing::Test {
  /// Reads a file to its end. \return what is wrong with it
  std::string read(const std::string& content) {
    return inputError([&] {
      RinexObsReader r(m_dir.write("file.rnx", content));
      m_header = r.header();
      for (ObsEpoch epoch; r.next(epoch);) m_epochs.push_back(epoch);
    });
  }
  const TempDir m_dir;
  ObsHeader m_header;
  std::vector<ObsEpoch> m_epochs;
};

TEST_F(RinexObs, ReadsHeaderAndFields) {
  read(header() +
       "> 2020 06 25 00 00 30.0000000  0  2\r\n"
       "G05  20347196.273   106925326.95115      -123.456          50.000\r\n"
       "E01  27530612.397 5 144674360.16505        35.844\r\n");
  EXPECT_EQ(m_header.antenna, "ANTENNA         DOME");
  EXPECT_EQ(m_header.receiver, "RECEIVER X");
  EXPECT_DOUBLE_EQ(m_header.antennaDelta[2], 0.0020);
  EXPECT_EQ(m_header.types.at('E').size(), 14u);

  ASSERT_EQ(m_epochs.size(), 1u);
  const ObsEpoch& epoch = m_epochs[0];
  EXPECT_EQ(formatTime(epoch.time, 3), "2020-06-25 00:00:30.000");
  ASSERT_EQ(epoch.sats.size(), 2u);
  const SignalObs& g = signalOf(epoch.sats[0], "1C");
  EXPECT_DOUBLE_EQ(g.range, 20347196.273);
  EXPECT_DOUBLE_EQ(g.phase, 106925326.951);
  EXPECT_DOUBLE_EQ(g.doppler, -123.456);
  EXPECT_DOUBLE_EQ(g.snr, 50.0);
  EXPECT_EQ(g.lli, 1);
  EXPECT_EQ(epoch.sats[1].signals.size(), 1u) << "trailing fields that are missing are absent signals";
}

TEST_F(RinexObs, LeavesOutUnknownSystemsAndBlankFields) {
  read(header() +
       "> 2020 06 25 00 00 00.0000000  0  3\n"
       "I02  20347196.273   106925326.951\n"
       "G 6                 106925326.951                                          \n"
       "S20  20347196.273                                                          " +
       std::string(3000, ' ') + "\n");
  ASSERT_EQ(m_epochs.at(0).sats.size(), 1u);
  EXPECT_EQ(m_epochs[0].sats[0].sat, "G06");
  EXPECT_EQ(signalOf(m_epochs[0].sats[0], "1C").range, 0.0);
}

TEST_F(RinexObs, EventsBringNewTypesAndSlipRecordsAreSkipped) {
  read(header() +
       "> 2020 06 25 00 00 00.0000000  0  1\n"
       "G05  20347196.273   106925326.951\n"
       ">                              4  2\n" +
       headerLine("G    2 L1C C1C", "SYS / # / OBS TYPES") + headerLine("moved", "COMMENT") +
       "> 2020 06 25 00 00 10.0000000  6  1\n"
       "G05                         1.000\n"
       "> 2020 06 25 00 00 30.0000000  1  1\n"
       "G05 106925326.951    20347196.273\n");
  ASSERT_EQ(m_epochs.size(), 2u);
  EXPECT_EQ(formatTime(m_epochs[1].time), "2020-06-25 00:00:30");
  EXPECT_DOUBLE_EQ(signalOf(m_epochs[1].sats[0], "1C").range, 20347196.273);
  EXPECT_EQ(signalOf(m_epochs[1].sats[0], "1C").lli, 1) << "phases restart after a power failure";
}

TEST_F(RinexObs, AppliesScaleFactorsAndTimeSystem) {
  read(header(headerLine("G   10  1 L1C", "SYS / SCALE FACTOR"), "BDT") +
       "> 2020 06 25 00 00 00.0000000  0  1\n"
       "G05  20347196.273  1069253269.510\n");
  const SignalObs& s = signalOf(m_epochs.at(0).sats.at(0), "1C");
  EXPECT_NEAR(s.phase, 106925326.951, 1e-6);
  EXPECT_DOUBLE_EQ(s.range, 20347196.273);
  EXPECT_EQ(formatTime(m_epochs[0].time), "2020-06-25 00:00:14") << "BDT is 14 s behind GPS time";
}

TEST_F(RinexObs, RefusalsNameLineAndField) {
  const std::string epoch = "> 2020 06 25 00 00 00.0000000  0  2\n";
  const std::string sat = "G05  20347196.273   106925326.951\n";
  for (const auto& [body, sentence] :
       {std::pair{epoch + sat, "file.rnx:13: epoch 2020-06-25 00:00:00: file ends"},
        {epoch + sat + epoch, ":14: satellite: '> 2' where satellite 2 of 2"},
        {epoch + "G05  2O347196.273\n", ":13: G05 C1C: '2O347196.273' is not"},
        {epoch + sat + "G06  20347196.2", "G06 C1C: file ends inside a number"},
        {"> 2020 13 25 00 00 00.0000000  0  1\n" + sat, ":12: epoch: is not a date"},
        {"> 2020 06 25 00 00 30.0000000  0  0\n" + epoch + sat + sat, "is before the epoch in front of it"}})
    EXPECT_THAT(read(header() + body), HasSubstr(sentence));
  for (const auto& [content, label, sentence] :
       {std::tuple{"     1.00           OBSERVATION DATA    M", "RINEX VERSION / TYPE",
                   "1.00 is not supported"},
        {"     3.04           N: GNSS NAV DATA    M", "RINEX VERSION / TYPE", "give an observation file"}})
    EXPECT_THAT(read(headerLine(content, label)), HasSubstr(sentence));
  EXPECT_THAT(inputError([] { RinexObsReader r("/nowhere/file.rnx"); }),
              HasSubstr("/nowhere/file.rnx: cannot be opened"));
}

TEST_F(RinexObs, TruncatedGzipIsRefusedAfterItsWholeEpochs) {
  std::string content = header();
  for (int i = 0; i < 2000; ++i)
    content += printed("> 2020 06 25 %02d %02d %02d.0000000  0  1\nG05  %12.3f   %13.3f\n", i / 3600,
                       i / 60 % 60, i % 60, 20347196.273 + i * 17.13, 106925326.951 - i * 91.7);
  const std::string bytes = packed(content);
  EXPECT_THAT(read(bytes.substr(0, bytes.size() / 2)), HasSubstr("compressed data end early"));
  EXPECT_TRUE(m_epochs.size() > 100 && m_epochs.size() < 2000) << m_epochs.size();
}

}  // namespace
}  // namespace gnx::test
