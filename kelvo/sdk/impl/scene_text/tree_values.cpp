#include "kelvo/sdk/impl/scene_text/tree_values.h"

#include "kelvo/sdk/impl/graph/input.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

bool isSilent(TreeSilence silence, bool inherited) noexcept {
    return silence == TreeSilence::Inherited ? inherited : silence == TreeSilence::Silent;
}

} // namespace

AttrData takeData(const SceneTree& tree, TreeInput& from, const TreeParent& parent) {
    const Input* const definition = tree.takesNotes(from) ? from.definition : nullptr;
    AttrData data(from.type);
    data.elementType = from.elementType;
    data.dataType = parent.isArray ? parent.declaredType : from.boundType;
    data.silent = isSilent(from.silent, definition ? definition->isSilent() : parent.isSilent);
    data.readOnly = from.readOnly || (definition && definition->hasReadOnlyMark());
    if (from.type == AttrType::Node)
        data.value = from.value;
    else
        data.value = std::move(from.value);
    if (definition) {
        data.details = RefersTo<AttrDetails>(const_cast<AttrDetails*>(definition->details()));
        if (data.value.isNull()) data.value = definition->value();
    } else if (const TreeExtras* extras = tree.extrasOf(from.extras)) {
        data.details = extras->details;
    }
    return data;
}

// Without limits, whether the mark is needed remains unknown.
Comments::Unchecked uncheckedMark(const AttrData& data, const TreeExtras* extras) {
    using Unchecked = Comments::Unchecked;
    const bool isSaid = extras && extras->isUnchecked;
    const bool hasLimits = data.details && !data.value.isNull() && data.type != AttrType::Node;
    if (!hasLimits) return isSaid ? Unchecked::Said : Unchecked::Open;
    if (data.details->accepts(data.value)) return Unchecked::Open;
    return isSaid ? Unchecked::Said : Unchecked::Unsaid;
}

} // namespace qv::kelvo_sdk::impl
