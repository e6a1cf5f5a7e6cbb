#pragma once

#include "kelvo/sdk/validation.h"

#include <vector>

namespace qv::kelvo_tool {

/// The findings of a check in one file.
struct CheckedFile {
    /// As the command line has it.
    String file;
    /// Why the file cannot be read or written to; empty when it can.
    String fault;
    /// Errors of its text, which then is no scene, unless there are gaps.
    kelvo_sdk::Diagnostics errors;
    /// Parts of the text that were left out, told or not.
    u64 gapCount = 0;
    u64 nodes = 0;
    kelvo_sdk::Findings fixed;
    kelvo_sdk::Findings left;

    [[nodiscard]] bool isRead() const noexcept {
        return fault.isEmpty() && (errors.empty() || gapCount != 0);
    }
    /// Counts what is left, whether told or not.
    [[nodiscard]] u64 count(kelvo_sdk::Severity severity) const noexcept;
    [[nodiscard]] u64 errorCount() const noexcept;
    [[nodiscard]] bool passes(bool isStrict) const noexcept {
        return isRead() && gapCount == 0 && kelvo_sdk::passes(left, isStrict);
    }
};

/// The findings of a check in all files; less severe findings than `least` are left out of reports.
struct CheckReport {
    std::vector<CheckedFile> files;
    kelvo_sdk::Severity least = kelvo_sdk::Severity::Warning;
    /// Warnings are faults, and so is what could not be checked.
    bool isStrict = false;

    [[nodiscard]] bool tells(const kelvo_sdk::Finding& finding) const noexcept {
        return finding.rule->severity >= least || (isStrict && finding.rule->isUnchecked);
    }
};

/// The rule that files and texts which cannot be read break; of the tool alone.
[[nodiscard]] const kelvo_sdk::ValidationRule& unreadableRule() noexcept;

[[nodiscard]] String jsonOf(const CheckReport& report);
/// Returns a log of the Static Analysis Results Interchange Format, version 2.1.0.
[[nodiscard]] String sarifOf(const CheckReport& report);

} // namespace qv::kelvo_tool
