#include "kelvo/sdk/scene_diff.h"

#include "kelvo/sdk/impl/diff/scene_differ.h"
#include "kelvo/sdk/impl/diff/scene_merger.h"
#include "kelvo/sdk/impl/diff/scene_patch.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk {

namespace {

// Libraries that a scene gets for its text; it does not keep them if that cannot be read.
class LibrariesForText {
public:
    explicit LibrariesForText(const Scene& scene)
        : m_scene(impl::implOf(*scene.get())), m_before(m_scene.libraries().size()) {}
    ~LibrariesForText() {
        if (!m_areKept) m_scene.dropLibraries(m_before);
    }
    LibrariesForText(const LibrariesForText&) = delete;
    LibrariesForText& operator=(const LibrariesForText&) = delete;

    void keep() noexcept { m_areKept = true; }

private:
    impl::Scene& m_scene;
    const u64 m_before;
    bool m_areKept = false;
};

} // namespace

const char* sceneActionName(SceneChange::Action action) noexcept {
    constexpr const char* names[] = {"add", "remove", "rename", "move", "change"};
    return names[static_cast<int>(action)];
}

const char* sceneSubjectName(SceneChange::Subject subject) noexcept {
    constexpr const char* names[] = {"scene", "node", "input", "element", "output"};
    return names[static_cast<int>(subject)];
}

SceneDiff SceneDiff::between(const Scene& before, const Scene& after, const DiffOptions& options,
                             String* error) {
    SceneDiff diff;
    impl::SceneDocument earlier;
    impl::SceneDocument later;
    String problem;
    if (impl::recordScene(before, earlier, problem) && impl::recordScene(after, later, problem))
        diff.m_changes = impl::SceneDiffer(earlier, later, options).run();
    else if (error)
        *error = problem;
    return diff;
}

bool SceneDiff::applyTo(const Scene& scene, String& error) const {
    if (scene.get()) return impl::applyChanges(m_changes, scene, error);
    error = "there is no scene.";
    return false;
}

bool mergeScenes(const Scene& base, const Scene& mine, const Scene& theirs,
                 const MergeOptions& options, const Scene& merged,
                 std::vector<MergeConflict>& conflicts, String& error) {
    if (!merged.get()) {
        error = "there is no scene.";
        return false;
    }
    impl::SceneDocument documents[3];
    const Scene* const scenes[3] = {&base, &mine, &theirs};
    for (u64 i = 0; i < 3; ++i)
        if (!impl::recordScene(*scenes[i], documents[i], error)) return false;
    impl::SceneMerger merger(documents[0], documents[1], documents[2], options);
    const impl::SceneDocument made = merger.run();
    conflicts = merger.takeConflicts();
    // Attributes that a text leaves to its nodes' types need the types.
    LibrariesForText libraries(merged);
    for (const Scene* scene : scenes)
        impl::shareLibraries(*scene, merged);
    if (!impl::readText(merged, made.text(), error)) return false;
    libraries.keep();
    return true;
}

} // namespace qv::kelvo_sdk
