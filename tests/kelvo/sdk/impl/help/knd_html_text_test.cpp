#include "kelvo/sdk/html.h"

#include "kelvo/kelvo.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::html {
namespace {

std::string escaped(std::string_view text) {
    StringIO out;
    appendText(out, text);
    return std::string(out.view());
}

std::string paragraphs(std::string_view text) {
    StringIO out;
    appendParagraphs(out, text);
    return std::string(out.view());
}

std::string icon(const char* svg) {
    StringIO out;
    appendIcon(out, svg, 72);
    return std::string(out.view());
}

TEST(HtmlText, Text_IsEscaped) {
    const struct {
        std::string_view text;
        const char* expected;
    } cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"<script>", "&lt;script&gt;"},
        {"a & b", "a &amp; b"},
        {"&lt;", "&amp;lt;"},
        {"\"x\" 'y'", "&quot;x&quot; &#39;y&#39;"},
        {"Größe →", "Größe →"},
        {"a\xFF"
         "b",
         "a\xEF\xBF\xBD"
         "b"},
        {std::string_view("a\0b", 3), "a\xEF\xBF\xBD"
                                      "b"},
        {"\x1B[1m", "\xEF\xBF\xBD[1m"},
        {"\xC3", "\xEF\xBF\xBD"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(escaped(text), expected);
}

TEST(HtmlText, Paragraphs_ArePartedByBlankLines) {
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {"", ""},
        {" \n\n ", ""},
        {"one", "<p>one</p>\n"},
        {"one\ntwo", "<p>one<br>\ntwo</p>\n"},
        {"one\r\ntwo", "<p>one<br>\ntwo</p>\n"},
        {"one\n\ntwo", "<p>one</p>\n<p>two</p>\n"},
        {"\n\none\n \t\n\n\ntwo\n", "<p>one</p>\n<p>two</p>\n"},
        {"<p>\n\n</p>", "<p>&lt;p&gt;</p>\n<p>&lt;/p&gt;</p>\n"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(paragraphs(text), expected) << text;
}

TEST(HtmlText, Paragraphs_OfManyLinesTakeTheirTime) {
    const std::string text(2000000, '\n');
    EXPECT_EQ(paragraphs(text + "end"), "<p>end</p>\n");
}

TEST(HtmlIcon, PlainSvg_IsAPictureInThePage) {
    EXPECT_EQ(icon("<svg xmlns=\"http://www.w3.org/2000/svg\"><g id='a'/></svg>"),
              "<img class=\"icon\" alt=\"\" width=\"72\" height=\"72\" src=\"data:image/svg+xml,"
              "%3Csvg%20xmlns=%22http://www.w3.org/2000/svg%22%3E%3Cg%20id=%27a%27/%3E%3C/svg%3E"
              "\">\n");
    const Node bare = Scene::create().createNode("bare", "bare");
    EXPECT_TRUE(icon(bare->svgIcon(false).buf()).starts_with("<img class=\"icon\""));
}

TEST(HtmlIcon, AnythingElse_IsLeftOut) {
    for (const char* svg :
         {"", "x", "<svg><script>alert(1)</script></svg>", "<svg onload='alert(1)'/>",
          "<svg><image href='http://a/b.png'/></svg>", "<svg><foreignObject/></svg>", "<svg>"})
        EXPECT_EQ(icon(svg), "") << svg;
}

// These characters end a comment in HTML, but not in XML.
TEST(HtmlIcon, CommentsOfAnotherKind_EndNothing) {
    const std::string text = icon("<svg><!--><script>alert(1)</script>--></svg>");
    EXPECT_EQ(text.find("<script"), std::string::npos);
    EXPECT_EQ(text.find('<', 1), std::string::npos);
}

} // namespace
} // namespace qv::kelvo_sdk::html
