#pragma once
/// \file choices.h
/// Systems and frequencies of a deployment: names, checks, defaults.

#include <string>
#include <vector>

#include "deployment/deployment.h"

namespace gnx {

/// A carrier of one system.
struct Carrier {
  std::string word;   ///< as written in frequency lists: "L1", "E5a", "B1"
  std::string name;   ///< the engine's name: "L1" .. "L8"
  std::string antex;  ///< code of antenna files: "E05"
  double hz = 0.0;
};

/// One system with its carriers, in the order of the text.
struct SystemChoice {
  char letter = 'G';     ///< G R E C (BeiDou-3) B (BeiDou-2) J
  std::string listWord;  ///< "GPS", "GLS", "GAL", "BD3", "BD2", "QZS"
  std::string title;     ///< for messages
  std::vector<Carrier> observed, used;
};

/// Checks all choices that do not need a file.
/// \throws UsageError, one sentence that says what does not fit and what to do
std::vector<SystemChoice> checkChoices(const DeploymentOptions& options);

/// "GPS:L1_L2 GAL:E1_E5a", from the first `most` carriers of each system.
enum class CarrierSet { observed, used };
std::string frequencyList(const std::vector<SystemChoice>& systems, CarrierSet set, std::size_t most = 4);

}  // namespace gnx
