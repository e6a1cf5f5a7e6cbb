#include "kelvo/sdk/impl/help/knd_html_inputs.h"

#include "kelvo/sdk/html.h"

#include <algorithm>
#include <string_view>

namespace qv::kelvo_sdk::impl {

using html::appendElement;
using html::appendParagraphs;
using html::appendText;

namespace {

constexpr u32 deepestIndent = 4;

// Columns that would be empty for all inputs are left out.
struct Columns {
    bool range = false;
    bool unit = false;
    bool help = false;

    explicit Columns(const std::vector<HelpPage>& pages) {
        for (const HelpPage& page : pages)
            for (const HelpGroup& group : page.groups)
                for (const HelpRow& row : group.rows)
                    add(row);
    }
    [[nodiscard]] u64 count() const noexcept { return 3u + range + unit + help; }

private:
    void add(const HelpRow& row) {
        range = range || !row.range.isEmpty() || !row.choices.empty();
        unit = unit || !row.unit.isEmpty();
        help = help || !row.help.isEmpty();
    }
};

void openTable(StringIO& out, std::string_view name, std::string_view kind) {
    out.append("<table role=\"table\" class=\"").append(kind).append("\" aria-label=\"");
    appendText(out, name);
    out.append("\">\n<thead role=\"rowgroup\"><tr role=\"row\">");
}

void appendHeading(StringIO& out, std::string_view column, std::string_view text) {
    out.append("<th role=\"columnheader\" scope=\"col\" class=\"c-").append(column).append("\">");
    out.append(text).append("</th>");
}

void openCell(StringIO& out, std::string_view column, std::string_view heading) {
    out.append("<td role=\"cell\" class=\"c-").append(column).append("\" data-h=\"");
    out.append(heading).append("\">");
}

void appendCodeCell(StringIO& out, std::string_view column, std::string_view heading,
                    const String& text) {
    openCell(out, column, heading);
    if (!text.isEmpty()) appendElement(out, "code", text);
    out.append("</td>");
}

void appendName(StringIO& out, const HelpRow& row) {
    out.append("<th role=\"rowheader\" scope=\"row\" class=\"c-name");
    if (row.depth != 0) out.append(" d").appendUInt(std::min(row.depth, deepestIndent));
    out.append("\"><span>");
    appendText(out, row.label);
    out.append("</span><span>");
    appendElement(out, "code", row.name);
    out.append("</span>");
    if (row.isReadOnly) out.append(" <span class=\"tag\">read only</span>");
    out.append("</th>");
}

void appendRange(StringIO& out, const HelpRow& row) {
    openCell(out, "range", "Range");
    if (!row.range.isEmpty()) {
        out.append("<span class=\"range\">");
        appendText(out, row.range);
        out.append("</span>");
    }
    if (!row.choices.empty()) out.append("<ul>");
    for (const String& choice : row.choices) {
        out.append("<li>");
        appendElement(out, "code", choice);
        out.append("</li>");
    }
    if (!row.choices.empty()) out.append("</ul>");
    out.append("</td>");
}

void appendRow(StringIO& out, const HelpRow& row, const Columns& columns) {
    out.append("<tr role=\"row\"");
    if (row.depth != 0) {
        out.append(" class=\"in").appendUInt(std::min(row.depth, deepestIndent)).append('"');
    } else if (row.name.isSimpleCID()) {
        out.append(" id=\"input-").append(row.name.view()).append('"');
    }
    out.append('>');
    appendName(out, row);
    appendCodeCell(out, "kind", "Kind", row.kind);
    appendCodeCell(out, "default", "Default", row.defaultText);
    if (columns.range) appendRange(out, row);
    if (columns.unit) {
        openCell(out, "unit", "Unit");
        appendText(out, row.unit);
        out.append("</td>");
    }
    if (columns.help) {
        openCell(out, "help", "Help");
        appendParagraphs(out, row.help);
        out.append("</td>");
    }
    out.append("</tr>\n");
}

void appendGroup(StringIO& out, const HelpGroup& group, const Columns& columns) {
    out.append("<tbody role=\"rowgroup\">\n");
    if (!group.label.isEmpty()) {
        out.append("<tr role=\"row\" class=\"group\"><th role=\"rowheader\" scope=\"rowgroup\" "
                   "colspan=\"");
        out.appendUInt(columns.count()).append("\">");
        appendText(out, group.label);
        out.append("</th></tr>\n");
    }
    for (const HelpRow& row : group.rows)
        appendRow(out, row, columns);
    out.append("</tbody>\n");
}

void appendPage(StringIO& out, const HelpPage& page, const Columns& columns) {
    openTable(out, page.label.isEmpty() ? String("Inputs") : page.label, "inputs");
    appendHeading(out, "name", "Input");
    appendHeading(out, "kind", "Kind");
    appendHeading(out, "default", "Default");
    if (columns.range) appendHeading(out, "range", "Range");
    if (columns.unit) appendHeading(out, "unit", "Unit");
    if (columns.help) appendHeading(out, "help", "Help");
    out.append("</tr></thead>\n");
    for (const HelpGroup& group : page.groups)
        appendGroup(out, group, columns);
    out.append("</table>\n");
}

void appendPageLinks(StringIO& out, const std::vector<HelpPage>& pages) {
    if (pages.size() < 2) return;
    out.append("<nav class=\"toc\" aria-label=\"Pages of inputs\"><ul>\n");
    for (u64 i = 0; i < pages.size(); ++i) {
        out.append("<li><a href=\"#page-").appendUInt(i + 1).append("\">");
        appendText(out, pages[i].label);
        out.append("</a></li>\n");
    }
    out.append("</ul></nav>\n");
}

} // namespace

void appendInputs(StringIO& out, const std::vector<HelpPage>& pages) {
    out.append("<section aria-labelledby=\"inputs\">\n<h2 id=\"inputs\">Inputs</h2>\n");
    if (pages.empty()) out.append("<p class=\"none\">None.</p>\n");
    appendPageLinks(out, pages);
    const Columns columns(pages);
    for (u64 i = 0; i < pages.size(); ++i) {
        if (!pages[i].label.isEmpty()) {
            out.append("<h3 id=\"page-").appendUInt(i + 1).append("\">");
            appendText(out, pages[i].label);
            out.append("</h3>\n");
        }
        appendPage(out, pages[i], columns);
    }
    out.append("</section>\n");
}

void appendOutputs(StringIO& out, const kelvo_sdk::Node& node) {
    out.append("<section aria-labelledby=\"outputs\">\n<h2 id=\"outputs\">Outputs</h2>\n");
    if (node.outputCount() == 0) {
        out.append("<p class=\"none\">None.</p>\n</section>\n");
        return;
    }
    openTable(out, "Outputs", "outputs");
    appendHeading(out, "name", "Output");
    appendHeading(out, "kind", "Kind");
    out.append("</tr></thead>\n<tbody role=\"rowgroup\">\n");
    for (u64 i = 0; i < node.outputCount(); ++i) {
        const kelvo_sdk::Output output = node.output(i);
        out.append("<tr role=\"row\"><th role=\"rowheader\" scope=\"row\" class=\"c-name\">");
        appendElement(out, "code", output.name());
        out.append("</th>");
        appendCodeCell(out, "kind", "Kind", helpKind(output.typeName()));
        out.append("</tr>\n");
    }
    out.append("</tbody>\n</table>\n</section>\n");
}

} // namespace qv::kelvo_sdk::impl
