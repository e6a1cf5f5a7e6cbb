#include "kelvo/sdk/help.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

class HelpExample : public testing::Test {
protected:
    Node m_node{nullptr, "light", "lamp"};
    const kelvo_sdk::Node m_handle{&m_node};
};

TEST_F(HelpExample, ChangedValues_AreTheExample) {
    m_node.createInput("width", AttrType::Real)->setReal(2);
    m_node.createInput("count", AttrType::Int);
    EXPECT_STREQ(helpExample(m_handle).buf(), "node light \"lamp\" {\n    Real width = 2\n}\n");
}

TEST_F(HelpExample, NothingChanged_ShowsTheFirstPlainInputs) {
    m_node.createInput("target", AttrType::Node);
    m_node.createInput("width", AttrData::withDefault(0.5));
    m_node.createInput("on", AttrType::Bool);
    m_node.createInput("shape", AttrType::Object);
    for (const char* name : {"a", "b", "c"})
        m_node.createInput(name, AttrType::Int);
    EXPECT_STREQ(helpExample(m_handle).buf(),
                 "node light \"lamp\" {\n    Real width = 0.5\n    Bool on = true\n"
                 "    Int a = 0\n    Int b = 0\n}\n");
}

TEST_F(HelpExample, ReadOnlyInputs_AreNoExample) {
    AttrData data = AttrData::withDefault(1.0);
    data.readOnly = true;
    m_node.createInput("fixed", data);
    EXPECT_STREQ(helpExample(m_handle).buf(), "node light \"lamp\" {\n}\n");
}

TEST_F(HelpExample, Choices_ShowTheLast) {
    AttrData data = AttrData::withDefault("fast");
    data.describe().choices.push_back("fast");
    data.describe().choices.push_back("good");
    m_node.createInput("mode", data);
    EXPECT_TRUE(helpExample(m_handle).contains("String mode = \"good\"", false));
}

TEST_F(HelpExample, LongText_GivesWayToATypicalOne) {
    const std::string text(100000, 'x');
    m_node.createInput("note", AttrType::String)->setString(text.c_str());
    m_node.createInput("width", AttrType::Real)->setReal(2);
    EXPECT_STREQ(helpExample(m_handle).buf(), "node light \"lamp\" {\n    Real width = 2\n}\n");
}

TEST_F(HelpExample, NamelessNode_IsCalledAfterItsType) {
    Node node(nullptr, "light", "");
    EXPECT_STREQ(helpExample(kelvo_sdk::Node(&node)).buf(), "node light \"light1\" {\n}\n");
}

TEST_F(HelpExample, EmptyTexts_AreNoExample) {
    m_node.createInput("note", AttrType::String);
    EXPECT_STREQ(helpExample(m_handle).buf(), "node light \"lamp\" {\n}\n");
}

TEST_F(HelpExample, TypeThatIsNoIdentifier_IsQuoted) {
    Node node(nullptr, "a <b>", "");
    EXPECT_STREQ(helpExample(kelvo_sdk::Node(&node)).buf(), "node \"a <b>\" \"a <b>1\" {\n}\n");
}

TEST_F(HelpExample, Example_ReadsBack) {
    m_node.createInput("width", AttrData::withDefault(0.5));
    m_node.createInput("color", AttrType::Rgba);
    m_node.createInput("text", AttrType::String);
    const RefersTo<Scene> scene = RefersTo<Scene>::adopt(new Scene);
    Diagnostics found;
    EXPECT_TRUE(readScene(*scene, helpExample(m_handle), {}, &found));
    EXPECT_NE(scene->findNode("lamp"), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
