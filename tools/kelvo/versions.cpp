#include "tools/kelvo/versions.h"

#include "sdk/impl/scene.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::Scene;

bool knowsTypes(const Scene& scene) {
    return !static_cast<const kelvo_sdk::impl::Scene&>(*scene.get()).libraries().empty();
}

bool Versions::load(std::initializer_list<String> files) {
    std::vector<Document> documents;
    for (const String& file : files) {
        m_scenes.push_back(Scene::create());
        if (!documents.emplace_back().open(file) || !documents.back().read(m_scenes.back()))
            return false;
    }
    if (std::ranges::none_of(m_scenes, knowsTypes)) return true;
    for (u64 i = 0; i < documents.size(); ++i) {
        if (knowsTypes(m_scenes[i])) continue;
        m_scenes[i] = Scene::create();
        if (!documents[i].readWithTypes(m_scenes[i])) return false;
    }
    return true;
}

} // namespace qv::kelvo_tool
