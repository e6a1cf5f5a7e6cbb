#pragma once

#include "kelvo/sdk/validation.h"

#include <algorithm>
#include <vector>

namespace qv::kelvo_tool {

/// A finding in live nodes or in a snapshot, which need not exist any more.
struct CheckFinding {
    CheckFinding(const kelvo_sdk::Finding& finding);
    CheckFinding(const kelvo_sdk::SnapshotFinding& finding);

    const kelvo_sdk::ValidationRule* rule;
    /// The name of the node.
    String node;
    String place;
    String message;
    /// Empty when there is no fix.
    String fix;
};

/// The findings of a check in one file.
struct CheckedFile {
    /// The file name as on the command line.
    String file;
    /// The reason why the file cannot be read or written; empty when it can.
    String fault;
    /// Errors in the text; with errors and without gaps it is no scene.
    kelvo_sdk::Diagnostics errors;
    /// The number of parts of the text that were left out, printed or not.
    u64 gapCount = 0;
    u64 nodes = 0;
    std::vector<CheckFinding> fixed;
    std::vector<CheckFinding> left;

    [[nodiscard]] bool isRead() const noexcept {
        return fault.isEmpty() && (errors.empty() || gapCount != 0);
    }
    /// Counts the findings that remain, printed or not.
    [[nodiscard]] u64 count(kelvo_sdk::Severity severity) const noexcept;
    [[nodiscard]] u64 errorCount() const noexcept;
    [[nodiscard]] bool passes(bool isStrict) const noexcept {
        return isRead() && gapCount == 0 &&
               std::ranges::none_of(left, [=](const CheckFinding& finding) {
                   return kelvo_sdk::breaks(*finding.rule, isStrict);
               });
    }
};

/// The findings of a check in all files. Reports leave out findings less severe than `least`.
struct CheckReport {
    std::vector<CheckedFile> files;
    kelvo_sdk::Severity least = kelvo_sdk::Severity::Warning;
    /// Makes warnings, and parts that could not be checked, count as errors.
    bool isStrict = false;

    [[nodiscard]] bool tells(const CheckFinding& finding) const noexcept {
        return finding.rule->severity >= least || (isStrict && finding.rule->isUnchecked);
    }
};

/// Returns the rule of the tool for files that cannot be read, and texts that are no scene.
[[nodiscard]] const kelvo_sdk::ValidationRule& unreadableRule() noexcept;

[[nodiscard]] String jsonOf(const CheckReport& report);
/// Returns a log of the Static Analysis Results Interchange Format, version 2.1.0.
[[nodiscard]] String sarifOf(const CheckReport& report);

} // namespace qv::kelvo_tool
