#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/graph/scene_with.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk {

namespace {

constexpr auto note = Severity::Note;
constexpr auto warning = Severity::Warning;
constexpr auto error = Severity::Error;

// In the order of impl::Rule.
constexpr std::array<ValidationRule, 23> rules{{
    {"broken-scene", error, "A law of the scene does not hold: a fault of the program.", nullptr},
    {"abstract-type", error, "A node is of a type that is only a base of others.", nullptr},
    {"misspelled-type", warning, "No library knows a node's type, but one of nearly that name.",
     nullptr, true},
    {"unknown-type", warning, "No library knows a node's type, so nothing was checked against it.",
     nullptr, true},
    {"unknown-attribute", note,
     "A node's type does not define an input or output, so it was not checked.", nullptr, true},
    {"other-kind", warning, "An input or output is of another kind than its type defines.",
     nullptr},
    {"missing-input", warning, "A node lacks an input that its type defines.",
     "Adds the input at its default."},
    {"missing-output", warning, "A node lacks an output that its type defines.",
     "Adds the output."},
    {"out-of-range", warning, "A value is outside its bounds or not among its choices.",
     "Takes the nearest bound or number, or a choice of nearly that name."},
    {"changed-read-only", warning, "A read-only input has another value than its type defines.",
     "Takes the value of the type."},
    {"shadowed-input", note, "An input is never found by name: another of its name is before it.",
     nullptr},
    {"empty-child", warning, "An element of 'children' links to no node.", "Removes the element."},
    {"repeated-child", warning, "A node is listed twice in the same 'children'.",
     "Removes the later element."},
    {"child-cycle", warning, "A node has a child that it is itself below.", nullptr},
    {"empty-modifier", warning, "An element of 'modifiers' links to no node.",
     "Removes the element."},
    {"idle-modifier", warning, "A modifier's type has no callback that modifies.", nullptr},
    {"mesh-mismatch", error, "The buffers of a mesh do not agree.", nullptr},
    {"empty-mesh", note, "A mesh has no positions.", nullptr},
    {"empty-path", note, "A node that stands for a file names none.", nullptr},
    {"missing-file", warning, "A node stands for a file that is not there.", nullptr},
    {"conflict-mark", warning, "A comment marks a conflict of a merge that is still to be settled.",
     nullptr},
    {"unused-node", note, "Nothing reads the outputs of a node or links to it.", nullptr},
    {"lost-reference", warning, "An input leads to a node that is in no scene.",
     "Ends the link or connection."},
}};
static_assert(rules.size() == static_cast<u64>(impl::Rule::LostReference) + 1);

String problems(u64 count) {
    return String(std::string_view(std::to_string(count))) +
           (count == 1 ? " problem" : " problems");
}

bool isFixable(const Finding& finding, Severity least) {
    return finding.fix.get() && finding.rule->severity >= least;
}

} // namespace

const char* severityName(Severity severity) noexcept {
    constexpr const char* names[] = {"note", "warning", "error"};
    return names[static_cast<i32>(severity)];
}

std::span<const ValidationRule> validationRules() noexcept {
    return rules;
}

Findings validate(const Scene& scene, const ValidationOptions& options) {
    if (!scene) return {};
    impl::LiveSource source(impl::implOf(*scene.get()));
    return impl::SceneRules(source, options).findings();
}

SnapshotFindings validate(const Snapshot& snapshot, const ValidationOptions& options) {
    if (!snapshot) return {};
    const auto types = impl::sceneWith(options.libraries);
    impl::SnapshotSource source(*static_cast<const impl::SnapshotPicture*>(snapshot.get()), *types);
    return impl::SceneRules(source, options).findings();
}

bool breaks(const ValidationRule& rule, bool isStrict) noexcept {
    if (!isStrict) return rule.severity == Severity::Error;
    return rule.severity >= Severity::Warning || rule.isUnchecked;
}

bool passes(const Findings& findings, bool isStrict) noexcept {
    return std::ranges::none_of(
        findings, [=](const Finding& finding) { return breaks(*finding.rule, isStrict); });
}

bool passes(const SnapshotFindings& findings, bool isStrict) noexcept {
    return std::ranges::none_of(
        findings, [=](const SnapshotFinding& finding) { return breaks(*finding.rule, isStrict); });
}

FixReport fixFindings(const Scene& scene, Severity least, const ValidationOptions& options) {
    FixReport report;
    report.left = validate(scene, options);
    u64 count = 0;
    for (const Finding& finding : report.left)
        count += isFixable(finding, least) ? 1 : 0;
    if (count == 0) return report;
    const Scene::UndoScope scope(scene, "Fix " + problems(count), "Undo fix of " + problems(count));
    // Backwards, so that removing an element leaves the indices of the findings still to fix valid.
    std::vector<bool> isFixed(report.left.size());
    for (u64 i = report.left.size(); i-- > 0;)
        isFixed[i] = isFixable(report.left[i], least) && report.left[i].fix->apply();
    for (u64 i = 0; i < report.left.size(); ++i)
        if (isFixed[i]) report.fixed.push_back(std::move(report.left[i]));
    report.left = validate(scene, options);
    return report;
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

template<typename Source>
typename SceneRules<Source>::Found SceneRules<Source>::findings() {
    for (const IntegrityError& error : m_source.brokenLaws())
        add(Rule::BrokenScene, {}, error.place,
            (error.place.isEmpty() ? String("the scene") : "'" + error.place + "'") + " " +
                error.message + ".");
    if (!m_findings.empty()) return std::move(m_findings);
    m_source.forEachNode([this](Node node) { checkNode(node); });
    checkCycles();
    checkFileComments();
    return std::move(m_findings);
}

template<typename Source>
void SceneRules<Source>::checkNode(Node node) {
    checkType(node);
    checkValues(node);
    checkMesh(node);
    checkChildren(node);
    checkModifiers(node);
    checkPath(node);
    checkUse(node);
    checkComments(node);
    checkReferences(node);
}

template<typename Source>
void SceneRules<Source>::add(Rule rule, Node node, String place, String message, Fix fix) {
    m_findings.push_back({&rules[static_cast<u64>(rule)], m_source.handleOn(node), std::move(place),
                          std::move(message), std::move(fix)});
}

template class SceneRules<LiveSource>;
template class SceneRules<SnapshotSource>;

String indexText(u64 index) {
    return "[" + String(std::string_view(std::to_string(index))) + "]";
}

} // namespace qv::kelvo_sdk::impl
