#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/interfaces/i_input.h"

#include "kelvo/base/localized.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

class NodeTypeLabels : public testing::Test {
protected:
    ~NodeTypeLabels() override { os::setLanguage("en"); }

    Node m_node{nullptr, "mesh", "m1"};
};

// ---- Labels ----------------------------------------------------------------------------

TEST_F(NodeTypeLabels, Label_IsThatOfTheLanguageElseTheDisplayName) {
    m_node.setLabel("en", "polygon mesh");
    m_node.setLabel("de", "polygonnetz");
    m_node.setLabel("de-CH", "netz");
    m_node.setLabel("it", "");
    struct Case {
        const char *language, *expected, *note;
    };
    const Case cases[] = {
        {"en", "Polygon Mesh", "exact"},
        {"de-CH", "Netz", "exact before the base"},
        {"de-AT", "Polygonnetz", "base language"},
        {"DE_at", "Polygonnetz", "base language, whatever the spelling"},
        {"fr", "M1", "no entry"},
        {"it", "M1", "an empty entry"},
        {"", "M1", "no language"},
        {"auto", "Polygon Mesh", "the process's language"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(m_node.label(c.language), c.expected) << c.note;
}

TEST_F(NodeTypeLabels, AutoLabel_FollowsTheLanguageOfTheProcess) {
    m_node.setLabel("en", "polygon mesh");
    m_node.setLabel("de", "polygonnetz");
    os::setLanguage("de-AT");
    EXPECT_EQ(m_node.label("auto"), "Polygonnetz");
    os::setLanguage("fr");
    EXPECT_EQ(m_node.label("auto"), "M1");
}

TEST_F(NodeTypeLabels, Label_IsInTitleCase) {
    struct Case {
        const char *text, *expected;
    };
    const Case cases[] = {
        {"polygon mesh", "Polygon Mesh"},
        {"polygon_mesh", "Polygon_Mesh"},
        {"polygon\tmesh", "Polygon\tMesh"},
        {"usd MESH", "Usd MESH"},
        {"two-sided", "Two-sided"},
        {"  far  off ", "  Far  Off "},
        {"3d view", "3d View"},
        {"\xC3\xBC"
         "ber uns",
         "\xC3\xBC"
         "ber Uns"},
        {" ", " "},
    };
    for (const Case& c : cases) {
        m_node.setLabel("en", c.text);
        EXPECT_EQ(m_node.label("en"), c.expected);
    }
}

TEST_F(NodeTypeLabels, LabelWithoutEntry_FollowsEveryRuleOfTheDisplayName) {
    m_node.setBases({"path"}, false, false);
    for (const char* part : {"dir", "file", "ext"})
        m_node.createInput(part, AttrType::String);
    m_node.setPath(String("textures/old_wood.png"));
    EXPECT_EQ(m_node.label("en"), "Old_Wood.png");
    m_node.createInput("name", AttrType::String)->setString(" desk lamp ");
    EXPECT_EQ(m_node.label("en"), "Desk Lamp");
    EXPECT_EQ(m_node.displayName(), "desk lamp");
}

TEST_F(NodeTypeLabels, Label_IsEmptyOnlyWithTheDisplayName) {
    EXPECT_TRUE(Node().label("en").isEmpty());
}

// ---- Help texts ------------------------------------------------------------------------

TEST_F(NodeTypeLabels, Help_IsAsItIsAndHasNoFallback) {
    m_node.setHelp("en", " what it_is");
    m_node.setHelp("de", "was es ist");
    m_node.setLabel("fr", "maille");
    struct Case {
        const char *language, *expected;
    };
    const Case cases[] = {
        {"en", " what it_is"},  {"de", "was es ist"}, {"de-AT", "was es ist"}, {"fr", ""}, {"", ""},
        {"auto", " what it_is"}};
    for (const Case& c : cases)
        EXPECT_EQ(m_node.help(c.language), c.expected) << c.language;
}

} // namespace
} // namespace qv::kelvo_sdk::impl
