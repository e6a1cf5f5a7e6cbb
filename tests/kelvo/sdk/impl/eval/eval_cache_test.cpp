// The result cache, observed through the number of callbacks called.

#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using interfaces::EvalCacheFigures;
using tests::LogCapture;

int asked = 0;

// out = in + 1
bool addOne(EvalCtx* ctx, void* out) {
    ++asked;
    double value = 0;
    const INode* node = ctx->node();
    if (!node->input(String("in"))->readReal(value, true, ctx)) return false;
    *static_cast<double*>(out) = value + 1;
    return true;
}

// out = the "in" of the linked node
bool readLinked(EvalCtx* ctx, void* out) {
    ++asked;
    const INode* node = ctx->node();
    INode* other = nullptr;
    node->input(String("other"))->readNode(other, true, ctx);
    return other && other->input(String("in"))->readReal(*static_cast<double*>(out), true, ctx);
}

// out = the number of calls so far
bool countCalls(EvalCtx*, void* out) {
    *static_cast<double*>(out) = ++asked;
    return true;
}

bool readDir(EvalCtx* ctx, void* out) {
    ++asked;
    const INode* node = ctx->node();
    return node->input(String("dir"))->readString(*static_cast<String*>(out), true, ctx);
}

bool writeUser(EvalCtx* ctx, void* out) {
    ++asked;
    *static_cast<double*>(out) = ctx->user() ? *static_cast<double*>(ctx->user()) : 0;
    return true;
}

bool modifies(INode*, INode*) {
    return false;
}

class EvalCacheTest : public testing::Test {
protected:
    EvalCacheTest() {
        asked = 0;
        define("adder", addOne);
        define("linker", readLinked);
        define("counter", countCalls);
        define("path", readDir);
        define("user", writeUser);
        m_scene->setEvalCache(1 << 20, false);
    }

    void define(const char* type, interfaces::NodeEvalFn eval) {
        m_library->setCallbacks(type, {nullptr, nullptr, eval, modifies, nullptr, nullptr});
    }
    Node* makeNode(const char* type, const char* name) {
        auto* node = static_cast<Node*>(m_scene->createNode(type, name));
        node->createInput("in", AttrType::Real);
        node->createInput("other", AttrType::Node);
        node->createOutput("out", AttrType::Real);
        EXPECT_TRUE(node->initLibInfo(m_library.get()));
        return node;
    }
    // a <- b <- c
    void makeChain() {
        m_a = makeNode("adder", "a");
        m_b = makeNode("adder", "b");
        m_c = makeNode("adder", "c");
        in(m_b)->connect(out(m_a));
        in(m_c)->connect(out(m_b));
    }
    static Input* in(Node* node) { return static_cast<Input*>(node->lookUpInput("in")); }
    static Output* out(Node* node) { return static_cast<Output*>(node->lookUpOutput("out")); }
    static double valueOf(Node* node, EvalCtx* ctx = nullptr) {
        const Value value = out(node)->evaluate(ctx);
        return value.isNull() ? -1 : value.asReal();
    }
    // Evaluates, and returns the number of callbacks called.
    static int callsFor(Node* node) {
        asked = 0;
        EXPECT_FALSE(out(node)->evaluate(nullptr).isNull());
        return asked;
    }
    EvalCacheFigures figures() const { return m_scene->evalCacheFigures(); }

    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_a = nullptr;
    Node* m_b = nullptr;
    Node* m_c = nullptr;
};

TEST_F(EvalCacheTest, SwitchedOff_EvaluatesEachTimeAndKeepsNoFigures) {
    m_scene->setEvalCache(0, false);
    makeChain();
    EXPECT_EQ(callsFor(m_c), 3);
    EXPECT_EQ(callsFor(m_c), 3);
    EXPECT_EQ(figures().hits + figures().misses + figures().entries + figures().bytes, 0u);
}

TEST_F(EvalCacheTest, SecondEvaluation_CallsNoCallback) {
    makeChain();
    EXPECT_EQ(callsFor(m_c), 3);
    EXPECT_EQ(callsFor(m_c), 0);
    EXPECT_EQ(valueOf(m_c), 3);
    EXPECT_EQ(figures().misses, 3u);
    EXPECT_EQ(figures().hits, 2u);
    EXPECT_EQ(figures().entries, 3u);
    EXPECT_GT(figures().bytes, 0u);
}

TEST_F(EvalCacheTest, Diamond_EvaluatesEachNodeOnce) {
    Node* last = makeNode("adder", "n");
    for (int i = 0; i < 30; ++i) {
        Node* next = makeNode("adder", "n");
        in(next)->connect(out(last));
        next->createInput("more", AttrType::Real)->connect(out(last));
        last = next;
    }
    EXPECT_EQ(callsFor(last), 31);
}

TEST_F(EvalCacheTest, ChangeInTheMiddle_EvaluatesItsDependents) {
    makeChain();
    m_b->createInput("more", AttrType::Real);
    callsFor(m_c);
    m_b->lookUpInput("more")->setReal(1);
    EXPECT_EQ(callsFor(m_c), 2);
}

TEST_F(EvalCacheTest, ChangeDownstream_EvaluatesNothingUpstream) {
    makeChain();
    callsFor(m_c);
    m_c->createInput("more", AttrType::Real);
    EXPECT_EQ(callsFor(m_b), 0);
    EXPECT_EQ(callsFor(m_c), 1);
}

TEST_F(EvalCacheTest, ValueSetBack_FindsTheEarlierResult) {
    makeChain();
    callsFor(m_c);
    in(m_a)->setReal(5);
    EXPECT_EQ(valueOf(m_c), 8);
    in(m_a)->setReal(0);
    EXPECT_EQ(callsFor(m_c), 0);
    EXPECT_EQ(valueOf(m_c), 3);
}

TEST_F(EvalCacheTest, Reconnection_CountsAtOnce) {
    makeChain();
    callsFor(m_c);
    in(m_c)->connect(out(m_a));
    EXPECT_EQ(valueOf(m_c), 2);
    in(m_c)->disconnect();
    EXPECT_EQ(valueOf(m_c), 1);
    in(m_c)->connect(out(m_b));
    EXPECT_EQ(callsFor(m_c), 0);
    EXPECT_EQ(valueOf(m_c), 3);
}

TEST_F(EvalCacheTest, Rename_EvaluatesPossibleReadersOfTheName) {
    makeChain();
    callsFor(m_c);
    m_scene->renameNode(m_b, "x");
    EXPECT_EQ(callsFor(m_c), 2);
    EXPECT_EQ(valueOf(m_c), 3);
}

TEST_F(EvalCacheTest, Removal_CountsAtOnce) {
    makeChain();
    callsFor(m_c);
    m_scene->removeNode(m_a);
    EXPECT_EQ(valueOf(m_c), 2);
}

TEST_F(EvalCacheTest, NodeAddedAgain_HasItsCachedResults) {
    makeChain();
    callsFor(m_c);
    const RefersTo<Node> held(m_c);
    m_scene->removeNode(m_c);
    m_scene->addNode(m_c);
    in(m_c)->connect(out(m_b));
    EXPECT_EQ(callsFor(m_c), 0);
}

TEST_F(EvalCacheTest, NewNodeOfTheSameName_IsEvaluated) {
    makeChain();
    callsFor(m_c);
    m_scene->removeNode(m_c);
    Node* other = makeNode("adder", "c");
    in(other)->setReal(7);
    EXPECT_EQ(valueOf(other), 8);
}

TEST_F(EvalCacheTest, OutputWithoutACallback_CountsByItsValue) {
    auto* plain = static_cast<Node*>(m_scene->createNode("thing", "plain"));
    auto* size = static_cast<Output*>(plain->createOutput("size", AttrType::Real));
    Node* node = makeNode("adder", "a");
    in(node)->connect(size);
    size->setValue(1.0);
    EXPECT_EQ(valueOf(node), 2);
    size->setValue(2.0);
    EXPECT_EQ(valueOf(node), 3);
}

TEST_F(EvalCacheTest, LinkedNode_CountsByItsInputs) {
    Node* target = makeNode("adder", "target");
    Node* node = makeNode("linker", "l");
    node->lookUpInput("other")->setNode(target);
    EXPECT_EQ(valueOf(node), 0);
    in(target)->setReal(4);
    EXPECT_EQ(valueOf(node), 4);
    EXPECT_EQ(callsFor(node), 0);
}

TEST_F(EvalCacheTest, LinksInACycle_CountForAllOfIt) {
    Node* one = makeNode("linker", "one");
    Node* two = makeNode("linker", "two");
    Node* three = makeNode("linker", "three");
    one->lookUpInput("other")->setNode(two);
    two->lookUpInput("other")->setNode(three);
    three->lookUpInput("other")->setNode(one);
    in(two)->setReal(2);
    EXPECT_EQ(valueOf(one), 2);
    EXPECT_EQ(callsFor(one), 0);
    in(three)->setReal(3);
    EXPECT_EQ(callsFor(one), 1);
    EXPECT_EQ(valueOf(two), 3);
}

TEST_F(EvalCacheTest, MemberOfAnArray_Counts) {
    makeChain();
    IInput* list = m_b->createArray("list", AttrType::Real);
    list->appendElement()->connect(out(m_a));
    in(m_b)->disconnect();
    callsFor(m_c);
    in(m_a)->setReal(9);
    EXPECT_EQ(callsFor(m_c), 2);
}

// A callback may read the stored value without evaluation.
TEST_F(EvalCacheTest, StoredValueOfAConnectedInput_Counts) {
    makeChain();
    callsFor(m_c);
    in(m_c)->setReal(5);
    EXPECT_EQ(callsFor(m_c), 1);
}

TEST_F(EvalCacheTest, DirectoryOfAPathNode_CountsAsNodeHashDoesNot) {
    auto* node = static_cast<Node*>(m_scene->createNode("path", "p"));
    node->initLibInfo(m_library.get());
    node->createInput("dir", AttrType::String)->setString("/a");
    auto* text = static_cast<Output*>(node->createOutput("text", AttrType::String));
    EXPECT_FALSE(text->evaluate(nullptr).isNull());
    const u64 before = node->hash({});
    node->lookUpInput("dir")->setString("/b");
    EXPECT_EQ(node->hash({}), before);
    EXPECT_EQ(text->evaluate(nullptr), Value("/b"));
}

TEST_F(EvalCacheTest, NewCallbacks_AreCalled) {
    Node* node = makeNode("adder", "a");
    EXPECT_EQ(valueOf(node), 1);
    define("adder", [](EvalCtx*, void* result) {
        *static_cast<double*>(result) = 42;
        return true;
    });
    node->initLibInfo(m_library.get());
    EXPECT_EQ(valueOf(node), 42);
}

TEST_F(EvalCacheTest, NewUserData_IsEvaluatedAgain) {
    static int data[2];
    const auto init = [](INode*, void** place) {
        *place = *place ? &data[1] : &data[0];
        return true;
    };
    const auto free = [](INode*, void** place) {
        *place = nullptr;
        return true;
    };
    m_library->setCallbacks("counter", {init, nullptr, countCalls, nullptr, free, nullptr});
    Node* node = makeNode("counter", "c");
    node->nodeInit();
    EXPECT_EQ(callsFor(node), 1);
    node->nodeInit();
    EXPECT_EQ(callsFor(node), 1);
    EXPECT_EQ(callsFor(node), 0);
}

// The cache cannot know the data behind the pointer.
TEST_F(EvalCacheTest, CallersPointer_BypassesTheCache) {
    Node* node = makeNode("user", "u");
    EXPECT_EQ(valueOf(node), 0);
    double mine = 3;
    EvalCtx ctx(&mine);
    EXPECT_EQ(valueOf(node, &ctx), 3);
    mine = 4;
    EXPECT_EQ(valueOf(node, &ctx), 4);
    EXPECT_EQ(valueOf(node), 0);
}

TEST_F(EvalCacheTest, NodeOutsideTheScene_IsEvaluatedEachTime) {
    Node outside(nullptr, "adder", "o");
    outside.createInput("in", AttrType::Real);
    outside.createOutput("out", AttrType::Real);
    outside.initLibInfo(m_library.get());
    makeChain();
    in(m_a)->connect(out(&outside));
    EXPECT_EQ(callsFor(m_c), 4);
    in(&outside)->setReal(10);
    EXPECT_EQ(valueOf(m_c), 14);
    in(m_a)->disconnect();
    EXPECT_EQ(callsFor(m_c), 3);
    EXPECT_EQ(callsFor(m_c), 0);
}

TEST_F(EvalCacheTest, OutsideNodeThatComesIn_IsKeptFromThenOn) {
    const auto outside = RefersTo<Node>::adopt(new Node(nullptr, "adder", "o"));
    outside->createInput("in", AttrType::Real);
    outside->createOutput("out", AttrType::Real);
    outside->initLibInfo(m_library.get());
    makeChain();
    in(m_a)->connect(out(outside.get()));
    callsFor(m_c);
    m_scene->addNode(outside.get());
    EXPECT_EQ(callsFor(m_c), 4);
    EXPECT_EQ(callsFor(m_c), 0);
    in(outside.get())->setReal(10);
    EXPECT_EQ(valueOf(m_c), 14);
}

TEST_F(EvalCacheTest, FailedEvaluation_IsRepeated) {
    define("failing", [](EvalCtx*, void*) { return ++asked, false; });
    Node* node = makeNode("failing", "f");
    EXPECT_TRUE(out(node)->evaluate(nullptr).isNull());
    EXPECT_TRUE(out(node)->evaluate(nullptr).isNull());
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(figures().entries, 0u);
}

// A callback that changes its own node changes an input of its result.
TEST_F(EvalCacheTest, CallbackThatChangesItsNode_IsNotKept) {
    define("changer", [](EvalCtx* ctx, void* result) {
        ctx->node()->input(String("in"))->setReal(++asked);
        *static_cast<double*>(result) = asked;
        return true;
    });
    Node* node = makeNode("changer", "c");
    EXPECT_EQ(valueOf(node), 1);
    EXPECT_EQ(valueOf(node), 2);
}

TEST_F(EvalCacheTest, CallbackThatSwitchesTheCacheOff_Survives) {
    define("off", [](EvalCtx* ctx, void* result) {
        static_cast<Scene*>(ctx->node()->scene())->setEvalCache(0, false);
        *static_cast<double*>(result) = 1;
        return true;
    });
    EXPECT_EQ(valueOf(makeNode("off", "o")), 1);
    EXPECT_EQ(figures().misses, 0u);
}

TEST_F(EvalCacheTest, CallbackThatRemovesItsNode_Survives) {
    define("gone", [](EvalCtx* ctx, void* result) {
        ctx->node()->scene()->removeNode(ctx->node());
        *static_cast<double*>(result) = 1;
        return true;
    });
    EXPECT_FALSE(out(makeNode("gone", "g"))->evaluate(nullptr).isNull());
    EXPECT_EQ(figures().entries, 0u);
}

TEST_F(EvalCacheTest, Limit_DropsTheLeastRecentlyUsed) {
    Node* a = makeNode("adder", "a");
    Node* b = makeNode("adder", "b");
    Node* c = makeNode("adder", "c");
    callsFor(a);
    m_scene->setEvalCache(2 * figures().bytes, false);
    callsFor(b);
    callsFor(a);
    callsFor(c);
    EXPECT_EQ(figures().entries, 2u);
    EXPECT_EQ(callsFor(a), 0);
    EXPECT_EQ(callsFor(b), 1);
}

TEST_F(EvalCacheTest, SmallerLimit_DropsResultsAtOnce) {
    makeChain();
    callsFor(m_c);
    m_scene->setEvalCache(1, false);
    EXPECT_EQ(figures().entries, 0u);
    EXPECT_EQ(figures().bytes, 0u);
    EXPECT_EQ(callsFor(m_c), 3);
}

TEST_F(EvalCacheTest, Payload_CountsAsBytes) {
    define("path", [](EvalCtx*, void* result) {
        *static_cast<String*>(result) = String(std::string(5000, 'x').c_str());
        return true;
    });
    Node* node = makeNode("path", "p");
    auto* text = static_cast<Output*>(node->createOutput("text", AttrType::String));
    EXPECT_FALSE(text->evaluate(nullptr).isNull());
    EXPECT_GT(figures().bytes, 5000u);
    EXPECT_LT(figures().bytes, 6000u);
}

TEST_F(EvalCacheTest, OutputRemovedAndMadeOfAnotherKind_IsEvaluatedAgain) {
    define("any", [](EvalCtx* ctx, void* result) {
        ++asked;
        if (ctx->output()->type() == AttrType::Int)
            *static_cast<i64*>(result) = 1;
        else
            *static_cast<double*>(result) = 2;
        return true;
    });
    Node* node = makeNode("any", "a");
    callsFor(node);
    node->removeOutput("out");
    auto* again = static_cast<Output*>(node->createOutput("out", AttrType::Int));
    EXPECT_EQ(callsFor(node), 1);
    EXPECT_EQ(again->evaluate(nullptr), Value(i64(1)));
}

TEST_F(EvalCacheTest, Checked_NamesTheOutputThatComesOutDifferently) {
    m_scene->setEvalCache(1 << 20, true);
    Node* node = makeNode("counter", "c");
    const LogCapture log;
    EXPECT_EQ(callsFor(node), 2);
    EXPECT_EQ(log.text(), "error: The result of 'c.out' is another one, although nothing that it "
                          "depends on changed.\n");
}

TEST_F(EvalCacheTest, Checked_EvaluatesCachedResultsAgain) {
    m_scene->setEvalCache(1 << 20, false);
    static double hidden = 1;
    hidden = 1;
    define("hider", [](EvalCtx*, void* result) {
        *static_cast<double*>(result) = hidden;
        return true;
    });
    Node* node = makeNode("hider", "h");
    EXPECT_EQ(valueOf(node), 1);
    hidden = 2;
    EXPECT_EQ(valueOf(node), 1);
    m_scene->setEvalCache(1 << 20, true);
    const LogCapture log;
    EXPECT_EQ(valueOf(node), 2);
    EXPECT_EQ(log.text(), "error: The result of 'h.out' is another one, although nothing that it "
                          "depends on changed.\n");
}

TEST_F(EvalCacheTest, CheckedResultThatFails_IsNamed) {
    m_scene->setEvalCache(1 << 20, true);
    define("once", [](EvalCtx*, void*) { return ++asked == 1; });
    Node* node = makeNode("once", "o");
    const LogCapture log;
    EXPECT_TRUE(out(node)->evaluate(nullptr).isNull());
    EXPECT_EQ(log.text(), "error: The result of 'o.out' is none any more, although nothing that "
                          "it depends on changed.\n");
}

TEST_F(EvalCacheTest, Checked_EvaluatesTwiceAndLogsNothingWhenEqual) {
    m_scene->setEvalCache(1 << 20, true);
    makeChain();
    const LogCapture log;
    EXPECT_EQ(callsFor(m_c), 6);
    EXPECT_EQ(callsFor(m_c), 3);
    EXPECT_EQ(valueOf(m_c), 3);
    EXPECT_EQ(log.text(), "");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
