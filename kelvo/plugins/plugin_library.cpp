#include "kelvo/plugins/plugin_library.h"

#include "kelvo/sdk/node.h"

#include <memory>
#include <utility>

namespace qv::kelvo_plugins {

using kelvo_sdk::LibInfo;

LibInfo createPluginLibrary(PluginCode code, String kndPath) {
    return LibInfo::create(std::move(kndPath), std::make_shared<PluginCode>(std::move(code)));
}

void bindTypes(const LibInfo& library, const LibInfo& lookUp) {
    for (u64 i = 0; i < library.typeCount(); ++i) {
        const String name = library.type(i).type();
        // It has types, so that it takes their callbacks.
        (void)library.setCallbacks(name, {lookUp.nodeInit(name), lookUp.nodePrep(name),
                                          lookUp.nodeEval(name), lookUp.nodeModify(name),
                                          lookUp.nodeFree(name), lookUp.nodeChanged(name)});
    }
}

} // namespace qv::kelvo_plugins
