#pragma once

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_recorder.h"
#include "tests/support/scene_text.h"

namespace qv::tests {

/// Returns the records of a scene, which must be one that has such.
[[nodiscard]] inline kelvo_sdk::impl::SceneDocument recorded(const kelvo_sdk::Scene& scene) {
    kelvo_sdk::impl::SceneDocument document;
    String error;
    kelvo_sdk::impl::SceneRecorder recorder(document);
    EXPECT_TRUE(recorder.record(kelvo_sdk::impl::implOf(*scene.get()), error)) << error.buf();
    return document;
}

/// Returns the records of a scene read from a text.
[[nodiscard]] inline kelvo_sdk::impl::SceneDocument documentOf(std::string_view text) {
    return recorded(sceneOf(text));
}

} // namespace qv::tests
