#include "tools/kelvo/diff_text.h"

#include <algorithm>
#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::SceneChange;
using Action = SceneChange::Action;
using Subject = SceneChange::Subject;

constexpr u64 kMostBytes = 72;

// Counts the tuples of a buffer or, if it has none, its numbers.
u64 elementCount(std::string_view buffer) {
    const auto tuples = std::ranges::count(buffer, '(');
    const auto spaces = std::ranges::count(buffer, ' ');
    return static_cast<u64>(tuples != 0 ? tuples : spaces + 1);
}

bool isBuffer(std::string_view text) {
    return text.starts_with('[') && text.ends_with(']') &&
           text.find_first_of(",\"{") == std::string_view::npos;
}

// Cuts between characters; cuts a buffer after an element.
std::string_view cut(std::string_view text, bool isList) {
    u64 length = kMostBytes / 2;
    if (isList)
        if (const u64 end = text.rfind(text.starts_with("[(") ? ')' : ' ', length);
            end > 1 && end != std::string_view::npos)
            return text.substr(0, end + (text[end] == ')' ? 1 : 0));
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xc0u) == 0x80u)
        --length;
    return text.substr(0, length);
}

std::string counted(u64 count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

// Prints "path field", or the path alone for the field "value".
void writePlace(const SceneChange& change, Terminal& out) {
    out.write(Tone::Name, change.subject == Subject::Scene ? "scene" : change.path.view());
    if (change.subject == Subject::Output) out.write(" (output)");
    if (change.action == Action::Change && change.field != "value")
        out.write(" ").write(Tone::Kind, change.field.view());
    out.write(": ");
}

String position(const SceneChange& change, const std::optional<String>& place) {
    if (change.subject == Subject::Element) return "index " + place.value_or("");
    return place ? "behind " + *place : String("first");
}

void writePair(const String& before, const String& after, Terminal& out) {
    out.write(Tone::Value, before.view()).write(" -> ").write(Tone::Value, after.view());
}

void writeChange(const SceneChange& change, Terminal& out) {
    const bool isAdded = change.action == Action::Add;
    const bool isWhole = isAdded || change.action == Action::Remove;
    out.write(isAdded ? "+ " : isWhole ? "- " : "~ ");
    writePlace(change, out);
    if (isWhole)
        out.write(Tone::Value, shortText(isAdded ? change.after : change.before).view());
    else if (change.action == Action::Move)
        writePair(position(change, change.before), position(change, change.after), out);
    else if (change.action == Action::Rename)
        out.write("renamed to ").write(Tone::Name, change.after.value_or("").view());
    else
        writePair(shortText(change.before), shortText(change.after), out);
    out.endLine();
}

// Returns the first line with content of a text of several lines.
String shortLines(std::string_view text) {
    const u64 lines = static_cast<u64>(std::ranges::count(text, '\n')) + !text.ends_with('\n');
    while (text.starts_with('\n') || (text.starts_with('#') && text.find("\n") + 1 < text.size()))
        text.remove_prefix(text.find('\n') + 1);
    const std::string first(text.substr(0, text.find('\n')));
    return String(std::string_view(first + (lines > 1 ? " ... " + counted(lines, "line") : "")));
}

} // namespace

String shortText(const std::optional<String>& text) {
    if (!text) return "nothing";
    const std::string_view view = text->view();
    if (view.find('\n') != std::string_view::npos) return shortLines(view);
    if (view.empty()) return "set";
    if (view.size() <= kMostBytes) return *text;
    const bool isList = isBuffer(view);
    const std::string size =
        isList ? counted(elementCount(view), "element") : counted(view.size(), "byte");
    return String(cut(view, isList)) + (isList ? " ...] " : "... ") + std::string_view(size);
}

void writeChanges(const kelvo_sdk::SceneDiff& diff, Terminal& out) {
    for (const SceneChange& change : diff.changes()) {
        if (out.isClosed()) return;
        writeChange(change, out);
    }
}

} // namespace qv::kelvo_tool
