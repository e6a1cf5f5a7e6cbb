#pragma once

#include "kelvo/sdk/impl/value/buffer.h"

#include <memory>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Keeps evaluated buffers where they are for those who read them: of each thread the one that it
/// was given last, until it is given another or ends. Several threads may call at once.
class HeldBuffers {
public:
    /// Keeps a buffer for the calling thread, in place of the one before.
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
