#include "tools/kelvo/commands.h"

#include "kelvo/base/spelling_suggestion.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/help_site.h"
#include "tools/kelvo/help_text.h"
#include "tools/kelvo/libraries.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::interfaces::INode;

struct HelpOptions {
    const CommandLine* line = nullptr;
    /// The name of a command or a node type.
    std::optional<String> word;
    bool isType = false;
    bool all = false;
    /// The folder of the site, or the file of one page.
    String out;
    /// 0 for the width of the terminal, 80 without a terminal.
    i64 width = 0;

    [[nodiscard]] bool isPage() const { return !out.isEmpty(); }
};

constexpr u64 usualWidth = 80;

u64 widthOf(const HelpOptions& options, const Terminal& out) {
    if (options.width != 0) return static_cast<u64>(options.width);
    return out.width() == 0 ? usualWidth : std::min(out.width(), usualWidth);
}

Status printType(const INode& type, const HelpOptions& options, Terminal& out) {
    if (!options.isPage()) {
        out.write(helpText(type, widthOf(options, out)).view());
        return Status::Ok;
    }
    const String page = type.htmlHelp(true, {});
    if (isStream(options.out)) {
        out.writeData(page.view());
        return Status::Ok;
    }
    String error;
    if (writeFile(options.out, page.view(), error)) return Status::Ok;
    complain(error);
    return Status::Fault;
}

Status printAll(const std::vector<const INode*>& types, const HelpOptions& options, Terminal& out) {
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

Status tellUnknown(const String& word, const CommandLine& line, const Libraries& libraries) {
    StringVector names = line.commands();
    for (const INode* type : libraries.types())
        names.push_back(type->type());
    SpellingSuggestion near(word.view());
    for (const String& known : std::as_const(names))
        near.offer(known.view());
    const bool isNearCommand = !line.helpOf(String(near.best())).isEmpty();
    complain(near.best().empty()
                 ? "no command and no node type '" + word + "' (see kelvo help and kelvo types)"
                 : (isNearCommand ? "no command '" : "no node type '") + word + "'" +
                       near.question());
    return Status::Usage;
}

// A command takes precedence over a node type of the same name, unless pages are asked for, which
// only types have.
Status explainWord(const HelpOptions& options, const Libraries& libraries, Terminal& out) {
    const String& word = *options.word;
    const INode* type = libraries.lookUpType(word);
    const String command = options.isType ? String() : options.line->helpOf(word);
    if (command.isEmpty() && options.isType) type = libraries.findType(word);
    if (type && (command.isEmpty() || options.isPage())) return printType(*type, options, out);
    if (options.isType) return Status::Usage;
    if (command.isEmpty()) return tellUnknown(word, *options.line, libraries);
    if (options.isPage()) {
        complain("-o writes pages of node types, and '" + word + "' is a command.");
        return Status::Usage;
    }
    out.write(command.view());
    if (type)
        out.write(
            ("\nThere is a node type " + word + " too: kelvo help --type " + word + "\n").view());
    return Status::Ok;
}

Status runHelp(const HelpOptions& options, Terminal& out) {
    const bool asksNothing = !options.word && !options.all && !options.isPage() && !options.isType;
    if (asksNothing) {
        out.write(options.line->help().view());
        return Status::Ok;
    }
    if (options.all == options.word.has_value()) {
        complain("expected a node type, or --all.");
        return Status::Usage;
    }
    const Libraries* libraries = librariesInUse();
    if (!libraries) return Status::Fault;
    return options.all ? printAll(libraries->types(), options, out)
                       : explainWord(options, *libraries, out);
}

} // namespace

void addHelp(CommandLine& line) {
    auto [command, options] =
        line.add("help", "Print the help of a command or a node type", &runHelp);
    options.line = &line;
    command.add("WORD", options.word, "Command or node type; by default all commands are listed");
    command.add("--type", options.isType, "WORD is a node type, though a command has its name");
    command.add("--all", options.all, "Write a site of all types to the folder of -o");
    command.add("-o", options.out, "Write a page of HTML to this file, or with --all a site");
    command
        .add("--width", options.width,
             "Columns of a line in the help of a type; 80, or fewer on a narrower terminal")
        .positive();
}

} // namespace qv::kelvo_tool
