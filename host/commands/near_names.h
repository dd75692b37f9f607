#pragma once
/// \file near_names.h
/// Misspelt words of the command line, told with the nearest word that exists.

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace gnx {

/// A sentence about the first word that is no command, or no option of its command; "" when all words are
/// known.
std::string misspeltWord(const CLI::App& app, const std::vector<std::string>& words);

/// " (did you mean WORD?)" for a word near to a known one, else "".
std::string didYouMean(const std::string& word, const std::vector<std::string>& known);

}  // namespace gnx
