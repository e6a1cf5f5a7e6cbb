#pragma once

#include "kelvo/base/string.h"

#include <new>

namespace qv::kelvo_sdk::impl {

class Scene;

/// One recorded change of a scene, which can be turned back and turned again, any number of times.
/// It keeps alive what it is about.
class Change {
public:
    Change() = default;
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    virtual ~Change() = default;

    /// Makes ready for those to be told who hear of edits as a whole.
    virtual void expect(Scene& scene) = 0;
    /// Makes the edits that have to come before `swap`, as edits of their own.
    virtual void prepareSwap(Scene& /*scene*/) {}
    /// Turns the change. Needs what it is about as it was right after the change was made or last
    /// turned. Everyone is told as of the change itself; what comes out, because there is no memory
    /// to hold that back, comes out when the change is turned. Turning it again, as it was before,
    /// takes no memory while nobody is told.
    virtual void swap(Scene& scene) = 0;

    /// Mends what does not fit any more, when all changes of a step were turned.
    virtual void settle() {}

    /// Whose earlier value is kept here, if it is a value alone: the earliest of a step is enough
    /// then. Null for all else.
    [[nodiscard]] virtual const void* valueOwner() const { return nullptr; }
    /// Tells whether turning it would make no difference.
    [[nodiscard]] virtual bool isNothing() const { return false; }

    /// Memory that is in use for nothing but this.
    [[nodiscard]] virtual u64 bytes() const = 0;
    /// Returns the path or the node's name that the change is about.
    [[nodiscard]] virtual String subject() const = 0;
    /// For users, such as "Set lamp.radius".
    [[nodiscard]] virtual String text() const = 0;

    /// Without memory for them comments stay where they are, and are found there when the thing
    /// comes back.
    template<typename Take>
    static void keepComments(const Take& take) noexcept {
        try {
            take();
        } catch (const std::bad_alloc&) {
            return;
        }
    }

    /// For the history alone: it was made while a step was turned, before a change of that step.
    bool isBeside = false;
};

} // namespace qv::kelvo_sdk::impl
