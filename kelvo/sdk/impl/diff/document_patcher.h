#pragma once

#include "kelvo/sdk/impl/diff/scene_match.h"
#include "kelvo/sdk/scene_diff.h"

#include <map>

namespace qv::kelvo_sdk::impl {

/// Applies changes to a document, which it borrows; discard the document when that fails.
///
///     Places    document_patcher.cpp         resolving paths, checking changes
///     Changes   document_patcher_apply.cpp   changing references, texts and lists
///
/// Resolves all paths before the first change, because they refer to the state before the changes.
class DocumentPatcher {
public:
    explicit DocumentPatcher(SceneDocument& document);

    /// Returns false with a sentence that names the place on failure.
    bool apply(const std::vector<SceneChange>& changes, String& error);

private:
    using Action = SceneChange::Action;
    using Subject = SceneChange::Subject;
    using List = std::vector<DocAttr>;

    // An item that is added to a list, or moved within it.
    template<typename Item>
    struct Placement {
        const SceneChange* change;
        // The position of a moved item in the list; `noIndex` for an added item.
        u64 from = noIndex;
        Item item;
        std::string key;
        // The new index, for elements only.
        u64 index = 0;
    };
    template<typename Item>
    struct ListEdits {
        u64 depth = 0;
        bool holdsElements = false;
        std::vector<bool> leaves;
        std::vector<Placement<Item>> placements;
    };
    // The destination of a path.
    struct Target {
        DocNode* node = nullptr;
        u64 nodeIndex = noIndex;
        // Null for a node; an attribute is in this list at the index.
        List* list = nullptr;
        u64 index = noIndex;
        // The attribute whose list this is, null for a node.
        DocAttr* parent = nullptr;
        bool isElement = false;
        u64 depth = 0;
        std::string step;

        [[nodiscard]] DocAttr* attr() const { return list ? &(*list)[index] : nullptr; }
    };
    struct FieldEdit {
        const SceneChange* change;
        Target target;
    };

    // ---- Places ----------------------------------------------------------------------------

    bool prepare(const SceneChange& change);
    bool prepareField(const SceneChange& change);
    bool prepareNode(const SceneChange& change);
    bool prepareAttr(const SceneChange& change);
    bool prepareAddedAttr(const SceneChange& change, const Target& target);
    bool findTarget(const SceneChange& change, bool isNew, Target& target);
    bool walk(const SceneChange& change, std::string_view path, bool isNew, Target& target);
    bool enterList(const SceneChange& change, std::string_view step, Target& target);
    bool checkSubject(const SceneChange& change, const Target& target);
    bool checkText(const SceneChange& change, const char* what, const std::optional<String>& found);
    [[nodiscard]] std::optional<String> fieldOf(const SceneChange& change, const Target& target);
    [[nodiscard]] bool isKnownField(const SceneChange& change) const;
    const AttrKeys& keysOf(const List& list);
    ListEdits<DocAttr>& editsOf(const Target& target);
    bool fail(const SceneChange& change, const String& what);

    // ---- Changes ---------------------------------------------------------------------------

    bool setFields();
    bool setField(const FieldEdit& edit);
    bool setAttrField(const SceneChange& change, DocAttr& attr);
    bool setComment(const SceneChange& change, const DocComments*& comments);
    bool rebuildLists();
    bool rebuildKeyed(List& list, ListEdits<DocAttr>& edits);
    bool rebuildElements(List& list, ListEdits<DocAttr>& edits);
    bool rebuildNodes();
    template<typename Item, typename KeyOf>
    bool rebuild(std::vector<Item>& list, ListEdits<Item>& edits, const KeyOf& keyOf);
    bool checkNames();

    SceneDocument& m_document;
    std::unordered_map<std::string_view, u64> m_nodes;
    std::unordered_map<const List*, AttrKeys> m_keys;
    LinkNames m_names;
    std::vector<FieldEdit> m_fields;
    std::vector<const SceneChange*> m_sceneFields;
    std::unordered_map<List*, ListEdits<DocAttr>> m_lists;
    ListEdits<DocNode> m_nodeEdits;
    String m_error;
};

} // namespace qv::kelvo_sdk::impl
