#include "render/impl/hierarchy.h"
#include "render/impl/scene_reader.h"
#include "render/impl/stopped.h"

#include <algorithm>

namespace qv::render::impl {

namespace {

using kelvo_sdk::InputChange;
using kelvo_sdk::InputPart;
using kelvo_sdk::NodeChange;
using kelvo_sdk::NodeNumber;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotDelta;
using kelvo_sdk::SnapshotNode;

bool isOnlyValue(const InputChange& input) noexcept {
    return input.parts == static_cast<u32>(InputPart::Value);
}

// Moves and nothing else: the places below the node stay what they are.
bool isMove(const NodeChange& change) {
    const auto isMatrix = [](const InputChange& input) {
        return isOnlyValue(input) && !input.after.parent() &&
               input.after.ownName().equalsNoCase("matrix");
    };
    return std::all_of(change.inputs.begin(), change.inputs.end(), isMatrix) &&
           isUsable(Transform(change.before.matrix())) &&
           isUsable(Transform(change.after.matrix()));
}

// Findings that may go away make the whole scene be read.
bool keepsFindings(const NodeChange& change, const std::vector<Finding>& findings) {
    if (findings.empty()) return true;
    return std::all_of(change.inputs.begin(), change.inputs.end(), isOnlyValue) &&
           std::none_of(findings.begin(), findings.end(), [&](const Finding& finding) {
               return finding.number == change.after.number();
           });
}

bool keepsParts(const NodeChange& change, const std::vector<Finding>& findings) {
    if (change.isRenamed || change.isTypeChanged || change.after.isTypeOf("sceneSettings"))
        return false;
    return change.after.isTypeOf("xform") ? isMove(change) : keepsFindings(change, findings);
}

bool keepsParts(const SnapshotDelta& delta, const RenderScene& scene) {
    // A sky is not visited when its texture differs.
    const bool hasPictures = std::any_of(scene.lights.begin(), scene.lights.end(),
                                         [](const Light& light) { return light.texture; });
    return delta.added().empty() && delta.removed().empty() && !delta.isOrderChanged() &&
           std::all_of(delta.changed().begin(), delta.changed().end(),
                       [&](const NodeChange& change) {
                           return keepsParts(change, scene.findings) &&
                                  !(hasPictures && change.after.isTypeOf("texture"));
                       });
}

} // namespace

/// Reads the places of nodes that differ once more.
class ScenePatch {
public:
    ScenePatch(SceneReader& reader, RenderScene& scene, const Snapshot& to)
        : m_reader(reader), m_scene(scene), m_to(to) {
        m_findings.add(scene.findings);
    }

    SceneUpdate make(const SnapshotDelta& delta) {
        for (const NodeChange& change : delta.changed()) {
            const NodeNumber number = change.after.number();
            m_isChanged.resize(std::max(m_isChanged.size(), u64{number} + 1));
            m_isChanged[number] = 1;
        }
        if (!readPlaces() || !replaceMaterials()) return SceneUpdate::Impossible;
        m_scene.addBounds();
        return m_update;
    }

    [[nodiscard]] u64 visited() const noexcept { return m_visited; }

private:
    using Part = SceneReader::Part;
    using Place = SceneReader::Place;

    bool readPlaces() {
        for (u32 i = 0; i < places().size();) {
            const NodeNumber number = places()[i].node;
            const bool isChanged = number < m_isChanged.size() && m_isChanged[number] != 0;
            if (isChanged && !(isStill(i) ? readStill(i) : readBelow(i))) return false;
            i = isChanged ? endOf(i) : i + 1;
        }
        return true;
    }

    [[nodiscard]] const std::vector<Place>& places() const noexcept { return m_reader.m_places; }
    [[nodiscard]] SnapshotNode nodeAt(u32 place) const noexcept {
        return m_to.nodeWithNumber(places()[place].node);
    }
    // Returns the end of the places below one, which follow it.
    [[nodiscard]] u32 endOf(u32 place) const noexcept {
        u32 end = place + 1;
        while (end < places().size() && places()[end].parent != noPlace &&
               places()[end].parent >= place)
            ++end;
        return end;
    }

    // Tells whether an instance has stayed where it is.
    [[nodiscard]] bool isStill(u32 place) const noexcept {
        return places()[place].part == Part::Instance && !nodeAt(place).isTypeOf("xform");
    }
    bool readStill(u32 place) {
        endIfStopped(m_reader.m_stop);
        ++m_visited;
        const Transform toWorld = m_scene.instances[places()[place].index].toWorld;
        return readPlace(places()[place], nodeAt(place), toWorld);
    }

    // Reads a place and all below it; false when there is something else than before.
    bool readBelow(u32 top) {
        const u32 end = endOf(top);
        const math::Mat4d above = productAbove(top);
        std::vector<math::Mat4d> products(end - top);
        for (u32 i = top; i < end; ++i) {
            endIfStopped(m_reader.m_stop);
            ++m_visited;
            const SnapshotNode node = nodeAt(i);
            const math::Mat4d toWorld = i == top ? above : products[places()[i].parent - top];
            if (!readPlace(places()[i], node, Transform(toWorld))) return false;
            if (end > top + 1) products[i - top] = node.matrix() * toWorld;
        }
        return true;
    }

    // Multiplies in the order of the walk, from the top down.
    [[nodiscard]] math::Mat4d productAbove(u32 place) const {
        std::vector<u32> way;
        for (u32 at = places()[place].parent; at != noPlace; at = places()[at].parent)
            way.push_back(at);
        math::Mat4d product = math::Mat4d::identity;
        for (auto at = way.rbegin(); at != way.rend(); ++at)
            product = nodeAt(*at).matrix() * product;
        return product;
    }

    bool readPlace(const Place& place, const SnapshotNode& node, const Transform& toWorld) {
        const u64 before = m_findings.list().size();
        RenderScene read;
        if (m_reader.add(node, toWorld, read, m_findings) != place.part) return false;
        if (place.part == Part::Light) m_scene.lights[place.index] = read.lights[0];
        if (place.part == Part::Camera) m_scene.cameras[place.index] = read.cameras[0];
        if (place.part == Part::Instance) {
            m_scene.instances[place.index] = std::move(read.instances[0]);
            m_update = SceneUpdate::Places;
        }
        return m_findings.list().size() == before;
    }

    // Gives instances the materials of nodes that differ.
    bool replaceMaterials() {
        const auto& forgotten = m_reader.m_forgotten.nodes;
        if (forgotten.empty()) return true;
        if (forgotten.contains(m_reader.m_noMaterial.get())) return false;
        const u64 before = m_findings.list().size();
        for (Instance& instance : m_scene.instances) {
            endIfStopped(m_reader.m_stop);
            const auto found = forgotten.find(instance.material.get());
            if (found == forgotten.end()) continue;
            instance.material = m_reader.material(m_to.nodeWithNumber(found->second), m_findings);
            if (isMissingUvs(instance) || m_findings.list().size() != before) return false;
        }
        return true;
    }

    // Also tells of those that were missing before, whose finding may be gone.
    [[nodiscard]] bool isMissingUvs(const Instance& instance) const {
        FindingList missing;
        const SnapshotNode node = m_to.nodeWithNumber(instance.node);
        findMissingUvs(node, *instance.mesh, *instance.material, missing);
        if (!missing.list().empty()) return true;
        return std::any_of(m_scene.findings.begin(), m_scene.findings.end(),
                           [&](const Finding& finding) { return finding.number == instance.node; });
    }

    SceneReader& m_reader;
    RenderScene& m_scene;
    const Snapshot& m_to;
    FindingList m_findings;
    std::vector<char> m_isChanged;
    SceneUpdate m_update = SceneUpdate::Looks;
    u64 m_visited = 0;
};

SceneUpdate SceneReader::update(RenderScene& scene, const Snapshot& to, const SnapshotDelta& delta,
                                const std::stop_token& stop) {
    setStop(stop);
    if (!keepsParts(delta, scene)) return SceneUpdate::Impossible;
    ScenePatch patch(*this, scene, to);
    const SceneUpdate made = patch.make(delta);
    m_visited = patch.visited();
    m_forgotten = {};
    return made;
}

} // namespace qv::render::impl
