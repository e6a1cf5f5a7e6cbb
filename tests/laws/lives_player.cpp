#include "tests/laws/lives_player.h"

#include "tests/support/known_rows.h"

#include <algorithm>
#include <set>

namespace qv::tests {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Scene;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;
using kelvo_sdk::interfaces::IOutput;

std::string linkName(const IInput& input) {
    INode* node = nullptr;
    input.readNode(node, false, nullptr);
    return node ? node->name().buf() : "-";
}

void tellInput(const IInput& input, std::string& out) {
    out += std::string("  ") + input.name().buf();
    double value = 0;
    if (input.type() == AttrType::Real && input.readReal(value, false, nullptr))
        out += " " + std::to_string(value);
    if (input.type() == AttrType::Node) out += " " + linkName(input);
    for (u64 i = 0; i < input.inputCount(); ++i)
        out += " " + linkName(*input.input(i));
    if (input.source()) out += std::string(" <- ") + input.source()->path().buf();
    out += "\n";
}

// Returns the text of a scene in the format of the model's text.
std::string textOf(const Scene& scene) {
    std::string out;
    for (u64 i = 0; i < scene.nodeCount(); ++i) {
        const kelvo_sdk::Node node = scene.node(i);
        out += std::string(node.type().buf()) + " " + node.name().buf() + "\n";
        for (u64 k = 0; k < node.inputCount(); ++k)
            tellInput(*node->input(k), out);
        for (u64 k = 0; k < node.outputCount(); ++k) {
            const IOutput& output = *node->output(k);
            out += std::string("  out ") + output.name().buf();
            for (u64 t = 0; t < output.targetCount(); ++t)
                out += std::string(" ") + output.target(t)->path().buf();
            out += "\n";
        }
    }
    return out;
}

// Returns the references to a node: referring node and input; elements of a list count without
// their index.
std::multiset<std::string> referencesTo(int number, const LivesModel& state) {
    std::multiset<std::string> found;
    for (const int each : state.order())
        for (const LivesModel::Input& input : state.node(each).inputs) {
            const std::string place = std::to_string(each) + input.name;
            if (input.source.node == number) found.insert(place + input.source.output);
            for (const int link : input.links)
                if (link == number) found.insert(place);
        }
    return found;
}

// Tells whether `after` lacks a reference that `before` has.
bool isLost(int number, const LivesModel& before, const LivesModel& after) {
    const auto first = referencesTo(number, before), left = referencesTo(number, after);
    return !std::ranges::includes(left, first);
}

} // namespace

// Reads every object that it is notified of.
class LivesPlayer::Reader : public kelvo_sdk::SceneObserver {
public:
    void nodeAdded(INode* node) override { m_read += node->name(); }
    void nodeRemoved(INode* node) override { m_read = node->name(); }
    void inputAdded(const IInput* input) override { m_read = input->path(); }
    void inputRemoved(const IInput* input) override { m_read = input->path(); }
    void outputRemoved(const IOutput* output) override { m_read = output->path(); }
    void inputChanged(const IInput* input, const kelvo_sdk::impl::AttrData*) override {
        m_read = input->path();
    }
    void inputConnected(const IInput* input, const IOutput* before, const IOutput* after) override {
        m_read = input->path();
        for (const IOutput* each : {before, after})
            if (each) m_read = each->path();
    }

private:
    String m_read;
};

LivesPlayer::LivesPlayer(unsigned flavour)
    : m_nodesBefore(impl_nodeInstanceCount()),
      m_flavour(flavour),
      m_reader(std::make_unique<Reader>()) {
    begin(m_worlds[0], flavour % 2 == 0);
    begin(m_worlds[1], flavour % 4 < 2);
}

LivesPlayer::~LivesPlayer() {
    for (World& each : m_worlds)
        end(each);
}

void LivesPlayer::end(World& at) {
    at.scene.unsubscribe(m_reader.get());
    while (!at.scopes.empty())
        at.scopes.pop_back();
}

void LivesPlayer::begin(World& at, bool isRecorded) {
    at = World{.scene = Scene::create(), .model = {}};
    at.states.push_back(at.model);
    if (m_flavour % 8 >= 4) at.scene.setDirtyStateCached(true);
    if (m_flavour % 16 >= 8) at.scene.subscribe(m_reader.get());
    if (isRecorded) at.scene.setUndoEnabled(true);
}

std::string LivesPlayer::play(const std::vector<RandomEdit>& script) {
    for (const RandomEdit& step : script) {
        (this->*kinds()[step.kind % kindCount()].run)(step);
        for (World& each : m_worlds)
            settle(each);
        endFreeNodes();
        check();
        if (!m_wrong.empty()) return m_wrong;
    }
    finish();
    return m_wrong;
}

// ---- Expected state ------------------------------------------------------------------------

// Records the state in the model if the scene has made a new step.
void LivesPlayer::settle(World& at) {
    if (!at.scopes.empty() || !at.scene.undoEnabled()) return;
    const u64 steps = at.scene.undoCount();
    if (steps == at.steps) {
        if (at.model != at.states[at.at]) fail("the scene changed without a step");
        return;
    }
    if (steps != at.steps + 1) return fail("one edit made several steps");
    if (at.scene.redoCount() != 0) fail("an edit left steps to redo");
    at.steps = steps;
    at.states.resize(++at.at);
    at.states.push_back(at.model);
}

void LivesPlayer::turn(World& at, bool isBack) {
    const bool can = at.scopes.empty() && at.scene.undoEnabled() &&
                     (isBack ? at.at > 0 : at.at + 1 < at.states.size());
    expect(isBack ? at.scene.undo() : at.scene.redo(), can, isBack ? "undo" : "redo");
    if (!can) return;
    at.at = isBack ? at.at - 1 : at.at + 1;
    at.steps = at.at;
    at.model = at.states[at.at];
}

// Free nodes end with their last reference, and with them the links and connections to them.
void LivesPlayer::endFreeNodes() {
    for (auto& [number, each] : m_free) {
        if (each.isGone || each.layout->count != 0) continue;
        if (isOwed(number)) fail("a node of no scene ended that the history may bring back");
        each.isGone = true;
        m_freeNames.erase(number);
        for (World& at : m_worlds) {
            at.model.forget(number);
            for (LivesModel& state : at.states)
                state.forget(number);
            for (OpenScope& open : at.scopes)
                open.before.forget(number);
        }
    }
}

// Tells whether undo or redo would restore a reference to the free node.
bool LivesPlayer::isOwed(int freeNode) const {
    for (const World& at : m_worlds)
        for (std::size_t i = 0; i + 1 < at.states.size(); ++i) {
            const LivesModel& before = at.states[i];
            const LivesModel& after = at.states[i + 1];
            if (i < at.at ? isLost(freeNode, before, after) : isLost(freeNode, after, before))
                return true;
        }
    return false;
}

void LivesPlayer::check() {
    for (const World& at : m_worlds) {
        for (const auto& fault : at.scene.verify())
            fail(std::string(fault.place.buf()) + " " + fault.message.buf());
        fillRows(at.scene);
        const std::string is = textOf(at.scene), should = at.model.text(m_freeNames);
        if (is != should) fail("---- expected\n" + should + "---- is\n" + is);
        for (u64 i = 0; i < at.scene.nodeCount() && m_wrong.empty(); ++i)
            if (at.scene.node(i).get() != m_pointers.at(at.model.order()[i]))
                fail("another object came back");
    }
    checkHandles();
}

void LivesPlayer::checkHandles() {
    for (const auto& [number, node] : m_handles) {
        const bool isInScene = m_worlds[0].model.has(number) || m_worlds[1].model.has(number);
        expect(node->scene() != nullptr, isInScene, "a node's scene");
        if (node.name().isEmpty()) fail("a node without a name");
        std::string ignored;
        for (u64 i = 0; i < node.inputCount(); ++i)
            tellInput(*node->input(i), ignored);
    }
    for (const Input& each : m_inputs)
        static_cast<void>(each.path());
    for (const Output& each : m_outputs)
        static_cast<void>(each.path());
}

// Goes to the start of each history and to its end, then destroys everything.
void LivesPlayer::finish() {
    for (World& at : m_worlds) {
        while (!at.scopes.empty())
            at.scopes.pop_back();
        settle(at);
        goBackAndForth(at);
        if (!m_wrong.empty()) return;
        const Scene again = Scene::create();
        if (!again.read(at.scene.text(), "text")) fail("the text does not read back");
        at.scene.setUndoEnabled(false);
        at.states.assign(1, at.model);
        at.at = 0;
        endFreeNodes();
    }
    std::set<const INode*> alive;
    for (const auto& [number, node] : m_handles)
        alive.insert(node.get());
    for (const auto& [number, each] : m_free)
        if (each.handle) alive.insert(each.handle.get());
    for (const World& at : m_worlds)
        for (u64 i = 0; i < at.scene.nodeCount(); ++i)
            alive.insert(at.scene.node(i).get());
    const auto count = static_cast<i64>(alive.size());
    if (impl_nodeInstanceCount() - m_nodesBefore != count)
        fail("other nodes live than those that somebody holds");
}

void LivesPlayer::goBackAndForth(World& at) {
    if (!at.scene.undoEnabled()) return;
    while (m_wrong.empty() && at.at > 0)
        turn(at, true), endFreeNodes(), check();
    while (m_wrong.empty() && at.at + 1 < at.states.size())
        turn(at, false), endFreeNodes(), check();
}

void LivesPlayer::expect(bool is, bool should, const char* what) {
    if (is != should) fail(std::string(what) + (is ? ": was not refused" : ": was refused"));
}

void LivesPlayer::fail(const std::string& what) {
    if (m_wrong.empty()) m_wrong = what;
}

} // namespace qv::tests
