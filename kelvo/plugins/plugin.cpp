#include "kelvo/plugins/plugin.h"

#include "kelvo/plugins/definition_file.h"
#include "kelvo/plugins/plugin_library.h"

#include "kelvo/sdk/diagnostic.h"

#include <exception>

namespace qv::kelvo_plugins {

namespace {

namespace fs = std::filesystem;
using kelvo_sdk::LibInfo;
using kelvo_sdk::LibraryEntry;
using kelvo_sdk::Result;

String textOf(const fs::path& path) {
    return String(std::string_view(path.native()));
}

// Makes a call into a plug-in; false, with a message in `error`, when the call throws.
template<class Call>
bool guarded(const char* what, String& error, Call call) {
    try {
        call();
        return true;
    } catch (const std::exception& thrown) {
        error = String(what) + " throws: " + thrown.what();
    } catch (...) {
        error = String(what) + " throws something that is no std::exception";
    }
    return false;
}

bool fail(String reason, String& error) {
    error = std::move(reason);
    return false;
}

// Checks the version before all else: the rest of the entry may have another layout.
bool accepts(const LibraryEntry* entry, String& error) {
    constexpr u32 ours = kelvo_sdk::libraryInterfaceVersion;
    if (!entry) return fail("its entry point returns null", error);
    if (entry->interfaceVersion != ours)
        return fail(String::format("it was built for version %u of the library interface, this "
                                   "program has version %u",
                                   entry->interfaceVersion, ours),
                    error);
    if (entry->core != &impl_nodeInstanceCount)
        return fail("it uses another copy of the Kelvo library than this program, which has to be "
                    "linked with the shared library",
                    error);
    return entry->create || fail("its entry has no function that creates the library", error);
}

// State while a plug-in is loaded.
struct Loading {
    PluginCode code;
    const LibraryEntry* entry = nullptr;
    String kndPath;
};

bool enter(kelvo_sdk::LibraryEntryPoint point, Loading& loading, String& error) {
    if (!guarded("its entry point", error, [&] { loading.entry = point(); })) return false;
    if (!accepts(loading.entry, error)) return false;
    kelvo_sdk::interfaces::ILibInfo* created = nullptr;
    if (!guarded("creating its library", error, [&] { created = loading.entry->create(); }))
        return false;
    if (!created) return fail("creating its library gives null", error);
    // `lookUp` takes its own reference; drops the one that the plug-in created.
    const auto owned = RefersTo<kelvo_sdk::interfaces::ILibInfo>::adopt(created);
    loading.code.lookUp = LibInfo(created);
    return guarded("its path of definitions", error,
                   [&] { loading.kndPath = loading.code.lookUp.kndPath(); });
}

String brokenDefinitions(const kelvo_sdk::Diagnostics& found) {
    if (found.isEmpty()) return "its definitions are broken";
    const String first = String("its definitions are broken: ") + found[0].text();
    return found.size() == 1
               ? first
               : first + String::format(" (and %llu more)",
                                        static_cast<unsigned long long>(found.size() - 1));
}

struct Definitions {
    String text;
    /// The source of the definitions in messages: a file or a library.
    String source;
};

// Returns the library's definition file or, if missing, the path where it should be.
fs::path definitionFile(const String& kndPath, const std::string& name, const SearchPath& path) {
    const fs::path stated(kndPath.isEmpty() ? name + ".knd" : std::string(kndPath.view()));
    if (stated.is_absolute()) return stated;
    fs::path found = findFile(path, stated.string());
    if (!found.empty()) return found;
    return path.size() == 1 ? path.front() / stated : stated;
}

bool findDefinitions(const Loading& loading, const String& name, const SearchPath& path,
                     Definitions& definitions, String& error) {
    if (loading.entry->definitions) {
        definitions = {String(loading.entry->definitions), name};
        return true;
    }
    const fs::path file = definitionFile(loading.kndPath, std::string(name.view()), path);
    definitions.source = textOf(file);
    const Result read = readDefinitionFile(file, definitions.text);
    return read || fail(read.message(), error);
}

bool finish(Loading& loading, const SearchPath& path, Plugin& plugin, String& error) {
    Definitions definitions;
    if (!findDefinitions(loading, plugin.name, path, definitions, error)) return false;
    const String kndPath = loading.entry->definitions ? String() : definitions.source;
    const LibInfo library = createPluginLibrary(loading.code, kndPath);
    kelvo_sdk::Diagnostics found;
    if (!library.readDefinitions(definitions.text, definitions.source, &found, LibInfo::standard()))
        return fail(brokenDefinitions(found), error);
    if (!guarded("its look-up of callbacks", error,
                 [&] { bindTypes(library, loading.code.lookUp); }))
        return false;
    plugin.library = library;
    return true;
}

bool load(const fs::path& file, Plugin& plugin, String& error) {
    Loading loading;
    loading.code.object = SharedObject::open(file, error);
    if (!loading.code.object) return false;
    void* point = loading.code.object->symbol(kelvo_sdk::libraryEntryName);
    if (!point) return fail(String("it has no entry point ") + kelvo_sdk::libraryEntryName, error);
    if (!enter(reinterpret_cast<kelvo_sdk::LibraryEntryPoint>(point), loading, error)) return false;
    const fs::path real = loading.code.object->file();
    Plugin loaded{String(std::string_view(pluginName(real))), textOf(real), {}};
    if (!finish(loading, {real.parent_path()}, loaded, error)) return false;
    plugin = std::move(loaded);
    return true;
}

} // namespace

Result loadPlugin(const fs::path& file, Plugin& plugin) {
    String reason;
    if (load(file, plugin, reason)) return Result();
    return Result::failure(String("plug-in '") + textOf(file) + "': " + reason);
}

Result loadRegistered(const Registered& registered, const SearchPath& path, Plugin& plugin) {
    String reason;
    Loading loading;
    Plugin loaded{registered.name, {}, {}};
    if (!enter(registered.entry, loading, reason) || !finish(loading, path, loaded, reason))
        return Result::failure(String("node library '") + registered.name + "': " + reason);
    plugin = std::move(loaded);
    return Result();
}

} // namespace qv::kelvo_plugins
