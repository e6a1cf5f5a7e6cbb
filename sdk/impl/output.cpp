#include "sdk/impl/output.h"

#include "sdk/eval_ctx.h"
#include "sdk/impl/conversion.h"
#include "sdk/impl/input.h"
#include "sdk/impl/input_extras.h"
#include "sdk/interfaces/i_node.h"

#include "base/log.h"

namespace qv::kelvo_sdk::impl {

namespace {

// Asks the node's callback for a value of one C++ type.
template<typename T>
bool produce(EvalCtx& frame, T result, Value& out) {
    if (!frame.node()->nodeEval(&frame, &result)) return false;
    out = Value(std::move(result));
    return true;
}

bool produceValue(EvalCtx& frame, AttrType type, DataType dataType, Value& out) {
    switch (type) {
    case AttrType::Bool:
        return produce(frame, false, out);
    case AttrType::Int:
        return produce(frame, i64(0), out);
    case AttrType::UInt:
        return produce(frame, u64(0), out);
    case AttrType::Real:
        return produce(frame, 0.0, out);
    case AttrType::Vec2:
        return produce(frame, math::Vec2d(), out);
    case AttrType::Vec3:
        return produce(frame, math::Vec3d(), out);
    case AttrType::Vec4:
        return produce(frame, math::Vec4d(), out);
    case AttrType::Pos2:
        return produce(frame, math::Pos2d(), out);
    case AttrType::Pos3:
        return produce(frame, math::Pos3d(), out);
    case AttrType::Quat:
        return produce(frame, math::Quatd(), out);
    case AttrType::Rgba:
        return produce(frame, math::Rgbad(), out);
    case AttrType::Mat3:
        return produce(frame, math::Mat3d::identity, out);
    case AttrType::Mat4:
        return produce(frame, math::Mat4d::identity, out);
    case AttrType::String:
        return produce(frame, String(), out);
    case AttrType::Buffer:
        return produce(frame, Buffer(dataType, 0), out);
    default:
        return false;
    }
}

} // namespace

Output::Output(INode* node, String name, AttrType type)
    : m_type(type), m_node(node), m_name(std::move(name)), m_nameHash(m_name.foldedHash()) {}

Output::Output(INode* node, String name, DataType type)
    : m_type(AttrType::Buffer),
      m_dataType(type),
      m_node(node),
      m_name(std::move(name)),
      m_nameHash(m_name.foldedHash()) {}

Output::~Output() {
    disconnectTargets();
}

void Output::incRef() {
    m_refCount.fetch_add(1);
}

void Output::decRef() {
    if (m_refCount.fetch_sub(1) == 1) delete this;
}

IOutput* Output::clone(INode* node) const {
    auto* copy = m_type == AttrType::Buffer ? new Output(node, m_name, m_dataType)
                                            : new Output(node, m_name, m_type);
    copy->m_value = m_value;
    return copy;
}

void Output::removedFromNode() {
    disconnectTargets();
    m_node = nullptr;
}

String Output::typeName() const {
    const String kind(attrTypeName(m_type));
    return m_type == AttrType::Buffer ? kind + "<" + dataTypeName(m_dataType) + ">" : kind;
}

String Output::path() const {
    return m_node ? m_node->name() + "." + m_name : m_name;
}

bool Output::hasDataType(DataType type) const {
    return m_type == AttrType::Buffer && m_dataType == type;
}

u64 Output::targetCount() const {
    return m_targets.size();
}

IInput* Output::target(u64 index) const {
    return m_targets.at(index);
}

void Output::removeTarget(u64 slot) {
    m_targets.remove(slot, [](Input& input, u64 to) { input.m_extras->sourceSlot = to; });
}

// Both ends of each connection are right before anyone hears of it. Observers may connect again
// while they are told; each connection is ended once.
void Output::disconnectTargets() {
    for (u64 left = m_targets.size(); left > 0; --left) {
        if (Input* input = m_targets.takeLast()) input->sourceDied(this);
    }
}

bool Output::setValue(Value value) {
    if (value.type() == m_type) {
        if (m_type == AttrType::Buffer && value.asBuffer().type() != m_dataType) return false;
        m_value = std::move(value);
        return !m_value.isNull();
    }
    return convertValue(value, m_type, m_value);
}

bool Output::evaluate(void* callerCtx) {
    if (!m_node || !m_node->hasNodeEval()) return !m_value.isNull();
    const auto* caller = static_cast<const EvalCtx*>(callerCtx);
    EvalCtx frame(m_node, this, caller);
    if (frame.depth() > EvalCtx::maxDepth || (caller && caller->asks(this))) {
        logError("Endless evaluation: %s.", frame.path().buf());
        return false;
    }
    return produceValue(frame, m_type, m_dataType, m_value);
}

} // namespace qv::kelvo_sdk::impl
