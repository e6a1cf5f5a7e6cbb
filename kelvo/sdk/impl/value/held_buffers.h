#pragma once

#include "kelvo/sdk/impl/value/buffer.h"

#include <memory>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Keeps evaluated buffers alive for their readers: for each thread the last buffer that it
/// received, until the thread receives another or ends. Several threads may call at once.
class HeldBuffers {
public:
    /// Keeps a buffer for the calling thread and drops the previous one.
    void hold(const Buffer& buffer);

private:
    struct Holding {
        // Expires with the thread.
        std::weak_ptr<const void> thread;
        Buffer buffer;
    };

    std::vector<Holding> m_holdings;
};

} // namespace qv::kelvo_sdk::impl
