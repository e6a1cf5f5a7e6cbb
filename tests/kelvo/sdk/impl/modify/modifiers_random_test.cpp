// After random edits, the modified values equal those of the same text read afresh.

#include "tests/support/modified_scene.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::ModifiedScene;

// Edits a scene of lamps, modifiers and numbers that modify and connect to each other.
class RandomEdits {
public:
    explicit RandomEdits(unsigned seed) : m_random(seed), scene("kelvo scene 1\n") {
        for (const char* type : {"realValue", "offsetModifier", "scaleModifier", "realValue",
                                 "offsetModifier", "realValue", "realValue"}) {
            const auto node = scene.scene.createNode(type, "n");
            node.createArray("modifiers", AttrType::Node);
            if (node.isTypeOf("modifier")) node["modifies"].set(String("value"));
        }
    }
    void edit() {
        const auto node = any();
        switch (m_random() % 8) {
        case 0:
            if (node.isTypeOf("modifier"))
                node["modifies"].set(String(m_random() % 2 ? "value" : "value,factor,amount"));
            break;
        case 1:
            return addModifier(node);
        case 2:
            if (node["modifiers"].inputCount() > 0) node["modifiers"]->removeInput(u64(0));
            break;
        case 3:
            if (auto input = number(node)) connect(input);
            break;
        case 4:
            if (node.isTypeOf("modifier")) node["enabled"].set(m_random() % 2 == 0);
            break;
        default:
            if (auto input = number(node)) input.set(double(m_random() % 5));
        }
    }
    /// Only a later node modifies: without loops, the order of modifiers does not matter.
    void addModifier(const kelvo_sdk::Node& node) {
        const auto modifier = any();
        if (modifier.isTypeOf("modifier") && isBefore(node, modifier))
            node["modifiers"].append().set(modifier);
    }

private:
    [[nodiscard]] kelvo_sdk::Node any() { return scene.scene.node(m_random() % 7); }
    [[nodiscard]] bool isBefore(const kelvo_sdk::Node& a, const kelvo_sdk::Node& b) const {
        for (u64 i = 0; scene.scene.node(i) != b; ++i)
            if (scene.scene.node(i) == a) return true;
        return false;
    }
    static kelvo_sdk::Input number(const kelvo_sdk::Node& node) {
        for (const char* name : {"value", "factor", "amount"})
            if (node->hasInput(name, AttrType::Real)) return node[name];
        return {};
    }
    void connect(const kelvo_sdk::Input& input) {
        const auto source = any();
        const bool isValue = source->hasOutput("result", AttrType::Real);
        if (isValue && isBefore(kelvo_sdk::Node(input.node()), source))
            input.connect(source.output("result"));
        else
            input.disconnect();
    }

    std::minstd_rand m_random;

public:
    ModifiedScene scene;
};

std::string valuesOf(const kelvo_sdk::Scene& scene) {
    std::string text;
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        for (const char* name : {"value", "factor", "amount"})
            if (scene.node(i)->hasInput(name, AttrType::Real))
                text += std::string(scene.node(i)[name].path().buf()) + "=" +
                        scene.node(i)[name].asString(false, nullptr).buf() + "\n";
    return text;
}

TEST(SceneModifiersAtRandom, ValuesAreThoseOfTheTextReadAfresh) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        RandomEdits edits(seed);
        for (int i = 0; i < 60; ++i) {
            edits.edit();
            const std::string text = tests::textOf(edits.scene.scene);
            const ModifiedScene again(text);
            ASSERT_EQ(valuesOf(again.scene), valuesOf(edits.scene.scene)) << seed << "\n" << text;
            ASSERT_EQ(tests::textOf(again.scene), text);
        }
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
