#pragma once

#include "kelvo/sdk/scene.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/terminal.h"
#include "tools/kelvo/text_file.h"

#include <string_view>

namespace qv::kelvo_tool {

/// The help of the option that commands hand to `Document::takeParts`.
inline constexpr const char* partialHelp =
    "Take what can be read of a scene with errors: what cannot is told,\n"
    "left out, and stays in the text; the exit status is 1 then";

/// The text of a scene file, which scenes are read from.
class Document {
public:
    /// Lets scenes be read from a text with errors, without what cannot be read.
    void takeParts(bool isPartial) noexcept { m_isPartial = isPartial; }

    /// Reads the file; false after telling why not.
    [[nodiscard]] bool open(const String& file);
    /// The same, and no other command edits it until it is saved or this ends.
    [[nodiscard]] bool openToEdit(const String& file);

    /// Reads the text into an empty scene as it stands, if it stands by itself: a scene that needs
    /// what it leaves to the types of its nodes is read with them. False after telling all that is
    /// wrong with it.
    [[nodiscard]] bool read(const kelvo_sdk::Scene& scene) const;
    /// Reads it into an empty scene that knows the libraries in use: what the text leaves to the
    /// types of its nodes is there. False after telling all that is wrong.
    [[nodiscard]] bool readWithTypes(const kelvo_sdk::Scene& scene) const;

    /// Writes a scene that was made of this to a file, by default its own, or to `out` for "-";
    /// line ends are as they were. False after telling why not: its own file is not written when it
    /// has changed meanwhile.
    [[nodiscard]] bool save(const kelvo_sdk::Scene& scene, const String& file, Terminal& out) {
        return save(scene.text(), file, out);
    }
    [[nodiscard]] bool save(const String& text, const String& file, Terminal& out);

    /// Returns how a command ends that did all it was asked for: with a fault when something was
    /// left out.
    [[nodiscard]] Status status() const noexcept {
        return m_gapCount == 0 ? Status::Ok : Status::Fault;
    }

private:
    using Read = bool (TextFile::*)(const String& path, String& error);
    [[nodiscard]] bool open(const String& file, Read readText);
    [[nodiscard]] bool tryRead(const kelvo_sdk::Scene& scene, kelvo_sdk::Diagnostics& found) const;
    [[nodiscard]] bool readParts(const kelvo_sdk::Scene& scene) const;

    String m_file;
    TextFile m_text;
    bool m_isPartial = false;
    // The gaps that were told of already; texts may be read several times.
    mutable u64 m_gapCount = 0;
};

/// Returns "2 parts were left out".
[[nodiscard]] String leftOutText(u64 gapCount);

/// Returns a sentence that tells why a file's text is no scene at all, such as a model or a
/// picture; empty for what is to be read as one.
[[nodiscard]] String whyNoScene(const String& file, std::string_view text);

/// Reads a scene file as `Document::read` does.
[[nodiscard]] bool loadScene(const String& file, const kelvo_sdk::Scene& scene);
/// Reads a scene file as `Document::readWithTypes` does.
[[nodiscard]] bool loadSceneWithTypes(const String& file, const kelvo_sdk::Scene& scene);

/// Writes a scene to a file, or to `out` for "-"; false after telling why not.
[[nodiscard]] bool saveScene(const kelvo_sdk::Scene& scene, const String& file, Terminal& out);

} // namespace qv::kelvo_tool
