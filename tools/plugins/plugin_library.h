#pragma once

#include "tools/plugins/shared_object.h"

#include "sdk/impl/lib_info.h"
#include "sdk/lib_info.h"

namespace qv::kelvo_plugins {

/// What a plug-in's library needs to its very end: the code, and the plug-in's own look-up in it.
// In this order: the look-up goes by its own code.
struct PluginCode {
    std::shared_ptr<SharedObject> object;
    kelvo_sdk::LibInfo lookUp;
};

/// The node library of a plug-in. It keeps the shared object in memory, and nodes keep their
/// library: whoever lets go of it last, node or program, unloads the plug-in.
// The code is the first base, as the end of the other may call into the plug-in.
class PluginLibrary final : private PluginCode, public kelvo_sdk::impl::LibInfo {
public:
    PluginLibrary(PluginCode code, String kndPath)
        : PluginCode(std::move(code)), kelvo_sdk::impl::LibInfo(std::move(kndPath)) {}

    /// Takes the callbacks of all its types from the plug-in, whose look-up may throw.
    void bindTypes();
};

} // namespace qv::kelvo_plugins
