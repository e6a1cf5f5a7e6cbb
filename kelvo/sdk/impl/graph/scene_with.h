#pragma once

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/lib_info.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Returns a scene without nodes that has the libraries, for readers that look up types alone.
[[nodiscard]] inline RefersTo<Scene> sceneWith(const std::vector<kelvo_sdk::LibInfo>& libraries) {
    auto scene = RefersTo<Scene>::adopt(new Scene);
    for (const kelvo_sdk::LibInfo& library : libraries)
        if (library) scene->addLibrary(library.get());
    return scene;
}

} // namespace qv::kelvo_sdk::impl
