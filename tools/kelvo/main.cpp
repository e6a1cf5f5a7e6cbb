#include "tools/kelvo/commands.h"

#include "base/log.h"
#include "sdk/impl/near_name.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <exception>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qv::kelvo_tool;
using qv::String;

/// The command line: what was asked for, and what to run then.
class CommandLine {
public:
    explicit CommandLine(Terminal& out) : m_out(out) {
        m_app.require_subcommand(1);
        m_app.set_version_flag("--version", "kelvo " KELVO_VERSION);
        m_app.footer(
            "FILE \"-\" is the standard input or output. Exit status: 0, 1 when a file or "
            "the scene\nin it is at fault, 2 when the command line is. Colours are used on "
            "a terminal unless\nNO_COLOR is set.");
        addShow();
        addGet();
        addSet();
        addCheck();
        addStats();
        addPaths();
        addDeps();
        addHash();
        addFind();
        addExplain();
        addGraph();
        addImport();
    }

    Status run(int count, char** arguments) {
        if (count > 1 && !knowsCommand(arguments[1])) return Status::Usage;
        try {
            m_app.parse(count, arguments);
        } catch (const CLI::Success& wish) {
            std::ostringstream text;
            m_app.exit(wish, text, text);
            m_out.write(text.str());
            return Status::Ok;
        } catch (const CLI::ParseError& error) {
            complain(String(std::string_view(error.what())) + " (see kelvo --help)");
            return Status::Usage;
        }
        return m_command();
    }

private:
    static String text(const std::string& value) { return String(std::string_view(value)); }

    static qv::StringVector texts(const std::vector<std::string>& values) {
        qv::StringVector all;
        for (const std::string& value : values)
            all.push_back(text(value));
        return all;
    }
    // An empty name that is given is a wrong name, and not the same as none.
    std::optional<String> given(const char* command, const char* option,
                                const std::string& value) const {
        if (m_app.get_subcommand(command)->count(option) == 0) return std::nullopt;
        return text(value);
    }

    bool knowsCommand(std::string_view name) const {
        if (name.starts_with('-')) return true;
        qv::kelvo_sdk::impl::NearName near(name);
        for (const CLI::App* command : m_app.get_subcommands({})) {
            if (command->get_name() == name) return true;
            near.offer(command->get_name());
        }
        const String question =
            near.best().empty() ? String(" (see kelvo --help)") : near.question();
        complain("unknown command '" + String(name) + "'" + question);
        return false;
    }

    CLI::App* add(const char* name, const char* help, std::function<Status()> command) {
        CLI::App* added = m_app.add_subcommand(name, help);
        added->callback([this, command = std::move(command)] { m_command = command; });
        return added;
    }
    void addFile(CLI::App* command) {
        command->add_option("FILE", m_file, "Scene file")->required();
    }

    void addShow() {
        CLI::App* command = add("show", "Print the hierarchy as a tree", [this] {
            return runShow({text(m_file), m_depth, !m_noValues}, m_out);
        });
        addFile(command);
        command->add_option("--depth", m_depth, "Levels below the top, all by default")
            ->check(CLI::NonNegativeNumber);
        command->add_flag("--no-values", m_noValues, "Nodes alone, without inputs and outputs");
    }
    void addGet() {
        CLI::App* command = add("get", "Print the value at a path, or a node as text",
                                [this] { return runGet(text(m_file), text(m_path), m_out); });
        addFile(command);
        command->add_option("PATH", m_path, "As node, node.input or node.array[3].member")
            ->required();
    }
    void addSet() {
        CLI::App* command = add("set", "Set values, all or none, and write the scene", [this] {
            SetOptions options{text(m_file), {}, text(m_outFile)};
            for (const std::string& assignment : m_assignments)
                options.assignments.push_back(text(assignment));
            return runSet(options, m_out);
        });
        addFile(command);
        command
            ->add_option("PATH=VALUE", m_assignments,
                         "Texts without quotes, a node by its name (nothing: no node);\n"
                         "array[+] adds an element")
            ->required();
        command->add_option("-o", m_outFile, "Where to write, FILE itself by default");
    }
    void addCheck() {
        addFile(add("check", "Tell all that is wrong with a scene",
                    [this] { return runCheck(text(m_file), m_out); }));
    }
    void addStats() {
        addFile(add("stats", "Print counts, sizes and the scene's hash",
                    [this] { return runStats(text(m_file), m_out); }));
    }
    void addPaths() {
        CLI::App* command = add("paths", "Print the chains of nodes that lead to others", [this] {
            return runPaths({text(m_file), text(m_from), given("paths", "TO", m_to), texts(m_types),
                             m_allLinks, m_limit, m_firstOnly, m_countOnly},
                            m_out);
        });
        command->footer(
            "Paths come depth first and meet no node twice; --count says \"at least\" where it\n"
            "ends. Exit status: 1 when there is no path, 2 when a node is unknown.");
        addFile(command);
        command->add_option("FROM", m_from, "Node to start from")->required();
        CLI::Option* to = command->add_option("TO", m_to, "Node to reach, all by default");
        command->add_option("--type", m_types, "Types of the nodes to reach")->excludes(to);
        command->add_flag("--all", m_allLinks, "Every link and connection, not only children");
        CLI::Option* limit = command->add_option("--limit", m_limit, "Most paths to print")
                                 ->check(CLI::PositiveNumber)
                                 ->capture_default_str();
        CLI::Option* first = command->add_flag("--first", m_firstOnly, "The first path alone");
        first->excludes(limit);
        command->add_flag("--count", m_countOnly, "The number of paths, counted up to 100000")
            ->excludes(limit)
            ->excludes(first);
    }
    void addDeps() {
        CLI::App* command = add("deps", "Print what a node depends on, and through what", [this] {
            return runDeps({text(m_file), text(m_from), m_downstream, m_asTree, m_countOnly},
                           m_out);
        });
        addFile(command);
        command->add_option("NODE", m_from, "Node to start from")->required();
        command->add_flag("--downstream", m_downstream, "What depends on the node instead");
        CLI::Option* tree = command->add_flag("--tree", m_asTree, "As a tree");
        command->add_flag("--count", m_countOnly, "The number of nodes")->excludes(tree);
    }
    void addHash() {
        CLI::App* command = add("hash", "Print hashes, to compare scenes by", [this] {
            return runHash(
                {text(m_file), given("hash", "NODE", m_from), texts(m_types), m_ignoreNames},
                m_out);
        });
        addFile(command);
        command->add_option("NODE", m_from, "Node; by default every node and the scene");
        command->add_option("--skip", m_types, "Types of nodes that count as nothing");
        command->add_flag("--ignore-names", m_ignoreNames, "Let types stand for nodes' names");
    }
    void addFind() {
        CLI::App* command = add("find", "Find nodes and inputs by path, type or value", [this] {
            return runFind({text(m_file), text(m_pattern), given("find", "--type", m_type),
                            given("find", "--value", m_value), m_nodesOnly, m_inputsOnly,
                            m_countOnly},
                           m_out);
        });
        command->footer(
            "PATTERN is compared with the whole path of each node (\"lamp\") and input\n"
            "(\"lamp.shade.stops[1]\"), without regard to case:\n"
            "  *     any run of characters within a step; steps end at '.', '[' and ']'\n"
            "  ?     one character within a step\n"
            "  **    any run across steps; a.**.b is a.b too\n"
            "So \"*\" is every node, \"*.*\" every input of a node, \"lamp.**\" all below lamp,\n"
            "\"**.weights[*]\" every element of an array weights.\n\n"
            "Exit status: 1 when nothing is found, 2 when PATTERN is none.");
        addFile(command);
        command->add_option("PATTERN", m_pattern, "Path with wildcards")->required();
        command->add_option("--type", m_type,
                            "Type or base of a node, or kind of an input, as Real or Array<Node>;\n"
                            "with * and ?, without regard to case");
        CLI::Option* value = command->add_option(
            "--value", m_value,
            "Inputs with this value as text, with * and ? (\\* for the character), or with a\n"
            "number that is so: '<1', '<=1', '>1', '>=1' or '=1'. A connected input has the\n"
            "value stored in it");
        CLI::Option* nodes = command->add_flag("--nodes", m_nodesOnly, "Nodes alone");
        command->add_flag("--inputs", m_inputsOnly, "Inputs alone")->excludes(nodes);
        nodes->excludes(value);
        command->add_flag("--count", m_countOnly, "The number alone");
    }
    void addExplain() {
        CLI::App* command = add("explain", "Tell where a value comes from and what depends on it",
                                [this] { return runExplain(text(m_file), text(m_path), m_out); });
        addFile(command);
        command->add_option("PATH", m_path, "As node, node.input or node.array[3].member")
            ->required();
    }
    void addGraph() {
        CLI::App* command = add("graph", "Draw nodes and what leads from one to another", [this] {
            GraphOptions options;
            options.file = text(m_file);
            if (!m_outFile.empty()) options.outFile = text(m_outFile);
            options.around = given("graph", "--around", m_from);
            if (m_depth >= 0) options.depth = static_cast<qv::u64>(m_depth);
            options.only = texts(m_types);
            options.icons = !m_noIcons;
            return runGraph(options, m_out);
        });
        addFile(command);
        command->add_option("-o", m_outFile,
                            "OUT.dot or OUT.gv; OUT.svg or OUT.png, drawn by Graphviz;\n"
                            "DOT on the standard output by default");
        CLI::Option* around =
            command->add_option("--around", m_from, "Node whose neighbourhood alone is drawn");
        command->add_option("--depth", m_depth, "Edges that a neighbour may be away, 2 by default")
            ->check(CLI::NonNegativeNumber)
            ->needs(around);
        command
            ->add_option("--only", m_types,
                         "Of hierarchy, links and connections, with commas between; without the\n"
                         "nodes that none of these edges touches")
            ->delimiter(',');
        command->add_flag("--no-icons", m_noIcons, "No icons in pictures");
    }
    void addImport() {
        m_outFile.clear();
        CLI::App* command = add("import", "Make a scene of a model file", [this] {
            return runImport({text(m_file), m_outFile.empty() ? String("-") : text(m_outFile)},
                             m_out);
        });
        command->add_option("MODEL", m_file, "Model file")->required();
        command->add_option("-o", m_outFile, "Scene file, the standard output by default");
    }

    Terminal& m_out;
    CLI::App m_app{"Looks at, edits and makes scenes.", "kelvo"};
    std::function<Status()> m_command;
    std::string m_file;
    std::string m_path;
    std::string m_outFile;
    std::string m_from;
    std::string m_to;
    std::string m_pattern;
    std::string m_type;
    std::string m_value;
    std::vector<std::string> m_types;
    std::vector<std::string> m_assignments;
    qv::i64 m_depth = -1;
    qv::u64 m_limit = PathsOptions().limit;
    bool m_noValues = false;
    bool m_allLinks = false;
    bool m_firstOnly = false;
    bool m_countOnly = false;
    bool m_downstream = false;
    bool m_asTree = false;
    bool m_ignoreNames = false;
    bool m_nodesOnly = false;
    bool m_noIcons = false;
    bool m_inputsOnly = false;
};

void tellMessage(qv::LogLevel level, const char* message, void*) {
    if (level == qv::LogLevel::Warning)
        warn(message);
    else
        complain(message);
}

Status run(int count, char** arguments) {
    Terminal out;
    Status status = CommandLine(out).run(count, arguments);
    String error;
    if (out.flush(error)) return status;
    complain(error);
    return Status::Fault;
}

} // namespace

int main(int count, char** arguments) {
    // A reader that goes away and a file that must not grow show as failed writes.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    qv::setLogHandler(&tellMessage);
    try {
        return static_cast<int>(run(count, arguments));
    } catch (const std::exception& error) {
        complain(error.what());
        return static_cast<int>(Status::Fault);
    }
}
