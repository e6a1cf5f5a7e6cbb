#include "kelvo/sdk/impl/diff/document_patcher.h"

#include <algorithm>
#include <charconv>

// ---- Places --------------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

namespace {

// Returns the part of comments that a field names, null for any other field.
const std::string_view* commentPart(const DocComments& comments, std::string_view field) {
    if (field == "comment.leading") return &comments.leading;
    if (field == "comment.opening") return &comments.opening;
    if (field == "comment.inner") return &comments.inner;
    if (field == "comment.trailing") return &comments.trailing;
    return nullptr;
}

constexpr u64 kMostShown = 200;

String quotedShort(const std::optional<String>& text) {
    if (!text) return "nothing";
    if (text->size() <= kMostShown) return "'" + *text + "'";
    return "'" + text->substr(0, kMostShown) + "...'";
}

} // namespace

DocumentPatcher::DocumentPatcher(SceneDocument& document) : m_document(document) {
    for (u64 i = 0; i < document.nodes.size(); ++i)
        m_nodes.emplace(document.nodes[i].name, i);
    m_nodeEdits.leaves.resize(document.nodes.size());
}

bool DocumentPatcher::apply(const std::vector<SceneChange>& changes, String& error) {
    const bool isDone =
        std::ranges::all_of(changes, [&](const SceneChange& change) { return prepare(change); }) &&
        setFields() && rebuildLists() && rebuildNodes() && checkNames();
    if (!isDone) error = m_error;
    return isDone;
}

bool DocumentPatcher::prepare(const SceneChange& change) {
    if (change.action == Action::Change) return prepareField(change);
    if (change.subject == Subject::Scene) return fail(change, "a scene can only be changed");
    if (change.subject == Subject::Node) return prepareNode(change);
    return prepareAttr(change);
}

bool DocumentPatcher::prepareField(const SceneChange& change) {
    FieldEdit edit{&change, {}};
    if (change.subject == Subject::Scene) {
        const std::string_view* part = commentPart(m_document.file, change.field.view());
        if (!part) return fail(change, "a scene has no '" + change.field + "'");
        m_sceneFields.push_back(&change);
        return checkText(change, change.field.buf(), textOrNone(*part));
    }
    if (!findTarget(change, false, edit.target)) return false;
    if (!isKnownField(change)) return fail(change, "there is no field '" + change.field + "'");
    if (!checkText(change, change.field.buf(), fieldOf(change, edit.target))) return false;
    m_fields.push_back(std::move(edit));
    return true;
}

bool DocumentPatcher::prepareNode(const SceneChange& change) {
    Placement<DocNode> placement{.change = &change, .item = {}, .key = change.path.buf()};
    if (change.action == Action::Add) {
        auto made = m_document.parseNode(change.after.value_or(""));
        if (!made || made->name != change.path.view())
            return fail(change, "what is added is no scene text of a node of this name");
        placement.item = std::move(*made);
        m_nodeEdits.placements.push_back(std::move(placement));
        return true;
    }
    Target target;
    if (!findTarget(change, false, target)) return false;
    const u64 index = target.nodeIndex;
    if (change.action == Action::Rename) {
        if (!change.after || !change.after->isSimpleCID())
            return fail(change, "the new name is no identifier");
        m_names.add(target.node->name, m_document.keep(*change.after));
        return checkText(change, "its name", String(target.node->name));
    }
    m_nodeEdits.leaves[index] = true;
    if (change.action == Action::Remove)
        return checkText(change, "the node", SceneDocument::textOf(*target.node));
    placement.from = index;
    m_nodeEdits.placements.push_back(std::move(placement));
    const auto before =
        index == 0 ? std::optional<String>() : String(m_document.nodes[index - 1].name);
    return checkText(change, "what is in front of it", before);
}

bool DocumentPatcher::prepareAttr(const SceneChange& change) {
    Target target;
    if (change.action == Action::Rename) return fail(change, "only nodes are renamed");
    if (!findTarget(change, change.action == Action::Add, target)) return false;
    if (change.action == Action::Add) return prepareAddedAttr(change, target);
    ListEdits<DocAttr>& edits = editsOf(target);
    edits.leaves[target.index] = true;
    const bool isOutput = change.subject == Subject::Output;
    if (change.action == Action::Remove)
        return checkText(change, "it",
                         target.isElement ? SceneDocument::elementText(*target.attr())
                                          : SceneDocument::textOf(*target.attr(), isOutput));
    Placement<DocAttr> placement{
        .change = &change, .from = target.index, .item = {}, .key = target.step};
    if (target.isElement) {
        const std::string_view index = change.after ? change.after->view() : std::string_view();
        const auto read =
            std::from_chars(index.data(), index.data() + index.size(), placement.index);
        if (index.empty() || read.ptr != index.data() + index.size())
            return fail(change, "the new index is no number");
    }
    edits.placements.push_back(std::move(placement));
    if (target.isElement)
        return checkText(change, "its index",
                         String(std::string_view(std::to_string(target.index))));
    const auto before =
        target.index == 0
            ? std::optional<String>()
            : String(std::string_view(keyText(keysOf(*target.list)[target.index - 1])));
    return checkText(change, "what is in front of it", before);
}

bool DocumentPatcher::prepareAddedAttr(const SceneChange& change, const Target& target) {
    const String text = change.after.value_or("");
    const bool isOutput = change.subject == Subject::Output;
    auto made = target.isElement ? m_document.parseElement(text, target.parent->elementType)
                : isOutput       ? m_document.parseOutput(text)
                                 : m_document.parseInput(text);
    if (!made || (!target.isElement && made->name != keyOf(target.step).name))
        return fail(change, "what is added is no scene text of this name");
    editsOf(target).placements.push_back({.change = &change,
                                          .item = std::move(*made),
                                          .key = target.step,
                                          .index = target.isElement ? target.index : 0});
    return true;
}

bool DocumentPatcher::findTarget(const SceneChange& change, bool isNew, Target& target) {
    const std::string_view path = change.path.view();
    const std::string_view name = path.substr(0, path.find_first_of(".["));
    const auto found = m_nodes.find(name);
    if (found == m_nodes.end()) return fail(change, "there is no node '" + String(name) + "'");
    target.nodeIndex = found->second;
    target.node = &m_document.nodes[found->second];
    return walk(change, path.substr(name.size()), isNew, target) && checkSubject(change, target);
}

// `path` starts with the '.' or '[' in front of a step.
bool DocumentPatcher::walk(const SceneChange& change, std::string_view path, bool isNew,
                           Target& target) {
    while (!path.empty()) {
        const bool isElement = path[0] == '[';
        const u64 end = isElement ? path.find(']') : path.find_first_of(".[", 1);
        const std::string_view step = path.substr(1, end == std::string_view::npos ? end : end - 1);
        if (isElement && end == std::string_view::npos) return fail(change, "this is no path");
        path.remove_prefix(isElement ? end + 1 : std::min(path.size(), step.size() + 1));
        target.isElement = isElement;
        if (!enterList(change, step, target)) return false;
        const bool isThere = target.index < target.list->size();
        if (isThere || (path.empty() && isNew)) continue;
        const String name = isElement ? "element [" + String(step) + "]" : "'" + String(step) + "'";
        return fail(change, "there is no " + name);
    }
    return true;
}

bool DocumentPatcher::enterList(const SceneChange& change, std::string_view step, Target& target) {
    DocAttr* parent = target.attr();
    const bool mayHold =
        parent ? (target.isElement ? parent->isArray() : parent->isObject()) : !target.isElement;
    if (!mayHold) return fail(change, "nothing that it is part of is there");
    const bool isOutput = !parent && change.subject == Subject::Output;
    target.list = parent     ? &parent->members
                  : isOutput ? &target.node->outputs
                             : &target.node->inputs;
    target.parent = parent;
    target.step = std::string(step);
    ++target.depth;
    if (!target.isElement) {
        target.index = keysOf(*target.list).find(keyOf(target.step));
        return true;
    }
    const auto read = std::from_chars(step.data(), step.data() + step.size(), target.index);
    return (!step.empty() && read.ptr == step.data() + step.size()) ||
           fail(change, "this is no path");
}

bool DocumentPatcher::checkSubject(const SceneChange& change, const Target& target) {
    const Subject found = !target.list       ? Subject::Node
                          : target.isElement ? Subject::Element
                          : change.subject == Subject::Output && target.depth == 1 ? Subject::Output
                                                                                   : Subject::Input;
    return found == change.subject ||
           fail(change, String("it is no ") + sceneSubjectName(change.subject));
}

bool DocumentPatcher::checkText(const SceneChange& change, const char* what,
                                const std::optional<String>& found) {
    if (found == change.before) return true;
    // The blank line in front of the first node belongs to the header of the scene.
    const bool isComment = change.field.view() == "comment.leading";
    if (isComment && found && found->view() == "\n" + std::string(change.before.value_or("")))
        return true;
    return fail(change, String(what) + " is " + quotedShort(found) + " and not " +
                            quotedShort(change.before) + " as it was");
}

bool DocumentPatcher::isKnownField(const SceneChange& change) const {
    const std::string_view field = change.field.view();
    if (commentPart(noComments, field)) return true;
    if (change.subject == Subject::Node)
        return field == "type" || field == "bases" || field == "flags";
    return field == "kind" || field == "value" || field == "source" || field == "notes" ||
           field.starts_with('@');
}

std::optional<String> DocumentPatcher::fieldOf(const SceneChange& change, const Target& target) {
    const std::string_view field = change.field.view();
    const DocAttr* attr = target.attr();
    const DocComments& comments = commentsOf(attr ? attr->comments : target.node->comments);
    if (const std::string_view* part = commentPart(comments, field)) return textOrNone(*part);
    if (!attr)
        return textOrNone(field == "type"    ? target.node->type
                          : field == "bases" ? target.node->bases
                                             : target.node->flags);
    if (field == "notes") return notesText(attr->notes);
    if (field.starts_with('@')) {
        const auto note = std::ranges::find(attr->notes, field, &DocNote::name);
        return note != attr->notes.end() ? String(note->text) : std::optional<String>();
    }
    return textOrNone(field == "kind" ? attr->kind : field == "value" ? attr->value : attr->source);
}

const AttrKeys& DocumentPatcher::keysOf(const List& list) {
    return m_keys.try_emplace(&list, list).first->second;
}

DocumentPatcher::ListEdits<DocAttr>& DocumentPatcher::editsOf(const Target& target) {
    ListEdits<DocAttr>& edits = m_lists[target.list];
    edits.depth = target.depth;
    edits.holdsElements = target.isElement;
    edits.leaves.resize(target.list->size());
    return edits;
}

bool DocumentPatcher::fail(const SceneChange& change, const String& what) {
    const String place = change.path.isEmpty() ? String("the scene") : change.path;
    m_error = "cannot " + String(sceneActionName(change.action)) + " " + place + ": " + what + ".";
    return false;
}

} // namespace qv::kelvo_sdk::impl
