#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/help/knd_html_writer.h"
#include "kelvo/sdk/impl/help/missing_icon.h"
#include "kelvo/sdk/impl/scene_text/serialize.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using tests::probe;

// Calls back when a writer reads its type.
class WatchedNode final : public Node {
public:
    explicit WatchedNode(std::function<void()> asked)
        : Node(nullptr, "watched", "watched"), m_asked(std::move(asked)) {}
    [[nodiscard]] String type() const override {
        if (m_asked) m_asked();
        return Node::type();
    }

private:
    std::function<void()> m_asked;
};

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

TEST_F(NodePresent, Serialize_GivesTheWriterItsFlagsTheOtherWayRound) {
    m_node->createInput("texture", AttrType::Node)->setNode(m_wood);
    m_node->createInput("size", AttrType::Real);
    for (const bool first : {false, true}) {
        for (const bool second : {false, true}) {
            StringIO out;
            impl::serialize(m_node, out, second, first);
            EXPECT_EQ(m_node->serialize(first, second), out.buf()) << first << second;
        }
    }
}

TEST_F(NodePresent, Serializing_IsUpWhileTextIsWritten) {
    int asked = 0;
    const Node* self = nullptr;
    const WatchedNode node([&] { asked += self->serializing() ? 1 : 0; });
    self = &node;
    static_cast<void>(node.serialize(false, false));
    EXPECT_GE(asked, 1);
    EXPECT_FALSE(node.serializing());
}

TEST_F(NodePresent, SerializeThatThrows_BringsTheFlagBackAndLogsNothing) {
    const WatchedNode node([] { throw std::runtime_error("no"); });
    const LogCapture log;
    for (const bool before : {false, true}) {
        probe(const_cast<WatchedNode&>(node)).serializing() = before;
        EXPECT_THROW(static_cast<void>(node.serialize(false, false)), std::runtime_error);
        EXPECT_EQ(node.serializing(), before);
    }
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodePresent, SerializeInsideSerialize_LeavesTheFlagUpForTheOuterOne) {
    int depth = 0;
    bool isUp = false;
    const Node* self = nullptr;
    const WatchedNode node([&] {
        if (depth++ != 0) return;
        static_cast<void>(self->serialize(false, false));
        isUp = self->serializing();
    });
    self = &node;
    static_cast<void>(node.serialize(false, false));
    EXPECT_TRUE(isUp);
    EXPECT_FALSE(node.serializing());
}

TEST_F(NodePresent, CloneMadeWhileTextIsWritten_CarriesTheFlag) {
    Node* copy = nullptr;
    const Node* self = nullptr;
    const WatchedNode node([&] { copy = copy ? copy : self->clone(nullptr, "copy"); });
    self = &node;
    static_cast<void>(node.serialize(false, false));
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->serializing());
    copy->decRef();
}

TEST_F(NodePresent, Serializing_IsUpForTheNodeThatIsAskedAlone) {
    m_node->createInput("texture", AttrType::Node)->setNode(m_wood);
    probe(*m_wood).serializing() = true;
    static_cast<void>(m_node->serialize(true, false));
    EXPECT_TRUE(m_wood->serializing());
    EXPECT_FALSE(m_node->serializing());
}

TEST_F(NodePresent, Serialize_WorksWithoutAScene) {
    const Node node(nullptr, "thing", "a");
    EXPECT_STREQ(node.serialize(true, true).buf(), "node thing \"a\" {\n}\n");
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

TEST_F(NodePresent, MissingIcon_IsTheWholePicture) {
    EXPECT_STREQ(m_node->svgIcon(false).buf(), missingIcon());
    const Node bare;
    EXPECT_EQ(bare.svgIcon(false).get(), m_node->svgIcon(false).get());
}

// ---- Help page -----------------------------------------------------------------------------

TEST_F(NodePresent, HtmlHelp_IgnoresTheText) {
    EXPECT_EQ(m_node->htmlHelp(true, ""), m_node->htmlHelp(true, "anything"));
    EXPECT_NE(m_node->htmlHelp(true, ""), m_node->htmlHelp(false, ""));
}

TEST_F(NodePresent, HtmlHelp_IsThePageOrTheFragmentOfTheWriter) {
    m_node->createInput("size", AttrType::Real);
    for (const bool page : {false, true})
        EXPECT_EQ(m_node->htmlHelp(page, ""),
                  KndHtmlWriter::nodeHtml(kelvo_sdk::Node(m_node), page));
}

TEST_F(NodePresent, HtmlHelp_HoldsAReferenceWhileItIsWritten) {
    i32 during = 0;
    Node* self = nullptr;
    WatchedNode node([&] { during = probe(*self).refCount(); });
    self = &node;
    const i32 before = probe(node).refCount();
    static_cast<void>(node.htmlHelp(false, ""));
    EXPECT_EQ(during, before + 1);
    EXPECT_EQ(probe(node).refCount(), before);
}

TEST_F(NodePresent, HtmlHelpThatThrows_LetsTheNodeGo) {
    WatchedNode node([] { throw std::runtime_error("no"); });
    const i32 before = probe(node).refCount();
    const LogCapture log;
    EXPECT_THROW(static_cast<void>(node.htmlHelp(true, "")), std::runtime_error);
    EXPECT_EQ(probe(node).refCount(), before);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodePresent, HtmlHelp_RaisesNoFlagAndChangesNothing) {
    m_node->createInput("size", AttrType::Real);
    m_node->setDirty(false);
    const u64 hash = m_node->hash({});
    static_cast<void>(m_node->htmlHelp(true, ""));
    EXPECT_FALSE(m_node->serializing());
    EXPECT_FALSE(m_node->dirty(false));
    EXPECT_EQ(m_node->hash({}), hash);
}

TEST_F(NodePresent, HtmlHelp_HoldsTheNodeForTheCallAlone) {
    const i32 before = probe(*m_node).refCount();
    static_cast<void>(m_node->htmlHelp(true, ""));
    EXPECT_EQ(probe(*m_node).refCount(), before);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
