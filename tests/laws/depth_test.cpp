// No walk recurses with the depth of inputs: trees deeper than any text allows are edited on a
// small stack.
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/scene_diff.h"
#include "kelvo/sdk/snapshot.h"
#include "kelvo/sdk/validation.h"
#include "tests/support/log_capture.h"
#include "tests/support/memory_pieces.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

using interfaces::IInput;

constexpr u64 smallStack = 128 * 1024;
constexpr u64 manyLevels = 100'000;

enum class Nesting { Objects, Arrays, Both };

// Creates and returns the input below `holder`.
IInput* nextLevel(IInput& holder, Nesting nesting) {
    if (holder.type() == AttrType::Object)
        return nesting == Nesting::Both ? holder.createArray("list", AttrType::Object)
                                        : holder.createInput("object", AttrType::Object);
    return nesting == Nesting::Both ? holder.appendElement()
                                    : holder.createArray("0", AttrType::Array);
}

Input makeNested(const Node& node, u64 levels, Nesting nesting) {
    const Input outermost = nesting == Nesting::Arrays
                                ? node.createArray("outer", AttrType::Array)
                                : node.createInput("outer", AttrType::Object);
    IInput* input = outermost.get();
    for (u64 level = 1; level < levels; ++level)
        input = nextLevel(*input, nesting);
    return outermost;
}

u64 levelsOf(const Input& outermost) {
    u64 levels = 1;
    const IInput* input = outermost.get();
    for (; input->inputCount() != 0; ++levels)
        input = input->input(u64(0));
    return levels;
}

class Depth : public testing::TestWithParam<Nesting> {
protected:
    Depth() { m_scene.setUndoEnabled(true); }
    ~Depth() override {
        tests::runOnSmallStack([this] { drop(); }, smallStack);
    }
    void make() {
        const Scene::UndoScope scope(m_scene, "Nest", "Take back");
        makeNested(m_node, manyLevels, GetParam());
    }
    void drop() {
        m_node = Node();
        m_scene = Scene();
    }
    [[nodiscard]] Input outermost() const { return m_scene["node1"]["outer"]; }
    void expectWhole(const char* when) const {
        EXPECT_EQ(levelsOf(outermost()), manyLevels) << when;
        EXPECT_TRUE(m_scene.verify().empty()) << when;
    }

    const tests::LogCapture m_log;
    Scene m_scene = Scene::create();
    Node m_node = m_scene.createNode("t", "node1");
};

TEST_P(Depth, Making_IsUndoneAndRedone) {
    tests::runOnSmallStack(
        [this] {
            make();
            EXPECT_TRUE(m_scene.undo());
            EXPECT_EQ(m_node.inputCount(), 0u);
            EXPECT_TRUE(m_scene.redo());
            expectWhole("done again");
        },
        smallStack);
}

TEST_P(Depth, Removal_IsUndoneAndRedone) {
    tests::runOnSmallStack(
        [this] {
            make();
            EXPECT_TRUE(m_node.removeInput("outer"));
            EXPECT_TRUE(m_scene.undo());
            expectWhole("taken back");
            EXPECT_TRUE(m_scene.redo());
            EXPECT_EQ(m_node.inputCount(), 0u);
        },
        smallStack);
}

TEST_P(Depth, Copies_AreWhole) {
    tests::runOnSmallStack(
        [this] {
            make();
            const Node copy = m_node.clone();
            EXPECT_EQ(levelsOf(copy["outer"]), manyLevels);
            EXPECT_EQ(copy["outer"]->hash({}), outermost()->hash({}));
            EXPECT_TRUE(m_node.clone(true));
            EXPECT_TRUE(m_scene.undo());
            expectWhole("beside copies");
        },
        smallStack);
}

TEST_P(Depth, Conversion_KeepsAllLevels_AndIsUndone) {
    tests::runOnSmallStack(
        [this] {
            make();
            ConversionLosses losses;
            EXPECT_TRUE(m_node.convertTo("other", &losses));
            EXPECT_TRUE(losses.empty());
            expectWhole("converted");
            EXPECT_TRUE(m_scene.undo());
            expectWhole("taken back");
        },
        smallStack);
}

TEST_P(Depth, NodesWithIt_AreRemovedAndComeBack) {
    tests::runOnSmallStack(
        [this] {
            make();
            EXPECT_TRUE(m_scene.removeNode(m_node));
            EXPECT_TRUE(m_scene.undo());
            m_scene->clear();
            EXPECT_TRUE(m_scene.undo());
            expectWhole("back");
        },
        smallStack);
}

TEST_P(Depth, Questions_AreAnswered) {
    tests::runOnSmallStack(
        [this] {
            make();
            EXPECT_EQ(outermost().isDefault(), GetParam() == Nesting::Objects);
            EXPECT_NE(m_node.hash(), 0u);
            EXPECT_TRUE(m_node.dirty());
            EXPECT_TRUE(m_node.dependencies().empty());
            EXPECT_FALSE(m_node->findInput("outer.nothing"));
            EXPECT_TRUE(m_node.inputAt("outer"));
            EXPECT_EQ(outermost().asString(), "");
            EXPECT_TRUE(outermost().reset());
        },
        smallStack);
}

TEST_P(Depth, Text_IsWritten_InProportion) {
    tests::runOnSmallStack(
        [this] {
            make();
            EXPECT_GT(m_node->serialize(true, false).size(), manyLevels);
            EXPECT_LT(m_node->serialize(true, false).size(), manyLevels * 64);
            EXPECT_LT(m_node->serialize(false, true).size(), manyLevels * 64);
            EXPECT_FALSE(m_node->htmlHelp(true, "").isEmpty());
        },
        smallStack);
}

// Reads more levels than a text from outside may have.
TEST_P(Depth, Snapshot_IsReadIntoAScene) {
    tests::runOnSmallStack(
        [this] {
            make();
            const Snapshot snapshot = m_scene.snapshot();
            const Scene copy = Scene::create();
            EXPECT_TRUE(copy.read(snapshot));
            EXPECT_EQ(levelsOf(copy["node1"]["outer"]), manyLevels);
            EXPECT_EQ(copy["node1"].hash(), m_node.hash());
            EXPECT_EQ(copy.snapshot().hash(), snapshot.hash());
            EXPECT_TRUE(copy.text().equals(snapshot.text()));
        },
        smallStack);
}

TEST_P(Depth, Snapshot_IsStoredAndOpened) {
    tests::runOnSmallStack(
        [this] {
            make();
            const Snapshot snapshot = m_scene.snapshot();
            const Made<Snapshot> opened = openSnapshot(tests::MemorySink::store(snapshot));
            EXPECT_TRUE(opened.verify());
            EXPECT_EQ(opened.hash(), snapshot.hash());
            EXPECT_TRUE(opened.text().equals(snapshot.text()));
        },
        smallStack);
}

TEST_P(Depth, Comparison_SaysThatItIsTooDeep) {
    tests::runOnSmallStack(
        [this] {
            make();
            const char* tooDeep = "a scene is nested too deep to be compared.";
            EXPECT_EQ(SceneDiff::between(m_scene, m_scene).message(), tooDeep);
            std::vector<MergeConflict> conflicts;
            EXPECT_EQ(
                mergeScenes(m_scene, m_scene, m_scene, {}, Scene::create(), conflicts).message(),
                tooDeep);
        },
        smallStack);
}

TEST_P(Depth, Validation_FindsNothing) {
    tests::runOnSmallStack(
        [this] {
            make();
            EXPECT_TRUE(validate(m_scene).empty());
        },
        smallStack);
}

INSTANTIATE_TEST_SUITE_P(All, Depth,
                         testing::Values(Nesting::Objects, Nesting::Arrays, Nesting::Both));

// ---- Texts ---------------------------------------------------------------------------------

// Returns the text of a node whose inputs nest as deep as the limit of texts, or one level deeper.
std::string nestedText(Nesting nesting, int levels) {
    std::string opening, closing;
    for (int level = 0; level < levels; ++level) {
        const bool isArray = nesting == Nesting::Both ? level % 2 != 0 : nesting == Nesting::Arrays;
        const bool isElement = level != 0 && nesting != Nesting::Objects &&
                               (nesting == Nesting::Arrays || level % 2 == 0);
        if (isArray)
            opening += isElement                  ? "Array<Array> ["
                       : nesting == Nesting::Both ? "Array<Object> list = ["
                                                  : "Array<Array> list = [";
        else
            opening += isElement ? "{\n" : "Object object {\n";
        closing.insert(0, isArray ? isElement ? "]" : "]\n" : "}\n");
    }
    // The brackets of an object in an array and of that array close on one line.
    std::string text = "kelvo scene 1\n\nnode t \"node1\" {\n" + opening;
    return text + closing + "\n}\n";
}

class DeepText : public testing::TestWithParam<Nesting> {};

TEST_P(DeepText, DeepestThatIsAdmitted_IsReadOnASmallStack) {
    const tests::LogCapture log;
    tests::runOnSmallStack(
        [] {
            const Scene scene = Scene::create();
            Diagnostics found;
            EXPECT_TRUE(scene.read(nestedText(GetParam(), 200).c_str(), "deep", &found));
            EXPECT_EQ(levelsOf(scene["node1"].input(0)), 200u);
            const Scene again = Scene::create();
            EXPECT_TRUE(again.read(scene.text(), "again"));
            EXPECT_TRUE(again.text().equals(scene.text()));
        },
        smallStack);
}

TEST_P(DeepText, OneLevelMore_IsRefused) {
    tests::runOnSmallStack(
        [] {
            const Scene scene = Scene::create();
            Diagnostics found;
            EXPECT_FALSE(scene.read(nestedText(GetParam(), 201).c_str(), "deep", &found));
            ASSERT_EQ(found.size(), 1u);
            EXPECT_STREQ(found[0].message.buf(),
                         "Arrays and objects are nested more than 200 deep.");
            EXPECT_EQ(scene.nodeCount(), 0u);
        },
        smallStack);
}

TEST_P(DeepText, WithoutEnds_IsRefused) {
    tests::runOnSmallStack(
        [] {
            std::string text = nestedText(GetParam(), 200);
            text.resize(text.find_first_of("]}"));
            Diagnostics found;
            EXPECT_FALSE(Scene::create().read(text.c_str(), "deep", &found));
            EXPECT_FALSE(found.empty());
        },
        smallStack);
}

INSTANTIATE_TEST_SUITE_P(All, DeepText,
                         testing::Values(Nesting::Objects, Nesting::Arrays, Nesting::Both));

// ---- Ends ----------------------------------------------------------------------------------

TEST(DepthEnds, AMillionLevels_End) {
    const i64 alive = impl_nodeInstanceCount();
    tests::runOnSmallStack(
        [] {
            Scene scene = Scene::create();
            makeNested(scene.createNode("t", "node1"), 1'000'000, Nesting::Objects);
            scene = Scene();
        },
        smallStack);
    EXPECT_EQ(impl_nodeInstanceCount(), alive);
}

// A handle keeps its subtree alive, however many levels above it have been destroyed.
TEST(DepthEnds, HandleInTheMiddle_KeepsWhatIsBelow) {
    tests::runOnSmallStack(
        [] {
            Scene scene = Scene::create();
            Input middle = makeNested(scene.createNode("t", "node1"), 1000, Nesting::Objects);
            for (int i = 0; i < 400; ++i)
                middle = middle.input(0);
            scene = Scene();
            EXPECT_EQ(middle.node(), nullptr);
            EXPECT_EQ(middle->parent(), nullptr);
            EXPECT_EQ(levelsOf(middle), 600u);
            EXPECT_EQ(middle.input(0).node(), nullptr);
        },
        smallStack);
}

TEST(DepthEnds, HandlesOnAllLevels_DropFromTheOutermostOn) {
    const i64 alive = impl_nodeInstanceCount();
    tests::runOnSmallStack(
        [] {
            Scene scene = Scene::create();
            std::vector<Input> levels{
                scene.createNode("t", "node1").createInput("outer", AttrType::Object)};
            while (levels.size() < manyLevels)
                levels.push_back(levels.back().createInput("object", AttrType::Object));
            scene = Scene();
            for (Input& level : levels)
                level = Input();
        },
        smallStack);
    EXPECT_EQ(impl_nodeInstanceCount(), alive);
}

// Connections and links inside a destroyed subtree end with it.
TEST(DepthEnds, ConnectionsAndLinksInsideADestroyedTree_End) {
    const Scene scene = Scene::create();
    const Node source = scene.createNode("t", "source");
    const Output output = source.createOutput("result", AttrType::Real);
    Node node = scene.createNode("t", "node1");
    const Input holder = makeNested(node, 50, Nesting::Objects);
    Input kept = holder.createInput("value", AttrType::Real);
    kept.connect(output);
    holder.createInput("link", AttrType::Node).set(source);
    scene.removeNode(node);
    node = Node();
    EXPECT_EQ(output.targetCount(), 0u);
    EXPECT_FALSE(kept.source());
    EXPECT_TRUE(scene.verify().empty());
}

} // namespace
} // namespace qv::kelvo_sdk
