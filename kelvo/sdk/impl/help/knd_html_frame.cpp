// The style sheet of help pages, and their beginning and end.

#include "kelvo/sdk/html.h"

namespace qv::kelvo_sdk::html {

namespace {

constexpr std::string_view colors = R"(:root {
  color-scheme: light dark;
  --page: #fbfbfa; --card: #ffffff; --ink: #1c1f23; --soft: #5a626c; --line: #dcdfe3;
  --band: #f1f3f5; --code: #f3f4f6; --link: #0b5cad; --mark: #e8f0fa; --warm: #8a4b08;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #15181c; --card: #1b1f24; --ink: #e7e9ec; --soft: #a3abb5; --line: #343a42;
    --band: #22272e; --code: #252a31; --link: #82b7f5; --mark: #1f3147; --warm: #f0b37a;
  }
}
)";

constexpr std::string_view texts = R"(*, *::before, *::after { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; text-size-adjust: 100%; scroll-padding-top: 1rem; }
body { margin: 0; background: var(--page); color: var(--ink); line-height: 1.55;
  font-family: system-ui, "DejaVu Sans", sans-serif; }
main, body > nav { max-width: 72rem; margin: 0 auto; padding: 0 1.5rem; }
main { padding-bottom: 4rem; }
body > nav { padding-top: 1rem; font-size: .9rem; }
a { color: var(--link); text-underline-offset: .15em; }
a:focus-visible, [tabindex]:focus-visible, input:focus-visible {
  outline: 3px solid var(--link); outline-offset: 2px; border-radius: 4px; }
code, pre { font-family: ui-monospace, "DejaVu Sans Mono", monospace;
  font-size: .875em; }
code { overflow-wrap: anywhere; unicode-bidi: isolate; }
h1 { font-size: 1.9rem; line-height: 1.2; margin: 0; overflow-wrap: anywhere; }
h2 { font-size: 1.25rem; margin: 2.5rem 0 .75rem; }
h3 { font-size: 1.05rem; margin: 1.75rem 0 .5rem; }
p { margin: 0 0 .75rem; max-width: 46rem; overflow-wrap: break-word; }
.none { color: var(--soft); }
article > header { display: grid; grid-template-columns: auto 1fr; column-gap: 1.1rem;
  align-items: center; padding: 2rem 0 1.25rem; }
article > header > div { grid-column: 2; }
article > header > div:only-child { grid-column: 1 / -1; }
.icon { display: block; background: #fff; border: 1px solid var(--line); border-radius: 10px;
  padding: 5px; }
.type { margin: .3rem 0 0; color: var(--soft); max-width: none; }
.type code { color: var(--ink); }
.tag { display: inline-block; border: 1px solid currentColor; border-radius: 999px;
  padding: 0 .55em; font-size: .75rem; line-height: 1.5; color: var(--warm); white-space: nowrap; }
.toc ul { display: flex; flex-wrap: wrap; gap: .25rem 1.25rem; list-style: none; margin: 0 0 1rem;
  padding: 0; }
)";

// On a narrow page each row becomes a card; explicit roles keep the table readable for screen
// readers.
constexpr std::string_view tables =
    R"(table { width: 100%; border-collapse: collapse; background: var(--card);
  border: 1px solid var(--line); font-size: .925rem; table-layout: fixed; }
th, td { text-align: left; vertical-align: top; padding: .5rem .7rem; overflow-wrap: anywhere; }
thead th { background: var(--band); font-size: .8rem; color: var(--soft); font-weight: 600;
  overflow-wrap: normal; }
tbody tr { border-top: 1px solid var(--line); }
tbody th { font-weight: 600; }
tbody th > span { display: inline-block; margin-right: .5em; }
tbody th code { font-weight: 400; color: var(--soft); }
.outputs th code { color: inherit; font-weight: 600; }
tbody th[scope=rowgroup] { background: var(--mark); padding-block: .35rem; }
td p { margin: 0 0 .4rem; }
td p:last-child { margin: 0; }
td ul { list-style: none; margin: 0; padding: 0; display: flex; flex-wrap: wrap; gap: .1rem .6rem; }
td ul code { background: var(--code); border-radius: 4px; padding: 0 .3em; }
.range + ul { margin-top: .3rem; }
.d1 { padding-left: 1.6rem; } .d2 { padding-left: 2.5rem; } .d3 { padding-left: 3.4rem; }
.d4 { padding-left: 4.3rem; }
tbody th[class*=" d"] { position: relative; }
tbody th[class*=" d"]::before { content: ""; position: absolute; inset-block: .4rem;
  margin-left: -.75rem; border-left: 2px solid var(--line); }
tr:target { background: var(--mark); }
.c-kind { width: 11%; } .c-default { width: 15%; } .c-range { width: 17%; } .c-unit { width: 7.5%; }
.c-name { width: 21%; }
.outputs .c-name { width: 35%; } .outputs .c-kind { width: auto; }
pre { background: var(--code); border: 1px solid var(--line); border-radius: 6px; margin: 0;
  padding: .9rem 1rem; overflow-x: auto; line-height: 1.5; tab-size: 4; }
pre code { overflow-wrap: normal; }
)";

constexpr std::string_view devices = R"(@media (max-width: 46rem) {
  main, body > nav { padding-inline: 1rem; }
  main { padding-bottom: 2rem; }
  h1 { font-size: 1.55rem; }
  article > header { padding: 1.25rem 0 1rem; }
  table, tbody, tr, th, td { display: block; width: auto; }
  thead { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); }
  table { border: 0; background: none; }
  tbody tr { border: 1px solid var(--line); border-radius: 8px; background: var(--card);
    margin: 0 0 .6rem; padding: .55rem .8rem; }
  tbody tr.group { border: 0; background: none; padding: .5rem 0 0; margin: 0 0 .4rem; }
  tbody th[scope=rowgroup] { background: none; }
  th, td { padding: 0; }
  table [class^="c-"] { width: auto; padding: 0; }
  tbody tr { display: flex; flex-wrap: wrap; gap: .15rem 1.1rem; align-items: baseline; }
  tbody th, td.c-help { flex-basis: 100%; }
  tbody td { font-size: .9rem; }
  tbody td::before { content: attr(data-h) " "; color: var(--soft); font-size: .8rem; }
  tbody td.c-help::before { content: none; }
  tbody td:empty { display: none; }
  td ul { display: inline-flex; }
  tbody .in1 { margin-left: .8rem; } tbody .in2 { margin-left: 1.6rem; }
  tbody .in3, tbody .in4 { margin-left: 2.4rem; }
  tbody th[class*=" d"]::before { content: none; }
}
@media print {
  :root { color-scheme: light; --page: #fff; --card: #fff; --ink: #000; --soft: #444; --line: #aaa;
    --band: #eee; --code: #f4f4f4; --link: #000; --mark: #eee; --warm: #000; }
  @page { margin: 16mm; }
  body { font-size: 10pt; }
  main { max-width: none; padding: 0 1px; }
  h1 { font-size: 20pt; } h2 { font-size: 13pt; margin-top: 16pt; }
  h3 { font-size: 11pt; margin-top: 10pt; }
  table { font-size: 8.5pt; line-height: 1.4; }
  th, td { padding: 3pt 4pt; }
  thead th { font-size: 8pt; }
  .d1 { padding-left: 14pt; } .d2 { padding-left: 22pt; } .d3, .d4 { padding-left: 30pt; }
  nav, .search { display: none; }
  article > header { padding-top: 0; }
  h2, h3 { break-after: avoid; }
  tr, pre, img { break-inside: avoid; }
  thead { display: table-header-group; }
  pre { white-space: pre-wrap; }
  a { text-decoration: none; }
}
@media (prefers-reduced-motion: no-preference) { html { scroll-behavior: smooth; } }
)";

} // namespace

void openPage(StringIO& out, const PageHead& head) {
    out.append("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
               "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
               "img-src data:; style-src 'unsafe-inline'; ");
    if (!head.scriptHash.empty()) out.append("script-src '").append(head.scriptHash).append("'; ");
    out.append("base-uri 'none'; form-action 'none'\">\n"
               "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
               "<meta name=\"color-scheme\" content=\"light dark\">\n");
    appendElement(out, "title", head.title);
    out.append("\n<style>\n")
        .append(colors)
        .append(texts)
        .append(tables)
        .append(devices)
        .append(head.style);
    out.append("</style>\n</head>\n<body>\n");
}

void closePage(StringIO& out) {
    out.append("</body>\n</html>\n");
}

} // namespace qv::kelvo_sdk::html
