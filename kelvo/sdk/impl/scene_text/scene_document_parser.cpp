#include "kelvo/sdk/impl/scene_text/scene_document_parser.h"

#include "kelvo/base/utf8.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// As deep as scenes are compared, so that what is compared can be patched.
constexpr ParseLimits kLimits{.depth = SceneDocument::maxDepth};

// Goes behind a text in quotes.
bool skipQuoted(TextLexer& lexer) {
    const std::string_view rest = lexer.rest();
    if (!rest.starts_with('"')) return false;
    for (u64 i = 1; i < rest.size() && rest[i] != '\n'; ++i) {
        if (rest[i] == '\\') {
            ++i;
        } else if (rest[i] == '"') {
            lexer.skip(i + 1);
            return true;
        }
    }
    return false;
}

bool skipBuffer(TextLexer& lexer) {
    const u64 length = lexer.rest().find(']');
    if (lexer.peek() != '[' || length == std::string_view::npos) return false;
    lexer.skip(length + 1);
    return true;
}

// Goes behind a number, a list of numbers, or a name.
bool skipWord(TextLexer& lexer) {
    const u64 start = lexer.offset();
    u64 open = 0;
    for (char c = lexer.peek(); c != '\0' && c != '\n'; c = lexer.peek()) {
        if (open == 0 && (c == ' ' || c == ',' || c == ']' || c == '}' || c == ')')) break;
        open += c == '(' ? 1 : c == ')' ? ~u64{0} : 0;
        lexer.skip(1);
    }
    return open == 0 && lexer.offset() != start;
}

bool skipValue(TextLexer& lexer, AttrType type) {
    if (lexer.peek() == '"') return skipQuoted(lexer);
    return type == AttrType::Buffer ? skipBuffer(lexer) : skipWord(lexer);
}

bool isValidText(std::string_view text) {
    return utf8::firstFault(text) == text.size();
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && TextLexer::isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && TextLexer::isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace

DocumentParser::DocumentParser(SceneDocument& document, std::string_view text)
    : DocumentScratch(text), SceneParser(text, kLimits, tree, errors), m_document(document) {}

// ---- Nodes ---------------------------------------------------------------------------------

bool DocumentParser::parseNodeHead(TreeNode& node) {
    m_lexer.skipBlanks();
    u64 start = m_lexer.offset();
    if (!parseTypes(node)) return false;
    const std::string_view types = since(start);
    m_open = DocNode();
    m_open.type = nameAt(start);
    if (node.baseCount != 0) m_open.bases = trimmed(types.substr(types.find(':') + 1));
    if (!takeNodeName(node)) return false;
    m_open.name = kept(String(m_nodeName));
    start = m_lexer.offset();
    if (!parseNodeFlags(node)) return false;
    m_open.flags = trimmed(since(start));
    return m_lexer.accept('{') || failExpecting("'{'");
}

void DocumentParser::endNode(TreeNode& /*node*/, Comments&& comments) {
    m_open.comments = keptComments(std::move(comments));
    m_open.inputs = takeMembers(m_inputs.size());
    m_nodes.push_back(std::move(m_open));
    m_tree.inputs.clear(); // No input is asked for any more.
}

// ---- Attributes ----------------------------------------------------------------------------

void DocumentParser::endInput(Item& item, Level* closed, bool /*isRead*/) {
    const TreeInput& input = m_tree.inputs[item.input];
    std::vector<DocAttr> members;
    if (input.memberCount != 0) members = takeMembers(input.memberCount);
    DocAttr& attr = m_inputs.emplace_back();
    attr.members = std::move(members);
    attr.type = item.kind.type;
    attr.elementType = item.kind.elementType;
    attr.kind = item.kind.text;
    const bool isPlain = attr.type != AttrType::Null && !attr.isArray() && !attr.isObject();
    if (item.isElement || isPlain) attr.value = item.value;
    attr.name = item.name;
    if (isPlain && attr.value.empty()) fail(item.valueOffset, "The attribute has no value.");
    attr.source = std::exchange(m_source, {});
    attr.notes = std::exchange(m_notes, {});
    if (hasComments(item, closed)) attr.comments = keptComments(takeComments(item, closed));
}

std::vector<DocAttr> DocumentParser::takeMembers(u64 count) {
    const auto first = m_inputs.end() - static_cast<std::ptrdiff_t>(count);
    std::vector<DocAttr> members(std::make_move_iterator(first),
                                 std::make_move_iterator(m_inputs.end()));
    m_inputs.erase(first, m_inputs.end());
    return members;
}

void DocumentParser::endOutput(TreeOutput& output, const TreeKind& kind, Comments&& comments) {
    DocAttr& attr = m_open.outputs.emplace_back();
    attr.type = kind.type;
    attr.elementType = kind.elementType;
    attr.kind = kind.text;
    attr.name = nameAt(output.offset);
    if (output.isAgain) attr.notes.push_back({noteName(Note::Again), {}});
    attr.comments = keptComments(std::move(comments));
}

void DocumentParser::addSource(u32 /*input*/, const Source& source) {
    m_source = since(source.offset);
}

// ---- Values and notes ----------------------------------------------------------------------

// The tree does not need to know names: nobody looks for them.
bool DocumentParser::parseName(u32& name) {
    name = noTreeIndex;
    return !m_lexer.identifier().empty() || failExpecting("a name");
}

bool DocumentParser::parsePlain(const TreeKind& kind, Value& /*out*/) {
    return skipValue(m_lexer, kind.type) || failExpecting("a value");
}

bool DocumentParser::parseLink(u32 /*input*/, TreeSlot /*slot*/, u32 /*choice*/) {
    return skipValue(m_lexer, AttrType::Node) || failExpecting("a node's name or 'null'");
}

bool DocumentParser::parseNote(const NoteRule& rule, u64 offset, u32 input, const TreeKind& kind) {
    DocNote note{.name = rule.name, .text = {}};
    if (rule.content == NoteContent::Translation) {
        if (!parseQuoted()) return false;
        note.name = since(offset);
        m_lexer.skipBlanks();
    }
    const u64 start = m_lexer.offset();
    if (!parseNoteContent(rule, input, kind)) return false;
    note.text = since(start);
    m_notes.push_back(note);
    return true;
}

bool DocumentParser::parseNoteContent(const NoteRule& rule, u32 input, const TreeKind& kind) {
    switch (rule.content) {
    case NoteContent::Nothing:
        return true;
    case NoteContent::ElementType: {
        DataType type = DataType::Null;
        return parseDataKind(type);
    }
    case NoteContent::Value: {
        Value none;
        return parseNoteValue(input, kind, TreeSlot::Value, none);
    }
    case NoteContent::ValueList:
        return parseChoices(input, kind);
    default:
        return parseQuoted();
    }
}

bool DocumentParser::parseQuoted() {
    return skipQuoted(m_lexer) || failExpecting("a text in quotes");
}

// ---- Alone ---------------------------------------------------------------------------------

bool DocumentParser::isDone() const {
    return errors.empty() && m_lexer.atEnd() && isValidText(m_lexer.text());
}

std::optional<DocNode> DocumentParser::loneNode() {
    std::vector<UnreadLines> none;
    String leading = commentLines(none);
    if (!startsNode() || !parseNode(std::move(leading)) || !isDone()) return {};
    return std::move(m_nodes.front());
}

std::optional<DocAttr> DocumentParser::loneInput() {
    std::vector<UnreadLines> none;
    String leading = commentLines(none);
    m_levels.emplace_back();
    return loneAttr(parseLine(std::move(leading)));
}

std::optional<DocAttr> DocumentParser::loneElement(AttrType elementType) {
    m_levels.emplace_back().isArray = true;
    u32 element = 0;
    if (!newInput(0, {.type = elementType}, element)) return {};
    return loneAttr(parseElement(element, elementType));
}

// Reads the rest of an attribute on a level of its own.
std::optional<DocAttr> DocumentParser::loneAttr(Read read) {
    while (read == Read::Opened && m_levels.size() > 1)
        goOn();
    if (m_inputs.size() != 1 || !isDone()) return {};
    return std::move(m_inputs.front());
}

std::optional<DocAttr> DocumentParser::loneOutput() {
    std::vector<UnreadLines> none;
    String leading = commentLines(none);
    if (m_lexer.identifier() != "output" || !parseOutput(std::move(leading)) || !isDone())
        return {};
    return std::move(m_open.outputs.front());
}

std::optional<std::vector<DocNote>> DocumentParser::loneNotes(AttrType type) {
    u32 input = 0;
    const TreeKind kind{.type = type};
    if (!newInput(0, kind, input) || !parseNotes(input, kind, 0) || !isDone()) return {};
    return std::move(m_notes);
}

bool DocumentParser::loneKind(DocAttr& attr) {
    TreeKind read;
    if (!parseKind(read) || !isDone()) return false;
    attr.type = read.type;
    attr.elementType = read.elementType;
    attr.kind = read.text;
    return true;
}

bool DocumentParser::isValue(std::string_view text, AttrType type) {
    TextLexer lexer(text);
    return skipValue(lexer, type) && lexer.atEnd() && isValidText(text);
}

bool DocumentParser::isSource() {
    return parseOutputPath(0) && isDone();
}

bool DocumentParser::isNote(const DocNote& note, AttrType type) {
    const auto read = loneNotes(type);
    return read && read->size() == 1 && read->front() == note;
}

// ---- Texts ---------------------------------------------------------------------------------

std::string_view DocumentParser::nameAt(u64 offset) const {
    TextLexer lexer(m_lexer);
    lexer.seek(offset);
    return lexer.identifier();
}

std::string_view DocumentParser::kept(String&& text) {
    return text.isEmpty() ? std::string_view() : m_document.keep(std::move(text));
}

const DocComments* DocumentParser::keptComments(Comments&& comments) {
    return m_document.keep({.leading = kept(std::move(comments.leading)),
                            .opening = kept(std::move(comments.opening)),
                            .inner = kept(std::move(comments.inner)),
                            .trailing = kept(std::move(comments.trailing))});
}

} // namespace qv::kelvo_sdk::impl
