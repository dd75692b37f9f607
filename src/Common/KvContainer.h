#pragma once
/// \file KvContainer.h
/// What an event carries: values by key, all of them text.

#include <map>
#include <string>

namespace tarvio {

using KvContainer = std::map<std::string, std::string>;

}  // namespace tarvio
