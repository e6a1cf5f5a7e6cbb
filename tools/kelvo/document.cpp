#include "tools/kelvo/document.h"

#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/message.h"

namespace qv::kelvo_tool {

bool Document::open(const String& file) {
    return open(file, &TextFile::read);
}

bool Document::openToEdit(const String& file) {
    return open(file, &TextFile::readToEdit);
}

bool Document::open(const String& file, Read readText) {
    m_file = file;
    // What was asked for has to be there, needed or not.
    if (!libraryOptions().isEmpty() && !librariesInUse()) return false;
    String error;
    if ((m_text.*readText)(file, error)) return true;
    complain(error);
    return false;
}

// A scene that cannot be read leaves no trace, so that it can be read once more.
bool Document::read(const kelvo_sdk::Scene& scene) const {
    kelvo_sdk::Diagnostics ignored;
    return scene.read(m_text.text(), displayed(m_file), &ignored) || readWithTypes(scene);
}

bool Document::readWithTypes(const kelvo_sdk::Scene& scene) const {
    const Libraries* libraries = librariesInUse();
    if (!libraries) return false;
    libraries->addTo(scene);
    kelvo_sdk::Diagnostics found;
    if (scene.read(m_text.text(), displayed(m_file), &found)) return true;
    for (const kelvo_sdk::Diagnostic& diagnostic : found)
        complain(diagnostic.text());
    return false;
}

bool Document::save(const String& text, const String& file, Terminal& out) {
    const String& target = file.isEmpty() ? m_file : file;
    if (isStream(target)) {
        out.write(m_text.laidOut(text.view()).view());
        return true;
    }
    String error;
    if (m_text.write(target, text.view(), error)) return true;
    complain(error);
    return false;
}

bool loadScene(const String& file, const kelvo_sdk::Scene& scene) {
    Document document;
    return document.open(file) && document.read(scene);
}

bool loadSceneWithTypes(const String& file, const kelvo_sdk::Scene& scene) {
    Document document;
    return document.open(file) && document.readWithTypes(scene);
}

bool saveScene(const kelvo_sdk::Scene& scene, const String& file, Terminal& out) {
    const String text = scene.text();
    if (isStream(file)) {
        out.write(text.view());
        return true;
    }
    String error;
    if (writeFile(file, text.view(), error)) return true;
    complain(error);
    return false;
}

} // namespace qv::kelvo_tool
