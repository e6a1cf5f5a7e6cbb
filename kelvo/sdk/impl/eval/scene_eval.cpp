#include "kelvo/sdk/impl/graph/scene.h"

#include "kelvo/sdk/impl/eval/eval_cache.h"

// ---- Evaluation ----------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

void Scene::setEvalCache(u64 maxBytes, bool isChecked) {
    if (maxBytes == 0)
        m_evalCache.reset();
    else if (m_evalCache)
        m_evalCache->setLimits(maxBytes, isChecked);
    else
        m_evalCache = std::make_unique<EvalCache>(*this, maxBytes, isChecked);
}

interfaces::EvalCacheFigures Scene::evalCacheFigures() const {
    return m_evalCache ? m_evalCache->figures() : interfaces::EvalCacheFigures();
}

void Scene::forgetResults(const Node& node) noexcept {
    m_evalCache->forget(node);
}

} // namespace qv::kelvo_sdk::impl
