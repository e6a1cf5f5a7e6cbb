// A separate program, because it replaces the allocation functions by ones that count and that fail
// on command.

#include "kelvo/sdk/impl/graph/path_iterator.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/node_graph.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>

#include <malloc.h>

namespace {

using qv::i64;

// The number of allocations that still succeed; a negative number lets all succeed.
thread_local i64 allowance = -1;
thread_local i64 made = 0;
thread_local i64 live = 0;
thread_local i64 liveBytes = 0;

void* allocateOrFail(std::size_t size) {
    void* block = allowance == 0 ? nullptr : std::malloc(size != 0 ? size : 1);
    if (!block) throw std::bad_alloc();
    if (allowance > 0) --allowance;
    ++made;
    ++live;
    liveBytes += static_cast<i64>(malloc_usable_size(block));
    return block;
}

void freeBlock(void* block) noexcept {
    if (!block) return;
    --live;
    liveBytes -= static_cast<i64>(malloc_usable_size(block));
    std::free(block);
}

} // namespace

// Calls the two functions above.
#include "tests/support/replaced_new.h"

namespace qv::kelvo_sdk::impl {
namespace {

template<typename Action>
i64 allocationsOf(const Action& action) {
    const i64 before = made;
    action();
    return made - before;
}

// Drops the result of an operation.
template<typename T>
void drop(T* object) {
    if (object) object->decRef();
}

class NodeSearchAllocation : public testing::Test {
protected:
    NodeSearchAllocation() {
        m_root = make("xform", "root");
        m_arm = make("xform", "arm");
        m_mesh = make("mesh", "mesh");
        m_other = make("mesh", "other");
        m_arm->parentTo(m_root);
        m_mesh->parentTo(m_arm);
        m_mesh->parentTo(m_root);
        m_root->parentTo(m_arm);
        m_mesh->createInput("look", AttrType::Node)->setNode(m_arm);
    }
    Node* make(const char* type, const char* name) {
        auto* node = static_cast<Node*>(m_scene->createNode(type, name));
        node->createArray("children", AttrType::Node);
        return node;
    }
    // Calls `action` with no allocation allowed, then with one more each time until it succeeds; a
    // failure leaks no memory. Returns the number of failures.
    static int failEachAllocation(const std::function<void()>& action) {
        action();
        for (int count = 0;; ++count) {
            const i64 before = live;
            bool failed = false;
            allowance = count;
            try {
                action();
            } catch (const std::bad_alloc&) {
                failed = true;
            }
            allowance = -1;
            EXPECT_EQ(live, before) << "after " << count;
            if (!failed) return count;
        }
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node *m_root, *m_arm, *m_mesh, *m_other;
};

TEST_F(NodeSearchAllocation, NullTargets_AllocateNothing) {
    INode* const none = nullptr;
    EXPECT_EQ(allocationsOf([&] {
                  drop(m_root->pathsTo(none, false));
                  drop(m_root->pathsTo(none, true));
                  drop(m_root->firstPathTo(none, false));
                  drop(m_root->firstPathTo(none, true));
              }),
              0);
    EXPECT_GT(allocationsOf([&] { drop(m_root->pathsTo(m_mesh, true)); }), 0);
}

TEST_F(NodeSearchAllocation, UnknownNames_MakeNoIterator) {
    const String name("nobody");
    EXPECT_EQ(m_scene->findNode(name), nullptr);
    EXPECT_EQ(allocationsOf([&] {
                  drop(m_root->pathsTo(name, true));
                  drop(m_root->firstPathTo(name, true));
              }),
              2 * allocationsOf([&] { EXPECT_EQ(m_scene->findNode(name), nullptr); }));
}

TEST_F(NodeSearchAllocation, FirstPathTo_WhatCannotBeReached_LeavesNothingAlive) {
    const i64 before = live;
    EXPECT_EQ(m_root->firstPathTo(m_other, false), nullptr);
    EXPECT_EQ(m_root->firstPathTo(m_other, true), nullptr);
    EXPECT_EQ(m_root->firstPathTo(String("other"), true), nullptr);
    EXPECT_EQ(live, before);
}

// A path consists of an object and the storage of its nodes.
TEST_F(NodeSearchAllocation, FirstPathTo_LeavesThePathAloneAlive) {
    const i64 before = live;
    NodePath* path = m_root->firstPathTo(m_mesh, true);
    ASSERT_NE(path, nullptr);
    EXPECT_EQ(live, before + 2);
    EXPECT_EQ(path->refCount(), 1);
    EXPECT_EQ(path->last(), m_mesh);
    path->decRef();
    EXPECT_EQ(live, before);
}

TEST_F(NodeSearchAllocation, Iterators_GoWithTheirOnlyReference) {
    const i64 before = live;
    drop(m_root->paths(String("mesh"), false));
    drop(m_root->paths(StringVector{"mesh", "xform"}, true));
    drop(m_root->pathsTo(m_mesh, false));
    drop(m_root->pathsTo(String("other"), true));
    drop(m_root->children(-1));
    drop(m_mesh->children(0));
    EXPECT_EQ(live, before);
}

TEST_F(NodeSearchAllocation, PathThatIsHeld_OutlivesItsIterator) {
    PathIterator* paths = m_root->pathsTo(m_mesh, false);
    NodePath* path = paths->current();
    path->incRef();
    const i64 before = live;
    paths->decRef();
    EXPECT_LT(live, before);
    EXPECT_STREQ(path->text().buf(), "root/arm/mesh");
    path->decRef();
}

// The other 2^20 paths are not searched for.
TEST_F(NodeSearchAllocation, FirstPathTo_LooksForNoOther) {
    tests::NodeGraph graph;
    Node* start = graph.add("s");
    Node* end = graph.addDiamonds(start, 20);
    const i64 one = allocationsOf([&] { drop(start->firstPathTo(end, false)); });
    const i64 many = allocationsOf([&] {
        const auto paths = RefersTo<PathIterator>::adopt(start->pathsTo(end, false));
        for (int i = 0; i < 10'000; ++i)
            paths->next();
    });
    EXPECT_LT(100 * one, many);
}

TEST_F(NodeSearchAllocation, PathOperations_PassFailuresOnAndKeepNothing) {
    const StringVector types{"mesh", "xform"};
    const String type("mesh"), name("mesh");
    const std::function<void()> actions[] = {
        [&] { drop(m_root->paths(types, true)); },
        [&] { drop(m_root->paths(type, false)); },
        [&] { drop(m_root->pathsTo(m_mesh, true)); },
        [&] { drop(m_root->pathsTo(name, false)); },
        [&] { drop(m_root->firstPathTo(m_mesh, true)); },
        [&] { drop(m_root->firstPathTo(name, false)); },
        [&] { drop(m_root->firstPathTo(m_other, true)); },
    };
    for (const auto& action : actions)
        EXPECT_GT(failEachAllocation(action), 0);
}

TEST_F(NodeSearchAllocation, Children_PassFailuresOnAndKeepNothing) {
    EXPECT_GT(failEachAllocation([&] { drop(m_root->children(-1)); }), 0);
    EXPECT_GT(failEachAllocation([&] { drop(m_root->children(5)); }), 0);
    EXPECT_GT(failEachAllocation([&] { drop(m_mesh->children(-1)); }), 0);
}

// Each path goes through `gate`, whose side branch is a dead end while the gate is on the path, and
// is searched again for the next path. The marks of one path must not accumulate.
TEST_F(NodeSearchAllocation, ManyPaths_AreFoundInBoundedMemory) {
    tests::NodeGraph graph;
    Node *start = graph.add("start"), *gate = graph.add("gate");
    Node *dead = graph.add("dead"), *end = graph.add("end");
    Node* side = gate;
    for (int i = 0; i < 100; ++i) {
        side = graph.addChain(side, 1);
        tests::NodeGraph::link(side, dead);
    }
    tests::NodeGraph::link(side, gate);
    tests::NodeGraph::link(gate, end);
    for (int i = 0; i < 2000; ++i)
        tests::NodeGraph::link(graph.addChain(start, 1), gate);
    const auto paths = RefersTo<PathIterator>::adopt(start->pathsTo(end, false));
    i64 early = 0, late = 0;
    for (int i = 1; paths->next(); ++i)
        (i <= 100 ? early : late) = liveBytes;
    EXPECT_LT(late - early, 500'000);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
