// Evaluations that are long, deep or endless, on a stack of half a megabyte.

#include "kelvo/sdk/buffer_result.h"
#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/input.h"
#include "kelvo/sdk/output.h"
#include "tests/support/log_capture.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using tests::runOnSmallStack;

int asked = 0;

// out = in + 1
template<bool passesFrame>
bool addOne(EvalCtx* ctx, void* out) {
    ++asked;
    double value = 0;
    const INode* node = ctx->node();
    EvalCtx* passed = passesFrame ? ctx : nullptr;
    if (!node->input(String("in"))->readReal(value, true, passed)) return false;
    *static_cast<double*>(out) = value + 1;
    return true;
}

// Evaluates the linked node's output, if there is one: out = its value + 1
template<bool passesFrame>
bool askLinked(EvalCtx* ctx, void* out) {
    ++asked;
    INode* other = nullptr;
    const INode* node = ctx->node();
    node->input(String("other"))->readNode(other, false, nullptr);
    *static_cast<double*>(out) = 1;
    if (!other) return true;
    auto* output = static_cast<Output*>(other->output(String("out")));
    const Value value = output->evaluate(passesFrame ? ctx : nullptr);
    if (value.isNull()) return false;
    *static_cast<double*>(out) = value.asReal() + 1;
    return true;
}

// Does the same, but gives 0 when the linked node has no value.
bool askOrElse(EvalCtx* ctx, void* out) {
    if (!askLinked<true>(ctx, out)) *static_cast<double*>(out) = 0;
    return true;
}

Node* condemned = nullptr;

// Ends a node of the scene. Gives 1, or 2 when the output of that node still has a value.
bool endCondemned(EvalCtx* ctx, void* out) {
    *static_cast<double*>(out) = 1;
    Node* node = std::exchange(condemned, nullptr);
    if (!node) return true;
    const RefersTo<Output> output(static_cast<Output*>(node->lookUpOutput(String("out"))));
    ctx->node()->scene()->removeNode(node);
    if (!output->evaluate(ctx).isNull()) *static_cast<double*>(out) = 2;
    return true;
}

// Removes the outputs of a node, and undoes that: out = in + 1
bool renewCondemned(EvalCtx* ctx, void* out) {
    if (Node* node = std::exchange(condemned, nullptr)) {
        EXPECT_TRUE(node->clearOutputs() && node->scene()->undo());
    }
    return addOne<true>(ctx, out);
}

bool fail(EvalCtx*, void*) {
    return false;
}

// Removes the nodes in `doomed` from their scene, which drops the last references to them.
std::vector<INode*> doomed;

bool removeDoomed(EvalCtx* ctx, void* out) {
    *static_cast<double*>(out) = 1;
    for (INode* node : std::exchange(doomed, {}))
        ctx->node()->scene()->removeNode(node);
    return true;
}

bool modifies(INode*, INode*) {
    return false;
}

class OutputEvalTest : public testing::Test {
protected:
    OutputEvalTest() {
        asked = 0;
        define("adder", addOne<true>);
        define("silentAdder", addOne<false>);
        define("asker", askLinked<true>);
        define("silentAsker", askLinked<false>);
        define("elser", askOrElse);
        define("failer", fail);
        define("remover", removeDoomed);
        define("ender", endCondemned);
        define("renewer", renewCondemned);
    }

    void define(const char* type, interfaces::NodeEvalFn eval) {
        m_library->setCallbacks(type, {nullptr, nullptr, eval, modifies, nullptr, nullptr});
    }
    Node* makeNode(const char* type, const char* name = "n") {
        auto* node = static_cast<Node*>(m_scene->createNode(type, name));
        addParts(*node);
        return node;
    }
    void addParts(Node& node) {
        node.createInput("in", AttrType::Real);
        node.createInput("other", AttrType::Node);
        node.createOutput("out", AttrType::Real);
        EXPECT_TRUE(node.initLibInfo(m_library.get()));
    }
    // Returns a node without a callback, whose output has the value 7.
    Node* makePlainNode() {
        auto* node = static_cast<Node*>(m_scene->createNode("plain", "n"));
        node->createInput("in", AttrType::Real);
        node->createOutput("out", AttrType::Real);
        EXPECT_TRUE(out(node)->setValue(Value(7.0)));
        return node;
    }
    // Each node reads the one before; returns the last.
    Node* makeChain(const char* type, int count, Node* first = nullptr) {
        Node* last = first ? first : makeNode(type);
        for (int i = 1; i < count; ++i) {
            Node* next = makeNode(type);
            next->input(String("in"))->connect(out(last));
            next->input(String("other"))->setNode(last);
            last = next;
        }
        return last;
    }
    // Each node links to the one before; returns the last.
    Node* makeLinks(const char* type, int count) {
        Node* last = makeNode(type);
        for (int i = 1; i < count; ++i) {
            Node* next = makeNode(type);
            next->input(String("other"))->setNode(last);
            last = next;
        }
        return last;
    }
    static Output* out(const Node* node) {
        return static_cast<Output*>(node->lookUpOutput(String("out")));
    }
    // Returns the result as a number, -1 if there is none.
    static double evaluate(const Node* node) {
        double result = -1;
        runOnSmallStack([&] {
            const Value value = out(node)->evaluate(nullptr);
            if (!value.isNull()) result = value.asReal();
        });
        return result;
    }

    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
};

TEST_F(OutputEvalTest, LongChain_EvaluatesEachNodeOnce) {
    const Node* last = makeChain("adder", 20000);
    const LogCapture log;
    EXPECT_EQ(evaluate(last), 20000);
    EXPECT_EQ(asked, 20000);
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputEvalTest, LongChainBehindANodeWithoutACallback_StartsWithItsValue) {
    const Node* last = makeChain("adder", 20001, makePlainNode());
    EXPECT_EQ(evaluate(last), 20007);
    EXPECT_EQ(asked, 20000);
}

TEST_F(OutputEvalTest, LongChainUpstreamOfANodeWithoutACallback_IsNotEvaluated) {
    Node* plain = makePlainNode();
    plain->input(String("in"))->connect(out(makeChain("adder", 1000)));
    const Node* last = makeChain("adder", 20001, plain);
    EXPECT_EQ(evaluate(last), 20007);
    EXPECT_EQ(asked, 20000);
}

TEST_F(OutputEvalTest, LongChainWithANodeOfTwoOutputs_EvaluatesTheConnectedOneAlone) {
    Node* middle = makeChain("adder", 10000);
    Node* reader = makeNode("adder");
    reader->input(String("in"))->connect(middle->createOutput("more", AttrType::Real));
    const Node* last = makeChain("adder", 10000, reader);
    EXPECT_EQ(evaluate(last), 20000);
    EXPECT_EQ(asked, 20000);
}

// These nodes have no compact graph.
TEST_F(OutputEvalTest, LongChainOutsideOfScenes_EvaluatesEachNodeOnce) {
    std::vector<RefersTo<Node>> nodes;
    for (u64 i = 0; i < 3000; ++i) {
        nodes.push_back(RefersTo<Node>::adopt(new Node(nullptr, "adder", "n")));
        addParts(*nodes.back());
        if (i != 0) nodes[i]->input(String("in"))->connect(out(nodes[i - 1].get()));
    }
    EXPECT_EQ(evaluate(nodes.back().get()), 3000);
    EXPECT_EQ(asked, 3000);
}

TEST_F(OutputEvalTest, SecondLongChain_DoesNotGetResultsOfTheFirst) {
    Node* first = makeNode("adder");
    const Node* last = makeChain("adder", 3000, first);
    EXPECT_EQ(evaluate(last), 3000);
    first->input(String("in"))->setReal(1);
    EXPECT_EQ(evaluate(last), 3001);
    EXPECT_EQ(evaluate(makeChain("adder", 2000)), 2000);
}

TEST_F(OutputEvalTest, LongChainWithoutFrames_IsEvaluatedAllTheSame) {
    const Node* last = makeChain("silentAdder", 20000);
    const LogCapture log;
    EXPECT_EQ(evaluate(last), 20000);
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputEvalTest, LongChainWithCachedResults_IsEvaluatedOnce) {
    const Node* last = makeChain("adder", 20000);
    m_scene->setEvalCache(u64(1) << 26, false);
    EXPECT_EQ(evaluate(last), 20000);
    EXPECT_EQ(evaluate(last), 20000);
    EXPECT_EQ(asked, 20000);
}

TEST_F(OutputEvalTest, LongCheckedChain_IsEvaluatedTwice) {
    const Node* last = makeChain("adder", 5000);
    m_scene->setEvalCache(u64(1) << 26, true);
    const LogCapture log;
    EXPECT_EQ(evaluate(last), 5000);
    EXPECT_EQ(asked, 10000);
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputEvalTest, LongChainThatFailsAtItsStart_FailsWithoutALine) {
    const Node* last = makeChain("adder", 20000, makeNode("failer"));
    const LogCapture log;
    EXPECT_EQ(evaluate(last), -1);
    EXPECT_EQ(log.text(), "");
}

// The first node is evaluated ahead of the others, while these wait for their turn.
TEST_F(OutputEvalTest, LongChainWhoseStartRemovesWaitingNodes_GoesOnBehindThem) {
    Node* first = makeNode("remover");
    Node* cut = makeChain("adder", 11, first);
    const Node* last = makeChain("adder", 3000, cut);
    for (auto* node = cut; node != first;
         node = static_cast<Node*>(node->input(String("in"))->source()->node()))
        doomed.push_back(node);
    EXPECT_EQ(evaluate(last), 2999);
    EXPECT_EQ(asked, 2999);
    EXPECT_EQ(m_scene->nodeCount(), 3000u);
}

// The ender is evaluated first, when the node that it ends waits for its turn.
TEST_F(OutputEvalTest, LongChainThatLosesANode_IsEvaluatedFromTheNextOneOn) {
    Node* first = makeNode("ender");
    condemned = makeChain("adder", 1000, first);
    const Node* last = makeChain("adder", 2001, condemned);
    const LogCapture log;
    EXPECT_EQ(evaluate(last), 2000);
    EXPECT_EQ(asked, 2998);
    EXPECT_EQ(m_scene->nodeCount(), 2999u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputEvalTest, LongChainThatLosesAnEvaluatedNode_ForgetsItsResult) {
    condemned = makeChain("adder", 1000);
    Node* ender = makeNode("ender");
    ender->input(String("in"))->connect(out(condemned));
    const Node* last = makeChain("adder", 2000, ender);
    EXPECT_EQ(evaluate(last), 2000);
    EXPECT_EQ(asked, 2999);
    EXPECT_EQ(m_scene->nodeCount(), 2999u);
}

TEST_F(OutputEvalTest, LongChainWhoseEvaluatedOutputWentAndCameBack_EvaluatesItAgain) {
    condemned = makeChain("adder", 1000);
    Node* renewer = makeNode("renewer");
    renewer->input(String("in"))->connect(out(condemned));
    const Node* last = makeChain("adder", 2000, renewer);
    m_scene->setUndoEnabled(true);
    EXPECT_EQ(evaluate(last), 3000);
    EXPECT_EQ(asked, 3001);
}

TEST_F(OutputEvalTest, LinksOfSomeDepth_AreFollowed) {
    EXPECT_EQ(evaluate(makeChain("asker", 100)), 100);
}

TEST_F(OutputEvalTest, LinksTooDeep_CostOneLine) {
    Node* last = makeLinks("asker", 20001);
    const LogCapture log;
    EXPECT_EQ(evaluate(last), -1);
    const std::string text = log.text();
    EXPECT_EQ(text.find("error: Cannot evaluate 'n"), 0u) << text;
    // Each evaluation but the refused one has called its callback.
    const std::string waiting = ": " + std::to_string(asked) + " evaluations wait for it, and ";
    EXPECT_NE(text.find(waiting + "there is no stack for more."), text.npos) << text;
    EXPECT_EQ(std::ranges::count(text, '\n'), 1);
}

TEST_F(OutputEvalTest, BufferResultOfAnotherElementType_IsRefused) {
    Buffer result(DataType::Float, 0);
    const i32 number = 1;
    const Result isSet = setBufferResult(&result, {DataType::Int32, &number, 1});
    EXPECT_EQ(isSet.message(), "The output takes elements of type Float, not Int32.");
    EXPECT_EQ(result.count(), 0u);
}

TEST_F(OutputEvalTest, ElementsOfABuffer_OutliveTheInputThatShowedThem) {
    struct Owner : ForeignElements {
        bool areSound() const noexcept override { return true; }
    };
    alignas(Buffer::alignment) static const i32 numbers[] = {1, 2};
    static RefersTo<ForeignElements> owner;
    owner = RefersTo<ForeignElements>::adopt(new Owner);
    define("giver", [](EvalCtx*, void* result) {
        *static_cast<Buffer*>(result) = Buffer::inPlace(DataType::Int32, numbers, 2, owner);
        return true;
    });
    Node* node = makeNode("giver");
    const kelvo_sdk::Output output(node->createOutput("numbers", DataType::Int32));
    EXPECT_TRUE(output.evaluate());
    EXPECT_EQ(owner->refCount(), 2);
    node->removeOutput("numbers");
    owner.reset();
}

TEST_F(OutputEvalTest, LinkToItself_IsEndless) {
    Node* node = makeNode("asker", "a");
    node->input(String("other"))->setNode(node);
    const LogCapture log;
    EXPECT_EQ(evaluate(node), -1);
    EXPECT_EQ(log.text(), "error: Endless evaluation: a.out -> a.out.\n");
}

TEST_F(OutputEvalTest, EndlessPart_IsLoggedWithoutThePathToIt) {
    Node* a = makeNode("asker", "a");
    Node* b = makeNode("asker", "b");
    Node* c = makeNode("asker", "c");
    a->input(String("other"))->setNode(b);
    b->input(String("other"))->setNode(c);
    c->input(String("other"))->setNode(b);
    const LogCapture log;
    EXPECT_EQ(evaluate(a), -1);
    EXPECT_EQ(log.text(), "error: Endless evaluation: b.out -> c.out -> b.out.\n");
}

TEST_F(OutputEvalTest, EndlessWithoutFrames_IsFoundWhereTheStackEnds) {
    Node* a = makeNode("silentAsker", "a");
    Node* b = makeNode("silentAsker", "b");
    a->input(String("other"))->setNode(b);
    b->input(String("other"))->setNode(a);
    const LogCapture log;
    EXPECT_EQ(evaluate(a), -1);
    const std::string text = log.text();
    EXPECT_TRUE(text == "error: Endless evaluation: a.out -> b.out -> a.out.\n" ||
                text == "error: Endless evaluation: b.out -> a.out -> b.out.\n")
        << text;
}

TEST_F(OutputEvalTest, EndlessThatWasCut_IsEvaluated) {
    Node* a = makeNode("asker", "a");
    Node* b = makeNode("asker", "b");
    m_scene->setEvalCache(1 << 20, false);
    a->input(String("other"))->setNode(b);
    b->input(String("other"))->setNode(a);
    {
        const LogCapture log;
        EXPECT_EQ(evaluate(a), -1);
    }
    b->input(String("other"))->setNode(nullptr);
    EXPECT_EQ(evaluate(a), 2);
}

TEST_F(OutputEvalTest, ResultThatSawTheStackEnd_IsNotKept) {
    m_scene->setEvalCache(1 << 20, false);
    Node* last = makeLinks("elser", 1500);
    const LogCapture log;
    EXPECT_GT(evaluate(last), 1);
    EXPECT_NE(log.text(), "");
    EXPECT_EQ(m_scene->evalCacheFigures().entries, 0u);
}

// In turn each of the two nodes fails while the other one is evaluated.
TEST_F(OutputEvalTest, ResultThatSawAnEndlessPart_IsNotKept) {
    Node* a = makeNode("elser", "a");
    Node* b = makeNode("elser", "b");
    a->input(String("other"))->setNode(b);
    b->input(String("other"))->setNode(a);
    const LogCapture log;
    for (const bool isChecked : {false, true}) {
        m_scene->setEvalCache(1 << 20, isChecked);
        EXPECT_EQ(evaluate(a), 1);
        EXPECT_EQ(evaluate(b), 1);
        EXPECT_EQ(m_scene->evalCacheFigures().entries, 0u);
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
