#pragma once

#include "kelvo/sdk/scene.h"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qv::tests {

using kelvo_sdk::AttrType;
using kelvo_sdk::ConversionLosses;
using kelvo_sdk::Input;
using kelvo_sdk::Node;
using kelvo_sdk::Output;
using kelvo_sdk::Scene;

/// Counts its notifications, as each of the three kinds of observers.
class OomWitness : public kelvo_sdk::SceneObserver,
                   public kelvo_sdk::NodeObserver,
                   public kelvo_sdk::BatchObserver {
public:
    using INode = kelvo_sdk::interfaces::INode;
    using IInput = kelvo_sdk::interfaces::IInput;
    using IOutput = kelvo_sdk::interfaces::IOutput;
    /// Counts of the scene, of the nodes and of batches.
    using Counts = std::array<u64, 3>;

    void nodeAdded(INode*) override { ++counts[0]; }
    void nodeRemoved(INode*) override { ++counts[0]; }
    void nodeRenamed(INode*, String) override { ++counts[0]; }
    void nodeMoved(INode*, u64) override { ++counts[0]; }
    void inputAdded(const IInput*) override { ++counts[0]; }
    void inputRemoved(const IInput*) override { ++counts[0]; }
    void outputAdded(const IOutput*) override { ++counts[0]; }
    void outputRemoved(const IOutput*) override { ++counts[0]; }
    void inputChanged(const IInput*, const kelvo_sdk::impl::AttrData*) override { ++counts[0]; }
    void inputConnected(const IInput*, const IOutput*, const IOutput*) override { ++counts[0]; }
    void nodeConverted(INode*, INode*) override { ++counts[0]; }
    void inputRenamed(const IInput*, String) override { ++counts[0]; }
    void nodeRemoved() override { ++counts[1]; }
    void nodeRenamed(String) override { ++counts[1]; }
    void nodeConverted(Node) override { ++counts[1]; }
    void inputChanged(Input) override { ++counts[1]; }
    void inputConnected(Input) override { ++counts[1]; }
    void sceneChanged(const kelvo_sdk::SceneChanges&) override { ++counts[2]; }

    Counts counts{};
};

/// The scene of a trial and all objects that its operation needs: a scene with cached dirty flags
/// and results, a witness subscribed to the scene, to each node and for batches, and a history with
/// steps to undo and to redo.
struct OomWorld {
    /// Adds to the scene of the laws nodes with results, and an input of each kind.
    static constexpr const char* moreText = R"(
node add "sum" {
    Real a = 1 <- other.result
    Real b = 2
}
node add "other" {
    Real a = 3
    Real b = 4
}
node thing "k" {
    Bool flag = true
    Int i = -1
    UInt u = 1
    Vec2 v2 = (1 2)
    Vec3 v3 = (1 2 3)
    Vec4 v4 = (1 2 3 4)
    Pos2 p2 = (1 2)
    Pos3 p3 = (1 2 3)
    Quat q = (0 0 0 1)
    Rgba c = (1 1 1 1)
    Mat3 m3 = (1 0 0 0 1 0 0 0 1)
    Mat4 m4 = (1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1)
    String s = "a text that is long enough to be in memory of its own"
    Buffer<Pos3f> points = [(0 0 0) (1 0 0)]
    Array<String> names = ["one", "two"]
    Real sum = 0 <- sum.result
    output Real o
}
)";

    OomWorld();
    ~OomWorld();
    OomWorld(const OomWorld&) = delete;
    OomWorld& operator=(const OomWorld&) = delete;

    [[nodiscard]] const Scene& scene() const { return m_scene; }
    [[nodiscard]] Input at(const char* of, const char* path) const {
        return m_scene[of].inputAt(path);
    }
    /// Drops the scene, with the witness unsubscribed.
    void endScene();
    /// Drops everything but the scene, which it returns.
    [[nodiscard]] Scene takeScene();

    OomWitness witness;
    // Objects that operations prepare and use.
    Node node, second;
    // A node outside of the scene that outlives it, because observers of removed nodes would be
    // told of its end.
    Node lasting;
    Input input;
    Output output;
    String name, text;
    std::optional<Scene::UndoScope> scope;
    OomWitness newcomer;
    // Other objects that an operation needs; destroyed before the scene.
    RefersTo<RefCounted> more;

private:
    Scene m_scene = Scene::create();
};

/// A public operation whose allocations fail, one after the other.
struct OomEdit {
    /// Has the form "group: name", with the groups of docs/errors.md.
    const char* name;
    /// Prepares the world, while no allocation fails; may be null.
    std::function<void(OomWorld&)> build;
    /// Runs the operation and returns whether its result is that of a run with enough memory,
    /// unless `std::bad_alloc` says that nothing was done. Texts have to come from `build`, so that
    /// only the operation allocates.
    std::function<bool(OomWorld&)> run;
    /// Tells that the operation destroys the scene, so that nothing is left to compare.
    bool endsScene = false;
    /// Edits the prepared world last, so that the operation finds changes of which no snapshot was
    /// taken; may be null.
    std::function<void(OomWorld&)> edit = {};
};

[[nodiscard]] const std::vector<OomEdit>& oomCoreEdits();
[[nodiscard]] const std::vector<OomEdit>& oomHistoryEdits();
[[nodiscard]] const std::vector<OomEdit>& oomSnapshotEdits();
[[nodiscard]] const std::vector<OomEdit>& oomTextEdits();
[[nodiscard]] const std::vector<OomEdit>& oomLibraryEdits();

} // namespace qv::tests
