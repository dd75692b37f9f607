// Looks up which file holds the patterns of names.

#include "Config/PatternTable.h"

#include "Config/Deploy.h"

namespace tarvio {

std::string s_patternFile(const Deploy& deploy) {
  const auto entry = deploy.m_fileTable.find("predefine");
  return entry == deploy.m_fileTable.end() ? "" : entry->second;
}

}  // namespace tarvio
