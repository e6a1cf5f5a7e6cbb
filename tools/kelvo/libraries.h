#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/plugins/plugin.h"
#include "kelvo/sdk/scene.h"
#include "tools/kelvo/command_line.h"

#include <vector>

namespace qv::kelvo_tool {

/// Where node types come from beside the standard library.
struct LibraryOptions {
    StringVector plugins;
    StringVector definitions;

    [[nodiscard]] bool isEmpty() const { return plugins.empty() && definitions.empty(); }
};

/// A library and what it is called.
struct NamedLibrary {
    /// Of definition texts, which are one library, the first file; of a plug-in its name;
    /// "standard".
    String name;
    kelvo_sdk::LibInfo library;
};

/// The node libraries that a command knows: definition texts as given, then plug-ins, then the
/// standard library. Of a type that several have, the first counts.
class Libraries {
public:
    /// Loads them; false after telling what cannot be. A plug-in of KELVO_PLUGIN_PATH that cannot
    /// be loaded is only warned of.
    [[nodiscard]] bool load(const LibraryOptions& options);

    [[nodiscard]] const std::vector<NamedLibrary>& all() const noexcept { return m_all; }
    void addTo(const kelvo_sdk::Scene& scene) const;

    /// Returns the prototypes of all types, each type once.
    [[nodiscard]] std::vector<const kelvo_sdk::interfaces::INode*> types() const;
    /// Returns a type's prototype, null when there is none.
    [[nodiscard]] const kelvo_sdk::interfaces::INode* lookUpType(const String& name) const noexcept;
    /// Return an input or output of a type's prototype; null when there is none.
    [[nodiscard]] const kelvo_sdk::interfaces::IInput* lookUpInput(const String& type,
                                                                   const String& name) const;
    [[nodiscard]] const kelvo_sdk::interfaces::IOutput* lookUpOutput(const String& type,
                                                                     const String& name) const;
    /// Returns the bases of a type, none when there is no type of that name.
    [[nodiscard]] StringVector basesOf(const String& type) const;
    /// Returns the icon of a node or its type as SVG, or the picture for types without one.
    [[nodiscard]] String iconOf(const kelvo_sdk::interfaces::INode& node) const;
    /// Tells whether the type of an input's node has it: the top one, where it lies in others.
    [[nodiscard]] bool defines(const kelvo_sdk::interfaces::IInput& input) const;
    /// Tells whether the type of an output's node has it, or is unknown.
    [[nodiscard]] bool mayDefine(const kelvo_sdk::interfaces::IOutput& output) const;
    /// Returns a type's prototype; null, after telling the nearest name, when there is none.
    [[nodiscard]] const kelvo_sdk::interfaces::INode* findType(const String& name) const;

private:
    bool readDefinitions(const StringVector& files);
    bool loadPlugins(const StringVector& paths);

    std::vector<NamedLibrary> m_all;
};

/// Returns the libraries that the command line asks for in this process.
[[nodiscard]] LibraryOptions& libraryOptions();
/// Adds --plugin and --library to all commands.
void addLibraryArguments(CommandLine& line);
/// Returns what `libraryOptions` asks for, loaded at the first call; null after telling that it
/// cannot be.
[[nodiscard]] const Libraries* librariesInUse();

/// Sets `all` to type names and, behind them, all types that have one of these as a base: scene
/// text need not name bases. False after telling that libraries cannot be loaded.
[[nodiscard]] bool addDerivedTypes(const StringVector& types, StringVector& all);

/// Adds the definitions of a file, whose bases may be types of the library or the standard one;
/// false after telling all that is wrong with them.
[[nodiscard]] bool readLibrary(const String& file, const kelvo_sdk::LibInfo& library);

} // namespace qv::kelvo_tool
