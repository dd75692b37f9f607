// Fills templates: finds their fields, escapes text.

#include "report/template.h"

#include <map>
#include <stdexcept>

#include "text/fields.h"

namespace gnx {

/// The files of host/report/page, which are built into the program.
const std::map<std::string, std::string_view>& pageFiles();

namespace {

/// Safe between tags and in quoted attributes.
std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '&') result += "&amp;";
    else if (c == '<') result += "&lt;";
    else if (c == '>') result += "&gt;";
    else if (c == '"') result += "&quot;";
    else if (c == '\'') result += "&#39;";
    else result += c;
  }
  return result;
}

[[noreturn]] void fail(const std::string& file, std::string_view field, const char* what) {
  throw std::logic_error("template " + file + ": field '" + std::string(field) + "' " + what);
}

std::string valueOf(const std::string& file, std::string_view name, bool raw, const Fields& fields) {
  const auto field = fields.find(name);
  if (field == fields.end()) fail(file, name, "has no value");
  const auto* markup = std::get_if<Markup>(&field->second);
  if (raw && markup == nullptr) fail(file, name, "is text and needs two braces");
  if (!raw && markup != nullptr) fail(file, name, "is markup and needs three braces");
  return raw ? markup->html : escaped(std::get<std::string>(field->second));
}

std::string_view builtIn(const std::string& file) {
  const auto found = pageFiles().find(file);
  if (found == pageFiles().end()) throw std::logic_error("template " + file + " is not built in");
  std::string_view text = found->second;
  if (text.ends_with('\n')) text.remove_suffix(1);
  return text;
}

}  // namespace

Markup fillTemplate(const std::string& file, std::string_view text, const Fields& fields) {
  std::string html;
  for (std::size_t open; (open = text.find("{{")) != std::string_view::npos;) {
    html += text.substr(0, open);
    text.remove_prefix(open);
    const bool raw = text.starts_with("{{{");
    const std::string_view close = raw ? "}}}" : "}}";
    const std::size_t end = text.find(close);
    if (end == std::string_view::npos) fail(file, text.substr(0, text.find('\n')), "has no end");
    const std::string_view name = trim(text.substr(close.size(), end - close.size()));
    text.remove_prefix(end + close.size());
    if (!name.starts_with('!')) html += valueOf(file, name, raw, fields);
    else if (text.starts_with('\n')) text.remove_prefix(1);
  }
  return Markup(html.append(text));
}

Markup fillPage(const std::string& file, const Fields& fields) {
  return fillTemplate(file, builtIn(file), fields);
}

Markup pageFile(const std::string& file) { return Markup(std::string(builtIn(file))); }

Markup joined(const std::vector<Markup>& parts, std::string_view separator) {
  std::string html;
  for (const Markup& part : parts) html.append(&part == parts.data() ? "" : separator).append(part.html);
  return Markup(std::move(html));
}

}  // namespace gnx
