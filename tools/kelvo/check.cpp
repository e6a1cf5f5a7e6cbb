#include "tools/kelvo/commands.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/sdk/snapshot_reader.h"
#include "tools/kelvo/check_report.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/progress_line.h"
#include "tools/kelvo/scene_hash.h"
#include "tools/kelvo/text_file.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_tool {

namespace {

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
    for (CheckFinding& finding : file.fixed)
        file.left.push_back(std::move(finding));
    file.fixed.clear();
}

// Paths in a scene are relative to the folder of its file.
kelvo_sdk::ValidationOptions validationOf(const String& name) {
    return {.fileExists = [name](const String& path) { return isFileBeside(name, path); }};
}

template<typename AnyFindings>
std::vector<CheckFinding> listOf(const AnyFindings& findings) {
    return {findings.begin(), findings.end()};
}

// Modifiers and callbacks of plug-ins change the values of live nodes alone.
bool needsLiveNodes(const kelvo_sdk::Snapshot& scene, const Libraries& libraries) {
    return libraries.mayChangeNodes() || hasModifiers(scene);
}

/// Checks the text of one file.
class FileCheck {
public:
    /// Borrows everything.
    FileCheck(CheckedFile& file, const CheckOptions& options, const Libraries& libraries)
        : m_file(file), m_options(options), m_libraries(libraries) {}

    /// Forgets the text when it is of no use any more.
    void check(TextFile& text) {
        if (!checkSnapshot(text)) checkLive(text.text());
    }
    /// Returns the text after the fixes; an empty one when it cannot be read.
    [[nodiscard]] String fix(const String& text, Severity least) {
        const Scene scene = Scene::create();
        if (!readLive(scene, text)) return {};
        const auto fixes = kelvo_sdk::fixFindings(scene, least, validationOf(m_file.file));
        m_file.fixed = listOf(fixes.fixed);
        m_file.left = listOf(fixes.left);
        return scene.text();
    }

private:
    // Returns false when live nodes have to be checked.
    bool checkSnapshot(TextFile& text) {
        kelvo_sdk::SnapshotReadOptions reading{.isPartial = m_options.isPartial};
        kelvo_sdk::ValidationOptions validation = validationOf(m_file.file);
        for (const NamedLibrary& each : m_libraries.all())
            reading.libraries.push_back(each.library);
        validation.libraries = reading.libraries;
        const kelvo_sdk::SnapshotReport report = kelvo_sdk::readSnapshot(
            text.text().view(), displayed(m_file.file), reading, &m_file.errors);
        if (!report.isRead) return true;
        if (needsLiveNodes(report.snapshot, m_libraries)) return false;
        text.forget();
        m_file.gapCount = report.gapCount;
        m_file.nodes = report.snapshot.nodeCount();
        m_file.left = listOf(kelvo_sdk::validate(report.snapshot, validation));
        return true;
    }

    void checkLive(const String& text) {
        m_file.errors.clear();
        const Scene scene = Scene::create();
        if (readLive(scene, text))
            m_file.left = listOf(kelvo_sdk::validate(scene, validationOf(m_file.file)));
    }

    bool readLive(const Scene& scene, const String& text) {
        m_libraries.addTo(scene);
        const kelvo_sdk::ReadReport report = scene.read(
            text, displayed(m_file.file), {.isPartial = m_options.isPartial}, &m_file.errors);
        if (!report.isRead) return false;
        m_file.gapCount = report.gapCount;
        m_file.nodes = scene.nodeCount();
        return true;
    }

    CheckedFile& m_file;
    const CheckOptions& m_options;
    const Libraries& m_libraries;
};

void fixFile(CheckedFile& file, FileCheck& check, TextFile& text, Severity least, Terminal& out) {
    const String written = check.fix(text.text(), least);
    if (!file.isRead()) return;
    if (isStream(file.file))
        out.writeData(text.laidOut(written.view()).view());
    else if (!file.fixed.empty() && !text.write(file.file, written.view(), file.fault))
        takeBack(file);
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
    FileCheck check(file, options, libraries);
    if (options.isFixing)
        fixFile(file, check, text, least, out);
    else
        check.check(text);
    return file;
}

// ---- Text ----------------------------------------------------------------------------------

void tellFinding(const String& source, const CheckFinding& finding) {
    const String message = source + ": " + finding.message + " [" + finding.rule->id + "]";
    if (finding.rule->severity == Severity::Error) return complain(message);
    if (finding.rule->severity == Severity::Warning) return warn(message);
    remark(message);
}

// Counts the unchecked parts that are not printed; a clean summary must not hide them.
u64 unreportedUnchecked(const CheckReport& report, const CheckedFile& file) {
    return static_cast<u64>(std::ranges::count_if(file.left, [&](const CheckFinding& finding) {
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
    for (const CheckFinding& finding : file.fixed)
        say("fixed: " + finding.message + " [" + finding.rule->id + "]");
    for (const CheckFinding& finding : file.left)
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
