#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using tests::probe;

// Two sets of callbacks that the tests can distinguish.
template<int N>
struct Calls {
    static bool init(INode*, void** data) {
        *data = &value;
        return N != 0;
    }
    static bool prep(INode*, void* data) { return data == &value; }
    static bool eval(EvalCtx*, void* out) {
        if (out) *static_cast<int*>(out) = N;
        return N != 0;
    }
    static bool modify(INode* node, INode* other) { return node != other; }
    static bool free(INode*, void** data) {
        *data = nullptr;
        return N != 0;
    }
    static void changed(IInput*) {}
    static inline int value = N;
    static constexpr interfaces::NodeCallbacks all{init, prep, eval, modify, free, changed};
};

using Own = Calls<1>;
using Base = Calls<2>;

// Records the look-ups in their order. Has only the modify callback of one type, and this only
// after a number of look-ups.
class AskedLibrary : public LibInfo {
public:
    interfaces::NodeInitFn nodeInit(String type) const override { return note("i", type), nullptr; }
    interfaces::NodePrepFn nodePrep(String type) const override { return note("p", type), nullptr; }
    interfaces::NodeEvalFn nodeEval(String type) const override { return note("e", type), nullptr; }
    interfaces::NodeModifyFn nodeModify(String type) const override {
        note("m", type);
        return type == complete && m_count >= completeFrom ? Own::modify : nullptr;
    }
    interfaces::NodeFreeFn nodeFree(String type) const override { return note("f", type), nullptr; }
    interfaces::NodeChangedFn nodeChanged(String type) const override {
        return note("c", type), nullptr;
    }
    mutable std::string asked;
    String complete;
    int completeFrom = 0;

private:
    void note(const char* what, const String& type) const {
        ++m_count;
        asked += what + std::string(type.buf());
    }
    mutable int m_count = 0;
};

class NodeLibrary : public testing::Test {
protected:
    NodeLibrary() { m_node.setBases({"base1", "base2"}, false, false); }
    ~NodeLibrary() override { probe(m_node).data() = nullptr; }

    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo("lib.knd"));
    Node m_node{nullptr, "mesh", "m"};
};

TEST_F(NodeLibrary, WithoutCallbacks_InitPrepAndFreeSucceedEvalAndModifyDoNot) {
    const LogCapture log;
    EXPECT_FALSE(m_node.initLibInfo(m_library.get()));
    EXPECT_TRUE(m_node.nodeInit());
    EXPECT_TRUE(m_node.nodePrep());
    EXPECT_TRUE(m_node.nodeFree());
    int out = 0;
    EXPECT_FALSE(m_node.nodeEval(nullptr, &out));
    EXPECT_FALSE(m_node.nodeModify(&m_node));
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeLibrary, Null_UnbindsEverything) {
    m_library->setCallbacks("mesh", Own::all);
    EXPECT_TRUE(m_node.initLibInfo(m_library.get()));
    EXPECT_FALSE(m_node.initLibInfo(nullptr));
    EXPECT_FALSE(m_node.hasNodeInit());
    EXPECT_TRUE(m_node.nodeDefPath().isEmpty());
}

TEST_F(NodeLibrary, CompleteSet_IsBoundAndCalled) {
    m_library->setCallbacks("mesh", Own::all);
    EXPECT_TRUE(m_node.initLibInfo(m_library.get()));
    EXPECT_TRUE(m_node.hasNodeInit() && m_node.hasNodePrep() && m_node.hasNodeEval());
    EXPECT_TRUE(m_node.hasNodeModify() && m_node.hasNodeFree());
    EXPECT_EQ(probe(m_node).nodeChanged(), &Own::changed);
    EXPECT_TRUE(m_node.nodeInit());
    EXPECT_EQ(m_node.data(), &Own::value);
    EXPECT_TRUE(m_node.nodePrep());
    int out = 0;
    EXPECT_TRUE(m_node.nodeEval(nullptr, &out));
    EXPECT_EQ(out, 1);
    EXPECT_FALSE(m_node.nodeModify(&m_node));
    EXPECT_TRUE(m_node.nodeModify(nullptr));
    EXPECT_TRUE(m_node.nodeFree());
    EXPECT_EQ(m_node.data(), nullptr);
}

// Drops the last reference to the node, and records whether the node still exists.
i64 nodesAfterInit = 0;
bool dropInInit(INode* node, void**) {
    node->decRef();
    nodesAfterInit = impl_nodeInstanceCount();
    return true;
}

TEST_F(NodeLibrary, InitThatDropsTheLastReference_LeavesTheNodeUntilItReturns) {
    const i64 before = impl_nodeInstanceCount();
    auto* node = new Node(nullptr, "mesh", "mortal");
    probe(*node).nodeInit() = dropInInit;
    EXPECT_TRUE(node->nodeInit());
    EXPECT_EQ(nodesAfterInit, before + 1);
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

// Clears the scene, which holds the only reference to the node.
kelvo_sdk::Scene clearedScene;
i64 nodesAfterFree = 0;
bool clearInFree(INode*, void**) {
    clearedScene->clear();
    nodesAfterFree = impl_nodeInstanceCount();
    return true;
}

TEST_F(NodeLibrary, FreeThatClearsTheScene_LeavesTheNodeUntilItReturns) {
    const i64 before = impl_nodeInstanceCount();
    clearedScene = kelvo_sdk::Scene::create();
    auto* node = static_cast<Node*>(clearedScene.createNode("mesh", "mortal").get());
    probe(*node).nodeFree() = clearInFree;
    EXPECT_TRUE(node->nodeFree());
    EXPECT_EQ(nodesAfterFree, before + 1);
    EXPECT_EQ(impl_nodeInstanceCount(), before);
    clearedScene = kelvo_sdk::Scene();
}

TEST_F(NodeLibrary, Results_AreHandedOn) {
    m_library->setCallbacks("mesh", Calls<0>::all);
    EXPECT_TRUE(m_node.initLibInfo(m_library.get()));
    EXPECT_FALSE(m_node.nodePrep());
    EXPECT_FALSE(m_node.nodeInit());
    EXPECT_TRUE(m_node.nodePrep());
    EXPECT_FALSE(m_node.nodeFree());
    EXPECT_FALSE(m_node.nodeEval(nullptr, nullptr));
    EXPECT_FALSE(m_node.nodeModify(&m_node));
}

TEST_F(NodeLibrary, New_HasNoCallbacksAndNoData) {
    EXPECT_FALSE(m_node.hasNodeInit() || m_node.hasNodePrep() || m_node.hasNodeEval());
    EXPECT_FALSE(m_node.hasNodeModify() || m_node.hasNodeFree());
    EXPECT_EQ(probe(m_node).nodeChanged(), nullptr);
    EXPECT_EQ(m_node.data(), nullptr);
}

// The arguments of the last call of each callback.
struct Given {
    const void* first = nullptr;
    const void* second = nullptr;
};
Given given;

template<typename First, typename Second>
bool take(First first, Second second) {
    given = {first, second};
    return true;
}

TEST_F(NodeLibrary, Callbacks_GetTheNodeAndWhereItsDataIs) {
    m_library->setCallbacks("mesh", {take, take, take, take, take, nullptr});
    m_node.initLibInfo(m_library.get());
    void** const place = &probe(m_node).data();
    const INode* const self = &m_node;
    int something = 0;
    *place = &something;
    Node other(nullptr, "mesh", "other");
    EvalCtx frame;
    const auto expect = [](const void* first, const void* second, const char* what) {
        EXPECT_EQ(given.first, first) << what;
        EXPECT_EQ(given.second, second) << what;
    };
    m_node.nodeInit();
    expect(self, place, "init");
    m_node.nodePrep();
    expect(self, &something, "prep");
    m_node.nodeEval(&frame, &something);
    expect(&frame, &something, "eval");
    m_node.nodeModify(&other);
    expect(self, static_cast<INode*>(&other), "modify");
    m_node.nodeFree();
    expect(self, place, "free");
}

TEST_F(NodeLibrary, Completeness_IsInitEvalAndFreeOrModify) {
    const struct {
        interfaces::NodeCallbacks callbacks;
        bool isComplete;
        const char* note;
    } cases[] = {
        {{Own::init, nullptr, Own::eval, nullptr, Own::free, nullptr}, true, "the three"},
        {{nullptr, Own::prep, Own::eval, nullptr, Own::free, Own::changed}, false, "no init"},
        {{Own::init, Own::prep, nullptr, nullptr, Own::free, Own::changed}, false, "no eval"},
        {{Own::init, Own::prep, Own::eval, nullptr, nullptr, Own::changed}, false, "no free"},
        {{nullptr, nullptr, nullptr, Own::modify, nullptr, nullptr}, true, "modify alone"},
        {{nullptr, Own::prep, nullptr, nullptr, nullptr, Own::changed}, false, "prep and changed"},
    };
    for (const auto& [callbacks, isComplete, note] : cases) {
        m_library->setCallbacks("mesh", callbacks);
        EXPECT_EQ(m_node.initLibInfo(m_library.get()), isComplete) << note;
        EXPECT_EQ(m_node.hasNodePrep(), callbacks.prep != nullptr) << note;
        EXPECT_EQ(m_node.hasNodeModify(), callbacks.modify != nullptr) << note;
        EXPECT_EQ(probe(m_node).nodeChanged(), callbacks.changed) << note;
    }
}

TEST_F(NodeLibrary, ModifyAlone_IsComplete) {
    m_library->setCallbacks("mesh", {nullptr, nullptr, nullptr, Own::modify, nullptr, nullptr});
    m_library->setCallbacks("base1", Base::all);
    EXPECT_TRUE(m_node.initLibInfo(m_library.get()));
    EXPECT_FALSE(m_node.hasNodeEval());
    int out = 0;
    EXPECT_FALSE(m_node.nodeEval(nullptr, &out));
}

TEST_F(NodeLibrary, IncompleteSet_GivesWayToTheFirstCompleteBase) {
    m_library->setCallbacks("mesh",
                            {Own::init, Own::prep, Own::eval, nullptr, nullptr, Own::changed});
    m_library->setCallbacks("base1", {Base::init, nullptr, nullptr, nullptr, Base::free, nullptr});
    m_library->setCallbacks("base2",
                            {Base::init, nullptr, Base::eval, nullptr, Base::free, nullptr});
    EXPECT_TRUE(m_node.initLibInfo(m_library.get()));
    m_node.nodeInit();
    EXPECT_EQ(m_node.data(), &Base::value);
    EXPECT_FALSE(m_node.hasNodePrep());
    EXPECT_EQ(probe(m_node).nodeChanged(), nullptr);
}

TEST_F(NodeLibrary, NothingComplete_LeavesTheTypesOwn) {
    m_library->setCallbacks("mesh", {Own::init, nullptr, nullptr, nullptr, nullptr, nullptr});
    m_library->setCallbacks("base1", {nullptr, nullptr, Base::eval, nullptr, nullptr, nullptr});
    EXPECT_FALSE(m_node.initLibInfo(m_library.get()));
    EXPECT_TRUE(m_node.hasNodeInit());
    EXPECT_FALSE(m_node.hasNodeEval());
}

TEST_F(NodeLibrary, Questions_AreAskedInTheirOrderTypeBasesTypeAgain) {
    const auto library = RefersTo<AskedLibrary>::adopt(new AskedLibrary);
    m_node.setBases({"b"}, false, false);
    EXPECT_FALSE(m_node.initLibInfo(library.get()));
    EXPECT_EQ(library->asked, "imeshpmeshemeshmmeshfmeshcmesh"
                              "ibpbebmbfbcb"
                              "imeshpmeshemeshmmeshfmeshcmesh");
}

TEST_F(NodeLibrary, CompleteType_HasNoBaseAsked) {
    const auto library = RefersTo<AskedLibrary>::adopt(new AskedLibrary);
    library->complete = "mesh";
    EXPECT_TRUE(m_node.initLibInfo(library.get()));
    EXPECT_EQ(library->asked, "imeshpmeshemeshmmeshfmeshcmesh");
}

TEST_F(NodeLibrary, CompleteBase_IsTheLastOneAsked) {
    const auto library = RefersTo<AskedLibrary>::adopt(new AskedLibrary);
    library->complete = "base1";
    EXPECT_TRUE(m_node.initLibInfo(library.get()));
    EXPECT_EQ(library->asked, "imeshpmeshemeshmmeshfmeshcmesh"
                              "ibase1pbase1ebase1mbase1fbase1cbase1");
    EXPECT_TRUE(m_node.hasNodeModify());
}

TEST_F(NodeLibrary, LibraryThatChangesMeanwhile_CountsAsItIsAtTheEnd) {
    const auto library = RefersTo<AskedLibrary>::adopt(new AskedLibrary);
    library->complete = "mesh";
    library->completeFrom = 19;
    EXPECT_TRUE(m_node.initLibInfo(library.get()));
    EXPECT_TRUE(m_node.hasNodeModify());
}

TEST_F(NodeLibrary, SecondBinding_ReplacesAllSix) {
    m_library->setCallbacks("mesh", Own::all);
    m_node.initLibInfo(m_library.get());
    const auto other = RefersTo<LibInfo>::adopt(new LibInfo);
    other->setCallbacks("mesh", {nullptr, nullptr, Base::eval, nullptr, nullptr, nullptr});
    const LogCapture log;
    EXPECT_FALSE(m_node.initLibInfo(other.get()));
    EXPECT_FALSE(m_node.hasNodeInit() || m_node.hasNodePrep() || m_node.hasNodeModify());
    EXPECT_FALSE(m_node.hasNodeFree());
    EXPECT_EQ(probe(m_node).nodeChanged(), nullptr);
    int out = 0;
    EXPECT_TRUE(m_node.nodeEval(nullptr, &out));
    EXPECT_EQ(out, 2);
    EXPECT_EQ(log.text(), "");
}

// The data keeps its address, so that the address does not show the change.
TEST_F(NodeLibrary, DataFilledAnew_EndsWhatWasKept) {
    static double filled = 0;
    const auto fill = [](INode*, void** data) {
        *data = &filled;
        return ++filled > 0;
    };
    const auto fillAgain = [](INode*, void*) { return ++filled > 0; };
    const auto empty = [](INode*, void** data) { return (*data = nullptr) == nullptr; };
    const auto give = [](EvalCtx*, void* out) {
        *static_cast<double*>(out) = filled;
        return true;
    };
    m_library->setCallbacks("giver", {fill, fillAgain, give, nullptr, empty, nullptr});
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    auto* node = static_cast<Node*>(scene->createNode("giver", "g"));
    auto* output = static_cast<Output*>(node->createOutput("out", AttrType::Real));
    node->initLibInfo(m_library.get());
    scene->setEvalCache(1 << 16, false);
    const auto expectNow = [output](const char* note) {
        EXPECT_EQ(output->evaluate(nullptr), Value(filled)) << note;
    };
    node->nodeInit();
    expectNow("init");
    node->nodePrep();
    expectNow("prep");
    node->nodeInit();
    expectNow("init again");
    node->nodeFree();
    ++filled;
    node->nodeInit();
    expectNow("init after free");
}

TEST_F(NodeLibrary, Binding_CallsNothing) {
    given = {};
    m_library->setCallbacks("mesh", {take, take, take, take, take, nullptr});
    m_node.initLibInfo(m_library.get());
    m_node.initLibInfo(nullptr);
    EXPECT_EQ(given.first, nullptr);
    EXPECT_EQ(m_node.data(), nullptr);
}

TEST_F(NodeLibrary, Rebinding_TakesTheNewReferenceBeforeItDropsTheOld) {
    auto* library = new LibInfo("one.knd");
    m_node.initLibInfo(library);
    library->decRef();
    m_node.initLibInfo(library);
    EXPECT_STREQ(m_node.nodeDefPath().buf(), "one.knd");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
