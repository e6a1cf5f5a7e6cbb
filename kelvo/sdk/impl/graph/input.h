#pragma once

#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/value/attr_data.h"
#include "kelvo/sdk/interfaces/i_input.h"

#include <algorithm>
#include <atomic>
#include <memory>

namespace qv::kelvo_sdk::impl {

using interfaces::BufferView;
using interfaces::IInput;
using interfaces::INode;
using interfaces::IOutput;

class EditStep;
template<typename Attribute>
class NameIndex;
class Node;
class Output;
class Scene;
class SceneBuilder;
struct InputExtras;
struct InputNaming;
struct Stash;

/// The one implementation of an input; the contract of its operations stands in `IInput`.
///
///     Object     input.cpp             construction, identity, copies, node's end
///     Values     input_values.cpp      written, read, reset
///     Stash      input_stash.cpp       one value kept aside
///     Modifiers  input_modified.cpp    what they write, and the user's value beside it
///     Container  input_container.cpp   elements and members
///     Hash       input_hash.cpp        of the value
///     Links      input_links.cpp       connections to outputs, links to nodes
///     Renaming   input_rename.cpp      renamed with all that names it
///     History    input_history.cpp     changes taken back and done again
///
/// Parts that few inputs have (members, a connection, details, a stash) stand in a block of their
/// own, made when first needed.
class Input final : public IInput {
public:
    // ---- Object ----------------------------------------------------------------------------
    // An input borrows its node and its parent, which take that back when they end or let it go.

    /// A new input with one reference, for the creator; `parent` is null at the top level. It is
    /// not in any list yet and nobody is told.
    QV_EXPORT Input(INode* node, IInput* parent, String name, AttrType type, AttrType elementType);
    QV_EXPORT Input(INode* node, IInput* parent, String name, AttrData definition);
    ~Input() override;
    /// Returns an input by itself that shows a value. A node in it is borrowed, and does not count
    /// as linked.
    [[nodiscard]] static RefersTo<Input> showing(const Value& value);
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    void incRef() override;
    void decRef() override;

    /// Returns a copy for `node` and `parent` with value, members, flags, stash and connection;
    /// the caller owns its reference.
    QV_EXPORT IInput* clone(INode* node, IInput* parent) const;
    /// Returns what an equal input can be made from; `value` is the current value.
    [[nodiscard]] AttrData description() const;
    /// For the owning node alone: from now on the input calls nobody.
    void clearNode() noexcept { m_node = nullptr; }
    /// For the owner alone: the input left it, and everyone was told.
    void leaveOwner() noexcept;

    [[nodiscard]] String name() const override;
    [[nodiscard]] AttrType type() const override {
        return m_type != farKind ? static_cast<AttrType>(m_type) : farType();
    }
    [[nodiscard]] String typeName() const override;
    [[nodiscard]] INode* node() const override;
    [[nodiscard]] IInput* parent() const override { return m_parent; }
    [[nodiscard]] String path() const override;
    [[nodiscard]] bool hasDataType(DataType type) const override;
    [[nodiscard]] DataType dataType() const override;
    [[nodiscard]] bool isSilent() const override { return m_silent; }
    [[nodiscard]] bool isReadOnly() const override { return m_readOnly || m_isHeldReadOnly; }
    /// Tells whether the input itself is marked so, and not only what holds it.
    [[nodiscard]] bool hasReadOnlyMark() const noexcept { return m_readOnly; }
    void nodeDestroyed() override;
    [[nodiscard]] AttrType elementType() const override {
        return m_elementType != farKind ? static_cast<AttrType>(m_elementType) : farElementType();
    }
    [[nodiscard]] bool hasElementType(AttrType type) const override;
    [[nodiscard]] bool isObject() const override { return type() == AttrType::Object; }
    [[nodiscard]] String unit() const override;
    [[nodiscard]] String label(String language) const override;
    [[nodiscard]] String help(String language) const override;
    /// Returns null when nothing is described.
    [[nodiscard]] const AttrDetails* details() const noexcept;
    /// Replaces the description; the value stays.
    void setDetails(RefersTo<AttrDetails> details);
    /// Returns the element type that a buffer takes alone, Null when it takes any; of an array, the
    /// one that the buffers it holds take.
    [[nodiscard]] DataType declaredType() const noexcept {
        return m_dataType != farKind ? static_cast<DataType>(m_dataType) : farDataType();
    }
    void setSilent(bool silent) noexcept { m_silent = silent; }
    /// Elements and members are read-only with it.
    QV_EXPORT void setReadOnly(bool readOnly);
    /// For fixes of what a text says, that no write can mend: stores it all the same.
    bool setReadOnlyValue(const Value& value);
    /// Tells whether the text that the input was read from leaves it to the definition.
    [[nodiscard]] bool isLeftOut() const noexcept { return m_isLeftOut; }
    void setLeftOut(bool leftOut) noexcept { m_isLeftOut = leftOut; }
    /// Hash of the name without regard to case. Needs an input that is no array element.
    [[nodiscard]] u64 nameHash() const noexcept { return m_nameHash; }
    [[nodiscard]] const String& ownName() const noexcept { return m_name; }
    /// Returns its place in the list that it is in.
    [[nodiscard]] u64 placeInList() const noexcept;
    /// Returns the memory that the input takes with what it holds.
    [[nodiscard]] u64 ownBytes() const;

    // For the list that this input is the first of; see input_list.h.
    [[nodiscard]] const NameIndex<IInput>* listIndex() const noexcept;
    /// Where that is kept.
    [[nodiscard]] std::unique_ptr<NameIndex<IInput>>& listIndexPlace();
    void dropListIndex() noexcept;
    /// Takes over the index of the one that was first, if there is any.
    void takeListIndex(Input& first) noexcept;

    // ---- Values ----------------------------------------------------------------------------
    // A write converts, is checked against the description, and tells nobody when nothing changes.

    bool setBool(bool value) override;
    bool setInt(i64 value) override;
    bool setUInt(u64 value) override;
    bool setReal(double value) override;
    bool setVec2(const math::Vec2d& value) override;
    bool setVec3(const math::Vec3d& value) override;
    bool setVec4(const math::Vec4d& value) override;
    bool setPos2(const math::Pos2d& value) override;
    bool setPos3(const math::Pos3d& value) override;
    bool setQuat(const math::Quatd& value) override;
    bool setRgba(const math::Rgbad& value) override;
    bool setMat3(const math::Mat3d& value) override;
    bool setMat4(const math::Mat4d& value) override;
    bool setString(String value) override;
    bool setNode(INode* node) override;
    bool setBuffer(BufferView value) override;
    /// Takes any value that converts; shares a buffer instead of copying it.
    bool setValue(const Value& value);

    bool readBool(bool& out, bool evaluate, void* ctx) const override;
    bool readInt(i64& out, bool evaluate, void* ctx) const override;
    bool readUInt(u64& out, bool evaluate, void* ctx) const override;
    bool readReal(double& out, bool evaluate, void* ctx) const override;
    bool readVec2(math::Vec2d& out, bool evaluate, void* ctx) const override;
    bool readVec3(math::Vec3d& out, bool evaluate, void* ctx) const override;
    bool readVec4(math::Vec4d& out, bool evaluate, void* ctx) const override;
    bool readPos2(math::Pos2d& out, bool evaluate, void* ctx) const override;
    bool readPos3(math::Pos3d& out, bool evaluate, void* ctx) const override;
    bool readQuat(math::Quatd& out, bool evaluate, void* ctx) const override;
    bool readRgba(math::Rgbad& out, bool evaluate, void* ctx) const override;
    bool readMat3(math::Mat3d& out, bool evaluate, void* ctx) const override;
    bool readMat4(math::Mat4d& out, bool evaluate, void* ctx) const override;
    bool readString(String& out, bool evaluate, void* ctx) const override;
    bool readNode(INode*& out, bool evaluate, void* ctx) const override;
    bool readBuffer(BufferView& out, bool evaluate, void* ctx) const override;
    /// Returns the value stored here; Null for arrays and objects. Valid until it changes.
    [[nodiscard]] const Value& value() const noexcept { return m_value; }

    bool reset() override;
    [[nodiscard]] bool isDefault() const override;
    /// Returns the first of this input and what it holds that is not at its default by itself; null
    /// when all is.
    [[nodiscard]] const Input* firstChanged() const;
    /// Returns the value that `reset` brings back; Null for arrays and objects.
    [[nodiscard]] Value defaultValue() const;

    // ---- Stash -----------------------------------------------------------------------------
    // One value is kept aside at most. A link in it counts as a link of the scene.

    /// Keeps the current value aside, unless one is kept already. Arrays and objects leave that to
    /// what they hold.
    QV_EXPORT void stash();
    /// Brings the kept value back; false when none is kept.
    bool unstash();
    /// Returns the kept value, or null.
    [[nodiscard]] const Value* stashed() const noexcept;
    /// For readers of text: keeps `value` aside.
    void setStashed(Value value);
    /// For modifiers alone: brings the kept value back, unheard. Needs one.
    std::unique_ptr<Stash> takeStashedBack() noexcept;
    /// The contrary: shows a value, and keeps aside what was kept, if anything.
    void showAgain(const Value& value, std::unique_ptr<Stash> kept) noexcept;
    /// For the owner alone, when the input leaves it: from now on it and what it holds show what
    /// the user set, unheard. Nobody could tell later that modifiers made something else of it.
    void showOwnValues() noexcept;

    // ---- Modifiers -------------------------------------------------------------------------
    // While modifiers write to the input, its value is theirs and the one kept aside is the user's.

    /// Tells whether the scene's modifiers may write over the value, and the kept one is the
    /// user's.
    [[nodiscard]] bool isModified() const;
    /// Returns the value that the user set, whatever modifiers made of it.
    [[nodiscard]] const Value& ownValue() const { return isModified() ? *stashed() : m_value; }

    // ---- Container -------------------------------------------------------------------------
    // An array makes elements of its element kind only, under the name of the next index. An array
    // of arrays learns the element kind of each from `createArray`. What is read-only gets and
    // loses no elements or members, nor does anything that it holds.

    IInput* createInput(String name, AttrType type) override;
    /// For whoever makes inputs from a definition: into what is read-only, too.
    IInput* createInput(String name, AttrData definition);
    IInput* createArray(String name, AttrType elementType) override;
    /// As `createArray`, for a buffer that declares its element type.
    IInput* createBuffer(String name, DataType elementType);
    [[nodiscard]] bool hasInput(u64 index, AttrType type) const override;
    [[nodiscard]] bool hasInput(String name, AttrType type) const override;
    [[nodiscard]] u64 inputCount() const override;
    IInput* input(u64 index) override;
    IInput* input(u64 index) const override;
    IInput* input(String path) override;
    IInput* input(String path) const override;
    bool removeInput(u64 index) override;
    bool removeInput(String name) override;
    bool removeLastInput() override;
    bool clearInputs() override;
    IInput* appendElement() override;
    IInput* insertElement(u64 index) override;
    bool moveElement(u64 from, u64 to) override;
    /// As `input`, silently and without a copy of the name.
    [[nodiscard]] IInput* lookUpInput(const String& name) const noexcept;
    /// Elements or members; empty for other kinds. Inline; needs
    /// kelvo/sdk/impl/graph/input_extras.h.
    [[nodiscard]] const ds::Vector<IInput*>& members() const noexcept;

    // ---- Hash ------------------------------------------------------------------------------
    // The hash of the value, kept until that changes where no node takes part in it.

    [[nodiscard]] u64 hash(StringVector skip) const override { return hashWith(skip); }
    /// As `hash`, without a copy of the list.
    [[nodiscard]] u64 hashWith(const StringVector& skip) const;

    // ---- Links -----------------------------------------------------------------------------
    // Both ends know a connection, and the scene's table knows each link to a node.

    [[nodiscard]] IOutput* source() const override;
    /// As `source`, inline; needs kelvo/sdk/impl/graph/input_extras.h.
    [[nodiscard]] Output* sourceOutput() const noexcept;
    bool connect(IOutput* output) override;
    bool disconnect() override;
    /// Tells whether the kind of an output converts to that of this input.
    [[nodiscard]] bool takes(const Output& output) const noexcept;
    /// When a node leaves its scene or ends: links to what takes its place, if anything, where it
    /// linked to that node, telling observers; so does the value that is kept aside.
    void relink(const INode& from, INode* to);
    /// The nodes that the input links and connects to have another reader, or one less.
    void tiesChanged() const noexcept;
    /// For a node that ends alone: what links to it forgets it, unheard.
    void dropLink() noexcept;
    void dropStashedLink() noexcept;
    /// For the scene alone, while nobody knows the input or looks at it any more: lets link and
    /// connection lead elsewhere, unheard.
    void redirect(INode* link, Output* source, u64 rank = noIndex);
    /// The same for a link that is kept aside.
    void redirectStash(INode* link) { replaceStash(Value(link)); }
    /// For the scene alone, when it ends and its nodes may: what links to them forgets it, unheard.
    void forgetLink() noexcept;
    void forgetStashedLink() noexcept;

    // ---- Renaming --------------------------------------------------------------------------
    // All that names an input follows when it gets another name, as one change.

    /// Returns why the input cannot have that name, as a sentence; empty when it can.
    [[nodiscard]] String renameRefusal(const String& name) const;
    /// Renames the input, with what modifiers, the node's layout and unread lines say of it, as one
    /// change. False, and logged, when it is refused.
    bool rename(String name);
    /// For that and for the history: exchanges the name, unrecorded, and tells everyone.
    void exchangeName(InputNaming& other);

    // ---- History ---------------------------------------------------------------------------
    // For recorded changes alone: nothing is recorded; all but `putMember`, `takeMember`, `entered`
    // and `left` tell everyone.

    /// For the owner alone, when the input leaves it: what ends then comes back with the input.
    void recordTies();
    /// Sets the user's value, whatever the input's description says, and gives the one before.
    void exchangeValue(Value& other);
    /// Null stands for no value kept aside.
    void exchangeStash(std::unique_ptr<Stash>& other);
    /// Connects as the `rank`-th target of the output; null disconnects.
    void exchangeSource(Output* output, u64 rank);
    /// Returns the place of this input among the targets of its source.
    [[nodiscard]] u64 sourceRank() const noexcept;
    void moveMember(u64 from, u64 to);
    /// Takes a member in or out; the list's reference goes along.
    void putMember(Input* member, u64 index);
    void takeMember(Input* member);
    /// The input comes back to, and leaves, a node that it knows, with what it holds.
    void entered(Node* node, Input* parent);
    void left();

private:
    friend class Output;
    friend class SceneBuilder;
    friend class SceneVerifier;

    InputExtras& extras();
    [[nodiscard]] bool isElement() const noexcept;
    void setKinds(AttrType type, AttrType elementType) {
        m_type = narrowed(type);
        m_elementType = narrowed(elementType);
        if (m_type == farKind || m_elementType == farKind) setFarKinds(type, elementType);
    }
    void setFarKinds(AttrType type, AttrType elementType);
    void setDeclaredType(DataType type);
    // Of kinds that take more than 8 bits.
    [[nodiscard]] AttrType farType() const noexcept;
    [[nodiscard]] AttrType farElementType() const noexcept;
    [[nodiscard]] DataType farDataType() const noexcept;

    [[nodiscard]] bool writable(const Value& value) const;
    template<typename T>
    bool setPlain(AttrType kind, const T& value);
    bool store(Value value);
    [[nodiscard]] bool isUpToModifiers() const;
    bool storeModified(Value value);
    void replaceUserValue(Value value, const Value* kept);
    void replaceValue(Value& value);
    void changed(Value before);
    [[nodiscard]] bool readSource(AttrType kind, void* ctx, Value& out) const;
    template<typename T, typename Get>
    bool readAs(AttrType kind, T& out, bool evaluate, void* ctx, const Get& get) const;

    [[nodiscard]] bool isArray() const noexcept { return type() == AttrType::Array; }
    void adoptMember(Input* member);
    [[nodiscard]] bool mayHoldOthers() const;
    IInput* createChecked(String name, AttrData definition);
    IInput* addElement(u64 index, AttrType elementElementType);
    IInput* addMember(Input* member);
    IInput* addAndTell(const RefersTo<Input>& member, u64 index);
    [[nodiscard]] u64 firstNumber() const noexcept;
    [[nodiscard]] u64 elementIndex() const noexcept;
    void renumber(u64 place, bool cameIn) noexcept;
    bool shiftNumbers(bool cameIn) noexcept;
    void number(u64 from, u64 end) noexcept;
    IInput* createElement(const String& name, const AttrData& definition);
    IInput* createMember(String name, AttrData definition);
    bool removeFound(IInput* member);

    [[nodiscard]] bool holdsInputs() const noexcept;
    [[nodiscard]] bool isDefaultAlone() const;
    bool resetAlone();
    u64 plainHash(const StringVector& skip) const;
    u64 membersHash(const StringVector& skip) const;
    void keepHash(u64 hash) const noexcept { m_hash.store(hash, std::memory_order_relaxed); }
    [[nodiscard]] u64 keptHash() const noexcept { return m_hash.load(std::memory_order_relaxed); }
    void dropHash() noexcept;

    void setSource(Output* output, u64 rank = noIndex);
    /// Returns the node in whose scene what `other` does here is recorded; null: nowhere.
    [[nodiscard]] const Node* recorder(const INode* other) const;
    void endSource(Output& output, bool isRecorded);
    void dropSource() noexcept;
    void relinkStash(const INode& from, INode* to);
    void linkTo(INode* node);
    void leadsChanged() noexcept;
    void linkStash();
    void dropStash() noexcept;
    void replaceStash(Value value);
    void recordLinks(EditStep& step);
    template<typename Visit>
    void forEachWithin(const Visit& visit) const noexcept;
    void letGo() noexcept;
    void untie() noexcept;
    void endMembers() noexcept;
    void dropLastMember() noexcept;
    [[nodiscard]] RefersTo<Input> cloneAlone(INode* node, IInput* parent) const;
    [[nodiscard]] u64 bytesAlone() const noexcept;
    void setNodeOfAll(Node* node) noexcept;

    std::atomic<i32> m_refCount = 1;
    // An AttrType, another, and the DataType that a Buffer declares: any that fit 8 bits; `farKind`
    // stands for one that the extras have.
    static constexpr u8 farKind = 255;
    template<typename Kind>
    [[nodiscard]] static u8 narrowed(Kind kind) noexcept {
        return static_cast<u8>(std::min(static_cast<u32>(kind), u32{farKind}));
    }
    u8 m_type = 0;
    u8 m_elementType = 0;
    u8 m_dataType = 0;
    bool m_silent : 1 = false;
    bool m_readOnly : 1 = false;
    // Something that holds the input is marked read-only.
    bool m_isHeldReadOnly : 1 = false;
    bool m_isLeftOut : 1 = false;
    // Fields that walks and look-ups read of every input stand together at the front.
    std::unique_ptr<InputExtras> m_extras;
    Node* m_node;
    Input* m_parent;
    union {
        u64 m_nameHash;
        // Of an array element: its position, whose decimal text is its name, counted from the
        // number of the first; its last position when it has left.
        u64 m_number;
    };
    String m_name;
    Value m_value;
    // Hash of the value; 0 when unknown. Only hashes that no node takes part in are kept.
    mutable std::atomic<u64> m_hash = 0;
};

} // namespace qv::kelvo_sdk::impl
