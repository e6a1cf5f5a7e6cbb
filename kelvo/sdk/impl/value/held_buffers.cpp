#include "kelvo/sdk/impl/value/held_buffers.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// One lock for all outputs: it is held briefly, and a mutex in each would make every output larger.
std::mutex s_mutex;

const std::shared_ptr<const void>& thisThread() {
    thread_local const std::shared_ptr<const void> t_thread = std::make_shared<const char>();
    return t_thread;
}

} // namespace

void HeldBuffers::hold(const Buffer& buffer) {
    const std::shared_ptr<const void>& thread = thisThread();
    Buffer before = buffer; // Destroyed outside the lock, as freeing may take long.
    const std::lock_guard lock(s_mutex);
    const auto isOwn = [&thread](const Holding& holding) {
        return !holding.thread.owner_before(thread) && !thread.owner_before(holding.thread);
    };
    const auto own = std::find_if(m_holdings.begin(), m_holdings.end(), isOwn);
    if (own != m_holdings.end()) return std::swap(own->buffer, before);
    std::erase_if(m_holdings, [](const Holding& holding) { return holding.thread.expired(); });
    m_holdings.push_back({thread, std::move(before)});
}

} // namespace qv::kelvo_sdk::impl
