#pragma once

#include "kelvo/sdk/interfaces/i_lib_info.h"

/// Marks the entry point of a node library: exports it even from a build that hides symbols.
#if defined(_WIN32)
#define KELVO_LIBRARY_EXPORT __declspec(dllexport)
#else
#define KELVO_LIBRARY_EXPORT __attribute__((visibility("default")))
#endif

// Its address identifies a copy of this library, as a process may contain several.
extern "C" QV_EXPORT qv::i64 impl_nodeInstanceCount();

namespace qv::kelvo_sdk {

/// The version of the binary interface between this library and node libraries.
// Raise it with every change of sdk/interfaces/, of the layout of a class that a node library uses,
// or of LibraryEntry behind its first member.
inline constexpr u32 libraryInterfaceVersion = 2;

/// The description of a node library for the program that loads it; static data of the library.
struct LibraryEntry {
    /// The version of the interface that the node library was built for. It always stays the first
    /// member, so that the loader can check it before it reads the others.
    u32 interfaceVersion = 0;
    /// Identifies the copy of this library that the node library uses, which must be the program's.
    i64 (*core)() = nullptr;
    /// Returns the node library with one reference, owned by the caller; null on failure.
    interfaces::ILibInfo* (*create)() = nullptr;
    /// The definition text; null when it is in a file, which `ILibInfo::kndPath` names.
    const char* definitions = nullptr;
};

/// Returns the entry of a node library that is built with this header:
///
///     extern "C" KELVO_LIBRARY_EXPORT const LibraryEntry* kelvo_library() {
///         static const LibraryEntry entry = libraryEntry(&createLibrary);
///         return &entry;
///     }
[[nodiscard]] inline LibraryEntry libraryEntry(interfaces::ILibInfo* (*create)(),
                                               const char* definitions = nullptr) noexcept {
    return {libraryInterfaceVersion, &impl_nodeInstanceCount, create, definitions};
}

/// The type of the entry point, which the loader looks up by the name `libraryEntryName`.
using LibraryEntryPoint = const LibraryEntry* (*)();
inline constexpr const char* libraryEntryName = "kelvo_library";

} // namespace qv::kelvo_sdk
