#pragma once

#include "base/string.h"

#include <exception>
#include <new>

namespace qv::kelvo_sdk::impl {

/// Logs that a callback of a node's library threw; `what` is null when nobody knows what.
void logThrown(const char* callback, const String& node, const char* what) noexcept;

/// Whether a callback on this thread ran out of memory since it was asked last.
[[nodiscard]] bool takeCallbackRanOut() noexcept;
void noteCallbackRanOut() noexcept;

/// Calls into a node's library and returns its answer. A callback that throws costs an error line,
/// and answers false. The name is a copy: a callback may end its node.
template<typename Call>
bool callLibrary(const char* callback, const String node, const Call& call) noexcept {
    try {
        return call();
    } catch (const std::bad_alloc& thrown) {
        noteCallbackRanOut();
        logThrown(callback, node, thrown.what());
    } catch (const std::exception& thrown) {
        logThrown(callback, node, thrown.what());
    } catch (...) {
        logThrown(callback, node, nullptr);
    }
    return false;
}

} // namespace qv::kelvo_sdk::impl
