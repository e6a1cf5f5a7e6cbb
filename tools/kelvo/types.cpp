#include "tools/kelvo/commands.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/sdk/help.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/handles.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/text_columns.h"

#include <algorithm>
#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::interfaces::INode;

struct TypesOptions {
    std::optional<String> base;
    /// The name of a library, or of a file of definitions.
    std::optional<String> library;
    bool withInternal = false;
};

constexpr u64 widestName = 24;
constexpr u64 widestLabel = 24;

bool isDefinitionText(const String& library) {
    return isStream(library) || library.view().ends_with(".knd");
}

// Returns the named library, null after an error message.
const NamedLibrary* findLibrary(const Libraries& libraries, const String& name) {
    SpellingSuggestion near(name.view());
    for (const NamedLibrary& known : libraries.all()) {
        if (known.name == name) return &known;
        near.offer(known.name.view());
    }
    complain("no library '" + name + "'" + near.question());
    return nullptr;
}

std::vector<const INode*> typesOf(const NamedLibrary& library) {
    std::vector<const INode*> types;
    for (u64 i = 0; i < library.library.typeCount(); ++i)
        types.push_back(static_cast<const INode*>(library.library.type(i).get()));
    return types;
}

void pad(Terminal& out, std::string_view text, u64 width) {
    const u64 columns = columnsOf(text);
    out.write(std::string(columns < width ? width - columns : 0, ' ')).write("  ");
}

void printType(const INode& type, u64 nameWidth, u64 labelWidth, Terminal& out) {
    const String name = type.type();
    const String label = kelvo_sdk::helpTitle(handleOn(type));
    std::string more;
    if (const StringVector bases = type.bases(); !bases.empty())
        more = ": " + std::string(bases.join(", ").view());
    if (type.isAbstract()) more += more.empty() ? "abstract" : ", abstract";
    if (type.isInternal()) more += more.empty() ? "internal" : ", internal";
    out.write(Tone::Name, name.view());
    pad(out, name.view(), nameWidth);
    out.write(Tone::Plain, label.view());
    if (!more.empty()) {
        pad(out, label.view(), labelWidth);
        out.write(Tone::Note, more);
    }
    out.endLine();
}

void printTypes(const std::vector<const INode*>& types, Terminal& out) {
    u64 nameWidth = 0;
    u64 labelWidth = 0;
    for (const INode* type : types) {
        nameWidth = std::max(nameWidth, columnsOf(type->type().view()));
        labelWidth = std::max(labelWidth, columnsOf(kelvo_sdk::helpTitle(handleOn(*type)).view()));
    }
    // A terminal too narrow for a table cannot spare room for gaps.
    constexpr u64 roomForBases = 16;
    if (out.width() != 0 && nameWidth + labelWidth + roomForBases > out.width()) labelWidth = 0;
    for (const INode* type : types)
        printType(*type, std::min(nameWidth, widestName), std::min(labelWidth, widestLabel), out);
}

Status runTypes(const TypesOptions& options, Terminal& out) {
    if (options.library && isDefinitionText(*options.library))
        libraryOptions().definitions = StringVector({*options.library});
    const Libraries* libraries = librariesInUse();
    if (!libraries) return Status::Fault;
    std::vector<const INode*> types = libraries->types();
    if (options.library) {
        const NamedLibrary* library = findLibrary(*libraries, *options.library);
        if (!library) return Status::Usage;
        types = typesOf(*library);
    }
    if (options.base) {
        if (!libraries->findType(*options.base)) return Status::Usage;
        std::erase_if(types, [&](const INode* type) {
            return !type->bases().contains(*options.base, false);
        });
    }
    if (!options.withInternal)
        std::erase_if(types, [](const INode* type) { return type->isInternal(); });
    printTypes(types, out);
    if (!types.empty()) return Status::Ok;
    complain(options.base ? "no type is based on '" + *options.base + "'."
                          : String("no type is there."));
    return Status::Fault;
}

} // namespace

void addTypes(CommandLine& line) {
    auto [command, options] = line.add("types", "List the node types", &runTypes);
    command.add("--base", options.base, "Only types that are based on this one");
    command.add("--library", options.library,
                "Only types of this library: \"standard\", the name of a plug-in,\n"
                "or a definition text (FILE.knd)");
    command.add("--internal", options.withInternal, "Types too that are not offered to users");
}

} // namespace qv::kelvo_tool
