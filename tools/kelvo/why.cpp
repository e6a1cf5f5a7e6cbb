#include "tools/kelvo/commands.h"

#include "kelvo/sdk/quoted_text.h"
#include "kelvo/sdk/snapshot_why.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/diff_text.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"

#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::InputChange;
using kelvo_sdk::InputPart;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;
using kelvo_sdk::SnapshotWhy;
using kelvo_sdk::WhyChain;

struct WhyOptions {
    String from;
    String to;
    String node;
    u64 limit = 100;
};

String sizeText(const SnapshotInput& input) {
    const u64 size = input.inputCount();
    return String(std::string_view(std::to_string(size) + (size == 1 ? " element" : " elements")));
}

// Returns a value in the form of scene text, cut if it is long.
String valueText(const SnapshotInput& input) {
    if (input.type() == AttrType::Object) return "object";
    if (input.type() == AttrType::Array) return sizeText(input);
    if (input.type() == AttrType::Node && !input.linked()) return "null";
    if (input.type() == AttrType::String)
        return shortText(String(kelvo_sdk::quotedText(input.text())));
    if (input.type() != AttrType::Buffer) return shortText(input.get<String>());
    const auto buffer = kelvo_sdk::Input::create(AttrType::Buffer);
    (void)buffer.set(input.bufferView()); // It declares no element type, so that it takes all.
    return shortText(buffer.asString());
}

String sourceText(const SnapshotInput& input) {
    const kelvo_sdk::SnapshotOutput source = input.source();
    return source ? source.node().name() + "." + source.name() : String("not connected");
}

void writePair(const String& before, const String& after, Terminal& out) {
    out.write(Tone::Value, before.view()).write(" -> ").write(Tone::Value, after.view());
}

// Returns an input's state on one line, with its connection.
String wholeText(const SnapshotInput& input) {
    const String value = valueText(input);
    return input.source() ? value + " <- " + sourceText(input) : value;
}

/// Writes the lines of one node that differs.
class ReasonWriter {
public:
    ReasonWriter(const WhyChain& chain, Terminal& out) : m_chain(chain), m_out(out) {}

    void write() {
        const String& name = m_chain.nodes[m_chain.nodes.size() - 1].name();
        if (!m_chain.before || !m_chain.after) {
            line(m_chain.after ? "+ " : "- ", name);
            m_out.write(Tone::Kind, m_chain.nodes[0].type().view()).endLine();
            return;
        }
        if (m_chain.isRenamed) writeChange(name, " name", m_chain.before.name(), name);
        if (m_chain.isTypeChanged) writeType(name);
        for (const InputChange& input : m_chain.inputs)
            writeInput(name, input);
    }

private:
    void line(const char* sign, const String& place, const char* field = "") {
        m_out.write("    ").write(sign).write(Tone::Name, place.view());
        m_out.write(Tone::Kind, field).write(": ");
    }
    void writeChange(const String& place, const char* field, const String& before,
                     const String& after) {
        line("~ ", place, field);
        writePair(before, after, m_out);
        m_out.endLine();
    }
    void writeType(const String& name) {
        const String &before = m_chain.before.type(), &after = m_chain.after.type();
        if (!before.equals(after)) return writeChange(name, " type", before, after);
        line("~ ", name, " type");
        m_out.write("other bases or outputs").endLine();
    }
    void writeInput(const String& node, const InputChange& input) {
        const SnapshotInput& known = input.after ? input.after : input.before;
        const String place = node + "." + known.path();
        if (!input.before || !input.after) {
            line(input.after ? "+ " : "- ", place);
            m_out.write(Tone::Value, wholeText(known).view()).endLine();
            return;
        }
        if (input.has(InputPart::Name))
            writeChange(place, " name", input.before.name(), input.after.name());
        if (input.has(InputPart::Type))
            writeChange(place, " kind", attrTypeName(input.before.type()),
                        attrTypeName(input.after.type()));
        if (input.has(InputPart::Value) || input.has(InputPart::Link) ||
            input.has(InputPart::Elements))
            writeChange(place, "", valueText(input.before), valueText(input.after));
        if (input.has(InputPart::Connection))
            writeChange(place, " source", sourceText(input.before), sourceText(input.after));
        if (input.has(InputPart::Order)) {
            line("~ ", place, " order");
            m_out.write("among the other inputs").endLine();
        }
    }

    const WhyChain& m_chain;
    Terminal& m_out;
};

void printChain(const WhyChain& chain, Terminal& out) {
    for (u64 i = 0; i < chain.nodes.size(); ++i)
        out.write(i == 0 ? "" : " -> ").write(Tone::Name, chain.nodes[i].name().view());
    out.endLine();
    ReasonWriter(chain, out).write();
}

Status runWhy(const WhyOptions& options, Terminal& out) {
    Document from, to;
    const kelvo_sdk::Snapshot before = from.look(options.from);
    if (!before) return Status::Fault;
    const kelvo_sdk::Snapshot after = to.look(options.to);
    if (!after) return Status::Fault;
    const SnapshotNode node = after[options.node] ? after[options.node] : before[options.node];
    const String unknown = node ? String() : noSuchNode(after, options.node);
    const SnapshotWhy found = why(before, after, node, options.limit);
    if (!from.isSound() || !to.isSound()) return Status::Fault;
    if (!node) {
        complain(displayed(options.to) + ": " + unknown);
        return Status::Usage;
    }
    for (const WhyChain& chain : found.chains())
        if (!out.isClosed()) printChain(chain, out);
    if (!found.isComplete())
        complain("More than " + String(std::string_view(std::to_string(options.limit))) +
                 " nodes differ (see --limit).");
    return Status::Ok;
}

} // namespace

void addWhy(CommandLine& line) {
    auto [command, options] =
        line.add("why", "Print why a node, with all it depends on, differs", &runWhy);
    command.addNote(
        "Each chain leads from the node to one that differs itself, shortest chains first,\n"
        "and its changes follow. Nodes are matched by name; marks, descriptions and comments\n"
        "do not count. Prints nothing when all is equal.");
    command.add("A", options.from, "Scene file").required();
    command.add("B", options.to, "Scene file that came later").required();
    command.add("NODE", options.node, "Node of either scene").required();
    command.add("--limit", options.limit, "Most nodes to explain").positive().showDefault();
}

} // namespace qv::kelvo_tool
