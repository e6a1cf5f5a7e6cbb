#pragma once

#include <string>
#include <vector>

namespace qv::render::tests {

/// A small scene whose picture is kept, and what the picture shows.
struct ReferenceScene {
    const char* name;
    std::string text;
};

/// Returns all scenes with a picture in tests/render/references/.
[[nodiscard]] std::vector<ReferenceScene> referenceScenes();

} // namespace qv::render::tests
