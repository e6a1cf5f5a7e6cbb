#include "tools/kelvo/commands.h"

#include "sdk/impl/node.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/help_site.h"
#include "tools/kelvo/help_text.h"
#include "tools/kelvo/libraries.h"

#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::impl::Node;

struct HelpOptions {
    std::optional<String> type;
    bool all = false;
    /// The folder of the site, or the file of one page.
    String out;
    i64 width = 80;
};

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
    const Libraries* libraries = librariesInUse();
    if (!libraries) return Status::Fault;
    if (options.all) return printAll(libraries->types(), options, out);
    const Node* type = libraries->findType(*options.type);
    return type ? printType(*type, options, out) : Status::Usage;
}

} // namespace

void addHelp(CommandLine& line) {
    auto [command, options] = line.add("help", "Print the help of a node type", &runHelp);
    command.add("TYPE", options.type, "Node type");
    command.add("--all", options.all, "Write a site of all types to the folder of -o");
    command.add("-o", options.out, "Write a page of HTML to this file, or with --all a site");
    command.add("--width", options.width, "Columns of a line").positive().showDefault();
}

} // namespace qv::kelvo_tool
