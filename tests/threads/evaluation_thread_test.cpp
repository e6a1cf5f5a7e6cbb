// Several threads may read, evaluate, write and present one scene that nobody edits.

#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/on_threads.h"

#include "kelvo/base/log.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::onThreads;

// out = in + 1
bool addOne(EvalCtx* ctx, void* out) {
    double value = 0;
    const INode* node = ctx->node();
    if (!node->input(String("in"))->readReal(value, true, ctx)) return false;
    *static_cast<double*>(out) = value + 1;
    return true;
}

// Gives as many numbers as the caller's pointer says, or 1000; each is the count.
bool fill(EvalCtx* ctx, void* out) {
    const float count = ctx->user() ? *static_cast<const float*>(ctx->user()) : 1000.0f;
    const std::vector<float> numbers(static_cast<std::size_t>(count), count);
    *static_cast<Buffer*>(out) = Buffer(DataType::Float, numbers.data(), numbers.size());
    return true;
}

// Evaluates the output of the linked node.
bool askLinked(EvalCtx* ctx, void* out) {
    INode* other = nullptr;
    const INode* node = ctx->node();
    node->input(String("other"))->readNode(other, false, nullptr);
    const Value value = static_cast<Output*>(other->output(String("out")))->evaluate(ctx);
    if (value.isNull()) return false;
    *static_cast<double*>(out) = value.asReal();
    return true;
}

bool modifies(INode*, INode*) {
    return false;
}

class EvaluationThreads : public testing::Test {
protected:
    EvaluationThreads() {
        define("adder", addOne);
        define("filler", fill);
        define("asker", askLinked);
    }
    void define(const char* type, interfaces::NodeEvalFn eval) {
        m_library->setCallbacks(type, {nullptr, nullptr, eval, modifies, nullptr, nullptr});
    }
    Node* makeNode(const char* type) {
        auto* node = static_cast<Node*>(m_scene->createNode(type, "n"));
        node->initLibInfo(m_library.get());
        return node;
    }
    // Each node reads the one before; returns the input that reads the last.
    IInput* chain(int count) {
        IOutput* last = nullptr;
        for (int i = 0; i < count; ++i) {
            Node* node = makeNode("adder");
            IInput* in = node->createInput("in", AttrType::Real);
            if (last) in->connect(last);
            last = node->createOutput("out", AttrType::Real);
        }
        IInput* reader = makeNode("plain")->createInput("in", AttrType::Real);
        reader->connect(last);
        return reader;
    }
    void expectAll(const IInput& reader, double expected) {
        std::atomic<int> wrong = 0;
        onThreads([&](int) {
            for (int round = 0; round < 50; ++round) {
                double value = 0;
                if (!reader.readReal(value, true, nullptr) || value != expected) ++wrong;
            }
        });
        EXPECT_EQ(wrong, 0);
    }

    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
};

TEST_F(EvaluationThreads, SameInput_IsReadRightByAll) {
    expectAll(*chain(20), 20);
}

TEST_F(EvaluationThreads, ChainTooLongForTheStack_IsReadRightByAll) {
    expectAll(*chain(1000), 1000);
}

TEST_F(EvaluationThreads, WithAResultCache_AllReadRight) {
    const IInput* reader = chain(20);
    m_scene->setEvalCache(1 << 20, false);
    expectAll(*reader, 20);
    m_scene->setEvalCache(1 << 20, true);
    expectAll(*reader, 20);
}

TEST_F(EvaluationThreads, EndlessEvaluation_IsRefusedToEachAndNobodyElse) {
    Node* loop = makeNode("asker");
    loop->createInput("other", AttrType::Node)->setNode(loop);
    IInput* endless = makeNode("plain")->createInput("in", AttrType::Real);
    endless->connect(loop->createOutput("out", AttrType::Real));
    const IInput* sound = chain(20);
    const LogSink before = setLogHandler([](LogLevel, const char*, void*) {}, nullptr);
    std::atomic<int> wrong = 0;
    onThreads([&](int thread) {
        for (int round = 0; round < 50; ++round) {
            double value = 0;
            const bool isEven = thread % 2 == 0;
            if ((isEven ? endless : sound)->readReal(value, true, nullptr) == isEven) ++wrong;
        }
    });
    setLogHandler(before.handler, before.user);
    EXPECT_EQ(wrong, 0);
}

TEST_F(EvaluationThreads, EvaluatedBuffer_StaysWhileOthersReadTheirs) {
    Node* filler = makeNode("filler");
    IInput* reader = makeNode("plain")->createInput("in", AttrType::Buffer);
    reader->connect(filler->createOutput("out", DataType::Float));
    std::atomic<int> wrong = 0;
    onThreads([&](int thread) {
        float count = static_cast<float>(1000 + thread);
        EvalCtx first(&count);
        for (int round = 0; round < 50; ++round) {
            interfaces::BufferView view;
            if (!reader->readBuffer(view, true, &first)) return ++wrong, void();
            std::this_thread::yield();
            const auto* numbers = static_cast<const float*>(view.data);
            for (u64 i = 0; i < view.count; ++i)
                wrong += numbers[i] != count;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(EvaluationThreads, NodeWritten_HasItsFlagUpWhileAnyoneWritesAndDownAfterwards) {
    Node* node = makeNode("plain");
    node->createInput("size", AttrType::Real)->setReal(2);
    const std::string expected = node->serialize(false, false).buf();
    std::atomic<int> wrong = 0;
    onThreads([&](int) {
        for (int round = 0; round < 200; ++round)
            wrong += expected != node->serialize(false, false).buf();
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_FALSE(node->serializing());
}

TEST_F(EvaluationThreads, SceneAtRest_IsSearchedHashedWrittenAndPresentedByAll) {
    m_scene->addLibrary(&standardLibrary());
    INode* lamp = m_scene->createNode("pointLight", "lamp");
    INode* room = m_scene->createNode("xform", "room");
    room->input(String("children"))->appendElement()->setNode(lamp);
    const kelvo_sdk::Scene scene(m_scene.get());
    const std::string text = scene.text().buf();
    const std::string page = lamp->htmlHelp(true, String()).buf();
    const u64 hash = lamp->hash({});
    const auto read = [&] {
        return text == scene.text().buf() && page == lamp->htmlHelp(true, String()).buf() &&
               hash == lamp->hash({}) && scene["LAMP"].get() == lamp &&
               kelvo_sdk::Node(room).dependencies().size() == 1 && scene.verify().empty();
    };
    std::atomic<int> wrong = 0;
    onThreads([&](int) {
        for (int round = 0; round < 10; ++round)
            wrong += !read();
    });
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
