// The words of a public diff, and its application to a scene.

#include "kelvo/sdk/scene_diff.h"

#include "kelvo/sdk/impl/diff/scene_differ.h"
#include "kelvo/sdk/impl/diff/scene_merger.h"
#include "kelvo/sdk/impl/diff/scene_patch.h"
#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk {

namespace {

// Libraries that a scene gets for reading a text; removes them again if reading fails.
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

Made<SceneDiff> SceneDiff::between(const Scene& before, const Scene& after,
                                   const DiffOptions& options) {
    SceneDiff diff;
    impl::SceneDocument earlier;
    impl::SceneDocument later;
    String problem;
    if (!impl::recordScene(before, earlier, problem) || !impl::recordScene(after, later, problem))
        return Result::failure(problem);
    diff.m_changes = impl::SceneDiffer(earlier, later, options).run();
    return diff;
}

Result SceneDiff::applyTo(const Scene& scene) const {
    if (!scene.get()) return impl::emptyHandle("scene");
    String problem;
    if (impl::applyChanges(m_changes, scene, problem)) return {};
    return Result::failure(problem);
}

Result mergeScenes(const Scene& base, const Scene& mine, const Scene& theirs,
                   const MergeOptions& options, const Scene& merged,
                   std::vector<MergeConflict>& conflicts) {
    if (!merged.get()) return impl::emptyHandle("scene");
    String problem;
    impl::SceneDocument documents[3];
    const Scene* const scenes[3] = {&base, &mine, &theirs};
    for (u64 i = 0; i < 3; ++i)
        if (!impl::recordScene(*scenes[i], documents[i], problem)) return Result::failure(problem);
    impl::SceneMerger merger(documents[0], documents[1], documents[2], options);
    const impl::SceneDocument made = merger.run();
    conflicts = merger.takeConflicts();
    // The text omits attributes that the definitions of types restore, so reading needs the
    // libraries.
    LibrariesForText libraries(merged);
    for (const Scene* scene : scenes)
        impl::shareLibraries(*scene, merged);
    if (!impl::readText(merged, made.text(), problem)) return Result::failure(problem);
    libraries.keep();
    return {};
}

} // namespace qv::kelvo_sdk
