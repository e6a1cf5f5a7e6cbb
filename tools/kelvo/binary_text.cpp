#include "tools/kelvo/binary_text.h"

#include "kelvo/binary/binary_scene.h"
#include "kelvo/sdk/snapshot_reader.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"

#include <string>

namespace qv::kelvo_tool {

namespace {

// A text that relies on types is read with them.
kelvo_sdk::Snapshot snapshotOf(const String& file, std::string_view text, String& error) {
    kelvo_sdk::Diagnostics ignored;
    const auto plain = kelvo_sdk::readSnapshot(text, displayed(file), {}, &ignored);
    if (plain.isRead) return plain.snapshot;
    const Libraries* libraries = librariesInUse();
    if (!libraries) return {};
    kelvo_sdk::SnapshotReadOptions options;
    for (const NamedLibrary& each : libraries->all())
        options.libraries.push_back(each.library);
    kelvo_sdk::Diagnostics found;
    const auto typed = kelvo_sdk::readSnapshot(text, displayed(file), options, &found);
    if (!typed.isRead) error = typed.isRead.message();
    return typed.snapshot;
}

} // namespace

bool isBinaryName(const String& file) noexcept {
    return file.endsWith(".knb", true);
}

bool textOfBinary(const String& file, const String& bytes, String& text, String& error) {
    const kelvo_sdk::Made<kelvo_sdk::Snapshot> opened =
        kelvo_sdk::openBinaryBytes(std::string(bytes.view()), displayed(file));
    const kelvo_sdk::Result whole = opened.result() ? opened.verify() : opened.result();
    if (whole)
        text = opened.text();
    else
        error = whole.message();
    return whole;
}

bool binaryOfText(const String& file, std::string_view text, bool isCompressed, String& bytes,
                  String& error) {
    const kelvo_sdk::Snapshot snapshot = snapshotOf(file, text, error);
    if (!snapshot) return false;
    std::string made;
    const kelvo_sdk::Result stored =
        kelvo_sdk::appendBinary(snapshot, made, {.isCompressed = isCompressed});
    if (stored)
        bytes = String(std::string_view(made));
    else
        error = displayed(file) + ": " + stored.message();
    return stored;
}

} // namespace qv::kelvo_tool
