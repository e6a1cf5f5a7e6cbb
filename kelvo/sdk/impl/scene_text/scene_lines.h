#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/attr_type.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The parts that the text of a node consists of, in the order in which they stand.
enum class TextPart : u8 {
    // Comments.
    Leading,
    Opening,
    Inner,
    // Lines that could not be read.
    Unread,
    // Of the head of a node.
    NodeType,
    NodeBases,
    NodeName,
    NodeBody,
    NodeEnd,
    // Of inputs, elements and outputs, which begin with their kinds.
    Input,
    Element,
    Output,
    Name,
    Content,
    ContentEnd,
    Source,
    Note,
    Translation,
    End,
};

/// Where a part begins in the text that is being written.
struct TextMark {
    TextPart part;
    /// Of inputs, elements and outputs.
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    u64 at = 0;
    /// A comment, without indentation, of an end the one behind it; or a name.
    std::string_view text = {};
};

/// The layout of scene text (docs/scene-text.md has the grammar): heads, lines, lists, blocks and
/// annotations. Callers write the kinds, values and names that stand in them.
class SceneLines {
public:
    /// Borrows the text; `marks`, null for none, gets the places of its parts.
    explicit SceneLines(StringIO& out, std::vector<TextMark>* marks = nullptr) noexcept
        : m_out(out), m_marks(marks) {}

    [[nodiscard]] StringIO& out() noexcept { return m_out; }

    // ---- Lines -----------------------------------------------------------------------------

    /// Lines that are nested deeper, where no reader goes, begin at the margin: the size of the
    /// text would grow with the square of the depth.
    static constexpr u32 maxIndent = 256;
    void indent(u32 depth) { m_out.appendRepeated(' ', depth <= maxIndent ? 4 * depth : 0); }
    /// Writes comment lines.
    void writeLines(std::string_view lines, u32 depth) {
        if (!lines.empty()) indentAll(lines, depth);
    }
    /// Ends a line, with a comment if there is one.
    void endLine(std::string_view comment) {
        if (!comment.empty()) m_out.append(' ').append(comment);
        m_out.append('\n');
    }
    /// Write the comments of a thing: before it, behind its '{', before its '}'.
    void writeLeading(std::string_view lines, u32 depth) {
        writeComment(TextPart::Leading, lines);
        writeLines(lines, depth);
    }
    void writeOpening(std::string_view comment) {
        writeComment(TextPart::Opening, comment);
        endLine(comment);
    }
    void writeInner(std::string_view lines, u32 depth) {
        writeComment(TextPart::Inner, lines);
        writeLines(lines, depth);
    }

    /// Writes whole lines as they are, which could not be read.
    void writeUnread(std::string_view lines) {
        writeComment(TextPart::Unread, lines);
        m_out.append(lines);
    }

    // ---- Heads of nodes --------------------------------------------------------------------

    StringIO& beginNode() {
        m_out.append("node ");
        return begin(TextPart::NodeType);
    }
    StringIO& beginBase(bool isFirst) {
        if (!isFirst) return m_out.append(", ");
        m_out.append(" : ");
        return begin(TextPart::NodeBases);
    }
    /// A name in quotes is to follow.
    StringIO& beginNodeName() {
        m_out.append(' ');
        return begin(TextPart::NodeName);
    }
    void beginNodeBody() {
        begin(TextPart::NodeBody);
        m_out.append(" {");
    }
    void endNode(std::string_view inner, std::string_view trailing) {
        writeInner(inner, 1);
        m_out.append('}');
        end(TextPart::NodeEnd, trailing);
        endLine(trailing);
    }

    // ---- Inputs, elements, outputs ---------------------------------------------------------

    /// Begin a line, or an element: its kind is to follow.
    StringIO& beginInput(AttrType type, AttrType elementType, u32 depth) {
        indent(depth);
        return begin(TextPart::Input, type, elementType);
    }
    StringIO& beginOutput(AttrType type, AttrType elementType, u32 depth) {
        indent(depth);
        m_out.append("output ");
        return begin(TextPart::Output, type, elementType);
    }
    StringIO& beginElement(AttrType type, AttrType elementType) {
        return begin(TextPart::Element, type, elementType);
    }
    void separateElement(bool isFirst) {
        if (!isFirst) m_out.append(", ");
    }
    /// Writes the name behind the kind.
    void writeName(std::string_view name) {
        m_out.append(' ');
        if (m_marks) mark({.part = TextPart::Name, .at = m_out.size(), .text = name});
        m_out.append(name);
    }
    /// Begin the content of an input or element; of a plain kind the value is to follow.
    StringIO& beginInputContent(AttrType type) {
        m_out.append(type == AttrType::Null     ? ""
                     : type == AttrType::Object ? " {"
                     : type == AttrType::Array  ? " = ["
                                                : " = ");
        return begin(TextPart::Content);
    }
    StringIO& beginElementContent(AttrType type) {
        begin(TextPart::Content);
        return m_out.append(type == AttrType::Null     ? "null"
                            : type == AttrType::Object ? "{"
                            : type == AttrType::Array  ? "["
                                                       : "");
    }
    /// Close what the content of an array or object opened.
    void closeArray() { m_out.append(']'); }
    void closeObject(std::string_view inner, u32 depth) {
        writeInner(inner, depth + 1);
        indent(depth);
        m_out.append('}');
    }
    void endContent() { begin(TextPart::ContentEnd); }
    /// The path of an output is to follow.
    StringIO& beginSource() {
        m_out.append(" <- ");
        return begin(TextPart::Source);
    }
    /// Writes the name of an annotation; its content, if it has any, is to follow.
    StringIO& beginNote(std::string_view name) {
        m_out.append(' ');
        if (m_marks) mark({.part = TextPart::Note, .at = m_out.size(), .text = name});
        return m_out.append(name);
    }
    /// Stands between the language of an annotation and its text.
    StringIO& beginTranslation() {
        m_out.append(' ');
        return begin(TextPart::Translation);
    }
    /// Ends an element.
    void endElement() { end(TextPart::End, {}); }
    /// Ends the line of an input or output.
    void endAttribute(std::string_view trailing) {
        end(TextPart::End, trailing);
        endLine(trailing);
    }

private:
    StringIO& begin(TextPart part, AttrType type = AttrType::Null,
                    AttrType elementType = AttrType::Null) {
        if (m_marks)
            mark({.part = part, .type = type, .elementType = elementType, .at = m_out.size()});
        return m_out;
    }
    // Out of line, so that texts without marks pay for the question alone.
    [[gnu::noinline]] void mark(const TextMark& mark) { m_marks->push_back(mark); }
    void end(TextPart part, std::string_view trailing) {
        if (m_marks) mark({.part = part, .at = m_out.size(), .text = trailing});
    }
    void writeComment(TextPart part, std::string_view comment) {
        if (m_marks && !comment.empty()) mark({.part = part, .text = comment});
    }
    void indentAll(std::string_view lines, u32 depth);

    StringIO& m_out;
    std::vector<TextMark>* m_marks;
};

} // namespace qv::kelvo_sdk::impl
