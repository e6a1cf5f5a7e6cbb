#include "kelvo/sdk/impl/scene_text/scene_parser.h"

#include <utility>

// ---- Levels --------------------------------------------------------------------------------
// Bodies and arrays that are open stand in a list, so that those inside each other take no stack.

namespace qv::kelvo_sdk::impl {

// Reads attributes up to the '}' and behind it.
bool SceneParser::parseBody(Body& body) {
    m_levels.clear();
    m_levels.emplace_back().body = std::move(body);
    for (;;) {
        Read read = m_levels.back().isArray ? readInArray() : readInBody();
        while (read != Read::Opened && m_levels.size() > 1)
            read = closeLevel(read == Read::Done);
        if (read == Read::Opened) continue;
        body = std::move(m_levels.back().body);
        return read == Read::Done;
    }
}

// Reads one line. `Done` is the end of the body, `Opened` that it goes on.
SceneParser::Read SceneParser::readInBody() {
    Level& level = m_levels.back();
    Body& body = level.body;
    String leading = commentLines(body.unread);
    if (m_errors.full()) return Read::Failed;
    if (m_lexer.accept('}')) {
        body.inner = std::move(leading);
        checkDuplicates(body);
        return Read::Done;
    }
    if (m_lexer.atEnd() || startsNode())
        return failUnclosed(body, std::move(leading)) ? Read::Done : Read::Failed;
    level.lineStart = m_lexer.offset();
    level.errors = m_errors.size();
    level.lastInput = body.last;
    level.outputs = m_tree.outputs.size();
    const Read read = parseLine(std::move(leading));
    if (read != Read::Opened) endBodyLine(read == Read::Done);
    return Read::Opened;
}

void SceneParser::endBodyLine(bool isWhole) {
    Level& level = m_levels.back();
    if (!isWhole) recover(level.lineStart);
    if (m_gaps) placeUnread(level.body, level.lastInput, level.outputs);
    tellPart(level.lineStart, level.errors, !isWhole);
}

// Reads one element. `Done` is the end of the array, `Opened` that it goes on.
SceneParser::Read SceneParser::readInArray() {
    skipInside();
    if (m_lexer.accept(']')) return Read::Done;
    Level& level = m_levels.back();
    u32 element = 0;
    const AttrType type = level.item.kind.elementType;
    if (!newInput(m_lexer.offset(), {.type = type}, element)) return Read::Failed;
    Body& body = level.body;
    (body.last == noTreeIndex ? body.first : m_tree.inputs[body.last].nextSibling) = element;
    body.last = element;
    ++body.count;
    const Read read = parseElement(element, type);
    return read == Read::Done ? endElement() : read;
}

SceneParser::Read SceneParser::endElement() {
    skipInside();
    if (m_lexer.accept(',') || m_lexer.peek() == ']') return Read::Opened;
    failExpecting("',' or ']'");
    return Read::Failed;
}

// Ends the innermost level and the item whose value it is; answers for the one around it.
SceneParser::Read SceneParser::closeLevel(bool isClosed) {
    Level closed = std::move(m_levels.back());
    m_levels.pop_back();
    Item& item = closed.item;
    m_tree.inputs[item.input].firstMember = closed.body.first;
    m_tree.inputs[item.input].memberCount = closed.body.count;
    item.comments.inner = std::move(closed.body.inner);
    item.comments.unread = std::move(closed.body.unread);
    if (item.isElement) return closeElement(item, isClosed) ? endElement() : Read::Failed;
    endBodyLine(closeLine(item, isClosed));
    return Read::Opened;
}

SceneParser::Read SceneParser::open(Item&& item, bool isArray) {
    const u64 opened = m_lexer.offset();
    Level& level = m_levels.emplace_back();
    level.item = std::move(item);
    level.body.opened = opened;
    level.isArray = isArray;
    return Read::Opened;
}

SceneParser::Read SceneParser::openObject(Item&& item) {
    if (!mayOpen()) return Read::Failed;
    open(std::move(item), false);
    takeOpening(m_levels.back().item.comments.opening);
    return Read::Opened;
}

SceneParser::Read SceneParser::openArray(Item&& item) {
    if (!mayOpen()) return Read::Failed;
    if (m_lexer.accept('[')) return open(std::move(item), true);
    failExpecting("'['");
    return Read::Failed;
}

// The body of the node does not count.
bool SceneParser::mayOpen() {
    if (m_levels.size() <= m_limits.depth) return true;
    return fail(m_lexer.offset(),
                String::format("Arrays and objects are nested more than %u deep.", m_limits.depth));
}

// Reads what stands behind the value. Comments inside this line are kept apart from those
// inside a line around it.
bool SceneParser::closeLine(Item& item, bool isRead) {
    bool isWhole =
        isRead && parseSource(item.input) && parseNotes(item.input, item.kind, item.valueOffset);
    if (isWhole) giveElementType(m_tree.inputs[item.input], item.kind.dataType);
    isWhole = isWhole && endLine(item.comments.trailing);
    if (m_insideComments.size() != item.outside) {
        item.comments.leading += m_insideComments.view().substr(item.outside);
        m_insideComments.truncate(item.outside);
    }
    storeComments(m_tree.inputs[item.input].extras, std::move(item.comments));
    return isWhole;
}

bool SceneParser::closeElement(Item& item, bool isRead) {
    if (item.kind.type == AttrType::Object)
        storeComments(m_tree.inputs[item.input].extras, std::move(item.comments));
    return isRead && parseSource(item.input) && parseNotes(item.input, item.kind, item.valueOffset);
}

} // namespace qv::kelvo_sdk::impl
