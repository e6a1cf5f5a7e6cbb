#include "tools/kelvo/diff_json.h"

#include "kelvo/base/string_io.h"

#include <nlohmann/json.hpp>

namespace qv::kelvo_tool {

namespace {

using Json = nlohmann::ordered_json;
using kelvo_sdk::MergeConflict;
using kelvo_sdk::SceneChange;
using kelvo_sdk::SceneDiff;
using Action = SceneChange::Action;
using Subject = SceneChange::Subject;

constexpr const char* kFormat = "kelvo diff 1";

Json textOrNull(const std::optional<String>& text) {
    return text ? Json(text->buf()) : Json(nullptr);
}

Json fieldsOf(const SceneChange& change) {
    Json made;
    made["action"] = kelvo_sdk::sceneActionName(change.action);
    made["what"] = kelvo_sdk::sceneSubjectName(change.subject);
    made["path"] = change.path.buf();
    if (change.action == Action::Change) made["field"] = change.field.buf();
    if (change.action != Action::Add) made["before"] = textOrNull(change.before);
    if (change.action == Action::Add && change.subject != Subject::Element)
        made["behind"] = textOrNull(change.behind);
    if (change.action != Action::Remove) made["after"] = textOrNull(change.after);
    return made;
}

Json fieldsOf(const MergeConflict& conflict) {
    Json made;
    made["path"] = conflict.path.buf();
    made["field"] = conflict.field.buf();
    made["base"] = textOrNull(conflict.base);
    made["mine"] = textOrNull(conflict.mine);
    made["theirs"] = textOrNull(conflict.theirs);
    made["reason"] = conflict.reason.buf();
    return made;
}

template<typename Things>
String listed(const char* format, const char* name, const Things& things) {
    StringIO out;
    out.append("{\n  \"format\": \"").append(format).append("\",\n  \"").append(name);
    out.append("\": [");
    const char* separator = "\n    ";
    for (const auto& thing : things) {
        out.append(separator).append(std::string_view(fieldsOf(thing).dump()));
        separator = ",\n    ";
    }
    return out.append(things.empty() ? "]\n}\n" : "\n  ]\n}\n").take();
}

/// Reads the fields of one change.
class ChangeReader {
public:
    explicit ChangeReader(const Json& json) : m_json(json) {}

    bool read(SceneChange& change, std::string& problem) {
        if (!m_json.is_object()) return fail("it is no object", problem);
        const bool isNamed =
            readName("action", kelvo_sdk::sceneActionName, 5, change.action, problem) &&
            readName("what", kelvo_sdk::sceneSubjectName, 5, change.subject, problem);
        if (!isNamed) return false;
        std::optional<String> path;
        std::optional<String> field;
        const bool isRead = readText("path", path, problem) && readText("field", field, problem) &&
                            readText("before", change.before, problem) &&
                            readText("after", change.after, problem) &&
                            readText("behind", change.behind, problem);
        if (!isRead) return false;
        const bool hasField = change.action == Action::Change;
        if (!path) return fail("it has no \"path\"", problem);
        if (hasField && !field) return fail("it has no \"field\"", problem);
        change.path = *path;
        change.field = field.value_or(String());
        return true;
    }

private:
    static bool fail(std::string what, std::string& problem) {
        problem = std::move(what);
        return false;
    }

    template<typename Value>
    bool readName(const char* key, const char* (*nameOf)(Value) noexcept, int count, Value& value,
                  std::string& problem) {
        std::optional<String> name;
        if (!readText(key, name, problem)) return false;
        for (int i = 0; name && i < count; ++i) {
            if (*name != nameOf(static_cast<Value>(i))) continue;
            value = static_cast<Value>(i);
            return true;
        }
        return fail(
            std::string("its \"") + key + "\" is " +
                (name ? "'" + std::string(name->view()) + "', which is unknown" : "missing"),
            problem);
    }

    // JSON null means no text.
    bool readText(const char* key, std::optional<String>& text, std::string& problem) {
        const auto found = m_json.find(key);
        if (found == m_json.end() || found->is_null()) return true;
        if (!found->is_string())
            return fail(std::string("its \"") + key + "\" is no text", problem);
        text = String(std::string_view(found->get_ref<const std::string&>()));
        return true;
    }

    const Json& m_json;
};

// Returns the reason without the prefix of the JSON library, its own name of the error.
String reasonOf(const Json::exception& error) {
    const std::string_view text = error.what();
    const auto end = text.find("] ");
    return String(end == std::string_view::npos ? text : text.substr(end + 2));
}

bool readChanges(const Json& json, SceneDiff& diff, String& error) {
    const auto format = json.is_object() ? json.find("format") : json.end();
    if (!json.is_object() || format == json.end() || *format != kFormat) {
        error = String("its \"format\" is not \"") + kFormat + "\"";
        return false;
    }
    const auto changes = json.find("changes");
    if (changes == json.end() || !changes->is_array()) {
        error = "it has no list \"changes\"";
        return false;
    }
    for (std::size_t i = 0; i < changes->size(); ++i) {
        SceneChange change;
        std::string problem;
        if (!ChangeReader((*changes)[i]).read(change, problem)) {
            error = String(std::string_view("change [" + std::to_string(i) + "]: " + problem));
            return false;
        }
        diff.add(std::move(change));
    }
    return true;
}

} // namespace

String toJson(const SceneDiff& diff) {
    return listed(kFormat, "changes", diff.changes());
}

String toJson(const std::vector<MergeConflict>& conflicts) {
    return listed("kelvo conflicts 1", "conflicts", conflicts);
}

bool fromJson(const String& text, SceneDiff& diff, String& error) {
    try {
        return readChanges(Json::parse(text.begin(), text.end()), diff, error);
    } catch (const Json::exception& problem) {
        error = "this is no JSON: " + reasonOf(problem);
        return false;
    }
}

} // namespace qv::kelvo_tool
