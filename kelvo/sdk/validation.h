#pragma once

#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <functional>
#include <span>
#include <vector>

namespace qv::kelvo_sdk {

/// The severity of a finding: harmless, probably a mistake, or certainly wrong.
enum class Severity : i32 { Note, Warning, Error };

/// Returns "note", "warning" or "error".
[[nodiscard]] QV_EXPORT const char* severityName(Severity severity) noexcept;

/// A rule that scenes are checked by; docs/validation.md lists all rules.
struct ValidationRule {
    /// Lower-case words joined by '-'; does not change between versions.
    const char* id;
    Severity severity;
    /// A sentence that says which places break the rule.
    const char* summary;
    /// A sentence that says how to fix a finding; null when there is no fix.
    const char* fix;
    /// True if findings name parts that could not be checked, because no library defines them.
    bool isUnchecked = false;
};

/// Returns all rules, in the order of docs/validation.md.
[[nodiscard]] QV_EXPORT std::span<const ValidationRule> validationRules() noexcept;

/// The fix of one finding.
class QV_EXPORT FindingFix : public RefCounted {
public:
    explicit FindingFix(String text) : m_text(std::move(text)) {}
    /// Returns a description of the edit: "remove element [0]".
    [[nodiscard]] const String& text() const noexcept { return m_text; }
    /// Edits the scene; fails when there is nothing left to fix or the edit is refused.
    virtual Result apply() = 0;

private:
    String m_text;
};

/// A place where a scene breaks a rule.
struct Finding {
    /// Never null; lives as long as the program.
    const ValidationRule* rule = nullptr;
    /// The node concerned; empty for the scene as a whole.
    Node node;
    /// The path of the node, input or output, such as "room.children[0]"; empty for the scene as a
    /// whole.
    String place;
    /// A whole sentence that names the node or input.
    String message;
    /// Null when there is no fix.
    RefersTo<FindingFix> fix;
};

using Findings = ds::Vector<Finding>;

/// A place where a snapshot, which it borrows, breaks a rule; the same as `Finding` of live nodes.
struct SnapshotFinding {
    const ValidationRule* rule = nullptr;
    SnapshotNode node;
    String place;
    String message;
    /// A description of the edit that would fix it; empty when there is no fix.
    String fix;
};

using SnapshotFindings = ds::Vector<SnapshotFinding>;

/// Facts from outside of the scene that the validation needs.
struct ValidationOptions {
    /// Tells whether there is a file at a path. Unset, files are not checked, as the library does
    /// not use the file system itself.
    std::function<bool(const String& path)> fileExists = {};
    /// In a scene without libraries, reports each node because its type could not be checked; by
    /// default such a scene may have nodes of any type.
    bool needsTypes = false;
    /// The libraries that define the types of a snapshot, in the order in which types are looked
    /// up. A scene has its own, and these do not count.
    std::vector<LibInfo> libraries = {};
};

/// Checks a scene by all rules and returns the findings: node by node in the order of the scene,
/// then those about several nodes. Stops at a scene for which `verify` finds errors. Changes
/// nothing.
[[nodiscard]] QV_EXPORT Findings validate(const Scene& scene,
                                          const ValidationOptions& options = {});

/// Checks a snapshot as the scene that it shows, in less time and memory than it takes to make live
/// nodes of it; any thread may do so. Modifiers are not applied.
[[nodiscard]] QV_EXPORT SnapshotFindings validate(const Snapshot& snapshot,
                                                  const ValidationOptions& options = {});

/// Tells whether a finding of this rule keeps a scene from passing: it is an error or, if
/// `isStrict`, a warning or a part that could not be checked.
[[nodiscard]] QV_EXPORT bool breaks(const ValidationRule& rule, bool isStrict = false) noexcept;
/// Tell whether a scene with these findings passes: there are no errors and, if `isStrict`, no
/// warnings and no parts that could not be checked.
[[nodiscard]] QV_EXPORT bool passes(const Findings& findings, bool isStrict = false) noexcept;
[[nodiscard]] QV_EXPORT bool passes(const SnapshotFindings& findings,
                                    bool isStrict = false) noexcept;

/// The outcome of fixing the findings of a scene.
struct FixReport {
    Findings fixed;
    /// The findings of `validate` afterwards.
    Findings left;
};

/// Applies the fixes of all findings of at least this severity, as one undo step.
QV_EXPORT FixReport fixFindings(const Scene& scene, Severity least = Severity::Note,
                                const ValidationOptions& options = {});

} // namespace qv::kelvo_sdk
