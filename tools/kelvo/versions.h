#pragma once

#include "tools/kelvo/document.h"

#include <initializer_list>
#include <vector>

namespace qv::kelvo_tool {

/// Scenes to compare with each other: read without types if all of them can be, else all with the
/// types of their nodes.
class Versions {
public:
    /// Reads the files; false after a message for each error.
    [[nodiscard]] bool load(std::initializer_list<String> files);

    [[nodiscard]] const kelvo_sdk::Scene& operator[](u64 index) const { return m_scenes[index]; }
    /// Returns the file that a scene was read from.
    [[nodiscard]] Document& document(u64 index) { return m_documents[index]; }

private:
    std::vector<Document> m_documents;
    std::vector<kelvo_sdk::Scene> m_scenes;
};

/// Tells whether a scene knows the types of its nodes.
[[nodiscard]] bool knowsTypes(const kelvo_sdk::Scene& scene);

} // namespace qv::kelvo_tool
