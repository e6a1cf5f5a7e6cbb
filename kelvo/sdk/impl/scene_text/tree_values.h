#pragma once

#include "kelvo/sdk/impl/scene_text/scene_tree.h"

namespace qv::kelvo_sdk::impl {

/// The parts of an array, object or node that an input in it takes over. For an input of a node:
/// the defaults.
struct TreeParent {
    bool isArray = false;
    bool isSilent = false;
    /// The element type that buffers in it declare.
    DataType declaredType = DataType::Null;
};

/// Returns the data for making an input of a text. Moves its value out of the tree, unless it is a
/// link, because making links needs it again. `parent` is around the input.
[[nodiscard]] AttrData takeData(const SceneTree& tree, TreeInput& from, const TreeParent& parent);

/// Tells how a text marks a value outside of the limits. `extras` may be null.
[[nodiscard]] Comments::Unchecked uncheckedMark(const AttrData& data, const TreeExtras* extras);

/// Returns the comments of a node or input of a text, with the marks that only texts need.
template<typename Thing>
[[nodiscard]] Comments textComments(const SceneTree& tree, const Thing& from,
                                    Comments::Unchecked unchecked) {
    const TreeExtras* const extras = tree.extrasOf(from.extras);
    Comments made = extras ? extras->comments : Comments();
    made.isOwn = from.isOwn;
    made.unchecked = unchecked;
    if (extras) {
        made.lostLink = extras->lostLink;
        made.lostSource = extras->lostSource;
    }
    return made;
}

} // namespace qv::kelvo_sdk::impl
