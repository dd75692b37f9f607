/// `gnx completion`: the shell knows the words. Manual pages come from the same tables.

#include "commands/manual.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <sstream>
#include <vector>

#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

using Commands = std::vector<const CLI::App*>;

/// Those that users call.
Commands commandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* c) { return !c->get_group().empty(); });
}

bool isShown(const CLI::Option* option) { return !option->get_group().empty(); }

std::string longName(const CLI::Option* option) {
  return option->get_lnames().empty() ? "" : "--" + option->get_lnames().front();
}

/// Text of a manual page: nothing in it is a request of the formatter.
std::string roff(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\') out += "\\e";
    else if (c == '-') out += "\\-";
    else if ((c == '.' || c == '\'') && (out.empty() || out.back() == '\n')) out += std::string("\\&") + c;
    else out += c;
  }
  return out;
}

void addOption(const CLI::Option* option, std::string& page) {
  page += ".TP\n\\fB" + roff(option->get_name(option->get_lnames().empty(), false)) + "\\fR";
  if (option->get_items_expected_max() > 0) page += " \\fI" + roff(option->get_type_name()) + "\\fR";
  page += "\n" + roff(option->get_description());
  if (option->get_required()) page += " (must be given)";
  if (!option->get_default_str().empty()) page += " (without: " + roff(option->get_default_str()) + ")";
  page += "\n";
}

constexpr const char* kStatus =
    ".SH EXIT STATUS\n.TP\n0\ngood\n.TP\n1\nno position, or for less than half of the epochs\n.TP\n2\nwrong "
    "use or input\n"
    ".TP\n3\nthe engine has failed\n.TP\n130, 143\ninterrupted; what there was is written\n";

std::string head(const std::string& name, const std::string& what) {
  return ".TH \"" + name + "\" 1 \"\" \"gnx " GNX_VERSION "\" \"gnx\"\n.SH NAME\n" + roff(name) + " \\- " +
         roff(what) + "\n";
}

std::string commandPage(const CLI::App& command) {
  std::string page = head("gnx-" + command.get_name(), command.get_description());
  page += ".SH SYNOPSIS\n\\fBgnx " + roff(command.get_name()) + "\\fR [\\fIoptions\\fR]";
  for (const CLI::Option* option : command.get_options())
    if (!option->nonpositional()) page += " \\fI" + roff(option->get_name(true)) + "\\fR";
  page += "\n";
  for (const std::string& group : command.get_groups()) {
    if (group.empty()) continue;
    page += ".SH " + (group == "Options" ? std::string("OPTIONS") : "\"" + roff(group) + "\"") + "\n";
    for (const CLI::Option* option : command.get_options())
      if (option->get_group() == group) addOption(option, page);
  }
  if (!command.get_footer().empty()) page += ".SH EXAMPLES\n.nf\n" + roff(command.get_footer()) + "\n.fi\n";
  return page + kStatus;
}

std::string topPage(const CLI::App& app) {
  std::string page = head("gnx", "precise point positioning with multi-GNSS receivers") +
                     ".SH SYNOPSIS\n\\fBgnx\\fR \\fIcommand\\fR [\\fIoptions\\fR]\n.SH COMMANDS\n";
  for (const CLI::App* command : commandsOf(app))
    page +=
        ".TP\n\\fBgnx\\-" + roff(command->get_name()) + "\\fR(1)\n" + roff(command->get_description()) + "\n";
  return page + kStatus;
}

/// For a shell's single quotes.
std::string shellText(const std::string& text) {
  std::string out;
  for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out;
}

/// The words that an option takes, as its type tells them: "TEXT:{static,kinematic}"; "" for any.
std::string choicesOf(const CLI::Option* option) {
  const std::string type = option->get_type_name();
  const auto open = type.find('{'), close = type.find('}', std::min(open, type.size()));
  if (close == std::string::npos) return "";
  std::istringstream list(type.substr(open + 1, close - open - 1));
  std::string words;
  for (std::string word; std::getline(list, word, ',');)
    words += (words.empty() ? "" : " ") + word.substr(0, word.find("->"));
  return words;
}

bool takesNumbers(const CLI::Option* option) {
  const std::string type = option->get_type_name();
  return type.find("FLOAT") != std::string::npos || type.find("INT") != std::string::npos;
}

/// What stands behind an option, as '_arguments' of zsh wants it.
std::string zshValues(const CLI::Option* option) {
  const int most = option->get_items_expected_max();
  if (most == 0) return "";
  const std::string choices = choicesOf(option);
  const std::string one = !choices.empty()       ? ":value:(" + choices + ")"
                          : takesNumbers(option) ? ":number: "
                                                 : ":value:_files";
  std::string all = one;
  if (option->get_items_expected_min() == most)
    for (int i = 1; i < most; ++i) all += one;
  return all;
}

std::string zshOption(const CLI::Option* option) {
  if (!isShown(option)) return "";
  if (!option->nonpositional())
    return choicesOf(option).empty() ? "" : " \\\n      '1" + zshValues(option) + "'";
  if (longName(option).empty()) return "";
  std::string words;
  for (const char c : option->get_description())
    words += c == '[' || c == ']' || c == ':' ? std::string("\\") + c : std::string(1, c);
  const bool several = option->get_items_expected_max() > option->get_items_expected_min() &&
                       option->get_items_expected_max() > 1;
  return std::string(" \\\n      '") + (several ? "*" : "") + longName(option) + "[" + shellText(words) +
         "]" + shellText(zshValues(option)) + "'";
}

}  // namespace

std::map<std::string, std::string> manualPages(const CLI::App& app) {
  std::map<std::string, std::string> pages = {{"gnx.1", topPage(app)}};
  for (const CLI::App* command : commandsOf(app))
    pages["gnx-" + command->get_name() + ".1"] = commandPage(*command);
  return pages;
}

std::string bashCompletion(const CLI::App& app) {
  std::string commands, cases, choices;
  for (const CLI::App* command : commandsOf(app)) {
    commands += command->get_name() + " ";
    cases += "    " + command->get_name() + ") options='";
    for (const CLI::Option* option : command->get_options())
      if (isShown(option) && option->nonpositional()) cases += longName(option) + " ";
    cases += "' ;;\n";
    for (const CLI::Option* option : command->get_options())
      if (const std::string words = choicesOf(option); isShown(option) && !words.empty())
        choices += "    " + command->get_name() + ":" +
                   (option->nonpositional() ? longName(option) : command->get_name()) + ") words='" + words +
                   "' ;;\n";
  }
  return "# Words of gnx for bash, made from its tables of options.\n"
         "_gnx() {\n  local word=${COMP_WORDS[COMP_CWORD]} options='' words=''\n  COMPREPLY=()\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n    COMPREPLY=($(compgen -W '" +
         commands + "--help --version' -- \"$word\"))\n    return\n  fi\n  case ${COMP_WORDS[1]} in\n" +
         cases + "  esac\n  case ${COMP_WORDS[1]}:${COMP_WORDS[COMP_CWORD-1]} in\n" + choices +
         "  esac\n  if [ -n \"$words\" ]; then\n    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
         "  elif [[ $word == -* ]]; then\n    COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n  else\n"
         "    mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n  fi\n}\n"
         "complete -o filenames -F _gnx gnx\n";
}

std::string zshCompletion(const CLI::App& app) {
  std::string commands, cases;
  for (const CLI::App* command : commandsOf(app)) {
    commands += "    '" + command->get_name() + ":" + shellText(command->get_description()) + "'\n";
    cases += "    " + command->get_name() + ") _arguments";
    for (const CLI::Option* option : command->get_options()) cases += zshOption(option);
    cases += " \\\n      '*:file:_files' ;;\n";
  }
  return "#compdef gnx\n# Words of gnx for zsh, made from its tables of options.\n_gnx() {\n  local -a "
         "commands=(\n" +
         commands +
         "  )\n  if (( CURRENT == 2 )); then\n    _describe command commands\n    return\n  fi\n"
         "  shift words\n  (( CURRENT-- ))\n  case $words[1] in\n" +
         cases + "  esac\n}\n_gnx \"$@\"\n";
}

void addManual(CLI::App& app) {
  auto* completion = app.add_subcommand("completion", "print the words of gnx for a shell: bash or zsh");
  auto shell = std::make_shared<std::string>();
  completion->add_option("shell", *shell, "bash or zsh")->required()->check(CLI::IsMember({"bash", "zsh"}));
  completion->footer("example: gnx completion bash > ~/.local/share/bash-completion/completions/gnx");
  completion->callback([&app, shell] {
    std::fputs((*shell == "bash" ? bashCompletion(app) : zshCompletion(app)).c_str(), stdout);
  });

  auto* manual = app.add_subcommand("manual", "write manual pages and completions into a folder");
  auto folder = std::make_shared<std::string>();
  manual->add_option("dir", *folder)->required();
  manual->group("");  // the build calls it
  manual->callback([&app, folder] {
    const fs::path root = *folder;
    for (const char* part : {"man1", "bash", "zsh"}) makeDirectory(root / part, "folder");
    for (const auto& [name, page] : manualPages(app)) writeTextFile(root / "man1" / name, page);
    writeTextFile(root / "bash" / "gnx", bashCompletion(app));
    writeTextFile(root / "zsh" / "_gnx", zshCompletion(app));
  });
}

}  // namespace gnx
