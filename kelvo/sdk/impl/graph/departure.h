#pragma once

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/history/news_hold.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

/// The way out of an attribute that is taken off its owner's list. It can be looked at, with its
/// node and its ties, until everyone was told; then it lets go of them, and the owner's reference
/// goes, whatever observers threw.
///
/// Stands before the change with all the memory it needs, and begins when nothing can fail any
/// more.
template<typename Attribute>
class Departure {
public:
    explicit Departure(Attribute& attribute) : m_attribute(&attribute) {
        const NewsHold* hold = NewsHold::current();
        if (hold && !hold->isMuted())
            m_news = NewsHold::make([held = m_attribute] { held->leaveOwner(); });
    }
    /// Comments on the attribute go at once: an undo brings them back before this ends.
    void dropComments() const {
        const auto* node = implOf(m_attribute->node());
        IScene* scene = node ? node->liveScene() : nullptr;
        if (scene) implOf(scene)->comments().remove(m_attribute.get());
    }
    /// The attribute is off the list, whose reference goes; this one stays.
    void offList() noexcept { m_attribute->decRef(); }
    void begin() noexcept { m_hasBegun = true; }
    /// The attribute is back on the list.
    void stay() noexcept { m_hasBegun = false; }
    ~Departure() {
        if (!m_hasBegun) return;
        if (m_news)
            NewsHold::current()->add(std::move(m_news));
        else
            m_attribute->leaveOwner();
    }
    Departure(const Departure&) = delete;
    Departure& operator=(const Departure&) = delete;

private:
    RefersTo<Attribute> m_attribute;
    // Null when everyone is told at once.
    std::unique_ptr<NewsHold::News> m_news;
    bool m_hasBegun = false;
};

} // namespace qv::kelvo_sdk::impl
