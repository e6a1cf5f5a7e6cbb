// ---- Values ----------------------------------------------------------------------------
// Writes convert the value and check it against the description; if nothing changes, observers are
// not notified.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/record_scope.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "kelvo/sdk/impl/value/conversion.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "kelvo/sdk/interfaces/i_scene.h"

#include "kelvo/base/log.h"

#include <algorithm>
#include <optional>

namespace qv::kelvo_sdk::impl {

Value Input::defaultValue() const {
    Value value;
    if (details() && convertValue(details()->defaultValue, type(), value)) return value;
    return Value::zero(type());
}

// Tells whether a value of the input's kind may be stored, and logs why not.
bool Input::writable(const Value& value) const {
    const bool mayLink = value.type() != AttrType::Node || !barBetween(m_node, value.asNode());
    if (mayLink && !isReadOnly() && (!details() || details()->accepts(value))) return true;
    logWarning("%s", storeRefusal(*this, value).buf());
    return false;
}

namespace {

// An edit by the user while modifiers write to the node.
class UserEdit {
public:
    explicit UserEdit(Node& node) : m_node(&node) { m_node->endModification(); }
    ~UserEdit() { m_node->beginModification(); }
    UserEdit(const UserEdit&) = delete;
    UserEdit& operator=(const UserEdit&) = delete;

private:
    RefersTo<Node> m_node;
};

} // namespace

// Called for every value that is set; hardly any input gets past the first line.
bool Input::isUpToModifiers() const {
    if (!m_node || !(m_node->modifying() || stashed())) return false;
    const auto* scene = implOf(m_node->liveScene());
    return scene && scene->isModified(*m_node);
}

// Stores a value of the input's kind, and notifies observers if it changed.
bool Input::store(Value&& value) {
    if (isUpToModifiers()) return storeModified(std::move(value));
    if (m_value == value) return true;
    if (!writable(value)) return false;
    if (isUnnotified()) {
        prepareFor(value);
        m_value = std::move(value);
        changedUnnotified(this);
    } else {
        replaceUserValue(std::move(value), nullptr);
    }
    return true;
}

bool Input::isUnnotified() const noexcept {
    return !m_node || m_node->isUnnotified(*this);
}

void Input::changedUnnotified(const Input* changed) const noexcept {
    if (m_node) m_node->changedUnnotified(changed);
}

// Records the change and notifies observers. `kept` is the user's previous value if a value of
// modifiers hides it; it is not kept any more then.
void Input::replaceUserValue(Value&& value, const Value* kept) {
    EditStep step(m_node);
    if (step.isRecording() && !step.history().keepsValueOf(*this)) step.prepare<ValueChange>(*this);
    expectNotification(m_node, static_cast<const IInput*>(this));
    if (kept) dropStash();
    replaceValue(value);
    step.commit();
    changed(kept ? Value(*kept) : std::move(value));
}

// Returns the previous value in `value`.
void Input::replaceValue(Value& value) {
    prepareFor(value);
    std::swap(m_value, value);
}

void Input::prepareFor(const Value& value) {
    if (type() == AttrType::Node) linkTo(value.asNode());
    dropHash();
}

// Notifies observers of a new value.
void Input::changed(Value&& before) {
    if (!m_node) return;
    // Observers may remove the node that a link led to.
    const RefersTo<INode> linked(before.type() == AttrType::Node ? before.asNode() : nullptr);
    AttrData previous(type());
    previous.elementType = elementType();
    previous.dataType = declaredType();
    previous.silent = m_silent;
    previous.readOnly = m_readOnly;
    previous.value = std::move(before);
    if (!m_node->modifying() || !isUpToModifiers()) return m_node->onInputChanged(this, &previous);
    const UserEdit edit(*m_node);
    m_node->onInputChanged(this, &previous);
}

bool Input::setValue(const Value& value) {
    if (value.type() == AttrType::Buffer && type() == AttrType::Buffer) {
        const DataType declared = declaredType();
        const DataType actual = value.asBuffer().type();
        if (declared != DataType::Null && actual != declared) return false;
        return store(Value(value));
    }
    if (value.type() == type()) return value.isNull() ? false : store(Value(value));
    Value converted;
    return convertValue(value, type(), converted) && store(std::move(converted));
}

bool Input::setReadOnlyValue(const Value& value) {
    const RefersTo<Input> self(this);
    struct Lifted {
        explicit Lifted(Input& of)
            : input(of), isMarked(of.m_readOnly), isHeld(of.m_isHeldReadOnly) {
            input.m_readOnly = input.m_isHeldReadOnly = false;
        }
        ~Lifted() {
            input.m_readOnly = isMarked;
            input.m_isHeldReadOnly = isHeld;
        }
        Input& input;
        bool isMarked;
        bool isHeld;
    } const lifted(*this);
    return setValue(value);
}

template<typename T>
bool Input::setPlain(AttrType kind, const T& value) {
    if (type() == kind) return store(Value(value));
    return setValue(Value(value));
}

bool Input::setBool(bool value) {
    return setPlain(AttrType::Bool, value);
}
bool Input::setInt(i64 value) {
    return setPlain(AttrType::Int, value);
}
bool Input::setUInt(u64 value) {
    return setPlain(AttrType::UInt, value);
}
bool Input::setReal(double value) {
    return setPlain(AttrType::Real, value);
}
bool Input::setVec2(const math::Vec2d& value) {
    return setPlain(AttrType::Vec2, value);
}
bool Input::setVec3(const math::Vec3d& value) {
    return setPlain(AttrType::Vec3, value);
}
bool Input::setVec4(const math::Vec4d& value) {
    return setPlain(AttrType::Vec4, value);
}
bool Input::setPos2(const math::Pos2d& value) {
    return setPlain(AttrType::Pos2, value);
}
bool Input::setPos3(const math::Pos3d& value) {
    return setPlain(AttrType::Pos3, value);
}
bool Input::setQuat(const math::Quatd& value) {
    return setPlain(AttrType::Quat, value);
}
bool Input::setRgba(const math::Rgbad& value) {
    return setPlain(AttrType::Rgba, value);
}
bool Input::setMat3(const math::Mat3d& value) {
    return setPlain(AttrType::Mat3, value);
}
bool Input::setMat4(const math::Mat4d& value) {
    return setPlain(AttrType::Mat4, value);
}

bool Input::setString(String value) {
    if (type() == AttrType::String) return store(Value(std::move(value)));
    if (type() == AttrType::Node) {
        if (value.isEmpty()) return setNode(nullptr);
        interfaces::IScene* scene = m_node ? m_node->scene() : nullptr;
        INode* node = scene ? scene->findNode(std::move(value)) : nullptr;
        return node && setNode(node);
    }
    Value read;
    return valueFromText(value, type(), dataType(), read) && setValue(read);
}

bool Input::setNode(INode* node) {
    return type() == AttrType::Node && store(Value(node));
}

bool Input::setBuffer(BufferView value) {
    if (type() != AttrType::Buffer) return false;
    if (value.count != 0 && (!value.data || value.type == DataType::Null)) return false;
    return setValue(Value(Buffer(value.type, value.data, value.count)));
}

namespace {

// Converts a value to that kind, if needed.
bool becomes(AttrType kind, Value& value) {
    if (value.type() == kind) return true;
    Value converted;
    if (!convertValue(value, kind, converted)) return false;
    value = std::move(converted);
    return true;
}

// Evaluates the source of the input. Converts the value to the input's own kind first.
bool readSource(const Input& input, AttrType kind, void* ctx, Value& out) {
    const AttrType own = input.type();
    Output* source = input.sourceOutput();
    // The eval callback may remove the output, and the input.
    const RefersTo<Output> held(kind == AttrType::Buffer ? source : nullptr);
    out = source->evaluate(ctx);
    if (out.isNull() || !becomes(own, out) || !becomes(kind, out)) return false;
    if (kind == AttrType::Buffer) source->hold(out.asBuffer());
    return true;
}

} // namespace

template<typename T, typename Get>
bool Input::readAs(AttrType kind, T& out, bool evaluate, void* ctx, const Get& get) const {
    const bool isConnected = evaluate && m_extras && m_extras->source;
    if (type() == kind && !isConnected) {
        out = get(m_value);
        return true;
    }
    Value value;
    const bool isRead =
        isConnected ? readSource(*this, kind, ctx, value) : convertValue(m_value, kind, value);
    if (isRead) out = get(value);
    return isRead;
}

bool Input::readBool(bool& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Bool, out, evaluate, ctx, [](const Value& v) { return v.asBool(); });
}
bool Input::readInt(i64& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Int, out, evaluate, ctx, [](const Value& v) { return v.asInt(); });
}
bool Input::readUInt(u64& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::UInt, out, evaluate, ctx, [](const Value& v) { return v.asUInt(); });
}
bool Input::readReal(double& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Real, out, evaluate, ctx, [](const Value& v) { return v.asReal(); });
}

namespace {

// The maths types consist of doubles, in order.
template<typename T>
T fromReals(const Value& value) noexcept {
    static_assert(sizeof(T) % sizeof(double) == 0 && std::is_trivially_copyable_v<T>);
    T result;
    std::copy_n(reinterpret_cast<const char*>(value.reals()), sizeof(T),
                reinterpret_cast<char*>(&result));
    return result;
}

} // namespace

bool Input::readVec2(math::Vec2d& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Vec2, out, evaluate, ctx, fromReals<math::Vec2d>);
}
bool Input::readVec3(math::Vec3d& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Vec3, out, evaluate, ctx, fromReals<math::Vec3d>);
}
bool Input::readVec4(math::Vec4d& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Vec4, out, evaluate, ctx, fromReals<math::Vec4d>);
}
bool Input::readPos2(math::Pos2d& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Pos2, out, evaluate, ctx, fromReals<math::Pos2d>);
}
bool Input::readPos3(math::Pos3d& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Pos3, out, evaluate, ctx, fromReals<math::Pos3d>);
}
bool Input::readQuat(math::Quatd& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Quat, out, evaluate, ctx, fromReals<math::Quatd>);
}
bool Input::readRgba(math::Rgbad& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Rgba, out, evaluate, ctx, fromReals<math::Rgbad>);
}
bool Input::readMat3(math::Mat3d& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Mat3, out, evaluate, ctx, fromReals<math::Mat3d>);
}
bool Input::readMat4(math::Mat4d& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Mat4, out, evaluate, ctx, fromReals<math::Mat4d>);
}
bool Input::readString(String& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::String, out, evaluate, ctx,
                  [](const Value& v) { return v.asString(); });
}
bool Input::readNode(INode*& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Node, out, evaluate, ctx, [](const Value& v) { return v.asNode(); });
}
bool Input::readBuffer(BufferView& out, bool evaluate, void* ctx) const {
    return readAs(AttrType::Buffer, out, evaluate, ctx, [](const Value& v) {
        const Buffer& buffer = v.asBuffer();
        return BufferView{buffer.type(), buffer.data(), buffer.count()};
    });
}

bool Input::reset() {
    if (!isObject()) return resetAlone();
    DeferredNotifications deferred;
    const EditStep step(m_node);
    bool done = true;
    InputWalk inside(members());
    while (Input* member = inside.next()) {
        if (member->isArray()) inside.leaveOut();
        if (!member->isObject()) done = member->resetAlone() && done;
    }
    deferred.release();
    return done;
}

bool Input::resetAlone() {
    if (isArray()) return clearInputs();
    return type() != AttrType::Null && store(defaultValue());
}

bool Input::isDefault() const {
    return !firstChanged(*this);
}

namespace {

// Tells whether an input is at its default, without regard to members.
bool isDefaultAlone(const Input& input) {
    if (input.sourceOutput() || (input.stashed() && !input.isModified())) return false;
    if (input.type() == AttrType::Array) return input.members().empty();
    return input.isObject() || input.ownValue() == input.defaultValue();
}

} // namespace

const Input* firstChanged(const Input& input) {
    if (!isDefaultAlone(input)) return &input;
    InputWalk inside(input.members());
    while (const Input* member = inside.next())
        if (!isDefaultAlone(*member)) return member;
    return nullptr;
}

} // namespace qv::kelvo_sdk::impl
