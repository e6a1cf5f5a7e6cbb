#include "kelvo/sdk/impl/scene_text/scene_binder.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// Tells whether the input's value, if it has one, fits a buffer of this type.
bool takesType(const TreeInput& input, DataType type) {
    if (input.type != AttrType::Buffer) return input.type == AttrType::Array;
    if (input.value.isNull()) return true;
    const Buffer& buffer = input.value.asBuffer();
    return buffer.type() == type || buffer.type() == DataType::Null;
}

} // namespace

SceneBinder::SceneBinder(SceneTree& tree, const Scene& scene) : m_tree(tree), m_scene(scene) {}

void SceneBinder::bind() {
    std::vector<TreeOutput> outputs;
    outputs.reserve(m_tree.outputs.size());
    for (TreeNode& node : m_tree.nodes) {
        node.definition = node.type != noTreeIndex ? findType(node.type) : nullptr;
        if (node.definition) bindInputs(node);
        addOutputs(node, outputs);
    }
    m_tree.outputs = std::move(outputs);
}

const Node* SceneBinder::findType(u32 type) {
    if (type >= m_known.size()) m_known.resize(m_tree.names.size());
    Known& known = m_known[type];
    if (!known.isLookedUp) known = {true, m_scene.findType(m_tree.names.text(type))};
    return known.definition;
}

void SceneBinder::bindInputs(const TreeNode& node) {
    bindList(node.firstInput, *node.definition, node.definition->inputs());
    while (!m_open.empty()) {
        const TreeInput& object = m_tree.inputs[m_open.back()];
        m_open.pop_back();
        bindList(object.firstMember, *object.definition, object.definition->members());
    }
}

// Inputs of the text usually follow the order of the definition, so the search starts there.
template<typename Holder>
void SceneBinder::bindList(u32 first, const Holder& parent,
                           const ds::Vector<interfaces::IInput*>& known) {
    u64 next = 0;
    for (u32 i = first; i != noTreeIndex; i = m_tree.inputs[i].nextSibling) {
        const String& name = m_tree.names.text(m_tree.inputs[i].name);
        const auto isNamed = [&](u64 at) {
            return implOf(known[at])->ownName().equalsNoCase(name);
        };
        if (next >= known.size() || !isNamed(next)) {
            const interfaces::IInput* found = parent.lookUpInput(name);
            if (!found) continue;
            next = static_cast<u64>(std::ranges::find(known, found) - known.begin());
        }
        m_tree.inputs[i].definitionIndex = static_cast<u32>(next);
        bindInput(i, implOf(*known[next]));
        ++next;
    }
}

// Ignores a definition of another kind: only its name agrees with the input's.
void SceneBinder::bindInput(u32 index, const Input& definition) {
    TreeInput& input = m_tree.inputs[index];
    if (input.type != definition.type()) return;
    if (input.type == AttrType::Array && input.elementType != definition.elementType()) return;
    input.definition = &definition;
    if (input.type == AttrType::Object) m_open.push_back(index);
    if (!m_tree.takesNotes(input)) return;
    const DataType declared = definition.declaredType();
    if (input.boundType == DataType::Null && takesType(input, declared)) input.boundType = declared;
}

// Moves the outputs of a node, with the omitted ones of its definition at their places among them.
void SceneBinder::addOutputs(TreeNode& node, std::vector<TreeOutput>& to) {
    const u32 first = node.firstOutput;
    const u32 count = node.outputCount;
    const bool isFilled = node.definition && !node.isOwn;
    const u64 knownCount = isFilled ? node.definition->outputs().size() : 0;
    std::vector<u64> places(count, noIndex);
    std::vector<bool> isInText(knownCount);
    for (u32 i = 0; i < count && knownCount != 0; ++i) {
        places[i] = outputIn(*node.definition, m_tree.outputs[first + i].name, i);
        if (places[i] != noIndex) isInText[places[i]] = true;
    }
    node.firstOutput = static_cast<u32>(to.size());
    u64 next = 0;
    const auto addUpTo = [&](u64 end) {
        for (; next < end; ++next) {
            if (isInText[next]) continue;
            const auto& known = implOf(*node.definition->outputs()[next]);
            to.push_back({.offset = node.offset,
                          .name = m_tree.names.add(known.ownName().view()),
                          .type = known.type(),
                          .dataType = known.dataType(),
                          .isOmitted = true});
        }
    };
    for (u32 i = 0; i < count; ++i) {
        if (places[i] != noIndex) addUpTo(places[i]);
        to.push_back(m_tree.outputs[first + i]);
    }
    addUpTo(knownCount);
    node.outputCount = static_cast<u32>(to.size()) - node.firstOutput;
}

u64 SceneBinder::outputIn(const Node& definition, u32 name, u64 guess) const {
    const String& wanted = m_tree.names.text(name);
    const auto& outputs = definition.outputs();
    const auto isNamed = [&](const interfaces::IOutput* output) {
        return implOf(output)->ownName().equalsNoCase(wanted);
    };
    if (guess < outputs.size() && isNamed(outputs[guess])) return guess;
    const auto* found = std::ranges::find_if(outputs, isNamed);
    return found == outputs.end() ? noIndex : static_cast<u64>(found - outputs.begin());
}

} // namespace qv::kelvo_sdk::impl
