#pragma once

#include "sdk/impl/edit_step.h"
#include "sdk/impl/news_hold.h"
#include "sdk/impl/scene_comments.h"

namespace qv::kelvo_sdk::impl {

/// The way out of an attribute that was taken off its owner's list. It can be looked at, with its
/// node and its ties, until everyone was told; then it lets go of them, and the owner's reference
/// goes, whatever observers threw.
template<typename Attribute>
class Departure {
public:
    /// Comments on the attribute go at once: an undo brings them back before this ends.
    explicit Departure(Attribute& attribute) : m_attribute(attribute) {
        const auto* node = static_cast<const Node*>(attribute.node());
        IScene* scene = node ? node->liveScene() : nullptr;
        if (scene) static_cast<Scene*>(scene)->comments().remove(&attribute);
    }
    ~Departure() {
        afterTelling([held = RefersTo<Attribute>::adopt(&m_attribute)] { held->leaveOwner(); });
    }
    Departure(const Departure&) = delete;
    Departure& operator=(const Departure&) = delete;

private:
    Attribute& m_attribute;
};

} // namespace qv::kelvo_sdk::impl
