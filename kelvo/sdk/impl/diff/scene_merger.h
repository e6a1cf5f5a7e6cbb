#pragma once

#include "kelvo/sdk/impl/diff/link_restorer.h"
#include "kelvo/sdk/scene_diff.h"

namespace qv::kelvo_sdk::impl {

/// The nodes of a document by name.
class NodePlaces {
public:
    NodePlaces() = default;
    explicit NodePlaces(const SceneDocument& document);

    /// Returns null for none.
    [[nodiscard]] const DocNode* find(std::string_view name) const;
    /// Tells whether the output of a path like "wood.color:2" is listed.
    [[nodiscard]] bool listsOutput(std::string_view path) const;

private:
    std::unordered_map<std::string_view, const DocNode*> m_nodes;
};

/// Merges what two sides made of a document.
///
///     Nodes     scene_merger.cpp            names, nodes, fields
///     Lists     scene_merger_lists.cpp      attributes, order
///     Elements  scene_merger_elements.cpp   of arrays
///     Removals  scene_merger_removals.cpp   what one side removed and the other goes on with
///     Links     scene_merger_links.cpp      references to what is not there in the end
///
/// A change by one side wins over no change by the other; different changes to the same thing are a
/// conflict.
class SceneMerger {
public:
    /// Borrows all and renames nodes in them: what one side renamed has its new name in all.
    SceneMerger(SceneDocument& base, SceneDocument& mine, SceneDocument& theirs,
                const MergeOptions& options)
        : m_base(base), m_mine(mine), m_theirs(theirs), m_options(options) {}

    /// The result refers to texts of the documents and of this.
    SceneDocument run();
    [[nodiscard]] std::vector<MergeConflict> takeConflicts() { return std::move(m_conflicts); }

private:
    using List = std::vector<DocAttr>;
    // One thing as the three have it.
    template<typename Item>
    struct Versions {
        const Item* base = nullptr;
        const Item* mine = nullptr;
        const Item* theirs = nullptr;
    };
    struct Text {
        std::string_view base;
        std::string_view mine;
        std::string_view theirs;
    };

    // ---- Nodes -----------------------------------------------------------------------------

    void unifyNames();
    void mergeNodes();
    DocNode mergeNode(const Versions<DocNode>& node);
    std::string_view mergeText(const std::string& path, const char* field, const Text& text);
    const DocComments* mergeComments(const std::string& path, const DocComments& base,
                                     const DocComments& mine, const DocComments& theirs);
    void conflict(const std::string& path, std::string_view field, std::optional<String> base,
                  std::optional<String> mine, std::optional<String> theirs, String reason = {});
    void mark(const DocComments*& comments);
    [[nodiscard]] bool takesTheirs() const noexcept {
        return m_options.preferred == MergeSide::Theirs;
    }

    // ---- Lists -----------------------------------------------------------------------------

    List mergeLists(const std::string& path, const Versions<List>& lists, bool isOutput);
    DocAttr mergeAttr(const std::string& path, const Versions<DocAttr>& attr, bool isOutput);
    void mergeKind(const std::string& path, const Versions<DocAttr>& attr, DocAttr& made);
    std::vector<DocNote> mergeNotes(const std::string& path, const Versions<DocAttr>& attr);
    static void takeNotesOfKind(const DocAttr& from, std::vector<DocNote>& notes);
    template<typename Item>
    bool isRemoved(const std::string& path, const Versions<Item>& item, const Item*& kept);
    std::vector<std::string> mergeOrder(const std::string& path,
                                        const Versions<std::vector<std::string>>& keys,
                                        const std::unordered_map<std::string, u64>& kept);

    // ---- Elements --------------------------------------------------------------------------

    List mergeElements(const std::string& path, const Versions<DocAttr>& array);
    List mergeLinks(const std::string& path, const Versions<DocAttr>& array);
    List mergeStretches(const std::string& path, const Versions<DocAttr>& array);
    void mergeStretch(const std::string& path, const Versions<List>& stretch, List& made);

    // ---- Removals --------------------------------------------------------------------------

    // A side, and the other one, which removed some of what it has.
    struct Sides {
        const SceneDocument& having;
        const NodePlaces& havingNodes;
        SceneDocument& removing;
        const NodePlaces& removingNodes;
        MergeSide side;
    };
    void settleRemovals(const Sides& sides);
    [[nodiscard]] DocNames removedNames(const NodePlaces& nodes);
    void claimChanged(const Sides& sides, const DocNames& removed);
    void claimTargets(const Sides& sides, const DocNames& removed);
    [[nodiscard]] std::string_view claimOn(const DocAttr& attr, const DocAttr& base) const;
    [[nodiscard]] std::string_view claimOn(const DocNode& node, const DocNode& base) const;

    // ---- Links -----------------------------------------------------------------------------

    void checkLinks(SceneDocument& document);
    void checkLinks(const std::string& path, DocAttr& attr, bool isElement);
    void checkNotes(const std::string& path, DocAttr& attr);
    [[nodiscard]] bool isCut(const DocAttr& element) const;
    void checkLink(const std::string& path, std::string_view field, std::string_view name,
                   std::string_view& text, std::string_view instead);
    [[nodiscard]] bool lacksOutput(std::string_view path) const;

    SceneDocument& m_base;
    SceneDocument& m_mine;
    SceneDocument& m_theirs;
    const MergeOptions m_options;
    SceneDocument m_made;
    std::vector<MergeConflict> m_conflicts;
    // Comment lines for the next thing that may have some.
    std::string m_marks;
    // The same for nodes whose name is in conflict.
    std::unordered_map<std::string_view, std::string> m_nameMarks;
    // Nodes, and outputs as "wood.color", that one side removed while the other did this to them.
    std::unordered_map<std::string_view, std::string_view> m_claims;
    NodePlaces m_baseNodes;
    NodePlaces m_mineNodes;
    NodePlaces m_theirNodes;
    NodePlaces m_madeNodes;
};

/// Returns the texts with commas between them.
[[nodiscard]] String joined(const std::vector<std::string>& texts);

} // namespace qv::kelvo_sdk::impl
