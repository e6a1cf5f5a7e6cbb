#include "kelvo/sdk/impl/types/lib_info.h"

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/library_text.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using namespace interfaces;

bool init(INode*, void**) {
    return true;
}
bool prep(INode*, void*) {
    return true;
}
bool eval(EvalCtx*, void*) {
    return true;
}
bool modify(INode*, INode*) {
    return true;
}
bool detach(INode*, void**) {
    return true;
}
void changed(IInput*) {}

constexpr NodeCallbacks kAll{init, prep, eval, modify, detach, changed};

TEST(LibInfoTest, Types_MatchExactly) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo("a/b.knd"));
    library->setCallbacks("mesh", kAll);
    EXPECT_EQ(library->nodeInit("mesh"), &init);
    EXPECT_EQ(library->nodePrep("mesh"), &prep);
    EXPECT_EQ(library->nodeEval("mesh"), &eval);
    EXPECT_EQ(library->nodeModify("mesh"), &modify);
    EXPECT_EQ(library->nodeFree("mesh"), &detach);
    EXPECT_EQ(library->nodeChanged("mesh"), &changed);
    EXPECT_EQ(library->nodeInit("Mesh"), nullptr);
    EXPECT_EQ(library->nodeInit(""), nullptr);
    EXPECT_STREQ(library->kndPath().buf(), "a/b.knd");
}

TEST(LibInfoTest, SettingAgain_Replaces) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo);
    library->setCallbacks("mesh", kAll);
    library->setCallbacks("mesh", {init, nullptr, nullptr, nullptr, nullptr, nullptr});
    EXPECT_EQ(library->nodeInit("mesh"), &init);
    EXPECT_EQ(library->nodeEval("mesh"), nullptr);
}

TEST(LibInfoTest, EmptyHandle_AnswersNull) {
    const kelvo_sdk::LibInfo none;
    EXPECT_EQ(none.nodeInit("mesh"), nullptr);
    EXPECT_EQ(none.nodePrep("mesh"), nullptr);
    EXPECT_EQ(none.nodeEval("mesh"), nullptr);
    EXPECT_EQ(none.nodeModify("mesh"), nullptr);
    EXPECT_EQ(none.nodeFree("mesh"), nullptr);
    EXPECT_EQ(none.nodeChanged("mesh"), nullptr);
    EXPECT_TRUE(none.kndPath().isEmpty());
}

// ---- Nodes of its types -----------------------------------------------------------------------

kelvo_sdk::Scene sceneWith(const tests::Library& library) {
    const auto scene = kelvo_sdk::Scene::create();
    EXPECT_TRUE(scene.addLibrary(kelvo_sdk::LibInfo(library.get())));
    return scene;
}

TEST(LibInfoTest, AbstractType_GivesNoNode) {
    const tests::LogCapture log;
    const auto scene = sceneWith(tests::libraryOf("type a @abstract {\n}"));
    EXPECT_FALSE(scene.createNode("a", "n"));
    EXPECT_EQ(scene.nodeCount(), 0u);
    EXPECT_EQ(log.text(), "error: Cannot create node 'n': its type 'a' is abstract.\n");
}

TEST(LibInfoTest, UnknownType_GivesABareNode) {
    const auto scene = sceneWith(tests::libraryOf("type a {\n  Real x\n}"));
    for (const char* type : {"b", "A", "aa"})
        EXPECT_EQ(scene.createNode(type, "n").inputCount(), 0u) << type;
}

TEST(LibInfoTest, TwoLibrariesWithOneType_TheFirstCounts) {
    const auto scene = sceneWith(tests::libraryOf("type a {\n  Real first\n}"));
    const auto second = tests::libraryOf("type a {\n  Real second\n}\ntype b : a {\n}");
    scene.addLibrary(kelvo_sdk::LibInfo(second.get()));
    EXPECT_TRUE(scene.createNode("a", "n").get()->hasInput(String("first"), AttrType::Real));
    EXPECT_TRUE(scene.createNode("b", "n").get()->hasInput(String("second"), AttrType::Real));
}

TEST(LibInfoTest, LibraryAddedTwice_IsThereOnce) {
    const auto library = tests::libraryOf("type a {\n}");
    const auto scene = sceneWith(library);
    EXPECT_FALSE(scene.addLibrary(kelvo_sdk::LibInfo(library.get())));
    EXPECT_FALSE(scene.addLibrary(kelvo_sdk::LibInfo()));
}

TEST(LibInfoTest, TypeOfAnotherLibrary_IsABaseWithItsCallbacks) {
    const auto bases = tests::libraryOf("type base {\n  Real x = 4\n}");
    bases->setCallbacks("base", kAll);
    const auto library = tests::libraryOf("type own : base {\n}", bases);
    const auto scene = sceneWith(library);
    const auto node = scene.createNode("own", "n");
    EXPECT_EQ(node["x"].get<double>(), 4);
    EXPECT_TRUE(node.get()->hasNodeModify());
    EXPECT_EQ(library->definitionText(), "kelvo types 1\n\ntype own : base {\n}\n");
}

TEST(LibInfoTest, Node_OutlivesItsLibrary) {
    auto library = tests::libraryOf("type a {\n  Real x = 3 @max 5\n}");
    auto scene = sceneWith(library);
    const auto node = scene.createNode("a", "n");
    library = {};
    scene = {};
    EXPECT_EQ(node["x"].get<double>(), 3);
    EXPECT_FALSE(node["x"].set(6.0));
}

// ---- Libraries without definitions or callbacks -----------------------------------------------

// A library without any callback.
class NullLibrary : public LibInfo {
public:
    NodeInitFn nodeInit(String) const override { return nullptr; }
    NodePrepFn nodePrep(String) const override { return nullptr; }
    NodeEvalFn nodeEval(String) const override { return nullptr; }
    NodeModifyFn nodeModify(String) const override { return nullptr; }
    NodeFreeFn nodeFree(String) const override { return nullptr; }
    NodeChangedFn nodeChanged(String) const override { return nullptr; }
    String kndPath() const override { return String(); }
};

TEST(LibInfoTest, LibraryThatAnswersNull_GivesNodesThatDoNothing) {
    const tests::LogCapture log;
    const auto library = RefersTo<NullLibrary>::adopt(new NullLibrary);
    library->setCallbacks("a", kAll);
    EXPECT_TRUE(library->readDefinitions("type a {\n  Real x = 3\n  output Real y\n}", "t"));
    const auto scene = kelvo_sdk::Scene::create();
    EXPECT_TRUE(scene.addLibrary(kelvo_sdk::LibInfo(library.get())));
    const auto node = scene.createNode("a", "n");
    const auto reader = scene.createNode("reader", "r");
    EXPECT_FALSE(static_cast<Node*>(node.get())->initLibInfo(library.get()));
    EXPECT_TRUE(node.get()->nodeInit() && node.get()->nodePrep() && node.get()->nodeFree());
    EXPECT_FALSE(node.get()->nodeEval(nullptr, nullptr) || node.get()->nodeModify(node.get()));
    const auto input = reader.createInput("x", AttrType::Real);
    EXPECT_TRUE(input.connect(node.output("y")));
    double value = 7;
    input.read(value);
    EXPECT_TRUE(value == 7 || value == 0);
    EXPECT_EQ(node["x"].get<double>(), 3);
    EXPECT_EQ(log.text().find("terminate"), std::string::npos);
}

// A client's own kind of library, without definitions.
class ForeignLibrary : public ILibInfo {
public:
    void incRef() override { ++count; }
    void decRef() override { --count; }
    NodeInitFn nodeInit(String) const override { return nullptr; }
    NodePrepFn nodePrep(String) const override { return nullptr; }
    NodeEvalFn nodeEval(String) const override { return nullptr; }
    NodeModifyFn nodeModify(String) const override { return nullptr; }
    NodeFreeFn nodeFree(String) const override { return nullptr; }
    NodeChangedFn nodeChanged(String) const override { return nullptr; }
    String kndPath() const override { return String(); }
    int count = 1;
};

TEST(LibInfoTest, LibraryOfAnotherKind_IsNotAdded) {
    ForeignLibrary foreign;
    {
        const auto scene = kelvo_sdk::Scene::create();
        EXPECT_FALSE(scene.addLibrary(kelvo_sdk::LibInfo(&foreign)));
        EXPECT_TRUE(scene.createNode("a", "n"));
    }
    EXPECT_EQ(foreign.count, 1);
}

// ---- Data that a free callback leaves ---------------------------------------------------------

int leftBehind = 0;
bool leave(INode*, void** data) {
    *data = &leftBehind;
    return true;
}
bool freeNothing(INode*, void**) {
    return true;
}

TEST(LibInfoTest, FreeThatLeavesData_IsReported) {
    const tests::LogCapture log;
    const auto library = tests::libraryOf("type a {\n}");
    library->setCallbacks("a", {leave, nullptr, eval, nullptr, freeNothing, nullptr});
    {
        const auto scene = sceneWith(library);
        const auto node = scene.createNode("a", "n");
        EXPECT_EQ(node.get()->data(), &leftBehind);
        EXPECT_TRUE(scene.removeNode(node));
    }
    EXPECT_NE(log.text().find("'n'"), std::string::npos) << log.text();
    EXPECT_EQ(std::ranges::count(log.text(), '\n'), 1) << log.text();
}

} // namespace
} // namespace qv::kelvo_sdk::impl
