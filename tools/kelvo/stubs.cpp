#include "tools/kelvo/python_classes.h"

#include "tools/kelvo/commands.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/message.h"

#include <filesystem>

namespace qv::kelvo_tool {

namespace {

struct StubsOptions {
    String folder;
};

// The libraries that the command line names; without any, the standard one.
std::vector<NamedLibrary> chosen(const Libraries& libraries) {
    std::vector<NamedLibrary> named = libraries.all();
    if (!libraryOptions().isEmpty())
        named.pop_back();
    else
        named.erase(named.begin(), named.end() - 1);
    return named;
}

bool write(const NamedLibrary& library, const String& folder, Terminal& out) {
    const String file = folder + "/" + std::string_view(pythonModule(library.name)) + ".py";
    String error;
    if (!writeFile(file, pythonClasses(library.library, library.name), error)) {
        complain(error);
        return false;
    }
    const u64 count = library.library.typeCount();
    out.writeUInt(count).write(count == 1 ? " type in " : " types in ");
    out.write(Tone::Name, file.view()).endLine();
    return true;
}

Status runStubs(const StubsOptions& options, Terminal& out) {
    const Libraries* libraries = librariesInUse();
    if (!libraries) return Status::Fault;
    std::error_code failure;
    std::filesystem::create_directories(options.folder.buf(), failure);
    if (failure) {
        complain(displayed(options.folder) +
                 ": the folder cannot be made: " + std::string_view(failure.message()) + ".");
        return Status::Fault;
    }
    for (const NamedLibrary& library : chosen(*libraries))
        if (!write(library, options.folder, out)) return Status::Fault;
    return Status::Ok;
}

} // namespace

void addStubs(CommandLine& line) {
    auto [command, options] =
        line.add("stubs", "Write typed Python classes of node types", &runStubs);
    command
        .add("-o", options.folder,
             "The folder for a module NAME.py of each library or plug-in; "
             "created if necessary")
        .required();
}

} // namespace qv::kelvo_tool
