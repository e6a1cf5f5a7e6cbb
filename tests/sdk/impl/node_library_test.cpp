#include "sdk/impl/lib_info.h"
#include "sdk/impl/node.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using tests::probe;

// Two sets of callbacks that can be told apart.
template<int N>
struct Calls {
    static bool init(INode*, void** data) {
        *data = &value;
        return N != 0;
    }
    static bool prep(INode*, void* data) { return data == &value; }
    static bool eval(EvalCtx*, void* out) {
        *static_cast<int*>(out) = N;
        return true;
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

// Answers callbacks by the count of questions, to see which are asked and in which order.
class AskedLibrary : public LibInfo {
public:
    interfaces::NodeInitFn nodeInit(String type) const override { return note("i", type), nullptr; }
    interfaces::NodePrepFn nodePrep(String type) const override { return note("p", type), nullptr; }
    interfaces::NodeEvalFn nodeEval(String type) const override { return note("e", type), nullptr; }
    interfaces::NodeModifyFn nodeModify(String type) const override {
        return note("m", type), nullptr;
    }
    interfaces::NodeFreeFn nodeFree(String type) const override { return note("f", type), nullptr; }
    interfaces::NodeChangedFn nodeChanged(String type) const override {
        return note("c", type), nullptr;
    }
    mutable std::string asked;

private:
    void note(const char* what, const String& type) const {
        asked += what + std::string(type.buf());
    }
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

TEST_F(NodeLibrary, Results_AreHandedOn) {
    m_library->setCallbacks("mesh", Calls<0>::all);
    EXPECT_TRUE(m_node.initLibInfo(m_library.get()));
    EXPECT_FALSE(m_node.nodeInit());
    EXPECT_FALSE(m_node.nodeFree());
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

TEST_F(NodeLibrary, Rebinding_TakesTheNewReferenceBeforeItDropsTheOld) {
    auto* library = new LibInfo("one.knd");
    m_node.initLibInfo(library);
    library->decRef();
    m_node.initLibInfo(library);
    EXPECT_STREQ(m_node.nodeDefPath().buf(), "one.knd");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
