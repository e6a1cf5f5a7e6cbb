// ---- Comments ------------------------------------------------------------------------------
// A merge leaves its conflicts in comments, so that the merged scene can still be read.

#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <string_view>

namespace qv::kelvo_sdk::impl {

void SceneRules::checkComments(Node& node) {
    const SceneComments& comments = m_scene.comments();
    if (comments.empty()) return;
    const auto check = [&](const auto& thing, const char* what, const auto& pathOf) {
        const Comments* found = comments.find(&thing);
        if (found) checkMarks(*found, &node, pathOf(), what);
    };
    check(static_cast<const INode&>(node), "node", [&] { return node.name(); });
    InputWalk inputs(node.inputs());
    while (const Input* input = inputs.next())
        check(static_cast<const IInput&>(*input), "input", [&] { return input->path(); });
    for (const IOutput* output : node.outputs())
        check(*output, "output", [&] { return node.name() + "." + output->name(); });
}

void SceneRules::checkFileComments() {
    checkMarks(m_scene.comments().file(), nullptr, String(), "the scene");
}

void SceneRules::checkMarks(const Comments& comments, Node* node, const String& place,
                            const char* what) {
    for (const String* lines :
         {&comments.leading, &comments.opening, &comments.inner, &comments.trailing})
        checkLines(*lines, node, place, what);
}

void SceneRules::checkLines(const String& lines, Node* node, const String& place,
                            const char* what) {
    constexpr std::string_view mark = "# conflict: ";
    for (std::string_view rest = lines.view(); !rest.empty();) {
        const u64 end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (!line.starts_with(mark)) continue;
        const String subject = place.isEmpty() ? String(what) : String(what) + " '" + place + "'";
        add(Rule::ConflictMark, node, place,
            subject + ": a merge left a conflict to settle: " + line.substr(mark.size()) + ".");
    }
}

} // namespace qv::kelvo_sdk::impl
