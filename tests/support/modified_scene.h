#pragma once

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/scene_text.h"

#include <functional>
#include <string>

namespace qv::tests {

/// A scene with a node "n" whose input "a" is 1 and modified by "scale" (3) and "offset" (2), and
/// with modifiers whose callbacks the test supplies.
class ModifiedScene {
public:
    using Node = kelvo_sdk::Node;
    using INode = kelvo_sdk::interfaces::INode;
    using AttrType = kelvo_sdk::AttrType;

    static constexpr const char* text = R"(kelvo scene 1

node scaleModifier "scale" {
    String modifies = "a"
    Real factor = 3
}

node offsetModifier "offset" {
    String modifies = "a"
    Real amount = 2
}

node lamp "n" {
    Array<Node> modifiers = [scale, offset]
    Real a = 1
    Real b = 10
}
)";

    explicit ModifiedScene(std::string_view from = text) {
        scene.addLibrary(kelvo_sdk::LibInfo(&kelvo_sdk::impl::standardLibrary()));
        m_library->setCallbacks("custom", {.modify = callAction});
        EXPECT_EQ(errorsOf(from, scene), "");
    }

    [[nodiscard]] Node operator[](const char* name) const { return scene[name]; }
    [[nodiscard]] kelvo_sdk::impl::Node* get(const char* name) const {
        return static_cast<kelvo_sdk::impl::Node*>(scene[name].get());
    }
    [[nodiscard]] kelvo_sdk::impl::Input& input(const char* node, const char* name) const {
        return static_cast<kelvo_sdk::impl::Input&>(*scene[node].inputAt(name).get());
    }
    [[nodiscard]] double valueOf(const char* node, const char* name = "a") const {
        return scene[node][name].get<double>();
    }
    /// Returns the user's value.
    [[nodiscard]] double ownOf(const char* node, const char* name = "a") const {
        return input(node, name).ownValue().asReal();
    }

    /// Adds a modifier of `node` that calls `action` with it.
    Node addCustom(const char* node, std::function<bool(INode*)> action,
                   const char* modifies = "a") const {
        const Node made = scene.createNode("custom", "custom");
        auto* modifier = static_cast<kelvo_sdk::impl::Node*>(made.get());
        modifier->setBases({"modifier"}, false, false);
        modifier->initLibInfo(m_library.get());
        made.createInput("modifies", AttrType::String).set(String(modifies));
        s_action = std::move(action);
        scene[node]["modifiers"].append().set(made);
        return made;
    }

    kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();

private:
    static bool callAction(INode*, INode* other) { return !s_action || s_action(other); }

    inline static std::function<bool(INode*)> s_action;
    RefersTo<kelvo_sdk::impl::LibInfo> m_library =
        RefersTo<kelvo_sdk::impl::LibInfo>::adopt(new kelvo_sdk::impl::LibInfo);
};

} // namespace qv::tests
