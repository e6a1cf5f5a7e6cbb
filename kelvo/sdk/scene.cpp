#include "kelvo/sdk/scene.h"

#include <exception>
#include <utility>

namespace qv::kelvo_sdk {

namespace {

// The open step that all copies of an UndoScope share.
class OpenEdit final : public RefCounted {
public:
    OpenEdit(Scene scene, String doText, String undoText, bool isTakenBack)
        : m_scene(std::move(scene)),
          m_doText(std::move(doText)),
          m_undoText(std::move(undoText)),
          m_isTakenBack(isTakenBack) {
        if (!m_scene) return;
        m_scene->beginEdit();
        m_depth = m_scene->editDepth();
    }
    ~OpenEdit() override {
        if (!m_scene) return;
        if (m_isTakenBack && std::uncaught_exceptions() > m_exceptions)
            cancel();
        else
            m_scene->recordEdit(std::move(m_doText), std::move(m_undoText));
    }
    OpenEdit(const OpenEdit&) = delete;
    OpenEdit& operator=(const OpenEdit&) = delete;

    // Returns false when the edit was cancelled before, or there is no scene.
    bool cancel() {
        const Scene scene = std::exchange(m_scene, Scene());
        if (scene) scene->cancelEdit(m_depth);
        return static_cast<bool>(scene);
    }

private:
    Scene m_scene;
    String m_doText;
    String m_undoText;
    u64 m_depth = 0;
    // Tells whether an exception that leaves the scope cancels the edit.
    bool m_isTakenBack;
    int m_exceptions = m_isTakenBack ? std::uncaught_exceptions() : 0;
};

} // namespace

Scene::UndoScope::UndoScope(Scene scene, String doText, String undoText)
    : RefersTo<RefCounted>(RefersTo<RefCounted>::adopt(
          new OpenEdit(std::move(scene), std::move(doText), std::move(undoText), true))) {}

Scene::UndoScope::UndoScope(Scene scene)
    : RefersTo<RefCounted>(
          RefersTo<RefCounted>::adopt(new OpenEdit(std::move(scene), String(), String(), false))) {}

Result Scene::UndoScope::cancel() const {
    if (get() && static_cast<OpenEdit*>(get())->cancel()) return {};
    return Result::failure("There is no edit to cancel: it was cancelled, or has no scene.");
}

Scene Node::scene() const {
    return get() ? Scene(get()->scene()) : Scene();
}

ds::Vector<Node> Scene::nodes() const {
    ds::Vector<Node> all;
    for (u64 i = 0; i < nodeCount(); ++i)
        all.push_back(node(i));
    return all;
}

} // namespace qv::kelvo_sdk
