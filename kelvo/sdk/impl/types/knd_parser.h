#pragma once

#include "kelvo/sdk/impl/scene_text/scene_parser.h"
#include "kelvo/sdk/impl/types/knd_tree.h"

#include <unordered_set>

namespace qv::kelvo_sdk::impl {

/// Reads definition text into a tree (docs/definition-text.md has the grammar): the grammar of
/// scene text with other heads of nodes, and with lines for labels, helps, icon and pages.
class KndParser : public SceneParser {
public:
    /// Borrows everything; needs an empty tree.
    KndParser(std::string_view text, const ParseLimits& limits, KndTree& tree, TextErrors& errors);

protected:
    bool parseNodeHead(TreeNode& node) override;
    bool parseWord(std::string_view word, String&& leading) override;
    // Leaves duplicates to the checker, which knows the bases too.
    void checkDuplicates(const Body& body) override;
    void checkDuplicateOutputs(const TreeNode&) override {}

private:
    KndTreeType& type();
    bool parseBases();
    using Names = std::unordered_set<String>;
    bool parseTranslationLine(std::vector<KndText>& texts, Names& languages, bool mayBeRaw,
                              Comments& comments);
    bool parseIcon(Comments& comments);
    bool parseLongText(String& out);
    bool parsePage(Comments& comments);
    bool parsePageBody(KndPage& page);
    bool parseGroup(KndPage& page);
    bool parseItems(KndGroup& group);
    bool parseTitle(String& name, AttrDetails::Texts& labels);

    KndTree& m_types;
    // Names used so far in the type that is read, and in its current page.
    Names m_labelLanguages;
    Names m_helpLanguages;
    Names m_pageNames;
    Names m_groupNames;
};

} // namespace qv::kelvo_sdk::impl
