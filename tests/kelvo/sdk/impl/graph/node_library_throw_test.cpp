// A callback that throws is logged as an error, and its operation fails.

#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

[[noreturn]] void fail() {
    throw std::runtime_error("out of paint");
}

constexpr interfaces::NodeCallbacks throwing{
    [](INode*, void**) -> bool { fail(); },
    [](INode*, void*) -> bool { fail(); },
    [](EvalCtx*, void*) -> bool { fail(); },
    [](INode*, INode*) -> bool { fail(); },
    nullptr,
    [](IInput*) { fail(); },
};

[[noreturn]] void runOut() {
    throw std::bad_alloc();
}

constexpr interfaces::NodeCallbacks outOfMemory{
    [](INode*, void**) -> bool { runOut(); },  [](INode*, void*) -> bool { runOut(); },
    [](EvalCtx*, void*) -> bool { runOut(); }, [](INode*, INode*) -> bool { runOut(); },
    [](INode*, void**) -> bool { runOut(); },  nullptr,
};

class NodeLibraryThrow : public testing::Test {
protected:
    NodeLibraryThrow() { m_library->setCallbacks("mesh", throwing); }

    void bind(Node& node) { EXPECT_TRUE(node.initLibInfo(m_library.get())); }
    Node* sceneNode(const char* name) {
        auto* node = static_cast<Node*>(m_scene->createNode("mesh", name));
        node->createInput("in", AttrType::Real);
        node->createOutput("out", AttrType::Real);
        bind(*node);
        return node;
    }

    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
};

TEST_F(NodeLibraryThrow, EachOperation_FailsWithALineThatNamesNodeAndCallback) {
    Node node(nullptr, "mesh", "m");
    bind(node);
    const struct {
        const char* callback;
        bool (*call)(Node&);
    } calls[] = {
        {"init", [](Node& n) { return n.nodeInit(); }},
        {"prep", [](Node& n) { return n.nodePrep(); }},
        {"eval", [](Node& n) { return n.nodeEval(nullptr, nullptr); }},
        {"modify", [](Node& n) { return n.nodeModify(&n); }},
    };
    for (const auto& [callback, call] : calls) {
        const LogCapture log;
        EXPECT_FALSE(call(node)) << callback;
        EXPECT_EQ(log.text(), "error: The " + std::string(callback) +
                                  " callback of node 'm' threw: out of paint.\n");
    }
    m_library->setCallbacks("mesh", {});
    node.initLibInfo(m_library.get());
}

TEST_F(NodeLibraryThrow, LackOfMemory_ReachesTheCallerOfEachOperation_Unlogged) {
    m_library->setCallbacks("mesh", outOfMemory);
    Node node(nullptr, "mesh", "m");
    bind(node);
    const LogCapture log;
    EXPECT_THROW(node.nodeInit(), std::bad_alloc);
    EXPECT_THROW(static_cast<void>(node.nodePrep()), std::bad_alloc);
    EXPECT_THROW(static_cast<void>(node.nodeEval(nullptr, nullptr)), std::bad_alloc);
    EXPECT_THROW(node.nodeModify(&node), std::bad_alloc);
    EXPECT_THROW(node.nodeFree(), std::bad_alloc);
    EXPECT_EQ(log.text(), "");
    m_library->setCallbacks("mesh", {});
    node.initLibInfo(m_library.get());
}

TEST_F(NodeLibraryThrow, EvaluationWithoutMemory_ThrowsAndKeepsTheValue) {
    Node* node = sceneNode("m");
    IInput* in = node->createInput("reads", AttrType::Real);
    auto* other = static_cast<Node*>(m_scene->createNode("mesh", "other"));
    m_library->setCallbacks("mesh", {.eval = outOfMemory.eval, .modify = outOfMemory.modify});
    bind(*other);
    ASSERT_TRUE(in->connect(other->createOutput("out", AttrType::Real)));
    for (const u64 cache : {0u, 1000u}) {
        m_scene->setEvalCache(cache, false);
        double value = 5;
        EXPECT_THROW(in->readReal(value, true, nullptr), std::bad_alloc);
        EXPECT_EQ(value, 5);
    }
    EXPECT_TRUE(m_scene->verify().empty());
}

TEST_F(NodeLibraryThrow, CloneWithoutMemory_LeavesNothing) {
    Node* node = sceneNode("m");
    m_library->setCallbacks("mesh", {.init = outOfMemory.init, .modify = outOfMemory.modify});
    bind(*node);
    m_scene->setUndoEnabled(true);
    EXPECT_THROW(static_cast<void>(node->clone(false)), std::bad_alloc);
    EXPECT_EQ(m_scene->nodeCount(), 1u);
    EXPECT_EQ(m_scene->undoCount(), 0u);
    EXPECT_TRUE(m_scene->verify().empty());
}

TEST_F(NodeLibraryThrow, ThrownValueThatIsNoException_IsLogged) {
    m_library->setCallbacks("mesh", {.free = [](INode*, void**) -> bool { throw 7; }});
    Node node(nullptr, "mesh", "m");
    node.initLibInfo(m_library.get());
    const LogCapture log;
    EXPECT_FALSE(node.nodeFree());
    EXPECT_EQ(log.text(),
              "error: The free callback of node 'm' threw something that is no exception.\n");
    m_library->setCallbacks("mesh", {});
    node.initLibInfo(m_library.get());
}

TEST_F(NodeLibraryThrow, FreeCallbackInTheDestructor_EndsTheProcess) {
    const auto free = [](INode*, void**) -> bool { throw std::bad_alloc(); };
    m_library->setCallbacks("mesh", {nullptr, nullptr, nullptr, nullptr, free, nullptr});
    EXPECT_DEATH(
        {
            Node node(nullptr, "mesh", "m");
            bind(node);
        },
        "bad_alloc");
}

TEST_F(NodeLibraryThrow, Changed_ReachesTheCallerAfterEveryoneWasNotified) {
    Node* node = sceneNode("m");
    m_scene->setDirty(false);
    EXPECT_THROW(node->input(String("in"))->setReal(2), std::runtime_error);
    EXPECT_EQ(static_cast<Input*>(node->input(String("in")))->value(), Value(2.0));
    EXPECT_TRUE(m_scene->isDirty());
}

TEST_F(NodeLibraryThrow, Clone_StandsWithItsAttributes) {
    Node* node = sceneNode("m");
    const LogCapture log;
    const auto copy = RefersTo<Node>::adopt(node->clone(nullptr, "copy"));
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->inputCount(), 1u);
    EXPECT_EQ(log.text(), "error: The init callback of node 'copy' threw: out of paint.\n");
}

TEST_F(NodeLibraryThrow, ReadThroughAConnection_FailsAndKeepsItsValue) {
    Node* node = sceneNode("m");
    Node reader(nullptr, "thing", "r");
    IInput* in = reader.createInput("in", AttrType::Real);
    in->connect(node->output(String("out")));
    const LogCapture log;
    double value = 5;
    EXPECT_FALSE(in->readReal(value, true, nullptr));
    EXPECT_EQ(value, 5);
    EXPECT_EQ(log.text(), "error: The eval callback of node 'm' threw: out of paint.\n");
}

TEST_F(NodeLibraryThrow, EvaluationThatThrew_CanBeAskedAgain) {
    Node* node = sceneNode("m");
    auto* out = static_cast<Output*>(node->output(String("out")));
    const LogCapture log;
    EXPECT_TRUE(out->evaluate(nullptr).isNull());
    EXPECT_TRUE(out->evaluate(nullptr).isNull());
    EXPECT_EQ(log.text(), "error: The eval callback of node 'm' threw: out of paint.\n"
                          "error: The eval callback of node 'm' threw: out of paint.\n");
}

// The scene is the node's last owner.
TEST_F(NodeLibraryThrow, EvalThatEndsItsNodeFirst_IsStillNamed) {
    const auto eval = [](EvalCtx* ctx, void*) -> bool {
        ctx->node()->scene()->removeNode(ctx->node());
        fail();
    };
    m_library->setCallbacks("mesh", {nullptr, nullptr, eval, throwing.modify, nullptr, nullptr});
    auto* out = static_cast<Output*>(sceneNode("m")->output(String("out")));
    const LogCapture log;
    EXPECT_TRUE(out->evaluate(nullptr).isNull());
    EXPECT_EQ(log.text(), "error: The eval callback of node 'm' threw: out of paint.\n");
    EXPECT_EQ(m_scene->nodeCount(), 0u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
