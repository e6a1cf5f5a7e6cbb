#pragma once

#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/scene_text/tree_list.h"
#include "kelvo/sdk/impl/text/name_pool.h"
#include "kelvo/sdk/impl/value/attr_data.h"

#include <string_view>
#include <vector>

// The contents of a scene text, read but not yet checked as a whole: plain records that refer to
// each other by position. Nothing here touches a scene.
namespace qv::kelvo_sdk::impl {

class Input;
class Node;

inline constexpr u32 noTreeIndex = ~u32{0};

/// The kind of an attribute in the text.
struct TreeKind {
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    /// The element type if the value is a buffer.
    DataType dataType = DataType::Null;
    /// The text of the kind; empty for an element that does not state it.
    std::string_view text = {};
};

/// Parts that few inputs have.
struct TreeExtras {
    Comments comments;
    RefersTo<AttrDetails> details;
    Value stash;
    bool stashed = false;
    /// Marks the value as allowed to be outside of the limits in the details.
    bool isUnchecked = false;
    /// See `Comments`.
    String lostLink = {};
    String lostSource = {};
};

/// Whether adding and removing an input goes without notifications; by default as for its parent.
enum class TreeSilence : u8 { Inherited, Silent, Announced };

struct TreeInput {
    /// Offset in the text, for messages.
    u64 offset = 0;
    /// Null when the text has none. Buffers are moved from here into the input.
    Value value;
    u32 name = noTreeIndex;
    u32 nextSibling = noTreeIndex;
    u32 firstMember = noTreeIndex;
    u32 memberCount = 0;
    u32 extras = noTreeIndex;
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    /// The element type to which the buffer, or each buffer inside, is bound.
    DataType boundType = DataType::Null;
    TreeSilence silent = TreeSilence::Inherited;
    bool readOnly = false;
    /// Marked as a repetition: an earlier attribute has the same name and kind, on purpose.
    bool isAgain = false;
    /// The text is complete: no annotation and no member comes from the definition.
    bool isOwn = false;
    /// Set when the input is made: how the text marks a value outside its limits.
    Comments::Unchecked unchecked = Comments::Unchecked::Open;
    /// The position of the name in the definition of the parent and, when the kinds agree, the
    /// input there. Elements have neither.
    u32 definitionIndex = noTreeIndex;
    const Input* definition = nullptr;
};

struct TreeOutput {
    u64 offset = 0;
    u32 name = noTreeIndex;
    AttrType type = AttrType::Null;
    DataType dataType = DataType::Null;
    u32 extras = noTreeIndex;
    bool isAgain = false;
    /// The text omits the output, which comes from the definition.
    bool isOmitted = false;
};

struct TreeNode {
    u64 offset = 0;
    u32 name = noTreeIndex;
    u32 type = noTreeIndex;
    u32 firstInput = noTreeIndex;
    u32 inputCount = 0;
    u32 firstOutput = 0;
    u32 outputCount = 0;
    u32 firstBase = 0;
    u32 baseCount = 0;
    u32 extras = noTreeIndex;
    bool isAbstract = false;
    bool isInternal = false;
    /// The text is complete: no base, flag or attribute comes from the definition.
    bool isOwn = false;
    /// The prototype of the type, null when no library has it.
    const Node* definition = nullptr;
};

/// The place of a link in an input.
enum class TreeSlot : u8 { Value, Stash, Default, Minimum, Maximum, Choice };

/// A node named as a value.
struct TreeLink {
    u64 offset = 0;
    u32 node = 0;
    u32 input = 0;
    u32 name = 0;
    u32 choice = 0;
    TreeSlot slot = TreeSlot::Value;
    /// The check sets one of these: a node of the text, or one of the scene.
    u32 target = noTreeIndex;
    interfaces::INode* known = nullptr;
};

/// An output named as the source of an input.
struct TreeConnection {
    u64 offset = 0;
    u32 node = 0;
    u32 input = 0;
    u32 sourceNode = 0;
    u32 sourceOutput = 0;
    /// The number of the output among those of exactly this name, from 1.
    u32 ordinal = 1;
    /// The check sets a node of the text and its output, or an output of the scene.
    u32 target = noTreeIndex;
    u32 output = noTreeIndex;
    interfaces::IOutput* known = nullptr;
};

struct SceneTree {
    NamePool names;
    std::vector<TreeNode> nodes;
    TreeList<TreeInput> inputs;
    std::vector<TreeOutput> outputs;
    std::vector<TreeExtras> extras;
    std::vector<u32> bases;
    std::vector<TreeLink> links;
    std::vector<TreeConnection> connections;
    Comments file;
    // Indexed by folded name.
    std::vector<u32> nodesByName;

    /// Returns the node of that name, regardless of case; `noTreeIndex` when there is none.
    [[nodiscard]] u32 findNode(u32 name) const {
        const u32 folded = names.folded(name);
        return folded < nodesByName.size() ? nodesByName[folded] : noTreeIndex;
    }
    /// Remembers a node by its name, which no other node has.
    void knowNode(u32 name, u32 node) {
        const u32 folded = names.folded(name);
        if (folded >= nodesByName.size()) nodesByName.resize(names.size(), noTreeIndex);
        nodesByName[folded] = node;
    }
    [[nodiscard]] const String& nodeName(u32 node) const { return names.text(nodes[node].name); }
    [[nodiscard]] const TreeExtras* extrasOf(u32 index) const {
        return index != noTreeIndex ? &extras[index] : nullptr;
    }
    /// Returns the extras of a node or attribute, made if there are none.
    TreeExtras& extrasAt(u32& index) {
        if (index != noTreeIndex) return extras[index];
        index = static_cast<u32>(extras.size());
        return extras.emplace_back();
    }
    /// Tells whether an input takes its annotations from its definition.
    [[nodiscard]] bool takesNotes(const TreeInput& input) const {
        const TreeExtras* own = extrasOf(input.extras);
        return input.definition && !input.isOwn && !(own && own->details);
    }
};

} // namespace qv::kelvo_sdk::impl
