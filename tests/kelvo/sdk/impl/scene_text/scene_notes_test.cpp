#include "kelvo/sdk/impl/scene_text/scene_notes.h"

#include "kelvo/sdk/impl/scene_text/scene_document.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

// Returns a line with an input that may have the annotation.
std::string lineWith(const NoteRule& rule) {
    const std::string name(rule.name);
    switch (rule.content) {
    case NoteContent::ElementType:
        return "Buffer x = [] " + name + " Float";
    case NoteContent::Value:
        return "Real x = 1 " + name + " 1";
    case NoteContent::ValueList:
        return "Real x = 1 " + name + " [1, 2]";
    case NoteContent::Text:
        return "Real x = 1 " + name + " \"m\"";
    case NoteContent::Translation:
        return "Real x = 1 " + name + " \"de\" \"Maß\"";
    default:
        return "Real x = 1 " + name;
    }
}

TEST(SceneNotes, InputNotes_AreTakenByReadingAndComparing) {
    for (const NoteRule& rule : noteRules()) {
        const std::string line = lineWith(rule);
        const std::string text = "kelvo scene 1\n\nnode t \"a\" {\n    " + line + "\n}\n";
        EXPECT_EQ(Scene::create().read(text.c_str(), "notes"), rule.onInputs) << line;
        EXPECT_EQ(SceneDocument().parseInput(line.c_str()).has_value(), rule.onInputs) << line;
    }
}

TEST(SceneNotes, OutputsAndNodes_TakeTheirsAlone) {
    for (const NoteRule& rule : noteRules()) {
        const std::string name(rule.name);
        const std::string ofOutput =
            "kelvo scene 1\n\nnode t \"a\" {\n    output Real x " + name + "\n}\n";
        const std::string ofNode = "kelvo scene 1\n\nnode t \"a\" " + name + " {\n}\n";
        EXPECT_EQ(Scene::create().read(ofOutput.c_str(), "notes"), rule.onOutputs) << ofOutput;
        EXPECT_EQ(Scene::create().read(ofNode.c_str(), "notes"), rule.onNodes) << ofNode;
    }
}

TEST(SceneNotes, NotesOfListsAlone_AreRefusedElsewhere) {
    for (const NoteRule& rule : noteRules())
        if (rule.onListsAlone) {
            const std::string text = "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1 " +
                                     std::string(rule.name) + " Float\n}\n";
            EXPECT_FALSE(Scene::create().read(text.c_str(), "notes")) << rule.name;
        }
}

TEST(SceneNotes, FindInputNote_NeedsTheWholeName) {
    ASSERT_NE(findInputNote("@min"), nullptr);
    EXPECT_EQ(findInputNote("@min")->note, Note::Minimum);
    for (const char* name : {"", "@", "min", "@mi", "@mini", "@abstract", "@Min"})
        EXPECT_EQ(findInputNote(name), nullptr) << name;
}

} // namespace
} // namespace qv::kelvo_sdk::impl
