// Parses the kind, name, value, connection and output of an attribute.

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/sdk/impl/scene_text/scene_parser.h"
#include "kelvo/sdk/impl/value/value_text.h"

#include <algorithm>
#include <tuple>

// ---- Attributes ----------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

namespace {

constexpr std::string_view kNameRule = "a name (a letter or '_', then letters, digits and '_')";

String unknownKind(std::string_view word, std::span<const std::string_view> words) {
    SpellingSuggestion near(word);
    for (u32 type = 0; type < attrTypeCount; ++type)
        near.offer(attrTypeName(static_cast<AttrType>(type)));
    near.offer("output");
    for (const std::string_view known : words)
        near.offer(known);
    return "Unknown kind '" + String(word) + "'" + near.question();
}

String unknownDataType(std::string_view word) {
    SpellingSuggestion near(word);
    for (u32 type = 0; type < dataTypeCount; ++type)
        near.offer(dataTypeName(static_cast<DataType>(type)));
    return "Unknown element type '" + String(word) + "'" + near.question();
}

// Tells whether a rejected number is too large or too small.
bool isOutOfRange(const String& found, std::string_view expected) {
    std::string_view digits = found.view();
    digits.remove_prefix(digits.starts_with("'-") && !expected.ends_with("0") ? 2 : 1);
    return digits.size() > 1 && digits.find_first_not_of("0123456789") == digits.size() - 1 &&
           (expected.ends_with("number") || expected.find("integer") != std::string_view::npos);
}

} // namespace

SceneParser::Read SceneParser::parseLine(String&& leading) {
    const bool isNode = m_levels.back().body.isNode;
    const auto ended = [](bool isWhole) { return isWhole ? Read::Done : Read::Failed; };
    const u64 offset = m_lexer.offset();
    const std::string_view word = m_lexer.identifier();
    if (word == "output" && isNode) {
        if (parseOutput(std::move(leading))) return Read::Done;
        m_namesAreMissing = true;
        return Read::Failed;
    }
    if (word == "output")
        return ended(fail(offset, "Only " + String(m_form.part) + "s have outputs."));
    if (word.empty()) return ended(failExpecting(isNode ? m_form.lineStarts : "a kind or '}'"));
    if (isNode && std::ranges::find(m_form.words, word) != m_form.words.end())
        return ended(parseWord(word, std::move(leading)));
    TreeKind kind;
    if (!finishKind(offset, word, kind)) return Read::Failed;
    return parseInput(kind, std::move(leading));
}

bool SceneParser::parseWord(std::string_view word, String&& /*leading*/) {
    return fail(m_lexer.offset() - word.size(), unknownKind(word, {}));
}

SceneParser::Read SceneParser::parseInput(const TreeKind& kind, String&& leading) {
    m_lexer.skipBlanks();
    const u64 offset = m_lexer.offset();
    Item item{.kind = kind, .outside = m_insideComments.size()};
    u32 name = 0;
    if (!parseName(name) || !newInput(offset, kind, item.input)) return Read::Failed;
    m_tree.inputs[item.input].name = name;
    item.name = since(offset);
    Body& body = m_levels.back().body;
    (body.last == noTreeIndex ? body.first : m_tree.inputs[body.last].nextSibling) = item.input;
    body.last = item.input;
    ++body.count;
    item.leading = std::move(leading);
    const Read read = parseContent(item);
    if (read == Read::Opened) return read;
    return closeLine(item, nullptr, read == Read::Done) ? Read::Done : Read::Failed;
}

bool SceneParser::parseOutput(String&& leading) {
    m_lexer.skipBlanks();
    const u64 kindOffset = m_lexer.offset();
    TreeKind kind;
    TreeOutput output;
    if (!parseKind(kind)) return false;
    m_lexer.skipBlanks();
    output.offset = m_lexer.offset();
    if (!parseName(output.name)) return false;
    output.type = kind.type;
    output.dataType = kind.dataType;
    if (kind.type == AttrType::Node || kind.type >= AttrType::Array)
        return fail(kindOffset,
                    String("An output cannot be of kind ") + attrTypeName(kind.type) + ".");
    m_lexer.skipBlanks();
    output.isAgain = m_lexer.accept(noteName(Note::Again));
    Comments comments;
    comments.leading = std::move(leading);
    if (!endLine(comments.trailing)) return false;
    endOutput(output, kind, std::move(comments));
    return true;
}

void SceneParser::endOutput(TreeOutput& output, const TreeKind& /*kind*/, Comments&& comments) {
    storeComments(output.extras, std::move(comments));
    m_tree.outputs.push_back(output);
}

bool SceneParser::parseKind(TreeKind& kind) {
    const u64 offset = m_lexer.offset();
    const std::string_view word = m_lexer.identifier();
    return word.empty() ? failExpecting("a kind") : finishKind(offset, word, kind);
}

// Reads the part of a kind behind its first word.
bool SceneParser::finishKind(u64 offset, std::string_view word, TreeKind& kind) {
    const u32 type = m_tree.names.add(word);
    if (type >= attrTypeCount) return fail(offset, unknownKind(word, m_form.words));
    kind.type = static_cast<AttrType>(type);
    kind.text = word;
    const bool takesArgument = kind.type == AttrType::Array || kind.type == AttrType::Buffer;
    if (!takesArgument || !m_lexer.accept('<')) return true;
    const bool isKnown = kind.type == AttrType::Array ? parseElementKind(kind.elementType)
                                                      : parseDataKind(kind.dataType);
    if (!isKnown) return false;
    if (!m_lexer.accept('>')) return failExpecting("'>'");
    kind.text = since(offset);
    return true;
}

bool SceneParser::parseElementKind(AttrType& out) {
    const u64 offset = m_lexer.offset();
    const std::string_view word = m_lexer.identifier();
    if (word.empty()) return failExpecting("a kind");
    const u32 type = m_tree.names.add(word);
    if (type >= attrTypeCount) return fail(offset, unknownKind(word, m_form.words));
    out = static_cast<AttrType>(type);
    if (m_lexer.peek() != '<') return true;
    return fail(m_lexer.offset(), "Found '<' where '>' was expected: each element of an array of " +
                                      String(word) + "s names its own kind.");
}

bool SceneParser::parseDataKind(DataType& out) {
    const u64 offset = m_lexer.offset();
    const std::string_view word = m_lexer.identifier();
    if (word.empty()) return failExpecting("an element type");
    const u32 name = m_tree.names.add(word);
    const bool isNull = word == "Null";
    const bool isKnown = name < m_dataTypes.size() && m_dataTypes[name] != DataType::Null;
    if (!isKnown && !isNull) return fail(offset, unknownDataType(word));
    out = isNull ? DataType::Null : m_dataTypes[name];
    return true;
}

bool SceneParser::parseName(u32& name) {
    const std::string_view word = m_lexer.identifier();
    if (word.empty()) return failExpecting(kNameRule);
    name = m_tree.names.add(word);
    return true;
}

// Reads from behind the name to the end of the value.
SceneParser::Read SceneParser::parseContent(Item& item) {
    m_lexer.skipBlanks();
    item.valueOffset = m_lexer.offset();
    if (item.kind.type == AttrType::Object) {
        if (m_lexer.accept('{')) return openObject(std::move(item));
        failExpecting("'{'");
        return Read::Failed;
    }
    if (!m_lexer.accept('=')) return Read::Done;
    m_lexer.skipBlanks();
    item.valueOffset = m_lexer.offset();
    if (item.kind.type == AttrType::Array) return openArray(std::move(item));
    return parseOwnValue(item) ? Read::Done : Read::Failed;
}

// A typed buffer without a value is empty but keeps its type, unless it has a default.
void SceneParser::giveElementType(TreeInput& input, DataType dataType) const {
    if (dataType == DataType::Null || !input.value.isNull()) return;
    const TreeExtras* extras = m_tree.extrasOf(input.extras);
    if (!extras || !extras->details || extras->details->defaultValue.isNull())
        input.value = Value(Buffer(dataType, 0));
}

bool SceneParser::parseOwnValue(Item& item) {
    const u64 start = m_lexer.offset();
    if (!parseValue(item.input, item.kind)) return false;
    item.value = since(start);
    return true;
}

// Reads a value of any kind but arrays and objects.
bool SceneParser::parseValue(u32 input, const TreeKind& kind) {
    switch (kind.type) {
    case AttrType::Null:
        if (m_lexer.peekIdentifier() != "null") return failExpecting("'null'");
        std::ignore = m_lexer.identifier();
        return true;
    case AttrType::Node:
        return parseLink(input, TreeSlot::Value, 0);
    default: {
        Value value;
        if (!parsePlain(kind, value)) return false;
        m_tree.inputs[input].value = std::move(value);
        return true;
    }
    }
}

// Reads a value of any kind but arrays, objects and links.
bool SceneParser::parsePlain(const TreeKind& kind, Value& out) {
    if (kind.type == AttrType::String) {
        String text;
        if (!parseText(text)) return false;
        out = Value(std::move(text));
        return true;
    }
    const std::string_view rest = m_lexer.rest();
    ValueReader reader(rest.data(), rest.data() + rest.size(), m_workers);
    const bool isRead = reader.read(kind.type, kind.dataType, out);
    m_lexer.skip(static_cast<u64>(reader.at() - rest.data()));
    if (isRead) return true;
    const String found = m_lexer.found();
    const char* const range = isOutOfRange(found, reader.expected()) ? " in range" : "";
    return fail(m_lexer.offset(),
                "Found " + found + " where " + reader.expected() + range + " was expected.");
}

// Reads a node's name, or `null`.
bool SceneParser::parseLink(u32 input, TreeSlot slot, u32 choice) {
    if (slot == TreeSlot::Value)
        m_tree.inputs[input].value = Value(static_cast<interfaces::INode*>(nullptr));
    const u64 offset = m_lexer.offset();
    u32 name = 0;
    if (m_lexer.peek() == '"') {
        String text;
        if (!parseText(text)) return false;
        name = m_tree.names.add(text.view());
    } else {
        const std::string_view word = m_lexer.identifier();
        if (word.empty()) return failExpecting("a node's name or 'null'");
        if (word == "null") return true;
        name = m_tree.names.add(word);
    }
    if (slot == TreeSlot::Value && isLost(offset)) {
        m_tree.extrasAt(m_tree.inputs[input].extras).lostLink = String(since(offset));
        return true;
    }
    m_tree.links.push_back({.offset = offset,
                            .node = m_node,
                            .input = input,
                            .name = name,
                            .choice = choice,
                            .slot = slot});
    return true;
}

SceneParser::Read SceneParser::parseElement(u32 element, AttrType type) {
    Item item{.input = element,
              .kind = {.type = type},
              .isElement = true,
              .valueOffset = m_lexer.offset()};
    const Read read = parseElementValue(item);
    if (read == Read::Opened) return read;
    return closeElement(item, nullptr, read == Read::Done) ? Read::Done : Read::Failed;
}

SceneParser::Read SceneParser::parseElementValue(Item& item) {
    const auto ended = [](bool isWhole) { return isWhole ? Read::Done : Read::Failed; };
    const AttrType type = item.kind.type;
    if (type == AttrType::Object)
        return m_lexer.accept('{') ? openObject(std::move(item))
                                   : ended(failExpecting("'{' or ']'"));
    const bool namesKind =
        type == AttrType::Array || (type == AttrType::Buffer && m_lexer.peek() != '[');
    if (namesKind) {
        if (!TextLexer::startsIdentifier(m_lexer.peek()))
            return ended(failExpecting(type == AttrType::Array ? "the kind of the element, such as "
                                                                 "'Array<Real>',"
                                                               : "'[' or 'Buffer<...>'"));
        if (!parseKind(item.kind)) return Read::Failed;
        if (item.kind.type != type)
            return ended(
                fail(item.valueOffset, String("Found kind ") + attrTypeName(item.kind.type) +
                                           " in an array of kind " + attrTypeName(type) + "."));
        m_tree.inputs[item.input].elementType = item.kind.elementType;
        m_lexer.skipBlanks();
    }
    return type == AttrType::Array ? openArray(std::move(item)) : ended(parseOwnValue(item));
}

bool SceneParser::newInput(u64 offset, const TreeKind& kind, u32& out) {
    if (m_tree.inputs.size() >= noTreeIndex) return fail(offset, "There are too many attributes.");
    out = static_cast<u32>(m_tree.inputs.size());
    TreeInput& input = m_tree.inputs.emplace_back();
    input.offset = offset;
    input.type = kind.type;
    input.elementType = kind.elementType;
    return true;
}

} // namespace qv::kelvo_sdk::impl
