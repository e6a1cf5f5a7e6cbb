#include "tools/kelvo/commands.h"

#include "kelvo/base/spelling_suggestion.h"
#include "tools/kelvo/check_report.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/progress_line.h"
#include "tools/kelvo/text_file.h"

#include <algorithm>
#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Finding;
using kelvo_sdk::Scene;
using kelvo_sdk::Severity;

struct CheckOptions {
    StringVector files;
    bool isFixing = false;
    bool isStrict = false;
    bool isPartial = false;
    String severity = "warning";
    String format = "text";
};

String counted(u64 count, const char* what) {
    return String(std::string_view(std::to_string(count))) + " " + what + (count == 1 ? "" : "s");
}

// Returns the index of a word in a list; the list's size, after an error message, if the list lacks
// it.
u64 findWord(const char* what, const String& word, const StringVector& words) {
    SpellingSuggestion near(word.view());
    for (u64 i = 0; i < words.size(); ++i) {
        if (words[i] == word) return i;
        near.offer(words[i].view());
    }
    complain(String("unknown ") + what + " '" + word + "'" + near.question());
    return words.size();
}

// Moves the fixed findings back to the others, because the file was not written.
void takeBack(CheckedFile& file) {
    for (Finding& finding : file.fixed)
        file.left.push_back(std::move(finding));
    file.fixed.clear();
}

// Paths in a scene are relative to the folder of its file.
kelvo_sdk::ValidationOptions validationOf(const String& name) {
    return {.fileExists = [name](const String& path) { return isFileBeside(name, path); }};
}

CheckedFile checkFile(const String& name, const CheckOptions& options, Severity least,
                      const Libraries& libraries, Terminal& out) {
    CheckedFile file;
    file.file = name;
    TextFile text;
    const bool isRead =
        options.isFixing ? text.readToEdit(name, file.fault) : text.read(name, file.fault);
    if (!isRead) return file;
    file.fault = whyNoScene(name, text.text().view());
    if (!file.fault.isEmpty()) return file;
    const ProgressLine line("kelvo: checking " + displayed(name));
    const Scene scene = Scene::create();
    libraries.addTo(scene);
    const kelvo_sdk::ReadReport report =
        scene.read(text.text(), displayed(name), {.isPartial = options.isPartial}, &file.errors);
    if (!report.isRead) return file;
    file.gapCount = report.gapCount;
    file.nodes = scene.nodeCount();
    if (!options.isFixing) {
        file.left = kelvo_sdk::validate(scene, validationOf(name));
        return file;
    }
    kelvo_sdk::FixReport fixes = kelvo_sdk::fixFindings(scene, least, validationOf(name));
    file.fixed = std::move(fixes.fixed);
    file.left = std::move(fixes.left);
    const String written = scene.text();
    if (isStream(name))
        out.writeData(text.laidOut(written.view()).view());
    else if (!file.fixed.empty() && !text.write(name, written.view(), file.fault))
        takeBack(file);
    return file;
}

// ---- Text ----------------------------------------------------------------------------------

void tellFinding(const String& source, const Finding& finding) {
    const String message = source + ": " + finding.message + " [" + finding.rule->id + "]";
    if (finding.rule->severity == Severity::Error) return complain(message);
    if (finding.rule->severity == Severity::Warning) return warn(message);
    remark(message);
}

// Counts the unchecked parts that are not printed; a clean summary must not hide them.
u64 unreportedUnchecked(const CheckReport& report, const CheckedFile& file) {
    return static_cast<u64>(std::ranges::count_if(file.left, [&](const Finding& finding) {
        return finding.rule->isUnchecked && !report.tells(finding);
    }));
}

String summary(const CheckReport& report, const CheckedFile& file, bool isFixing) {
    String text = counted(file.nodes, "node") + ", " + counted(file.errorCount(), "error") + ", " +
                  counted(file.count(Severity::Warning), "warning");
    if (report.least == Severity::Note)
        text = text + ", " + counted(file.count(Severity::Note), "note");
    if (file.gapCount != 0) text = text + ", " + leftOutText(file.gapCount);
    const u64 unchecked = unreportedUnchecked(report, file);
    if (file.errorCount() == 0 && file.count(Severity::Warning) == 0 && unchecked != 0)
        text = text + ", " + String(std::string_view(std::to_string(unchecked))) + " not checked";
    if (isFixing)
        text = text + ", " + String(std::string_view(std::to_string(file.fixed.size()))) + " fixed";
    return text;
}

// With a scene on the standard output, messages go to the standard error stream alone.
void tellFile(const CheckReport& report, const CheckedFile& file, bool isFixing, Terminal& out) {
    const String source = displayed(file.file);
    if (!file.fault.isEmpty()) complain(file.fault);
    for (const kelvo_sdk::Diagnostic& error : file.errors)
        complain(error.text());
    if (!file.isRead()) return;
    const auto say = [&](const String& message) {
        if (isFixing && isStream(file.file)) return complain(source + ": " + message);
        out.write(source.view()).write(": ").write(message.view()).endLine();
    };
    for (const Finding& finding : file.fixed)
        say("fixed: " + finding.message + " [" + finding.rule->id + "]");
    for (const Finding& finding : file.left)
        if (report.tells(finding)) tellFinding(source, finding);
    say(summary(report, file, isFixing));
}

// ---- The command ---------------------------------------------------------------------------

Status runCheck(const CheckOptions& options, Terminal& out) {
    const StringVector severities{"note", "warning", "error"};
    const StringVector formats{"text", "json", "sarif"};
    const u64 severity = findWord("severity", options.severity, severities);
    const u64 format = findWord("format", options.format, formats);
    if (severity == severities.size() || format == formats.size()) return Status::Usage;
    const bool readsStream = std::ranges::any_of(options.files, &isStream);
    if (options.isFixing && readsStream && format != 0) {
        complain("--fix writes the scene from '-' to the standard output: choose --format text.");
        return Status::Usage;
    }
    const Libraries* libraries = librariesInUse();
    if (!libraries) return Status::Fault;
    CheckReport report;
    report.least = static_cast<Severity>(severity);
    report.isStrict = options.isStrict;
    // A finding that is not printed must not make a file fail.
    if (options.isStrict) report.least = std::min(report.least, Severity::Warning);
    for (const String& name : options.files) {
        report.files.push_back(checkFile(name, options, report.least, *libraries, out));
        if (format == 0) tellFile(report, report.files.back(), options.isFixing, out);
    }
    if (format != 0) out.writeData((format == 1 ? jsonOf(report) : sarifOf(report)).view());
    const auto passes = [&](const CheckedFile& file) { return file.passes(options.isStrict); };
    return std::ranges::all_of(report.files, passes) ? Status::Ok : Status::Fault;
}

} // namespace

void addCheck(CommandLine& line) {
    auto [command, options] = line.add("check", "Tell all that is wrong with scenes", &runCheck);
    (void)command.add("FILE", options.files, "Scene files").required();
    (void)command.add("--fix", options.isFixing,
                      "Put right what can only have been meant one way, and write the file");
    (void)command.add("--strict", options.isStrict,
                      "Fail for warnings as for errors, and for what could not be checked");
    (void)command.add("--partial", options.isPartial,
                      "Check what can be read of a scene with errors, and leave out the rest");
    (void)command.add("--severity", options.severity,
                      "The least that is told, and fixed: note, warning (by default) or error");
    (void)command.add("--format", options.format,
                      "How it is told: text (by default), json or sarif");
    command.addNote(
        "The exit status is 0 without errors, 1 with errors or files that cannot be\n"
        "read, 2 for a wrong command line; warnings and notes do not count. With --strict it\n"
        "is 1 with warnings, too, and with what could not be checked: nodes of types\n"
        "that no library knows, inputs and outputs that a type does not define.");
}

} // namespace qv::kelvo_tool
