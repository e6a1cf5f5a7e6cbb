#pragma once

#include "kelvo/sdk/impl/scene_text/scene_builder.h"
#include "kelvo/sdk/impl/types/knd_checker.h"
#include "kelvo/sdk/impl/types/knd_definition.h"

#include <memory>
#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Makes the definitions of a checked tree.
class KndBuilder {
public:
    /// Borrows everything; the tree's values move into the definitions.
    KndBuilder(KndTree& tree, KndChecker& checker, std::string_view text, const String& source);

    /// Returns the definitions in the order of the text, their prototypes unbound.
    [[nodiscard]] std::vector<std::unique_ptr<KndDefinition>> build();
    /// Adds the comments of the text. Call after `build`.
    void addComments(SceneComments& comments) const;

private:
    void makeDefaults();
    void dropZeroDefault(const TreeInput& input);
    template<typename Attributes>
    [[nodiscard]] std::vector<u32> linesOf(const Attributes& attributes) const;
    void build(u32 type);
    [[nodiscard]] const KndDefinition* definitionOf(const KndChecker::Type& type) const;
    void addBases(u32 type, KndDefinition& to);
    void inherit(KndDefinition& to);
    void addPlaces(u32 type, KndDefinition& to);
    void addTexts(u32 type, KndDefinition& to);
    void addLayout(u32 type, KndDefinition& to);
    [[nodiscard]] std::vector<Layout::Page> pagesOf(const KndTreeType& from) const;

    KndTree& m_tree;
    KndChecker& m_checker;
    const String& m_source;
    std::string_view m_text;
    std::vector<u32> m_typeLines;
    std::vector<u32> m_inputLines;
    std::vector<u32> m_outputLines;
    SceneBuilder m_nodes;
    // Indexed by the position of the type in the tree.
    std::vector<std::unique_ptr<KndDefinition>> m_types;
    std::vector<const KndDefinition*> m_definitions;
};

} // namespace qv::kelvo_sdk::impl
