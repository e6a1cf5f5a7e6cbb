// Replaces the allocation functions by ones that fail on command and record when watched memory is
// freed.

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/counting_layout.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <string>

#include <sys/resource.h>

#ifndef __has_feature
#define __has_feature(feature) 0
#endif

namespace {

using qv::i64;

// The number of allocations that still succeed; a negative number lets all succeed.
thread_local i64 allowance = -1;
thread_local i64 live = 0;

struct Watched {
    const void* block = nullptr;
    const char* name = nullptr;
};
std::array<Watched, 16> watched;
std::function<void(const char*)>* whenFreed = nullptr;

void* allocateOrFail(std::size_t size) {
    void* block = allowance == 0 ? nullptr : std::malloc(size != 0 ? size : 1);
    if (!block) throw std::bad_alloc();
    if (allowance > 0) --allowance;
    ++live;
    return block;
}

void freeBlock(void* block) noexcept {
    if (!block) return;
    --live;
    for (Watched& entry : watched) {
        if (entry.block != block) continue;
        entry.block = nullptr;
        if (whenFreed) (*whenFreed)(entry.name);
    }
    std::free(block);
}

} // namespace

// Calls the two functions above.
#include "tests/support/replaced_new.h"

namespace qv::kelvo_sdk::impl {
namespace {

using tests::CountingLayout;
using tests::Journal;
using tests::LogCapture;
using tests::probe;
using tests::RecordingObserver;
using tests::RecordingScene;

// Lets `count` allocations succeed during its lifetime.
class Allow {
public:
    explicit Allow(i64 count) { allowance = count; }
    ~Allow() { allowance = -1; }
    Allow(const Allow&) = delete;
    Allow& operator=(const Allow&) = delete;
};

// Calls `action` with no allocation allowed, then with one more each time until it succeeds, and
// `check` after each failure. Returns the number of failures.
template<typename Action, typename Check>
int failEachAllocation(const Action& action, const Check& check) {
    for (int count = 0;; ++count) {
        try {
            const Allow some(count);
            action();
            return count;
        } catch (const std::bad_alloc&) {
            check();
        }
    }
}

// ---- Failures ------------------------------------------------------------------------------

TEST(NodeOutOfMemory, Construction_UndoesWhatItBuiltAndCountsNothing) {
    const String type("thing"), name("n");
    const i64 nodes = impl_nodeInstanceCount();
    const i64 blocks = live;
    const i32 references = name.get()->refCount();
    Node* node = nullptr;
    const int failures = failEachAllocation([&] { node = new Node(nullptr, type, name); },
                                            [&] {
                                                EXPECT_EQ(impl_nodeInstanceCount(), nodes);
                                                EXPECT_EQ(name.get()->refCount(), references);
                                            });
    EXPECT_GE(failures, 1);
    node->decRef();
    EXPECT_EQ(impl_nodeInstanceCount(), nodes);
    EXPECT_EQ(name.get()->refCount(), references);
    // The pool of empty arrays keeps its blocks if this was the first node of all.
    EXPECT_LE(live, blocks + 2);
}

// The address sanitizer reserves far more address space than any limit leaves.
#if !defined(__SANITIZE_ADDRESS__) && !__has_feature(address_sanitizer)

// Keeps the process from taking memory from the system during its lifetime.
class FrozenMemory {
public:
    FrozenMemory() {
        getrlimit(RLIMIT_AS, &m_before);
        rlimit frozen = m_before;
        frozen.rlim_cur = 0;
        setrlimit(RLIMIT_AS, &frozen);
    }
    ~FrozenMemory() { setrlimit(RLIMIT_AS, &m_before); }
    FrozenMemory(const FrozenMemory&) = delete;
    FrozenMemory& operator=(const FrozenMemory&) = delete;

private:
    rlimit m_before{};
};

// The nodes have memory already; the allocations of their maps fail.
TEST(NodeOutOfMemory, ConstructionOfAMember_CountsNothing) {
    constexpr u64 kMost = 4000;
    const i64 nodes = impl_nodeInstanceCount();
    const auto storage =
        std::make_unique<std::aligned_storage_t<sizeof(Node), alignof(Node)>[]>(kMost);
    ds::Vector<Node*> made;
    made.reserve(kMost);
    bool failed = false;
    {
        const FrozenMemory frozen;
        try {
            while (made.size() < kMost)
                made.push_back(::new (&storage[made.size()]) Node);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
    }
    EXPECT_TRUE(failed);
    EXPECT_EQ(impl_nodeInstanceCount(), nodes + static_cast<i64>(made.size()));
    for (Node* node : made)
        node->~Node();
    EXPECT_EQ(impl_nodeInstanceCount(), nodes);
}

#endif

class AttributesOutOfMemory : public testing::Test {
protected:
    void expectUnchangedInputs(const std::function<void()>& create) {
        const u64 count = m_node.inputCount();
        const i64 blocks = live;
        const int failures = failEachAllocation(create, [&] {
            EXPECT_EQ(m_node.inputCount(), count);
            EXPECT_EQ(live, blocks);
            EXPECT_EQ(m_journal.take(), "");
        });
        EXPECT_GE(failures, 1);
        EXPECT_EQ(m_node.inputCount(), count + 1);
    }
    ~AttributesOutOfMemory() override { probe(m_node).setScene(nullptr); }

    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    Node m_node{m_scene.get(), "thing", "n"};
};

TEST_F(AttributesOutOfMemory, CreateInput_LeavesTheListAsItWas) {
    const String names[] = {"a", "b", "c"};
    for (const String& name : names) {
        expectUnchangedInputs([&] { m_node.createInput(name, AttrType::Real); });
        m_journal.take();
    }
}

TEST_F(AttributesOutOfMemory, CreateArray_LeavesTheListAsItWas) {
    const String name("a");
    expectUnchangedInputs([&] { m_node.createArray(name, AttrType::Real); });
}

TEST_F(AttributesOutOfMemory, CreateInputFromData_LeavesTheListAsItWas) {
    const String name("a");
    const AttrData data = AttrData::withDefault(2.5);
    expectUnchangedInputs([&] { m_node.createInput(name, data); });
}

TEST_F(AttributesOutOfMemory, CreateOutput_LeavesTheListAsItWas) {
    const String name("a");
    const i64 blocks = live;
    const int failures = failEachAllocation([&] { m_node.createOutput(name, AttrType::Real); },
                                            [&] {
                                                EXPECT_EQ(m_node.outputCount(), 0u);
                                                EXPECT_EQ(live, blocks);
                                            });
    EXPECT_GE(failures, 1);
    EXPECT_EQ(m_node.outputCount(), 1u);
}

TEST_F(AttributesOutOfMemory, Clone_ReleasesThePartlyBuiltCopy) {
    m_node.createInput("a", AttrType::Real);
    m_node.createArray("b", AttrType::Real)->appendElement();
    m_node.createOutput("o", AttrType::Real);
    const String name("copy");
    const i64 nodes = impl_nodeInstanceCount();
    Node* copy = nullptr;
    const int failures = failEachAllocation([&] { copy = m_node.clone(nullptr, name); },
                                            [&] { EXPECT_EQ(impl_nodeInstanceCount(), nodes); });
    EXPECT_GE(failures, 3);
    EXPECT_EQ(copy->inputCount(), 2u);
    copy->decRef();
}

TEST(ObserversOutOfMemory, Subscribe_LeavesTheListAndTheLockAsTheyWere) {
    Journal journal;
    RecordingObserver a("a", journal), b("b", journal), c("c", journal);
    Node node(nullptr, "thing", "n");
    node.subscribe(&a);
    node.subscribe(&b);
    const auto subscribe = [&] {
        const Allow none(0);
        node.subscribe(&c);
    };
    EXPECT_THROW(subscribe(), std::bad_alloc);
    EXPECT_EQ(probe(node).observers().size(), 2u);
    EXPECT_EQ(probe(node).observers().capacity(), 2u);
    node.notifyRemoved();
    EXPECT_EQ(journal.take(), "a:removed b:removed");
    EXPECT_TRUE(node.subscribe(&c));
}

TEST(ObserversOutOfMemory, Snapshot_FailsBeforeAnyoneIsCalled) {
    Journal journal;
    const auto scene = RecordingScene::make(journal);
    RecordingObserver a("a", journal), b("b", journal);
    Node node(scene.get(), "thing", "n");
    IInput* input = node.createInput("in", AttrType::Real);
    journal.take();
    node.subscribe(&a);
    node.subscribe(&b);
    const AttrData record(AttrType::Real);
    const auto notify = [&] {
        const Allow none(0);
        node.onInputChanged(input, &record);
    };
    EXPECT_THROW(notify(), std::bad_alloc);
    EXPECT_EQ(journal.take(), "");
    EXPECT_TRUE(probe(node).dirty());
    node.onInputChanged(input, &record);
    EXPECT_EQ(journal.take(), "a:changed=in b:changed=in scene:changed=in");
}

TEST(ObserversOutOfMemory, ThrowingObserver_LeaksNothing) {
    Journal journal;
    RecordingObserver a("a", journal);
    a.then = [] { throw 1; };
    Node node(nullptr, "thing", "n");
    node.subscribe(&a);
    const i64 blocks = live;
    EXPECT_THROW(node.notifyRemoved(), int);
    EXPECT_EQ(journal.take(), "a:removed");
    EXPECT_EQ(live, blocks);
}

// ---- Operations that allocate little or nothing --------------------------------------------

TEST(NodeAllocations, Copy_AllocatesTheNodeItsListAndEachInput) {
    Node node(nullptr, "thing", "n");
    for (int i = 0; i < 10; ++i)
        node.createInput(String::format("in%d", i), AttrData::withDefault(Value(0.5)));
    const String name("copy");
    node.clone(nullptr, name)->decRef();
    Node* copy = nullptr;
    EXPECT_EQ(failEachAllocation([&] { copy = node.clone(nullptr, name); }, [] {}), 12);
    EXPECT_EQ(probe(*copy).inputs().capacity(), 16u);
    copy->decRef();
}

TEST(NodeAllocations, NewInputOfADefinition_IsOneAllocation) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    Node node(scene.get(), "thing", "n");
    node.createInput("first", AttrType::Real);
    const AttrData definition = AttrData::withDefault(Value(0.5));
    const String name("second");
    EXPECT_EQ(failEachAllocation([&] { node.createInput(name, definition); }, [] {}), 1);
}

TEST(NodeAllocations, ChangeWithoutObservers_AllocatesNothing) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    Node node(scene.get(), "thing", "n");
    IInput* input = node.createInput("in", AttrType::Real);
    const AttrData record(AttrType::Real);
    const Allow none(0);
    EXPECT_NO_THROW(input->setReal(5));
    EXPECT_NO_THROW(node.onInputChanged(input, &record));
    EXPECT_NO_THROW(node.onInputAdded(input));
    EXPECT_NO_THROW(node.onInputConnected(input, nullptr, nullptr));
    EXPECT_NO_THROW(node.notifyRemoved());
}

TEST(NodeAllocations, LookUp_AllocatesNothing) {
    Node node(nullptr, "thing", "n");
    for (int i = 0; i < 40; ++i)
        node.createInput(String::format("in%d", i), AttrType::Real);
    const String name("IN39");
    const Allow none(0);
    EXPECT_TRUE(node.hasInput(name, AttrType::Real));
    EXPECT_NE(node.findInputByName(name), nullptr);
}

TEST(NodeAllocations, MissingTarget_AllocatesNoSearch) {
    Node node(nullptr, "thing", "n");
    const Allow none(0);
    EXPECT_EQ(node.pathsTo(static_cast<INode*>(nullptr), true), nullptr);
    EXPECT_EQ(node.firstPathTo(static_cast<INode*>(nullptr), true), nullptr);
}

// ---- A node's end, step by step ------------------------------------------------------------

// Records releases with the number of live nodes at that moment.
class RecordingLibrary : public LibInfo {
public:
    void decRef() override {
        if (whenDropped) whenDropped();
        LibInfo::decRef();
    }
    std::function<void()> whenDropped;
};

class NodeEndOrder : public testing::Test {
protected:
    NodeEndOrder() : m_node(new Node(nullptr, "thing", m_name)) {
        s_test = this;
        m_node->createInput("i1", AttrType::String)->setString(m_text);
        m_node->createInput("i2", AttrType::Real);
        m_node->createOutput("o1", AttrType::Real);
        m_node->createOutput("o2", AttrType::Real);
        m_node->subscribe(&m_observer);
        m_node->setLayout(&m_layout);
        m_node->setLabel("en", m_label);
        m_node->setSvgIcon(m_icon);
        m_node->initLibInfo(m_library.get());
        m_library->whenDropped = [this] { note("library"); };
        m_layout.whenDropped = [this] { note("layout"); };
        m_freed = [this](const char* name) { note(name); };
        whenFreed = &m_freed;
    }
    ~NodeEndOrder() override {
        whenFreed = nullptr;
        watched = {};
        m_library->whenDropped = nullptr;
    }

    void watch(const void* block, const char* name) {
        for (Watched& entry : watched) {
            if (entry.block) continue;
            entry = {block, name};
            return;
        }
    }
    void watchAttributes() {
        for (const char* name : {"i1", "i2"})
            watch(m_node->lookUpInput(name), name);
        for (const char* name : {"o1", "o2"})
            watch(m_node->lookUpOutput(name), name);
    }
    void note(const std::string& what) {
        m_journal.add(what);
        if (onNote) onNote(what);
    }
    void noteCount() { m_journal.add(std::to_string(impl_nodeInstanceCount() - m_before)); }

    static bool freeData(INode*, void**) {
        s_test->note("free");
        return true;
    }
    static void noteLine(LogLevel, const char*, void*) { s_test->note("log"); }

    static inline NodeEndOrder* s_test = nullptr;
    i64 m_before = impl_nodeInstanceCount();
    Journal m_journal;
    std::function<void(const char*)> m_freed;
    std::function<void(const std::string&)> onNote;
    const String m_name{"a name of its own"}, m_text{"a text of its own"};
    const String m_label{"a label of its own"}, m_icon{"an icon of its own"};
    RecordingObserver m_observer{"observer", m_journal};
    CountingLayout m_layout;
    RefersTo<RecordingLibrary> m_library = RefersTo<RecordingLibrary>::adopt(new RecordingLibrary);
    Node* m_node;
};

TEST_F(NodeEndOrder, EverythingGoesInItsOrder) {
    probe(*m_node).nodeFree() = freeData;
    probe(*m_node).data() = this;
    watchAttributes();
    watch(probe(*m_node).observers().data(), "observers");
    watch(probe(*m_node).inputs().data(), "inputs");
    watch(probe(*m_node).outputs().data(), "outputs");
    watch(m_node, "node");
    const LogSink before = setLogHandler(noteLine);
    m_node->decRef();
    setLogHandler(before.handler, before.user);
    EXPECT_EQ(m_journal.take(),
              "observers free log i1 i2 o1 o2 layout library outputs inputs node");
}

TEST_F(NodeEndOrder, CountFalls_BetweenTheLayoutAndTheMembers) {
    watchAttributes();
    onNote = [this](const std::string&) { noteCount(); };
    m_node->decRef();
    EXPECT_EQ(m_journal.take(), "i1 1 i2 1 o1 1 o2 1 layout 1 library 0");
}

TEST_F(NodeEndOrder, FreeCallback_FindsTheNodeWholeButForItsObservers) {
    probe(*m_node).nodeFree() = freeData;
    onNote = [this](const std::string& what) {
        if (what != "free") return;
        EXPECT_TRUE(probe(*m_node).destroying());
        EXPECT_EQ(probe(*m_node).observers().capacity(), 0u);
        EXPECT_EQ(m_node->lookUpInput("i1")->node(), m_node);
        EXPECT_EQ(m_node->lookUpOutput("o1")->node(), m_node);
        EXPECT_EQ(m_layout.count, 1);
        EXPECT_EQ(impl_nodeInstanceCount(), m_before + 1);
        m_node->subscribe(&m_observer);
        m_node->unsubscribe(&m_observer);
    };
    m_node->decRef();
    EXPECT_TRUE(m_journal.take().starts_with("free"));
}

TEST_F(NodeEndOrder, OwnerLinks_AreAllClearedBeforeAnythingIsReleased) {
    const kelvo_sdk::Output output(m_node->lookUpOutput("o1"));
    IInput* second = m_node->lookUpInput("i2");
    watchAttributes();
    onNote = [&](const std::string& what) {
        if (what != "i1") return;
        EXPECT_EQ(second->node(), nullptr);
        EXPECT_EQ(output->node(), nullptr);
    };
    m_node->decRef();
    EXPECT_TRUE(m_journal.take().starts_with("i1 i2 o2"));
}

// The first input's memory is freed only after every input has left the graph.
TEST_F(NodeEndOrder, EveryInput_IsTornDownBeforeTheFirstIsReleased) {
    Node source(nullptr, "thing", "source");
    IOutput* output = source.createOutput("o", AttrType::Real);
    IInput* second = m_node->lookUpInput("i2");
    second->connect(output);
    m_journal.take();
    watchAttributes();
    onNote = [&](const std::string& what) {
        if (what != "i1") return;
        EXPECT_EQ(second->source(), nullptr);
        EXPECT_EQ(output->targetCount(), 0u);
    };
    m_node->decRef();
    EXPECT_TRUE(m_journal.take().starts_with("i1 i2"));
}

TEST_F(NodeEndOrder, Members_GoInReverseOrderOfDeclaration) {
    const i32 name = m_name.get()->refCount();
    const i32 label = m_label.get()->refCount();
    const i32 icon = m_icon.get()->refCount();
    watch(probe(*m_node).outputs().data(), "outputs");
    watch(probe(*m_node).inputs().data(), "inputs");
    watch(m_node, "node");
    onNote = [&](const std::string& what) {
        const bool labelsGone = what != "library" && what != "layout";
        EXPECT_EQ(m_icon.get()->refCount(), what == "layout" ? icon : icon - 1) << what;
        EXPECT_EQ(m_label.get()->refCount(), labelsGone ? label - 1 : label) << what;
        EXPECT_EQ(m_name.get()->refCount(), what == "node" ? name - 1 : name) << what;
    };
    m_node->decRef();
    EXPECT_EQ(m_journal.take(), "layout library outputs inputs node");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
