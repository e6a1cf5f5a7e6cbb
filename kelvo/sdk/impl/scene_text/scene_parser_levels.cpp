// Parses bodies and arrays. Open ones are on a list, so that nested ones take no stack.

#include "kelvo/sdk/impl/scene_text/scene_parser.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

// Reads attributes up to and including the '}'.
bool SceneParser::parseBody(Body& body) {
    m_levels.clear();
    m_levels.emplace_back().body = std::move(body);
    Read read = goOn();
    while (read == Read::Opened)
        read = goOn();
    body = std::move(m_levels.back().body);
    return read == Read::Done;
}

// Reads a line or an element of the innermost level, and closes the levels that end with it.
SceneParser::Read SceneParser::goOn() {
    Read read = m_levels.back().isArray ? readInArray() : readInBody();
    while (read != Read::Opened && m_levels.size() > 1)
        read = closeLevel(read == Read::Done);
    return read;
}

// Reads one line. Returns `Done` at the end of the body, `Opened` when it continues.
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
    // Recovers only if reading continues; when a text is read partially, it always continues.
    if (!isWhole && (m_gaps || !m_errors.full())) recover(level.lineStart);
    if (m_gaps) placeUnread(level.body, level.lastInput, level.outputs);
    tellPart(level.lineStart, level.errors, !isWhole);
}

// Reads one element. Returns `Done` at the end of the array, `Opened` when it continues.
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
    if (m_levels.size() == 1) return Read::Done; // The element stands alone.
    skipInside();
    if (m_lexer.accept(',') || m_lexer.peek() == ']') return Read::Opened;
    failExpecting("',' or ']'");
    return Read::Failed;
}

// Closes the innermost level and its item; returns the result for the level around it.
SceneParser::Read SceneParser::closeLevel(bool isClosed) {
    Level closed = std::move(m_levels.back());
    m_levels.pop_back();
    Item& item = closed.item;
    m_tree.inputs[item.input].firstMember = closed.body.first;
    m_tree.inputs[item.input].memberCount = closed.body.count;
    if (item.isElement) return closeElement(item, &closed, isClosed) ? endElement() : Read::Failed;
    endBodyLine(closeLine(item, &closed, isClosed));
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
    takeOpening(m_levels.back().opening);
    return Read::Opened;
}

SceneParser::Read SceneParser::openArray(Item&& item) {
    if (!mayOpen()) return Read::Failed;
    if (m_lexer.accept('[')) return open(std::move(item), true);
    failExpecting("'['");
    return Read::Failed;
}

// The level of the node's body does not count.
bool SceneParser::mayOpen() {
    if (m_levels.size() <= m_limits.depth) return true;
    return fail(m_lexer.offset(),
                String::format("Arrays and objects are nested more than %u deep.", m_limits.depth));
}

// Reads the rest of the line behind the value. Keeps comments inside this line apart from those of
// an enclosing line.
bool SceneParser::closeLine(Item& item, Level* closed, bool isRead) {
    isRead =
        isRead && parseSource(item.input) && parseNotes(item.input, item.kind, item.valueOffset);
    const bool isWhole = isRead && endLine(item.trailing);
    if (m_insideComments.size() != item.outside) {
        item.leading += m_insideComments.view().substr(item.outside);
        m_insideComments.truncate(item.outside);
    }
    endInput(item, closed, isRead);
    return isWhole;
}

bool SceneParser::closeElement(Item& item, Level* closed, bool isRead) {
    isRead =
        isRead && parseSource(item.input) && parseNotes(item.input, item.kind, item.valueOffset);
    endInput(item, closed, isRead);
    return isRead;
}

void SceneParser::endInput(Item& item, Level* closed, bool isRead) {
    TreeInput& input = m_tree.inputs[item.input];
    if (isRead && !item.isElement) giveElementType(input, item.kind.dataType);
    if (hasComments(item, closed)) storeComments(input.extras, takeComments(item, closed));
}

bool SceneParser::hasComments(const Item& item, const Level* closed) {
    if (!item.leading.isEmpty() || !item.trailing.isEmpty()) return true;
    return closed && (!closed->opening.isEmpty() || !closed->body.inner.isEmpty() ||
                      !closed->body.unread.empty());
}

Comments SceneParser::takeComments(Item& item, Level* closed) {
    Comments comments;
    comments.leading = std::move(item.leading);
    comments.trailing = std::move(item.trailing);
    if (!closed) return comments;
    comments.opening = std::move(closed->opening);
    comments.inner = std::move(closed->body.inner);
    comments.unread = std::move(closed->body.unread);
    return comments;
}

} // namespace qv::kelvo_sdk::impl
