#pragma once

#include "kelvo/sdk/impl/scene_text/scene_tree.h"

#include <vector>

// The parts of definition text that scene text lacks: records beside a scene tree, whose nodes
// stand for the types.
namespace qv::kelvo_sdk::impl {

/// A label or help text, or the icon, and the comments around its line.
struct KndText {
    String language;
    String text;
    Comments comments;
};

struct KndGroup {
    /// Empty for inputs directly on the page.
    String name;
    AttrDetails::Texts labels;
    struct Item {
        u64 offset = 0;
        u32 name = noTreeIndex;
    };
    std::vector<Item> inputs;
};

struct KndPage {
    String name;
    AttrDetails::Texts labels;
    std::vector<KndGroup> groups;
    Comments comments;
};

struct KndBase {
    u64 offset = 0;
    u32 name = noTreeIndex;
};

struct KndTreeType {
    std::vector<KndBase> bases;
    std::vector<KndText> labels;
    std::vector<KndText> helps;
    std::vector<KndPage> pages;
    KndText icon;
    bool hasIcon = false;
    /// The range of the type's inputs in the tree, at any depth.
    u32 firstTreeInput = 0;
    u32 endOfInputs = 0;
};

struct KndTree : SceneTree {
    /// Indexed by the position of the node.
    std::vector<KndTreeType> types;
};

} // namespace qv::kelvo_sdk::impl
