#pragma once

#include "kelvo/sdk/impl/scene_text/scene_document.h"
#include "kelvo/sdk/impl/scene_text/scene_parser.h"

namespace qv::kelvo_sdk::impl {

/// The tree that a `DocumentParser` needs while it reads, and the error that ends it.
struct DocumentScratch {
    explicit DocumentScratch(std::string_view text) : errors(text, 1) {}

    SceneTree tree;
    TextErrors errors;
};

/// Takes pieces of scene text apart into records of a document. The grammar is that of
/// `SceneParser`; of values only their ends are looked for, as readers of scene text check them. A
/// function that answers false or nothing found something else.
class DocumentParser : private DocumentScratch, public SceneParser {
public:
    /// The text has to live as long as the document.
    DocumentParser(SceneDocument& document, std::string_view text);

    // The whole of the text.

    std::optional<DocNode> loneNode();
    std::optional<DocAttr> loneInput();
    std::optional<DocAttr> loneOutput();
    std::optional<DocAttr> loneElement(AttrType elementType);
    std::optional<std::vector<DocNote>> loneNotes(AttrType type);
    bool loneKind(DocAttr& attr);
    [[nodiscard]] static bool isValue(std::string_view text, AttrType type);
    [[nodiscard]] bool isSource();
    [[nodiscard]] bool isNote(const DocNote& note, AttrType type);

private:
    bool parseNodeHead(TreeNode& node) override;
    bool parseName(u32& name) override;
    bool parsePlain(const TreeKind& kind, Value& out) override;
    bool parseLink(u32 input, TreeSlot slot, u32 choice) override;
    bool parseNote(const NoteRule& rule, u64 offset, u32 input, const TreeKind& kind) override;
    void addSource(u32 input, const Source& source) override;
    void endNode(TreeNode& node, Comments&& comments) override;
    void endInput(Item& item, Level* closed, bool isRead) override;
    void endOutput(TreeOutput& output, const TreeKind& kind, Comments&& comments) override;
    // Scenes are compared with all that they have.
    void checkDuplicates(const Body&) override {}
    void checkDuplicateOutputs(const TreeNode&) override {}

    bool parseNoteContent(const NoteRule& rule, u32 input, const TreeKind& kind);
    bool parseQuoted();
    std::optional<DocAttr> loneAttr(Read read);
    [[nodiscard]] bool isDone() const;
    [[nodiscard]] std::string_view nameAt(u64 offset) const;
    [[nodiscard]] std::vector<DocAttr> takeMembers(u64 count);
    std::string_view kept(String&& text);
    const DocComments* keptComments(Comments&& comments);

    SceneDocument& m_document;
    std::vector<DocNode> m_nodes;
    // The node that is being read: its head, and its outputs so far.
    DocNode m_open;
    // Inputs that were read; the last ones are members of the input that is being read.
    std::vector<DocAttr> m_inputs;
    // Behind the value that was read last.
    std::string_view m_source;
    std::vector<DocNote> m_notes;
};

} // namespace qv::kelvo_sdk::impl
