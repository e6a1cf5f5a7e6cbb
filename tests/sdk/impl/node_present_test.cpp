#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "sdk/impl/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using tests::probe;

class NodePresent : public testing::Test {
protected:
    [[nodiscard]] static bool says(const String& text, const char* part) {
        return text.contains(part, false);
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("mesh", "desk"));
    Node* m_wood = static_cast<Node*>(m_scene->createNode("image", "wood"));
};

// ---- Text ----------------------------------------------------------------------------------

TEST_F(NodePresent, Serialize_FirstFlagAddsTheDependencies) {
    m_node->createInput("texture", AttrType::Node)->setNode(m_wood);
    EXPECT_TRUE(says(m_node->serialize(false, false), "\"desk\""));
    EXPECT_FALSE(says(m_node->serialize(false, false), "\"wood\""));
    EXPECT_TRUE(says(m_node->serialize(true, false), "\"wood\""));
    EXPECT_FALSE(says(m_node->serialize(false, true), "\"wood\""));
}

TEST_F(NodePresent, Serialize_SecondFlagLeavesOutWhatIsAtItsDefault) {
    m_node->createInput("size", AttrType::Real);
    m_node->createInput("weight", AttrType::Real)->setReal(2);
    EXPECT_TRUE(says(m_node->serialize(false, false), "size"));
    EXPECT_TRUE(says(m_node->serialize(true, false), "size"));
    EXPECT_FALSE(says(m_node->serialize(false, true), "size"));
    EXPECT_TRUE(says(m_node->serialize(false, true), "weight"));
}

TEST_F(NodePresent, Serializing_IsOverAfterwards) {
    EXPECT_FALSE(m_node->serializing());
    static_cast<void>(m_node->serialize(false, false));
    EXPECT_FALSE(m_node->serializing());
}

TEST_F(NodePresent, SerializingInsideAnother_LeavesTheFlagUp) {
    probe(*m_node).serializing() = true;
    static_cast<void>(m_node->serialize(false, false));
    EXPECT_TRUE(m_node->serializing());
}

TEST_F(NodePresent, Serialize_LogsNothingAndChangesNothing) {
    m_node->createInput("size", AttrType::Real);
    m_node->setDirty(false);
    const LogCapture log;
    static_cast<void>(m_node->serialize(true, true));
    EXPECT_EQ(log.text(), "");
    EXPECT_FALSE(m_node->dirty(false));
}

// ---- Icon ----------------------------------------------------------------------------------

TEST_F(NodePresent, Icon_IsTheNodesOwn) {
    const String icon("<svg/>");
    m_node->setSvgIcon(icon);
    EXPECT_EQ(m_node->svgIcon(false).get(), icon.get());
    EXPECT_EQ(m_node->svgIcon(true).get(), icon.get());
}

TEST_F(NodePresent, MissingIcon_IsEmptyOrOneSharedPicture) {
    EXPECT_TRUE(m_node->svgIcon(true).isEmpty());
    EXPECT_FALSE(m_node->svgIcon(false).isEmpty());
    EXPECT_EQ(m_node->svgIcon(false).get(), m_wood->svgIcon(false).get());
}

// ---- Help page -----------------------------------------------------------------------------

TEST_F(NodePresent, HtmlHelp_IgnoresTheText) {
    EXPECT_EQ(m_node->htmlHelp(true, ""), m_node->htmlHelp(true, "anything"));
    EXPECT_NE(m_node->htmlHelp(true, ""), m_node->htmlHelp(false, ""));
}

TEST_F(NodePresent, HtmlHelp_HoldsTheNodeForTheCallAlone) {
    const i32 before = probe(*m_node).refCount();
    static_cast<void>(m_node->htmlHelp(true, ""));
    EXPECT_EQ(probe(*m_node).refCount(), before);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
