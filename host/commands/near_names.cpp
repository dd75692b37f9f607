// Compares the words of the command line with those that the parser knows.

#include "commands/near_names.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "text/nearest_name.h"

namespace gnx {

namespace {

std::vector<std::string> commandsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command :
       app.get_subcommands([](const CLI::App* c) { return !c->get_group().empty(); }))
    names.push_back(command->get_name());
  return names;
}

/// "--obs"
std::vector<std::string> optionsOf(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

/// An option that takes one value and has several.
std::string repeatedOption(const CLI::App& command, const std::vector<std::string>& words) {
  for (const CLI::Option* option : command.get_options()) {
    const std::string name = "--" + option->get_single_name();
    const auto count = std::ranges::count_if(
        words, [&](const std::string& w) { return w == name || w.starts_with(name + "="); });
    if (count > 1 && option->get_items_expected_max() < 2 * option->get_items_expected_min())
      return name + " is given " + std::to_string(count) + " times; give it once";
  }
  return {};
}

}  // namespace

std::string didYouMean(const std::string& word, const std::vector<std::string>& known) {
  const std::string nearest = nearestName(word, known);
  return nearest.empty() ? "" : " (did you mean " + nearest + "?)";
}

std::string misspeltWord(const CLI::App& app, const std::vector<std::string>& words) {
  const auto first = std::ranges::find_if(words, [](const std::string& w) { return !w.starts_with('-'); });
  const std::vector<std::string> commands = commandsOf(app);
  std::string list;
  for (const std::string& command : commands) list += (list.empty() ? "" : ", ") + command;
  if (first == words.end()) return "name a command, such as 'gnx demo'; the commands are " + list;
  if (std::ranges::count(commands, *first) == 0)
    return "'" + *first + "' is no command of gnx" + didYouMean(*first, commands) + "; the commands are " +
           list;
  const std::vector<std::string> options = optionsOf(*app.get_subcommand(*first));
  for (auto word = first + 1; word != words.end(); ++word) {
    const std::string name = word->substr(0, word->find('='));
    if (name == "--") break;  // no options of the command stand behind it
    if (!name.starts_with("--") || std::ranges::count(options, name) > 0) continue;
    return name + " is no option of 'gnx " + *first + "'" + didYouMean(name, options) + "; 'gnx " + *first +
           " --help' lists them";
  }
  return repeatedOption(*app.get_subcommand(*first), words);
}

}  // namespace gnx
