// Parses annotations, which begin with "@".

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/sdk/impl/scene_text/scene_parser.h"
#include "kelvo/sdk/impl/value/value_refusal.h"

// ---- Annotations ---------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

namespace {

// Tells whether a value may start with the character.
bool startsValue(char c) noexcept {
    return TextLexer::continuesIdentifier(c) || c == '"' || c == '(' || c == '[' || c == '-';
}

} // namespace

// Reads "<- node.output" if it is here.
bool SceneParser::parseSource(u32 input) {
    m_lexer.skipBlanks();
    if (!m_lexer.accept("<-")) return true;
    m_lexer.skipBlanks();
    return parseOutputPath(input);
}

// Reads "node.output", or "node.output:2" for the second output of that name.
bool SceneParser::parseOutputPath(u32 input) {
    Source source{.offset = m_lexer.offset(), .node = m_lexer.identifier(), .output = {}};
    if (source.node.empty()) return failExpecting("the source as 'node.output'");
    if (!m_lexer.accept('.')) return failExpecting("'.' and the name of an output");
    source.output = m_lexer.identifier();
    if (source.output.empty()) return failExpecting("the name of an output");
    if (m_lexer.accept(':') && !parseOrdinal(source.ordinal)) return false;
    addSource(input, source);
    return true;
}

bool SceneParser::parseOrdinal(u32& ordinal) {
    u64 digits = 0;
    ordinal = 0;
    for (; ascii::isDigit(m_lexer.peek()) && digits < 9; ++digits, m_lexer.skip(1))
        ordinal = ordinal * 10 + static_cast<u32>(m_lexer.peek() - '0');
    return ordinal != 0 || failExpecting("a number from 1");
}

void SceneParser::addSource(u32 input, const Source& source) {
    if (isLost(source.offset)) {
        m_tree.extrasAt(m_tree.inputs[input].extras).lostSource = String(since(source.offset));
        return;
    }
    m_tree.connections.push_back({.offset = source.offset,
                                  .node = m_node,
                                  .input = input,
                                  .sourceNode = m_tree.names.add(source.node),
                                  .sourceOutput = m_tree.names.add(source.output),
                                  .ordinal = source.ordinal});
}

bool SceneParser::parseNotes(u32 input, const TreeKind& kind, u64 valueOffset) {
    u32 seen = 0;
    for (;;) {
        m_lexer.skipBlanks();
        const u64 offset = m_lexer.offset();
        if (m_lexer.peek() != '@') break;
        const NoteRule* rule = takeNote();
        if (!rule) return false;
        const u32 bit = 1u << static_cast<u32>(rule->note);
        if (rule->content != NoteContent::Translation && (seen & bit) != 0)
            return fail(offset, "The annotation '" + String(rule->name) + "' stands twice.");
        seen |= bit;
        m_lexer.skipBlanks();
        if (!parseNote(*rule, offset, input, kind)) return false;
    }
    if (seen != 0 && m_form.checksLimits) checkLimits(valueOffset, input);
    return true;
}

// Takes the '@' and the word behind it; null when this is not an annotation.
const NoteRule* SceneParser::takeNote() {
    const u64 offset = m_lexer.offset();
    m_lexer.skip(1);
    const u64 length = 1 + m_lexer.identifier().size();
    const std::string_view word = m_lexer.text().substr(offset, length);
    if (const NoteRule* rule = findInputNote(word)) return rule;
    SpellingSuggestion near(word);
    for (const NoteRule& rule : noteRules())
        if (rule.onInputs) near.offer(rule.name);
    fail(offset, "Unknown annotation '" + String(word) + "'" + near.question());
    return nullptr;
}

bool SceneParser::parseNote(const NoteRule& rule, u64 /*offset*/, u32 input, const TreeKind& kind) {
    switch (rule.note) {
    case Note::Type:
        return parseBinding(rule, input);
    case Note::Stashed: {
        Value value;
        if (!parseNoteValue(input, kind, TreeSlot::Stash, value)) return false;
        TreeExtras& extras = m_tree.extrasAt(m_tree.inputs[input].extras);
        extras.stash = std::move(value);
        extras.stashed = true;
        return true;
    }
    case Note::Silent:
        m_tree.inputs[input].silent = TreeSilence::Silent;
        return true;
    case Note::Announced:
        m_tree.inputs[input].silent = TreeSilence::Announced;
        return true;
    case Note::ReadOnly:
        m_tree.inputs[input].readOnly = true;
        return true;
    case Note::Unchecked:
        m_tree.extrasAt(m_tree.inputs[input].extras).isUnchecked = true;
        return true;
    case Note::Again:
        m_tree.inputs[input].isAgain = true;
        return true;
    case Note::Own:
        m_tree.inputs[input].isOwn = true;
        return true;
    case Note::Default:
        return parseNoteValue(input, kind, TreeSlot::Default, detailsOf(input).defaultValue);
    case Note::Minimum:
        return parseNoteValue(input, kind, TreeSlot::Minimum, detailsOf(input).minimum);
    case Note::Maximum:
        return parseNoteValue(input, kind, TreeSlot::Maximum, detailsOf(input).maximum);
    case Note::Unit:
        return parseText(detailsOf(input).unit);
    case Note::Choices:
        return parseChoices(input, kind);
    case Note::Label:
        return parseTranslation(detailsOf(input).labels);
    default:
        return parseTranslation(detailsOf(input).helps);
    }
}

bool SceneParser::parseBinding(const NoteRule& rule, u32 input) {
    TreeInput& bound = m_tree.inputs[input];
    const bool isList = bound.type == AttrType::Buffer || bound.type == AttrType::Array;
    if (rule.onListsAlone && !isList)
        return fail(m_lexer.offset(), "Only buffers and arrays are bound to an element type.");
    return parseDataKind(bound.boundType);
}

// Reads a value of the kind, or of another kind that precedes it.
bool SceneParser::parseNoteValue(u32 input, TreeKind kind, TreeSlot slot, Value& out, u32 choice) {
    const u64 offset = m_lexer.offset();
    if (namesItsKind()) {
        kind = TreeKind();
        if (!parseKind(kind)) return false;
        m_lexer.skipBlanks();
    }
    if (kind.type == AttrType::Node) {
        out = Value(static_cast<interfaces::INode*>(nullptr));
        return parseLink(input, slot, choice);
    }
    if (kind.type == AttrType::Null || kind.type >= AttrType::Array)
        return fail(offset, String("A value of kind ") + attrTypeName(kind.type) +
                                " cannot stand in an annotation.");
    return parsePlain(kind, out);
}

bool SceneParser::namesItsKind() const noexcept {
    if (!TextLexer::startsIdentifier(m_lexer.peek())) return false;
    TextLexer ahead(m_lexer);
    AttrType type;
    if (!parseAttrType(ahead.identifier(), type)) return false;
    if (ahead.peek() == '<') return true;
    ahead.skipBlanks();
    return startsValue(ahead.peek());
}

bool SceneParser::parseChoices(u32 input, const TreeKind& kind) {
    if (!m_lexer.accept('[')) return failExpecting("'['");
    AttrDetails& details = detailsOf(input);
    for (skipInside(); !m_lexer.accept(']'); skipInside()) {
        const u32 choice = static_cast<u32>(details.choices.size());
        Value value;
        if (!parseNoteValue(input, kind, TreeSlot::Choice, value, choice)) return false;
        details.choices.push_back(std::move(value));
        skipInside();
        if (m_lexer.accept(',')) continue;
        if (m_lexer.peek() != ']') return failExpecting("',' or ']'");
    }
    return true;
}

bool SceneParser::parseText(String& out) {
    if (m_lexer.peek() != '"') return failExpecting("a text in quotes");
    const char* problem = nullptr;
    if (m_lexer.quoted(out, problem)) return true;
    return fail(m_lexer.offset(), String("Malformed text: ") + problem + ".");
}

bool SceneParser::parseTranslation(AttrDetails::Texts& texts) {
    std::pair<String, String> text;
    if (!parseText(text.first)) return false;
    m_lexer.skipBlanks();
    if (!parseText(text.second)) return false;
    texts.push_back(std::move(text));
    return true;
}

AttrDetails& SceneParser::detailsOf(u32 input) {
    TreeExtras& extras = m_tree.extrasAt(m_tree.inputs[input].extras);
    if (!extras.details) extras.details = RefersTo<AttrDetails>::adopt(new AttrDetails);
    return *extras.details;
}

// A definition that contradicts its own value is wrong, unless it is marked as unchecked. Values of
// a scene may leave their limits when a library changes; the check finds them.
void SceneParser::checkLimits(u64 offset, u32 input) {
    const TreeInput& checked = m_tree.inputs[input];
    const TreeExtras* extras = m_tree.extrasOf(checked.extras);
    if (!extras || !extras->details || extras->isUnchecked) return;
    if (checked.value.isNull() || checked.type == AttrType::Node) return;
    if (extras->details->accepts(checked.value)) return;
    fail(offset, refusalOf(*extras->details, checked.value));
}

} // namespace qv::kelvo_sdk::impl
