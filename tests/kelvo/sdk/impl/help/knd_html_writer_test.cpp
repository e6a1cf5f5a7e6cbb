#include "kelvo/sdk/impl/help/knd_html_writer.h"

#include "kelvo/sdk/help.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr const char* plainIcon = "<svg viewBox='0 0 9 9'><path d='M0 0h9'/></svg>";

class KndHtml : public testing::Test {
protected:
    [[nodiscard]] std::string html(bool page) {
        return std::string(KndHtmlWriter::nodeHtml(kelvo_sdk::Node(&m_node), page).view());
    }
    [[nodiscard]] bool says(const char* part) {
        return html(false).find(part) != std::string::npos;
    }
    void describe(const char* name, const char* help, const char* unit) {
        AttrData data = AttrData::withDefault(0.5);
        data.describe().unit = unit;
        data.describe().helps.push_back({"en", help});
        m_node.createInput(name, data);
    }

    Node m_node{nullptr, "mesh", "desk"};
};

// ---- Page and fragment ---------------------------------------------------------------------

TEST_F(KndHtml, BareNode_HasAWholeFragment) {
    EXPECT_EQ(html(false),
              "<article class=\"kelvo-help\">\n<header>\n<div>\n<h1>Desk</h1>\n"
              "<p class=\"type\"><code>mesh</code></p>\n</div>\n</header>\n"
              "<section aria-labelledby=\"inputs\">\n<h2 id=\"inputs\">Inputs</h2>\n"
              "<p class=\"none\">None.</p>\n</section>\n"
              "<section aria-labelledby=\"outputs\">\n<h2 id=\"outputs\">Outputs</h2>\n"
              "<p class=\"none\">None.</p>\n</section>\n"
              "<section aria-labelledby=\"example\">\n<h2 id=\"example\">Example</h2>\n"
              "<pre tabindex=\"0\" role=\"region\" aria-label=\"Example in scene text\"><code>"
              "node mesh &quot;desk&quot; {\n}\n</code></pre>\n</section>\n</article>\n");
}

TEST_F(KndHtml, Page_HoldsTheFragment) {
    describe("width", "How wide.", "m");
    const std::string page = html(true);
    EXPECT_TRUE(page.starts_with("<!DOCTYPE html>\n<html lang=\"en\">"));
    EXPECT_TRUE(page.ends_with("</body>\n</html>\n"));
    EXPECT_NE(page.find("<title>Desk</title>"), std::string::npos);
    EXPECT_NE(page.find("<main>\n" + html(false) + "</main>"), std::string::npos);
}

TEST_F(KndHtml, Page_NeedsNothingOutsideAndRunsNothing) {
    m_node.setSvgIcon(plainIcon);
    const std::string page = html(true);
    EXPECT_NE(page.find("content=\"default-src 'none'; img-src data:"), std::string::npos);
    for (const char* part : {"=\"http", "<script", "<link", "@import", "url(", "href=\"//"})
        EXPECT_EQ(page.find(part), std::string::npos) << part;
}

TEST_F(KndHtml, EmptyHandle_HasNoPage) {
    EXPECT_TRUE(KndHtmlWriter::nodeHtml(kelvo_sdk::Node(), true).isEmpty());
    EXPECT_TRUE(KndHtmlWriter::nodeHtml(kelvo_sdk::Node(), false).isEmpty());
    EXPECT_TRUE(helpSitePage(kelvo_sdk::Node(), {}).isEmpty());
}

TEST_F(KndHtml, Writing_LogsNothingAndChangesNothing) {
    describe("width", "How wide.", "m");
    m_node.setDirty(false);
    const tests::LogCapture log;
    static_cast<void>(html(true));
    EXPECT_EQ(log.text(), "");
    EXPECT_FALSE(m_node.isDirty());
    EXPECT_EQ(m_node.inputCount(), 1u);
}

// ---- Header --------------------------------------------------------------------------------

TEST_F(KndHtml, Header_TellsLabelTypeAndBases) {
    m_node.setLabel("en", "Polygon mesh");
    m_node.setBases({"geometry", "object"}, true, true);
    EXPECT_TRUE(says("<h1>Polygon Mesh</h1>\n<p class=\"type\"><code>mesh</code> based on "
                     "<code>geometry</code>, <code>object</code> "
                     "<span class=\"tag\">abstract</span> <span class=\"tag\">internal</span>"));
}

TEST_F(KndHtml, Help_StandsInParagraphs) {
    m_node.setHelp("en", "A polygon mesh.\n\nIt has faces.");
    EXPECT_TRUE(says("</header>\n<p>A polygon mesh.</p>\n<p>It has faces.</p>\n"));
}

TEST_F(KndHtml, Icon_ShowsWhenItIsPlain) {
    m_node.setSvgIcon(plainIcon);
    EXPECT_TRUE(says("<header>\n<img class=\"icon\" alt=\"\" width=\"72\" height=\"72\" "
                     "src=\"data:image/svg+xml,%3Csvg%20"));
    m_node.setSvgIcon("<svg><script>alert(1)</script></svg>");
    EXPECT_FALSE(says("<img"));
}

// ---- Attributes ----------------------------------------------------------------------------

TEST_F(KndHtml, Input_IsARowOfTheTable) {
    AttrData data = AttrData::withDefault(0.5);
    data.describe().minimum = 0.0;
    data.describe().maximum = 1.0;
    data.describe().unit = "m";
    data.describe().helps.push_back({"en", "How wide."});
    m_node.createInput("table_width", data);
    EXPECT_TRUE(says(
        "<tr role=\"row\" id=\"input-table_width\"><th role=\"rowheader\" scope=\"row\" "
        "class=\"c-name\"><span>Table Width</span><span><code>table_width</code></span></th>"
        "<td role=\"cell\" class=\"c-kind\" data-h=\"Kind\"><code>Real</code></td>"
        "<td role=\"cell\" class=\"c-default\" data-h=\"Default\"><code>0.5</code></td>"
        "<td role=\"cell\" class=\"c-range\" data-h=\"Range\"><span class=\"range\">0 to 1</span>"
        "</td><td role=\"cell\" class=\"c-unit\" data-h=\"Unit\">m</td>"
        "<td role=\"cell\" class=\"c-help\" data-h=\"Help\"><p>How wide.</p>\n</td></tr>"));
}

TEST_F(KndHtml, Columns_AreThoseThatAnInputFills) {
    m_node.createInput("width", AttrType::Real);
    EXPECT_FALSE(says("scope=\"col\" class=\"c-unit\""));
    EXPECT_FALSE(says("data-h=\"Unit\""));
    describe("height", "", "m");
    EXPECT_TRUE(says("scope=\"col\" class=\"c-unit\">Unit</th></tr>"));
    EXPECT_FALSE(says("c-range"));
}

TEST_F(KndHtml, Choices_AreAList) {
    AttrData data = AttrData::withDefault("fast");
    data.describe().choices.push_back("fast");
    data.describe().choices.push_back("good");
    m_node.createInput("mode", data);
    EXPECT_TRUE(says("<ul><li><code>&quot;fast&quot;</code></li>"
                     "<li><code>&quot;good&quot;</code></li></ul>"));
}

TEST_F(KndHtml, Members_AreIndented) {
    IInput* shade = m_node.createInput("shade", AttrType::Object);
    shade->createInput("rim", AttrType::Object)->createInput("size", AttrType::Real);
    EXPECT_TRUE(says("<tr role=\"row\" class=\"in1\"><th role=\"rowheader\" scope=\"row\" "
                     "class=\"c-name d1\"><span>Rim</span>"));
    EXPECT_TRUE(says("class=\"c-name d2\"><span>Size</span>"));
}

TEST_F(KndHtml, Outputs_AreListed) {
    m_node.createOutput("area", AttrType::Real);
    EXPECT_TRUE(says("<tr role=\"row\"><th role=\"rowheader\" scope=\"row\" class=\"c-name\">"
                     "<code>area</code></th><td role=\"cell\" class=\"c-kind\" data-h=\"Kind\">"
                     "<code>Real</code></td></tr>"));
}

TEST_F(KndHtml, AbstractType_HasNoExample) {
    EXPECT_TRUE(says("id=\"example\""));
    m_node.setBases({}, true, false);
    EXPECT_FALSE(says("id=\"example\""));
}

// ---- Hostile texts -------------------------------------------------------------------------

TEST_F(KndHtml, Texts_AreEscapedEverywhere) {
    constexpr const char* bad = "<script>alert('x')</script><b title=\"&quot;\">";
    Node node(nullptr, bad, bad);
    node.setBases({bad}, false, false);
    node.setLabel("en", bad);
    node.setHelp("en", bad);
    node.setSvgIcon(bad);
    AttrData data = AttrData::withDefault(bad);
    data.describe().minimum = bad;
    data.describe().maximum = bad;
    data.describe().choices.push_back(bad);
    data.describe().unit = bad;
    data.describe().labels.push_back({"en", bad});
    data.describe().helps.push_back({"en", bad});
    node.createInput("text", data);
    const String page = KndHtmlWriter::nodeHtml(kelvo_sdk::Node(&node), true);
    EXPECT_FALSE(page.contains("<script", true));
    EXPECT_FALSE(page.contains("<b ", true));
    EXPECT_FALSE(page.contains("alert('", true));
    EXPECT_TRUE(page.contains("&lt;script&gt;alert(&#39;x&#39;)", false));
}

// ---- Pages of a site -----------------------------------------------------------------------

TEST_F(KndHtml, SitePage_LeadsToOthers) {
    m_node.setBases({"geometry", "foreign"}, false, false);
    HelpLinks links;
    links.index = "../index.html";
    links.indexText = "All <types>";
    links.pageOf = [](const String& type) { return type == "foreign" ? String() : type + ".html"; };
    links.derived = {"subdiv"};
    const String page = helpSitePage(kelvo_sdk::Node(&m_node), links);
    for (const char* part :
         {"<nav aria-label=\"Site\"><a href=\"../index.html\">All &lt;types&gt;</a></nav>",
          "<a href=\"geometry.html\"><code>geometry</code></a>, <code>foreign</code>",
          "<h2 id=\"derived\">Types based on this</h2>\n<p><a href=\"subdiv.html\">"})
        EXPECT_TRUE(page.contains(part, false)) << part;
}

} // namespace
} // namespace qv::kelvo_sdk::impl
