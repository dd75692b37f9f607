// Puts the options of a file among the words of the command line.

#include "commands/option_file.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <filesystem>

#include "gnx/error.h"
#include "live/live_options.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr const char* kConfig = "--config";
/// They have files of their own.
constexpr std::array kOwn = {"live", "fleet"};

std::string nameOf(const std::string& word) { return word.substr(0, word.find('=')); }

std::vector<std::string> wordsOfFile(const std::string& file) {
  if (!std::filesystem::exists(file))
    throw InputError(file, 0, "does not exist; --config names a file of options");
  return wordsOfJson(readTextFile(file), file);
}

}  // namespace

void addOptionFile(CLI::App& app) {
  for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    if (command->get_option_no_throw(kConfig) == nullptr && !command->get_group().empty())
      command->add_option(kConfig, "JSON file of options by their names; the command line goes before it")
          ->type_name("FILE");
}

std::vector<std::string> withOptionFile(const std::vector<std::string>& words) {
  const auto end = std::ranges::find(words, "--");
  auto option = std::find_if(words.begin(), end, [](const auto& word) { return nameOf(word) == kConfig; });
  if (option == end || std::ranges::count(kOwn, words.front()) > 0) return words;
  std::string file = option->substr(std::min(option->size(), nameOf(*option).size() + 1));
  auto behind = option + 1;
  if (*option == kConfig) {
    if (behind == end) return words;  // the parser tells
    file = *behind++;
  }
  std::vector<std::string> all(words.begin(), option);
  all.insert(all.end(), behind, end);
  std::vector<std::string> given;
  for (const std::string& word : all) given.push_back(nameOf(word));
  std::vector<std::string> taken;
  for (const std::string& word : wordsOfFile(file))
    if (std::ranges::count(given, nameOf(word)) == 0) taken.push_back(word);
  all.insert(all.begin() + 1, taken.begin(), taken.end());
  all.insert(all.end(), end, words.end());
  return all;
}

}  // namespace gnx
