#pragma once

#include "kelvo/base/log.h"
#include "kelvo/files/text_file.h"
#include "kelvo/sdk/scene.h"

namespace qv::kelvo_sdk {

namespace detail {

inline Result failFile(const std::filesystem::path& file, const char* what,
                       const std::string& reason, Diagnostics* found) {
    Diagnostic failure;
    failure.source = String(std::string_view(file.string()));
    failure.message = String(what) + std::string_view(reason) + ".";
    const String text = failure.text();
    if (found)
        found->push_back(std::move(failure));
    else
        logError("%s", text.buf());
    return Result::failure(text);
}

} // namespace detail

/// Adds what a file of scene text describes, as `Scene::read` does. Fails, the scene as it was,
/// when the file cannot be read or has an error: all that is wrong goes to `found`, or to the log
/// when that is null, and names the file.
inline Result loadScene(const Scene& scene, const std::filesystem::path& file,
                        Diagnostics* found = nullptr) {
    constexpr const char* what = "The file cannot be read: ";
    if (!scene) return detail::failFile(file, what, "there is no scene to read it into", found);
    String text;
    if (const std::error_code failure = kelvo_files::readText(file, text))
        return detail::failFile(file, what, failure.message(), found);
    return scene.read(std::move(text), String(std::string_view(file.string())), found);
}

/// Writes a scene as text to a file, as a whole: on failure the file is as it was, and the reason
/// goes to `found`, or to the log when that is null. Permissions are kept, symbolic links followed.
/// `Scene::markSaved` is the caller's to call, as this may be a copy.
inline Result saveScene(const Scene& scene, const std::filesystem::path& file,
                        Diagnostics* found = nullptr) {
    constexpr const char* what = "The file cannot be written: ";
    if (!scene) return detail::failFile(file, what, "there is no scene", found);
    const std::error_code failure = kelvo_files::writeText(file, scene.text().view());
    return failure ? detail::failFile(file, what, failure.message(), found) : Result();
}

} // namespace qv::kelvo_sdk
