// ---- Comments ------------------------------------------------------------------------------
// A merge leaves its conflicts in comments, so that the merged scene can still be read.

#include "kelvo/sdk/impl/validate/scene_rules.h"

#include <string_view>

namespace qv::kelvo_sdk::impl {

template<typename Source>
void SceneRules<Source>::checkComments(Node node) {
    const auto check = [&](auto thing, const char* what, const auto& pathOf) {
        const Comments* found = m_source.commentsOf(thing);
        if (found) checkMarks(*found, node, pathOf(), what);
    };
    if (!m_source.hasComments(node)) return;
    check(node, "node", [&] { return m_source.nameOf(node); });
    AllInputs<Source> inputs(m_source.inputsOf(node));
    while (const Input input = inputs.next())
        check(input, "input", [&] { return m_source.pathOf(input); });
    const auto outputs = m_source.outputsOf(node);
    for (u64 i = 0; i < outputs.size(); ++i)
        check(outputs[i], "output",
              [&] { return m_source.nameOf(node) + "." + outputs[i]->ownName(); });
}

template<typename Source>
void SceneRules<Source>::checkFileComments() {
    checkMarks(m_source.file(), {}, String(), "the scene");
}

template<typename Source>
void SceneRules<Source>::checkMarks(const Comments& comments, Node node, const String& place,
                                    const char* what) {
    for (const String* lines :
         {&comments.leading, &comments.opening, &comments.inner, &comments.trailing})
        checkLines(*lines, node, place, what);
}

template<typename Source>
void SceneRules<Source>::checkLines(const String& lines, Node node, const String& place,
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

template void SceneRules<LiveSource>::checkComments(LiveSource::Node);
template void SceneRules<LiveSource>::checkFileComments();
template void SceneRules<SnapshotSource>::checkComments(SnapshotSource::Node);
template void SceneRules<SnapshotSource>::checkFileComments();

} // namespace qv::kelvo_sdk::impl
