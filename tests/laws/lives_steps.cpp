// The steps of the random lives: each makes one edit, in a scene and in its model.
#include "tests/laws/lives_player.h"

#include <algorithm>

namespace qv::tests {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::ConversionLosses;
using Model = LivesModel;

constexpr std::size_t mostNodes = 8;
constexpr const char* kTypes[] = {"thing", "lamp", "other"};

std::string numbered(const char* start, unsigned number, unsigned count) {
    return start + std::to_string(number % count);
}

} // namespace

const std::vector<LivesPlayer::Kind>& LivesPlayer::kinds() {
    using Self = LivesPlayer;
    static const std::vector<Kind> all = {
        {"createNode", &Self::createNode},
        {"createNode", &Self::createNode},
        {"removeNode", &Self::removeNode},
        {"removeNode", &Self::removeNode},
        {"renameNode", &Self::renameNode},
        {"moveNode", &Self::moveNode},
        {"convertNode", &Self::convertNode},
        {"clearScene", &Self::clearScene},
        {"endScene", &Self::endScene},
        {"createInput", &Self::createInput},
        {"createInput", &Self::createInput},
        {"createInput", &Self::createInput},
        {"removeInput", &Self::removeInput},
        {"clearInputs", &Self::clearInputs},
        {"setReal", &Self::setReal},
        {"setLink", &Self::setLink},
        {"setLink", &Self::setLink},
        {"setLink", &Self::setLink},
        {"append", &Self::append},
        {"append", &Self::append},
        {"setElement", &Self::setElement},
        {"setElement", &Self::setElement},
        {"removeElement", &Self::removeElement},
        {"moveElement", &Self::moveElement},
        {"createOutput", &Self::createOutput},
        {"createOutput", &Self::createOutput},
        {"removeOutput", &Self::removeOutput},
        {"connect", &Self::connect},
        {"connect", &Self::connect},
        {"connect", &Self::connect},
        {"disconnect", &Self::disconnect},
        {"hold", &Self::hold},
        {"detach", &Self::detach},
        {"detach", &Self::detach},
        {"holdAttributes", &Self::holdAttributes},
        {"makeFreeNode", &Self::makeFreeNode},
        {"letGoOfFreeNode", &Self::letGoOfFreeNode},
        {"openScope", &Self::openScope},
        {"closeScope", &Self::closeScope},
        {"closeScope", &Self::closeScope},
        {"cancelScope", &Self::cancelScope},
        {"undo", &Self::undo},
        {"undo", &Self::undo},
        {"redo", &Self::redo},
    };
    return all;
}

unsigned LivesPlayer::kindCount() {
    return static_cast<unsigned>(kinds().size());
}

const char* LivesPlayer::name(unsigned kind) {
    return kinds()[kind % kindCount()].name;
}

// ---- Objects to edit -----------------------------------------------------------------------

int LivesPlayer::pick(const World& at, unsigned number) {
    const auto& order = at.model.order();
    return order.empty() ? -1 : order[number % order.size()];
}

LivesPlayer::Node LivesPlayer::nodeOf(const World& at, int number) const {
    return at.scene[at.model.node(number).name.c_str()];
}

LivesPlayer::Input LivesPlayer::inputOf(const World& at, int number,
                                        const std::string& name) const {
    return nodeOf(at, number)[name.c_str()];
}

// Most targets are in the same scene; others are null, in the other scene, removed, or free.
LivesPlayer::Target LivesPlayer::target(World& at, unsigned number) {
    const World& other = &at == &m_worlds[0] ? m_worlds[1] : m_worlds[0];
    const unsigned sort = number % 8, place = number / 8;
    if (sort == 0) return {};
    if (sort == 1 && pick(other, place) >= 0)
        return {pick(other, place), nodeOf(other, pick(other, place))};
    if (sort == 2 && !m_handles.empty()) {
        const auto& [held, node] = m_handles[place % m_handles.size()];
        return {held, node};
    }
    std::vector<int> free;
    for (const auto& [each, node] : m_free)
        if (node.handle) free.push_back(each);
    if (sort <= 4 && !free.empty()) {
        const int chosen = free[place % free.size()];
        return {chosen, m_free[chosen].handle};
    }
    const int own = pick(at, place);
    return own < 0 ? Target{} : Target{own, nodeOf(at, own)};
}

bool LivesPlayer::mayReferTo(const World& at, int number) const {
    return number < 0 || at.model.has(number) || m_free.contains(number);
}

LivesModel::Input* LivesPlayer::anyInput(World& at, const RandomEdit& step, Model::Kind kind,
                                         int& number) {
    std::vector<std::pair<int, std::string>> all;
    for (const int each : at.model.order())
        for (const Model::Input& input : at.model.node(each).inputs)
            if (input.kind == kind) all.emplace_back(each, input.name);
    if (all.empty()) return nullptr;
    const auto& [node, name] = all[step.b % all.size()];
    number = node;
    return at.model.input(node, name);
}

// ---- Nodes ---------------------------------------------------------------------------------

void LivesPlayer::createNode(const RandomEdit& step) {
    World& at = world(step);
    if (at.model.order().size() >= mostNodes) return;
    const std::string wanted = numbered("n", step.b, 3) + "x";
    const char* type = kTypes[step.c % std::size(kTypes)];
    const Node made = at.scene.createNode(type, wanted.c_str());
    if (!made) return fail("no node was made");
    if (!made.name().view().starts_with(wanted) || at.model.find(made.name().buf()) >= 0)
        return fail(std::string("a new node is called ") + made.name().buf());
    at.model.add(m_next, {.name = made.name().buf(), .type = type});
    m_pointers[m_next++] = made.get();
}

void LivesPlayer::removeNode(const RandomEdit& step) {
    World& at = world(step);
    // Sometimes takes a node that a handle keeps alive, in any state.
    if (step.c % 4 == 0 && !m_handles.empty()) {
        const auto [number, node] = m_handles[step.b % m_handles.size()];
        const bool isThere = at.model.has(number);
        expect(at.scene.removeNode(node), isThere, "the removal of a node");
        if (!isThere) return;
        return at.model.remove(number);
    }
    const int number = pick(at, step.b);
    if (number < 0) return;
    expect(at.scene.removeNode(nodeOf(at, number)), true, "the removal of a node");
    at.model.remove(number);
}

void LivesPlayer::renameNode(const RandomEdit& step) {
    World& at = world(step);
    const int number = pick(at, step.b);
    if (number < 0) return;
    const std::string wanted = numbered("m", step.c, 4) + "x";
    const Node node = nodeOf(at, number);
    expect(at.scene.renameNode(node, wanted.c_str()), true, "a new name");
    const int twin = at.model.find(node.name().buf());
    if (!node.name().view().starts_with(wanted) || (twin >= 0 && twin != number))
        return fail(std::string("a renamed node is called ") + node.name().buf());
    at.model.node(number).name = node.name().buf();
}

void LivesPlayer::moveNode(const RandomEdit& step) {
    World& at = world(step);
    const int number = pick(at, step.b);
    if (number < 0) return;
    const std::size_t place = step.c % at.model.order().size();
    expect(at.scene.moveNode(nodeOf(at, number), place), true, "the move of a node");
    at.model.move(number, place);
}

void LivesPlayer::convertNode(const RandomEdit& step) {
    World& at = world(step);
    const int number = pick(at, step.b);
    if (number < 0) return;
    const char* type = kTypes[step.c % std::size(kTypes)];
    ConversionLosses losses;
    const Node made = nodeOf(at, number).convertTo(type, &losses);
    if (!made) return fail("a node was not converted");
    at.model.replace(number, m_next, type);
    m_pointers[m_next++] = made.get();
}

void LivesPlayer::clearScene(const RandomEdit& step) {
    World& at = world(step);
    if (step.b % 4 != 0) return;
    at.scene->clear();
    at.model.clear();
}

// Nodes with handles stay alive, without a scene.
void LivesPlayer::endScene(const RandomEdit& step) {
    World& at = world(step);
    if (step.b % 4 != 0) return;
    const bool isRecorded = at.scene.undoEnabled();
    end(at);
    begin(at, isRecorded);
}

// ---- Inputs --------------------------------------------------------------------------------

void LivesPlayer::createInput(const RandomEdit& step) {
    World& at = world(step);
    const int number = pick(at, step.b);
    if (number < 0) return;
    const Node node = nodeOf(at, number);
    Model::Input made{.name = numbered("r", step.c / 4, 2)};
    if (step.c % 4 == 1) made = {.name = numbered("l", step.c / 4, 2), .kind = Model::Kind::Link};
    if (step.c % 4 == 2) made = {.name = numbered("e", step.c / 4, 2), .kind = Model::Kind::List};
    if (made.kind == Model::Kind::Link) made.links.push_back(-1);
    if (made.kind == Model::Kind::List)
        node.createArray(made.name.c_str(), AttrType::Node);
    else
        node.createInput(made.name.c_str(),
                         made.kind == Model::Kind::Link ? AttrType::Node : AttrType::Real);
    if (!at.model.input(number, made.name)) at.model.node(number).inputs.push_back(made);
}

void LivesPlayer::removeInput(const RandomEdit& step) {
    World& at = world(step);
    const int number = pick(at, step.b);
    if (number < 0 || at.model.node(number).inputs.empty()) return;
    const auto& inputs = at.model.node(number).inputs;
    const std::string name = inputs[step.c % inputs.size()].name;
    expect(nodeOf(at, number).removeInput(name.c_str()), true, "the removal of an input");
    at.model.removeInput(number, name);
}

void LivesPlayer::clearInputs(const RandomEdit& step) {
    World& at = world(step);
    const int number = pick(at, step.b);
    if (number < 0 || step.c % 4 != 0) return;
    nodeOf(at, number)->clearInputs();
    while (!at.model.node(number).inputs.empty())
        at.model.removeInput(number, at.model.node(number).inputs.front().name);
}

void LivesPlayer::setReal(const RandomEdit& step) {
    World& at = world(step);
    int number = -1;
    Model::Input* input = anyInput(at, step, Model::Kind::Real, number);
    if (!input) return;
    input->value = step.c % 3;
    expect(inputOf(at, number, input->name).set(input->value), true, "a value");
}

void LivesPlayer::setLink(const RandomEdit& step) {
    World& at = world(step);
    int number = -1;
    Model::Input* input = anyInput(at, step, Model::Kind::Link, number);
    if (!input) return;
    const Target to = target(at, step.c);
    const bool may = mayReferTo(at, to.number);
    expect(inputOf(at, number, input->name).set(to.node), may, "a link");
    if (may) input->links[0] = to.number;
}

void LivesPlayer::append(const RandomEdit& step) {
    World& at = world(step);
    int number = -1;
    Model::Input* input = anyInput(at, step, Model::Kind::List, number);
    if (!input || input->links.size() >= 5) return;
    const Input list = inputOf(at, number, input->name);
    const std::size_t place = step.c % (input->links.size() + 1);
    if (!list->insertElement(place)) return fail("no element was made");
    input->links.insert(input->links.begin() + static_cast<std::ptrdiff_t>(place), -1);
}

void LivesPlayer::setElement(const RandomEdit& step) {
    World& at = world(step);
    int number = -1;
    Model::Input* input = anyInput(at, step, Model::Kind::List, number);
    if (!input || input->links.empty()) return;
    const Target to = target(at, step.c);
    const bool may = mayReferTo(at, to.number);
    const std::size_t place = step.c / 64 % input->links.size();
    expect(inputOf(at, number, input->name).input(place).set(to.node), may, "an element");
    if (may) input->links[place] = to.number;
}

void LivesPlayer::removeElement(const RandomEdit& step) {
    World& at = world(step);
    int number = -1;
    Model::Input* input = anyInput(at, step, Model::Kind::List, number);
    if (!input || input->links.empty()) return;
    const u64 place = step.c % input->links.size();
    expect(inputOf(at, number, input->name)->removeInput(place), true, "an element's removal");
    input->links.erase(input->links.begin() + static_cast<std::ptrdiff_t>(place));
}

void LivesPlayer::moveElement(const RandomEdit& step) {
    World& at = world(step);
    int number = -1;
    Model::Input* input = anyInput(at, step, Model::Kind::List, number);
    if (!input || input->links.empty()) return;
    const u64 from = step.c % input->links.size(), to = step.c / 16 % input->links.size();
    expect(inputOf(at, number, input->name)->moveElement(from, to), true, "an element's move");
    const int moved = input->links[from];
    input->links.erase(input->links.begin() + static_cast<std::ptrdiff_t>(from));
    input->links.insert(input->links.begin() + static_cast<std::ptrdiff_t>(to), moved);
}

// ---- Outputs and connections ---------------------------------------------------------------

void LivesPlayer::createOutput(const RandomEdit& step) {
    World& at = world(step);
    const int number = pick(at, step.b);
    if (number < 0) return;
    const std::string name = numbered("o", step.c, 2);
    nodeOf(at, number).createOutput(name.c_str(), AttrType::Real);
    if (!at.model.output({number, name})) at.model.node(number).outputs.push_back({.name = name});
}

void LivesPlayer::removeOutput(const RandomEdit& step) {
    World& at = world(step);
    const int number = pick(at, step.b);
    if (number < 0 || at.model.node(number).outputs.empty()) return;
    const auto& outputs = at.model.node(number).outputs;
    const std::string name = outputs[step.c % outputs.size()].name;
    expect(nodeOf(at, number)->removeOutput(name.c_str()), true, "the removal of an output");
    at.model.removeOutput(number, name);
}

void LivesPlayer::connect(const RandomEdit& step) {
    World& at = world(step);
    int number = -1;
    Model::Input* input = anyInput(at, step, Model::Kind::Real, number);
    const Target to = target(at, step.c);
    if (!input || !to.node || to.node.outputCount() == 0) return;
    const Output output = to.node.output(step.c / 64 % to.node.outputCount());
    const bool may = mayReferTo(at, to.number) && !at.model.closesLoop(number, to.number);
    expect(inputOf(at, number, input->name).connect(output), may, "a connection");
    if (may) at.model.connect(number, *input, {to.number, output.name().buf()});
}

void LivesPlayer::disconnect(const RandomEdit& step) {
    World& at = world(step);
    int number = -1;
    Model::Input* input = anyInput(at, step, Model::Kind::Real, number);
    if (!input) return;
    expect(inputOf(at, number, input->name).disconnect(), input->source.node >= 0,
           "the end of a connection");
    at.model.disconnect(number, *input);
}

// ---- Handles -------------------------------------------------------------------------------

void LivesPlayer::hold(const RandomEdit& step) {
    const World& at = world(step);
    const int number = pick(at, step.b);
    if (number >= 0 && m_handles.size() < 6) m_handles.emplace_back(number, nodeOf(at, number));
}

void LivesPlayer::detach(const RandomEdit& step) {
    if (step.c % 8 == 0) m_inputs.clear(), m_outputs.clear();
    if (m_handles.empty()) return;
    m_handles.erase(m_handles.begin() + static_cast<std::ptrdiff_t>(step.b % m_handles.size()));
}

void LivesPlayer::holdAttributes(const RandomEdit& step) {
    const World& at = world(step);
    const int number = pick(at, step.b);
    if (number < 0 || m_inputs.size() > 8) return;
    const Node node = nodeOf(at, number);
    if (node.inputCount() != 0) m_inputs.push_back(node.input(step.c % node.inputCount()));
    if (node.outputCount() != 0) m_outputs.push_back(node.output(step.c % node.outputCount()));
}

void LivesPlayer::makeFreeNode(const RandomEdit& step) {
    if (m_free.size() >= 3 + step.b % 4) return;
    const std::string name = "free" + std::to_string(m_next);
    const auto made = RefersTo<kelvo_sdk::impl::Node>::adopt(
        new kelvo_sdk::impl::Node(nullptr, "thing", name.c_str()));
    FreeNode& node = m_free[m_next];
    node.handle = Node(made.get());
    node.handle.createOutput("o0", AttrType::Real);
    node.layout = std::make_unique<CountingLayout>();
    node.handle->setLayout(node.layout.get());
    m_freeNames[m_next++] = name;
}

void LivesPlayer::letGoOfFreeNode(const RandomEdit& step) {
    // The model does not know which nodes an open edit keeps alive.
    if (!m_worlds[0].scopes.empty() || !m_worlds[1].scopes.empty() || m_free.empty()) return;
    std::next(m_free.begin(), static_cast<std::ptrdiff_t>(step.b % m_free.size()))->second.handle =
        Node();
}

// ---- Edits ---------------------------------------------------------------------------------

void LivesPlayer::openScope(const RandomEdit& step) {
    World& at = world(step);
    if (at.scopes.size() >= 3) return;
    const Scene::UndoScope scope(at.scene, String::format("step %d", ++m_scopes), "");
    at.scopes.push_back({scope, at.model});
}

void LivesPlayer::closeScope(const RandomEdit& step) {
    if (!world(step).scopes.empty()) world(step).scopes.pop_back();
}

void LivesPlayer::cancelScope(const RandomEdit& step) {
    World& at = world(step);
    if (at.scopes.empty()) return;
    const std::size_t depth = step.b % at.scopes.size();
    at.scopes[depth].scope.cancel();
    at.model = at.scopes[depth].before;
    while (at.scopes.size() > depth)
        at.scopes.pop_back();
}

} // namespace qv::tests
