#include "tools/kelvo/help_index.h"

#include "kelvo/base/string_io.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/help.h"
#include "kelvo/sdk/html.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/interfaces/i_output.h"
#include "tools/kelvo/handles.h"

#include <algorithm>
#include <string_view>

namespace qv::kelvo_tool {

namespace html = kelvo_sdk::html;
using kelvo_sdk::interfaces::INode;

namespace {

constexpr u64 iconSide = 40;

constexpr std::string_view style = R"(.top { padding: 2rem 0 1rem; }
.top p { margin: .2rem 0 0; color: var(--soft); }
.search { position: sticky; top: 0; z-index: 1; background: var(--page); padding: .6rem 0 .8rem; }
.search[hidden] { display: none; }
.search label { display: block; font-weight: 600; margin-bottom: .3rem; }
.search input { font: inherit; width: 100%; max-width: 30rem; padding: .5rem .8rem;
  color: inherit; background: var(--card); border: 1px solid var(--soft); border-radius: 8px; }
.search p { margin: .4rem 0 0; color: var(--soft); font-size: .9rem; min-height: 1.55em; }
.types { list-style: none; margin: 0; padding: 0; display: grid; gap: .75rem;
  grid-template-columns: repeat(auto-fill, minmax(min(100%, 20rem), 1fr)); }
.types li { position: relative; display: grid; grid-template-columns: 3rem 1fr; gap: 0 .9rem;
  align-content: start; background: var(--card); border: 1px solid var(--line);
  border-radius: 10px; padding: .8rem .9rem; overflow-wrap: anywhere; }
.types li[hidden] { display: none; }
.types li:hover { border-color: var(--link); }
.types .icon { grid-row: 1 / span 3; padding: 3px; border-radius: 8px; }
.types li > :not(.icon) { grid-column: 2; }
.types a { font-weight: 600; text-decoration: none; }
.types a:hover { text-decoration: underline; }
.types a::after { content: ""; position: absolute; inset: 0; border-radius: 10px; }
.types a:focus-visible { outline: none; }
.types a:focus-visible::after { outline: 3px solid var(--link); outline-offset: 2px; }
.types p { margin: .2rem 0 0; font-size: .9rem; color: var(--soft); }
.types .what { color: var(--ink); }
@media print { .types li { break-inside: avoid; } }
)";

// The page's security policy allows the script by its hash below; a test compares them.
constexpr std::string_view script = R"((function () {
  "use strict";
  var search = document.getElementById("search"), field = document.getElementById("q");
  var state = document.getElementById("found"), list = document.getElementById("types");
  var items = Array.prototype.slice.call(list.children);
  var texts = items.map(function (item) { return item.dataset.text.toLowerCase(); });
  var names = items.map(function (item) { return item.dataset.name.toLowerCase(); });
  var types = items.map(function (item) { return item.dataset.type.toLowerCase(); });
  function rank(at, words) {
    var starts = (" " + names[at]).replace(/_/g, " ");
    var found = words.every(function (word) { return texts[at].indexOf(word) >= 0; });
    if (!found) return 0;
    var whole = words.join(" ");
    if (whole === types[at] || whole + " " + types[at] === names[at]) return 4;
    if (words.every(function (word) { return starts.indexOf(" " + word) >= 0; })) return 3;
    return words.every(function (word) { return names[at].indexOf(word) >= 0; }) ? 2 : 1;
  }
  function run() {
    var words = field.value.toLowerCase().split(/\s+/).filter(Boolean), count = 0;
    var ranked = items.map(function (item, at) {
      var value = words.length ? rank(at, words) : 1;
      item.hidden = !value;
      count += value ? 1 : 0;
      return { item: item, at: at, value: value };
    });
    ranked.sort(function (a, b) { return b.value - a.value || a.at - b.at; });
    ranked.forEach(function (entry) { list.appendChild(entry.item); });
    state.textContent = !words.length ? "" : !count ? "Nothing found." :
      count + " of " + items.length + " types";
    var hash = words.length ? "#q=" + encodeURIComponent(field.value.trim()) : "#";
    try { history.replaceState(null, "", hash); } catch (error) { /* A nicety only. */ }
  }
  function first() { return list.querySelector("li:not([hidden]) a"); }
  field.addEventListener("input", run);
  field.addEventListener("keydown", function (event) {
    if (event.key === "Enter" && field.value.trim() && first()) first().click();
    if (event.key === "Escape") { field.value = ""; run(); }
  });
  document.addEventListener("keydown", function (event) {
    if (event.key !== "/" || event.target === field) return;
    event.preventDefault();
    field.focus();
  });
  search.hidden = false;
  if (location.hash.indexOf("#q=") === 0) {
    try { field.value = decodeURIComponent(location.hash.slice(3)); } catch (error) { return; }
    run();
  }
})();
)";

constexpr std::string_view scriptHash = "sha256-igrThiz8PpchsHbIP3B7p4TxD0fWMAbqytcuiIxJlco=";

String titleOf(const INode& type) {
    return kelvo_sdk::helpTitle(handleOn(type));
}

// Returns the first sentence, or line, of a help text.
std::string_view summaryOf(std::string_view help) {
    const std::size_t start = std::min(help.find_first_not_of(" \t\r\n"), help.size());
    help.remove_prefix(start);
    help = help.substr(0, help.find_first_of("\r\n"));
    for (std::size_t dot = help.find(". "); dot != std::string_view::npos;
         dot = help.find(". ", dot + 1))
        if (dot > 3) return help.substr(0, dot + 1);
    return help;
}

void appendAttribute(StringIO& out, std::string_view name, std::string_view text) {
    out.append(' ').append(name).append("=\"");
    html::appendText(out, text);
    out.append('"');
}

// Returns all texts of a type that the search covers.
String searchText(const INode& type) {
    StringIO text;
    text.append(type.type().view()).append(' ').append(titleOf(type).view());
    for (const String& base : type.bases())
        text.append(' ').append(base.view());
    text.append(' ').append(type.help("auto").view());
    for (u64 i = 0; i < type.inputCount(); ++i) {
        const auto* input = type.input(i);
        text.append(' ').append(input->name().view());
        text.append(' ').append(input->label("auto").view());
    }
    for (u64 i = 0; i < type.outputCount(); ++i)
        text.append(' ').append(type.output(i)->name().view());
    return text.take();
}

void appendEntry(StringIO& out, const IndexEntry& entry) {
    const INode& type = *entry.type;
    const String title = titleOf(type);
    out.append("<li");
    appendAttribute(out, "data-name", (title + " " + type.type()).view());
    appendAttribute(out, "data-type", type.type().view());
    appendAttribute(out, "data-text", searchText(type).view());
    out.append(">\n");
    html::appendIcon(out, type.svgIcon(true), iconSide);
    out.append("<div><a");
    appendAttribute(out, "href", entry.page.view());
    out.append('>');
    html::appendText(out, title);
    out.append("</a> ");
    html::appendElement(out, "code", type.type());
    if (type.isAbstract()) out.append(" <span class=\"tag\">abstract</span>");
    if (type.isInternal()) out.append(" <span class=\"tag\">internal</span>");
    out.append("</div>\n");
    const String help = type.help("auto");
    if (const std::string_view summary = summaryOf(help.view()); !summary.empty()) {
        out.append("<p class=\"what\">");
        html::appendText(out, summary);
        out.append("</p>\n");
    }
    if (const StringVector bases = type.bases(); !bases.empty()) {
        out.append("<p>based on ");
        html::appendText(out, bases.join(", "));
        out.append("</p>\n");
    }
    out.append("</li>\n");
}

void sortByTitle(std::vector<IndexEntry>& entries) {
    std::ranges::stable_sort(entries, [](const IndexEntry& a, const IndexEntry& b) {
        const int order = titleOf(*a.type).compareNoCase(titleOf(*b.type));
        return order != 0 ? order < 0 : a.type->type() < b.type->type();
    });
}

} // namespace

String helpIndex(std::vector<IndexEntry> entries) {
    sortByTitle(entries);
    StringIO out;
    html::openPage(out, {"Node types", style, scriptHash});
    out.append("<main>\n<header class=\"top\">\n<h1>Node types</h1>\n<p>");
    out.appendUInt(entries.size()).append(entries.size() == 1 ? " type" : " types");
    out.append("</p>\n</header>\n"
               "<div class=\"search\" id=\"search\" role=\"search\" hidden>\n"
               "<label for=\"q\">Search types, inputs and help</label>\n"
               "<input id=\"q\" type=\"search\" autocomplete=\"off\" spellcheck=\"false\" "
               "aria-controls=\"types\">\n<p id=\"found\" role=\"status\"></p>\n</div>\n"
               "<ul class=\"types\" id=\"types\">\n");
    for (const IndexEntry& entry : entries)
        appendEntry(out, entry);
    out.append("</ul>\n</main>\n<script>").append(script).append("</script>\n");
    html::closePage(out);
    return out.take();
}

} // namespace qv::kelvo_tool
