#include "kelvo/sdk/help.h"

#include "kelvo/kelvo.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

constexpr const char* types = R"(
type lamp {
}
type softbox : lamp {
    Real power = 1 @min 0 @max 9 @unit "W" @help "en" "How bright."
    String shape = "round" @choices ["round", "flat"]
    Object rim {
        Rgba tint = (1 1 1 1)
    }
    output Real glow
    page "General" { group "Look" { shape } }
}
)";

class Help : public testing::Test {
protected:
    Help() { EXPECT_TRUE(m_library.readDefinitions(types, "types.knd")); }

    const LibInfo m_library = LibInfo::create();
    Node m_type;

    void SetUp() override {
        m_type = m_library.findType("softbox");
        ASSERT_TRUE(m_type);
    }
};

TEST_F(Help, Title_IsTheTypeWhereThereIsNoLabel) {
    EXPECT_EQ(helpTitle(m_type), "Softbox");
    EXPECT_EQ(helpTitle(LibInfo::standard().findType("areaLight")), "Area Light");
    EXPECT_EQ(helpTitle(Node()), "");
}

TEST_F(Help, Kind_LeavesOutWhatIsOpen) {
    EXPECT_EQ(helpKind("Buffer<Null>"), "Buffer");
    EXPECT_EQ(helpKind("Buffer<Pos3f>"), "Buffer<Pos3f>");
}

TEST_F(Help, Pages_FollowTheLayoutAndEndWithTheRest) {
    const std::vector<HelpPage> pages = helpPages(m_type);
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].label, "General");
    ASSERT_EQ(pages[0].groups.size(), 1u);
    EXPECT_EQ(pages[0].groups[0].label, "Look");
    EXPECT_EQ(pages[0].groups[0].rows.at(0).choices.size(), 2u);
    EXPECT_EQ(pages[1].label, "Other");
    EXPECT_TRUE(helpPages(Node()).empty());
}

TEST_F(Help, Row_TellsAllOfAnInput) {
    const std::vector<HelpRow> rows = helpPages(m_type).at(1).groups.at(0).rows;
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].name, "power");
    EXPECT_EQ(rows[0].kind, "Real");
    EXPECT_EQ(rows[0].defaultText, "1");
    EXPECT_EQ(rows[0].range, "0 to 9");
    EXPECT_EQ(rows[0].unit, "W");
    EXPECT_EQ(rows[0].help, "How bright.");
    EXPECT_EQ(rows[2].name, "tint");
    EXPECT_EQ(rows[2].depth, 1u);
}

TEST_F(Help, Example_IsSceneTextThatReads) {
    const String text = helpExample(m_type);
    EXPECT_TRUE(text.view().starts_with("node softbox \"")) << text.buf();
    EXPECT_TRUE(Scene::create().read(text, "example.kns"));
    EXPECT_EQ(helpExample(Node()), "");
}

TEST_F(Help, SitePage_LeadsToOthersAndIsEscaped) {
    HelpLinks links;
    links.index = "../index.html";
    links.indexText = "All <types>";
    links.pageOf = [](const String& type) { return type + ".html"; };
    links.derived = {"spot"};
    const String page = helpSitePage(m_type, links);
    for (const char* part : {"<a href=\"../index.html\">All &lt;types&gt;</a>",
                             "<a href=\"lamp.html\"><code>lamp</code></a>",
                             "<a href=\"spot.html\"><code>spot</code></a>"})
        EXPECT_TRUE(page.contains(part, false)) << part;
    EXPECT_TRUE(helpSitePage(Node()).isEmpty());
}

TEST_F(Help, PageOfNoSite_IsTheHelpOfTheNode) {
    EXPECT_EQ(helpSitePage(m_type), m_type->htmlHelp(true, {}));
}

} // namespace
} // namespace qv::kelvo_sdk
