#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/plugins/plugin.h"
#include "kelvo/sdk/scene.h"
#include "tools/kelvo/command_line.h"

#include <vector>

namespace qv::kelvo_tool {

/// The sources of node types, beside the standard library.
struct LibraryOptions {
    StringVector plugins;
    StringVector definitions;

    [[nodiscard]] bool isEmpty() const { return plugins.empty() && definitions.empty(); }
};

/// A library and its name.
struct NamedLibrary {
    /// The name of a plug-in, "standard", or the first file of the definition texts, which together
    /// make one library.
    String name;
    kelvo_sdk::LibInfo library;
};

/// The node libraries of a command: definition texts in the order given, then plug-ins, then the
/// standard library. The first library that has a type counts.
class Libraries {
public:
    /// Loads the libraries; false after an error message. A plug-in of KELVO_PLUGIN_PATH that
    /// cannot be loaded only causes a warning.
    [[nodiscard]] bool load(const LibraryOptions& options);

    [[nodiscard]] const std::vector<NamedLibrary>& all() const noexcept { return m_all; }
    void addTo(const kelvo_sdk::Scene& scene) const;
    /// Tells whether a plug-in has callbacks that may change nodes as soon as they are read.
    [[nodiscard]] bool mayChangeNodes() const;

    /// Returns the prototypes of all types, each type once.
    [[nodiscard]] std::vector<const kelvo_sdk::interfaces::INode*> types() const;
    /// Returns a type's prototype, null when there is none.
    [[nodiscard]] const kelvo_sdk::interfaces::INode* lookUpType(const String& name) const noexcept;
    /// Return an input or output of a type's prototype; null when there is none.
    [[nodiscard]] const kelvo_sdk::interfaces::IInput* lookUpInput(const String& type,
                                                                   const String& name) const;
    [[nodiscard]] const kelvo_sdk::interfaces::IOutput* lookUpOutput(const String& type,
                                                                     const String& name) const;
    /// Returns the bases of a type, none for an unknown type.
    [[nodiscard]] StringVector basesOf(const String& type) const;
    /// Returns the icon of a type as SVG, or the picture for missing icons.
    [[nodiscard]] String iconOf(const String& type) const;
    /// Tells whether the type of an input's node defines the input; for a member or element, the
    /// outermost input counts.
    [[nodiscard]] bool defines(const kelvo_sdk::interfaces::IInput& input) const;
    /// Tells whether the type of an output's node defines the output, or is unknown.
    [[nodiscard]] bool mayDefine(const kelvo_sdk::interfaces::IOutput& output) const;
    /// Returns a type's prototype; null, after an error with a suggestion, for an unknown type.
    [[nodiscard]] const kelvo_sdk::interfaces::INode* findType(const String& name) const;

private:
    bool readDefinitions(const StringVector& files);
    bool loadPlugins(const StringVector& paths);

    std::vector<NamedLibrary> m_all;
};

/// Returns the libraries requested on the command line of this process.
[[nodiscard]] LibraryOptions& libraryOptions();
/// Adds --plugin and --library to all commands.
void addLibraryArguments(CommandLine& line);
/// Returns the libraries of `libraryOptions`, loaded at the first call; null after an error
/// message.
[[nodiscard]] const Libraries* librariesInUse();

/// Sets `all` to the given types, followed by all types derived from them, as scene text need not
/// name bases. False after an error message when libraries cannot be loaded.
[[nodiscard]] bool addDerivedTypes(const StringVector& types, StringVector& all);

/// Adds the definitions of a file; bases may be types of the library or the standard library. False
/// after a message for each error.
[[nodiscard]] bool readLibrary(const String& file, const kelvo_sdk::LibInfo& library);

} // namespace qv::kelvo_tool
