#include "kelvo/sdk/impl/graph/scene.h"

#include <algorithm>

// ---- Libraries -----------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

bool Scene::addLibrary(interfaces::ILibInfo* library) {
    auto* added = dynamic_cast<LibInfo*>(library);
    const auto isAdded = [&](const RefersTo<LibInfo>& known) { return known.get() == added; };
    if (!added || std::ranges::any_of(m_libraries, isAdded)) return false;
    m_libraries.emplace_back(added);
    return true;
}

void Scene::dropLibraries(u64 from) noexcept {
    m_libraries.resize(std::min<u64>(from, m_libraries.size()));
}

const Node* Scene::findType(const String& type) const noexcept {
    for (const RefersTo<LibInfo>& library : m_libraries)
        if (const Node* found = library->findType(type)) return found;
    return nullptr;
}

} // namespace qv::kelvo_sdk::impl
