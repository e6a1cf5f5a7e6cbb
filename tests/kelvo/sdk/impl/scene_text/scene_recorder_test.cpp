#include "kelvo/sdk/impl/scene_text/scene_recorder.h"

#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/random_scene.h"
#include "tests/support/scene_document.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::recorded;

std::string refusal(const kelvo_sdk::Scene& scene) {
    SceneDocument document;
    String error;
    EXPECT_FALSE(SceneRecorder(document).record(implOf(*scene.get()), error));
    return error.buf();
}

// The parser of pieces finds the same in the text of each node.
void expectReadBack(const SceneDocument& document) {
    for (const DocNode& node : document.nodes) {
        SceneDocument owner;
        const auto read = owner.parseNode(SceneDocument::textOf(node));
        ASSERT_TRUE(read && isSame(*read, node)) << SceneDocument::textOf(node).buf();
    }
}

TEST(SceneRecorder, Record_OfRandomScenes_IsWhatTheirTextsSay) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        const auto scene = tests::sceneOf(tests::RandomScene(seed).text());
        const SceneDocument document = recorded(scene);
        ASSERT_STREQ(document.text().buf(), scene.text().buf()) << "seed " << seed;
        expectReadBack(document);
    }
}

TEST(SceneRecorder, Record_OfScenesThatKnowTheirTypes_IsWhatTheirTextsSay) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        const auto scene = kelvo_sdk::Scene::create();
        scene.addLibrary(kelvo_sdk::LibInfo(&standardLibrary()));
        EXPECT_EQ(tests::errorsOf(tests::RandomScene(seed).text(), scene), "");
        const SceneDocument document = recorded(scene);
        ASSERT_STREQ(document.text().buf(), scene.text().buf()) << "seed " << seed;
        expectReadBack(document);
    }
}

// Arrays and objects that hold each other, made as readers of texts make none.
kelvo_sdk::Scene nested(u64 levels) {
    const auto scene = kelvo_sdk::Scene::create();
    interfaces::IInput* input =
        scene.createNode("t", "node1").createArray("outer", AttrType::Array).get();
    for (u64 level = 1; level < levels; ++level)
        input = input->createArray("0", AttrType::Array);
    return scene;
}

TEST(SceneRecorder, Record_OfMoreLevelsThanTextsMayHave_IsWhole) {
    for (const u64 levels : {200u, 201u, 256u})
        EXPECT_STREQ(recorded(nested(levels)).text().buf(), nested(levels).text().buf()) << levels;
}

TEST(SceneRecorder, Record_OfWhatRecordsCannotHold_SaysWhy) {
    EXPECT_EQ(refusal(nested(257)), "a scene is nested too deep to be compared.");
    for (const char* text : {"kelvo scene 1\n\nnode t \"n\" {\n    Real r = x\n}\n",
                             "kelvo scene 1\n\nnode t \"n\" {\n}\n?\n"}) {
        const auto scene = kelvo_sdk::Scene::create();
        Diagnostics gaps;
        EXPECT_TRUE(scene.read(text, "text", {.isPartial = true}, &gaps).isRead);
        EXPECT_EQ(refusal(scene), "a scene has lines that could not be read.") << text;
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
