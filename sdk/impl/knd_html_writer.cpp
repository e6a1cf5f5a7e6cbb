#include "sdk/impl/knd_html_writer.h"

#include "base/string_io.h"
#include "base/string_vector.h"

#include <string_view>

namespace qv::kelvo_sdk::impl {

using interfaces::IInput;
using interfaces::INode;
using interfaces::IOutput;

namespace {

void escape(StringIO& out, std::string_view text) {
    for (const char c : text) {
        switch (c) {
        case '&':
            out.append("&amp;");
            break;
        case '<':
            out.append("&lt;");
            break;
        case '>':
            out.append("&gt;");
            break;
        case '"':
            out.append("&quot;");
            break;
        case '\'':
            out.append("&#39;");
            break;
        default:
            out.append(c);
        }
    }
}

void element(StringIO& out, std::string_view tag, std::string_view text) {
    out.append('<').append(tag).append('>');
    escape(out, text);
    out.append("</").append(tag).append('>');
}

void writeHead(StringIO& out, std::string_view title) {
    out.append("<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n");
    element(out, "title", title);
    out.append("\n</head>\n<body>\n");
}

void writeInputs(StringIO& out, const INode& node) {
    if (node.inputCount() == 0) return;
    out.append("<h2>Inputs</h2>\n<table>\n<tr><th>Name</th><th>Label</th><th>Kind</th>"
               "<th>Unit</th><th>Help</th></tr>\n");
    for (u64 i = 0; i < node.inputCount(); ++i) {
        const IInput& input = *node.input(i);
        out.append("<tr>");
        element(out, "td", input.name());
        element(out, "td", input.label("auto"));
        element(out, "td", input.typeName());
        element(out, "td", input.unit());
        element(out, "td", input.help("auto"));
        out.append("</tr>\n");
    }
    out.append("</table>\n");
}

void writeOutputs(StringIO& out, const INode& node) {
    if (node.outputCount() == 0) return;
    out.append("<h2>Outputs</h2>\n<table>\n<tr><th>Name</th><th>Kind</th></tr>\n");
    for (u64 i = 0; i < node.outputCount(); ++i) {
        const IOutput& output = *node.output(i);
        out.append("<tr>");
        element(out, "td", output.name());
        element(out, "td", output.typeName());
        out.append("</tr>\n");
    }
    out.append("</table>\n");
}

} // namespace

String KndHtmlWriter::nodeHtml(kelvo_sdk::Node handle, bool page) {
    if (!handle) return {};
    const INode& node = *handle;
    const String label = node.label("auto");
    StringIO out;
    if (page) writeHead(out, label);
    element(out, "h1", label);
    out.append('\n');
    element(out, "p", node.typeDesc());
    out.append('\n');
    if (const String help = node.help("auto"); !help.isEmpty()) {
        element(out, "p", help);
        out.append('\n');
    }
    writeInputs(out, node);
    writeOutputs(out, node);
    if (page) out.append("</body>\n</html>\n");
    return out.take();
}

} // namespace qv::kelvo_sdk::impl
