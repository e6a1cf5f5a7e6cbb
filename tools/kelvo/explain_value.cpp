#include "tools/kelvo/explain_value.h"

#include "kelvo/sdk/interfaces/i_node.h"
#include "tools/kelvo/evaluation.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/value_summary.h"

#include <algorithm>
#include <string>
#include <unordered_set>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::interfaces::BufferView;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

constexpr std::size_t mostSources = 12;
constexpr u64 mostChoices = 20;

void printLine(Terminal& out, std::string_view label, std::string_view text) {
    out.write(label).write(": ").write(Tone::Value, text).endLine();
}

bool isDefined(const IInput& input) {
    const Libraries* libraries = librariesInUse();
    return libraries && libraries->defines(input);
}

bool isEnabled(const INode& modifier) {
    bool isEnabled = true;
    if (modifier.hasInput("enabled", AttrType::Bool))
        (void)modifier.input("enabled")->readBool(isEnabled, true, nullptr);
    return isEnabled;
}

bool names(const INode& modifier, const IInput& input) {
    String names;
    if (modifier.hasInput("modifies", AttrType::String))
        (void)modifier.input("modifies")->readString(names, false, nullptr);
    return names.split(',', true, false).contains(input.name(), true);
}

// Returns the enabled modifiers that name an input; if there are none, all enabled modifiers, as
// each may write to other inputs too.
std::vector<INode*> modifiersOf(const IInput& input) {
    std::vector<INode*> modifiers;
    const IInput* list = input.node()->input("modifiers");
    for (u64 i = 0; list && i < list->inputCount(); ++i) {
        INode* modifier = nullptr;
        if (list->input(i)->readNode(modifier, false, nullptr) && modifier && isEnabled(*modifier))
            modifiers.push_back(modifier);
    }
    const auto isNaming = [&](const INode* modifier) { return names(*modifier, input); };
    if (std::ranges::any_of(modifiers, isNaming))
        std::erase_if(modifiers, [&](const INode* modifier) { return !isNaming(modifier); });
    return modifiers;
}

/// Prints the properties of an input, line by line.
class ValuePrinter {
public:
    ValuePrinter(const SnapshotInput& input, const Input& valued, const Input& inText,
                 Terminal& out)
        : m_place(input),
          m_input(valued),
          m_inText(inText),
          m_isOfType(isDefined(*valued)),
          m_out(out) {}

    void print() {
        printLine(m_out, "kind", m_input.typeName().view());
        if (m_input.type() == AttrType::Null) return;
        printValue();
        printSize();
        if (m_input.source())
            printConnection();
        else if (m_input.isModified())
            printModifiers();
        else
            printOrigin();
        printBounds();
        printChoices();
        if (const String unit = m_input.unit(); !unit.isEmpty())
            printLine(m_out, "unit", unit.view());
        if (m_input.isReadOnly()) printLine(m_out, "read-only", "yes");
    }

private:
    void printValue() {
        const Input kept = m_input.keptValue();
        if (m_input.isModified()) return printLine(m_out, "stored value", shortValue(*kept).view());
        printLine(m_out, m_input.source() ? "stored value" : "value", shortValue(*m_input).view());
        if (kept) printLine(m_out, "kept aside", shortValue(*kept).view());
    }

    void printSize() {
        String text;
        BufferView view;
        if (m_input->isObject())
            printLine(m_out, "size", counted(m_input.inputCount(), "member"));
        else if (m_input.type() == AttrType::Array)
            printLine(m_out, "size", counted(m_input.inputCount(), "element"));
        else if (m_input.type() == AttrType::String && m_input->readString(text, false, nullptr))
            printLine(m_out, "size", counted(text.size(), "byte"));
        else if (m_input.type() == AttrType::Buffer && m_input->readBuffer(view, false, nullptr))
            printLine(m_out, "size",
                      counted(view.count, "element") + ", " +
                          counted(view.count * dataTypeSize(view.type), "byte"));
    }

    void printOrigin() {
        m_out.write("from: ");
        if (m_input.isDefault()) return printDefault("default, ");
        if (!m_input->isObject()) return printDefault("set, default ");
        m_out.write("set, ").write(membersSet()).endLine();
    }

    void printDefault(std::string_view label) {
        m_out.write(label).write(Tone::Value, defaultText().view());
        if (m_isOfType) {
            m_out.write(" of type ").write(Tone::Kind, m_input.node()->type().view());
            if (m_input.isOmitted()) m_out.write(", to which the file leaves it");
        }
        m_out.endLine();
    }

    [[nodiscard]] String defaultText() const {
        if (m_input.type() == AttrType::Array) return "[]";
        if (m_input->isObject()) return "with all its members";
        return shortValue(*m_input.defaultValue());
    }

    [[nodiscard]] std::string membersSet() const {
        u64 set = 0;
        for (u64 i = 0; i < m_input.inputCount(); ++i)
            if (!m_input.input(i).isDefault()) ++set;
        return std::to_string(set) + " of " + counted(m_input.inputCount(), "member") +
               " not at the default";
    }

    void printConnection() {
        m_out.write("from: connection\n");
        printSources({{m_place, m_place.source()}}, m_out);
        const Evaluation result = evaluateInput();
        m_out.write(result.hasValue ? "evaluates to: " : "evaluates to: no value, as ");
        m_out.write(Tone::Value, result.text.view()).endLine();
        if (m_isOfType) printDefault("default: ");
    }

    // An output that the type lacks exists in the text alone, so it is evaluated there.
    [[nodiscard]] Evaluation evaluateInput() const {
        const Evaluation result = evaluate(m_input);
        const Libraries* libraries = librariesInUse();
        const bool isOfText =
            m_inText && m_inText.source() && libraries && !libraries->mayDefine(*m_input->source());
        return result.hasValue || !isOfText ? result : evaluate(m_inText);
    }

    void printModifiers() {
        const std::vector<INode*> modifiers = modifiersOf(*m_input);
        m_out.write(modifiers.size() == 1 ? "from: modifier " : "from: modifiers ");
        for (std::size_t i = 0; i < modifiers.size(); ++i)
            m_out.write(i == 0 ? "" : ", ").write(Tone::Name, modifiers[i]->name().view());
        m_out.endLine();
        printLine(m_out, "evaluates to", shortValue(*m_input).view());
        if (m_isOfType) printDefault("default: ");
    }

    void printBounds() {
        const Input minimum = m_input.minimum();
        const Input maximum = m_input.maximum();
        if (!minimum && !maximum) return;
        m_out.write("bounds:");
        printBound(" at least ", minimum);
        printBound(minimum ? ", at most " : " at most ", maximum);
        m_out.endLine();
    }

    void printBound(std::string_view words, const Input& bound) {
        if (bound) m_out.write(words).write(Tone::Value, shortValue(*bound).view());
    }

    void printChoices() {
        const u64 count = m_input.choiceCount();
        if (count == 0) return;
        m_out.write("choices: ");
        for (u64 i = 0; i < std::min(count, mostChoices); ++i)
            m_out.write(i == 0 ? "" : ", ")
                .write(Tone::Value, shortValue(*m_input.choice(i)).view());
        if (count > mostChoices)
            m_out.write(" and " + std::to_string(count - mostChoices) + " more");
        m_out.endLine();
    }

    const SnapshotInput m_place;
    const Input m_input;
    const Input m_inText;
    const bool m_isOfType;
    Terminal& m_out;
};

void printSource(const NodeLink& link, Terminal& out) {
    out.write("    ").write(Tone::Name, link.text().view());
    const String from = link.source.typeName();
    const String to = link.input.typeName();
    if (from != to) {
        out.write(", converted from ").write(Tone::Kind, from.view());
        out.write(" to ").write(Tone::Kind, to.view());
    }
    out.endLine();
}

} // namespace

void explainValue(const SnapshotInput& input, const Input& valued, const Input& inText,
                  Terminal& out) {
    ValuePrinter(input, valued, inText, out).print();
}

void printSources(std::vector<NodeLink> links, Terminal& out) {
    std::unordered_set<kelvo_sdk::NodeNumber> seen;
    for (std::size_t i = 0; i < links.size(); ++i) {
        if (i < mostSources) printSource(links[i], out);
        const kelvo_sdk::SnapshotNode node = links[i].read();
        if (!seen.insert(node.number()).second) continue;
        const std::vector<NodeLink> further = connectionsIn(linksOf(node));
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
                         [](const NodeLink& link) { return bool(link.source); });
    return connections;
}

std::string counted(u64 count, std::string_view what) {
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

} // namespace qv::kelvo_tool
