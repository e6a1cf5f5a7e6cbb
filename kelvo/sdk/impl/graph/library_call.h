#pragma once

#include "kelvo/base/string.h"

#include <exception>
#include <new>

namespace qv::kelvo_sdk::impl {

/// Logs that a callback of a node's library threw; `what` is null when nobody knows what.
void logThrown(const char* callback, const String& node, const char* what) noexcept;

/// Calls into a node's library and returns its answer. A callback that throws costs an error line,
/// and answers false; lack of memory alone reaches the caller. The name is a copy: a callback may
/// end its node.
template<typename Call>
bool callLibrary(const char* callback, const String node, const Call& call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& thrown) {
        logThrown(callback, node, thrown.what());
    } catch (...) {
        logThrown(callback, node, nullptr);
    }
    return false;
}

} // namespace qv::kelvo_sdk::impl
