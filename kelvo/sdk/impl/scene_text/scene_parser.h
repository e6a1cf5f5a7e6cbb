#pragma once

#include "kelvo/sdk/impl/scene_text/scene_notes.h"
#include "kelvo/sdk/impl/scene_text/scene_tree.h"
#include "kelvo/sdk/impl/scene_text/text_gaps.h"
#include "kelvo/sdk/impl/text/text_errors.h"
#include "kelvo/sdk/impl/text/text_lexer.h"

#include "kelvo/base/string_io.h"
#include "kelvo/base/workers.h"

#include <span>

namespace qv::kelvo_sdk::impl {

/// Limits of a reader, which keep a text from exhausting the machine.
struct ParseLimits {
    u32 depth = 200;
    u64 nodes = 1'000'000;
    /// The threads that read long texts and large buffers; 0 for as many as the machine runs at
    /// once.
    u32 threads = 1;
    /// The bytes of text that a thread reads at a time: large enough that reading them takes longer
    /// than starting a thread.
    u64 pieceSize = 1 << 17;
};

/// The differences between texts that consist of nodes.
struct TextForm {
    /// The word of the header line behind "kelvo".
    std::string_view header = "scene";
    std::string_view name = "scene text";
    /// The keyword that starts a part, and its name in messages.
    std::string_view part = "node";
    /// Words besides kinds that start lines of a part.
    std::span<const std::string_view> words = {};
    std::string_view lineStarts = "a kind, 'output' or '}'";
    /// Makes a value outside of its own annotations an error.
    bool checksLimits = false;
    /// Several threads may read a long text, as its nodes put all that they have into the tree.
    bool hasPieces = true;
};

class PieceTaker;

/// Reads the grammar of scene text into a tree (docs/scene-text.md has the grammar). Derived
/// parsers read other forms of text, or store the result elsewhere.
///
///     File and nodes   scene_parser.cpp          header, nodes, bodies
///     Lines            scene_parser_lines.cpp    comments, ends of lines, going on after errors
///     Attributes       scene_parser_inputs.cpp   kinds, names, values, arrays, objects
///     Annotations      scene_parser_notes.cpp    sources and annotations behind a value
///
/// A function that returns false has reported the error; functions that read whole lines then go on
/// with the next line. Nested arrays and objects take no stack.
class SceneParser {
public:
    /// Borrows everything; needs an empty tree.
    SceneParser(std::string_view text, const ParseLimits& limits, SceneTree& tree,
                TextErrors& errors);
    virtual ~SceneParser() = default;
    SceneParser(const SceneParser&) = delete;
    SceneParser& operator=(const SceneParser&) = delete;

    /// Omits the given parts of the text, and records the parts found; borrowed.
    void leaveOut(TextGaps& gaps) noexcept { m_gaps = &gaps; }
    /// Passes the pieces of a long text on instead of adding their nodes to the tree; borrowed.
    void passPieces(PieceTaker& taker) noexcept { m_taker = &taker; }
    /// Reads the whole text.
    void parse();
    /// Reads the nodes from `first`, where one starts, up to `last`. Returns false if there is an
    /// error, or no end of a node at `last`. `behind` gets the comments in front of it.
    [[nodiscard]] bool parsePiece(u64 first, u64 last, String& behind);
    /// Tells whether an error hid the name of a node or an output.
    [[nodiscard]] bool namesAreMissing() const noexcept { return m_namesAreMissing; }

protected:
    // For other forms of text.
    SceneParser(std::string_view text, const ParseLimits& limits, SceneTree& tree,
                TextErrors& errors, const TextForm& form);

    // Attributes of a node or object, in a list of siblings.
    struct Body {
        // Offset of the '{'.
        u64 opened = 0;
        bool isNode = false;
        u32 first = noTreeIndex;
        u32 last = noTreeIndex;
        u32 count = 0;
        String inner = {};
        std::vector<UnreadLines> unread = {};
        // The number of `unread` entries whose following attribute is known.
        u64 placed = 0;
    };
    // The attribute that is being read: a line of a body, or an element of an array.
    struct Item {
        u32 input = 0;
        TreeKind kind;
        bool isElement = false;
        u64 valueOffset = 0;
        // Texts of the name and of the value, which is empty for arrays and objects.
        std::string_view name = {};
        std::string_view value = {};
        // Size of `m_insideComments` at the start of the item: earlier comments belong to other
        // lines.
        u64 outside = 0;
        // The comments around the item, as in `Comments`.
        String leading = {};
        String trailing = {};
    };
    // An open body or array, and the item whose value it is; no item for the body of a node.
    struct Level {
        Item item;
        Body body;
        // The comment behind the '{'.
        String opening;
        bool isArray = false;
        // State at the start of the current line.
        u64 lineStart = 0;
        u64 errors = 0;
        u32 lastInput = noTreeIndex;
        u64 outputs = 0;
    };
    // The outcome of an item or a step: `Opened` when it continues in a level of its own.
    enum class Read { Failed, Done, Opened };
    // An output as named behind "<-".
    struct Source {
        u64 offset = 0;
        std::string_view node;
        std::string_view output;
        u32 ordinal = 1;
    };

    // ---- File and nodes --------------------------------------------------------------------

    bool parseHeader(String& leading);
    [[nodiscard]] bool mayReadPieces() const noexcept;
    void readPieces(String& leading);
    void parseNodes(u64 end, String& leading);
    bool parseNode(String&& leading);
    virtual bool parseNodeHead(TreeNode& node);
    bool parseTypes(TreeNode& node);
    bool parseType(u32& out);
    bool parseNodeName(TreeNode& node);
    bool takeNodeName(TreeNode& node);
    bool parseNodeFlags(TreeNode& node);
    bool parseNodeBody(TreeNode& node, Comments& comments);
    // Takes a finished node; its place is `m_node`.
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
    // `closed` is the level of the item, null when it had none.
    bool closeLine(Item& item, Level* closed, bool isRead);
    bool closeElement(Item& item, Level* closed, bool isRead);
    // Takes an input after its members; `isRead` tells whether all before the end of its line was
    // read.
    virtual void endInput(Item& item, Level* closed, bool isRead);
    [[nodiscard]] static bool hasComments(const Item& item, const Level* closed);
    [[nodiscard]] static Comments takeComments(Item& item, Level* closed);

    // ---- Attributes ------------------------------------------------------------------------

    Read parseLine(String&& leading);
    // Reads the rest of a line that starts with one of the form's own words.
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
    // Reads the content of an annotation, whose '@' is at `offset`.
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
    Workers m_workers{m_limits.threads};
    TextForm m_form;
    SceneTree& m_tree;
    TextErrors& m_errors;
    bool m_namesAreMissing = false;
    // Null unless the text is read partially.
    TextGaps* m_gaps = nullptr;
    // Null unless pieces are passed on.
    PieceTaker* m_taker = nullptr;
    u64 m_placed = 0;
    bool m_isHeadFaulty = false;
    // Offset of the last missing '}' that was reported.
    u64 m_unclosedAt = noIndex;
    u32 m_node = noTreeIndex;
    String m_nodeName;
    // Comments inside a value, which move in front of its line.
    StringIO m_insideComments;
    // Indexed by folded name: the list of attributes that last had it, and the attribute.
    struct Met {
        u64 list = 0;
        u32 index = 0;
    };
    std::vector<Met> m_met;
    u64 m_list = 0;
    // The innermost level is last.
    std::vector<Level> m_levels;
    // Indexed by name: the element type of that name.
    std::vector<DataType> m_dataTypes;
};

} // namespace qv::kelvo_sdk::impl
