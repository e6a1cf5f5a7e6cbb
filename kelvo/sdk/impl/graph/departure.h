#pragma once

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/history/news_hold.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

/// The removal of an attribute from its owner's list. The attribute keeps its node, links and
/// connections until all observers were notified. Then it is detached, and the owner's reference is
/// dropped, even if observers threw.
///
/// Create it before the change, because it allocates all memory that it needs; call `begin` when
/// nothing can fail any more.
template<typename Attribute>
class Departure {
public:
    explicit Departure(Attribute& attribute) : m_attribute(&attribute) {
        const NewsHold* hold = NewsHold::current();
        if (hold && !hold->isMuted())
            m_news = NewsHold::make([held = m_attribute] { held->leaveOwner({}); });
    }
    /// Removes comments on the attribute at once: an undo may restore them before the removal ends.
    void dropComments() const {
        const auto* node = implOf(m_attribute->node());
        IScene* scene = node ? node->liveScene() : nullptr;
        if (scene) implOf(scene)->comments().remove(m_attribute.get());
    }
    /// Call when the attribute is off the list: drops the list's reference, not that of this
    /// object.
    void offList() noexcept { m_attribute->decRef(); }
    void begin() noexcept { m_hasBegun = true; }
    /// Call when the attribute is back on the list.
    void stay() noexcept { m_hasBegun = false; }
    ~Departure() {
        if (!m_hasBegun) return;
        if (m_news)
            NewsHold::current()->add(std::move(m_news));
        else
            m_attribute->leaveOwner({});
    }
    Departure(const Departure&) = delete;
    Departure& operator=(const Departure&) = delete;

private:
    RefersTo<Attribute> m_attribute;
    // Null when observers are notified at once.
    std::unique_ptr<NewsHold::News> m_news;
    bool m_hasBegun = false;
};

} // namespace qv::kelvo_sdk::impl
