// ---- File paths ------------------------------------------------------------------------
// String inputs "dir", "file" and "ext" make a node stand for a file; they are all there is.

#include "sdk/impl/node.h"

#include "sdk/impl/known_names.h"
#include "sdk/impl/scene.h"
#include "sdk/input.h"
#include "sdk/interfaces/i_scene.h"
#include "sdk/node.h"
#include "sdk/scene.h"

#include "base/log.h"
#include "base/path.h"

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
    if (scene) {
        scene->beginEdit();
        scene->beginEditGroup();
    }
    const auto record = [&] {
        if (!scene) return;
        scene->endEditGroup();
        const String shown = label("auto");
        scene->recordEdit(String::format("%s = %s", shown.buf(), newName.buf()),
                          String::format("%s = %s", shown.buf(), oldName.buf()));
    };
    // A node that left its scene is not edited, nor, while the scene records, is an input that left
    // the node: undo would bring them back with the edit.
    const auto isThere = [&](const kelvo_sdk::Input& written) {
        if (liveScene() != scene.get()) return false;
        if (!scene) return true;
        auto& home = static_cast<impl::Scene&>(*scene.get());
        return !m_hasLeft && (written.node() == this || !home.history().isRecording());
    };
    bool done = false;
    try {
        done = extInput.setString(std::move(ext)) && isThere(fileInput) &&
               fileInput.setString(std::move(file)) && isThere(dirInput) &&
               dirInput.setString(std::move(dir));
    } catch (...) {
        record();
        throw;
    }
    record();
    return done;
}

bool Node::setPath(String path) {
    const Path parts(std::move(path), true);
    return setPath(parts.dir(), parts.file(false), parts.ext(true));
}

} // namespace qv::kelvo_sdk::impl
