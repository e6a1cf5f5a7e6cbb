#pragma once

#include "kelvo/sdk/scene.h"

#include <functional>
#include <span>

namespace qv::kelvo_sdk {

/// How bad something is: of no consequence, probably not meant so, or wrong.
enum class Severity : i32 { Note, Warning, Error };

/// Returns "note", "warning" or "error".
[[nodiscard]] QV_EXPORT const char* severityName(Severity severity) noexcept;

/// Something that scenes are looked through for; docs/validation.md lists them.
struct ValidationRule {
    /// Lower-case words joined by '-'; stays the same in all versions.
    const char* id;
    Severity severity;
    /// A sentence about what the rule finds.
    const char* summary;
    /// A sentence about what a fix does; null when there is none.
    const char* fix;
    /// True when a finding tells of something that could not be checked, as nothing defines it.
    bool isUnchecked = false;
};

/// Returns all rules, in the order of docs/validation.md.
[[nodiscard]] QV_EXPORT std::span<const ValidationRule> validationRules() noexcept;

/// The fix of one finding.
class QV_EXPORT FindingFix : public RefCounted {
public:
    explicit FindingFix(String text) : m_text(std::move(text)) {}
    /// Returns what it does: "remove element [0]".
    [[nodiscard]] const String& text() const noexcept { return m_text; }
    /// Edits the scene; fails when there is nothing left to fix or it is refused.
    virtual Result apply() = 0;

private:
    String m_text;
};

/// One thing that a rule found.
struct Finding {
    /// Never null; lives as long as the program.
    const ValidationRule* rule = nullptr;
    /// Empty when the scene as a whole is concerned.
    Node node;
    /// Path of the node, input or output, as "room.children[0]"; empty for the scene as a whole.
    String place;
    /// A whole sentence that names node or input.
    String message;
    /// Null when there is none.
    RefersTo<FindingFix> fix;
};

using Findings = ds::Vector<Finding>;

/// Facts from outside of a scene that a look through it needs.
struct ValidationOptions {
    /// Tells whether there is a file at a path that a node gives. Files are not looked for without
    /// it, as the library asks no file system.
    std::function<bool(const String& path)> fileExists = {};
    /// Nodes of a scene without libraries were not checked against their types, which is told of
    /// each; by default such a scene may hold any.
    bool needsTypes = false;
};

/// Looks through a scene by all rules: node by node in the order of the scene, then what concerns
/// several. A scene that `verify` finds fault with is looked into no further. Changes nothing.
[[nodiscard]] QV_EXPORT Findings validate(const Scene& scene,
                                          const ValidationOptions& options = {});

/// Tells whether a scene with these findings is good: it has no errors, and when `isStrict`
/// everything could be checked and there are no warnings either.
[[nodiscard]] QV_EXPORT bool passes(const Findings& findings, bool isStrict = false) noexcept;

/// The outcome of fixing the findings of a scene.
struct FixReport {
    Findings fixed;
    /// The findings of `validate` afterwards.
    Findings left;
};

/// Applies the fixes of all findings that are at least that severe, as one undo step.
QV_EXPORT FixReport fixFindings(const Scene& scene, Severity least = Severity::Note,
                                const ValidationOptions& options = {});

} // namespace qv::kelvo_sdk
