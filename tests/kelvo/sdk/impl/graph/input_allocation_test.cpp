// Edits of inputs that run out of memory. A separate program, because it replaces the allocation
// functions by ones that fail on command.

#include "kelvo/base/log.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/known_rows.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <vector>

namespace {

using qv::i64;

// The number of allocations that still succeed; a negative number lets all succeed.
thread_local i64 allowance = -1;

void* allocateOrFail(std::size_t size) {
    void* block = allowance == 0 ? nullptr : std::malloc(size != 0 ? size : 1);
    if (!block) throw std::bad_alloc();
    if (allowance > 0) --allowance;
    return block;
}

void freeBlock(void* block) noexcept {
    std::free(block);
}

} // namespace

// Calls the two functions above.
#include "tests/support/replaced_new.h"

namespace qv::kelvo_sdk::impl {
namespace {

// Lets `count` allocations succeed during its lifetime.
class Allow {
public:
    explicit Allow(i64 count) { allowance = count; }
    ~Allow() { allowance = -1; }
    Allow(const Allow&) = delete;
    Allow& operator=(const Allow&) = delete;
};

TEST(InputListOutOfMemory, IndexThatCannotGoAlong_IsForgotten) {
    std::vector<RefersTo<Input>> inputs;
    for (int i = 0; i < 21; ++i)
        inputs.push_back(RefersTo<Input>::adopt(
            new Input(nullptr, nullptr, String::format("in%d", i), AttrType::Int, AttrType::Null)));
    // The kept value keeps the block of extras, which owns the index, in its place.
    inputs[1]->stash();
    ds::Vector<IInput*> list;
    list.reserve(32);
    for (u64 i = 1; i < 21; ++i)
        appendToList(list, inputs[i].get());
    {
        const Allow none(0);
        insertIntoList(list, 0, inputs[0].get());
    }
    removeFromList(list, 5);
    removeFromList(list, 0);
    EXPECT_EQ(findInList(list, "in5"), nullptr);
    EXPECT_EQ(findInList(list, "in6"), inputs[6].get());
}

TEST(InputListOutOfMemory, NamesForWhichAnIndexHasNoRoom_AreFound) {
    std::vector<RefersTo<Input>> inputs;
    ds::Vector<IInput*> list;
    list.reserve(100);
    for (int i = 0; i < 100; ++i)
        inputs.push_back(RefersTo<Input>::adopt(
            new Input(nullptr, nullptr, String::format("in%d", i), AttrType::Int, AttrType::Null)));
    for (u64 i = 0; i < 100; ++i) {
        const Allow some(i < 20 ? -1 : 0);
        appendToList(list, inputs[i].get());
    }
    for (u64 i = 0; i < 100; ++i)
        EXPECT_EQ(findInList(list, String::format("in%d", int(i))), inputs[i].get());
    removeFromList(list, 50);
    EXPECT_EQ(findInList(list, "in50"), nullptr);
}

TEST(InputElementsOutOfMemory, InsertedInFrontOfMany_ArePlacedByTheirNames) {
    const auto scene = kelvo_sdk::Scene::create();
    const kelvo_sdk::Input list = scene.createNode("t", "n").createArray("list", AttrType::Int);
    for (int i = 0; i < 100; ++i)
        list.append();
    for (i64 count = 0; list.inputCount() < 103; ++count) {
        try {
            const Allow some(count);
            list->insertElement(0);
        } catch (const std::bad_alloc&) {
            continue;
        }
        for (u64 i = 0; i < list.inputCount(); ++i)
            ASSERT_EQ(list.input(i).name(), String::format("%d", int(i))) << count;
    }
}

// Counts the changes of each sort in batches.
struct Batches : BatchObserver {
    void sceneChanged(const interfaces::SceneChanges& changes) override {
        told +=
            String::format("nodes %d inputs %d-%d changed %d connected %d renamed %d outputs %d;",
                           int(changes.removedNodes.size()), int(changes.addedInputs.size()),
                           int(changes.removedInputs.size()), int(changes.changedInputs.size()),
                           int(changes.connectedInputs.size()), int(changes.renamedInputs.size()),
                           int(changes.removedOutputs.size()));
    }
    String told;
};

TEST(InputStashOutOfMemory, FirstModifier_LeavesNoValueAsideUnlessItIsRefused) {
    i64 whole = 0;
    for (i64 count = 0; whole < 20; ++count) {
        const auto scene = kelvo_sdk::Scene::create();
        ASSERT_TRUE(scene.read("node t \"n\" {\n    Array<Node> modifiers\n"
                               "    Real a = 40 @stashed 2\n}\n",
                               "a.kns"));
        const kelvo_sdk::Input list = scene["n"]["modifiers"];
        const auto& input = static_cast<const Input&>(*scene["n"]["a"].get());
        try {
            const Allow some(count);
            if (list->appendElement()) ++whole;
        } catch (const std::bad_alloc&) {
        }
        EXPECT_EQ(input.stashed() != nullptr, list.inputCount() == 0) << count;
    }
}

TEST(InputTiesOutOfMemory, OutputThatLeavesUnrecorded_LeavesNothingWrongBehind) {
    bool isWhole = false;
    for (i64 count = 0; !isWhole; ++count) {
        const auto scene = kelvo_sdk::Scene::create();
        const kelvo_sdk::Node source = scene.createNode("t", "m");
        const kelvo_sdk::Node reader = scene.createNode("t", "n");
        reader.createInput("in", AttrType::Real)
            .connect(source.createOutput("out", AttrType::Real));
        Batches batches;
        scene.subscribe(&batches);
        tests::fillRows(scene);
        try {
            const Allow some(count);
            source->removeOutput("out");
            isWhole = true;
        } catch (const std::bad_alloc&) {
        }
        scene.unsubscribe(&batches);
        EXPECT_TRUE(scene.verify().empty()) << count;
    }
}

// Counts the log messages of its lifetime without taking memory.
struct LogCount {
    LogCount() : before(setLogHandler(&LogCount::take, this)) {}
    ~LogCount() { setLogHandler(before.handler, before.user); }
    LogCount(const LogCount&) = delete;
    LogCount& operator=(const LogCount&) = delete;
    static void take(LogLevel, const char*, void* to) { ++static_cast<LogCount*>(to)->messages; }
    LogSink before;
    u64 messages = 0;
};

struct EditCase {
    const char* name;
    std::function<void(const kelvo_sdk::Scene&)> edit;
};

const EditCase kEdits[] = {
    {"Value", [](const kelvo_sdk::Scene& scene) { scene["n"]["in"].set(2.0); }},
    {"Link", [](const kelvo_sdk::Scene& scene) { scene["n"]["link"].set(scene["n"]); }},
    {"Connection",
     [](const kelvo_sdk::Scene& scene) { scene["n"]["in"].connect(scene["m"].output("out")); }},
    {"Reconnection",
     [](const kelvo_sdk::Scene& scene) { scene["n"]["tied"].connect(scene["m"].output("spare")); }},
    {"Disconnection", [](const kelvo_sdk::Scene& scene) { scene["n"]["tied"].disconnect(); }},
    {"Addition",
     [](const kelvo_sdk::Scene& scene) { scene["n"].createInput("more", AttrType::Real); }},
    {"Renaming", [](const kelvo_sdk::Scene& scene) { (void)scene["n"]["in"].rename("other"); }},
    {"Removal", [](const kelvo_sdk::Scene& scene) { scene["n"].removeInput("in"); }},
    {"Element", [](const kelvo_sdk::Scene& scene) { scene["n"]["list"].append(); }},
    {"Move", [](const kelvo_sdk::Scene& scene) { scene["n"]["list"]->moveElement(0, 1); }},
    {"LostElement", [](const kelvo_sdk::Scene& scene) { scene["n"]["list"]->removeLastInput(); }},
    {"LostTarget", [](const kelvo_sdk::Scene& scene) { scene.removeNode(scene["other"]); }},
    {"LostOutput", [](const kelvo_sdk::Scene& scene) { scene["m"]->removeOutput("out"); }},
    {"Reading",
     [](const kelvo_sdk::Scene& scene) {
         (void)scene.read("node t \"p\" {\n    Node link = other\n}\n", "b.kns");
     }},
    {"Undo", [](const kelvo_sdk::Scene& scene) { scene.undo(); }},
};

class InputEditsOutOfMemory : public testing::TestWithParam<EditCase> {
protected:
    struct Result {
        bool isWhole;
        bool isChange;
        String told;
    };
    // Does the edit while that number of allocations succeed.
    static Result edit(i64 allocations) {
        const auto scene = kelvo_sdk::Scene::create();
        scene.setUndoEnabled(true);
        EXPECT_TRUE(scene.read(text, "a.kns"));
        scene["n"]["in"].set(3.0);
        const String before = scene.text();
        Batches batches;
        scene.subscribe(&batches);
        tests::fillRows(scene);
        bool isWhole = true;
        LogCount log;
        try {
            const Allow some(allocations);
            GetParam().edit(scene);
        } catch (const std::bad_alloc&) {
            isWhole = false;
        }
        scene.unsubscribe(&batches);
        EXPECT_EQ(log.messages, 0u) << allocations;
        EXPECT_TRUE(scene.verify().empty()) << allocations;
        return {isWhole, scene.text() != before, batches.told};
    }
    static constexpr const char* text = R"(kelvo scene 1

node t "other" {
}
node t "m" {
    output Real out
    output Real spare
}
node t "n" {
    Real in = 1
    Node link
    Node linked = other
    Real tied = 0 <- m.out
    Array<Int> list = [1, 2, 3]
}
)";
};

TEST_P(InputEditsOutOfMemory, EditThatIsDone_IsNotifiedCompletely) {
    const Result unlimited = edit(-1);
    ASSERT_TRUE(unlimited.isChange);
    Result result{};
    for (i64 count = 0; !result.isWhole; ++count) {
        result = edit(count);
        if (result.isChange) {
            EXPECT_EQ(result.told, unlimited.told) << count;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Edits, InputEditsOutOfMemory, testing::ValuesIn(kEdits),
                         [](const auto& tried) { return tried.param.name; });

} // namespace
} // namespace qv::kelvo_sdk::impl
