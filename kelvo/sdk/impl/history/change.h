#pragma once

#include "kelvo/base/string.h"

#include <new>

namespace qv::kelvo_sdk::impl {

class Scene;

/// One recorded change of a scene, which can be undone and redone any number of times. Keeps the
/// objects that it changes alive.
class Change {
public:
    Change() = default;
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    virtual ~Change() = default;

    /// Allocates whatever batch notifications of the swap will need.
    virtual void expect(Scene& scene) = 0;
    /// Makes the edits that have to come before `swap`, as edits of their own.
    virtual void prepareSwap(Scene& /*scene*/) {}
    /// Swaps the state that the record holds with that of the scene, which undoes or redoes the
    /// change. Needs the objects concerned as the change, or the last swap, left them. Notifies
    /// observers as the change itself does; their exceptions come out only when memory does not
    /// suffice to hold the notifications back. Swapping back at once allocates nothing while
    /// notifications are muted.
    virtual void swap(Scene& scene) = 0;

    /// Repairs state that no longer fits, after all changes of a step were swapped.
    virtual void settle() {}

    /// Returns the owner of the earlier value if this records nothing but a value: a step then
    /// needs only the earliest record. Null for other changes.
    [[nodiscard]] virtual const void* valueOwner() const { return nullptr; }
    /// Tells whether a swap would change nothing.
    [[nodiscard]] virtual bool isNothing() const { return false; }

    /// Returns the memory that only this record keeps in use.
    [[nodiscard]] virtual u64 bytes() const = 0;
    /// Returns the path or the node's name that the change concerns.
    [[nodiscard]] virtual String subject() const = 0;
    /// Returns a description for users, such as "Set lamp.radius".
    [[nodiscard]] virtual String text() const = 0;

    /// Ignores that memory runs out: the comments then stay at their place, where they are found
    /// when the node or attribute returns.
    template<typename Take>
    static void keepComments(const Take& take) noexcept {
        try {
            take();
        } catch (const std::bad_alloc&) {
            return;
        }
    }

    /// Set by the history: the change was made during undo or redo, in preparation of another
    /// change's swap.
    bool isBeside = false;
};

} // namespace qv::kelvo_sdk::impl
