#include "tools/kelvo/commands.h"

#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::LibInfo;

struct LibraryCommandOptions {
    String action;
    StringVector files;
};

// Warns of types that would hide standard types in every scene of the program.
void warnOfNames(const LibInfo& library, u64 first, const String& file) {
    StringVector hidden;
    for (u64 i = first; i < library.typeCount(); ++i) {
        const String type = library.type(i).type();
        if (LibInfo::standard().findType(type)) hidden.push_back(type);
    }
    if (hidden.empty()) return;
    warn(displayed(file) + ": hides " + (hidden.size() == 1 ? "a type" : "types") +
         " of the standard library: " + hidden.join(", ") + ".");
}

bool check(const String& file, const LibInfo& library, Terminal& out) {
    const u64 before = library.typeCount();
    if (!readLibrary(file, library)) return false;
    warnOfNames(library, before, file);
    const u64 count = library.typeCount() - before;
    out.write(displayed(file).view()).write(": ").writeUInt(count);
    out.write(count == 1 ? " type, no errors" : " types, no errors").endLine();
    return true;
}

Status runLibrary(const LibraryCommandOptions& options, Terminal& out) {
    if (options.action != "check") {
        complain("unknown action '" + options.action + "': `kelvo library` knows check.");
        return Status::Usage;
    }
    const LibInfo library = LibInfo::create();
    bool isRight = true;
    for (const String& file : options.files)
        isRight = check(file, library, out) && isRight;
    return isRight ? Status::Ok : Status::Fault;
}

} // namespace

void addLibrary(CommandLine& line) {
    auto [command, options] =
        line.add("library", "Check the definitions of a node library", &runLibrary);
    command.add("ACTION", options.action, "check: tell all that is wrong").required();
    command
        .add("FILE", options.files,
             "Definition texts; each may have bases from those before and from\n"
             "the standard library")
        .required();
}

} // namespace qv::kelvo_tool
