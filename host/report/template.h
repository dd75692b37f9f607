#pragma once
/// \file template.h
/// Templates of the page: files with named fields. This is the one place where text becomes markup.

#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace gnx {

/// Text that is HTML already: a filled template, or a drawing. What comes from a file of the user never is.
struct Markup {
  explicit Markup(std::string text = "") : html(std::move(text)) {}
  std::string html;
};

/// Plain text, which is escaped, or markup, which is not.
using Field = std::variant<std::string, Markup>;
using Fields = std::map<std::string, Field, std::less<>>;

/// Fills the fields of a template: {{name}} takes text, {{{name}}} markup; {{! a remark }} is left out with
/// the end of its line. `file` names the template in errors. \throws std::logic_error for a field that is
/// missing, of the other kind or has no end: a fault of the program
Markup fillTemplate(const std::string& file, std::string_view text, const Fields& fields);

/// The same for a file of host/report/page, as it is built in. The end of its last line does not belong to
/// it.
Markup fillPage(const std::string& file, const Fields& fields = {});

/// A file of that folder as it is.
Markup pageFile(const std::string& file);

/// A list: one after the other.
Markup joined(const std::vector<Markup>& parts, std::string_view separator = "\n");

}  // namespace gnx
