#include "kelvo/sdk/html.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::html {
namespace {

std::string pageOf(const PageHead& head) {
    StringIO out;
    openPage(out, head);
    closePage(out);
    return std::string(out.take().view());
}

bool has(const std::string& page, const char* part) {
    return page.find(part) != std::string::npos;
}

TEST(HtmlPage, Title_IsEscaped) {
    EXPECT_TRUE(has(pageOf({.title = "a<b>&"}), "<title>a&lt;b&gt;&amp;</title>"));
}

TEST(HtmlPage, PageWithoutScript_MayRunNone) {
    const std::string page = pageOf({.title = "a"});
    EXPECT_TRUE(has(page, "default-src 'none'"));
    EXPECT_FALSE(has(page, "script-src"));
}

TEST(HtmlPage, ScriptHash_AllowsThatScriptAlone) {
    EXPECT_TRUE(has(pageOf({.title = "a", .scriptHash = "sha256-x"}), "script-src 'sha256-x'; "));
}

TEST(HtmlPage, OwnStyle_StandsBehindThatOfAllPages) {
    const std::string page = pageOf({.title = "a", .style = "b { color: red; }"});
    EXPECT_TRUE(has(page, "b { color: red; }</style>"));
    EXPECT_LT(page.find(":root"), page.find("b { color: red; }"));
}

TEST(HtmlPage, Page_IsClosed) {
    EXPECT_TRUE(pageOf({.title = "a"}).ends_with("<body>\n</body>\n</html>\n"));
}

} // namespace
} // namespace qv::kelvo_sdk::html
