#include "tools/kelvo/versions.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::Scene;

bool knowsTypes(const Scene& scene) {
    return scene.libraryCount() != 0;
}

bool Versions::load(std::initializer_list<String> files) {
    for (const String& file : files) {
        m_scenes.push_back(Scene::create());
        if (!m_documents.emplace_back().open(file) || !m_documents.back().read(m_scenes.back()))
            return false;
    }
    if (std::ranges::none_of(m_scenes, knowsTypes)) return true;
    for (u64 i = 0; i < m_documents.size(); ++i) {
        if (knowsTypes(m_scenes[i])) continue;
        m_scenes[i] = Scene::create();
        if (!m_documents[i].readWithTypes(m_scenes[i])) return false;
    }
    return true;
}

} // namespace qv::kelvo_tool
