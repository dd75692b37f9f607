// Settings of the levels under which integers are wrong or never fixed, and what the program does about them.

#include <gmock/gmock.h>

#include "GNX_SDK_ext.h"
#include "support/child.h"
#include "support/files.h"

namespace gnx::test {
namespace {

using GNX_EXT::IntegerSettings;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Those of a deployment of the program.
IntegerSettings usual() {
  return {"RAW",
          "ION_EST",
          false,
          {{{false, "raw", true, "comb", false},
            {true, "raw", true, "comb", false},
            {true, "NL", true, "comb", false}}}};
}

/// Sentences of one kind.
std::vector<std::string> faults(const IntegerSettings& s, bool wrong) {
  std::vector<std::string> sentences;
  for (const GNX_EXT::IntegerFault& f : GNX_EXT::integerFaults(s))
    if (f.wrong == wrong) sentences.push_back(f.sentence);
  return sentences;
}

TEST(IntegerFaults, WrongIntegersAreTold) {
  EXPECT_THAT(GNX_EXT::integerFaults(usual()), IsEmpty());
  IntegerSettings s = usual();
  s.levels[2].type = "raw";
  EXPECT_THAT(faults(s, true), ElementsAre(HasSubstr("use amb_type NL")));
  s.levels[2].updSwitch = false;
  EXPECT_THAT(faults(s, true), IsEmpty());
  s = usual();
  s.ionosphere = "ION_NONE";
  EXPECT_THAT(faults(s, true), ElementsAre(HasSubstr("ION_EST")));
  s.levels[1].resolution = s.levels[2].resolution = false;
  EXPECT_THAT(GNX_EXT::integerFaults(s), IsEmpty()) << "float";
}

TEST(IntegerFaults, LevelsThatNeverFixAreTold) {
  const auto sentences = [](const char* combination, auto change) {
    IntegerSettings s = usual();
    s.combination = combination;
    change(s.levels);
    return faults(s, false);
  };
  const auto nothing = [](auto&) {};
  EXPECT_THAT(sentences("IF", nothing), ElementsAre(HasSubstr("mwfix on for wl")));
  EXPECT_THAT(sentences("AFIF", nothing), ElementsAre(HasSubstr("mwfix on for ewl")));
  EXPECT_THAT(sentences("SF", nothing), ElementsAre(HasSubstr("no wide-lane")));
  EXPECT_THAT(sentences("RAW", [](auto& l) { l[1].type = "mw"; }), ElementsAre(HasSubstr("switch mwfix on")));
  EXPECT_THAT(sentences("RAW", [](auto& l) { l[1].resolution = false; }), ElementsAre(HasSubstr("of wl")));
  EXPECT_THAT(sentences("RAW", [](auto& l) { l[1].updType = "snx"; }), ElementsAre(HasSubstr("comb")));
  EXPECT_THAT(sentences("IF", [](auto& l) { l[1].type = "mw", l[1].mwFix = true; }), IsEmpty());
  EXPECT_THAT(sentences("AFIF", [](auto& l) { l[0].resolution = true, l[0].type = "mw", l[0].mwFix = true; }),
              IsEmpty());
}

TEST(IntegerFaults, TheProgramRefusesWhatIsWrongAndNamesTheWay) {
  const support::TemporaryDirectory dir;
  const std::string deployment = (dir.path() / "d").string();
  for (const char* set : {"amb.n1.amb_type=raw", "common.ionmodel=ION_NONE"}) {
    const support::ChildResult refused = support::runProgram("init " + deployment + " --set " + set);
    EXPECT_EQ(refused.status, 2) << set;
    EXPECT_THAT(refused.output, HasSubstr("; use ")) << set;
  }
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "d/ppp.json"));
  const support::ChildResult told = support::runProgram("init " + deployment + " --set amb.wl.amb_type=mw");
  EXPECT_EQ(told.status, 0);
  EXPECT_THAT(told.output, HasSubstr("switch mwfix on"));
}

}  // namespace
}  // namespace gnx::test
