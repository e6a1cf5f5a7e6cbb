#include "kelvo/sdk/impl/diff/scene_merger.h"

#include <algorithm>
#include <tuple>
#include <utility>

// ---- Nodes ---------------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

namespace {

std::unordered_map<std::string, u64> foldedNames(const SceneDocument& document) {
    std::unordered_map<std::string, u64> names;
    for (const DocNode& node : document.nodes)
        names.emplace(String(node.name).toLower().buf(), names.size());
    return names;
}

// Of the first node of a text the blank line stands behind the header. A node that had none before
// it became the first has none.
void addBlankLine(SceneDocument& document, const NodePlaces& before) {
    if (document.nodes.empty()) return;
    DocNode& first = document.nodes[0];
    const DocNode* known = before.find(first.name);
    if (known && !commentsOf(known->comments).leading.starts_with('\n')) return;
    DocComments comments = commentsOf(first.comments);
    if (comments.leading.starts_with('\n')) return;
    comments.leading = document.keep("\n" + String(comments.leading));
    first.comments = document.keep(comments);
}

constexpr u64 kMostMarked = 400;

// In one line.
void appendMarked(const char* who, const std::optional<String>& text, std::string& line) {
    line += who;
    std::string shown = text ? text->buf() : "nothing";
    std::ranges::replace(shown, '\n', ' ');
    line += shown.size() > kMostMarked ? shown.substr(0, kMostMarked) + "..." : shown;
}

} // namespace

NodePlaces::NodePlaces(const SceneDocument& document) {
    for (const DocNode& node : document.nodes)
        m_nodes.emplace(node.name, &node);
}

const DocNode* NodePlaces::find(std::string_view name) const {
    const auto found = m_nodes.find(name);
    return found != m_nodes.end() ? found->second : nullptr;
}

bool NodePlaces::listsOutput(std::string_view path) const {
    const u64 dot = path.find('.');
    const DocNode* node = find(path.substr(0, dot));
    if (!node || dot == std::string_view::npos) return false;
    const AttrKey wanted = keyOf(path.substr(dot + 1));
    const auto count = std::ranges::count(node->outputs, wanted.name, &DocAttr::name);
    return static_cast<u64>(count) >= wanted.ordinal;
}

SceneDocument SceneMerger::run() {
    unifyNames();
    addBlankLine(m_base, NodePlaces());
    m_baseNodes = NodePlaces(m_base);
    addBlankLine(m_mine, m_baseNodes);
    addBlankLine(m_theirs, m_baseNodes);
    m_mineNodes = NodePlaces(m_mine);
    m_theirNodes = NodePlaces(m_theirs);
    settleRemovals({m_mine, m_mineNodes, m_theirs, m_theirNodes, MergeSide::Mine});
    settleRemovals({m_theirs, m_theirNodes, m_mine, m_mineNodes, MergeSide::Theirs});
    const DocComments* file = mergeComments("", m_base.file, m_mine.file, m_theirs.file);
    m_made.file = commentsOf(file);
    mergeNodes();
    if (!m_marks.empty()) {
        const DocComments* comments = m_made.keep(m_made.file);
        mark(comments);
        m_made.file = commentsOf(comments);
    }
    checkLinks(m_made);
    return std::move(m_made);
}

// A new name that the other side has for another node is no rename: both are added then.
void SceneMerger::unifyNames() {
    LinkNames byMine;
    LinkNames byTheirs;
    std::ignore = matchNodes(m_base, m_mine, byMine);
    std::ignore = matchNodes(m_base, m_theirs, byTheirs);
    if (byMine.empty() && byTheirs.empty()) return;
    const auto mineNames = foldedNames(m_mine);
    const auto theirNames = foldedNames(m_theirs);
    LinkNames base;
    LinkNames mine;
    LinkNames theirs;
    for (const DocNode& node : m_base.nodes) {
        const std::string_view name = node.name;
        const std::string_view inMine = byMine.nodeName(name);
        const std::string_view inTheirs = byTheirs.nodeName(name);
        const bool isBoth = inMine != name && inTheirs != name;
        const std::string_view made =
            inMine == name || (isBoth && takesTheirs()) ? inTheirs : inMine;
        if (made == name) continue;
        const std::string folded = String(made).toLower().buf();
        const bool isTaken = (made != inMine && mineNames.contains(folded)) ||
                             (made != inTheirs && theirNames.contains(folded));
        if (isTaken && !String(made).equalsNoCase(name)) continue;
        if (isBoth && inMine != inTheirs) {
            conflict(std::string(made), "name", String(name), String(inMine), String(inTheirs));
            m_nameMarks[made] = std::exchange(m_marks, {});
        }
        base.add(name, made);
        mine.add(inMine, made);
        theirs.add(inTheirs, made);
    }
    base.applyTo(m_base);
    mine.applyTo(m_mine);
    theirs.applyTo(m_theirs);
}

void SceneMerger::mergeNodes() {
    std::vector<std::string> keys[3];
    const SceneDocument* const documents[3] = {&m_base, &m_mine, &m_theirs};
    for (u64 i = 0; i < 3; ++i)
        for (const DocNode& node : documents[i]->nodes)
            keys[i].emplace_back(node.name);
    std::vector<DocNode> merged;
    std::unordered_map<std::string, u64> kept;
    for (u64 side = 1; side < 3; ++side)
        for (const std::string& key : keys[side]) {
            if (kept.contains(key)) continue;
            const Versions<DocNode> node{m_baseNodes.find(key), m_mineNodes.find(key),
                                         m_theirNodes.find(key)};
            const DocNode* whole = nullptr;
            if (isRemoved(key, node, whole)) continue;
            kept.emplace(key, merged.size());
            merged.push_back(whole ? *whole : mergeNode(node));
            if (const auto marks = m_nameMarks.find(merged.back().name); marks != m_nameMarks.end())
                m_marks = marks->second + m_marks;
            mark(merged.back().comments);
        }
    for (const std::string& key : mergeOrder("", {&keys[0], &keys[1], &keys[2]}, kept))
        m_made.nodes.push_back(std::move(merged[kept.at(key)]));
}

DocNode SceneMerger::mergeNode(const Versions<DocNode>& node) {
    static const DocNode nothing;
    const DocNode& base = node.base ? *node.base : nothing;
    const DocNode& mine = *node.mine;
    const DocNode& theirs = *node.theirs;
    if (isSame(mine, theirs) || (node.base && isSame(theirs, base))) return mine;
    if (node.base && isSame(mine, base)) return theirs;
    const std::string path(mine.name);
    DocNode made;
    made.name = mine.name;
    made.type = mergeText(path, "type", {base.type, mine.type, theirs.type});
    made.bases = mergeText(path, "bases", {base.bases, mine.bases, theirs.bases});
    made.flags = mergeText(path, "flags", {base.flags, mine.flags, theirs.flags});
    made.comments = mergeComments(path, commentsOf(base.comments), commentsOf(mine.comments),
                                  commentsOf(theirs.comments));
    made.inputs = mergeLists(path, {&base.inputs, &mine.inputs, &theirs.inputs}, false);
    made.outputs = mergeLists(path, {&base.outputs, &mine.outputs, &theirs.outputs}, true);
    return made;
}

std::string_view SceneMerger::mergeText(const std::string& path, const char* field,
                                        const Text& text) {
    if (text.mine == text.theirs || text.theirs == text.base) return text.mine;
    if (text.mine == text.base) return text.theirs;
    conflict(path, field, textOrNone(text.base), textOrNone(text.mine), textOrNone(text.theirs));
    return takesTheirs() ? text.theirs : text.mine;
}

const DocComments* SceneMerger::mergeComments(const std::string& path, const DocComments& base,
                                              const DocComments& mine, const DocComments& theirs) {
    const auto merge = [&](const char* field, std::string_view DocComments::*part) {
        return mergeText(path, field, {base.*part, mine.*part, theirs.*part});
    };
    DocComments made;
    made.leading = merge("comment.leading", &DocComments::leading);
    made.opening = merge("comment.opening", &DocComments::opening);
    made.inner = merge("comment.inner", &DocComments::inner);
    made.trailing = merge("comment.trailing", &DocComments::trailing);
    return m_made.keep(made);
}

void SceneMerger::conflict(const std::string& path, std::string_view field,
                           std::optional<String> base, std::optional<String> mine,
                           std::optional<String> theirs, String reason) {
    if (!m_options.preferred) {
        m_marks += "# conflict: " + path;
        if (!field.empty() && field != "value") m_marks += ' ' + std::string(field);
        if (reason.isEmpty()) {
            appendMarked(": base ", base, m_marks);
            appendMarked(", mine ", mine, m_marks);
            appendMarked(", theirs ", theirs, m_marks);
        } else {
            m_marks += ": " + std::string(reason.view());
        }
        m_marks += '\n';
    }
    m_conflicts.push_back({String(std::string_view(path)), String(field), std::move(base),
                           std::move(mine), std::move(theirs), std::move(reason)});
}

// Lets comments tell of the conflicts that were found last.
void SceneMerger::mark(const DocComments*& comments) {
    if (m_marks.empty()) return;
    DocComments marked = commentsOf(comments);
    marked.leading = m_made.keep(String(marked.leading) + std::string_view(m_marks));
    comments = m_made.keep(marked);
    m_marks.clear();
}

} // namespace qv::kelvo_sdk::impl
