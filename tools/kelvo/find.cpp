#include "tools/kelvo/commands.h"

#include "kelvo/sdk/interfaces/i_output.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/value_filter.h"
#include "tools/kelvo/value_summary.h"

#include <algorithm>
#include <string>
#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::IInputContainer;
using kelvo_sdk::interfaces::INode;
using kelvo_sdk::interfaces::IOutput;

struct FindOptions {
    String file;
    /// Path with wildcards; see `Wildcard`.
    String pattern;
    /// Type or base of a node, or kind of an input.
    std::optional<String> type;
    /// See `ValueFilter`.
    std::optional<String> value;
    bool nodesOnly = false;
    bool inputsOnly = false;
    bool countOnly = false;
};

/// The conditions that a match has to meet.
struct Query {
    Wildcard path;
    std::optional<Wildcard> type;
    std::optional<ValueFilter> value;
    /// Set if the query has a type: libraries know bases that the text does not name.
    const Libraries* libraries = nullptr;

    [[nodiscard]] bool accepts(const INode& node) const {
        if (value) return false;
        return !type || type->matches(node.type().view()) || isWithin(node.bases()) ||
               isWithin(libraries->basesOf(node.type()));
    }
    [[nodiscard]] bool accepts(const IInput& input) const {
        const bool isOfType = !type || type->matches(input.typeName().view()) ||
                              type->matches(kelvo_sdk::attrTypeName(input.type()));
        return isOfType && (!value || value->accepts(input));
    }

private:
    [[nodiscard]] bool isWithin(const StringVector& bases) const {
        return std::ranges::any_of(bases,
                                   [&](const String& base) { return type->matches(base.view()); });
    }
};

/// Walks through a scene in order, along all paths that may still match.
class Finder {
public:
    Finder(const Query& query, const FindOptions& options, Terminal& out)
        : m_query(query), m_options(options), m_out(out) {}

    void search(const INode& node) {
        Wildcard::Places places = m_query.path.start();
        if (!m_query.path.advance(places, node.name().view())) return;
        if (!m_options.inputsOnly && m_query.path.accepts(places) && m_query.accepts(node))
            tell(node);
        if (m_options.nodesOnly) return;
        m_way.push_back({&node, std::move(places), "."});
        while (!m_way.empty() && !m_out.isClosed())
            goOn();
    }

    [[nodiscard]] u64 found() const noexcept { return m_found; }

private:
    struct Step {
        const IInputContainer* owner;
        Wildcard::Places places;
        // The separator in front of the names in the container.
        std::string_view sign;
        u64 next = 0;
    };

    void goOn() {
        Step& step = m_way.back();
        if (step.next == step.owner->inputCount()) {
            m_way.pop_back();
            return;
        }
        const IInput& input = *step.owner->input(step.next++);
        Wildcard::Places places = step.places;
        const Wildcard& path = m_query.path;
        if (!path.advance(places, step.sign) || !path.advance(places, input.name().view())) return;
        if (step.sign == "[" && !path.advance(places, "]")) return;
        if (path.accepts(places) && m_query.accepts(input)) tell(input);
        if (input.inputCount() == 0) return;
        m_way.push_back({&input, std::move(places), input.type() == AttrType::Array ? "[" : "."});
    }

    void tell(const INode& node) {
        ++m_found;
        if (m_options.countOnly) return;
        m_out.write(Tone::Name, node.name().view()).write(" (");
        m_out.write(Tone::Kind, node.type().view()).write(")").endLine();
    }

    void tell(const IInput& input) {
        ++m_found;
        if (m_options.countOnly) return;
        m_out.write(Tone::Name, input.path().view()).write(" (");
        m_out.write(Tone::Kind, input.typeName().view()).write(")");
        if (input.type() != AttrType::Null)
            m_out.write(" = ").write(Tone::Value, shortValue(input).view());
        if (const IOutput* source = input.source())
            m_out.write(" <- ").write(Tone::Name, source->path().view());
        m_out.endLine();
    }

    const Query& m_query;
    const FindOptions& m_options;
    Terminal& m_out;
    std::vector<Step> m_way;
    u64 m_found = 0;
};

bool understand(const FindOptions& options, Query& query, String& error) {
    if (!Wildcard::parsePath(options.pattern, query.path, error)) return false;
    if (options.type) query.type = Wildcard::ofText(options.type->view(), Wildcard::Case::Ignored);
    return !options.value || ValueFilter::parse(*options.value, query.value.emplace(), error);
}

String nothingFound(const FindOptions& options) {
    const char* what = options.nodesOnly ? "no node" : options.inputsOnly ? "no input" : "nothing";
    String text = what + (" matches '" + options.pattern + "'");
    if (options.type) text = text + " with type '" + *options.type + "'";
    if (options.value)
        text = text + (options.type ? " and" : " with") + " value '" + *options.value + "'";
    return text + ".";
}

constexpr const char* patternHelp =
    "PATTERN is compared with the whole path of each node (\"lamp\") and input\n"
    "(\"lamp.shade.stops[1]\"), without regard to case:\n"
    "  *     any run of characters within a step; steps end at '.', '[' and ']'\n"
    "  ?     one character within a step\n"
    "  **    any run across steps; a.**.b is a.b too\n"
    "So \"*\" is every node, \"*.*\" every input of a node, \"lamp.**\" all below lamp,\n"
    "\"**.weights[*]\" every element of an array weights.\n\n"
    "Exit status: 1 when nothing is found, 2 when PATTERN is none.";

Status runFind(const FindOptions& options, Terminal& out) {
    Query query;
    String error;
    if (!understand(options, query, error)) {
        complain(error);
        return Status::Usage;
    }
    if (query.type && !(query.libraries = librariesInUse())) return Status::Fault;
    const auto scene = kelvo_sdk::Scene::create();
    if (!loadScene(options.file, scene)) return Status::Fault;
    Finder finder(query, options, out);
    for (u64 i = 0; i < scene.nodeCount() && !out.isClosed(); ++i)
        finder.search(*scene.node(i).get());
    if (options.countOnly) out.write(Tone::Value, std::to_string(finder.found())).endLine();
    if (finder.found() != 0) return Status::Ok;
    complain(displayed(options.file) + ": " + nothingFound(options));
    return Status::Fault;
}

} // namespace

void addFind(CommandLine& line) {
    auto [command, options] =
        line.add("find", "Find nodes and inputs by path, type or value", &runFind);
    command.addNote(patternHelp);
    command.addFile(options.file);
    command.add("PATTERN", options.pattern, "Path with wildcards").required();
    command.add("--type", options.type,
                "Type or base of a node, or kind of an input, as Real or Array<Node>;\n"
                "with * and ?, without regard to case");
    const Argument value =
        command.add("--value", options.value,
                    "Inputs with this value as text, with * and ? (\\* for the character), or "
                    "with a\nnumber that is so: '<1', '<=1', '>1', '>=1' or '=1'. A connected "
                    "input has the\nvalue stored in it");
    const Argument nodes = command.add("--nodes", options.nodesOnly, "Nodes alone");
    command.add("--inputs", options.inputsOnly, "Inputs alone").excludes(nodes);
    nodes.excludes(value);
    command.add("--count", options.countOnly, "The number alone");
}

} // namespace qv::kelvo_tool
