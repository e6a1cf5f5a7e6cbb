#include "kelvo/kelvo.h"

#include "kelvo/sdk/callback_table.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <memory>

namespace qv::kelvo_sdk {
namespace {

constexpr const char* fanText = "kelvo types 1\n"
                                "\n"
                                "type fan : object {\n"
                                "    Real speed = 2 @min 0\n"
                                "    output Real wind\n"
                                "}\n";

bool keepNothing(interfaces::INode*, void**) {
    return true;
}
bool giveSeven(EvalCtx*, void* out) {
    *static_cast<double*>(out) = 7;
    return true;
}

LibInfo fans() {
    const LibInfo library = LibInfo::create("fans.knd");
    EXPECT_TRUE(library.readDefinitions(fanText, "fans.knd", nullptr, LibInfo::standard()));
    return library;
}

TEST(LibInfoHandle, Standard_HasTypesWithBasesInputsAndLabels) {
    const LibInfo library = LibInfo::standard();
    ASSERT_GT(library.typeCount(), 50u);
    EXPECT_EQ(library.type(0).type(), "object");
    EXPECT_TRUE(library.type(0).isAbstract());
    const Node light = library.findType("light");
    ASSERT_TRUE(light);
    EXPECT_EQ(light.bases().join(" "), "emitter object");
    EXPECT_EQ(light.label("en"), "Light");
    EXPECT_FALSE(light.help("en").isEmpty());
    EXPECT_TRUE(light->hasInput("intensity", AttrType::Real));
    EXPECT_FALSE(light.isAbstract());
    EXPECT_EQ(LibInfo::standard(), library);
}

TEST(LibInfoHandle, Types_ThatAreNotThere_AreEmpty) {
    const tests::LogCapture log;
    const LibInfo library = fans();
    EXPECT_FALSE(library.type(1));
    EXPECT_FALSE(library.findType("Fan"));
    EXPECT_FALSE(library.findType(""));
    EXPECT_EQ(log.text(), "");
}

TEST(LibInfoHandle, StandardTypes_AreMadeByAScene) {
    const Scene scene = Scene::create();
    EXPECT_TRUE(scene.addLibrary(LibInfo::standard()));
    EXPECT_FALSE(scene.addLibrary(LibInfo::standard()));
    const Node sum = scene.createNode("add", "sum");
    sum["a"].set(40);
    sum["b"].set(2);
    EXPECT_EQ(sum.output("result").get<double>(), 42);
}

TEST(LibInfoHandle, Definitions_AreReadAndWritten) {
    const LibInfo library = fans();
    EXPECT_EQ(library.typeCount(), 1u);
    EXPECT_EQ(library.kndPath(), "fans.knd");
    EXPECT_EQ(library.definitionText(), fanText);
    EXPECT_EQ(library.findType("fan")["speed"].get<double>(), 2);
}

TEST(LibInfoHandle, BrokenDefinitions_AreReportedAndChangeNothing) {
    const LibInfo library = fans();
    Diagnostics found;
    EXPECT_FALSE(library.readDefinitions("type grid {\n    Reel size = 1\n}\n", "a.knd", &found));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].text(), "a.knd:2:5: type 'grid': Unknown kind 'Reel': did you mean 'Real'?");
    EXPECT_EQ(library.typeCount(), 1u);
    const tests::LogCapture log;
    EXPECT_FALSE(library.readDefinitions("type grid {\n    Reel size = 1\n}\n", "a.knd"));
    EXPECT_NE(log.text().find("error: a.knd:2:5: "), std::string::npos);
}

TEST(LibInfoHandle, Callbacks_BelongToTheType) {
    const LibInfo library = fans();
    EXPECT_TRUE(library.setCallbacks(
        "fan", {.init = &keepNothing, .eval = &giveSeven, .free = &keepNothing}));
    EXPECT_EQ(library.nodeEval("fan"), &giveSeven);
    const Scene scene = Scene::create();
    scene.addLibrary(library);
    EXPECT_EQ(scene.createNode("fan", "fan").output("wind").get<double>(), 7);
}

TEST(LibInfoHandle, SharedObject_OutlivesItsLibrary) {
    auto needed = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = needed;
    Node fan;
    {
        const LibInfo library = LibInfo::create({}, std::move(needed));
        library.readDefinitions(fanText, "fans.knd", nullptr, LibInfo::standard());
        const Scene scene = Scene::create();
        scene.addLibrary(library);
        fan = scene.createNode("fan", "fan");
    }
    EXPECT_FALSE(watched.expired()) << "a node of the library is there";
    fan.reset();
    EXPECT_TRUE(watched.expired());
}

int s_prepared = 0;

TEST(LibInfoHandle, Prep_IsCalledByWhoeverAsksForIt) {
    const LibInfo library = fans();
    const auto prepare = [](interfaces::INode*, void*) { return ++s_prepared > 0; };
    library.setCallbacks(
        "fan", {.init = &keepNothing, .prep = prepare, .eval = &giveSeven, .free = &keepNothing});
    const Scene scene = Scene::create();
    scene.addLibrary(library);
    scene.setUndoEnabled(true);
    const Node fan = scene.createNode("fan", "fan");
    const Input reader = scene.createNode("thing", "t").createInput("r", AttrType::Real);
    reader.connect(fan.output("wind"));
    EXPECT_EQ(reader.get<double>(), 7);
    fan["speed"].set(3.0);
    fan.clone();
    scene.read(scene.text(), "again");
    scene.undo();
    static_cast<void>(validate(scene));
    EXPECT_EQ(s_prepared, 0);
    EXPECT_TRUE(fan->nodePrep());
    EXPECT_EQ(s_prepared, 1);
}

TEST(LibInfoHandle, EmptyOnesAndTables_HaveNoTypes) {
    const LibInfo table(new CallbackTable);
    table->decRef();
    for (const LibInfo& library : {LibInfo(), table}) {
        EXPECT_EQ(library.typeCount(), 0u);
        EXPECT_FALSE(library.type(0));
        EXPECT_FALSE(library.findType("light"));
        EXPECT_TRUE(library.definitionText().isEmpty());
        EXPECT_FALSE(library.readDefinitions(fanText, "fans.knd"));
        EXPECT_FALSE(library.setCallbacks("fan", {}));
        EXPECT_FALSE(Scene::create().addLibrary(library));
    }
}

TEST(LibInfoHandle, Scene_TellsItsLibrariesInOrder) {
    const Scene scene = Scene::create();
    EXPECT_EQ(scene.libraryCount(), 0u);
    const LibInfo own = fans();
    scene.addLibrary(own);
    scene.addLibrary(LibInfo::standard());
    ASSERT_EQ(scene.libraryCount(), 2u);
    EXPECT_EQ(scene.library(0), own);
    EXPECT_EQ(scene.library(1), LibInfo::standard());
    EXPECT_FALSE(scene.library(2));
    EXPECT_EQ(Scene().libraryCount(), 0u);
    EXPECT_FALSE(Scene().library(0));
}

} // namespace
} // namespace qv::kelvo_sdk
