// ---- Evaluation ------------------------------------------------------------------------
// Results are cached only on request, by a follower that drops them as nodes change.

#include "kelvo/sdk/impl/graph/scene.h"

#include "kelvo/sdk/impl/eval/eval_cache.h"

namespace qv::kelvo_sdk::impl {

EvalCache* Scene::evalCache(Only<Output, Scene> /*key*/) const noexcept {
    return static_cast<EvalCache*>(m_evalCache.get());
}

void Scene::setEvalCache(u64 maxBytes, bool isChecked) {
    if (EvalCache* cache = evalCache({}); cache && maxBytes != 0)
        return cache->setLimits(maxBytes, isChecked);
    if (m_evalCache) m_followers.leave(*m_evalCache);
    m_evalCache.reset();
    if (maxBytes == 0) return;
    m_evalCache = std::make_unique<EvalCache>(*this, maxBytes, isChecked);
    m_followers.join(*m_evalCache);
}

interfaces::EvalCacheFigures Scene::evalCacheFigures() const {
    const EvalCache* cache = evalCache({});
    return cache ? cache->figures() : interfaces::EvalCacheFigures();
}

} // namespace qv::kelvo_sdk::impl
