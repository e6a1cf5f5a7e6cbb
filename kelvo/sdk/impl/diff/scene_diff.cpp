#include "kelvo/sdk/scene_diff.h"

#include "kelvo/sdk/impl/diff/document_patcher.h"
#include "kelvo/sdk/impl/diff/live_patcher.h"
#include "kelvo/sdk/impl/diff/scene_differ.h"
#include "kelvo/sdk/impl/diff/scene_merger.h"
#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk {

namespace {

constexpr const char* kTooDeep = "a scene is nested too deep to be compared.";

// An empty handle is an empty scene.
bool readDocument(const Scene& scene, impl::SceneDocument& document) {
    return !scene.get() || document.parse(scene.text());
}

void shareLibraries(const Scene& from, const Scene& to) {
    if (!from.get()) return;
    const auto& scene = impl::implOf(*from.get());
    for (const auto& library : scene.libraries())
        to->addLibrary(library.get());
}

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

// The same libraries, and nothing in it.
Scene emptyLike(const Scene& scene) {
    Scene made = Scene::create();
    shareLibraries(scene, made);
    return made;
}

Result readsBack(const Scene& scene, const String& text) {
    Diagnostics found;
    return scene.read(text, "the changed scene", &found);
}

// Changes the nodes that there are; where that does not give the text it is as if it never was.
bool changeNodes(const Scene& scene, const std::vector<SceneChange>& changes, const String& text) {
    const Scene::UndoScope attempt(scene, String(), String());
    impl::LivePatcher setter(impl::implOf(*scene.get()), changes);
    if (setter.run() && scene.text().equals(text)) return true;
    (void)attempt.cancel(); // It is open.
    return false;
}

Result makeAnew(const Scene& scene, const String& text) {
    auto& made = impl::implOf(*scene.get());
    made.clear();
    impl::setFileComments(made, {});
    return scene.read(text, "the changed scene");
}

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
    if (!readDocument(before, earlier) || !readDocument(after, later))
        return Result::failure(kTooDeep);
    diff.m_changes = impl::SceneDiffer(earlier, later, options).run();
    return diff;
}

Result SceneDiff::applyTo(const Scene& scene) const {
    if (!scene.get()) return impl::emptyHandle("scene");
    impl::SceneDocument document;
    if (!document.parse(scene.text())) return Result::failure(kTooDeep);
    if (m_changes.empty()) return {};
    String error;
    if (!impl::DocumentPatcher(document).apply(m_changes, error)) return Result::failure(error);
    const Scene changed = emptyLike(scene);
    if (const Result read = readsBack(changed, document.text()); !read) return read;
    const Scene::UndoScope scope(scene, "Apply patch", "Take back patch");
    const String text = changed.text();
    return changeNodes(scene, m_changes, text) ? Result() : makeAnew(scene, text);
}

Result mergeScenes(const Scene& base, const Scene& mine, const Scene& theirs,
                   const MergeOptions& options, const Scene& merged,
                   std::vector<MergeConflict>& conflicts) {
    if (!merged.get()) return impl::emptyHandle("scene");
    impl::SceneDocument documents[3];
    const Scene* const scenes[3] = {&base, &mine, &theirs};
    for (u64 i = 0; i < 3; ++i)
        if (!readDocument(*scenes[i], documents[i])) return Result::failure(kTooDeep);
    impl::SceneMerger merger(documents[0], documents[1], documents[2], options);
    const impl::SceneDocument made = merger.run();
    conflicts = merger.takeConflicts();
    // Attributes that a text leaves to its nodes' types need the types.
    LibrariesForText libraries(merged);
    for (const Scene* scene : scenes)
        shareLibraries(*scene, merged);
    const Result read = readsBack(merged, made.text());
    if (read) libraries.keep();
    return read;
}

} // namespace qv::kelvo_sdk
