// Tests every type in the same way; the results of the nodes are tested in the files beside this
// one.

#include "kelvo/sdk/impl/standard/standard_library.h"

#include "kelvo/sdk/icon.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/layout.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/help/knd_html_writer.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/input.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_dump.h"
#include "tests/support/scene_text.h"
#include "tests/support/standard_node.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using tests::NodeDump;

std::vector<const Node*> allTypes() {
    std::vector<const Node*> types;
    for (u64 i = 0; i < standardLibrary().typeCount(); ++i)
        types.push_back(standardLibrary().type(i));
    return types;
}

std::vector<const Node*> nodeTypes() {
    std::vector<const Node*> types = allTypes();
    std::erase_if(types, [](const Node* type) { return type->isAbstract(); });
    return types;
}

std::string nameOf(const testing::TestParamInfo<const Node*>& type) {
    return type.param->type().buf();
}

bool hasLanguages(const AttrDetails::Texts& texts) {
    bool hasEnglish = false, hasGerman = false;
    for (const auto& [language, text] : texts) {
        hasEnglish = hasEnglish || (language == "en" && !text.isEmpty());
        hasGerman = hasGerman || (language == "de" && !text.isEmpty());
    }
    return hasEnglish && hasGerman;
}

/// Tests every definition, including abstract types.
class StandardType : public testing::TestWithParam<const Node*> {
protected:
    const Node& m_type = *GetParam();
};
INSTANTIATE_TEST_SUITE_P(Library, StandardType, testing::ValuesIn(allTypes()), nameOf);

TEST_P(StandardType, Labels_AreEnglishAndGerman) {
    const String fallback = m_type.label("none");
    EXPECT_NE(m_type.label("en"), fallback + "?");
    EXPECT_FALSE(m_type.label("en").isEmpty());
    EXPECT_FALSE(m_type.label("de").isEmpty());
}

TEST_P(StandardType, Helps_AreEnglishAndGerman) {
    EXPECT_FALSE(m_type.help("en").isEmpty());
    EXPECT_FALSE(m_type.help("de").isEmpty());
    EXPECT_NE(m_type.help("en"), m_type.help("de"));
}

TEST_P(StandardType, Inputs_AreDescribedInBothLanguages) {
    for (u64 i = 0; i < m_type.inputCount(); ++i) {
        const auto& input = static_cast<const Input&>(*m_type.input(i));
        ASSERT_NE(input.details(), nullptr) << input.path();
        EXPECT_TRUE(hasLanguages(input.details()->labels)) << input.path();
        EXPECT_TRUE(hasLanguages(input.details()->helps)) << input.path();
    }
}

TEST_P(StandardType, Icon_IsPlain) {
    EXPECT_FALSE(m_type.svgIcon(true).isEmpty());
    EXPECT_FALSE(safeSvg(m_type.svgIcon(true)).isEmpty());
}

TEST_P(StandardType, Inputs_StandInTheLayoutOnce) {
    std::multiset<std::string> placed, inputs;
    const auto none = RefersTo<Layout>::adopt(new Layout);
    const auto* layout = static_cast<const Layout*>(m_type.layout());
    for (const Layout::Page& page : (layout ? layout : none.get())->pages())
        for (const Layout::Group& group : page.groups)
            for (const String& input : group.inputs)
                placed.insert(input.buf());
    for (u64 i = 0; i < m_type.inputCount(); ++i)
        inputs.insert(m_type.input(i)->name().buf());
    EXPECT_EQ(placed, inputs);
}

// ---- Nodes of every type that is not abstract -------------------------------------------------

kelvo_sdk::Scene standardScene() {
    const auto scene = kelvo_sdk::Scene::create();
    EXPECT_TRUE(scene.addLibrary(kelvo_sdk::LibInfo(&standardLibrary())));
    return scene;
}

std::string dumpOf(const kelvo_sdk::Node& node) {
    return NodeDump::of(*node.get());
}

// Gives an input another value that its description allows; false if there is none.
bool edit(Input& input) {
    switch (input.type()) {
    case AttrType::Bool:
        return input.setBool(!input.value().asBool());
    case AttrType::Node:
    case AttrType::Buffer:
        return false;
    case AttrType::Array:
        return input.appendElement() != nullptr;
    case AttrType::String:
        for (const Value& choice : input.details()->choices)
            if (!(choice == input.value())) return input.setValue(choice);
        return input.setString("another");
    default:
        for (const char* text : {"0.5", "1", "2", "0"})
            if (input.setString(text) && !input.isDefault()) return true;
        return input.setMat4(math::Mat4d()) || input.setMat3(math::Mat3d());
    }
}

class StandardTypeNode : public testing::TestWithParam<const Node*> {
protected:
    const Node& m_type = *GetParam();
    kelvo_sdk::Scene m_scene = standardScene();
    LogCapture m_log;
    kelvo_sdk::Node m_node = m_scene.createNode(m_type.type(), m_type.type());
};
INSTANTIATE_TEST_SUITE_P(Library, StandardTypeNode, testing::ValuesIn(nodeTypes()), nameOf);

TEST_P(StandardTypeNode, Created_IsAsDefined) {
    EXPECT_EQ(dumpOf(m_node), NodeDump::of(m_type));
    EXPECT_EQ(m_node.get()->layout(), m_type.layout());
    EXPECT_EQ(m_log.text(), "");
}

TEST_P(StandardTypeNode, EveryOutput_IsAnswered) {
    if (!m_type.isTypeOf(String("value"))) {
        EXPECT_EQ(m_type.outputCount(), 0u);
        return;
    }
    const tests::StandardNode node(m_type.type().buf());
    EXPECT_NE(m_type.outputCount(), 0u);
    for (u64 i = 0; i < m_type.outputCount(); ++i)
        EXPECT_NE(node.answer(m_type.output(i)->name().buf()), "no answer");
    EXPECT_EQ(m_log.text(), "");
}

TEST_P(StandardTypeNode, Cloned_IsTheSame) {
    for (u64 i = 0; i < m_node.inputCount(); ++i)
        edit(static_cast<Input&>(*m_node.input(i).get()));
    const kelvo_sdk::Node copy(m_node.get()->clone(false));
    EXPECT_TRUE(m_scene.removeNode(m_node) && m_scene.renameNode(copy, m_node.name()));
    EXPECT_EQ(dumpOf(copy), dumpOf(m_node));
}

TEST_P(StandardTypeNode, Converted_KeepsItsNameAndIsOfTheType) {
    auto* converted = m_node.get()->convertTo("stringValue");
    ASSERT_NE(converted, nullptr);
    EXPECT_EQ(converted->name(), m_type.type());
    EXPECT_EQ(converted->type(), "stringValue");
    EXPECT_TRUE(converted->hasOutput(String("result"), AttrType::String));
}

TEST_P(StandardTypeNode, Written_ComesBackFromText) {
    for (u64 i = 0; i < m_node.inputCount(); i += 2)
        edit(static_cast<Input&>(*m_node.input(i).get()));
    const std::string text = tests::textOf(m_scene);
    EXPECT_EQ(text.find(" @"), std::string::npos) << text;
    const auto again = standardScene();
    EXPECT_EQ(tests::errorsOf(text, again), "");
    EXPECT_EQ(NodeDump::of(again), dumpOf(m_node));
    EXPECT_EQ(tests::textOf(again), text);
}

TEST_P(StandardTypeNode, LeftToTheDefinition_ComesBackFromText) {
    const auto scene = standardScene();
    const std::string name(m_type.type().view());
    const std::string text = "kelvo scene 1\n\nnode " + name + " \"" + name + "\" {\n}\n";
    EXPECT_EQ(tests::errorsOf(text, scene), "");
    EXPECT_EQ(NodeDump::of(scene), dumpOf(m_node));
    EXPECT_EQ(tests::textOf(scene), text);
}

TEST_P(StandardTypeNode, Documented_TellsEveryInputAndOutput) {
    const String page = KndHtmlWriter::nodeHtml(m_node, true);
    const auto tells = [&](const String& text) {
        return page.view().find(text.view()) != std::string_view::npos;
    };
    EXPECT_TRUE(tells(m_type.label("en")));
    EXPECT_TRUE(tells("<img class=\"icon\""));
    for (u64 i = 0; i < m_type.inputCount(); ++i)
        EXPECT_TRUE(tells(m_type.input(i)->label("en"))) << m_type.input(i)->path();
    for (u64 i = 0; i < m_type.outputCount(); ++i)
        EXPECT_TRUE(tells(m_type.output(i)->name()));
}

// ---- The library as a whole --------------------------------------------------------------------

TEST(StandardLibrary, Icons_AreEachATypesOwn) {
    std::set<std::string> icons;
    for (const Node* type : allTypes())
        EXPECT_TRUE(icons.insert(type->svgIcon(true).buf()).second) << type->type();
}

TEST(StandardLibrary, Labels_AreEachATypesOwn) {
    for (const char* language : {"en", "de"}) {
        std::set<std::string> labels;
        for (const Node* type : allTypes())
            EXPECT_TRUE(labels.insert(type->label(language).buf()).second) << type->type();
    }
}

TEST(StandardLibrary, UsualTypes_AreThere) {
    EXPECT_GE(nodeTypes().size(), 40u);
    for (const char* name :
         {"xform", "mesh", "camera", "light", "material", "texture", "add", "dot", "mixColor",
          "mix", "clamp", "remap", "noise", "composeVec3", "splitVec3", "overrideModifier"})
        EXPECT_NE(standardLibrary().findType(name), nullptr) << name;
}

TEST(StandardLibrary, Text_IsWrittenAsItStands) {
    EXPECT_EQ(standardLibrary().definitionText(), standardLibraryText());
}

TEST(StandardLibrary, Texture_IsAFile) {
    const auto scene = standardScene();
    const auto node = scene.createNode("texture", "t");
    EXPECT_TRUE(node.setPath("textures/wood.png"));
    EXPECT_STREQ(node.asPath().buf(), "textures/wood.png");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
