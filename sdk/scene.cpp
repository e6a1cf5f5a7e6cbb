#include "sdk/scene.h"

namespace qv::kelvo_sdk {

namespace {

// The open step that all copies of an UndoScope share.
class UndoStep final : public RefCounted {
public:
    UndoStep(Scene scene, String doText, String undoText)
        : m_scene(std::move(scene)), m_doText(std::move(doText)), m_undoText(std::move(undoText)) {
        if (m_scene) m_scene->beginEdit();
    }
    ~UndoStep() override {
        if (m_scene) m_scene->recordEdit(std::move(m_doText), std::move(m_undoText));
    }
    UndoStep(const UndoStep&) = delete;
    UndoStep& operator=(const UndoStep&) = delete;

private:
    Scene m_scene;
    String m_doText;
    String m_undoText;
};

} // namespace

Scene::UndoScope::UndoScope(Scene scene, String doText, String undoText)
    : RefersTo<RefCounted>(RefersTo<RefCounted>::adopt(
          new UndoStep(std::move(scene), std::move(doText), std::move(undoText)))) {}

Node Scene::createNode(String type, String name) const {
    return get() ? Node(get()->createNode(std::move(type), std::move(name))) : Node();
}

Node Scene::findNode(String name) const {
    return get() ? Node(get()->findNode(std::move(name))) : Node();
}

} // namespace qv::kelvo_sdk
