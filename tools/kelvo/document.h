#pragma once

#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot_reader.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/terminal.h"
#include "tools/kelvo/text_file.h"

#include <string_view>

namespace qv::kelvo_tool {

/// The help of the option that sets `Document::takeParts`.
inline constexpr const char* partialHelp =
    "Take what can be read of a scene with errors: what cannot is told,\n"
    "left out, and stays in the text; the exit status is 1 then";

/// A scene file, from which scenes and snapshots are read.
class Document {
public:
    /// Accepts texts with errors; leaves out the parts that cannot be read.
    void takeParts(bool isPartial) noexcept { m_isPartial = isPartial; }

    /// Reads the file; false after an error message.
    [[nodiscard]] bool open(const String& file);
    /// Reads the file and locks it against other commands' edits until it is saved or this is
    /// destroyed.
    [[nodiscard]] bool openToEdit(const String& file);

    /// Opens the file for `snapshot`: the binary form is read where it is needed. False after an
    /// error message.
    [[nodiscard]] bool openToLook(const String& file);
    /// Returns the scene without making nodes, as `read` reads it. Empty after a message for each
    /// error.
    [[nodiscard]] kelvo_sdk::Snapshot snapshot() const;
    /// Returns the scene without making nodes, as `readWithTypes` reads it.
    [[nodiscard]] kelvo_sdk::Snapshot snapshotWithTypes();
    /// Opens the file and returns its `snapshot`.
    [[nodiscard]] kelvo_sdk::Snapshot look(const String& file);
    /// Opens the file and returns its `snapshot` with the values that modifiers give. Reads all of
    /// it, and makes nodes only when there are modifiers. Empty after an error message.
    [[nodiscard]] kelvo_sdk::Snapshot lookModified(const String& file);
    /// Does the same, but reads no more than it needs, for commands that visit the nodes once.
    [[nodiscard]] kelvo_sdk::Snapshot openModified(const String& file);
    /// Returns the snapshot with other values; makes nodes of the whole scene for them. Empty after
    /// an error message.
    [[nodiscard]] kelvo_sdk::Snapshot snapshot(kelvo_sdk::SnapshotValues values);
    /// False, after an error message, when parts of the snapshot that were asked for are damaged.
    [[nodiscard]] bool isSound() const;
    /// Makes the text of a file that was opened for `snapshot`, so that scenes can be read; reads
    /// the file again if need be. False after an error message.
    [[nodiscard]] bool makeText();

    /// Reads the text into an empty scene without types if that is possible; a scene that relies on
    /// the types of its nodes is read with them. False after a message for each error.
    [[nodiscard]] bool read(const kelvo_sdk::Scene& scene) const;
    /// Reads the text into an empty scene with the libraries in use, which supply the attributes
    /// that the text leaves to types. False after a message for each error.
    [[nodiscard]] bool readWithTypes(const kelvo_sdk::Scene& scene) const;

    /// Writes a scene that was read from this document to a file, by default its own, or to `out`
    /// for "-"; keeps the line ends. False after an error message; the own file is not overwritten
    /// if it has changed meanwhile.
    [[nodiscard]] bool save(const kelvo_sdk::Scene& scene, const String& file, Terminal& out) {
        return save(scene.text(), file, out);
    }
    [[nodiscard]] bool save(const String& text, const String& file, Terminal& out);

    /// Returns the exit status of a command that succeeded: a fault if parts were left out.
    [[nodiscard]] Status status() const noexcept {
        return m_gapCount == 0 ? Status::Ok : Status::Fault;
    }

private:
    using Read = bool (TextFile::*)(const String& path, String& error);
    [[nodiscard]] bool open(const String& file, Read readText);
    [[nodiscard]] bool take(const kelvo_sdk::Made<kelvo_sdk::Snapshot>& opened);
    [[nodiscard]] kelvo_sdk::Snapshot readTyped() const;
    [[nodiscard]] bool tryRead(const kelvo_sdk::SnapshotReadOptions& options,
                               kelvo_sdk::Snapshot& made, kelvo_sdk::Diagnostics& found) const;
    void tellGaps(const kelvo_sdk::Diagnostics& gaps, u64 count) const;
    [[nodiscard]] bool tryRead(const kelvo_sdk::Scene& scene, kelvo_sdk::Diagnostics& found) const;
    [[nodiscard]] bool readParts(const kelvo_sdk::Scene& scene) const;

    String m_file;
    TextFile m_text;
    // Of a file in the binary form that was opened for `snapshot`.
    kelvo_sdk::Snapshot m_stored;
    bool m_hasText = false;
    bool m_isPartial = false;
    // The gaps that were reported already, as a text may be read several times.
    mutable u64 m_gapCount = 0;
};

/// Returns "2 parts were left out".
[[nodiscard]] String leftOutText(u64 gapCount);

/// Returns a sentence that tells why a file's text cannot be a scene, such as a model or a picture;
/// empty for any other text.
[[nodiscard]] String whyNoScene(const String& file, std::string_view text);

/// Reads a scene file as `Document::read` does.
[[nodiscard]] bool loadScene(const String& file, const kelvo_sdk::Scene& scene);
/// Reads a scene file as `Document::readWithTypes` does.
[[nodiscard]] bool loadSceneWithTypes(const String& file, const kelvo_sdk::Scene& scene);

/// Writes a scene to a file, or to `out` for "-"; false after an error message.
[[nodiscard]] bool saveScene(const kelvo_sdk::Scene& scene, const String& file, Terminal& out);

} // namespace qv::kelvo_tool
