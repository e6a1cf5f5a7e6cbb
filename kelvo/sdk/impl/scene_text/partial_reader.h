#pragma once

#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "kelvo/sdk/impl/scene_text/scene_tree.h"
#include "kelvo/sdk/impl/scene_text/text_gaps.h"
#include "kelvo/sdk/impl/text/text_errors.h"

#include <memory>

namespace qv::kelvo_sdk::impl {

/// Reads what can be read of a scene text that has errors.
///
/// The text is read again and again, each time without the lines and references that were wrong
/// before, until nothing is wrong: that takes a few times, whatever the text, as what is left out
/// can only be missed by links and connections.
class PartialReader {
public:
    /// Borrows all.
    PartialReader(Scene& scene, std::string_view text, const ReadOptions& options)
        : m_scene(scene), m_text(text), m_options(options) {}

    /// False when no node can be read, or the text is no scene's.
    [[nodiscard]] bool read();
    /// Returns all that was read, after `read`.
    [[nodiscard]] SceneTree& tree() noexcept { return *m_tree; }
    /// Returns how many lines, blocks and references were left out, and braces added.
    [[nodiscard]] u64 gapCount() const noexcept {
        return m_lines.size() + m_references.size() + m_gaps.unclosed.size();
    }
    /// Appends a diagnostic for each, in the order of the text, at most as many as are asked for.
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
