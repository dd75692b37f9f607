#pragma once
/// \file objects.h
/// What is behind the handles of the interface in C.

#include "c/guard.h"
#include "gnx/deployment.h"
#include "gnx/engine.h"
#include "gnx/read.h"

namespace gnx::c {

/// An engine and the solution of its last epoch.
struct EngineAndSolution {
  EngineAndSolution(const Deployment& deployment, EngineOptions options)
      : resumed(std::make_shared<std::string>()), engine(deployment, withListener(std::move(options))) {}
  EngineOptions withListener(EngineOptions options) const {
    if (!options.state.empty())
      options.onEvent = [told = resumed](const EngineEvent& event) { note(event, *told); };
    return options;
  }
  static void note(const EngineEvent& event, std::string& told);

  std::shared_ptr<std::string> resumed;  ///< what became of a state
  Engine engine;
  Solution solution;
};

Handles<gnx_deployment, Deployment>& deployments();
Handles<gnx_stream, EventStream>& streams();
Handles<gnx_engine, EngineAndSolution>& engines();
Handles<gnx_judge, IntegerJudge>& judges();

/// Calls `use` with the object behind a handle, alone.
template <class Registry, class Handle, class Use>
auto with(Registry& registry, Handle* handle, Use use) {
  const auto held = registry.find(handle);
  const std::lock_guard lock(held->mutex);
  return use(held->object);
}

/// A name such as "G05". \throws Failure
SatName satelliteOf(const char (&field)[4]);
/// A point in time between 1970 and 2100; zero, where the interface takes it for "unknown", is one.
GpsTime timeOf(const gnx_time& t);

}  // namespace gnx::c
