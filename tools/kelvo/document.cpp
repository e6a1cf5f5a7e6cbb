#include "tools/kelvo/document.h"

#include "kelvo/binary/binary_scene.h"
#include "tools/kelvo/binary_text.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/progress_line.h"
#include "tools/kelvo/scene_hash.h"
#include "tools/kelvo/text_columns.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <utility>

namespace qv::kelvo_tool {

namespace {

// The most common file endings of models.
constexpr std::array modelEndings{".3ds", ".3mf", ".ase",     ".blend", ".bvh", ".cob", ".dae",
                                  ".dxf", ".fbx", ".glb",     ".gltf",  ".ifc", ".lwo", ".lws",
                                  ".md2", ".md3", ".md5mesh", ".ms3d",  ".obj", ".off", ".ply",
                                  ".smd", ".stl", ".vrm",     ".wrl",   ".x",   ".x3d", ".xgl"};

bool isModel(const String& file) {
    return std::ranges::any_of(modelEndings,
                               [&](const char* ending) { return file.endsWith(ending, true); });
}

// Skips a byte order mark, blanks and comments.
std::string_view firstWords(std::string_view text) {
    if (text.starts_with("\xef\xbb\xbf")) text.remove_prefix(3);
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
        if (!text.starts_with('#')) return text;
        text.remove_prefix(std::min(text.find('\n'), text.size()));
    }
}

// Checks the libraries that the user named, even if the scene does not need them.
bool areLibrariesSound() {
    return libraryOptions().isEmpty() || librariesInUse();
}

} // namespace

String whyNoScene(const String& file, std::string_view text) {
    const std::string_view start = firstWords(text);
    if (start.empty() || start.starts_with("kelvo scene") || start.starts_with("node")) return {};
    const String sentence = displayed(file) + ": not a scene: ";
    if (isModel(file)) {
        const String name = file.substr(0, file.view().rfind('.'));
        return sentence + "import it (kelvo import " + file + " -o " + name + ".kns).";
    }
    if (start.starts_with("glTF")) return sentence + "it is a model (see kelvo help import).";
    if (start.starts_with("kelvo types"))
        return sentence + "it defines node types (see --library).";
    return isPlainText(text) ? String() : sentence + "it is no text.";
}

String leftOutText(u64 gapCount) {
    return String(std::string_view(std::to_string(gapCount))) +
           (gapCount == 1 ? " part was left out" : " parts were left out");
}

bool Document::open(const String& file) {
    return open(file, &TextFile::read);
}

bool Document::openToEdit(const String& file) {
    return open(file, &TextFile::readToEdit);
}

bool Document::open(const String& file, Read readText) {
    m_file = file;
    if (!areLibrariesSound()) return false;
    String error;
    m_hasText = (m_text.*readText)(file, error);
    if (m_hasText) error = whyNoScene(file, m_text.text().view());
    if (!error.isEmpty()) complain(error);
    return error.isEmpty();
}

bool Document::openToLook(const String& file) {
    m_file = file;
    if (!areLibrariesSound()) return false;
    const std::filesystem::path path(file.view());
    if (!isStream(file) && kelvo_sdk::isBinaryFile(path)) return take(kelvo_sdk::openBinary(path));
    String error;
    if (m_text.readBytes(file, error)) {
        if (m_text.isBinary())
            return take(
                kelvo_sdk::openBinaryBytes(std::string(m_text.bytes().view()), displayed(file)));
        m_hasText = m_text.makeText(error);
        if (m_hasText) error = whyNoScene(file, m_text.text().view());
    }
    if (!error.isEmpty()) complain(error);
    return error.isEmpty();
}

bool Document::take(const kelvo_sdk::Made<kelvo_sdk::Snapshot>& opened) {
    m_stored = opened;
    if (!opened.result()) complain(opened.message());
    return opened.result();
}

bool Document::makeText() {
    if (m_hasText) return true;
    String error;
    const bool hasBytes = !m_text.bytes().isEmpty() || m_text.readBytes(m_file, error);
    m_hasText = hasBytes && m_text.makeText(error);
    if (!m_hasText) complain(error);
    return m_hasText;
}

// A long text is not kept beside its snapshot unless it cannot be read again.
kelvo_sdk::Snapshot Document::look(const String& file) {
    if (!openToLook(file)) return {};
    const kelvo_sdk::Snapshot made = snapshot();
    std::error_code ignored;
    if (!isStream(file) && std::filesystem::is_regular_file(file.view(), ignored)) {
        m_text.forget();
        m_hasText = false;
    }
    return made;
}

bool Document::isSound() const {
    const kelvo_sdk::Result damage = m_stored.damage();
    if (!damage) complain(damage.message());
    return damage;
}

kelvo_sdk::Snapshot Document::snapshot() const {
    if (m_stored) return m_stored;
    kelvo_sdk::Snapshot made;
    kelvo_sdk::Diagnostics ignored;
    return tryRead({}, made, ignored) ? made : readTyped();
}

kelvo_sdk::Snapshot Document::snapshotWithTypes() {
    return makeText() ? readTyped() : kelvo_sdk::Snapshot();
}

kelvo_sdk::Snapshot Document::readTyped() const {
    kelvo_sdk::Snapshot made;
    kelvo_sdk::Diagnostics found, gaps;
    kelvo_sdk::SnapshotReadOptions options;
    const Libraries* libraries = librariesInUse();
    if (!libraries) return {};
    for (const NamedLibrary& each : libraries->all())
        options.libraries.push_back(each.library);
    if (tryRead(options, made, found)) return made;
    options.isPartial = true;
    if (m_isPartial && tryRead(options, made, gaps)) return made;
    for (const kelvo_sdk::Diagnostic& diagnostic : found)
        complain(diagnostic.text());
    return {};
}

kelvo_sdk::Snapshot Document::lookModified(const String& file) {
    const kelvo_sdk::Snapshot scene = openModified(file);
    if (!scene) return {};
    // Reads those of a stored scene.
    static_cast<void>(scene.nodes());
    return isSound() ? scene : kelvo_sdk::Snapshot();
}

kelvo_sdk::Snapshot Document::openModified(const String& file) {
    const kelvo_sdk::Snapshot asSet = look(file);
    const bool isModified = hasModifiers(asSet);
    if (!isSound()) return {};
    return isModified ? snapshot(kelvo_sdk::SnapshotValues::Modified) : asSet;
}

kelvo_sdk::Snapshot Document::snapshot(kelvo_sdk::SnapshotValues values) {
    const auto scene = kelvo_sdk::Scene::create();
    if (!makeText() || !read(scene)) return {};
    return scene.snapshot({.values = values});
}

bool Document::tryRead(const kelvo_sdk::SnapshotReadOptions& options, kelvo_sdk::Snapshot& made,
                       kelvo_sdk::Diagnostics& found) const {
    const kelvo_sdk::SnapshotReport report = [&] {
        const ProgressLine line("kelvo: reading " + displayed(m_file));
        return kelvo_sdk::readSnapshot(m_text.text().view(), displayed(m_file), options, &found);
    }();
    made = report.snapshot;
    if (report.isRead && options.isPartial) tellGaps(found, report.gapCount);
    return report.isRead;
}

// A failed read leaves the scene unchanged, so that the second attempt can use the same scene.
bool Document::read(const kelvo_sdk::Scene& scene) const {
    kelvo_sdk::Diagnostics ignored;
    return tryRead(scene, ignored) || readWithTypes(scene);
}

bool Document::readWithTypes(const kelvo_sdk::Scene& scene) const {
    const Libraries* libraries = librariesInUse();
    if (!libraries) return false;
    libraries->addTo(scene);
    kelvo_sdk::Diagnostics found;
    if (tryRead(scene, found)) return true;
    if (m_isPartial && readParts(scene)) return true;
    for (const kelvo_sdk::Diagnostic& diagnostic : found)
        complain(diagnostic.text());
    return false;
}

bool Document::readParts(const kelvo_sdk::Scene& scene) const {
    kelvo_sdk::Diagnostics gaps;
    const kelvo_sdk::ReadReport report =
        scene.read(m_text.text(), displayed(m_file), {.isPartial = true}, &gaps);
    if (report.isRead) tellGaps(gaps, report.gapCount);
    return report.isRead;
}

void Document::tellGaps(const kelvo_sdk::Diagnostics& gaps, u64 count) const {
    if (std::exchange(m_gapCount, count) != 0) return;
    for (const kelvo_sdk::Diagnostic& gap : gaps)
        complain(gap.text());
    complain(displayed(m_file) + ": " + leftOutText(count) + ", and everything else taken.");
}

bool Document::tryRead(const kelvo_sdk::Scene& scene, kelvo_sdk::Diagnostics& found) const {
    const ProgressLine line("kelvo: reading " + displayed(m_file));
    return scene.read(m_text.text(), displayed(m_file), &found);
}

bool Document::save(const String& text, const String& file, Terminal& out) {
    const String& target = file.isEmpty() ? m_file : file;
    if (isStream(target)) {
        out.writeData(m_text.laidOut(text.view()).view());
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
    String text, error;
    {
        const ProgressLine line("kelvo: writing " + displayed(file));
        text = scene.text();
        const String plain = text;
        if (isBinaryName(file) && !binaryOfText(file, plain.view(), false, text, error)) {
            complain(error);
            return false;
        }
    }
    if (isStream(file)) {
        out.writeData(text.view());
        return true;
    }
    if (writeFile(file, text.view(), error)) return true;
    complain(error);
    return false;
}

} // namespace qv::kelvo_tool
