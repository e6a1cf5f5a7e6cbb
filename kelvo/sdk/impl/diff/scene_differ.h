#pragma once

#include "kelvo/sdk/impl/diff/scene_match.h"
#include "kelvo/sdk/scene_diff.h"

#include <unordered_map>

namespace qv::kelvo_sdk::impl {

/// The place of an attribute, for its path.
struct DocPlace {
    const DocPlace* outer = nullptr;
    const DocNode* node = nullptr;
    const std::vector<DocAttr>* list = nullptr;
    u64 index = 0;
    bool isElement = false;
};

/// Finds the differences between two documents, which it borrows.
class SceneDiffer {
public:
    SceneDiffer(const SceneDocument& before, const SceneDocument& after, const DiffOptions& options)
        : m_before(before), m_after(after), m_options(options) {}

    std::vector<SceneChange> run();

private:
    using Action = SceneChange::Action;
    using Subject = SceneChange::Subject;
    using Text = std::optional<String>;

    void compareNodes();
    void compareNode(const DocNode& before, const DocNode& after, bool isFirst);
    void compareLists(const std::vector<DocAttr>& before, const std::vector<DocAttr>& after,
                      const DocPlace& owner, Subject subject);
    void compareAttr(const DocAttr& before, const DocAttr& after, const DocPlace& place,
                     Subject subject);
    void compareElements(const DocAttr& before, const DocAttr& after, const DocPlace& place);
    void compareNotes(const DocAttr& before, const DocAttr& after, const DocPlace& place,
                      Subject subject);
    void compareComments(DocComments before, DocComments after, Subject subject,
                         const DocPlace& place);
    void compareTexts(std::string_view before, std::string_view after, const char* field,
                      Subject subject, const DocPlace& place);
    void changed(Subject subject, const DocPlace& place, std::string_view field, Text before,
                 Text after);
    void add(Action action, Subject subject, String path, Text before, Text after,
             Text behind = {});

    [[nodiscard]] String pathOf(const DocPlace& place);
    [[nodiscard]] const AttrKeys& keysOf(const std::vector<DocAttr>& list);
    [[nodiscard]] Text stepBefore(const std::vector<DocAttr>& list, u64 index);

    const SceneDocument& m_before;
    const SceneDocument& m_after;
    const DiffOptions m_options;
    LinkNames m_names;
    std::unordered_map<const void*, AttrKeys> m_keys;
    std::vector<SceneChange> m_changes;
};

/// Returns the position of an annotation among others: by name, translations one after the other.
[[nodiscard]] u32 noteRank(std::string_view name) noexcept;
/// Puts an annotation at its position, or replaces the one of this name; without a text, removes
/// it.
void setNote(std::vector<DocNote>& notes, std::string_view name,
             std::optional<std::string_view> text);

} // namespace qv::kelvo_sdk::impl
