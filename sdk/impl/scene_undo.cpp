#include "sdk/impl/scene.h"

// ---- Undo ----------------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

bool Scene::undoEnabled() {
    return false;
}

bool Scene::undoInProgress() {
    return false;
}

} // namespace qv::kelvo_sdk::impl
