#pragma once

#include "kelvo/base/name.h"
#include "kelvo/base/only.h"
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

template<typename Attribute>
class Departure;
class EditStep;
class ElementMove;
class InputListChange;
class InputRename;
class Modifiers;
template<typename Attribute>
class NameIndex;
class Node;
class NodeCopies;
class NodeExchange;
class Output;
class Scene;
class SceneBuilder;
class SourceChange;
class FirstModifier;
class StashChange;
class ValueChange;
struct InputExtras;
struct InputNaming;
struct RareExtras;
struct Stash;

/// The one implementation of an input; the contract of its operations stands in `IInput`.
///
///     Object     input.cpp             construction, identity, copies, node's end
///     Values     input_values.cpp      written, read, reset
///     Stash      input_stash.cpp       one value kept aside
///     Modifiers  input_modified.cpp    values of modifiers, the user's value beside them
///     Container  input_container.cpp   elements and members
///     Hash       input_hash.cpp        of the value
///     Links      input_links.cpp       connections to outputs, links to nodes
///     Renaming   input_rename.cpp      a new name, for all that refers to the input by name
///     History    input_history.cpp     changes undone and redone
///
/// Parts that few inputs have (members, a connection, a stash) are in a block of their
/// own, which is allocated on first use.
class Input final : public IInput {
public:
    // ---- Object ----------------------------------------------------------------------------
    // An input borrows its node and its parent; both clear these pointers when they are destroyed
    // or detach the input.

    /// Makes an input with one reference, which the creator owns; `parent` is null at the top
    /// level. The input is in no list yet, and observers are not notified.
    QV_EXPORT Input(INode* node, IInput* parent, String name, AttrType type, AttrType elementType);
    QV_EXPORT Input(INode* node, IInput* parent, String name, AttrData definition);
    ~Input() override;
    /// Returns an input without a node that shows a value. Borrows a node in the value, which does
    /// not count as linked.
    [[nodiscard]] static RefersTo<Input> showing(const Value& value);
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    void incRef() override;
    void decRef() override;

    /// Returns a copy for `node` and `parent` with value, members, flags, stash and connection;
    /// the caller owns its reference.
    QV_EXPORT IInput* clone(INode* node, IInput* parent) const;
    /// Returns the data for making an equal input; `value` is the current value.
    [[nodiscard]] AttrData description() const;
    /// From now on the input calls no other object.
    void clearNode(Only<Node> /*key*/) noexcept { m_node = nullptr; }
    /// Call after the owner removed the input and observers were notified.
    void leaveOwner(Only<Departure<Input>> key) noexcept;

    [[nodiscard]] String name() const override;
    [[nodiscard]] AttrType type() const override {
        return m_type != farKind ? static_cast<AttrType>(m_type) : farType();
    }
    [[nodiscard]] String typeName() const override;
    [[nodiscard]] INode* node() const override;
    [[nodiscard]] IInput* parent() const override { return m_parent; }
    /// Tells whether the input is an element of an array.
    [[nodiscard]] bool isElement() const noexcept;
    [[nodiscard]] String path() const override;
    [[nodiscard]] bool hasDataType(DataType type) const override;
    [[nodiscard]] DataType dataType() const override;
    [[nodiscard]] bool isSilent() const override { return m_silent; }
    [[nodiscard]] bool isReadOnly() const override { return m_readOnly || m_isHeldReadOnly; }
    /// Tells whether the input itself is marked read-only, not only a parent.
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
    /// Returns null when there is no description.
    [[nodiscard]] const AttrDetails* details() const noexcept { return m_details.get(); }
    /// Replaces the description; the value is unchanged.
    void setDetails(RefersTo<AttrDetails> details) noexcept;
    /// Returns the only element type that a buffer accepts, Null when it accepts any; for an array,
    /// the type that its buffers accept.
    [[nodiscard]] DataType declaredType() const noexcept {
        return m_dataType != farKind ? static_cast<DataType>(m_dataType) : farDataType();
    }
    void setSilent(bool silent) noexcept { m_silent = silent; }
    /// Applies to elements and members too.
    QV_EXPORT void setReadOnly(bool readOnly);
    /// Stores a value even in a read-only input, for repairing errors in a text that no write can
    /// fix.
    bool setReadOnlyValue(const Value& value);
    /// Tells whether the text that the input was read from omits it.
    [[nodiscard]] bool isOmitted() const noexcept { return m_isOmitted; }
    void setOmitted(bool leftOut) noexcept { m_isOmitted = leftOut; }
    /// Hash of the name without regard to case. Needs an input that is no array element.
    [[nodiscard]] u64 nameHash() const noexcept { return m_nameHash; }
    [[nodiscard]] const String& ownName() const noexcept { return m_name; }
    /// Returns the position in the list that contains the input.
    [[nodiscard]] u64 placeInList() const noexcept;
    /// Returns the memory of the input with its elements or members.
    [[nodiscard]] u64 ownBytes() const;
    /// Returns the parts that few inputs have; null when it has none of them.
    [[nodiscard]] const InputExtras* ownExtras() const noexcept { return m_extras.get(); }

    // The index of the list whose first attribute is this input; see input_list.h.
    [[nodiscard]] const NameIndex<IInput>* listIndex() const noexcept;
    /// Returns the place that owns the index.
    [[nodiscard]] std::unique_ptr<NameIndex<IInput>>& listIndexPlace();
    void dropListIndex() noexcept;
    /// Takes over the index of the former first input, if it has one.
    void takeListIndex(Input& first) noexcept;

    // ---- Values ----------------------------------------------------------------------------
    // Writes convert the value and check it against the description; if nothing changes, observers
    // are not notified.

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
    /// Accepts any value that converts; shares a buffer instead of copying it.
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
    /// Returns the value that `reset` brings back; Null for arrays and objects.
    [[nodiscard]] Value defaultValue() const;

    // ---- Stash -----------------------------------------------------------------------------
    // At most one value is kept aside. A link in it counts as a link of the scene.

    /// Keeps the current value aside, unless one is kept already. Does nothing for arrays and
    /// objects, whose parts keep their own values.
    QV_EXPORT void stash();
    /// Restores the kept value; false when none is kept.
    bool unstash();
    /// Returns the kept value, or null.
    [[nodiscard]] const Value* stashed() const noexcept;
    /// Keeps `value` aside, for readers of text.
    void setStashed(Value value);
    /// Keeps `value` aside without recording it.
    void replaceStash(Value value, Only<Input, NodeCopies, SceneBuilder> key);
    /// Call before the node gets its first modifier: replaces the value by the kept one, which
    /// there must be, even if the input is read-only.
    void useStashed(Only<FirstModifier> key);
    /// Restores the kept value without notifications. Needs a kept value.
    std::unique_ptr<Stash> takeStashedBack(Only<Input, Modifiers> key) noexcept;
    /// Reverses `takeStashedBack`: shows a value, and keeps `kept` aside, null for none.
    void showAgain(const Value& value, std::unique_ptr<Stash> kept, Only<Modifiers> key) noexcept;
    /// Call when the owner removes the input: the input and its parts show the user's values from
    /// now on, without notifications. Later, values of modifiers could not be told from the user's.
    void showOwnValues(Only<Input, InputListChange, Node> key) noexcept;

    // ---- Modifiers -------------------------------------------------------------------------
    // While modifiers write to the input, its value is theirs and the one kept aside is the user's.

    /// Tells whether the scene's modifiers may overwrite the value, so that the kept one is the
    /// user's.
    [[nodiscard]] bool isModified() const;
    /// Returns the user's value, regardless of modifiers.
    [[nodiscard]] const Value& ownValue() const { return isModified() ? *stashed() : m_value; }

    // ---- Container -------------------------------------------------------------------------
    // An array creates elements of its element kind only, each named by the next index. In an array
    // of arrays, `createArray` sets the element kind of each. Read-only inputs, and all inputs in
    // them, refuse to gain or lose elements and members.

    IInput* createInput(String name, AttrType type) override;
    /// For making inputs from a definition; works in read-only inputs too.
    IInput* createInput(String name, AttrData definition);
    IInput* createArray(String name, AttrType elementType) override;
    /// Like `createArray`, for a buffer that declares its element type.
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
    /// Is `input`, without a copy of the name.
    [[nodiscard]] IInput* findInputByName(const NameView& name) const;
    /// Is like `findInputByName`, without a log entry.
    [[nodiscard]] IInput* lookUpInput(const NameView& name) const noexcept;
    /// Elements or members; empty for other kinds. Inline; needs
    /// kelvo/sdk/impl/graph/input_extras.h.
    [[nodiscard]] const ds::Vector<IInput*>& members() const noexcept;
    /// Appends a member without notifications and takes over the reference to it.
    void adoptMember(RefersTo<Input> member, Only<Input, SceneBuilder> key);
    /// Makes room for that many members.
    void reserveMembers(u64 count, Only<SceneBuilder> key);

    // ---- Hash ------------------------------------------------------------------------------
    // The hash of the value, cached until the value changes, unless a node takes part in it.

    [[nodiscard]] u64 hash(StringVector skip) const override { return hashWith(skip); }
    /// Like `hash`, without a copy of the list.
    [[nodiscard]] u64 hashWith(const StringVector& skip) const;

    // ---- Links -----------------------------------------------------------------------------
    // Both ends know a connection, and the scene's table knows each link to a node.

    [[nodiscard]] IOutput* source() const override;
    /// Like `source`, inline; needs kelvo/sdk/impl/graph/input_extras.h.
    [[nodiscard]] Output* sourceOutput() const noexcept;
    bool connect(IOutput* output) override;
    bool disconnect() override;
    /// Call when a node leaves its scene or ends: redirects a link to this node, also in the kept
    /// value, to its replacement, null for none, and notifies observers.
    void relink(const INode& from, INode* to);
    /// Call when links or connections of the input change: drops its node's leads in the compact
    /// graph.
    void leadsChanged() noexcept;
    /// Set a link or a connection without checks, for texts, which are checked as a whole: works in
    /// read-only inputs and in those with few choices too. Need an input that has a node.
    void linkUnchecked(INode* node, Only<SceneBuilder> key);
    void connectUnchecked(Output& output, Only<Input, SceneBuilder> key);
    /// Call when the linked node ends: clear the link to it without notifications.
    void dropLink(Only<Node> key) noexcept;
    void dropStashedLink(Only<Node> key) noexcept;
    /// Call while no other object uses the input (yet or any more): changes link and connection
    /// without notifications.
    void redirect(INode* link, Output* source, u64 rank, Only<NodeCopies, NodeExchange, Scene> key);
    /// Call when the scene is destroyed and its nodes may be too: clear links without
    /// notifications.
    void forgetLink(Only<Input, Scene> key) noexcept;
    void forgetStashedLink(Only<Input, Scene> key) noexcept;

    /// Inline; needs kelvo/sdk/impl/graph/input_extras.h.
    void setSourceSlot(u64 slot, Only<Output> key) noexcept;
    /// Ends the connection to the output, whose last target this input is.
    void endSource(Output& output, bool isRecorded, Only<Output> key);
    /// Is like `endSource`, without notifications, for an output that has dropped this target.
    void dropSource(Only<Output> key) noexcept;

    // ---- Renaming --------------------------------------------------------------------------
    // Renaming an input updates everything that refers to it by name, as one change.

    /// Renames the input in its node, in lists of modifiers, the node's layout and unread lines, as
    /// one change. Returns false and logs an error when it is refused.
    bool rename(String name);
    /// Swaps the name without recording, and notifies observers.
    void exchangeName(InputNaming& other, Only<Input, InputRename> key);

    // ---- History ---------------------------------------------------------------------------
    // Recorded changes swap values, names and lists. These functions record nothing; all of them
    // except `putMember`, `takeMember`, `entered` and `left` notify observers.

    /// Call when the owner removes the input: records the links and connections that end, so that
    /// undo restores them.
    void recordTies(Only<Input, Node> key);
    /// Sets the user's value regardless of the description, and returns the previous one in
    /// `other`.
    void exchangeValue(Value& other, Only<ValueChange> key);
    /// Null means that no value is kept aside.
    void exchangeStash(std::unique_ptr<Stash>& other, Only<StashChange> key);
    /// Connects as the `rank`-th target of the output; null disconnects.
    void exchangeSource(Output* output, u64 rank, Only<SourceChange> key);
    /// Returns the position of this input among the targets of its source.
    [[nodiscard]] u64 sourceRank() const noexcept;
    void moveMember(u64 from, u64 to, Only<ElementMove, Input> key);
    /// Inserts or removes a member, together with the list's reference.
    void putMember(RefersTo<Input> member, u64 index, Only<Input, InputListChange> key);
    void takeMember(Input* member, Only<Input, InputListChange> key);
    /// Call when the input, with its parts, returns to or leaves a node that it knows.
    void entered(Node* node, Input* parent, Only<InputListChange> key);
    void left(Only<InputListChange> key);

private:
    // Breaks laws on purpose; only tests define it.
    friend struct LawBreaker;

    InputExtras& extras();
    void setKinds(AttrType type, AttrType elementType) {
        m_type = narrowed(type);
        m_elementType = narrowed(elementType);
        if (m_type == farKind || m_elementType == farKind) setFarKinds(type, elementType);
    }
    void setFarKinds(AttrType type, AttrType elementType);
    void setDeclaredType(DataType type);
    // For kinds that take more than 8 bits.
    [[nodiscard]] AttrType farType() const noexcept;
    [[nodiscard]] AttrType farElementType() const noexcept;
    [[nodiscard]] DataType farDataType() const noexcept;

    [[nodiscard]] bool writable(const Value& value) const;
    template<typename T>
    bool setPlain(AttrType kind, const T& value);
    bool store(Value&& value);
    [[nodiscard]] bool isUpToModifiers() const;
    bool storeModified(Value&& value);
    void replaceUserValue(Value&& value, const Value* kept);
    void replaceValue(Value& value);
    void prepareFor(const Value& value);
    void changed(Value&& before);
    // Tells whether a change is neither recorded nor notified to anyone.
    [[nodiscard]] bool isUnnotified() const noexcept;
    void changedUnnotified(const Input* changed = nullptr) const noexcept;
    template<typename T, typename Get>
    bool readAs(AttrType kind, T& out, bool evaluate, void* ctx, const Get& get) const;

    [[nodiscard]] bool isArray() const noexcept { return type() == AttrType::Array; }
    IInput* createChecked(String name, AttrData definition);
    IInput* addElement(u64 index, AttrType elementElementType);
    IInput* addMember(Input* member);
    IInput* addAndTell(RefersTo<Input> member, u64 index);
    [[nodiscard]] u64 firstNumber() const noexcept;
    [[nodiscard]] u64 elementIndex() const noexcept;
    void renumber(u64 place, bool cameIn) noexcept;
    bool shiftNumbers(bool cameIn) noexcept;
    void number(u64 from, u64 end) noexcept;
    IInput* createElement(const String& name, const AttrData& definition);
    IInput* createMember(String name, AttrData definition);
    template<typename PlaceOf>
    void takeOff(Input& removed, bool recordsTies, const PlaceOf& placeOf);
    bool removeFound(IInput* member);

    bool resetAlone();
    u64 plainHash(const StringVector& skip) const;
    u64 membersHash(const StringVector& skip) const;
    void keepHash(u64 hash) const noexcept { m_hash.store(hash, std::memory_order_relaxed); }
    [[nodiscard]] u64 keptHash() const noexcept { return m_hash.load(std::memory_order_relaxed); }
    void dropHash() noexcept;

    void setSource(Output* output, u64 rank = noIndex);
    void replaceSource(Output* before, Output* after);
    void relinkStash(const INode& from, INode* to);
    void linkTo(INode* node);
    void linkStash();
    void dropStash() noexcept;
    template<typename Visit>
    void forEachWithin(const Visit& visit) const noexcept;
    void detach() noexcept;
    void untie() noexcept;
    void endMembers() noexcept;
    void dropLastMember() noexcept;
    Input(const Input& from, INode* node, IInput* parent);
    [[nodiscard]] RefersTo<Input> cloneAlone(INode* node, IInput* parent) const;
    void copyFarKinds(const RareExtras& from);
    void setNodeOfAll(Node* node) noexcept;

    std::atomic<i32> m_refCount = 1;
    // The kind, the element kind, and the DataType that a buffer declares, if they fit 8 bits;
    // `farKind` means that the extras have it.
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
    // A parent is marked read-only.
    bool m_isHeldReadOnly : 1 = false;
    bool m_isOmitted : 1 = false;
    // Fields that walks and look-ups read from every input come first, close together.
    std::unique_ptr<InputExtras> m_extras;
    Node* m_node;
    Input* m_parent;
    union {
        u64 m_nameHash;
        // For an array element: its position plus the number of the first element. The decimal text
        // of the position is its name. For a removed element, its last position.
        u64 m_number;
    };
    String m_name;
    Value m_value;
    // 0 when unknown. Only hashes that do not depend on nodes are cached.
    mutable std::atomic<u64> m_hash = 0;
    RefersTo<AttrDetails> m_details;
};

/// Returns the first of an input and its parts whose own value is not at its default; null when all
/// are.
[[nodiscard]] const Input* firstChanged(const Input& input);

/// Tells whether the kind of an output converts to that of an input.
[[nodiscard]] bool takes(const Input& input, const Output& output) noexcept;

/// Call when the nodes that the input links and connects to gain or lose a reader.
void tiesChanged(const Input& input) noexcept;

} // namespace qv::kelvo_sdk::impl
