#include "kelvo/sdk/impl/scene_text/link_names.h"

#include "kelvo/sdk/impl/scene_text/scene_notes.h"
#include "kelvo/sdk/impl/text/text_lexer.h"

#include <tuple>

namespace qv::kelvo_sdk::impl {

namespace {

// Moves behind a quoted text.
void skipText(TextLexer& lexer) {
    const std::string_view rest = lexer.rest();
    u64 i = 1;
    for (; i < rest.size() && rest[i] != '"'; ++i)
        if (rest[i] == '\\') ++i;
    lexer.skip(std::min<u64>(i + 1, rest.size()));
}

// Tells whether a kind with a value behind it starts here.
bool acceptKind(TextLexer& lexer, AttrType& type) {
    if (!TextLexer::startsIdentifier(lexer.peek())) return false;
    TextLexer ahead(lexer);
    AttrType named = AttrType::Null;
    if (!parseAttrType(ahead.identifier(), named)) return false;
    if (ahead.accept('<') && (ahead.identifier().empty() || !ahead.accept('>'))) return false;
    if (!ahead.accept(' ')) return false;
    type = named;
    lexer.seek(ahead.offset());
    return true;
}

} // namespace

bool holdsValues(std::string_view note) noexcept {
    const NoteRule* rule = findInputNote(note);
    return rule && holdsValues(*rule);
}

std::vector<NotePiece> notePieces(const DocNote& note, AttrType type) {
    const bool isValues = holdsValues(note.name);
    std::vector<NotePiece> pieces;
    TextLexer lexer(note.text);
    u64 from = 0;
    AttrType own = type;
    while (isValues && !lexer.atEnd()) {
        const u64 start = lexer.offset();
        if (acceptKind(lexer, own)) continue;
        const bool isText = lexer.peek() == '"';
        if (isText)
            skipText(lexer);
        else if (lexer.identifier().empty())
            lexer.skip(1);
        else if (own != AttrType::Node)
            continue;
        const std::string_view word = note.text.substr(start, lexer.offset() - start);
        if (word == ",") own = type;
        if (own != AttrType::Node || (!isText && !TextLexer::startsIdentifier(word[0]))) continue;
        if (start > from) pieces.push_back({note.text.substr(from, start - from)});
        pieces.push_back({word, true});
        from = lexer.offset();
    }
    if (from < note.text.size()) pieces.push_back({note.text.substr(from)});
    return pieces;
}

std::string_view LinkNames::nodeName(std::string_view name) const {
    const auto found = m_names.find(name);
    return found != m_names.end() ? found->second : name;
}

std::string LinkNames::value(std::string_view text, AttrType type) const {
    const std::string_view name = type == AttrType::Node ? linkedName(text) : std::string_view();
    return name.empty() ? std::string(text) : linkText(nodeName(name));
}

std::string LinkNames::source(std::string_view text) const {
    const u64 dot = text.find('.');
    if (dot == std::string_view::npos) return std::string(text);
    return std::string(nodeName(text.substr(0, dot))) + std::string(text.substr(dot));
}

std::string LinkNames::note(const DocNote& note, AttrType type) const {
    std::string text;
    for (const NotePiece& piece : notePieces(note, type))
        text += piece.isLink ? value(piece.text, AttrType::Node) : std::string(piece.text);
    return text;
}

void LinkNames::applyTo(DocAttr& attr, SceneDocument& document) const {
    const auto change = [&](std::string_view& text, const std::string& changed) {
        if (text != changed) text = document.keep(String(std::string_view(changed)));
    };
    if (attr.type == AttrType::Node) change(attr.value, value(attr.value, attr.type));
    if (!attr.source.empty()) change(attr.source, source(attr.source));
    for (DocNote& own : attr.notes)
        if (!own.text.empty()) change(own.text, note(own, attr.type));
    for (DocAttr& member : attr.members)
        applyTo(member, document);
}

void LinkNames::applyTo(SceneDocument& document) const {
    if (m_names.empty()) return;
    for (DocNode& node : document.nodes) {
        node.name = nodeName(node.name);
        for (DocAttr& input : node.inputs)
            applyTo(input, document);
    }
}

} // namespace qv::kelvo_sdk::impl
