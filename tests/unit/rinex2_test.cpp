// Observation files of version 2 and of the compact form.

#include "formats/rinex2_types.h"
#include "formats/rinex_obs.h"
#include "gnx/read.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

std::string header(const std::string& types, const std::string& more = "", char system = 'M') {
  return headerLine(std::string("     2.11           OBSERVATION DATA    ") + system,
                    "RINEX VERSION / TYPE") +
         headerLine("1                   SEPT POLARX5", "REC # / TYPE / VERS") +
         headerLine(types, "# / TYPES OF OBSERV") + more + headerLine("", "END OF HEADER");
}

const char* const kSixTypes = "     6    C1    L1    L2    P2    C2    S1";

const SignalObs* find(const ObsEpoch& epoch, const std::string& sat, const std::string& code) {
  for (const SatObs& s : epoch.sats)
    for (const SignalObs& signal : s.signals)
      if (s.sat == sat && code == signal.code.data()) return &signal;
  return nullptr;
}

struct Rinex2 : testing::Test {
  /// Reads a file to its end. \return what is wrong with it
  std::string read(const std::string& content) {
    m_epochs.clear();
    return inputError([&] {
      RinexObsReader r(m_dir.write("file.obs", content));
      m_header = r.header();
      for (ObsEpoch epoch; r.next(epoch);) m_epochs.push_back(epoch);
    });
  }
  SignalObs signal(std::size_t epoch, const std::string& sat, const std::string& code) const {
    const SignalObs* found = find(m_epochs.at(epoch), sat, code);
    return found == nullptr ? SignalObs{} : *found;
  }
  const TempDir m_dir;
  ObsHeader m_header;
  std::vector<ObsEpoch> m_epochs;
};

TEST_F(Rinex2, SecondPhaseGoesWithTheCodeThatTheSatelliteHas) {
  EXPECT_EQ(read(header(kSixTypes) +
                 " 21  1  1  0  0  0.0000000  0  3G 7R01S20                             .000123456\n"
                 "  24178026.635 6 127056391.69916  99004963.01743  24178026.139 3  24178024.891 6\n"
                 "        44.000\n"
                 "  20000000.000   107000000.000    83000000.000                    20000001.000\n\n"
                 "  38000000.000\n\n"),
            "");
  ASSERT_THAT(m_epochs, SizeIs(1));
  EXPECT_EQ(formatTime(m_epochs[0].time), "2021-01-01 00:00:00");
  EXPECT_THAT(m_epochs[0].sats, SizeIs(2)) << "without the geostationary one";
  EXPECT_EQ(signal(0, "G07", "1C").phase, 127056391.699);
  EXPECT_EQ(signal(0, "G07", "1C").lli, 1);
  EXPECT_EQ(signal(0, "G07", "1C").snr, 44.0);
  EXPECT_EQ(signal(0, "G07", "2W").phase, 99004963.017);
  EXPECT_EQ(signal(0, "G07", "2W").range, 24178026.139);
  EXPECT_EQ(signal(0, "G07", "2L").range, 24178024.891) << "as this maker tracks it";
  EXPECT_EQ(signal(0, "R01", "2C").phase, 83000000.0);
  EXPECT_THAT(m_header.types.at('R'), ElementsAre("C1C", "C2C", "L1C", "L2C"));
}

TEST_F(Rinex2, NamesFollowSystemAndMaker) {
  Tracking t;
  for (const auto& [type, name] : {std::pair{"GC5", "C5X"},
                                   {"GP1", "C1W"},
                                   {"EL1", "L1X"},
                                   {"EC8", "C8X"},
                                   {"CL1", "L2I"},
                                   {"CC7", "C7I"},
                                   {"JC2", "C2X"},
                                   {"RP2", "C2P"},
                                   {"EP2", ""},
                                   {"SC1", ""},
                                   {"GT1", "T1C"}})
    EXPECT_EQ(rinex3Type(type[0], type + 1, t), name) << type;
  t.receiver = "LEICA GR25";
  EXPECT_EQ(rinex3Type('G', "C2", t), "C2S");
  EXPECT_EQ(rinex3Type('E', "L5", t), "L5Q");
  t.civilFirst = false;
  EXPECT_EQ(rinex3Type('G', "L1", t), "L1W");
}

TEST_F(Rinex2, ListsOfMoreThanTwelveEventsSlipsAndHalfCycles) {
  std::string list, data;
  for (int i = 1; i <= 13; ++i) {
    list += printed("G%2d", i) + (i == 12 ? "\n                                " : "");
    data += printed("%14.3f  %14.3f\n", 2e7 + i, 1e8 + i);
  }
  EXPECT_EQ(read(header("     2    C1    L1", headerLine("     2     1", "WAVELENGTH FACT L1/2")) +
                 " 99 12 31 23 59 30.0000000  0 13" + list + "\n" + data +
                 " 99 12 31 23 59 45.0000000  6  1G 1\n  20000001.000\n"
                 "                            4  1\n" +
                 headerLine("     1    L1", "# / TYPES OF OBSERV") +
                 " 00  1  1  0  0  0.0000000  1  1G13\n 100000013.0002\n"),
            "");
  ASSERT_THAT(m_epochs, SizeIs(2));
  EXPECT_THAT(m_epochs[0].sats, SizeIs(13));
  EXPECT_EQ(signal(0, "G13", "1C").phase, 1e8 + 13);
  EXPECT_EQ(signal(0, "G13", "1C").lli, 2) << "half cycles by the header";
  EXPECT_EQ(formatTime(m_epochs[1].time), "2000-01-01 00:00:00");
  EXPECT_EQ(signal(1, "G13", "1C").phase, 1e8 + 13);
  EXPECT_EQ(signal(1, "G13", "1C").lli, 1) << "power failure; the bit says full cycles";
}

TEST_F(Rinex2, RefusalsNameLineAndField) {
  const std::string epoch = " 21  1  1  0  0  0.0000000  0  2G07G08\n",
                    sat = "  24178026.635   127056391.699\n";
  const std::string front = header("     2    C1    L1");
  for (const auto& [content, sentence] :
       {std::pair{front + epoch + sat, "file.obs:6: epoch 2021-01-01 00:00:00: file ends inside"},
        {front + epoch + sat + "  241780x6.635\n", ":7: G08 C1C: '241780x6.635' is not a number"},
        {front + " 21 13  1  0  0  0.0000000  0  1G07\n" + sat, ":5: epoch: is not a date"},
        {front + sat, ":5: epoch"},
        {front + " 21  1  1  0  0  0.0000000  0  2G07\n" + sat, "where satellite 2 of 2 is expected"},
        {header("     3    C1    L1") + epoch, "fewer types than announced"},
        {header("     1    C1C") + epoch, "'C1C' is no observation type of RINEX 2"}})
    EXPECT_THAT(read(content), HasSubstr(sentence));
}

// ---- compact form ----

std::string compact(const std::string& version, const std::string& rinexHeader) {
  return headerLine(version + "                 COMPACT RINEX FORMAT", "CRINEX VERS   / TYPE") +
         headerLine("by hand", "CRINEX PROG / DATE") + rinexHeader;
}

const std::string kFirst =
    "&21  1  1  0  0  0.0000000  0  2G07R01\n"
    "\n"
    "3&24178026635 3&127056391699   616\n"
    "3&20000000000 3&100000000000 5&7\n";

TEST_F(Rinex2, CompactFormIsExpandedByDifferences) {
  const std::string event = headerLine("     1    C1", "# / TYPES OF OBSERV");
  EXPECT_EQ(read(compact("1.0", header("     3    C1    L1    C2")) + kFirst +
                 "                3\n\n3750564   &&\n-5 1000 1\n"  // no L1: its flags are void
                 "              1 &              1   &&&\n3&17\n97402 3&126000000000  \n"
                 "&                           4  1\n" +
                 event + "&21  1  1  0  1 30.0000000  0  1G07\n\n3&24000000000\n"),
            "");
  ASSERT_THAT(m_epochs, SizeIs(4));
  EXPECT_EQ(signal(0, "G07", "1C").lli, 1);
  EXPECT_EQ(signal(1, "G07", "1C").range, 24181777.199);
  EXPECT_EQ(signal(1, "G07", "1C").phase, 0.0);
  EXPECT_EQ(signal(1, "R01", "1C").range, 19999999.995);
  EXPECT_EQ(signal(1, "R01", "1C").phase, 100000001.0);
  EXPECT_EQ(signal(1, "R01", "2C").range, 0.008) << "order five begins as any other";
  EXPECT_EQ(formatTime(m_epochs[2].time), "2021-01-01 00:01:00");
  EXPECT_THAT(m_epochs[2].sats, SizeIs(1));
  EXPECT_EQ(signal(2, "G07", "1C").range, 24185625.165);
  EXPECT_EQ(signal(2, "G07", "1C").lli, 0) << "not the indicator of the phase before the gap";
  EXPECT_EQ(signal(3, "G07", "1C").range, 24000000.0);
}

TEST_F(Rinex2, CompactFormOfVersionThree) {
  const std::string three = headerLine("     3.04           OBSERVATION DATA    M", "RINEX VERSION / TYPE") +
                            headerLine("G    2 C1C L1C", "SYS / # / OBS TYPES") +
                            headerLine("E    1 C1X", "SYS / # / OBS TYPES") + headerLine("", "END OF HEADER");
  EXPECT_EQ(read(compact("3.0", three) + "> 2021 01 01 00 00 00.0000000  0  2      G07E01\n\n3&24178026635 "
                                         "3&127056391699   1\n3&20000000000\n"
                                         "& a remark of the writer\n"
                                         "                   3\n\n3750564 1   &\n1\n"),
            "");
  ASSERT_THAT(m_epochs, SizeIs(2));
  EXPECT_EQ(formatTime(m_epochs[1].time), "2021-01-01 00:00:30");
  EXPECT_EQ(signal(0, "G07", "1C").lli, 1);
  EXPECT_EQ(signal(1, "G07", "1C").lli, 0);
  EXPECT_EQ(signal(1, "G07", "1C").phase, 127056391.7);
  EXPECT_EQ(signal(1, "E01", "1X").range, 20000000.001);
}

TEST_F(Rinex2, DamageOfTheCompactFormIsTold) {
  const std::string front = compact("1.0", header("     3    C1    L1    C2"));
  for (const auto& [body, sentence] :
       {std::pair{std::string("                3\n"), ":7: epoch: is a difference, and no complete epoch"},
        {kFirst + "                3\n\n1 1 1\n1 1\n", ":13: observation: '1' is a difference to nothing"},
        {kFirst + "                3\n\n1x 1\n", ":13: observation: '1x' is no whole number"},
        {kFirst + "                3\n\n1 1\n", "file ends inside an epoch"},
        {kFirst + "                3\n\n1 1\n1 1", "file ends inside a line"},
        {kFirst + "                3              3\n\n", "list of satellites and their number, 3, differ"},
        {kFirst + "                3                  G07\n\n1 1\n1 1\n", "G07: stands twice"},
        {kFirst + "                3\n\n1 1  12345678\n", "are more than the observations have"},
        {kFirst + "                3\n\n90000000000000 1\n", "a value that no observation has"}}) {
    const std::string message = read(front + body);
    EXPECT_THAT(message, HasSubstr(sentence));
    EXPECT_THAT(m_epochs, SizeIs(body.starts_with("&") ? 1 : 0)) << message;
  }
  EXPECT_THAT(read(compact("2.0", header("     1    C1"))), HasSubstr("compact form '2.0' is not known"));
}

// ---- order ----

TEST_F(Rinex2, FilesComeByTheirFirstEpoch) {
  const auto file = [&](const std::string& name, const std::string& body) {
    return m_dir.write(name, header("     1    C1") + body);
  };
  const std::string late = file("a", " 21  1  1  2  0  0.0000000  0  1G07\n  24178026.635\n");
  const std::string empty = file("b", "");
  const std::string early = file("c", " 21  1  1  1  0  0.0000000  0  1G07\n  24178026.635\n");
  EXPECT_THAT(sortByKind({late, empty, early}).obs, ElementsAre(early, late, empty));
}

}  // namespace
}  // namespace gnx::test
