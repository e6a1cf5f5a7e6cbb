#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/interfaces/i_input.h"

#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Lines of a text that could not be read, and are written back unchanged.
struct UnreadLines {
    /// Comment lines before them, in the form of those in `Comments`.
    String leading;
    /// Whole lines, the last with its '\n'.
    String lines;
    /// The name of the attribute or node behind them; empty at the end of a node, object or text.
    String before;
    AttrType type = AttrType::Null;
    bool isOutput = false;
    /// The node that `before` names, to find it under a new name. Never dereferenced.
    const interfaces::INode* node = nullptr;
    bool operator==(const UnreadLines&) const = default;
};

/// The comments around a node or attribute in scene text, and the unread lines in it.
///
/// Lines have no indentation; each begins with '#' and ends with '\n', except that an empty line
/// means a blank line.
struct Comments {
    /// Lines before the node or attribute.
    String leading;
    /// Behind its opening brace, one line without '\n'.
    String opening;
    /// Lines before its closing brace.
    String inner;
    /// At the end of its last line, in the form of `opening`.
    String trailing;
    /// The text has `@own`, which matters to readers that know the type.
    bool isOwn = false;
    /// Tells whether the text has `@unchecked`, if the limits do not allow the value or are
    /// unknown.
    enum class Unchecked : u8 { Open, Said, Unsaid };
    Unchecked unchecked = Unchecked::Open;
    /// Unread lines inside, in the order of the text.
    std::vector<UnreadLines> unread = {};
    /// Names of a node and of an output in the text that were not found. They are written as long
    /// as the input has no link, or no connection.
    String lostLink = {};
    String lostSource = {};

    [[nodiscard]] bool isEmpty() const noexcept {
        return leading.isEmpty() && opening.isEmpty() && inner.isEmpty() && trailing.isEmpty() &&
               !isOwn && unchecked == Unchecked::Open && unread.empty() && lostLink.isEmpty() &&
               lostSource.isEmpty();
    }
    bool operator==(const Comments&) const = default;
};

/// Returns comments as a scene keeps them: characters that comments may not contain become '?',
/// lines without '#' get one, and successive blank lines become one.
[[nodiscard]] Comments cleaned(const Comments& comments);

/// The comments of a scene for the writer of text, stored apart from the nodes. Comments leave the
/// scene together with their node or attribute. Keys are pointers, which are never dereferenced;
/// only arguments of calls are.
class SceneComments {
public:
    /// Sets the comments of the text as a whole: lines before its header line, behind that line
    /// (`opening`), and lines at its end (`inner`).
    void setFile(Comments comments);
    [[nodiscard]] const Comments& file() const noexcept { return m_file; }

    /// Set the comments of a node or attribute in place of earlier ones; empty comments remove
    /// them. Keeps them `cleaned`.
    void set(const interfaces::INode* node, Comments comments);
    void set(const interfaces::IInput* input, Comments comments);
    void set(const interfaces::IOutput* output, Comments comments);

    /// Return null when there are none; valid until the next change.
    [[nodiscard]] const Comments* find(const interfaces::INode* node) const;
    [[nodiscard]] const Comments* find(const interfaces::IInput* input) const;
    [[nodiscard]] const Comments* find(const interfaces::IOutput* output) const;

    /// Remove the comments of a node with its attributes, or of an attribute with its parts.
    void remove(const interfaces::INode* node);
    void remove(const interfaces::IInput* input);
    void remove(const interfaces::IOutput* output);

    /// Returns which of the unread lines around an input stand in front of it, by its name.
    [[nodiscard]] std::vector<u64> linesBefore(const interfaces::IInput* input) const;
    /// Call when an input had the name `before`: updates its comments, and these lines in front of
    /// it, to its new name.
    void renamed(const interfaces::IInput* input, const String& before,
                 std::span<const u64> lines) noexcept;

    /// Comments that were removed and can be put back.
    class Kept;
    /// Like `remove`, but keep the comments, so that they can be put back.
    void take(const interfaces::INode* node, Kept& kept);
    void take(const interfaces::IInput* input, Kept& kept);
    void take(const interfaces::IOutput* output, Kept& kept);
    /// Reserves the memory for taking the current comments of a node.
    void makeRoom(const interfaces::INode* node, Kept& kept) const;
    /// Leaves `kept` empty, with the memory for taking these comments again.
    void putBack(Kept& kept);
    /// Returns a copy of the comments that `take` would remove.
    [[nodiscard]] Kept copyOf(const interfaces::INode* node) const;

    /// Reserves the memory for merging these comments.
    void reserveFor(const SceneComments& added);
    /// Takes over comments of new nodes and attributes, and replaces the comments of the whole
    /// text.
    void merge(SceneComments added) noexcept;

    /// Tells whether the node or one of its attributes may have comments.
    [[nodiscard]] bool mayHave(const interfaces::INode* node) const {
        return !empty() && (m_entries.contains(node) || m_attributes.contains(node));
    }
    /// Tells whether no node or attribute has comments.
    [[nodiscard]] bool empty() const noexcept { return m_entries.empty(); }

private:
    struct Entry {
        const interfaces::INode* owner = nullptr;
        // Detects another attribute at the same address: some are destroyed without a call of
        // `remove`.
        String name;
        Comments comments;
    };

    [[nodiscard]] bool isBehindUnread(const interfaces::INode* node) const noexcept;
    void leaveUnread(const interfaces::INode* node, Kept& kept);
    void takeEntry(const void* key, Kept& kept);
    void setAttribute(const void* attribute, const interfaces::INode* owner, const String& name,
                      Comments comments);
    [[nodiscard]] const Comments* findNamed(const void* attribute, const String& name) const;
    void noteNames(const interfaces::INode* node, Kept& kept) const;
    void renameEntry(const interfaces::IInput* input, const String& before) noexcept;
    void renameLine(const interfaces::IInput* input, const String& before, u64 line) noexcept;

    Comments m_file;
    std::unordered_map<const void*, Entry> m_entries;
    std::unordered_map<const interfaces::INode*, std::vector<const void*>> m_attributes;
};

class SceneComments::Kept {
private:
    friend class SceneComments;
    std::vector<std::unordered_map<const void*, Entry>::node_type> m_entries;
    // The attributes of a node.
    std::unordered_map<const interfaces::INode*, std::vector<const void*>>::node_type m_list;
    // An input with comments, or with unread lines in front of it, and its name in them.
    struct Named {
        RefersTo<interfaces::IInput> input;
        String name;
        // One of the unread lines around the input; `noIndex` for its own comments.
        u64 line;
    };
    // The inputs of a removed node may be renamed before they are put back.
    std::vector<Named> m_names;
    // A node that unread lines stand before, and its name in them; null for none.
    const interfaces::INode* m_behind = nullptr;
    String m_before;
};

} // namespace qv::kelvo_sdk::impl
