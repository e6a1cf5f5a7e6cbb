// Compares cached results with those of freshly called callbacks, over thousands of edits.

#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"

#include "kelvo/base/hash.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using tests::probe;

// Computes a hash of everything that a callback can reach from its node, over a few links.
class Sight {
public:
    explicit Sight(EvalCtx* ctx) : m_ctx(ctx) {}

    void look(const INode& node, int links) {
        add(node.name());
        add(node.type());
        add(static_cast<u64>(node.isTypeOf(String("base"))));
        m_hash = hashMix(m_hash, reinterpret_cast<u64>(node.data()));
        for (u64 i = 0; i < node.inputCount(); ++i)
            look(*node.input(i), links);
        m_hash = hashMix(m_hash, node.outputCount());
    }
    [[nodiscard]] double result() const { return static_cast<double>(m_hash >> 16); }

private:
    void add(const String& text) { add(text.hash()); }
    void add(u64 hash) { m_hash = hashMix(m_hash, hash); }

    void look(const IInput& input, int links) {
        add(input.name());
        add(input.typeName());
        String stored;
        String evaluated;
        if (input.readString(stored, false, nullptr)) add(stored);
        if (input.source() && input.readString(evaluated, true, m_ctx)) add(evaluated);
        INode* linked = nullptr;
        if (links > 0 && input.type() == AttrType::Node && input.readNode(linked, true, m_ctx))
            if (linked) look(*linked, links - 1);
        for (u64 i = 0; i < input.inputCount(); ++i)
            look(*input.input(i), links);
    }

    EvalCtx* m_ctx;
    u64 m_hash = 0;
};

template<int salt>
bool see(EvalCtx* ctx, void* out) {
    Sight sight(ctx);
    sight.look(*ctx->node(), 3);
    *static_cast<double*>(out) = sight.result() + salt;
    return true;
}

bool modifies(INode*, INode*) {
    return false;
}

class EvalCacheRandom : public testing::TestWithParam<unsigned> {
protected:
    static constexpr u64 kNodes = 6;

    EvalCacheRandom() {
        m_first->setCallbacks("seer", {nullptr, nullptr, see<0>, modifies, nullptr, nullptr});
        m_second->setCallbacks("seer", {nullptr, nullptr, see<1>, modifies, nullptr, nullptr});
        m_scene->setEvalCache(1 << 16, false);
        for (u64 i = 0; i < kNodes; ++i)
            makeNode();
    }
    ~EvalCacheRandom() override {
        for (const auto& node : m_nodes)
            probe(*node).data() = nullptr;
    }

    void makeNode() {
        auto* node = static_cast<Node*>(m_scene->createNode(pick(4) ? "seer" : "plain", "n"));
        node->createInput("a", AttrType::Real);
        node->createInput("b", AttrType::Real);
        node->createInput("text", AttrType::String);
        node->createInput("link", AttrType::Node);
        node->createArray("list", AttrType::Real);
        node->createArray("links", AttrType::Node);
        node->createOutput("out", AttrType::Real);
        node->initLibInfo(m_first.get());
        m_nodes.emplace_back(node);
    }

    u64 pick(u64 below) { return m_random() % below; }
    Node& anyNode() { return *m_nodes[pick(m_nodes.size())]; }
    IInput* in(Node& node, const char* name) { return node.lookUpInput(String(name)); }
    static Output* out(const Node& node) {
        return static_cast<Output*>(node.lookUpOutput(String("out")));
    }
    IInput* anyReal(Node& node) {
        IInput* list = in(node, "list");
        const u64 place = pick(list->inputCount() + 2);
        return place < 2 ? in(node, place ? "a" : "b") : list->input(place - 2);
    }
    IInput* anyLink(Node& node) {
        IInput* links = in(node, "links");
        const u64 place = pick(links->inputCount() + 1);
        return place == 0 ? in(node, "link") : links->input(place - 1);
    }

    // Makes a random edit; refused edits count as well.
    void edit() {
        switch (pick(3)) {
        case 0:
            return editValue(anyNode());
        case 1:
            return editLists(anyNode());
        default:
            return editNode(pick(m_nodes.size()));
        }
    }

    void editValue(Node& node) {
        switch (pick(7)) {
        case 0:
        case 1:
            anyReal(node)->setReal(static_cast<double>(pick(4)));
            break;
        case 2:
            in(node, "text")->setString(String(pick(2) ? "one" : "two"));
            break;
        case 3:
            connectUp();
            break;
        case 4:
            anyReal(node)->disconnect();
            break;
        case 5:
            anyLink(node)->setNode(pick(4) ? &anyNode() : nullptr);
            break;
        default:
            if (Output* output = out(node))
                if (!node.hasNodeEval()) output->setValue(Value(static_cast<double>(pick(3))));
        }
    }

    // Connects to an earlier node, so that no loop is requested.
    void connectUp() {
        const u64 place = pick(m_nodes.size());
        Output* output = out(*m_nodes[pick(place + 1)]);
        if (output && output->node() != m_nodes[place].get())
            anyReal(*m_nodes[place])->connect(output);
    }

    void editLists(Node& node) {
        IInput* list = in(node, pick(2) ? "list" : "links");
        const u64 count = list->inputCount();
        switch (pick(4)) {
        case 0:
            if (count < 3) list->appendElement();
            break;
        case 1:
            if (count < 3) list->insertElement(0);
            break;
        case 2:
            if (count > 1) list->moveElement(0, count - 1);
            break;
        default:
            if (count > 0) list->removeInput(pick(count));
        }
    }

    void editNode(u64 place) {
        Node& node = *m_nodes[place];
        switch (pick(9)) {
        case 0:
            m_scene->renameNode(&node, String(pick(2) ? "x" : "N"));
            break;
        case 1:
            leave(node);
            break;
        case 2:
            replace(place);
            break;
        case 3:
            node.initLibInfo(pick(2) ? m_first.get() : m_second.get());
            break;
        case 4:
            node.setBases(pick(2) ? StringVector{"base"} : StringVector(), false, false);
            node.setDirty(true); // Bases are no edit, so the change has to be marked.
            break;
        case 5:
            toggle(node);
            break;
        case 6:
            probe(node).nodeInit() = [](INode*, void** data) {
                static int things[2];
                *data = *data == &things[0] ? &things[1] : &things[0];
                return true;
            };
            node.nodeInit();
            break;
        case 7:
            node.removeOutput("out");
            node.createOutput("out", AttrType::Real);
            break;
        default:
            static_cast<Input*>(in(node, "a"))->stash();
        }
    }

    void leave(Node& node) {
        m_scene->removeNode(&node);
        if (pick(2)) in(node, "a")->setReal(static_cast<double>(pick(4)));
        m_scene->addNode(&node);
    }

    void replace(u64 place) {
        probe(*m_nodes[place]).data() = nullptr;
        m_scene->removeNode(m_nodes[place].get());
        m_nodes.erase(m_nodes.begin() + static_cast<std::ptrdiff_t>(place));
        makeNode();
    }

    static void toggle(Node& node) {
        const String name("more");
        if (node.hasInput(name, AttrType::Null))
            node.removeInput(name);
        else
            node.createInput(name, AttrType::Int);
    }

    // Returns the text of a result; `mayBeKept` tells whether it may come from the cache.
    static std::string answer(const Node& node, bool mayBeKept) {
        int mine = 0;
        EvalCtx first(&mine);
        Output* output = out(node);
        const Value value = output->evaluate(mayBeKept ? nullptr : &first);
        return value.isNull() ? "none" : std::to_string(value.asReal());
    }

    std::mt19937 m_random{GetParam()};
    RefersTo<LibInfo> m_first = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<LibInfo> m_second = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    std::vector<RefersTo<Node>> m_nodes;
};

TEST_P(EvalCacheRandom, EditsOfAllKinds_LeaveNoStaleResult) {
    const LogCapture refusals;
    for (int step = 0; step < 2000; ++step) {
        edit();
        for (const auto& node : m_nodes)
            ASSERT_EQ(answer(*node, true), answer(*node, false)) << "step " << step;
    }
    EXPECT_GT(m_scene->evalCacheFigures().hits, 1000u);
    EXPECT_LE(m_scene->evalCacheFigures().bytes, 1u << 16);
}

INSTANTIATE_TEST_SUITE_P(Seeds, EvalCacheRandom, testing::Range(1u, 9u));

// Each thread has its own chain; all chains read one output of a node without a callback.
TEST(EvalCacheThreads, SeveralThreads_GetTheSameResultsAsOne) {
    constexpr u64 kThreads = 4;
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo);
    library->setCallbacks("seer", {nullptr, nullptr, see<0>, modifies, nullptr, nullptr});
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    INode* shared = scene->createNode("plain", "shared");
    static_cast<Output*>(shared->createOutput("out", AttrType::Real))->setValue(Value(5.0));
    std::vector<std::vector<Output*>> chains(kThreads);
    for (u64 i = 0; i < kThreads * 50; ++i) {
        auto* node = static_cast<Node*>(scene->createNode("seer", "n"));
        node->initLibInfo(library.get());
        auto& chain = chains[i % kThreads];
        IOutput* below = chain.empty() ? shared->output(String("out")) : chain.back();
        node->createInput("a", AttrType::Real)->connect(below);
        chain.push_back(static_cast<Output*>(node->createOutput("out", AttrType::Real)));
    }
    std::vector<Value> expected;
    for (const auto& chain : chains)
        expected.push_back(chain.back()->evaluate(nullptr));
    scene->setEvalCache(4096, false); // This size is too small for all results.
    std::vector<int> wrong(kThreads);
    std::vector<std::thread> threads;
    for (u64 t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 100; ++round) {
                Output* asked = chains[t].back();
                wrong[t] += asked->evaluate(nullptr) != expected[t];
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(kThreads));
    EXPECT_LE(scene->evalCacheFigures().bytes, 4096u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
