#pragma once

#include "kelvo/sdk/impl/history/all_calls.h"

#include <memory>
#include <new>
#include <utility>

namespace qv::kelvo_sdk::impl {

/// While it lives, on its thread, lack of memory keeps nobody from being told: what telling would
/// take memory for, it does without.
class CertainTelling {
public:
    CertainTelling() noexcept : m_before(std::exchange(s_isOn, true)) {}
    ~CertainTelling() { s_isOn = m_before; }
    CertainTelling(const CertainTelling&) = delete;
    CertainTelling& operator=(const CertainTelling&) = delete;

    [[nodiscard]] static bool isOn() noexcept { return s_isOn; }

private:
    // Found without a call, in a shared library as well.
    [[gnu::tls_model("initial-exec")]] static thread_local constinit bool s_isOn;

    bool m_before;
};

/// Holds back what is to be told while a change of several parts is made, so that nobody hears of
/// a part before the whole is complete. Then all is told in order, each to its end: an exception
/// ends its own notification alone, and the first one comes out last.
///
/// Counts for its thread, whatever scenes are concerned. Inside another hold it leaves the telling
/// to that one. Stands before the step that it tells of, which drops what was not to be.
class NewsHold {
public:
    /// Something to be told. Keeps alive what it tells of.
    class News {
    public:
        virtual ~News() = default;
        virtual void tell() = 0;

    private:
        friend class NewsHold;
        std::unique_ptr<News> m_next;
    };
    enum class Kind {
        /// Without memory for what is to be told, adding fails.
        Strict,
        /// Without memory it is told at once: somebody was told of the contrary.
        Certain,
        /// Nobody is told at all.
        Muted
    };

    explicit NewsHold(Kind kind = Kind::Strict) noexcept
        : m_kind(kind), m_before(s_current), m_isOutermost(!s_current || kind == Kind::Muted) {
        if (m_isOutermost) begin();
    }
    /// Tells what was not told yet; what observers throw then is logged and lost.
    ~NewsHold() {
        if (!m_isOutermost) return;
        if (s_current == this) end();
        s_current = m_before;
    }
    NewsHold(const NewsHold&) = delete;
    NewsHold& operator=(const NewsHold&) = delete;

    /// Returns the hold that counts for this thread, null when news are told at once.
    [[nodiscard]] static NewsHold* current() noexcept { return s_current; }
    [[nodiscard]] bool isMuted() const noexcept { return m_kind == Kind::Muted; }

    /// Makes ready what is to be told by `call`, which `add` then takes without fail.
    template<typename Call>
    [[nodiscard]] static std::unique_ptr<News> make(Call call) {
        return std::make_unique<NewsOf<Call>>(std::move(call));
    }
    void add(std::unique_ptr<News> news) noexcept;
    template<typename Call>
    void add(Call call) {
        if (isMuted()) return;
        std::unique_ptr<News> news;
        try {
            news = make(call);
        } catch (const std::bad_alloc&) {
            if (m_kind == Kind::Strict) throw;
            return tellNow(call);
        }
        add(std::move(news));
    }

    /// A place among the news of a hold.
    struct Mark {
        const NewsHold* hold;
        const News* last;
    };
    [[nodiscard]] static Mark mark() noexcept {
        return {s_current, s_current ? s_current->m_last : nullptr};
    }
    /// Drops what was added since, unheard.
    static void dropSince(const Mark& mark) noexcept;

    /// The change is complete: tells what was held back. Throws what came out first.
    void release();

private:
    template<typename Call>
    class NewsOf final : public News {
    public:
        explicit NewsOf(Call call) : m_call(std::move(call)) {}
        void tell() override { m_call(); }

    private:
        Call m_call;
    };

    // After all that is held back by now, whatever observers of that throw.
    template<typename Call>
    void tellNow(const Call& call) {
        AllCalls calls;
        calls.make([this] { release(); });
        calls.make(call);
        s_current = this;
        calls.end();
    }
    void begin() noexcept;
    void end() noexcept;
    [[nodiscard]] static std::unique_ptr<News> takeFirst(std::unique_ptr<News>& from) noexcept;

    // No call is needed to find it, in a shared library as well: every change of a value looks.
    [[gnu::tls_model("initial-exec")]] static thread_local constinit NewsHold* s_current;

    const Kind m_kind;
    NewsHold* const m_before;
    const bool m_isOutermost;
    std::unique_ptr<News> m_first;
    News* m_last = nullptr;
};

/// Does something when all was told that there is to tell up to now.
template<typename Call>
void afterTelling(Call call) {
    NewsHold* hold = NewsHold::current();
    if (hold && !hold->isMuted())
        hold->add(std::move(call));
    else
        call();
}

/// Logs that there was no memory for something, if there is enough of it for that.
void logNoMemory(const char* sentence) noexcept;

/// Logs that an observer threw where nobody can catch it; needs an exception that is being handled.
void logLost(const char* where) noexcept;

} // namespace qv::kelvo_sdk::impl
