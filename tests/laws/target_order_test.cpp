// However connections end and are restored, the targets of an output keep their order.

#include "kelvo/kelvo.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace qv::kelvo_sdk {
namespace {

// Inputs of several nodes read one output, in an order that differs from that of the nodes.
class TargetOrder : public testing::Test {
protected:
    TargetOrder() {
        m_scene.read("node x \"s\" {\n    output Real o\n}\nnode x \"u\" {\n    output Real o\n}\n"
                     "node x \"t1\" {\n    Real r\n}\nnode x \"t2\" {\n    Real q\n    Real r\n}\n"
                     "node x \"t3\" {\n    Real r\n}\n"
                     "node x \"t4\" {\n    Array<Real> l = [1, 2, 3]\n}\n",
                     "t");
        const Output output = m_scene["s"].output("o");
        const Input list = m_scene["t4"]["l"];
        for (const Input& input :
             {m_scene["t3"]["r"], m_scene["t1"]["r"], list.input(2), m_scene["t2"]["r"],
              list.input(0), m_scene["t2"]["q"], list.input(1)})
            input.connect(output);
        m_scene.setUndoEnabled(true);
    }
    std::string targets() {
        const Node source = m_scene["s"];
        std::string all;
        if (!source || !source->hasOutput(u64(0), AttrType::Null)) return all;
        const Output output = source.output(u64(0));
        for (u64 i = 0; i < output->targetCount(); ++i)
            all += std::string(output->target(i)->path().buf()) + " ";
        return all;
    }

    tests::LogCapture m_log;
    Scene m_scene = Scene::create();
};

TEST_F(TargetOrder, ComesBackWhateverEndedTheConnections) {
    const std::function<void()> edits[] = {
        [&] { m_scene.removeNode(m_scene["t2"]); },
        [&] { m_scene.removeNode(m_scene["t1"]), m_scene.removeNode(m_scene["t3"]); },
        [&] { m_scene.removeNode(m_scene["s"]); },
        [&] { m_scene->clear(); },
        [&] { m_scene["t2"].convertTo("other"); },
        [&] { m_scene["s"].convertTo("other"), m_scene["t1"].convertTo("other"); },
        [&] { m_scene["t2"]->clearInputs(); },
        [&] { m_scene["t4"].removeInput("l"); },
        [&] { m_scene["t4"]["l"]->removeInput(u64(1)); },
        [&] { m_scene["t4"]["l"]->clearInputs(); },
        [&] { m_scene["t4"]["l"]->moveElement(0, 2); },
        [&] { m_scene["s"]->clearOutputs(); },
        [&] { m_scene["t1"]["r"]->disconnect(), m_scene["t2"]["q"]->disconnect(); },
        [&] { m_scene["t2"]["r"].connect(m_scene["u"].output("o")); },
        [&] { m_scene["t2"].clone(true); },
    };
    const std::string before = targets();
    ASSERT_EQ(before, "t3.r t1.r t4.l[2] t2.r t4.l[0] t2.q t4.l[1] ");
    for (const auto& edit : edits) {
        const auto index = &edit - edits;
        edit();
        const std::string after = targets();
        for (int round = 0; round < 2; ++round) {
            while (m_scene.undo()) {
            }
            EXPECT_EQ(targets(), before) << "edit " << index << " undone";
            while (m_scene.redo()) {
            }
            EXPECT_EQ(targets(), after) << "edit " << index << " redone";
        }
        while (m_scene.undo()) {
        }
        Scene::UndoScope scope(m_scene, "", "");
        edit();
        scope.cancel();
        EXPECT_EQ(targets(), before) << "edit " << index << " cancelled";
        EXPECT_TRUE(m_scene.verify().empty());
    }
}

} // namespace
} // namespace qv::kelvo_sdk
