#pragma once

#include "kelvo/sdk/impl/text/text_errors.h"
#include "kelvo/sdk/impl/types/knd_tree.h"

#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

class LibInfo;
struct KndDefinition;

/// Checks the types of a tree against each other and against those of libraries: names, bases,
/// attributes inherited twice, pages. docs/definition-text.md has the rules.
class KndChecker {
public:
    /// A type of the text, or a known type of a library.
    struct Type {
        u32 tree = noTreeIndex;
        const KndDefinition* known = nullptr;

        [[nodiscard]] bool isNone() const noexcept { return tree == noTreeIndex && !known; }
        friend bool operator==(const Type&, const Type&) = default;
    };

    /// Borrows all arguments; `basesFrom` may be null. With `namesAreMissing` unknown names are not
    /// reported.
    KndChecker(KndTree& tree, const LibInfo& library, const LibInfo* basesFrom, TextErrors& errors,
               std::string_view text, bool namesAreMissing);

    void check();

    // Results of the check, for the builder.

    /// Returns the types, each after its bases.
    [[nodiscard]] const std::vector<u32>& order() const noexcept { return m_order; }
    /// Returns the bases that a type names, in their order in the text.
    [[nodiscard]] const std::vector<Type>& bases(u32 type) const noexcept { return m_bases[type]; }
    /// Returns all bases of a type, direct and indirect, nearest first, each once.
    [[nodiscard]] std::vector<Type> allBases(u32 type);
    [[nodiscard]] String nameOf(const Type& type);

private:
    // An attribute of a type: its own or an inherited one.
    struct Attr {
        u32 name = noTreeIndex;
        // The number of inputs: this one and all below it.
        u32 size = 1;
        Type owner;
        // An offset in the text, or a line in the source of a known owner.
        u64 place = 0;
    };
    struct Attrs {
        std::vector<Attr> inputs;
        std::vector<Attr> outputs;
        u64 size = 0;
    };

    void checkValues();
    void checkNames();
    void findBases(u32 type);
    [[nodiscard]] Type findType(u32 name) const;
    [[nodiscard]] String unknownBase(u32 name) const;
    void sortTypes();
    void sortFrom(u32 type);
    void reportLoop(u32 closing);
    void checkType(u32 type);
    [[nodiscard]] bool takeBases(u32 type);
    [[nodiscard]] u64 inheritedPages(u32 type);
    [[nodiscard]] u64 ownPages(const Type& type);
    void addKnown(const KndDefinition& known);
    void inherit(u32 type, u64 base, const std::vector<Attr>& from, std::vector<Attr>& to,
                 const char* what);
    void checkBuffer(u32 type, const TreeInput& input);
    void addOwnInputs(u32 type, std::vector<Attr>& to);
    void addOwnOutputs(u32 type, std::vector<Attr>& to);
    void addOwn(u32 type, const Attr& attr, std::vector<Attr>& to, const char* what);
    void checkPages(u32 type);
    void failUnknownItem(u32 type, const KndGroup::Item& item);
    void startList();
    u64 meet(u32 name, u64 next);
    [[nodiscard]] const Attrs& attrsOf(const Type& type);
    [[nodiscard]] String placeOf(const Attr& attr);
    [[nodiscard]] u64 lineOf(u64 offset) const;
    void fail(u64 offset, u32 type, String message);

    KndTree& m_tree;
    const LibInfo& m_library;
    const LibInfo* m_basesFrom;
    TextErrors& m_errors;
    std::string_view m_text;
    bool m_namesAreMissing;
    bool m_isTooLarge = false;
    u64 m_inherited = 0;
    std::vector<std::vector<Type>> m_bases;
    std::vector<u32> m_order;
    std::vector<Attrs> m_attrs;
    std::unordered_map<const KndDefinition*, Attrs> m_knownAttrs;
    // The size of each type's own pages, without the inputs on them.
    std::vector<u64> m_pages;
    std::unordered_map<const KndDefinition*, u64> m_knownPages;

    // By folded name: the last list in which the name was met, and its index there.
    struct Met {
        u64 list = 0;
        u64 index = 0;
    };
    std::vector<Met> m_met;
    u64 m_list = 0;

    // State of the depth-first search for loops.
    enum class Mark : u8 { New, Open, Done };
    struct Step {
        u32 type;
        u64 next;
    };
    std::vector<Mark> m_marks;
    std::vector<Step> m_chain;
};

} // namespace qv::kelvo_sdk::impl
