#include "tools/kelvo/explain_value.h"

#include "sdk/impl/conversion.h"
#include "sdk/impl/input.h"
#include "sdk/interfaces/i_node.h"
#include "sdk/interfaces/i_output.h"
#include "tools/kelvo/evaluation.h"
#include "tools/kelvo/value_summary.h"

#include <algorithm>
#include <string>
#include <unordered_set>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::impl::AttrDetails;
using kelvo_sdk::impl::Value;
using kelvo_sdk::interfaces::BufferView;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;
using kelvo_sdk::interfaces::IOutput;

constexpr std::size_t mostSources = 12;
constexpr u64 mostChoices = 20;

const kelvo_sdk::impl::Input& implOf(const IInput& input) {
    return static_cast<const kelvo_sdk::impl::Input&>(input);
}

void printLine(Terminal& out, std::string_view label, std::string_view text) {
    out.write(label).write(": ").write(Tone::Value, text).endLine();
}

/// Prints what an input is, line by line.
class ValuePrinter {
public:
    ValuePrinter(const IInput& input, Terminal& out) : m_input(input), m_out(out) {}

    void print() {
        printLine(m_out, "kind", m_input.typeName().view());
        if (m_input.type() == AttrType::Null) return;
        printLine(m_out, m_input.source() ? "stored value" : "value", shortValue(m_input).view());
        printSize();
        if (const Value* kept = implOf(m_input).stashed())
            printLine(m_out, "kept aside", shortText(*kept).view());
        if (m_input.source())
            printConnection();
        else
            printOrigin();
        if (const AttrDetails* details = implOf(m_input).details()) printDescribed(*details);
        if (m_input.isReadOnly()) printLine(m_out, "read-only", "yes");
    }

private:
    void printSize() {
        String text;
        BufferView view;
        if (m_input.isObject())
            printLine(m_out, "size", counted(m_input.inputCount(), "member"));
        else if (m_input.type() == AttrType::Array)
            printLine(m_out, "size", counted(m_input.inputCount(), "element"));
        else if (m_input.type() == AttrType::String && m_input.readString(text, false, nullptr))
            printLine(m_out, "size", counted(text.size(), "byte"));
        else if (m_input.type() == AttrType::Buffer && m_input.readBuffer(view, false, nullptr))
            printLine(m_out, "size",
                      counted(view.count, "element") + ", " +
                          counted(view.count * dataTypeSize(view.type), "byte"));
    }

    void printOrigin() {
        m_out.write("from: ");
        if (m_input.isDefault()) {
            m_out.write("default, ").write(Tone::Value, defaultText().view()).endLine();
            return;
        }
        m_out.write("set");
        if (m_input.isObject())
            m_out.write(", ").write(membersSet());
        else
            m_out.write(", default ").write(Tone::Value, defaultText().view());
        m_out.endLine();
    }

    [[nodiscard]] String defaultText() const {
        if (m_input.type() == AttrType::Array) return "[]";
        if (m_input.isObject()) return "with all its members";
        const AttrDetails* details = implOf(m_input).details();
        Value value;
        if (!details || !convertValue(details->defaultValue, m_input.type(), value))
            value = Value::zero(m_input.type());
        return shortText(value);
    }

    [[nodiscard]] std::string membersSet() const {
        u64 set = 0;
        for (u64 i = 0; i < m_input.inputCount(); ++i)
            if (!m_input.input(i)->isDefault()) ++set;
        return std::to_string(set) + " of " + counted(m_input.inputCount(), "member") +
               " not at the default";
    }

    void printConnection() {
        m_out.write("from: connection\n");
        IOutput* source = m_input.source();
        printSources({{m_input.node(), source->node(), &m_input, source}}, m_out);
        const Evaluation result = evaluate(m_input);
        m_out.write(result.hasValue ? "evaluates to: " : "evaluates to: no value, as ");
        m_out.write(Tone::Value, result.text.view()).endLine();
    }

    void printDescribed(const AttrDetails& details) {
        const bool isBounded = !details.minimum.isNull() || !details.maximum.isNull();
        if (isBounded) m_out.write("bounds:");
        printBound(" at least ", details.minimum);
        const bool isBoth = !details.minimum.isNull() && !details.maximum.isNull();
        printBound(isBoth ? ", at most " : " at most ", details.maximum);
        if (isBounded) m_out.endLine();
        printChoices(details);
        if (!details.unit.isEmpty()) printLine(m_out, "unit", details.unit.view());
    }

    void printBound(std::string_view words, const Value& bound) {
        if (!bound.isNull()) m_out.write(words).write(Tone::Value, shortText(bound).view());
    }

    void printChoices(const AttrDetails& details) {
        const u64 count = details.choices.size();
        if (count == 0) return;
        m_out.write("choices: ");
        for (u64 i = 0; i < std::min(count, mostChoices); ++i)
            m_out.write(i == 0 ? "" : ", ")
                .write(Tone::Value, shortText(details.choices[i]).view());
        if (count > mostChoices)
            m_out.write(" and " + std::to_string(count - mostChoices) + " more");
        m_out.endLine();
    }

    const IInput& m_input;
    Terminal& m_out;
};

void printSource(const NodeLink& link, Terminal& out) {
    out.write("    ").write(Tone::Name, link.text().view());
    const String from = link.source->typeName();
    const String to = link.input->typeName();
    if (from != to) {
        out.write(", converted from ").write(Tone::Kind, from.view());
        out.write(" to ").write(Tone::Kind, to.view());
    }
    out.endLine();
}

} // namespace

void explainValue(const IInput& input, Terminal& out) {
    ValuePrinter(input, out).print();
}

void printSources(std::vector<NodeLink> links, Terminal& out) {
    std::unordered_set<const INode*> seen;
    for (std::size_t i = 0; i < links.size(); ++i) {
        if (i < mostSources) printSource(links[i], out);
        INode* node = links[i].read;
        if (!node || !seen.insert(node).second) continue;
        const std::vector<NodeLink> further = connectionsIn(linksOf(*node));
        links.insert(links.end(), further.begin(), further.end());
    }
    if (links.size() > mostSources)
        out.write("    and ")
            .write(counted(links.size() - mostSources, "connection"))
            .write(" more\n");
}

std::vector<NodeLink> connectionsIn(const std::vector<NodeLink>& links) {
    std::vector<NodeLink> connections;
    std::ranges::copy_if(links, std::back_inserter(connections),
                         [](const NodeLink& link) { return link.source != nullptr; });
    return connections;
}

std::string counted(u64 count, std::string_view what) {
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

} // namespace qv::kelvo_tool
