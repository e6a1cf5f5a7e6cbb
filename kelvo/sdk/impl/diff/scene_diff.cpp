#include "kelvo/sdk/scene_diff.h"

#include "kelvo/sdk/impl/diff/document_patcher.h"
#include "kelvo/sdk/impl/diff/live_patcher.h"
#include "kelvo/sdk/impl/diff/scene_differ.h"
#include "kelvo/sdk/impl/diff/scene_merger.h"
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

bool readsBack(const Scene& scene, const String& text, String& error) {
    Diagnostics found;
    if (scene.read(text, "the changed scene", &found)) return true;
    error = found.empty() ? String("the scene cannot be changed so.") : found[0].text();
    return false;
}

// Changes the nodes that there are; where that does not give the text it is as if it never was.
bool changeNodes(const Scene& scene, const std::vector<SceneChange>& changes, const String& text) {
    const Scene::UndoScope attempt(scene, String(), String());
    impl::LivePatcher setter(impl::implOf(*scene.get()), changes);
    if (setter.run() && scene.text().equals(text)) return true;
    attempt.cancel();
    return false;
}

bool makeAnew(const Scene& scene, const String& text) {
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

SceneDiff SceneDiff::between(const Scene& before, const Scene& after, const DiffOptions& options,
                             String* error) {
    SceneDiff diff;
    impl::SceneDocument earlier;
    impl::SceneDocument later;
    if (readDocument(before, earlier) && readDocument(after, later))
        diff.m_changes = impl::SceneDiffer(earlier, later, options).run();
    else if (error)
        *error = kTooDeep;
    return diff;
}

bool SceneDiff::applyTo(const Scene& scene, String& error) const {
    impl::SceneDocument document;
    if (!scene.get() || !document.parse(scene.text())) {
        error = scene.get() ? kTooDeep : "there is no scene.";
        return false;
    }
    if (m_changes.empty()) return true;
    if (!impl::DocumentPatcher(document).apply(m_changes, error)) return false;
    const Scene changed = emptyLike(scene);
    if (!readsBack(changed, document.text(), error)) return false;
    const Scene::UndoScope scope(scene, "Apply patch", "Take back patch");
    const String text = changed.text();
    return changeNodes(scene, m_changes, text) || makeAnew(scene, text);
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
        if (!readDocument(*scenes[i], documents[i])) {
            error = kTooDeep;
            return false;
        }
    impl::SceneMerger merger(documents[0], documents[1], documents[2], options);
    const impl::SceneDocument made = merger.run();
    conflicts = merger.takeConflicts();
    // Attributes that a text leaves to its nodes' types need the types.
    LibrariesForText libraries(merged);
    for (const Scene* scene : scenes)
        shareLibraries(*scene, merged);
    if (!readsBack(merged, made.text(), error)) return false;
    libraries.keep();
    return true;
}

} // namespace qv::kelvo_sdk
