#include "kelvo/sdk/impl/diff/live_patcher.h"

#include "kelvo/sdk/impl/diff/scene_match.h"
#include "kelvo/sdk/impl/graph/connection_loop.h"
#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node_changes.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/link_names.h"
#include "kelvo/sdk/impl/text/text_lexer.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include <algorithm>
#include <charconv>

namespace qv::kelvo_sdk::impl {

namespace {

// A move takes time in proportion to the length of the list.
constexpr u64 kMostMoved = 1000;

// Finds the input or output of exactly this name, with the ordinal in the step.
template<typename Attribute, typename At>
Attribute* findKey(std::string_view step, u64 count, const At& at) {
    const AttrKey key = keyOf(step);
    u32 met = 0;
    for (u64 i = 0; i < count; ++i) {
        auto* attribute = static_cast<Attribute*>(at(i));
        if (attribute->ownName() == key.name && ++met == key.ordinal) return attribute;
    }
    return nullptr;
}

Input* findMember(const interfaces::IInputContainer& owner, std::string_view step) {
    return findKey<Input>(step, owner.inputCount(), [&](u64 i) { return owner.input(i); });
}

Input* findElement(const Input* array, std::string_view step) {
    u64 index = 0;
    std::from_chars(step.data(), step.data() + step.size(), index);
    const bool isThere = array && index < array->inputCount();
    return isThere ? implOf(array->input(index)) : nullptr;
}

u64 placeIn(const interfaces::IInputContainer& owner, const IInput* input) {
    u64 place = 0;
    while (place < owner.inputCount() && owner.input(place) != input)
        ++place;
    return place;
}

u64 indexFrom(std::string_view text) {
    u64 index = 0;
    std::from_chars(text.data(), text.data() + text.size(), index);
    return index;
}

bool readQuoted(std::string_view text, Value& out) {
    TextLexer lexer(text);
    String plain;
    const char* problem = nullptr;
    if (lexer.peek() != '"' || !lexer.quoted(plain, problem)) return false;
    out = Value(std::move(plain));
    return true;
}

// Reads a value other than a link; false if a write would refuse it with a warning. Texts may
// contain such values, which a scene that is read again accepts.
bool readValue(const Input& input, std::string_view text, Value& value) {
    const bool isRead = input.type() == AttrType::String
                            ? readQuoted(text, value)
                            : valueFromText(String(text), input.type(), input.dataType(), value);
    return isRead && !input.isReadOnly() && (!input.details() || input.details()->accepts(value));
}

// Tells whether comments are read exactly as they are written; others need a scene that is read
// again.
bool readBack(const Comments& file) {
    SceneDocument document;
    document.file = {.leading = file.leading.view(),
                     .opening = file.opening.view(),
                     .inner = file.inner.view(),
                     .trailing = {}};
    DocNode& behind = document.nodes.emplace_back();
    behind.type = behind.name = "n";
    const auto scene = kelvo_sdk::Scene::create();
    const String text = document.text();
    Diagnostics found;
    return scene.read(text, "comments", &found) && scene.text().equals(text);
}

} // namespace

bool LivePatcher::run() {
    m_comments = m_scene.comments().file();
    const bool canBe =
        std::ranges::all_of(m_changes, [&](const SceneChange& change) { return prepare(change); });
    const u64 most = std::max({m_takenElements.size() + m_placedElements.size(),
                               m_placedNodes.size(), m_removedInputs.size()});
    if (!canBe || most > kMostMoved) return false;
    return setComments() && setNodes() && placeNodes() && removeInputs() && setElements() &&
           setInputs();
}

// Finds all objects before the first change, because paths refer to the state before the changes.
bool LivePatcher::prepare(const SceneChange& change) {
    if (change.subject == Subject::Scene) return prepareComment(change);
    if (change.subject == Subject::Node) return prepareNode(change);
    if (change.subject == Subject::Element && change.action != Action::Change)
        return prepareElement(change);
    if (change.subject != Subject::Input && change.subject != Subject::Element) return false;
    Step step{.change = &change, .input = kelvo_sdk::Input(findInput(change.path.view()))};
    if (!step.input.get()) return false;
    if (change.action == Action::Remove) {
        const IInput* parent = step.input->parent();
        if (parent && parent->isReadOnly()) return false;
        m_removedInputs.push_back(std::move(step));
        return true;
    }
    const bool isSettable = change.field == "source" || (change.field == "value" && change.after);
    if (change.action != Action::Change || !isSettable) return false;
    const auto& input = implOf(*step.input.get());
    const bool isPlain = change.field == "value" && input.type() != AttrType::Node;
    if (isPlain && !readValue(input, change.after->view(), step.value)) return false;
    m_set.push_back(std::move(step));
    return true;
}

bool LivePatcher::prepareComment(const SceneChange& change) {
    const String text = change.after.value_or("");
    if (change.field == "comment.leading") m_comments.leading = text;
    if (change.field == "comment.opening") m_comments.opening = text;
    if (change.field == "comment.inner") m_comments.inner = text;
    return change.action == Action::Change;
}

bool LivePatcher::prepareNode(const SceneChange& change) {
    Step step{.change = &change};
    if (change.action == Action::Add) {
        m_added += std::string(change.after.value_or("").view()) + '\n';
        m_placedNodes.push_back(std::move(step));
        return true;
    }
    step.node = kelvo_sdk::Node(m_scene.findNode(change.path));
    const bool isRename = change.action == Action::Rename && change.after;
    const bool isMove = change.action == Action::Move;
    if (!step.node.get() || (!isRename && !isMove && change.action != Action::Remove)) return false;
    (isRename ? m_renamed : isMove ? m_placedNodes : m_removedNodes).push_back(std::move(step));
    return true;
}

bool LivePatcher::prepareElement(const SceneChange& change) {
    const u64 bracket = change.path.findLast('[');
    if (bracket == String::npos) return false;
    Step step{.change = &change};
    step.input = kelvo_sdk::Input(findInput(change.path.view().substr(0, bracket)));
    step.index = indexFrom(change.path.view().substr(bracket + 1));
    if (!step.input.get() || step.input.isReadOnly()) return false;
    const bool isAdded = change.action == Action::Add;
    step.newIndex = isAdded ? step.index : indexFrom(change.after.value_or("").view());
    if (change.action != Action::Remove) m_placedElements.push_back(step);
    if (isAdded) return change.after.has_value();
    if (step.index >= step.input.inputCount()) return false;
    m_takenElements.push_back(std::move(step));
    return true;
}

// May fail when a new name is still in use by a node that is renamed later.
bool LivePatcher::setNodes() {
    for (const Step& step : m_removedNodes)
        m_scene.removeNode(step.node.get());
    for (const Step& step : m_renamed)
        if (!m_scene.renameNode(step.node.get(), *step.change->after)) return false;
    kelvo_sdk::Scene scene(&m_scene);
    // Discards the diagnostics: on failure the caller reads the whole scene.
    Diagnostics found;
    return m_added.empty() ||
           scene.read(String(std::string_view(m_added)), "the added nodes", &found);
}

bool LivePatcher::setComments() {
    const Comments& before = m_scene.comments().file();
    const bool isSame = before.leading.equals(m_comments.leading) &&
                        before.opening.equals(m_comments.opening) &&
                        before.inner.equals(m_comments.inner);
    if (isSame) return true;
    if (!readBack(m_comments)) return false;
    setFileComments(m_scene, m_comments);
    return true;
}

// Places nodes in the order of the later scene, each behind its predecessor there.
bool LivePatcher::placeNodes() {
    const auto placeOf = [&](const INode* node) {
        u64 place = 0;
        while (place < m_scene.nodeCount() && m_scene.node(place) != node)
            ++place;
        return place;
    };
    return std::ranges::all_of(m_placedNodes, [&](const Step& step) {
        const bool isAdded = step.change->action == Action::Add;
        INode* node = isAdded ? m_scene.findNode(step.change->path) : step.node.get();
        const auto& name = isAdded ? step.change->behind : step.change->after;
        const INode* behind = name ? m_scene.findNode(*name) : nullptr;
        if (!node || (name && !behind)) return false;
        if (!behind) return m_scene.moveNode(node, 0);
        const u64 from = placeOf(node);
        const u64 to = placeOf(behind);
        return m_scene.moveNode(node, from < to ? to : to + 1);
    });
}

bool LivePatcher::removeInputs() {
    return std::ranges::all_of(m_removedInputs, [this](const Step& step) {
        if (!isThere(step)) return false;
        interfaces::IInputContainer* owner = step.input->parent();
        if (!owner) owner = step.input.node();
        return owner && owner->removeInput(placeIn(*owner, step.input.get()));
    });
}

// Removes elements from the end; moves others to the end first, then each to its place.
bool LivePatcher::setElements() {
    std::ranges::stable_sort(m_takenElements, std::greater(), &Step::index);
    std::ranges::stable_sort(m_placedElements, {}, &Step::newIndex);
    std::vector<kelvo_sdk::Input> moved(m_placedElements.size());
    for (u64 i = 0; i < moved.size(); ++i) {
        const Step& step = m_placedElements[i];
        if (step.change->action == Action::Move) moved[i] = step.input.input(step.index);
    }
    for (const Step& step : m_takenElements)
        if (step.change->action == Action::Remove &&
            !(isThere(step) && step.input->removeInput(step.index)))
            return false;
    for (u64 i = 0; i < moved.size(); ++i) {
        const Input* array = implOf(m_placedElements[i].input.get());
        if (!moved[i].get()) continue;
        if (!isThere(m_placedElements[i])) return false;
        const u64 place = placeIn(*array, moved[i].get());
        if (!m_placedElements[i].input->moveElement(place, array->inputCount() - 1)) return false;
    }
    for (u64 i = 0; i < moved.size(); ++i) {
        const Step& step = m_placedElements[i];
        if (!isThere(step)) return false;
        if (!moved[i].get()) {
            if (!addElement(step)) return false;
            continue;
        }
        const u64 place = placeIn(*step.input.get(), moved[i].get());
        if (place != step.newIndex && !step.input->moveElement(place, step.newIndex)) return false;
    }
    return true;
}

// Adds plain elements only; others need a scene that is read again.
bool LivePatcher::addElement(const Step& step) {
    auto& array = implOf(*step.input.get());
    SceneDocument document;
    const auto element = document.parseElement(*step.change->after, array.elementType());
    const bool isPlain = element && element->notes.empty() && !element->isArray() &&
                         !element->isObject() && element->kind.empty();
    if (!isPlain || step.newIndex > array.inputCount()) return false;
    auto* made = implOf(array.insertElement(step.newIndex));
    return made && setValue(*made, element->value) &&
           (element->source.empty() || setSource(*made, element->source));
}

bool LivePatcher::setInputs() {
    return std::ranges::all_of(m_set, [&](const Step& step) {
        if (!isThere(step)) return false;
        auto& input = implOf(*step.input.get());
        const auto& after = step.change->after;
        if (!step.value.isNull()) return input.setValue(step.value);
        if (step.change->field != "source") return setValue(input, after->view());
        return after ? setSource(input, after->view()) : (input.disconnect(), true);
    });
}

// Observers may remove nodes meanwhile. Undo would bring them back with values set after that.
bool LivePatcher::isThere(const Step& step) const {
    const INode* node = step.input.node();
    return node && m_scene.contains(*node);
}

Input* LivePatcher::findInput(std::string_view path) const {
    const std::string_view name = path.substr(0, path.find_first_of(".["));
    const INode* node = m_scene.findNode(String(name));
    Input* input = nullptr;
    for (path.remove_prefix(name.size()); node && !path.empty();) {
        const bool isElement = path[0] == '[';
        const std::string_view step =
            path.substr(1, path.find_first_of(isElement ? "]" : ".[", 1) - 1);
        path.remove_prefix(std::min<u64>(path.size(), step.size() + (isElement ? 2 : 1)));
        input = isElement ? findElement(input, step)
                : input   ? findMember(*input, step)
                          : findMember(*node, step);
        if (!input) return nullptr;
    }
    return input;
}

Output* LivePatcher::findOutput(std::string_view path) const {
    const u64 dot = path.find('.');
    const INode* node = m_scene.findNode(String(path.substr(0, dot)));
    if (!node || dot == std::string_view::npos) return nullptr;
    return findKey<Output>(path.substr(dot + 1), node->outputCount(),
                           [&](u64 i) { return node->output(i); });
}

bool LivePatcher::setValue(Input& input, std::string_view text) const {
    if (input.type() == AttrType::Node) {
        if (input.isReadOnly()) return false;
        const std::string_view name = linkedName(text);
        INode* target = name.empty() ? nullptr : m_scene.findNode(String(name));
        return (target || name.empty()) && input.setNode(target);
    }
    Value value;
    return readValue(input, text, value) && input.setValue(value);
}

bool LivePatcher::setSource(Input& input, std::string_view path) const {
    Output* output = findOutput(path);
    return output && takes(input, *output) && !closesLoop(*output, input) && input.connect(output);
}

void setFileComments(Scene& scene, Comments comments) {
    EditStep step(scene);
    step.prepare<FileCommentsChange>(scene.comments());
    scene.comments().setFile(std::move(comments));
    step.commit();
}

} // namespace qv::kelvo_sdk::impl
