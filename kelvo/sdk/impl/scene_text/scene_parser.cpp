#include "kelvo/sdk/impl/scene_text/scene_parser.h"

#include "kelvo/sdk/impl/scene_text/piece_reader.h"

#include "kelvo/base/spelling_suggestion.h"

#include <algorithm>
#include <tuple>
#include <utility>

// ---- File and nodes ------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

namespace {

constexpr std::string_view kVersion = "1";

} // namespace

SceneParser::SceneParser(std::string_view text, const ParseLimits& limits, SceneTree& tree,
                         TextErrors& errors)
    : SceneParser(text, limits, tree, errors, TextForm()) {}

SceneParser::SceneParser(std::string_view text, const ParseLimits& limits, SceneTree& tree,
                         TextErrors& errors, const TextForm& form)
    : m_lexer(text), m_limits(limits), m_form(form), m_tree(tree), m_errors(errors) {
    // Adds the names of the kinds first, so that the number of such a name is its kind.
    for (u32 type = 0; type < attrTypeCount; ++type)
        std::ignore = m_tree.names.add(attrTypeName(static_cast<AttrType>(type)));
    for (u32 type = 0; type < dataTypeCount; ++type) {
        const auto dataType = static_cast<DataType>(type);
        const u32 name = m_tree.names.add(dataTypeName(dataType));
        if (name >= m_dataTypes.size()) m_dataTypes.resize(name + 1, DataType::Null);
        m_dataTypes[name] = dataType;
    }
}

void SceneParser::parse() {
    std::ignore = m_lexer.accept("\xef\xbb\xbf"); // The byte order mark of some editors.
    String leading = commentLines(m_tree.file.unread);
    if (!parseHeader(leading)) return;
    while (!m_lexer.atEnd() && !m_errors.full()) {
        if (mayReadPieces()) readPieces(leading);
        parseNodes(m_lexer.offset() + PieceReader::longest(m_limits), leading);
    }
    m_tree.file.inner = std::move(leading);
}

bool SceneParser::parsePiece(u64 first, u64 last, String& behind) {
    m_lexer.seek(first);
    parseNodes(last, behind);
    return m_errors.empty() && m_lexer.offset() == last;
}

// Pieces have no gaps, and their errors are found by reading without pieces.
bool SceneParser::mayReadPieces() const noexcept {
    const bool isWorthIt = m_limits.threads != 1 || m_taker;
    return m_form.hasPieces && isWorthIt && !m_gaps && m_errors.empty();
}

void SceneParser::readPieces(String& leading) {
    PieceJoiner joiner(m_tree, m_limits.nodes);
    PieceReader reader(m_lexer.text(), m_limits, m_taker ? *m_taker : joiner);
    m_lexer.seek(reader.read(m_lexer.offset(), leading));
}

// Reads nodes that start in front of `end`. `leading` are the comments in front of the first one,
// and then those in front of the next.
void SceneParser::parseNodes(u64 end, String& leading) {
    while (!m_lexer.atEnd() && m_lexer.offset() < end && !m_errors.full()) {
        m_nodeName = String();
        m_node = noTreeIndex;
        m_isHeadFaulty = false;
        const u64 start = m_lexer.offset();
        const u64 errors = m_errors.size();
        const bool isNode = startsNode();
        if (!isNode) {
            failExpecting("'" + std::string(m_form.part) + "'");
            m_namesAreMissing = true;
        }
        const u64 node = m_tree.nodes.size();
        const bool isWhole = isNode && parseNode(std::move(leading));
        if (!isWhole) skipToNode();
        placeUnread(node);
        tellPart(start, errors, !isWhole || m_isHeadFaulty);
        leading = commentLines(m_tree.file.unread);
    }
}

// Accepts a text without header line as a fragment.
bool SceneParser::parseHeader(String& leading) {
    const u64 start = m_lexer.offset();
    if (m_lexer.peekIdentifier() != "kelvo") return true;
    std::ignore = m_lexer.identifier();
    m_lexer.skipBlanks();
    if (m_lexer.peekIdentifier() != m_form.header)
        return fail(start, "This is no " + String(m_form.name) + ": its first line is not 'kelvo " +
                               String(m_form.header) + " " + String(kVersion) + "'.");
    std::ignore = m_lexer.identifier();
    m_lexer.skipBlanks();
    const u64 at = m_lexer.offset();
    const String version = m_lexer.found();
    if (version.view() != "'" + String(kVersion) + "'")
        return fail(at, "Found " + version +
                            " where the version was expected; this is a reader of "
                            "version " +
                            String(kVersion) + ".");
    m_lexer.skip(kVersion.size());
    m_tree.file.leading = std::move(leading);
    if (!endLine(m_tree.file.opening)) return false;
    // The blank line behind the header belongs to the header.
    std::vector<UnreadLines>& unread = m_tree.file.unread;
    const u64 before = unread.size();
    leading = commentLines(unread);
    String& first = unread.size() == before ? leading : unread[before].leading;
    if (first.view().starts_with('\n')) first = first.substr(1);
    return true;
}

bool SceneParser::parseNode(String&& leading) {
    std::ignore = m_lexer.identifier();
    if (m_tree.nodes.size() >= m_limits.nodes)
        return fail(m_lexer.offset(),
                    String::format("There are more than %llu %ss.",
                                   static_cast<unsigned long long>(m_limits.nodes),
                                   m_form.part.data()));
    TreeNode node;
    Comments comments;
    comments.leading = std::move(leading);
    m_node = static_cast<u32>(m_tree.nodes.size());
    if (!parseNodeHead(node)) {
        m_namesAreMissing = true;
        m_isHeadFaulty = true;
        if (!skipToBrace()) return false;
    }
    knowNode(node);
    // Reserves the place now, because links refer to it.
    m_tree.nodes.push_back(node);
    const bool isWhole = parseNodeBody(node, comments);
    endNode(node, std::move(comments));
    return isWhole;
}

void SceneParser::endNode(TreeNode& node, Comments&& comments) {
    storeComments(node.extras, std::move(comments));
    m_tree.nodes[m_node] = node;
}

bool SceneParser::parseNodeHead(TreeNode& node) {
    if (!parseTypes(node) || !parseNodeName(node) || !parseNodeFlags(node)) return false;
    return m_lexer.accept('{') || failExpecting("'{'");
}

bool SceneParser::parseTypes(TreeNode& node) {
    if (!parseType(node.type)) return false;
    node.firstBase = static_cast<u32>(m_tree.bases.size());
    m_lexer.skipBlanks();
    if (!m_lexer.accept(':')) return true;
    do {
        u32 base = 0;
        if (!parseType(base)) return false;
        m_tree.bases.push_back(base);
        ++node.baseCount;
        m_lexer.skipBlanks();
    } while (m_lexer.accept(','));
    return true;
}

bool SceneParser::parseType(u32& out) {
    m_lexer.skipBlanks();
    const std::string_view type = m_lexer.identifier();
    if (type.empty()) return failExpecting("a node type");
    out = m_tree.names.add(type);
    return true;
}

bool SceneParser::parseNodeName(TreeNode& node) {
    if (!takeNodeName(node)) return false;
    node.name = m_tree.names.add(m_nodeName.view());
    m_nodeName = m_tree.names.text(node.name);
    return true;
}

// Reads the name into `m_nodeName`.
bool SceneParser::takeNodeName(TreeNode& node) {
    m_lexer.skipBlanks();
    node.offset = m_lexer.offset();
    if (m_lexer.peek() != '"') return failExpecting("the node's name in quotes");
    String name;
    if (!parseText(name)) return false;
    if (!name.isSimpleCID())
        return fail(node.offset, "The name '" + name +
                                     "' is no identifier: a letter or '_', then "
                                     "letters, digits and '_'.");
    m_nodeName = std::move(name);
    return true;
}

bool SceneParser::parseNodeFlags(TreeNode& node) {
    for (;;) {
        m_lexer.skipBlanks();
        if (m_lexer.accept(noteName(Note::Abstract)))
            node.isAbstract = true;
        else if (m_lexer.accept(noteName(Note::Internal)))
            node.isInternal = true;
        else if (m_lexer.accept(noteName(Note::Own)))
            node.isOwn = true;
        else
            return true;
    }
}

bool SceneParser::parseNodeBody(TreeNode& node, Comments& comments) {
    Body body{.opened = m_lexer.offset(), .isNode = true};
    node.firstOutput = static_cast<u32>(m_tree.outputs.size());
    takeOpening(comments.opening);
    const bool isClosed = parseBody(body);
    node.firstInput = body.first;
    node.inputCount = body.count;
    node.outputCount = static_cast<u32>(m_tree.outputs.size()) - node.firstOutput;
    checkDuplicateOutputs(node);
    comments.inner = std::move(body.inner);
    comments.unread = std::move(body.unread);
    // A node without its '}' ends where the next node starts.
    if (!isClosed) return !m_errors.full();
    return endLine(comments.trailing);
}

void SceneParser::knowNode(const TreeNode& node) {
    if (node.name == noTreeIndex) return;
    const u32 known = m_tree.findNode(node.name);
    if (known == noTreeIndex) return m_tree.knowNode(node.name, m_node);
    if (!m_errors.wantsMessage()) {
        fail(node.offset, String());
        return;
    }
    const u64 other = m_tree.nodes[known].offset;
    const u64 line = LineCounter(m_lexer.text()).placeOf(other).line;
    fail(node.offset,
         String::format("The name '%s' is taken by the %s in line %llu.", m_nodeName.buf(),
                        m_form.part.data(), static_cast<unsigned long long>(line)));
}

// Reports only the innermost of several blocks that lack their '}' here. When a text is read
// partially, the block ends here instead.
bool SceneParser::failUnclosed(Body& body, String&& leading) {
    const u64 offset = m_lexer.offset();
    const bool isReported = std::exchange(m_unclosedAt, offset) == offset;
    String message;
    if (!isReported && m_errors.wantsMessage())
        message = "Found " + m_lexer.found() +
                  String::format(" where the '}' to the '{' in line %llu was expected.",
                                 static_cast<unsigned long long>(
                                     LineCounter(m_lexer.text()).placeOf(body.opened).line));
    if (!m_gaps) return !isReported && fail(offset, std::move(message));
    if (!isReported) m_gaps->unclosed.push_back({offset, m_nodeName, std::move(message)});
    body.inner = std::move(leading);
    checkDuplicates(body);
    return true;
}

// A node may have inputs of the same name and different kinds; an object may not.
void SceneParser::checkDuplicates(const Body& body) {
    ++m_list;
    if (m_met.size() < m_tree.names.size()) m_met.resize(m_tree.names.size());
    for (u32 input = body.first; input != noTreeIndex; input = m_tree.inputs[input].nextSibling) {
        const TreeInput& next = m_tree.inputs[input];
        Met& met = m_met[m_tree.names.folded(next.name)];
        if (met.list != m_list) {
            met = {m_list, input};
            continue;
        }
        const bool isSame = m_tree.inputs[met.index].type == next.type && !next.isAgain;
        if (!body.isNode)
            fail(next.offset,
                 "The object has a member '" + m_tree.names.text(next.name) + "' already.");
        else if (isSame)
            fail(next.offset, "The node has an input '" + m_tree.names.text(next.name) +
                                  "' of kind " + attrTypeName(next.type) + " already.");
    }
}

void SceneParser::checkDuplicateOutputs(const TreeNode& node) {
    ++m_list;
    if (m_met.size() < m_tree.names.size()) m_met.resize(m_tree.names.size());
    for (u32 i = node.firstOutput; i < node.firstOutput + node.outputCount; ++i) {
        const TreeOutput& next = m_tree.outputs[i];
        Met& met = m_met[m_tree.names.folded(next.name)];
        if (met.list != m_list) {
            met = {m_list, i};
        } else if (m_tree.outputs[met.index].type == next.type && !next.isAgain) {
            fail(next.offset, "The node has an output '" + m_tree.names.text(next.name) +
                                  "' of kind " + attrTypeName(next.type) + " already.");
        }
    }
}

} // namespace qv::kelvo_sdk::impl
