#include "bindings/python/src/library.h"
#include "bindings/python/src/snapshot_views.h"
#include "bindings/python/src/use.h"

#include "kelvo/sdk/validation.h"

#include <pybind11/stl.h>

// Validation.
namespace qv::python {

namespace {

ValidationOptions optionsOf(const py::object& fileExists, bool needsTypes) {
    ValidationOptions options{.needsTypes = needsTypes};
    if (fileExists.is_none()) return options;
    // The function may be called without the interpreter lock; its references are those of the
    // call.
    const PyObject* function = fileExists.ptr();
    options.fileExists = [function](const String& path) {
        const py::gil_scoped_acquire lock;
        return PyObject_IsTrue(py::handle(const_cast<PyObject*>(function))(path).ptr()) == 1;
    };
    return options;
}

std::vector<Finding> listOf(const Findings& findings) {
    return {findings.begin(), findings.end()};
}

std::vector<Finding> validateScene(const LiveScene& scene, const py::object& fileExists,
                                   bool needsTypes) {
    const ValidationOptions options = optionsOf(fileExists, needsTypes);
    const LongRead use(scene);
    return listOf(validate(scene, options));
}

py::list validateSnapshot(const Snapshot& snapshot, const py::object& fileExists, bool needsTypes,
                          const py::object& libraries) {
    ValidationOptions options = optionsOf(fileExists, needsTypes);
    const auto known = librariesOf(libraries);
    options.libraries.assign(known.begin(), known.end());
    SnapshotFindings found;
    {
        const py::gil_scoped_release unlocked;
        found = validate(snapshot, options);
    }
    py::list all;
    for (const SnapshotFinding& finding : found) {
        const auto rule = py::cast(finding.rule, py::return_value_policy::reference);
        const auto fix = finding.fix.isEmpty() ? py::object(py::none()) : py::cast(finding.fix);
        all.append(py::make_tuple(rule, viewOf(snapshot, finding.node), finding.place,
                                  finding.message, fix));
    }
    return all;
}

Severity severityOf(const std::string& name) {
    for (const Severity severity : {Severity::Note, Severity::Warning, Severity::Error})
        if (name == severityName(severity)) return severity;
    raise(ErrorKind::Value, String("There is no severity '") + std::string_view(name) +
                                "': expected note, warning or error.");
}

py::tuple fix(const LiveScene& scene, const std::string& least, const py::object& fileExists,
              bool needsTypes) {
    const ValidationOptions options = optionsOf(fileExists, needsTypes);
    const Severity severity = severityOf(least);
    FixReport report;
    {
        const LongEdit use(scene);
        report = fixFindings(scene, severity, options);
    }
    return py::make_tuple(listOf(report.fixed), listOf(report.left));
}

void applyFix(const Finding& finding) {
    if (!finding.fix) raise(ErrorKind::Refused, "The finding has no fix: " + finding.message);
    const Edit edit(finding.node.scene());
    check(finding.fix->apply());
}

void addRule(py::module_& module) {
    py::class_<ValidationRule>(module, "Rule", "A rule that scenes are checked by.")
        .def_property_readonly("id", [](const ValidationRule& rule) { return rule.id; })
        .def_property_readonly(
            "severity", [](const ValidationRule& rule) { return severityName(rule.severity); },
            "\"note\", \"warning\" or \"error\".")
        .def_property_readonly("summary", [](const ValidationRule& rule) { return rule.summary; })
        .def_property_readonly(
            "fix", [](const ValidationRule& rule) { return rule.fix; },
            "How a finding is fixed; None without a fix.");
    module.def(
        "rules",
        [] {
            py::list all;
            for (const ValidationRule& rule : validationRules())
                all.append(py::cast(&rule, py::return_value_policy::reference));
            return all;
        },
        "Returns all rules.");
}

} // namespace

void addFindings(py::module_& module) {
    addRule(module);
    py::class_<Finding>(module, "Finding", "A place where a scene breaks a rule.")
        .def_property_readonly("rule",
                               [](const Finding& finding) {
                                   return py::cast(finding.rule,
                                                   py::return_value_policy::reference);
                               })
        .def_property_readonly(
            "severity", [](const Finding& finding) { return severityName(finding.rule->severity); })
        .def_readonly("node", &Finding::node, "The node; None for the scene as a whole.")
        .def_readonly("place", &Finding::place, "The path, such as \"room.children[0]\".")
        .def_readonly("message", &Finding::message, "A sentence that names the node or input.")
        .def_property_readonly(
            "fix_text",
            [](const Finding& finding) -> std::optional<String> {
                if (!finding.fix) return std::nullopt;
                return finding.fix->text();
            },
            "The edit that fixes it; None without a fix.")
        .def("fix", &applyFix, "Edits the scene so that the finding is gone.")
        .def("__repr__", [](const Finding& finding) {
            return py::str("<kelvo.Finding ") + py::str(severityName(finding.rule->severity)) +
                   py::str(" ") + py::str(finding.rule->id) + py::str(": ") +
                   py::str(py::cast(finding.message)) + py::str(">");
        });
    method(s_sceneType, "_validate", &validateScene);
    module.def("_validate_snapshot", &validateSnapshot);
    method(s_sceneType, "_fix", &fix);
    module.def("_breaks", &breaks);
}

} // namespace qv::python
