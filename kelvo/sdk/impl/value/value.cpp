#include "kelvo/sdk/impl/value/value.h"

#include "kelvo/sdk/interfaces/i_node.h"

#include "kelvo/base/hash.h"

#include <atomic>
#include <bit>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace qv::kelvo_sdk::impl {

// The doubles of a matrix, immutable once made.
struct Value::MatBlock {
    std::atomic<i32> refs{1};
    double d[16];

    static MatBlock* create(const double* from, u32 count) {
        auto* block = new MatBlock;
        std::memcpy(block->d, from, count * sizeof(double));
        return block;
    }
    void incRef() noexcept { refs.fetch_add(1, std::memory_order_relaxed); }
    void decRef() noexcept {
        if (refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }
};

Value::Value(const math::Vec2d& value) noexcept : m_type(AttrType::Vec2) {
    std::memcpy(m_data.d, &value, sizeof value);
}
Value::Value(const math::Vec3d& value) noexcept : m_type(AttrType::Vec3) {
    std::memcpy(m_data.d, &value, sizeof value);
}
Value::Value(const math::Vec4d& value) noexcept : m_type(AttrType::Vec4) {
    std::memcpy(m_data.d, &value, sizeof value);
}
Value::Value(const math::Pos2d& value) noexcept : m_type(AttrType::Pos2) {
    std::memcpy(m_data.d, &value, sizeof value);
}
Value::Value(const math::Pos3d& value) noexcept : m_type(AttrType::Pos3) {
    std::memcpy(m_data.d, &value, sizeof value);
}
Value::Value(const math::Quatd& value) noexcept : m_type(AttrType::Quat) {
    std::memcpy(m_data.d, &value, sizeof value);
}
Value::Value(const math::Rgbad& value) noexcept : m_type(AttrType::Rgba) {
    std::memcpy(m_data.d, &value, sizeof value);
}
Value::Value(const math::Mat3d& value) : m_type(AttrType::Mat3) {
    m_data.mat = MatBlock::create(&value.m[0][0], 9);
}
Value::Value(const math::Mat4d& value) : m_type(AttrType::Mat4) {
    m_data.mat = MatBlock::create(&value.m[0][0], 16);
}
Value::Value(String value) noexcept : m_type(AttrType::String) {
    ::new (&m_data.text) String(std::move(value));
}
Value::Value(Buffer value) noexcept : m_type(AttrType::Buffer) {
    ::new (&m_data.buffer) Buffer(std::move(value));
}

Value::Value(const Value& other) noexcept : m_type(AttrType::Null) {
    copyFrom(other);
}

Value& Value::operator=(const Value& other) noexcept {
    if (this == &other) return *this;
    Value copy(other);
    return *this = std::move(copy);
}

// Needs a value that holds no resource.
void Value::copyFrom(const Value& other) noexcept {
    m_type = other.m_type;
    switch (m_type) {
    case AttrType::String:
        ::new (&m_data.text) String(other.m_data.text);
        break;
    case AttrType::Buffer:
        ::new (&m_data.buffer) Buffer(other.m_data.buffer);
        break;
    case AttrType::Mat3:
    case AttrType::Mat4:
        m_data.mat = other.m_data.mat;
        m_data.mat->incRef();
        break;
    default:
        std::memcpy(static_cast<void*>(&m_data), static_cast<const void*>(&other.m_data),
                    sizeof m_data);
        break;
    }
}

void Value::takeResource(Value& other) noexcept {
    if (m_type == AttrType::String) {
        ::new (&m_data.text) String(std::move(other.m_data.text));
        other.m_data.text.~String();
    } else if (m_type == AttrType::Buffer) {
        ::new (&m_data.buffer) Buffer(std::move(other.m_data.buffer));
        other.m_data.buffer.~Buffer();
    } else {
        m_data.mat = other.m_data.mat;
    }
}

void Value::release() noexcept {
    if (m_type == AttrType::String)
        m_data.text.~String();
    else if (m_type == AttrType::Buffer)
        m_data.buffer.~Buffer();
    else
        m_data.mat->decRef();
    m_type = AttrType::Null;
}

namespace {

// All values share this block.
template<typename Matrix>
const Value& identity() {
    static const Value value(Matrix::identity);
    return value;
}

// Looks at the last characters first, because texts of a scene often begin alike: paths, and names
// that end with a number.
bool equalTexts(const String& a, const String& b) noexcept {
    const std::string_view left = a.view();
    const std::string_view right = b.view();
    if (left.size() != right.size()) return false;
    return left.empty() || (left.back() == right.back() && a.equals(b));
}

} // namespace

Value Value::zero(AttrType type) {
    switch (type) {
    case AttrType::Bool:
        return false;
    case AttrType::Int:
        return i64(0);
    case AttrType::UInt:
        return u64(0);
    case AttrType::Real:
        return 0.0;
    case AttrType::Vec2:
        return math::Vec2d();
    case AttrType::Vec3:
        return math::Vec3d();
    case AttrType::Vec4:
        return math::Vec4d();
    case AttrType::Pos2:
        return math::Pos2d();
    case AttrType::Pos3:
        return math::Pos3d();
    case AttrType::Quat:
        return math::Quatd{{0, 0, 0, 1}};
    case AttrType::Rgba:
        return math::Rgbad{{0, 0, 0, 1}};
    case AttrType::Mat3:
        return identity<math::Mat3d>();
    case AttrType::Mat4:
        return identity<math::Mat4d>();
    case AttrType::String:
        return String();
    case AttrType::Node:
        return static_cast<interfaces::INode*>(nullptr);
    case AttrType::Buffer:
        return Buffer();
    default:
        return {};
    }
}

const double* Value::reals() const noexcept {
    return m_type == AttrType::Mat3 || m_type == AttrType::Mat4 ? m_data.mat->d : m_data.d;
}

Value Value::fromReals(AttrType type, const double* reals) {
    Value result;
    const u32 count = components(type);
    if (count == 0) return result;
    if (type == AttrType::Mat3 || type == AttrType::Mat4)
        result.m_data.mat = MatBlock::create(reals, count);
    else
        std::memcpy(result.m_data.d, reals, count * sizeof(double));
    result.m_type = type;
    return result;
}

u64 Value::payloadBytes() const noexcept {
    switch (m_type) {
    case AttrType::String:
        return asString().size();
    case AttrType::Buffer:
        return asBuffer().byteSize();
    case AttrType::Mat3:
    case AttrType::Mat4:
        return sizeof(MatBlock);
    default:
        return 0;
    }
}

u64 Value::hash() const {
    const u64 kind = static_cast<u64>(m_type);
    u64 hash = 0;
    switch (m_type) {
    case AttrType::Null:
        return 0;
    case AttrType::Node:
        if (!m_data.node) return 0;
        hash = hashMix(kind, m_data.node->name().hash());
        break;
    case AttrType::Bool:
        hash = hashMix(kind, m_data.b ? 1 : 0);
        break;
    case AttrType::Int:
    case AttrType::UInt:
        hash = hashMix(kind, m_data.u);
        break;
    case AttrType::String:
        hash = hashMix(kind, m_data.text.hash());
        break;
    case AttrType::Buffer:
        hash = hashMix(kind, m_data.buffer.hash());
        break;
    default:
        hash = kind;
        for (u32 i = 0; i < components(m_type); ++i)
            hash = hashMix(hash, std::bit_cast<u64>(reals()[i]));
        break;
    }
    return hash != 0 ? hash : 1;
}

bool operator==(const Value& a, const Value& b) noexcept {
    if (a.m_type != b.m_type) return false;
    switch (a.m_type) {
    case AttrType::Null:
        return true;
    case AttrType::Bool:
        return a.m_data.b == b.m_data.b;
    case AttrType::Int:
    case AttrType::UInt:
        return a.m_data.u == b.m_data.u;
    case AttrType::Real:
        return std::bit_cast<u64>(a.m_data.d[0]) == std::bit_cast<u64>(b.m_data.d[0]);
    case AttrType::String:
        return equalTexts(a.m_data.text, b.m_data.text);
    case AttrType::Node:
        return a.m_data.node == b.m_data.node;
    case AttrType::Buffer:
        return a.m_data.buffer == b.m_data.buffer;
    default:
        return std::memcmp(a.reals(), b.reals(), Value::components(a.m_type) * sizeof(double)) == 0;
    }
}

} // namespace qv::kelvo_sdk::impl
