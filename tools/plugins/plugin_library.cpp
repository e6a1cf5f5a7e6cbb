#include "tools/plugins/plugin_library.h"

#include "sdk/impl/node.h"

namespace qv::kelvo_plugins {

void PluginLibrary::bindTypes() {
    for (u64 i = 0; i < typeCount(); ++i) {
        const String name = type(i)->type();
        setCallbacks(name,
                     {lookUp.nodeInit(name), lookUp.nodePrep(name), lookUp.nodeEval(name),
                      lookUp.nodeModify(name), lookUp.nodeFree(name), lookUp.nodeChanged(name)});
    }
}

} // namespace qv::kelvo_plugins
