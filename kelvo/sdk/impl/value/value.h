#pragma once

#include "kelvo/base/math.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/impl/value/buffer.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <cstring>

namespace qv::kelvo_sdk::impl {

/// The value of one plain input: tagged with its kind, up to four doubles inline, matrices in a
/// shared block. Arrays and objects have no value: they hold inputs.
///
/// Values are equal if their kinds and bits are equal: NaN equals itself, -0 does not equal 0.
class Value {
public:
    Value() noexcept : m_type(AttrType::Null) {}
    Value(bool value) noexcept : m_type(AttrType::Bool) { m_data.b = value; }
    Value(i64 value) noexcept : m_type(AttrType::Int) { m_data.i = value; }
    Value(i32 value) noexcept : Value(static_cast<i64>(value)) {}
    Value(u64 value) noexcept : m_type(AttrType::UInt) { m_data.u = value; }
    Value(u32 value) noexcept : Value(static_cast<u64>(value)) {}
    Value(double value) noexcept : m_type(AttrType::Real) { m_data.d[0] = value; }
    Value(const math::Vec2d& value) noexcept;
    Value(const math::Vec3d& value) noexcept;
    Value(const math::Vec4d& value) noexcept;
    Value(const math::Pos2d& value) noexcept;
    Value(const math::Pos3d& value) noexcept;
    Value(const math::Quatd& value) noexcept;
    Value(const math::Rgbad& value) noexcept;
    Value(const math::Mat3d& value);
    Value(const math::Mat4d& value);
    Value(String value) noexcept;
    Value(const char* value) : Value(String(value)) {}
    /// The node is borrowed.
    Value(interfaces::INode* value) noexcept : m_type(AttrType::Node) { m_data.node = value; }
    Value(Buffer value) noexcept;

    QV_EXPORT Value(const Value& other) noexcept;
    /// Leaves the other value Null.
    Value(Value&& other) noexcept { takeFrom(other); }
    QV_EXPORT Value& operator=(const Value& other) noexcept;
    Value& operator=(Value&& other) noexcept {
        if (this == &other) return *this;
        if (holdsResource()) release();
        takeFrom(other);
        return *this;
    }
    ~Value() {
        if (holdsResource()) release();
    }

    /// Returns the initial value of an input of that kind: zero, empty, no node, the identity
    /// matrix or rotation, opaque black. Null for Array, Object and unknown kinds.
    [[nodiscard]] static Value zero(AttrType type);

    [[nodiscard]] AttrType type() const noexcept { return m_type; }
    [[nodiscard]] bool isNull() const noexcept { return m_type == AttrType::Null; }

    // Each function needs a value of its kind.
    [[nodiscard]] bool asBool() const noexcept { return m_data.b; }
    [[nodiscard]] i64 asInt() const noexcept { return m_data.i; }
    [[nodiscard]] u64 asUInt() const noexcept { return m_data.u; }
    [[nodiscard]] double asReal() const noexcept { return m_data.d[0]; }
    [[nodiscard]] const String& asString() const noexcept { return m_data.text; }
    [[nodiscard]] interfaces::INode* asNode() const noexcept { return m_data.node; }
    [[nodiscard]] const Buffer& asBuffer() const noexcept { return m_data.buffer; }
    /// Returns the doubles of a Real, Vec, Pos, Quat, Rgba or matrix (row by row); `components`
    /// gives their number.
    [[nodiscard]] const double* reals() const noexcept;
    /// Returns the number of doubles in a value of that kind; 0 for kinds without doubles.
    [[nodiscard]] static constexpr u32 components(AttrType type) noexcept;
    /// Makes a value of a kind from its `components(type)` doubles.
    [[nodiscard]] static Value fromReals(AttrType type, const double* reals);

    /// Returns the memory beyond the value itself; shared memory counts in full for each value.
    [[nodiscard]] u64 payloadBytes() const noexcept;

    /// Hashes kind and value; 0 only for Null and an empty Node value. Node values hash the node's
    /// name.
    [[nodiscard]] u64 hash() const;

    friend bool operator==(const Value& a, const Value& b) noexcept;

private:
    struct MatBlock;
    union Data {
        Data() noexcept {}
        ~Data() {}
        bool b;
        i64 i;
        u64 u;
        double d[4];
        String text;
        interfaces::INode* node;
        Buffer buffer;
        MatBlock* mat;
    };

    [[nodiscard]] bool holdsResource() const noexcept {
        return m_type == AttrType::String || m_type == AttrType::Buffer ||
               m_type == AttrType::Mat3 || m_type == AttrType::Mat4;
    }
    void copyFrom(const Value& other) noexcept;
    // Needs a value that holds no resource.
    void takeFrom(Value& other) noexcept {
        m_type = other.m_type;
        if (holdsResource())
            takeResource(other);
        else
            std::memcpy(static_cast<void*>(&m_data), static_cast<const void*>(&other.m_data),
                        sizeof m_data);
        other.m_type = AttrType::Null;
    }
    QV_EXPORT void takeResource(Value& other) noexcept;
    QV_EXPORT void release() noexcept;

    AttrType m_type;
    Data m_data;
};

constexpr u32 Value::components(AttrType type) noexcept {
    switch (type) {
    case AttrType::Real:
        return 1;
    case AttrType::Vec2:
    case AttrType::Pos2:
        return 2;
    case AttrType::Vec3:
    case AttrType::Pos3:
        return 3;
    case AttrType::Vec4:
    case AttrType::Quat:
    case AttrType::Rgba:
        return 4;
    case AttrType::Mat3:
        return 9;
    case AttrType::Mat4:
        return 16;
    default:
        return 0;
    }
}

} // namespace qv::kelvo_sdk::impl
