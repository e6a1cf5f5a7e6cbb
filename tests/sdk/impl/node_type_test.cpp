#include "sdk/impl/input.h"
#include "sdk/impl/lib_info.h"
#include "sdk/impl/node.h"
#include "tests/support/counting_layout.h"
#include "tests/support/log_capture.h"

#include "base/localized.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::CountingLayout;
using tests::LogCapture;

class NodeType : public testing::Test {
protected:
    void makePath(const char* dir, const char* file, const char* ext) {
        m_node.setBases({"path"}, false, false);
        m_node.createInput("dir", AttrType::String)->setString(dir);
        m_node.createInput("file", AttrType::String)->setString(file);
        m_node.createInput("ext", AttrType::String)->setString(ext);
    }

    Node m_node{nullptr, "mesh", "m1"};
};

TEST_F(NodeType, IsTypeOf_KnowsItsTypeAndItsBases) {
    m_node.setBases({"geometry", "object"}, true, true);
    EXPECT_TRUE(m_node.isTypeOf(String("mesh")));
    EXPECT_TRUE(m_node.isTypeOf(String("geometry")));
    EXPECT_TRUE(m_node.isTypeOf(String("object")));
    EXPECT_FALSE(m_node.isTypeOf(String("thing")));
    EXPECT_FALSE(m_node.isTypeOf(String("Mesh")));
    EXPECT_TRUE(m_node.isAbstract());
    EXPECT_TRUE(m_node.isInternal());
}

TEST_F(NodeType, IsTypeOfSeveral_NeedsOne) {
    EXPECT_FALSE(m_node.isTypeOf(StringVector()));
    EXPECT_TRUE(m_node.isTypeOf(StringVector{"light", "mesh"}));
    EXPECT_FALSE(m_node.isTypeOf(StringVector{"light", "camera"}));
}

TEST_F(NodeType, TypeDesc_ListsTheBasesInBrackets) {
    EXPECT_STREQ(m_node.typeDesc().buf(), "mesh");
    m_node.setBases({"geometry", "object"}, false, false);
    EXPECT_STREQ(m_node.typeDesc().buf(), "mesh [geometry, object]");
}

TEST_F(NodeType, DisplayName_IsTheTrimmedNameInput) {
    m_node.createInput("name", AttrType::String)->setString("  Lamp ");
    EXPECT_STREQ(m_node.displayName().buf(), "Lamp");
}

TEST_F(NodeType, DisplayName_WithBlankNameInput_IsTheName) {
    m_node.createInput("name", AttrType::String)->setString("   ");
    EXPECT_STREQ(m_node.displayName().buf(), "m1");
}

TEST_F(NodeType, DisplayName_IgnoresANameInputOfAnotherKind) {
    m_node.createInput("name", AttrType::Int)->setInt(7);
    EXPECT_STREQ(m_node.displayName().buf(), "m1");
}

TEST_F(NodeType, DisplayName_OfAPathNode_IsItsFileName) {
    makePath("textures", "wood", "png");
    EXPECT_STREQ(m_node.displayName().buf(), "wood.png");
}

TEST_F(NodeType, DisplayName_OfAPathWithoutAFile_IsTheName) {
    makePath("textures/", "", "");
    EXPECT_STREQ(m_node.displayName().buf(), "m1");
}

TEST_F(NodeType, SetDisplayName_WritesTheNameInputWhateverItsKind) {
    m_node.createInput("name", AttrType::Int);
    EXPECT_TRUE(m_node.setDisplayName("12"));
    i64 value = 0;
    m_node.findInputByName("name")->readInt(value, false, nullptr);
    EXPECT_EQ(value, 12);
    EXPECT_FALSE(m_node.setDisplayName("twelve"));
}

TEST_F(NodeType, SetDisplayName_WithoutANameInput_IsFalseAndSilent) {
    const LogCapture log;
    EXPECT_FALSE(m_node.setDisplayName("Lamp"));
    EXPECT_EQ(m_node.inputCount(), 0u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeType, Label_IsLocalizedElseTheDisplayNameAlwaysInTitleCase) {
    m_node.setLabel("en", "polygon mesh");
    m_node.setLabel("de", "polygonnetz");
    EXPECT_STREQ(m_node.label("en").buf(), "Polygon Mesh");
    EXPECT_STREQ(m_node.label("de-AT").buf(), "Polygonnetz");
    EXPECT_STREQ(m_node.label("fr").buf(), "M1");
    EXPECT_STREQ(m_node.label("auto").buf(), "Polygon Mesh");
}

TEST_F(NodeType, Help_IsAsItIsAndHasNoFallback) {
    m_node.setHelp("en", "what it is");
    EXPECT_STREQ(m_node.help("en").buf(), "what it is");
    EXPECT_STREQ(m_node.help("fr").buf(), "");
}

TEST_F(NodeType, SetLayout_TakesBeforeItDrops) {
    CountingLayout layout;
    int lowest = 1;
    layout.whenDropped = [&] { lowest = std::min(lowest, layout.count); };
    m_node.setLayout(&layout);
    m_node.setLayout(&layout);
    EXPECT_EQ(layout.count, 1);
    EXPECT_EQ(lowest, 1);
    EXPECT_EQ(m_node.layout(), &layout);
    m_node.setLayout(nullptr);
    EXPECT_EQ(layout.count, 0);
    EXPECT_EQ(m_node.layout(), nullptr);
}

TEST_F(NodeType, SetLayout_ReplacesTheOldOne) {
    CountingLayout first, second;
    m_node.setLayout(&first);
    m_node.setLayout(&second);
    EXPECT_EQ(first.count, 0);
    EXPECT_EQ(second.count, 1);
    m_node.setLayout(nullptr);
}

TEST_F(NodeType, Meta_IsMadeOnceAsAnObject) {
    const Node& constant = m_node;
    IInput* meta = constant.meta();
    ASSERT_NE(meta, nullptr);
    EXPECT_STREQ(meta->name().buf(), "_meta");
    EXPECT_EQ(meta->type(), AttrType::Object);
    EXPECT_EQ(constant.meta(), meta);
    EXPECT_EQ(m_node.inputCount(), 1u);
}

TEST_F(NodeType, NodeDefPath_IsTheLibrarys) {
    EXPECT_STREQ(m_node.nodeDefPath().buf(), "");
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo("lib/mesh.knd"));
    m_node.initLibInfo(library.get());
    EXPECT_STREQ(m_node.nodeDefPath().buf(), "lib/mesh.knd");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
