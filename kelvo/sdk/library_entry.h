#pragma once

#include "kelvo/sdk/interfaces/i_lib_info.h"

/// Marks the entry point of a node library, which stays visible whatever its build hides.
#if defined(_WIN32)
#define KELVO_LIBRARY_EXPORT __declspec(dllexport)
#else
#define KELVO_LIBRARY_EXPORT __attribute__((visibility("default")))
#endif

// Its address tells the copies of the library in a process apart.
extern "C" QV_EXPORT qv::i64 impl_nodeInstanceCount();

namespace qv::kelvo_sdk {

/// Number of the binary interface between this library and node libraries.
// To be raised with every change of sdk/interfaces/, of the layout of a class that a node library
// sees, or of LibraryEntry behind its first member.
inline constexpr u32 libraryInterfaceVersion = 2;

/// The description that a node library gives the program that loads it; static data of the library.
struct LibraryEntry {
    /// The version of the interface that the node library was built for. It stays the first member
    /// for ever, so that a library of any version can be told apart before more of it is looked at.
    u32 interfaceVersion = 0;
    /// The copy of this library that the node library uses: it has to be the program's.
    i64 (*core)() = nullptr;
    /// Returns the node library with one reference, which goes to the caller; null when it failed.
    interfaces::ILibInfo* (*create)() = nullptr;
    /// The definition text; null when it is a file, which `ILibInfo::kndPath` names.
    const char* definitions = nullptr;
};

/// Returns the entry of a node library built now:
///
///     extern "C" KELVO_LIBRARY_EXPORT const LibraryEntry* kelvo_library() {
///         static const LibraryEntry entry = libraryEntry(&createLibrary);
///         return &entry;
///     }
[[nodiscard]] inline LibraryEntry libraryEntry(interfaces::ILibInfo* (*create)(),
                                               const char* definitions = nullptr) noexcept {
    return {libraryInterfaceVersion, &impl_nodeInstanceCount, create, definitions};
}

/// The entry point: the one symbol of a node library that is looked up, by `libraryEntryName`.
using LibraryEntryPoint = const LibraryEntry* (*)();
inline constexpr const char* libraryEntryName = "kelvo_library";

} // namespace qv::kelvo_sdk
