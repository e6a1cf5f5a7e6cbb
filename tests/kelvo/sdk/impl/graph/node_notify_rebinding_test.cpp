// The `changed` callback of a node that an observer binds to another library.

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

int calls = 0;
void countChange(IInput*) {
    ++calls;
}

// Binds a library, or none, to the node of the notification.
struct Rebinder : SceneObserver {
    void inputChanged(const IInput* input, const AttrData*) override {
        static_cast<Node*>(input->node())->initLibInfo(library);
    }
    LibInfo* library = nullptr;
};

class NodeNotifyRebinding : public testing::Test {
protected:
    NodeNotifyRebinding() {
        calls = 0;
        m_library->setCallbacks("thing", {.changed = countChange});
        m_scene->subscribe(&m_rebinder);
    }
    ~NodeNotifyRebinding() override { m_scene->unsubscribe(&m_rebinder); }

    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("thing", "n"));
    IInput* m_in = m_node->createInput("in", AttrType::Real);
    Rebinder m_rebinder;
};

TEST_F(NodeNotifyRebinding, CallbackBoundMeanwhile_IsCalled) {
    m_rebinder.library = m_library.get();
    m_in->setReal(1);
    EXPECT_EQ(calls, 1);
}

TEST_F(NodeNotifyRebinding, CallbackUnboundMeanwhile_IsNotCalled) {
    m_node->initLibInfo(m_library.get());
    m_in->setReal(1);
    EXPECT_EQ(calls, 0);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
