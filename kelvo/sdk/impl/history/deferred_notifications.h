#pragma once

#include "kelvo/sdk/impl/history/all_calls.h"

#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace qv::kelvo_sdk::impl {

/// During its lifetime, on its thread, notifications are delivered even when memory runs out: work
/// on the way that would need memory is left out.
class CertainDelivery {
public:
    CertainDelivery() noexcept : m_before(std::exchange(s_isOn, true)) {}
    ~CertainDelivery() { s_isOn = m_before; }
    CertainDelivery(const CertainDelivery&) = delete;
    CertainDelivery& operator=(const CertainDelivery&) = delete;

    [[nodiscard]] static bool isOn() noexcept { return s_isOn; }

private:
    // Initial-exec makes access a plain load, in a shared library as well.
    [[gnu::tls_model("initial-exec")]] static thread_local constinit bool s_isOn;

    bool m_before;
};

/// Holds back notifications during a change of several parts, so that observers only ever see the
/// complete change. Then delivers them in order; an exception ends its own notification alone, and
/// the first exception is rethrown last.
///
/// Applies to its thread, for all scenes. Inside another hold it delivers nothing; the outer
/// hold does. Declare it before the step of the change: a step that fails drops its notifications.
class DeferredNotifications {
public:
    /// A notification held back. Keeps the objects that it names alive.
    class Notification {
    public:
        virtual ~Notification() = default;
        virtual void deliver() = 0;

    private:
        friend class DeferredNotifications;
        std::unique_ptr<Notification> m_next;
    };
    enum class Kind {
        /// `add` throws when memory runs out.
        Strict,
        /// When memory runs out, delivers at once: observers may already know of what is reversed.
        Certain,
        /// Drops all notifications.
        Muted
    };

    explicit DeferredNotifications(Kind kind = Kind::Strict) noexcept
        : m_kind(kind), m_before(s_current), m_isOutermost(!s_current || kind == Kind::Muted) {
        if (m_isOutermost) begin();
    }
    /// Delivers what is still held; exceptions of observers are then logged and dropped.
    ~DeferredNotifications() {
        if (!m_isOutermost) return;
        if (s_current == this) end();
        s_current = m_before;
    }
    DeferredNotifications(const DeferredNotifications&) = delete;
    DeferredNotifications& operator=(const DeferredNotifications&) = delete;

    /// Returns the hold of this thread, null when notifications are delivered at once.
    [[nodiscard]] static DeferredNotifications* current() noexcept { return s_current; }
    [[nodiscard]] bool isMuted() const noexcept { return m_kind == Kind::Muted; }

    /// Allocates the notification that makes `call`; `add` then cannot fail. Without memory, leaves
    /// `call` as it was.
    template<typename Call>
    [[nodiscard]] static std::unique_ptr<Notification> make(Call&& call) {
        static_assert(std::is_nothrow_move_constructible_v<Call> && !std::is_reference_v<Call>);
        return std::make_unique<NotificationOf<Call>>(std::move(call));
    }
    void add(std::unique_ptr<Notification> notification) noexcept;
    template<typename Call>
    void add(Call call) {
        if (isMuted()) return;
        std::unique_ptr<Notification> notification;
        try {
            notification = make(std::move(call));
        } catch (const std::bad_alloc&) {
            if (m_kind == Kind::Strict) throw;
            return deliverNow(call);
        }
        add(std::move(notification));
    }

    /// A position in the queue of a hold.
    struct Mark {
        const DeferredNotifications* hold;
        const Notification* last;
    };
    [[nodiscard]] static Mark mark() noexcept {
        return {s_current, s_current ? s_current->m_last : nullptr};
    }
    /// Drops the notifications added since, without delivering them.
    static void dropSince(const Mark& mark) noexcept;

    /// Call when the change is complete: delivers all notifications. Throws the first exception.
    void release();

private:
    template<typename Call>
    class NotificationOf final : public Notification {
    public:
        explicit NotificationOf(Call&& call) noexcept : m_call(std::move(call)) {}
        void deliver() override { m_call(); }

    private:
        Call m_call;
    };

    // Delivers all held notifications first, then makes the call even when observers throw.
    template<typename Call>
    void deliverNow(const Call& call) {
        AllCalls calls;
        calls.make([this] { release(); });
        calls.make(call);
        s_current = this;
        calls.end();
    }
    void begin() noexcept;
    void end() noexcept;
    [[nodiscard]] static std::unique_ptr<Notification>
    takeFirst(std::unique_ptr<Notification>& from) noexcept;

    // Initial-exec makes access a plain load, in a shared library as well: every write reads it.
    [[gnu::tls_model(
        "initial-exec")]] static thread_local constinit DeferredNotifications* s_current;

    const Kind m_kind;
    DeferredNotifications* const m_before;
    const bool m_isOutermost;
    std::unique_ptr<Notification> m_first;
    Notification* m_last = nullptr;
};

/// Makes the call after all notifications held so far.
template<typename Call>
void afterNotifications(Call call) {
    DeferredNotifications* hold = DeferredNotifications::current();
    if (hold && !hold->isMuted())
        hold->add(std::move(call));
    else
        call();
}

/// Logs an error; drops it when memory is short even for that.
void logNoMemory(const char* sentence) noexcept;

/// Logs an exception of an observer that no caller can catch. Call inside a `catch` block.
void logLost(const char* where) noexcept;

} // namespace qv::kelvo_sdk::impl
