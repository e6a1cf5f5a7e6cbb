#pragma once

#include "kelvo/base/math.h"
#include "kelvo/base/name.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/element_type.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/result.h"

#include <concepts>
#include <cstddef>
#include <cstring>
#include <functional>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qv::kelvo_sdk {

namespace impl {
class NodeRecord;
class SnapshotPicture;
struct ShapeInput;
} // namespace impl

class Scene;
class SnapshotInput;
class SnapshotNode;
struct WriteOptions;

/// The number of a node in the snapshots of its scene. A node keeps its number through renaming,
/// conversion, removal and undo. Numbers are small, so they can be indexes of an array; a number is
/// given to another node only when no snapshot that has its node is left.
using NodeNumber = u32;
inline constexpr NodeNumber noNodeNumber = 0xffffffff;

/// The values that a snapshot has.
enum class SnapshotValues : u32 {
    /// The values that are set: connections are not evaluated, and values of modifiers are left
    /// out.
    AsSet,
    /// The values that a read of the live input gives: the result of a connection, in the kind of
    /// the input, and values of modifiers. Where an evaluation fails, the value of the input
    /// itself.
    Evaluated,
    /// The values that a plain read of the live input gives: those of modifiers, while connections
    /// are not evaluated.
    Modified,
};

/// Says how to take a snapshot.
struct SnapshotOptions {
    /// The greatest number of threads that take the snapshot, and hash it later; 0 for as many as
    /// the machine runs at once. Snapshot and hashes are the same for any number.
    u32 threads = 0;
    /// Evaluation calls the callbacks of nodes on several threads at once, see docs/threads.md.
    SnapshotValues values = SnapshotValues::AsSet;
};

/// A picture of a whole scene at one time, which never changes: the scene may be edited, undone,
/// read into or destroyed meanwhile. Any number of threads may read one snapshot without a lock.
///
/// Copies of a handle share the snapshot; the last one frees it, on any thread. Snapshots of one
/// scene share everything that is equal, and never copy buffers. Everything that a snapshot returns
/// by reference, pointer or span is valid as long as a handle on the snapshot.
///
/// Values are those that are set, unless the options ask for evaluated ones. Links and connections
/// to nodes outside of the scene are none.
class QV_EXPORT Snapshot : public RefersTo<RefCounted> {
public:
    using RefersTo::RefersTo;

    [[nodiscard]] u64 nodeCount() const noexcept;
    /// Returns a node by position in creation order; empty out of range.
    [[nodiscard]] SnapshotNode node(u64 index) const noexcept;
    /// Returns the node of that name, without regard to case; empty when there is none.
    [[nodiscard]] SnapshotNode findNode(const NameView& name) const noexcept;
    [[nodiscard]] SnapshotNode operator[](const NameView& name) const noexcept;
    // 0 would be a null name; `node(0)` is by position.
    SnapshotNode operator[](int) const = delete;
    /// Returns the node of that number; empty when there is none.
    [[nodiscard]] SnapshotNode nodeWithNumber(NodeNumber number) const noexcept;
    /// Returns all nodes in creation order. Faster than one after the other.
    [[nodiscard]] ds::Vector<SnapshotNode> nodes() const;
    /// Calls `visit` for the nodes from `begin` to `end`, in creation order, which are valid during
    /// the call only: nodes of a stored snapshot are read for it and not kept, so that a scene of
    /// any size takes little memory. Threads may visit parts of one snapshot at the same time;
    /// parts that begin at multiples of 256 cost least. Throws what `visit` throws.
    void visitNodes(u64 begin, u64 end,
                    const std::function<void(const SnapshotNode&)>& visit) const;
    /// Tells whether a node or a part of an input may have an input of that name, without regard to
    /// case. Asks the kinds of nodes that this and earlier snapshots of the scene have, not the
    /// nodes, and takes little time.
    [[nodiscard]] bool mayHaveInput(const NameView& name) const noexcept;
    /// Returns a hash of the deep hashes of all nodes; their order does not count. 0 when empty.
    [[nodiscard]] u64 hash() const;
    /// Returns the position of the snapshot among those of its scene, from 1; 0 when empty.
    [[nodiscard]] u64 version() const noexcept;
    /// Returns the text that the scene had at the time of the snapshot, byte for byte; see
    /// `Scene::text`.
    [[nodiscard]] String text() const;
    [[nodiscard]] String text(const WriteOptions& options) const;

    /// Fails when parts of a stored snapshot could not be read, with the first of the reasons;
    /// their nodes read as if they did not exist, and their buffers as empty. Tells only of parts
    /// that were asked for.
    [[nodiscard]] Result damage() const;
    /// Reads all of a stored snapshot in search of damage; like `damage` then.
    [[nodiscard]] Result verify() const;

private:
    [[nodiscard]] const impl::SnapshotPicture* picture() const noexcept;
};

/// An output of a node in a snapshot. An empty one has no node.
struct SnapshotOutput {
    const impl::SnapshotPicture* picture = nullptr;
    const impl::NodeRecord* record = nullptr;
    u32 index = 0;

    [[nodiscard]] bool isEmpty() const noexcept { return record == nullptr; }
    [[nodiscard]] explicit operator bool() const noexcept { return record != nullptr; }
    [[nodiscard]] QV_EXPORT SnapshotNode node() const noexcept;
    [[nodiscard]] QV_EXPORT const String& name() const noexcept;
    [[nodiscard]] QV_EXPORT AttrType type() const noexcept;
    /// Returns the element type of a buffer, Null for other kinds.
    [[nodiscard]] QV_EXPORT DataType dataType() const noexcept;
    /// Returns the kind with its element type, like "Buffer<Pos3f>", as `IOutput::typeName`.
    [[nodiscard]] QV_EXPORT String typeName() const;
    /// Returns the names of node and output, like "wood.color".
    [[nodiscard]] QV_EXPORT String path() const;
};

/// A node in a snapshot; borrows the snapshot. Every operation is safe on an empty one.
class QV_EXPORT SnapshotNode {
public:
    SnapshotNode() = default;
    /// For the library itself.
    SnapshotNode(const impl::SnapshotPicture* picture, const impl::NodeRecord* record) noexcept
        : m_picture(picture), m_record(record) {}

    [[nodiscard]] bool isEmpty() const noexcept { return m_record == nullptr; }
    [[nodiscard]] explicit operator bool() const noexcept { return m_record != nullptr; }
    /// Returns `noNodeNumber` for an empty one.
    [[nodiscard]] NodeNumber number() const noexcept;
    [[nodiscard]] const String& name() const noexcept;
    [[nodiscard]] const String& type() const noexcept;
    [[nodiscard]] StringVector bases() const noexcept;
    /// Returns a name for people, as `INode::displayName`, from the values of the snapshot: the
    /// text of the input "name", the file that a "path" names, or the name of the node.
    [[nodiscard]] String displayName() const;
    /// Tells whether a library that the scene knew defines the type.
    [[nodiscard]] bool isDefined() const noexcept;
    /// Tells whether the type or one of the bases is `type`.
    [[nodiscard]] bool isTypeOf(const String& type) const noexcept;

    [[nodiscard]] u64 inputCount() const noexcept;
    /// Returns an input by position; empty out of range.
    [[nodiscard]] SnapshotInput input(u64 index) const noexcept;
    /// Returns the first input of that name, without regard to case; empty when there is none.
    [[nodiscard]] SnapshotInput operator[](const NameView& name) const noexcept;
    // 0 would be a null name; `input(0)` is by position.
    SnapshotInput operator[](int) const = delete;
    /// Returns the input at a path like "array[3].member"; empty when a step of the path fails.
    [[nodiscard]] SnapshotInput inputAt(const String& path) const;
    [[nodiscard]] u64 outputCount() const noexcept;
    /// Returns an output by position; empty out of range.
    [[nodiscard]] SnapshotOutput output(u64 index) const noexcept;

    /// Returns the value of the input "matrix", the identity without such a Mat4.
    [[nodiscard]] math::Mat4d matrix() const noexcept;
    /// Returns the nodes that the list "children" of an "xform" links to, each once, in order.
    [[nodiscard]] ds::Vector<SnapshotNode> children() const;
    /// Returns the nodes that the inputs link and connect to, each once, in order of the inputs.
    [[nodiscard]] ds::Vector<SnapshotNode> dependencies() const;

    /// Returns the node as scene text without a header line.
    [[nodiscard]] String text() const;
    // The first call of these on a snapshot takes time in proportion to its nodes.

    /// Returns the nodes that have this one among their `children`, in creation order.
    [[nodiscard]] ds::Vector<SnapshotNode> parents() const;
    /// Returns the product of the matrices along the first way from the top of the hierarchy down
    /// to this node, in the order of `NodePath::matrix`. The way up leads to the first parent that
    /// is not on it yet, and ends when there is none.
    [[nodiscard]] math::Mat4d worldMatrix() const;
    /// Returns the product along each way from the top, the first being that of `worldMatrix`: the
    /// places of a node with several parents. There may be very many; finds `atMost` of them.
    [[nodiscard]] ds::Vector<math::Mat4d> worldMatrices(u64 atMost = 1000) const;

    /// Returns the hash of name and inputs, the same as `Node::hash` of the live node: a link or
    /// connection counts by the name of the other node.
    [[nodiscard]] u64 hash() const;
    /// Returns a hash of everything that the node depends on: its name, type, bases, outputs and
    /// inputs, and the deep hashes of the nodes that it links and connects to. Equal for equal
    /// content, in any scene, process and build. Marks and descriptions of inputs do not count.
    ///
    /// The first call on a snapshot hashes the nodes that differ from the snapshot that was asked
    /// last, and those that depend on them; further calls take constant time. 0 for an empty one.
    [[nodiscard]] u64 deepHash() const;

    /// Tells whether both are the same state of the same node: nothing of it changed between their
    /// snapshots. Takes constant time; false for equal nodes of different scenes.
    [[nodiscard]] bool isUnchangedFrom(const SnapshotNode& other) const noexcept {
        return m_record == other.m_record;
    }
    /// Compares node and snapshot.
    [[nodiscard]] bool operator==(const SnapshotNode&) const noexcept = default;

private:
    friend class SnapshotWhy;
    const impl::SnapshotPicture* m_picture = nullptr;
    const impl::NodeRecord* m_record = nullptr;
};

namespace detail {

// Reads a value of another kind than T, converted; false when it does not convert.
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, bool& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, i64& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, u64& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, double& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, math::Vec2d& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, math::Vec3d& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, math::Vec4d& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, math::Pos2d& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, math::Pos3d& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, math::Quatd& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, math::Rgbad& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, math::Mat3d& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, math::Mat4d& out);
QV_EXPORT bool convertTo(AttrType type, const std::byte* value, String& out);

// The kind whose values are stored as a T.
template<typename T>
inline constexpr AttrType kindStoredAs = AttrType::Null;
template<>
inline constexpr AttrType kindStoredAs<i64> = AttrType::Int;
template<>
inline constexpr AttrType kindStoredAs<u64> = AttrType::UInt;
template<>
inline constexpr AttrType kindStoredAs<double> = AttrType::Real;
template<>
inline constexpr AttrType kindStoredAs<math::Vec2d> = AttrType::Vec2;
template<>
inline constexpr AttrType kindStoredAs<math::Vec3d> = AttrType::Vec3;
template<>
inline constexpr AttrType kindStoredAs<math::Vec4d> = AttrType::Vec4;
template<>
inline constexpr AttrType kindStoredAs<math::Pos2d> = AttrType::Pos2;
template<>
inline constexpr AttrType kindStoredAs<math::Pos3d> = AttrType::Pos3;
template<>
inline constexpr AttrType kindStoredAs<math::Quatd> = AttrType::Quat;
template<>
inline constexpr AttrType kindStoredAs<math::Rgbad> = AttrType::Rgba;
template<>
inline constexpr AttrType kindStoredAs<math::Mat3d> = AttrType::Mat3;
template<>
inline constexpr AttrType kindStoredAs<math::Mat4d> = AttrType::Mat4;

} // namespace detail

/// An input of a node in a snapshot; borrows the snapshot. Every operation is safe on an empty one.
class QV_EXPORT SnapshotInput {
public:
    SnapshotInput() = default;
    /// For the library itself.
    SnapshotInput(const impl::SnapshotPicture* picture, const impl::NodeRecord* record, u32 list,
                  u32 index) noexcept;

    [[nodiscard]] bool isEmpty() const noexcept { return m_record == nullptr; }
    [[nodiscard]] explicit operator bool() const noexcept { return m_record != nullptr; }
    [[nodiscard]] SnapshotNode node() const noexcept { return {m_picture, m_record}; }
    /// Returns the array or object that the input is a part of; empty for an input of the node.
    [[nodiscard]] SnapshotInput parent() const noexcept;
    /// Returns the name; for an element of an array its index.
    [[nodiscard]] String name() const;
    /// Returns the name without copying it; empty for an element of an array.
    [[nodiscard]] const String& ownName() const noexcept;
    /// Returns the path within the node, like "array[3].member".
    [[nodiscard]] String path() const;
    [[nodiscard]] AttrType type() const noexcept { return m_type; }
    /// Returns the element kind of an array, Null for other kinds.
    [[nodiscard]] AttrType elementType() const noexcept;
    /// Returns the element type that a buffer declares, Null for any and for other kinds.
    [[nodiscard]] DataType dataType() const noexcept;
    /// Returns the kind with its element kind or type, like "Array<Real>", as `IInput::typeName`.
    [[nodiscard]] String typeName() const;
    /// Tells whether the input, or an array or object around it, is marked as read-only.
    [[nodiscard]] bool isReadOnly() const noexcept;
    [[nodiscard]] bool isSilent() const noexcept;
    /// Tells whether the value is that of `IInput::reset`, as `IInput::isDefault`.
    [[nodiscard]] bool isDefault() const;

    /// Reads the value as a `T`: a bool, number, text or `qv::math` value, converted. Returns
    /// false, with `out` unchanged, when it does not convert.
    template<typename T>
    bool read(T& out) const {
        if constexpr (detail::kindStoredAs<T> != AttrType::Null) {
            if (m_type == detail::kindStoredAs<T>) {
                std::memcpy(&out, m_value, sizeof out);
                return true;
            }
        }
        if constexpr (std::integral<T> && !std::same_as<T, bool>) {
            std::conditional_t<std::signed_integral<T>, i64, u64> value = 0;
            if (!detail::convertTo(m_type, m_value, value) || !std::in_range<T>(value))
                return false;
            out = static_cast<T>(value);
            return true;
        } else if constexpr (std::same_as<T, float>) {
            double value = 0.0;
            const bool isRead = read(value);
            if (isRead) out = static_cast<float>(value);
            return isRead;
        } else {
            if constexpr (std::same_as<T, String>)
                if (m_type == AttrType::Node) return readName(out);
            return detail::convertTo(m_type, m_value, out);
        }
    }
    /// Returns the value as a `T`; `fallback` when it does not convert.
    template<typename T>
    [[nodiscard]] T get(T fallback = T()) const {
        read(fallback);
        return fallback;
    }
    /// Returns the text of a String, empty for other kinds.
    [[nodiscard]] std::string_view text() const noexcept;
    /// Returns the elements of a buffer; empty for other kinds.
    [[nodiscard]] interfaces::BufferView bufferView() const noexcept;
    /// Returns the elements of a buffer if its element type is exactly that of `T`, else an empty
    /// span.
    template<typename T>
    [[nodiscard]] std::span<const T> buffer() const noexcept {
        const interfaces::BufferView view = bufferView();
        if (view.type != elementTypeOf<T>) return {};
        return {static_cast<const T*>(view.data), view.count};
    }
    /// Returns the node that the input links to, empty for none and for other kinds.
    [[nodiscard]] SnapshotNode linked() const noexcept;
    /// Returns the number of that node, `noNodeNumber` for none, without reading the node.
    [[nodiscard]] NodeNumber linkedNumber() const noexcept;
    /// Returns the output that the input is connected to, empty for none.
    [[nodiscard]] SnapshotOutput source() const noexcept;
    /// Tells whether the input is connected to an output, without reading the output's node.
    [[nodiscard]] bool isConnected() const noexcept;

    /// Returns the number of array elements or object members.
    [[nodiscard]] u64 inputCount() const noexcept;
    /// Returns an element or member; empty out of range.
    [[nodiscard]] SnapshotInput input(u64 index) const noexcept;
    /// Returns the first member of that name, without regard to case; empty when there is none.
    [[nodiscard]] SnapshotInput operator[](const NameView& name) const noexcept;
    // 0 would be a null name; `input(0)` is by position.
    SnapshotInput operator[](int) const = delete;

    [[nodiscard]] bool operator==(const SnapshotInput&) const noexcept = default;

private:
    [[nodiscard]] const impl::ShapeInput& shape() const noexcept;
    [[nodiscard]] bool isContainer() const noexcept {
        return m_type == AttrType::Array || m_type == AttrType::Object;
    }
    [[nodiscard]] u32 ownList() const noexcept;
    [[nodiscard]] bool isDefaultAlone() const;
    bool readName(String& out) const;

    const impl::SnapshotPicture* m_picture = nullptr;
    const impl::NodeRecord* m_record = nullptr;
    const std::byte* m_value = nullptr;
    u32 m_list = 0;
    u32 m_index = 0;
    AttrType m_type = AttrType::Null;
};

} // namespace qv::kelvo_sdk
