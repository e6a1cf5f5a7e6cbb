#pragma once

#include <exception>
#include <utility>

namespace qv::kelvo_sdk::impl {

/// Makes calls one after another, even when one of them throws.
class AllCalls {
public:
    template<typename Call>
    void make(const Call& call) {
        try {
            call();
        } catch (...) {
            if (!m_thrown) m_thrown = std::current_exception();
        }
    }
    [[nodiscard]] bool hasThrown() const noexcept { return m_thrown != nullptr; }
    /// Throws the first exception of the calls, if any.
    void end() {
        if (m_thrown) std::rethrow_exception(std::exchange(m_thrown, nullptr));
    }

private:
    std::exception_ptr m_thrown;
};

} // namespace qv::kelvo_sdk::impl
