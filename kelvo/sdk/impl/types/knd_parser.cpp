#include "kelvo/sdk/impl/types/knd_parser.h"

#include "kelvo/base/spelling_suggestion.h"

#include <array>
#include <tuple>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr std::string_view kWords[] = {"label", "help", "icon", "page"};
constexpr TextForm kForm = {.header = "types",
                            .name = "definition text",
                            .part = "type",
                            .words = kWords,
                            .lineStarts =
                                "a kind, 'output', 'label', 'help', 'icon', 'page' or '}'",
                            .checksLimits = true,
                            .hasPieces = false};

} // namespace

KndParser::KndParser(std::string_view text, const ParseLimits& limits, KndTree& tree,
                     TextErrors& errors)
    : SceneParser(text, limits, tree, errors, kForm), m_types(tree) {}

KndTreeType& KndParser::type() {
    if (m_types.types.size() <= m_node) m_types.types.resize(m_node + 1);
    return m_types.types[m_node];
}

// Uses the type's name as the name of its node in the tree.
bool KndParser::parseNodeHead(TreeNode& node) {
    m_lexer.skipBlanks();
    node.offset = m_lexer.offset();
    const std::string_view word = m_lexer.identifier();
    if (word.empty()) return failExpecting("the name of a type");
    type() = KndTreeType();
    for (Names* names : {&m_labelLanguages, &m_helpLanguages, &m_pageNames})
        names->clear();
    type().firstTreeInput = type().endOfInputs = static_cast<u32>(m_tree.inputs.size());
    node.type = node.name = m_tree.names.add(word);
    m_nodeName = m_tree.names.text(node.name);
    m_lexer.skipBlanks();
    if (m_lexer.accept(':') && !parseBases()) return false;
    if (!parseNodeFlags(node)) return false;
    return m_lexer.accept('{') || failExpecting("'{'");
}

bool KndParser::parseBases() {
    std::vector<KndBase>& bases = type().bases;
    do {
        m_lexer.skipBlanks();
        KndBase base{.offset = m_lexer.offset()};
        const std::string_view word = m_lexer.identifier();
        if (word.empty()) return failExpecting("the name of a type");
        base.name = m_tree.names.add(word);
        bases.push_back(base);
        m_lexer.skipBlanks();
    } while (m_lexer.accept(','));
    return true;
}

void KndParser::checkDuplicates(const Body& body) {
    if (!body.isNode) return SceneParser::checkDuplicates(body);
    type().endOfInputs = static_cast<u32>(m_tree.inputs.size());
}

bool KndParser::parseWord(std::string_view word, String&& leading) {
    Comments comments;
    comments.leading = std::move(leading);
    const u64 outside = m_insideComments.size();
    m_lexer.skipBlanks();
    bool isRead = false;
    if (word == "label")
        isRead = parseTranslationLine(type().labels, m_labelLanguages, false, comments);
    else if (word == "help")
        isRead = parseTranslationLine(type().helps, m_helpLanguages, true, comments);
    else if (word == "icon")
        isRead = parseIcon(comments);
    else
        isRead = parsePage(comments);
    m_insideComments.truncate(outside);
    return isRead;
}

bool KndParser::parseTranslationLine(std::vector<KndText>& texts, Names& languages, bool mayBeRaw,
                                     Comments& comments) {
    KndText line;
    const u64 offset = m_lexer.offset();
    if (!parseText(line.language)) return false;
    if (languages.contains(line.language))
        return fail(offset, "There is a text for the language '" + line.language + "' already.");
    m_lexer.skipBlanks();
    if (!(mayBeRaw ? parseLongText(line.text) : parseText(line.text))) return false;
    if (!endLine(comments.trailing)) return false;
    line.comments = std::move(comments);
    languages.insert(line.language);
    texts.push_back(std::move(line));
    return true;
}

bool KndParser::parseIcon(Comments& comments) {
    const u64 offset = m_lexer.offset();
    KndTreeType& of = type();
    if (of.hasIcon) return fail(offset, "The type has an icon already.");
    if (!parseLongText(of.icon.text) || !endLine(comments.trailing)) return false;
    of.icon.comments = std::move(comments);
    of.hasIcon = true;
    return true;
}

// Reads a text in quotes, or a raw text of several lines.
bool KndParser::parseLongText(String& out) {
    if (!m_lexer.rest().starts_with(rawMark)) return parseText(out);
    return m_lexer.raw(out) ||
           fail(m_lexer.offset(),
                "The text is not closed: another '\"\"\"' is expected behind it.");
}

bool KndParser::parsePage(Comments& comments) {
    KndPage page;
    const u64 offset = m_lexer.offset();
    if (!parseTitle(page.name, page.labels)) return false;
    if (m_pageNames.contains(page.name))
        return fail(offset, "The type has a page '" + page.name + "' already.");
    m_groupNames.clear();
    const u64 outside = m_insideComments.size();
    if (!m_lexer.accept('{')) return failExpecting("'{'");
    if (!parsePageBody(page) || !endLine(comments.trailing)) return false;
    comments.leading += m_insideComments.view().substr(outside);
    page.comments = std::move(comments);
    m_pageNames.insert(page.name);
    type().pages.push_back(std::move(page));
    return true;
}

// Reads names of inputs and groups, up to and including the '}'.
bool KndParser::parsePageBody(KndPage& page) {
    for (skipInside(); !m_lexer.accept('}'); skipInside()) {
        if (m_lexer.peekIdentifier() == "group") {
            TextLexer ahead(m_lexer);
            std::ignore = ahead.identifier();
            ahead.skipBlanks();
            if (ahead.peek() == '"') {
                if (!parseGroup(page)) return false;
                continue;
            }
        }
        if (!TextLexer::startsIdentifier(m_lexer.peek()))
            return failExpecting("the name of an input, 'group' or '}'");
        const bool goesOn = !page.groups.empty() && page.groups.back().name.isEmpty();
        if (!goesOn) page.groups.emplace_back();
        if (!parseItems(page.groups.back())) return false;
    }
    return true;
}

bool KndParser::parseGroup(KndPage& page) {
    std::ignore = m_lexer.identifier();
    m_lexer.skipBlanks();
    KndGroup group;
    const u64 offset = m_lexer.offset();
    if (!parseTitle(group.name, group.labels)) return false;
    if (!m_groupNames.insert(group.name).second)
        return fail(offset, "The page has a group '" + group.name + "' already.");
    if (!m_lexer.accept('{')) return failExpecting("'{'");
    skipInside();
    if (m_lexer.peek() != '}' && !parseItems(group)) return false;
    skipInside();
    if (!m_lexer.accept('}')) return failExpecting("',' or '}'");
    page.groups.push_back(std::move(group));
    return true;
}

// Reads names with commas between them.
bool KndParser::parseItems(KndGroup& group) {
    do {
        skipInside();
        KndGroup::Item item{.offset = m_lexer.offset()};
        const std::string_view word = m_lexer.identifier();
        if (word.empty()) return failExpecting("the name of an input");
        item.name = m_tree.names.add(word);
        group.inputs.push_back(item);
        skipInside();
    } while (m_lexer.accept(','));
    return true;
}

// Reads the name and the labels of a page or group.
bool KndParser::parseTitle(String& name, AttrDetails::Texts& labels) {
    const u64 offset = m_lexer.offset();
    if (!parseText(name)) return false;
    if (name.isEmpty()) return fail(offset, "A page or group cannot have an empty name.");
    for (m_lexer.skipBlanks(); m_lexer.accept(noteName(Note::Label)); m_lexer.skipBlanks()) {
        m_lexer.skipBlanks();
        if (!parseTranslation(labels)) return false;
    }
    return true;
}

} // namespace qv::kelvo_sdk::impl
