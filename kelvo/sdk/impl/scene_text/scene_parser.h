#pragma once

#include "kelvo/sdk/impl/scene_text/scene_notes.h"
#include "kelvo/sdk/impl/scene_text/scene_tree.h"
#include "kelvo/sdk/impl/scene_text/text_gaps.h"
#include "kelvo/sdk/impl/text/text_errors.h"
#include "kelvo/sdk/impl/text/text_lexer.h"

#include "kelvo/base/string_io.h"

#include <span>

namespace qv::kelvo_sdk::impl {

/// Limits of a reader, so that no text exhausts the machine.
struct ParseLimits {
    u32 depth = 200;
    u64 nodes = 1'000'000;
};

/// How a text that is made of nodes differs from others like it.
struct TextForm {
    /// In the header line, behind "kelvo".
    std::string_view header = "scene";
    std::string_view name = "scene text";
    /// The keyword that a part starts with, and its name in messages.
    std::string_view part = "node";
    /// Words that lines of a part start with, beside kinds.
    std::span<const std::string_view> words = {};
    std::string_view lineStarts = "a kind, 'output' or '}'";
    /// A value outside of what its own notes allow is an error.
    bool checksLimits = false;
};

/// Reads the grammar of scene text into a tree (docs/scene-text.md has the grammar). Derived
/// parsers read texts of another form, or put what they read elsewhere.
///
///     File and nodes   scene_parser.cpp          header, nodes, bodies
///     Lines            scene_parser_lines.cpp    comments, ends of lines, going on after errors
///     Attributes       scene_parser_inputs.cpp   kinds, names, values, arrays, objects
///     Annotations      scene_parser_notes.cpp    what stands behind a value
///
/// A function that answers false has told what is wrong; whoever reads whole lines goes on with the
/// next one. Arrays and objects inside each other take no stack.
class SceneParser {
public:
    /// Borrows everything; needs an empty tree.
    SceneParser(std::string_view text, const ParseLimits& limits, SceneTree& tree,
                TextErrors& errors);
    virtual ~SceneParser() = default;
    SceneParser(const SceneParser&) = delete;
    SceneParser& operator=(const SceneParser&) = delete;

    /// Keeps parts of the text unread, and tells the parts that it has; borrowed.
    void leaveOut(TextGaps& gaps) noexcept { m_gaps = &gaps; }
    /// Reads the whole text.
    void parse();
    /// Tells whether an error kept a node or an output from being known by name.
    [[nodiscard]] bool namesAreMissing() const noexcept { return m_namesAreMissing; }

protected:
    // For texts of another form.
    SceneParser(std::string_view text, const ParseLimits& limits, SceneTree& tree,
                TextErrors& errors, const TextForm& form);

    // Attributes of a node or object, as a list of siblings.
    struct Body {
        // Where its '{' is.
        u64 opened = 0;
        bool isNode = false;
        u32 first = noTreeIndex;
        u32 last = noTreeIndex;
        u32 count = 0;
        String inner = {};
        std::vector<UnreadLines> unread = {};
        // So many of `unread` know what they stand in front of.
        u64 placed = 0;
    };
    // An attribute that is being read: a line of a body, or an element of an array.
    struct Item {
        u32 input = 0;
        TreeKind kind;
        bool isElement = false;
        u64 valueOffset = 0;
        // As the text has them: the name, and a value that holds no others.
        std::string_view name = {};
        std::string_view value = {};
        // Of `m_insideComments`: what is there by now is not of this line.
        u64 outside = 0;
        // Comments around it, as those of `Comments`.
        String leading = {};
        String trailing = {};
    };
    // The body or array that is open, and the item whose value it is; none for the body of a node.
    struct Level {
        Item item;
        Body body;
        // The comment behind its '{'.
        String opening;
        bool isArray = false;
        // Of the line that is being read: its start, and what there was then.
        u64 lineStart = 0;
        u64 errors = 0;
        u32 lastInput = noTreeIndex;
        u64 outputs = 0;
    };
    // The outcome of an item or a step: `Opened` when it goes on in a level of its own.
    enum class Read { Failed, Done, Opened };
    // An output as it is named behind "<-".
    struct Source {
        u64 offset = 0;
        std::string_view node;
        std::string_view output;
        u32 ordinal = 1;
    };

    // ---- File and nodes --------------------------------------------------------------------

    bool parseHeader(String& leading);
    bool parseNode(String&& leading);
    virtual bool parseNodeHead(TreeNode& node);
    bool parseTypes(TreeNode& node);
    bool parseType(u32& out);
    bool parseNodeName(TreeNode& node);
    bool takeNodeName(TreeNode& node);
    bool parseNodeFlags(TreeNode& node);
    bool parseNodeBody(TreeNode& node, Comments& comments);
    // Takes a node that was read; its place is `m_node`.
    virtual void endNode(TreeNode& node, Comments&& comments);
    void knowNode(const TreeNode& node);
    bool failUnclosed(Body& body, String&& leading);
    virtual void checkDuplicates(const Body& body);
    virtual void checkDuplicateOutputs(const TreeNode& node);

    // ---- Lines -----------------------------------------------------------------------------

    [[nodiscard]] String commentLines(std::vector<UnreadLines>& unread);
    void skipInside();
    bool endLine(String& trailing);
    void takeOpening(String& opening);
    void recover(u64 lineStart);
    void tellPart(u64 first, u64 firstError, bool isFaulty);
    [[nodiscard]] bool isUnread() const;
    void takeUnread(String&& leading, std::vector<UnreadLines>& unread);
    void placeUnread(Body& body, u32 lastInput, u64 outputs);
    void placeUnread(u64 node);
    [[nodiscard]] bool isLost(u64 offset) const;
    [[nodiscard]] std::string_view since(u64 offset) const {
        return m_lexer.text().substr(offset, m_lexer.offset() - offset);
    }
    void skipOpaque();
    bool skipToBrace();
    void skipToNode();
    [[nodiscard]] bool startsNode() const noexcept;
    [[nodiscard]] bool startsLine() const noexcept;
    TreeExtras& extrasAt(u32& extras);
    void storeComments(u32& extras, Comments&& comments);
    bool fail(u64 offset, String message);
    bool failExpecting(std::string_view expected);

    // ---- Levels ----------------------------------------------------------------------------

    bool parseBody(Body& body);
    Read goOn();
    Read readInBody();
    void endBodyLine(bool isWhole);
    Read readInArray();
    Read endElement();
    Read closeLevel(bool isClosed);
    Read open(Item&& item, bool isArray);
    Read openObject(Item&& item);
    Read openArray(Item&& item);
    bool mayOpen();
    // `closed` is the level that the item had, null when it had none.
    bool closeLine(Item& item, Level* closed, bool isRead);
    bool closeElement(Item& item, Level* closed, bool isRead);
    // Takes an input, its members before it; `isRead` tells that all but the end of its line is.
    virtual void endInput(Item& item, Level* closed, bool isRead);
    [[nodiscard]] static bool hasComments(const Item& item, const Level* closed);
    [[nodiscard]] static Comments takeComments(Item& item, Level* closed);

    // ---- Attributes ------------------------------------------------------------------------

    Read parseLine(String&& leading);
    // Reads the line of a part that starts with one of the form's own words, behind that word.
    virtual bool parseWord(std::string_view word, String&& leading);
    Read parseInput(const TreeKind& kind, String&& leading);
    bool parseOutput(String&& leading);
    virtual void endOutput(TreeOutput& output, const TreeKind& kind, Comments&& comments);
    bool parseKind(TreeKind& kind);
    bool finishKind(u64 offset, std::string_view word, TreeKind& kind);
    bool parseElementKind(AttrType& out);
    bool parseDataKind(DataType& out);
    virtual bool parseName(u32& name);
    Read parseContent(Item& item);
    void giveElementType(TreeInput& input, DataType dataType) const;
    bool parseOwnValue(Item& item);
    bool parseValue(u32 input, const TreeKind& kind);
    virtual bool parsePlain(const TreeKind& kind, Value& out);
    virtual bool parseLink(u32 input, TreeSlot slot, u32 choice);
    Read parseElement(u32 element, AttrType type);
    Read parseElementValue(Item& item);
    bool newInput(u64 offset, const TreeKind& kind, u32& out);

    // ---- Annotations -----------------------------------------------------------------------

    bool parseSource(u32 input);
    bool parseOutputPath(u32 input);
    bool parseOrdinal(u32& ordinal);
    virtual void addSource(u32 input, const Source& source);
    bool parseNotes(u32 input, const TreeKind& kind, u64 valueOffset);
    // Reads what stands behind the name of a note, whose '@' is at `offset`.
    virtual bool parseNote(const NoteRule& rule, u64 offset, u32 input, const TreeKind& kind);
    bool parseBinding(const NoteRule& rule, u32 input);
    bool parseNoteValue(u32 input, TreeKind kind, TreeSlot slot, Value& out, u32 choice = 0);
    bool parseChoices(u32 input, const TreeKind& kind);
    bool parseText(String& out);
    bool parseTranslation(AttrDetails::Texts& texts);
    [[nodiscard]] bool namesItsKind() const noexcept;
    const NoteRule* takeNote();
    AttrDetails& detailsOf(u32 input);
    void checkLimits(u64 offset, u32 input);

    TextLexer m_lexer;
    ParseLimits m_limits;
    TextForm m_form;
    SceneTree& m_tree;
    TextErrors& m_errors;
    bool m_namesAreMissing = false;
    // Null where all is read or nothing.
    TextGaps* m_gaps = nullptr;
    u64 m_placed = 0;
    bool m_isHeadFaulty = false;
    // Where something that is not closed was told of.
    u64 m_unclosedAt = noIndex;
    u32 m_node = noTreeIndex;
    String m_nodeName;
    // Comments met inside a value, which move in front of its line.
    StringIO m_insideComments;
    // By folded name: the list of attributes it was last met in, and the attribute.
    struct Met {
        u64 list = 0;
        u32 index = 0;
    };
    std::vector<Met> m_met;
    u64 m_list = 0;
    // Innermost last.
    std::vector<Level> m_levels;
    // By name: the element type of that name.
    std::vector<DataType> m_dataTypes;
};

} // namespace qv::kelvo_sdk::impl
