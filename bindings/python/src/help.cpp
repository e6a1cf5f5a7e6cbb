#include "bindings/python/src/errors.h"

#include <pybind11/functional.h>
#include <pybind11/stl.h>

#include <vector>

// Help on node types, and the layout of their inputs.
namespace qv::python {

namespace {

template<class Items>
py::list listOf(const Items& items) {
    py::list all;
    for (const auto& item : items)
        all.append(item);
    return all;
}

void addRows(py::module_& module) {
    py::class_<HelpRow>(module, "HelpRow", "The help on one input, as plain texts.")
        .def_readonly("depth", &HelpRow::depth, "The level below the node, from 0.")
        .def_readonly("name", &HelpRow::name)
        .def_readonly("label", &HelpRow::label)
        .def_readonly("kind", &HelpRow::kind)
        .def_readonly("default", &HelpRow::defaultText)
        .def_readonly("range", &HelpRow::range, "\"0 to 1\", \"at least 0\"; empty without bounds.")
        .def_readonly("choices", &HelpRow::choices)
        .def_readonly("unit", &HelpRow::unit)
        .def_readonly("help", &HelpRow::help)
        .def_readonly("is_read_only", &HelpRow::isReadOnly);
    py::class_<HelpGroup>(module, "HelpGroup", "Inputs under one heading, or under none.")
        .def_readonly("label", &HelpGroup::label)
        .def_readonly("rows", &HelpGroup::rows);
    py::class_<HelpPage>(module, "HelpPage", "A page of the help on a node type.")
        .def_readonly("label", &HelpPage::label)
        .def_readonly("groups", &HelpPage::groups);
}

void addLayout(py::module_& module) {
    py::class_<LayoutGroup>(module, "LayoutGroup", "Inputs under one heading, or under none.")
        .def_readonly("name", &LayoutGroup::name)
        .def_readonly("label", &LayoutGroup::label)
        .def_property_readonly("inputs", [](const LayoutGroup& g) { return listOf(g.inputs); });
    py::class_<LayoutPage>(module, "LayoutPage", "A page of inputs, as editors show them.")
        .def_readonly("name", &LayoutPage::name)
        .def_readonly("label", &LayoutPage::label)
        .def_property_readonly("groups", [](const LayoutPage& p) { return listOf(p.groups); });
    method(
        s_nodeType, "layout_pages",
        [](const LiveNode& node, const String& l) { return listOf(node.layoutPages(l)); },
        py::arg("language") = String("auto"),
        "Returns the pages of the layout, which need not have all inputs.");
}

} // namespace

void addHelp(py::module_& module) {
    addRows(module);
    addLayout(module);
    method(
        s_nodeType, "help_title", [](const LiveNode& node) { return helpTitle(node); },
        "Returns the label of the type, or the type when it has none.");
    method(
        s_nodeType, "help_pages", [](const LiveNode& node) { return helpPages(node); },
        "Returns the help on the inputs by page and group.");
    method(
        s_nodeType, "help_example", [](const LiveNode& node) { return helpExample(node); },
        "Returns scene text that shows how to write such a node.");
    method(
        s_nodeType, "site_help",
        [](const LiveNode& node, const String& index, const String& indexText,
           const std::function<String(const String&)>& pageOf, const std::vector<String>& derived) {
            return helpSitePage(node, {index, indexText, pageOf, derived});
        },
        py::kw_only(), py::arg("index") = String(), py::arg("index_text") = String(),
        py::arg("page_of") = py::none(), py::arg("derived") = std::vector<String>(),
        "Returns the help of the type as an HTML page of a site: `index` is the address of the "
        "index, `page_of` gives the address of the page of a type, `derived` has the types that "
        "have this one as a base.");
}

} // namespace qv::python
