#pragma once

#include "tests/support/known_rows.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::tests {

using kelvo_sdk::AttrType;
using kelvo_sdk::impl::CompactGraph;
using kelvo_sdk::impl::GraphReader;
using kelvo_sdk::impl::LeadKind;
using kelvo_sdk::impl::Spot;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

inline std::string faultsOf(const kelvo_sdk::Scene& scene) {
    std::string text;
    for (const auto& fault : scene.verify())
        text += std::string(fault.place.buf()) + " " + fault.message.buf() + "\n";
    return text;
}

// A room with two children; the lamp of the two reads the desk's output and links to the room.
class WalkedScene : public testing::Test {
protected:
    WalkedScene() {
        INode* list = m_room.get();
        list->createArray("children", AttrType::Node);
        m_lamp->createOutput("out", AttrType::Real);
        m_desk->createOutput("out", AttrType::Real);
        for (const kelvo_sdk::Node& child : {m_lamp, m_desk})
            children()->appendElement()->setNode(child.get());
        m_power = m_lamp->createInput("power", AttrType::Real);
        m_power->connect(m_desk->output(u64(0)));
        m_home = m_lamp->createInput("box", AttrType::Object)
                     ->createInput(String("home"), AttrType::Node);
        m_home->setNode(m_room.get());
    }

    [[nodiscard]] IInput* children() const { return m_room.get()->input(u64(0)); }
    [[nodiscard]] static const kelvo_sdk::impl::Node& implOn(const kelvo_sdk::Node& node) {
        return *kelvo_sdk::impl::implOf(node.get());
    }
    // The names of those that a node leads to, connections with a mark.
    [[nodiscard]] static std::string leads(const kelvo_sdk::Node& from, LeadKind kind) {
        const kelvo_sdk::impl::Node& node = implOn(from);
        const GraphReader reader(&node);
        std::string names;
        reader.forEachLead(reader.spotOf(node), kind, [&](Spot next, bool isConnection) {
            names += nameOf(reader, next, isConnection);
        });
        return names;
    }
    [[nodiscard]] static std::string leadsBackward(const kelvo_sdk::Node& from, LeadKind kind) {
        const kelvo_sdk::impl::Node& node = implOn(from);
        const GraphReader reader(&node);
        std::string names;
        reader.forEachLeadBackward(reader.spotOf(node), kind, [&](Spot next, bool isConnection) {
            names += nameOf(reader, next, isConnection);
        });
        return names;
    }
    [[nodiscard]] static std::string nameOf(const GraphReader& reader, Spot spot,
                                            bool isConnection) {
        return std::string(reader.nodeAt(spot).name().buf()) + (isConnection ? "! " : " ");
    }
    [[nodiscard]] bool isKnown(const kelvo_sdk::Node& node, LeadKind kind) const {
        return implOn(node).sceneAround()->graph().row(kind, implOn(node).number()) != nullptr;
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node m_room = m_scene.createNode("xform", "room");
    kelvo_sdk::Node m_lamp = m_scene.createNode("light", "lamp");
    kelvo_sdk::Node m_desk = m_scene.createNode("mesh", "desk");
    IInput* m_power = nullptr;
    IInput* m_home = nullptr;
};

} // namespace qv::tests
