#pragma once

#include "kelvo/sdk/result.h"
#include "kelvo/sdk/snapshot.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace qv::kelvo_sdk {

/// Says how to save a snapshot.
struct BinaryOptions {
    /// Compresses everything that becomes smaller by it. Compressed buffers are not used in place,
    /// so a file opens and reads slower. Fails in builds without zstd.
    bool isCompressed = false;
};

/// Writes a snapshot in the binary form (`.knb`). The file is replaced as a whole: after a failure
/// it is as it was. The bytes are the same on every machine.
[[nodiscard]] Result saveBinary(const Snapshot& snapshot, const std::filesystem::path& file,
                                const BinaryOptions& options = {});

/// Opens a file in the binary form, without reading more of it than needed: nodes and buffers are
/// read from the file when they are first asked for. `Snapshot::damage` tells of damage that is
/// found then, and `Snapshot::verify` searches for all of it.
///
/// The file must not be written to while a snapshot from it is alive; replacing and removing it are
/// safe.
[[nodiscard]] Made<Snapshot> openBinary(const std::filesystem::path& file);

/// Appends the bytes of the file that `saveBinary` would write.
[[nodiscard]] Result appendBinary(const Snapshot& snapshot, std::string& bytes,
                                  const BinaryOptions& options = {});

/// Opens the bytes of a file, which the snapshot keeps. `name` names them in messages.
[[nodiscard]] Made<Snapshot> openBinaryBytes(std::string bytes, const String& name);

/// Tells whether bytes begin like a file in the binary form.
[[nodiscard]] bool isBinary(std::string_view bytes) noexcept;
/// Tells whether a plain file begins so; false for files that cannot be read, and for devices and
/// pipes, whose bytes would be lost to the next reader.
[[nodiscard]] bool isBinaryFile(const std::filesystem::path& file);

} // namespace qv::kelvo_sdk
