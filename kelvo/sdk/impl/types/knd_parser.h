#pragma once

#include "kelvo/sdk/impl/scene_text/scene_parser.h"
#include "kelvo/sdk/impl/types/knd_tree.h"

#include <unordered_set>

namespace qv::kelvo_sdk::impl {

/// Reads the grammar of definition text into a tree (docs/definition-text.md has the grammar): that
/// of scene text with other heads of nodes, and with lines for labels, helps, icon and pages.
class KndParser : public SceneParser {
public:
    /// Borrows everything; needs an empty tree.
    KndParser(std::string_view text, const ParseLimits& limits, KndTree& tree, TextErrors& errors);

protected:
    bool parseNodeHead(TreeNode& node) override;
    bool parseWord(std::string_view word, String&& leading) override;
    // Left to the check, which knows the bases too.
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
    // Of the type that is read, and of its page.
    Names m_labelLanguages;
    Names m_helpLanguages;
    Names m_pageNames;
    Names m_groupNames;
};

} // namespace qv::kelvo_sdk::impl
