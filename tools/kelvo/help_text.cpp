#include "tools/kelvo/help_text.h"

#include "kelvo/base/string_io.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/help.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/interfaces/i_output.h"
#include "tools/kelvo/handles.h"
#include "tools/kelvo/text_columns.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace qv::kelvo_tool {

using kelvo_sdk::HelpGroup;
using kelvo_sdk::HelpPage;
using kelvo_sdk::HelpRow;
using kelvo_sdk::interfaces::INode;

namespace {

constexpr u64 widestName = 24;
constexpr u64 deepestIndent = 8;

/// Writes the parts below each other.
class HelpPrinter {
public:
    HelpPrinter(const INode& node, u64 width) : m_node(node), m_width(width) {}

    [[nodiscard]] String print() {
        printHead();
        printInputs();
        printOutputs();
        if (!m_node.isAbstract()) printExample();
        return m_out.take();
    }

private:
    void heading(std::string_view text) { m_out.append('\n').append(text).append("\n\n"); }
    void wrap(std::string_view text, u64 indent, std::string_view first = {}) {
        appendWrapped(m_out, text, {m_width, indent, first});
    }

    void printHead() {
        const String type = m_node.type();
        wrap((kelvo_sdk::helpTitle(handleOn(m_node)) + " (" + type + ")").view(), 0);
        std::string kind;
        if (const StringVector bases = m_node.bases(); !bases.empty())
            kind = "based on " + std::string(bases.join(", ").view());
        if (m_node.isAbstract()) kind += kind.empty() ? "abstract" : "; abstract";
        if (m_node.isInternal()) kind += kind.empty() ? "internal" : "; internal";
        if (!kind.empty()) wrap(kind, 0);
        if (const String help = m_node.help("auto"); !help.isEmpty()) {
            m_out.append('\n');
            wrap(help.view(), 0);
        }
    }

    void printInputs() {
        const std::vector<HelpPage> pages = kelvo_sdk::helpPages(handleOn(m_node));
        heading(pages.empty() ? "Inputs: none" : "Inputs");
        if (pages.empty()) m_out.truncate(m_out.size() - 1);
        for (const HelpPage& page : pages) {
            if (&page != &pages.front()) m_out.append('\n');
            if (!page.label.isEmpty()) wrap((page.label + ":").view(), 2);
            for (const HelpGroup& group : page.groups)
                printGroup(group);
        }
    }

    void printGroup(const HelpGroup& group) {
        if (!group.label.isEmpty()) wrap(("- " + group.label + " -").view(), 4);
        u64 column = 0;
        for (const HelpRow& row : group.rows)
            column = std::max(column, 2 * std::min<u64>(row.depth, deepestIndent) +
                                          columnsOf(row.name.view()));
        column = std::min(column, widestName) + 6;
        for (const HelpRow& row : group.rows)
            printRow(row, column);
    }

    void printRow(const HelpRow& row, u64 column) {
        const u64 indent = 4 + 2 * std::min<u64>(row.depth, deepestIndent);
        wrap(facts(row), column, startOf(row.name, indent, column));
        if (!row.help.isEmpty()) wrap(row.help.view(), column);
    }

    // Returns a name, padded up to the column of its description.
    static std::string startOf(const String& name, u64 indent, u64 column) {
        std::string first(indent, ' ');
        first += std::string(name.view()) + "  ";
        const u64 used = columnsOf(first);
        if (used < column) first.append(column - used, ' ');
        return first;
    }

    static std::string facts(const HelpRow& row) {
        std::string text(row.kind.view());
        if (!row.defaultText.isEmpty()) text += " = " + std::string(row.defaultText.view());
        if (!row.unit.isEmpty()) text += " " + std::string(row.unit.view());
        if (!row.range.isEmpty()) text += ", " + std::string(row.range.view());
        for (u64 i = 0; i < row.choices.size(); ++i)
            text += (i == 0 ? ", one of " : ", ") + std::string(row.choices[i].view());
        if (row.isReadOnly) text += ", read only";
        return text;
    }

    void printOutputs() {
        const u64 count = m_node.outputCount();
        heading(count == 0 ? "Outputs: none" : "Outputs");
        if (count == 0) m_out.truncate(m_out.size() - 1);
        u64 column = 0;
        for (u64 i = 0; i < count; ++i)
            column = std::max(column, columnsOf(m_node.output(i)->name().view()));
        column = std::min(column, widestName) + 6;
        for (u64 i = 0; i < count; ++i) {
            const auto& output = *m_node.output(i);
            const String kind = kelvo_sdk::helpKind(output.typeName());
            wrap(kind.view(), column, startOf(output.name(), 4, column));
        }
    }

    void printExample() {
        heading("Example");
        const String text = kelvo_sdk::helpExample(handleOn(m_node));
        for (const String& line : text.split('\n', false, false)) {
            m_out.append("    ");
            appendPlain(m_out, line.view());
            m_out.append('\n');
        }
    }

    const INode& m_node;
    u64 m_width;
    StringIO m_out;
};

} // namespace

String helpText(const INode& node, u64 width) {
    return HelpPrinter(node, width).print();
}

} // namespace qv::kelvo_tool
