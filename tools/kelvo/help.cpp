#include "tools/kelvo/commands.h"

#include "base/string_io.h"
#include "sdk/impl/knd_html_writer.h"
#include "sdk/impl/lib_info.h"
#include "sdk/impl/near_name.h"
#include "sdk/impl/node.h"
#include "sdk/impl/standard_library.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/help_site.h"
#include "tools/kelvo/help_text.h"

#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Diagnostic;
using kelvo_sdk::Diagnostics;
using kelvo_sdk::impl::LibInfo;
using kelvo_sdk::impl::Node;

struct HelpOptions {
    std::optional<String> type;
    bool all = false;
    /// The folder of the site, or the file of one page.
    String out;
    StringVector libraries;
    i64 width = 80;
};

bool addDefinitions(LibInfo& library, const String& file) {
    String text;
    String error;
    if (!readFile(file, text, error)) {
        complain(error);
        return false;
    }
    Diagnostics found;
    const LibInfo& standard = kelvo_sdk::impl::standardLibrary();
    if (library.readDefinitions(text, displayed(file), &found, &standard)) return true;
    for (const Diagnostic& diagnostic : found)
        complain(diagnostic.text());
    return false;
}

void addTypes(const LibInfo& library, std::vector<const Node*>& types) {
    for (u64 i = 0; i < library.typeCount(); ++i)
        types.push_back(library.type(i));
}

const Node* findType(const std::vector<const Node*>& types, const String& name) {
    kelvo_sdk::impl::NearName near(name.view());
    for (const Node* type : types) {
        if (type->type() == name) return type;
        near.offer(type->type().view());
    }
    complain("no node type '" + name + "'" + near.question());
    return nullptr;
}

Status printType(const Node& type, const HelpOptions& options, Terminal& out) {
    if (options.out.isEmpty()) {
        out.write(helpText(type, static_cast<u64>(options.width)).view());
        return Status::Ok;
    }
    const String page = type.htmlHelp(true, {});
    if (isStream(options.out)) {
        out.write(page.view());
        return Status::Ok;
    }
    String error;
    if (writeFile(options.out, page.view(), error)) return Status::Ok;
    complain(error);
    return Status::Fault;
}

Status printAll(const std::vector<const Node*>& types, const HelpOptions& options, Terminal& out) {
    if (options.out.isEmpty() || isStream(options.out)) {
        complain("--all needs -o and the folder to write to.");
        return Status::Usage;
    }
    const std::vector<SiteFile> site = helpSite(types);
    String error;
    if (!writeSite(site, options.out, error)) {
        complain(error);
        return Status::Fault;
    }
    out.writeUInt(site.size() - 1).write(site.size() == 2 ? " page" : " pages");
    out.write(" and ").write(Tone::Name, (options.out + "/index.html").view()).endLine();
    return Status::Ok;
}

Status runHelp(const HelpOptions& options, Terminal& out) {
    if (options.all == options.type.has_value()) {
        complain("expected a node type, or --all.");
        return Status::Usage;
    }
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo);
    for (const String& file : options.libraries)
        if (!addDefinitions(*library, file)) return Status::Fault;
    std::vector<const Node*> types;
    addTypes(*library, types);
    addTypes(kelvo_sdk::impl::standardLibrary(), types);
    if (options.all) return printAll(types, options, out);
    const Node* type = findType(types, *options.type);
    return type ? printType(*type, options, out) : Status::Usage;
}

} // namespace

void addHelp(CommandLine& line) {
    auto [command, options] = line.add("help", "Print the help of a node type", &runHelp);
    command.add("TYPE", options.type, "Node type");
    command.add("--all", options.all, "Write a site of all types to the folder of -o");
    command.add("-o", options.out, "Write a page of HTML to this file, or with --all a site");
    command.add("--library", options.libraries,
                "Definition texts with more types, each behind "
                "those that it has bases from");
    command.add("--width", options.width, "Columns of a line").positive().showDefault();
}

} // namespace qv::kelvo_tool
