#include "tools/kelvo/check_report.h"

#include "tools/kelvo/files.h"
#include "tools/kelvo/json_text.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::Diagnostic;
using kelvo_sdk::severityName;
using kelvo_sdk::ValidationRule;

namespace {

// A result also refers to its rule by its index in the list.
u64 indexOf(const ValidationRule& rule) {
    const auto rules = kelvo_sdk::validationRules();
    const auto found =
        std::ranges::find(rules, &rule, [](const ValidationRule& known) { return &known; });
    return static_cast<u64>(found - rules.begin());
}

bool standsInUri(unsigned char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') ||
           std::string_view("-._~/").find(static_cast<char>(byte)) != std::string_view::npos;
}

// Returns a file name as a URI reference.
String uriOf(const String& file) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    StringIO uri;
    if (file.view().starts_with('/')) uri.append("file://");
    for (const char c : file) {
        const auto byte = static_cast<unsigned char>(c);
        if (standsInUri(byte))
            uri.append(c);
        else
            uri.append('%').append(digits[byte >> 4]).append(digits[byte & 15]);
    }
    return uri.take();
}

void writeText(JsonText& json, std::string_view name, const char* text) {
    json.key(name).beginObject().member("text", text).endObject();
}

void writeRule(JsonText& json, const ValidationRule& rule) {
    json.beginObject().member("id", rule.id);
    writeText(json, "shortDescription", rule.summary);
    if (rule.fix) writeText(json, "help", rule.fix);
    json.key("defaultConfiguration").beginObject();
    json.member("level", severityName(rule.severity)).endObject().endObject();
}

void writeDriver(JsonText& json) {
    json.key("tool").beginObject().key("driver").beginObject();
    json.member("name", "kelvo").member("version", KELVO_VERSION).key("rules").beginList();
    for (const ValidationRule& rule : kelvo_sdk::validationRules())
        writeRule(json, rule);
    writeRule(json, unreadableRule());
    json.endList().endObject().endObject();
}

void writeStart(JsonText& json, const ValidationRule& rule, const String& message) {
    json.beginObject().member("ruleId", rule.id).key("ruleIndex").number(indexOf(rule));
    json.member("level", severityName(rule.severity));
    writeText(json, "message", message.buf());
    json.key("locations").beginList().beginObject();
}

// The standard input has no file location.
void writeFilePlace(JsonText& json, const String& file, u64 line, u64 column) {
    if (isStream(file)) return;
    json.key("physicalLocation").beginObject().key("artifactLocation").beginObject();
    json.member("uri", uriOf(file)).endObject();
    if (line != 0) {
        json.key("region").beginObject().key("startLine").number(line);
        json.key("startColumn").number(column).endObject();
    }
    json.endObject();
}

void writeScenePlace(JsonText& json, const String& place) {
    if (place.isEmpty()) return;
    json.key("logicalLocations").beginList().beginObject();
    json.member("fullyQualifiedName", place).endObject().endList();
}

void writeEnd(JsonText& json) {
    json.endObject().endList().endObject();
}

void writeResults(JsonText& json, const CheckReport& report, const CheckedFile& file) {
    if (!file.fault.isEmpty()) {
        writeStart(json, unreadableRule(), file.fault);
        writeFilePlace(json, file.file, 0, 0);
        writeEnd(json);
    }
    for (const Diagnostic& error : file.errors) {
        writeStart(json, unreadableRule(), error.message);
        writeFilePlace(json, file.file, error.line, error.column);
        writeScenePlace(json, error.node);
        writeEnd(json);
    }
    for (const CheckFinding& finding : file.left) {
        if (!report.tells(finding)) continue;
        writeStart(json, *finding.rule, finding.message);
        writeFilePlace(json, file.file, 0, 0);
        writeScenePlace(json, finding.place);
        writeEnd(json);
    }
}

} // namespace

String sarifOf(const CheckReport& report) {
    JsonText json;
    json.beginObject();
    json.member("$schema", "https://json.schemastore.org/sarif-2.1.0.json");
    json.member("version", "2.1.0").key("runs").beginList().beginObject();
    writeDriver(json);
    const bool isComplete = std::ranges::all_of(
        report.files, [](const CheckedFile& file) { return file.fault.isEmpty(); });
    json.key("invocations").beginList().beginObject();
    json.key("executionSuccessful").boolean(isComplete).endObject().endList();
    json.key("artifacts").beginList();
    for (const CheckedFile& file : report.files) {
        if (isStream(file.file)) continue;
        json.beginObject().key("location").beginObject();
        json.member("uri", uriOf(file.file)).endObject().endObject();
    }
    json.endList().key("results").beginList();
    for (const CheckedFile& file : report.files)
        writeResults(json, report, file);
    json.endList().endObject().endList().endObject();
    return json.take();
}

} // namespace qv::kelvo_tool
