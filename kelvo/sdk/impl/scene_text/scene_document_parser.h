#pragma once

#include "kelvo/sdk/impl/scene_text/scene_document.h"
#include "kelvo/sdk/impl/text/text_lexer.h"

namespace qv::kelvo_sdk::impl {

struct NoteRule;

/// Takes scene text apart into records, without a look at what its values mean: readers of scene
/// text check them. A function that answers false found something else.
///
///     Scenes and attributes   scene_document_parser.cpp   nodes, lines, comments
///     Values                  scene_document_values.cpp   values, notes, what stands alone
class DocumentParser {
public:
    /// The text has to live as long as the document.
    DocumentParser(SceneDocument& document, std::string_view text)
        : m_lexer(text), m_document(document) {}

    bool parseScene();

    // The whole of the text.

    std::optional<DocNode> loneNode();
    std::optional<DocAttr> loneInput();
    std::optional<DocAttr> loneOutput();
    std::optional<DocAttr> loneElement(AttrType elementType);
    std::optional<std::vector<DocNote>> loneNotes(AttrType type);
    bool loneKind(DocAttr& attr);
    [[nodiscard]] bool isValue(AttrType type);
    [[nodiscard]] bool isSource();
    [[nodiscard]] bool isNote(const DocNote& note, AttrType type);

private:
    bool parseHeader();
    bool parseNode(DocNode& node, std::string_view leading);
    bool parseHead(DocNode& node);
    bool parseType();
    bool parseBody(std::vector<DocAttr>& inputs, std::vector<DocAttr>* outputs,
                   DocComments& comments, u32 depth);
    bool parseLine(DocAttr& attr, DocComments& comments, u32 depth);
    bool parseOutputLine(DocAttr& attr, DocComments& comments);
    bool parseKind(DocAttr& attr);
    bool parseContent(DocAttr& attr, DocComments& comments, u32 depth);
    bool parseObject(DocAttr& attr, DocComments& comments, u32 depth);
    bool parseArray(DocAttr& array, u32 depth);
    bool parseElement(DocAttr& element, AttrType type, u32 depth);
    bool parseValue(AttrType type, std::string_view& value);
    bool parseText();
    bool parseSource(std::string_view& source);
    bool parseOutputPath(std::string_view& path);
    bool parseNotes(DocAttr& attr);
    bool parseNote(DocNote& note, AttrType type);
    bool parseNoteText(const NoteRule& rule, AttrType type);
    bool parseNoteValue(AttrType type);
    bool parseChoices(AttrType type);
    bool endLine(std::string_view& trailing);
    std::string_view commentLines();
    std::string_view comment();
    [[nodiscard]] std::string_view since(u64 start) const {
        return m_lexer.text().substr(start, m_lexer.offset() - start);
    }
    [[nodiscard]] bool isDone();

    TextLexer m_lexer;
    SceneDocument& m_document;
};

} // namespace qv::kelvo_sdk::impl
