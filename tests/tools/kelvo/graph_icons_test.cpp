#include "tools/kelvo/graph_icons.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

namespace {

using qv::String;
using qv::kelvo_sdk::Scene;
using qv::kelvo_tool::GraphIcons;
using qv::kelvo_tool::withIcons;

constexpr const char* red = R"(<svg xmlns="http://www.w3.org/2000/svg" fill="red"/>)";
constexpr const char* blue = R"(<svg xmlns="http://www.w3.org/2000/svg" fill="blue"/>)";

class GraphIconsTest : public testing::Test {
protected:
    qv::u64 add(const char* svg) { return m_icons.add(svg); }

    GraphIcons m_icons{[](const String& type) { return String(type == "lamp" ? red : blue); }};
};

TEST_F(GraphIconsTest, SameIcon_IsKeptOnce) {
    EXPECT_EQ(add(red), 0u);
    EXPECT_EQ(add(blue), 1u);
    EXPECT_EQ(add(red), 0u);
    ASSERT_EQ(m_icons.all().size(), 2u);
    EXPECT_EQ(m_icons.all()[1], blue);
}

TEST_F(GraphIconsTest, Node_HasTheIconOfItsType) {
    const Scene scene = Scene::create();
    scene.createNode("lamp", "a");
    EXPECT_EQ(m_icons.addOf(scene.snapshot()["a"]), 0u);
    EXPECT_EQ(m_icons.all()[0], red);
}

TEST_F(GraphIconsTest, UnsafeIcon_IsLeftOutAndCountedOnce) {
    const char* unsafe = "<svg><script/></svg>";
    EXPECT_EQ(add(unsafe), GraphIcons::none);
    EXPECT_EQ(add(unsafe), GraphIcons::none);
    EXPECT_EQ(m_icons.refusedCount(), 1u);
    EXPECT_TRUE(m_icons.all().empty());
}

TEST_F(GraphIconsTest, IconLeftOutLater_IsNoLongerFound) {
    (void)add(red);
    (void)add(blue);
    m_icons.leaveOut(0);
    EXPECT_EQ(add(red), GraphIcons::none);
    EXPECT_EQ(add(blue), 1u);
}

TEST_F(GraphIconsTest, Drawing_RefersToIconsInside) {
    (void)add("<svg/>");
    const String drawn = withIcons(
        "<?xml?><!DOCTYPE svg><svg a='b'>1<image xlink:href=\"icon-0.svg\" x=\"1\"/>2</svg>",
        m_icons);
    EXPECT_EQ(drawn, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                     "<svg a='b'>\n"
                     "<defs>\n"
                     "<symbol id=\"icon-0\" viewBox=\"0 0 24 24\">"
                     "<image width=\"24\" height=\"24\" xlink:href=\"data:image/svg+xml;base64,"
                     "PHN2ZyB4bWxucz0iaHR0cDovL3d3dy53My5vcmcvMjAwMC9zdmciLz4=\"/></symbol>\n"
                     "</defs>\n"
                     "1<use xlink:href=\"#icon-0\" x=\"1\"/>2</svg>");
}

TEST_F(GraphIconsTest, DrawingThatIsCutOff_EndsSomewhere) {
    const String whole = "<svg a='b'>1<image xlink:href=\"icon-0.svg\" x=\"1\"/>2</svg>";
    for (qv::u64 length = 11; length < whole.size(); ++length)
        EXPECT_NE(withIcons(whole.substr(0, length).view(), m_icons), String()) << length;
    EXPECT_EQ(withIcons("<svg", m_icons), String());
    EXPECT_EQ(withIcons("", m_icons), String());
}

} // namespace
