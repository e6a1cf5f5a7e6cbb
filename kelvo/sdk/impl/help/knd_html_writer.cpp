#include "kelvo/sdk/impl/help/knd_html_writer.h"

#include "kelvo/sdk/help.h"
#include "kelvo/sdk/html.h"
#include "kelvo/sdk/impl/help/knd_html_inputs.h"

#include "kelvo/base/string_io.h"
#include "kelvo/base/string_vector.h"

namespace qv::kelvo_sdk {

namespace {

constexpr u64 iconSide = 72;

void appendType(StringIO& out, const String& type, const HelpLinks& links) {
    const String page = links.pageOf ? links.pageOf(type) : String();
    if (!page.isEmpty()) {
        out.append("<a href=\"");
        html::appendText(out, page);
        out.append("\">");
    }
    html::appendElement(out, "code", type);
    if (!page.isEmpty()) out.append("</a>");
}

template<typename Types>
void appendTypes(StringIO& out, const Types& types, const HelpLinks& links) {
    bool isFirst = true;
    for (const String& type : types) {
        if (!isFirst) out.append(", ");
        appendType(out, type, links);
        isFirst = false;
    }
}

void appendHeader(StringIO& out, const Node& node, const HelpLinks& links) {
    out.append("<header>\n");
    html::appendIcon(out, node->svgIcon(true), iconSide);
    out.append("<div>\n");
    html::appendElement(out, "h1", helpTitle(node));
    out.append("\n<p class=\"type\">");
    html::appendElement(out, "code", node.type());
    if (const StringVector bases = node.bases(); !bases.empty()) {
        out.append(" based on ");
        appendTypes(out, bases, links);
    }
    if (node.isAbstract()) out.append(" <span class=\"tag\">abstract</span>");
    if (node.isInternal()) out.append(" <span class=\"tag\">internal</span>");
    out.append("</p>\n</div>\n</header>\n");
}

// An abstract type has no nodes that an example could show.
void appendExample(StringIO& out, const Node& node) {
    if (node.isAbstract()) return;
    out.append("<section aria-labelledby=\"example\">\n<h2 id=\"example\">Example</h2>\n"
               "<pre tabindex=\"0\" role=\"region\" aria-label=\"Example in scene text\">");
    html::appendElement(out, "code", helpExample(node));
    out.append("</pre>\n</section>\n");
}

void appendDerived(StringIO& out, const HelpLinks& links) {
    if (links.derived.empty()) return;
    out.append("<section aria-labelledby=\"derived\">\n"
               "<h2 id=\"derived\">Types based on this</h2>\n<p>");
    appendTypes(out, links.derived, links);
    out.append("</p>\n</section>\n");
}

void appendArticle(StringIO& out, const Node& node, const HelpLinks& links) {
    out.append("<article class=\"kelvo-help\">\n");
    appendHeader(out, node, links);
    html::appendParagraphs(out, node.help("auto"));
    impl::appendInputs(out, helpPages(node));
    impl::appendOutputs(out, node);
    appendExample(out, node);
    appendDerived(out, links);
    out.append("</article>\n");
}

void appendWayBack(StringIO& out, const HelpLinks& links) {
    if (links.index.isEmpty()) return;
    out.append("<nav aria-label=\"Site\"><a href=\"");
    html::appendText(out, links.index);
    out.append("\">");
    html::appendText(out, links.indexText);
    out.append("</a></nav>\n");
}

} // namespace

String helpSitePage(const Node& type, const HelpLinks& links) {
    if (!type) return {};
    StringIO out;
    html::openPage(out, {helpTitle(type)});
    appendWayBack(out, links);
    out.append("<main>\n");
    appendArticle(out, type, links);
    out.append("</main>\n");
    html::closePage(out);
    return out.take();
}

String impl::KndHtmlWriter::nodeHtml(kelvo_sdk::Node node, bool page) {
    if (page) return helpSitePage(node);
    if (!node) return {};
    StringIO out;
    appendArticle(out, node, {});
    return out.take();
}

} // namespace qv::kelvo_sdk
