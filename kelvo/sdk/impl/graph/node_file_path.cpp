// ---- File paths ------------------------------------------------------------------------
// String inputs "dir", "file" and "ext" make a node represent a file; there is no other state.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/file_ending.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/input.h"
#include "kelvo/sdk/interfaces/i_scene.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/scene.h"

#include "kelvo/base/log.h"
#include "kelvo/base/path.h"

#include <new>

namespace qv::kelvo_sdk::impl {

namespace {

// Returns the file name for the description of an edit; empty without its first part.
String fileName(const String& file, const String& ext) {
    return file.isEmpty() ? String() : file + ext;
}

} // namespace

bool Node::isPath() const {
    const KnownNames& known = knownNames();
    return hasInput(known.dir, AttrType::String) && hasInput(known.file, AttrType::String) &&
           hasInput(known.ext, AttrType::String);
}

String Node::asPath() const {
    if (!isPath()) {
        logError("Cannot read node '%s' as a path.", m_name.buf());
        return {};
    }
    const KnownNames& known = knownNames();
    // An evaluation may remove inputs that are read later.
    const kelvo_sdk::Input dirInput(lookUpInput(known.dir));
    const kelvo_sdk::Input fileInput(lookUpInput(known.file));
    const kelvo_sdk::Input extInput(lookUpInput(known.ext));
    String dir, file, ext;
    if (!dirInput->readString(dir, true, nullptr)) return {};
    if (!fileInput->readString(file, true, nullptr)) return {};
    if (!extInput->readString(ext, true, nullptr)) return {};
    if (dir.isEmpty() && file.isEmpty()) return {};
    return Path::join<String, String>(dir, file + withDot(ext));
}

bool Node::setPath(String dir, String file, String ext) {
    if (!isPath()) return false;
    // Observers of the writes may remove the node.
    const kelvo_sdk::Node self(this);
    const kelvo_sdk::Scene scene(liveScene());
    ext = withDot(ext);
    const KnownNames& known = knownNames();
    const kelvo_sdk::Input dirInput(input(known.dir));
    const kelvo_sdk::Input fileInput(input(known.file));
    const kelvo_sdk::Input extInput(input(known.ext));
    const String newName = fileName(file, ext);
    const String oldName =
        fileName(fileInput.asString(false, nullptr), extInput.asString(false, nullptr));
    // Skips a node that left its scene, and an input that left the node if undo would restore it
    // together with the edit.
    const auto isThere = [&](const kelvo_sdk::Input& written) {
        if (liveScene() != scene.get()) return false;
        if (!scene) return true;
        auto& home = implOf(*scene.get());
        return !m_hasLeft && (written.node() == this || !home.undoEnabled());
    };
    const auto write = [&] {
        return extInput.setString(std::move(ext)) && isThere(fileInput) &&
               fileInput.setString(std::move(file)) && isThere(dirInput) &&
               dirInput.setString(std::move(dir));
    };
    if (!scene) return write();
    scene->beginEdit();
    const u64 depth = scene->editDepth();
    scene->beginEditGroup();
    // Cancels the edit when there is no memory for its texts.
    const auto end = [&] {
        scene->endEditGroup();
        String doText, undoText;
        try {
            const String shown = label("auto");
            doText = String::format("%s = %s", shown.buf(), newName.buf());
            undoText = String::format("%s = %s", shown.buf(), oldName.buf());
        } catch (const std::bad_alloc&) {
            scene->cancelEdit(depth);
            throw;
        }
        scene->recordEdit(std::move(doText), std::move(undoText));
    };
    bool done = false;
    try {
        done = write();
    } catch (const std::bad_alloc&) {
        scene->endEditGroup();
        scene->cancelEdit(depth);
        throw;
    } catch (...) {
        end();
        throw;
    }
    end();
    return done;
}

bool Node::setPath(String path) {
    const Path parts(std::move(path), true);
    return setPath(parts.dir(), parts.file(false), parts.ext(true));
}

} // namespace qv::kelvo_sdk::impl
