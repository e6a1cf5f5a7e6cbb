#pragma once

#include "kelvo/base/log.h"
#include "kelvo/files/text_file.h"
#include "kelvo/sdk/scene.h"

namespace qv::kelvo_sdk {

namespace detail {

inline bool failFile(const std::filesystem::path& file, const char* what, const std::string& reason,
                     Diagnostics* found) {
    Diagnostic failure;
    failure.source = String(std::string_view(file.string()));
    failure.message = String(what) + std::string_view(reason) + ".";
    if (found)
        found->push_back(std::move(failure));
    else
        logError("%s", failure.text().buf());
    return false;
}

} // namespace detail

/// Adds the nodes described by a file of scene text, as `Scene::read` does. False, with the scene
/// unchanged, when the file cannot be read or has an error: diagnostics, which name the file, go to
/// `found`, or to the log when that is null.
inline bool loadScene(const Scene& scene, const std::filesystem::path& file,
                      Diagnostics* found = nullptr) {
    constexpr const char* what = "The file cannot be read: ";
    if (!scene) return detail::failFile(file, what, "there is no scene to read it into", found);
    String text;
    if (const std::error_code failure = kelvo_files::readText(file, text))
        return detail::failFile(file, what, failure.message(), found);
    return scene.read(std::move(text), String(std::string_view(file.string())), found);
}

/// Writes a scene as text to a file, all or nothing: on failure the file is unchanged, and the
/// reason goes to `found`, or to the log when that is null. Keeps permissions and follows symbolic
/// links. Does not call `Scene::markSaved`, as the file may be a mere copy.
inline bool saveScene(const Scene& scene, const std::filesystem::path& file,
                      Diagnostics* found = nullptr) {
    constexpr const char* what = "The file cannot be written: ";
    if (!scene) return detail::failFile(file, what, "there is no scene", found);
    const std::error_code failure = kelvo_files::writeText(file, scene.text().view());
    return !failure || detail::failFile(file, what, failure.message(), found);
}

} // namespace qv::kelvo_sdk
