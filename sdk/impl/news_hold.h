#pragma once

#include <functional>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Holds back what is to be told while a change of several parts is made, so that nobody hears of
/// a part before the whole is complete. Then all is told in order, each to its end: an exception
/// ends its own notification alone, and the first one comes out last.
///
/// Counts for its thread, whatever scenes are concerned. Inside another hold it leaves the telling
/// to that one.
class NewsHold {
public:
    /// Keeps alive what it tells of.
    using Telling = std::function<void()>;

    NewsHold() noexcept : m_isOutermost(!s_current) {
        if (m_isOutermost) s_current = this;
    }
    /// Tells what was not told yet; what observers throw then is logged and lost.
    ~NewsHold() {
        if (m_isOutermost && s_current == this) end();
    }
    NewsHold(const NewsHold&) = delete;
    NewsHold& operator=(const NewsHold&) = delete;

    /// Returns the hold that counts for this thread, null when news are told at once.
    [[nodiscard]] static NewsHold* current() noexcept { return s_current; }
    void add(Telling telling) { m_kept.push_back(std::move(telling)); }

    /// The change is complete: tells what was held back. Throws what came out first.
    void release();

private:
    void end() noexcept;

    // No call is needed to find it, in a shared library as well: every change of a value looks.
    [[gnu::tls_model("initial-exec")]] static thread_local constinit NewsHold* s_current;

    const bool m_isOutermost;
    std::vector<Telling> m_kept;
};

/// Does something when all was told that there is to tell up to now.
template<typename Call>
void afterTelling(Call call) {
    if (NewsHold* hold = NewsHold::current())
        hold->add(std::move(call));
    else
        call();
}

/// Logs that an observer threw where nobody can catch it; needs an exception that is being handled.
void logLost(const char* where) noexcept;

} // namespace qv::kelvo_sdk::impl
