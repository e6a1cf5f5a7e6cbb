// missing_icon_test.py checks that the icon is well-formed and looks like a question mark.

#include "kelvo/sdk/impl/graph/node.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

std::string icon() {
    return Node().svgIcon(false).buf();
}

int count(const std::string& part) {
    int found = 0;
    for (auto at = icon().find(part); at != std::string::npos; at = icon().find(part, at + 1))
        ++found;
    return found;
}

TEST(MissingIcon, Length_IsFixed) {
    EXPECT_EQ(Node().svgIcon(false).size(), 2173u);
    EXPECT_EQ(icon().size(), 2173u);
}

TEST(MissingIcon, Document_IsSvg11InUtf8) {
    EXPECT_TRUE(icon().starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"));
    EXPECT_EQ(count("<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\" "
                    "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">"),
              1);
}

TEST(MissingIcon, Document_HasOneGroupWithOnePath) {
    EXPECT_EQ(count("<g>"), 1);
    EXPECT_EQ(count("<path"), 1);
    EXPECT_EQ(count("<"), 7);
}

TEST(MissingIcon, Text_IsTheSameForEveryNode) {
    const Node a(nullptr, "mesh", "a"), b(nullptr, "light", "b");
    EXPECT_EQ(a.svgIcon(false).get(), b.svgIcon(false).get());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
