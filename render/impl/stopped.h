#pragma once

#include <stop_token>

namespace qv::render::impl {

/// Thrown out of work whose end was requested.
struct Stopped {};

/// Looks whether the end is requested. Cheap, for inner loops.
inline void endIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested()) throw Stopped();
}

} // namespace qv::render::impl
