// Builds the inputs and outputs of a node from their descriptions in a text.

#include "kelvo/sdk/impl/scene_text/scene_builder.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/scene_text/tree_values.h"

#include <tuple>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

void markOmitted(Input& input) {
    input.setOmitted(true);
    InputWalk members(input.members());
    while (Input* member = members.next())
        member->setOmitted(true);
}

} // namespace

void SceneBuilder::makeInputs(const TreeNode& from, Node& node) {
    const bool isFilled = from.definition && !from.isOwn;
    std::vector<Unfilled> unfilled;
    addInputs(from.firstInput, isFilled ? from.definition->inputs() : noInputs, node, nullptr,
              unfilled, [&](RefersTo<Input> input) { node.append(std::move(input), {}); });
    // A list instead of recursion: nested containers take no stack.
    while (!unfilled.empty()) {
        const Unfilled next = unfilled.back();
        unfilled.pop_back();
        makeMembers(m_tree.inputs[next.from], node, *next.input, unfilled);
    }
}

void SceneBuilder::makeMembers(const TreeInput& from, Node& node, Input& parent,
                               std::vector<Unfilled>& unfilled) {
    const bool isFilled =
        from.definition && !from.isOwn && from.definition->type() == AttrType::Object;
    const auto& known = isFilled ? from.definition->members() : noInputs;
    if (from.memberCount == 0 && known.empty()) return;
    parent.reserveMembers(from.memberCount, {});
    addInputs(from.firstMember, known, node, &parent, unfilled,
              [&](RefersTo<Input> input) { parent.adoptMember(std::move(input), {}); });
}

// Adds the inputs of a list of the text, and the omitted ones of its definition at their places
// among them.
template<typename Add>
void SceneBuilder::addInputs(u32 first, const ds::Vector<IInput*>& known, Node& node, Input* parent,
                             std::vector<Unfilled>& unfilled, const Add& add) {
    std::vector<bool> isInText(known.size());
    for (u32 i = known.empty() ? noTreeIndex : first; i != noTreeIndex;
         i = m_tree.inputs[i].nextSibling)
        if (const u32 place = m_tree.inputs[i].definitionIndex; place != noTreeIndex)
            isInText[place] = true;
    u64 next = 0;
    const auto addUpTo = [&](u64 end) {
        for (; next < end; ++next) {
            if (isInText[next]) continue;
            const auto& definition = implOf(*known[next]);
            auto copy = RefersTo<Input>::adopt(implOf(definition.clone(&node, parent)));
            markOmitted(*copy);
            add(std::move(copy));
        }
    };
    for (u32 i = first; i != noTreeIndex; i = m_tree.inputs[i].nextSibling) {
        const u32 place = m_tree.inputs[i].definitionIndex;
        if (!known.empty() && place != noTreeIndex) addUpTo(place);
        add(makeInput(i, node, parent, unfilled));
    }
    addUpTo(known.size());
}

RefersTo<Input> SceneBuilder::makeInput(u32 index, Node& node, Input* parent,
                                        std::vector<Unfilled>& unfilled) {
    TreeInput& from = m_tree.inputs[index];
    const bool isElement = parent && parent->type() == AttrType::Array;
    String name = isElement ? String() : m_tree.names.text(from.name);
    const TreeParent around = parent ? TreeParent{.isArray = isElement,
                                                  .isSilent = parent->isSilent(),
                                                  .declaredType = parent->declaredType()}
                                     : TreeParent();
    AttrData data = takeData(m_tree, from, around);
    TreeExtras* extras = from.extras != noTreeIndex ? &m_tree.extras[from.extras] : nullptr;
    from.unchecked = uncheckedMark(data, extras);
    auto input = RefersTo<Input>::adopt(new Input(&node, parent, std::move(name), std::move(data)));
    m_inputs[index] = input.get();
    if (extras && extras->stashed) input->replaceStash(std::move(extras->stash), {});
    if (from.type == AttrType::Array || from.type == AttrType::Object)
        unfilled.push_back({index, input.get()});
    return input;
}

} // namespace qv::kelvo_sdk::impl
