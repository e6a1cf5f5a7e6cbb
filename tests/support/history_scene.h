#pragma once

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/scene.h"

#include <string>

namespace qv::tests {

/// A scene that records its steps, with a node and an input to change.
class HistoryScene {
protected:
    HistoryScene() {
        m_node = node("lamp");
        m_radius = m_node->createInput("radius", kelvo_sdk::AttrType::Real);
        m_scene.setUndoEnabled(true);
    }

    kelvo_sdk::impl::Node* node(const char* name) {
        return static_cast<kelvo_sdk::impl::Node*>(m_scene.createNode("thing", name).get());
    }
    double radius() const {
        double value = -1;
        m_radius->readReal(value, false, nullptr);
        return value;
    }
    std::string doText(u64 index = 0) const { return m_scene.undoStep(index).doText.buf(); }
    std::string undoText(u64 index = 0) const { return m_scene.undoStep(index).undoText.buf(); }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::impl::Node* m_node = nullptr;
    kelvo_sdk::interfaces::IInput* m_radius = nullptr;
};

} // namespace qv::tests
