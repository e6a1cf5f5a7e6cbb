#pragma once

#include "kelvo/base/string.h"

#include <exception>
#include <new>

namespace qv::kelvo_sdk::impl {

/// Logs that a callback of a node's library threw; `what` is null when unknown.
void logThrown(const char* callback, const String& node, const char* what) noexcept;

/// Calls a callback of a node's library and returns its result. When the callback throws, logs an
/// error and returns false; only out-of-memory errors reach the caller. `nameOfNode` is called for
/// the error alone, when the callback may have destroyed the node.
template<typename NameOfNode, typename Call>
bool callLibrary(const char* callback, const NameOfNode& nameOfNode, const Call& call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& thrown) {
        logThrown(callback, nameOfNode(), thrown.what());
    } catch (...) {
        logThrown(callback, nameOfNode(), nullptr);
    }
    return false;
}

} // namespace qv::kelvo_sdk::impl
