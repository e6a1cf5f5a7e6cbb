// Values outside their limits are read, kept, and written unchanged.
#include "kelvo/sdk/impl/scene_text/scene_writer.h"

#include "kelvo/sdk/lib_info.h"
#include "tests/support/library_text.h"
#include "tests/support/log_capture.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::errorsOf;
using tests::LogCapture;
using tests::nodeText;
using tests::sceneOf;
using tests::textOf;

const tests::Library& lamps() {
    static const tests::Library library =
        tests::libraryOf("type t {\n  Real power = 5 @min 0 @max 10\n  Object lid {\n"
                         "    Int turns = 0 @max 3\n  }\n  Int seal = 7 @readonly\n}");
    return library;
}

kelvo_sdk::Scene typed(const std::string& text) {
    const auto scene = kelvo_sdk::Scene::create();
    EXPECT_TRUE(scene.addLibrary(kelvo_sdk::LibInfo(lamps().get())));
    EXPECT_EQ(errorsOf(text, scene), "") << text;
    return scene;
}

// Lines of a node that are written as they were read, with and without the limits of their type.
constexpr const char* kLines[] = {
    "Real x = 1 @min 3",
    "Real x = 5 @min 1 @max 3",
    "Real x = nan @max 3",
    "Real x = inf @unchecked @max 3",
    "Real x = 1 @min 3 @max 2",
    "Vec2 x = (0 5) @max (3 3)",
    "String x = \"c\" @choices [\"a\", \"b\"]",
    "Int x = 9223372036854775807 @max 9223372036854775806",
    "Array<Int> x = [1, 9 @max 3, 9 @unchecked @max 3]",
    "Object x {\n    Int y = 9 @max 3\n}",
    "Real power = 11",
    "Real power = 11 @unchecked",
    "Real power = -1 # low",
    "Object lid {\n    Int turns = 4\n}",
    "Object lid {\n    Int turns = 4 @unchecked\n}",
    "Int seal = 8",
};

TEST(SceneLimits, ValueOutside_IsWrittenAsItWasRead) {
    for (const char* lines : kLines) {
        const std::string text = nodeText(lines);
        EXPECT_EQ(textOf(sceneOf(text)), text);
        EXPECT_EQ(textOf(typed(text)), text);
    }
}

TEST(SceneLimits, MarkOfAValueInside_IsDropped) {
    EXPECT_EQ(textOf(typed(nodeText("Real power = 9 @unchecked"))), nodeText("Real power = 9"));
    EXPECT_EQ(textOf(sceneOf(nodeText("Real x = 2 @unchecked @max 3"))),
              nodeText("Real x = 2 @max 3"));
}

TEST(SceneLimits, ValueOutside_CanBeSetToOneInsideAndBack) {
    const auto scene = typed(nodeText("Real power = 11"));
    scene.setUndoEnabled(true);
    EXPECT_TRUE(scene["n"]["power"].set(3.0));
    EXPECT_EQ(textOf(scene), nodeText("Real power = 3"));
    EXPECT_TRUE(scene.undo());
    EXPECT_EQ(textOf(scene), nodeText("Real power = 11"));
}

TEST(SceneLimits, Writes_StayRefusedAndNameTheRange) {
    const auto scene = typed(nodeText("Real power = 11"));
    const LogCapture log;
    EXPECT_FALSE(scene["n"]["power"].set(12.0));
    EXPECT_EQ(log.text(), "warning: Cannot set input 'n.power' to '12': the value is above the "
                          "maximum 10 (the range is 0 to 10).\n");
    EXPECT_EQ(scene["n"]["power"].get<double>(), 11);
}

TEST(SceneLimits, WhatAProgramBroughtOutside_IsMarked) {
    const auto scene = typed(nodeText("Real power = 11"));
    const kelvo_sdk::Node copy = scene["n"].clone();
    const std::string expected =
        "node t \"" + std::string(copy.name().view()) + "\" {\n    Real power = 11 @unchecked\n";
    EXPECT_NE(textOf(scene).find(expected), std::string::npos) << textOf(scene);
}

TEST(SceneLimits, ManyValuesOutside_AreAllRead) {
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += "node t \"n" + std::to_string(i) + "\" {\n    Real power = 11\n}\n";
    EXPECT_EQ(typed(text).nodeCount(), 100u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
