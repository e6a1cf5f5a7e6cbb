#include "sdk/impl/knd_html_writer.h"

#include "sdk/impl/input.h"
#include "sdk/impl/node.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

class KndHtml : public testing::Test {
protected:
    [[nodiscard]] std::string html(bool page) {
        return KndHtmlWriter::nodeHtml(kelvo_sdk::Node(&m_node), page).buf();
    }

    Node m_node{nullptr, "mesh", "desk"};
};

TEST_F(KndHtml, Fragment_TellsLabelTypeAndHelp) {
    m_node.setBases({"geometry"}, false, false);
    m_node.setHelp("en", "A polygon mesh.");
    EXPECT_EQ(html(false), "<h1>Desk</h1>\n<p>mesh [geometry]</p>\n<p>A polygon mesh.</p>\n");
}

TEST_F(KndHtml, Page_HoldsTheFragment) {
    const std::string page = html(true);
    EXPECT_TRUE(page.starts_with("<!DOCTYPE html>\n<html>"));
    EXPECT_TRUE(page.ends_with("</body>\n</html>\n"));
    EXPECT_NE(page.find("<title>Desk</title>"), std::string::npos);
    EXPECT_NE(page.find(html(false)), std::string::npos);
}

TEST_F(KndHtml, Attributes_AreListed) {
    AttrData data(AttrType::Real);
    data.describe().unit = "m";
    data.describe().helps.push_back({"en", "How wide."});
    m_node.createInput("table_width", data);
    m_node.createOutput("area", AttrType::Real);
    EXPECT_NE(html(false).find("<tr><td>table_width</td><td>Table_Width</td><td>Real</td><td>m</td>"
                               "<td>How wide.</td></tr>"),
              std::string::npos);
    EXPECT_NE(html(false).find("<tr><td>area</td><td>Real</td></tr>"), std::string::npos);
}

TEST_F(KndHtml, Texts_AreEscaped) {
    m_node.setLabel("en", "<script>alert('x')</script>");
    m_node.setHelp("en", "a & b \"c\"");
    const std::string page = html(true);
    EXPECT_EQ(page.find("<script"), std::string::npos);
    EXPECT_NE(page.find("a &amp; b &quot;c&quot;"), std::string::npos);
    EXPECT_NE(page.find("&#39;"), std::string::npos);
}

TEST_F(KndHtml, EmptyHandle_HasNoPage) {
    EXPECT_TRUE(KndHtmlWriter::nodeHtml(kelvo_sdk::Node(), true).isEmpty());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
