// Fills places of a JSON text and replaces values by their path, layout untouched.

#include "deployment/json_template.h"

#include <json/json.h>

#include <cctype>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "gnx/error.h"

namespace gnx {

namespace {

/// Walks well-formed JSON and finds the extent of the value at a path.
class ValueFinder {
 public:
  ValueFinder(std::string_view text, std::string path) : text_(text), path_(std::move(path)) {}

  /// First and one past the last character.
  std::optional<std::pair<std::size_t, std::size_t>> find() {
    value("");
    return found_;
  }

 private:
  void blanks() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_]))) ++at_;
  }
  std::string string() {
    const std::size_t start = ++at_;
    while (at_ < text_.size() && text_[at_] != '"') at_ += text_[at_] == '\\' ? 2 : 1;
    const std::string content(text_.substr(start, at_ - start));
    ++at_;
    return content;
  }
  void value(const std::string& path) {
    blanks();
    const std::size_t start = at_;
    if (text_[at_] == '{') {
      object(path);
    } else if (text_[at_] == '[') {
      while (text_[at_] != ']') {
        if (text_[at_] == '"') {
          string();
        } else {
          ++at_;
        }
      }
      ++at_;
    } else if (text_[at_] == '"') {
      string();
    } else {
      while (at_ < text_.size() && std::string_view(",}] \n").find(text_[at_]) == std::string_view::npos)
        ++at_;
    }
    if (!path.empty() && path == path_ && text_[start] != '{') found_ = {start, at_};
  }
  void object(const std::string& path) {
    ++at_;
    for (blanks(); at_ < text_.size() && text_[at_] != '}'; blanks()) {
      if (text_[at_] == ',') {
        ++at_;
        continue;
      }
      const std::string key = string();
      blanks();
      ++at_;  // colon
      value(path.empty() ? key : path + "." + key);
    }
    ++at_;
  }

  std::string_view text_;
  std::string path_;
  std::size_t at_ = 0;
  std::optional<std::pair<std::size_t, std::size_t>> found_;
};

std::string quoted(const std::string& text) { return Json::valueToQuotedString(text.c_str()); }

}  // namespace

std::string fillJson(std::string_view text, const std::map<std::string, std::string>& values) {
  std::string filled;
  while (true) {
    const auto begin = text.find('@');
    filled += text.substr(0, begin);
    if (begin == std::string_view::npos) return filled;
    const auto end = text.find('@', begin + 1);
    const std::string name(text.substr(begin + 1, end - begin - 1));
    const auto value = values.find(name);
    if (end == std::string_view::npos || value == values.end()) {
      throw std::logic_error("configuration template: no value for @" + name + "@");
    }
    const std::string escaped = quoted(value->second);
    filled += escaped.substr(1, escaped.size() - 2);
    text.remove_prefix(end + 1);
  }
}

bool setJsonValue(std::string& text, const std::string& path, const std::string& value) {
  const auto extent = ValueFinder(text, path).find();
  if (!extent) return false;
  const auto [begin, end] = *extent;
  std::string replacement;
  if (text[begin] == '[') {
    std::istringstream words(value);
    for (std::string word; words >> word;) replacement += (replacement.empty() ? "[" : ", ") + quoted(word);
    replacement += replacement.empty() ? "[]" : "]";
  } else {
    const std::string old = text.substr(begin, end - begin);
    const auto comment = old.find_first_of("!#");
    replacement = quoted(value);
    if (old[0] == '"' && comment != std::string::npos) {
      replacement.back() = ' ';
      replacement += "  " + old.substr(comment);
    }
  }
  text.replace(begin, end - begin, replacement);
  return true;
}

Json::Value parseJson(const std::string& file, const std::string& text) {
  const Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value root;
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors))
    throw InputError(file, 0, errors);
  return root;
}

}  // namespace gnx
