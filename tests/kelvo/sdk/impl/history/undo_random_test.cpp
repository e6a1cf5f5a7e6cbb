// Thousands of random edits of all kinds, in scopes that end, are cancelled or left by exceptions,
// are undone, redone and returned to, and compared with a model: the state of the scene at each
// place of its history.
//
// KELVO_UNDO_SECONDS sets how long this takes; KELVO_UNDO_SEED is the first script's seed. A
// failing script is reduced to a minimal one, and printed.

#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/known_rows.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_dump.h"
#include "tests/support/random_edits.h"
#include "tests/support/shrink.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::RandomEdit;
using tests::RandomEdits;
using UndoScope = kelvo_sdk::Scene::UndoScope;
using Script = std::vector<RandomEdit>;

// The action of a script's step; any other number is an edit.
enum Act : unsigned { Open, OpenToo, Close, Cancel, Throw, Undo, Redo, Check, Return, Save, Limit };
constexpr unsigned kActs = Limit + 1;
constexpr const char* kActNames[] = {"open", "open",  "close",  "cancel", "throw", "undo",
                                     "redo", "check", "return", "save",   "limit"};

// Edits when an input changes, but not while a step is undone.
class Echo : public SceneObserver {
public:
    explicit Echo(kelvo_sdk::Scene scene) : m_scene(std::move(scene)) { m_scene.subscribe(this); }
    ~Echo() override { m_scene.unsubscribe(this); }
    Echo(const Echo&) = delete;
    Echo& operator=(const Echo&) = delete;

    void inputChanged(const IInput* input, const AttrData*) override {
        if (m_isEditing || m_scene->undoInProgress() || input->name() != "factor") return;
        m_isEditing = true;
        INode* node = input->node();
        node->createInput("echo", AttrType::Real)->setReal(++m_count);
        if (m_count % 7 == 0) node->removeInput("a");
        m_isEditing = false;
    }
    void nodeRemoved(INode*) override {
        if (m_isEditing || m_scene->undoInProgress() || m_scene.nodeCount() > 8) return;
        m_isEditing = true;
        if (++m_count % 3 == 0) m_scene.createNode("note", "note");
        m_isEditing = false;
    }

private:
    kelvo_sdk::Scene m_scene;
    bool m_isEditing = false;
    int m_count = 0;
};

// Lists the objects of a node, because undo has to restore the same ones.
std::string objects(const kelvo_sdk::Node& node) {
    std::string text = std::to_string(reinterpret_cast<u64>(node.get()));
    std::vector<const IInput*> all;
    for (u64 i = 0; i < node.inputCount(); ++i)
        all.push_back(node->input(i));
    for (std::size_t k = 0; k < all.size(); ++k) {
        text += " " + std::to_string(reinterpret_cast<u64>(all[k]));
        for (u64 i = 0; i < all[k]->inputCount(); ++i)
            all.push_back(all[k]->input(i));
    }
    return text;
}

// Returns a full description of a scene.
std::string told(const kelvo_sdk::Scene& scene) {
    std::string text = std::string(scene.text().view()) + tests::NodeDump::of(scene);
    for (u64 i = 0; i < scene.nodeCount(); ++i) {
        const kelvo_sdk::Node node = scene.node(i);
        text += "hash " + std::to_string(node.hash()) + " of " + objects(node) + "\n";
        for (u64 k = 0; k < node->outputCount(); ++k)
            for (u64 t = 0; t < node->output(k)->targetCount(); ++t)
                text += std::string(node->output(k)->target(t)->path().view()) + "\n";
    }
    return text;
}

// Plays one script. Stops at the first failure.
class Player {
public:
    explicit Player(unsigned flavour) : m_edits(m_scene) {
        if (flavour % 2 == 1) m_scene.addLibrary(kelvo_sdk::LibInfo(&standardLibrary()));
        if (flavour % 4 >= 2) m_echo = std::make_unique<Echo>(m_scene);
        if (flavour % 8 >= 4) m_scene.setDirtyStateCached(true);
        m_scene.setUndoEnabled(true);
        m_states.push_back(told(m_scene));
    }

    // Returns the failure, empty if there is none.
    std::string play(const Script& script) {
        const tests::LogCapture log;
        for (const RandomEdit& step : script) {
            one(step);
            if (m_wrong.empty()) checkFaults();
            if (!m_wrong.empty()) return m_wrong;
        }
        closeTo(0);
        settle();
        backAndForth();
        return m_wrong;
    }

private:
    struct OpenScope {
        UndoScope scope;
        std::string before;
    };

    void one(const RandomEdit& step) {
        switch (step.kind) {
        case Open:
        case OpenToo:
            if (m_scopes.size() < 4)
                m_scopes.push_back({UndoScope(m_scene, newText(), ""), told(m_scene)});
            return;
        case Close:
            if (!m_scopes.empty()) closeTo(m_scopes.size() - 1);
            return settle();
        case Cancel:
            return cancel(step.a);
        case Throw:
            return leave(step.a);
        case Undo:
            return turn(true);
        case Redo:
            return turn(false);
        case Check:
            return setCheckpoint(step.a);
        case Return:
            return returnTo(step.a);
        case Save:
            return save();
        case Limit:
            return limit(step);
        default:
            m_edits.run({step.kind - kActs, step.a, step.b, step.c});
            return settle();
        }
    }

    // Records the state in the model if the scene has made a new step.
    void settle() {
        if (!m_scopes.empty() || !m_wrong.empty()) return;
        const std::string now = told(m_scene);
        const bool isNew = lastText() != m_lastText;
        if (now == m_states[m_at] && m_scene.undoCount() == m_at - m_first && !isNew) return;
        m_lastText = lastText();
        const u64 expected = m_at - m_first + 1;
        m_at += 1;
        m_states.resize(m_at);
        m_states.push_back(now);
        std::erase_if(m_checkpoints, [&](const auto& each) { return each.second >= m_at; });
        if (m_saved >= static_cast<i64>(m_at)) m_saved = -1;
        if (m_scene.undoCount() > expected) fail("one edit made several steps");
        if (m_scene.redoCount() != 0) fail("an edit left steps to redo");
        if (m_scene.undoCount() < expected && !m_isLimited)
            fail("the scene changed without a step", m_states[m_at - 1], now);
        if (m_isLimited) trim();
    }
    // Returns a new text for each step, so that steps without a net change differ, such as adding
    // and removing a node.
    String newText() { return String::format("step %d", ++m_scopeCount); }
    [[nodiscard]] String lastText() const { return m_scene.undoStep(0).doText; }
    void trim() {
        m_first = m_at - m_scene.undoCount();
        std::erase_if(m_checkpoints, [&](const auto& each) { return each.second < m_first; });
        if (m_saved < static_cast<i64>(m_first)) m_saved = -1;
    }

    void closeTo(std::size_t depth) {
        while (m_scopes.size() > depth)
            m_scopes.pop_back();
    }
    void cancel(unsigned number) {
        if (m_scopes.empty()) return;
        const std::size_t depth = number % m_scopes.size();
        m_scopes[depth].scope.cancel();
        expect("cancel", m_scopes[depth].before);
        closeTo(depth);
        settle();
    }
    void leave(unsigned number) {
        if (m_scopes.empty()) return;
        const std::size_t depth = number % m_scopes.size();
        const std::string before = m_scopes[depth].before;
        struct Leaving {
            ~Leaving() { player.closeTo(depth); }
            Player& player;
            std::size_t depth;
        };
        try {
            const Leaving leaving{*this, depth};
            throw 1;
        } catch (int) {
        }
        expect("an exception", before);
        settle();
    }

    void turn(bool isBack) {
        const bool can = m_scopes.empty() && (isBack ? m_at > m_first : m_at + 1 < m_states.size());
        if ((isBack ? m_scene.undo() : m_scene.redo()) != can)
            return fail(isBack ? "undo has another answer" : "redo has another answer");
        if (!can) return;
        m_at = isBack ? m_at - 1 : m_at + 1;
        m_lastText = lastText();
        expect(isBack ? "undo" : "redo", m_states[m_at]);
    }
    void setCheckpoint(unsigned number) {
        if (!m_scopes.empty()) return;
        const char* const names[] = {"one", "two", "three"};
        m_scene.setCheckpoint(names[number % 3]);
        m_checkpoints[names[number % 3]] = m_at;
    }
    void returnTo(unsigned number) {
        const char* const names[] = {"one", "two", "three"};
        const auto found = m_checkpoints.find(names[number % 3]);
        const bool can = m_scopes.empty() && found != m_checkpoints.end();
        if (m_scene.returnTo(names[number % 3]) != can)
            return fail("returning to a checkpoint has another answer");
        if (!can) return;
        m_at = found->second;
        m_lastText = lastText();
        expect("returning", m_states[m_at]);
    }
    void save() {
        if (!m_scopes.empty()) return;
        m_scene.markSaved();
        m_saved = static_cast<i64>(m_at);
    }
    void limit(const RandomEdit& step) {
        if (step.a % 16 != 0 || !m_scopes.empty() || m_at + 1 != m_states.size()) return;
        m_scene.setUndoLimits({u64{1} << 30, step.b % 8 + 1});
        m_isLimited = true;
        trim();
        m_lastText = lastText();
    }

    // Goes to the start of the history and to its end, twice.
    void backAndForth() {
        for (int round = 0; round < 2 && m_wrong.empty(); ++round) {
            while (m_wrong.empty() && m_at > m_first)
                turn(true), checkFaults();
            while (m_wrong.empty() && m_at + 1 < m_states.size())
                turn(false), checkFaults();
        }
    }

    void expect(const char* what, const std::string& state) {
        const std::string now = told(m_scene);
        if (now != state) fail(std::string(what) + " leads to another state", state, now);
    }
    void checkFaults() {
        for (const auto& fault : m_scene.verify())
            fail(std::string(fault.place.view()) + " " + std::string(fault.message.view()));
        tests::fillRows(m_scene);
        if (!m_scopes.empty()) return;
        if (m_scene.undoCount() != m_at - m_first) fail("the count of steps is another");
        if (m_scene.redoCount() != m_states.size() - 1 - m_at) fail("the count to redo is another");
        if (m_saved >= 0 && m_scene.isSaved() != (m_saved == static_cast<i64>(m_at)))
            fail("the scene errs about being saved");
    }
    void fail(const std::string& what, const std::string& before = {},
              const std::string& now = {}) {
        if (m_wrong.empty()) m_wrong = what;
        if (before != now) m_wrong += "\n---- expected\n" + before + "---- is\n" + now;
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    RandomEdits m_edits;
    std::unique_ptr<Echo> m_echo;
    std::vector<OpenScope> m_scopes;
    // The scene at each place of the history; `m_first` is the first reachable one.
    std::vector<std::string> m_states;
    u64 m_at = 0;
    u64 m_first = 0;
    std::map<std::string, u64> m_checkpoints;
    i64 m_saved = 0;
    String m_lastText;
    int m_scopeCount = 0;
    bool m_isLimited = false;
    std::string m_wrong;
};

Script randomScript(unsigned seed) {
    std::mt19937 random(seed);
    const auto below = [&](unsigned end) { return static_cast<unsigned>(random() % end); };
    Script script(20 + below(200));
    for (RandomEdit& step : script) {
        const bool isEdit = below(4) != 0;
        step.kind = isEdit ? kActs + below(RandomEdits::kindCount()) : below(kActs);
        step.a = below(1024);
        step.b = below(1024);
        step.c = below(1024);
    }
    return script;
}

std::string printed(const Script& script) {
    std::string text;
    for (const RandomEdit& step : script) {
        const bool isEdit = step.kind >= kActs;
        text += isEdit ? RandomEdits::name(step.kind - kActs) : kActNames[step.kind];
        for (const unsigned number : {step.a, step.b, step.c})
            text += " " + std::to_string(number);
        text += "\n";
    }
    return text;
}

unsigned setting(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

TEST(UndoRandom, EditsOfAllKinds_AreTakenBackAndDoneAgain) {
    const std::chrono::seconds length(setting("KELVO_UNDO_SECONDS", 2));
    const auto end = std::chrono::steady_clock::now() + length;
    unsigned seed = setting("KELVO_UNDO_SEED", 1);
    for (; std::chrono::steady_clock::now() < end; ++seed) {
        const Script script = randomScript(seed);
        if (Player(seed).play(script).empty()) continue;
        const Script least = tests::shrunk(
            script, [&](const Script& part) { return !Player(seed).play(part).empty(); });
        FAIL() << "Seed " << seed << ":\n" << printed(least) << Player(seed).play(least);
    }
    EXPECT_GT(seed, setting("KELVO_UNDO_SEED", 1));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
