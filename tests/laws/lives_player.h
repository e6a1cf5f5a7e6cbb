#pragma once

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/scene.h"
#include "tests/laws/lives_model.h"
#include "tests/support/counting_layout.h"
#include "tests/support/random_edits.h"

#include <array>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qv::tests {

/// Edits two scenes step by step, keeps handles on objects that may be removed, and compares
/// everything with a model after each step. The numbers of a step choose the objects to edit.
class LivesPlayer {
public:
    /// The bits of the flavour tell which scenes record for undo, and whether both cache dirty
    /// flags and have observers.
    explicit LivesPlayer(unsigned flavour);
    ~LivesPlayer();
    LivesPlayer(const LivesPlayer&) = delete;
    LivesPlayer& operator=(const LivesPlayer&) = delete;

    [[nodiscard]] static unsigned kindCount();
    [[nodiscard]] static const char* name(unsigned kind);

    /// Plays a script up to the first failure and returns that failure, empty if there is none.
    std::string play(const std::vector<RandomEdit>& script);

private:
    using Scene = kelvo_sdk::Scene;
    using Input = kelvo_sdk::Input;
    using Node = kelvo_sdk::Node;
    using Output = kelvo_sdk::Output;
    using Source = LivesModel::Source;

    struct Kind {
        const char* name;
        void (LivesPlayer::*run)(const RandomEdit&);
    };
    static const std::vector<Kind>& kinds();

    struct OpenScope {
        Scene::UndoScope scope;
        LivesModel before;
    };
    /// A scene, its expected state, and its expected state at each place of its history.
    struct World {
        Scene scene;
        LivesModel model;
        std::vector<LivesModel> states = {};
        std::size_t at = 0;
        u64 steps = 0;
        std::vector<OpenScope> scopes = {};
    };
    /// A node that is never added to a scene. It keeps its layout alive.
    struct FreeNode {
        std::unique_ptr<CountingLayout> layout = {};
        Node handle = {};
        bool isGone = false;
    };
    struct Target {
        int number = -1;
        Node node = {};
    };
    class Reader;

    World& world(const RandomEdit& step) { return m_worlds[step.a % 2]; }
    /// Return a number below 0, or an empty handle, if there is none.
    static int pick(const World& at, unsigned number);
    [[nodiscard]] Node nodeOf(const World& at, int number) const;
    Input inputOf(const World& at, int number, const std::string& name) const;
    Target target(World& at, unsigned number);
    [[nodiscard]] bool mayReferTo(const World& at, int number) const;
    LivesModel::Input* anyInput(World& at, const RandomEdit& step, LivesModel::Kind kind,
                                int& number);

    void createNode(const RandomEdit& step);
    void removeNode(const RandomEdit& step);
    void renameNode(const RandomEdit& step);
    void moveNode(const RandomEdit& step);
    void convertNode(const RandomEdit& step);
    void clearScene(const RandomEdit& step);
    void endScene(const RandomEdit& step);
    void createInput(const RandomEdit& step);
    void removeInput(const RandomEdit& step);
    void clearInputs(const RandomEdit& step);
    void setReal(const RandomEdit& step);
    void setLink(const RandomEdit& step);
    void append(const RandomEdit& step);
    void setElement(const RandomEdit& step);
    void removeElement(const RandomEdit& step);
    void moveElement(const RandomEdit& step);
    void createOutput(const RandomEdit& step);
    void removeOutput(const RandomEdit& step);
    void connect(const RandomEdit& step);
    void disconnect(const RandomEdit& step);
    void hold(const RandomEdit& step);
    void detach(const RandomEdit& step);
    void holdAttributes(const RandomEdit& step);
    void makeFreeNode(const RandomEdit& step);
    void letGoOfFreeNode(const RandomEdit& step);
    void openScope(const RandomEdit& step);
    void closeScope(const RandomEdit& step);
    void cancelScope(const RandomEdit& step);
    void undo(const RandomEdit& step) { turn(world(step), true); }
    void redo(const RandomEdit& step) { turn(world(step), false); }

    /// Restarts a world with an empty scene.
    void begin(World& at, bool isRecorded);
    void end(World& at);
    void turn(World& at, bool isBack);
    void settle(World& at);
    void endFreeNodes();
    [[nodiscard]] bool isOwed(int freeNode) const;
    void check();
    void checkHandles();
    void finish();
    void goBackAndForth(World& at);
    void expect(bool is, bool should, const char* what);
    void fail(const std::string& what);

    i64 m_nodesBefore;
    unsigned m_flavour;
    std::unique_ptr<Reader> m_reader;
    // Declared before the worlds, whose histories may keep these nodes, and so use their layouts.
    std::map<int, FreeNode> m_free;
    std::array<World, 2> m_worlds;
    std::map<int, kelvo_sdk::interfaces::INode*> m_pointers;
    std::map<int, std::string> m_freeNames;
    std::vector<std::pair<int, Node>> m_handles;
    std::vector<Input> m_inputs;
    std::vector<Output> m_outputs;
    int m_next = 0;
    int m_scopes = 0;
    std::string m_wrong;
};

} // namespace qv::tests
