// Builds the inputs and outputs of a node from their descriptions in a text.

#include "kelvo/sdk/impl/scene_text/scene_builder.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"

#include <tuple>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

bool isSilent(TreeSilence silence, bool inherited) {
    return silence == TreeSilence::Inherited ? inherited : silence == TreeSilence::Silent;
}

// Without limits, whether the mark is needed remains unknown.
Comments::Unchecked markOf(const AttrData& data, const TreeExtras* extras) {
    using Unchecked = Comments::Unchecked;
    const bool isSaid = extras && extras->isUnchecked;
    const bool hasLimits = data.details && !data.value.isNull() && data.type != AttrType::Node;
    if (!hasLimits) return isSaid ? Unchecked::Said : Unchecked::Open;
    if (data.details->accepts(data.value)) return Unchecked::Open;
    return isSaid ? Unchecked::Said : Unchecked::Unsaid;
}

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
    AttrData data = dataOf(from, parent);
    TreeExtras* extras = from.extras != noTreeIndex ? &m_tree.extras[from.extras] : nullptr;
    from.unchecked = markOf(data, extras);
    auto input = RefersTo<Input>::adopt(new Input(&node, parent, std::move(name), std::move(data)));
    m_inputs[index] = input.get();
    if (extras && extras->stashed) input->replaceStash(std::move(extras->stash), {});
    if (from.type == AttrType::Array || from.type == AttrType::Object)
        unfilled.push_back({index, input.get()});
    return input;
}

AttrData SceneBuilder::dataOf(TreeInput& from, const Input* parent) const {
    const Input* definition = m_tree.takesNotes(from) ? from.definition : nullptr;
    AttrData data(from.type);
    data.elementType = from.elementType;
    data.dataType = from.boundType;
    if (parent && parent->type() == AttrType::Array) data.dataType = parent->declaredType();
    data.silent =
        isSilent(from.silent, definition ? definition->isSilent() : parent && parent->isSilent());
    data.readOnly = from.readOnly || (definition && definition->hasReadOnlyMark());
    // Links stay in the tree, because making them reads these values again.
    if (from.type == AttrType::Node)
        data.value = from.value;
    else
        data.value = std::move(from.value);
    if (definition) {
        data.details = RefersTo<AttrDetails>(const_cast<AttrDetails*>(definition->details()));
        if (data.value.isNull()) data.value = definition->value();
    } else if (const TreeExtras* extras = m_tree.extrasOf(from.extras)) {
        data.details = extras->details;
    }
    return data;
}

} // namespace qv::kelvo_sdk::impl
