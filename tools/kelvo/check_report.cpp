#include "tools/kelvo/check_report.h"

#include "tools/kelvo/files.h"
#include "tools/kelvo/json_text.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::Diagnostic;
using kelvo_sdk::Severity;
using kelvo_sdk::severityName;

CheckFinding::CheckFinding(const kelvo_sdk::Finding& finding)
    : rule(finding.rule),
      node(finding.node.name()),
      place(finding.place),
      message(finding.message),
      fix(finding.fix ? finding.fix->text() : String()) {}

CheckFinding::CheckFinding(const kelvo_sdk::SnapshotFinding& finding)
    : rule(finding.rule),
      node(finding.node.name()),
      place(finding.place),
      message(finding.message),
      fix(finding.fix) {}

u64 CheckedFile::count(Severity severity) const noexcept {
    return static_cast<u64>(std::ranges::count_if(
        left, [=](const CheckFinding& finding) { return finding.rule->severity == severity; }));
}

u64 CheckedFile::errorCount() const noexcept {
    return count(Severity::Error) + std::max(errors.size(), gapCount) + (fault.isEmpty() ? 0 : 1);
}

const kelvo_sdk::ValidationRule& unreadableRule() noexcept {
    static constexpr kelvo_sdk::ValidationRule rule{
        "unreadable", Severity::Error, "A file cannot be read, or its text is no scene.", nullptr};
    return rule;
}

namespace {

void writeStart(JsonText& json, const kelvo_sdk::ValidationRule& rule, const String& node,
                const String& place, const String& message) {
    json.beginObject().member("rule", rule.id).member("severity", severityName(rule.severity));
    json.member("node", node).member("place", place).member("message", message);
}

void writeFinding(JsonText& json, const CheckFinding& finding, bool isFixed) {
    writeStart(json, *finding.rule, finding.node, finding.place, finding.message);
    json.key("fix");
    if (finding.fix.isEmpty())
        json.null();
    else
        json.text(finding.fix.view());
    json.key("isFixed").boolean(isFixed).endObject();
}

void writeUnreadable(JsonText& json, const Diagnostic& error) {
    writeStart(json, unreadableRule(), error.node, error.node, error.message);
    json.key("fix").null().key("isFixed").boolean(false);
    if (error.line != 0) json.key("line").number(error.line).key("column").number(error.column);
    json.endObject();
}

void writeFile(JsonText& json, const CheckReport& report, const CheckedFile& file) {
    json.beginObject().member("file", displayed(file.file)).key("nodes").number(file.nodes);
    json.key("errors").number(file.errorCount());
    json.key("warnings").number(file.count(Severity::Warning));
    json.key("notes").number(file.count(Severity::Note));
    json.key("findings").beginList();
    if (!file.fault.isEmpty()) {
        Diagnostic fault;
        fault.message = file.fault;
        writeUnreadable(json, fault);
    }
    for (const Diagnostic& error : file.errors)
        writeUnreadable(json, error);
    for (const CheckFinding& finding : file.fixed)
        writeFinding(json, finding, true);
    for (const CheckFinding& finding : file.left)
        if (report.tells(finding)) writeFinding(json, finding, false);
    json.endList().endObject();
}

} // namespace

String jsonOf(const CheckReport& report) {
    JsonText json;
    json.beginObject().key("files").beginList();
    for (const CheckedFile& file : report.files)
        writeFile(json, report, file);
    json.endList().endObject();
    return json.take();
}

} // namespace qv::kelvo_tool
