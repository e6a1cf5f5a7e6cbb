#pragma once

#include "kelvo/base/math.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/interfaces/i_input_container.h"

namespace qv::kelvo_sdk::interfaces {

/// A borrowed view of a buffer: `count` elements of `type` at `data`.
struct BufferView {
    DataType type = DataType::Null;
    const void* data = nullptr;
    u64 count = 0;
};

/// An input of a node: a typed value, an array of elements, or an object with members.
///
/// Its container part holds array elements and object members. Elements are named by their decimal
/// index. Writes convert between kinds where docs/conversions.md says so; a read or write that does
/// not convert, a write out of range and a write to a read-only input return false and change
/// nothing. Writing an equal value is no change. The `read` operations take the place for the
/// value, whether to evaluate a connection (false: the stored value is read), and the evaluation
/// context (`EvalCtx*` or null).
class QV_EXPORT IInput : public IInputContainer, public IRefCounted {
public:
    /// Returns the input's own name; for an array element its decimal index.
    [[nodiscard]] virtual String name() const = 0;
    [[nodiscard]] virtual AttrType type() const = 0;
    /// Returns the kind as text: "Real", "Array<Node>", "Buffer<Pos3f>".
    [[nodiscard]] virtual String typeName() const = 0;
    /// Returns null after the node was destroyed.
    [[nodiscard]] virtual INode* node() const = 0;
    /// Returns the array or object that holds this input, null at the top level.
    [[nodiscard]] virtual IInput* parent() const = 0;
    /// Returns the full path, "node.array[3].member"; without the node's name after the node was
    /// destroyed.
    [[nodiscard]] virtual String path() const = 0;
    /// Tells whether this is a buffer whose elements are of that type.
    [[nodiscard]] virtual bool hasDataType(DataType type) const = 0;
    [[nodiscard]] virtual DataType dataType() const = 0;
    /// Hashes the value; 0 when the input contributes nothing. Same in every run and on every
    /// machine.
    [[nodiscard]] virtual u64 hash(StringVector skip) const = 0;
    /// Tells whether adding and removing this input sends no notification.
    [[nodiscard]] virtual bool isSilent() const = 0;
    /// Tells whether writes are refused. A read-only array or object also refuses them for all
    /// inputs in it, and no element or member can be added, removed or moved. Making a connection
    /// is not a write; undo, reading texts and the removal of a linked node still change the input.
    [[nodiscard]] virtual bool isReadOnly() const = 0;
    /// Detaches the input from the node; called once, by the node's destructor.
    virtual void nodeDestroyed() = 0;

    /// Returns the output that this input is connected to, or null.
    [[nodiscard]] virtual IOutput* source() const = 0;
    /// Connects to an output and replaces an earlier connection; null disconnects. Refused, with a
    /// warning, when the kinds do not convert, the connection would close a loop, or the output was
    /// removed or belongs to another scene.
    virtual bool connect(IOutput* output) = 0;
    /// Returns whether there was a connection.
    virtual bool disconnect() = 0;

    /// Returns the element kind of an array, Null for other kinds.
    [[nodiscard]] virtual AttrType elementType() const = 0;
    /// Adds one element at the end of an array and returns it; null for other kinds.
    virtual IInput* appendElement() = 0;
    /// Inserts an element so that it gets the index `index` (at most the count).
    virtual IInput* insertElement(u64 index) = 0;
    /// Moves an element; the elements between shift by one.
    virtual bool moveElement(u64 from, u64 to) = 0;

    virtual bool setBool(bool value) = 0;
    virtual bool setInt(i64 value) = 0;
    virtual bool setUInt(u64 value) = 0;
    virtual bool setReal(double value) = 0;
    virtual bool setVec2(const math::Vec2d& value) = 0;
    virtual bool setVec3(const math::Vec3d& value) = 0;
    virtual bool setVec4(const math::Vec4d& value) = 0;
    virtual bool setPos2(const math::Pos2d& value) = 0;
    virtual bool setPos3(const math::Pos3d& value) = 0;
    virtual bool setQuat(const math::Quatd& value) = 0;
    virtual bool setRgba(const math::Rgbad& value) = 0;
    virtual bool setMat3(const math::Mat3d& value) = 0;
    virtual bool setMat4(const math::Mat4d& value) = 0;
    /// Sets the value from text: String inputs take the text unchanged, Node inputs look up a node
    /// of that name in the scene (empty clears), other kinds parse it.
    virtual bool setString(String value) = 0;
    /// Links to a node, which is borrowed: removing the node clears the link. Refused, with a
    /// warning, for a node that was removed or belongs to another scene; null clears.
    virtual bool setNode(INode* node) = 0;
    /// Copies `value.count` elements. An input that declares an element type accepts no other.
    virtual bool setBuffer(BufferView value) = 0;

    virtual bool readBool(bool& out, bool evaluate, void* ctx) const = 0;
    virtual bool readInt(i64& out, bool evaluate, void* ctx) const = 0;
    virtual bool readUInt(u64& out, bool evaluate, void* ctx) const = 0;
    virtual bool readReal(double& out, bool evaluate, void* ctx) const = 0;
    virtual bool readVec2(math::Vec2d& out, bool evaluate, void* ctx) const = 0;
    virtual bool readVec3(math::Vec3d& out, bool evaluate, void* ctx) const = 0;
    virtual bool readVec4(math::Vec4d& out, bool evaluate, void* ctx) const = 0;
    virtual bool readPos2(math::Pos2d& out, bool evaluate, void* ctx) const = 0;
    virtual bool readPos3(math::Pos3d& out, bool evaluate, void* ctx) const = 0;
    virtual bool readQuat(math::Quatd& out, bool evaluate, void* ctx) const = 0;
    virtual bool readRgba(math::Rgbad& out, bool evaluate, void* ctx) const = 0;
    virtual bool readMat3(math::Mat3d& out, bool evaluate, void* ctx) const = 0;
    virtual bool readMat4(math::Mat4d& out, bool evaluate, void* ctx) const = 0;
    /// Reads any kind as text.
    virtual bool readString(String& out, bool evaluate, void* ctx) const = 0;
    virtual bool readNode(INode*& out, bool evaluate, void* ctx) const = 0;
    /// Reads a buffer; the view is valid until the value changes.
    virtual bool readBuffer(BufferView& out, bool evaluate, void* ctx) const = 0;

    /// Tells whether this is an array of that element kind; Null matches any array.
    [[nodiscard]] virtual bool hasElementType(AttrType type) const = 0;
    /// Tells whether this input has named members.
    [[nodiscard]] virtual bool isObject() const = 0;

    /// Restores the default: the one in the definition, or the kind's zero value. Arrays and
    /// objects reset the inputs in them.
    virtual bool reset() = 0;
    [[nodiscard]] virtual bool isDefault() const = 0;
    /// Returns the unit, e.g. "m"; empty when the definition gives none.
    [[nodiscard]] virtual String unit() const = 0;
    /// Returns the label in a language or, without one, the name, in title case.
    [[nodiscard]] virtual String label(String language) const = 0;
    [[nodiscard]] virtual String help(String language) const = 0;
};

} // namespace qv::kelvo_sdk::interfaces
