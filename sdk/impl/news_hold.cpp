#include "sdk/impl/news_hold.h"

#include "sdk/impl/all_calls.h"

#include "base/log.h"

namespace qv::kelvo_sdk::impl {

thread_local constinit NewsHold* NewsHold::s_current = nullptr;

// From here on nothing is held back: who is told may begin changes of its own.
void NewsHold::release() {
    if (!m_isOutermost) return;
    s_current = nullptr;
    if (m_kept.empty()) return;
    AllCalls calls;
    for (const Telling& telling : std::exchange(m_kept, {}))
        calls.make(telling);
    calls.end();
}

void NewsHold::end() noexcept {
    try {
        release();
    } catch (...) {
        logLost("after a change that failed");
    }
}

// A log handler may throw as well, and there is nobody left to tell.
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
