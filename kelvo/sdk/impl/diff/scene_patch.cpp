#include "kelvo/sdk/impl/diff/scene_patch.h"

#include "kelvo/sdk/impl/diff/document_patcher.h"
#include "kelvo/sdk/impl/diff/link_restorer.h"
#include "kelvo/sdk/impl/diff/live_patcher.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_recorder.h"

namespace qv::kelvo_sdk::impl {

namespace {

// The same libraries, and nothing in it.
kelvo_sdk::Scene emptyLike(const kelvo_sdk::Scene& scene) {
    kelvo_sdk::Scene made = kelvo_sdk::Scene::create();
    shareLibraries(scene, made);
    return made;
}

/// The scene that a patch is to give: a document, and a scene read from its text when that is asked
/// for. Texts of a patch need not be as scenes write them; those of the scene are.
class PatchResult {
public:
    PatchResult(const kelvo_sdk::Scene& scene, SceneDocument& document)
        : m_read(emptyLike(scene)), m_document(document) {
        m_document.joinHeader();
    }

    /// False, and `error` says why, when there is no such scene.
    bool read(String& error) {
        if (!m_isTried) m_isRead = readText(m_read, m_document.text(), m_error);
        m_isTried = true;
        if (!m_isRead) error = m_error;
        return m_isRead;
    }
    /// Needs `read`.
    [[nodiscard]] String text() const { return m_read.text(); }
    /// Tells whether the scene has become this one.
    bool isReachedBy(const kelvo_sdk::Scene& scene) {
        SceneDocument made;
        String error;
        if (!recordScene(scene, made, error)) return false;
        if (isSame(made, m_document)) return true;
        SceneDocument written;
        return read(error) && recordScene(m_read, written, error) && isSame(made, written);
    }

private:
    const kelvo_sdk::Scene m_read;
    SceneDocument& m_document;
    bool m_isTried = false;
    bool m_isRead = false;
    String m_error;
};

// Changes the nodes that there are; where that does not give the result it is as if it never was.
bool changeNodes(const kelvo_sdk::Scene& scene, const std::vector<SceneChange>& changes,
                 PatchResult& result) {
    const kelvo_sdk::Scene::UndoScope attempt(scene, String(), String());
    LivePatcher patcher(implOf(*scene.get()), changes);
    if (patcher.run() && result.isReachedBy(scene)) return true;
    attempt.cancel();
    return false;
}

bool makeAnew(const kelvo_sdk::Scene& scene, const String& text) {
    auto& made = implOf(*scene.get());
    made.clear();
    setFileComments(made, {});
    return scene.read(text, "the changed scene");
}

} // namespace

bool recordScene(const kelvo_sdk::Scene& scene, SceneDocument& document, String& error) {
    return !scene.get() || SceneRecorder(document).record(implOf(*scene.get()), error);
}

void shareLibraries(const kelvo_sdk::Scene& from, const kelvo_sdk::Scene& to) {
    if (!from.get()) return;
    const auto& scene = implOf(*from.get());
    for (const auto& library : scene.libraries())
        to->addLibrary(library.get());
}

bool readText(const kelvo_sdk::Scene& scene, const String& text, String& error) {
    Diagnostics found;
    if (scene.read(text, "the changed scene", &found)) return true;
    error = found.empty() ? String("the scene cannot be changed so.") : found[0].text();
    return false;
}

// A text that names nodes that are not there is refused before anything changes.
bool applyChanges(const std::vector<SceneChange>& changes, const kelvo_sdk::Scene& scene,
                  String& error) {
    SceneDocument document;
    if (!recordScene(scene, document, error)) return false;
    if (changes.empty()) return true;
    if (!DocumentPatcher(document).apply(changes, error)) return false;
    PatchResult result(scene, document);
    if (!namesItsNodes(document) && !result.read(error)) return false;
    const kelvo_sdk::Scene::UndoScope scope(scene, "Apply patch", "Take back patch");
    if (changeNodes(scene, changes, result)) return true;
    if (result.read(error)) return makeAnew(scene, result.text());
    scope.cancel();
    return false;
}

} // namespace qv::kelvo_sdk::impl
