#pragma once

#include <atomic>
#include <memory>

namespace qv::kelvo_sdk::impl {

/// Something constant that is made when it is first asked for. Threads that ask at the same time
/// may each make one; all of them get the one that was ready first.
template<typename T>
class MadeOnce {
public:
    MadeOnce() = default;
    ~MadeOnce() { delete m_made.load(std::memory_order_acquire); }
    MadeOnce(const MadeOnce&) = delete;
    MadeOnce& operator=(const MadeOnce&) = delete;

    /// `make()` returns a `std::unique_ptr<T>`; an exception of it leaves everything as it was.
    template<typename Make>
    [[nodiscard]] const T& get(const Make& make) const {
        if (const T* known = m_made.load(std::memory_order_acquire)) return *known;
        std::unique_ptr<T> made = make();
        const T* known = nullptr;
        if (!m_made.compare_exchange_strong(known, made.get(), std::memory_order_acq_rel))
            return *known;
        return *made.release();
    }

private:
    mutable std::atomic<const T*> m_made = nullptr;
};

} // namespace qv::kelvo_sdk::impl
