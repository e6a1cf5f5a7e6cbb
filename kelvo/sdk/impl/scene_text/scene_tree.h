#pragma once

#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/text/name_pool.h"
#include "kelvo/sdk/impl/value/attr_data.h"

#include <string_view>
#include <vector>

// The contents of a scene text, read and not yet checked as a whole: plain records that refer to
// each other by position. Nothing here touches a scene.
namespace qv::kelvo_sdk::impl {

class Input;
class Node;

inline constexpr u32 noTreeIndex = ~u32{0};

/// Kind of an attribute as it stands in text.
struct TreeKind {
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    /// Element type of the buffer that the value is.
    DataType dataType = DataType::Null;
    /// As the text has it; empty for an element that does not name its kind.
    std::string_view text = {};
};

/// Parts that few inputs have.
struct TreeExtras {
    Comments comments;
    RefersTo<AttrDetails> details;
    Value stash;
    bool stashed = false;
    /// The value may be outside of what the details describe.
    bool isUnchecked = false;
    /// See `Comments`.
    String lostLink = {};
    String lostSource = {};
};

/// Whether adding and removing an input goes unannounced: by default as for what holds it.
enum class TreeSilence : u8 { Inherited, Silent, Announced };

struct TreeInput {
    /// Where it stands, for messages.
    u64 offset = 0;
    /// Null when the text gives none. Buffers move from here into the input.
    Value value;
    u32 name = noTreeIndex;
    u32 nextSibling = noTreeIndex;
    u32 firstMember = noTreeIndex;
    u32 memberCount = 0;
    u32 extras = noTreeIndex;
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    /// The element type that a buffer, or each buffer inside, is bound to.
    DataType boundType = DataType::Null;
    TreeSilence silent = TreeSilence::Inherited;
    bool readOnly = false;
    /// Another of the same name and kind stands before, and that is meant.
    bool isAgain = false;
    /// The text is complete: no note and no member comes from the definition.
    bool isOwn = false;
    /// Set when the input is made: how the text marks a value that its limits do not allow.
    Comments::Unchecked unchecked = Comments::Unchecked::Open;
    /// Where the definition of what holds it has the name, and, when the kinds agree, the input
    /// there. For elements neither.
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
    /// The text has it from the definition.
    bool isLeftOut = false;
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
    /// The prototype of its type, null when nobody knows that.
    const Node* definition = nullptr;
};

/// The part of an input that a link is.
enum class TreeSlot : u8 { Value, Stash, Default, Minimum, Maximum, Choice };

/// A node named as a value.
struct TreeLink {
    u64 offset = 0;
    u32 node = 0;
    u32 input = 0;
    u32 name = 0;
    u32 choice = 0;
    TreeSlot slot = TreeSlot::Value;
    /// One of these is set by the check: a node of the text, or one of the scene.
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
    /// Which of several outputs of exactly this name, counted from 1.
    u32 ordinal = 1;
    /// Set by the check: a node of the text and one of all outputs of the text, or an output of the
    /// scene.
    u32 target = noTreeIndex;
    u32 output = noTreeIndex;
    interfaces::IOutput* known = nullptr;
};

struct SceneTree {
    NamePool names;
    std::vector<TreeNode> nodes;
    std::vector<TreeInput> inputs;
    std::vector<TreeOutput> outputs;
    std::vector<TreeExtras> extras;
    std::vector<u32> bases;
    std::vector<TreeLink> links;
    std::vector<TreeConnection> connections;
    Comments file;
    // By folded name.
    std::vector<u32> nodesByName;

    /// Returns the node of that name without regard to case, `noTreeIndex` when there is none.
    [[nodiscard]] u32 findNode(u32 name) const {
        const u32 folded = names.folded(name);
        return folded < nodesByName.size() ? nodesByName[folded] : noTreeIndex;
    }
    [[nodiscard]] const String& nodeName(u32 node) const { return names.text(nodes[node].name); }
    [[nodiscard]] const TreeExtras* extrasOf(u32 index) const {
        return index != noTreeIndex ? &extras[index] : nullptr;
    }
    /// Tells whether the notes of an input are its definition's.
    [[nodiscard]] bool takesNotes(const TreeInput& input) const {
        const TreeExtras* own = extrasOf(input.extras);
        return input.definition && !input.isOwn && !(own && own->details);
    }
};

} // namespace qv::kelvo_sdk::impl
