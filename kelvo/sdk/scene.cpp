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

    void cancel() {
        if (const Scene scene = std::exchange(m_scene, Scene())) scene->cancelEdit(m_depth);
    }

private:
    Scene m_scene;
    String m_doText;
    String m_undoText;
    u64 m_depth = 0;
    // By an exception.
    bool m_isTakenBack;
    int m_exceptions = std::uncaught_exceptions();
};

} // namespace

Scene::UndoScope::UndoScope(Scene scene, String doText, String undoText)
    : RefersTo<RefCounted>(RefersTo<RefCounted>::adopt(
          new OpenEdit(std::move(scene), std::move(doText), std::move(undoText), true))) {}

Scene::UndoScope::UndoScope(Scene scene)
    : RefersTo<RefCounted>(
          RefersTo<RefCounted>::adopt(new OpenEdit(std::move(scene), String(), String(), false))) {}

void Scene::UndoScope::cancel() const {
    if (get()) static_cast<OpenEdit*>(get())->cancel();
}

Node Scene::createNode(String type, String name) const {
    return get() ? Node(get()->createNode(std::move(type), std::move(name))) : Node();
}

Scene Node::scene() const {
    return get() ? Scene(get()->scene()) : Scene();
}

bool Node::rename(String name) const {
    return scene().renameNode(*this, std::move(name));
}

ds::Vector<Node> Scene::nodes() const {
    ds::Vector<Node> all;
    for (u64 i = 0; i < nodeCount(); ++i)
        all.push_back(node(i));
    return all;
}

Node Scene::findNode(String name) const {
    return get() ? Node(get()->findNode(std::move(name))) : Node();
}

} // namespace qv::kelvo_sdk
