#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Lines of a text that could not be read, which are written back as they were.
struct UnreadLines {
    /// Comment lines before them, as those of `Comments`.
    String leading;
    /// Whole lines, the last with its '\n'.
    String lines;
    /// The attribute or node that they stood in front of; empty at the end of what holds them.
    String before;
    AttrType type = AttrType::Null;
    bool isOutput = false;
    /// The node that `before` names, to tell it when it has another name. Never looked into.
    const interfaces::INode* node = nullptr;
};

/// The comments around one thing in a scene text, and what stands in it unread.
///
/// Lines stand without indentation; each begins with '#' and ends with '\n', an empty one stands
/// for a blank line.
struct Comments {
    /// Lines before it.
    String leading;
    /// Behind its opening brace, one line without '\n'.
    String opening;
    /// Lines before its closing brace.
    String inner;
    /// At the end of its last line, as `opening`.
    String trailing;
    /// The text says `@own` of it, for readers who know its type.
    bool isOwn = false;
    /// Tells whether the text says `@unchecked`, where the limits are not known to allow the value.
    enum class Unchecked : u8 { Open, Said, Unsaid };
    Unchecked unchecked = Unchecked::Open;
    /// Lines inside of it that could not be read, in the order of the text.
    std::vector<UnreadLines> unread = {};
    /// Names of a node and of an output as the text has them, which were not found. They are
    /// written for as long as there is no link, or no connection.
    String lostLink = {};
    String lostSource = {};

    [[nodiscard]] bool isEmpty() const noexcept {
        return leading.isEmpty() && opening.isEmpty() && inner.isEmpty() && trailing.isEmpty() &&
               !isOwn && unchecked == Unchecked::Open && unread.empty() && lostLink.isEmpty() &&
               lostSource.isEmpty();
    }
};

/// The comments of a scene, beside its nodes, for the writer of text: a thing that leaves the scene
/// takes its comments along. Keeps pointers only and never looks into what they point at, but for
/// the arguments of a call.
class SceneComments {
public:
    /// Sets the comments of the text as a whole: lines before its header line, behind that line
    /// (`opening`), and lines at its end (`inner`).
    void setFile(Comments comments);
    [[nodiscard]] const Comments& file() const noexcept { return m_file; }

    /// Set the comments of a node or attribute, in place of earlier ones; empty comments remove.
    /// Characters that no comment may have become '?', lines without '#' get one, and blank lines
    /// that follow each other become one.
    void set(const interfaces::INode* node, Comments comments);
    void set(const interfaces::IInput* input, Comments comments);
    void set(const interfaces::IOutput* output, Comments comments);

    /// Return null when there are none; valid until the next change.
    [[nodiscard]] const Comments* find(const interfaces::INode* node) const;
    [[nodiscard]] const Comments* find(const interfaces::IInput* input) const;
    [[nodiscard]] const Comments* find(const interfaces::IOutput* output) const;

    /// Forget a node with its attributes, or an attribute with what it holds.
    void remove(const interfaces::INode* node);
    void remove(const interfaces::IInput* input);
    void remove(const interfaces::IOutput* output);

    /// The input has another name than `before`: its comments, and lines that stood in front of it,
    /// go on with that.
    void renamed(const interfaces::IInput* input, const String& before) noexcept;

    /// Comments that were taken out, to be put back.
    class Kept;
    /// As `remove`, with all that is forgotten to be put back.
    [[nodiscard]] Kept take(const interfaces::INode* node);
    void take(const interfaces::INode* node, Kept& kept);
    [[nodiscard]] Kept take(const interfaces::IInput* input);
    [[nodiscard]] Kept take(const interfaces::IOutput* output);
    /// Makes room for taking out a node with what is there now: taking it needs no memory then.
    void makeRoom(const interfaces::INode* node, Kept& kept) const;
    void putBack(Kept kept);
    /// Returns what `take` would.
    [[nodiscard]] Kept copyOf(const interfaces::INode* node) const;

    /// Takes the memory for merging with these.
    void reserveFor(const SceneComments& added);
    /// Takes over comments on new things, and those of the text as a whole in place of its own.
    void merge(SceneComments added) noexcept;

    /// Tells whether nothing but the text as a whole has comments.
    [[nodiscard]] bool empty() const noexcept { return m_entries.empty(); }

private:
    struct Entry {
        const interfaces::INode* owner = nullptr;
        // Tells an attribute from a later one at its address: some leave without a word.
        String name;
        Comments comments;
    };

    void leaveUnread(const interfaces::INode* node);
    void takeEntry(const void* key, Kept& kept);
    void setAttribute(const void* attribute, const interfaces::INode* owner, const String& name,
                      Comments comments);
    [[nodiscard]] const Comments* findNamed(const void* attribute, const String& name) const;

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
};

} // namespace qv::kelvo_sdk::impl
