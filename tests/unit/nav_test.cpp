// Broadcast messages: their reading, and what of them the engine will hold at a time.

#include "gnx/corrections.h"
#include "gnx/ephemeris.h"
#include "gnx/read.h"
#include "gnx/signal.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

const GpsTime kStart = toGpsTime({2020, 6, 25, 0, 0, 0.0});  // week 2111, second 345600

/// A Keplerian record: numbers that matter, zeros elsewhere.
std::string kepler(const std::string& first, double iode, double toe, double code, double sent) {
  return printed(
      "%s 1.000000000000e-04 0.000000000000e+00 0.000000000000e+00\n"
      "    %19.12e 1.000000000000e+01 4.000000000000e-09 1.000000000000e+00\n"
      "     0.000000000000e+00 1.000000000000e-02 0.000000000000e+00 5.153650000000e+03\n"
      "    %19.12e 0.000000000000e+00 2.000000000000e+00 0.000000000000e+00\n"
      "     9.600000000000e-01 2.000000000000e+02-7.000000000000e-01-8.000000000000e-09\n"
      "     0.000000000000e+00%19.12e 2.111000000000e+03                   \n"
      "     2.000000000000e+00 0.000000000000e+00 5.000000000000e-09 6.000000000000e-09\n"
      "    %19.12e\n",
      first.c_str(), iode, toe, code, sent);
}

/// Messages in a file of a version.
NavData read(const std::string& version, const std::string& messages) {
  const TempDir dir;
  const std::string first = "     " + version + "           NAVIGATION DATA     M";
  return readRinexNav({dir.write(
      "file.nav", headerLine(first, "RINEX VERSION / TYPE") + headerLine("", "END OF HEADER") + messages)});
}

TEST(RinexNav, ReadsEverySystemAndSkipsTheOthers) {
  const std::string glonass =
      "R01 2020 06 24 23 45 00 6.355904042721D-05 0.000000000000D+00 3.438000000000D+05\n"
      "     1.090894238281D+04 1.407806396484D+00-1.862645149231D-09 0.000000000000D+00\n"
      "    -2.885726074219D+03 2.795855522156D+00-0.000000000000D+00 1.000000000000D+00\n"
      "     2.288353955078D+04-3.169984817505D-01-2.793967723846D-09 0.000000000000D+00\n";
  const std::string sbas =
      "S23 2020 06 24 23 45 00 0.0                0.0                0.0\n     1\n     2\n     3\n";
  const NavData nav = read("3.04", kepler("G05 2020 06 25 02 00 00", 12, 352800, 1, 345618) + sbas + glonass +
                                       kepler("C06 2020 06 25 01 00 00", 1, 349200, 0, 349230) +
                                       kepler("E01 2020 06 25 00 10 00", 62, 346200, 258, 346940));
  EXPECT_THAT(nav.notes, IsEmpty());
  ASSERT_THAT(nav.keplerian, SizeIs(3));
  const BroadcastEph& g = nav.keplerian[0];
  EXPECT_EQ(g.iode, 12);
  EXPECT_DOUBLE_EQ(g.sqrtA, 5153.65);
  EXPECT_EQ(g.iodc, 0) << "number of 6e-9";
  EXPECT_EQ(g.toe - kStart, 7200.0);
  EXPECT_EQ(g.transmission - kStart, 18.0);
  const BroadcastEph& c = nav.keplerian[1];
  EXPECT_EQ(c.toe - kStart, 3614.0) << "BDT is 14 s behind GPS time";
  EXPECT_EQ(c.toc - kStart, 3614.0);
  EXPECT_EQ(nav.keplerian[2].code, 258);
  EXPECT_DOUBLE_EQ(nav.keplerian[2].tgd[1], 6e-9);
  ASSERT_THAT(nav.glonass, SizeIs(1));
  EXPECT_EQ(nav.glonass[0].toe - kStart, -882.0) << "UTC is 18 s behind GPS time in 2020";
  EXPECT_NEAR(nav.glonass[0].position[2], 22883539.55078, 1e-5);
  EXPECT_EQ(nav.glonass[0].channel, 1);
}

TEST(RinexNav, PlacesSecondsOfWeekAcrossItsEnd) {
  // Sent on Saturday for a time of clock on Sunday.
  const NavData nav = read("3.05", kepler("G05 2020 06 28 00 00 00", 12, 0, 1, 597618));
  ASSERT_THAT(nav.keplerian, SizeIs(1));
  EXPECT_EQ(nav.keplerian[0].toe - nav.keplerian[0].toc, 0.0);
  EXPECT_EQ(nav.keplerian[0].transmission - nav.keplerian[0].toc, -7182.0);
}

TEST(RinexNav, ReadsTheRecordsOfVersionFour) {
  const NavData nav = read(
      "4.00", "> EPH G05 LNAV\n" + kepler("G05 2020 06 25 02 00 00", 12, 352800, 1, 345618) +
                  "> STO G05 LNAV\n    2020 06 25 00 00 00 GPUT\n     345618 0.0\n" + "> EPH G05 CNAV\n" +
                  kepler("G05 2020 06 25 02 00 00", 13, 352800, 1, 345618) + "     345618 2111\n" +
                  "> EPH E01 FNAV\n" + kepler("E01 2020 06 25 00 10 00", 62, 346200, 258, 346940));
  ASSERT_THAT(nav.keplerian, SizeIs(2));
  EXPECT_EQ(nav.keplerian[0].iode, 12);
  EXPECT_EQ(nav.keplerian[1].sat, "E01");
}

TEST(RinexNav, KeepsTheOtherRecordsOfVersionFour) {
  const std::string gap(19, ' ');
  const std::string ionosphere = "> ION C20 CNVX\n    2020 06 25 00 00 00 1.500000000000e+01" + gap +
                                 "-2.500000000000e+00\n     4.000000000000e+00\n     8.000000000000e+00\n";
  const NavData nav =
      read("4.02", "> STO E01 IFNV\n    2020 06 25 00 00 00 GAUT" + std::string(34, ' ') +
                       "UTCGAL\n     3.456180000000e+05 1.000000000000e-09\n" + ionosphere +
                       "> ION I02 L1NV KLOB\n    2020 06 25 00 00 00\n     1\n" +
                       "> EOP J02 CNVX\n    2020 06 25 00 00 00 1.000000000000e-01\n" + "    " + gap +
                       " 3.000000000000e-01\n     3.456180000000e+05-2.000000000000e-01\n");
  ASSERT_THAT(nav.others, SizeIs(4));
  EXPECT_EQ(nav.others[0].offset, "GAUT");
  EXPECT_EQ(nav.others[0].values.at(4), 1e-9);
  EXPECT_EQ(nav.others[1].source, "C20");
  EXPECT_EQ(nav.others[1].time - kStart, 14.0);
  EXPECT_EQ(nav.others[1].values.at(0), 15.0);
  EXPECT_TRUE(std::isnan(nav.others[1].values.at(1)));
  EXPECT_EQ(nav.others[1].values.at(7), 8.0);
  EXPECT_EQ(nav.others[2].subtype, "KLOB");
  EXPECT_EQ(nav.others[3].values.at(8), -0.2);
  const std::string cut = ionosphere.substr(0, ionosphere.rfind("     8"));
  const NavData damaged =
      read("4.00", cut + "> STO G05 LNAV\n    2020 06 25 00 00 00 GPUT\n     345618 0.0\n");
  EXPECT_THAT(damaged.others, IsEmpty());
  EXPECT_THAT(damaged.notes,
              ElementsAre(HasSubstr("file.nav:3: C20 ION CNVX left out, it has 2 lines instead of 3"),
                          HasSubstr(":6: G05 STO LNAV left out, '345618 0.0' is not a number")));
}

std::string oldFile(char type, const std::string& messages) {
  return headerLine(std::string("     2.11           ") + type + ": NAV DATA", "RINEX VERSION / TYPE") +
         headerLine("", "END OF HEADER") + messages;
}

TEST(RinexNav, ReadsVersionTwo) {
  // The same record, one column further left, the year in two digits.
  std::string gps;
  std::istringstream lines(kepler(" 5 20  6 25  1 59 44.0", 12, 352784, 1, 345618));
  for (std::string line; std::getline(lines, line);) gps += (gps.empty() ? line : line.substr(1)) + "\n";
  gps.erase(gps.find("44.0") + 4, 1);
  std::replace(gps.begin(), gps.end(), 'e', 'D');
  const std::string glonass =
      " 1 20 06 24 23 45  0.0 7.282570004460D-05 0.000000000000D+00 7.380000000000D+04\n"
      "    1.090894238281D+04 1.407806396484D+00-1.862645149231D-09 0.000000000000D+00\n"
      "   -2.885726074219D+03 2.795855522156D+00-0.000000000000D+00 2.550000000000D+02\n"
      "    2.288353955078D+04-3.169984817505D-01-2.793967723846D-09 0.000000000000D+00\n";
  const TempDir dir;
  const NavData nav =
      readRinexNav({dir.write("a.20n", oldFile('N', gps + gps)), dir.write("a.20g", oldFile('G', glonass)),
                    dir.write("a.20h", oldFile('H', glonass)), dir.write("a.20l", oldFile('L', gps))});
  EXPECT_THAT(nav.notes, IsEmpty());
  ASSERT_THAT(nav.keplerian, SizeIs(3));
  EXPECT_EQ(nav.keplerian[0].sat, "G05");
  EXPECT_EQ(nav.keplerian[0].toc - kStart, 7184.0);
  EXPECT_EQ(nav.keplerian[0].toe - kStart, 7184.0);
  EXPECT_EQ(nav.keplerian[0].transmission - kStart, 18.0);
  EXPECT_DOUBLE_EQ(nav.keplerian[0].sqrtA, 5153.65);
  EXPECT_EQ(nav.keplerian[2].sat, "E05");
  ASSERT_THAT(nav.glonass, SizeIs(1));
  EXPECT_EQ(nav.glonass[0].toe - kStart, -882.0);
  EXPECT_EQ(nav.glonass[0].frame, nav.glonass[0].toe) << "message times of old files cannot be believed";
  EXPECT_EQ(nav.glonass[0].channel, -1);
  const std::string file = dir.write("b.20n", oldFile('N', gps.substr(0, gps.find("    2.0000"))));
  EXPECT_THAT(inputError([&] { readRinexNav({file}); }), HasSubstr("lines instead of 7"));
}

TEST(RinexNav, RefusesDamageAndLeavesOutNonsense) {
  const std::string good = kepler("G05 2020 06 25 02 00 00", 12, 352800, 1, 345618);
  std::string letter = good;
  letter[letter.find("4.000000000000e-09")] = 'x';
  for (const auto& [messages, sentence] :
       {std::pair{letter, "file.nav:4: G05 number 3: 'x.000000000000e-09'"},
        {good.substr(0, good.find("     2.0000000")),
         "G05: message that begins in line 3 has 5 lines instead of 7"},
        {good.substr(0, good.size() - 2), "not a complete number"}})
    EXPECT_THAT(inputError([&, &text = messages] { read("3.04", text); }), HasSubstr(sentence));
  std::string round = good;
  round.replace(round.find("1.000000000000e-02"), 4, "9.00");
  round.replace(round.find("e-02"), 4, "e+02");
  const NavData nav = read("3.04", round);
  EXPECT_THAT(nav.keplerian, IsEmpty());
  EXPECT_THAT(nav.notes, ElementsAre(HasSubstr("file.nav:3: G05 message left out, eccentricity")));
}

// ---- what the engine's store holds ----

BroadcastEph message(const std::string& sat, int issue, double toc, double sent, int code = 258) {
  return {.sat = sat,
          .toc = kStart + toc,
          .toe = kStart + toc,
          .transmission = kStart + sent,
          .iode = issue,
          .code = code,
          .sqrtA = 5153.65};
}

EphemerisTimeline timelineOf(std::vector<BroadcastEph> list) {
  return {{.keplerian = std::move(list), .glonass = {}, .notes = {}}, kStart};
}

int issueAt(const EphemerisTimeline& timeline, const std::string& sat, double t) {
  const BroadcastEph* e = timeline.store().pick(sat, kStart + t);
  return e == nullptr ? -1 : e->iode;
}

TEST(EphemerisTimeline, CorrectionsFollowANewMessageAMinuteLater) {
  const EphemerisTimeline timeline = timelineOf(
      {message("G05", 1, 0, -7182), message("G05", 2, 7200, 18), message("G05", 9, -14400, -21582)});
  EXPECT_THAT(timeline.deliveries(), SizeIs(2)) << "what is older than four hours at the start is left out";
  for (const auto& [t, issue] : {std::pair{0, 1}, {77, 1}, {78, 2}, {7200 + 14400, 2}, {7200 + 14401, -1}})
    EXPECT_EQ(issueAt(timeline, "G05", t), issue) << t;
  EXPECT_EQ(issueAt(timeline, "G06", 0), -1);
}

TEST(EphemerisTimeline, GivesOnlyWhatTheEngineTakes) {
  const EphemerisTimeline timeline =
      timelineOf({message("E01", 1, -600, -10, 517), message("E02", 1, -600, -10, 258),
                  message("C06", 1, 14 - 3600, -3500), message("C07", 1, -3600, -3500),
                  message("G07", 1, 0, -7182), message("G07", 2, 0, -100)});
  EXPECT_EQ(issueAt(timeline, "E01", 60), -1) << "I/NAV";
  EXPECT_EQ(issueAt(timeline, "E02", 60), 1);
  EXPECT_EQ(issueAt(timeline, "C07", 60), -1) << "the grid is that of BDT";
  ASSERT_NE(timeline.store().pick("C06", kStart + 60.0), nullptr);
  EXPECT_EQ(issueAt(timeline, "G07", 60), 1) << "a second message of the same time of clock is a duplicate";
}

TEST(EphemerisTimeline, RefersMessagesOutOfTurnToTheGridOfTheEngine) {
  BroadcastEph upload = message("G05", 1, -16, -3600);
  const EphemerisTimeline timeline = timelineOf({upload});
  const BroadcastEph* held = timeline.store().pick("G05", kStart + 60.0);
  ASSERT_NE(held, nullptr);
  EXPECT_EQ(held->toc - kStart, -300.0);
  EXPECT_EQ(held->toe - kStart, -16.0);
}

TEST(EphemerisTimeline, PickedMessageStaysInTheStore) {
  // Two newer messages within seconds push the settled one out of the two that are held.
  const EphemerisTimeline timeline =
      timelineOf({message("E01", 1, 0, 700), message("E01", 2, 600, 1290), message("E01", 3, 1200, 1300)});
  EXPECT_EQ(issueAt(timeline, "E01", 1200), 1);
  EXPECT_EQ(timeline.store().chosenByEngine("E01", 1, kStart + 1299.0)->iode, 1);
  EXPECT_EQ(timeline.store().chosenByEngine("E01", 1, kStart + 1300.0), nullptr);
  EXPECT_EQ(issueAt(timeline, "E01", 1305), -1) << "nothing both settled and held";
  EXPECT_EQ(issueAt(timeline, "E01", 1360), 3);
}

// A live host runs for months: what is held stays, what was held goes.
TEST(MessageStore, ForgetsWhatIsNoMore) {
  MessageStore store;
  for (int k = 0; k < 6; ++k) {
    BroadcastEph eph = message("G05", k, 7200 * k, 7200 * k);
    EXPECT_NE(store.take(eph, kStart + 7200.0 * k, kStart + 7200.0 * k), nullptr);
  }
  const GpsTime now = kStart + 40000.0;
  const BroadcastEph* picked = store.pick("G05", now);
  ASSERT_NE(picked, nullptr);
  EXPECT_NE(store.pick("G05", kStart + 7300.0), nullptr);
  store.forgetBefore(now);
  EXPECT_EQ(store.pick("G05", now), picked);
  EXPECT_EQ(store.pick("G05", kStart + 7300.0), nullptr);
}

TEST(EphemerisTimeline, EqualIssuesAreToldApartAsTheEngineDoes) {
  // The same issue comes back: of the two held the engine takes the one nearer in time of ephemeris.
  const EphemerisTimeline timeline = timelineOf({message("G05", 4, 0, -7182), message("G05", 4, 7200, 18)});
  const BroadcastEph* early = timeline.store().pick("G05", kStart + 1000.0);
  ASSERT_NE(early, nullptr);
  EXPECT_EQ(early->toe - kStart, 0.0);
  EXPECT_EQ(early, timeline.store().chosenByEngine("G05", 4, kStart + 1000.0));
  EXPECT_EQ(timeline.store().pick("G05", kStart + 5000.0)->toe - kStart, 7200.0);
}

}  // namespace
}  // namespace gnx::test
