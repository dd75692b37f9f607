// Templates of the page: what becomes of their fields, and faults in them.

#include "report/template.h"

#include <stdexcept>

#include "support/host_files.h"

namespace gnx::test {
namespace {

TEST(Template, EscapesTextButNotMarkupAndLeavesRemarksOut) {
  const Fields fields = {{"name", "<b class='x'>\"&amp;\"</b>{{name}}"}, {"list", Markup("<i>&amp;</i>")}};
  EXPECT_EQ(
      fillTemplate("t", "{{! who it is }}\n<p title=\"{{ name }}\">{{{list}}}</p>\n", fields).html,
      "<p title=\"&lt;b class=&#39;x&#39;&gt;&quot;&amp;amp;&quot;&lt;/b&gt;{{name}}\"><i>&amp;</i></p>\n")
      << "a value is not looked through for fields";
  EXPECT_EQ(joined({Markup("a"), Markup(""), Markup("b")}, "-").html, "a--b");
  EXPECT_EQ(joined({}).html, "");
}

TEST(Template, FaultsNameTheTemplateAndTheField) {
  const auto fault = [](const char* text) {
    return messageOf<std::logic_error>([&] {
      fillTemplate("row.html", text, {{"text", "a"}, {"markup", Markup("b")}});
    });
  };
  EXPECT_EQ(fault("<p>{{station}}</p>"), "template row.html: field 'station' has no value");
  EXPECT_THAT(fault("{{{station}}}"), HasSubstr("row.html: field 'station' has no value"));
  EXPECT_THAT(fault("{{{text}}}"), HasSubstr("'text' is text")) << "text never goes in as it is";
  EXPECT_THAT(fault("{{markup}}"), HasSubstr("'markup' is markup"));
  EXPECT_THAT(fault("{{text}} {{text\n"), HasSubstr("'{{text' has no end"));
  EXPECT_THAT(messageOf<std::logic_error>([] {
                fillPage("row.html", {{"name", "a"}});
              }),
              HasSubstr("row.html: field 'value'"));
  EXPECT_THAT(messageOf<std::logic_error>([] { fillPage("absent.html"); }), HasSubstr("absent.html"));
}

}  // namespace
}  // namespace gnx::test
