// Events: order of the calls, removal, and callbacks that change the table while they are called.

#include <gmock/gmock.h>

#include <array>
#include <optional>

#include "Common/Callable.h"

namespace {

using tarvio::Callable;
using tarvio::CallBack;
using tarvio::CallBackCenter;
using tarvio::KvContainer;
using namespace testing;

std::vector<std::string>& calls() {
  static std::vector<std::string> list;
  return list;
}
void plain(const KvContainer& content) { calls().push_back("plain " + content.at("sat")); }
CallBack noting(const std::string& name) {
  return [name](const KvContainer&) { calls().push_back(name); };
}

struct NothingStaysBehind {
  ~NothingStaysBehind() { EXPECT_THAT(CallBackCenter::m_task, IsEmpty()); }
};

struct Events : testing::Test {
  Events() { calls().clear(); }
  NothingStaysBehind checkedWhenTheOwnersAreGone;
  // addresses in this order
  std::array<Callable, 2> owner;
  std::optional<Callable> mortal{std::in_place};
};

TEST_F(Events, AreCalledByOwnerThenByRegistrationAndReachNobodyWhenUnknown) {
  CallBackCenter::m_evoke("fix", {{"sat", "G05"}});
  const CallBack late = noting("second owner");
  owner[1].m_register("fix", late);
  owner[0].m_register("fix", plain);
  owner[0].m_register("fix", noting("behind"));
  owner[0].m_register("slip", noting("another event"));
  CallBackCenter::m_evoke("fix", {{"sat", "G05"}});
  CallBackCenter::m_evoke("nothing", {});
  EXPECT_THAT(calls(), ElementsAre("plain G05", "behind", "second owner"));
}

TEST_F(Events, AreRemovedOneByOneAndWithTheirOwner) {
  const CallBack twice = noting("twice");
  owner[0].m_register("fix", twice);
  owner[0].m_register("fix", twice);
  owner[0].m_register("fix", plain);
  owner[0].m_remove("fix", twice);
  owner[0].m_remove("fix", noting("twice"));  // equal text, another callback
  owner[1].m_remove("fix", twice);            // not his
  owner[0].m_remove("fix", plain);            // the same function, found again
  CallBackCenter::m_evoke("fix", {{"sat", "E01"}});
  EXPECT_THAT(calls(), ElementsAre("twice"));
  owner[0].m_remove("fix", twice);
  EXPECT_THAT(CallBackCenter::m_task, IsEmpty());
  {
    Callable passing;
    passing.m_register("fix", plain);
    passing.m_register("slip", plain);
    owner[0].m_register("slip", twice);
  }
  ASSERT_EQ(CallBackCenter::m_task.size(), 1U);
  EXPECT_EQ(CallBackCenter::m_task["slip"].size(), 1U);
}

TEST_F(Events, NativeRemovalLeavesTheCenterAlone) {
  const CallBack one = noting("one");
  owner[0].m_register("fix", one);
  owner[0].m_remove_native("fix", one);
  owner[0].m_remove("fix", one);  // no record, so nothing is removed in the center
  CallBackCenter::m_evoke("fix", {});
  EXPECT_THAT(calls(), ElementsAre("one"));
  CallBackCenter::m_remove("fix", &owner[0], one);
}

TEST_F(Events, MayChangeTheTableWhileTheyAreCalled) {
  const CallBack victim = noting("removed before its turn"), guest = noting("guest");
  owner[0].m_register("fix", [&](const KvContainer&) {
    calls().push_back("first");
    owner[0].m_remove("fix", victim);
    mortal.reset();
    owner[1].m_register("fix", guest);
    if (calls().size() < 3) CallBackCenter::m_evoke("fix", {});  // and evoke again
  });
  owner[0].m_register("fix", victim);
  mortal->m_register("fix", noting("of an owner that is gone"));
  CallBackCenter::m_evoke("fix", {});
  EXPECT_EQ(std::count(calls().begin(), calls().end(), "removed before its turn"), 0);
  EXPECT_EQ(std::count(calls().begin(), calls().end(), "of an owner that is gone"), 0);
  EXPECT_GE(std::count(calls().begin(), calls().end(), "guest"), 1) << "by the evocation from within";
}

TEST_F(Events, RemoveThemselvesAndAllOthers) {
  auto only = std::make_unique<Callable>();
  only->m_register("fix", [&](const KvContainer&) {
    calls().push_back("once");
    only.reset();
  });
  only->m_register("fix", noting("never"));
  CallBackCenter::m_evoke("fix", {});
  CallBackCenter::m_evoke("fix", {});
  EXPECT_THAT(calls(), ElementsAre("once"));
}

}  // namespace
