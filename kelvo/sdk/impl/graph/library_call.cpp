#include "kelvo/sdk/impl/graph/library_call.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk::impl {

// Ignores an exception of the log handler, because there is nowhere to report it.
void logThrown(const char* callback, const String& node, const char* what) noexcept {
    try {
        if (what)
            logError("The %s callback of node '%s' threw: %s.", callback, node.buf(), what);
        else
            logError("The %s callback of node '%s' threw something that is no exception.", callback,
                     node.buf());
    } catch (...) {
    }
}

} // namespace qv::kelvo_sdk::impl
