#pragma once

#include "kelvo/base/math.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/interfaces/i_input_container.h"

namespace qv::kelvo_sdk::interfaces {

/// A buffer as callers see it: `count` elements of `type` at `data`, borrowed.
struct BufferView {
    DataType type = DataType::Null;
    const void* data = nullptr;
    u64 count = 0;
};

/// An input of a node: a typed value, an array of elements, or an object with members.
///
/// Its container part holds array elements and object members. Elements are named by their decimal
/// index. Writes convert where the kinds do (see docs/conversions.md); a read or write that does
/// not convert, a write out of range or to a read-only input answers false and changes nothing. An
/// equal value is no change. The `read` operations take: where the value goes, whether a connection
/// is evaluated (false: the value stored here), and the evaluation context (`EvalCtx*` or null).
class QV_EXPORT IInput : public IInputContainer, public IRefCounted {
public:
    /// Returns the own name; an array element's is its decimal index.
    [[nodiscard]] virtual String name() const = 0;
    [[nodiscard]] virtual AttrType type() const = 0;
    /// Returns the kind as text: "Real", "Array<Node>", "Buffer<Pos3f>".
    [[nodiscard]] virtual String typeName() const = 0;
    /// Returns null once the node is gone.
    [[nodiscard]] virtual INode* node() const = 0;
    /// Returns the array or object that holds this input, null at the top level.
    [[nodiscard]] virtual IInput* parent() const = 0;
    /// Returns the full path, "node.array[3].member"; without the node's step once that is gone.
    [[nodiscard]] virtual String path() const = 0;
    /// Tells whether this is a buffer whose elements are of that type.
    [[nodiscard]] virtual bool hasDataType(DataType type) const = 0;
    [[nodiscard]] virtual DataType dataType() const = 0;
    /// Hashes the value; 0 when there is nothing to add. Same on every run and machine.
    [[nodiscard]] virtual u64 hash(StringVector skip) const = 0;
    /// Tells whether adding and removing this input is not announced.
    [[nodiscard]] virtual bool isSilent() const = 0;
    /// Tells whether writes are refused, as they are in all that a read-only array or object holds:
    /// nothing is set, and nothing comes, goes or moves. Connections are no writes; undo, texts
    /// that are read and the end of a node that is linked to change it all the same.
    [[nodiscard]] virtual bool isReadOnly() const = 0;
    /// Lets go of the node's graph. The owning node's destructor calls it, once.
    virtual void nodeDestroyed() = 0;

    /// Returns the output that this input is connected to, or null.
    [[nodiscard]] virtual IOutput* source() const = 0;
    /// Connects, in place of any earlier connection. Refused, with a warning, when the kinds do not
    /// convert, a loop of connections would close, or the output was removed or belongs to another
    /// scene; null disconnects.
    virtual bool connect(IOutput* output) = 0;
    /// Returns whether there was a connection.
    virtual bool disconnect() = 0;

    /// Returns the element kind of an array, Null for other kinds.
    [[nodiscard]] virtual AttrType elementType() const = 0;
    /// Adds one element at the end of an array and returns it; null for other kinds.
    virtual IInput* appendElement() = 0;
    /// Adds one element before position `index` (at most the count).
    virtual IInput* insertElement(u64 index) = 0;
    /// Moves an element; those between close the gap.
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
    /// Sets the value from text: String inputs take it as it is, Node inputs look the name up in
    /// the scene (empty clears), other kinds read it.
    virtual bool setString(String value) = 0;
    /// Links to a node, which is borrowed: the link ends with it. Refused, with a warning, for a
    /// node that was removed or belongs to another scene; null clears.
    virtual bool setNode(INode* node) = 0;
    /// Copies `value.count` elements in. An input that declares an element type takes only that.
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

    /// Brings the default back: the described one, or the kind's zero value. Arrays and objects
    /// reset what they hold.
    virtual bool reset() = 0;
    [[nodiscard]] virtual bool isDefault() const = 0;
    /// Returns the unit text, e.g. "m"; empty when none is described.
    [[nodiscard]] virtual String unit() const = 0;
    /// Returns the label in a language, else the name, in title case.
    [[nodiscard]] virtual String label(String language) const = 0;
    [[nodiscard]] virtual String help(String language) const = 0;
};

} // namespace qv::kelvo_sdk::interfaces
