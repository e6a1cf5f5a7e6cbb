#pragma once

#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "kelvo/sdk/impl/scene_text/scene_tree.h"
#include "kelvo/sdk/impl/scene_text/text_gaps.h"
#include "kelvo/sdk/impl/text/text_errors.h"

#include <memory>

namespace qv::kelvo_sdk::impl {

/// Reads the parts of a scene text that have no errors.
///
/// Reads the text repeatedly, each time without the lines and references found wrong before, until
/// no error is left. This takes few rounds for any text, because only links and connections can
/// miss an omitted part.
class PartialReader {
public:
    /// Borrows all arguments.
    PartialReader(Scene& scene, std::string_view text, const ReadOptions& options)
        : m_scene(scene), m_text(text), m_options(options) {}

    /// Returns false when the text is not scene text, or no node can be read and the options need
    /// one.
    [[nodiscard]] bool read();
    /// Returns the tree of all parts that were read; call after `read`.
    [[nodiscard]] SceneTree& tree() noexcept { return *m_tree; }
    /// Returns the number of omitted lines, blocks and references, and of added braces.
    [[nodiscard]] u64 gapCount() const noexcept {
        return m_lines.size() + m_references.size() + m_gaps.unclosed.size();
    }
    /// Appends a diagnostic for each gap, in the order of the text, up to the number in the
    /// options.
    void report(Diagnostics& out);

private:
    using Error = TextErrors::Error;
    struct Line {
        TextLines place;
        Error error;
    };

    enum class Outcome { Clean, FoundMore, Hopeless };
    [[nodiscard]] Outcome readOnce();
    [[nodiscard]] bool addFaultyParts(const TextErrors& errors);
    [[nodiscard]] bool addChecked(const TextErrors& errors);
    [[nodiscard]] bool addPartAt(const Error& error);
    void addLine(TextLines place, Error error);
    void addUnclosedNodes();
    [[nodiscard]] bool swallowsBrace(const TextLines& place) const;
    [[nodiscard]] bool isLeftOut(u64 offset) const;
    void sortGaps();

    Scene& m_scene;
    std::string_view m_text;
    const ReadOptions& m_options;
    std::unique_ptr<SceneTree> m_tree;
    TextGaps m_gaps;
    std::vector<Line> m_lines;
    std::vector<Error> m_references;
};

} // namespace qv::kelvo_sdk::impl
