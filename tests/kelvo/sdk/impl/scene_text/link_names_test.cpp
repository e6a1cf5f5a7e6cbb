#include "kelvo/sdk/impl/scene_text/link_names.h"

#include "tests/support/scene_document.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

LinkNames lampIsLight() {
    LinkNames names;
    names.add("lamp", "light");
    names.add("none", "null");
    return names;
}

TEST(LinkNames, Value_OfALink_IsTheNewName) {
    struct Case {
        const char* text;
        AttrType type;
        const char* expected;
    };
    for (const auto& [text, type, expected] :
         {Case{"lamp", AttrType::Node, "light"}, Case{"desk", AttrType::Node, "desk"},
          Case{"null", AttrType::Node, "null"}, Case{"none", AttrType::Node, "\"null\""},
          Case{"\"null\"", AttrType::Node, "\"null\""},
          Case{"\"lamp\"", AttrType::String, "\"lamp\""}})
        EXPECT_EQ(lampIsLight().value(text, type), expected) << text;
}

TEST(LinkNames, Source_KeepsItsOutput) {
    EXPECT_EQ(lampIsLight().source("lamp.lamp:2"), "light.lamp:2");
    EXPECT_EQ(lampIsLight().source("desk.lamp"), "desk.lamp");
}

TEST(LinkNames, Note_ChangesLinksAlone) {
    struct Case {
        DocNote note;
        AttrType type;
        const char* expected;
    };
    const Case cases[] = {
        {{"@default", "lamp"}, AttrType::Node, "light"},
        {{"@default", "Node lamp"}, AttrType::Real, "Node light"},
        {{"@default", "String \"lamp\""}, AttrType::Node, "String \"lamp\""},
        {{"@default", "\"lamp\""}, AttrType::String, "\"lamp\""},
        {{"@choices", "[lamp, null, String \"lamp\", lamp]"},
         AttrType::Node,
         "[light, null, String \"lamp\", light]"},
        {{"@choices", "[1, Node lamp, 2]"}, AttrType::Real, "[1, Node light, 2]"},
        {{"@label \"de\"", "\"lamp\""}, AttrType::Node, "\"lamp\""},
        {{"@type", "lamp"}, AttrType::Buffer, "lamp"},
        {{"@readonly", ""}, AttrType::Node, ""},
    };
    for (const auto& [note, type, expected] : cases)
        EXPECT_EQ(lampIsLight().note(note, type), expected) << note.name << " " << note.text;
}

TEST(LinkNames, ApplyTo_ADocument_SwapsNames) {
    SceneDocument document =
        tests::documentOf("kelvo scene 1\n\nnode x \"a\" {\n    Node n = b\n}\n"
                          "node x \"b\" {\n    Array<Node> l = [a, null, b]\n}\n");
    LinkNames names;
    names.add("a", "b");
    names.add("b", "a");
    names.applyTo(document);
    EXPECT_STREQ(document.text().buf(), "kelvo scene 1\n\nnode x \"b\" {\n    Node n = a\n}\n"
                                        "node x \"a\" {\n    Array<Node> l = [b, null, a]\n}\n");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
