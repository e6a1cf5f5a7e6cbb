// ---- File paths ------------------------------------------------------------------------
// String inputs "dir", "file" and "ext" make a node stand for a file; they are all there is.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

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

String withDot(String ext) {
    return ext.isEmpty() || ext.startsWith(".", false) ? ext : String('.') + ext;
}

// A file name for the record of an edit: nothing without its first part.
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
    // An evaluation may remove what is still to be read.
    const kelvo_sdk::Input dirInput(lookUpInput(known.dir));
    const kelvo_sdk::Input fileInput(lookUpInput(known.file));
    const kelvo_sdk::Input extInput(lookUpInput(known.ext));
    String dir, file, ext;
    if (!dirInput->readString(dir, true, nullptr)) return {};
    if (!fileInput->readString(file, true, nullptr)) return {};
    if (!extInput->readString(ext, true, nullptr)) return {};
    if (dir.isEmpty() && file.isEmpty()) return {};
    return Path::join<String, String>(dir, file + withDot(std::move(ext)));
}

bool Node::setPath(String dir, String file, String ext) {
    if (!isPath()) return false;
    // Who hears of the writes may remove the node.
    const kelvo_sdk::Node self(this);
    const kelvo_sdk::Scene scene(liveScene());
    ext = withDot(std::move(ext));
    const KnownNames& known = knownNames();
    const kelvo_sdk::Input dirInput(input(known.dir));
    const kelvo_sdk::Input fileInput(input(known.file));
    const kelvo_sdk::Input extInput(input(known.ext));
    const String newName = fileName(file, ext);
    const String oldName =
        fileName(fileInput.asString(false, nullptr), extInput.asString(false, nullptr));
    // A node that left its scene is not edited, nor, where undo would bring it back with the edit,
    // is an input that left the node.
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
    // Without memory for its texts the edit is not to be.
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
