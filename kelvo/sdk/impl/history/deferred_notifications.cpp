#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk::impl {

thread_local constinit DeferredNotifications* DeferredNotifications::s_current = nullptr;

thread_local constinit bool CertainDelivery::s_isOn = false;

void DeferredNotifications::add(std::unique_ptr<Notification> notification) noexcept {
    if (isMuted()) return;
    Notification* const added = notification.get();
    (m_last ? m_last->m_next : m_first) = std::move(notification);
    m_last = added;
}

std::unique_ptr<DeferredNotifications::Notification>
DeferredNotifications::takeFirst(std::unique_ptr<Notification>& from) noexcept {
    auto first = std::move(from);
    from = std::move(first->m_next);
    return first;
}

// Destroys the list in a loop; recursion could overflow the stack.
void DeferredNotifications::dropSince(const Mark& mark) noexcept {
    DeferredNotifications* const hold = s_current;
    if (!hold) return;
    auto* const last = hold == mark.hold ? const_cast<Notification*>(mark.last) : nullptr;
    auto dropped = std::move(last ? last->m_next : hold->m_first);
    hold->m_last = last;
    while (dropped)
        dropped = std::move(dropped->m_next);
}

void DeferredNotifications::begin() noexcept {
    s_current = this;
}

// Ends the hold first, because observers may begin changes of their own.
void DeferredNotifications::release() {
    if (!m_isOutermost) return;
    s_current = m_before;
    if (!m_first) return;
    const CertainDelivery certain;
    AllCalls calls;
    m_last = nullptr;
    for (auto kept = std::move(m_first); kept;) {
        const auto notification = takeFirst(kept);
        calls.make([&] { notification->deliver(); });
    }
    calls.end();
}

void DeferredNotifications::end() noexcept {
    try {
        release();
    } catch (...) {
        logLost("after a change that failed");
    }
}

void logNoMemory(const char* sentence) noexcept {
    try {
        logError("%s", sentence);
    } catch (...) {
    }
}

// A log handler may throw as well; that exception is dropped.
void logLost(const char* where) noexcept {
    try {
        try {
            throw;
        } catch (const std::exception& thrown) {
            logError("An exception of an observer was lost %s: %s.", where, thrown.what());
        } catch (...) {
            logError("An exception of an observer was lost %s.", where);
        }
    } catch (...) {
    }
}

} // namespace qv::kelvo_sdk::impl
